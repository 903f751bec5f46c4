#include "frame/guard/plain_scope.h"
#include "frame/memory/heap_ptr.h"
#include "store/hfa/activity.h"
#include "store/hfa/bytes.h"
#include "store/hfa/copy_progress.h"
#include "store/hfa/edit.h"
#include "store/hfa/object.h"
#include "store/hfa/open_files.h"
#include "store/hfa/options.h"
#include "store/hfa/runs.h"
#include "store/hfa/space.h"
#include "store/hfa/tree.h"

#include <emantle/files/efio.h>
#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstring>

namespace emantle::hfa {

namespace {

std::atomic<MeterUpdate> meterUpdate = nullptr;

struct CopyOrder {
    const Ehfa_CopyNodeType* types = nullptr;
    const Ehfa_CopyNodeNameType* namesAndTypes = nullptr;
    void* meter = nullptr;
    double from = 0;
    double to = 100;
};

CopyOrder orderFrom(va_list words)
{
    CopyOrder order;
    for (int code = va_arg(words, int); code != 0; code = va_arg(words, int)) {
        switch (code) {
        case EHFA_COPY_TYPES: order.types = va_arg(words, const Ehfa_CopyNodeType*); break;
        case EHFA_COPY_NAME_TYPES: order.namesAndTypes = va_arg(words, const Ehfa_CopyNodeNameType*); break;
        case EHFA_COPY_METER: order.meter = va_arg(words, void*); break;
        case EHFA_COPY_PROGRESS:
            order.from = va_arg(words, int);
            order.to = va_arg(words, int);
            break;
        /* How many words follow it is not known, so nothing behind it can be read. */
        default: fail("Illegal option %ld", static_cast<long>(code));
        }
    }
    return order;
}

/* The row of the caller's tables; null where they have none. */
const Ehfa_CopyNodeType* callersRowFor(const CopyOrder& order, const Ehfa_Entry& entry)
{
    for (const auto* row = order.namesAndTypes; row != nullptr && row->row.type[0] != '\0'; ++row) {
        if (std::strncmp(row->name, entry.name, sizeof row->name) == 0 &&
            std::strncmp(row->row.type, entry.type, sizeof row->row.type) == 0) {
            return &row->row;
        }
    }
    for (const auto* row = order.types; row != nullptr && row->type[0] != '\0'; ++row) {
        if (std::strncmp(row->type, entry.type, sizeof row->type) == 0) {
            return row;
        }
    }
    return nullptr;
}

const Ehfa_CopyNodeType& rowFor(const CopyOrder& order, const Ehfa_Entry& entry)
{
    if (const Ehfa_CopyNodeType* row = callersRowFor(order, entry)) {
        return *row;
    }
    static const Ehfa_CopyNodeType builtIn[] = {
        {"Ehfa_Data", ehfa_CopyGenericEntry, nullptr, 1, 1},
        {"Ehfa_FreeListNode", ehfa_CopyGenericEntry, nullptr, 1, 1},
        {",", ehfa_CopyGenericEntry, ehfa_CopyGenericData, 1, 1}, /* every other type */
    };
    for (const Ehfa_CopyNodeType& row : builtIn) {
        if (std::strcmp(row.type, entry.type) == 0) {
            return row;
        }
    }
    return builtIn[std::size(builtIn) - 1];
}

/* Copies one tree depth-first; both handles step through it together. */
class TreeCopy {
public:
    TreeCopy(Handle& source, Handle& target, const CopyOrder& order, EerrException& scope)
        : source_(source), target_(target), order_(order), scope_(scope)
    {
    }

    void run()
    {
        bool asChild = true;
        bool more = copyRoot() && goToChild(source_, scope_);
        while (more) {
            tellProgress();
            const bool below = copyCurrent(asChild);
            asChild = below && goToChild(source_, scope_);
            if (!asChild) {
                more = goOn();
                asChild = more && !followBack();
            }
        }
    }

private:
    /* Entries lie in the file about in the order of the tree. */
    void tellProgress()
    {
        const double part = double(source_.entryPtr) / std::max<double>(1, source_.fileEnd);
        const double percent = order_.from + (order_.to - order_.from) * part;
        require(checked(scope_, ehfa_FileCopyProgressUpdate(order_.meter, percent, scope_)), "Aborted");
    }

    /* To the next entry that is not below the current one. */
    bool goOn()
    {
        while (!isAtRoot(source_)) {
            if (goToNext(source_, scope_)) {
                return true;
            }
            if (!goToParent(source_, scope_)) {
                return false;
            }
        }
        return false;
    }

    /* Brings the target back to the level of the source. False when it has no entry there yet, because those of the source
     * were left out. */
    bool followBack()
    {
        while (target_.pathOfCurrent.depth() > source_.pathOfCurrent.depth()) {
            require(goToParent(target_, scope_), "Bad file");
        }
        return target_.pathOfCurrent.depth() == source_.pathOfCurrent.depth();
    }

