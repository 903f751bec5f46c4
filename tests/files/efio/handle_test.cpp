#include "files/scratch.h"
#include "platform/errors.h"
#include "platform/faults.h"
#include "support/captured_stderr.h"
#include "support/chain.h"

#include <cerrno>
#include <emantle/files/efio.h>
#include <emantle/siblings/ethr.h>
#include <random>
#include <thread>

using emantle::platform::FaultInjection;
using emantle::platform::Operation;
using emantle::platform::Outcome;
using emantle::platform::Repeat;

namespace {

std::string bytesUpTo(std::size_t count)
{
    std::string bytes(count, '\0');
    for (std::size_t i = 0; i < count; ++i) {
        bytes[i] = static_cast<char>('!' + (i * 7 + i / 251) % 90);
    }
    return bytes;
}

class Handle : public Scratch {
protected:
    Efio_File* open(const std::string& name, const char* mode)
    {
        Efio_File* file = efio_Open(path(name).c_str(), mode, report);
        EXPECT_NE(file, nullptr) << name << ' ' << mode;
        return file;
    }

    std::string first(const Report& from) const
    {
        return from.records().empty() ? "" : from.records()[0].message.value_or("");
    }
    std::string last(const Report& from) const
    {
        return from.records().empty() ? "" : from.records().back().message.value_or("");
    }

    Report report;
};

}  // namespace

TEST_F(Handle, ModesCreateKeepEmptyOrRefuse)
{
    const struct {
        const char* mode;
        bool creates, empties, writes;
        long position;
    } cases[] = {{"w", true, true, true, 0},     {"WB+", true, true, true, 0},   {"a+b", true, false, true, 4},
                 {"r+", false, false, true, 0},  {"rb", false, false, false, 0}, {nullptr, false, false, false, 0},
                 {"odd", false, false, false, 0}};
    for (const auto& each : cases) {
        SCOPED_TRACE(each.mode == nullptr ? "null" : each.mode);
        put("f", "four");
        Efio_File* file = open("f", each.mode);
        EXPECT_EQ(efio_Tell(file, report), each.position);
        Report refused;
        EXPECT_EQ(efio_WriteSeq(file, "X", 1, refused), each.writes ? 1 : -1);
        efio_Close(file, report);
        EXPECT_EQ(contents("f"), each.empties ? "X" : each.position == 4 ? "fourX" : each.writes ? "Xour" : "four");

        Report missing;
        Efio_File* made = efio_Open(path("missing").c_str(), each.mode, missing);
        EXPECT_EQ(made != nullptr, each.creates);
        efio_Close(made, report);
        std::filesystem::remove(path("missing"));
    }
}

TEST_F(Handle, FailedOpensTellNameAndNumber)
{
    const std::string name = path("none");
    Report missing, gain, directory, loop;
    EXPECT_EQ(efio_Open(name.c_str(), "r", missing), nullptr);
    EXPECT_EQ(errno, 2);
    EXPECT_EQ(missing.records(), (std::vector<Record>{{"efio_Open", "Error opening file " + name + "\nError 2"}}));

    EXPECT_EQ(efio_Open(name.c_str(), "r+", gain), nullptr);
    EXPECT_EQ(first(gain), "Cannot gain write access to file " + name + "\nError 2");

    EXPECT_EQ(efio_Open(path().c_str(), "r", directory), nullptr);
    EXPECT_EQ(errno, 13);

    setenv("EFIO_TEST_LOOP", "$EFIO_TEST_LOOP", 1);
    EXPECT_EQ(efio_Open("$EFIO_TEST_LOOP/x", "w", loop), nullptr);
    EXPECT_EQ(first(loop), "Error opening file $EFIO_TEST_LOOP/x\nError 2");
}

TEST_F(Handle, ReadOnlyFilesRefuseWritesAtOnceAndKeepTheirBytes)
{
    put("f", "data");
    Efio_File* file = open("f", "r");
    Report refused;
    EXPECT_EQ(efio_FileWriteSequential(file, "new", 3, refused), -1);
    EXPECT_EQ(last(refused), "File I/O operation failed: Unable to write to Read-Only file:\n " + path("f"));
    char c[4];
    EXPECT_EQ(efio_ReadSeq(file, c, 4, report), 4);
    efio_Close(file, report);
    EXPECT_EQ(contents("f"), "data");
}

