#include "store/hfa/store_fixture.h"

#include "platform/faults.h"
#include "support/captured_stderr.h"

#include <sys/resource.h>

namespace {

using emantle::platform::FaultInjection;
using emantle::platform::Operation;
using emantle::platform::Outcome;
using emantle::platform::Repeat;

/* A small store with everything in it: objects, a subtree, free blocks. */
class ADamagedStore : public StoreTest {
protected:
    ADamagedStore()
    {
        create();
        emif_DictionaryAddDesign(file_->dictionary, sampleDesign(), expected());
        char text[] = "text";
        Sample sample{42, 1.0, {4, text}};
        for (const char* name : {"A", "B", "C"}) {
            ehfa_ObjectWrite(file_, ":", name, "Sample", EHFA_WRITE_LAST_CHILD, &sample, sampleDesign(), expected());
        }
        ehfa_ObjectWrite(file_, ":C", "c", "Sample", EHFA_WRITE_FIRST_CHILD, &sample, sampleDesign(), expected());
        seek(EHFA_SEEK_PATH, ":B");
        ehfa_EntryDelete(file_, expected());
        seek(EHFA_SEEK_PATH, ":A");
        a_ = file_->entryPtr;
        seek(EHFA_SEEK_PATH, ":C");
        c_ = file_->entryPtr;
        close();
        sound_ = bytesOf(name_);
    }

    /* Does with a file what a program would; it may fail, but must come back. */
    void useAll(const char* mode)
    {
        Report report;
        Ehfa_File* file = ehfa_FileOpen(name_.c_str(), mode, eint_GetInit(), report);
        if (file == nullptr) {
            EXPECT_NE(told(report), "");
            return;
        }
        Report list, read, check, space, remove, write, closing;
        EstrStringList names(ehfa_ObjectList(file, ":", nullptr, nullptr, list));
        for (int i = 0; names != static_cast<Estr_StringList*>(nullptr) && i < names->count; ++i) {
            Report one;
            void* data = nullptr;
            ehfa_ObjectDataReadIfPresent(file, names->strings[i], nullptr, EHFA_SEEK_BACK, &data, nullptr, nullptr, one);
            emsc_HeapFree(data);
        }
        Sample sample{};
        ehfa_ObjectRead(file, ":C", nullptr, EHFA_SEEK_BACK, &sample, sampleDesign(), read);
        emsc_HeapFree(sample.label.text);
        Ehfa_CheckTotals totals;
        EXPECT_TRUE(ehfa_FileCheck(file, nullptr, nullptr, &totals, check));
        EXPECT_EQ(totals.live + totals.free + totals.lost, totals.fileSize);
        ehfa_FileFreeSpaceSize(file, space);
        if (std::string(mode) != "r") {
            ehfa_EntrySeek(file, EHFA_SEEK_PATH, ":C", remove);
            Report deleting;
            ehfa_EntryDelete(file, deleting);
            ehfa_ObjectDataWrite(file, ":", "new", "T", EHFA_WRITE_LAST_CHILD, "12345678", 8, write);
        }
        ehfa_FileClose(file, closing);
    }

    /* The findings of the check, in order. */
    std::vector<std::string> findings()
    {
        std::vector<std::string> texts;
        Ehfa_CheckTotals totals;
        ehfa_FileCheck(
            file_,
            [](const Ehfa_CheckItem* item, void* data) -> Emsc_Boolean {
                if (item->finding != nullptr) {
                    static_cast<std::vector<std::string>*>(data)->push_back(item->path + std::string(" ") + item->finding);
                }
                return 1;
            },
            &texts, &totals, expected());
        EXPECT_EQ(totals.findings, static_cast<int64_t>(texts.size()));
        return texts;
    }

