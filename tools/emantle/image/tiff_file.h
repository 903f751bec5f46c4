#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <tiffio.h>

namespace tool {

/* An open TIFF file and the last thing that went wrong with it. */
class TiffFile {
public:
    explicit TiffFile(const std::string& path);

    TIFF* get() const { return file_.get(); }
    const std::string& path() const { return path_; }

    /* Throws a Failure that names the file: `what`, and the library's own words behind it. */
    [[noreturn]] void fail(const std::string& what) const;

    std::uint32_t field(std::uint32_t tag, std::uint32_t absent) const;
    std::uint16_t shortField(std::uint32_t tag) const;

private:
    struct Closer {
        void operator()(TIFF* file) const { TIFFClose(file); }
    };

    std::string path_;
    std::unique_ptr<std::string> lastError_;
    std::unique_ptr<TIFF, Closer> file_;
};

}  // namespace tool
