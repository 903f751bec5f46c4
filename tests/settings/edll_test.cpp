#include "support/captured_stderr.h"
#include "support/chain.h"

#include <emantle/frame/emsc/heap.h>
#include <emantle/settings/edll.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

namespace {

constexpr const char* kProbe = EMANTLE_TEST_MODULES "/edll_probe_module.dll";

std::string rootCause(const Report& report)
{
    const auto records = report.records();
    return records.empty() ? "(no report)" : records.back().message.value_or("");
}

int created = 0;
int destroyed = 0;

void* createCounted(EdllHandle, const char*, Eerr_ErrorReport**)
{
    ++created;
    return &created;
}
void destroyCounted(void*, Eerr_ErrorReport**) { ++destroyed; }

TEST(Instances, AreMadeOnceAndDestroyedAtTheLastClose)
{
    created = destroyed = 0;
    const auto open = [] {
        return edll_InstanceOpenByClassName("BinFunctions", "edsc_BFLinear", "", createCounted, destroyCounted, nullptr);
    };
    ASSERT_EQ(edll_InstanceFind("BinFunctions", "edsc_BFLinear", "", nullptr), nullptr);
    EXPECT_EQ(open(), &created);
    EXPECT_EQ(open(), &created);
    EXPECT_EQ(created, 1);
    EXPECT_TRUE(edll_InstanceClose("BinFunctions", "edsc_BFLinear", "", nullptr));
    EXPECT_EQ(destroyed, 0);
    EXPECT_TRUE(edll_InstanceClose("BinFunctions", "edsc_BFLinear", "", nullptr));
    EXPECT_EQ(destroyed, 1);
    Report report;
    EXPECT_FALSE(edll_InstanceClose("BinFunctions", "edsc_BFLinear", "", report));
    EXPECT_EQ(rootCause(report), "Could not find instance edsc_BFLinear of class BinFunctions");
    open();
    open();
    EXPECT_TRUE(edll_InstanceCloseAll(nullptr));
    EXPECT_EQ(destroyed, 2);
    Report neither;
    EXPECT_EQ(edll_InstanceOpenByClassName("A", "B", "", nullptr, nullptr, neither), nullptr);
    EXPECT_EQ(rootCause(neither), "Invalid Create and Destroy Function Pointers");
}

TEST(Libraries, SayWhatTheyLack)
{
    Report report;
    EXPECT_EQ(edll_Open("/nowhere/none.dll", report), nullptr);
    EXPECT_EQ(rootCause(report).rfind("Could not load DLL /nowhere/none.dll:\n", 0), 0U);
    Report null;
    EXPECT_EQ(edll_Open(nullptr, null), nullptr);
    EXPECT_EQ(rootCause(null).rfind("Could not load DLL <NULL>:\n", 0), 0U);
    EdllHandle library = edll_Open(kProbe, nullptr);
    ASSERT_NE(library, nullptr);
    Report symbol;
    EXPECT_EQ(edll_Find(library, "noSuchSymbol", symbol), nullptr);
    EXPECT_EQ(rootCause(symbol), "Cannot locate symbol noSuchSymbol");
    Report quiet;
    EXPECT_EQ(edll_FindIfPresent(library, "noSuchSymbol", quiet), nullptr);
    EXPECT_EQ(quiet.get(), nullptr);
    Report longName;
    EXPECT_EQ(edll_Find(library, std::string(5000, 'x').c_str(), longName), nullptr);
    EXPECT_EQ(rootCause(longName), "Temp buffer size exceeded");
    const auto answer = reinterpret_cast<int (*)()>(edll_Find(library, "edllProbeAnswer", nullptr));
    ASSERT_NE(answer, nullptr);
    EXPECT_EQ(answer(), 42);
    edll_Close(library, nullptr);
}

TEST(Libraries, ARelativePathIsLoadedAfterAWarning)
{
    const std::string path = std::filesystem::relative(kProbe).string();
    testing::internal::CaptureStdout();
    EdllHandle library = nullptr;
    const std::string told = stderrOf([&] { library = edll_Open(path.c_str(), nullptr); });
    const std::string all = told + testing::internal::GetCapturedStdout();
    EXPECT_NE(library, nullptr);
    EXPECT_NE(all.find(path + ": Attempting to load a DLL with a relative path may pose a security risk; please correct"),
              std::string::npos);
    edll_Close(library, nullptr);
}

TEST(ClassPath, ComesFromTheVariableOfTheClass)
{
    setenv("ORVIK_TEST_THINGS_PATH", "/nowhere;" EMANTLE_TEST_MODULES, 1);
    const std::unique_ptr<char, decltype(&emsc_HeapFree)> path(
        edll_ClassPathNameGet("TestThings", "edll_probe_module", nullptr), emsc_HeapFree);
    unsetenv("ORVIK_TEST_THINGS_PATH");
    ASSERT_NE(path, nullptr);
    EXPECT_STREQ(path.get(), kProbe);
    for (const char* name : {"none", "../modules/edll_probe_module", ""}) {
        Report report;
        EXPECT_EQ(edll_ClassPathNameGet("TestThings", name, report), nullptr);
        EXPECT_EQ(rootCause(report), std::string("Could not find instance ") + name + " of class TestThings");
    }
}

}  // namespace