TEST_F(Handle, SeeksInsideTheBufferTouchNothing)
{
    put("f", bytesUpTo(50000));
    Efio_File* file = open("f", "r");
    char c[10];
    ASSERT_EQ(efio_ReadSeq(file, c, 10, report), 10);
    EXPECT_EQ(file->systemPosition, EFIO_BUFFER_SIZE);
    const FaultInjection reads(Operation::read, 0), seeks(Operation::seek, 0);
    for (const long offset : {16383L, 0L, 100L}) {
        ASSERT_EQ(efio_Seek(file, offset, EFIO_SEEK_SET, report), 0);
        EXPECT_EQ(file->bufferIndex, offset);
        EXPECT_EQ(efio_Fgetc(file, report),
                  static_cast<unsigned char>(bytesUpTo(50000)[static_cast<std::size_t>(offset)]));
    }
    EXPECT_EQ(reads.calls() + seeks.calls(), 0U);
    EXPECT_EQ(file->seekCount, 0);
    efio_Close(file, report);
}

TEST_F(Handle, RandomProbesShrinkTheReadAheadAndSweepsWinItBack)
{
    put("f", bytesUpTo(400000));
    Efio_File* file = open("f", "r");
    const long expected[] = {16384, 16384, 8192, 8192, 8192, 4096, 4096, 4096, 2048, 2048, 2048, 2048, 2048};
    for (int i = 0; i < 13; ++i) {
        ASSERT_EQ(efio_Seek(file, i % 2 == 0 ? 300000 : 20000, EFIO_SEEK_SET, report), 0);
        EXPECT_EQ(file->readSize, expected[i]) << i;
    }
    ASSERT_EQ(efio_Seek(file, 0, EFIO_SEEK_SET, report), 0);
    char c[100];
    for (int i = 0; i < 1500; ++i) {
        ASSERT_EQ(efio_ReadSeq(file, c, 100, report), 100);
    }
    EXPECT_EQ(file->readSize, EFIO_BUFFER_SIZE);
    efio_Close(file, report);
}

/* Any mixture of calls leaves the bytes that plain memory would hold. */
TEST_F(Handle, AgreesWithMemoryInAnyOrderOfCalls)
{
    std::mt19937 random(20260101);
    for (int round = 0; round < 20; ++round) {
        std::string model = bytesUpTo(30000);
        put("f", model);
        Efio_File* file = open("f", "r+");
        std::size_t position = 0;
        std::string piece;
        for (int step = 0; step < 400; ++step) {
            const std::size_t size = random() % (step % 10 == 0 ? 70000 : 300);
            switch (random() % 5) {
            case 0: {
                position = random() % (model.size() + 100);
                ASSERT_EQ(efio_Seek(file, static_cast<long>(position), EFIO_SEEK_SET, report), 0);
                break;
            }
            case 1:
            case 2: {
                piece.assign(size, '\0');
                Report shorter;
                const std::size_t there = position < model.size() ? std::min(size, model.size() - position) : 0;
                ASSERT_EQ(efio_ReadSeq(file, piece.data(), static_cast<long>(size), shorter), static_cast<long>(there));
                ASSERT_EQ(piece.substr(0, there), model.substr(std::min(position, model.size()), there));
                ASSERT_EQ(shorter.get() != nullptr, there < size);
                position += there;
                break;
            }
            case 3:
                piece = bytesUpTo(size);
                ASSERT_EQ(efio_WriteSeq(file, piece.data(), static_cast<long>(size), report), static_cast<long>(size));
                if (size > 0) {
                    model.resize(std::max(model.size(), position + size), '\0');
                    model.replace(position, size, piece);
                }
                position += size;
                break;
            default:
                ASSERT_EQ(efio_FileSizeGetByHandle(file, report), static_cast<long>(model.size()));
                if (position > 0) {
                    ASSERT_EQ(efio_Ungetc('~', file, report), '~');
                    ASSERT_EQ(efio_Tell(file, report), static_cast<long>(position) - 1);
                    ASSERT_EQ(efio_Fgetc(file, report), '~');
                }
            }
            ASSERT_EQ(efio_Tell(file, report), static_cast<long>(position));
        }
        efio_Close(file, report);
        ASSERT_EQ(contents("f"), model);
    }
}

