#include "data/epxm/convert.h"
#include "data/operators/group.h"
#include "data/operators/group_frame.h"

#include <emantle/frame/etxt/text.h>

#include <bit>
#include <cassert>
#include <cstring>

/* Group functions that choose among their sources, and those that fill. */

namespace emantle {

namespace {

using Marks = std::uint8_t[kGroupPiece];

bool isString(Egda_PixelType type)
{
    return type == EGDA_TYPE_STRING;
}

/* A piece of the destination in the making: nothing, then elements of sources where marks say so. */
class Choice {
public:
    Choice(const Group& group, long firstSource, Egda_PixelType type)
        : size_(egda_NumBytePerPixelFromType(type)), firstSource_(firstSource),
          sources_(group, firstSource, group.n() - firstSource, type), result_(*group.dest, group.mask, type), piece_(1)
    {
    }

    /* Runs `choose(line, place, count)`, which calls `take`, for each piece. */
    template <class Choose>
    void run(Choose choose)
    {
        forEachPiece(result_, [&](long line, long place, long count) {
            count_ = count;
            std::memset(piece_.piece(0), 0, static_cast<std::size_t>(count * size_));
            sources_.at(line, place, count);
            choose(line, place, count);
            result_.put(piece_.piece(0), line, place, count);
        });
    }

    /* Takes the elements of a source where `marks` are not 0; of strings, the pointers that its owner keeps. */
    void take(long source, const std::uint8_t* marks)
    {
        maskLoops(platform::fastestInstructionSet()).blend[std::countr_zero(static_cast<unsigned long>(size_))](
            piece_.piece(0), sources_[source - firstSource_], marks, count_);
    }

private:
    const long size_;
    const long firstSource_;
    GroupSources sources_;
    GroupResult result_;
    GroupScratch piece_;
    long count_ = 0;
};

/* Which elements of a source are not 0, or are texts that are not empty. */
class NonZero {
public:
    NonZero(const Group& group, long source, long count)
        : sources_(group, source, count, GroupSources::ownType)
    {
        for (long i = 0; i < count; ++i) {
            types_.push_back(group.sources[static_cast<std::size_t>(source + i)]->datatype);
        }
    }

    void at(long line, long place, long count) { sources_.at(line, place, count); }

