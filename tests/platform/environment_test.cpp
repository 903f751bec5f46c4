#include "platform/environment.h"

#include "platform/errors.h"

#include <cstdlib>
#include <gtest/gtest.h>

using namespace emantle::platform;

TEST(Environment, AnEmptyVariableAndAnUnsetOneAreTheSame)
{
    std::string value = "kept";
    setenv("EMANTLE_TEST_ITEM", "", 1);
    EXPECT_FALSE(getEnvironment("EMANTLE_TEST_ITEM", value));
    unsetenv("EMANTLE_TEST_ITEM");
    EXPECT_FALSE(getEnvironment("EMANTLE_TEST_ITEM", value));
    EXPECT_EQ(value, "kept");
    EXPECT_EQ(setEnvironment("EMANTLE_TEST_ITEM", "x"), 0);
    EXPECT_TRUE(getEnvironment("EMANTLE_TEST_ITEM", value));
    EXPECT_EQ(value, "x");
    EXPECT_EQ(setEnvironment("EMANTLE_TEST_ITEM", ""), 0);
    EXPECT_EQ(std::getenv("EMANTLE_TEST_ITEM"), nullptr);
    EXPECT_EQ(setEnvironment("A=B", "x"), error::invalidArgument);
    EXPECT_EQ(setEnvironment("", "x"), error::invalidArgument);
}

TEST(Environment, OnlyPathChangesItsSeparator)
{
    const std::string before = std::getenv("PATH");
    std::string value;
    EXPECT_EQ(setEnvironment("PATH", "/a;/b"), 0);
    EXPECT_STREQ(std::getenv("PATH"), "/a:/b");
    EXPECT_TRUE(getEnvironment("PATH", value));
    EXPECT_EQ(value, "/a;/b");
    setenv("PATH", before.c_str(), 1);

    EXPECT_EQ(setEnvironment("EMANTLE_TEST_PATH", "C:/a;/b"), 0);
    EXPECT_STREQ(std::getenv("EMANTLE_TEST_PATH"), "C:/a;/b");
    EXPECT_TRUE(getEnvironment("EMANTLE_TEST_PATH", value));
    EXPECT_EQ(value, "C:/a;/b");
    unsetenv("EMANTLE_TEST_PATH");
}
