#include <gtest/gtest.h>

#include <cstdarg>
#include <cstring>
#include <emantle/frame/eerr.h>
#include <emantle/frame/estr/wild.h>
#include <emantle/siblings/ergx.h>

namespace {

std::string translated(const char* wild, bool sensitive = true)
{
    char target[256];
    const char* reason = nullptr;
    const long length = estr_WildREDetermine(wild, target, sizeof target, sensitive, nullptr, &reason);
    return length < 0 ? std::string("!") + reason : std::string(target, static_cast<std::size_t>(length));
}

}  // namespace

TEST(Wild, Translation)
{
    const struct {
        const char* wild;
        const char* expected;
    } cases[] = {
        {"abc*", "^abc"},
        {"*abc", "abc$"},
        {"a?c.img", "^a.c\\.img$"},
        {"a*b**", "^a.*b.*"},
        {"*", "$"},
        {"", ""},
        {"*(ab|c)", "^(ab|c)*$"},
        {"x@(ab|c)+(d)?(e)", "^x(ab|c)(d)+(e)?$"},
        {"x*(a?(b)c)", "^x(a(b)?c)*$"},
        {"a+b@c?", "^a\\+b@c.$"},
        {"[!a-c]^$", "^[^a-c]\\^\\$$"},
        {"[a\\]]", "^[a\\]]$"},
        {"[!a", "!End of string within character set"},
        {"[", "!End of string within character set"},
        {"[a\\", "!End of string after backslash in character set"},
        {"a\\", "!End of string after backslash"},
    };
    for (const auto& each : cases) {
        EXPECT_EQ(translated(each.wild), each.expected) << each.wild;
    }
    EXPECT_EQ(translated("AbC[X]", false), "^abc[x]$");
    char small[6] = "#####";
    EXPECT_EQ(estr_WildREDetermine("abcdef", small, 4, 1, nullptr, nullptr), 8);
    EXPECT_EQ(std::string(small, 5), std::string("^ab\0#", 5));
    char simple[32];
    EXPECT_STREQ(estr_CreateREfromWild("a*.?", simple), "^a.*\\..$");
    EXPECT_STREQ(estr_CreateREfromWild("", simple), "^.*$");
}

TEST(Wild, Compare)
{
    const struct {
        const char* wild;
        const char* text;
        bool sensitive;
        bool expected;
    } cases[] = {
        {"*.img", "scene.img", true, true},
        {"*.img", "scene.IMG", true, false},
        {"*.img", "scene.IMG", false, true},
        {"*.img", "scene.imgx", true, false},
        {"*.*", "noextension", true, true},
        {"sc*ne", "sc/\nne", true, true},
        {"[!s]*", "scene", true, false},
        {"*(ab|c)", "abcab", true, true},
        {"*(ab|c)", "abd", true, false},
        {"sc?ne", "sc\xc3\xa9ne", true, true},
        {"?.img", "\xff.img", true, true},
        {"[z-a]", "z", true, false},
        {"", "", true, false},
    };
    for (const auto& each : cases) {
        if (*each.wild != '\0') {
            EXPECT_EQ(estr_WildCompareSensitive(each.wild, each.text, each.sensitive), each.expected)
                << each.wild << ' ' << each.text;
        }
    }
    EXPECT_TRUE(estr_WildCompare(nullptr, "x"));
    EXPECT_FALSE(estr_WildCompare("x", nullptr));
    EXPECT_TRUE(estr_IsWild("a*") && estr_IsWild("[ab]") && estr_IsWild("@(a)"));
    EXPECT_FALSE(estr_IsWild("a.img") || estr_IsWild("a@b+c") || estr_IsWild(nullptr) || estr_IsWild("a(b)"));
}

TEST(Wild, AFaultyPatternIsLoggedAndFitsNothing)
{
    std::vector<std::string> told;
    const auto connection =
        EerrDispatcher::Connect(EerrDispatcher::LogSlot([&told](const char* format, va_list arguments) {
            char text[200];
            std::vsnprintf(text, sizeof text, format, arguments);
            told.emplace_back(text);
        }));
    EXPECT_FALSE(estr_WildCompare("[a", "a"));
    EXPECT_FALSE(estr_WildCompare("[a", "a")); // also the second time
    ASSERT_EQ(told.size(), 2U);
    EXPECT_EQ(told[0], "Error evaluating wildcard <[a>: End of string within character set");
}

TEST(Wild, NoPatternTakesMoreThanLinearTime)
{
    std::string wild, text(20000, 'a');
    for (int i = 0; i < 25; ++i) {
        wild += "*(a)";
    }
    EXPECT_FALSE(estr_WildCompare((wild + "b").c_str(), text.c_str()));
}

TEST(Ergx, FaultyPatternsHaveAReason)
{
    char reason[5] = "####";
    EXPECT_EQ(ergx_RECreate("(", reason, 4), nullptr);
    EXPECT_EQ(std::strlen(reason), 3U);
    EXPECT_EQ(ergx_RECreate(nullptr, nullptr, 0), nullptr);
    EXPECT_FALSE(ergx_REMatch(nullptr, "x"));
    ergx_REDestroy(nullptr);
}