    void mark(std::uint8_t* marks, long i, long count) const
    {
        static const GroupLoops* const loops = groupLoops(platform::fastestInstructionSet());
        const void* source = sources_[i];
        const Egda_PixelType type = types_[static_cast<std::size_t>(i)];
        if (!isString(type)) {
            return loops[type].nonZero(marks, {&source, 1, count}, 0, nullptr);
        }
        for (long e = 0; e < count; ++e) {
            const char* text = static_cast<const char* const*>(source)[e];
            marks[e] = text != nullptr && *text != '\0';
        }
    }

private:
    GroupSources sources_;
    std::vector<Egda_PixelType> types_;
};

void pick(const Group& group, Egda_PixelType type)
{
    Choice choice(group, 1, type);
    GroupSources selector(group, 0, 1, EGDA_TYPE_F64);
    const SelectorLoops& loops = selectorLoops(platform::fastestInstructionSet());
    std::int32_t numbers[kGroupPiece];
    Marks marks;
    choice.run([&](long line, long place, long count) {
        selector.at(line, place, count);
        loops.cut(numbers, static_cast<const double*>(selector[0]), group.n(), count);
        for (std::int32_t i = 1; i < group.n(); ++i) {
            loops.markEqual(marks, numbers, i, count);
            choice.take(i, marks);
        }
    });
}

/* The first that holds counts, so the last are taken first. */
void condition(const Group& group, Egda_PixelType type)
{
    const long half = group.n() / 2;
    Choice choice(group, half, type);
    NonZero conditions(group, 0, half);
    Marks marks;
    choice.run([&](long line, long place, long count) {
        conditions.at(line, place, count);
        for (long i = half - 1; i >= 0; --i) {
            conditions.mark(marks, i, count);
            choice.take(i + half, marks);
        }
    });
}

void ifOr(const Group& group, Egda_PixelType type)
{
    Choice choice(group, 1, type);
    NonZero conditions(group, 0, 1);
    Marks every;
    Marks marks;
    std::memset(every, 1, sizeof every);
    choice.run([&](long line, long place, long count) {
        conditions.at(line, place, count);
        conditions.mark(marks, 0, count);
        choice.take(2, every);
        choice.take(1, marks);
    });
}

/* The index of the first source whose text is that of source 0. */
void indexOfStrings(std::int32_t* out, const GroupPiece& piece)
{
    const auto text = [&](long source, long e) {
        const char* found = static_cast<const char* const*>(piece.sources[source])[e];
        return found == nullptr ? "" : found;
    };
    for (long e = 0; e < piece.count; ++e) {
        long i = 1;
        while (i < piece.n && etxt_Text_strcmp(text(i, e), text(0, e)) != 0) {
            ++i;
        }
        out[e] = i < piece.n ? static_cast<std::int32_t>(i) : 0;
    }
}

void index(const Group& group, Egda_PixelType type)
{
    static const GroupLoops* const loops = groupLoops(platform::fastestInstructionSet());
    GroupSources sources(group, 0, group.n(), type);
    GroupResult result(*group.dest, group.mask, EGDA_TYPE_S32);
    std::int32_t indices[kGroupPiece];
    forEachPiece(result, [&](long line, long place, long count) {
        sources.at(line, place, count);
        isString(type) ? indexOfStrings(indices, sources.piece(count))
                       : loops[type].index(indices, sources.piece(count), 0, nullptr);
        result.put(indices, line, place, count);
    });
}

template <long least>
bool hasSources(const Group& group)
{
    return group.n() >= least;
}

bool hasPairs(const Group& group)
{
    assert(group.n() % 2 == 0);
    return group.n() >= 2;
}

bool hasOneForEachElement([[maybe_unused]] const Group& group)
{
    assert(group.n() == group.dest->numelements);
    return true;
}

bool isShown(const Group& group, long line, long place)
{
    const Egda_BaseData* mask = group.mask;
    return mask == nullptr || static_cast<const std::uint8_t*>(mask->firstelement)[line * mask->pitch + place] != 0;
}

/* Calls `put(element, line, place)` for each element of the destination that the mask shows. */
template <class Put>
void forEachElement(const Group& group, Put put)
{
    const Egda_BaseData& dest = *group.dest;
    const Walk walk = walkOf(dest);
    for (long line = 0; line < walk.lines; ++line) {
        char* at = static_cast<char*>(dest.data) + line * lineStride(dest, dest.numbytes);
        for (long place = 0; place < walk.run; ++place, at += dest.numbytes) {
            if (isShown(group, line, place)) {
                put(at, line, place);
            }
        }
    }
}

void fillArray(const Group& group, Egda_PixelType)
{
    const Egda_BaseData& dest = *group.dest;
    const bool byColumns = walkOf(dest).run != dest.numcolumns || dest.objecttype == EGDA_MATRIX_OBJECT;
    forEachElement(group, [&](char* element, long line, long place) {
        const long number = byColumns ? line + place * dest.numcolumns : line * dest.numcolumns + place;
        if (number < group.n()) {
            const Egda_BaseData& source = *group.sources[static_cast<std::size_t>(number)];
            const Epxm_ConvertRoutine convert = convertRoutine(source.datatype, dest.datatype);
            if (convert != nullptr) {
                convert(source.data, element, 1);
            }
        }
    });
}

/* start + i * a + j * b in a type, where whole numbers wrap. */
template <class T>
void incFillAs(const Group& group, Egda_PixelType type)
{
    T parameters[3];
    for (std::size_t i = 0; i < 3; ++i) {
        convertRoutine(group.sources[i]->datatype, type)(group.sources[i]->data, &parameters[i], 1);
    }
    const bool isMatrix = group.dest->objecttype == EGDA_MATRIX_OBJECT;
    const T perLine = parameters[isMatrix ? 2 : 1];
    const T perPlace = parameters[isMatrix ? 1 : 2];
    GroupResult result(*group.dest, group.mask, type);
    T values[kGroupPiece];
    forEachPiece(result, [&](long line, long place, long count) {
        for (long e = 0; e < count; ++e) {
            if constexpr (std::is_integral_v<T>) {
                values[e] = static_cast<T>(static_cast<std::uint64_t>(parameters[0]) +
                                           static_cast<std::uint64_t>(line) * static_cast<std::uint64_t>(perLine) +
                                           static_cast<std::uint64_t>(place + e) * static_cast<std::uint64_t>(perPlace));
            } else if constexpr (std::is_floating_point_v<T>) {
                values[e] = parameters[0] + static_cast<T>(line) * perLine + static_cast<T>(place + e) * perPlace;
            } else {
                using Part = decltype(T::real);
                const auto i = static_cast<Part>(line);
                const auto j = static_cast<Part>(place + e);
                values[e] = {parameters[0].real + i * perLine.real + j * perPlace.real,
                             parameters[0].imaginary + i * perLine.imaginary + j * perPlace.imaginary};
            }
        }
        result.put(values, line, place, count);
    });
}

void incFill(const Group& group, Egda_PixelType type)
{
    switch (type) {
    case EGDA_TYPE_S8: return incFillAs<std::int8_t>(group, type);
    case EGDA_TYPE_U16: return incFillAs<std::uint16_t>(group, type);
    case EGDA_TYPE_S16: return incFillAs<std::int16_t>(group, type);
    case EGDA_TYPE_U32: return incFillAs<std::uint32_t>(group, type);
    case EGDA_TYPE_S32: return incFillAs<std::int32_t>(group, type);
    case EGDA_TYPE_F32: return incFillAs<float>(group, type);
    case EGDA_TYPE_F64: return incFillAs<double>(group, type);
    case EGDA_TYPE_C64: return incFillAs<Egda_Complex64>(group, type);
    case EGDA_TYPE_C128: return incFillAs<Egda_Complex128>(group, type);
    default: return incFillAs<std::uint8_t>(group, EGDA_TYPE_U8);
    }
}

}  // namespace

const GroupMember group::egda_GpfIndex{"egda_GpfIndex", hasSources<2>, index};
const GroupMember group::egda_GpfPick{"egda_GpfPick", hasSources<2>, pick};
const GroupMember group::egda_GpfCondition{"egda_GpfCondition", hasPairs, condition};
const GroupMember group::egda_GpfIfOr{"egda_GpfIfOr", hasSources<3>, ifOr};
const GroupMember group::egda_GpfFillArray{"egda_GpfFillArray", hasOneForEachElement, fillArray};
const GroupMember group::egda_GpfIncFill{"egda_GpfIncFill", hasSources<3>, incFill};

}  // namespace emantle
