#include "store/hfa/block_store_node.h"

#include "frame/guard/plain_scope.h"
#include "frame/memory/heap_ptr.h"
#include "store/hfa/activity.h"
#include "store/hfa/bytes.h"
#include "store/hfa/dictionary.h"
#include "store/hfa/edit.h"
#include "store/hfa/object.h"
#include "store/hfa/runs.h"
#include "store/hfa/space.h"
#include "store/hfa/tree.h"

#include <emantle/files/efio.h>
#include <emantle/files/efnp.h>
#include <algorithm>
#include <cstring>

/* Block stores under a node of a file. */

namespace emantle::hfa {

constinit mif::OwnDictionary cacheDictionary;

namespace {

constexpr char kNodeType[] = "Ehfa_CacheNode";
constexpr mif::Field kNodeFields[] = {{"blocksize", offsetof(Ehfa_CacheNode, blocksize)},
                                      {"blockcount", offsetof(Ehfa_CacheNode, blockcount)},
                                      {"bytecount", offsetof(Ehfa_CacheNode, bytecount)},
                                      {"rootptr", offsetof(Ehfa_CacheNode, rootptr)}};

struct FileNodesRelease {
    void operator()(Efnp_FileNodes* nodes) const noexcept { efnp_FreeNodeList(nodes); }
};

}  // namespace

constinit mif::OwnDesign cacheNodeDesign(cacheDictionary,
                                         "{1:lblocksize,1:lblockcount,1:lbytecount,1:Lrootptr,}Ehfa_CacheNode,",
                                         mif::recordOf<Ehfa_CacheNode>(kNodeFields));

NodeName nodeNameOf(const char* name, bool withFile, EerrException& scope)
{
    require(name != nullptr && *name != '\0', "Unable to parse file node list.");
    const std::string text = *name == ':' ? "(" + std::string(name) + ")" : name;
    /* A list needs a file; which one does not matter where the handle is given. */
    const std::string list = text[0] == '(' && !withFile ? "file" + text : text;
    const std::unique_ptr<Efnp_FileNodes, FileNodesRelease> parsed(
        checked(scope, efnp_FileNodeListParse(list.c_str(), scope), "Unable to parse file node list."));
    require(parsed && parsed->file != nullptr && (!withFile || *parsed->file != '\0'), "Unable to parse file node list.");
    const Efnp_NodePair* node = parsed->nodes;
    require(node != nullptr && node->name != nullptr && *node->name != '\0' && node[1].path == nullptr &&
                node[1].name == nullptr,
            "Unable to parse node path.");
    return {parsed->file, node->path == nullptr || *node->path == '\0' ? ":" : node->path, node->name};
}

FileReference sharedReference(Ehfa_File* file)
{
    require(file->refCount < INT32_MAX, "AddRefToFileInOFL Failed");
    ++file->refCount;
    return FileReference(file);
}

namespace {

/* Opens a file that is there: for writing, or where that is not allowed for reading. */
FileReference openedFile(const char* name, EerrException& scope)
{
    Eerr_ErrorReport* unheard = nullptr;
    FileReference file(ehfa_FileOpen(name, "r+b", eint_GetInit(), &unheard));
    eerr_DeleteErrorReportEx(&unheard);
    if (!file) {
        file.reset(checked(scope, ehfa_FileOpen(name, "rb", eint_GetInit(), scope), "error opening %s", name));
    }
    return file;
}

FileReference fileOf(Ehfa_File* file, const NodeName& name, bool mayCreate, EerrException& scope)
{
    if (file != nullptr) {
        return sharedReference(file);
    }
    if (mayCreate) {
        return FileReference(checked(scope, ehfa_CacheFileOpen(name.file.c_str(), eint_GetInit(), scope)));
    }
    return openedFile(name.file.c_str(), scope);
}

bool goToNode(Handle& handle, const std::string& path, EerrException& scope)
{
    return goToObject(handle, path.c_str(), nullptr, EHFA_SEEK_BACK, scope) &&
           std::strcmp(handle.currentEntry.type, kNodeType) == 0;
}

Ehfa_CacheNode headOf(const BlockStore& store)
{
    return {store.blockSize, store.blockCount, store.byteCount, store.root()};
}

bool isSame(const Ehfa_CacheNode& a, const Ehfa_CacheNode& b)
{
    return a.blocksize == b.blocksize && a.blockcount == b.blockcount && a.bytecount == b.bytecount &&
           a.rootptr == b.rootptr;
}

/* The head of the current entry, held against the file. */
Ehfa_CacheNode readHead(Handle& handle, EerrException& scope)
{
    requireData(handle);
    Ehfa_CacheNode head{};
    require(handle.currentEntry.dataSize >= static_cast<int32_t>(sizeof head), "%s is a %s of %ld bytes",
            handle.currentEntry.name, kNodeType, static_cast<long>(handle.currentEntry.dataSize));
    readRecord(handle, handle.currentEntry.data, cacheNodeDesign.fetch(scope), &head, scope);
    require(head.blocksize >= 8 && head.blocksize % 4 == 0 && head.blockcount >= 0 &&
                uint64_t(head.blocksize) <= handle.fileEnd &&
                head.blockcount <= int64_t{handle.fileEnd} / head.blocksize,
            "%s says that it has %ld blocks of %ld bytes", handle.currentEntry.name, long{head.blockcount},
            long{head.blocksize});
    require(head.rootptr != 0 || head.blockcount == 0, "%s has %ld blocks and no index", handle.currentEntry.name,
            long{head.blockcount});
    require(head.bytecount >= 0 && head.bytecount <= int64_t{head.blocksize} * head.blockcount,
            "%s says that it has %ld bytes in %ld blocks of %ld", handle.currentEntry.name, long{head.bytecount},
            long{head.blockcount}, long{head.blocksize});
    return head;
}

}  // namespace

void writeDesigns(Handle& handle, EerrException& scope)
{
    if (heldBack(handle)) {
        return;
    }
    try {
        writeOwnDictionary(handle, scope);
        freeOldDictionary(handle, scope);
    } catch (...) {
        handle.dictionary->changed = 1;
        throw;
    }
}

void writeNode(BlockStore& store, EerrException& scope)
{
    const Ehfa_CacheNode head = headOf(store);
    if (store.node.empty() || isSame(head, store.stored)) {
        return;
    }
    asFunction(scope, "ehfa_ObjectWrite", "error writing node to file", [&] {
        Handle& handle = opened(store.file);
        Cursor before = cursorOf(handle);
        try {
            require(goToNode(handle, store.node, scope), "Object %s not found!", store.node.c_str());
            writeObject(handle, nullptr, nullptr, nullptr, EHFA_WRITE_CURRENT, &head, cacheNodeDesign.fetch(scope), scope);
        } catch (...) {
            restore(handle, std::move(before));
            throw;
        }
        if (before.position == handle.entryPtr) {
            before.entry = handle.currentEntry;
        }
        restore(handle, std::move(before));
    });
    store.stored = head;
}

namespace {

/* Makes an empty block store under a node that is not there yet. */
std::unique_ptr<BlockStore> storeUnder(const NodeName& name, Ehfa_File* file, EerrException& scope)
{
    Handle& handle = opened(file);
    std::unique_ptr<BlockStore> store;
    {
        Activity activity(handle, scope);
        require(!handle.readOnly, "File %s is open for reading only", handle.nameText.c_str());
        const Emif_Design* design = cacheNodeDesign.fetch(scope);
        require(!goToObject(handle, name.path().c_str(), nullptr, EHFA_SEEK_BACK, scope),
                "Node %s exists already in file %s", name.path().c_str(), handle.nameText.c_str());
        require(goToObject(handle, name.parent.c_str(), nullptr, EHFA_SEEK_BACK, scope), "nodePath %s not found",
                name.parent.c_str());
        checked(scope, emif_DictionaryAddDesign(handle.dictionary, design, scope),
                "error adding cache design to dictionary");
        asFunction(
            scope, "ehfa_CacheNew", "error creating the %s cache",
            [&] {
                store = std::make_unique<BlockStore>(accessTo(file), file, EHFA_CACHE_BLOCK_SIZE, EHFA_CACHE_SLOTS, 0, 0u,
                                                     scope);
                store->flush(false, scope);
            },
            name.node.c_str());
        store->stored = headOf(*store);
        asFunction(scope, "ehfa_ObjectWrite", "error writing node to file", [&] {
            writeObject(handle, nullptr, name.node.c_str(), kNodeType, EHFA_WRITE_LAST_CHILD, &store->stored, design, scope);
        });
        writeDesigns(handle, scope);
    }
    store->node = name.path();
    return store;
}

Ehfa_Cache* createStore(Ehfa_File* file, const char* text, EerrException& scope)
{
    const NodeName name = nodeNameOf(text, file == nullptr, scope);
    FileReference reference = fileOf(file, name, true, scope);
    std::unique_ptr<BlockStore> store = storeUnder(name, reference.get(), scope);
    reference.release();
    return store.release();
}

Ehfa_Cache* openStore(Ehfa_File* file, const char* text, EerrException& scope)
{
    const NodeName name = nodeNameOf(text, file == nullptr, scope);
    FileReference reference = fileOf(file, name, false, scope);
    Handle& handle = opened(reference.get());
    std::unique_ptr<BlockStore> store;
    {
        Activity activity(handle, scope);
        require(goToNode(handle, name.path(), scope), "Object %s not found!", name.path().c_str());
        asFunction(
            scope, "ehfa_CacheNew", "error generating [%s] cache object",
            [&] {
                const Ehfa_CacheNode head = readHead(handle, scope);
                store = std::make_unique<BlockStore>(accessTo(reference.get()), reference.get(), head.blocksize,
                                                     EHFA_CACHE_SLOTS, head.blockcount, head.rootptr, scope);
                store->byteCount = head.bytecount;
                store->stored = head;
            },
            name.node.c_str());
        store->node = name.path();
        /* An empty one may have come without a root block. */
        if (store->root() != store->stored.rootptr) {
            store->flush(false, scope);
            writeNode(*store, scope);
        }
    }
    reference.release();
    return store.release();
}

/* The blocks of a block store, each once. What is wrong with them is told, and they are left. */
std::vector<Run> blocksOf(Handle& handle, EerrException& scope)
{
    std::string damage;
    std::vector<Run> blocks = runsOf(handle, handle.currentEntry, damage, scope);
    if (!damage.empty()) {
        warn("ehfa_CacheDelete", "The cache %s %s", handle.currentEntry.name, damage.c_str());
    }
    std::ranges::sort(blocks, {}, &Run::position);
    const auto same = [](const Run& a, const Run& b) { return a.position == b.position; };
    blocks.erase(std::unique(blocks.begin(), blocks.end(), same), blocks.end());
    return blocks;
}

void freeBlocks(Handle& handle, const std::vector<Run>& blocks, EerrException& scope)
{
    for (const Run& block : blocks) {
        if (isAllocatable(handle, block.position, static_cast<uint64_t>(block.size))) {
            asFunction(scope, "ehfa_CacheFreeSpace", "error occurred in ehfa_CacheFreeSpace",
                       [&] { freeBlock(handle, block.position, block.size, scope); });
        } else {
            warn("ehfa_CacheDelete", "A block of %ld bytes at %ld does not lie in file %s", static_cast<long>(block.size),
                 static_cast<long>(block.position), handle.nameText.c_str());
        }
    }
}

/* The node goes first: blocks are free only when nothing leads to them. */
void deleteStore(Ehfa_File* file, const char* text, EerrException& scope)
{
    const NodeName name = nodeNameOf(text, file == nullptr, scope);
    FileReference reference = asFunction(
        scope, "ehfa_CacheFileOpen", "error occurred opening cache %s",
        [&] { return fileOf(file, name, false, scope); }, text);
    Handle& handle = opened(reference.get());
    Activity activity(handle, scope);
    require(goToNode(handle, name.path(), scope), "Object %s not found!", name.path().c_str());
    const std::vector<Run> blocks = blocksOf(handle, scope);
    asFunction(
        scope, "ehfa_ObjectDelete", "Could not delete ehfa object %s", [&] { deleteCurrent(handle, scope); },
        name.path().c_str());
    freeBlocks(handle, blocks, scope);
}

}  // namespace

}  // namespace emantle::hfa

