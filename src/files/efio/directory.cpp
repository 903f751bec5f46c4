#include "platform/directory.h"

#include "files/efio/internal_names.h"
#include "files/efio/names.h"
#include "frame/guard/guard.h"
#include "platform/errors.h"
#include "platform/paths.h"

#include <algorithm>
#include <cerrno>
#include <emantle/files/efio/directory.h>
#include <emantle/files/efnp/file_name.h>
#include <emantle/siblings/ethr.h>
#include <vector>

namespace emantle::files {

namespace {

/* What efio_CurrentDirName answers; guarded by the unsafe section. */
std::string& currentDirectory()
{
    static std::string* const name = new std::string;
    return *name;
}

void mustSucceed(int failure, const char* what, const std::string& path)
{
    require(failure == 0, "%s %s\n%s", what, path.c_str(), platform::systemErrorText(failure).c_str());
}

bool isDirectory(const std::string& path)
{
    platform::FileStatus status;
    return platform::fileStatus(path, status) == 0 && status.kind == platform::FileKind::directory;
}

/* Removes a tree from its leaves up, without a call for each level. */
void removeAll(const std::string& top)
{
    std::vector<std::string> open{top}, found;
    while (!open.empty()) {
        const std::string directory = std::move(open.back());
        open.pop_back();
        found.push_back(directory);
        std::vector<platform::DirectoryEntry> entries;
        mustSucceed(platform::listDirectory(directory, entries), "Cannot read directory", directory);
        for (const auto& entry : entries) {
            const std::string path = directory + "/" + entry.name;
            platform::FileStatus itself;
            mustSucceed(platform::linkStatus(path, itself), "Error checking", path);
            if (itself.kind == platform::FileKind::directory) {
                open.push_back(path);
            } else {
                mustSucceed(platform::unlinkFile(path), "Unable to delete the file", path);
            }
        }
    }
    for (auto directory = found.rbegin(); directory != found.rend(); ++directory) {
        mustSucceed(platform::removeDirectory(*directory), "Cannot remove directory", *directory);
    }
}

void give(char** target, HeapPtr<char>& text) noexcept
{
    if (target != nullptr) {
        *target = text.release();
    }
}

}  // namespace

void makeDirectories(const std::string& path)
{
    for (std::size_t end = path.find('/', 1);; end = path.find('/', end + 1)) {
        const std::string part = path.substr(0, end);
        if (!isDirectory(part)) {
            const int failure = platform::makeDirectory(part);
            /* Another process may have made it meanwhile. */
            mustSucceed(failure == platform::error::exists && isDirectory(part) ? 0 : failure, "Cannot make directory",
                        part);
        }
        if (end == path.npos) {
            return;
        }
    }
}

}  // namespace emantle::files

using namespace emantle;
using namespace emantle::files;

EMANTLE_API long efio_MakeDir(const char* name, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "efio_MakeDir", -1, [&] {
        const std::string path = expandedName(name);
        mustSucceed(platform::makeDirectory(path), "Cannot make directory", path);
        return 0;
    });
}

EMANTLE_API long efio_MaybeMakeDir(const char* name, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "efio_MaybeMakeDir", -1, [&] {
        std::string path = expandedName(name);
        while (path.size() > 1 && path.back() == '/') {
            path.pop_back();
        }
        makeDirectories(path);
        return 0;
    });
}

EMANTLE_API long efio_ChangeDir(const char* name, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "efio_ChangeDir", -1, [&] {
        const EthrMTUnsafeCode unsafe;
        const std::string path = expandedName(name);
        mustSucceed(platform::changeDirectory(path), "Cannot change to directory", path);
        currentDirectory() = name;
        return 0;
    });
}