TEST_F(Handle, SmallWritesAreGatheredAndFlushedInOrder)
{
    Efio_File* file = open("f", "w");
    const FaultInjection writes(Operation::write, 0, {}, Repeat::once, path("f"));
    const std::string all = bytesUpTo(200000);
    for (std::size_t i = 0; i < all.size(); i += 200) {
        ASSERT_EQ(efio_FileWriteSequential(file, all.data() + i, 200, report), 200);
    }
    EXPECT_LE(writes.calls(), 4U);
    ASSERT_EQ(efio_FileWriteDirect(file, 199999, "#", 1, report), 1); // inside what is gathered
    EXPECT_LE(writes.calls(), 4U);
    ASSERT_EQ(efio_FileFlush(file, report), 0);
    EXPECT_EQ(contents("f"), all.substr(0, 199999) + "#");
    efio_Close(file, report);
}

TEST_F(Handle, NoBytesReportedAsWrittenAreLostWhenAnyWriteFails)
{
    const std::string all = bytesUpTo(300000);
    for (std::uint64_t nth = 1; nth <= 6; ++nth) {
        for (const std::size_t partial : {std::size_t{0}, std::size_t{777}}) {
            SCOPED_TRACE(nth * 1000 + partial);
            Efio_File* file = open("f", "w");
            std::size_t written = 0;
            int failures = 0;
            {
                const FaultInjection full(Operation::write, nth, Outcome::noSpace(partial), Repeat::once, path("f"));
                for (std::size_t size = 100; written < all.size(); size = size == 100 ? 20000 : 100) {
                    size = std::min(size, all.size() - written);
                    Report failed;
                    const long done = efio_WriteSeq(file, all.data() + written, static_cast<long>(size), failed);
                    if (done < 0) {
                        ++failures;
                        EXPECT_NE(first(Report(eerr_ErrorReportDuplicate(failed.get()->next))).find(path("f")),
                                  std::string::npos);
                        EXPECT_EQ(last(failed).find("File I/O operation failed: only"), 0U);
                        written = static_cast<std::size_t>(efio_Tell(file, report));
                    } else {
                        written += size;
                    }
                }
                EXPECT_EQ(failures, full.fired() ? 1 : 0);
            }
            EXPECT_EQ(efio_Flush(file, report), 0);
            EXPECT_EQ(contents("f"), all);
            efio_Close(file, report);
        }
    }
}

TEST_F(Handle, AFailedFlushKeepsTheBytesAndCloseTellsOfThem)
{
    Efio_File* file = open("f", "w");
    ASSERT_EQ(efio_WriteSeq(file, "kept", 4, report), 4);
    Report flush;
    std::string told;
    {
        const FaultInjection full(Operation::write, 1, Outcome::noSpace(), Repeat::fromThenOn, path("f"));
        EXPECT_EQ(efio_Flush(file, flush), -1);
        EXPECT_EQ(last(flush), "File I/O operation failed: only 0 of 4 bytes processed.\n Error no. 28: " +
                                   emantle::platform::systemErrorText(28));
        Efio_File* lost = open("g", "w");
        efio_WriteSeq(lost, "lost", 4, report);
        const FaultInjection alsoFull(Operation::write, 1, Outcome::noSpace(), Repeat::fromThenOn, path("g"));
        told = stderrOf([&] { efio_Close(lost, report); });
    }
    EXPECT_NE(told.find("Could not flush " + path("g") + " before closing."), std::string::npos);
    EXPECT_EQ(efio_Flush(file, report), 0);
    EXPECT_EQ(contents("f"), "kept");
    efio_Close(file, report);
}

