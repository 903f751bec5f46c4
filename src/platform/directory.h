#pragma once

#include "platform/paths.h"

#include <string>
#include <string_view>
#include <vector>

// Directories; names and results as in paths.h.
namespace emantle::platform {

struct DirectoryEntry {
    std::string name;
    FileKind kind = FileKind::other; // what a link leads to; symbolicLink where it leads nowhere
};

int makeDirectory(std::string_view name);
// 41 when it is not empty.
int removeDirectory(std::string_view name);

int currentDirectory(std::string& name);
int changeDirectory(std::string_view name);

// The entries in the order of their bytes, without "." and "..". `entries` is replaced on success only.
int listDirectory(std::string_view name, std::vector<DirectoryEntry>& entries);

} // namespace emantle::platform