EMANTLE_API char* efio_CurrentDirName(char* buffer, long size, Eerr_ErrorReport** err)
{
    return guarded<char*>(err, "efio_CurrentDirName", nullptr, [&] {
        const EthrMTUnsafeCode unsafe;
        std::string& name = currentDirectory();
        if (name.empty()) {
            std::string found;
            mustSucceed(platform::currentDirectory(found), "Cannot determine the current directory", found);
            std::transform(found.begin(), found.end(), found.begin(),
                           [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
            name = found;
        }
        if (buffer == nullptr) {
            return heapText(name).release();
        }
        require(size > 0, "The buffer has %ld bytes", size);
        buffer[name.copy(buffer, static_cast<std::size_t>(size) - 1)] = '\0';
        return buffer;
    });
}

EMANTLE_API long efio_DirectoryRemove(const char* name, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "efio_DirectoryRemove", -1, [&] {
        const std::string path = expandedName(name);
        mustSucceed(platform::removeDirectory(path), "Cannot remove directory", path);
        return 0;
    });
}

EMANTLE_API long efio_DirectoryRemoveRecursive(const char* name, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "efio_DirectoryRemoveRecursive", -1, [&] {
        const std::string path = expandedName(name);
        platform::FileStatus itself;
        mustSucceed(platform::linkStatus(path, itself), "Error checking", path);
        require(itself.kind == platform::FileKind::directory, "%s: no such directory", path.c_str());
        removeAll(path);
        return 0;
    });
}

EMANTLE_API Emsc_Boolean efio_DirectoryIsWritable(const char* name, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "efio_DirectoryIsWritable", 0, [&] {
        const std::string path = expandedName(name);
        return isDirectory(path) && platform::checkAccess(path, platform::rightToWrite | platform::rightToExecute) == 0;
    });
}

EMANTLE_API char* efio_UpDir(const char* name, Eerr_ErrorReport** err)
{
    return guarded<char*>(err, "efio_UpDir", nullptr, [&](EerrException& scope) {
        std::string path = expandedName(name);
        while (path.size() > 1 && path.back() == '/') {
            path.pop_back();
        }
        return checked(scope, efnp_FileNameGet(path.c_str(), EFNP_PATH_PART, -1, scope));
    });
}

EMANTLE_API long efio_FileNameParse(const char* name, char** directory, char** base, char** extension,
                                    Eerr_ErrorReport** err)
{
    return guarded<long>(err, "efio_FileNameParse", -1, [&](EerrException& scope) {
        HeapPtr<char> path(checked(scope, efnp_FileNameGetPathPart(name, scope)));
        HeapPtr<char> stem(checked(scope, efnp_FileNameGetBasePart(name, scope)));
        HeapPtr<char> suffix(checked(scope, efnp_FileNameGetExtPart(name, scope)));
        give(directory, path);
        give(base, stem);
        give(extension, suffix);
        return 0;
    });
}

EMANTLE_API Emsc_Boolean efio_FileNameEq(const char* a, const char* b, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "efio_FileNameEq", 0, [&]() -> Emsc_Boolean {
        const std::string one = expandedName(a), other = expandedName(b);
        platform::FileStatus first, second;
        if (platform::fileStatus(one, first) == 0 && platform::fileStatus(other, second) == 0) {
            return first.device == second.device && first.serial == second.serial;
        }
        return efnp_FileNameEquals(one.c_str(), other.c_str());
    });
}

EMANTLE_API Emsc_Boolean efio_PathNameIsRelative(const char* name)
{
    const HeapPtr<char> path(estr_PathExpand(name, nullptr, 0));
    return path != nullptr && path.get()[0] != '/' && estr_PathBegin(path.get()) == path.get();
}

EMANTLE_API Emsc_Boolean efio_FileNameExistsAsLogicalDrive(const char* name)
{
    const HeapPtr<char> path(estr_PathExpand(name, nullptr, 0));
    return path != nullptr && std::string_view(path.get()) == "/";
}

EMANTLE_API Emsc_Boolean efio_IsDriveRemovable(const char* name)
{
    return name != nullptr && platform::isRemovableDrive(name);
}
