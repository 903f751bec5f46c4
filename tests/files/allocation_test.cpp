#include "files/scratch.h"
#include "frame/memory/heap_ptr.h"
#include "support/starvation.h"

#include <cstring>
#include <emantle/files/efio.h>
#include <emantle/files/efnp.h>

using emantle::Owned;

/* Names are longer than the 15 bytes that a string keeps in itself. */

namespace {

using Err = Eerr_ErrorReport**;

class Allocation : public Scratch {};

constexpr char list[] = "a file of a name.img(Title:Layer_1:Stats,:Layer_2),b\\,c.img";
constexpr char content[] = "the bytes of a small file";

using File = Owned<Efio_File, [](Efio_File* file) { efio_Close(file, nullptr); }>;
using StatCache = Owned<Efio_StatCache, efio_StatCacheFree>;

/* A file that failed to open, to write or to read says so, and is closed. */
Ending writeAndRead(const char* name, Err err)
{
    const File file(efio_Open(name, "w+b", err));
    char back[sizeof content] = {};
    const bool done = file != nullptr && efio_WriteSeq(file.get(), content, sizeof content, err) == sizeof content &&
                      efio_Seek(file.get(), 0, EFIO_SEEK_SET, err) == 0 &&
                      efio_ReadSeq(file.get(), back, sizeof back, err) == sizeof back;
    return doneIf(done, std::strcmp(back, content) == 0);
}

Ending mapped(const char* name, Err err)
{
    const File file(efio_Open(name, "rb", err));
    Efio_MmapInfo* map = file == nullptr ? nullptr : efio_MmapCreate(file.get(), 0, err);
    const bool whole = map != nullptr && efio_MmapMap(map, err) == 0;
    const void* address = whole ? efio_MmapAddressGet(map, 0, sizeof content, err) : nullptr;
    const Ending ending = doneIf(address != nullptr, address != nullptr && std::memcmp(address, content, 8) == 0);
    Eerr_ErrorReport* ofDestroy = nullptr;
    efio_MmapDestroy(map, &ofDestroy);
    eerr_DeleteErrorReportEx(&ofDestroy);
    return ending;
}

Ending statistics(const char* name, Err err)
{
    Efio_StatCache* made = nullptr;
    efio_StatCacheCreate(name, &made, err);
    const StatCache cache(made);
    std::int64_t size = 0;
    const bool done = cache != nullptr && efio_StatCacheGet(cache.get(), EFIO_STAT_SIZE_EXTENDED, &size, err) == 0;
    return doneIf(done, size == sizeof content);
}

Ending iterate(const char* directory, Err err)
{
    char name[EFIO_NAME_SIZE];
    Efio_Find* find = nullptr;
    int entries = 0;
    while (efio_NextFilename(directory, name, &find, err) != nullptr) {
        ++entries;
    }
    return doneIf(*err == nullptr, entries == 2);
}

/* What was found up to the failure may be in the list. */
template <class Scan> Ending found(Scan scan, Err err)
{
    Estr_StringList* result = nullptr;
    const bool done = scan(&result, err) == 0;
    const bool right = estr_StringListCount(result) == 1;
    estr_StringListDelete(result, nullptr);
    return doneIf(done, right);
}

Ending searched(const std::string& path, const char* name, Err err)
{
    Efio_SearchList* made = efio_CreateSLFromString(nullptr, path.c_str(), err);
    const bool complete = *err == nullptr;
    char* where = complete ? efio_Which(made, name, err) : nullptr;
    const bool right = complete ? efio_SLGetCount(made) == 2 : made == nullptr;
    efio_FreeSL(made);
    const bool foundIt = where != nullptr;
    emsc_HeapFree(where);
    return !right ? Ending::wrong : doneIf(foundIt, true);
}

} // namespace

