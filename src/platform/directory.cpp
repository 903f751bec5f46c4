#include "platform/directory.h"

#include "platform/errors.h"
#include "platform/faults.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace emantle::platform {
namespace {

int refusal(Operation operation, const std::string& kernel)
{
    if (const Interference fault = interference(operation, kernel); fault.error != 0)
        return failWith(fault.error);
    return kernel.find('\0') != kernel.npos ? failWith(error::notFound) : 0;
}

// Asks for the entry's status only where the directory itself does not tell the kind.
FileKind kindOf(DIR* directory, const dirent& entry)
{
    if (entry.d_type == DT_REG)
        return FileKind::file;
    if (entry.d_type == DT_DIR)
        return FileKind::directory;
    if (entry.d_type != DT_LNK && entry.d_type != DT_UNKNOWN)
        return FileKind::other;
    struct stat status;
    if (fstatat(dirfd(directory), entry.d_name, &status, 0) != 0)
        return FileKind::symbolicLink;
    return S_ISREG(status.st_mode) ? FileKind::file : S_ISDIR(status.st_mode) ? FileKind::directory : FileKind::other;
}

} // namespace

int makeDirectory(std::string_view name)
{
    const std::string kernel = kernelName(name);
    if (const int failure = refusal(Operation::makeDirectory, kernel); failure != 0)
        return failure;
    return ::mkdir(kernel.c_str(), 0777) == 0 ? 0 : systemError();
}

int removeDirectory(std::string_view name)
{
    const std::string kernel = kernelName(name);
    if (const int failure = refusal(Operation::removeDirectory, kernel); failure != 0)
        return failure;
    return ::rmdir(kernel.c_str()) == 0 ? 0 : systemError();
}

int currentDirectory(std::string& name)
{
    const std::unique_ptr<char, void (*)(void*)> found(::getcwd(nullptr, 0), std::free);
    if (found == nullptr)
        return systemError();
    name = found.get();
    return 0;
}

int changeDirectory(std::string_view name)
{
    const std::string kernel = kernelName(name);
    if (const int failure = refusal(Operation::status, kernel); failure != 0)
        return failure;
    return ::chdir(kernel.c_str()) == 0 ? 0 : systemError();
}

int listDirectory(std::string_view name, std::vector<DirectoryEntry>& entries)
{
    const std::string kernel = kernelName(name);
    if (const int failure = refusal(Operation::list, kernel); failure != 0)
        return failure;
    const std::unique_ptr<DIR, int (*)(DIR*)> directory(::opendir(kernel.c_str()), ::closedir);
    if (directory == nullptr)
        return systemError();
    std::vector<DirectoryEntry> found;
    for (;;) {
        errno = 0;
        const dirent* const entry = ::readdir(directory.get());
        if (entry == nullptr) {
            if (errno != 0)
                return systemError();
            break;
        }
        if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0)
            found.push_back({entry->d_name, kindOf(directory.get(), *entry)});
    }
    std::sort(found.begin(), found.end(), [](const auto& a, const auto& b) { return a.name < b.name; });
    entries = std::move(found);
    return 0;
}

} // namespace emantle::platform
