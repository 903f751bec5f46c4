#include "cli/in_process.h"
#include "cli/tiff_maker.h"
#include "cli/tool_runner.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <set>
#include <sys/mman.h>
#include <sys/time.h>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

/* Stores that were damaged in every way that one byte or one cut allows. The tool may say whatever is true of them, but
 * it ends, soon, without more memory than the file is worth, and leaves them alone. */

namespace {

constexpr int kMutants = kSanitized ? 5000 : 10000;
constexpr int kBatch = 500;
constexpr int kSecondsForOne = kSanitized ? 6 : 2;
constexpr long kMostKiB = 64 * 1024;

/* What a child that tries one damaged store after another is at. */
struct Progress {
    int item;
    char doing[160];
    char complaint[400];
};

class Damaged : public testing::Test {
protected:
    Damaged()
        : progress_(static_cast<Progress*>(
              mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)))
    {
        writeTiff(scratch / "a.tif",
                  makeRaster(30, 20, 2, 16, SAMPLEFORMAT_UINT,
                             [](auto layer, auto x, auto y) { return (layer + 3) * x + y; }),
                  {.noData = "5"});
        EXPECT_EQ(run({"describe", scratch / "a.tif", "-o", path(), "--bins", "unique:200", "--skip", "2"}).status, 0);
        EXPECT_EQ(run({"describe", scratch / "a.tif", "-o", other(), "--bins", "linear:6"}).status, 0);
    }
    ~Damaged() override { munmap(progress_, sizeof(Progress)); }

    /* With an explicit list of values as bins and all that can stand beside statistics; and a plain one. */
    std::string path() const { return scratch / "a.store"; }
    std::string other() const { return scratch / "b.store"; }

    static std::vector<std::string> nodesOf(const std::string& store)
    {
        std::vector<std::string> nodes;
        const nlohmann::json listed = nlohmann::json::parse(runHere({"ls", "-R", "--json", store}).out);
        for (const auto& node : listed["nodes"]) {
            nodes.push_back(node["path"]);
        }
        return nodes;
    }

    /* Tries the items from 0 to `count` in children of their own, so that one that fails is named. */
    void tryAll(int count, const std::function<void(int)>& attempt)
    {
        for (int first = 0; first < count; first += kBatch) {
            *progress_ = {};
            const pid_t child = fork();
            if (child == 0) {
                const long before = virtualKiB("VmSize:");
                for (int item = first; item < std::min(first + kBatch, count) && progress_->complaint[0] == '\0';
                     ++item) {
                    progress_->item = item;
                    startWatch();
                    attempt(item);
                }
                if (!kSanitized && virtualKiB("VmPeak:") - before > kMostKiB) {
                    complain("here or before, more than 64 MiB were taken");
                }
#if defined(__SANITIZE_ADDRESS__)
                if (__lsan_do_recoverable_leak_check() != 0) {
                    complain("lost memory, here or before");
                }
#endif
                _exit(0);
            }
            int status = 0;
            waitpid(child, &status, 0);
            ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0)
                << "item " << progress_->item << ", " << progress_->doing
                << (WIFSIGNALED(status) && WTERMSIG(status) == SIGPROF ? " takes too long" : " ends the process");
            ASSERT_STREQ(progress_->complaint, "") << "item " << progress_->item << ", " << progress_->doing;
        }
    }

    void complain(const std::string& what) const
    {
        std::snprintf(progress_->complaint, sizeof progress_->complaint, "%s", what.c_str());
    }

    InProcess attempt(const std::vector<std::string>& arguments, const std::string& damage) const
    {
        std::snprintf(progress_->doing, sizeof progress_->doing, "%s %s: %s", arguments[0].c_str(),
                      arguments.back().c_str(), damage.c_str());
        InProcess result = runHere(arguments);
        if ((result.status == 1) != (!result.failure.empty() || arguments[0] == "check") &&
            !(arguments[0] == "check" && result.status == 0)) {
            complain("status " + std::to_string(result.status) + " with the line '" + result.failure + "'");
        }
        return result;
    }

    ScratchDirectory scratch;

private:
    static void startWatch()
    {
        const itimerval limit{{0, 0}, {kSecondsForOne, 0}};
        setitimer(ITIMER_PROF, &limit, nullptr);
    }

    static long virtualKiB(const std::string& field)
    {
        std::ifstream status("/proc/self/status");
        for (std::string word; status >> word;) {
            if (word == field) {
                long value = 0;
                status >> value;
                return value;
            }
        }
        return 0;
    }

    Progress* progress_;
};

