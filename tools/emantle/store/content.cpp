#include "store/content.h"

#include "console/failure.h"
#include "store/stream_json.h"

#include <algorithm>
#include <cstring>

namespace tool {

namespace {

constexpr std::size_t kEntrySize = 128;
constexpr std::size_t kColumnSize = 14;     /* rows, position, data type, characters */
constexpr std::size_t kReferenceSize = 8;   /* size, position */
constexpr std::size_t kBlockStoreSize = 16; /* block size, blocks, bytes, root of the index */

std::uint32_t wordAt(const Bytes& bytes, std::size_t at)
{
    std::uint32_t value;
    std::memcpy(&value, bytes.data() + at, sizeof value);
    return value;
}

std::int64_t signedAt(const Bytes& bytes, std::size_t at)
{
    return static_cast<std::int32_t>(wordAt(bytes, at));
}

void putWord(Bytes& bytes, std::size_t at, std::uint32_t value)
{
    std::memcpy(bytes.data() + at, &value, sizeof value);
}

template <std::size_t Size>
void copyText(char (&to)[Size], const Bytes& bytes, std::size_t at)
{
    std::memcpy(to, bytes.data() + at, Size);
    to[Size - 1] = '\0';
}

/* Where in the data the position of what they refer to stands; 0 for data of other types, and for too few of them. */
std::size_t positionPlace(const std::string& type, const Bytes& data)
{
    if ((isColumn(type) && data.size() >= kColumnSize) || (isReference(type) && data.size() >= kReferenceSize)) {
        return 4;
    }
    return isBlockStore(type) && data.size() >= kBlockStoreSize ? 12 : 0;
}

/* How many blocks each level of a block store has: its data, the index blocks above them, up to the one at the root. */
std::vector<std::int64_t> levelsOf(std::int64_t blockCount, std::int64_t perBlock)
{
    std::vector<std::int64_t> counts{blockCount};
    while (counts.size() == 1 || counts.back() > 1) {
        counts.push_back(counts.back() == 0 ? 1 : (counts.back() - 1) / perBlock + 1);
    }
    return counts;
}

struct BlockStoreShape {
    std::int64_t blockSize;
    std::int64_t blockCount;
};

BlockStoreShape blockStoreShape(const Bytes& data)
{
    const BlockStoreShape shape{signedAt(data, 0), signedAt(data, 4)};
    if (shape.blockSize < 8 || shape.blockSize % 4 != 0 || shape.blockCount < 0) {
        throw Failure("says that it has " + std::to_string(shape.blockCount) + " blocks of " +
                      std::to_string(shape.blockSize) + " bytes");
    }
    return shape;
}

class BlockReader {
public:
    BlockReader(const ReadBytes& read, const OnBlock& onBlock) : read_(read), onBlock_(onBlock) {}

    std::int64_t fileSize() const { return read_.fileSize; }

    Bytes operator()(std::uint32_t position, std::int64_t size) const
    {
        read_.requireInside(position, size);
        if (onBlock_ && size > 0) {
            onBlock_({position, size});
        }
        return read_(position, size);
    }

private:
    const ReadBytes& read_;
    const OnBlock& onBlock_;
};

std::vector<std::optional<Bytes>> readBlocks(const BlockReader& read, const Bytes& data, std::uint32_t root)
{
    const auto [blockSize, blockCount] = blockStoreShape(data);
    if (blockCount > read.fileSize() / blockSize) {
        throw Failure("says that it has " + std::to_string(blockCount) + " blocks, more than the file");
    }
    const std::vector<std::int64_t> counts = levelsOf(blockCount, blockSize / 4);
    std::vector<std::uint32_t> level{root};
    for (std::size_t below = counts.size() - 1; below-- > 0;) {
        std::vector<std::uint32_t> next;
        for (const std::uint32_t position : level) {
            const Bytes index = read(position, blockSize);
            for (std::size_t at = 0; at < index.size() && static_cast<std::int64_t>(next.size()) < counts[below]; at += 4) {
                next.push_back(wordAt(index, at));
            }
        }
        level = std::move(next);
    }
    std::vector<std::optional<Bytes>> blocks;
    for (const std::uint32_t position : level) {
        blocks.push_back(position == 0 ? std::nullopt : std::optional(read(position, blockSize)));
    }
    return blocks;
}

/* Blocks of a store that are given back unless they are kept. */
class Allocation {
public:
    explicit Allocation(Ehfa_File* file) : file_(file) {}
    ~Allocation()
    {
        for (const Block& block : blocks_) {
            Reports unheard;
            ehfa_FreeSpace(file_, block.position, block.size, unheard);
        }
    }
    Allocation(const Allocation&) = delete;
    Allocation& operator=(const Allocation&) = delete;

