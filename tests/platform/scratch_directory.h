#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

// A directory of its own for one test, gone when the test ends.
class ScratchDirectory {
public:
    ScratchDirectory()
    {
        std::string name = (std::filesystem::temp_directory_path() / "emantle-XXXXXX").string();
        path_ = mkdtemp(name.data());
    }
    ~ScratchDirectory()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    std::string operator/(const std::string& name) const { return path_ + "/" + name; }
    const std::string& path() const { return path_; }

private:
    std::string path_;
};

inline std::string contentsOf(const std::string& name)
{
    std::ifstream in(name, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}
