#include "frame/guard/guard.h"

#include "frame/guard/plain_scope.h"
#include "platform/faults.h"
#include "support/captured_stderr.h"
#include "support/chain.h"

#include <gtest/gtest.h>

#include <cfenv>

using namespace emantle;
using Records = std::vector<Record>;

namespace {

extern "C" int exmp_Root(Eerr_ErrorReport** err)
{
    return guarded<int>(err, "exmp_Root", -1, [] {
        fail({"no %s in %ld", 7}, "band", 3L);
        return 1;
    });
}

extern "C" int exmp_Middle(Eerr_ErrorReport** err)
{
    return guarded<int>(err, "exmp_Middle", -2, [](EerrException& scope) { return checked(scope, exmp_Root(scope)); });
}

template <class Body>
Records chainOf(Body body)
{
    Report report;
    guarded(report, "exmp_Outer", body);
    return report.records();
}

}  // namespace

TEST(Guarded, GivesTheResultOrTheFailureValueAndClearsTheError)
{
    Eerr_ErrorReport stale{};
    Eerr_ErrorReport* err = &stale;
    EXPECT_EQ(guarded<int>(&err, "exmp_F", -1, [] { return 5; }), 5);
    EXPECT_EQ(err, nullptr);
    Report report;
    EXPECT_EQ(exmp_Middle(report), -2);
}

TEST(Guarded, EachLevelAddsOneRecordThatNamesTheLevelBelow)
{
    EXPECT_EQ(chainOf([](EerrException& scope) { checked(scope, exmp_Middle(scope)); }),
              (Records{{"exmp_Outer", "exmp_Middle failed"},
                       {"exmp_Middle", "exmp_Root failed"},
                       {"exmp_Root", "no band in 3"}}));
}

TEST(Guarded, NumbersAreTheLineOfTheCallOrTheOneGiven)
{
    Report report;
    const long line = __LINE__ + 1;
    guarded(report, "exmp_Outer", [](EerrException& scope) { checked(scope, exmp_Root(scope)); });
    ASSERT_EQ(report.records().size(), 2u);
    EXPECT_EQ(report.get()->number, line);
    EXPECT_EQ(report.get()->next->number, 7);
}

TEST(Guarded, TextsOfCheckedReplaceTheNameOfTheCallee)
{
    const Record root{"exmp_Root", "no band in 3"};
    EXPECT_EQ(chainOf([](EerrException& scope) { checked(scope, exmp_Root(scope), "band %d", 4); }),
              (Records{{"exmp_Outer", "band 4"}, root}));
    EXPECT_EQ(chainOf([](EerrException& scope) { checked(scope, exmp_Root(scope), {nullptr, 2}); }),
              (Records{{"exmp_Outer", std::nullopt}, root}));
    EXPECT_EQ(chainOf([](EerrException& scope) {
                  exmp_Root(scope);
                  check(scope, "100% lost");
              }),
              (Records{{"exmp_Outer", "100% lost"}, root}));
}

TEST(Guarded, ChainThatWasNotCheckedGoesToTheCallerWithTheResult)
{
    Report report;
    EXPECT_EQ(guarded<int>(report, "exmp_Outer", -1, [](EerrException& scope) { return exmp_Root(scope), 4; }), 4);
    EXPECT_EQ(report.records(), (Records{{"exmp_Root", "no band in 3"}}));
}

TEST(Guarded, ForeignExceptionsBecomeRecords)
{
    EXPECT_EQ(chainOf([] { throw std::out_of_range("past the end"); }), (Records{{"exmp_Outer", "past the end"}}));
    EXPECT_EQ(chainOf([] { throw 3; }), (Records{{"exmp_Outer", "Unknown function:  unknown exception thrown"}}));
    EXPECT_EQ(chainOf([](EerrException& scope) {
                  exmp_Root(scope);
                  throw 3;
              }),
              (Records{{"exmp_Outer", "exmp_Root:  unknown exception thrown"}, {"exmp_Root", "no band in 3"}}));
    EXPECT_EQ(chainOf([] { EerrException("exmp", "Exmp::Inner").Throw(5, "inner text"); }),
              (Records{{"exmp_Outer", "Exmp::Inner failed"}, {"Exmp::Inner", "inner text"}}));
    EXPECT_EQ(chainOf([] { OrvikLog::CheckFailure<std::out_of_range>("exmp", "Exmp::At").Throw(5, "index"); }),
              (Records{{"exmp_Outer", "Exmp::At failed"}, {"Exmp::At", "index"}}));
}

TEST(Guarded, FailureWithoutAnErrorArgumentIsPrintedOnceByTheOutermost)
{
    EXPECT_EQ(stderrOf([] {
                  guarded(nullptr, "exmp_Outer",
                          [](EerrException& scope) { checked(scope, exmp_Root(scope), {nullptr, 2}); });
              }),
              " ***ERROR NUMBER 2 IN FUNCTION exmp_Outer***\n >>>exmp_Root failed.<<<\n"
              " ***ERROR NUMBER 7 IN FUNCTION exmp_Root***\n >>>no band in 3<<<\n\n");
}

TEST(Guarded, FailureResetsTheFloatingPointUnit)
{
    const int before = std::fegetround();
    chainOf([] {
        std::fesetround(FE_UPWARD);
        fail("x");
    });
    EXPECT_EQ(std::fegetround(), FE_TONEAREST);
    std::fesetround(before);
}

