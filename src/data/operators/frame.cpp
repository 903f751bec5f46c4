#include "data/operators/frame.h"

#include "data/epxm/convert.h"
#include "data/epxm/streaming.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>
#include <span>
#include <utility>

namespace emantle {

namespace {

/* What passes through buffers passes in blocks of so many bytes, so that buffers and operands stay in the first cache.
 */
constexpr long kBlockBytes = 4096;
struct alignas(64) Block {
    char bytes[kBlockBytes];
};

long sizeOf(Egda_PixelType type)
{
    return emsc_AddressOf_egda_NumBytesPerPixel()[type];
}

/* One operand of a pass. */
struct Side {
    const char* data;
    long stride;
    long size;
    bool constant;
    Epxm_ConvertRoutine convert; /* null where the loop reads what is stored */
    Egda_PixelType read;
};

/* One run of the loop over all lines of a layer. */
struct Pass {
    LineLoop loop;
    StopScan stop;
    Side sides[2];
    int operands;
    char* dest;
    long destStride;
    Egda_PixelType destType;
    long destSize;
    bool keepsPart;
    const std::uint8_t* mask;
    long maskStride;
    Walk walk;
    bool streams;
    const MaskLoops* masks;
    const double* table; /* the result for each byte, where there is one */
};

/* From how many bytes on it pays to compute a function of all 256 first. */
constexpr long kTableFrom = 1000;

/* Functions in double of bytes: what they give for each. */
struct ByteTable {
    double results[256];
};

void computeTable(ByteTable& table, const LineCell& cell, platform::InstructionSet set)
{
    std::uint8_t bytes[256];
    for (int i = 0; i < 256; ++i) {
        bytes[i] = static_cast<std::uint8_t>(i);
    }
    double values[256];
    convertTable(set)[cell.operands[0].stored][cell.operands[0].read](bytes, values, 256);
    cell.loop(table.results, values, nullptr, 256);
}

bool isByteFunction(const LineCell& cell)
{
    const OperandTypes& types = cell.operands[0];
    return cell.loop != nullptr && !cell.quick && sizeOf(types.stored) == 1 &&
           types.read == EGDA_TYPE_F64 && cell.dest == EGDA_TYPE_F64;
}

/* `to` has any alignment. */
void lookUp(const double* table, const char* bytes, char* to, long count)
{
    for (long i = 0; i < count; ++i) {
        std::memcpy(to + i * static_cast<long>(sizeof(double)), &table[static_cast<std::uint8_t>(bytes[i])],
                    sizeof(double));
    }
}

Side sideOf(const Egda_BaseData& base, const OperandTypes& types, platform::InstructionSet set)
{
    const long size = sizeOf(types.stored);
    const Epxm_ConvertRoutine convert =
        types.stored == types.read ? nullptr : convertTable(set)[types.stored][types.read];
    return {static_cast<const char*>(base.data), lineStride(base, size), size, base.objecttype == EGDA_SCALAR_OBJECT,
            convert, types.read};
}

/* Lines without gaps between them are one line. */
bool joinsLines(const Pass& pass)
{
    const long run = pass.walk.run;
    bool joins = pass.destStride == run * pass.destSize && (pass.mask == nullptr || pass.maskStride == run);
    for (int i = 0; i < pass.operands; ++i) {
        joins = joins && (pass.sides[i].constant || pass.sides[i].stride == run * pass.sides[i].size);
    }
    return joins;
}

/* One line of a pass, in blocks. */
class Line {
public:
    Line(const Pass& pass, const Block (&spread)[2], long line)
        : pass_(pass), spread_(spread), left_(pass.walk.run), dest_(pass.dest + line * pass.destStride),
          mask_(pass.mask == nullptr ? nullptr : pass.mask + line * pass.maskStride)
    {
        long widest = pass.destSize;
        /* What is searched before it is computed is then still in the first cache. */
        bool buffered = pass.mask != nullptr || pass.stop != nullptr;
        for (int i = 0; i < pass.operands; ++i) {
            const Side& side = pass.sides[i];
            at_[i] = side.data + line * side.stride;
            widest = std::max(widest, sizeOf(side.read));
            buffered = buffered || (side.convert != nullptr && pass.loop != nullptr) || side.constant;
        }
        /* Bytes of one value need no block to be copied from. */
        buffered = buffered && !(isFill() && pass.destSize == 1 && pass.mask == nullptr);
        /* Conversions look after large destinations themselves. */
        const bool computes = pass.loop != nullptr || (pass.sides[0].constant && pass.destSize > 1);
        streams_ = pass.streams && computes && pass.mask == nullptr && !pass.keepsPart && aim();
        most_ = buffered || streams_ ? kBlockBytes / widest : left_;
        most_ = streams_ ? std::min(most_, kStreamedPiece / pass.destSize) : most_;
        limitToDistances();
    }

