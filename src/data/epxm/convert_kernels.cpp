#include "data/epxm/convert.h"
#include "data/epxm/element_types.h"
#include "data/epxm/streaming.h"

#include <cstddef>
#include <cstdint>
#include <immintrin.h>

namespace emantle {

namespace {

template <class Routine>
struct ConvertCells {
    Routine rows[EGDA_NUM_TYPES][EGDA_NUM_TYPES];
};

template <class Kind, class From, class Routine, class... To>
consteval void setRow(Routine (&row)[EGDA_NUM_TYPES], TypeList<To...>)
{
    int type = 0;
    ((row[type++] = Kind::template cell<To, From>()), ...);
}

template <class Kind, class Routine, class... From>
consteval void setRows(ConvertCells<Routine>& cells, TypeList<From...> types)
{
    int type = 0;
    (setRow<Kind, From>(cells.rows[type++], types), ...);
}

/* The square table: numbers by `Kind`, strings by `strings`, null between the two. */
template <class Kind, class Routine>
consteval ConvertCells<Routine> convertCells(Routine strings)
{
    ConvertCells<Routine> cells{};
    setRows<Kind>(cells, NumberTypes{});
    cells.rows[EGDA_TYPE_STRING][EGDA_TYPE_STRING] = strings;
    return cells;
}

}  // namespace

}  // namespace emantle

#define EMANTLE_LOOPS "data/epxm/convert_loops.h"
#include "platform/for_each_target.h"

namespace emantle {

namespace {

/* Steps leave nothing for wider vectors to gain, so one instruction set serves every machine. */
constexpr auto kConvertInc = convertCells<baseline::Stepped, Epxm_ConvertIncRoutine>(convertStringsInc);

}  // namespace

const Epxm_ConvertRow* convertTable(platform::InstructionSet set) noexcept
{
    return platform::madeFor(set, baseline::kConvert.rows, avx2::kConvert.rows, avx512::kConvert.rows);
}

const Epxm_ConvertIncRow* convertIncTable() noexcept
{
    return kConvertInc.rows;
}

}  // namespace emantle
