#pragma once

#include "store/value_json.h"

#include <emantle/store/ehfa.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tool {

/* Bytes of a store by position. Throws Failure where they do not lie in it. */
struct ReadBytes {
    std::int64_t fileSize = 0;
    std::function<Bytes(std::uint32_t position, std::int64_t size)> read;

    Bytes operator()(std::uint32_t position, std::int64_t size) const;
    void requireInside(std::uint32_t position, std::int64_t size) const;
};
ReadBytes bytesOf(Ehfa_File* file);

/* A block by its place. */
struct Block {
    std::uint32_t position = 0;
    std::int64_t size = 0;
};

/* The entry whose record starts at `position`. */
Ehfa_Entry entryAt(const ReadBytes& read, std::uint32_t position);

/* An entry with all that belongs to it, apart from the entries below. The positions in the data of blocks that they refer to
 * are 0. */
struct Content {
    std::string name;
    std::string type;
    double modified = 0;
    Bytes data;
    std::optional<Bytes> run; /* the values of a column, or a block kept by reference */
    std::optional<std::vector<std::optional<Bytes>>> blocks; /* of a block store; those without a place are absent */
};

/* Is told of each block before it is read, the data's own first; may throw. */
using OnBlock = std::function<void(const Block&)>;

/* What belongs to an entry; throws Failure with what is wrong where that is not all in the file. */
Content contentOf(const ReadBytes& read, const Ehfa_Entry& entry, const OnBlock& onBlock = {});

/* Writes an entry by a method of ehfa_EntryWrite from the current one, which it becomes. What was written is freed again
 * where that fails. */
void writeContent(Ehfa_File* file, long method, const Content& content);

/* The sizes of a column's run and of its elements, by its data; -1 where these are none of a column. */
struct ColumnShape {
    std::int64_t rows = 0;
    unsigned type = 0; /* EDSC_COLUMN_... */
    std::int64_t width = -1;
};
ColumnShape columnShape(const Bytes& data);

bool isColumn(const std::string& type);
bool isReference(const std::string& type);
bool isBlockStore(const std::string& type);

}  // namespace tool
