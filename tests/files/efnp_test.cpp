#include "files/scratch.h"
#include "support/captured_stderr.h"
#include "support/chain.h"

#include <emantle/files/efnp.h>
#include <emantle/frame/estr/list.h>

namespace {

/* The result, or the root cause of the failure behind "!". */
template <class Call> std::string outcome(Call call)
{
    Report report;
    const std::string text = taken(call(report));
    const std::vector<Record> records = report.records();
    return records.empty() ? text : "!" + records.back().message.value_or("");
}

std::string nodeGet(const char* path, long options, long node)
{
    return outcome([=](Report& err) { return efnp_NodePathGet(path, options, node, err); });
}

std::string nodeSet(const char* path, const char* data, long options, long node)
{
    return outcome([=](Report& err) { return efnp_NodePathSet(path, data, options, node, err); });
}

std::string nameGet(const char* name, long options, long directory = -1)
{
    return outcome([=](Report& err) { return efnp_FileNameGet(name, options, directory, err); });
}

std::string nameSet(const char* name, const char* data, long options, long directory = -1)
{
    return outcome([=](Report& err) { return efnp_FileNameSet(name, data, options, directory, err); });
}

std::string listGet(const char* list, long options, long item = -1, long path = 0)
{
    return outcome([=](Report& err) { return efnp_FileNodeListGet(list, options, item, path, err); });
}

std::string listSet(const char* list, const char* data, long options, long item, long path)
{
    return outcome([=](Report& err) { return efnp_FileNodeListSet(list, data, options, item, path, err); });
}

}  // namespace

TEST(NodePath, Parts)
{
    const struct {
        const char* path;
        long options, node;
        const char* expected;
    } cases[] = {
        {":a:b:c", 448, -1, ":a:b:c"},
        {":a:b:c", 192, -1, ":a:b"},
        {":a:b:c", 256, -1, "c"},
        {":a:b:c", 384, -1, "a:b:c"},
        {":a:b:c", 128, 2, "a:b"},
        {":a:b:c", 256, 0, "a"},
        {":a:b:c", 192, 0, ":"},
        {":a", 192, -1, ":"},
        {":", 192, -1, ":"},
        {":", 256, -1, ""},
        {"a:b", 64, -1, ""},
        {":a:b:c", 256, 99, "c"},
        {":a:b:c", 256, -99, "a"},
        {":a\\:b:c", 256, 0, "a:b"},
        {"::a::b:", 448, -1, ":a:b"},
        {":a", 0, -1, "!No options specified in options mask"},
        {":a", 320, -1, "!Invalid (non-consecutive) options"},
        {":a\\", 448, -1, "!Parse error; <NodePath> should not end with protection"},
        {"", 448, -1, "!Parse error; <NodePath> is NULL"},
        {nullptr, 448, -1, "!Invalid input Args"},
        {":a", 32, -1, "!Invalid options specification"},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(nodeGet(each.path, each.options, each.node), each.expected) << each.options << ' ' << each.node;
    }
    EXPECT_EQ(efnp_NodePathLength(":a:b", nullptr), 2);
    EXPECT_EQ(efnp_NodePathLength(":", nullptr), 0);
}

TEST(NodePath, SetReplacesAppendsAndProtects)
{
    EXPECT_EQ(nodeSet(":a:b", "x", 256, -1), ":a:x");
    EXPECT_EQ(nodeSet(":a:b", "x", 256, 2), ":a:b:x");
    EXPECT_EQ(nodeSet(":", "x", 256, 0), ":x");
    EXPECT_EQ(nodeSet(":", "x", 256, -1), ":x");
    EXPECT_EQ(nodeSet(":a:b:c", "x:y", 128, 2), ":x:y:c");
    EXPECT_EQ(nodeSet(":a:b:c", ":x", 192, -1), ":x:c");
    EXPECT_EQ(nodeSet(":a:b", "p:q\\", 256, 0), ":p\\:q\\\\:b");
    EXPECT_EQ(nodeGet(nodeSet(":a", "p:q\\", 256, 1).c_str(), 256, -1), "p:q\\");
    EXPECT_EQ(nodeSet("a:b", ":", 256, 0), "\\::b");
    EXPECT_EQ(nodeSet(":a", nullptr, 256, 0), "!Invalid input Args");
}

