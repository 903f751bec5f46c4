#include <emantle/frame/eerr.h>

#include "frame/eerr/log_route.h"
#include "platform/faults.h"
#include "support/captured_stderr.h"
#include "support/chain.h"

#include <emantle/frame/etxt.h>
#include <gtest/gtest.h>

#include <cstring>

using namespace emantle;
using Records = std::vector<Record>;

namespace {

/* root <- middle <- head, the outer two as the plain functions make them. */
Eerr_ErrorReport* chainOfThree()
{
    Eerr_ErrorReport* root = eerr_CreateErrorReport("root", 1, EERR_ERROR, nullptr, "no %s", "file");
    Eerr_ErrorReport* middle = eerr_CreateErrorReport("middle", 2, EERR_ERROR, root, nullptr);
    return eerr_CreateErrorReport("head", 3, EERR_ERROR, middle, nullptr);
}

std::string printed(Eerr_ErrorReport* chain, Eerr_ErrorReportingMode mode)
{
    const Report owner(chain);
    return stderrOf([&] { eerr_PrintErrorReportNoEML(chain, mode); });
}

void putInto(Eerr_ErrorReport** err, const char* function, const char* text)
{
    *err = eerr_CreateErrorReport(function, 9, EERR_ERROR, nullptr, "%s", text);
}

Records heldBy(EerrException& scope)
{
    return recordsOf(scope);
}

const std::string kThree = " ***ERROR NUMBER 3 IN FUNCTION head***\n >>>middle failed.<<<\n"
                           " ***ERROR NUMBER 2 IN FUNCTION middle***\n >>>root failed.<<<\n"
                           " ***ERROR NUMBER 1 IN FUNCTION root***\n >>>no file<<<\n\n";

}  // namespace

TEST(ReportPrint, ShowsEveryRecordOrTheRootAlone)
{
    EXPECT_EQ(printed(chainOfThree(), EERR_PRINT_ALL), kThree);
    EXPECT_EQ(printed(chainOfThree(), EERR_PRINT_TERSE), " ***ERROR NUMBER 1 IN FUNCTION root***\n >>>no file<<<\n\n");
}

TEST(ReportPrint, SeveritiesAndMissingTexts)
{
    const struct {
        const char* function;
        long type;
        const char* text;
        const char* expected;
    } cases[] = {
        {"f", EERR_PLAIN, "t", " >>>t<<<\n\n"},
        {"f", EERR_STATUS, "t", " >>>t<<<\n\n"},
        {"f", EERR_WARNING, "t", " ***WARNING NUMBER -4 IN FUNCTION f***\n >>>t<<<\n\n"},
        {"f", 77, "t", " ***ERROR NUMBER -4 IN FUNCTION f***\n >>>t<<<\n\n"},
        {"f", EERR_ERROR, nullptr, " ***ERROR NUMBER -4 IN FUNCTION f***\n\n"},
        {"f", EERR_ERROR, "", " ***ERROR NUMBER -4 IN FUNCTION f***\n >>><<<\n\n"},
        {nullptr, EERR_ERROR, "t", " ***ERROR NUMBER -4 IN FUNCTION ***\n >>>t<<<\n\n"},
    };
    for (const auto& each : cases) {
        const char* format = each.text == nullptr ? nullptr : "%s";
        EXPECT_EQ(printed(eerr_CreateErrorReport(each.function, -4, each.type, nullptr, format, each.text), EERR_PRINT_ALL),
                  each.expected);
    }
    EXPECT_EQ(printed(nullptr, EERR_PRINT_ALL), "\n");
}

TEST(ReportPrint, TerseShowsStatusRecordsAboveTheRoot)
{
    Eerr_ErrorReport* root = eerr_CreateErrorReport(nullptr, 1, EERR_ERROR, nullptr, "t");
    Eerr_ErrorReport* warning = eerr_CreateErrorReport("w", 2, EERR_WARNING, root, nullptr);
    EXPECT_EQ(printed(eerr_CreateErrorReport("s", 3, EERR_STATUS, warning, "said"), EERR_PRINT_TERSE),
              " >>>said<<<\n ***ERROR NUMBER 1 IN FUNCTION ***\n >>>t<<<\n\n");
}

