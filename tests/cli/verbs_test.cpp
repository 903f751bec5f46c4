#include "cli/format_reader.h"
#include "cli/in_process.h"
#include "cli/store_maker.h"
#include "cli/tool_runner.h"
#include "platform/faults.h"

#include <filesystem>
#include <fstream>
#include <functional>
#include <gmock/gmock.h>
#include <set>
#include <thread>

/* The verbs that look into stores, change them, and turn them into text and back. */

namespace {

using emantle::platform::FaultInjection;
using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;

class Verbs : public testing::Test {
protected:
    Verbs()
    {
        EXPECT_EQ(runHere({"describe", std::string(EMANTLE_SAMPLES) + "/landsat7_olinda.tif", "-o", sample(), "-q"}).status, 0);
        std::filesystem::copy(sample(), work());
    }

    std::string sample() const { return scratch / "sample.store"; }
    std::string work() const { return scratch / "work.store"; }

    static std::string good(const std::vector<std::string>& arguments)
    {
        const InProcess result = runHere(arguments);
        EXPECT_EQ(result.status, 0) << testing::PrintToString(arguments) << ' ' << result.failure << result.out;
        return result.out;
    }
    static std::vector<std::string> linesOf(const std::string& text)
    {
        std::istringstream in(text);
        std::vector<std::string> lines;
        for (std::string line; std::getline(in, line);) {
            lines.push_back(line);
        }
        return lines;
    }
    static void expectSound(const std::string& store)
    {
        const InProcess checked = runHere({"check", store});
        EXPECT_EQ(checked.status, 0) << checked.out;
    }
    std::set<std::string> names() const
    {
        std::set<std::string> found;
        for (const auto& entry : std::filesystem::directory_iterator(scratch.path())) {
            found.insert(entry.path().filename());
        }
        return found;
    }

