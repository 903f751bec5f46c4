#include "store/hfa/store_fixture.h"

#include "support/captured_stderr.h"

#include <emantle/tables/edsc/hfa.h>

namespace {

class Objects : public StoreTest {
protected:
    void start()
    {
        create();
        emif_DictionaryAddDesign(file_->dictionary, sampleDesign(), expected());
    }
    Ehfa_Entry* put(const char* name, std::string text, long method = EHFA_WRITE_LAST_CHILD, const char* at = ":")
    {
        Sample sample{42, -0.5, {static_cast<int32_t>(text.size()), text.data()}};
        return ehfa_ObjectWrite(file_, at, name, "Sample", method, &sample, sampleDesign(), expected());
    }
    std::string get(const char* path)
    {
        Sample sample{};
        ehfa_ObjectRead(file_, path, nullptr, EHFA_SEEK_BACK, &sample, sampleDesign(), expected());
        EXPECT_EQ(sample.number, 42);
        const std::string text(sample.label.text, static_cast<std::size_t>(sample.label.count));
        emsc_HeapFree(sample.label.text);
        return text;
    }
    long freeSize() { return ehfa_FileFreeSpaceSize(file_, expected()); }
};

TEST_F(Objects, AreTheseBytes)
{
    start();
    put("A", "xy");
    const uint32_t data = file_->entry->data;
    EXPECT_EQ(data, 508u + 128u);
    EXPECT_EQ(file_->entry->dataSize, 22);
    close();
    const Bytes bytes = bytesOf(name_);
    const Bytes hand{42, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xE0, 0xBF, 2, 0, 0, 0, 0x90, 0x02, 0, 0, 'x', 'y'};
    EXPECT_EQ(Bytes(bytes.begin() + data, bytes.begin() + data + 22), hand) << "the head of a pointer names the place of its data: 656";
    open("r");
    EXPECT_EQ(get(":A"), "xy");
    EXPECT_NE(emif_FindDesignByName(file_->dictionary, "Sample", nullptr), nullptr);
}

TEST_F(Objects, KeepTheirBlockWhileItIsLargeEnough)
{
    start();
    put("A", std::string(20, 'a'));
    const uint32_t block = file_->entry->data;
    file_->entry->modTime = 5;
    put(nullptr, std::string(20, 'b'), EHFA_WRITE_CURRENT, ":A");
    EXPECT_EQ(file_->entry->data, block);
    EXPECT_GT(file_->entry->modTime, 5.0) << "each write moves the time";
    put(nullptr, std::string(4, 'c'), EHFA_WRITE_CURRENT, ":A");
    EXPECT_EQ(file_->entry->data, block);
    EXPECT_EQ(file_->entry->dataSize, 24);
    EXPECT_EQ(freeSize(), 0);
    EXPECT_EQ(get(":A"), "cccc");
    put(nullptr, std::string(60, 'd'), EHFA_WRITE_CURRENT, ":A");
    EXPECT_EQ(get(":A"), std::string(60, 'd'));
    EXPECT_STREQ(file_->entry->type, "Sample");
}

TEST_F(Objects, OfLessThanABlockGiveTheWholeBlockBack)
{
    create();
    const auto put = [&](const char* at, int size, long method) {
        ehfa_ObjectDataWrite(file_, at, "A", "Raw", method, "1234567", size, expected());
    };
    long end = 0;
    for (int round = 0; round < 500; ++round) {
        const int size = round % 7 + 1;
        put(":", size, EHFA_WRITE_LAST_CHILD);
        put(":A", 8 - size, EHFA_WRITE_CURRENT);
        end = round == 1 ? ehfa_FileSize(file_) : end;
        ehfa_ObjectDelete(file_, ":A", nullptr, EHFA_SEEK_BACK, expected());
    }
    EXPECT_EQ(ehfa_FileSize(file_), end);
    Ehfa_CheckTotals totals;
    ehfa_FileCheck(file_, nullptr, nullptr, &totals, expected());
    EXPECT_EQ(totals.lost, 0);
}

TEST_F(Objects, ThatCannotBeSoughtSayWhatWasSought)
{
    start();
    Report report;
    EXPECT_EQ(ehfa_ObjectRead(file_, nullptr, nullptr, 99, nullptr, nullptr, report), nullptr);
    EXPECT_EQ(told(report), "ehfa_ObjectRead: ObjectSeek failed\nehfa_ObjectSeek: Seek failed for <NULL>\n"
                            "ehfa_EntrySeek: Invalid seek method\n");
    Report deleting;
    EXPECT_FALSE(ehfa_ObjectDelete(file_, nullptr, "", EHFA_SEEK_CHILD_NAME, deleting));
    EXPECT_NE(told(deleting).find("ehfa_ObjectSeek: Seek failed for \n"), std::string::npos) << told(deleting);
}

TEST_F(Objects, OfBytesGetANewBlockForEachNewSize)
{
    start();
    const auto putBytesOf = [&](const std::string& bytes, long method = EHFA_WRITE_CURRENT) {
        ehfa_ObjectDataWrite(file_, method == EHFA_WRITE_CURRENT ? ":A" : ":", "A", "Raw", method, bytes.data(),
                             static_cast<long>(bytes.size()), expected());
    };
    putBytesOf(std::string(40, 'a'), EHFA_WRITE_LAST_CHILD);
    const uint32_t block = file_->entry->data;
    putBytesOf(std::string(40, 'b'));
    EXPECT_EQ(file_->entry->data, block);
    putBytesOf(std::string(16, 'c'));
    EXPECT_EQ(freeSize(), 24);
    void* data = nullptr;
    int32_t size = 0;
    char* name = nullptr;
    EXPECT_STREQ(ehfa_ObjectDataReadIfPresent(file_, ":A", nullptr, EHFA_SEEK_BACK, &data, &size, &name, expected()), "Raw");
    EXPECT_EQ(std::string(static_cast<char*>(data), 16), std::string(16, 'c'));
    EXPECT_EQ(size, 16);
    EXPECT_STREQ(name, "A");
    emsc_HeapFree(data);
    emsc_HeapFree(name);
    putBytesOf("");
    EXPECT_EQ(file_->entry->data, 0u);
    EXPECT_EQ(freeSize(), 40);
}

TEST_F(Objects, ThatAreAbsentOrEmpty)
{
    start();
    write(EHFA_WRITE_LAST_CHILD, "empty", "Sample");
    Sample sample{};
    Report absent, null, missing;
    EXPECT_EQ(ehfa_ObjectReadIfPresent(file_, ":", "none", EHFA_SEEK_CHILD_NAME, &sample, sampleDesign(), expected()), nullptr);
    EXPECT_EQ(ehfa_ObjectReadIfPresent(file_, ":", "empty", EHFA_SEEK_CHILD_NAME, &sample, sampleDesign(), expected()), nullptr);
    EXPECT_EQ(ehfa_ObjectReadIfPresent(file_, ":", "empty", EHFA_SEEK_CHILD_NAME, nullptr, sampleDesign(), null), nullptr);
    EXPECT_EQ(null.records().back().message, "NULL emifobjectin parameter");
    EXPECT_EQ(ehfa_ObjectRead(file_, ":", "none", EHFA_SEEK_CHILD_NAME, &sample, sampleDesign(), absent), nullptr);
    EXPECT_EQ(absent.records().back().message, "Object read failure!");
    EXPECT_NE(ehfa_ObjectRead(file_, ":", "empty", EHFA_SEEK_CHILD_NAME, nullptr, nullptr, expected()), nullptr);
    EXPECT_EQ(path(), ":empty:");
    put(nullptr, "x", EHFA_WRITE_CURRENT, ":empty");
    EXPECT_EQ(ehfa_ObjectWrite(file_, ":none", "n", "Sample", 3, &sample, sampleDesign(), missing), nullptr);
    EXPECT_EQ(missing.records().back().message, "nodePath :none not found");
    EXPECT_TRUE(ehfa_ObjectDelete(file_, ":", "none", EHFA_SEEK_CHILD_NAME, expected()));
    EXPECT_TRUE(ehfa_ObjectDelete(file_, ":", "empty", EHFA_SEEK_CHILD_NAME, expected()));
    EXPECT_EQ(paths(), std::vector<std::string>{":"});
}

/* At the start of a page that holds changes there is no byte before the record. */
TEST_F(Objects, OfNoBytesChangeNothing)
{
    start();
    ehfa_FileChange(file_, nullptr, EHFA_OPTION_FLUSH_ON_WRITE, 0, 0);
    const std::string bytes(10000, 'b');
    ehfa_ObjectDataWrite(file_, ":", "Bytes", "Raw", EHFA_WRITE_LAST_CHILD, bytes.data(), 10000, expected());
    const EmifDesignT<Etxt_TextA> none(
        emif_DesignCreate(nullptr, "None", nullptr, EMIF_TYPE_CHAR | EMIF_ITEM_COUNT, "nothing", 0, 0));
    ASSERT_NE(none, nullptr);
    char record = 0;
    EXPECT_TRUE(ehfa_FileHostDataWrite(file_, 4096, none, 0, &record, expected()));
    EXPECT_TRUE(ehfa_FileHostDataWrite(file_, 8192, none, 0, &record, expected()));
    std::string read(bytes.size(), ' ');
    ehfa_FileMIFDataRead(file_, file_->entry->data, 10000, read.data(), expected());
    EXPECT_EQ(read, bytes);
}

TEST_F(Objects, GiveBackAllTheirSpaceWhenTheyGo)
{
    start();
    ehfa_FileFlush(file_, expected());
    const long end = ehfa_FileSize(file_);
    const long before = freeSize();
    for (int i = 0; i < 3; ++i) {
        put(("A" + std::to_string(i)).c_str(), std::string(static_cast<std::size_t>(10 + i), 'a'));
        put("below", "text", EHFA_WRITE_FIRST_CHILD, (":A" + std::to_string(i)).c_str());
    }
    seek(EHFA_SEEK_ROOT);
    ehfa_EntryDelete(file_, expected());
    EXPECT_EQ(freeSize() - before, ehfa_FileSize(file_) - end);
    Ehfa_CheckTotals totals;
    ehfa_FileCheck(file_, nullptr, nullptr, &totals, expected());
    EXPECT_EQ(totals.lost, 0);
    EXPECT_EQ(totals.findings, 0);
}

TEST_F(Objects, AreCopiedOneByOne)
{
    start();
    put("A", "text");
    put("B", "");
    EXPECT_TRUE(ehfa_ObjectCopy(file_, ":A", nullptr, EHFA_SEEK_BACK, ":B", EHFA_WRITE_FIRST_CHILD, expected(), 0));
    EXPECT_EQ(get(":B:A"), "text");
    const std::pair<int, const char*> refused[] = {{1, "ehfa_ObjectCopy does not yet support options"},
                                                   {3, "ehfa_ObjectCopy does not yet support options"}};
    for (const auto& [option, text] : refused) {
        Report report;
        EXPECT_FALSE(ehfa_ObjectCopy(file_, ":A", nullptr, EHFA_SEEK_BACK, ":B", 3, report, option, 0));
        EXPECT_EQ(report.records().back().message, text);
    }
    Report absent;
    EXPECT_FALSE(ehfa_ObjectCopy(file_, ":N", nullptr, EHFA_SEEK_BACK, ":B", 3, absent, 4, 0));
    EXPECT_EQ(absent.records().back().message, "Source object not found!");
}

/* The dictionary lies behind A, and free space where C was. */
TEST_F(Objects, ReadInTheOrderOfTheFile)
{
    start();
    for (const char* name : {"A", "B", "C", "D"}) {
        put(name, name);
    }
    ehfa_ObjectDelete(file_, ":C", nullptr, EHFA_SEEK_BACK, expected());
    EXPECT_EQ(freeSize(), 128 + 21) << "the old dictionary is free from the flush on";
    close();
    open("r");
    char bytes[8];
    ehfa_FileMIFDataRead(file_, 500, 8, bytes, expected());
    for (const char* text : {"A", "B", "D"}) {
        Sample sample{};
        ehfa_ObjectRead(file_, nullptr, nullptr, EHFA_SEEK_SEQUENTIAL, &sample, sampleDesign(), expected());
        EXPECT_EQ(std::string(sample.label.text, static_cast<std::size_t>(sample.label.count)), text);
        emsc_HeapFree(sample.label.text);
    }
}

TEST_F(Objects, TellTheirDesignsToTheFileAtTheFlush)
{
    start();
    const uint32_t old = file_->dictionaryPtr;
    ehfa_FileFlush(file_, expected());
    EXPECT_NE(file_->dictionaryPtr, old);
    EXPECT_EQ(freeSize(), 298) << "the old text";
    EmifDictionaryT<Etxt_TextA> more(emif_DictionaryCreate(nullptr));
    EmifDesignT<Etxt_TextA> own(emif_DesignCreate(nullptr, "More", nullptr, EMIF_TYPE_LONG, "n", 0));
    emif_DictionaryAddDesign(more, own, nullptr);
    EXPECT_TRUE(ehfa_DictionaryMergeWithFileDictionary(file_, more, expected()));
    close();
    open("r");
    for (const char* name : {"More", "Sample", "Ehfa_Entry"}) {
        EXPECT_NE(emif_FindDesignByName(file_->dictionary, name, nullptr), nullptr) << name;
    }
}

TEST_F(Objects, ReadsStayInsideTheFile)
{
    start();
    const long end = ehfa_FileSize(file_);
    char bytes[16];
    for (const auto& [position, size] : {std::pair<long, long>{end, 1}, {end - 4, 8}, {-2, 4}, {0, -1}, {0x7FFFFFFFFFL, 4}}) {
        Report read, written;
        EXPECT_EQ(ehfa_FileMIFDataRead(file_, position, size, bytes, read), nullptr) << position;
        EXPECT_FALSE(ehfa_FileMIFDataWrite(file_, position, size, bytes, written)) << position;
    }
    /* 4 bytes of a block of 8: the next read goes on behind the block. */
    const uint32_t block = allocate(4);
    const uint32_t next = allocate(4);
    ehfa_FileMIFDataWrite(file_, block, 4, "abcd", expected());
    ehfa_FileMIFDataWrite(file_, next, 4, "efgh", expected());
    ehfa_FileMIFDataRead(file_, block, 4, bytes, expected());
    ehfa_FileMIFDataRead(file_, -1, 4, bytes + 4, expected());
    EXPECT_EQ(std::string(bytes, 8), "abcdefgh");
}

TEST_F(Objects, AreListedWithTheirDataAndThoseOfColumns)
{
    start();
    put("A", "text");
    const EmifDesignT<Etxt_TextA> design(emif_DesignCreate(
        nullptr, "Edsc_Column", nullptr, EMIF_TYPE_LONG, "numRows", EMIF_TYPE_ULONG, "columnDataPtr", EMIF_TYPE_ENUM,
        "dataType", "integer", "real", "complex", "string", static_cast<const char*>(nullptr), EMIF_TYPE_LONG, "maxNumChars", 0));
    emif_DictionaryAddDesign(file_->dictionary, design, expected());
    const uint32_t run = allocate(8);
    ehfa_FileMIFDataWrite(file_, run, 8, "ab\0\0wxyz", expected());
    Bytes column{2, 0, 0, 0, 0, 0, 0, 0, 3, 0, 4, 0, 0, 0};
    setWord(column, 4, run);
    ehfa_ObjectDataWrite(file_, ":A", "col", "Edsc_Column", EHFA_WRITE_FIRST_CHILD, column.data(), 14, expected());
    file_->entry->modTime = 86400;
    write(EHFA_WRITE_CURRENT, nullptr, nullptr);
    static std::string printed;
    printed.clear();
    const auto route = EerrDispatcher::Connect(EerrDispatcher::LogSlot([](const char* format, va_list arguments) {
        char text[1024];
        vsnprintf(text, sizeof text, format, arguments);
        printed += text;
    }));
    EXPECT_TRUE(ehfa_ListFile(file_, ":A", expected()));
    EXPECT_NE(printed.find(":A: (Sample Object)\n"), std::string::npos) << printed;
    EXPECT_NE(printed.find("struct Sample"), std::string::npos) << printed;
    EXPECT_TRUE(printed.ends_with(":A:col: (Edsc_Column Object)\n (last modified Fri Jan  2 00:00:00 1970)\n"
                                  "col[0] = \"ab\"\ncol[1] = \"wxyz\"\n"))
        << printed;
}

/* Looking for a table adds its designs to the dictionary in memory, and leaves the file alone. */
TEST_F(Objects, OfDesignsThatWereAddedForReadingBringThemToTheFile)
{
    create();
    ehfa_FileFlush(file_, expected());
    const Bytes before = bytesOf(name_);
    void* table = nullptr;
    EXPECT_EQ(edsc_HFATableOpen(file_, "Table", &table, expected()), 0);
    EXPECT_EQ(table, nullptr);
    ehfa_FileFlush(file_, expected());
    EXPECT_EQ(bytesOf(name_), before);
    EXPECT_EQ(edsc_HFATableCreate(file_, "Table", 10, &table, expected()), 0);
    edsc_HFATableClose(table, expected());
    close();
    open("r");
    ASSERT_EQ(paths(), (std::vector<std::string>{":", ":Table:"}));
    EXPECT_NE(emif_FindDesignByName(file_->dictionary, "Edsc_Table", expected()), nullptr);
}

TEST_F(Objects, OfANewDesignLoseNothingToTheOldDictionary)
{
    create();
    ehfa_FileFlush(file_, expected());
    emif_DictionaryAddDesign(file_->dictionary, sampleDesign(), expected());
    char text[] = "text";
    Sample sample{1, 2.0, {5, text}};
    ehfa_ObjectWrite(file_, ":", "Sample", "Sample", EHFA_WRITE_LAST_CHILD, &sample, sampleDesign(), expected());
    Ehfa_CheckTotals totals;
    ehfa_FileCheck(file_, nullptr, nullptr, &totals, expected());
    EXPECT_EQ(totals.lost, 0);
    EXPECT_EQ(totals.findings, 0);
    const int64_t free = totals.free;
    ehfa_FileFlush(file_, expected());
    ehfa_FileCheck(file_, nullptr, nullptr, &totals, expected());
    EXPECT_EQ(totals.lost, 0);
    EXPECT_EQ(totals.free, free);
}

}  // namespace