TEST(ReportPrint, MessageLogMakesATerseRecordWithoutFunction)
{
    EXPECT_EQ(stderrOf([] { eerr_MessageLog(EERR_STATUS, "%d of %s", 3, "four"); }), " >>>3 of four<<<\n\n");
    EXPECT_EQ(stderrOf([] { eerr_MessageLog(EERR_WARNING, "w"); }),
              " ***WARNING NUMBER 0 IN FUNCTION ***\n >>>w<<<\n\n");
}

TEST(ReportRecords, DuplicateIsDeepAndNullIsAccepted)
{
    Report original(chainOfThree());
    const Records expected = original.records();
    const Report copy(eerr_ErrorReportDuplicate(original.get()));
    original.get()->function[0] = 'X';
    eerr_DeleteErrorReportEx(original);
    EXPECT_EQ(original.get(), nullptr);
    EXPECT_EQ(copy.records(), expected);
    EXPECT_EQ(eerr_ErrorReportDuplicate(nullptr), nullptr);
    eerr_DeleteErrorReportEx(nullptr);
    EXPECT_EQ(eerr_Init(nullptr), nullptr);
}

TEST(ReportRecords, OutOfMemoryGivesNullAndLeavesNextWithTheCaller)
{
    const Report root(eerr_CreateErrorReport("root", 1, EERR_ERROR, nullptr, "t"));
    for (std::uint64_t nth = 1; nth <= 3; ++nth) {
        platform::FaultInjection noMemory(platform::Operation::allocate, nth, platform::Outcome::noMemory());
        EXPECT_EQ(eerr_CreateErrorReport("head", 1, EERR_ERROR, root.get(), "t"), nullptr) << nth;
    }
    EXPECT_EQ(root.records().size(), 1u);
}

namespace {

struct Host {
    int calls = 0;
    Eerr_ErrorReportingMode mode = -1;
    Records records;
    bool fails = false;
};

void hostFunction(void* data, Eerr_ErrorReport* report, Eerr_ErrorReportingMode mode, Eerr_ErrorReport** err)
{
    auto& host = *static_cast<Host*>(data);
    ++host.calls;
    host.mode = mode;
    host.records = recordsOf(report);
    if (host.fails) {
        static Eerr_ErrorReport* kept;
        eerr_DeleteErrorReportEx(&kept);
        putInto(&kept, "host", "host failed");
        *err = kept;
    }
}

}  // namespace

TEST(AlternativeFunction, TakesThePrintUntilItIsTakenBack)
{
    Host host;
    eerr_SetAltErrorFunction(hostFunction, &host);
    Eerr_AltErrorFunction function = nullptr;
    void* data = nullptr;
    eerr_GetAltErrorFunction(&function, &data);
    EXPECT_EQ(function, hostFunction);
    EXPECT_EQ(data, &host);
    const Report chain(chainOfThree());
    EXPECT_EQ(stderrOf([&] { eerr_PrintErrorReport(chain.get(), EERR_PRINT_TERSE); }), "");
    EXPECT_EQ(host.calls, 1);
    EXPECT_EQ(host.mode, EERR_PRINT_TERSE);
    EXPECT_EQ(host.records, chain.records());
    eerr_SetAltErrorFunction(nullptr, nullptr);
    EXPECT_EQ(stderrOf([&] { eerr_PrintErrorReport(chain.get(), EERR_PRINT_ALL); }), kThree);
    EXPECT_EQ(host.calls, 1);
}

TEST(AlternativeFunction, WhenItFailsItsChainIsPrintedAndTheDispatchedOneFreed)
{
    Host host;
    host.fails = true;
    eerr_SetAltErrorFunction(hostFunction, &host);
    /* Whether the chain was freed is the leak checker's to say. */
    EXPECT_EQ(stderrOf([] { eerr_PrintErrorReport(chainOfThree(), EERR_PRINT_ALL); }),
              " ***ERROR NUMBER 9 IN FUNCTION host***\n >>>host failed<<<\n\n");
    eerr_SetAltErrorFunction(nullptr, nullptr);
}

