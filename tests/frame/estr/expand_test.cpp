#include "support/chain.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <emantle/frame/emsc/heap.h>
#include <emantle/frame/estr.h>

namespace {

std::string taken(char* text)
{
    const std::string copy = text == nullptr ? "(null)" : text;
    emsc_HeapFree(text);
    return copy;
}

std::string once(const char* text)
{
    return taken(estr_StringExpand(text, nullptr));
}

std::string path(const char* text)
{
    return taken(estr_PathExpand(text, nullptr, 0));
}

class Expand : public testing::Test {
protected:
    Expand()
    {
        for (const auto& [name, value] : {std::pair{"EX_A", "$EX_B"},
                                          {"EX_B", "b"},
                                          {"EX_LOOP", "x$EX_POOL"},
                                          {"EX_POOL", "${EX_LOOP}"},
                                          {"EX_EMPTY", ""},
                                          {"EX_DIR", "C:\\data\\"}}) {
            setenv(name, value, 1);
        }
        unsetenv("EX_UNSET");
    }
};

}  // namespace

TEST_F(Expand, References)
{
    const struct {
        const char* text;
        const char* once;
        const char* path;
    } cases[] = {
        {"$EX_A/$EX_B", "$EX_B/b", "b/b"},
        {"${EX_B}x$EX_B_", "bx", "bx"},
        {"[$EX_UNSET$EX_EMPTY${}]", "[]", "[]"},
        {"$1$$ $-$", "$1$$ $-$", "$1$$ $-$"},
        {"${EX_B", "${EX_B", "${EX_B"},
        {"${EX-B}", "${EX-B}", "${EX-B}"},
        {"\xc3\xa9$EX_B\xc3\xa9",
         "\xc3\xa9"
         "b\xc3\xa9",
         "\xc3\xa9"
         "b\xc3\xa9"},
        {"", "", ""},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(once(each.text), each.once) << each.text;
        EXPECT_EQ(path(each.text), each.path) << each.text;
    }
    EXPECT_EQ(estr_StringExpand(nullptr, nullptr), nullptr);
    EXPECT_EQ(estr_PathExpand(nullptr, nullptr, 0), nullptr);
}

TEST_F(Expand, PathsAreCleaned)
{
    const struct {
        const char* text;
        const char* expected;
    } cases[] = {
        {"C:\\a\\\\b", "C:/a/b"},
        {"//host//x", "//host/x"},
        {"\\\\host\\\\\\x", "//host/x"},
        {"///x//", "/x/"},
        {"\"a b\"", "a b"},
        {"\"", "\""},
        {"\"\"", ""},
        {"$EX_DIR\\f", "C:/data/f"},
        {"a//", "a/"},
        {"//", "/"},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(path(each.text), each.expected) << each.text;
    }
}

TEST_F(Expand, AVariableThatRefersToItselfIsNoPath)
{
    EXPECT_EQ(estr_PathExpand("a/$EX_LOOP", nullptr, 0), nullptr);
    EXPECT_EQ(once("$EX_LOOP"), "x$EX_POOL");
}

TEST_F(Expand, HostileEnvironmentsAreGivenUp)
{
    // Each level doubles the one below; a chain goes deeper than any honest one.
    for (int i = 0; i < 1000; ++i) {
        const std::string next = "$EX_L" + std::to_string(i + 1), chain = "$EX_C" + std::to_string(i + 1);
        setenv(("EX_L" + std::to_string(i)).c_str(), i < 60 ? (next + next).c_str() : "", 1);
        setenv(("EX_C" + std::to_string(i)).c_str(), chain.c_str(), 1);
    }
    EXPECT_EQ(estr_PathExpand("$EX_L0", nullptr, 0), nullptr);
    EXPECT_EQ(estr_PathExpand("$EX_C0", nullptr, 0), nullptr);
    EXPECT_EQ(path("$EX_C900"), "");
}

TEST_F(Expand, BuffersAreCutAndGuarded)
{
    char buffer[6] = "#####";
    EXPECT_EQ(estr_PathExpand("a\\bcdef", buffer, 4), buffer);
    EXPECT_STREQ(buffer, "a/b");
    EXPECT_EQ(buffer[4], '#');
    EXPECT_EQ(estr_PathExpand("abc", buffer, 0), nullptr);
    EXPECT_STREQ(buffer, "a/b");
}

