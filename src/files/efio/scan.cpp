#include "files/efio/names.h"
#include "frame/estr/wild.h"
#include "frame/guard/guard.h"
#include "platform/directory.h"
#include "platform/errors.h"
#include "platform/watch.h"

#include <emantle/files/efio/scan.h>
#include <emantle/files/efio/search_list.h>
#include <emantle/files/efnp/file_name.h>
#include <memory>
#include <vector>

/* First word: the place of the search. */
struct Efio_Find {
    std::size_t next = 0;
    std::vector<emantle::platform::DirectoryEntry> entries;
};

namespace emantle::files {

namespace {

/* The directory of a name, "." for none. */
std::string directoryOf(const std::string& path, EerrException& scope)
{
    const HeapPtr<char> part(efnp_FileNameGet(path.c_str(), EFNP_PATH_PART, -1, scope));
    check(scope, "Error extracting the directory");
    return *part == '\0' ? "." : part.get();
}

void append(Estr_StringList*& list, const std::string& name, EerrException& scope)
{
    list = estr_StringListAppend(list, name.c_str(), scope);
}

std::string joined(const std::string& directory, const std::string& name)
{
    return directory == "/" ? directory + name : directory + "/" + name;
}

std::vector<platform::DirectoryEntry> entriesOf(const std::string& directory)
{
    std::vector<platform::DirectoryEntry> entries;
    const int failure = platform::listDirectory(directory, entries);
    require(failure == 0, "Cannot read directory %s\n%s", directory.c_str(), platform::systemErrorText(failure).c_str());
    return entries;
}

/* The entries of one directory of a tree. What fails reads as the iteration that it stands for. */
std::vector<platform::DirectoryEntry> iterated(const std::string& directory, EerrException& scope)
{
    std::vector<platform::DirectoryEntry> entries;
    guarded(scope, "efio_NextFilename", [&] { entries = entriesOf(directory); });
    check(scope);
    return entries;
}

std::vector<platform::DirectoryEntry> iteratedBelow(const std::string& directory, EerrException& scope)
{
    std::vector<platform::DirectoryEntry> entries;
    guarded(scope, "efio_DirectoryScanRecursive",
            [&](EerrException& inner) { entries = iterated(directory, inner); });
    check(scope, "Error searching subfolders of <%s>", directory.c_str());
    return entries;
}

/* Collects from a directory and those below it, each before what lies in it. */
void scanTree(const std::string& top, const char* pattern, Estr_StringList*& result, EerrException& scope)
{
    std::vector<std::string> open{top};
    while (!open.empty()) {
        const std::string directory = std::move(open.back());
        open.pop_back();
        std::vector<std::string> below;
        for (const auto& entry : directory == top ? iterated(directory, scope) : iteratedBelow(directory, scope)) {
            const std::string path = joined(directory, entry.name);
            platform::FileStatus itself;
            require(platform::linkStatus(path, itself) == 0, "Error determining if <%s> is a directory.", path.c_str());
            if (itself.kind == platform::FileKind::directory) {
                below.push_back(path);
            } else if (entry.kind != platform::FileKind::directory &&
                       wildMatches(pattern, entry.name.c_str(), false)) {
                append(result, path, scope);
                check(scope, "Error adding <%s> to list of results", path.c_str());
            }
        }
        open.insert(open.end(), below.rbegin(), below.rend());
    }
}

}  // namespace

}  // namespace emantle::files

using namespace emantle;
using namespace emantle::files;

EMANTLE_API char* efio_NextFilename(const char* name, char* buffer, Efio_Find** find, Eerr_ErrorReport** err)
{
    return guarded<char*>(err, "efio_NextFilename", nullptr, [&](EerrException& scope) -> char* {
        require(buffer != nullptr && find != nullptr, "NULL buffer or find handle");
        if (*find == nullptr) {
            const std::string directory = directoryOf(expandedName(name), scope);
            auto fresh = std::make_unique<Efio_Find>();
            fresh->entries = entriesOf(directory);
            *find = fresh.release();
        }
        if ((*find)->next == (*find)->entries.size()) {
            efio_FindFree(*find);
            *find = nullptr;
            return nullptr;
        }
        const std::string& entry = (*find)->entries[(*find)->next++].name;
        buffer[entry.copy(buffer, EFIO_NAME_SIZE - 1)] = '\0';
        return buffer;
    });
}

