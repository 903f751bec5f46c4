#include "store/hfa/activity.h"
#include "store/hfa/bytes.h"
#include "store/hfa/dictionary.h"
#include "store/hfa/header.h"
#include "store/hfa/open_files.h"
#include "store/hfa/options.h"
#include "store/hfa/tree.h"

#include "files/efio/record.h"
#include "frame/memory/heap_ptr.h"
#include "frame/guard/plain_scope.h"

#include <emantle/files/efio.h>
#include <emantle/siblings/ethr.h>
#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <strings.h>

namespace emantle::hfa {

namespace {

struct FileCloser {
    void operator()(Efio_File* file) const noexcept { efio_Close(file, nullptr); }
};
using OpenFile = std::unique_ptr<Efio_File, FileCloser>;

struct HandleDeleter {
    void operator()(Handle* handle) const noexcept
    {
        emif_DictionaryDestroy(handle->dictionary);
        efio_Close(handle->file, nullptr);
        delete handle;
    }
};
using OwnedHandle = std::unique_ptr<Handle, HandleDeleter>;

OwnedHandle newHandle(const char* name, OpenFile file, bool readOnly, Eint_InitToolkitData* context)
{
    OwnedHandle handle(new Handle);
    handle->nameText = name;
    handle->name = handle->nameText.data();
    handle->file = file.release();
    handle->readOnly = readOnly ? 1 : 0;
    handle->context = context;
    handle->refCount = 1;
    handle->openFileIndex = -1;
    handle->entryCacheInUse = 1;
    handle->fileSystemState = -2;
    handle->thread = ethr_ThreadSelf();
    return handle;
}

bool asksToRead(const char* mode)
{
    return mode == nullptr || strcasecmp(mode, "r") == 0 || strcasecmp(mode, "rb") == 0;
}

/* Makes a read-only handle a writable one; false, without a report, when the file cannot be written. */
bool makeWritable(Handle& handle)
{
    Eerr_ErrorReport* unheard = nullptr;
    OpenFile file(efio_Open(handle.name, "r+b", &unheard));
    eerr_DeleteErrorReportEx(&unheard);
    if (!file) {
        return false;
    }
    handle.lock.acquire(file.get(), handle.name);
    efio_Close(handle.file, nullptr);
    handle.file = file.release();
    handle.readOnly = 0;
    handle.activity = -1; /* another process may have written up to now */
    return true;
}

/* The same, with the current entry kept where the file still has its path. */
bool makeWritableInPlace(Handle& handle, EerrException& scope)
{
    const std::string path = handle.pathOfCurrent.text();
    if (!makeWritable(handle)) {
        return false;
    }
    Activity activity(handle, scope);
    if (!goToPath(handle, path.c_str(), scope)) {
        goToRoot(handle, scope);
    }
    return true;
}

Handle* openAlready(const char* name, const char* mode, Eint_InitToolkitData* context, EerrException& scope)
{
    if (mode == nullptr) {
        Handle* writable = findOpenFile(context, name, false);
        return writable != nullptr ? writable : findOpenFile(context, name, true);
    }
    if (asksToRead(mode)) {
        return findOpenFile(context, name, true);
    }
    if (Handle* writable = findOpenFile(context, name, false)) {
        return writable;
    }
    Handle* readable = findOpenFile(context, name, true);
    return readable != nullptr && makeWritableInPlace(*readable, scope) ? readable : nullptr;
}

Ehfa_File* withReference(Handle& handle, const Options& options, EerrException& scope)
{
    asFunction(scope, "ehfa_FileChange", "Could not set options on file",
               [&] { applyOptions(handle, options, scope); });
    require(handle.refCount < INT32_MAX, "AddRefToFileInOFL Failed");
    ++handle.refCount;
    return &handle;
}

/* What both ways to a handle need, a call with a null context above all. */
void start(Eint_InitToolkitData* context, EerrException& scope)
{
    asFunction(scope, "ehfa_Init", "ehfa_Init failed", [&] { startOpenFiles(context); });
    requireEnabled();
}

template <class Find>
Handle* found(EerrException& scope, Find&& find)
{
    return asFunction(scope, "ehfa_FileIsOpen", "Error checking if file is open", find);
}

/* The last steps of both ways to a handle: its header by `header`, its tree, its place in the list. */
template <class Header>
Ehfa_File* enterList(OwnedHandle handle, const Options& options, EerrException& scope, const char* function,
                     Header&& header)
{
    asFunction(scope, "ehfa_HeaderInit", "Header initialization failure", [&] {
        asFunction(scope, function, "diskFileHeaderFunction failed", header);
        asFunction(scope, "ehfa_EntryPathInit", "CacheInit failed", [&] { startTree(*handle, scope); });
        asFunction(scope, "ehfa_OpenFileAdd", "Unsuccessful in adding file to the list", [&] { addOpenFile(*handle); });
    });
    try {
        asFunction(scope, "ehfa_FileChange", "Could not set options on file",
                   [&] { applyOptions(*handle, options, scope); });
    } catch (...) {
        removeOpenFile(*handle);
        throw;
    }
    return handle.release();
}

/* The turn of a handle that is being made. */
class Turn {
public:
    explicit Turn(const WriterLock& lock) : lock_(lock) { lock_.beginTurn(); }
    ~Turn() { lock_.endTurn(); }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;

private:
    const WriterLock& lock_;
};

/* Whether an open file holds a store, which nothing but a whole new one may replace. */
bool holdsStore(Efio_File* file, EerrException& scope)
{
    const int64_t size = checked(scope, efio_FileSizeGetByHandle(file, scope));
    uint32_t headerPtr = 0;
    return size >= kTagSize + kHeaderSize && readTag(file, headerPtr, scope);
}

/* Removes a file that was made in vain. */
class FreshFile {
public:
    explicit FreshFile(const char* name) : name_(name) {}
    ~FreshFile()
    {
        if (name_ != nullptr) {
            Eerr_ErrorReport* unheard = nullptr;
            efio_FileUnlink(name_, &unheard);
            eerr_DeleteErrorReportEx(&unheard);
        }
    }
    FreshFile(const FreshFile&) = delete;
    FreshFile& operator=(const FreshFile&) = delete;
    void keep() { name_ = nullptr; }

private:
    const char* name_;
};

Ehfa_File* createFile(const char* name, Eint_InitToolkitData* context, const Options& options, EerrException& scope)
{
    start(context, scope);
    require(name != nullptr, "Args");
    if (Handle* open = found(scope, [&] { return findOpenFile(context, name, false); })) {
        return withReference(*open, options, scope);
    }
    /* A file that is there keeps its bytes until it is certain that nobody else writes it. */
    OpenFile file(checked(scope, efio_Open(name, "a+b", scope), "Error on opening file \"%s\"", name));
    WriterLock lock;
    lock.acquire(file.get(), name);
    FreshFile fresh(name);
    const bool replaces = holdsStore(file.get(), scope);
    if (replaces) {
        fresh.keep();
    } else {
        require(efio_ftruncate(file.get(), 0) == 0, "Error on opening file \"%s\"", name);
    }
    OwnedHandle handle = newHandle(name, std::move(file), false, context);
    handle->lock = std::move(lock);
    handle->dictionary = checked(scope, emif_DictionaryDecodeFromString(kOwnDesigns, scope), "EMIF_DESIGN_FETCH failed");
    Handle& made = *handle;
    Ehfa_File* result = enterList(std::move(handle), options, scope, "ehfa_HeaderWrite", [&] {
        const Turn turn(made.lock);
        made.journal.start(made, scope);
        writeNewFile(made, scope);
        made.dictionary->changed = 1;
        asFunction(scope, "ehfa_FileFlush", "File flush failed", [&] { flush(made, scope); });
        made.activity = 0;
    });
    fresh.keep();
    return result;
}

/* Keeps the number that the open of a file left in errno. */
class ErrnoKeeper {
public:
    ErrnoKeeper() : number_(errno) {}
    ~ErrnoKeeper() { errno = number_; }
    void take() { number_ = errno; }

private:
    int number_;
};

Ehfa_File* openFile(const char* name, const char* mode, Eint_InitToolkitData* context, const Options& options,
                    EerrException& scope)
{
    start(context, scope);
    require(name != nullptr, "Args");
    if (Handle* open = found(scope, [&] { return openAlready(name, mode, context, scope); })) {
        return withReference(*open, options, scope);
    }
    const auto alien = [&]() -> Ehfa_File* {
        require(!options.reportsAlien, "File %s is not an EHFA file", name);
        return nullptr;
    };
    if (Handle* writer = findOpenFile(context, name, false)) {
        commitGathered(*writer, scope);
    }
    ErrnoKeeper number;
    OpenFile file(efio_Open(name, mode != nullptr ? mode : "r", scope));
    number.take();
    check(scope, "Unable to open %s", name);
    const int64_t size = checked(scope, efio_FileSizeGetByHandle(file.get(), scope));
    if (size >= 0 && size < kTagSize + kHeaderSize) {
        return alien();
    }
    uint32_t headerPtr = 0;
    if (!readTag(file.get(), headerPtr, scope)) {
        return alien();
    }
    OwnedHandle handle = newHandle(name, std::move(file), asksToRead(mode), context);
    Handle& fresh = *handle;
    if (!fresh.readOnly) {
        fresh.lock.acquire(fresh.file, name);
    }
    return enterList(std::move(handle), options, scope, "ehfa_HeaderRead", [&] {
        const Turn turn(fresh.lock);
        readHeader(fresh, scope);
        fresh.lock.noteSeen();
    });
}

/* The version of a store in a file that is not open; 0 for anything else. */
int32_t versionOf(const char* name, EerrException& scope)
{
    OpenFile file(efio_Open(name, "r", scope));
    if (!file) {
        scope.Clear();
        return 0;
    }
    const int64_t size = checked(scope, efio_FileSizeGetByHandle(file.get(), scope));
    if (size < kTagSize + kHeaderSize) {
        return 0;
    }
    const uint32_t end = fileEndOf(size, name);
    uint32_t headerPtr = 0;
    if (!readTag(file.get(), headerPtr, scope) || headerPtr > end - kHeaderSize) {
        return 0;
    }
    unsigned char bytes[kHeaderSize];
    checked(scope, efio_Seek(file.get(), headerPtr, EFIO_SEEK_SET, scope), "Seek failure");
    checked(scope, efio_ReadSeq(file.get(), bytes, sizeof bytes, scope), "ConvertToHost failure");
    Ehfa_File header{};
    decodeHeader(bytes, header);
    return static_cast<int32_t>(header.dictionaryPtr) > 0 ? header.version : 0;
}

void closeHandle(Handle& file, EerrException& scope)
{
    removeOpenFile(file);
    OwnedHandle handle(&file);
    if (handle->readOnly) {
        return;
    }
    Activity activity(*handle, scope);
    handle->flags &= ~static_cast<uint32_t>(EHFA_FLAG_NO_FLUSH | EHFA_FLAG_BATCH);
    handle->gathering = 0;
    asFunction(scope, "ehfa_FileFlush", "File flush failed", [&] {
        flush(*handle, scope);
        handle->journal.trim(*handle, scope);
    });
}

}  // namespace

void flush(Handle& handle, EerrException& scope)
{
    if (handle.readOnly) {
        return;
    }
    handle.activity = 2;
    if (!heldBack(handle)) {
        writeOwnDictionary(handle, scope);
        freeOldDictionary(handle, scope);
    }
    /* Where only the free list has changed, no-flush mode keeps it. Within another call that one's end does the rest. */
    const bool isDue = !heldBack(handle) || handle.pages.changedBytes() > 0;
    if (isDue && handle.depth <= 1) {
        commit(handle, scope);
    }
}

}  // namespace emantle::hfa