    const ScratchDirectory scratch;
};

TEST_F(Verbs, LsListsALevelATreeOrWhatFitsAPattern)
{
    EXPECT_EQ(good({"ls", work()}), "landsat7_olinda\n");
    EXPECT_EQ(linesOf(good({"ls", work(), "landsat7_olinda"})).size(), 7U);
    EXPECT_THAT(good({"ls", "-l", work(), ":landsat7_olinda"}), HasSubstr("Emantle_Layer                 10  2"));
    EXPECT_EQ(linesOf(good({"ls", "-R", work()})).size(), 33U);
    EXPECT_THAT(linesOf(good({"ls", work(), ":landsat7_olinda:Layer_[35]"})),
                ElementsAre(":landsat7_olinda:Layer_3", ":landsat7_olinda:Layer_5"));
    EXPECT_EQ(linesOf(good({"ls", work(), "**:Statistics"})).size(), 6U);
    EXPECT_THAT(linesOf(good({"ls", work(), "**:Layer_2:**:Hist*"})),
                ElementsAre(":landsat7_olinda:Layer_2:Descriptor_Table:Histogram"));
    const std::vector<std::string> below = linesOf(good({"ls", "-R", work(), "*:Layer_1"}));
    EXPECT_EQ(below.size(), 5U);
    EXPECT_EQ(below.front(), ":landsat7_olinda:Layer_1");
    EXPECT_EQ(runHere({"ls", work(), "Layer_*"}).failure, work() + ": there is no node like Layer_*");
}

TEST_F(Verbs, CatAndDictGiveWhatLiesInTheFile)
{
    makeEveryStore(work());
    EXPECT_EQ(good({"cat", work(), ":unknown"}), "\x01\x02\xff");
    EXPECT_EQ(good({"cat", work(), "every"}), everyRecord());
    EXPECT_EQ(good({"cat", work(), ":every:deep:empty"}), "");
    std::string text;
    for (const std::string& line : linesOf(good({"dict", work()}))) {
        text += line;
    }
    EXPECT_THAT(contentsOf(work()), HasSubstr(text + "."));
    EXPECT_EQ(json::parse(good({"dict", work(), "--json"}))["designs"].back()["name"], "Every");
}

TEST_F(Verbs, CopiesMovesAndDeletionsLeaveASoundStore)
{
    good({"cp", work(), ":landsat7_olinda:Layer_1", ":twin"});
    good({"mv", work(), ":twin", "landsat7_olinda"});
    good({"mv", work(), ":landsat7_olinda:twin", ":landsat7_olinda:other"});
    EXPECT_EQ(good({"ls", "-R", work(), ":landsat7_olinda:other"}).size(),
              good({"ls", "-R", work(), ":landsat7_olinda:Layer_1"}).size() - 5 * 2);
    EXPECT_EQ(json::parse(good({"show", "--json", work(), ":landsat7_olinda:other:Descriptor_Table"}))["table"],
              json::parse(good({"show", "--json", sample(), ":landsat7_olinda:Layer_1:Descriptor_Table"}))["table"]);
    expectSound(work());
    const auto full = std::filesystem::file_size(work());
    good({"rm", "-r", work(), ":landsat7_olinda:other", ":landsat7_olinda:other:Statistics"});
    EXPECT_EQ(good({"diff", sample(), work()}), "");
    /* What the copy took is free again, and a new one fits into it. */
    const json stat = json::parse(good({"stat", "--json", work()}));
    EXPECT_EQ(stat["live"], json::parse(good({"stat", "--json", sample()}))["live"]);
    EXPECT_LE(stat["lost"].get<int>(), 16);
    good({"cp", work(), ":landsat7_olinda:Layer_1", ":landsat7_olinda:other"});
    EXPECT_LE(std::filesystem::file_size(work()), full + 64);
    expectSound(work());
}

TEST_F(Verbs, CpBetweenStoresTakesDesignsAndPositionsAlong)
{
    const std::string other = scratch / "other.store";
    makeEveryStore(other);
    good({"rm", other, ":unknown"}); /* a type without a design is a finding of the check */
    good({"cp", other, ":every", ":landsat7_olinda:Layer_1", "--to", work()});
    good({"cp", work(), ":landsat7_olinda", ":every", "--to", other});
    expectSound(work());
    expectSound(other);
    const FormatReader reader(contentsOf(work()));
    EXPECT_EQ(good({"show", "--json", other, ":every"}).substr(30),
              good({"show", "--json", work(), ":landsat7_olinda:Layer_1:every"}).substr(54));
    /* The heads of pointers say where in their new file the elements lie. */
    const std::string data = good({"cat", work(), ":landsat7_olinda:Layer_1:every"});
    const std::size_t name = data.find("Ems");
    std::uint32_t position = 0;
    std::memcpy(&position, &data[name - 4], sizeof position);
    EXPECT_EQ(contentsOf(work()).substr(position, 3), "Ems");

    MadeStore(scratch / "conflict.store", "{1:lanother,}Inner,.");
    const std::string before = contentsOf(scratch / "conflict.store");
    const InProcess refused = runHere({"cp", other, ":every:deep", ":", "--to", scratch / "conflict.store"});
    EXPECT_EQ(refused.status, 1);
    EXPECT_THAT(refused.failure, HasSubstr("the design Inner is another one there"));
    EXPECT_EQ(contentsOf(scratch / "conflict.store"), before);
}

TEST_F(Verbs, RefuseWhatCannotBeAndChangeNothing)
{
    std::ofstream(scratch / "text") << "not a store\n";
    const std::string text = scratch / "text";
    const std::string absent = scratch / "absent";
    const std::string node = ":landsat7_olinda";
    const struct {
        std::vector<std::string> arguments;
        std::string failure;
    } cases[] = {
        {{"cat", work(), ":x"}, "there is no node :x"},
        {{"dict", absent}, "No such file or directory"},
        {{"stat", text}, "is not an EHFA file"},
        {{"dump", scratch.path()}, "is a directory"},
        {{"cp", work(), ":x", ":y"}, "there is no node :x"},
        {{"cp", work(), node, ":a:b"}, "there is no node :a"},
        {{"cp", work(), node, ":"}, node + " is there already"},
        {{"cp", work(), node, node + ":below"}, "cannot be copied below itself"},
        {{"cp", work(), node, node + ":Layer_1", "--to", scratch.path() + "/./work.store"}, "cannot be copied below itself"},
        {{"cp", work(), node, ":" + std::string(64, 'n')}, "at most 63 bytes"},
        {{"cp", work(), node, ":a::b"}, "is not the path of a node"},
        {{"cp", work(), node, ":", "--to", absent}, "No such file or directory"},
        {{"mv", work(), ":", ":x"}, "the root stays"},
        {{"mv", work(), node, node + ":Layer_1"}, "cannot be moved below itself"},
        {{"mv", work(), node + ":Layer_1", node + ":Layer_2:Layer_1:x"}, "there is no node"},
        {{"rm", work(), node}, "-r removes them too"},
        {{"rm", "-r", work(), ":"}, "the root stays"},
        {{"rm", "-r", work(), node + ":Layer_1", ":x"}, "there is no node :x"},
        {{"compact", work(), "-o", sample()}, "exists; --force replaces it"},
        {{"compact", text}, "is not an EHFA file"},
        {{"salvage", text, "-o", absent}, "nothing of a store is left"},
        {{"salvage", absent, "-o", absent + "2"}, "No such file or directory"},
        {{"load", absent, "-o", absent}, "No such file or directory"},
        {{"load", text, "-o", absent}, "line 1: is not JSON"},
        {{"load", text, "-o", scratch / "no/where"}, "there is no folder"},
    };
    const std::string before = contentsOf(work());
    const std::set<std::string> files = names();
    for (const auto& one : cases) {
        SCOPED_TRACE(testing::PrintToString(one.arguments));
        const InProcess refused = runHere(one.arguments);
        EXPECT_EQ(refused.status, 1);
        EXPECT_THAT(refused.failure, HasSubstr(one.failure));
        EXPECT_EQ(contentsOf(work()), before);
        EXPECT_EQ(names(), files);
    }
}

TEST_F(Verbs, NeedTheRightToWrite)
{
    std::filesystem::permissions(work(), std::filesystem::perms(0444));
    std::filesystem::permissions(sample(), std::filesystem::perms(0644));
    std::filesystem::permissions(scratch.path(), std::filesystem::perms(0755));
    EXPECT_THAT(run({"rm", "-r", work(), "landsat7_olinda"}, {.asNobody = true}).err, HasSubstr("Permission denied"));
    EXPECT_THAT(run({"compact", sample(), "-o", scratch / "x"}, {.asNobody = true}).err, HasSubstr("is not writable"));
    EXPECT_EQ(run({"dump", work()}, {.asNobody = true}).status, 0);
}

TEST_F(Verbs, AFullDiskLeavesTheOldStore)
{
    const std::string before = contentsOf(work());
    good({"dump", work()});
    std::ofstream(scratch / "dump") << good({"dump", work()});
    const std::set<std::string> files = names();
    for (const auto& arguments : {std::vector<std::string>{"compact", work()},
                                  {"salvage", work(), "-o", work(), "--force"},
                                  {"load", scratch / "dump", "-o", work(), "--force"}}) {
        SCOPED_TRACE(arguments[0]);
        std::uint64_t writes = 0;
        {
            const FaultInjection counter(emantle::platform::Operation::write, 0);
            ASSERT_EQ(runHere(arguments).status, 0);
            writes = counter.calls();
        }
        std::ofstream(work(), std::ios::binary) << before;
        ASSERT_GT(writes, 4U);
        for (std::uint64_t nth = 1; nth <= writes; nth += 1 + writes / 40) {
            const FaultInjection full(emantle::platform::Operation::write, nth,
                                      emantle::platform::Outcome::noSpace(), emantle::platform::Repeat::fromThenOn);
            EXPECT_EQ(runHere(arguments).status, 1) << nth;
            EXPECT_EQ(contentsOf(work()), before) << nth;
            EXPECT_EQ(names(), files) << nth;
        }
    }
}

TEST_F(Verbs, CompactDropsFreeAndLostSpaceAndNothingElse)
{
    good({"cp", work(), ":landsat7_olinda", ":again"});
    good({"rm", "-r", work(), ":landsat7_olinda"});
    std::filesystem::permissions(work(), std::filesystem::perms(0640));
    const std::string before = good({"dump", work()});
    const auto size = std::filesystem::file_size(work());
    const json told = json::parse(good({"compact", work(), "--json"}));
    EXPECT_EQ(told["before"], size);
    EXPECT_EQ(told["after"], std::filesystem::file_size(work()));
    EXPECT_LT(std::filesystem::file_size(work()), size * 6 / 10);
    EXPECT_EQ(good({"dump", work()}), before);
    EXPECT_EQ(std::filesystem::status(work()).permissions(), std::filesystem::perms(0640));
    expectSound(work());

    const std::string damaged = contentsOf(work());
    std::fstream(work(), std::ios::in | std::ios::out | std::ios::binary).seekp(82 + 12).write("\1\2\3\4", 4);
    EXPECT_THAT(runHere({"compact", work()}).failure, HasSubstr("is damaged"));
    EXPECT_NE(contentsOf(work()), damaged);
    EXPECT_EQ(names(), (std::set<std::string>{"sample.store", "work.store"}));
}

TEST_F(Verbs, AnInterruptedCompactLeavesTheOldStore)
{
    {
        MadeStore store(work());
        for (int i = 0; i < 20000; ++i) {
            store.add(":", "n" + std::to_string(i), "Nobody", "some bytes");
            if (i == 0) {
                ehfa_FileChange(store.get(), nullptr, int{EHFA_OPTION_FLUSH_ON_WRITE}, 0, 0);
            }
        }
        ehfa_FileChange(store.get(), nullptr, int{EHFA_OPTION_FLUSH_ON_WRITE}, 1, 0);
    }
    /* A design for each type makes a sound store; the check is over before the copy is begun. */
    {
        Report report;
        Ehfa_File* file = ehfa_FileOpen(work().c_str(), "r+b", eint_InitToolkit(report), report);
        emif_DesignCreate(file->dictionary, "Nobody", report, EMIF_TYPE_UCHAR | EMIF_ITEM_COUNT, "bytes", 10, 0);
        ehfa_FileClose(file, report);
    }
    const std::string before = contentsOf(work());
    const std::set<std::string> files = names();
    Running running({"compact", work()});
    while (names() == files) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    running.kill(SIGINT);
    const Outcome outcome = running.finish();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.err, "emantle: interrupted\n");
    EXPECT_EQ(contentsOf(work()), before);
    EXPECT_EQ(names(), files);
}