    /* False where an element stopped the operator. */
    bool run()
    {
        while (left_ > 0) {
            const long count = std::min({left_, most_, toAligned_ > 0 ? toAligned_ : left_});
            if (!runBlock(count)) {
                return false;
            }
            advance(count);
        }
        return true;
    }

private:
    /* Whether the destination can be brought to the start of a cache line, and how far that is. */
    bool aim()
    {
        const long bytes = static_cast<long>(-reinterpret_cast<std::uintptr_t>(dest_) % 64);
        if (bytes % pass_.destSize != 0 || left_ * pass_.destSize < 2 * kBlockBytes) {
            return false;
        }
        toAligned_ = bytes / pass_.destSize;
        return true;
    }

    /* Where the destination overlaps what is read, no block is longer than the distance between the two: then the
     * elements come out as if computed one after the other. */
    void limitToDistances()
    {
        for (int i = 0; i < pass_.operands; ++i) {
            const Side& side = pass_.sides[i];
            limitTo(at_[i], side.size, side.constant);
            rereads_[i] = side.constant && overlaps(at_[i], side.size);
        }
        if (mask_ != nullptr) {
            limitTo(reinterpret_cast<const char*>(mask_), 1, false);
        }
    }

    bool overlaps(const char* from, long bytes) const
    {
        const auto first = reinterpret_cast<std::uintptr_t>(from);
        const auto dest = reinterpret_cast<std::uintptr_t>(dest_);
        return first < dest + static_cast<std::uintptr_t>(left_ * pass_.destSize) &&
               dest < first + static_cast<std::uintptr_t>(bytes);
    }

    void limitTo(const char* from, long size, bool constant)
    {
        if ((from == dest_ && size == pass_.destSize && !constant) || !overlaps(from, constant ? size : left_ * size)) {
            return;
        }
        const long distance = std::abs(static_cast<long>(reinterpret_cast<std::intptr_t>(from) -
                                                         reinterpret_cast<std::intptr_t>(dest_)));
        most_ = std::min(most_, size == pass_.destSize && !constant ? std::max(1L, distance / size) : 1L);
        streams_ = false;
    }

    /* The operand as the loop reads it. */
    const void* prepared(int i, long count)
    {
        const Side& side = pass_.sides[i];
        if (side.constant && !rereads_[i]) {
            return spread_[i].bytes;
        }
        if (side.convert == nullptr) {
            return at_[i];
        }
        side.convert(at_[i], converted_[i].bytes, count);
        return converted_[i].bytes;
    }

    bool runBlock(long count)
    {
        if (pass_.stop == nullptr) {
            compute(count);
            return true;
        }
        const long whole = pass_.stop(prepared(1, count), mask_, count);
        compute(whole);
        return whole == count;
    }

    void compute(long count)
    {
        const Cover cover = mask_ == nullptr ? Cover::every : pass_.masks->coverOf(mask_, count);
        if (cover == Cover::none || count == 0) {
            return;
        }
        if (cover == Cover::some) {
            return computeSome(count);
        }
        if (!streams_ || toAligned_ > 0 || count < most_) {
            return computeInto(dest_, count);
        }
        computeInto(result_.bytes, count);
        writePast(dest_, result_.bytes, count * pass_.destSize);
    }

