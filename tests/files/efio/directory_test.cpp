#include "files/scratch.h"
#include "platform/faults.h"
#include "support/chain.h"

#include <emantle/files/efio.h>
#include <sys/stat.h>

using namespace emantle::platform;

namespace {

class Directories : public Scratch {
protected:
    std::string first(const Report& from) const
    {
        return from.records().empty() ? "" : from.records()[0].message.value_or("");
    }
    Report report;
};

}  // namespace

TEST_F(Directories, ACopyIsWholeOrNotThere)
{
    const std::string bytes(3 << 20, 'b');
    put("from", bytes);
    put("to", "old");
    chmod(path("from").c_str(), 0640);
    for (const Operation operation : {Operation::read, Operation::write, Operation::rename}) {
        const FaultInjection fault(operation, 2 - (operation == Operation::rename), Outcome::noSpace(100));
        Report failed;
        EXPECT_EQ(efio_FileCopy(path("from").c_str(), path("to").c_str(), failed), -1);
        EXPECT_NE(failed.get(), nullptr);
        EXPECT_EQ(contents("to"), "old");
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(path()), {}), 2);
    }
    ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
    Report endless;
    EXPECT_EQ(efio_FileCopy(path("pipe").c_str(), path("to").c_str(), endless), -1);
    EXPECT_EQ(efio_FileCopy(path("from").c_str(), path("to").c_str(), report), 0);
    EXPECT_EQ(contents("to"), bytes);
    Efio_Status one, other;
    ASSERT_EQ(efio_Stat(path("from").c_str(), &one, report), 0);
    ASSERT_EQ(efio_StatIfPresent(path("to").c_str(), &other, report), 1);
    EXPECT_EQ(one.modified, other.modified);
    EXPECT_EQ(other.mode & 0777, 0640U);
}

TEST_F(Directories, AnAppendThatFailsIsTakenBack)
{
    put("more", std::string(2 << 20, 'm'));
    put("to", "old");
    {
        const FaultInjection full(Operation::write, 2, Outcome::noSpace(50));
        Report failed;
        EXPECT_EQ(efio_FileAppend(path("more").c_str(), path("to").c_str(), failed), -1);
    }
    EXPECT_EQ(contents("to"), "old");
    Report itself;
    EXPECT_EQ(efio_FileAppend(path("to").c_str(), path("to").c_str(), itself), -1);
    EXPECT_EQ(efio_FileAppend(path("more").c_str(), path("to").c_str(), report), 0);
    EXPECT_EQ(contents("to").size(), 3U + (2 << 20));
}

TEST_F(Directories, TreesAreCopiedAndRemovedWithoutFollowingCycles)
{
    setenv("TREE_TEST", "elsewhere", 1);
    ASSERT_EQ(efio_MaybeMakeDir(path("tree/a/b/").c_str(), report), 0);
    put("tree/a/b/f", "1");
    put("tree/$TREE_TEST", "2"); // a name on disk is not a reference
    put("outside", "kept");
    EXPECT_EQ(efio_DirectoryCopy(path("tree").c_str(), path("copy/of").c_str(), report), 0);
    EXPECT_EQ(contents("copy/of/a/b/f") + contents("copy/of/$TREE_TEST"), "12");

    Report inside, cycle;
    EXPECT_EQ(efio_DirectoryCopy(path("tree").c_str(), path("tree/a/new").c_str(), inside), -1);
    std::filesystem::create_directory_symlink(path("tree"), path("tree/a/up"));
    EXPECT_EQ(efio_DirectoryCopy(path("tree").c_str(), path("other").c_str(), cycle), -1);
    EXPECT_EQ(first(cycle).rfind("The directory ", 0), 0U);

    std::filesystem::create_directory_symlink(path(), path("tree/out"));
    Report full;
    EXPECT_EQ(efio_DirectoryRemove(path("tree").c_str(), full), -1);
    EXPECT_EQ(efio_DirectoryRemoveRecursive(path("tree").c_str(), report), 0);
    EXPECT_FALSE(std::filesystem::exists(path("tree")));
    EXPECT_EQ(contents("outside"), "kept");
}

TEST_F(Directories, NamesAsText)
{
    char* parts[3] = {};
    ASSERT_EQ(efio_FileNameParse("/d/e/f.img", &parts[0], &parts[1], &parts[2], report), 0);
    EXPECT_EQ(taken(parts[0]) + "|" + taken(parts[1]) + "|" + taken(parts[2]), "/d/e|f|.img");
    EXPECT_EQ(taken(efio_UpDir("/a/b//", report)), "/a");
    EXPECT_EQ(taken(efio_UpDir("/", report)), "/");
    EXPECT_TRUE(efio_PathNameIsRelative("a/b"));
    EXPECT_FALSE(efio_PathNameIsRelative("\\a") || efio_PathNameIsRelative("C:a") || efio_PathNameIsRelative(nullptr));
    put("f", "");
    EXPECT_TRUE(efio_FileNameEq(path("f").c_str(), path("./f").c_str(), report));
    EXPECT_FALSE(efio_FileNameEq(path("f").c_str(), path("g").c_str(), report));
}

TEST_F(Directories, TheCurrentDirectoryIsRemembered)
{
    const auto before = std::filesystem::current_path();
    ASSERT_EQ(efio_ChangeDir(path().c_str(), report), 0);
    EXPECT_EQ(std::filesystem::current_path(), path());
    char small[5];
    EXPECT_EQ(std::string(efio_CurrentDirName(small, sizeof small, report)), path().substr(0, 4));
    EXPECT_EQ(taken(efio_CurrentDirName(nullptr, 0, report)), path());
    Report failed;
    EXPECT_EQ(efio_ChangeDir(path("none").c_str(), failed), -1);
    EXPECT_EQ(taken(efio_CurrentDirName(nullptr, 0, report)), path());
    std::filesystem::current_path(before);
}

