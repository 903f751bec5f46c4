#include "output/output_file.h"

#include "console/failure.h"
#include "store/new_store.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <system_error>
#include <unistd.h>

namespace tool {

namespace {

std::string temporaryBeside(const std::string& path)
{
    const std::filesystem::path target(path);
    return (target.parent_path() / ("." + target.filename().string() + "." + std::to_string(getpid()) + ".tmp")).string();
}

}  // namespace

OutputFile::OutputFile(const std::string& path, bool replace) : path_(path), temporary_(temporaryBeside(path))
{
    requirePlace(path, replace);
}

OutputFile::~OutputFile()
{
    if (!temporary_.empty()) {
        unlink(temporary_.c_str());
    }
}

void OutputFile::write(const std::string& bytes) const
{
    struct Closer {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    std::unique_ptr<std::FILE, Closer> file(std::fopen(temporary_.c_str(), "wb"));
    const bool written = file && std::fwrite(bytes.data(), 1, bytes.size(), file.get()) == bytes.size();
    if (!written || std::fclose(file.release()) != 0) {
        throw Failure(path_ + ": cannot be written: " + std::generic_category().message(errno));
    }
}

void OutputFile::commit()
{
    if (std::rename(temporary_.c_str(), path_.c_str()) != 0) {
        throw Failure(path_ + ": " + std::generic_category().message(errno));
    }
    temporary_.clear();
}

}  // namespace tool
