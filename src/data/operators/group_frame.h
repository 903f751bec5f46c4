#pragma once

#include "data/operators/frame.h"
#include "data/operators/group.h"
#include "data/operators/group_loops_table.h"

#include <emantle/data/epxm/convert.h>

#include <functional>
#include <memory>
#include <vector>

/* What the group functions share: their sources at one place, brought together piece by piece. */

namespace emantle {

/* A layer of the destination, and the layers that the sources contribute to it. */
struct Group {
    Egda_BaseData* dest;
    std::vector<const Egda_BaseData*> sources;
    const Egda_BaseData* mask;

    long n() const { return static_cast<long>(sources.size()); }
};

/* Scratch of a call, aligned for every element. */
class GroupScratch {
public:
    /* Throws std::bad_alloc. */
    explicit GroupScratch(long pieces) : block_(new Piece[static_cast<std::size_t>(pieces)]) {}
    void* piece(long i) const { return block_[static_cast<std::size_t>(i)].bytes; }

private:
    struct alignas(64) Piece {
        char bytes[kGroupPiece * sizeof(Egda_Complex128)];
    };
    std::unique_ptr<Piece[]> block_;
};

/* Some of the sources as pieces of elements of one type, or each of its own. */
class GroupSources {
public:
    static constexpr Egda_PixelType ownType = -1;

    /* `count` sources from `first` on. Throws std::bad_alloc. */
    GroupSources(const Group& group, long first, long count, Egda_PixelType type);

    /* Brings the piece of `count` elements at `place` of `line` together. */
    void at(long line, long place, long count);
    const void* operator[](long i) const { return pieces_[static_cast<std::size_t>(i)]; }
    GroupPiece piece(long count) const { return {pieces_.data(), static_cast<long>(pieces_.size()), count}; }

private:
    struct Operand {
        const char* first;
        long stride;
        long size;
        bool isConstant;
        Epxm_ConvertRoutine convert; /* null where the elements are taken as they lie */
    };
    std::vector<Operand> operands_;
    std::vector<const void*> pieces_;
    GroupScratch scratch_;
};

/* Puts results of `type` into the destination where the mask shows. */
class GroupResult {
public:
    GroupResult(Egda_BaseData& dest, const Egda_BaseData* mask, Egda_PixelType type);

    const Walk& walk() const { return walk_; }
    /* Whether the mask shows any of a piece. */
    bool isAsked(long line, long place, long count);
    void put(const void* results, long line, long place, long count);

private:
    Egda_BaseData& dest_;
    const Egda_BaseData* mask_;
    const Walk walk_;
    const long stride_;
    const Epxm_ConvertRoutine convert_;
    const MaskLoops& masks_ = maskLoops(platform::fastestInstructionSet());
    const std::uint8_t* shown_ = nullptr;
    Cover cover_ = Cover::every;
    alignas(64) char converted_[kGroupPiece * sizeof(Egda_Complex128)];
};

/* Calls `step(line, place, count)` for each piece of the destination that the mask shows. */
template <class Step>
void forEachPiece(GroupResult& result, Step step)
{
    const Walk walk = result.walk();
    for (long line = 0; line < walk.lines; ++line) {
        for (long place = 0; place < walk.run; place += kGroupPiece) {
            const long count = walk.run - place < kGroupPiece ? walk.run - place : kGroupPiece;
            if (result.isAsked(line, place, count)) {
                step(line, place, count);
            }
        }
    }
}

/* The first element of a record as a number. */
double firstNumber(const Egda_BaseData& base);

/* Fails where the argument list is not the function's. Inside runReported. */
void requireSources(bool areRight);

/* Runs a body that throws, and reports under `name`. */
void runReported(const char* name, Eerr_ErrorReport** err, const std::function<void()>& body);

}  // namespace emantle
