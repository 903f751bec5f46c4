#include "store/new_store.h"

#include <emantle/frame/eint.h>

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace tool {

namespace {

std::string temporaryBeside(const std::string& path)
{
    const std::filesystem::path target(path);
    return (target.parent_path() / ("." + target.filename().string() + "." + std::to_string(getpid()) + ".tmp")).string();
}

}  // namespace

void requirePlace(const std::string& path, bool replace)
{
    std::error_code error;
    const std::filesystem::path target(path);
    const std::filesystem::path folder = target.has_parent_path() ? target.parent_path() : ".";
    if (!std::filesystem::is_directory(folder, error)) {
        throw Failure(path + ": there is no folder " + folder.string());
    }
    if (std::filesystem::is_directory(target, error)) {
        throw Failure(path + ": is a directory");
    }
    if (!replace && std::filesystem::exists(target, error)) {
        throw Failure(path + ": exists; --force replaces it");
    }
    if (access(folder.c_str(), W_OK | X_OK) != 0) {
        throw Failure(path + ": the folder " + folder.string() + " is not writable");
    }
}

NewStore::NewStore(const std::string& path, bool replace) : path_(path), temporary_(temporaryBeside(path))
{
    requirePlace(path, replace);
    Reports reports;
    file_ = ehfa_FileCreate(temporary_.c_str(), eint_InitToolkit(reports), reports);
    reports.check(path + ": cannot be written");
}

NewStore::~NewStore()
{
    if (!temporary_.empty()) {
        Reports closing;
        ehfa_FileClose(file_, closing);
        unlink(temporary_.c_str());
    }
}

void NewStore::holdBack()
{
    Reports reports;
    ehfa_FileChange(file_, reports, int{EHFA_OPTION_FLUSH_ON_WRITE}, 0, 0);
    reports.check(path_ + ": cannot be written");
}

void NewStore::close()
{
    Reports reports;
    if (ehfa_FileIsNotFlushedOnWrite(file_) != 0) {
        ehfa_FileChange(file_, reports, int{EHFA_OPTION_FLUSH_ON_WRITE}, 1, 0);
        reports.check(path_ + ": cannot be written");
    }
    ehfa_FileClose(std::exchange(file_, nullptr), reports);
    reports.check(path_ + ": cannot be written");
}

/* A file that is replaced must not be gone before the new one is on the disk. */
void NewStore::takeName()
{
    std::error_code error;
    if (std::filesystem::exists(path_, error)) {
        const int file = open(temporary_.c_str(), O_RDONLY | O_CLOEXEC);
        const bool isSafe = file >= 0 && fsync(file) == 0;
        const int number = errno;
        ::close(file);
        if (!isSafe) {
            throw Failure(path_ + ": " + std::generic_category().message(number));
        }
    }
    if (std::rename(temporary_.c_str(), path_.c_str()) != 0) {
        throw Failure(path_ + ": " + std::generic_category().message(errno));
    }
    temporary_.clear();
}

void NewStore::commit()
{
    close();
    takeName();
}

void NewStore::commitLike(const std::string& model)
{
    close();
    std::error_code error;
    const auto permissions = std::filesystem::status(model, error).permissions();
    if (!error) {
        std::filesystem::permissions(temporary_, permissions, error);
    }
    if (error) {
        throw Failure(path_ + ": " + error.message());
    }
    takeName();
}

}  // namespace tool