    /* The target has a root already, so a row of the caller's says no more of it than what becomes of the rest. */
    bool copyRoot()
    {
        const Ehfa_CopyNodeType* row = callersRowFor(order_, source_.currentEntry);
        if (row == nullptr) {
            return true;
        }
        copyBehindEntry(*row);
        return row->children != 0;
    }

    /* Whether the entries below are to be copied too. */
    bool copyCurrent(bool asChild)
    {
        const Ehfa_CopyNodeType& row = rowFor(order_, source_.currentEntry);
        if (row.copyEntry == nullptr) {
            return false;
        }
        checked(scope_, row.copyEntry(&source_, &target_, asChild ? 1 : 0, scope_), "Unable to copy >%s< to >%s<",
                source_.path, target_.name);
        copyBehindEntry(row);
        return row.children != 0;
    }

    void copyBehindEntry(const Ehfa_CopyNodeType& row)
    {
        if (row.copyData != nullptr) {
            checked(scope_, row.copyData(&source_, &target_, order_.meter, scope_), "Unable to copy >%s< to >%s<",
                    source_.path, target_.name);
        }
        if (row.keepModTime != 0) {
            const Activity writing(target_, scope_);
            target_.currentEntry.modTime = source_.currentEntry.modTime;
            rewriteCurrent(target_, scope_);
        }
    }

