#pragma once

#include "store/hfa/activity.h"
#include "store/hfa/handle.h"

#include <array>
#include <cstring>

/* The bytes of a store. Everything that is read from a file or written to it passes here. */

namespace emantle::hfa {

using EntryBytes = std::array<unsigned char, kEntrySize>;

EntryBytes encoded(const Ehfa_Entry& entry);
/* Texts that fill their field lose the last character, so that they end. */
Ehfa_Entry decodedEntry(const unsigned char* bytes);
std::array<unsigned char, kHeaderSize> encodedHeader(const Ehfa_File& file);
void decodeHeader(const unsigned char* bytes, Ehfa_File& file);
std::array<unsigned char, kNodeSize> encoded(const Ehfa_FreeListNode& node);
Ehfa_FreeListNode decodedNode(const unsigned char* bytes);

inline uint32_t decoded32(const unsigned char* bytes)
{
    return uint32_t(bytes[0]) | uint32_t(bytes[1]) << 8 | uint32_t(bytes[2]) << 16 | uint32_t(bytes[3]) << 24;
}

inline void encode32(uint32_t value, unsigned char* bytes)
{
    for (int i = 0; i < 4; ++i) {
        bytes[i] = static_cast<unsigned char>(value >> (8 * i));
    }
}

/* Whether `size` bytes at `position` lie inside the file. */
inline bool isInside(const Handle& handle, uint64_t position, uint64_t size)
{
    return position <= handle.fileEnd && size <= handle.fileEnd - position;
}

/* The same, and clear of the tag, of the gap behind it and of the file record. */
inline bool isAllocatable(const Handle& handle, uint64_t position, uint64_t size)
{
    const bool clearOfHeader =
        position >= uint64_t{handle.headerPtr} + kHeaderSize || position + size <= handle.headerPtr;
    const uint32_t least = handle.headerPtr >= kHeaderPosition ? kHeaderPosition : kTagSize;
    return position >= least && isInside(handle, position, size) && clearOfHeader;
}

void readBytes(Handle& handle, uint32_t position, void* bytes, std::size_t size, EerrException& scope);

/* Fails for a handle that only reads. */
[[noreturn]] void refuseWrite(const Handle& handle, EerrException& scope);
inline void requireWritable(const Handle& handle, EerrException& scope)
{
    if (handle.readOnly != 0) [[unlikely]] {
        refuseWrite(handle, scope);
    }
}

inline void writeBytes(Handle& handle, uint32_t position, const void* bytes, std::size_t size, EerrException& scope)
{
    requireWritable(handle, scope);
    noteChange(handle);
    if (!handle.journal.writeAtOnce(handle, position, bytes, size, scope)) {
        handle.pages.write(handle.file, position, bytes, size, scope);
    }
    handle.cursor = static_cast<uint32_t>(position + size);
}

/* A record between file and host through its design; position and size are those of its block. */
/* Returns the bytes that the design takes. */
long readRecord(Handle& handle, uint32_t position, const Emif_Design* design, void* record, EerrException& scope);
void writeRecord(Handle& handle, uint32_t position, const Emif_Design* design, const void* record,
                 EerrException& scope);

/* The file record is to be written with the changes of this call. */
void writeHeader(Handle& handle);

/* The 128 bytes of an entry, until the next call, where need be in `scratch`; null where no entry can be. */
const unsigned char* entryBytesAnywhere(Handle& handle, uint32_t position, EntryBytes& scratch, EerrException& scope);
inline const unsigned char* entryBytes(Handle& handle, uint32_t position, EntryBytes& scratch, EerrException& scope)
{
    if (!isAllocatable(handle, position, kEntrySize)) {
        return nullptr;
    }
    const unsigned char* bytes =
        handle.mended.empty() ? handle.pages.at(handle.file, position, kEntrySize, scope) : nullptr;
    return bytes != nullptr ? bytes : entryBytesAnywhere(handle, position, scratch, scope);
}

/* What the bytes of an entry say, which entryBytes gave for a position. */
inline void takeEntry(const Handle& handle, uint32_t position, const unsigned char* bytes, Ehfa_Entry& entry)
{
    std::memcpy(&entry, bytes, kEntrySize);
    entry.name[EHFA_NAME_MAX] = '\0';
    entry.type[EHFA_TYPE_MAX] = '\0';
    if (position == handle.rootEntryPtr) {
        entry.next = entry.prev = entry.parent = 0;
    }
}

/* The entry at a position; false where no entry can be. */
bool readEntry(Handle& handle, uint32_t position, Ehfa_Entry& entry, EerrException& scope);
void writeEntry(Handle& handle, uint32_t position, const Ehfa_Entry& entry, EerrException& scope);

/* A link of the entry at a position, which entryBytes gave, and the writing of one. */
using Link = uint32_t Ehfa_Entry::*;
inline uint32_t offsetOf(Link link)
{
    static constexpr Ehfa_Entry entry{};
    return static_cast<uint32_t>(reinterpret_cast<const char*>(&(entry.*link)) - reinterpret_cast<const char*>(&entry));
}
inline uint32_t linkIn(const unsigned char* entry, Link link) { return decoded32(entry + offsetOf(link)); }
void writeLink(Handle& handle, uint32_t position, Link link, uint32_t target, EerrException& scope);

/* Bytes of the block that an entry lies in. */
uint32_t entryBlockSize(const Handle& handle);

}  // namespace emantle::hfa