    void computeSome(long count)
    {
        if (pass_.destType == EGDA_TYPE_STRING) {
            return computeEach(count);
        }
        if (isCopy()) {
            return blendFrom(prepared(0, count), count);
        }
        if (pass_.keepsPart) {
            std::memcpy(result_.bytes, dest_, static_cast<std::size_t>(count * pass_.destSize));
        }
        computeInto(result_.bytes, count);
        blendFrom(result_.bytes, count);
    }

    bool isFill() const
    {
        return pass_.loop == nullptr && pass_.sides[0].constant;
    }

    /* The operand, once prepared, is the result. */
    bool isCopy() const
    {
        const Side& side = pass_.sides[0];
        return pass_.loop == nullptr && (side.convert == nullptr || (side.constant && !rereads_[0]));
    }

    void blendFrom(const void* fresh, long count)
    {
        pass_.masks->blend[__builtin_ctzl(static_cast<unsigned long>(pass_.destSize))](dest_, fresh, mask_, count);
    }

    /* Elements that own something have no second place: each is written where it is, or not at all. */
    void computeEach(long count)
    {
        Line one(*this);
        for (long i = 0; i < count; ++i) {
            if (*one.mask_ != 0) {
                one.computeInto(one.dest_, 1);
            }
            one.advance(1);
        }
    }

    void computeInto(char* to, long count)
    {
        if (pass_.table != nullptr && !pass_.sides[0].constant) {
            return lookUp(pass_.table, at_[0], to, count);
        }
        if (pass_.loop != nullptr) {
            const void* a = prepared(0, count);
            return pass_.loop(to, a, pass_.operands > 1 ? prepared(1, count) : nullptr, count);
        }
        const Side& side = pass_.sides[0];
        if (side.constant && !rereads_[0] && pass_.destSize == 1) {
            std::memset(to, spread_[0].bytes[0], static_cast<std::size_t>(count));
        } else if (side.constant && !rereads_[0]) {
            convertRoutine(pass_.destType, pass_.destType)(spread_[0].bytes, to, count);
        } else if (side.convert != nullptr) {
            side.convert(at_[0], to, count);
        } else {
            convertRoutine(pass_.destType, pass_.destType)(at_[0], to, count);
        }
    }

    void advance(long count)
    {
        left_ -= count;
        toAligned_ = std::max(0L, toAligned_ - count);
        dest_ += count * pass_.destSize;
        mask_ = mask_ == nullptr ? nullptr : mask_ + count;
        for (int i = 0; i < pass_.operands; ++i) {
            at_[i] += pass_.sides[i].constant ? 0 : count * pass_.sides[i].size;
        }
    }

    const Pass& pass_;
    const Block (&spread_)[2];
    Block converted_[2];
    Block result_;
    long left_;
    long most_ = 0;
    long toAligned_ = 0;
    bool streams_ = false;
    bool rereads_[2] = {};
    const char* at_[2] = {};
    char* dest_;
    const std::uint8_t* mask_;
};

/* A constant fills a block once, so that a loop reads it as it reads any operand. */
void spreadConstant(const Side& side, Block& block)
{
    Egda_Complex128 element{};
    if (side.convert != nullptr) {
        side.convert(side.data, &element, 1);
    } else {
        std::memcpy(&element, side.data, static_cast<std::size_t>(side.size));
    }
    static constexpr Egda_PixelType bySize[] = {EGDA_TYPE_U8, EGDA_TYPE_U16, EGDA_TYPE_U32, EGDA_TYPE_C64,
                                                EGDA_TYPE_C128};
    const long size = sizeOf(side.read);
    fillTable()[bySize[__builtin_ctzl(static_cast<unsigned long>(size))]](block.bytes, &element, kBlockBytes / size);
}

void spreadConstants(const Pass& pass, Block (&spread)[2])
{
    for (int i = 0; i < pass.operands; ++i) {
        if (pass.sides[i].constant) {
            spreadConstant(pass.sides[i], spread[i]);
        }
    }
}

/* False where an element stopped the operator. */
bool runPass(Pass& pass)
{
    if (pass.walk.lines <= 0 || pass.walk.run <= 0) {
        return true;
    }
    if (joinsLines(pass)) {
        pass.walk = {1, pass.walk.run * pass.walk.lines};
    }
    /* One source, wider than the destination, leaves it more of the caches. */
    const long share = pass.operands == 1 && pass.sides[0].size > pass.destSize ? 2 : 1;
    pass.streams = isStreamed(pass.walk.lines * pass.walk.run * pass.destSize / share);
    Block spread[2];
    spreadConstants(pass, spread);
    bool whole = true;
    for (long line = 0; whole && line < pass.walk.lines; ++line) {
        whole = Line(pass, spread, line).run();
    }
    if (pass.streams) {
        finishWritingPast();
    }
    return whole;
}

/* From the first byte of a record to behind the last of the lines that `pass` walks. */
bool touchesDest(const Pass& pass, const Side& side)
{
    const auto extent = [&](long stride, long size) { return (pass.walk.lines - 1) * stride + pass.walk.run * size; };
    const auto first = reinterpret_cast<std::uintptr_t>(side.data);
    const auto dest = reinterpret_cast<std::uintptr_t>(pass.dest);
    const long bytes = side.constant ? side.size : extent(side.stride, side.size);
    return first < dest + static_cast<std::uintptr_t>(extent(pass.destStride, pass.destSize)) &&
           dest < first + static_cast<std::uintptr_t>(bytes);
}

/* A pass with its constants. */
struct FoldedPass {
    Pass pass;
    Block spread[2];
};

/* The passes of a fold over three and more sources, each of which reads what the one before it has written. */
class FoldedPasses {
public:
    explicit FoldedPasses(std::span<FoldedPass> passes) : passes_(passes) {}

