#include "cli/tiff_maker.h"
#include "cli/tool_runner.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <map>
#include <sys/mount.h>

namespace {

using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

void writeFile(const std::string& path, const std::string& bytes)
{
    std::ofstream(path, std::ios::binary) << bytes;
}

/* All below a folder, by name. */
std::map<std::string, std::string> everythingIn(const std::string& folder)
{
    std::map<std::string, std::string> everything;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
        everything[entry.path()] = entry.is_regular_file() ? contentsOf(entry.path()) : "";
    }
    return everything;
}

/* One clear line, and nothing else. */
void expectRefusal(const Outcome& outcome, const std::string& words)
{
    EXPECT_EQ(outcome.status, 1) << "signal " << outcome.signal;
    EXPECT_EQ(outcome.out, "");
    EXPECT_THAT(outcome.err, MatchesRegex("emantle: [^\n]+\n"));
    EXPECT_THAT(outcome.err, HasSubstr(words));
}

/* A folder with a good image and a good store, which every refusal leaves as it was. */
class Refusal : public testing::Test {
protected:
    Refusal()
    {
        writeTiff(scratch / "good.tif", smallRaster());
        std::filesystem::create_directory(scratch / "folder");
        EXPECT_EQ(run({"describe", scratch / "good.tif", "-o", scratch / "good.store", "--bins", "linear:5"}).status,
                  0);
    }

    void expectRefused(const std::vector<std::string>& arguments, const std::string& words,
                       const RunOptions& options = {})
    {
        SCOPED_TRACE(testing::PrintToString(arguments));
        const auto before = everythingIn(scratch.path());
        expectRefusal(run(arguments, options), words);
        EXPECT_EQ(everythingIn(scratch.path()), before);
    }

    /* Refused alone, into a new store and in place of a store, also behind a good image. */
    void expectImageRefused(const std::string& image, const std::string& words)
    {
        expectRefused({"describe", image, "--json"}, words);
        expectRefused({"describe", image, "-o", scratch / "new.store"}, words);
        expectRefused({"describe", scratch / "good.tif", image, "-o", scratch / "good.store", "--force"}, words);
    }

    ScratchDirectory scratch;
};

/* `bytes` with the value of an entry of its first directory changed; the file is little-endian. */
std::string withTag(std::string bytes, unsigned tag, std::uint32_t value)
{
    std::uint32_t directory = 0;
    std::memcpy(&directory, bytes.data() + 4, 4);
    std::uint16_t count = 0;
    std::memcpy(&count, bytes.data() + directory, 2);
    for (unsigned i = 0; i < count; ++i) {
        char* entry = bytes.data() + directory + 2 + i * 12;
        std::uint16_t found = 0;
        std::memcpy(&found, entry, 2);
        if (found == tag) {
            std::memcpy(entry + 8, &value, 4);
        }
    }
    return bytes;
}

TEST_F(Refusal, OfImagesThatAreNone)
{
    writeFile(scratch / "empty.tif", "");
    writeFile(scratch / "text.tif", "once upon a time\n");
    writeFile(scratch / "header.tif", std::string("II*\0\xff\xff\xff\x7f", 8));
    expectImageRefused(scratch / "absent.tif", "absent.tif: No such file or directory");
    expectImageRefused(scratch / "folder", "folder: is a directory");
    expectImageRefused(scratch / "empty.tif", "empty.tif: not a TIFF file");
    expectImageRefused(scratch / "text.tif", "text.tif: not a TIFF file");
    expectImageRefused(scratch / "header.tif", "header.tif: not a TIFF file");
    expectImageRefused(scratch / "good.store", "good.store: not a TIFF file");
    expectImageRefused(scratch / "good.tif/inside", "inside: ");
    expectImageRefused(scratch / "two\nlines.tif", "two lines.tif: ");
}

TEST_F(Refusal, OfImagesThatCannotBeRead)
{
    writeTiff(scratch / "secret.tif", smallRaster());
    std::filesystem::permissions(scratch.path(), std::filesystem::perms(0755));
    std::filesystem::permissions(scratch / "secret.tif", std::filesystem::perms::none);
    if (run({"--version"}, {.asNobody = true}).status != 0) {
        GTEST_SKIP() << "the tool lies where nobody may run it";
    }
    const Outcome outcome = run({"describe", scratch / "secret.tif"}, {.asNobody = true});
    expectRefusal(outcome, "secret.tif: Permission denied");
}

