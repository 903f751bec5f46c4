#include "store/hfa/journal.h"

#include "files/efio/record.h"
#include "store/hfa/bytes.h"
#include "store/hfa/checksum.h"

#include <emantle/files/efio.h>
#include <algorithm>
#include <cstring>

namespace emantle::hfa {

namespace {

constexpr char kFillMagic[] = "FILL";
constexpr char kRedoMagic[] = "REDO";
constexpr uint32_t kChangeHead = 8; /* position and size of a change, in a record */
/* Bytes that are written with a record behind them rather than for themselves. */
constexpr uint64_t kMostJoined = uint64_t{1} << 18;
/* A call that makes no more pieces of new bytes has neighbours among them written at once. */
constexpr std::size_t kFewPieces = 4;
/* Shorter stretches of free bytes take the way of old bytes: one write more for each would cost more. */
constexpr uint32_t kLeastStretch = 16384;

/* Places of the fields of both parts of the gap; the last field of each is its own checksum. */
enum : std::size_t { kAtPosition = 4, kAtSize = 8, kAtFillSum = 12, kAtEnd = 12, kAtSum = 16, kAtRedoSum = 20 };

}  // namespace

std::array<unsigned char, Journal::kRedoSize> Journal::redoPart(const Record& record)
{
    std::array<unsigned char, kRedoSize> part{};
    std::memcpy(part.data(), kRedoMagic, kAtPosition);
    encode32(record.position, part.data() + kAtPosition);
    encode32(static_cast<uint32_t>(record.bytes.size()), part.data() + kAtSize);
    encode32(record.end, part.data() + kAtEnd);
    encode32(checksum(record.bytes.data(), record.bytes.size()), part.data() + kAtSum);
    encode32(checksum(part.data(), kAtRedoSum), part.data() + kAtRedoSum);
    return part;
}

/* What the gap says of bytes that are to be zeros; false where it says nothing of a file of `size` bytes. */
bool Journal::readFill(const unsigned char* gap, uint64_t size, Span& fill)
{
    if (std::memcmp(gap, kFillMagic, kAtPosition) != 0 || decoded32(gap + kAtFillSum) != checksum(gap, kAtFillSum)) {
        return false;
    }
    fill.start = decoded32(gap + kAtPosition);
    fill.end = fill.start + decoded32(gap + kAtSize);
    return fill.start >= kGapPosition + kGapSize && fill.end <= size;
}

/* The changes of a record; false where it cannot be one. */
bool Journal::parse(const Record& record, std::vector<Change>& changes)
{
    const unsigned char* bytes = record.bytes.data();
    std::size_t left = record.bytes.size();
    while (left >= kChangeHead) {
        const Change change{decoded32(bytes), decoded32(bytes + 4), bytes + kChangeHead};
        const uint64_t end = uint64_t{change.position} + change.size;
        const bool clearOfGap = end <= kGapPosition || change.position >= kGapPosition + kGapSize;
        if (change.size > left - kChangeHead || end > record.end || !clearOfGap) {
            return false;
        }
        changes.push_back(change);
        bytes += kChangeHead + change.size;
        left -= kChangeHead + change.size;
    }
    return left == 0;
}

/* Reads what the gap leads to. Another process may be emptying the gap at this moment: what is unsound is looked at
 * again while it changes. */
bool Journal::readRecord(Handle& handle, Record& record, EerrException& scope)
{
    files::OpenFile& file = *files::opened(handle.file);
    const auto read = [&](void* bytes, uint64_t size, uint64_t position) {
        int64_t done = 0;
        files::readSystem(file, bytes, static_cast<int64_t>(size), static_cast<int64_t>(position), done, scope);
        check(scope, "efio_ReadSeq failed");
        return static_cast<uint64_t>(done) == size;
    };
    Gap before{};
    for (int turn = 0; turn < 8; ++turn) {
        Gap gap{};
        if (!read(gap.data(), gap.size(), kGapPosition) || (turn > 0 && gap == before)) {
            return false;
        }
        before = gap;
        const unsigned char* part = gap.data() + kFillSize;
        if (std::memcmp(part, kRedoMagic, kAtPosition) != 0 || decoded32(part + kAtRedoSum) != checksum(part, kAtRedoSum)) {
            continue;
        }
        const uint32_t size = decoded32(part + kAtSize);
        record.position = decoded32(part + kAtPosition);
        record.end = decoded32(part + kAtEnd);
        const int64_t there = file.system.size();
        if (there < 0 || size > static_cast<uint64_t>(there) || record.end > kFileLimit) {
            continue;
        }
        record.bytes = Bytes(size);
        std::vector<Change> changes;
        if (read(record.bytes.data(), size, record.position) &&
            checksum(record.bytes.data(), size) == decoded32(part + kAtSum) && parse(record, changes)) {
            return true;
        }
    }
    return false;
}

void Journal::start(Handle& handle, EerrException& scope)
{
    handle.pages.forget();
    const int64_t size = checked(scope, efio_FileSizeGetByHandle(handle.file, scope));
    handle.pages.setOnDisk(static_cast<uint64_t>(std::max<int64_t>(0, size)));
    *this = Journal();
    unsigned char tag[kTagSize + kGapSize] = {};
    if (size < int64_t{sizeof tag}) {
        committedEnd_ = handle.pages.onDisk();
        return;
    }
    handle.pages.read(handle.file, 0, tag, sizeof tag, scope);
    hasGap_ = decoded32(tag + kTagSize - 4) >= kGapPosition + kGapSize;
    const bool isIdle = std::all_of(tag + kTagSize, std::end(tag), [](unsigned char byte) { return byte == 0; });
    Record record;
    if (!hasGap_ || isIdle || !readRecord(handle, record, scope)) {
        gapIsDirty_ = hasGap_ && !isIdle;
        committedEnd_ = handle.pages.onDisk();
        if (gapIsDirty_ && readFill(tag + kTagSize, committedEnd_, fill_)) {
            handle.pages.forget();
            handle.pages.hide(fill_.start, fill_.end);
            if (handle.readOnly == 0) {
                undoFill(handle, scope);
            }
        }
        return;
    }
    committedEnd_ = record.end;
    if (handle.readOnly == 0) {
        pending_ = std::move(record);
        tidy(handle, scope);
        handle.pages.forget();
        return;
    }
    std::vector<Change> changes;
    parse(record, changes);
    handle.pages.setOnDisk(std::min<uint64_t>(handle.pages.onDisk(), record.end));
    for (const Change& change : changes) {
        handle.pages.write(handle.file, change.position, change.bytes, change.size, scope);
    }
    handle.pages.beginStep();
}

void Journal::write(Handle& handle, uint64_t position, const unsigned char* bytes, std::size_t size, EerrException& scope)
{
    asFunction(scope, "efio_WriteSeq", "efio_WriteSeq failed", [&] {
        int64_t done = 0;
        files::writeSystem(*files::opened(handle.file), bytes, static_cast<int64_t>(size),
                           static_cast<int64_t>(position), done, scope);
        handle.pages.setOnDisk(std::max<uint64_t>(handle.pages.onDisk(), position + static_cast<uint64_t>(done)));
        check(scope, "Could not write %ld bytes to %s", static_cast<long>(size), handle.nameText.c_str());
    });
}

void Journal::truncate(Handle& handle, uint64_t end, EerrException& scope)
{
    if (end == handle.pages.onDisk()) {
        return;
    }
    asFunction(scope, "efio_FileWriteDirect", "efio_FileWriteDirect failed", [&] {
        const int failure = files::opened(handle.file)->system.truncate(end);
        require(failure == 0, "Could not bring %s to %ld bytes\nError %d", handle.nameText.c_str(), static_cast<long>(end),
                failure);
    });
    handle.pages.setOnDisk(end);
}

void Journal::emptyGap(Handle& handle, EerrException& scope)
{
    const Gap nothing{};
    gapIsDirty_ = true;
    write(handle, kGapPosition, nothing.data(), nothing.size(), scope);
    gapIsDirty_ = false;
}

/* Puts what is pending in place: the changes of its record, or the same ones in larger pieces. */
void Journal::finishPending(Handle& handle, const std::vector<Change>& changes, EerrException& scope)
{
    for (const Change& change : changes) {
        write(handle, change.position, change.bytes, change.size, scope);
    }
    /* The record goes before the gap does: a gap that leads nowhere is no record. */
    if (pending_.end < handle.pages.onDisk()) {
        truncate(handle, pending_.end, scope);
    }
    emptyGap(handle, scope);
    pending_ = Record();
}

void Journal::noteAllocated(uint64_t start, uint64_t size)
{
    if (size >= kAtOnce) {
        virgin_.push_back({start, start + size});
    }
}

void Journal::useVirgin(uint64_t start, uint64_t end)
{
    for (std::size_t i = 0; i < virgin_.size(); ++i) {
        Span& span = virgin_[i];
        if (start < span.end && end > span.start) {
            (start <= span.start ? span.start : span.end) = start <= span.start ? std::min(end, span.end) : start;
        }
    }
    std::erase_if(virgin_, [](const Span& span) { return span.end - span.start < kAtOnce; });
}

const Journal::Span* Journal::virginAround(uint64_t start, uint64_t end) const
{
    for (const Span& span : virgin_) {
        if (start >= span.start && end <= span.end) {
            return &span;
        }
    }
    return nullptr;
}

/* Lets the gap say that these bytes are zeros whatever they hold, until the call has been made. */
bool Journal::beginFill(Handle& handle, uint64_t start, uint64_t end, EerrException& scope)
{
    if (fill_.end != 0) {
        return start >= fill_.start && end <= fill_.end;
    }
    const Span* around = virginAround(start, end);
    if (around == nullptr || !hasGap_ || gathers(handle)) {
        return false;
    }
    unsigned char part[kFillSize] = {};
    std::memcpy(part, kFillMagic, kAtPosition);
    encode32(static_cast<uint32_t>(start), part + kAtPosition);
    encode32(static_cast<uint32_t>(around->end - start), part + kAtSize);
    encode32(checksum(part, kAtFillSum), part + kAtFillSum);
    fill_ = {start, around->end};
    gapIsDirty_ = true;
    write(handle, kGapPosition, part, sizeof part, scope);
    gapIsDirty_ = false;
    return true;
}

void Journal::undoFill(Handle& handle, EerrException& scope)
{
    if (fill_.end == 0) {
        return;
    }
    fillIsStale_ = true;
    /* A record that the call may have left behind must not find its bytes gone. */
    const unsigned char nothing[kRedoSize] = {};
    write(handle, kGapPosition + kFillSize, nothing, sizeof nothing, scope);
    virgin_.clear();
    handle.pages.hide(fill_.start, fill_.end);
    const uint64_t end = handle.pages.onDisk();
    if (fill_.end >= end) {
        truncate(handle, std::min(fill_.start, end), scope);
        truncate(handle, end, scope);
    } else {
        const std::vector<unsigned char> zeros(std::min<uint64_t>(fill_.end - fill_.start, kMostJoined));
        for (uint64_t at = fill_.start; at < fill_.end; at += zeros.size()) {
            write(handle, at, zeros.data(), std::min<uint64_t>(zeros.size(), fill_.end - at), scope);
        }
    }
    emptyGap(handle, scope);
    fill_ = Span();
    fillIsStale_ = false;
    handle.pages.hide(0, 0);
}

void Journal::tidy(Handle& handle, EerrException& scope)
{
    if (fillIsStale_) {
        undoFill(handle, scope);
    }
    if (!pending_.bytes.empty()) {
        std::vector<Change> changes;
        parse(pending_, changes);
        finishPending(handle, changes, scope);
    }
    if (gapIsDirty_) {
        emptyGap(handle, scope);
    }
}

void Journal::trim(Handle& handle, EerrException& scope)
{
    const uint64_t end = std::max<uint64_t>(committedEnd_, handle.fileEnd);
    if (pending_.bytes.empty() && handle.pages.onDisk() > end) {
        truncate(handle, end, scope);
    }
}

void Journal::clearBehindEnd(Handle& handle, EerrException& scope)
{
    const uint64_t end = std::max<uint64_t>(committedEnd_, handle.fileEnd);
    const uint64_t onDisk = handle.pages.onDisk();
    if (onDisk <= end) {
        return;
    }
    tidy(handle, scope);
    trim(handle, scope);
    handle.pages.hide(end, onDisk); /* the pages may have read it */
    handle.pages.hide(0, 0);
}

bool Journal::writeMuchAtOnce(Handle& handle, uint64_t position, const void* bytes, std::size_t size, EerrException& scope)
{
    const bool isNew = position >= std::max<uint64_t>(committedEnd_, handle.step.fileEnd) ||
                       handle.freeBlocks.tookSinceStep(position, position + size);
    const uint64_t end = position + size;
    if (handle.readOnly != 0 || (!isNew && virginAround(position, end) == nullptr)) {
        noteUsed(position, end);
        return false;
    }
    tidy(handle, scope);
    if (!isNew && position < committedEnd_ && !beginFill(handle, position, end, scope)) {
        noteUsed(position, end);
        return false;
    }
    noteUsed(position, end);
    write(handle, position, static_cast<const unsigned char*>(bytes), size, scope);
    handle.pages.noteWritten(position, bytes, size);
    return true;
}

/* Tells the changed bytes that no structure of the file leads to from those that one does. */
void Journal::split(Handle& handle, std::vector<Change>& fresh, std::vector<Change>& inPlace)
{
    std::vector<Pages::Piece> pieces;
    handle.pages.changed(pieces, handle.fileEnd);
    std::vector<FreeList::Stretch> taken = handle.freeBlocks.takenBytes(kLeastStretch);
    if (committedEnd_ < handle.fileEnd) {
        taken.push_back({committedEnd_, handle.fileEnd});
    }
    std::size_t at = 0;
    const auto put = [](std::vector<Change>& list, const Pages::Piece& piece, uint64_t from, uint64_t to) {
        const unsigned char* bytes = piece.bytes + (from - piece.start);
        /* The tag stays alone: that of a new file is written for itself. */
        if (from < to && from != kGapPosition && !list.empty() && list.back().position + uint64_t{list.back().size} == from &&
            list.back().bytes + list.back().size == bytes) {
            list.back().size += static_cast<uint32_t>(to - from);
        } else if (from < to) {
            list.push_back({static_cast<uint32_t>(from), static_cast<uint32_t>(to - from), bytes});
        }
    };
    const auto sort = [&](const Pages::Piece& piece, uint64_t from, uint64_t to) {
        while (from < to) {
            while (at < taken.size() && taken[at].end <= from) {
                ++at;
            }
            const bool isNew = at < taken.size() && taken[at].start <= from;
            const uint64_t bound = at == taken.size() ? to : std::min(to, isNew ? taken[at].end : taken[at].start);
            put(isNew ? fresh : inPlace, piece, from, bound);
            from = bound;
        }
    };
    for (const Pages::Piece& piece : pieces) {
        const uint64_t end = piece.start + piece.size;
        sort(piece, piece.start, std::min<uint64_t>(end, kGapPosition));
        sort(piece, std::max<uint64_t>(piece.start, hasGap_ ? kGapPosition + kGapSize : kGapPosition), end);
    }
}

void Journal::writeFresh(Handle& handle, const std::vector<Change>& fresh, EerrException& scope)
{
    /* The tag of a new file goes last: without it the file is no store. */
    const bool hasTag = !fresh.empty() && fresh.front().position == 0;
    std::vector<unsigned char> joined;
    for (std::size_t i = hasTag ? 1 : 0; i < fresh.size(); ++i) {
        const Change* next = i + 1 < fresh.size() ? &fresh[i + 1] : nullptr;
        /* Of a single object that lies in two pieces of memory. */
        if (next != nullptr && fresh.size() <= kFewPieces && fresh[i].position + uint64_t{fresh[i].size} == next->position) {
            joined.assign(fresh[i].bytes, fresh[i].bytes + fresh[i].size);
            joined.insert(joined.end(), next->bytes, next->bytes + next->size);
            write(handle, fresh[i].position, joined.data(), joined.size(), scope);
            ++i;
        } else {
            write(handle, fresh[i].position, fresh[i].bytes, fresh[i].size, scope);
        }
    }
    if (handle.pages.onDisk() < handle.fileEnd) {
        truncate(handle, handle.fileEnd, scope);
    }
    if (hasTag) {
        write(handle, fresh[0].position, fresh[0].bytes, fresh[0].size, scope);
    }
}

/* Changes in place of a file without a gap: it keeps no promise but the order. */
void Journal::writeUnguarded(Handle& handle, const std::vector<Change>& inPlace, EerrException& scope)
{
    for (const Change& change : inPlace) {
        write(handle, change.position, change.bytes, change.size, scope);
    }
}

/* Writes the record of the changes, behind the last new bytes where it can, and then the gap that leads to it. */
void Journal::writeRecord(Handle& handle, std::vector<Change>& fresh, const std::vector<Change>& inPlace,
                          EerrException& scope)
{
    Record record;
    record.end = handle.fileEnd;
    const auto forEachChange = [&](auto&& take) {
        for (const Change& change : inPlace) {
            handle.pages.changedIn(change.position, uint64_t{change.position} + change.size, take);
        }
    };
    std::size_t size = 0;
    forEachChange([&](const Pages::Piece& change) { size += kChangeHead + change.size; });
    const auto behind = std::max<uint64_t>(committedEnd_, handle.fileEnd);
    const uint32_t idle = size <= kFileLimit ? handle.freeBlocks.idleBytes(static_cast<uint32_t>(size)) : 0;
    require(behind + size <= UINT32_MAX, "The changes of %s take %lu bytes", handle.nameText.c_str(),
            static_cast<unsigned long>(size));
    record.position = idle != 0 ? idle : static_cast<uint32_t>(behind);

    const bool joins = !fresh.empty() && fresh.back().size <= kMostJoined && fresh.back().position != 0 &&
                       uint64_t{fresh.back().position} + fresh.back().size == record.position;
    std::vector<unsigned char> lead;
    if (joins) {
        lead.assign(fresh.back().bytes, fresh.back().bytes + fresh.back().size);
    }
    record.bytes = Bytes(size);
    unsigned char* to = record.bytes.data();
    forEachChange([&](const Pages::Piece& change) {
        encode32(static_cast<uint32_t>(change.start), to);
        encode32(static_cast<uint32_t>(change.size), to + 4);
        std::memcpy(to + kChangeHead, change.bytes, change.size);
        to += kChangeHead + change.size;
    });
    if (joins) {
        const uint32_t position = fresh.back().position;
        fresh.pop_back();
        lead.insert(lead.end(), record.bytes.data(), record.bytes.data() + record.bytes.size());
        for (const Change& change : fresh) {
            write(handle, change.position, change.bytes, change.size, scope);
        }
        write(handle, position, lead.data(), lead.size(), scope);
    } else {
        writeFresh(handle, fresh, scope);
        write(handle, record.position, record.bytes.data(), record.bytes.size(), scope);
    }
    if (idle != 0) {
        handle.pages.noteWritten(record.position, record.bytes.data(), record.bytes.size());
    }

    const auto part = redoPart(record);
    gapIsDirty_ = true;
    write(handle, kGapPosition + kFillSize, part.data(), part.size(), scope);
    gapIsDirty_ = false;
    fill_ = Span();
    pending_ = std::move(record);
}

bool Journal::isIdle(const Handle& handle) const
{
    return handle.pages.changedBytes() == 0 && !handle.freeBlocks.isChanged() && !handle.headerHeldBack &&
           handle.fileEnd == committedEnd_ && pending_.bytes.empty() && fill_.end == 0;
}

void Journal::commit(Handle& handle, EerrException& scope)
{
    wasMade_ = false;
    if (isIdle(handle)) {
        return;
    }
    tidy(handle, scope);
    handle.freeBlocks.writeNodes(handle, scope);
    if (handle.headerHeldBack) {
        asFunction(scope, "ehfa_HeaderReWrite", "Header rewrite failed", [&] {
            const auto bytes = encodedHeader(handle);
            handle.pages.write(handle.file, handle.headerPtr, bytes.data(), bytes.size(), scope);
        });
    }
    std::vector<Change> fresh;
    std::vector<Change> inPlace;
    split(handle, fresh, inPlace);
    if (inPlace.empty() || !hasGap_) {
        writeFresh(handle, fresh, scope);
        writeUnguarded(handle, inPlace, scope);
        if (fill_.end != 0) {
            emptyGap(handle, scope);
            fill_ = Span();
        }
    } else {
        try {
            writeRecord(handle, fresh, inPlace, scope);
        } catch (...) {
            giveUp(handle);
            throw;
        }
    }
    wasMade_ = true;
    committedEnd_ = handle.fileEnd;
    handle.headerHeldBack = false;
    handle.freeBlocks.settle();
    handle.pages.beginStep();
    if (!pending_.bytes.empty()) {
        finishPending(handle, inPlace, scope);
    }
    handle.pages.settle();
    hasGap_ = handle.headerPtr >= kGapPosition + kGapSize;
    wasMade_ = false;
}

/* Takes back what it can of a record that was not made. */
void Journal::giveUp(Handle& handle) noexcept
{
    EerrException unheard;
    try {
        if (gapIsDirty_ && fill_.end == 0) {
            emptyGap(handle, unheard);
        }
    } catch (...) {
        unheard.Clear();
    }
}

}  // namespace emantle::hfa