TEST_F(Handle, ALostNetworkIsReopenedWithoutEmptyingTheFile)
{
    for (const int number : {54, 58, 59, 64, 88, 240, 1226}) {
        SCOPED_TRACE(number);
        Efio_File* file = open("f", "w+b");
        const std::string all = bytesUpTo(40000);
        ASSERT_EQ(efio_WriteSeq(file, all.data(), 20000, report), 20000);
        {
            const FaultInjection write(Operation::write, 1, Outcome{number, 500}, Repeat::once, path("f"));
            ASSERT_EQ(efio_WriteSeq(file, all.data() + 20000, 20000, report), 20000);
        }
        {
            const FaultInjection seek(Operation::seek, 1, Outcome::network(number), Repeat::once, path("f"));
            ASSERT_EQ(efio_Seek(file, 10, EFIO_SEEK_SET, report), 0);
        }
        std::string back(39990, '\0');
        {
            const FaultInjection read(Operation::read, 1, Outcome{number, 1000}, Repeat::once, path("f"));
            ASSERT_EQ(efio_ReadSeq(file, back.data(), 39990, report), 39990);
        }
        EXPECT_EQ(back, all.substr(10));
        EXPECT_EQ(file->reopenCount, 3);
        EXPECT_STREQ(file->mode, "w+b");
        efio_Close(file, report);
        EXPECT_EQ(contents("f"), all);
    }
}

TEST_F(Handle, ANetworkThatStaysAwayIsGivenUpWithEveryNumberTold)
{
    put("f", bytesUpTo(1000));
    Efio_File* file = open("f", "r");
    char c[10];
    {
        const FaultInjection read(Operation::read, 1, Outcome::network(64), Repeat::fromThenOn, path("f"));
        Report endless;
        EXPECT_EQ(efio_ReadSeq(file, c, 10, endless), -1);
        const FaultInjection open(Operation::open, 1, Outcome::network(64), Repeat::fromThenOn, path("f"));
        Report gone;
        EXPECT_EQ(efio_ReadSeq(file, c, 10, gone), -1);
        const std::vector<Record> chain = gone.records();
        ASSERT_EQ(chain.size(), 5U);
        EXPECT_EQ(chain[1].message, "Error trying to read 16384 bytes into buffer for " + path("f"));
        EXPECT_EQ(chain[2].message, "Unable to reopen file " + path("f") +
                                        " to retry read after failure 64:  only 0 of 16384 bytes processed.");
        EXPECT_EQ(chain[3].message, "Unable to reopen " + path("f"));
        const FaultInjection seek(Operation::seek, 1, Outcome::network(64), Repeat::fromThenOn, path("f"));
        Report move;
        EXPECT_EQ(efio_Seek(file, 500, EFIO_SEEK_SET, move), -1);
        EXPECT_EQ(move.records()[0].message, "Unable to perform seek on " + path("f"));
        EXPECT_EQ(move.records()[1].message, "Unable to reopen file to retry seek to byte offset 500 in " + path("f") +
                                                 "\n" + emantle::platform::systemErrorText(64));
    }
    EXPECT_EQ(efio_ReadSeq(file, c, 10, report), 10); // the record is still good
    efio_Close(file, report);
}

TEST_F(Handle, ShortReadsAndTheEndOfTheFile)
{
    put("f", "12345");
    Efio_File* file = open("f", "r");
    char c[8];
    Report shorter;
    EXPECT_EQ(efio_ReadSeq(file, c, 8, shorter), 5);
    EXPECT_EQ(first(shorter), "Read 5 bytes from " + path("f") + ", 8 were requested.");
    EXPECT_TRUE(efio_Feof(file));
    EXPECT_EQ(efio_Fgetc(file, report), -1);
    EXPECT_EQ(report.get(), nullptr);
    EXPECT_EQ(efio_Ungetc('x', file, report), 'x');
    EXPECT_EQ(efio_Ungetc('y', file, report), -1);
    EXPECT_FALSE(efio_Feof(file));
    EXPECT_EQ(efio_Fgetc(file, report), 'x');
    Report negative, beyond;
    EXPECT_EQ(efio_Seek(file, -6, EFIO_SEEK_END, negative), -1);
    EXPECT_EQ(first(negative), "Unable to perform seek on " + path("f"));
    EXPECT_EQ(efio_Seek(file, LONG_MAX, EFIO_SEEK_CUR, beyond), -1);
    EXPECT_EQ(efio_Tell(file, report), 5);
    efio_Close(file, report);
}

