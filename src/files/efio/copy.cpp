#include "files/efio/internal_names.h"
#include "files/efio/names.h"
#include "frame/guard/guard.h"
#include "platform/directory.h"
#include "platform/errors.h"
#include "platform/file.h"
#include "platform/paths.h"

#include <algorithm>
#include <emantle/files/efio/directory.h>
#include <memory>
#include <utility>
#include <vector>

/* Copying files and trees. */

namespace emantle::files {

namespace {

using platform::Access;
using platform::Disposition;

constexpr std::size_t pieceSize = 1 << 20;

void openOrFail(platform::File& file, const std::string& path, Disposition disposition, Access access)
{
    const int failure = file.open(path, disposition, access);
    require(failure == 0, "Error opening file %s\nError %d", path.c_str(), failure);
}

/* Moves all bytes of `from` to `at` of `to`. */
void copyBytes(platform::File& from, platform::File& to, std::uint64_t at)
{
    const std::unique_ptr<char[]> piece(new char[pieceSize]);
    for (;;) {
        const platform::Transfer read = from.read(piece.get(), pieceSize);
        require(read.error == 0, "Error trying to read %d bytes from %s\n", static_cast<int>(pieceSize),
                from.name().c_str());
        const platform::Transfer written = to.writeAt(piece.get(), read.bytes, at);
        require(written.error == 0, "Could not write %d bytes to %s", static_cast<int>(read.bytes), to.name().c_str());
        at += read.bytes;
        if (read.bytes < pieceSize) {
            return;
        }
    }
}

/* A file that goes away unless it is kept. */
class Draft {
public:
    explicit Draft(std::string path) : path_(std::move(path)) {}
    ~Draft()
    {
        if (!kept_) {
            platform::unlinkFile(path_);
        }
    }
    void keep() noexcept { kept_ = true; }

private:
    std::string path_;
    bool kept_ = false;
};

/* The bytes go to a draft beside the target, so that a failure leaves the target as it was. */
void copyFile(const std::string& source, const std::string& target)
{
    platform::FileStatus status;
    int failure = platform::fileStatus(source, status);
    require(failure == 0, "Error opening file %s\nError %d", source.c_str(), failure);
    /* A pipe or a device may have no end. */
    require(status.kind != platform::FileKind::other, "%s is not a file", source.c_str());
    platform::File from, to;
    openOrFail(from, source, Disposition::openExisting, Access::read);

    std::string name = target.substr(0, target.rfind('/') + 1) + "copy.XXXXXX";
    require(fillTemporary(name), "Every temporary name of %s is taken", target.c_str());
    Draft draft(name);
    openOrFail(to, name, Disposition::createAlways, Access::readWrite);
    copyBytes(from, to, 0);
    failure = to.close();
    require(failure == 0, "Could not close %s\nError %d", name.c_str(), failure);
    platform::changeMode(name, status.mode & 0777);
    platform::setFileTimes(name, status.accessed, status.modified);
    failure = platform::renameFile(name, target);
    require(failure == 0, "Unable to rename the file %s to %s\n%s", name.c_str(), target.c_str(),
            platform::systemErrorText(failure).c_str());
    draft.keep();
}

using Identity = std::pair<std::uint64_t, std::uint64_t>;

Identity identityOf(const std::string& path)
{
    platform::FileStatus status;
    const int failure = platform::fileStatus(path, status);
    require(failure == 0, "Error checking %s\n%s", path.c_str(), platform::systemErrorText(failure).c_str());
    return {status.device, status.serial};
}

/* Copies trees; a directory that is met again below itself, through a link or as the target, is refused. */
class TreeCopy {
public:
    void run(const std::string& source, const std::string& target)
    {
        makeDirectories(target);
        above_.push_back(identityOf(target));
        copy(source, target);
    }

private:
    void copy(const std::string& source, const std::string& target)
    {
        const Identity own = identityOf(source);
        require(std::find(above_.begin(), above_.end(), own) == above_.end(), "The directory %s lies in itself",
                source.c_str());
        above_.push_back(own);
        std::vector<platform::DirectoryEntry> entries;
        const int failure = platform::listDirectory(source, entries);
        require(failure == 0, "Error searching subfolders of <%s>", source.c_str());
        for (const auto& entry : entries) {
            const std::string from = source + "/" + entry.name, to = target + "/" + entry.name;
            if (entry.kind == platform::FileKind::directory) {
                makeDirectories(to);
                copy(from, to);
            } else {
                copyFile(from, to);
            }
        }
        above_.pop_back();
    }

    std::vector<Identity> above_;
};

}  // namespace

}  // namespace emantle::files

using namespace emantle;
using namespace emantle::files;

EMANTLE_API long efio_FileCopy(const char* from, const char* to, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "efio_FileCopy", -1, [&] {
        copyFile(expandedName(from), expandedName(to));
        return 0;
    });
}

EMANTLE_API long efio_FileAppend(const char* from, const char* to, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "efio_FileAppend", -1, [&] {
        platform::File source, target;
        openOrFail(source, expandedName(from), Disposition::openExisting, Access::read);
        openOrFail(target, expandedName(to), Disposition::openAlways, Access::readWrite);
        const std::int64_t size = target.size();
        require(size >= 0, "Cannot determine the size of file %s", target.name().c_str());
        platform::FileStatus one, other;
        const bool same = platform::fileStatus(source.name(), one) == 0 &&
                          platform::fileStatus(target.name(), other) == 0 && one.device == other.device &&
                          one.serial == other.serial;
        require(!same, "The file %s cannot be appended to itself", target.name().c_str());
        try {
            copyBytes(source, target, static_cast<std::uint64_t>(size));
        } catch (...) {
            target.truncate(static_cast<std::uint64_t>(size));
            throw;
        }
        return 0;
    });
}

EMANTLE_API long efio_DirectoryCopy(const char* from, const char* to, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "efio_DirectoryCopy", -1, [&] {
        const std::string source = expandedName(from);
        identityOf(source);
        TreeCopy().run(source, expandedName(to));
        return 0;
    });
}