/* Values that lengths, signs, flags and texts stumble over, and neighbours. */
std::uint8_t tellingByte(std::uint32_t choice, std::uint8_t present)
{
    static constexpr std::uint8_t kValues[] = {0x00, 0x01, 0x7f, 0x80, 0xff, 0xfe, 0x40, 0x10,
                                               ':',  '{',  '}',  ',',  '0',  '*',  'p',  'x'};
    switch (choice % 20) {
    case 16:
        return static_cast<std::uint8_t>(present + 1);
    case 17:
        return static_cast<std::uint8_t>(present - 1);
    case 18:
        return present ^ 0x80;
    case 19:
        return static_cast<std::uint8_t>(present ^ (1U << (choice / 20 % 8)));
    default:
        return kValues[choice % 20];
    }
}

TEST_F(Damaged, InOneByteIsReadWithoutHarm)
{
    for (const std::string& store : {path(), other()}) {
        const std::string whole = contentsOf(store);
        const std::vector<std::string> nodes = nodesOf(store);
        const int file = open(store.c_str(), O_RDWR);
        ASSERT_GE(file, 0);
        tryAll(kMutants / 2, [&](int item) {
            const auto place = static_cast<off_t>(noise(static_cast<std::uint64_t>(item)) % whole.size());
            const std::uint8_t byte = tellingByte(noise(static_cast<std::uint64_t>(item) + 1000000),
                                                  static_cast<std::uint8_t>(whole[static_cast<std::size_t>(place)]));
            const std::string damage = "byte " + std::to_string(place) + " is " + std::to_string(byte);
            EXPECT_EQ(pwrite(file, &byte, 1, place), 1);
            attempt({"ls", "-R", "--json", store}, damage);
            attempt({"check", store}, damage);
            attempt({"show", store, "--json", nodes[static_cast<std::size_t>(item) % nodes.size()]}, damage);
            attempt({"show", store, nodes[static_cast<std::size_t>(item + 1) % nodes.size()]}, damage);
            if (item % 8 == 0) {
                attempt({"stat", store}, damage);
                attempt({"dump", store}, damage);
                attempt({"salvage", store, "-o", scratch / "saved.store", "--force"}, damage);
            }
            std::string expected = whole;
            expected[static_cast<std::size_t>(place)] = static_cast<char>(byte);
            if (contentsOf(store) != expected) {
                complain("reading changed the store");
            }
            EXPECT_EQ(pwrite(file, &whole[static_cast<std::size_t>(place)], 1, place), 1);
        });
        close(file);
        EXPECT_EQ(contentsOf(store), whole);
    }
}

TEST_F(Damaged, ByACutIsFoundAndReadWithoutHarm)
{
    const std::string store = other();
    const auto whole = static_cast<int>(std::filesystem::file_size(store));
    const std::vector<std::string> nodes = nodesOf(store);
    tryAll(whole, [&](int item) {
        const int size = whole - 1 - item;
        std::filesystem::resize_file(store, static_cast<std::uintmax_t>(size));
        const std::string damage = "cut to " + std::to_string(size);
        if (attempt({"check", store}, damage).status != 1) {
            complain("is found sound");
        }
        attempt({"ls", "-lR", store}, damage);
        if (item % 8 == 0) {
            attempt({"salvage", store, "-o", scratch / "saved.store", "--force"}, damage);
            attempt({"dump", store}, damage);
        }
        attempt({"show", store, nodes[static_cast<std::size_t>(size) % nodes.size()]}, damage);
    });
}

/* Whole processes with room for little. */
TEST_F(Damaged, KeepsAProcessWithinItsLimits)
{
    const std::string whole = contentsOf(path());
    const std::vector<std::string> nodes = nodesOf(path());
    const RunOptions room = kSanitized ? RunOptions{} : RunOptions{.dataBytes = kMostKiB * 1024};
    const int count = kSanitized ? 12 : 60;
    for (int item = 0; item < count; ++item) {
        std::string bytes = whole;
        if (item % 4 == 3) {
            bytes.resize(noise(static_cast<std::uint64_t>(item)) % whole.size());
        } else {
            const std::size_t place = noise(static_cast<std::uint64_t>(item)) % whole.size();
            bytes[place] = static_cast<char>(
                tellingByte(noise(static_cast<std::uint64_t>(item) + 77), static_cast<std::uint8_t>(whole[place])));
        }
        std::ofstream(path(), std::ios::binary) << bytes;
        for (const auto& arguments : {std::vector<std::string>{"ls", "-lR", path()},
                                      {"check", path(), "--json"},
                                      {"dump", path()},
                                      {"salvage", path(), "-o", scratch / "saved.store", "--force"},
                                      {"show", path(), nodes[static_cast<std::size_t>(item) % nodes.size()]}}) {
            const Outcome outcome = run(arguments, room);
            EXPECT_TRUE(outcome.status == 0 || outcome.status == 1)
                << arguments[0] << " of item " << item << " ended with signal " << outcome.signal << outcome.err;
            EXPECT_EQ(outcome.err.find("emory"), std::string::npos) << outcome.err;
            if (!kSanitized) {
                EXPECT_LT(outcome.peakKiB, kMostKiB) << arguments[0] << " of item " << item;
            }
        }
    }
}

} // namespace