    /* Whether each stretch may go through all passes before the next one: no pass stops, and no operand changes under
     * the passes before its own. */
    bool mayGoByStretches() const
    {
        const Pass& first = passes_.front().pass;
        const auto isDest = [&](const Side& side) {
            return side.data == first.dest && side.stride == first.destStride && side.size == first.destSize &&
                   !side.constant;
        };
        bool may = first.walk.lines > 0 && first.walk.run > 0;
        for (const Side& side : first.sides) {
            may = may && (!touchesDest(first, side) || isDest(side));
        }
        for (std::size_t i = 0; i < passes_.size(); ++i) {
            may = may && passes_[i].pass.stop == nullptr && (i == 0 || !touchesDest(first, passes_[i].pass.sides[1]));
        }
        const Side mask{reinterpret_cast<const char*>(first.mask), first.maskStride, 1, false, nullptr, EGDA_TYPE_U8};
        return may && (first.mask == nullptr || !touchesDest(first, mask));
    }

    void run()
    {
        bool joins = true;
        for (FoldedPass& folded : passes_) {
            spreadConstants(folded.pass, folded.spread);
            joins = joins && joinsLines(folded.pass);
        }
        Pass& last = passes_.back().pass;
        const Walk walk = joins ? Walk{1, last.walk.lines * last.walk.run} : last.walk;
        last.streams = isStreamed(walk.lines * walk.run * last.destSize);
        const long most = kStretchBytes / last.destSize;
        for (long line = 0; line < walk.lines; ++line) {
            for (long at = 0; at < walk.run; at += most) {
                runStretch(line, at, std::min(walk.run - at, most));
            }
        }
        if (last.streams) {
            finishWritingPast();
        }
    }

private:
    /* Stays in the caches together with the stretches of a few sources. */
    static constexpr long kStretchBytes = 4 * kBlockBytes;

    /* Without a mask what lies between the passes need not go through the destination. */
    void runStretch(long line, long at, long count)
    {
        for (std::size_t i = 0; i < passes_.size(); ++i) {
            Pass part = passes_[i].pass;
            part.walk = {1, count};
            part.dest += line * part.destStride + at * part.destSize;
            for (Side& side : part.sides) {
                side.data += line * side.stride + (side.constant ? 0 : at * side.size);
            }
            if (part.mask != nullptr) {
                part.mask += line * part.maskStride + at;
            } else {
                part.dest = i + 1 < passes_.size() ? between_ : part.dest;
                part.sides[0].data = i > 0 ? between_ : part.sides[0].data;
            }
            Line(part, passes_[i].spread, 0).run();
        }
    }

