#include "store/hfa/runs.h"

#include "store/hfa/bytes.h"
#include "store/hfa/space.h"

#include <algorithm>
#include <cstring>

namespace emantle::hfa {

namespace {

constexpr std::size_t kColumnSize = 14; /* rows, position, data type, characters */
constexpr std::size_t kReferenceSize = 8; /* size, position */
constexpr std::size_t kBlockStoreSize = 16; /* block size, blocks, bytes, root of the index */

bool isColumn(const Ehfa_Entry& entry) { return std::strcmp(entry.type, "Edsc_Column") == 0; }
bool isReference(const Ehfa_Entry& entry) { return std::strcmp(entry.type, "Ehfa_Data") == 0; }
bool isBlockStore(const Ehfa_Entry& entry) { return std::strcmp(entry.type, "Ehfa_CacheNode") == 0; }

int64_t signed32(const unsigned char* bytes) { return static_cast<int32_t>(decoded32(bytes)); }

/* -1 where the data are none of a column. */
int64_t columnRunSize(const unsigned char* data)
{
    const int64_t rows = signed32(data);
    const int64_t characters = signed32(data + 10);
    const int64_t elementSizes[] = {4, 8, 16, characters};
    const unsigned type = data[8] | unsigned(data[9]) << 8;
    return type < std::size(elementSizes) && rows >= 0 && elementSizes[type] >= 0 ? rows * elementSizes[type] : -1;
}

std::vector<Run> oneRun(const Handle& handle, uint32_t position, int64_t size, std::string& damage)
{
    if (size == 0) {
        return {};
    }
    if (size < 0 || !isAllocatable(handle, position, static_cast<uint64_t>(size))) {
        damage = formatted("refers to %ld bytes at %ld, which do not lie in the file", static_cast<long>(size),
                           static_cast<long>(position));
    }
    return {Run{position, size}};
}

/* The number of blocks of each level of a block store: its data, the index blocks above them, up to the root. */
std::vector<int64_t> levelsOf(int64_t blockCount, int64_t perBlock)
{
    std::vector<int64_t> counts{blockCount};
    while (counts.back() > 1 || counts.size() == 1) {
        counts.push_back(counts.back() == 0 ? 1 : (counts.back() - 1) / perBlock + 1);
    }
    return counts;
}

/* The blocks of each level, from the one root of the index down to the data. */
std::vector<Run> blockStoreRuns(Handle& handle, const unsigned char* data, std::string& damage, EerrException& scope)
{
    const int64_t blockSize = signed32(data);
    const int64_t blockCount = signed32(data + 4);
    const uint32_t root = decoded32(data + 12);
    if (blockSize < 8 || blockSize % 4 != 0 || blockCount < 0 || blockCount > handle.fileEnd / blockSize) {
        damage = formatted("says that it has %ld blocks of %ld bytes", static_cast<long>(blockCount),
                           static_cast<long>(blockSize));
        return {};
    }
    if (root == 0) {
        return {};
    }
    const int64_t perBlock = blockSize / 4;
    const std::vector<int64_t> counts = levelsOf(blockCount, perBlock);
    std::vector<Run> runs;
    std::vector<uint32_t> level{root};
    std::vector<unsigned char> index;
    for (std::size_t below = counts.size() - 1; below-- > 0;) {
        std::vector<uint32_t> next;
        for (const uint32_t position : level) {
            if (!isAllocatable(handle, position, static_cast<uint64_t>(blockSize))) {
                damage = formatted("refers to a block at %ld, which does not lie in the file",
                                   static_cast<long>(position));
                return runs;
            }
            runs.push_back({position, blockSize});
            index.resize(static_cast<std::size_t>(blockSize));
            readBytes(handle, position, index.data(), index.size(), scope);
            for (int64_t i = 0; i < perBlock && static_cast<int64_t>(next.size()) < counts[below]; ++i) {
                next.push_back(decoded32(index.data() + 4 * i));
            }
        }
        level = std::move(next);
    }
    for (const uint32_t position : level) {
        if (position != 0) {
            runs.push_back({position, blockSize});
        }
    }
    return runs;
}

}  // namespace

std::vector<Run> runsOf(Handle& handle, const Ehfa_Entry& entry, std::string& damage, EerrException& scope)
{
    if (!isColumn(entry) && !isReference(entry) && !isBlockStore(entry)) {
        return {};
    }
    const std::size_t needed = isColumn(entry) ? kColumnSize : isReference(entry) ? kReferenceSize : kBlockStoreSize;
    if (entry.dataSize < static_cast<int64_t>(needed)) {
        damage = formatted("is a %s of %ld bytes", entry.type, static_cast<long>(entry.dataSize));
        return {};
    }
    unsigned char data[kBlockStoreSize];
    readBytes(handle, entry.data, data, needed, scope);
    if (isColumn(entry)) {
        return oneRun(handle, decoded32(data + 4), columnRunSize(data), damage);
    }
    if (isReference(entry)) {
        return oneRun(handle, decoded32(data + 4), signed32(data), damage);
    }
    return blockStoreRuns(handle, data, damage, scope);
}

namespace {

uint32_t copyBlock(Handle& source, Handle& target, const Run& run, EerrException& scope)
{
    const uint32_t place = allocateBlock(target, run.size, scope);
    std::vector<unsigned char> bytes(static_cast<std::size_t>(std::min<int64_t>(run.size, 1 << 16)));
    for (int64_t done = 0; done < run.size;) {
        const auto piece = static_cast<std::size_t>(std::min<int64_t>(run.size - done, static_cast<int64_t>(bytes.size())));
        readBytes(source, run.position + static_cast<uint32_t>(done), bytes.data(), piece, scope);
        writeBytes(target, place + static_cast<uint32_t>(done), bytes.data(), piece, scope);
        done += static_cast<int64_t>(piece);
    }
    return place;
}

/* Copies the blocks of a block store below and with the one at `position`. `left` holds how many of each level remain. */
uint32_t copyLevel(Handle& source, Handle& target, const Run& block, std::size_t level, std::vector<int64_t>& left,
                   EerrException& scope)
{
    require(isAllocatable(source, block.position, static_cast<uint64_t>(block.size)),
            "%s refers to a block at %ld, which does not lie in the file", source.currentEntry.name,
            static_cast<long>(block.position));
    if (level == 0) {
        return copyBlock(source, target, block, scope);
    }
    std::vector<unsigned char> index(static_cast<std::size_t>(block.size));
    readBytes(source, block.position, index.data(), index.size(), scope);
    for (std::size_t at = 0; at < index.size() && left[level - 1] > 0; at += 4) {
        --left[level - 1];
        const uint32_t below = decoded32(&index[at]);
        if (below != 0) {
            encode32(copyLevel(source, target, {below, block.size}, level - 1, left, scope), &index[at]);
        }
    }
    const uint32_t place = allocateBlock(target, block.size, scope);
    writeBytes(target, place, index.data(), index.size(), scope);
    return place;
}

}  // namespace

void copyRuns(Handle& source, Handle& target, std::vector<unsigned char>& data, EerrException& scope)
{
    const Ehfa_Entry& entry = source.currentEntry;
    std::string damage;
    const std::vector<Run> runs = runsOf(source, entry, damage, scope);
    require(damage.empty(), "%s %s", entry.name, damage.c_str());
    if (runs.empty()) {
        return;
    }
    if (isBlockStore(entry)) {
        std::vector<int64_t> left = levelsOf(signed32(&data[4]), runs[0].size / 4);
        encode32(copyLevel(source, target, runs[0], left.size() - 1, left, scope), &data[12]);
    } else {
        encode32(copyBlock(source, target, runs[0], scope), &data[4]);
    }
}

}  // namespace emantle::hfa
