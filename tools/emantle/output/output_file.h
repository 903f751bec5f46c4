#pragma once

#include <string>

namespace tool {

/* A file in the making: it is written beside its final name and takes that name when it is complete. Until then whatever
 * ends the program's work takes it away again. */
class OutputFile {
public:
    /* With `replace` a file of that name may be there. Fails where the folder is missing or not writable. */
    OutputFile(const std::string& path, bool replace);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    const std::string& path() const { return path_; }
    /* Where it is to be written, for those who write it themselves. */
    const std::string& temporary() const { return temporary_; }

    void write(const std::string& bytes) const;

    /* Gives the file its name. */
    void commit();

private:
    std::string path_;
    std::string temporary_;
};

}  // namespace tool
