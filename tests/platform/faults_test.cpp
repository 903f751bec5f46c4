#include "platform/faults.h"

#include "platform/directory.h"
#include "platform/file.h"
#include "platform/heap.h"
#include "platform/mapping.h"
#include "platform/scratch_directory.h"

#include <cstring>
#include <gtest/gtest.h>
#include <thread>

using namespace emantle::platform;

namespace {

std::string textOf(const std::vector<std::byte>& bytes)
{
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

} // namespace

TEST(FaultInjection, FailsTheNthCallOnceOrFromThenOn)
{
    const ScratchDirectory scratch;
    File file, other;
    ASSERT_EQ(file.open(scratch / "a", Disposition::createAlways, Access::readWrite), 0);
    ASSERT_EQ(other.open(scratch / "b", Disposition::createAlways, Access::readWrite), 0);
    for (const Repeat repeat : {Repeat::once, Repeat::fromThenOn}) {
        const FaultInjection full(Operation::write, 2, Outcome::noSpace(), repeat, "/a");
        EXPECT_EQ(file.writeAt("1", 1, 0).error, 0);
        EXPECT_EQ(other.writeAt("1", 1, 0).error, 0) << "another name does not count";
        EXPECT_FALSE(full.fired());
        const Transfer second = file.writeAt("2", 1, 0);
        EXPECT_EQ(second.error, error::noSpace);
        EXPECT_EQ(second.bytes, 0u);
        EXPECT_EQ(errno, error::noSpace);
        EXPECT_EQ(file.writeAt("3", 1, 0).error, repeat == Repeat::once ? 0 : error::noSpace);
        EXPECT_EQ(full.calls(), 3u);
        EXPECT_TRUE(full.fired());
    }
    EXPECT_TRUE(seamIsIdle());
    EXPECT_EQ(file.writeAt("4", 1, 0).error, 0);
}

TEST(FaultInjection, ShortAndInterruptedTransfersAreContinuedAndTornOnesReported)
{
    const ScratchDirectory scratch;
    File file;
    ASSERT_EQ(file.open(scratch / "a", Disposition::createAlways, Access::readWrite), 0);
    char back[10] = {};
    {
        const FaultInjection shortWrite(Operation::write, 1, Outcome::shortTransfer(3));
        EXPECT_EQ(file.writeAt("abcdefghij", 10, 0).bytes, 10u);
        EXPECT_EQ(shortWrite.calls(), 2u);
        const FaultInjection interrupted(Operation::read, 1, Outcome::interrupted());
        const FaultInjection shortRead(Operation::read, 2, Outcome::shortTransfer(4));
        EXPECT_EQ(file.readAt(back, 10, 0).bytes, 10u);
        EXPECT_EQ(std::string(back, 10), "abcdefghij");
        EXPECT_EQ(shortRead.calls(), 3u);
    }
    const FaultInjection torn(Operation::write, 1, Outcome::inputOutput(4));
    const Transfer done = file.writeAt("ABCDEFGHIJ", 10, 0);
    EXPECT_EQ(done.bytes, 4u);
    EXPECT_EQ(done.error, error::inputOutput);
    EXPECT_EQ(contentsOf(scratch / "a"), "ABCDefghij");
}

TEST(FaultInjection, EveryKindOfCallPassesTheSeam)
{
    const ScratchDirectory scratch;
    File file;
    ASSERT_EQ(file.open(scratch / "a", Disposition::createAlways, Access::readWrite), 0);
    ASSERT_EQ(file.truncate(10), 0);
    char byte = 0;
    FileStatus status;
    std::vector<DirectoryEntry> entries;
    Mapping mapping;
    File second;
    const struct {
        Operation operation;
        std::function<int()> call;
    } calls[] = {
        {Operation::open, [&] { return second.open(scratch / "a", Disposition::openExisting, Access::read); }},
        {Operation::read, [&] { return file.readAt(&byte, 1, 0).error; }},
        {Operation::write, [&] { return file.write(&byte, 1).error; }},
        {Operation::seek, [&] { return file.seek(0, Origin::start) < 0 ? errno : 0; }},
        {Operation::truncate, [&] { return file.truncate(20); }},
        {Operation::sync, [&] { return file.sync(); }},
        {Operation::map, [&] { return mapping.map(file, 0, 10, Access::read); }},
        {Operation::status, [&] { return fileStatus(scratch / "a", status); }},
        {Operation::rename, [&] { return renameFile(scratch / "a", scratch / "a"); }},
        {Operation::makeDirectory, [&] { return makeDirectory(scratch / "d"); }},
        {Operation::list, [&] { return listDirectory(scratch / "d", entries); }},
        {Operation::removeDirectory, [&] { return removeDirectory(scratch / "d"); }},
        {Operation::unlink, [&] { return unlinkFile(scratch / "a"); }},
    };
    for (const auto& [operation, call] : calls) {
        SCOPED_TRACE(static_cast<int>(operation));
        {
            const FaultInjection gone(operation, 1, Outcome::network(error::networkNameGone), Repeat::once,
                                      scratch.path());
            EXPECT_EQ(call(), error::networkNameGone);
            EXPECT_EQ(errno, error::networkNameGone);
        }
        EXPECT_EQ(call(), 0) << "a call made to fail has done nothing";
    }
}

TEST(FaultInjection, CountsTheCallsOfAllThreads)
{
    const FaultInjection counter(Operation::allocate, 0);
    const auto work = [] {
        for (int i = 0; i < 1000; ++i)
            release(allocateZeroed(8));
    };
    std::thread first(work), second(work);
    first.join();
    second.join();
    EXPECT_EQ(counter.calls(), 2000u);
    EXPECT_FALSE(counter.fired());
}

TEST(WriteRecorder, KeepsTheChangesOfAFileInOrderSoThatEachPrefixCanBeRebuilt)
{
    const ScratchDirectory scratch;
    const WriteRecorder recorder("/store");
    File file, other;
    ASSERT_EQ(file.open(scratch / "store", Disposition::createAlways, Access::readWrite), 0);
    ASSERT_EQ(other.open(scratch / "other", Disposition::createAlways, Access::readWrite), 0);
    file.writeAt("abcdef", 6, 2);
    other.writeAt("x", 1, 0);
    file.sync();
    file.truncate(5);
    {
        const FaultInjection torn(Operation::write, 1, Outcome::noSpace(2));
        file.writeAt("XYZ", 3, 0);
    }
    file.seek(0, Origin::end);
    file.write("end", 3);

    const std::vector<RecordedWrite> writes = recorder.writes();
    using Kind = RecordedWrite::Kind;
    const Kind kinds[] = {Kind::truncate, Kind::write, Kind::sync, Kind::truncate, Kind::write, Kind::write};
    const std::string states[] = {"", {"\0\0abcdef", 8}, {"\0\0abcdef", 8}, {"\0\0abc", 5}, "XYabc", "XYabcend"};
    ASSERT_EQ(writes.size(), std::size(kinds));
    for (std::size_t i = 0; i < writes.size(); ++i) {
        EXPECT_EQ(writes[i].kind, kinds[i]) << i;
        EXPECT_EQ(writes[i].name, scratch / "store");
        EXPECT_EQ(textOf(afterWrites({}, std::span(writes).first(i + 1))), states[i]) << i;
    }
    EXPECT_EQ(contentsOf(scratch / "store"), "XYabcend");
}
