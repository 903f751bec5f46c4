#include "platform/file.h"

#include "platform/errors.h"
#include "platform/mapping.h"
#include "platform/scratch_directory.h"

#include <cerrno>
#include <cstring>
#include <gtest/gtest.h>

using namespace emantle::platform;

TEST(File, DispositionsCreateKeepOrEmpty)
{
    const ScratchDirectory scratch;
    const std::string name = scratch / "a";
    File file;
    EXPECT_EQ(file.open(name, Disposition::openExisting, Access::readWrite), error::notFound);
    EXPECT_EQ(errno, error::notFound);
    ASSERT_EQ(file.open(name, Disposition::openAlways, Access::readWrite), 0);
    EXPECT_EQ(file.write("abcdef", 6).bytes, 6u);
    ASSERT_EQ(file.open(name, Disposition::openAlways, Access::readWrite), 0);
    EXPECT_EQ(file.size(), 6);
    ASSERT_EQ(file.open(name, Disposition::openExisting, Access::read), 0);
    const Transfer refused = file.writeAt("x", 1, 0);
    EXPECT_EQ(refused.error, error::badHandle);
    EXPECT_EQ(file.truncate(1), error::invalidArgument);
    ASSERT_EQ(file.open(name, Disposition::createAlways, Access::write), 0);
    EXPECT_EQ(file.size(), 0);
}

TEST(File, DirectoriesAreRefusedAsFiles)
{
    const ScratchDirectory scratch;
    for (const Access access : {Access::read, Access::write, Access::readWrite}) {
        for (const Disposition disposition :
             {Disposition::openExisting, Disposition::openAlways, Disposition::createAlways}) {
            File file;
            EXPECT_EQ(file.open(scratch.path(), disposition, access), error::accessDenied);
            EXPECT_EQ(errno, error::accessDenied);
            EXPECT_FALSE(file);
        }
    }
}

TEST(File, BackslashesSeparateAndTheNullDeviceHasItsName)
{
    const ScratchDirectory scratch;
    std::string name = scratch / "b";
    for (char& c : name)
        c = c == '/' ? '\\' : c;
    File file;
    ASSERT_EQ(file.open(name, Disposition::createAlways, Access::readWrite), 0);
    EXPECT_EQ(file.name(), scratch / "b");
    ASSERT_EQ(file.open("NUL", Disposition::createAlways, Access::readWrite), 0);
    EXPECT_EQ(file.write("gone", 4).bytes, 4u);
    char byte;
    EXPECT_EQ(file.readAt(&byte, 1, 0).bytes, 0u);
    EXPECT_EQ(file.open(std::string_view("a\0b", 3), Disposition::openAlways, Access::read), error::notFound);
}

TEST(File, OffsetsReachBeyondFourGigabytesAndBadOnesAreRefused)
{
    const ScratchDirectory scratch;
    File file;
    ASSERT_EQ(file.open(scratch / "sparse", Disposition::createAlways, Access::readWrite), 0);
    const std::uint64_t far = (std::uint64_t{5} << 30) + 3;
    EXPECT_EQ(file.writeAt("end", 3, far).bytes, 3u);
    EXPECT_EQ(file.size(), static_cast<std::int64_t>(far) + 3);
    char back[8] = {};
    const Transfer cut = file.readAt(back, sizeof back, far);
    EXPECT_EQ(cut.bytes, 3u);
    EXPECT_EQ(cut.error, 0) << "the end of the file is no failure";
    EXPECT_STREQ(back, "end");
    EXPECT_EQ(file.seek(-2, Origin::end), static_cast<std::int64_t>(far) + 1);
    EXPECT_EQ(file.read(back, 8).bytes, 2u);
    EXPECT_EQ(file.seek(-1, Origin::start), -1);
    EXPECT_EQ(errno, error::invalidArgument);

    EXPECT_EQ(file.writeAt("x", 1, INT64_MAX).error, error::fileTooLarge);
    EXPECT_EQ(file.readAt(back, 1, UINT64_MAX).error, error::invalidArgument);
    EXPECT_EQ(file.truncate(UINT64_MAX), error::fileTooLarge);
    EXPECT_EQ(file.truncate(2), 0);
    EXPECT_EQ(file.size(), 2);
}

TEST(File, AMovedFileIsClosedOnceByItsNewOwner)
{
    const ScratchDirectory scratch;
    File first;
    ASSERT_EQ(first.open(scratch / "a", Disposition::createAlways, Access::readWrite), 0);
    File second(std::move(first));
    EXPECT_FALSE(first);
    EXPECT_EQ(first.close(), 0);
    EXPECT_EQ(second.writeAt("a", 1, 0).bytes, 1u);
    File third;
    third = std::move(second);
    EXPECT_EQ(third.sync(), 0);
    EXPECT_EQ(third.close(), 0);
    EXPECT_EQ(third.readAt(nullptr, 1, 0).error, error::badHandle);
    EXPECT_EQ(third.size(), -1);
}

TEST(Mapping, WindowsStartAnywhereAndStayInsideTheFile)
{
    const ScratchDirectory scratch;
    File file;
    ASSERT_EQ(file.open(scratch / "m", Disposition::createAlways, Access::readWrite), 0);
    ASSERT_EQ(file.truncate(10000), 0);
    ASSERT_EQ(file.writeAt("hello", 5, 5001).bytes, 5u);
    Mapping window;
    ASSERT_EQ(window.map(file, 5001, 4999, Access::readWrite), 0);
    window.adviseRandom();
    EXPECT_EQ(std::memcmp(window.data(), "hello", 5), 0);
    std::memcpy(window.data(), "HE", 2);
    EXPECT_EQ(window.sync(), 0);
    char back[5];
    EXPECT_EQ(file.readAt(back, 5, 5001).bytes, 5u);
    EXPECT_EQ(std::string(back, 5), "HEllo");

    EXPECT_EQ(window.map(file, 5001, 5000, Access::read), error::invalidArgument);
    EXPECT_EQ(window.map(file, UINT64_MAX, 2, Access::read), error::invalidArgument);
    EXPECT_EQ(window.map(file, 0, SIZE_MAX, Access::read), error::invalidArgument);
    EXPECT_EQ(window.map(file, 0, 0, Access::read), error::invalidArgument);
    EXPECT_FALSE(window);
}