TEST_F(Verbs, StatAccountsForEveryByte)
{
    good({"cp", work(), ":landsat7_olinda", ":again"});
    good({"rm", "-r", work(), ":landsat7_olinda:Layer_2", ":landsat7_olinda:Layer_4"});
    const json stat = json::parse(good({"stat", "--json", work()}));
    EXPECT_EQ(stat["live"].get<long>() + stat["free"].get<long>() + stat["lost"].get<long>(), stat["size"]);
    EXPECT_NEAR(stat["fragmentation"].get<double>(),
                1 - stat["largestFree"].get<double>() / stat["free"].get<double>(), 1e-12);
    long entries = 0;
    for (const json& type : stat["types"]) {
        entries += type["entries"].get<long>();
        if (type["type"] == "Edsc_Column") {
            EXPECT_EQ(type["entries"], 10);
            EXPECT_EQ(type["bytes"], 10 * (14 + 256 * 8));
        }
    }
    EXPECT_EQ(stat["entries"], entries);
    EXPECT_THAT(good({"stat", work()}), testing::ContainsRegex("Emantle_Layer +10 +100"));
}

TEST_F(Verbs, DiffTellsWhereStoresDiffer)
{
    EXPECT_EQ(good({"diff", sample(), work()}), "");
    const std::string node = ":landsat7_olinda:Layer_3";
    std::string bytes = contentsOf(work());
    const std::string mean = good({"cat", work(), node + ":Statistics"});
    const double moved = json::parse(good({"show", "--json", work(), node + ":Statistics"}))["object"]["mean"].get<double>() + 0.25;
    std::memcpy(&bytes[bytes.find(mean) + 16], &moved, sizeof moved);
    std::ofstream(work(), std::ios::binary) << bytes;
    good({"cp", work(), node + ":Statistics", ":landsat7_olinda:extra"});
    good({"rm", work(), ":landsat7_olinda:Covariance"});

    const InProcess differs = runHere({"diff", sample(), work()});
    EXPECT_EQ(differs.status, 1);
    const std::vector<std::string> lines = linesOf(differs.out);
    ASSERT_EQ(lines.size(), 3U) << differs.out;
    EXPECT_EQ(lines[0], ":landsat7_olinda:Covariance: only in " + sample());
    EXPECT_EQ(lines[1], ":landsat7_olinda:extra: only in " + work());
    EXPECT_THAT(lines[2], testing::StartsWith(node + ":Statistics: mean: 64."));
    good({"rm", work(), ":landsat7_olinda:extra"});
    good({"cp", sample(), ":landsat7_olinda:Covariance", ":landsat7_olinda", "--to", work()});
    const InProcess reordered = runHere({"diff", sample(), work(), "--tolerance", "0.25"});
    EXPECT_EQ(reordered.status, 1);
    EXPECT_EQ(reordered.out, ":landsat7_olinda: order: \"one order\" | \"another order\"\n");
    const json told = json::parse(runHere({"diff", "--json", sample(), work()}).out);
    EXPECT_EQ(told["same"], false);
    EXPECT_EQ(told["differences"].size(), 2U);
    EXPECT_EQ(runHere({"diff", sample(), scratch / "absent"}).status, 2);
    EXPECT_EQ(run({"diff", sample(), scratch / "absent"}).status, 2);
    EXPECT_EQ(runHere({"diff", sample(), work(), "--tolerance", "-1"}).status, 2);
}