    Bytes sound_;
    uint32_t a_ = 0;
    uint32_t c_ = 0;
};

TEST_F(ADamagedStore, IsSurvivedByteByByte)
{
    stderrOf([&] {
        for (std::size_t at = 0; at < sound_.size(); ++at) {
            for (const unsigned char flip : {0x01, 0x80, 0xFF}) {
                Bytes bytes = sound_;
                bytes[at] ^= flip;
                putBytes(name_, bytes);
                useAll("r");
                ASSERT_EQ(bytesOf(name_), bytes) << "reading changed the file at " << at;
            }
            putBytes(name_, sound_);
            Bytes bytes = sound_;
            bytes[at] ^= 0x10;
            putBytes(name_, bytes);
            useAll("r+");
        }
    });
}

TEST_F(ADamagedStore, IsSurvivedCutShortAnywhere)
{
    stderrOf([&] {
        for (std::size_t size = 0; size < sound_.size(); ++size) {
            putBytes(name_, Bytes(sound_.begin(), sound_.begin() + static_cast<long>(size)));
            useAll("r");
            useAll("r+");
        }
    });
}

struct Damage {
    const char* why;
    std::size_t field; /* offset in the entry C */
    uint32_t value;
    const char* warning; /* printed by a walk; "" for none */
    std::vector<std::string> paths;
    const char* finding;
};

TEST_F(ADamagedStore, EndsTheWalkAtALinkThatLies)
{
    const std::vector<std::string> all{":", ":A:", ":C:", ":C:c:"};
    const std::vector<std::string> withoutC{":", ":A:"};
    const std::string sibling = "Corrupt sibling entry (C) of A detected";
    const Damage damages[] = {
        {"next to itself", 0, c_, "Corrupt sibling entry (C) of C detected", all, ":C: the link next leads to"},
        {"next in a circle", 0, a_, "Corrupt sibling entry (A) of C detected", all, ":C: the link next leads to"},
        {"next outside", 0, 0xFFFFFFF0, "Corrupt sibling entry () of C detected", all, ":C: the link next leads to"},
        {"next into the header", 0, 70, "Corrupt sibling entry () of C detected", all, ":C: the link next leads to"},
        {"prev elsewhere", 4, 82, "Corrupt sibling entry (C) of A detected", withoutC, ":A: the link next leads to"},
        {"parent elsewhere", 8, a_, "Corrupt sibling entry (C) of A detected", withoutC, ":A: the link next leads to"},
        {"child is the parent", 12, 82, "Corrupt child entry (root) of C detected", {":", ":A:", ":C:"}, ":C: the link child leads to"},
        {"child is itself", 12, c_, "Corrupt child entry (C) of C detected", {":", ":A:", ":C:"}, ":C: the link child leads to"},
        {"data outside", 16, 0x7FFFFFF0, "", all, ":C: the data do not lie in the file"},
        {"data in the header", 16, 64, "", all, ":C: the data do not lie in the file"},
        {"negative size", 20, 0x80000000, "", all, ":C: the data do not lie in the file"},
        {"size past the end", 20, 0x7FFFFFFF, "", all, ":C: the data do not lie in the file"},
    };
    for (const Damage& damage : damages) {
        Bytes bytes = sound_;
        setWord(bytes, c_ + damage.field, damage.value);
        putBytes(name_, bytes);
        ASSERT_NE(open("r+"), nullptr) << damage.why;
        const std::vector<std::string> texts = findings();
        const auto fits = [&](const std::string& text) { return text.starts_with(damage.finding); };
        EXPECT_TRUE(std::ranges::any_of(texts, fits)) << damage.why;
        const std::string warning = stderrOf([&] { EXPECT_EQ(paths(), damage.paths) << damage.why; });
        EXPECT_NE(warning.find(damage.warning), std::string::npos) << damage.why << ": " << warning;
        if (damage.field == 16 || damage.field == 20) {
            Report report;
            Sample sample{};
            EXPECT_EQ(ehfa_ObjectRead(file_, ":C", nullptr, EHFA_SEEK_BACK, &sample, sampleDesign(), report), nullptr);
            EXPECT_NE(told(report).find("do not lie in file"), std::string::npos) << damage.why;
        }
        close();
        EXPECT_EQ(bytesOf(name_), bytes) << damage.why << ": nothing was written";
    }
}

TEST_F(ADamagedStore, IsWeighedByTheCheck)
{
    putBytes(name_, sound_);
    open("r");
    EXPECT_EQ(findings(), std::vector<std::string>{});
    Ehfa_CheckTotals totals;
    ehfa_FileCheck(file_, nullptr, nullptr, &totals, expected());
    EXPECT_EQ(totals.entries, 4);
    EXPECT_EQ(totals.objects, 3);
    EXPECT_EQ(totals.designs, 6);
    EXPECT_EQ(totals.free, ehfa_FileFreeSpaceSize(file_, expected()));
    EXPECT_EQ(totals.lost, 0);
    EXPECT_EQ(totals.damaged, 0);
    const int64_t live = totals.live;
    close();

    Bytes bytes = sound_;
    setWord(bytes, 82 + 12, 0); /* nothing leads to the entries any more: three with their data of 24 bytes */
    putBytes(name_, bytes);
    open("r");
    ehfa_FileCheck(file_, nullptr, nullptr, &totals, expected());
    EXPECT_EQ(totals.lost, 3 * (128 + 24));
    EXPECT_EQ(totals.live, live - totals.lost);
    int calls = 0;
    EXPECT_TRUE(ehfa_FileCheck(file_, [](const Ehfa_CheckItem*, void* n) -> Emsc_Boolean { return ++*static_cast<int*>(n) < 2; }, &calls, &totals, expected()));
    EXPECT_EQ(calls, 2) << "0 ends the check";
}

/* Each entry the only child of the one before: the paths of such a file must not outgrow it. */
TEST_F(ADamagedStore, ThatIsVeryDeepIsGivenUpInTime)
{
    Bytes bytes(sound_.begin(), sound_.begin() + 210);
    const std::string dictionary = "{1:ln,}T,.";
    bytes.insert(bytes.end(), dictionary.begin(), dictionary.end());
    setWord(bytes, 68, 0);
    setWord(bytes, 78, 210);
    uint32_t parent = 82;
    for (int i = 0; i < 20000; ++i) {
        const auto place = static_cast<uint32_t>(bytes.size());
        setWord(bytes, parent + 12, place);
        bytes.resize(bytes.size() + 128);
        setWord(bytes, place + 8, parent);
        std::fill_n(bytes.begin() + place + 24, 63, 'n');
        parent = place;
    }
    putBytes(name_, bytes);
    open("r");
    stderrOf([&] { EXPECT_EQ(paths().size(), 1001u); });
    EXPECT_EQ(findings().size(), 1u);
}

/* Fails every write in turn, until a run goes through. Each failure is told with the name of the file, and what can be
 * read afterwards is what was there before or after the call. */
TEST_F(ADamagedStore, SaysWhichFileCouldNotBeWritten)
{
    bool done = false;
    for (std::uint64_t nth = 1; !done && nth < 100; ++nth) {
        putBytes(name_, sound_);
        open();
        std::string texts;
        bool complete = true;
        {
            FaultInjection fault(Operation::write, nth, Outcome::noSpace(), Repeat::fromThenOn, name_);
            const auto note = [&](bool succeeded, const Report& report) {
                complete = complete && succeeded;
                texts += told(report);
            };
            Report first, second, third;
            note(ehfa_ObjectDataWrite(file_, ":", "new", "Sample", EHFA_WRITE_LAST_CHILD, std::string(40000, 'x').data(), 40000, first) != nullptr, first);
            note(ehfa_ObjectDelete(file_, ":A", nullptr, EHFA_SEEK_BACK, second), second);
            stderrOf([&] { note(ehfa_FileClose(file_, third), third); });
            file_ = nullptr;
            done = !fault.fired();
        }
        if (!done) {
            EXPECT_FALSE(complete) << nth;
            EXPECT_NE(texts.find(name_), std::string::npos) << nth << ": " << texts;
        }
        stderrOf([&] { useAll("r"); });
    }
    EXPECT_TRUE(done);
}

}  // namespace
