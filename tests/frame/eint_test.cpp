#include <emantle/frame/eint.h>

#include "frame/eint.h"
#include "platform/faults.h"
#include "support/captured_stderr.h"
#include "support/chain.h"

#include <emantle/siblings/ethr.h>
#include <gtest/gtest.h>

#include <set>
#include <thread>

using namespace emantle;

/* Each test that needs a process without the record runs in a child of its own: whichever test made the record before, the
 * children of the threadsafe style start afresh. */
class ToolkitInAFreshProcess : public testing::Test {
protected:
    void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST(Toolkit, OneRecordThatDeInitLeavesInPlace)
{
    Report report;
    Eint_InitToolkitData* record = eint_InitToolkit(report);
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(report.get(), nullptr);
    eint_DeInit();
    EXPECT_EQ(eint_InitToolkit(nullptr), record);
    EXPECT_EQ(eint_GetInit(), record);
    EXPECT_EQ(sizeof(Eint_InitToolkitData), 7 * sizeof(void*));
}

namespace {

bool concurrentFirstCallsAgree()
{
    std::vector<Eint_InitToolkitData*> seen(16);
    std::vector<std::thread> threads;
    for (auto& each : seen) {
        threads.emplace_back([&each] { each = eint_GetInit(); });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    return seen[0] != nullptr && std::set(seen.begin(), seen.end()).size() == 1;
}

bool firstCallWithoutMemoryReports()
{
    Report report;
    {
        platform::FaultInjection noMemory(platform::Operation::allocate, 1, platform::Outcome::noMemory());
        if (eint_InitToolkit(report) != nullptr) {
            return false;
        }
    }
    const std::vector<Record> expected{{"eint_InitToolkit", "EintOrvInit::get_InitToolkitData failed"},
                                       {"EintOrvInit::get_InitToolkitData", "emsc_New failed"}};
    return report.records() == expected && report.get()->next->number == 187 && eint_InitToolkit(nullptr) != nullptr;
}

/* Leaves memory for the reports of the first failure and none for the record, whenever it is asked for again. */
bool failureIsPrintedOnce()
{
    struct RecordNeverFits {
        platform::FaultInjection first{platform::Operation::allocate, 1, platform::Outcome::noMemory()};
        platform::FaultInjection later{platform::Operation::allocate, 8, platform::Outcome::noMemory(),
                                       platform::Repeat::fromThenOn};
    } memory;
    return eint_GetInit() == nullptr;
}

}  // namespace

/* The handler is there before the dispatcher is, and so runs after it has gone. */
TEST_F(ToolkitInAFreshProcess, ReportsMadeAfterTheDispatcherAreStillPrinted)
{
    const auto reportAtExit = [] {
        std::atexit([] { eerr_MessageLog(EERR_ERROR, "told at exit"); });
        eerr_MessageLog(EERR_STATUS, "builds the dispatcher");
        std::exit(0);
    };
    EXPECT_EXIT(reportAtExit(), testing::ExitedWithCode(0), "told at exit");
}

TEST_F(ToolkitInAFreshProcess, ConcurrentFirstCallsMakeOneRecord)
{
    EXPECT_EXIT(std::exit(concurrentFirstCallsAgree() ? 0 : 1), testing::ExitedWithCode(0), "");
}

TEST_F(ToolkitInAFreshProcess, OutOfMemoryIsReportedAndTheNextCallTriesAgain)
{
    EXPECT_EXIT(std::exit(firstCallWithoutMemoryReports() ? 0 : 1), testing::ExitedWithCode(0), "");
}

/* The print of the failure itself makes sure of the record. */
TEST_F(ToolkitInAFreshProcess, FailureThatIsPrintedDoesNotPrintItselfForEver)
{
    EXPECT_EXIT(std::exit(failureIsPrintedOnce() ? 0 : 1), testing::ExitedWithCode(0), "emsc_New failed");
}

namespace {

int begun;
int ended;

}  // namespace

TEST(ThreadSafeMode, CallsEachPairOnceHoweverDeepItNests)
{
    const auto begin = [] { ++begun; };
    const auto end = [] { ++ended; };
    ethr_RegisterThreadSafeModeCallbacks(begin, end);
    ethr_RegisterThreadSafeModeCallbacks(begin, end);
    ethr_ThreadSafeModeBegin();
    ethr_ThreadSafeModeBegin();
    ethr_ThreadSafeModeEnd();
    EXPECT_EQ(begun, 1);
    EXPECT_EQ(ended, 0);
    ethr_ThreadSafeModeEnd();
    ethr_ThreadSafeModeEnd();
    EXPECT_EQ(ended, 1);
}