using namespace emantle;
using namespace emantle::hfa;

EMANTLE_API Emsc_Boolean ehfa_Init(Eint_InitToolkitData* context, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "ehfa_Init", 0, [&] {
        startOpenFiles(context);
        return 1;
    });
}

EMANTLE_API Ehfa_File* ehfa_FileCreate(const char* name, Eint_InitToolkitData* context, Eerr_ErrorReport** err)
{
    return guarded<Ehfa_File*>(err, "ehfa_FileCreate", nullptr,
                               [&](EerrException& scope) { return createFile(name, context, Options(), scope); });
}

EMANTLE_API Ehfa_File* ehfa_FileCreateWithOptions(const char* name, Eint_InitToolkitData* context,
                                                  Eerr_ErrorReport** err, ...)
{
    va_list words;
    va_start(words, err);
    Ehfa_File* file = guarded<Ehfa_File*>(err, "ehfa_FileCreateWithOptions", nullptr, [&](EerrException& scope) {
        return createFile(name, context, optionsFrom(words), scope);
    });
    va_end(words);
    return file;
}

EMANTLE_API Ehfa_File* ehfa_FileOpen(const char* name, const char* mode, Eint_InitToolkitData* context,
                                     Eerr_ErrorReport** err)
{
    return guarded<Ehfa_File*>(err, "ehfa_FileOpen", nullptr,
                               [&](EerrException& scope) { return openFile(name, mode, context, Options(), scope); });
}