TEST_F(Refusal, OfTiffFilesThatAreNotSupported)
{
    const std::string good = contentsOf(scratch / "good.tif");
    const struct {
        const char* name;
        std::string bytes;
        const char* words;
    } cases[] = {
        {"half.tif", withTag(withTag(good, TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_IEEEFP), TIFFTAG_SAMPLESPERPIXEL, 1),
         "unsupported sample format 3 of 8 bits"},
        {"format.tif", withTag(good, TIFFTAG_SAMPLEFORMAT, 9), "format.tif: "},
        {"compression.tif", withTag(good, TIFFTAG_COMPRESSION, 65123), "compression.tif: "},
        {"width.tif", withTag(good, TIFFTAG_IMAGEWIDTH, 0x7fffffff), "width.tif: "},
        {"widest.tif", withTag(good, TIFFTAG_IMAGEWIDTH, 0xffffffff), "widest.tif: "},
        {"flat.tif", withTag(good, TIFFTAG_IMAGELENGTH, 0), "flat.tif: "},
        {"tall.tif", withTag(good, TIFFTAG_IMAGELENGTH, 0xffffffff), "tall.tif: "},
        {"samples.tif", withTag(good, TIFFTAG_SAMPLESPERPIXEL, 65535), "samples.tif: "},
    };
    for (const auto& one : cases) {
        writeFile(scratch / one.name, one.bytes);
        expectImageRefused(scratch / one.name, one.words);
    }
}

TEST_F(Refusal, OfTruncatedImages)
{
    const Storage layouts[] = {{.rowsPerStrip = 4},
                               {.compression = COMPRESSION_LZW, .tile = 16},
                               {.compression = COMPRESSION_ADOBE_DEFLATE, .planar = true, .mode = "w8"}};
    const Raster raster =
        makeRaster(60, 50, 2, 16, SAMPLEFORMAT_UINT, [](auto, auto x, auto y) { return noise(x * 100 + y) & 0xffff; });
    for (const Storage& storage : layouts) {
        writeTiff(scratch / "whole.tif", raster, storage);
        const std::string whole = contentsOf(scratch / "whole.tif");
        for (const double part : {0.02, 0.3, 0.7, 0.999}) {
            writeFile(scratch / "cut.tif",
                      whole.substr(0, static_cast<std::size_t>(part * static_cast<double>(whole.size()))));
            expectRefused({"describe", scratch / "cut.tif", "-o", scratch / "new.store"}, "cut.tif: ");
        }
        std::string zeroed = whole;
        std::fill(zeroed.begin() + 16, zeroed.begin() + 200, '\0');
        writeFile(scratch / "zeroed.tif", zeroed);
        if (storage.compression != COMPRESSION_NONE) {
            expectRefused({"describe", scratch / "zeroed.tif", "-o", scratch / "new.store"}, "zeroed.tif: ");
        }
    }
}

/* A directory that survives the cut promises pixels that are gone. */
TEST_F(Refusal, OfPixelsBeyondTheEnd)
{
    const std::string good = contentsOf(scratch / "good.tif");
    writeFile(scratch / "beyond.tif",
              withTag(good, TIFFTAG_STRIPOFFSETS, static_cast<std::uint32_t>(good.size()) - 20));
    expectImageRefused(scratch / "beyond.tif", "beyond.tif: cannot be read at row 0");
}

TEST_F(Refusal, OfPlacesForAStore)
{
    const std::string image = scratch / "good.tif";
    expectRefused({"describe", image, "-o", scratch / "nowhere/new.store"}, "there is no folder");
    expectRefused({"describe", image, "-o", scratch / "good.tif/new.store"}, "there is no folder");
    expectRefused({"describe", image, "-o", scratch / "folder"}, "folder: is a directory");
    expectRefused({"describe", image, "-o", scratch / "folder", "--force"}, "folder: is a directory");
    expectRefused({"describe", image, "-o", scratch / std::string(252, 'n')}, ": ");
    expectRefused({"describe", image, "-o", "/proc/new.store"}, "/proc/new.store: ");
    std::filesystem::permissions(scratch.path(), std::filesystem::perms(0755));
    if (run({"--version"}, {.asNobody = true}).status == 0) {
        expectRefused({"describe", image, "-o", scratch / "folder/new.store"}, "is not writable", {.asNobody = true});
    }
}

