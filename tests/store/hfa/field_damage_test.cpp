// Each field of a small store set to each value that is known to hurt, and each byte to each of eight. Whatever does not
// lie behind the damage is still read; what does is a report or a printed warning, never more.

#include "store/hfa/store_fixture.h"

#include "support/captured_stderr.h"

#include <chrono>
#include <map>

namespace {

class AFieldThatLies : public StoreTest {
protected:
    /* Entries with text data, a deleted one, and two free blocks:
     *     :A (:A:a :A:b :A:c)  :B  :C (:C:d) */
    AFieldThatLies()
    {
        create();
        for (const char* name : {"A", "B", "X", "C"}) {
            put(":", name);
        }
        for (const char* name : {"a", "b", "c"}) {
            put(":A", name);
        }
        put(":C", "d");
        seek(EHFA_SEEK_PATH, ":X");
        ehfa_EntryDelete(file_, expected());
        const uint32_t block = allocate(64);
        allocate(8);
        release(block, 64);
        for (const char* path : {":A", ":A:a", ":A:b", ":A:c", ":B", ":C", ":C:d"}) {
            seek(EHFA_SEEK_PATH, path);
            places_[path] = file_->entryPtr;
            data_[path] = file_->entry->data;
        }
        close();
        sound_ = bytesOf(name_);
    }

    void put(const char* parent, const char* name)
    {
        const std::string text = std::string(parent) + name + "'s own data";
        ehfa_ObjectDataWrite(file_, parent, name, "T", EHFA_WRITE_LAST_CHILD, text.data(), static_cast<long>(text.size()), expected());
    }

    /* Which entries a reader comes to without passing `path`: neither below it nor behind it among its siblings. */
    static std::vector<std::string> apartFrom(const std::string& path)
    {
        static const std::map<std::string, std::vector<std::string>> kBehind = {
            {":A", {":A", ":A:a", ":A:b", ":A:c", ":B", ":C", ":C:d"}},
            {":A:a", {":A:a", ":A:b", ":A:c"}},
            {":A:b", {":A:b", ":A:c"}},
            {":A:c", {":A:c"}},
            {":B", {":B", ":C", ":C:d"}},
            {":C", {":C", ":C:d"}},
            {":C:d", {":C:d"}},
            {"", {}},
        };
        std::vector<std::string> apart;
        for (const char* other : {":A", ":A:a", ":A:b", ":A:c", ":B", ":C", ":C:d"}) {
            if (std::ranges::find(kBehind.at(path), other) == kBehind.at(path).end()) {
                apart.emplace_back(other);
            }
        }
        return apart;
    }

    void expectReadable(const std::vector<std::string>& wanted, const std::string& what)
    {
        for (const std::string& path : wanted) {
            Report report;
            void* data = nullptr;
            int32_t size = 0;
            ehfa_ObjectDataReadIfPresent(file_, path.c_str(), nullptr, EHFA_SEEK_BACK, &data, &size, nullptr, report);
            const std::size_t colon = path.rfind(':');
            const std::string text = path.substr(0, std::max<std::size_t>(colon, 1)) + path.substr(colon + 1) + "'s own data";
            EXPECT_EQ(std::string(static_cast<const char*>(data), data != nullptr ? static_cast<std::size_t>(size) : 0), text) << path << " with " << what << ' ' << told(report);
            emsc_HeapFree(data);
        }
    }

    /* Does with a damaged file what programs do, and holds it against what must still be there. */
    void use(const Bytes& bytes, const std::vector<std::string>& wanted, const std::string& what)
    {
        putBytes(name_, bytes);
        stderrOf([&] {
            Report opening;
            file_ = ehfa_FileOpen(name_.c_str(), "rb", eint_GetInit(), opening);
            if (file_ != nullptr) {
                expectReadable(wanted, what);
                Report list, check, space, closing;
                EstrStringList paths(ehfa_ObjectList(file_, ":", nullptr, nullptr, list));
                Ehfa_CheckTotals totals;
                EXPECT_TRUE(ehfa_FileCheck(file_, nullptr, nullptr, &totals, check)) << what << told(check);
                EXPECT_EQ(totals.live + totals.free + totals.lost, totals.fileSize) << what;
                ehfa_FileFreeSpaceSize(file_, space);
                ehfa_FileClose(std::exchange(file_, nullptr), closing);
            } else {
                EXPECT_NE(opening.get(), nullptr) << what;
                EXPECT_TRUE(wanted.empty()) << what << ' ' << told(opening);
            }
        });
        EXPECT_EQ(bytesOf(name_), bytes) << what << ": reading changes nothing";
    }

    void change(const Bytes& bytes, const std::string& what)
    {
        putBytes(name_, bytes);
        stderrOf([&] {
            Report opening;
            file_ = ehfa_FileOpen(name_.c_str(), "r+b", eint_GetInit(), opening);
            if (file_ == nullptr) {
                return;
            }
            for (const char* path : {":A:b", ":B", ":C"}) {
                Report writing, adding, moving, deleting;
                ehfa_ObjectDataWrite(file_, path, nullptr, "T", EHFA_WRITE_CURRENT, "123456789", 9, writing);
                ehfa_ObjectDataWrite(file_, path, "new", "T", EHFA_WRITE_FIRST_CHILD, "123456789", 9, adding);
                ehfa_EntryMove(file_, (path + std::string(":new")).c_str(), ":moved", moving);
                ehfa_ObjectDelete(file_, path, nullptr, EHFA_SEEK_BACK, deleting);
            }
            Report closing;
            ehfa_FileClose(std::exchange(file_, nullptr), closing);
        });
        /* A file says how large its entries are, up to 32 KiB; four are made. */
        EXPECT_LT(std::filesystem::file_size(name_), bytes.size() + 4 * 33000) << what;
    }

