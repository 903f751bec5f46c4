#include "files/efio/record.h"
#include "frame/guard/guard.h"
#include "frame/guard/plain_scope.h"
#include "frame/memory/heap_ptr.h"
#include "platform/errors.h"
#include "platform/paths.h"

#include <cerrno>
#include <cstring>
#include <emantle/frame/estr/expand.h>
#include <emantle/siblings/ethr.h>
#include <new>
#include <strings.h>

namespace emantle::files {

namespace {

using platform::Access;
using platform::Disposition;

struct DeleteRecord {
    void operator()(OpenFile* file) const noexcept
    {
        emsc_HeapFree(file->name);
        emsc_HeapFree(file->mode);
        file->~OpenFile();
        emsc_HeapFree(file);
    }
};

using Record = std::unique_ptr<OpenFile, DeleteRecord>;

struct Opening {
    Disposition disposition;
    Access access;
    bool atEnd;
    bool existing; /* whether the right to write is tried first */
};

Opening openingOf(const char* mode)
{
    constexpr struct {
        const char* modes[5];
        Opening opening;
    } openings[] = {
        {{"w", "wb", "w+", "w+b", "wb+"}, {Disposition::createAlways, Access::readWrite, false, false}},
        {{"a", "ab", "a+", "a+b", "ab+"}, {Disposition::openAlways, Access::readWrite, true, false}},
        {{"r+", "r+b", "rb+"}, {Disposition::openExisting, Access::readWrite, false, true}},
    };
    for (const auto& row : openings) {
        for (const char* candidate : row.modes) {
            if (mode != nullptr && candidate != nullptr && strcasecmp(mode, candidate) == 0) {
                return row.opening;
            }
        }
    }
    return {Disposition::openExisting, Access::read, false, false};
}

Record newRecord(const char* name, const char* mode)
{
    HeapPtr<void> block(emsc_HeapMalloc(sizeof(OpenFile)));
    require(block, "No memory");
    Record file(new (block.release()) OpenFile());
    file->emptyBuffer();
    file->readSize = EFIO_BUFFER_SIZE;
    file->name = heapText(name).release();
    file->mode = heapText(mode == nullptr ? "" : mode).release();
    return file;
}

void setHandle(OpenFile& file) noexcept
{
    file.handle = file.handleCheck = file.system.descriptor();
}

Record openRecord(const char* name, const char* mode, int& failure)
{
    HeapPtr<char> expanded(estr_PathExpand(name, nullptr, 0));
    failure = platform::error::notFound;
    require(expanded, "Error opening file %s\nError %d", name == nullptr ? "" : name, failure);
    const Opening opening = openingOf(mode);
    Record file = newRecord(expanded.get(), mode);
    file->readOnly = opening.access == Access::read;
    file->writeThrough =
        !file->readOnly && (std::strncmp(file->name, "//", 2) == 0 || !platform::isLocalFileSystem(file->name));
    if (opening.existing) {
        platform::File trial;
        failure = trial.open(file->name, Disposition::openExisting, Access::write);
        require(failure == 0, "Cannot gain write access to file %s\nError %d", file->name, failure);
    }
    failure = file->system.open(file->name, opening.disposition, opening.access, file->writeThrough);
    require(failure == 0, "Error opening file %s\nError %d", file->name, failure);
    setHandle(*file);
    if (opening.atEnd) {
        file->position = std::max<std::int64_t>(file->system.size(), 0);
    }
    return file;
}

/* The mode of a second opening never empties the file. */
const char* modeToReopen(const char* mode) noexcept
{
    return std::strpbrk(mode, "wW") == nullptr ? mode : "r+";
}

void flushBeforeClosing(OpenFile& file)
{
    PlainScope scope("efio_Close", nullptr);
    if (!flushGathered(file, scope)) {
        scope.raise("Could not flush %s before closing.", file.name);
    }
}

bool isOpen(const Efio_File* file) noexcept
{
    return file != nullptr && file->handle == file->handleCheck;
}

}  // namespace

bool reopen(OpenFile& file, Eerr_ErrorReport** err)
{
    int failure = errno;
    const bool done = guarded<bool>(err, "efio_Win32Reopen", false, [&](EerrException& scope) {
        Efio_File* const second = efio_Open(file.name, modeToReopen(file.mode), scope);
        check(scope, "Unable to reopen %s", file.name);
        const Record fresh(opened(second));
        const bool moved = file.position == 0 || fresh->system.seek(file.position, platform::Origin::start) >= 0;
        failure = errno;
        require(moved, "Unable to reopen %s", file.name);
        std::swap(file.system, fresh->system);
        setHandle(file);
        file.systemPosition = file.position;
        file.emptyBuffer();
        ++file.reopenCount;
        return true;
    });
    errno = failure;
    return done;
}

}  // namespace emantle::files

using namespace emantle;
using namespace emantle::files;

EMANTLE_API Efio_File* efio_Open(const char* name, const char* mode, Eerr_ErrorReport** err, ...)
{
    int failure = errno;
    Efio_File* const file = guarded<Efio_File*>(
        err, "efio_Open", nullptr, [&]() -> Efio_File* { return openRecord(name, mode, failure).release(); });
    errno = failure;
    return file;
}

EMANTLE_API Efio_File* efio_Create(const char* name, long permissions, Eerr_ErrorReport** err)
{
    return guarded<Efio_File*>(err, "efio_Create", nullptr, [&](EerrException& scope) -> Efio_File* {
        Record file(opened(checked(scope, efio_Open(name, "w+b", scope))));
        if ((permissions & 0777) != 0) {
            const int failure = platform::changeMode(file->name, static_cast<std::uint32_t>(permissions & 0777));
            require(failure == 0, "Error opening file %s\nError %d", file->name, failure);
        }
        return file.release();
    });
}

EMANTLE_API void efio_Close(Efio_File* handle, Eerr_ErrorReport** err)
{
    guarded(err, "efio_Close", [&] {
        if (!isOpen(handle)) {
            return;
        }
        const Record file(opened(handle));
        flushBeforeClosing(*file);
        const int failure = file->system.close();
        require(failure == 0, "Could not close %s\nError %d", file->name, failure);
    });
}

EMANTLE_API Emsc_Boolean efio_Feof(Efio_File* file)
{
    return file != nullptr && opened(file)->ended;
}

EMANTLE_API Emsc_Boolean efio_Win32Reopen(Efio_File* file, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "efio_Win32Reopen", 0, [&](EerrException& scope) -> Emsc_Boolean {
        require(file != nullptr, "Invalid file handle");
        return reopen(*opened(file), scope);
    });
}

EMANTLE_API char* efio_FileNameGetByHandle(Efio_File* file, Eerr_ErrorReport** err)
{
    return guarded<char*>(err, "efio_FileNameGetByHandle", nullptr, [&] {
        require(file != nullptr, "Invalid file handle");
        return heapText(file->name).release();
    });
}

EMANTLE_API efio_off_t efio_FileSizeGetByHandle(Efio_File* file, Eerr_ErrorReport** err)
{
    return guarded<efio_off_t>(err, "efio_FileSizeGetByHandle", -1, [&] {
        require(file != nullptr, "Invalid file handle");
        const std::int64_t size = sizeOf(*opened(file));
        require(size >= 0, "Cannot determine the size of file %s\nError %d", file->name, errno);
        return size;
    });
}