TEST(Handlers, AreCalledNewestFirstUntilRemoved)
{
    static std::vector<std::pair<long, int>> calls;
    static int one = 1;
    static int two = 2;
    static int three = 3;
    const auto handler = [](long code, void* data) { calls.emplace_back(code, *static_cast<int*>(data)); };
    void* handles[] = {eerr_ErrorHandlerRegister(handler, &one), eerr_ErrorHandlerRegister(handler, &two),
                       eerr_ErrorHandlerRegister(handler, &three)};
    EXPECT_EQ(eerr_ErrorHandlerRegister(nullptr, &one), nullptr);
    eerr_ErrorOccurred(5);
    eerr_ErrorHandlerRemove(handles[1]);
    eerr_ErrorHandlerRemove(handles[1]);
    eerr_ErrorHandlerRemove(&one);
    eerr_ErrorOccurred(6);
    eerr_ErrorHandlerRemove(handles[2]);
    eerr_ErrorHandlerRemove(handles[0]);
    eerr_ErrorOccurred(7);
    EXPECT_EQ(calls, (std::vector<std::pair<long, int>>{{5, 3}, {5, 2}, {5, 1}, {6, 3}, {6, 1}}));
}

TEST(Dispatcher, EverySlotGetsEveryReportWhileItsConnectionIsKept)
{
    int seen = 0;
    const EerrDispatcher::ReportSlot slot = [&](const EerrErrorReport& report, Eerr_ErrorReportingMode) {
        seen += static_cast<int>(recordsOf(report.get()).size());
    };
    EerrDispatcher::Connection connection = EerrDispatcher::Connect(slot);
    const EerrDispatcher::Connection copy = connection;
    connection.reset();
    const Report chain(chainOfThree());
    EXPECT_EQ(stderrOf([&] { eerr_PrintErrorReport(chain.get(), EERR_PRINT_ALL); }), kThree);
    EXPECT_EQ(seen, 3);
    const_cast<EerrDispatcher::Connection&>(copy).reset();
    stderrOf([&] { eerr_PrintErrorReport(chain.get(), EERR_PRINT_ALL); });
    EXPECT_EQ(seen, 3);
}

TEST(Dispatcher, SlotThatThrowsLeavesTheChainWithItsOwner)
{
    const EerrDispatcher::ReportSlot slot = [](const EerrErrorReport&, Eerr_ErrorReportingMode) { throw 1; };
    const EerrDispatcher::Connection connection = EerrDispatcher::Connect(slot);
    const Report chain(chainOfThree());
    stderrOf([&] { eerr_PrintErrorReport(chain.get(), EERR_PRINT_ALL); });
    EXPECT_EQ(chain.records().size(), 3u);
}

namespace {

std::string logged;

void log(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    EerrDispatcher::Dispatch(format, arguments);
    va_end(arguments);
}

std::string formattedBy(const char* format, va_list arguments)
{
    char text[64];
    std::vsnprintf(text, sizeof text, format, arguments);
    return text;
}

}  // namespace

TEST(Dispatcher, EveryLogSlotReadsTheArgumentsFromTheirStart)
{
    std::string first;
    std::string second;
    const EerrDispatcher::LogSlot one = [&](const char* format, va_list list) { first = formattedBy(format, list); };
    const EerrDispatcher::LogSlot two = [&](const char* format, va_list list) { second = formattedBy(format, list); };
    const EerrDispatcher::Connection connections[] = {EerrDispatcher::Connect(one), EerrDispatcher::Connect(two)};
    setLogFunction([](long, Eerr_ErrorReport** err, const char* format, va_list list) {
        logged = formattedBy(format, list);
        putInto(err, "log", "dropped");
    });
    log("%s %d", "band", 4);
    setLogFunction(nullptr);
    EXPECT_EQ(first, "band 4");
    EXPECT_EQ(second, "band 4");
    EXPECT_EQ(logged, "band 4");
}