EMANTLE_API Ehfa_File* ehfa_FileOpenWithOptions(const char* name, const char* mode, Eint_InitToolkitData* context,
                                                Eerr_ErrorReport** err, ...)
{
    va_list words;
    va_start(words, err);
    Ehfa_File* file = guarded<Ehfa_File*>(err, "ehfa_FileOpenWithOptions", nullptr, [&](EerrException& scope) {
        return openFile(name, mode, context, optionsFrom(words), scope);
    });
    va_end(words);
    return file;
}

EMANTLE_API Emsc_Boolean ehfa_FileChange(Ehfa_File* file, Eerr_ErrorReport** err, ...)
{
    va_list words;
    va_start(words, err);
    const Emsc_Boolean done = guarded<Emsc_Boolean>(err, "ehfa_FileChange", 0, [&](EerrException& scope) {
        Handle& handle = opened(file);
        Activity activity(handle, scope);
        applyOptions(handle, optionsFrom(words), scope);
        return 1;
    });
    va_end(words);
    return done;
}

EMANTLE_API Emsc_Boolean ehfa_FileIsOpen(const char* name, Eint_InitToolkitData* context, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "ehfa_FileIsOpen", 0, [&] {
        require(name != nullptr, "Args");
        startOpenFiles(context);
        return findOpenFile(context, name, true) != nullptr || findOpenFile(context, name, false) != nullptr;
    });
}

