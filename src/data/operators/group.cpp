#include "data/operators/group.h"

#include "data/operators/group_frame.h"

#include <algorithm>
#include <cassert>

/* Group functions that gather numbers from their sources. */

namespace emantle {

namespace {

const GroupLoops& loopsOf(Egda_PixelType type)
{
    static const GroupLoops* const table = groupLoops(platform::fastestInstructionSet());
    return table[type];
}

bool isComplexType(Egda_PixelType type)
{
    return type == EGDA_TYPE_C64 || type == EGDA_TYPE_C128;
}

/* Runs a loop over the sources from `first` on, and puts its results, of `type`, into the destination. */
void gather(const Group& group, long first, Egda_PixelType sourceType, Egda_PixelType type, GroupLoop loop,
            long parameter = 0)
{
    GroupSources sources(group, first, group.n() - first, sourceType);
    GroupResult result(*group.dest, group.mask, type);
    const GroupScratch out(1);
    const GroupScratch scratch(std::max(2L, group.n()));
    forEachPiece(result, [&](long line, long place, long count) {
        sources.at(line, place, count);
        loop(out.piece(0), sources.piece(count), parameter, scratch.piece(0));
        result.put(out.piece(0), line, place, count);
    });
}

/* What the argument list must hold. */
template <long least>
bool hasSources(const Group& group)
{
    return group.n() >= least;
}

/* Work buffers of at least as many elements as there are data, which begin at `first`. */
template <std::size_t buffers, long first>
bool hasWorkBuffers(const Group& group)
{
    if (group.n() <= first) {
        return false;
    }
    [[maybe_unused]] const long count = group.n() - first;
    assert(group.sources[0]->numelements >= count && group.sources[buffers - 1]->numelements >= count);
    return true;
}

bool hasParameter(const Group& group)
{
    return hasWorkBuffers<2, 3>(group) && group.sources[2]->datatype != EGDA_TYPE_STRING;
}

void mean(const Group& group, Egda_PixelType type)
{
    gather(group, 0, type, isComplexType(type) ? EGDA_TYPE_C128 : EGDA_TYPE_F64, loopsOf(type).mean);
}

void sdevi(const Group& group, Egda_PixelType type)
{
    gather(group, 0, type, isComplexType(type) ? EGDA_TYPE_C128 : EGDA_TYPE_F64, loopsOf(type).sdevi);
}

void diversity(const Group& group, Egda_PixelType type)
{
    gather(group, 1, type, EGDA_TYPE_S32, loopsOf(type).diversity);
}

void density(const Group& group, Egda_PixelType type)
{
    gather(group, 0, type, EGDA_TYPE_S32, loopsOf(type).density);
}

void majority(const Group& group, Egda_PixelType type)
{
    gather(group, 2, type, type, loopsOf(type).majority);
}

void minority(const Group& group, Egda_PixelType type)
{
    gather(group, 2, type, type, loopsOf(type).minority);
}

/* A number cut to one from 0 to `last`; what is no number is 0. */
long cutTo(double number, long last)
{
    return number >= 1 ? (number < static_cast<double>(last) ? static_cast<long>(number) : last) : 0;
}

void position(const Group& group, Egda_PixelType type)
{
    const long count = group.n() - 3;
    const double place = static_cast<double>(count) * firstNumber(*group.sources[2]);
    gather(group, 3, type, type, loopsOf(type).position, cutTo(place, count - 1));
}

void rank(const Group& group, Egda_PixelType type)
{
    const long count = group.n() - 3;
    gather(group, 3, type, EGDA_TYPE_S32, loopsOf(type).rank, cutTo(firstNumber(*group.sources[2]), count - 1));
}

}  // namespace

const GroupMember group::egda_GpfMean{"egda_GpfMean", hasSources<2>, mean};
const GroupMember group::egda_GpfSdevi{"egda_GpfSdevi", hasSources<2>, sdevi};
const GroupMember group::egda_GpfDiversity{"egda_GpfDiversity", hasWorkBuffers<1, 1>, diversity};
const GroupMember group::egda_GpfDensity{"egda_GpfDensity", hasSources<1>, density};
const GroupMember group::egda_GpfMajority{"egda_GpfMajority", hasWorkBuffers<2, 2>, majority};
const GroupMember group::egda_GpfMinority{"egda_GpfMinority", hasWorkBuffers<2, 2>, minority};
const GroupMember group::egda_GpfPosition{"egda_GpfPosition", hasParameter, position};
const GroupMember group::egda_GpfRank{"egda_GpfRank", hasParameter, rank};

}  // namespace emantle
