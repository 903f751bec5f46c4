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

/* 210 bytes, a dictionary and an entry, all by hand, with the header elsewhere than this library puts it. */
TEST_F(AFile, IsReadFromBytesOfAnotherWriter)
{
    Bytes bytes = newStore(Bytes(8));
    const std::string dictionary = "{1:lnumber,}Own,.";
    bytes.resize(210);
    const std::size_t header = bytes.size();
    bytes.insert(bytes.end(), bytes.begin() + 64, bytes.begin() + 82);
    setWord(bytes, 16, static_cast<uint32_t>(header));
    std::fill_n(bytes.begin() + 64, 18, static_cast<unsigned char>(0xAA));
    const std::size_t text = bytes.size();
    setWord(bytes, header + 14, static_cast<uint32_t>(text));
    bytes.insert(bytes.end(), dictionary.begin(), dictionary.end());
    const std::size_t entry = bytes.size();
    bytes.resize(entry + 128 + 8);
    setWord(bytes, 82 + 12, static_cast<uint32_t>(entry));
    setWord(bytes, entry + 8, 82);
    setWord(bytes, entry + 16, static_cast<uint32_t>(entry + 128));
    setWord(bytes, entry + 20, 4);
    bytes[entry + 24] = 'n';
    std::memcpy(&bytes[entry + 88], "Own", 3);
    setWord(bytes, entry + 128, 0xFFFFFF85);
    putBytes(name_, bytes);

    ASSERT_NE(open(), nullptr);
    Emif_Design* design = emif_FindDesignByName(file_->dictionary, "Own", nullptr);
    int32_t number = 0;
    EXPECT_NE(ehfa_ObjectRead(file_, ":n", "n", EHFA_SEEK_NAME_FORWARD, &number, design, expected()), nullptr);
    EXPECT_EQ(number, -123);
    close();
    EXPECT_EQ(bytesOf(name_), bytes) << "opened for writing, nothing written";
    EXPECT_EQ(ehfa_IsHFAFile(name_.c_str(), expected()), 1);
}

TEST_F(AFile, ThatIsNoStoreIsToldApart)
{
    create();
    close();
    const Bytes sound = bytesOf(name_);
    const auto text = [&] {
        Report report;
        EXPECT_EQ(ehfa_FileOpen(name_.c_str(), "r", eint_GetInit(), report), nullptr);
        return *report.records().back().message;
    };
    const std::string alien = "File " + name_ + " is not an EHFA file";
    putBytes(name_, Bytes(sound.begin(), sound.begin() + 37));
    EXPECT_EQ(text(), alien);
    EXPECT_EQ(ehfa_IsHFAFile(name_.c_str(), expected()), 0);
    Bytes bytes = sound;
    bytes[15] = 'X';
    putBytes(name_, bytes);
    EXPECT_EQ(text(), alien);
    Report quiet;
    EXPECT_EQ(ehfa_FileOpenWithOptions(name_.c_str(), "r", eint_GetInit(), quiet, EHFA_OPTION_REPORT_ALIEN, 0, 0), nullptr);
    EXPECT_EQ(told(quiet), "");
    bytes = sound;
    setWord(bytes, 78, 0);
    putBytes(name_, bytes);
    EXPECT_EQ(text(), "File does not contain an EMIF dictionary");
    Report steps;
    EXPECT_EQ(ehfa_FileOpen(name_.c_str(), "r", eint_GetInit(), steps), nullptr);
    EXPECT_EQ(told(steps), "ehfa_FileOpen: Header initialization failure\n"
                           "ehfa_HeaderInit: diskFileHeaderFunction failed\n"
                           "ehfa_HeaderRead: File does not contain an EMIF dictionary\n");
    Report noToolkit;
    EXPECT_EQ(ehfa_FileOpen(name_.c_str(), "r", nullptr, noToolkit), nullptr);
    EXPECT_EQ(told(noToolkit), "ehfa_FileOpen: ehfa_Init failed\nehfa_Init: Toolkit has not been initialized\n");
    EXPECT_EQ(ehfa_IsHFAFile(name_.c_str(), expected()), 0);
    EXPECT_EQ(ehfa_IsHFAFile((directory_ + "/none").c_str(), expected()), 0);
    Report missing;
    EXPECT_EQ(ehfa_FileOpen((directory_ + "/none").c_str(), "r", eint_GetInit(), missing), nullptr);
    EXPECT_NE(told(missing).find("Unable to open " + directory_ + "/none"), std::string::npos);
}