TEST(NodePath, JoinAndSplit)
{
    const struct {
        const char* a;
        const char* b;
        const char* expected;
    } cases[] = {{":a", "b", ":a:b"}, {":a:", ":b", ":a:b"}, {":a", ":b", ":a:b"},  {":", "b", ":b"},
                 {":", ":", ":"},     {nullptr, ":b", ":b"}, {":a", nullptr, ":a"}, {nullptr, nullptr, "(null)"}};
    for (const auto& each : cases) {
        EXPECT_EQ(taken(efnp_PathJoin(each.a, each.b, nullptr)), each.expected);
    }
    const char* const splits[][3] = {
        {":a:b", ":a", "b"}, {":b", ":", "b"}, {"b", "", "b"}, {nullptr, "", ""}, {":a:", ":a", ""}};
    for (const auto& each : splits) {
        Efnp_NodeName* name = efnp_NodeNameParse(each[0], nullptr);
        EXPECT_STREQ(name->path, each[1]);
        EXPECT_STREQ(name->name, each[2]);
        efnp_FreeNodeName(name);
    }
}

TEST(FileName, Parts)
{
    const struct {
        const char* name;
        long options, directory;
        const char* expected;
    } cases[] = {
        {"C:/a/b/c.d.img", 1, -1, "C:"},
        {"C:/a/b/c.d.img", 2, -1, "/"},
        {"C:/a/b/c.d.img", 4, -1, "a/b"},
        {"C:/a/b/c.d.img", 7, -1, "C:/a/b"},
        {"C:/a/b/c.d.img", 8, -1, "c.d"},
        {"C:/a/b/c.d.img", 16, -1, ".img"},
        {"C:/a/b/c.d.img", 31, -1, "C:/a/b/c.d.img"},
        {"C:/a/b/c.d.img", 24, 0, "a"},
        {"C:/a/b/c.d.img", 7, 1, "C:/a"},
        {"/x", 7, -1, "/"},
        {"x", 7, -1, ""},
        {"//host/s/x", 7, -1, "//host/s"},
        {"//host/s/x", 2, -1, "//"},
        {"a/b/", 31, -1, "a/b/"},
        {"a/b/", 7, -1, "a/b"},
        {"a/b/", 24, -1, ""},
        {"/.profile", 16, -1, ""},
        {"/a/..", 8, -1, ".."},
        {"a\\/b.c", 8, -1, "a/b"},
        {"x", 5, -1, "!Invalid (non-consecutive) options"},
        {"x", 0, -1, "!No options specified in options mask"},
        {"", 31, -1, "!Parse error; <FileName> is NULL"},
        {"a\\", 31, -1, "!Parse error; character 1 is illegal"},
        {"/a//b", 31, -1, "/a/b"},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(nameGet(each.name, each.options, each.directory), each.expected) << each.name << ' ' << each.options;
    }
    EXPECT_EQ(efnp_FileNameLength("/a/b/c", nullptr), 3);
    EXPECT_EQ(efnp_FileNameLengthX("/a/b/"), 2);
    EXPECT_EQ(efnp_FileNameLengthX(""), -1);
    EXPECT_EQ(efnp_FileNameLengthX("ab\\"), -3);
}

TEST(FileName, SetReplacesAndAppends)
{
    EXPECT_EQ(nameSet("/lib/libx.so", "other.dll", 24), "/lib/other.dll");
    EXPECT_EQ(nameSet("x", "other.dll", 24), "other.dll");
    EXPECT_EQ(nameSet("/a/b.img", "ovr", 16), "/a/b.ovr");
    EXPECT_EQ(nameSet("/a/b.img", "", 16), "/a/b");
    EXPECT_EQ(nameSet("/a/b.img", "c", 8), "/a/c.img");
    EXPECT_EQ(nameSet("/a/b.img", "/x/y", 7), "/x/y/b.img");
    EXPECT_EQ(nameSet("/a/b/c", "x", 24, 0), "/x/b/c");
    EXPECT_EQ(nameSet("/a/b/c", "p/q", 4, 1), "/p/q/b/c");
    EXPECT_EQ(nameSet("a\\/", "b", 24, 1), "a\\//b");
    EXPECT_EQ(nameSet("/a", "D:", 1), "D:/a");
    EXPECT_EQ(nameSet("/a", "DD", 1), "!Bad drive specification");
    EXPECT_EQ(nameSet("/a", "", 24), "!data must not be the NULL string");
    EXPECT_EQ(taken(efnp_FileNameAddName("/a/b", "*.*", nullptr)), "/a/b/*.*");
    EXPECT_EQ(taken(efnp_FileNameAddName("/a/b/", "*.*", nullptr)), "/a/b/*.*");
    EXPECT_EQ(taken(efnp_FileNameAddName("/", "x(1).img", nullptr)), "/x(1).img");
}