TEST(EstrPath, BeginsBehindDriveOrHost)
{
    const struct {
        const char* text;
        long begin;
    } cases[] = {{"C:/x", 2}, {"//host/x", 6}, {"//host", 6}, {"/x", 0}, {"///x", 0}, {"1:/x", 0}, {"", 0}};
    for (const auto& each : cases) {
        EXPECT_EQ(estr_PathBegin(each.text) - each.text, each.begin) << each.text;
    }
    char target[32];
    char source[] = "a//b\\\\/c/";
    EXPECT_STREQ(estr_PathRemoveDuplicateSeparators(source, target), "a/b\\c/");
    EXPECT_STREQ(estr_PathRemoveDuplicateSeparators(source, nullptr), "a/b\\c/");
    std::string text = "a/b";
    EXPECT_EQ(estr_ConvertPathNT(text), "a\\b");
    EXPECT_EQ(estr_PathExpand(text), "a/b");
}

TEST(EstrPath, PiecesOfNames)
{
    const struct {
        char* (*piece)(const char*, char*, long);
        const char* name;
        const char* expected;
    } cases[] = {
        {estr_GetProtocolPart, "http://host/d/a.b.img(T:L:S)", "http"},
        {estr_GetProtocolPart, "C:/d/a.img", ""},
        {estr_GetServerPart, "http://host/d/a.b.img(T:L:S)", "host"},
        {estr_GetServerPart, "//host", "host"},
        {estr_GetLocalFilename, "http://host/d/a.b.img(T:L:S)", "/d/a.b.img"},
        {estr_GetLocalFilename, "C:/d/a.img", "C:/d/a.img"},
        {estr_GetPathPart, "http://host/d/a.b.img(T:L/x:S)", "http://host/d"},
        {estr_GetPathPart, "/a", "/"},
        {estr_GetPathPart, "a", ""},
        {estr_GetPathPart, "C:\\d\\a", "C:\\d"},
        {estr_GetNamePart, "/d/a.b.img(T:L/x:S)", "a.b.img(T:L/x:S)"},
        {estr_GetNamePartSimple, "/d/a.b.img(T:L:S)", "a.b.img"},
        {estr_GetRootPart, "/d.e/a.b.img(T)", "a.b"},
        {estr_GetRootPart, "/d.e/.profile", ".profile"},
        {estr_GetExtPart, "/d.e/a.b.img(T)", ".img"},
        {estr_GetExtPart, "/d.e/a", ""},
        {estr_GetLayerPart, "/d/a.img(T:L:S)", "T:L:S"},
        {estr_GetLayerPart, "/d/a.img(T:L", "T:L"},
        {estr_GetLayerPartSimple, "/d/a.img(T:L:S)", "S"},
        {estr_GetNonNodePart, "//h/d/a.img(T:L:S)", "//h/d/a.img"},
        {estr_GetNamePart, nullptr, ""},
        {estr_GetBestFitParts, "/a/directory/of/some/depth/file.img", "...th/file.img"},
    };
    for (const auto& each : cases) {
        char buffer[64];
        const bool fits = each.piece == estr_GetBestFitParts;
        EXPECT_STREQ(each.piece(each.name, buffer, fits ? 18 : 64), fits ? ".../file.img" : each.expected);
        char guarded[4] = {'#', '#', '#', '#'};
        EXPECT_NE(each.piece(each.name, guarded, 3), nullptr);
        EXPECT_LT(std::string(guarded, 4).find('\0'), 3U);
        EXPECT_EQ(guarded[3], '#');
    }
}

TEST(EstrPath, ErrorNumbersHaveTheirSentences)
{
    errno = 41;
    EXPECT_STREQ(
        estr_ErrnoString(),
        "A directory with entries other than dot and dot-dot was supplied when an empty directory was expected.");
    errno = 35;
    EXPECT_STREQ(estr_ErrnoString(), "Unknown error code : 35");
    errno = 2;
    EXPECT_NE(taken(estr_LastError()), "(null)");
    EXPECT_EQ(errno, 2);
}
