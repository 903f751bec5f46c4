#include "files/scratch.h"
#include "platform/faults.h"
#include "support/chain.h"

#include <climits>
#include <cstring>
#include <emantle/files/efio.h>

namespace {

class Mapped : public Scratch {
protected:
    void start(const char* mode, std::size_t size, long growthStep = 0)
    {
        put("f", std::string(size, '.'));
        file = efio_Open(path("f").c_str(), mode, report);
        map = efio_MmapCreate(file, growthStep, report);
        ASSERT_NE(map, nullptr);
    }
    ~Mapped() override
    {
        efio_MmapDestroy(map, report);
        efio_Close(file, report);
    }
    char* at(long offset, long length) { return static_cast<char*>(efio_MmapAddressGet(map, offset, length, report)); }
    std::string readBack(long offset, std::size_t size)
    {
        std::string bytes(size, '\0');
        EXPECT_EQ(efio_ReadDirect(file, offset, bytes.data(), static_cast<long>(size), report),
                  static_cast<long>(size));
        return bytes;
    }

    Report report;
    Efio_File* file = nullptr;
    Efio_MmapInfo* map = nullptr;
};

}  // namespace

TEST_F(Mapped, MemoryAndCallsSeeTheSameBytes)
{
    start("r+", 100000);
    ASSERT_EQ(efio_MmapMap(map, report), 0);
    ASSERT_EQ(efio_WriteDirect(file, 70000, "gathered", 8, report), 8);
    EXPECT_EQ(std::memcmp(at(70000, 8), "gathered", 8), 0);
    EXPECT_EQ(readBack(10, 3), "..."); // now read ahead
    std::memcpy(at(10, 3), "new", 3);
    EXPECT_EQ(readBack(9, 5), ".new.");
}

TEST_F(Mapped, RangesOutsideEveryWindowHaveNoAddress)
{
    start("r", 100000);
    EXPECT_EQ(at(0, 1), nullptr);
    ASSERT_EQ(efio_MmapMapExtent(map, 5000, 10000, report), 0);
    ASSERT_EQ(efio_MmapMapExtent(map, 15000, 10, report), 0);
    EXPECT_NE(at(5000, 10000), nullptr);
    EXPECT_NE(at(14999, 1), nullptr);
    EXPECT_EQ(at(4999, 2), nullptr);
    EXPECT_EQ(at(14999, 2), nullptr); // touches two windows
    EXPECT_EQ(at(-1, 1), nullptr);
    EXPECT_EQ(at(5000, LONG_MAX), nullptr);
    EXPECT_EQ(at(LONG_MAX, 1), nullptr);
    EXPECT_EQ(report.get(), nullptr);

    Report beyond, other;
    EXPECT_EQ(efio_MmapMapExtent(map, 99999, 2, beyond), -1);
    EXPECT_NE(beyond.get(), nullptr);
    EXPECT_EQ(efio_MmapUnmapExtent(map, 5000, 9999, other), -1);
    EXPECT_EQ(efio_MmapUnmapExtent(map, 5000, 10000, report), 0);
    EXPECT_EQ(at(5000, 1), nullptr);
}

TEST_F(Mapped, AWindowOfTheWholeFollowsTheFileByTheGrowthStep)
{
    start("r+", 0, 1000);
    ASSERT_EQ(efio_MmapMap(map, report), 0); // nothing to map yet
    const auto grow = [&](long end) { ASSERT_EQ(efio_FileWriteDirect(file, end - 4, "tail", 4, report), 4); };
    grow(999);
    EXPECT_EQ(at(0, 10), nullptr);
    grow(5000);
    ASSERT_NE(at(4996, 4), nullptr);
    EXPECT_EQ(std::memcmp(at(4996, 4), "tail", 4), 0);
    grow(5999);
    EXPECT_EQ(at(5995, 4), nullptr);
    EXPECT_NE(at(0, 5000), nullptr);
    grow(6000);
    EXPECT_NE(at(5996, 4), nullptr);
    EXPECT_EQ(at(5997, 4), nullptr); // behind the end
    EXPECT_EQ(efio_FileSizeGetByHandle(file, report), 6000);
}

TEST_F(Mapped, AMapThatCannotGrowKeepsItsWindow)
{
    using namespace emantle::platform;
    start("r+", 5000);
    ASSERT_EQ(efio_MmapMap(map, report), 0);
    ASSERT_EQ(efio_WriteDirect(file, 9996, "tail", 4, report), 4);
    const FaultInjection full(Operation::map, 1, Outcome::noMemory(), Repeat::fromThenOn);
    EXPECT_EQ(at(9996, 4), nullptr);
    EXPECT_NE(at(0, 5000), nullptr);
    EXPECT_EQ(report.get(), nullptr);
    Report failed;
    EXPECT_EQ(efio_MmapMap(map, failed), -1);
    EXPECT_NE(at(0, 5000), nullptr);
}

TEST_F(Mapped, LooseWindowsAreGivenBackOnce)
{
    start("r+", 20000);
    char* window = static_cast<char*>(efio_Mmap(file, 4097, 10000, report));
    ASSERT_NE(window, nullptr);
    std::memcpy(window, "loose", 5);
    EXPECT_EQ(readBack(4097, 5), "loose");
    EXPECT_EQ(efio_Munmap(window, report), 0);
    Report again, nothing;
    EXPECT_EQ(efio_Munmap(window, again), -1);
    EXPECT_NE(again.get(), nullptr);
    EXPECT_EQ(efio_Mmap(file, 0, 0, nothing), nullptr);
}
