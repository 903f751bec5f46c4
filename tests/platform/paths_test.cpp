#include "platform/directory.h"
#include "platform/errors.h"
#include "platform/file.h"
#include "platform/scratch_directory.h"

#include <gtest/gtest.h>
#include <unistd.h>

using namespace emantle::platform;

namespace {

void makeFile(const std::string& name, const std::string& text = "x")
{
    std::ofstream(name) << text;
}

} // namespace

TEST(Paths, FailuresCarryTheNumbersOfTheTable)
{
    const ScratchDirectory scratch;
    ASSERT_EQ(makeDirectory(scratch / "full"), 0);
    makeFile(scratch / "full/file");
    EXPECT_EQ(makeDirectory(scratch / "full"), error::exists);
    EXPECT_EQ(removeDirectory(scratch / "full"), error::notEmpty);
    EXPECT_EQ(errno, error::notEmpty);
    EXPECT_EQ(unlinkFile(scratch / "full"), error::accessDenied);
    EXPECT_EQ(unlinkFile(scratch / "none"), error::notFound);
    EXPECT_EQ(makeDirectory(scratch / std::string(300, 'n')), error::nameTooLong);
    std::vector<DirectoryEntry> entries;
    EXPECT_EQ(listDirectory(scratch / "full/file", entries), error::notADirectory);
    EXPECT_EQ(fileStatus(std::string_view("/\0x", 3), *std::make_unique<FileStatus>()), error::notFound);
}

TEST(Paths, StatusTellsKindSizeTimesAndFollowsLinks)
{
    const ScratchDirectory scratch;
    makeFile(scratch / "file", "12345");
    ASSERT_EQ(symlink((scratch / "file").c_str(), (scratch / "link").c_str()), 0);
    ASSERT_EQ(setFileTimes(scratch / "file", {1000000000, 5}, {-3, 250000000}), 0);
    FileStatus status;
    ASSERT_EQ(fileStatus(scratch / "link", status), 0);
    EXPECT_EQ(status.kind, FileKind::file);
    EXPECT_EQ(status.size, 5u);
    EXPECT_EQ(status.accessed.seconds, 1000000000);
    EXPECT_EQ(status.modified.seconds, -3);
    EXPECT_EQ(status.modified.nanoseconds, 250000000);
    ASSERT_EQ(linkStatus(scratch / "link", status), 0);
    EXPECT_EQ(status.kind, FileKind::symbolicLink);
    ASSERT_EQ(fileStatus(scratch.path(), status), 0);
    EXPECT_EQ(status.kind, FileKind::directory);
}

TEST(Paths, RightsAreAddedForEverybodyAndNoneIsTaken)
{
    const ScratchDirectory scratch;
    makeFile(scratch / "file");
    ASSERT_EQ(changeMode(scratch / "file", 0510), 0);
    ASSERT_EQ(grantToAll(scratch / "file", rightToRead), 0);
    FileStatus status;
    ASSERT_EQ(fileStatus(scratch / "file", status), 0);
    EXPECT_EQ(status.mode & 07777u, 0554u);
    EXPECT_EQ(checkAccess(scratch / "file", rightToRead), 0);
    EXPECT_EQ(checkAccess(scratch / "none", 0), error::notFound);
}

TEST(Paths, RenameReplacesOrRefuses)
{
    const ScratchDirectory scratch;
    makeFile(scratch / "a", "A");
    makeFile(scratch / "b", "B");
    EXPECT_EQ(renameFile(scratch / "a", scratch / "b", Existing::refuse), error::exists);
    EXPECT_EQ(contentsOf(scratch / "b"), "B");
    EXPECT_EQ(renameFile(scratch / "a", scratch / "b"), 0);
    EXPECT_EQ(contentsOf(scratch / "b"), "A");
    EXPECT_EQ(renameFile(scratch / "b", scratch / "c", Existing::refuse), 0);
    EXPECT_EQ(checkAccess(scratch / "b", 0), error::notFound);
}

TEST(Paths, ListingsAreSortedAndLookThroughLinks)
{
    const ScratchDirectory scratch;
    makeFile(scratch / "b");
    makeFile(scratch / "B");
    ASSERT_EQ(makeDirectory(scratch / "a"), 0);
    ASSERT_EQ(symlink("a", (scratch / "to-a").c_str()), 0);
    ASSERT_EQ(symlink("nowhere", (scratch / "broken").c_str()), 0);
    std::vector<DirectoryEntry> entries;
    std::string name = scratch.path();
    std::replace(name.begin(), name.end(), '/', '\\');
    ASSERT_EQ(listDirectory(name, entries), 0);
    const std::pair<std::string, FileKind> expected[] = {{"B", FileKind::file},
                                                         {"a", FileKind::directory},
                                                         {"b", FileKind::file},
                                                         {"broken", FileKind::symbolicLink},
                                                         {"to-a", FileKind::directory}};
    ASSERT_EQ(entries.size(), std::size(expected));
    for (std::size_t i = 0; i < entries.size(); ++i) {
        EXPECT_EQ(entries[i].name, expected[i].first);
        EXPECT_EQ(entries[i].kind, expected[i].second) << entries[i].name;
    }
}

TEST(Paths, SpaceIsToldOfTheNearestPartThatExists)
{
    const ScratchDirectory scratch;
    SpaceStatus space;
    ASSERT_EQ(freeSpace(scratch / "not/yet/there", space), 0);
    EXPECT_GT(space.total, 0u);
    EXPECT_LE(space.available, space.total);
    EXPECT_EQ(freeSpace("neither-this", space), 0);
    EXPECT_TRUE(isLocalFileSystem("/proc/self"));
    EXPECT_EQ(isLocalFileSystem(scratch / "not/yet"), isLocalFileSystem(scratch.path()));
}

TEST(Paths, TheCurrentDirectoryMovesAndRealPathsHaveNoLinks)
{
    const ScratchDirectory scratch;
    std::string before, now, real;
    ASSERT_EQ(currentDirectory(before), 0);
    ASSERT_EQ(realPath(scratch.path(), real), 0);
    ASSERT_EQ(changeDirectory(scratch.path()), 0);
    EXPECT_EQ(currentDirectory(now), 0);
    EXPECT_EQ(changeDirectory(before), 0);
    EXPECT_EQ(now, real);
    EXPECT_EQ(realPath(scratch / "none", real), error::notFound);
    EXPECT_EQ(real, now);
}