TEST(FileName, CompareIsAnOrderThatFoldsCaseAndSeparators)
{
    const char* const equal[][2] = {{"/A/./b", "/a//b"}, {"/a/.", "/a"},     {"C:/X", "c:/x"}, {"", ""},
                                    {nullptr, nullptr},  {"/./././a", "//a"}};
    for (const auto& each : equal) {
        EXPECT_EQ(efnp_FileNameCompare(each[0], each[1]), 0) << each[0];
    }
    const char* const rising[] = {nullptr, "", "/.a", "/a", "/a/", "/a/..", "/a/b", "C:/a", "D:/A"};
    for (std::size_t i = 0; i < std::size(rising); ++i) {
        for (std::size_t k = 0; k < std::size(rising); ++k) {
            EXPECT_EQ(efnp_FileNameCompare(rising[i], rising[k]), i < k ? -1 : i > k ? 1 : 0) << i << ' ' << k;
        }
    }
}

TEST(FileName, Conversions)
{
    setenv("EFNP_TEST", "v", 1);
    EXPECT_EQ(taken(efnp_FileNameExternalToInternal("C:\\a/b", nullptr)), "C:/a/b");
    EXPECT_EQ(taken(efnp_FileNameInternalToExternal("C:\\a/b", nullptr)), "C:\\a\\b");
    EXPECT_EQ(taken(efnp_FileNameEvaluateEnv("$EFNP_TEST/x", nullptr)), "v/x");
    EXPECT_EQ(taken(efnp_MakeValidFileName("a?b*c<d>e|f\"g:", nullptr)), "a_b_c_d_e_f_g:");
    EXPECT_TRUE(efnp_FileNameContainsValidCharacters("a*b"));
    EXPECT_NE(stderrOf([] {
                  efnp_FileNameHasValidCharacters("a\\");
              }).find("Parse error: character 1 is illegal in filename a\\"),
              std::string::npos);
}

TEST(NodeList, EveryFaultHasItsText)
{
    const char* const cases[][2] = {
        {"a,", "Parse error; <FileNodeList> terminates with NULL <FileName>"},
        {"a,,b", "Illegal character, ,, at position 2"},
        {"(x)", "Illegal character, (, at position 0"},
        {"a\\", "Parse error; <FileNodeList> terminates in <FileName>"},
        {"a/(x)", "Parse error; <FileNodeListItemSpec> at position 2 is preceded by a <DirectoryName>"},
        {"a.img()", "Parse error; NULL <FileNodeListItemSpec> at position 6"},
        {"a.img(x", "Parse error; <FileNodeList> terminates in <FileTitle>"},
        {"a.img(x\\", "Parse error; <FileNodeList> terminates in <FileTitle>"},
        {"a.img(:n", "Parse error; <FileNodeList> terminates in <FullNodePath>"},
        {"a.img(:n\\", "Parse error; <FileNodeList> terminates in <FullNodePath>"},
        {"a.img(:n,", "Parse error; <FileNodeList> terminates in <NodeList>"},
        {"a.img(:n,m)", "Parse error; Expecting <FullNodePath> in position 9, but found m)"},
        {"a(x)b", "Parse error; Illegal character, ETXT_LCHAR('b'), at start of <OptFileNodeSubList> in position 4"},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(listGet(each[0], 31), std::string("!") + each[1]) << each[0];
        Report report;
        EXPECT_EQ(efnp_FileNodeListParse(each[0], report), nullptr);
        EXPECT_EQ(report.records()[0].message, "Syntax error in file node list");
    }
    EXPECT_EQ(listGet("a", 7), "!Invalid options specification");
    EXPECT_EQ(listGet(nullptr, 31), "!Args");
    Report report;
    EXPECT_EQ(efnp_FileNodeListLength("a,", -1, report), -1);
    EXPECT_EQ(report.records()[0], (Record{"efnp_FileNodeListLength", "FileNodeListParse failed"}));
}

TEST(NodeList, Parts)
{
    constexpr char list[] = "a.img(Title:Layer_1:Stats,:Layer_2),b\\,c.img";
    EXPECT_EQ(efnp_FileNodeListLength(list, -1, nullptr), 2);
    EXPECT_EQ(efnp_FileNodeListLength(list, 0, nullptr), 2);
    EXPECT_EQ(efnp_FileNodeListLength(list, 99, nullptr), 0);
    EXPECT_EQ(efnp_FileNodeListLength("", -1, nullptr), 1);
    EXPECT_EQ(listGet(list, 31, 0), "a.img");
    EXPECT_EQ(listGet(list, 32, 0), "Title");
    EXPECT_EQ(listGet(list, 63, 0), "a.img(Title)");
    EXPECT_EQ(listGet(list, 448, 0, 0), ":Layer_1:Stats");
    EXPECT_EQ(listGet(list, 448, 0, -1), ":Layer_2");
    EXPECT_EQ(listGet(list, 511, 0, 99), "a.img(Title:Layer_2)");
    EXPECT_EQ(listGet(list, 31, -1), "b,c.img");
    EXPECT_EQ(listGet(list, 448, 1), "");
    EXPECT_EQ(listGet(list, 63, 99), "b,c.img");
    EXPECT_EQ(taken(efnp_FileNodeListGetNonNodePart(list, nullptr)), "b,c.img");
}