/* What only a text form that keeps every bit gives back. */
void makeOddStore(const std::string& path)
{
    makeEveryStore(path);
    Report report;
    Ehfa_File* file = ehfa_FileOpen(path.c_str(), "r+b", eint_InitToolkit(report), report);
    const auto add = [&](const char* parent, const char* name, const char* type, const std::string& bytes) {
        ASSERT_NE(ehfa_ObjectDataWrite(file, parent, name, type, EHFA_WRITE_LAST_CHILD, bytes.data(),
                                       static_cast<long>(bytes.size()), report),
                  nullptr);
    };
    const auto block = [&](const std::string& bytes) {
        const std::uint32_t position = ehfa_NextFreePos(file, static_cast<long>(bytes.size()), report);
        EXPECT_TRUE(ehfa_FileMIFDataWrite(file, position, static_cast<long>(bytes.size()), bytes.data(), report));
        return position;
    };
    Emif_Dictionary* designs = emif_DictionaryDecodeFromString(
        "{1:lnumRows,1:LcolumnDataPtr,1:e4:integer,real,complex,string,dataType,1:lmaxNumChars,}Edsc_Column,"
        "{1:lblocksize,1:lblockcount,1:lbytecount,1:Lrootptr,}Ehfa_CacheNode,"
        "{4:ctext,1:ff,1:2two,1:e2:on,on,state,0:pcs,}Odd,.",
        report);
    ASSERT_NE(designs, nullptr);
    ehfa_DictionaryMergeWithFileDictionary(file, designs, report);
    emif_DictionaryDelete(designs, report);
    /* Text behind the NUL, a signalling not-a-number, the second of two equal names, text without its NUL; no UTF-8. */
    add(":", "odd", "Odd", ByteMaker().text({"a\0b\xff", 4}).add<std::uint32_t>(0x7fa00001).text("\x02").add<std::uint16_t>(1)
        .head(3).text("b\xe9\xe9").text("left behind"));
    add(":", "bits", "Odd", ByteMaker().text({"a\0\0\0", 4}).add(1.f).text("\xfe").add<std::uint16_t>(0).head(0));
    add(":", "cut", "Odd", "abc");
    add(":", "n\xe4me: \x01", "t\xffpe", "x");
    add(":", "twin", "", "");
    add(":", "twin", "", "");
    add(":", "strings", "Edsc_Column",
        ByteMaker().add<std::int32_t>(3).add(block({"abcde\xff\0\0\0xy\0z\0\0", 15})).add<std::uint16_t>(3).add<std::int32_t>(5));
    add(":", "reals", "Edsc_Column",
        ByteMaker().add<std::int32_t>(2).add(block(ByteMaker().add(-0.0).add<std::uint64_t>(0xfff8000000000123)))
            .add<std::uint16_t>(1).add<std::int32_t>(0));
    add(":", "pairs", "Edsc_Column",
        ByteMaker().add<std::int32_t>(1).add(block(ByteMaker().add(1.0).add(std::numeric_limits<double>::infinity())))
            .add<std::uint16_t>(2).add<std::int32_t>(0));
    add(":", "none", "Edsc_Column", ByteMaker().add<std::int32_t>(0).add<std::uint32_t>(0).add<std::uint16_t>(0).add<std::int32_t>(0));
    add(":", "reference", "Ehfa_Data", ByteMaker().add<std::int32_t>(9).add(block("reference")));
    /* 37 blocks of 12 bytes, three positions in each block of the index: four levels of it; one block has no place. */
    std::vector<std::uint32_t> level;
    for (int i = 0; i < 37; ++i) {
        level.push_back(i == 20 ? 0 : block("block " + std::to_string(100 + i) + "..."));
    }
    while (level.size() > 1) {
        std::vector<std::uint32_t> above;
        for (std::size_t i = 0; i < level.size(); i += 3) {
            ByteMaker index;
            for (std::size_t k = i; k < i + 3; ++k) {
                index.add(k < level.size() ? level[k] : 0);
            }
            above.push_back(block(index));
        }
        level = above;
    }
    add(":", "blocks", "Ehfa_CacheNode",
        ByteMaker().add<std::int32_t>(12).add<std::int32_t>(37).add<std::int32_t>(440).add(level[0]));
    add(":", "noblocks", "Ehfa_CacheNode",
        ByteMaker().add<std::int32_t>(12).add<std::int32_t>(0).add<std::int32_t>(0).add(block(std::string(12, '\0'))));
    ehfa_FileClose(file, report);
    EXPECT_TRUE(report.records().empty());
}

