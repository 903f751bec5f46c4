#include "files/scratch.h"
#include "platform/faults.h"
#include "support/captured_stderr.h"
#include "support/chain.h"

#include <cerrno>
#include <climits>
#include <emantle/files/efio.h>

using namespace emantle::platform;

namespace {

class Streams : public Scratch {
protected:
    Report report;
};

std::string logged;

void takeLog(long, Eerr_ErrorReport**, const char* format, va_list arguments)
{
    char text[200];
    std::vsnprintf(text, sizeof text, format, arguments);
    logged += text;
}

}  // namespace

TEST_F(Streams, AnswerAsTheStandardFunctionsDo)
{
    Efio_File* file = efio_fopen(path("f").c_str(), "w+");
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(efio_fwrite("abcdefgh", 4, 2, file), 2U);
    EXPECT_EQ(efio_fprintf(file, "%03d", 7), 3);
    efio_off_t mark = 0;
    EXPECT_EQ(efio_fgetpos(file, &mark), 0);
    EXPECT_EQ(mark, 11);
    EXPECT_EQ(efio_fseeko(file, -5, EFIO_SEEK_END), 0);
    char c[8] = {};
    EXPECT_EQ(efio_fread(c, 2, 4, file), 2U); // five bytes are two items
    EXPECT_TRUE(efio_feof(file));
    EXPECT_EQ(std::string(c, 5), "gh007");
    EXPECT_EQ(efio_fread(c, SIZE_MAX, SIZE_MAX, file), 0U);
    EXPECT_EQ(efio_ftruncate(file, 3), 0);
    EXPECT_EQ(efio_fsetpos(file, &mark), 0);
    EXPECT_EQ(efio_fwrite("!", 1, 1, file), 1U);
    EXPECT_EQ(efio_fclose(file), 0);
    EXPECT_EQ(contents("f"), std::string("abc\0\0\0\0\0\0\0\0!", 12));

    Efio_File* again = efio_fopen(path("f").c_str(), "r");
    EXPECT_EQ(efio_freopen(path("g").c_str(), "w", again), again);
    EXPECT_EQ(efio_fwrite("g", 1, 1, again), 1U);
    EXPECT_EQ(efio_fflush(again), 0);
    EXPECT_EQ(contents("g"), "g");
    EXPECT_EQ(efio_fclose(again), 0);
}

TEST_F(Streams, FailuresArePrintedAndLeaveErrno)
{
    int number = 0;
    const std::string told = stderrOf([&] {
        EXPECT_EQ(efio_fopen(path("none").c_str(), "r"), nullptr);
        number = errno;
    });
    EXPECT_NE(told.find("Error opening file " + path("none") + "\nError 2"), std::string::npos);
    EXPECT_EQ(number, 2);

    Efio_File* file = efio_fopen(path("f").c_str(), "w");
    efio_fwrite("lost", 1, 4, file);
    const FaultInjection full(Operation::write, 1, Outcome::noSpace(), Repeat::fromThenOn, path("f"));
    stderrOf([&] { EXPECT_EQ(efio_fclose(file), EOF); });
}

TEST_F(Streams, ANetworkNameThatIsGoneEndsTheWideSeekOnly)
{
    put("f", std::string(40000, 'x'));
    Efio_File* file = efio_fopen(path("f").c_str(), "r");
    {
        const FaultInjection gone(Operation::seek, 1, Outcome::network(64), Repeat::once, path("f"));
        const std::string told = stderrOf([&] { EXPECT_EQ(efio_fseeko(file, 30000, EFIO_SEEK_SET), -1); });
        EXPECT_NE(told.find("Unable to seek (0) to byte offset 0:30000 in " + path("f")), std::string::npos);
    }
    EXPECT_EQ(file->reopenCount, 0);
    const FaultInjection other(Operation::seek, 1, Outcome::network(59), Repeat::once, path("f"));
    EXPECT_EQ(efio_fseeko(file, 30000, EFIO_SEEK_SET), 0);
    EXPECT_EQ(file->reopenCount, 1);
    EXPECT_EQ(efio_fclose(file), 0);
}