    Bytes sound_;
    std::map<std::string, uint32_t> places_;
    std::map<std::string, uint32_t> data_;
};

TEST_F(AFieldThatLies, CostsOnlyWhatLiesBehindIt)
{
    struct Field {
        std::string name;
        std::size_t at;
        std::vector<std::string> left; /* still readable, whatever the value */
        uint32_t self;
    };
    const std::vector<std::string> all = apartFrom("");
    std::vector<Field> fields = {
        {"headerPtr", 16, {}, 16}, {"version", 64, all, 64}, {"freeList", 68, all, 68}, {"root", 72, {}, 82}, {"dictionaryPtr", 78, {}, 64},
    };
    for (uint32_t node = word(sound_, 68); node != 0; node = word(sound_, node)) {
        fields.push_back({"next free", node, all, node});
        fields.push_back({"free size", node + 4, all, node});
    }
    for (const auto& [path, place] : places_) {
        for (const auto& [name, offset] : {std::pair<const char*, std::size_t>{"next", 0}, {"prev", 4}, {"parent", 8}, {"child", 12}, {"data", 16}, {"size", 20}}) {
            fields.push_back({path + "." + name, place + offset, apartFrom(path), place});
        }
    }
    EXPECT_EQ(fields.size(), 5u + 4 + 42);
    const auto end = static_cast<uint32_t>(sound_.size());
    for (const Field& field : fields) {
        for (const uint32_t value : {0u, 1u, 0xFFFFFFFFu, 0x7FFFFFFFu, 0x80000000u, field.self, word(sound_, field.at) + 1, 82u, places_[":A"], places_[":A:b"], data_[":B"], word(sound_, 68), word(sound_, 78), end, end - 8}) {
            Bytes bytes = sound_;
            setWord(bytes, field.at, value);
            const std::string what = field.name + " = " + std::to_string(value);
            use(bytes, field.left, what);
            change(bytes, what);
        }
    }
}

TEST_F(AFieldThatLies, IsSurvivedInEveryByte)
{
    for (std::size_t at = 0; at < sound_.size(); ++at) {
        for (const unsigned char value : {0x00, 0x01, 0x2C, 0x3A, 0x7D, 0x7F, 0x80, 0xFF}) {
            Bytes bytes = sound_;
            bytes[at] = value;
            const std::string what = "byte " + std::to_string(at) + " = " + std::to_string(value);
            use(bytes, {}, what);
            if (at % 4 == value % 4) {
                change(bytes, what);
            }
        }
    }
}

/* Two entries on one block of data: both are read; freeing it once is enough. */
TEST_F(AFieldThatLies, MayShareABlock)
{
    Bytes bytes = sound_;
    setWord(bytes, places_[":B"] + 16, data_[":A"]);
    use(bytes, apartFrom(":B"), "a shared block");
    change(bytes, "a shared block");
}

struct Text {
    const char* why;
    std::string text;
    bool opens;
};

/* Dictionaries that no writer makes. */
TEST_F(AFieldThatLies, MayBeTheDictionary)
{
    std::string nested;
    for (int i = 0; i < 100000; ++i) {
        nested += "{1:x";
    }
    std::string doubling = "{1:la,}D0,";
    for (int i = 1; i < 60; ++i) {
        const std::string below = "D" + std::to_string(i - 1);
        doubling += "{1:o" + below + ",a,1:o" + below + ",b,}D" + std::to_string(i) + ",";
    }
    const Text texts[] = {
        {"types nested 100,000 deep", nested, false},
        {"a design that contains itself", "{1:la,}T,{1:oS,a,}S,.", true},
        {"its own first design contains itself", "{1:oS,a,}S,.", false},
        {"a count of 2^31", "{1:la,}T,{2147483648:la,}S,.", true},
        {"a count of 2^31 - 1", "{2147483647:dx,}T,.", false},
        {"a count beyond 64 bits", "{99999999999999999999:lx,}T,.", false},
        {"an enumeration of 2^31 names", "{1:e2147483647:a,", false},
        {"sizes that double", doubling + ".", true},
        {"a name without an end", "{1:l" + std::string(100000, 'n'), false},
        {"nothing", "", false},
        {"the end alone", ".", true},
        {"no end", "{1:la,}T,", true},
    };
    for (const Text& text : texts) {
        Bytes bytes = sound_;
        setWord(bytes, 78, static_cast<uint32_t>(bytes.size()));
        bytes.insert(bytes.end(), text.text.begin(), text.text.end());
        const auto start = std::chrono::steady_clock::now();
        use(bytes, text.opens ? apartFrom("") : std::vector<std::string>{}, text.why);
        change(bytes, text.why);
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5)) << text.why;
    }
}

}  // namespace