TEST_F(AFile, IsOneHandleForOneThread)
{
    create();
    EXPECT_TRUE(ehfa_FileIsOpen((directory_ + "/./store.img").c_str(), eint_GetInit(), expected()));
    Ehfa_File* again = ehfa_FileOpen(name_.c_str(), "r+", eint_GetInit(), expected());
    EXPECT_EQ(again, file_);
    EXPECT_EQ(ehfa_FileCreate(name_.c_str(), eint_GetInit(), expected()), file_);
    ehfa_FileClose(again, expected());
    ehfa_FileClose(again, expected());
    EXPECT_EQ(paths(), std::vector<std::string>{":"}) << "one close leaves it open";
    write(EHFA_WRITE_LAST_CHILD, "Place");
    close();
    EXPECT_FALSE(ehfa_FileIsOpen(name_.c_str(), eint_GetInit(), expected()));
    open("r");
    seek(EHFA_SEEK_PATH, ":Place");
    Ehfa_File* writable = ehfa_FileOpen(name_.c_str(), "r+b", eint_GetInit(), expected());
    EXPECT_EQ(writable, file_);
    EXPECT_FALSE(file_->readOnly);
    EXPECT_EQ(path(), ":Place:");
    EXPECT_NE(write(EHFA_WRITE_LAST_CHILD, "A"), nullptr);
    ehfa_FileClose(writable, expected());
    ehfa_FileClose(nullptr, expected());
}

TEST_F(AFile, ChangedByOneHandleIsReadAnewByTheOther)
{
    create();
    Ehfa_File* reader = ehfa_FileOpen(name_.c_str(), "r", eint_GetInit(), expected());
    ASSERT_NE(reader, nullptr);
    ASSERT_NE(reader, file_);
    static int calls;
    calls = 0;
    ehfa_SetFileChangedCallback([](Ehfa_File*) { ++calls; }, 0);
    write(EHFA_WRITE_LAST_CHILD, "A");
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(reader->activity, -1);
    EXPECT_NE(ehfa_EntrySeek(reader, EHFA_SEEK_PATH, ":A", expected()), nullptr);
    EXPECT_EQ(calls, 1) << "reading changes nothing";
    ehfa_SetFileChangedCallback(nullptr, 0);
    ehfa_FileClose(reader, expected());
}

TEST_F(AFile, ForReadingOnlyRefusesToWriteAndStaysAsItIs)
{
    create();
    write(EHFA_WRITE_LAST_CHILD, "A");
    close();
    const Bytes before = bytesOf(name_);
    open("r");
    for (const long method : {0L, 1L, 2L, 3L, 4L}) {
        seek(EHFA_SEEK_PATH, ":A");
        Report report;
        EXPECT_EQ(ehfa_EntryWrite(file_, method, "n", "T", report), nullptr);
        EXPECT_NE(told(report).find("Unable to write to Read-Only file"), std::string::npos);
        EXPECT_EQ(path(), ":A:");
    }
    Report report;
    EXPECT_FALSE(ehfa_EntryDelete(file_, report));
    EXPECT_EQ(paths(), (std::vector<std::string>{":", ":A:"}));
    close();
    EXPECT_EQ(bytesOf(name_), before);
}

TEST_F(AFile, IsRenamedWhileItIsOpen)
{
    create();
    const std::string renamed = directory_ + "/renamed.img";
    EXPECT_TRUE(ehfa_FileChange(file_, expected(), EHFA_OPTION_RENAME, renamed.c_str(), 0));
    EXPECT_FALSE(std::filesystem::exists(name_));
    EXPECT_STREQ(file_->name, renamed.c_str());
    EXPECT_NE(write(EHFA_WRITE_LAST_CHILD, "A"), nullptr);
    EXPECT_NE(stderrOf([&] { ehfa_FileChange(file_, expected(), EHFA_OPTION_RENAME, static_cast<const char*>(nullptr), 0); })
                  .find("Destination file name not specified for file rename"),
              std::string::npos);
    EXPECT_NE(stderrOf([&] { ehfa_FileChange(file_, expected(), 99, 0); }).find("Illegal option 99"), std::string::npos);
}

