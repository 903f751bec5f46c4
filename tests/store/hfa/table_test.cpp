#include "store/hfa/store_fixture.h"

#include <functional>

namespace {

/* One of each type: 10 + 16 + 8 + 2 + 15 columns and 4 separators. */
struct Road {
    char name[10];
    float length;
    int32_t lanes;
    uint8_t paved;
    char built[15];
};

class RecordTables : public StoreTest {
protected:
    RecordTables()
    {
        master_ = ehfa_TableCreate(name_.c_str(), nullptr, nullptr, nullptr, 0, 0, nullptr, expected());
        char texts[][8] = {"name", "length", "lanes", "paved", "built"};
        const Ehfa_TableField fields[] = {{texts[0], EHFA_FIELD_CHAR, 10},
                                          {texts[1], EHFA_FIELD_FLOAT, 0},
                                          {texts[2], EHFA_FIELD_INT, 0},
                                          {texts[3], EHFA_FIELD_BOOL, 0},
                                          {texts[4], EHFA_FIELD_DATETIME, 0}};
        structure_ = ehfa_TableRecordStructureCreate(5, fields, expected());
    }
    ~RecordTables() override
    {
        ehfa_TableRecordStructureFree(structure_);
        for (Ehfa_Table* table : {master_, roads_}) {
            Report unheard;
            ehfa_TableClose(table, unheard);
        }
    }

    Ehfa_Table* makeRoads(const char* name = "roads")
    {
        return roads_ = ehfa_TableCreate(name_.c_str(), master_, name, structure_, 7, 1, nullptr, expected());
    }
    void closeAll()
    {
        for (Ehfa_Table** table : {&roads_, &master_}) {
            EXPECT_TRUE(ehfa_TableClose(std::exchange(*table, nullptr), expected()));
        }
    }
    Ehfa_Table* reopen(const char* mode = "rb")
    {
        closeAll();
        open(mode);
        return roads_ = ehfa_TableOpen(file_, "roads", 0, expected());
    }
    static std::string record(Ehfa_Table* table, int32_t number)
    {
        char text[300];
        return ehfa_TableRecordRead(table, number, text, sizeof text, expected()) < 0 ? "?" : text;
    }
    static std::string field(Ehfa_Table* table, const std::string& record, const char* name)
    {
        char* text = ehfa_GetRecordFieldByName(table, record.c_str(), name, expected());
        const std::string copy = text != nullptr ? text : "?";
        emsc_HeapFree(text);
        return copy;
    }

