#include "data/operators/group_frame.h"

#include "data/epxm/convert.h"

#include <algorithm>
#include <bit>
#include <cassert>
#include <cstring>

namespace emantle {

namespace {

/* The argument list is not the function's, or holds strings among numbers. */
struct WrongSources {};

}  // namespace

GroupSources::GroupSources(const Group& group, long first, long count, Egda_PixelType type)
    : pieces_(static_cast<std::size_t>(count)), scratch_(count)
{
    for (long i = 0; i < count; ++i) {
        const Egda_BaseData& base = *group.sources[static_cast<std::size_t>(first + i)];
        const bool converts = type != ownType && base.datatype != type;
        if (converts && convertRoutine(base.datatype, type) == nullptr) {
            throw WrongSources();
        }
        const Epxm_ConvertRoutine convert = converts ? convertRoutine(base.datatype, type) : nullptr;
        const bool isConstant = base.objecttype == EGDA_SCALAR_OBJECT;
        operands_.push_back({static_cast<const char*>(base.data), lineStride(base, base.numbytes), base.numbytes,
                             isConstant, convert});
        if (isConstant) {
            char* piece = static_cast<char*>(scratch_.piece(i));
            const long size = egda_NumBytePerPixelFromType(converts ? type : base.datatype);
            if (converts) {
                convert(base.data, piece, 1);
            } else {
                std::memcpy(piece, base.data, static_cast<std::size_t>(size));
            }
            for (long e = 1; e < kGroupPiece; ++e) {
                std::memcpy(piece + e * size, piece, static_cast<std::size_t>(size));
            }
            pieces_[static_cast<std::size_t>(i)] = piece;
        }
    }
}

void GroupSources::at(long line, long place, long count)
{
    for (std::size_t i = 0; i < operands_.size(); ++i) {
        const Operand& operand = operands_[i];
        if (operand.isConstant) {
            continue;
        }
        const char* from = operand.first + line * operand.stride + place * operand.size;
        pieces_[i] = from;
        if (operand.convert != nullptr) {
            void* to = scratch_.piece(static_cast<long>(i));
            operand.convert(from, to, count);
            pieces_[i] = to;
        }
    }
}

GroupResult::GroupResult(Egda_BaseData& dest, const Egda_BaseData* mask, Egda_PixelType type)
    : dest_(dest), mask_(mask), walk_(walkOf(dest)), stride_(lineStride(dest, dest.numbytes)),
      convert_(convertRoutine(type, dest.datatype))
{
    if (convert_ == nullptr) {
        throw WrongSources();
    }
}

bool GroupResult::isAsked(long line, long place, long count)
{
    if (mask_ != nullptr) {
        shown_ = static_cast<const std::uint8_t*>(mask_->firstelement) + line * mask_->pitch + place;
        cover_ = masks_.coverOf(shown_, count);
    }
    return cover_ != Cover::none;
}

void GroupResult::put(const void* results, long line, long place, long count)
{
    char* to = static_cast<char*>(dest_.data) + line * stride_ + place * dest_.numbytes;
    if (cover_ == Cover::every) {
        convert_(results, to, count);
    } else if (dest_.datatype == EGDA_TYPE_STRING) { /* what is not shown keeps its string */
        for (long e = 0; e < count; ++e) {
            convert_(static_cast<char* const*>(results) + e, to + e * dest_.numbytes, shown_[e] != 0);
        }
    } else {
        convert_(results, converted_, count);
        masks_.blend[std::countr_zero(static_cast<unsigned>(dest_.numbytes))](to, converted_, shown_, count);
    }
}

namespace {

/* The sources of layer `k`; none where one has no such layer. */
Group groupOf(const Egda_BaseDataStack& dest, const Egda_BaseDataStackArray& sources, long k)
{
    Group group{dest.datalayer[k], {}, sources.mask};
    for (long i = 0; i < sources.numstacks; ++i) {
        group.sources.push_back(layerFor(*sources.stacks[i], k));
    }
    if (std::find(group.sources.begin(), group.sources.end(), nullptr) != group.sources.end()) {
        group.sources.clear();
    }
    return group;
}

}  // namespace

void runGroup(const GroupMember& member, Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources,
              Egda_PixelType type, Eerr_ErrorReport** err)
{
    if (member.all != nullptr) {
        return member.all(dest, sources, type, err);
    }
    runReported(member.name, err, [&] {
        for (long k = 0; k < dest->numlayers; ++k) {
            const Group group = groupOf(*dest, *sources, k);
            requireSources(!group.sources.empty() && member.holds(group));
            member.one(group, type);
        }
    });
}

void requireSources(bool areRight)
{
    assert(areRight);
    if (!areRight) {
        throw WrongSources();
    }
}

void runReported(const char* name, Eerr_ErrorReport** err, const std::function<void()>& body)
{
    PlainScope scope(name, err);
    try {
        body();
    } catch (const WrongSources&) {
        scope.raise({"The sources are not those of the function", 1});
    } catch (const std::bad_alloc&) {
        scope.raise({"Out of memory", 5});
    }
}

double firstNumber(const Egda_BaseData& base)
{
    double number = 0;
    const Epxm_ConvertRoutine convert = convertRoutine(base.datatype, EGDA_TYPE_F64);
    if (convert != nullptr) {
        convert(base.data, &number, 1);
    }
    return number;
}

}  // namespace emantle
