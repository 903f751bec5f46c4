// What a crash leaves of a block store: every prefix of the writes of a workload is a store without a finding, in which
// the stream is as it was behind one call, and never older than in a shorter prefix.

#include "store/hfa/store_fixture.h"

#include "platform/faults.h"

#include <algorithm>
#include <optional>
#include <random>
#include <set>

namespace {

using emantle::platform::afterWrites;
using emantle::platform::RecordedWrite;
using emantle::platform::WriteRecorder;

class BlockStoreCrashes : public StoreTest {
protected:
    BlockStoreCrashes() : copy_(directory_ + "/copy.img") {}

    /* The stream that a reader finds after a crash; an empty optional for none. */
    std::optional<std::string> streamIn(const std::vector<std::byte>& bytes)
    {
        const auto* data = reinterpret_cast<const unsigned char*>(bytes.data());
        putBytes(copy_, Bytes(data, data + bytes.size()));
        Ehfa_File* file = ehfa_FileOpen(copy_.c_str(), "rb", eint_GetInit(), expected());
        if (file == nullptr) {
            return std::nullopt;
        }
        Ehfa_CheckTotals totals;
        std::string findings;
        ehfa_FileCheck(
            file,
            [](const Ehfa_CheckItem* item, void* text) -> Emsc_Boolean {
                *static_cast<std::string*>(text) += item->finding != nullptr ? std::string(item->finding) + "\n" : "";
                return 1;
            },
            &findings, &totals, expected());
        EXPECT_EQ(findings, "");
        lost_ = totals.lost; /* what was being written and is not in use yet */
        std::optional<std::string> stream;
        Report absent;
        if (Ehfa_Cache* cache = ehfa_CacheOpen(file, ":cache", absent)) {
            stream.emplace(static_cast<std::size_t>(cache->byteCount), '?');
            EXPECT_EQ(ehfa_CacheRead(cache, stream->data(), cache->byteCount, expected()), cache->byteCount);
            ehfa_CacheFree(cache);
        }
        ehfa_FileClose(file, expected());
        return stream;
    }

    static std::string stateOf(const std::vector<std::optional<std::string>>& states, const std::optional<std::string>& stream)
    {
        const auto found = std::ranges::find(states, stream);
        return found != states.end() ? "state " + std::to_string(found - states.begin()) : "no state";
    }

    std::string copy_;
    int64_t lost_ = 0;
};

TEST_F(BlockStoreCrashes, LeaveTheStreamAsItWasBehindSomeCall)
{
    create();
    ehfa_FileFlush(file_, expected());
    std::vector<std::optional<std::string>> states{std::nullopt}; /* behind each call */
    std::vector<std::byte> start;
    for (const unsigned char byte : bytesOf(name_)) {
        start.push_back(std::byte{byte});
    }
    std::vector<RecordedWrite> writes;
    {
        WriteRecorder recorder(name_);
        Ehfa_Cache* cache = ehfa_CacheCreate(file_, ":cache", expected());
        std::string model;
        states.emplace_back(model);
        std::mt19937 random(3);
        const auto put = [&](std::size_t at, std::size_t size) {
            const std::string text(size, static_cast<char>('a' + random() % 26));
            EXPECT_TRUE(ehfa_CacheSeek(cache, static_cast<long>(at), 0, expected()));
            EXPECT_EQ(ehfa_CacheWrite(cache, text.data(), static_cast<long>(size), expected()), static_cast<long>(size));
            model.resize(std::max(model.size(), at + size));
            model.replace(at, size, text);
            states.emplace_back(model);
        };
        put(0, 100);
        put(100, 253 * 1024);
        for (int i = 0; i < 12; ++i) {
            put(random() % model.size(), 1 + random() % 4000);
        }
        put(model.size(), 6000); /* a second level */
        for (int i = 0; i < 4; ++i) {
            EXPECT_TRUE(ehfa_CacheReduce(cache, expected()));
            model.resize(static_cast<std::size_t>(cache->byteCount));
            states.emplace_back(model);
            put(random() % model.size(), 2000);
        }
        auto* block = static_cast<char*>(ehfa_CacheGetBlock(cache, 7, 1, expected()));
        std::memset(block, '!', 1024);
        model.replace(7 * 1024, 1024, 1024, '!');
        states.emplace_back(model);
        EXPECT_TRUE(ehfa_CacheClose(cache, expected()));
        EXPECT_TRUE(ehfa_CacheDelete(file_, ":cache", expected()));
        states.emplace_back(std::nullopt);
        close();
        writes = recorder.writes();
    }
    std::size_t state = 0;
    std::vector<std::byte> bytes = start;
    for (std::size_t prefix = 0; prefix <= writes.size() && !HasFailure(); ++prefix) {
        if (prefix > 0) {
            /* A torn write first: cut at each 512 bytes and in its middle. */
            const std::size_t whole = writes[prefix - 1].bytes.size();
            std::set<std::size_t> cuts{whole / 2};
            for (std::size_t cut = 512; cut < whole; cut += 512) {
                cuts.insert(cut);
            }
            for (const std::size_t cut : cuts) {
                RecordedWrite torn = writes[prefix - 1];
                torn.bytes.resize(cut);
                const auto stream = cut > 0 ? streamIn(afterWrites(bytes, {&torn, 1})) : states[state];
                ASSERT_NE(std::find(states.begin() + static_cast<std::ptrdiff_t>(state), states.end(), stream), states.end())
                    << "torn at " << prefix << ", " << cut << " bytes at " << torn.offset << ": " << stateOf(states, stream);
            }
            bytes = afterWrites(std::move(bytes), {&writes[prefix - 1], 1});
        }
        const auto stream = streamIn(bytes);
        const auto found = std::find(states.begin() + static_cast<std::ptrdiff_t>(state), states.end(), stream);
        ASSERT_NE(found, states.end()) << prefix << " of " << writes.size() << " behind state " << state << ": " << stateOf(states, stream);
        state = static_cast<std::size_t>(found - states.begin());
    }
    EXPECT_EQ(state, states.size() - 1);
    EXPECT_EQ(lost_, 0);
}

}  // namespace
