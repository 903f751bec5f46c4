#include "data/epxm/convert.h"
#include "data/operators/elements.h"

/* Looking for an element. */

namespace {

using namespace emantle;

template <class T>
bool isNonZero(T value)
{
    if constexpr (isComplexValue<T>) {
        return (value.real != 0) | (value.imaginary != 0);
    } else {
        return value != 0;
    }
}

/* Looks at whole runs, so that the loop has no way out that would keep it from the vector units. */
template <class T>
bool anyNonZero(const char* line, const std::uint8_t* mask, long count)
{
    const auto* cells = reinterpret_cast<const Cell<T>*>(line);
    constexpr long run = 1024;
    for (long first = 0; first < count; first += run) {
        const long end = std::min(first + run, count);
        unsigned found = 0;
        if (mask == nullptr) {
            for (long i = first; i < end; ++i) {
                found |= isNonZero(cells[i].value) ? 1U : 0U;
            }
        } else {
            for (long i = first; i < end; ++i) {
                found |= isNonZero(cells[i].value) ? static_cast<unsigned>(mask[i]) : 0U;
            }
        }
        if (found != 0) {
            return true;
        }
    }
    return false;
}

template <class T>
bool anyNonZero(const Egda_BaseData& layer, const Egda_BaseData* mask)
{
    const Walk walk = walkOf(layer);
    const long stride = lineStride(layer, sizeof(T));
    for (long line = 0; line < walk.lines; ++line) {
        const auto* under = mask == nullptr ? nullptr
                                            : static_cast<const std::uint8_t*>(mask->firstelement) + line * mask->pitch;
        if (anyNonZero<T>(static_cast<const char*>(layer.data) + line * stride, under, walk.run)) {
            return true;
        }
    }
    return false;
}

bool anyNonZero(const Egda_BaseData& layer, const Egda_BaseData* mask, Egda_PixelType type)
{
    switch (type) {
    case EGDA_TYPE_U8:
    case EGDA_TYPE_S8:
        return anyNonZero<std::uint8_t>(layer, mask);
    case EGDA_TYPE_U16:
    case EGDA_TYPE_S16:
        return anyNonZero<std::uint16_t>(layer, mask);
    case EGDA_TYPE_U32:
    case EGDA_TYPE_S32:
        return anyNonZero<std::uint32_t>(layer, mask);
    case EGDA_TYPE_F32:
        return anyNonZero<float>(layer, mask);
    case EGDA_TYPE_F64:
        return anyNonZero<double>(layer, mask);
    case EGDA_TYPE_C64:
        return anyNonZero<Egda_Complex64>(layer, mask);
    default:
        return anyNonZero<Egda_Complex128>(layer, mask);
    }
}

/* The first element of the destination becomes 1 or 0, in the destination's type. */
struct NotAllZeroFamily {
    template <Egda_PixelType type>
    static void run(Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources, Eerr_ErrorReport** err)
    {
        PlainScope scope("egda_SaoNotAllZero", err);
        if (sources->numstacks < 1 || dest->numlayers < 1) {
            return scope.raise("There is no source or no destination");
        }
        const Egda_BaseDataStack& stack = *sources->stacks[0];
        std::uint8_t flag = 0;
        for (int k = 0; flag == 0 && k < stack.numlayers; ++k) {
            flag = anyNonZero(*stack.datalayer[k], sources->mask, type) ? 1 : 0;
        }
        const Egda_BaseData& to = *dest->datalayer[0];
        const Epxm_ConvertRoutine convert = convertRoutine(EGDA_TYPE_U8, to.datatype);
        if (convert == nullptr) {
            return scope.raise("The destination cannot hold a number");
        }
        convert(&flag, to.data, 1);
    }
    template <Egda_PixelType type>
    static consteval Egda_OperatorRoutine routine()
    {
        return run<type>;
    }
};

}  // namespace

#define EMANTLE_TABLE_OF_search(table, types) EMANTLE_TABLE_ACCESSOR(table, types, NotAllZeroFamily)
#include "data/operators/homes.h"