TEST_F(AFile, IsCopiedWithoutItsFragments)
{
    create();
    emif_DictionaryAddDesign(file_->dictionary, sampleDesign(), expected());
    char text[] = "label";
    Sample sample{7, 2.5, {6, text}};
    for (const char* name : {"A", "B", "C"}) {
        ehfa_ObjectWrite(file_, ":", name, "Sample", EHFA_WRITE_LAST_CHILD, &sample, sampleDesign(), expected());
    }
    ehfa_ObjectWrite(file_, ":C", "c", "Sample", EHFA_WRITE_FIRST_CHILD, &sample, sampleDesign(), expected());
    const double stamp = 1000000.0;
    seek(EHFA_SEEK_PATH, ":B");
    file_->entry->modTime = stamp;
    write(EHFA_WRITE_CURRENT, nullptr, nullptr);
    ehfa_ObjectDelete(file_, ":A", nullptr, EHFA_SEEK_BACK, expected());
    /* A column refers to its values by position. */
    emif_DictionaryAddDesign(
        file_->dictionary,
        EmifDesignT<Etxt_TextA>(emif_DesignCreate(nullptr, "Edsc_Column", nullptr, EMIF_TYPE_LONG, "numRows", EMIF_TYPE_ULONG,
                                "columnDataPtr", EMIF_TYPE_ENUM, "dataType", "integer", "real", "complex", "string",
                                static_cast<const char*>(nullptr), EMIF_TYPE_LONG, "maxNumChars", 0)),
        expected());
    const uint32_t run = allocate(12);
    const unsigned char values[12] = {1, 0, 0, 0, 2, 0, 0, 0, 3};
    ehfa_FileMIFDataWrite(file_, run, 12, values, expected());
    Bytes column{3, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    setWord(column, 4, run);
    ehfa_ObjectDataWrite(file_, ":C", "column", "Edsc_Column", EHFA_WRITE_LAST_CHILD, column.data(), 14, expected());
    close();

    const std::string copy = directory_ + "/copy.img";
    EXPECT_TRUE(ehfa_FileCopy(name_.c_str(), copy.c_str(), eint_GetInit(), expected(), 0));
    name_ = copy;
    open("r");
    EXPECT_EQ(paths(), (std::vector<std::string>{":", ":B:", ":C:", ":C:c:", ":C:column:"}));
    Sample read{};
    ehfa_ObjectRead(file_, ":B", nullptr, EHFA_SEEK_BACK, &read, sampleDesign(), expected());
    EXPECT_EQ(read.number, 7);
    EXPECT_STREQ(read.label.text, "label");
    emsc_HeapFree(read.label.text);
    EXPECT_EQ(file_->entry->modTime, stamp);
    seek(EHFA_SEEK_PATH, ":C:column");
    unsigned char head[14], copied[12];
    ehfa_FileMIFDataRead(file_, file_->entry->data, 14, head, expected());
    ehfa_FileMIFDataRead(file_, word(Bytes(head, head + 14), 4), 12, copied, expected());
    EXPECT_EQ(std::memcmp(copied, values, 12), 0);
    Ehfa_CheckTotals totals;
    ehfa_FileCheck(file_, nullptr, nullptr, &totals, expected());
    EXPECT_EQ(totals.findings, 0);
    EXPECT_EQ(totals.lost, 0);
    Report report;
    EXPECT_FALSE(ehfa_FileCopy(name_.c_str(), name_.c_str(), eint_GetInit(), report, 0));
    EXPECT_EQ(report.records().back().message, "Cannot copy to >" + name_ + "< when it is already open");
    Report strange;
    EXPECT_FALSE(ehfa_FileCopy(name_.c_str(), (directory_ + "/third").c_str(), eint_GetInit(), strange, 99, 1, 0));
    EXPECT_EQ(strange.records().back().message, "Illegal option 99") << "the words behind it are unknown";
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory_), {}), 2) << "no temporary file is left";

    putBytes(directory_ + "/third", {'n', 'o', ' ', 's', 't', 'o', 'r', 'e'});
    const Ehfa_CopyNodeType rootOnly[] = {{"root", nullptr, nullptr, 1, 0}, {}};
    EXPECT_TRUE(ehfa_FileCopy(name_.c_str(), (directory_ + "/third").c_str(), eint_GetInit(), expected(), EHFA_COPY_TYPES,
                              rootOnly, 0));
    close();
    name_ = directory_ + "/third";
    open("r");
    EXPECT_EQ(paths(), std::vector<std::string>{":"});
}

}  // namespace