TEST_F(Verbs, DumpLoadDumpGivesTheSameText)
{
    makeOddStore(scratch / "odd.store");
    makeEveryStore(scratch / "every.store");
    for (const std::string& store : {sample(), scratch / "odd.store", scratch / "every.store"}) {
        SCOPED_TRACE(store);
        const std::string text = good({"dump", store});
        std::ofstream(scratch / "dump") << text;
        good({"load", scratch / "dump", "-o", scratch / "copy.store", "--force"});
        EXPECT_EQ(good({"dump", scratch / "copy.store"}), text);
        EXPECT_EQ(good({"diff", store, scratch / "copy.store"}), "");
        const json before = json::parse(runHere({"check", "--json", store}).out);
        const json after = json::parse(runHere({"check", "--json", scratch / "copy.store"}).out);
        EXPECT_EQ(before["findings"].size(), after["findings"].size());
        EXPECT_EQ(after["lost"], 0);
        EXPECT_EQ(before["objects"], after["objects"]);
        if (store != scratch / "odd.store") { /* which has an entry that no path leads to */
            good({"compact", scratch / "copy.store", "-o", scratch / "again.store", "--force"});
            EXPECT_EQ(good({"dump", scratch / "again.store"}), text);
        }
    }
    const std::string text = good({"dump", scratch / "odd.store"});
    for (const char* expected :
         {R"("text":{"bytes":"610062ff"},"f":"NaN:7fa00001")", R"("state":1,"s":{"bytes":"62e9e9"}},"tail":"6c656674)",
          R"("name":"cut","type":"Odd")", R"("bytes":"616263")", R"("values":["abcde",{"bytes":"ff00000078"},{"text":)",
          R"([-0.0,"NaN:fff8000000000123"])", R"([[1.0,"Infinity"]])", R"("block":"7265666572656e6365")",
          R"("name":{"bytes":"6ee46d653a2001"})"}) {
        EXPECT_THAT(text, HasSubstr(expected));
    }
}