TEST(Scope, CheckWrapsAndThrowsWhatIsHeld)
{
    EerrException outer("exmp", "outer");
    {
        EerrException inner("exmp", "inner");
        inner.Check(1);
        EXPECT_TRUE(!inner);
        putInto(inner, "callee", "text");
        try {
            inner.Check(11);
            FAIL();
        } catch (OrvikLog::Exception& thrown) {
            EXPECT_TRUE(!inner);
            EXPECT_STREQ(thrown.get_FuncName(), "inner");
            outer.Log(22, thrown);
        }
    }
    EXPECT_EQ(heldBy(outer), (Records{{"outer", "inner failed"}, {"inner", "callee failed"}, {"callee", "text"}}));
    EXPECT_EQ(static_cast<Eerr_ErrorReport*>(outer)->number, 22);
    EXPECT_EQ(outer.get_LineNum(), 22);
    outer.Clear();
}

TEST(Scope, CheckWithoutThrowingPrintsAndForgets)
{
    EerrException scope("exmp", "f");
    putInto(scope, nullptr, "text");
    EXPECT_EQ(stderrOf([&] { scope.Check(11, false); }),
              " ***ERROR NUMBER 11 IN FUNCTION f***\n >>>Unknown function failed<<<\n"
              " ***ERROR NUMBER 9 IN FUNCTION ***\n >>>text<<<\n\n");
    EXPECT_TRUE(!scope);
}

TEST(Scope, ThrowPutsATextInFrontOfWhatIsHeld)
{
    for (const char* text : {"own", static_cast<const char*>(nullptr)}) {
        EerrException scope("exmp", "f");
        putInto(scope, "callee", "text");
        scope.Throw(3L, 4U);
        try {
            scope.Throw(5, text);
        } catch (EerrException& thrown) {
            EXPECT_EQ(heldBy(thrown), (Records{{"f", text == nullptr ? "" : text}, {"callee", "text"}}));
            thrown.Clear();
        }
    }
}

TEST(Scope, LogOfAnExceptionWithoutAChainMakesItsRoot)
{
    EerrException scope("exmp", "f");
    OrvikLog::CheckFailure<std::runtime_error> foreign("exmp", "Exmp::At");
    EXPECT_STREQ(foreign.what(), "Unspecified");
    scope.Log(4, foreign);
    EXPECT_EQ(heldBy(scope), (Records{{"f", "Exmp::At failed"}, {"Exmp::At", "Unspecified"}}));
    EerrException empty;
    EXPECT_EQ(stderrOf([&] { scope.Log(5, empty); }),
              " ***ERROR NUMBER 1114 IN FUNCTION f***\n >>>f failed<<<\n"
              " ***ERROR NUMBER 4 IN FUNCTION f***\n >>>Exmp::At failed<<<\n"
              " ***ERROR NUMBER 0 IN FUNCTION Exmp::At***\n >>>Unspecified<<<\n\n");
    EXPECT_EQ(heldBy(scope), (Records{{"f", "Unknown function failed"}, {"", ""}}));
    scope.Clear();
}

TEST(Scope, LogOfATextReplacesTheChainAndPrintsTheOlder)
{
    EerrException scope("exmp", "f");
    scope.Log(1, "first");
    EXPECT_EQ(stderrOf([&] { scope.Log(2, static_cast<const char*>(nullptr)); }),
              " ***ERROR NUMBER 1139 IN FUNCTION f***\n >>>f failed<<<\n ***ERROR NUMBER 1 IN FUNCTION f***\n >>>first<<<\n\n");
    EXPECT_EQ(heldBy(scope), (Records{{"f", ""}}));
    scope.Log(3);
    EXPECT_EQ(heldBy(scope), (Records{{"f", "f:  unknown exception thrown"}, {"f", ""}}));
    scope.Clear();
}

