#include "store/hfa/activity.h"

#include "store/hfa/dictionary.h"
#include "store/hfa/header.h"
#include "store/hfa/open_files.h"
#include "store/hfa/tree.h"

#include <emantle/files/efio.h>
#include <emantle/siblings/ethr.h>
#include <atomic>
#include <exception>

namespace emantle::hfa {

namespace {

/* What is gathered beyond a call reaches the file when it is this much. */
constexpr uint64_t kMostGathered = uint64_t{1} << 26;

struct ChangeListener {
    Ehfa_FileChangedCallback function = nullptr;
    bool everyHandle = false;
};

thread_local ChangeListener listener;
std::atomic<bool> someThreadListens = false;

void tellOfChange(Handle& handle)
{
    if (someThreadListens && listener.function != nullptr && (listener.everyHandle || handle.thread == ethr_ThreadSelf())) {
        const EthrMTUnsafeCode section;
        listener.function(&handle);
    }
    if (!handle.readOnly) {
        markStale(handle.context, handle.name, true);
    }
}

/* Reads again what the handle knows of its file. */
void bringUpToDate(Handle& handle, EerrException& scope)
{
    /* What this thread's other handle has gathered is not in the file yet. */
    if (Handle* writer = findOpenFile(handle.context, handle.name, false); writer != nullptr && writer != &handle) {
        commitGathered(*writer, scope);
    }
    commitGathered(handle, scope);
    asFunction(scope, "ehfa_HeaderRead", "Error re-reading header", [&] { readHeader(handle, scope); });
    asFunction(scope, "ehfa_EntryPathInit", "Error re-initializing cache", [&] { startTree(handle, scope); });
}

/* Reads again what another thread's handle has changed, and goes to where this one stood, or to the root. */
void takeNews(Handle& handle, EerrException& scope)
{
    const bool gathered = handle.pages.changedBytes() > 0 || handle.freeBlocks.isChanged() || inBatchMode(handle);
    const std::string path = handle.pathOfCurrent.text();
    EmifDictionaryT<Etxt_TextA> old(std::exchange(handle.dictionary, nullptr));
    const int32_t changed = old->changed;
    try {
        asFunction(scope, "ehfa_HeaderRead", "Error re-reading header", [&] { readHeader(handle, scope); });
        asFunction(scope, "ehfa_EntryPathInit", "Error re-initializing cache", [&] { startTree(handle, scope); });
    } catch (...) {
        if (handle.dictionary == nullptr) {
            handle.dictionary = old.Release();
        }
        throw;
    }
    for (const Emif_Design* design = old->first; design != nullptr; design = design->next) {
        checked(scope, emif_DictionaryAddDesign(handle.dictionary, design, scope), "emif_DictionaryAddDesign failed");
    }
    if (changed == 0) {
        holdBackDesigns(handle);
    }
    if (!goToPath(handle, path.c_str(), scope)) {
        goToRoot(handle, scope);
    }
    handle.lock.noteSeen();
    require(!gathered, "What was gathered for %s is lost: another thread has written the file", handle.nameText.c_str());
}

}  // namespace

namespace {

/* Notes what the handle is, to come back to it. `step.path` is a copy already, so that nothing here can fail. */
void beginStep(Handle& handle) noexcept
{
    Step& step = handle.step;
    step.version = handle.version;
    step.freeList = handle.freeList;
    step.rootEntryPtr = handle.rootEntryPtr;
    step.dictionaryPtr = handle.dictionaryPtr;
    step.dictionaryLength = handle.dictionaryLength;
    step.flags = handle.flags;
    step.batchStart = handle.batchStart;
    step.entryPtr = handle.entryPtr;
    step.currentEntry = handle.currentEntry;
    step.dictionaryChanged = handle.dictionary != nullptr ? handle.dictionary->changed : 0;
    step.headerHeldBack = handle.headerHeldBack;
    step.changes = handle.changes;
    step.fileEnd = handle.fileEnd;
    step.oldDictionary = handle.oldDictionary;
    handle.pages.beginStep(handle.fileEnd);
    handle.freeBlocks.beginStep();
    handle.journal.beginStep();
    handle.isBroken = false;
}

/* Brings the handle back to the beginning of its call. */
void undoStep(Handle& handle) noexcept
{
    Step& step = handle.step;
    handle.pages.undoStep();
    handle.freeBlocks.undoStep();
    handle.freeList = step.freeList;
    handle.version = step.version;
    handle.rootEntryPtr = step.rootEntryPtr;
    handle.dictionaryPtr = step.dictionaryPtr;
    handle.dictionaryLength = step.dictionaryLength;
    handle.fileEnd = step.fileEnd;
    handle.oldDictionary = step.oldDictionary;
    handle.flags = step.flags;
    handle.batchStart = step.batchStart;
    handle.headerHeldBack = step.headerHeldBack;
    if (handle.dictionary != nullptr && step.dictionaryChanged != 0) {
        handle.dictionary->changed = step.dictionaryChanged;
    }
    handle.children.clear();
    restore(handle, {step.entryPtr, step.currentEntry, std::move(step.path)});
    try {
        EerrException unheard;
        handle.journal.undoFill(handle, unheard);
        handle.journal.trim(handle, unheard);
        unheard.Clear();
    } catch (...) {
        /* The file is longer than it should be until the next commit. */
    }
}

}  // namespace

void holdBackDesigns(Handle& handle) noexcept
{
    handle.designsHeldBack = handle.designsHeldBack || handle.dictionary->changed != 0;
    handle.dictionary->changed = 0;
}

void commit(Handle& handle, EerrException& scope)
{
    if (handle.readOnly != 0) {
        return;
    }
    /* No object without its design. */
    if (handle.pages.changedBytes() > 0) {
        if (handle.dictionary != nullptr && std::exchange(handle.designsHeldBack, false)) {
            handle.dictionary->changed = 1;
        }
        writeOwnDictionary(handle, scope);
    }
    Path path = handle.pathOfCurrent;
    if (!handle.journal.isIdle(handle)) {
        handle.lock.noteChanged();
    }
    handle.journal.commit(handle, scope);
    handle.step.path = std::move(path);
    beginStep(handle);
}

void commitGathered(Handle& handle, EerrException& scope)
{
    if (handle.readOnly == 0 && handle.depth == 0 && handle.activity != -1) {
        Activity activity(handle, scope);
        asFunction(scope, "ehfa_FileFlush", "File flush failed", [&] { commit(handle, scope); });
    }
}

Activity::Activity(Handle& handle, EerrException& scope)
    : handle_(handle), scope_(scope), changes_(handle.changes), exceptions_(std::uncaught_exceptions())
{
    /* A rename that failed half-way leaves a handle without its file. */
    require(handle.file != nullptr, "Bad file");
    if (handle.depth == 0) {
        begin();
    }
    ++handle.depth;
}

void Activity::begin()
{
    if (handle_.readOnly == 0) {
        handle_.lock.beginTurn();
        hasTurn_ = true;
    }
    const bool stale = handle_.activity == -1;
    handle_.activity = 1;
    try {
        if (stale) {
            bringUpToDate(handle_, scope_);
        } else if (hasTurn_ && handle_.lock.hasNews()) {
            takeNews(handle_, scope_);
        }
        handle_.lock.noteSeen();
        if (handle_.readOnly == 0) {
            handle_.step.path = handle_.pathOfCurrent;
            beginStep(handle_);
        }
    } catch (...) {
        handle_.activity = stale ? -1 : 0;
        endTurn();
        throw;
    }
    changes_ = handle_.changes;
}

void Activity::endTurn() noexcept
{
    if (std::exchange(hasTurn_, false)) {
        handle_.lock.endTurn();
    }
}

Activity::~Activity() noexcept(false)
{
    --handle_.depth;
    leave(std::uncaught_exceptions() > exceptions_);
}

void Activity::leave(bool failed)
{
    const bool changed = handle_.changes != changes_ && handle_.readOnly == 0;
    if (handle_.depth > 0) {
        handle_.isBroken = handle_.isBroken || (failed && changed);
        return;
    }
    if (failed) {
        if (changed && !handle_.journal.wasMade()) {
            undoStep(handle_);
        }
        handle_.activity = handle_.activity == -1 ? -1 : 0;
        endTurn();
        return;
    }
    try {
        require(!handle_.isBroken || !changed, "A step of the call failed; nothing of it is in %s", handle_.name);
        if (!gathers(handle_) || handle_.pages.changedBytes() > kMostGathered) {
            commit(handle_, scope_);
        }
    } catch (...) {
        if (!handle_.journal.wasMade()) {
            undoStep(handle_);
        }
        handle_.activity = handle_.activity == -1 ? -1 : 0;
        endTurn();
        throw;
    }
    endTurn();
    if (handle_.activity == 2) {
        ++handle_.depth;
        tellOfChange(handle_);
        --handle_.depth;
    }
    if (handle_.activity != -1) {
        handle_.activity = 0;
    }
}

}  // namespace emantle::hfa

EMANTLE_API void ehfa_SetFileChangedCallback(Ehfa_FileChangedCallback callback, Emsc_Boolean everyHandle)
{
    emantle::hfa::someThreadListens = true;
    emantle::hfa::listener = {callback, everyHandle != 0};
}