EMANTLE_API void efio_FindFree(Efio_Find* find)
{
    delete find;
}

EMANTLE_API Estr_StringList* efio_FindFilesInPath(const char* path, const char* pattern, Eerr_ErrorReport** err)
{
    return guarded<Estr_StringList*>(
        err, "efio_FindFilesInPath", nullptr, [&](EerrException& scope) -> Estr_StringList* {
            const std::string directory = expandedName(path);
            std::vector<platform::DirectoryEntry> entries;
            const int failure = platform::listDirectory(directory, entries);
            const bool missing = failure == platform::error::notFound || failure == platform::error::notADirectory;
            require(failure == 0 || missing, "Cannot read directory %s\n%s", directory.c_str(),
                    platform::systemErrorText(failure).c_str());
            EstrStringList found;
            for (const auto& entry : entries) {
                if (entry.kind != platform::FileKind::directory &&
                    wildMatches(pattern, entry.name.c_str(), false)) {
                    Estr_StringList* list = found.Release();
                    append(list, joined(directory, entry.name), scope);
                    found = list;
                    check(scope);
                }
            }
            return found.Release();
        });
}

EMANTLE_API long efio_DirectoryScanRecursive(const char* name, Estr_StringList** result, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "efio_DirectoryScanRecursive", -1, [&](EerrException& scope) {
        require(result != nullptr, "NULL string list");
        const std::string path = expandedName(name);
        const HeapPtr<char> directories(efnp_FileNameGet(path.c_str(), EFNP_PATH_PART, -1, scope));
        check(scope, "Error getting directory name using efnp_FileNameGet.");
        const HeapPtr<char> pattern(efnp_FileNameGet(path.c_str(), EFNP_NAME_PART, -1, scope));
        check(scope, "Error getting target file name using efnp_FileNameGet.");
        LegacyHelperTemplate<_efio_SearchList> list(
            efio_CreateSLFromString(nullptr, *directories == '\0' ? "." : directories.get(), scope));
        check(scope, "Error resolving <%s> into a list of directories.", directories.get());
        for (const _efio_SearchList* entry = list; entry != nullptr; entry = entry->next) {
            scanTree(entry->directory, pattern.get(), *result, scope);
        }
        return 0;
    });
}

struct efio::MonitorDirectory::Impl {
    platform::DirectoryWatch names, contents;
};

efio::MonitorDirectory::MonitorDirectory(const char* directory) : impl_(std::make_unique<Impl>())
{
    using Of = platform::DirectoryWatch::Of;
    EerrException scope(OrvikLog::Literal{"efio::MonitorDirectory::MonitorDirectory"});
    const HeapPtr<char> path(estr_PathExpand(directory, nullptr, 0));
    const bool watched = path != nullptr && impl_->names.start(path.get(), Of::names) == 0 &&
                         impl_->contents.start(path.get(), Of::contents) == 0;
    if (!watched) {
        scope.Throw(__LINE__, formatted("Cannot watch directory %s", directory == nullptr ? "" : directory).c_str());
    }
}

efio::MonitorDirectory::~MonitorDirectory() = default;

bool efio::MonitorDirectory::CheckForChanges()
{
    using News = platform::DirectoryWatch::News;
    const News names = impl_->names.poll(), contents = impl_->contents.poll();
    if (names == News::failed || contents == News::failed) {
        EerrException(OrvikLog::Literal{"efio::MonitorDirectory::CheckForChanges"})
            .Throw(__LINE__,
                   names == News::failed
                       ? "efio::MonitorDirectory::CheckForChanges: FindNextChangeNotification function failed."
                       : "efio::MonitorDirectory::CheckForChanges: FindNextChangeNotification function failed.\n");
    }
    return names == News::some || contents == News::some;
}