/* An image is no store to be replaced by its own description. */
TEST_F(Refusal, OfAStoreInPlaceOfItsImage)
{
    const std::string image = scratch / "good.tif";
    expectRefused({"describe", image, "-o", image}, "exists");
}

TEST_F(Refusal, WhenTheStoreMayNotGrow)
{
    const auto size = std::filesystem::file_size(scratch / "good.store");
    for (rlim_t most = 0; most < size; most += most < 256 ? 64 : size / 12) {
        SCOPED_TRACE(most);
        expectRefused({"describe", scratch / "good.tif", "-o", scratch / "new.store", "--bins", "linear:5"},
                      "new.store: ", {.fileBytes = most});
    }
    expectRefused({"describe", scratch / "good.tif", "-o", scratch / "good.store", "--force"},
                  "good.store: ", {.fileBytes = 1000});
}

class SmallDisk {
public:
    SmallDisk(const std::string& folder, const char* options) : folder_(folder)
    {
        mounted_ = mount("tmpfs", folder.c_str(), "tmpfs", 0, options) == 0;
    }
    ~SmallDisk()
    {
        if (mounted_) {
            umount2(folder_.c_str(), MNT_DETACH);
        }
    }
    bool mounted() const { return mounted_; }

private:
    std::string folder_;
    bool mounted_ = false;
};

TEST_F(Refusal, WhenTheDiskIsFull)
{
    const SmallDisk disk(scratch / "folder", "size=64k");
    if (!disk.mounted()) {
        GTEST_SKIP() << "no right to mount";
    }
    writeTiff(scratch / "many.tif",
              makeRaster(256, 256, 1, 16, SAMPLEFORMAT_UINT, [](auto, auto x, auto y) { return 256 * x + y; }));
    ASSERT_EQ(run({"describe", scratch / "good.tif", "-o", scratch / "folder/good.store"}).status, 0);
    /* From a disk that the histogram fills to one without a free page. */
    for (const unsigned filling : {0U, 20000U, 40000U, 1U << 20}) {
        writeFile(scratch / "folder/filling", std::string(filling, 'x'));
        expectRefused({"describe", scratch / "many.tif", "-o", scratch / "folder/new.store", "--bins", "unique"},
                      "new.store: ");
        expectRefused(
            {"describe", scratch / "many.tif", "-o", scratch / "folder/good.store", "--force", "--bins", "unique"},
            "good.store: ");
    }
}

TEST_F(Refusal, WhenOutputCannotBeWritten)
{
    const std::string store = scratch / "good.store";
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{"describe", scratch / "good.tif"},
                                               {"describe", scratch / "good.tif", "--json"},
                                               {"ls", store},
                                               {"ls", store, "--json"},
                                               {"show", store, "good:Layer_1:Statistics"},
                                               {"check", store}}) {
        SCOPED_TRACE(testing::PrintToString(arguments));
        const Outcome outcome = run(arguments, {.stdoutTo = "/dev/full"});
        expectRefusal(outcome, "standard output cannot be written");
    }
}

TEST_F(Refusal, OfStoresThatAreNone)
{
    const std::string store = contentsOf(scratch / "good.store");
    writeFile(scratch / "empty.store", "");
    writeFile(scratch / "text.store", "once upon a time there was no store at all\n");
    std::vector<std::string> names{"absent.store", "folder", "empty.store", "text.store", "good.tif"};
    for (std::size_t size : {std::size_t(1), std::size_t(15), std::size_t(16), std::size_t(19), std::size_t(20),
                             store.size() / 3, store.size() / 2, store.size() - 1}) {
        names.push_back("cut" + std::to_string(size) + ".store");
        writeFile(scratch / names.back(), store.substr(0, size));
    }
    for (const std::string& name : names) {
        SCOPED_TRACE(name);
        const auto before = everythingIn(scratch.path());
        const Outcome outcome = run({"check", scratch / name});
        EXPECT_EQ(outcome.status, 1) << outcome.out << outcome.signal;
        EXPECT_NE(outcome.err + outcome.out, "");
        for (const auto& arguments : {std::vector<std::string>{"ls", scratch / name},
                                      {"show", scratch / name, ":good:Layer_2:Descriptor_Table"}}) {
            const Outcome other = run(arguments);
            EXPECT_LE(static_cast<unsigned>(other.status), 1U) << other.signal;
            EXPECT_EQ(other.status == 1, !other.err.empty() && other.status != 0);
        }
        EXPECT_EQ(everythingIn(scratch.path()), before);
    }
    for (const char* name :
         {"absent.store", "folder", "empty.store", "text.store", "good.tif", "cut1.store", "cut16.store"}) {
        expectRefused({"ls", scratch / name}, std::string(name) + ": ");
        expectRefused({"show", scratch / name, ":"}, std::string(name) + ": ");
        expectRefused({"check", scratch / name, "--json"}, std::string(name) + ": ");
    }
}

