#include "store/hfa/header.h"

#include "frame/guard/plain_scope.h"
#include "frame/memory/heap_ptr.h"
#include "store/hfa/bytes.h"
#include "store/hfa/dictionary.h"

#include <emantle/files/efio.h>
#include <algorithm>
#include <cstring>
#include <ctime>

namespace emantle::hfa {

const char kOwnDesigns[] =
    "{1:lversion,1:LfreeList,1:LrootEntryPtr,1:sentryHeaderLength,1:LdictionaryPtr,}Ehfa_File,"
    "{1:Lnext,1:Lprev,1:Lparent,1:Lchild,1:Ldata,1:ldataSize,64:cname,32:ctype,1:tmodTime,}Ehfa_Entry,"
    "{16:clabel,1:LheaderPtr,}Ehfa_HeaderTag,"
    "{1:LfreeList,1:lfreeSize,}Ehfa_FreeListNode,"
    "{1:lsize,1:Lptr,}Ehfa_Data,.";

namespace {

constexpr char kLabel[16] = "EHFA_HEADER_TAG";

}  // namespace

void writeNewFile(Handle& handle, EerrException& scope)
{
    handle.version = 1;
    handle.freeList = 0;
    handle.rootEntryPtr = kHeaderPosition + kHeaderSize;
    handle.entryHeaderLength = kEntrySize;
    handle.dictionaryPtr = 0;
    handle.headerPtr = kHeaderPosition;

    Ehfa_Entry root{};
    std::strcpy(root.name, "root");
    std::strcpy(root.type, "root");
    root.modTime = static_cast<double>(std::time(nullptr));

    std::array<unsigned char, kHeaderPosition + kHeaderSize + kEntrySize> bytes{};
    std::memcpy(bytes.data(), kLabel, sizeof kLabel);
    encode32(handle.headerPtr, bytes.data() + sizeof kLabel);
    std::ranges::copy(encodedHeader(handle), bytes.begin() + kHeaderPosition);
    std::ranges::copy(encoded(root), bytes.begin() + handle.rootEntryPtr);
    handle.fileEnd = static_cast<uint32_t>(bytes.size());
    asFunction(scope, "ehfa_FileHostDataWrite", "ehfa_FileHostDataWrite failed",
               [&] { writeBytes(handle, 0, bytes.data(), bytes.size(), scope); });
}

uint32_t fileEndOf(int64_t size, const char* name)
{
    if (size < 0 || size > kFileLimit) {
        warn("ehfa_FileOpen", "File size %ld of file %s exceeds the OS or EHFA limit", static_cast<long>(size), name);
    }
    return static_cast<uint32_t>(std::clamp<int64_t>(size, 0, kFileLimit));
}

bool readTag(Efio_File* file, uint32_t& headerPtr, EerrException& scope)
{
    unsigned char bytes[kTagSize];
    checked(scope, efio_Seek(file, 0, EFIO_SEEK_SET, scope), "Seek failure");
    checked(scope, efio_ReadSeq(file, bytes, sizeof bytes, scope), "ConvertToHost failure");
    headerPtr = decoded32(bytes + sizeof kLabel);
    return std::memcmp(bytes, kLabel, sizeof kLabel) == 0;
}

void readHeader(Handle& handle, EerrException& scope)
{
    handle.freeBlocks.forget();
    handle.headerHeldBack = false;
    handle.oldDictionary = {};
    handle.journal.start(handle, scope);
    handle.fileEnd = fileEndOf(static_cast<int64_t>(handle.journal.committedEnd()), handle.name);
    unsigned char tag[kTagSize] = {};
    if (handle.fileEnd >= kTagSize + kHeaderSize) {
        handle.pages.read(handle.file, 0, tag, sizeof tag, scope);
    }
    handle.headerPtr = decoded32(tag + sizeof kLabel);
    require(std::memcmp(tag, kLabel, sizeof kLabel) == 0, "%s", handle.name != nullptr ? handle.name : "<Name unknown>");
    require(handle.headerPtr >= kTagSize && isInside(handle, handle.headerPtr, kHeaderSize),
            "The header of %s at %ld is not within its %ld bytes", handle.name, static_cast<long>(handle.headerPtr),
            static_cast<long>(handle.fileEnd));
    unsigned char bytes[kHeaderSize];
    asFunction(scope, "ehfa_FileHostDataRead", "ehfa_FileHostDataRead failed",
               [&] { readBytes(handle, handle.headerPtr, bytes, sizeof bytes, scope); });
    decodeHeader(bytes, handle);
    require(handle.dictionaryPtr != 0, "File does not contain an EMIF dictionary");

    Emif_Dictionary* read = nullptr;
    int32_t length = 0;
    asFunction(scope, "ehfa_DictionaryRead", "ehfa_DictionaryRead failed",
               [&] { read = readDictionary(handle, nullptr, handle.dictionaryPtr, length, scope); });
    emif_DictionaryDestroy(handle.dictionary);
    handle.dictionary = read;
    handle.dictionary->changed = 0;
    handle.designsHeldBack = false;
    handle.dictionaryLength = length;
}

}  // namespace emantle::hfa