    std::span<FoldedPass> passes_;
    alignas(64) char between_[kStretchBytes];
};

/* False where an element stopped the operator. */
bool runPasses(std::span<FoldedPass> passes)
{
    FoldedPasses folded(passes);
    if (folded.mayGoByStretches()) {
        return folded.run(), true;
    }
    return std::all_of(passes.begin(), passes.end(), [](FoldedPass& each) { return runPass(each.pass); });
}

/* What there is to do in one pass of an operator, whose last operand is source `last`. */
Pass passOf(const Operator& op, const LineCell& cell, const Egda_BaseData& to, const Egda_BaseDataStackArray& sources,
            int k, int last, platform::InstructionSet set)
{
    const int operands = op.arity == Arity::one ? 1 : 2;
    const bool again = last >= operands;
    const OperandTypes reused{cell.dest, cell.dest};
    const Egda_BaseData& first = *layerFor(*sources.stacks[0], k);
    Pass pass{};
    pass.loop = again ? cell.next : cell.loop;
    pass.stop = cell.stop;
    pass.operands = operands;
    pass.sides[0] = again ? sideOf(to, reused, set) : sideOf(first, cell.operands[0], set);
    pass.sides[0].constant = pass.sides[0].constant || op.fills;
    if (operands > 1) {
        pass.sides[1] = sideOf(*layerFor(*sources.stacks[last], k), cell.operands[1], set);
    }
    pass.destType = cell.dest;
    pass.destSize = sizeOf(cell.dest);
    pass.dest = static_cast<char*>(to.data);
    pass.destStride = lineStride(to, pass.destSize);
    pass.keepsPart = cell.keepsPart;
    if (const Egda_BaseData* mask = sources.mask; mask != nullptr) {
        pass.mask = static_cast<const std::uint8_t*>(mask->firstelement);
        pass.maskStride = mask->pitch;
    }
    pass.walk = walkOf(op.walksSource ? first : to);
    pass.masks = &maskLoops(set);
    return pass;
}

}  // namespace

void runOperator(const Operator& op, Egda_PixelType type, Egda_BaseDataStack* dest,
                 const Egda_BaseDataStackArray* sources, Eerr_ErrorReport** err, platform::InstructionSet set)
{
    PlainScope scope(op.name, err);
    const LineCell& cell = (*op.cells[static_cast<int>(set)])[static_cast<std::size_t>(type)];
    const int operands = op.arity == Arity::one ? 1 : 2;
    if (sources->numstacks < operands) {
        return scope.raise({"The source data contains less than two stacks", 1});
    }
    const int read = op.arity == Arity::fold ? sources->numstacks : operands;
    const int passes = read - operands + 1;
    const std::unique_ptr<FoldedPass[]> folded(passes > 1 ? new (std::nothrow) FoldedPass[static_cast<std::size_t>(passes)]
                                                          : nullptr);
    if (passes > 1 && folded == nullptr) {
        return scope.raise({"Out of memory", 5});
    }
    for (int k = 0; k < dest->numlayers; ++k) {
        const Egda_BaseData& to = *dest->datalayer[k];
        for (int i = 0; i < read; ++i) {
            if (layerFor(*sources->stacks[i], k) == nullptr) {
                return scope.raise("Source %d has no layer %d", i, k);
            }
        }
        Pass pass = passOf(op, cell, to, *sources, k, operands - 1, set);
        ByteTable table;
        if (op.arity == Arity::one && isByteFunction(cell) && pass.walk.lines * pass.walk.run >= kTableFrom) {
            computeTable(table, cell, set);
            pass.table = table.results;
        }
        for (int i = 0; folded != nullptr && i < passes; ++i) {
            folded[static_cast<std::size_t>(i)].pass = passOf(op, cell, to, *sources, k, operands - 1 + i, set);
        }
        const bool whole = folded == nullptr ? runPass(pass)
                                             : runPasses({folded.get(), static_cast<std::size_t>(passes)});
        if (!whole) {
            return PlainScope("EGDA_Div", err).raise({"Divided by zero", 6});
        }
    }
}

}  // namespace emantle