TEST_F(Directories, Status)
{
    put("f", "12345");
    Efio_Status status;
    EXPECT_EQ(efio_StatIfPresent(path("f/below").c_str(), &status, report), 0);
    EXPECT_EQ(efio_LstatIfPresent(path("none").c_str(), &status, report), 0);
    Report missing, odd, wrong, unset, null;
    EXPECT_EQ(efio_Stat(path("none").c_str(), &status, missing), -1);
    EXPECT_EQ(efio_SetModTime(path("f").c_str(), 1000000000, report), 0);
    EXPECT_EQ(efio_AddAllUserPermissions(path("f").c_str(), 4, report), 0);

    Efio_StatCache* cache = nullptr;
    ASSERT_EQ(efio_StatCacheCreate(path("f").c_str(), &cache, report), 0);
    std::int64_t times[2] = {};
    std::uint32_t mode = 0;
    EXPECT_EQ(efio_StatCacheGet(cache, EFIO_STAT_TIMES, times, report), 0);
    EXPECT_EQ(times[1], 1000000000);
    EXPECT_EQ(efio_StatCacheGet(cache, EFIO_STAT_MODE, &mode, report), 0);
    EXPECT_EQ(mode & 0111, 0111U);
    times[1] = -5;
    EXPECT_EQ(efio_StatCacheSet(cache, EFIO_STAT_TIMES, times, report), 0);
    EXPECT_EQ(efio_Stat(path("f").c_str(), &status, report), 0);
    EXPECT_EQ(status.modified, -5);
    EXPECT_EQ(efio_StatCacheGet(cache, 18, times, odd), -1);
    EXPECT_EQ(first(odd), "Unknown option 18 to efio_StatCacheGet");
    EXPECT_EQ(efio_StatCacheSet(cache, 26, times, wrong), -1);
    EXPECT_EQ(first(wrong), "Option 26 is invalid!");
    EXPECT_EQ(efio_StatCacheSet(cache, EFIO_STAT_SIZE, times, unset), -1);
    EXPECT_EQ(first(unset), "Unsupported option 8");
    efio_StatCacheFree(cache);
    EXPECT_EQ(efio_StatCacheCreate(nullptr, &cache, null), -1);
    EXPECT_EQ(first(null), "Null parameter passed to efio_StatCacheCreate.");

    ASSERT_EQ(efio_StatCacheCreate(path("none").c_str(), &cache, report), 0);
    std::int32_t answer = 1;
    Report none;
    EXPECT_EQ(efio_StatCacheGet(cache, EFIO_STAT_EXISTS, &answer, report), 0);
    EXPECT_EQ(answer, 0);
    EXPECT_EQ(efio_StatCacheGet(cache, EFIO_STAT_SIZE, &answer, none), -1);
    EXPECT_EQ(first(none), "Option 8 can not be determined for this file.");
    efio_StatCacheFree(cache);

    std::filesystem::resize_file(path("f"), 3LL << 30);
    ASSERT_EQ(efio_StatCacheCreate(path("f").c_str(), &cache, report), 0);
    Report large;
    EXPECT_EQ(efio_StatCacheGet(cache, EFIO_STAT_SIZE, &answer, large), 0);
    EXPECT_EQ(answer, 2147483647);
    EXPECT_EQ(large.records()[0],
              (Record{"efio_StatCacheGet", "File is larger than 2G.  Size will be reported as 2G.", EERR_WARNING}));
    efio_StatCacheFree(cache);
}

TEST_F(Directories, TextIsToldFromBytes)
{
    for (const auto& [bytes, ascii] : {std::pair<std::string, bool>{"plain\ttext\r\n", true},
                                       {"", true},
                                       {"caf\xc3\xa9", true},
                                       {std::string("a\0b", 3), false},
                                       {"\x7f"
                                        "ELF",
                                        false}}) {
        put("f", bytes);
        EXPECT_EQ(efio_IsFileAscii(path("f").c_str(), report), ascii);
    }
}

TEST_F(Directories, DiskSpaceByUnits)
{
    const struct {
        std::uint64_t bytes;
        const char* text;
    } cases[] = {{0, "0 Bytes"},
                 {1, "1 Byte"},
                 {1ULL << 30, "1 Gigabyte"},
                 {(2ULL << 40) + (1023 << 10) + 2, "2 Terabytes 1023 Kilobytes 2 Bytes"},
                 {UINT64_MAX, "16777215 Terabytes 1023 Gigabytes 1023 Megabytes 1023 Kilobytes 1023 Bytes"}};
    for (const auto& each : cases) {
        Efio_DiskSpace space;
        efio_DiskSpaceFromBytes(each.bytes, &space);
        EXPECT_EQ(taken(efio_DiskSpaceToString(&space, report)), each.text);
    }
    EXPECT_TRUE(efio_CheckBytesAvailable(path("new/file").c_str(), 1, report));
    Report full;
    EXPECT_FALSE(efio_CheckBytesAvailable(path().c_str(), INT64_MAX, full));
    EXPECT_EQ(first(full), "There may be insufficient space in the filesystem containing " + path() +
                               " for 9223372036854775807 additional bytes");
}