TEST_F(Verbs, LoadSaysWhichLineIsWrongAndLeavesNothing)
{
    const std::string head = "{\"emantle-dump\":1,\"modified\":1}\n";
    const std::string design = "{\"design\":\"{1:la,0:pdb,1:bv,}T,\"}\n";
    const auto entry = [](const std::string& more, const std::string& depth = "1") {
        return "{\"depth\":" + depth + ",\"name\":\"n\",\"type\":\"T\",\"modified\":1" + more + "}\n";
    };
    const std::string values = "\"v\":{\"rows\":1,\"columns\":1,\"type\":\"EGDA_TYPE_U8\",\"object\":3,\"values\":[\"00\"]}";
    const struct {
        std::string text;
        std::string failure;
    } cases[] = {
        {"", "line 1: is empty"},
        {"{}\n", "line 1: is not the first line of a dump of version 1"},
        {head + "{\"design\":\"{1:l\"}\n" + entry(""), "line 3: the dictionary cannot be read"},
        {head + entry("") + design, "line 3: is a design behind entries"},
        {head + entry("", "2"), "line 2: 2 is not between 1 and 1"},
        {head + entry("", "1e0"), "line 2: 1.0 is not a whole number"},
        {head + entry(",\"data\":{\"a\":1}"), "line 2: there is no design T"},
        {head + design + entry(",\"data\":{\"a\":2147483648,\"b\":null," + values + "}"),
         "line 3: a: 2147483648 is not between -2147483648 and 2147483647"},
        {head + design + entry(",\"data\":{\"a\":1,\"b\":[\"nan\"]," + values + "}"), "line 3: b: \"nan\" is not a number"},
        {head + design + entry(",\"data\":{\"a\":1,\"b\":null}"), "line 3: there is no \"v\""},
        {head + design + entry(",\"data\":{\"a\":1,\"b\":null,\"c\":1," + values + "}"), "line 3: not the items of T"},
        {head + design + entry(",\"data\":{\"a\":1,\"b\":null,\"v\":{\"rows\":2147483647,\"columns\":2147483647,"
                               "\"type\":0,\"object\":3,\"values\":[]}}"),
         "line 3: v: there are to be 2147483647 lines of values"},
        {head + entry(",\"bytes\":\"0g\""), "line 2: bytes are pairs"},
        {head + "{\"depth\":1,\"name\":\"n\",\"type\":\"Edsc_Column\",\"modified\":1,"
                "\"bytes\":\"0200000000000000010000000000\",\"values\":[1]}\n",
         "line 2: the column is to have 2 values"},
        {head + "{\"depth\":1,\"name\":\"n\",\"type\":\"Ehfa_Data\",\"modified\":1,\"bytes\":\"0300000000000000\",\"block\":\"00\"}\n",
         "line 2: refers to 1 bytes and says 3"},
        {head + "{\"depth\":1,\"name\":\"n\",\"type\":\"Ehfa_CacheNode\",\"modified\":1,"
                "\"bytes\":\"0c000000ffffff7f0000000000000000\",\"blocks\":[null]}\n",
         "line 2: has 1 blocks and says 2147483647"},
        {head + "{\"depth\":1,\"name\":\"" + std::string(64, 'x') + "\",\"type\":\"\",\"modified\":1}\n",
         "line 2: a name has at most 63 bytes"},
        {head + std::string(100000, '['), "line 2: is not JSON"},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.text.substr(0, 300));
        std::ofstream(scratch / "dump") << one.text;
        const InProcess refused = runHere({"load", scratch / "dump", "-o", scratch / "made.store"});
        EXPECT_EQ(refused.status, 1);
        EXPECT_THAT(refused.failure, HasSubstr("dump: " + one.failure));
        EXPECT_FALSE(names().contains("made.store"));
        EXPECT_EQ(names().size(), 3U);
    }
}