    Handle& source_;
    Handle& target_;
    const CopyOrder& order_;
    EerrException& scope_;
};

/* The design of a type goes along with its first object. */
void bringDesign(Handle& source, Handle& target, const char* type, EerrException& scope)
{
    const Emif_Design* present = emif_FindDesignByName(target.dictionary, type, scope);
    check(scope, "Trouble locating design for >%s<", type);
    if (present != nullptr) {
        return;
    }
    const Emif_Design* design = emif_FindDesignByName(source.dictionary, type, scope);
    check(scope, "Trouble locating design for >%s<", type);
    if (design == nullptr) {
        warn("ehfa_CopyGenericData", "Could not locate design for >%s<; attempting to copy data anyway", type);
        return;
    }
    checked(scope, emif_DictionaryAddDesign(target.dictionary, design, scope), "Trouble locating design for >%s<", type);
}

void copyData(Handle& source, Handle& target, EerrException& scope)
{
    const Ehfa_Entry& entry = source.currentEntry;
    bringDesign(source, target, entry.type, scope);
    if (entry.dataSize == 0) {
        return;
    }
    requireData(source);
    std::vector<unsigned char> data(static_cast<std::size_t>(entry.dataSize));
    readBytes(source, entry.data, data.data(), data.size(), scope);
    copyRuns(source, target, data, scope);
    const uint32_t place = asFunction(scope, "ehfa_NextFreePos", "ehfa_NextFreePos failed",
                                      [&] { return allocateBlock(target, entry.dataSize, scope); });
    writeBytes(target, place, data.data(), data.size(), scope);
    target.currentEntry.data = place;
    target.currentEntry.dataSize = entry.dataSize;
    rewriteCurrent(target, scope);
}

/* A file that is gone again unless it is kept. */
class TemporaryFile {
public:
    explicit TemporaryFile(std::string name) : name_(std::move(name)) {}
    ~TemporaryFile()
    {
        if (!kept_) {
            Eerr_ErrorReport* unheard = nullptr;
            efio_FileUnlink(name_.c_str(), &unheard);
            eerr_DeleteErrorReportEx(&unheard);
        }
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    const char* name() const { return name_.c_str(); }
    void keep() { kept_ = true; }

private:
    std::string name_;
    bool kept_ = false;
};

struct HandleCloser {
    void operator()(Ehfa_File* file) const noexcept
    {
        Eerr_ErrorReport* unheard = nullptr;
        ehfa_FileClose(file, &unheard);
        eerr_DeleteErrorReportEx(&unheard);
    }
};
using OpenStore = std::unique_ptr<Ehfa_File, HandleCloser>;

/* The place of the caller in a store that it has open as well. */
class PlaceKeeper {
public:
    explicit PlaceKeeper(Handle& handle) : handle_(handle), cursor_(cursorOf(handle)) {}
    ~PlaceKeeper() { restore(handle_, std::move(cursor_)); }
    PlaceKeeper(const PlaceKeeper&) = delete;
    PlaceKeeper& operator=(const PlaceKeeper&) = delete;

private:
    Handle& handle_;
    Cursor cursor_;
};

/* Gives a file the times of another. */
void copyTimes(const char* from, const char* to, EerrException& scope)
{
    struct Cache {
        Efio_StatCache* cache = nullptr;
        ~Cache() { efio_StatCacheFree(cache); }
    };
    Cache source;
    Cache target;
    int64_t times[2] = {};
    checked(scope, efio_StatCacheCreate(from, &source.cache, scope), "Unable to copy >%s< to >%s<", from, to);
    checked(scope, efio_StatCacheGet(source.cache, EFIO_STAT_TIMES, times, scope), "Unable to copy >%s< to >%s<", from, to);
    checked(scope, efio_StatCacheCreate(to, &target.cache, scope), "Unable to copy >%s< to >%s<", from, to);
    checked(scope, efio_StatCacheSet(target.cache, EFIO_STAT_TIMES, times, scope), "Unable to copy >%s< to >%s<", from, to);
}

void copyFile(const char* sourceName, const char* destination, Eint_InitToolkitData* context, const CopyOrder& order,
              EerrException& scope)
{
    require(sourceName != nullptr && destination != nullptr, "Args");
    require(!checked(scope, ehfa_FileIsOpen(destination, context, scope), "Cannot determine if >%s< is open", destination),
            "Cannot copy to >%s< when it is already open", destination);
    if (Handle* writer = findOpenFile(context, sourceName, false)) {
        commitGathered(*writer, scope);
    }
    OpenStore sourceStore(
        checked(scope, ehfa_FileOpen(sourceName, "r", context, scope), "Error opening file %s", sourceName));
    Handle& source = opened(sourceStore.get());
    const Emif_Design* entryDesign =
        checked(scope, emif_FindDesignByName(source.dictionary, "Ehfa_Entry", scope), "emif_FindDesignByName fail");
    require(entryDesign != nullptr, "Unable to locate Ehfa_Entry design in data dictionary");

    std::string pattern = std::string(destination) + "XXXXXX";
    require(checked(scope, efio_MakeTemp(pattern.data(), scope), "Temp file name generation failure") != nullptr,
            "Temp file name generation failure");
    TemporaryFile temporary(pattern);
    OpenStore targetStore(checked(scope, ehfa_FileCreate(temporary.name(), context, scope),
                                  "Cannot create ehfa_File file >%s<", temporary.name()));
    {
        Handle& target = opened(targetStore.get());
        target.gathering = 1;
        Activity reading(source, scope);
        const PlaceKeeper keeper =
            asFunction(scope, "ehfa_EntryPathSave", "Can't save entry path", [&] { return PlaceKeeper(source); });
        asFunction(scope, "ehfa_EntrySeek", "Can't find root", [&] { goToRoot(source, scope); });
        TreeCopy(source, target, order, scope).run();
    }
    checked(scope, ehfa_FileClose(targetStore.release(), scope), "Unable to copy >%s< to >%s<", sourceName, destination);
    sourceStore.reset();
    copyTimes(sourceName, temporary.name(), scope);
    /* In place of what is there, in one step. */
    checked(scope, efio_FileNameChange(temporary.name(), destination, scope), "efio_FileNameChange failure");
    temporary.keep();
}

}  // namespace

void setMeterUpdate(MeterUpdate update)
{
    meterUpdate = update;
}

}  // namespace emantle::hfa

using namespace emantle;
using namespace emantle::hfa;

EMANTLE_API Emsc_Boolean ehfa_FileCopy(const char* source, const char* destination, Eint_InitToolkitData* context,
                                       Eerr_ErrorReport** err, ...)
{
    va_list words;
    va_start(words, err);
    const Emsc_Boolean done = guarded<Emsc_Boolean>(err, "ehfa_FileCopy", 0, [&](EerrException& scope) {
        copyFile(source, destination, context, orderFrom(words), scope);
        return 1;
    });
    va_end(words);
    return done;
}

EMANTLE_API Emsc_Boolean ehfa_CopyGenericEntry(Ehfa_File* source, Ehfa_File* target, Emsc_Boolean asChild,
                                               Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "ehfa_CopyGenericEntry", 0, [&](EerrException& scope) {
        Handle& from = opened(source, "Bad file");
        Handle& to = opened(target, "Bad file");
        Activity activity(to, scope);
        writeTreeEntry(to, asChild != 0 ? EHFA_WRITE_LAST_CHILD : EHFA_WRITE_AFTER, from.currentEntry.name,
                       from.currentEntry.type, NewEntry::isWritten, scope);
        return 1;
    });
}

EMANTLE_API Emsc_Boolean ehfa_CopyGenericData(Ehfa_File* source, Ehfa_File* target, void*, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "ehfa_CopyGenericData", 0, [&](EerrException& scope) {
        Activity reading(opened(source, "Bad file"), scope);
        Activity writing(opened(target, "Bad file"), scope);
        copyData(opened(source), opened(target), scope);
        return 1;
    });
}

EMANTLE_API Emsc_Boolean ehfa_FileCopyProgressUpdate(void* meter, double percent, Eerr_ErrorReport** err)
{
    eerr_Init(err);
    const MeterUpdate update = meterUpdate;
    return meter == nullptr || update == nullptr || update(meter, percent, err) ? 1 : 0;
}