TEST_F(Handle, LinesAcrossBufferEdgesAndOddEndings)
{
    const std::string filler(EFIO_BUFFER_SIZE - 3, 'a');
    put("g", filler + "bcdef\r\n\nlast");
    Efio_File* file = open("g", "r");
    std::string line(EFIO_BUFFER_SIZE + 100, '\0');
    const auto next = [&](long size) {
        return std::string(efio_Fgets(line.data(), size, file, report) == nullptr ? "(end)" : line.c_str());
    };
    EXPECT_EQ(next(static_cast<long>(line.size())), filler + "bcdef\r\n");
    EXPECT_EQ(next(100), "\n");
    EXPECT_EQ(next(3), "la");
    EXPECT_EQ(efio_Ungetc('A', file, report), 'A');
    EXPECT_EQ(next(100), "Ast");
    EXPECT_EQ(next(100), "(end)");
    EXPECT_EQ(report.get(), nullptr);
    efio_Close(file, report);
}

TEST_F(Handle, FormattedTextOfAnyLength)
{
    Efio_File* file = open("f", "w");
    const std::string long_(5000, 'z');
    EXPECT_EQ(efio_FileWriteFormatted(file, "%d,%s;", report, 7, "a"), 4);
    EXPECT_EQ(efio_FileWriteFormatted(file, "%s", report, long_.c_str()), 5000);
    efio_Close(file, report);
    EXPECT_EQ(contents("f"), "7,a;" + long_);
}

TEST_F(Handle, AStaleRecordIsLeftAlone)
{
    put("f", "data");
    Efio_File* file = open("f", "r");
    const auto kept = file->handleCheck;
    file->handleCheck = kept + 1;
    efio_Close(file, report);
    file->handleCheck = kept;
    EXPECT_EQ(efio_Fgetc(file, report), 'd');
    efio_Close(file, report);
    efio_Close(nullptr, report);
    EXPECT_EQ(report.get(), nullptr);
}

TEST_F(Handle, NamesAreExpandedAndMayBeLong)
{
    setenv("EFIO_TEST_DIR", path().c_str(), 1);
    Efio_File* file = efio_Open("$EFIO_TEST_DIR\\\\sub$1", "w", report);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(taken(efio_FileNameGetByHandle(file, report)), path("sub$1"));
    efio_Close(file, report);

    for (const std::size_t size : {std::size_t{259}, std::size_t{260}, std::size_t{3000}}) {
        std::string deep = path();
        while (deep.size() + 51 < size) {
            deep += "/" + std::string(49, 'd');
            std::filesystem::create_directory(deep);
        }
        deep += "/" + std::string(size - deep.size() - 1, 'f');
        Efio_File* made = efio_Open(deep.c_str(), "w", report);
        ASSERT_NE(made, nullptr) << size;
        efio_Close(made, report);
        EXPECT_TRUE(efio_FileExists(deep.c_str(), report));
    }
    Report endless;
    EXPECT_EQ(efio_Open((path() + "/" + std::string(300, 'x')).c_str(), "w", endless), nullptr);
    EXPECT_EQ(errno, 38);
}

TEST(NullDevice, TakesEverythingAndIsOneForAll)
{
    Efio_File** cells[2] = {};
    std::thread others[2];
    for (int i = 0; i < 2; ++i) {
        others[i] = std::thread([&cells, i] { cells[i] = emsc_AddressOf_EINT_NULLDEVICE(); });
    }
    for (std::thread& other : others) {
        other.join();
    }
    ASSERT_EQ(cells[0], cells[1]);
    ASSERT_NE(*cells[0], nullptr);
    EXPECT_EQ(efio_WriteSeq(*cells[0], "gone", 4, nullptr), 4);
    EXPECT_EQ(efio_Flush(*cells[0], nullptr), 0);
}