    std::uint32_t write(const Bytes& bytes)
    {
        Reports reports;
        const auto size = static_cast<long>(bytes.size());
        const std::uint32_t position = ehfa_NextFreePos(file_, size, reports);
        reports.check("there is no room");
        blocks_.push_back({position, std::max(size, 8L)});
        ehfa_FileMIFDataWrite(file_, position, size, bytes.data(), reports);
        reports.check("cannot be written");
        return position;
    }
    void keep() { blocks_.clear(); }

private:
    Ehfa_File* file_;
    std::vector<Block> blocks_;
};

/* The index above the blocks, level by level up to its root. */
std::uint32_t writeBlocks(Allocation& allocation, const Content& content)
{
    const auto [blockSize, blockCount] = blockStoreShape(content.data);
    if (blockCount != static_cast<std::int64_t>(content.blocks->size())) {
        throw Failure("has " + std::to_string(content.blocks->size()) + " blocks and says " + std::to_string(blockCount));
    }
    std::vector<std::uint32_t> level;
    for (const std::optional<Bytes>& block : *content.blocks) {
        if (block && static_cast<std::int64_t>(block->size()) != blockSize) {
            throw Failure("has a block of " + std::to_string(block->size()) + " bytes");
        }
        level.push_back(block ? allocation.write(*block) : 0);
    }
    const std::vector<std::int64_t> counts = levelsOf(blockCount, blockSize / 4);
    for (std::size_t above = 1; above < counts.size(); ++above) {
        std::vector<std::uint32_t> next;
        for (std::int64_t i = 0; i < counts[above]; ++i) {
            Bytes index(static_cast<std::size_t>(blockSize));
            const auto first = static_cast<std::size_t>(i * (blockSize / 4));
            for (std::size_t k = 0; 4 * k < index.size() && first + k < level.size(); ++k) {
                putWord(index, 4 * k, level[first + k]);
            }
            next.push_back(allocation.write(index));
        }
        level = std::move(next);
    }
    return level[0];
}

void requireRunOf(const Content& content)
{
    const auto size = static_cast<std::int64_t>(content.run->size());
    const ColumnShape shape = isColumn(content.type) ? columnShape(content.data) : ColumnShape{};
    const std::int64_t said = isColumn(content.type) ? shape.rows * shape.width : signedAt(content.data, 0);
    if (said != size) {
        throw Failure("refers to " + std::to_string(size) + " bytes and says " + std::to_string(said));
    }
}

/* Positions within the record itself say where it lies. */
void writeOwnPositions(Ehfa_File* file, const Bytes& data)
{
    Reports reports;
    const Emif_Design* design = emif_FindDesignByName(file->dictionary, file->entry->type, reports);
    if (reports.failed() || design == nullptr || !holdsPositions(*design)) {
        return;
    }
    const std::optional<StreamRecord> record = recordFromStream(data, *design);
    if (record) {
        const Bytes placed = streamFromRecord(record->json, *design, file->entry->data);
        ehfa_FileMIFDataWrite(file, file->entry->data, static_cast<long>(placed.size()), placed.data(), reports);
        reports.check("cannot be written");
    }
}

}  // namespace

bool isColumn(const std::string& type)
{
    return type == "Edsc_Column";
}

bool isReference(const std::string& type)
{
    return type == "Ehfa_Data";
}

bool isBlockStore(const std::string& type)
{
    return type == "Ehfa_CacheNode";
}

void ReadBytes::requireInside(std::uint32_t position, std::int64_t size) const
{
    if (size < 0 || position + size > fileSize) {
        throw Failure("refers to " + std::to_string(size) + " bytes at " + std::to_string(position) +
                      ", which do not lie in the file");
    }
}

Bytes ReadBytes::operator()(std::uint32_t position, std::int64_t size) const
{
    requireInside(position, size);
    return read(position, size);
}

ReadBytes bytesOf(Ehfa_File* file)
{
    return {ehfa_FileSize(file), [file](std::uint32_t position, std::int64_t size) {
                Bytes bytes(static_cast<std::size_t>(size));
                Reports reports;
                ehfa_FileMIFDataRead(file, position, size, bytes.data(), reports);
                reports.check("cannot be read");
                return bytes;
            }};
}

Ehfa_Entry entryAt(const ReadBytes& read, std::uint32_t position)
{
    const Bytes bytes = read(position, kEntrySize);
    Ehfa_Entry entry{};
    entry.next = wordAt(bytes, 0);
    entry.prev = wordAt(bytes, 4);
    entry.parent = wordAt(bytes, 8);
    entry.child = wordAt(bytes, 12);
    entry.data = wordAt(bytes, 16);
    entry.dataSize = static_cast<std::int32_t>(wordAt(bytes, 20));
    copyText(entry.name, bytes, 24);
    copyText(entry.type, bytes, 88);
    std::memcpy(&entry.modTime, bytes.data() + 120, sizeof entry.modTime);
    return entry;
}

ColumnShape columnShape(const Bytes& data)
{
    const std::int64_t characters = signedAt(data, 10);
    const std::int64_t widths[] = {4, 8, 16, characters};
    ColumnShape shape{signedAt(data, 0), data[8] | static_cast<unsigned>(data[9]) << 8, -1};
    if (shape.type < std::size(widths) && shape.rows >= 0) {
        shape.width = widths[shape.type];
    }
    return shape;
}

Content contentOf(const ReadBytes& readAll, const Ehfa_Entry& entry, const OnBlock& onBlock)
{
    const BlockReader read(readAll, onBlock);
    Content content{entry.name, entry.type, entry.modTime, {}, {}, {}};
    if (entry.dataSize == 0) {
        return content;
    }
    content.data = read(entry.data, entry.dataSize);
    const std::size_t place = positionPlace(content.type, content.data);
    const std::uint32_t position = place == 0 ? 0 : wordAt(content.data, place);
    if (position == 0) {
        return content;
    }
    if (isBlockStore(content.type)) {
        content.blocks = readBlocks(read, content.data, position);
    } else {
        const ColumnShape shape = isColumn(content.type) ? columnShape(content.data) : ColumnShape{};
        if (isColumn(content.type) && shape.width < 0) {
            throw Failure("is a column of no known type");
        }
        content.run = read(position, isColumn(content.type) ? shape.rows * shape.width : signedAt(content.data, 0));
    }
    putWord(content.data, place, 0);
    return content;
}

void writeContent(Ehfa_File* file, long method, const Content& content)
{
    Allocation allocation(file);
    Bytes data = content.data;
    const std::size_t place = positionPlace(content.type, data);
    if (place != 0 && content.blocks) {
        putWord(data, place, writeBlocks(allocation, content));
    } else if (place != 0 && content.run && !content.run->empty()) {
        requireRunOf(content);
        putWord(data, place, allocation.write(*content.run));
    }
    Reports reports;
    ehfa_ObjectDataWrite(file, nullptr, content.name.c_str(), content.type.c_str(), method, data.data(),
                         static_cast<long>(data.size()), reports);
    reports.check("cannot be written");
    allocation.keep();
    if (!data.empty()) {
        writeOwnPositions(file, data);
    }
    file->entry->modTime = content.modified;
    ehfa_EntryWrite(file, EHFA_WRITE_CURRENT, nullptr, nullptr, reports);
    reports.check("cannot be written");
}

}  // namespace tool