    Ehfa_Table* master_ = nullptr;
    Ehfa_Table* roads_ = nullptr;
    Ehfa_TableRecordStructure* structure_ = nullptr;
};

const std::string kLine = "A1        \x04" "12.5            \x04" "4       \x04" "1 \x04" "2001-02-03     ";

TEST_F(RecordTables, AreDescribedInTheMaster)
{
    ASSERT_NE(makeRoads(), nullptr);
    EXPECT_EQ(structure_->recordLength, 55);
    char* format = ehfa_TableFormatStringCreate(structure_, expected());
    EXPECT_STREQ(format, "%-10s,%-16.10lg,%-8d,%-2d,%-15s");
    emsc_HeapFree(format);
    char bytes[257];
    ASSERT_EQ(ehfa_TableRecordRead(master_, 0, bytes, sizeof bytes, expected()), 256);
    EXPECT_EQ(std::string(bytes), "master                    \x04" "0       \x04" "0       \x04" "256     \x04"
                                  "%-26s\x04%-8d\x04%-8d\x04%-8d\x04%-194s" + std::string(194 - 27, ' '));
    EXPECT_EQ(record(master_, 1), "roads                     \x04" "7       \x04" "1       \x04" "55      \x04"
                                  "%-10s\x04%-16.10lg\x04%-8d\x04%-2d\x04%-15s" + std::string(194 - 31, ' '));
    closeAll();
    open("rb");
    EXPECT_EQ(paths(":", nullptr, "Ehfa_CacheNode"), (std::vector<std::string>{":master:", ":roads:"}));
    EXPECT_NE(emif_FindDesignByName(file_->dictionary, "roads_design", expected()), nullptr);
}

TEST_F(RecordTables, KeepTheirRecordsAndFields)
{
    makeRoads();
    for (int i = 0; i < 100; ++i) {
        const std::string line = "A" + std::to_string(i) + std::string(i < 10 ? 8 : 7, ' ') + kLine.substr(10);
        ASSERT_EQ(ehfa_TableRecordWrite(roads_, -1, line.data(), 55, expected()), 55);
    }
    EXPECT_EQ(ehfa_TableRecordWrite(roads_, 50, "B,-3,2", -1, expected()), 55) << "commas separate, blanks fill up";
    ASSERT_NE(reopen(), nullptr);
    EXPECT_EQ(roads_->recordLength, 55);
    EXPECT_EQ(record(roads_, 7), "A7        " + kLine.substr(10));
    EXPECT_EQ(record(roads_, 50), "B\x04-3\x04" "2" + std::string(49, ' '));
    EXPECT_EQ(field(roads_, record(roads_, 99), "name"), "A99");
    EXPECT_EQ(field(roads_, kLine, "length"), "12.5");
    EXPECT_EQ(field(roads_, kLine, "built"), "2001-02-03");
    EXPECT_EQ(field(roads_, "short", "built"), "");

    Road road;
    ASSERT_EQ(static_cast<std::size_t>(roads_->design->hostSize), sizeof road);
    EXPECT_TRUE(ehfa_TableRecordLoad(roads_, 42, &road, sizeof road, expected()));
    EXPECT_EQ(std::string(road.name, 10), std::string("A42\0\0\0\0\0\0\0", 10));
    EXPECT_EQ(road.length, 12.5f);
    EXPECT_EQ(road.lanes, 4);
    EXPECT_EQ(road.paved, 1);
    EXPECT_EQ(std::string(road.built, 10), "2001-02-03");

    ehfa_TableRecordSeek(roads_, 97, expected());
    std::vector<std::string> names;
    char text[56];
    while (ehfa_TableRecordNext(roads_, text, sizeof text, expected()) > 0) {
        names.push_back(field(roads_, text, "name"));
    }
    EXPECT_EQ(names, (std::vector<std::string>{"A97", "A98", "A99"}));
    char part[6];
    EXPECT_EQ(ehfa_TableRecordRead(roads_, 3, part, sizeof part, expected()), 6);
    EXPECT_EQ(ehfa_TableRecordNext(roads_, text, sizeof text, expected()), 55);
    EXPECT_EQ(field(roads_, text, "name"), "A4") << "behind a record of which part was wanted";
}

TEST_F(RecordTables, AreModifiedFieldByField)
{
    makeRoads();
    ehfa_TableRecordWrite(roads_, -1, kLine.data(), -1, expected());
    struct Case {
        const char* field;
        const char* value;
        const char* columns; /* null where it is refused */
    };
    const Case cases[] = {
        {"name", "a name that is too long", "a name tha"},
        {"name", "B", "B"},
        {"length", "-1.23456789012345e-30", "-1.23456789e-30"},
        {"length", "1e300", "1e+300"},
        {"length", "wide", nullptr},
        {"lanes", "-1234567", "-1234567"},
        {"lanes", "123456789", nullptr},
        {"lanes", "4x", nullptr},
        {"lanes", "", nullptr},
        {"paved", "0", "0"},
        {"built", "1999", "1999"},
    };
    std::string line = kLine;
    for (const Case& c : cases) {
        Report report;
        const std::string before = line;
        const bool done = ehfa_ModifyRecordFieldByName(roads_, 0, line.data(), c.field, c.value, report);
        EXPECT_EQ(done, c.columns != nullptr) << c.value;
        if (done) {
            EXPECT_EQ(field(roads_, line, c.field), c.columns) << c.value;
        } else {
            EXPECT_EQ(told(report).find("ehfa_ModifyRecordFieldByName: Error modifying record\n"), 0u) << told(report);
            EXPECT_EQ(line, before);
        }
        EXPECT_EQ(record(roads_, 0), line);
    }
    for (const std::size_t separator : {10u, 27u, 36u, 39u}) {
        EXPECT_EQ(line[separator], '\x04') << separator;
    }
}

TEST_F(RecordTables, TakeTheirFieldsFromAFile)
{
    const std::string definitions = directory_ + "/designs.txt";
    std::ofstream(definitions) << "rivers 1\nname char 3\n\nroads 3\nid INT 99\ntitle Char 7\nwide float 3\nroads 1\nx int 8\n";
    roads_ = ehfa_TableCreate(name_.c_str(), master_, "roads", nullptr, 0, 0, definitions.c_str(), expected());
    ASSERT_NE(roads_, nullptr);
    EXPECT_STREQ(roads_->format, "%-8d\x04%-7s\x04%-16.10lg");
    ehfa_TableClose(std::exchange(roads_, nullptr), expected());
    struct Case {
        const char* design;
        const char* text;
        std::string report;
    };
    const Case cases[] = {
        {"rivers", nullptr, "   file [" + definitions + "] not found"},
        {"lakes", "rivers 1\nname char 3\n", "   error finding design [lakes] in file [" + definitions + "]"},
        {"lakes", "lakes 2\nname char 3\n", "   error finding design [lakes] in file [" + definitions + "]"},
        {"lakes", "lakes 1\nname text 3\n", "There is no field name of type 5"},
        {"lakes", "lakes 1\nname char 0\n", "The field name has no width"},
        {"lakes", "lakes 2\na char 1000000\nb char 1000000\n", "A record of more than 1048576 bytes is too long"},
    };
    for (const Case& c : cases) {
        std::filesystem::remove(definitions);
        if (c.text != nullptr) {
            std::ofstream(definitions) << c.text;
        }
        Report report;
        EXPECT_EQ(ehfa_TableCreate(name_.c_str(), master_, c.design, nullptr, 0, 0, definitions.c_str(), report), nullptr);
        EXPECT_EQ(told(report), "ehfa_TableCreate: Error creating design from file\nehfa_TableDesignCreateFromFile: " + c.report + "\n");
    }
}

/* Fields of widths that are not their types', and more of them than the master has room to describe. */
TEST_F(RecordTables, AreOpenedWithTheWidthsThatTheyWereMadeWith)
{
    char texts[][3] = {"a", "b"};
    const Ehfa_TableField odd[] = {{texts[0], EHFA_FIELD_INT, 3}, {texts[1], EHFA_FIELD_FLOAT, 9}};
    Ehfa_TableRecordStructure* structure = ehfa_TableRecordStructureCreate(2, odd, expected());
    roads_ = ehfa_TableCreate(name_.c_str(), master_, "roads", structure, 0, 0, nullptr, expected());
    ehfa_TableRecordStructureFree(structure);
    ASSERT_NE(reopen("r+b"), nullptr);
    EXPECT_STREQ(roads_->format, "%-3d\x04%-9.3lg");

    std::vector<std::string> names;
    for (int i = 0; i < 60; ++i) {
        names.push_back("f" + std::to_string(i));
    }
    std::vector<Ehfa_TableField> many;
    for (std::string& name : names) {
        many.push_back({name.data(), EHFA_FIELD_CHAR, 1 + static_cast<int32_t>(many.size())});
    }
    structure = ehfa_TableRecordStructureCreate(60, many.data(), expected());
    master_ = ehfa_TableOpen(file_, "master", 0, expected());
    ehfa_TableClose(ehfa_TableCreate(name_.c_str(), master_, "many", structure, 0, 0, nullptr, expected()), expected());
    ehfa_TableRecordStructureFree(structure);
    Ehfa_Table* table = ehfa_TableOpen(nullptr, (name_ + "(:many)").c_str(), 0, expected());
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(table->recordLength, 60 * 61 / 2 + 59);
    ehfa_TableClose(table, expected());

    many[59] = {names[59].data(), EHFA_FIELD_INT, 5};
    structure = ehfa_TableRecordStructureCreate(60, many.data(), expected());
    Report report;
    EXPECT_EQ(ehfa_TableCreate(name_.c_str(), master_, "odd", structure, 0, 0, nullptr, report), nullptr);
    EXPECT_EQ(told(report), "ehfa_TableCreate: Error storing table name\n");
    ehfa_TableRecordStructureFree(structure);
    EXPECT_EQ(paths(), (std::vector<std::string>{":", ":master:", ":roads:", ":many:"})) << "nothing is left behind";
}

TEST_F(RecordTables, RefuseWhatTheyDoNotHave)
{
    makeRoads();
    ehfa_TableRecordWrite(roads_, -1, kLine.data(), -1, expected());
    struct Case {
        std::function<bool(Eerr_ErrorReport**)> call;
        std::string report;
    };
    char line[256] = {};
    const std::string longer(56, 'x');
    const Case cases[] = {
        {[&](auto err) { return ehfa_TableCreate(nullptr, nullptr, nullptr, nullptr, 0, 0, nullptr, err) != nullptr; }, "ehfa_TableCreate: Name not provided!"},
        {[&](auto err) { return ehfa_TableCreate(name_.c_str(), master_, nullptr, structure_, 0, 0, nullptr, err) != nullptr; }, "ehfa_TableCreate: Table Name not provided!"},
        {[&](auto err) { return ehfa_TableCreate(name_.c_str(), master_, "a:b", structure_, 0, 0, nullptr, err) != nullptr; }, "ehfa_TableCreate: a:b is no name of a table"},
        {[&](auto err) { return ehfa_TableCreate(name_.c_str(), master_, "roads", structure_, 0, 0, nullptr, err) != nullptr; }, "ehfa_TableCreate: Error creating table cache"},
        {[&](auto err) { return ehfa_TableOpen(nullptr, nullptr, 0, err) != nullptr; }, "ehfa_TableOpen:    Table Name not provided!"},
        {[&](auto err) { return ehfa_TableOpen(master_->file, "absent", 0, err) != nullptr; }, "ehfa_TableOpen: Error opening table [absent]"},
        {[&](auto err) { return ehfa_TableRecordRead(roads_, 1, line, 256, err) != -1; }, "ehfa_TableRecordRead: Error seeking record [1]"},
        {[&](auto err) { return ehfa_TableRecordRead(roads_, -1, line, 256, err) != -1; }, "ehfa_TableRecordRead: Error seeking record [-1]"},
        {[&](auto err) { return ehfa_TableRecordRead(roads_, 0, nullptr, 256, err) != -1; }, "ehfa_TableRecordRead: record pointer is NULL"},
        {[&](auto err) { return ehfa_TableRecordWrite(roads_, 2, "x", 1, err) != -1; }, "ehfa_TableRecordWrite: Error seeking record [2]"},
        {[&](auto err) { return ehfa_TableRecordWrite(roads_, 0, longer.c_str(), -1, err) != -1; }, "ehfa_TableRecordWrite: Error writing record [0]"},
        {[&](auto err) { return ehfa_GetRecordFieldByName(roads_, line, "Name", err) != nullptr; }, "ehfa_GetRecordFieldByName:    field [Name] not found!"},
        {[&](auto err) { return ehfa_GetRecordFieldByIndex(roads_, line, 5, err) != nullptr; }, "ehfa_GetRecordFieldByIndex:    field [5] not found!"},
        {[&](auto err) { return ehfa_TableRecordLoad(roads_, 0, line, 8, err) != 0; }, "ehfa_TableRecordLoad: A record of 8 bytes does not hold the"},
    };
    for (const Case& c : cases) {
        Report report;
        EXPECT_FALSE(c.call(report)) << c.report;
        EXPECT_EQ(told(report).find(c.report), 0u) << told(report);
    }
    EXPECT_EQ(record(roads_, 0), kLine);
}

/* The design and the master's record of a table, each damaged: the table is refused or its records are read, and the
 * master still is. */
TEST_F(RecordTables, AreNotTakenAtTheirWord)
{
    makeRoads();
    ehfa_TableRecordWrite(roads_, -1, kLine.data(), -1, expected());
    closeAll();
    const Bytes sound = bytesOf(name_);
    const std::string text(sound.begin(), sound.end());
    const std::size_t described = text.find("roads                     \x04");
    ASSERT_NE(described, text.npos);
    const std::size_t length = described + 26 + 1 + 9 + 9;
    struct Case {
        std::size_t at;
        const char* bytes;
        bool opens;
    };
    const Case cases[] = {
        {described, "Roads", false},           {length, "56", false},
        {length, "-1", false},                 {length, "x ", false},
        {length, "99999999", false},           {length + 9, "%-99999999", false},
        {length + 9, "          ", false},     {length + 9, "%-2000000000", false},
        {length + 9, "%-10s\x04%-1", true},    {length + 9, "%s%s%s%n%n", false},
        {text.find("10:cname"), "99", false},  {text.find("10:cname") + 3, "d", false},
        {text.find("}roads_design") + 1, "X", false},
    };
    for (const Case& c : cases) {
        Bytes bytes = sound;
        std::memcpy(&bytes[c.at], c.bytes, std::strlen(c.bytes));
        putBytes(name_, bytes);
        open("rb");
        Report report;
        Ehfa_Table* table = ehfa_TableOpen(file_, "roads", 0, report);
        EXPECT_EQ(table != nullptr, c.opens && report.get() == nullptr) << c.bytes << ' ' << told(report);
        if (table != nullptr) {
            EXPECT_EQ(record(table, 0), kLine);
            ehfa_TableClose(table, expected());
        }
        Ehfa_Table* master = ehfa_TableOpen(file_, "master", 0, expected());
        EXPECT_EQ(record(master, 0).substr(0, 6), "master");
        ehfa_TableClose(master, expected());
        close();
    }
}

/* The design of a table outlives it, and so does its line in the master. */
TEST_F(RecordTables, TakeTheNameOfOneThatIsGoneWithTheSameFieldsOnly)
{
    char texts[][8] = {"number", "text"};
    Ehfa_TableField fields[] = {{texts[0], EHFA_FIELD_INT, 8}, {texts[1], EHFA_FIELD_CHAR, 10}};
    const auto make = [&](Eerr_ErrorReport** report) {
        Ehfa_TableRecordStructure* structure = ehfa_TableRecordStructureCreate(2, fields, expected());
        roads_ = ehfa_TableCreate(name_.c_str(), master_, "again", structure, 0, 0, nullptr, report);
        ehfa_TableRecordStructureFree(structure);
        return roads_ != nullptr;
    };
    const auto drop = [&] {
        Ehfa_File* file = roads_->file;
        EXPECT_TRUE(ehfa_TableClose(std::exchange(roads_, nullptr), expected()));
        EXPECT_TRUE(ehfa_CacheDelete(file, ":again", expected()));
    };
    ASSERT_TRUE(make(expected()));
    drop();
    fields[1].width = 20;
    Report report;
    EXPECT_FALSE(make(report));
    EXPECT_EQ(report.records().back().message, "Error converting design!");
    fields[1].width = 10;
    fields[0].width = 12; /* which the design does not say */
    ASSERT_TRUE(make(expected()));
    EXPECT_EQ(ehfa_TableRecordWrite(roads_, -1, "123456789012,abc", -1, expected()), 23);
    closeAll();
    open("rb");
    roads_ = ehfa_TableOpen(file_, "again", 0, expected());
    ASSERT_NE(roads_, nullptr);
    EXPECT_EQ(roads_->recordLength, 23);
    EXPECT_EQ(field(roads_, record(roads_, 0), "text"), "abc");
}

}  // namespace
