#include "store/hfa/options.h"

#include "frame/guard/plain_scope.h"
#include "store/hfa/activity.h"
#include "store/hfa/edit.h"

#include <emantle/files/efio.h>
#include <algorithm>

namespace emantle::hfa {

namespace {

/* The words that a code takes, a name counting as none; -1 for a code that is none. */
int wordCount(int code)
{
    constexpr int counts[] = {-1, 2, 1, 1, 1, 0, 5, 1, 1};
    return code >= EHFA_OPTION_MAP && code <= EHFA_OPTION_WORD ? counts[code] : -1;
}

/* What is wanted of a map is noted; reads and writes through the file give the same bytes. */
void noteMap(Handle& handle, bool wanted, int growth, EerrException& scope)
{
    if (wanted && !handle.readOnly && handle.fileSystemState == -2) {
        handle.fileSystemState = checked(scope, efio_FileSystemIsLocal(handle.name, scope)) != 0;
    }
    handle.mapWanted = wanted && (handle.readOnly || handle.fileSystemState == 1);
    handle.mapGrowth = growth;
}

void flushOnWrite(Handle& handle, bool atOnce, EerrException& scope)
{
    if (!atOnce) {
        handle.flags |= EHFA_FLAG_NO_FLUSH;
        emif_StreamImmediateFlushDisable(nullptr, scope);
        return;
    }
    emif_StreamImmediateFlushEnable(nullptr, scope);
    if (!heldBack(handle)) {
        return;
    }
    handle.flags &= ~static_cast<uint32_t>(EHFA_FLAG_NO_FLUSH);
    if (!gathers(handle) && handle.depth <= 1) {
        asFunction(scope, "freeListCacheFlush", "Error in ehfa_FileHostDataWrite", [&] { commit(handle, scope); });
    }
}

void renameFile(Handle& handle, const char* name, EerrException& scope)
{
    if (name == nullptr) {
        warn("ehfa_FileChange", "Destination file name not specified for file rename");
        return;
    }
    asFunction(scope, "ehfa_FileFlush", "File flush failed", [&] { commit(handle, scope); });
    efio_Close(handle.file, scope);
    handle.file = nullptr;
    EerrException refused;
    efio_FileNameChange(handle.name, name, refused);
    const bool renamed = !refused;
    const std::string current = renamed ? std::string(name) : handle.nameText;
    handle.file = checked(scope, efio_Open(current.c_str(), "r+b", scope), "Unable to open %s", current.c_str());
    handle.nameText = current;
    handle.name = handle.nameText.data();
    handle.readOnly = 0;
    if (!renamed) {
        Eerr_ErrorReport* chain = refused.Release();
        scope.Absorb(&chain);
        fail("efio_FileNameChange failure");
    }
}

}  // namespace

Options optionsFrom(va_list words)
{
    Options options;
    for (int code = va_arg(words, int); code != 0; code = va_arg(words, int)) {
        const int count = wordCount(code);
        if (count < 0) {
            warn("ehfa_FileChange", "Illegal option %ld", static_cast<long>(code));
            continue;
        }
        Option option{code, {}, nullptr};
        for (int i = 0; i < count; ++i) {
            option.words[i] = va_arg(words, int);
        }
        if (code == EHFA_OPTION_RENAME) {
            option.text = va_arg(words, const char*);
        }
        if (code == EHFA_OPTION_REPORT_ALIEN) {
            options.reportsAlien = option.words[0] != 0;
        }
        options.list.push_back(option);
    }
    return options;
}

void applyOptions(Handle& handle, const Options& options, EerrException& scope)
{
    for (const Option& option : options.list) {
        switch (option.code) {
        case EHFA_OPTION_MAP: noteMap(handle, option.words[0] == 1, option.words[1], scope); break;
        case EHFA_OPTION_MAP_WINDOW: noteMap(handle, option.words[2] == 1, option.words[3], scope); break;
        case EHFA_OPTION_FLUSH_ON_WRITE: flushOnWrite(handle, option.words[0] == 1, scope); break;
        case EHFA_OPTION_ENTRY_CACHING:
            option.words[0] == 1 ? endBatch(handle, scope) : beginBatch(handle);
            break;
        case EHFA_OPTION_ENTRY_CACHE:
            handle.entryCache = option.words[0] == 1 ? 1 : 0;
            break;
        case EHFA_OPTION_RENAME: renameFile(handle, option.text, scope); break;
        case EHFA_OPTION_WORD: handle.option = option.words[0]; break;
        default: break;
        }
    }
}

}  // namespace emantle::hfa
