#include <emantle/data/egda/group.h>

#include <cstdint>

/* The ordering of values by an indirect heap sort. */

namespace {

/* Counts from 1, as heaps do. */
template <class T>
void order(int32_t* indices, long count, const void* values)
{
    const auto* value = static_cast<const T*>(values) - 1;
    if (count == 1) {
        indices[0] = 0;
        return;
    }
    int32_t* index = indices - 1;
    for (long i = 1; i <= count; ++i) {
        index[i] = static_cast<int32_t>(i);
    }
    long top = count / 2 + 1;
    long end = count;
    while (end > 1) {
        int32_t moved;
        if (top > 1) {
            moved = index[--top];
        } else {
            moved = index[end];
            index[end] = index[1];
            if (--end == 1) {
                index[1] = moved;
                break;
            }
        }
        long hole = top;
        for (long child = 2 * top; child <= end; child *= 2) {
            child += child < end && value[index[child]] < value[index[child + 1]];
            if (!(value[moved] < value[index[child]])) {
                break;
            }
            index[hole] = index[child];
            hole = child;
        }
        index[hole] = moved;
    }
    for (long i = 1; i <= count; ++i) {
        --index[i];
    }
}

constexpr Egda_OrderRoutine kOrder[EGDA_NUM_TYPES] = {
    order<std::uint8_t>, order<std::uint8_t>,  order<std::uint8_t>, order<std::uint8_t>, order<std::int8_t>,
    order<std::uint16_t>, order<std::int16_t>, order<std::uint32_t>, order<std::int32_t>, order<float>,
    order<double>,       nullptr,              nullptr,             nullptr};

}  // namespace

EMANTLE_API const Egda_OrderRoutine* emsc_AddressOf_egda_GpfOrder(void)
{
    return kOrder;
}
