#include "data/epxm/convert.h"
#include "data/epxm/element_types.h"

/* Filling asks for nothing but the size of an element. */

namespace emantle {

namespace {

template <class Storage>
void fill(void* dest, const void* value, long count)
{
    const Cell<Storage> element = *static_cast<const Cell<Storage>*>(value);
    auto* out = static_cast<Cell<Storage>*>(dest);
    for (long i = 0; i < count; ++i) {
        out[i] = element;
    }
}

template <class Storage>
void fillInc(void* dest, const void* value, long count, long step)
{
    const Cell<Storage> element = *static_cast<const Cell<Storage>*>(value);
    for (long i = 0; i < count; ++i) {
        *reinterpret_cast<Cell<Storage>*>(static_cast<char*>(dest) + i * step) = element;
    }
}

template <class... Types>
const Epxm_FillRoutine* fillCells(TypeList<Types...>)
{
    static constexpr Epxm_FillRoutine kCells[EGDA_NUM_TYPES] = {fill<typename Types::Storage>..., fillStrings};
    return kCells;
}

template <class... Types>
const Epxm_FillIncRoutine* fillIncCells(TypeList<Types...>)
{
    static constexpr Epxm_FillIncRoutine kCells[EGDA_NUM_TYPES] = {fillInc<typename Types::Storage>..., fillStringsInc};
    return kCells;
}

}  // namespace

const Epxm_FillRoutine* fillTable() noexcept
{
    return fillCells(NumberTypes{});
}

const Epxm_FillIncRoutine* fillIncTable() noexcept
{
    return fillIncCells(NumberTypes{});
}

}  // namespace emantle