TEST_F(Refusal, OfNodesThatAreNotThere)
{
    const std::string store = scratch / "good.store";
    for (const std::string& node :
         {std::string(":absent"), std::string("good:Layer_3"), std::string("good:Layer_1:Statistics:below"),
          std::string(300, 'x'), ":good:" + std::string(5000, 'y') + ":z", std::string("good:Layer_1(")}) {
        expectRefused({"ls", store, node}, "there is no node");
        expectRefused({"show", store, node}, "there is no node");
    }
}

TEST(Usage, WrongArgumentsAreToldWithStatusTwo)
{
    const std::vector<std::string> lines[] = {{},
                                              {"frobnicate"},
                                              {"describe"},
                                              {"ls"},
                                              {"show"},
                                              {"show", "only.store"},
                                              {"check"},
                                              {"check", "a", "b"},
                                              {"dict", "a", "b"},
                                              {"describe", "x.tif", "--nonsense"},
                                              {"describe", "x.tif", "-o"},
                                              {"describe", "x.tif", "--bins", "round"},
                                              {"describe", "x.tif", "--bins", "linear:0"},
                                              {"describe", "x.tif", "--bins", "linear:-3"},
                                              {"describe", "x.tif", "--bins", "linear:3:4"},
                                              {"describe", "x.tif", "--bins", "linear:99999999999"},
                                              {"describe", "x.tif", "--bins", "direct:1"},
                                              {"describe", "x.tif", "--bins", "direct:nan:3"},
                                              {"describe", "x.tif", "--bins", "unique:many"},
                                              {"describe", "x.tif", "--bins", ""},
                                              {"describe", "x.tif", "--skip", "0"},
                                              {"describe", "x.tif", "--skip", "2,-1"},
                                              {"describe", "x.tif", "--skip", "2,3,4"},
                                              {"describe", "x.tif", "--skip", "a,b"},
                                              {"describe", "x.tif", "--exclude", "a"},
                                              {"describe", "x.tif", "--exclude", "1,,2"},
                                              {"describe", "x.tif", "--exclude"}};
    for (const auto& arguments : lines) {
        SCOPED_TRACE(testing::PrintToString(arguments));
        const Outcome outcome = run(arguments);
        EXPECT_EQ(outcome.status, 2) << outcome.err;
        EXPECT_EQ(outcome.out, "");
        EXPECT_NE(outcome.err, "");
    }
}

TEST(Usage, HelpAndVersionGoToStandardOutput)
{
    for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{{"--help"},
                                                                                           {"--version"},
                                                                                           {"describe", "--help"},
                                                                                           {"ls", "--help"},
                                                                                           {"show", "--help"},
                                                                                           {"check", "--help"}}) {
        SCOPED_TRACE(testing::PrintToString(arguments));
        const Outcome outcome = run(arguments);
        EXPECT_EQ(outcome.status, 0);
        EXPECT_EQ(outcome.err, "");
        EXPECT_NE(outcome.out, "");
    }
    EXPECT_THAT(run({"--version"}).out, MatchesRegex("emantle [0-9]+\\.[0-9]+\\.[0-9]+\n"));
    EXPECT_THAT(run({"describe", "--help"}).out,
                testing::AllOf(HasSubstr("--json"), HasSubstr("--quiet"), HasSubstr("--bins"), HasSubstr("--force")));
}

} // namespace
