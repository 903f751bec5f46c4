#pragma once

#include "frame/guard/plain_scope.h"
#include "platform/cpu.h"

#include <emantle/data/egda/operations.h>

#include <array>

/* What all operators share: finding the layers, walking the lines, masks, overlap, constants, large destinations. It
 * is compiled once; what differs between operators is a loop over contiguous elements. */

namespace emantle {

/* `count` elements of the result from `count` elements of each operand; `b` is null for operators of one operand. All
 * are contiguous, and either the same elements or apart. */
using LineLoop = void (*)(void* dest, const void* a, const void* b, long count);

/* The first of `count` elements of the second operand at which the operator stops and `mask`, where there is one, is
 * not 0; `count` where there is none. */
using StopScan = long (*)(const void* b, const std::uint8_t* mask, long count);

/* How an operand lies in memory, and as what the loop wants it: where they differ epxm_Convert is applied. */
struct OperandTypes {
    Egda_PixelType stored;
    Egda_PixelType read;
};

/* An operator for one type. */
struct LineCell {
    /* Null where converting the one operand is all there is to do. */
    LineLoop loop;
    /* For passes behind the first of a fold, where the first operand is the destination. */
    LineLoop next;
    /* Null for operators that never stop. */
    StopScan stop;
    OperandTypes operands[2];
    Egda_PixelType dest;
    /* The loop leaves a part of each element as it was. */
    bool keepsPart;
    /* The loop takes no longer than looking results up. */
    bool quick = false;
};

using LineCells = std::array<LineCell, EGDA_NUM_TYPES>;

/* How many sources an operator takes. */
enum class Arity { one, two, fold };

struct Operator {
    const char* name;
    Arity arity;
    /* Lines are those of the source, and the destination may be larger. */
    bool walksSource;
    /* The first element of the source stands for all. */
    bool fills;
    /* By instruction set. */
    const LineCells* cells[3];
};

/* Runs `op` for sources of `type` with the loops of `set`. */
void runOperator(const Operator& op, Egda_PixelType type, Egda_BaseDataStack* dest,
                 const Egda_BaseDataStackArray* sources, Eerr_ErrorReport** err, platform::InstructionSet set);

/* The family of a row (row.h): its cells run `op` with the best loops that the machine has. */
template <const Operator& op>
struct OperatorFamily {
    template <Egda_PixelType type>
    static void run(Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources, Eerr_ErrorReport** err)
    {
        runOperator(op, type, dest, sources, err, platform::fastestInstructionSet());
    }
    template <Egda_PixelType type>
    static consteval Egda_OperatorRoutine routine()
    {
        return run<type>;
    }
};

/* The layer that a source contributes to layer `k` of the destination; null where it has none. */
inline Egda_BaseData* layerFor(const Egda_BaseDataStack& stack, long k) noexcept
{
    const long index = stack.numlayers == 1 ? 0 : k;
    return index < stack.numlayers ? stack.datalayer[index] : nullptr;
}

/* Lines of a record as operators walk them: runs along the columns of matrices and along the one column of a table, else
 * along the rows, which is how tables of several columns lie. */
struct Walk {
    long lines;
    long run;
};

inline Walk walkOf(const Egda_BaseData& base) noexcept
{
    const bool byColumns = base.objecttype == EGDA_MATRIX_OBJECT ||
                           (base.objecttype == EGDA_TABLE_OBJECT && base.numcolumns == 1);
    return byColumns ? Walk{base.numcolumns, base.numrows} : Walk{base.numrows, base.numcolumns};
}

/* Bytes from one line to the next for elements of `size` bytes; 0 for a scalar object. */
inline long lineStride(const Egda_BaseData& base, long size) noexcept
{
    return base.objecttype == EGDA_SCALAR_OBJECT ? 0 : base.pitch / base.numbytes * size;
}

/* What a run of mask bytes asks for. */
enum class Cover { none, some, every };

struct MaskLoops {
    Cover (*coverOf)(const std::uint8_t* mask, long count);
    /* The elements of `to` become those of `from` where `mask` is not 0; by the size of an element: 1, 2, 4, 8, 16. */
    void (*blend[5])(void* to, const void* from, const std::uint8_t* mask, long count);
};
const MaskLoops& maskLoops(platform::InstructionSet set) noexcept;

}  // namespace emantle
