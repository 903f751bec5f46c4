#include "tables/ehst/lut.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace emantle::tables {

namespace {

constexpr long kListGrowth = 256;

struct Farthest {
    std::int32_t x = 0;
    double distance = 0;
};

/* The first of the outputs strictly between the ends that are furthest from the line through them. Nothing lies beside
 * a level line, so there an output counts as 1 to the side of itself: its distance comes out as 1. */
Farthest farthestOf(const Ehst_BreakPoint& from, const Ehst_BreakPoint& to, std::span<const std::int32_t> table)
{
    const double slope = (static_cast<double>(to.output) - from.output) / (static_cast<double>(to.input) - from.input);
    const double offset = from.output - from.input * slope;
    double greatest = -1;
    Farthest farthest;
    const std::int64_t first = std::max<std::int64_t>(std::int64_t{from.input} + 1, 0);
    const std::int64_t end = std::min<std::int64_t>(to.input, static_cast<std::int64_t>(table.size()));
    for (std::int64_t x = first; x < end; ++x) {
        const double output = table[static_cast<std::size_t>(x)];
        const double dy = std::fabs(output - (static_cast<double>(x) * slope + offset));
        const double dx = slope == 0 ? 1 : std::fabs(static_cast<double>(x) - (output - offset) / slope);
        const double squares = slope == 0 ? dy * dy : dy * dy + dx * dx;
        if (squares > greatest) {
            greatest = squares;
            farthest = {static_cast<std::int32_t>(x), squares > 0 ? dx * dy / std::sqrt(squares) : 0};
        }
    }
    return farthest;
}

struct Piece {
    Ehst_BreakPoint from;
    Ehst_BreakPoint to;
};

using ListOwner = Owned<Edlm_List, [](Edlm_List* list) { edlm_FreeList(list, nullptr); }>;

}  // namespace

/* The pieces that are still to be looked at wait in a list of their own: a table may need as many cuts, one within the
 * other, as it has entries. */
EMANTLE_API Emsc_Boolean ehst_FindNearestPoint(int32_t x0, int32_t y0, int32_t x1, int32_t y1, Edlm_List* list,
                                               const int32_t* table, int32_t count, double tolerance,
                                               Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "ehst_FindNearestPoint", 0, [&](EerrException& scope) {
        require(list != nullptr && list->objectSize == sizeof(Ehst_BreakPoint) && table != nullptr && count >= 0,
                "Args");
        const std::span<const std::int32_t> outputs(table, static_cast<std::size_t>(count));
        std::vector<Piece> waiting{{{x0, y0}, {x1, y1}}};
        while (!waiting.empty()) {
            const Piece piece = waiting.back();
            waiting.pop_back();
            if (piece.to.input <= piece.from.input) {
                continue;
            }
            const Farthest farthest = farthestOf(piece.from, piece.to, outputs);
            if (farthest.distance > tolerance) {
                const Ehst_BreakPoint point{farthest.x, outputs[static_cast<std::size_t>(farthest.x)]};
                checked(scope, edlm_Add(list, &point, scope));
                waiting.push_back({point, piece.to});
                waiting.push_back({piece.from, point});
            }
        }
        return 1;
    });
}

EMANTLE_API Emsc_Boolean ehst_TableToBreakPoints(Ehst_LUT* lut, double tolerance, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "ehst_TableToBreakPoints", 0, [&](EerrException& scope) {
        require(lut != nullptr && lut->table != nullptr && lut->maxInput >= 0, "Invalid lookup table");
        require(tolerance >= 0, "The tolerance is %g; it must not be below 0", tolerance);
        const ListOwner list(checked(scope, edlm_InitList(sizeof(Ehst_BreakPoint), kListGrowth, scope),
                                     "Error reported by edlm_InitList"));
        const Ehst_BreakPoint first{0, lut->table[0]};
        const Ehst_BreakPoint last{lut->maxInput, lut->table[lut->maxInput]};
        checked(scope, edlm_Add(list.get(), &first, scope));
        checked(scope, edlm_Add(list.get(), &last, scope));
        checked(scope, ehst_FindNearestPoint(first.input, first.output, last.input, last.output, list.get(),
                                             lut->table, lut->maxInput + 1, tolerance / 2, scope));
        const void* const points = checked(scope, edlm_Consolidate(list.get(), scope),
                                           "Error reported by edlm_Consolidate");
        setPoints(*lut, {static_cast<const Ehst_BreakPoint*>(points), static_cast<std::size_t>(list->count)});
        ehst_BreakPointSort(lut);
        return 1;
    });
}

}  // namespace emantle::tables