TEST(NodeList, SetKeepsTheListReadable)
{
    constexpr char list[] = "a(T:n),b";
    EXPECT_EQ(listSet(list, "x,(y", 31, 0, 0), "x\\,\\(y(T:n),b");
    EXPECT_EQ(listGet(listSet(list, "x,(y", 31, 0, 0).c_str(), 31, 0), "x,(y");
    EXPECT_EQ(listSet(list, "u:v)", 32, 1, 0), "a(T:n),b(u\\:v\\))");
    EXPECT_EQ(listSet(list, ":m", 448, 0, 1), "a(T:n,:m),b");
    EXPECT_EQ(listSet(list, ":m,\\:o", 448, -1, -1), "a(T:n),b(:m\\,\\:o)");
    EXPECT_EQ(listSet(list, "c(U)", 63, 2, 0), "a(T:n),b,c(U)");
    EXPECT_EQ(listSet(list, "", 32, 0, 0), "a(:n),b");
    EXPECT_EQ(listSet("", "f", 31, 0, 0), "f");
    EXPECT_EQ(listSet("", "t", 32, 0, 0), "!Cannot modify title of non-existent <FileNodeListItem>");
    EXPECT_EQ(listSet(list, ":n", 448, 2, 0), "!Cannot modify a <NodePath> of a non-existent <FileNodeListItem>");
    EXPECT_EQ(listSet(list, "n", 448, 0, 0), "!<NodePath> is not a <FullNodePath>");
    EXPECT_EQ(listSet("a", "", 31, 0, 0), "");
    EXPECT_EQ(listSet("a,b", "", 31, 0, 0), "!Illegal character, ,, at position 0");
    EXPECT_EQ(listSet("a,b", "", 31, 1, 0), "!Parse error; <FileNodeList> terminates with NULL <FileName>");
    EXPECT_EQ(listSet("a(T)", "d/", 31, 0, 0),
              "!Parse error; <FileNodeListItemSpec> at position 2 is preceded by a <DirectoryName>");
    EXPECT_EQ(taken(efnp_FileNodeCreate("/d", "f.img", "n:m", "T", nullptr)), "/d/f.img(T:n:m)");
    EXPECT_EQ(taken(efnp_FileNodeCreate(nullptr, "f.img", nullptr, nullptr, nullptr)), "f.img");
}

TEST(NodeList, PairsOfFileAndNodes)
{
    Efnp_FileNodes* list = efnp_FileNodeParseEx("a(T:x:y\\:z,:w),b\\,c", nullptr);
    ASSERT_NE(list, nullptr);
    EXPECT_STREQ(list[0].file, "a");
    EXPECT_STREQ(list[0].nodes[0].path, ":x");
    EXPECT_STREQ(list[0].nodes[0].name, "y:z");
    EXPECT_STREQ(list[0].nodes[1].path, ":");
    EXPECT_STREQ(list[0].nodes[1].name, "w");
    EXPECT_EQ(list[0].nodes[2].path, nullptr);
    EXPECT_STREQ(list[1].file, "b,c");
    EXPECT_EQ(list[1].nodes[0].path, nullptr);
    EXPECT_EQ(list[2].file, nullptr);
    efnp_FreeNodeList(list);
    Report empty;
    EXPECT_EQ(efnp_FileNodeListParse("", empty), nullptr);
    EXPECT_EQ(empty.records()[0], (Record{"efnp_FileNodeListParse", "File name length equals zero.", EERR_WARNING}));
}

TEST(NodeList, NamesAreOneUnderTheNameOrder)
{
    Estr_StringList* list = efnp_FileNameListAppend(nullptr, "/A/./b", nullptr);
    list = efnp_FileNameListAppendUniq(list, "/a//B", nullptr);
    list = efnp_FileNameListAppendUniq(list, "/c", nullptr);
    EXPECT_EQ(efnp_FileNameListCount(list), 2);
    EXPECT_EQ(efnp_FindOnFileNameList("/C", list, nullptr), 1);
    EXPECT_EQ(efnp_FindOnFileNameList("/x", list, nullptr), -1);
    efnp_FileNameListDelete(list, nullptr);
}
