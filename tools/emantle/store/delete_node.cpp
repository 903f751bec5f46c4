#include "store/delete_node.h"

#include "store/content.h"
#include "store/walk.h"

#include <algorithm>

namespace tool {

namespace {

/* The blocks that the data of the entries refer to, without the data themselves. */
std::vector<Block> blocksBehind(Ehfa_File* file, const std::vector<Place>& places)
{
    const ReadBytes read = bytesOf(file);
    std::vector<Block> blocks;
    for (const Place& place : places) {
        const Ehfa_Entry entry = entryAt(read, place.position);
        if (!isColumn(entry.type) && !isReference(entry.type) && !isBlockStore(entry.type)) {
            continue;
        }
        std::vector<Block> used;
        try {
            contentOf(read, entry, [&](const Block& block) { used.push_back(block); });
            used.erase(used.begin(), used.begin() + (used.empty() ? 0 : 1));
            blocks.insert(blocks.end(), used.begin(), used.end());
        } catch (const Failure&) {
            continue; /* what cannot be told stays lost */
        }
    }
    return blocks;
}

}  // namespace

void deleteCurrent(Ehfa_File* file)
{
    const std::string path = file->name;
    Reports reports;
    Ehfa_EntryPosition* here = ehfa_EntryPositionGet(file, reports);
    reports.check(path + ": a node cannot be told");
    const std::vector<Block> blocks = blocksBehind(file, placesBelow(file));
    ehfa_EntryPositionSet(file, here, reports);
    ehfa_EntryPositionFree(here, nullptr);
    reports.check(path + ": a node cannot be found");
    ehfa_EntryDelete(file, reports);
    reports.check(path + ": a node cannot be deleted");
    for (const Block& block : blocks) {
        Reports unheard;
        ehfa_FreeSpace(file, block.position, std::max<std::int64_t>(block.size, 8), unheard);
    }
}

}  // namespace tool
