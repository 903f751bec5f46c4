#include "tables/eahg/counts.h"

#include "frame/memory/heap_ptr.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <emantle/frame/ehsh.h>

namespace emantle::tables {

namespace {

/* Every value against every other, NaN above all numbers. */
bool isBelow(double a, double b)
{
    return std::isnan(b) ? !std::isnan(a) : a < b;
}

double magnitudeOf(const Egda_Complex128& value)
{
    return std::sqrt(value.real * value.real + value.imaginary * value.imaginary);
}

bool isBelow(const Egda_Complex128& a, const Egda_Complex128& b)
{
    const double keys[2][3] = {{magnitudeOf(a), a.real, a.imaginary}, {magnitudeOf(b), b.real, b.imaginary}};
    return std::lexicographical_compare(keys[0], keys[0] + 3, keys[1], keys[1] + 3,
                                        [](double left, double right) { return isBelow(left, right); });
}

template <class Number>
double numberAt(const void* bytes)
{
    Number number;
    std::memcpy(&number, bytes, sizeof number);
    return static_cast<double>(number);
}

double valueAt(const void* bytes, Egda_PixelType type)
{
    switch (type) {
    case EGDA_TYPE_U1:
    case EGDA_TYPE_U2:
    case EGDA_TYPE_U4:
    case EGDA_TYPE_U8:
        return numberAt<std::uint8_t>(bytes);
    case EGDA_TYPE_S8:
        return numberAt<std::int8_t>(bytes);
    case EGDA_TYPE_U16:
        return numberAt<std::uint16_t>(bytes);
    case EGDA_TYPE_S16:
        return numberAt<std::int16_t>(bytes);
    case EGDA_TYPE_U32:
        return numberAt<std::uint32_t>(bytes);
    case EGDA_TYPE_S32:
        return numberAt<std::int32_t>(bytes);
    case EGDA_TYPE_F32:
        return numberAt<float>(bytes);
    case EGDA_TYPE_F64:
        return numberAt<double>(bytes);
    default:
        fail("Huh?");
    }
}

void store(ValueCount& pair, const void* bytes, Egda_PixelType type)
{
    pair.value = valueAt(bytes, type);
}

void store(ComplexCount& pair, const void* bytes, Egda_PixelType type)
{
    const char* parts = static_cast<const char*>(bytes);
    if (type == EGDA_TYPE_C64) {
        pair.value = {numberAt<float>(parts), numberAt<float>(parts + sizeof(float))};
    } else {
        pair.value = {numberAt<double>(parts), numberAt<double>(parts + sizeof(double))};
    }
}

/* Where the pairs of a walk over a hash table go; the walk's function is given nothing but the key. */
struct Walk {
    void* next;
    void* end;
    Egda_PixelType type;
};
thread_local Walk* walk = nullptr;

class WalkScope {
public:
    explicit WalkScope(Walk& own) noexcept { walk = &own; }
    ~WalkScope() { walk = nullptr; }
    WalkScope(const WalkScope&) = delete;
    WalkScope& operator=(const WalkScope&) = delete;
};

template <class Pair>
void storePair(int, const void* key, void* data, Eerr_ErrorReport** err)
{
    guarded(err, "eahg_HistogramConvertToValuesAndCounts", [&] {
        Pair* pair = static_cast<Pair*>(walk->next);
        require(pair != walk->end, "The table has more values than the histogram counted");
        store(*pair, key, walk->type);
        pair->count = numberAt<std::uint32_t>(data);
        walk->next = pair + 1;
    });
}

template <class Pair>
HeapPtr<Pair> pairsOf(Eahg_Histogram& histogram, EerrException& scope)
{
    const long count = histogram.uniqueCount;
    HeapPtr<Pair> pairs = allocate<Pair>(static_cast<std::size_t>(count), "Insufficient memory");
    Pair* next = pairs.get();
    if (hasArray(histogram)) {
        for (long cell = 0; cell < cellsOf(histogram) && next != pairs.get() + count; ++cell) {
            if (arrayOf(histogram)[cell] != 0) {
                const std::uint64_t pattern[2] = {static_cast<std::uint64_t>(cell)};
                store(*next, pattern, histogram.dataType);
                next->count = arrayOf(histogram)[cell];
                ++next;
            }
        }
    } else {
        Walk own{next, next + count, histogram.dataType};
        WalkScope walkScope(own);
        ehsh_KeysApplyFunction(tableOf(histogram), storePair<Pair>, scope);
        check(scope, "ehsh_KeysApplyFunction failed");
    }
    std::sort(pairs.get(), pairs.get() + count,
              [](const Pair& a, const Pair& b) { return isBelow(a.value, b.value); });
    return pairs;
}

}  // namespace

void sortValues(Eahg_Histogram& histogram, EerrException& scope)
{
    if (histogram.values == nullptr && isComplex(histogram.dataType)) {
        histogram.values = pairsOf<ComplexCount>(histogram, scope).release();
    } else if (histogram.values == nullptr) {
        histogram.values = pairsOf<ValueCount>(histogram, scope).release();
    }
}

}  // namespace emantle::tables
