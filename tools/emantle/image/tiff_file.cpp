#include "image/tiff_file.h"

#include "console/failure.h"
#include "image/no_data.h"

#include <cstdarg>
#include <cstdio>
#include <filesystem>
#include <system_error>

namespace tool {

namespace {

int keepError(TIFF*, void* text, const char*, const char* format, va_list arguments)
{
    char line[512];
    std::vsnprintf(line, sizeof line, format, arguments);
    *static_cast<std::string*>(text) = oneLine(line);
    return 1;
}

int dropWarning(TIFF*, void*, const char*, const char*, va_list)
{
    return 1;
}

struct OptionsDeleter {
    void operator()(TIFFOpenOptions* options) const { TIFFOpenOptionsFree(options); }
};

/* Says what is wrong with the path in words of its own, before a decoder gets to see it. */
void requireReadableFile(const std::string& path)
{
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    if (status.type() == std::filesystem::file_type::directory) {
        throw Failure(path + ": is a directory");
    }
    std::FILE* file = status.type() == std::filesystem::file_type::not_found ? nullptr : std::fopen(path.c_str(), "rb");
    if (file == nullptr) {
        const int reason = status.type() == std::filesystem::file_type::not_found ? ENOENT : errno;
        throw Failure(path + ": " + std::generic_category().message(reason));
    }
    std::fclose(file);
}

}  // namespace

/* Without a mapping: mapped pages would count as memory held, and a file cut short while it is read would end the
 * program. */
TiffFile::TiffFile(const std::string& path) : path_(path), lastError_(std::make_unique<std::string>())
{
    requireReadableFile(path);
    registerNoDataTag();
    const std::unique_ptr<TIFFOpenOptions, OptionsDeleter> options(TIFFOpenOptionsAlloc());
    TIFFOpenOptionsSetErrorHandlerExtR(options.get(), keepError, lastError_.get());
    TIFFOpenOptionsSetWarningHandlerExtR(options.get(), dropWarning, nullptr);
    file_.reset(TIFFOpenExt(path.c_str(), "rm", options.get()));
    if (!file_) {
        fail("not a TIFF file");
    }
}

void TiffFile::fail(const std::string& what) const
{
    throw Failure(path_ + ": " + what + (lastError_->empty() ? "" : " (" + *lastError_ + ")"));
}

std::uint32_t TiffFile::field(std::uint32_t tag, std::uint32_t absent) const
{
    std::uint32_t value = absent;
    return TIFFGetField(get(), tag, &value) == 1 ? value : absent;
}

std::uint16_t TiffFile::shortField(std::uint32_t tag) const
{
    std::uint16_t value = 0;
    TIFFGetFieldDefaulted(get(), tag, &value);
    return value;
}

}  // namespace tool
