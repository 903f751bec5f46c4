#include "store/hfa/store_fixture.h"

#include "support/captured_stderr.h"

#include <emantle/files/efio.h>

namespace {

/* A new store, but for the time of its root. */
Bytes newStore(const Bytes& time)
{
    Bytes bytes(210);
    const auto put = [&](std::size_t at, const std::string& text) { std::copy(text.begin(), text.end(), bytes.begin() + static_cast<long>(at)); };
    put(0, "EHFA_HEADER_TAG");
    bytes[16] = 64;            /* header */
    bytes[64] = 1;             /* version */
    bytes[72] = 82;            /* root */
    bytes[76] = 128;           /* length of an entry */
    bytes[78] = 210;           /* dictionary */
    put(82 + 24, "root");
    put(82 + 88, "root");
    std::copy(time.begin(), time.end(), bytes.begin() + 82 + 120);
    const std::string dictionary =
        "{1:lversion,1:LfreeList,1:LrootEntryPtr,1:sentryHeaderLength,1:LdictionaryPtr,}Ehfa_File,"
        "{1:Lnext,1:Lprev,1:Lparent,1:Lchild,1:Ldata,1:ldataSize,64:cname,32:ctype,1:tmodTime,}Ehfa_Entry,"
        "{16:clabel,1:LheaderPtr,}Ehfa_HeaderTag,{1:LfreeList,1:lfreeSize,}Ehfa_FreeListNode,{1:lsize,1:Lptr,}Ehfa_Data,.";
    bytes.insert(bytes.end(), dictionary.begin(), dictionary.end());
    return bytes;
}

class AFile : public StoreTest {};

TEST_F(AFile, IsTheseBytesWhenItIsNew)
{
    ASSERT_NE(create(), nullptr);
    EXPECT_EQ(ehfa_FileSize(file_), 508);
    EXPECT_EQ(file_->dictionaryPtr, 210u);
    const double now = static_cast<double>(time(nullptr));
    close();
    const Bytes bytes = bytesOf(name_);
    ASSERT_EQ(bytes.size(), 508u);
    double stamp;
    std::memcpy(&stamp, &bytes[202], 8);
    EXPECT_NEAR(stamp, now, 2);
    EXPECT_EQ(bytes, newStore(Bytes(bytes.begin() + 202, bytes.begin() + 210)));
}

}  // namespace
