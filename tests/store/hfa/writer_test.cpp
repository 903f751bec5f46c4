#include "store/hfa/store_fixture.h"

#include "support/captured_stderr.h"

#include <csignal>
#include <map>
#include <sys/mount.h>
#include <sys/wait.h>
#include <thread>

namespace {

/* A process that runs `work` and says so on a pipe; it ends with the object at the latest. */
class Child {
public:
    template <class Work>
    explicit Child(Work work)
    {
        int ends[2];
        EXPECT_EQ(pipe(ends), 0);
        process_ = fork();
        if (process_ == 0) {
            ::close(ends[0]);
            work(ends[1]);
            _exit(0);
        }
        ::close(ends[1]);
        from_ = ends[0];
    }
    ~Child()
    {
        kill();
        ::close(from_);
    }
    void kill()
    {
        if (process_ > 0) {
            ::kill(process_, SIGKILL);
            waitpid(process_, nullptr, 0);
        }
        process_ = 0;
    }
    /* The next number that the process says; -1 when it is gone. */
    int next()
    {
        int number = -1;
        return ::read(from_, &number, sizeof number) == sizeof number ? number : -1;
    }
    static void say(int end, int number) { (void)!::write(end, &number, sizeof number); }

private:
    pid_t process_ = 0;
    int from_ = -1;
};

class AWriter : public StoreTest {
protected:
    /* Opens the store for writing in another process, which waits there. */
    auto holdElsewhere()
    {
        return Child([this](int end) {
            Ehfa_File* file = ehfa_FileOpen(name_.c_str(), "r+b", eint_GetInit(), nullptr);
            Child::say(end, file != nullptr);
            pause();
        });
    }
};

TEST_F(AWriter, IsTheOnlyProcessThatWrites)
{
    create();
    write(EHFA_WRITE_LAST_CHILD, "A");
    close();
    const Bytes before = bytesOf(name_);
    const std::string refusal = "File " + name_ + " is being written by another process";
    {
        Child other = holdElsewhere();
        ASSERT_EQ(other.next(), 1);
        Report second;
        EXPECT_EQ(ehfa_FileOpen(name_.c_str(), "r+b", eint_GetInit(), second), nullptr);
        EXPECT_EQ(second.records().back().message, refusal);
        Report creating;
        EXPECT_EQ(ehfa_FileCreate(name_.c_str(), eint_GetInit(), creating), nullptr);
        EXPECT_EQ(creating.records().back().message, refusal);
        EXPECT_EQ(bytesOf(name_), before) << "a store is not emptied before the lock is held";
        ASSERT_NE(open("r"), nullptr) << "readers are never kept out";
        EXPECT_EQ(paths(), (std::vector<std::string>{":", ":A:"}));
        Report writable;
        EXPECT_EQ(ehfa_FileOpen(name_.c_str(), "r+b", eint_GetInit(), writable), nullptr);
        EXPECT_TRUE(file_->readOnly);
        close();
        other.kill();
        ASSERT_NE(open("r+b"), nullptr) << "the lock of a dead process is gone";
        close();
    }
    Child third([this](int end) {
        while (!std::filesystem::exists(directory_ + "/go")) {
            usleep(1000);
        }
        Child::say(end, ehfa_FileOpen(name_.c_str(), "r+b", eint_GetInit(), nullptr) != nullptr);
    });
    open();
    std::thread([&] {
        Report report;
        Ehfa_File* own = ehfa_FileOpen(name_.c_str(), "r+b", eint_GetInit(), report);
        EXPECT_NE(own, nullptr) << told(report) << "threads of one process hold a handle each";
        ehfa_FileClose(own, nullptr);
    }).join();
    putBytes(directory_ + "/go", {});
    EXPECT_EQ(third.next(), 0) << "the other thread's close did not give the lock up";
}

/* Each thread has a handle of its own, and sees in its next call what the other one has written. */
TEST_F(AWriter, TakesTurnsWithItsThreads)
{
    create();
    close();
    const auto fill = [&](char name) {
        Report report;
        Ehfa_File* file = ehfa_FileOpen(name_.c_str(), "r+b", eint_GetInit(), report);
        const EmifDesignT<Etxt_TextA> design(emif_DesignCreate(nullptr, std::string(1, name).c_str(), nullptr, EMIF_TYPE_DOUBLE, "x", 0));
        emif_DictionaryAddDesign(file->dictionary, design, report);
        for (int i = 0; i < 200; ++i) {
            const std::string text = name + std::to_string(i);
            const std::string data(static_cast<std::size_t>(10 + i % 90), name);
            ehfa_ObjectDataWrite(file, ":", text.c_str(), "Raw", EHFA_WRITE_LAST_CHILD, data.data(), static_cast<long>(data.size()), report);
            EXPECT_EQ(file->path, ":" + text + ":");
            if (i % 3 == 0) {
                ehfa_ObjectDelete(file, (":" + text).c_str(), nullptr, EHFA_SEEK_BACK, report);
            }
        }
        ehfa_FileClose(file, report);
        EXPECT_EQ(told(report), "");
    };
    std::thread one(fill, 'a'), other(fill, 'b');
    one.join();
    other.join();
    open("r");
    Ehfa_CheckTotals totals;
    ehfa_FileCheck(file_, nullptr, nullptr, &totals, expected());
    EXPECT_EQ(totals.damaged, 0);
    EXPECT_EQ(paths().size(), 1u + 2 * 133);
    EXPECT_NE(emif_FindDesignByName(file_->dictionary, "a", nullptr), nullptr);
    EXPECT_NE(emif_FindDesignByName(file_->dictionary, "b", nullptr), nullptr);
}

TEST_F(AWriter, ReplacesAStoreWhollyOrNotAtAll)
{
    create();
    ehfa_ObjectDataWrite(file_, ":", "Old", "Raw", EHFA_WRITE_LAST_CHILD, std::string(5000, 'x').data(), 5000, expected());
    close();
    create();
    EXPECT_EQ(paths(), std::vector<std::string>{":"});
    close();
    EXPECT_EQ(bytesOf(name_).size(), 508u);
}

/* What a number of steps makes of a store of at most 100 objects: names and the bytes of their data. A step makes an object
 * where there is none, and else deletes or rewrites it. */
struct Steps {
    static std::string name(int step) { return "n" + std::to_string(step * 37 % 100); }
    static std::string bytes(int step)
    {
        return std::string(static_cast<std::size_t>(10 + step * 131 % 6000), static_cast<char>('a' + step % 26));
    }