TEST(Guarded, FailureLeavesAChainWhicheverAllocationFails)
{
    for (const auto repeat : {platform::Repeat::once, platform::Repeat::fromThenOn}) {
        bool fired = true;
        for (std::uint64_t nth = 1; fired; ++nth) {
            platform::FaultInjection noMemory(platform::Operation::allocate, nth, platform::Outcome::noMemory(), repeat);
            Report report;
            EXPECT_EQ(exmp_Middle(report), -2) << nth;
            EXPECT_FALSE(report.records().empty()) << nth;
            fired = noMemory.fired();
            EXPECT_TRUE(fired || report.records().size() == 2);
        }
    }
}

TEST(TellAndForget, PrintsUnderAStatusRecordAndGoesOn)
{
    EXPECT_EQ(stderrOf([] {
                  EXPECT_EQ(chainOf([](EerrException& scope) {
                                exmp_Root(scope);
                                tellAndForget(scope, "exmp_Outer");
                                check(scope);
                            }),
                            Records{});
              }),
              " >>>exmp_Root failed.<<<\n ***ERROR NUMBER 7 IN FUNCTION exmp_Root***\n >>>no band in 3<<<\n\n");
}

namespace {

template <class Body>
Records plainChainOf(Body body)
{
    Report report;
    {
        PlainScope scope("exmp_Plain", report);
        body(scope);
    }
    return report.records();
}

const Record kPlainRoot{"exmp_Root", "no band in 3"};

}  // namespace

TEST(Plain, RaisesItsOwnFailureOrWrapsTheCallees)
{
    EXPECT_EQ(plainChainOf([](PlainScope&) {}), Records{});
    EXPECT_EQ(plainChainOf([](PlainScope& scope) { scope.raise("50% of it"); }), (Records{{"exmp_Plain", "50% of it"}}));
    EXPECT_EQ(plainChainOf([](PlainScope& scope) {
                  exmp_Root(scope);
                  ASSERT_TRUE(scope.failed());
                  scope.raise({nullptr, 2});
                  EXPECT_FALSE(scope.failed());
              }),
              (Records{{"exmp_Plain", std::nullopt}, kPlainRoot}));
    EXPECT_EQ(plainChainOf([](PlainScope& scope) {
                  exmp_Root(scope);
                  scope.raise("track %d", 4);
              }),
              (Records{{"exmp_Plain", "track 4"}, kPlainRoot}));
}

TEST(Plain, KeepsEveryChainOfSeveral)
{
    EXPECT_EQ(plainChainOf([](PlainScope& scope) { exmp_Root(scope); }), (Records{kPlainRoot}));
    EXPECT_EQ(plainChainOf([](PlainScope& scope) {
                  scope.raise("first");
                  scope.raise("second");
              }),
              (Records{{"exmp_Plain", "second"}, {"exmp_Plain", "first"}}));
    Records kept;
    EXPECT_EQ(stderrOf([&] {
                  kept = plainChainOf([](PlainScope& scope) {
                      scope.raise("own");
                      exmp_Root(scope);
                  });
              }),
              " ***ERROR NUMBER 7 IN FUNCTION exmp_Root***\n >>>no band in 3<<<\n\n");
    EXPECT_EQ(kept, (Records{{"exmp_Plain", "own"}}));
    EXPECT_NE(stderrOf([&] {
                  kept = plainChainOf([](PlainScope& scope) {
                      exmp_Root(scope);
                      exmp_Root(scope);
                      scope.forget();
                  });
              }).find("no band in 3"),
              std::string::npos);
    EXPECT_EQ(kept, Records{});
}

TEST(Plain, RaiseWithoutMemoryStillLeavesAChain)
{
    platform::FaultInjection noMemory(platform::Operation::allocate, 1, platform::Outcome::noMemory(),
                                      platform::Repeat::fromThenOn);
    EXPECT_EQ(plainChainOf([](PlainScope& scope) { scope.raise("x"); }), (Records{{"emsc_HeapMalloc", "emsc_New failed"}}));
}

TEST(Plain, WithoutAnErrorArgumentEverythingIsPrintedAtTheEnd)
{
    EXPECT_EQ(stderrOf([] {
                  PlainScope scope("exmp_Plain", nullptr);
                  exmp_Root(scope);
                  scope.raise({nullptr, 2});
                  EXPECT_FALSE(scope.failed());
              }),
              " ***ERROR NUMBER 2 IN FUNCTION exmp_Plain***\n >>>exmp_Root failed.<<<\n"
              " ***ERROR NUMBER 7 IN FUNCTION exmp_Root***\n >>>no band in 3<<<\n\n");
}

TEST(Plain, WarningsTakeTheirTextAsItStands)
{
    EXPECT_EQ(stderrOf([] {
                  warn("exmp_F", {"50% done", 4});
                  warn("exmp_F", {"%d left", 5}, 2);
              }),
              " ***WARNING NUMBER 4 IN FUNCTION exmp_F***\n >>>50% done<<<\n\n"
              " ***WARNING NUMBER 5 IN FUNCTION exmp_F***\n >>>2 left<<<\n\n");
}
