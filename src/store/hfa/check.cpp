#include "store/hfa/activity.h"
#include "store/hfa/bytes.h"
#include "store/hfa/host_record.h"
#include "store/hfa/runs.h"

#include <algorithm>
#include <cstring>

namespace emantle::hfa {

namespace {

/* Thrown where the caller ends the check. */
struct Ended {};

struct Claim {
    uint64_t start;
    uint64_t end;
    bool free;
};

class Checker {
public:
    Checker(Handle& handle, Ehfa_CheckFunction function, void* data, Ehfa_CheckTotals& totals, EerrException& scope)
        : handle_(handle), function_(function), data_(data), totals_(totals), scope_(scope)
    {
    }

    void run()
    {
        totals_ = Ehfa_CheckTotals{};
        totals_.fileSize = handle_.fileEnd;
        checkHeader();
        checkTree();
        checkFreeList();
        weigh();
    }

private:
    struct Level {
        uint32_t position;
        uint32_t next;
    };

    void tell(const Ehfa_CheckItem& item)
    {
        totals_.findings += item.finding != nullptr ? 1 : 0;
        if (function_ != nullptr && function_(&item, data_) == 0) {
            throw Ended();
        }
    }

    void piece(int32_t kind, uint64_t position, int64_t size, const char* type, const char* finding = nullptr)
    {
        tell({kind, static_cast<uint32_t>(position), size, kind >= EHFA_BLOCK_ENTRY && kind <= EHFA_BLOCK_RUN ? path_.text().c_str() : "",
              type, finding});
    }

    void finding(int32_t kind, uint64_t position, int64_t size, const char* type, const std::string& text)
    {
        piece(kind, position, size, type, text.c_str());
    }

    /* A piece that lies in the file. */
    void claim(int32_t kind, uint64_t position, uint64_t size, const char* type)
    {
        piece(kind, position, static_cast<int64_t>(size), type);
        claims_.push_back({position, std::min<uint64_t>(position + size, handle_.fileEnd), kind == EHFA_BLOCK_FREE});
    }

    void checkHeader();
    void checkTree();
    void checkEntry(uint32_t position, const Ehfa_Entry& entry);
    void checkData(const Ehfa_Entry& entry);
    void checkAgainstDesign(const Ehfa_Entry& entry);
    void checkFreeList();
    void weigh();
    bool readRaw(uint32_t position, Ehfa_Entry& entry);
    bool enter(uint32_t position, uint32_t parent, uint32_t prev, uint32_t from, const char* link, Ehfa_Entry& entry);