TEST(Scope, UsedTwiceWithoutACheckItTellsWhatWouldBeLost)
{
    EerrException scope("exmp", "f");
    putInto(scope, "callee", "text");
    const std::string told = stderrOf([&] { putInto(scope, "second", "kept"); });
    EXPECT_EQ(told, " ***ERROR NUMBER 1139 IN FUNCTION f***\n >>>callee failed<<<\n"
                    " ***ERROR NUMBER 9 IN FUNCTION callee***\n >>>text<<<\n\n"
                    " ***ERROR NUMBER 1276 IN FUNCTION f***\n >>>Avoiding Eerr_ErrorReport leak<<<\n\n");
    EXPECT_EQ(heldBy(scope), (Records{{"second", "kept"}}));
    scope.Clear();
}

TEST(Scope, WhatIsHeldAtTheEndIsPrinted)
{
    EXPECT_EQ(stderrOf([] { EerrException("exmp", "f", chainOfThree()); }), kThree);
    EXPECT_EQ(stderrOf([] { EerrException("exmp", "f"); }), "");
}

TEST(Scope, CopiesAreDeepAndKeepTheNames)
{
    EerrException original("exmp", "f", chainOfThree());
    EerrException copy(original);
    EerrException assigned("other", "g");
    putInto(assigned, "old", "dropped");
    assigned = original;
    const Records expected = heldBy(original);
    original.Clear();
    for (EerrException* each : {&copy, &assigned}) {
        EXPECT_EQ(heldBy(*each), expected);
        EXPECT_STREQ(each->get_FuncName(), "f");
        EXPECT_STREQ(each->get_FileName(), "exmp");
        each->Clear();
    }
    EerrException literal{OrvikLog::Literal{"exmp_Open"}};
    EXPECT_STREQ(literal.get_FileName(), ".\\exmp");
}

TEST(Scope, AbsorbAndAssignMoveChains)
{
    EerrException scope("exmp", "f");
    putInto(scope, "old", "dropped");
    Report given(chainOfThree());
    const Records expected = given.records();
    scope.Absorb(given);
    EXPECT_EQ(given.get(), nullptr);
    EXPECT_EQ(heldBy(scope), expected);
    Report taken;
    scope.Assign(taken);
    EXPECT_EQ(taken.records(), expected);
    EXPECT_TRUE(!scope);
    scope.Absorb(taken);
    scope.Absorb(static_cast<_Eerr_ErrorReportA**>(nullptr));
    EXPECT_TRUE(!scope);
    Eerr_ErrorReport stale{};
    Eerr_ErrorReport* out = &stale;
    scope.Assign(&out);
    EXPECT_EQ(out, nullptr);
}

TEST(Scope, WideChainsCrossBothWays)
{
    EerrException scope("exmp", "f", eerr_CreateErrorReport("h\xC3\xB6he", 3, EERR_WARNING, chainOfThree(), "t\xE2\x82\xAC"));
    const Records expected = heldBy(scope);
    _Eerr_ErrorReportU* wide = nullptr;
    scope.Assign(&wide);
    EXPECT_TRUE(!scope);
    ASSERT_NE(wide, nullptr);
    EXPECT_EQ(std::u16string(wide->message), u"t\u20AC");
    EXPECT_EQ(wide->number, 3);
    EXPECT_EQ(wide->next->message, nullptr);
    scope.Absorb(&wide);
    EXPECT_EQ(wide, nullptr);
    EXPECT_EQ(heldBy(scope), expected);
    scope.Clear();
}

TEST(Scope, WhatJoinsTheMessagesOfTheChain)
{
    EerrException scope("exmp", "f");
    EXPECT_EQ(scope.get_What(), nullptr);
    scope.Log(1, "root");
    scope.Absorb(Report(eerr_CreateErrorReport("h", 1, 2, eerr_CreateErrorReport("m", 1, 2, scope.Release(), nullptr), "head")));
    EXPECT_STREQ(scope.get_What(), "head\nroot\n");
    EXPECT_STREQ(scope.get_What(), "head\nroot\n");
    scope.Clear();
}

TEST(Scope, TheNarrowAdapterDropsWhatTheScopeHolds)
{
    EerrException scope("exmp", "f");
    {
        EerrExceptionASCII narrow(scope);
        putInto(narrow, "callee", "dropped");
        EXPECT_FALSE(!scope);
    }
    EXPECT_TRUE(!scope);
}