/* What is left of a store after a piece of it was overwritten. */
TEST_F(Verbs, SalvageBringsOutWhatIsLeft)
{
    const std::string whole = contentsOf(work());
    const auto placeOf = [&](const std::string& name) { return whole.find(name + std::string(1, '\0')) - 24; };
    const auto damaged = [&](std::size_t place, std::size_t size, char byte) {
        std::string bytes = whole;
        return bytes.replace(place, size, std::string(size, byte));
    };
    const struct {
        const char* what;
        std::string bytes;
        std::vector<std::string> told;
        std::vector<std::string> differences;
    } cases[] = {
        {"nothing is wrong", whole, {}, {}},
        {"the tag", damaged(0, 4, 'x'), {"cannot be opened as a store"}, {}},
        {"the file record", damaged(64, 18, '\xff'), {"cannot be opened", "the dictionary is damaged; 13 designs", "the root was found"}, {}},
        {"a link between siblings", damaged(placeOf("Layer_2"), 4, '\x7e'), {":Layer_2 at", ":Layer_3 at"}, {}},
        {"the first child", damaged(placeOf("Layer_4") + 12, 4, '\x01'), {":Layer_4 at", ":Layer_4:Statistics at"}, {}},
        {"a whole entry", damaged(placeOf("Layer_5"), 128, '\xa5'), {":Layer_4 at", ":Layer_6 at", "lost_"}, {"lost_", ":Layer_5: only in"}},
        {"where data lie", damaged(placeOf("Covariance") + 16, 4, '\x6e'), {":Covariance at"}, {":Covariance: data"}},
        {"how many they are", damaged(placeOf("Covariance") + 21, 1, '\x20'), {":Covariance at"}, {":Covariance: data"}},
        {"the data", damaged(whole.find(std::string("\x06\0\0\0\x06\0\0\0\x0a\0", 10)), 12, '\x77'), {":Covariance at"}, {":Covariance: data"}},
        {"a design", damaged(whole.rfind("{1:dminimum") + 6, 1, '\x01'), {"the dictionary is damaged; 12 designs"}, {}},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.what);
        std::ofstream(work(), std::ios::binary) << one.bytes;
        const InProcess salvaged = runHere({"salvage", work(), "-o", scratch / "saved.store", "--force"});
        ASSERT_EQ(salvaged.status, 0) << salvaged.failure;
        for (const std::string& line : one.told) {
            EXPECT_THAT(salvaged.out, HasSubstr(line));
        }
        EXPECT_EQ(one.told.empty(), linesOf(salvaged.out).size() == 1) << salvaged.out;
        EXPECT_EQ(contentsOf(work()), one.bytes);
        if (std::string(one.what) == "a design") {
            continue;
        }
        expectSound(scratch / "saved.store");
        const InProcess differs = runHere({"diff", sample(), scratch / "saved.store"});
        EXPECT_EQ(differs.status, one.differences.empty() ? 0 : 1) << differs.out;
        for (const std::string& line : one.differences) {
            EXPECT_THAT(differs.out, HasSubstr(line));
        }
        const json told = json::parse(good({"salvage", "--json", work(), "-o", scratch / "saved.store", "--force"}));
        EXPECT_EQ(told["givenUp"].size() + 1, linesOf(salvaged.out).size());
    }
    /* The end is missing, and with it the dictionary. */
    std::ofstream(work(), std::ios::binary) << whole.substr(0, whole.size() / 2);
    EXPECT_THAT(good({"salvage", work(), "-o", scratch / "saved.store", "--force"}), HasSubstr("entries are in"));
    EXPECT_EQ(good({"cat", scratch / "saved.store", ":landsat7_olinda:Layer_1:Statistics"}),
              good({"cat", sample(), ":landsat7_olinda:Layer_1:Statistics"}));
    std::ofstream(work(), std::ios::binary) << std::string(100000, '\0');
    EXPECT_EQ(runHere({"salvage", work(), "-o", scratch / "saved.store", "--force"}).status, 1);
}

/* What was deleted stays so. */
TEST_F(Verbs, SalvageDoesNotBringBackTheDeleted)
{
    good({"rm", "-r", work(), ":landsat7_olinda:Layer_3"});
    good({"salvage", work(), "-o", scratch / "saved.store"});
    EXPECT_EQ(good({"diff", work(), scratch / "saved.store"}), "");
}

TEST_F(Verbs, JsonIsOneDocument)
{
    for (const auto& arguments : {std::vector<std::string>{"ls", "-l", work()},
                                  {"dict", work()},
                                  {"stat", work()},
                                  {"diff", sample(), work()},
                                  {"cp", work(), ":landsat7_olinda", ":b"},
                                  {"mv", work(), ":b", ":c"},
                                  {"rm", "-r", work(), ":c"},
                                  {"compact", work()},
                                  {"salvage", work(), "-o", scratch / "saved.store"}}) {
        std::vector<std::string> withJson = arguments;
        withJson.push_back("--json");
        EXPECT_TRUE(json::parse(good(withJson)).is_object()) << arguments[0];
    }
}

}  // namespace