    Handle& handle_;
    Ehfa_CheckFunction function_;
    void* data_;
    Ehfa_CheckTotals& totals_;
    EerrException& scope_;
    Path path_;
    std::vector<Claim> claims_;
};

void Checker::checkHeader()
{
    claim(EHFA_BLOCK_TAG, 0, handle_.headerPtr <= kHeaderPosition ? handle_.headerPtr : kTagSize, "Ehfa_HeaderTag");
    claim(EHFA_BLOCK_HEADER, handle_.headerPtr, kHeaderSize, "Ehfa_File");
    if (handle_.version != 1) {
        finding(EHFA_BLOCK_HEADER, handle_.headerPtr, kHeaderSize, "",
                formatted("the version is %ld", static_cast<long>(handle_.version)));
    }
    if (handle_.entryHeaderLength != static_cast<int16_t>(kEntrySize)) {
        finding(EHFA_BLOCK_HEADER, handle_.headerPtr, kHeaderSize, "",
                formatted("entries are said to have %d bytes", int{handle_.entryHeaderLength}));
    }
    for (const Emif_Design* design = handle_.dictionary->first; design != nullptr; design = design->next) {
        ++totals_.designs;
    }
    if (handle_.dictionaryPtr == 0) {
        return;
    }
    if (handle_.dictionaryLength > 0) {
        claim(EHFA_BLOCK_DICTIONARY, handle_.dictionaryPtr,
              std::max<uint64_t>(kNodeSize, static_cast<uint64_t>(handle_.dictionaryLength)), "");
    } else {
        finding(EHFA_BLOCK_DICTIONARY, handle_.dictionaryPtr, 0, "", "the dictionary is damaged; its end is unknown");
    }
}

/* The entry as the file has it, past what is kept in memory. */
bool Checker::readRaw(uint32_t position, Ehfa_Entry& entry)
{
    if (!isAllocatable(handle_, position, kEntrySize)) {
        return false;
    }
    EntryBytes bytes;
    readBytes(handle_, position, bytes.data(), bytes.size(), scope_);
    entry = decodedEntry(bytes.data());
    return true;
}

/* Follows a link to an entry that links back; else that is a finding at the entry `from`, and the walk stays. */
bool Checker::enter(uint32_t position, uint32_t parent, uint32_t prev, uint32_t from, const char* link,
                    Ehfa_Entry& entry)
{
    if (position == 0) {
        return false;
    }
    const bool isRoomLeft = totals_.entries <= handle_.fileEnd / kEntrySize;
    if (isRoomLeft && position != handle_.rootEntryPtr && readRaw(position, entry) && entry.parent == parent && entry.prev == prev) {
        return true;
    }
    finding(EHFA_BLOCK_ENTRY, from, kEntrySize, "",
            formatted("the link %s leads to %ld, where its entry is not", link, static_cast<long>(position)));
    return false;
}

void Checker::checkTree()
{
    Ehfa_Entry entry{};
    if (!readRaw(handle_.rootEntryPtr, entry)) {
        finding(EHFA_BLOCK_ENTRY, handle_.rootEntryPtr, kEntrySize, "root", "the root does not lie in the file");
        return;
    }
    if (entry.parent != 0 || entry.next != 0 || entry.prev != 0) {
        finding(EHFA_BLOCK_ENTRY, handle_.rootEntryPtr, kEntrySize, "root", "the root has links to siblings or a parent");
    }
    checkEntry(handle_.rootEntryPtr, entry);
    std::vector<Level> above;
    uint32_t position = handle_.rootEntryPtr;
    uint32_t next = 0;
    for (;;) {
        Ehfa_Entry child{};
        if (path_.depth() < kDepthLimit && enter(entry.child, position, 0, position, "child", child)) {
            above.push_back({position, next});
            position = entry.child;
        } else {
            while (!above.empty()) {
                const bool hasNext = enter(next, above.back().position, position, position, "next", child);
                path_.pop();
                if (hasNext) {
                    position = next;
                    break;
                }
                position = above.back().position;
                next = above.back().next;
                above.pop_back();
            }
            if (above.empty()) {
                return;
            }
        }
        entry = child;
        next = entry.next;
        path_.push(entry.name);
        checkEntry(position, entry);
    }
}

void Checker::checkEntry(uint32_t position, const Ehfa_Entry& entry)
{
    ++totals_.entries;
    claim(EHFA_BLOCK_ENTRY, position, entryBlockSize(handle_), entry.type);
    if (path_.depth() > 0 && (entry.name[0] == '\0' || std::strchr(entry.name, ':') != nullptr)) {
        finding(EHFA_BLOCK_ENTRY, position, kEntrySize, entry.type, "no path leads to an entry of this name");
    }
    if (entry.child != 0 && path_.depth() >= kDepthLimit) {
        finding(EHFA_BLOCK_ENTRY, position, kEntrySize, entry.type, "the tree is too deep to go on");
    }
    checkData(entry);
}

void Checker::checkData(const Ehfa_Entry& entry)
{
    if (entry.dataSize == 0) {
        return;
    }
    if (entry.dataSize < 0 || !isAllocatable(handle_, entry.data, static_cast<uint64_t>(entry.dataSize))) {
        totals_.damaged += std::max<int64_t>(0, entry.dataSize);
        finding(EHFA_BLOCK_DATA, entry.data, entry.dataSize, entry.type, "the data do not lie in the file");
        return;
    }
    ++totals_.objects;
    claim(EHFA_BLOCK_DATA, entry.data, std::max<uint64_t>(kNodeSize, static_cast<uint64_t>(entry.dataSize)), entry.type);
    checkAgainstDesign(entry);
    std::string damage;
    for (const Run& run : runsOf(handle_, entry, damage, scope_)) {
        if (run.size > 0 && isAllocatable(handle_, run.position, static_cast<uint64_t>(run.size))) {
            claim(EHFA_BLOCK_RUN, run.position, std::max<uint64_t>(kNodeSize, static_cast<uint64_t>(run.size)), entry.type);
        } else {
            totals_.damaged += std::max<int64_t>(0, run.size);
            finding(EHFA_BLOCK_RUN, run.position, run.size, entry.type, "the block does not lie in the file");
        }
    }
    if (!damage.empty()) {
        finding(EHFA_BLOCK_DATA, entry.data, entry.dataSize, entry.type, "the object " + damage);
    }
}

/* Reads the object as any reader would. */
void Checker::checkAgainstDesign(const Ehfa_Entry& entry)
{
    const Emif_Design* design = emif_FindDesignByName(handle_.dictionary, entry.type, nullptr);
    if (design == nullptr) {
        finding(EHFA_BLOCK_DATA, entry.data, entry.dataSize, entry.type, "the dictionary has no design of this type");
        return;
    }
    EerrException unheard;
    long size = 0;
    try {
        const HostRecord record(handle_, design, unheard);
        if (record.get() != nullptr) {
            size = readRecord(handle_, entry.data, design, record.get(), unheard);
        }
    } catch (...) {
        finding(EHFA_BLOCK_DATA, entry.data, entry.dataSize, entry.type, "the data do not fit their design");
        unheard.Clear();
        return;
    }
    unheard.Clear();
    if (size > entry.dataSize) {
        finding(EHFA_BLOCK_DATA, entry.data, entry.dataSize, entry.type,
                formatted("the design takes %ld bytes", size));
    }
}

void Checker::checkFreeList()
{
    handle_.freeBlocks.load(handle_, Teller::nobody, scope_);
    handle_.freeBlocks.forEach([&](FreeBlock block) {
        ++totals_.freeBlocks;
        claim(EHFA_BLOCK_FREE, block.position, block.size, "Ehfa_FreeListNode");
    });
    /* What the dictionary has moved out of is free with the next flush. */
    if (handle_.oldDictionary.size > 0) {
        claim(EHFA_BLOCK_FREE, handle_.oldDictionary.position, handle_.oldDictionary.size, "");
    }
    if (handle_.freeBlocks.isDamaged()) {
        const FreeBlock last = handle_.freeBlocks.last();
        const uint32_t place = last.size == 0 ? handle_.headerPtr : last.position;
        finding(EHFA_BLOCK_FREE, place, kNodeSize, "", "the free list is damaged behind this place");
    }
}

/* Lays the claims side by side: what two pieces claim is damage, what nobody claims is lost. */
void Checker::weigh()
{
    std::ranges::sort(claims_, {}, &Claim::start);
    path_.clear();
    uint64_t liveEnd = 0;
    uint64_t coveredEnd = 0;
    uint64_t live = 0;
    std::vector<Claim> gaps;
    for (const Claim& claim : claims_) {
        if (claim.start < coveredEnd) {
            const uint64_t common = std::min(claim.end, coveredEnd) - claim.start;
            totals_.damaged += static_cast<int64_t>(common);
            finding(claim.free ? EHFA_BLOCK_FREE : EHFA_BLOCK_NOTHING, claim.start, static_cast<int64_t>(common), "",
                    "these bytes belong to two pieces of the file");
        } else if (claim.start > coveredEnd) {
            gaps.push_back({coveredEnd, claim.start, false});
        }
        coveredEnd = std::max(coveredEnd, claim.end);
        if (!claim.free && claim.end > liveEnd) {
            live += claim.end - std::max(claim.start, liveEnd);
            liveEnd = claim.end;
        }
    }
    if (coveredEnd < handle_.fileEnd) {
        gaps.push_back({coveredEnd, handle_.fileEnd, false});
    }
    uint64_t lost = 0;
    for (const Claim& gap : gaps) {
        lost += gap.end - gap.start;
    }
    totals_.live = static_cast<int64_t>(live);
    totals_.lost = static_cast<int64_t>(lost);
    totals_.free = totals_.fileSize - totals_.live - totals_.lost;
    for (const Claim& gap : gaps) {
        piece(EHFA_BLOCK_LOST, gap.start, static_cast<int64_t>(gap.end - gap.start), "");
    }
}

}  // namespace

}  // namespace emantle::hfa

using namespace emantle;
using namespace emantle::hfa;

EMANTLE_API Emsc_Boolean ehfa_FileCheck(Ehfa_File* file, Ehfa_CheckFunction function, void* data,
                                        Ehfa_CheckTotals* totals, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "ehfa_FileCheck", 0, [&](EerrException& scope) {
        Handle& handle = opened(file);
        require(totals != nullptr, "Args");
        Activity activity(handle, scope);
        try {
            Checker(handle, function, data, *totals, scope).run();
        } catch (const Ended&) {
        }
        return 1;
    });
}