using namespace emantle;
using namespace emantle::hfa;

EMANTLE_API Emif_Design* ehfa_CacheInit(Eerr_ErrorReport** err)
{
    return guarded<Emif_Design*>(err, "ehfa_CacheInit", nullptr,
                                 [](EerrException& scope) { return cacheNodeDesign.fetch(scope); });
}

EMANTLE_API Ehfa_File* ehfa_CacheFileOpen(const char* name, Eint_InitToolkitData* context, Eerr_ErrorReport** err)
{
    return guarded<Ehfa_File*>(err, "ehfa_CacheFileOpen", nullptr, [&](EerrException& scope) {
        require(name != nullptr, "error opening %s", "<NULL>");
        if (checked(scope, efio_FileExists(name, scope), "error opening %s", name)) {
            return checked(scope, ehfa_FileOpen(name, "r+b", context, scope), "error opening %s", name);
        }
        return checked(scope, ehfa_FileCreate(name, context, scope), "error creating %s", name);
    });
}

EMANTLE_API Ehfa_Cache* ehfa_CacheCreate(Ehfa_File* file, const char* name, Eerr_ErrorReport** err)
{
    return guarded<Ehfa_Cache*>(err, "ehfa_CacheCreate", nullptr,
                                [&](EerrException& scope) { return createStore(file, name, scope); });
}

EMANTLE_API Ehfa_Cache* ehfa_CacheOpen(Ehfa_File* file, const char* name, Eerr_ErrorReport** err)
{
    return guarded<Ehfa_Cache*>(err, "ehfa_CacheOpen", nullptr,
                                [&](EerrException& scope) { return openStore(file, name, scope); });
}

EMANTLE_API Emsc_Boolean ehfa_CacheDelete(Ehfa_File* file, const char* name, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "ehfa_CacheDelete", 0, [&](EerrException& scope) {
        deleteStore(file, name, scope);
        return 1;
    });
}