    static void run(Ehfa_File* file, int step)
    {
        const std::string data = bytes(step);
        const auto size = static_cast<long>(data.size());
        if (ehfa_EntrySeek(file, EHFA_SEEK_PATH, (":" + name(step)).c_str(), nullptr) == nullptr) {
            ehfa_ObjectDataWrite(file, ":", name(step).c_str(), "Raw", EHFA_WRITE_LAST_CHILD, data.data(), size, nullptr);
        } else if (step % 3 == 0) {
            ehfa_EntryDelete(file, nullptr);
        } else {
            ehfa_ObjectDataWrite(file, nullptr, nullptr, nullptr, EHFA_WRITE_CURRENT, data.data(), size, nullptr);
        }
    }

    std::map<std::string, std::string> contents;
    void run(int step)
    {
        if (contents.contains(name(step)) && step % 3 == 0) {
            contents.erase(name(step));
        } else {
            contents[name(step)] = bytes(step);
        }
    }
};

/* EMANTLE_STORE_KILLS sets how often. */
TEST_F(AWriter, MayBeKilledAtAnyMoment)
{
    const char* often = std::getenv("EMANTLE_STORE_KILLS");
    const int kills = often != nullptr ? std::atoi(often) : 50;
    create();
    close();
    Steps model;
    int done = 0;
    for (int kill = 0; kill < kills; ++kill) {
        int first = done;
        {
            Child writer([&](int end) {
                Ehfa_File* file = ehfa_FileOpen(name_.c_str(), "r+b", eint_GetInit(), nullptr);
                for (int step = first; file != nullptr && step < first + 400; ++step) {
                    Steps::run(file, step);
                    Child::say(end, step + 1);
                }
                pause();
            });
            for (int told = 0, wait = 1 + kill * 7 % 60; told < wait; ++told) {
                done = writer.next();
                ASSERT_GT(done, 0);
            }
            if (kill % 2 == 0) {
                usleep(static_cast<useconds_t>(kill * 17 % 300));
            }
            writer.kill();
            for (int last = writer.next(); last > 0; last = writer.next()) {
                done = last;
            }
        }
        for (; first < done; ++first) {
            model.run(first);
        }
        ASSERT_NE(open("r"), nullptr) << kill;
        std::map<std::string, std::string> seen;
        for (bool more = seek(EHFA_SEEK_CHILD); more; more = seek(EHFA_SEEK_NEXT)) {
            std::string data(static_cast<std::size_t>(file_->entry->dataSize), '\0');
            ehfa_FileMIFDataRead(file_, file_->entry->data, file_->entry->dataSize, data.data(), expected());
            seen[file_->entry->name] = data;
        }
        Ehfa_CheckTotals totals;
        ehfa_FileCheck(file_, nullptr, nullptr, &totals, expected());
        close();
        EXPECT_EQ(totals.damaged, 0);
        if (seen != model.contents) {
            model.run(done++); /* the call in which the process died */
        }
        ASSERT_EQ(seen, model.contents) << "after kill " << kill << ", step " << done;
    }
}

/* A file of holes: it takes next to nothing of the disk. */
TEST_F(AWriter, FillsAStoreToItsLimit)
{
    create();
    const uint32_t kept = allocate(5000);
    allocate(8);
    const long most = 0x7FFFFFFF;
    const uint32_t filler = allocate(most - ehfa_FileSize(file_) - 100);
    ASSERT_NE(filler, 0u);
    EXPECT_EQ(ehfa_FileSize(file_), most - 100);
    Report full;
    const std::string data(200, 'x');
    EXPECT_EQ(ehfa_ObjectDataWrite(file_, ":", "A", "Raw", EHFA_WRITE_LAST_CHILD, data.data(), 200, full), nullptr);
    EXPECT_NE(told(full).find("Cannot allocate free block; resulting file would exceed the OS or EHFA limit"), std::string::npos);
    EXPECT_EQ(paths(), std::vector<std::string>{":"});
    EXPECT_EQ(ehfa_FileSize(file_), most - 100);
    EXPECT_GE(allocate(100), filler) << "the last bytes";
    EXPECT_EQ(ehfa_FileSize(file_), most);
    release(kept, 5000);
    EXPECT_NE(ehfa_ObjectDataWrite(file_, ":", "A", "Raw", EHFA_WRITE_LAST_CHILD, data.data(), 200, expected()), nullptr);
    close();
    EXPECT_EQ(std::filesystem::file_size(name_), static_cast<std::uintmax_t>(most));
    open();
    EXPECT_EQ(paths(), (std::vector<std::string>{":", ":A:"}));
    ehfa_ObjectDelete(file_, ":A", nullptr, EHFA_SEEK_BACK, expected());
    EXPECT_NE(ehfa_ObjectDataWrite(file_, ":", "B", "Raw", EHFA_WRITE_LAST_CHILD, data.data(), 200, expected()), nullptr);
}

/* EMANTLE_STORE_ROUNDS sets how many. */
TEST_F(AWriter, DoesNotLetAStoreGrowWithItsRounds)
{
    const char* many = std::getenv("EMANTLE_STORE_ROUNDS");
    const int rounds = many != nullptr ? std::atoi(many) : 3000;
    /* Objects of one size fit where others were. Of any size, few of them leave larger holes: first fit by position, which
     * readers of old count on, takes 1.14 of the live bytes where they are known beforehand, too. */
    const struct {
        unsigned least, most;
        double bound;
    } cases[] = {{48, 48, 1.01}, {1000, 1000, 1.01}, {16, 2015, 1.2}};
    for (const auto& [least, most, bound] : cases) {
        std::filesystem::remove(name_);
        create();
        uint64_t live = 508;
        uint64_t peak = 0;
        std::map<int, uint64_t> sizes;
        unsigned random = 1;
        for (int round = 0; round < rounds; ++round) {
            random = random * 1664525u + 1013904223u;
            if (round % 50 == 49) {
                close();
                open();
            }
            const int slot = static_cast<int>(random >> 8) % 100;
            const std::string name = "n" + std::to_string(slot);
            if (sizes.contains(slot)) {
                ehfa_ObjectDelete(file_, (":" + name).c_str(), nullptr, EHFA_SEEK_BACK, expected());
                live -= sizes[slot] + 128;
                sizes.erase(slot);
            }
            const uint64_t size = least + random % (most - least + 1);
            const std::string data(size, 'd');
            ehfa_ObjectDataWrite(file_, ":", name.c_str(), "Raw", EHFA_WRITE_LAST_CHILD, data.data(), static_cast<long>(size), expected());
            sizes[slot] = size;
            live += size + 128;
            peak = std::max(peak, live);
        }
        close();
        open("r");
        Ehfa_CheckTotals totals;
        ehfa_FileCheck(file_, nullptr, nullptr, &totals, expected());
        EXPECT_LE(double(totals.fileSize), bound * double(peak)) << least << " to " << most << " bytes";
        EXPECT_EQ(totals.lost, 0);
        close();
    }
}

/* A disk of its own that is really full, where this process may mount one. */
TEST_F(AWriter, GetsOverADiskThatIsFull)
{
    if (mount("none", directory_.c_str(), "tmpfs", 0, "size=256k") != 0) {
        GTEST_SKIP() << "no right to mount a small disk here";
    }
    struct Unmount {
        const char* where;
        ~Unmount() { umount2(where, MNT_DETACH); }
    } unmount{directory_.c_str()};
    create();
    const std::string data(20000, 'x');
    int written = 0;
    Report report;
    while (written < 100 && ehfa_ObjectDataWrite(file_, ":", ("n" + std::to_string(written)).c_str(), "Raw", EHFA_WRITE_LAST_CHILD,
                                                 data.data(), 20000, report) != nullptr) {
        ++written;
    }
    EXPECT_LT(written, 13);
    EXPECT_NE(told(report).find(name_), std::string::npos) << told(report);
    EXPECT_EQ(paths().size(), static_cast<std::size_t>(written) + 1);
    ehfa_ObjectDelete(file_, ":n0", nullptr, EHFA_SEEK_BACK, expected());
    EXPECT_NE(ehfa_ObjectDataWrite(file_, ":", "again", "Raw", EHFA_WRITE_LAST_CHILD, data.data(), 20000, expected()), nullptr);
    close();
    open("r");
    EXPECT_EQ(paths().size(), static_cast<std::size_t>(written) + 1);
    close();
}

}  // namespace
