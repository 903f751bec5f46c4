#pragma once

#include "store/hfa/store_fixture.h"

#include "platform/faults.h"

#include <map>
#include <set>

// What a crash leaves of a store, and what a reader then sees.

using emantle::platform::afterWrites;
using emantle::platform::RecordedWrite;
using emantle::platform::WriteRecorder;

/* What a reader sees of a store: each path with its type and data, or the values of a column, or the stream of a block
 * store. */
using Contents = std::map<std::string, std::string>;

inline std::string streamOf(Ehfa_File* file, std::string path)
{
    path.pop_back();
    Report report;
    Ehfa_Cache* cache = ehfa_CacheOpen(file, ("(" + path + ")").c_str(), report);
    if (cache == nullptr) {
        return "no stream: " + told(report);
    }
    std::string stream(static_cast<std::size_t>(cache->byteCount), '\0');
    const long size = ehfa_CacheRead(cache, stream.data(), cache->byteCount, report);
    ehfa_CacheFree(cache);
    return "stream " + (size == static_cast<long>(stream.size()) ? stream : "unreadable: " + told(report));
}

inline Contents contentsOf(Ehfa_File* file)
{
    Contents contents;
    Report report;
    EstrStringList paths(ehfa_ObjectList(file, ":", nullptr, nullptr, report));
    for (int i = 0; paths != static_cast<Estr_StringList*>(nullptr) && i < paths->count; ++i) {
        Report one;
        void* data = nullptr;
        int32_t size = 0;
        const char* type =
            ehfa_ObjectDataReadIfPresent(file, paths->strings[i], nullptr, EHFA_SEEK_BACK, &data, &size, nullptr, one);
        std::string& text = contents[paths->strings[i]];
        text = std::string(type != nullptr ? type : told(one)) + '|';
        if (data != nullptr) {
            text.append(static_cast<const char*>(data), static_cast<std::size_t>(size));
        }
        if (type != nullptr && std::strcmp(type, "Edsc_Column") == 0 && size >= 8) {
            const auto* words = static_cast<const int32_t*>(data);
            std::string values(static_cast<std::size_t>(words[0]) * 8, '\0');
            Report run;
            if (words[0] > 0 && ehfa_FileMIFDataRead(file, words[1], long{words[0]} * 8, values.data(), run) != nullptr) {
                text = "values " + values;
            }
        }
        if (type != nullptr && std::strcmp(type, "Ehfa_CacheNode") == 0) {
            text = streamOf(file, paths->strings[i]);
        }
        emsc_HeapFree(data);
    }
    for (const Emif_Design* design = file->dictionary->first; design != nullptr; design = design->next) {
        contents["design " + std::string(design->name)];
    }
    return contents;
}

class ACrash : public StoreTest {
protected:
    ACrash() { restored_ = directory_ + "/crashed.img"; }

    Contents read(const std::string& name, const char* mode)
    {
        Report report;
        Ehfa_File* file = ehfa_FileOpen(name.c_str(), mode, eint_GetInit(), report);
        EXPECT_NE(file, nullptr) << told(report);
        if (file == nullptr) {
            return {};
        }
        Contents contents = contentsOf(file);
        Ehfa_CheckTotals totals;
        std::string findings;
        ehfa_FileCheck(
            file,
            [](const Ehfa_CheckItem* item, void* data) -> Emsc_Boolean {
                if (item->finding != nullptr && std::strstr(item->finding, "no design") == nullptr) {
                    *static_cast<std::string*>(data) += std::string(item->path) + " " + item->finding + "\n";
                }
                return 1;
            },
            &findings, &totals, nullptr);
        EXPECT_EQ(findings, "");
        lost_ = totals.lost;
        Report closing;
        ehfa_FileClose(file, closing);
        EXPECT_EQ(told(closing), "");
        return contents;
    }

    /* A crash that leaves `bytes`: the store is as it was before the work, or as it is after it. */
    bool holds(const std::vector<std::byte>& bytes, const Contents& before, const Contents& after)
    {
        Bytes plain(bytes.size());
        std::memcpy(plain.data(), bytes.data(), bytes.size());
        putBytes(restored_, plain);
        const Contents seen = read(restored_, "r");
        const bool unchanged = bytesOf(restored_) == plain;
        EXPECT_TRUE(unchanged) << "reading changed the file";
        const Contents opened = read(restored_, "r+b");
        EXPECT_EQ(seen, opened);
        const bool isTold = !seen.contains(":Fresh:") || seen.contains("design Fresh");
        EXPECT_TRUE(isTold) << "an object without its design";
        return (seen == before || seen == after) && seen == opened && unchanged && isTold;
    }

    /* Every prefix of the writes, with the last one whole, and cut at each 512 bytes and in its middle. */
    void replay(const std::vector<std::byte>& bytes, const std::vector<RecordedWrite>& writes, const Contents& before,
                const Contents& after, const char* name)
    {
        for (std::size_t count = 0; count <= writes.size(); ++count) {
            std::vector<RecordedWrite> prefix(writes.begin(), writes.begin() + static_cast<long>(count));
            ASSERT_TRUE(holds(afterWrites(bytes, prefix), before, after)) << name << " after write " << count;
            if (count == 0) {
                continue;
            }
            const std::vector<std::byte> whole = prefix.back().bytes;
            std::set<std::size_t> cuts{whole.size() / 2};
            for (std::size_t cut = 512; cut < whole.size(); cut += 512) {
                cuts.insert(cut);
            }
            for (const std::size_t cut : cuts) {
                if (cut > 0 && cut < whole.size()) {
                    prefix.back().bytes.assign(whole.begin(), whole.begin() + static_cast<long>(cut));
                    ASSERT_TRUE(holds(afterWrites(bytes, prefix), before, after))
                        << name << ": write " << count << " of " << whole.size() << " bytes cut at " << cut;
                }
            }
        }
    }

    static std::vector<std::byte> bytesNow(const std::string& name)
    {
        const Bytes plain = bytesOf(name);
        std::vector<std::byte> bytes(plain.size());
        std::memcpy(bytes.data(), plain.data(), plain.size());
        return bytes;
    }

    std::string restored_;
    int64_t lost_ = 0;
};
