#include "store/hfa/bytes.h"

#include <emantle/files/efio.h>
#include <algorithm>
#include <cstring>

namespace emantle::hfa {

static_assert(sizeof(Ehfa_Entry) == kEntrySize && offsetof(Ehfa_Entry, modTime) == 120,
              "the entry of the host has the layout of the file's");

uint32_t decoded32(const unsigned char* bytes)
{
    return uint32_t(bytes[0]) | uint32_t(bytes[1]) << 8 | uint32_t(bytes[2]) << 16 | uint32_t(bytes[3]) << 24;
}

void encode32(uint32_t value, unsigned char* bytes)
{
    for (int i = 0; i < 4; ++i) {
        bytes[i] = static_cast<unsigned char>(value >> (8 * i));
    }
}

EntryBytes encoded(const Ehfa_Entry& entry)
{
    EntryBytes bytes{};
    const uint32_t words[] = {entry.next,  entry.prev, entry.parent,
                              entry.child, entry.data, static_cast<uint32_t>(entry.dataSize)};
    for (std::size_t i = 0; i < std::size(words); ++i) {
        encode32(words[i], bytes.data() + 4 * i);
    }
    std::memcpy(bytes.data() + 24, entry.name, strnlen(entry.name, EHFA_NAME_MAX));
    std::memcpy(bytes.data() + 88, entry.type, strnlen(entry.type, EHFA_TYPE_MAX));
    uint64_t time;
    std::memcpy(&time, &entry.modTime, sizeof time);
    encode32(static_cast<uint32_t>(time), bytes.data() + 120);
    encode32(static_cast<uint32_t>(time >> 32), bytes.data() + 124);
    return bytes;
}

Ehfa_Entry decodedEntry(const unsigned char* bytes)
{
    Ehfa_Entry entry{};
    entry.next = decoded32(bytes);
    entry.prev = decoded32(bytes + 4);
    entry.parent = decoded32(bytes + 8);
    entry.child = decoded32(bytes + 12);
    entry.data = decoded32(bytes + 16);
    entry.dataSize = static_cast<int32_t>(decoded32(bytes + 20));
    const auto* texts = reinterpret_cast<const char*>(bytes);
    std::memcpy(entry.name, texts + 24, strnlen(texts + 24, EHFA_NAME_MAX));
    std::memcpy(entry.type, texts + 88, strnlen(texts + 88, EHFA_TYPE_MAX));
    const uint64_t time = decoded32(bytes + 120) | uint64_t(decoded32(bytes + 124)) << 32;
    std::memcpy(&entry.modTime, &time, sizeof time);
    return entry;
}

std::array<unsigned char, kHeaderSize> encodedHeader(const Ehfa_File& file)
{
    std::array<unsigned char, kHeaderSize> bytes;
    encode32(static_cast<uint32_t>(file.version), bytes.data());
    encode32(file.freeList, bytes.data() + 4);
    encode32(file.rootEntryPtr, bytes.data() + 8);
    bytes[12] = static_cast<unsigned char>(file.entryHeaderLength);
    bytes[13] = static_cast<unsigned char>(static_cast<uint16_t>(file.entryHeaderLength) >> 8);
    encode32(file.dictionaryPtr, bytes.data() + 14);
    return bytes;
}

void decodeHeader(const unsigned char* bytes, Ehfa_File& file)
{
    file.version = static_cast<int32_t>(decoded32(bytes));
    file.freeList = decoded32(bytes + 4);
    file.rootEntryPtr = decoded32(bytes + 8);
    file.entryHeaderLength = static_cast<int16_t>(bytes[12] | bytes[13] << 8);
    file.dictionaryPtr = decoded32(bytes + 14);
}

std::array<unsigned char, kNodeSize> encoded(const Ehfa_FreeListNode& node)
{
    std::array<unsigned char, kNodeSize> bytes;
    encode32(node.freeList, bytes.data());
    encode32(static_cast<uint32_t>(node.freeSize), bytes.data() + 4);
    return bytes;
}

Ehfa_FreeListNode decodedNode(const unsigned char* bytes)
{
    return {decoded32(bytes), static_cast<int32_t>(decoded32(bytes + 4))};
}

bool isAllocatable(const Handle& handle, uint64_t position, uint64_t size)
{
    const bool clearOfHeader =
        position >= uint64_t{handle.headerPtr} + kHeaderSize || position + size <= handle.headerPtr;
    return position >= kTagSize && isInside(handle, position, size) && clearOfHeader;
}

namespace {

void seekTo(Handle& handle, uint32_t position, EerrException& scope)
{
    checked(scope, efio_Seek(handle.file, position, EFIO_SEEK_SET, scope), "efio_Seek failed");
}

void markChanged(Handle& handle)
{
    if (!handle.readOnly) {
        handle.activity = 2;
    }
}

}  // namespace

void readBytes(Handle& handle, uint32_t position, void* bytes, std::size_t size, EerrException& scope)
{
    seekTo(handle, position, scope);
    checked(scope, efio_ReadSeq(handle.file, bytes, static_cast<long>(size), scope), "efio_ReadSeq failed");
}

void writeBytes(Handle& handle, uint32_t position, const void* bytes, std::size_t size, EerrException& scope)
{
    markChanged(handle);
    seekTo(handle, position, scope);
    checked(scope, efio_WriteSeq(handle.file, bytes, static_cast<long>(size), scope), "efio_WriteSeq failed");
}

void readRecord(Handle& handle, uint32_t position, const Emif_Design* design, void* record, EerrException& scope)
{
    seekTo(handle, position, scope);
    checked(scope, emif_ConvertToHost(handle.file, nullptr, design, record, scope), "emif_ConvertToHost failed");
}

void writeRecord(Handle& handle, uint32_t position, const Emif_Design* design, const void* record,
                 EerrException& scope)
{
    markChanged(handle);
    seekTo(handle, position, scope);
    checked(scope, emif_ConvertToMIF(handle.file, record, design, nullptr, scope), "emif_ConvertToMIF failed");
}

void writeHeader(Handle& handle, EerrException& scope)
{
    handle.headerHeldBack = true;
    if (heldBack(handle)) {
        markChanged(handle);
        return;
    }
    const auto bytes = encodedHeader(handle);
    writeBytes(handle, handle.headerPtr, bytes.data(), bytes.size(), scope);
    handle.headerHeldBack = false;
}

bool readEntry(Handle& handle, uint32_t position, Ehfa_Entry& entry, EerrException& scope)
{
    if (!isAllocatable(handle, position, kEntrySize)) {
        return false;
    }
    const bool cached = handle.entryCacheInUse == 1 && !inBatchMode(handle);
    if (cached && handle.paths.findEntry(position, entry, scope)) {
        return true;
    }
    EntryBytes bytes;
    readBytes(handle, position, bytes.data(), bytes.size(), scope);
    entry = decodedEntry(bytes.data());
    if (position == handle.rootEntryPtr) {
        entry.next = entry.prev = entry.parent = 0;
    }
    if (cached) {
        handle.paths.keepEntry(position, entry, scope);
    }
    return true;
}

void writeEntry(Handle& handle, uint32_t position, const Ehfa_Entry& entry, EerrException& scope)
{
    const EntryBytes bytes = encoded(entry);
    try {
        writeBytes(handle, position, bytes.data(), bytes.size(), scope);
    } catch (...) {
        EerrException unheard;
        handle.paths.dropEntry(position, unheard);
        throw;
    }
    if (handle.entryCacheInUse == 1 && !inBatchMode(handle)) {
        handle.paths.keepEntry(position, entry, scope);
    }
}

uint32_t entryBlockSize(const Handle& handle)
{
    const uint32_t length = std::max<uint32_t>(kEntrySize, std::max<int16_t>(0, handle.entryHeaderLength));
    return ((length - 1) / 64 + 1) * 64;
}

}  // namespace emantle::hfa
