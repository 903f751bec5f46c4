#include "store/hfa/bytes.h"

#include "store/hfa/activity.h"
#include "store/mif/stream.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace emantle::hfa {

static_assert(sizeof(Ehfa_Entry) == kEntrySize && offsetof(Ehfa_Entry, modTime) == 120,
              "the entry of the host has the layout of the file's");

static_assert(std::endian::native == std::endian::little, "entries pass between file and host as they are");

EntryBytes encoded(const Ehfa_Entry& entry)
{
    EntryBytes bytes;
    std::memcpy(bytes.data(), &entry, kEntrySize);
    return bytes;
}

Ehfa_Entry decodedEntry(const unsigned char* bytes)
{
    Ehfa_Entry entry;
    std::memcpy(&entry, bytes, kEntrySize);
    entry.name[EHFA_NAME_MAX] = '\0';
    entry.type[EHFA_TYPE_MAX] = '\0';
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

void refuseWrite(const Handle& handle, EerrException& scope)
{
    asFunction(scope, "efio_WriteSeq", "efio_WriteSeq failed", [&] {
        fail("File I/O operation failed: Unable to write to Read-Only file:\n %s", handle.nameText.c_str());
    });
    __builtin_unreachable();
}

void readBytes(Handle& handle, uint32_t position, void* bytes, std::size_t size, EerrException& scope)
{
    handle.pages.read(handle.file, position, bytes, size, scope);
    handle.cursor = static_cast<uint32_t>(position + size);
}

namespace {

/* The bytes from a position to the end of the file, for a walk that takes as many as its design says. */
class BytesFrom final : public mif::Supply {
public:
    BytesFrom(Handle& handle, uint32_t position)
        : mif::Supply(position < handle.fileEnd ? handle.fileEnd - position : 0), handle_(handle), position_(position)
    {
    }
    void take(void* target, std::size_t count, EerrException& scope) override
    {
        readBytes(handle_, position_, target, count, scope);
        position_ += static_cast<uint32_t>(count);
    }

private:
    Handle& handle_;
    uint32_t position_;
};

}  // namespace

long readRecord(Handle& handle, uint32_t position, const Emif_Design* design, void* record, EerrException& scope)
{
    return asFunction(scope, "emif_ConvertToHost", "emif_ConvertToHost failed", [&] {
        BytesFrom bytes(handle, position);
        const auto size = static_cast<long>(mif::convertToHost(scope, bytes, design, record));
        handle.cursor = position + static_cast<uint32_t>(size);
        return size;
    });
}

void writeRecord(Handle& handle, uint32_t position, const Emif_Design* design, const void* record,
                 EerrException& scope)
{
    asFunction(scope, "emif_ConvertToMIF", "emif_ConvertToMIF failed", [&] {
        require(record != nullptr && design != nullptr, "Invalid object");
        const std::string bytes = mif::encodeRecord(scope, record, *design, position);
        writeBytes(handle, position, bytes.data(), bytes.size(), scope);
    });
}

void writeHeader(Handle& handle)
{
    handle.headerHeldBack = true;
    noteChange(handle);
}

const unsigned char* entryBytesAnywhere(Handle& handle, uint32_t position, EntryBytes& scratch, EerrException& scope)
{
    if (!handle.mended.empty() && handle.entryCacheInUse == 1 && !inBatchMode(handle)) {
        if (const auto found = handle.mended.find(position); found != handle.mended.end()) {
            scratch = encoded(found->second);
            return scratch.data();
        }
    }
    if (const unsigned char* bytes = handle.pages.at(handle.file, position, kEntrySize, scope)) {
        return bytes;
    }
    handle.pages.read(handle.file, position, scratch.data(), scratch.size(), scope);
    return scratch.data();
}

bool readEntry(Handle& handle, uint32_t position, Ehfa_Entry& entry, EerrException& scope)
{
    EntryBytes scratch;
    const unsigned char* bytes = entryBytes(handle, position, scratch, scope);
    if (bytes == nullptr) {
        return false;
    }
    takeEntry(handle, position, bytes, entry);
    return true;
}

void writeEntry(Handle& handle, uint32_t position, const Ehfa_Entry& entry, EerrException& scope)
{
    writeBytes(handle, position, &entry, kEntrySize, scope);
    if (!handle.mended.empty()) {
        handle.mended.erase(position);
    }
}

void writeLink(Handle& handle, uint32_t position, Link link, uint32_t target, EerrException& scope)
{
    Ehfa_Entry entry;
    if (!handle.mended.empty() && readEntry(handle, position, entry, scope)) {
        entry.*link = target;
        writeEntry(handle, position, entry, scope);
    } else {
        writeBytes(handle, position + offsetOf(link), &target, sizeof target, scope);
    }
}

uint32_t entryBlockSize(const Handle& handle)
{
    const uint32_t length = std::max<uint32_t>(kEntrySize, std::max<int16_t>(0, handle.entryHeaderLength));
    return ((length - 1) / 64 + 1) * 64;
}

}  // namespace emantle::hfa
