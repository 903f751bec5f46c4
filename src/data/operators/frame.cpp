#include "data/operators/frame.h"

#include "data/epxm/convert.h"
#include "data/epxm/streaming.h"

#include <algorithm>
#include <cstring>
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
    return cell.loop != nullptr && sizeOf(types.stored) == 1 &&
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
void joinLines(Pass& pass)
{
    const long run = pass.walk.run;
    bool joins = pass.destStride == run * pass.destSize && (pass.mask == nullptr || pass.maskStride == run);
    for (int i = 0; i < pass.operands; ++i) {
        joins = joins && (pass.sides[i].constant || pass.sides[i].stride == run * pass.sides[i].size);
    }
    if (joins) {
        pass.walk = {1, run * pass.walk.lines};
    }
}

/* One line of a pass, in blocks. */
class Line {
public:
    Line(const Pass& pass, Block (&spread)[2], long line)
        : pass_(pass), spread_(spread), left_(pass.walk.run), dest_(pass.dest + line * pass.destStride),
          mask_(pass.mask == nullptr ? nullptr : pass.mask + line * pass.maskStride)
    {
        long widest = pass.destSize;
        bool buffered = pass.mask != nullptr;
        for (int i = 0; i < pass.operands; ++i) {
            const Side& side = pass.sides[i];
            at_[i] = side.data + line * side.stride;
            widest = std::max(widest, sizeOf(side.read));
            buffered = buffered || (side.convert != nullptr && pass.loop != nullptr) || side.constant;
        }
        /* Conversions look after large destinations themselves. */
        const bool computes = pass.loop != nullptr || pass.sides[0].constant;
        streams_ = pass.streams && computes && pass.mask == nullptr && !pass.keepsPart && aim();
        most_ = buffered || streams_ ? kBlockBytes / widest : left_;
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
        if (pass_.keepsPart) {
            std::memcpy(result_.bytes, dest_, static_cast<std::size_t>(count * pass_.destSize));
        }
        computeInto(result_.bytes, count);
        pass_.masks->blend[__builtin_ctzl(static_cast<unsigned long>(pass_.destSize))](dest_, result_.bytes, mask_,
                                                                                        count);
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
        if (side.constant && !rereads_[0]) {
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
    Block (&spread_)[2];
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

/* False where an element stopped the operator. */
bool runPass(Pass& pass)
{
    if (pass.walk.lines <= 0 || pass.walk.run <= 0) {
        return true;
    }
    joinLines(pass);
    pass.streams = isStreamed(pass.walk.lines * pass.walk.run * pass.destSize);
    Block spread[2];
    for (int i = 0; i < pass.operands; ++i) {
        if (pass.sides[i].constant) {
            spreadConstant(pass.sides[i], spread[i]);
        }
    }
    bool whole = true;
    for (long line = 0; whole && line < pass.walk.lines; ++line) {
        whole = Line(pass, spread, line).run();
    }
    if (pass.streams) {
        finishWritingPast();
    }
    return whole;
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
    for (int k = 0; k < dest->numlayers; ++k) {
        const Egda_BaseData& to = *dest->datalayer[k];
        const OperandTypes reused{cell.dest, cell.dest};
        for (int i = 0; i < read; ++i) {
            if (layerFor(*sources->stacks[i], k) == nullptr) {
                return scope.raise("Source %d has no layer %d", i, k);
            }
        }
        const Egda_BaseData& first = *layerFor(*sources->stacks[0], k);
        for (int last = operands - 1; last < read; ++last) {
            const bool again = last >= operands;
            Pass pass{};
            pass.loop = again ? cell.next : cell.loop;
            pass.stop = cell.stop;
            pass.operands = operands;
            pass.sides[0] = again ? sideOf(to, reused, set) : sideOf(first, cell.operands[0], set);
            pass.sides[0].constant = pass.sides[0].constant || op.fills;
            if (operands > 1) {
                pass.sides[1] = sideOf(*layerFor(*sources->stacks[last], k), cell.operands[1], set);
            }
            pass.destType = cell.dest;
            pass.destSize = sizeOf(cell.dest);
            pass.dest = static_cast<char*>(to.data);
            pass.destStride = lineStride(to, pass.destSize);
            pass.keepsPart = cell.keepsPart;
            if (const Egda_BaseData* mask = sources->mask; mask != nullptr) {
                pass.mask = static_cast<const std::uint8_t*>(mask->firstelement);
                pass.maskStride = mask->pitch;
            }
            pass.walk = walkOf(op.walksSource ? first : to);
            pass.masks = &maskLoops(set);
            ByteTable table;
            if (op.arity == Arity::one && isByteFunction(cell) && pass.walk.lines * pass.walk.run >= kTableFrom) {
                computeTable(table, cell, set);
                pass.table = table.results;
            }
            if (!runPass(pass)) {
                return PlainScope("EGDA_Div", err).raise({"Divided by zero", 6});
            }
        }
    }
}

}  // namespace emantle
