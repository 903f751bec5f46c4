#pragma once

#include <string_view>

namespace emantle::platform {

// Tells of changes in one directory, not below it.
class DirectoryWatch {
public:
    enum class Of { names, contents };  // files that come and go; writes and attributes
    enum class News { none, some, failed };

    DirectoryWatch() = default;
    ~DirectoryWatch();
    DirectoryWatch(const DirectoryWatch&) = delete;
    DirectoryWatch& operator=(const DirectoryWatch&) = delete;

    // 0 or the error's number (errors.h).
    int start(std::string_view directory, Of of);
    // Takes in all changes since the last call without waiting.
    News poll();

private:
    int descriptor_ = -1;
};

}  // namespace emantle::platform