TEST(Numbers, HalvesAndWholes)
{
    efio_off_t offset = 0x1122334455667788;
    efio_off_tLODWSet(&offset, 0xfffffffe);
    efio_off_tHODWSet(&offset, 0x80000000);
    EXPECT_EQ(static_cast<std::uint64_t>(offset), 0x80000000fffffffeU);
    EXPECT_EQ(efio_off_tHODWGet(&offset), 0x80000000U);
    EXPECT_EQ(efio_off_tLODWGet(nullptr), 0U);
    const Efio_UInt64 square = efio_UInt64MultiplyFromUInt32(UINT32_MAX, UINT32_MAX);
    EXPECT_EQ(square.high, 0xfffffffeU);
    EXPECT_EQ(square.low, 1U);
    const Efio_UInt64 sum = efio_UInt64Add({UINT32_MAX, 0}, {1, 0}), gone = efio_UInt64Sub({0, 0}, {1, 0});
    EXPECT_TRUE(sum.low == 0 && sum.high == 1);
    EXPECT_TRUE(gone.low == UINT32_MAX && gone.high == UINT32_MAX);
}

TEST_F(Streams, StandardOutputIsALogMessageWhereAHostTakesThem)
{
    efio_SetLogFunction(takeLog);
    EXPECT_EQ(efio_Fprintf(stdout, "%s %d;", "a", 5), 4);
    EXPECT_GE(efio_Puts("b"), 0);
    efio_Fputc('c', stderr);
    efio_SetLogFunction(nullptr);
    EXPECT_EQ(logged, "a 5;b\nc");
    testing::internal::CaptureStdout();
    efio_Printf("%s", "plain");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "plain");
}

TEST_F(Streams, TaggedDataAndWhiteSpace)
{
    put("f", "other: 1\n tag2 no\n  tag\t " + std::string(600, 'v') + " w \r\n\n \tx\ntag");
    Efio_File* file = efio_Open(path("f").c_str(), "r", report);
    EXPECT_EQ(taken(efio_GetTaggedData(file, "tag", report)), std::string(600, 'v') + " w");
    EXPECT_EQ(efio_SkipWhiteSpace(file, report), 'x');
    EXPECT_EQ(efio_Fgetc(file, report), 'x');
    EXPECT_EQ(taken(efio_GetTaggedData(file, "tag", report)), "");
    EXPECT_EQ(efio_GetTaggedData(file, "tag", report), nullptr);
    EXPECT_EQ(efio_SkipWhiteSpace(file, report), -1);
    EXPECT_EQ(report.get(), nullptr);
    efio_Close(file, report);
}

TEST(Waiting, TellsWhoIsReadyAndRefusesWhatIsNoDescriptor)
{
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    Efio_FdSet read = {}, write = {};
    efio_FD_SET(ends[0], &read);
    efio_FD_SET(ends[1], &write);
    efio_FD_SET(-1, &read);
    efio_FD_SET(EFIO_FD_LIMIT, &read);
    EXPECT_EQ(efio_Select(EFIO_FD_LIMIT, &read, &write, nullptr, 5), 1);
    EXPECT_FALSE(efio_FD_ISSET(ends[0], &read));
    EXPECT_TRUE(efio_FD_ISSET(ends[1], &write));
    efio_FD_SET(ends[0], &read);
    EXPECT_EQ(efio_Select(EFIO_FD_LIMIT, &read, nullptr, nullptr, 0.01), 0);
    ASSERT_EQ(::write(ends[1], "x", 1), 1);
    efio_FD_SET(ends[0], &read);
    EXPECT_EQ(efio_Select(ends[0], &read, nullptr, nullptr, 0), 0); // not below the width
    efio_FD_SET(ends[0], &read);
    EXPECT_EQ(efio_Select(ends[0] + 1, &read, nullptr, nullptr, -1), 1);
    close(ends[0]);
    close(ends[1]);
    efio_FD_SET(ends[0], &read);
    EXPECT_EQ(efio_Select(ends[0] + 1, &read, nullptr, nullptr, 0), -1);
    EXPECT_EQ(errno, 10038);
}