EMANTLE_API Emsc_Boolean ehfa_IsHFAFile(const char* name, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "ehfa_IsHFAFile", 0, [&](EerrException& scope) -> Emsc_Boolean {
        require(name != nullptr, "Args");
        Eint_InitToolkitData* context = eint_GetInit();
        if (checked(scope, ehfa_FileIsOpen(name, context, scope), "FileIsOpen failed")) {
            return 1;
        }
        return versionOf(name, scope);
    });
}

EMANTLE_API Emsc_Boolean ehfa_FileClose(Ehfa_File* file, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "ehfa_FileClose", 0, [&](EerrException& scope) {
        if (file != nullptr && --file->refCount <= 0) {
            asFunction(scope, "DeleteAndCloseHFAFile", "DeleteAndCloseHFAFile",
                       [&] { closeHandle(opened(file), scope); });
        }
        return 1;
    });
}

EMANTLE_API Emsc_Boolean ehfa_FileFlush(Ehfa_File* file, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "ehfa_FileFlush", 0, [&](EerrException& scope) {
        Handle& handle = opened(file, "Invalid file handle!");
        Activity activity(handle, scope);
        flush(handle, scope);
        return 1;
    });
}

EMANTLE_API Emsc_Boolean ehfa_FileSync(Ehfa_File* file, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "ehfa_FileSync", 0, [&](EerrException& scope) {
        Handle& handle = opened(file, "Invalid file handle!");
        Activity activity(handle, scope);
        flush(handle, scope);
        const int failure = files::opened(handle.file)->system.sync();
        require(failure == 0, "Could not bring %s to the disk\nError %d", handle.nameText.c_str(), failure);
        return 1;
    });
}

EMANTLE_API Emsc_Boolean ehfa_FileReinitialize(const char* name, void*, void*, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "ehfa_FileReinitialize", 0, [&] {
        require(name != nullptr, "Args");
        startOpenFiles(eint_GetInit());
        markStale(eint_GetInit(), name, false);
        return 1;
    });
}

EMANTLE_API Emsc_Boolean ehfa_FileIsNotFlushedOnWrite(const Ehfa_File* file)
{
    return file != nullptr && (file->flags & EHFA_FLAG_NO_FLUSH) != 0;
}