TEST_F(Allocation, Names)
{
    starve({
        {"efnp_FileNodeListGet", true,
         [](Err err) {
             return endingOf(efnp_FileNodeListGet(list, EFNP_ITEM, 0, 1, err), "a file of a name.img(Title:Layer_2)");
         }},
        {"efnp_FileNodeListSet", true,
         [](Err err) {
             return endingOf(efnp_FileNodeListSet(list, ":another layer", EFNP_FULL_NODE_PATH, 0, 0, err),
                             "a file of a name.img(Title:another layer,:Layer_2),b\\,c.img");
         }},
        {"efnp_FileNodeParseEx", true,
         [](Err err) {
             Efnp_FileNodes* nodes = efnp_FileNodeParseEx(list, err);
             const Ending ending = doneIf(nodes != nullptr, nodes != nullptr && nodes[2].file == nullptr);
             efnp_FreeNodeList(nodes);
             return ending;
         }},
        {"efnp_FileNodeCreate", true,
         [](Err err) {
             return endingOf(efnp_FileNodeCreate("/a directory", "a file.img", "node:of a tree", "Title", err),
                             "/a directory/a file.img(Title:node:of a tree)");
         }},
        {"efnp_NodePathSet", true,
         [](Err err) {
             return endingOf(efnp_NodePathSet(":the first node:b", "another node", EFNP_NODE, 1, err),
                             ":the first node:another node");
         }},
        {"efnp_NodeNameParse", true,
         [](Err err) {
             const Owned<Efnp_NodeName, efnp_FreeNodeName> name(efnp_NodeNameParse(":the first node:b", err));
             return doneIf(name != nullptr, name != nullptr && std::strcmp(name->name, "b") == 0);
         }},
        {"efnp_FileNameSet", true,
         [](Err err) {
             return endingOf(efnp_FileNameSet("/a directory/b.img", "another name", EFNP_BASE, -1, err),
                             "/a directory/another name.img");
         }},
        {"efnp_FileNameEvaluateEnv", true,
         [](Err err) {
             return endingOf(efnp_FileNameEvaluateEnv("/a directory/$NOT_SET/b.img", err), "/a directory//b.img");
         }},
    });
}

TEST_F(Allocation, Files)
{
    std::filesystem::create_directory(path("below it"));
    put("a file of a long name", {content, sizeof content});
    const std::string file = path("a file of a long name"), other = path("below it/another file"), directory = path();
    const std::string pattern = directory + "/A*LONG*", lists = directory + ";/no directory of this name";
    const std::string outer = path("below it/x"), inner = path("below it/x/y");
    starve({
        {"efio_Open", true, [&](Err err) { return writeAndRead(other.c_str(), err); }},
        {"efio_FileCopy", true,
         [&](Err err) { return doneIf(efio_FileCopy(file.c_str(), other.c_str(), err) == 0, true); }},
        {"efio_Mmap", true, [&](Err err) { return mapped(file.c_str(), err); }},
        {"efio_StatCache", true, [&](Err err) { return statistics(file.c_str(), err); }},
        {"efio_FileNameParse", true,
         [&](Err err) {
             char *folder = nullptr, *base = nullptr, *extension = nullptr;
             const bool done = efio_FileNameParse(file.c_str(), &folder, &base, &extension, err) == 0;
             const bool right = !done || (folder == directory && std::strcmp(base, "a file of a long name") == 0);
             for (char* text : {folder, base, extension}) {
                 emsc_HeapFree(text);
             }
             return !right ? Ending::wrong : doneIf(done, true);
         }},
        {"efio_DiskSpaceToString", true,
         [](Err err) {
             const Efio_DiskSpace space{0, 0, 2, 1, 1};
             return endingOf(efio_DiskSpaceToString(&space, err), "1 Terabyte 1 Gigabyte 2 Megabytes");
         }},
        {"efio_TempName", true,
         [&](Err err) {
             char* name = efio_TempName(directory.c_str(), "prefix", err);
             const Ending ending =
                 doneIf(name != nullptr, name != nullptr && std::strlen(name) == directory.size() + 13);
             emsc_HeapFree(name);
             return ending;
         }},
        {"efio_MaybeMakeDir", true,
         [&](Err err) {
             const bool made = efio_MaybeMakeDir(inner.c_str(), err) == 0;
             const bool there = rmdir(inner.c_str()) == 0;
             rmdir(outer.c_str());
             return doneIf(made, there);
         }},
        {"efio_NextFilename", true, [&](Err err) { return iterate(file.c_str(), err); }},
        {"efio_Which", true, [&](Err err) { return searched(lists, "a file of a long name", err); }},
        {"efio_FindFilesInPath", true,
         [&](Err err) {
             return found(
                 [&](Estr_StringList** result, Err own) {
                     *result = efio_FindFilesInPath(directory.c_str(), "*long*", own);
                     return *own == nullptr ? 0 : -1;
                 },
                 err);
         }},
        {"efio_DirectoryScanRecursive", true,
         [&](Err err) {
             return found([&](Estr_StringList** result,
                              Err own) { return efio_DirectoryScanRecursive(pattern.c_str(), result, own); },
                          err);
         }},
        {"efio_FileNameVerify", true, [&](Err err) { return endingOf(efio_FileNameVerify(file.c_str(), err), file); }},
        {"efio::MonitorDirectory", false,
         [&](Err) {
             try {
                 efio::MonitorDirectory monitor(directory.c_str());
                 return doneIf(true, !monitor.CheckForChanges());
             } catch (const std::exception&) {
                 return Ending::failed;
             } catch (EerrException& failure) {
                 failure.Clear();
                 return Ending::failed;
             }
         }},
    });
}
