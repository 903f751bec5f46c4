#include "tables/eahg/counts.h"

#include <algorithm>
#include <cstring>
#include <emantle/frame/ehsh.h>
#include <limits>

namespace emantle::tables {

namespace {

constexpr std::uint64_t kMostOfOne = std::numeric_limits<std::uint32_t>::max();

/* Where the counts of a walk over a hash table go; the walk's function is given nothing but the key. */
struct CountWalk {
    std::vector<PatternCount>* counts;
    std::size_t keySize;
};
thread_local CountWalk* countWalk = nullptr;

class CountWalkScope {
public:
    explicit CountWalkScope(CountWalk& own) noexcept { countWalk = &own; }
    ~CountWalkScope() { countWalk = nullptr; }
    CountWalkScope(const CountWalkScope&) = delete;
    CountWalkScope& operator=(const CountWalkScope&) = delete;
};

void takeCount(int, const void* key, void* data, Eerr_ErrorReport** err)
{
    guarded(err, "eahg_HistogramAccumulateValues", [&] {
        PatternCount& count = countWalk->counts->emplace_back();
        std::memcpy(count.pattern.data(), key, countWalk->keySize);
        std::memcpy(&count.count, data, sizeof count.count);
    });
}

void requireCounter(std::uint32_t counter, std::uint32_t added)
{
    require(counter + std::uint64_t{added} <= kMostOfOne, "A value is there more than %llu times",
            static_cast<unsigned long long>(kMostOfOne));
}

/* How many patterns of `added` are not among `present`; both are sorted. Fails where a sum of counts is too large. */
long newAmong(const std::vector<PatternCount>& present, const std::vector<PatternCount>& added)
{
    long fresh = 0;
    auto at = present.begin();
    for (const PatternCount& one : added) {
        at = std::lower_bound(at, present.end(), one);
        if (at == present.end() || at->pattern != one.pattern) {
            ++fresh;
        } else {
            requireCounter(at->count, one.count);
        }
    }
    return fresh;
}

bool addArrays(Eahg_Histogram& target, const Eahg_Histogram& source)
{
    std::uint32_t* const own = arrayOf(target);
    const std::uint32_t* const other = arrayOf(source);
    const long cells = cellsOf(target);
    std::uint32_t fresh = 0;
    for (long cell = 0; cell < cells; ++cell) {
        fresh += own[cell] == 0 && other[cell] != 0;
        requireCounter(own[cell], other[cell]);
    }
    if (static_cast<double>(target.uniqueCount) + fresh > target.maxUnique) {
        return false;
    }
    for (long cell = 0; cell < cells; ++cell) {
        own[cell] += other[cell];
    }
    target.uniqueCount += static_cast<std::int32_t>(fresh);
    return true;
}

bool addTables(Eahg_Histogram& target, const Eahg_Histogram& source, EerrException& scope)
{
    const std::vector<PatternCount> added = countsOf(source, scope);
    const long fresh = newAmong(countsOf(target, scope), added);
    if (static_cast<double>(target.uniqueCount) + static_cast<double>(fresh) > target.maxUnique) {
        return false;
    }
    for (const PatternCount& one : added) {
        addCount(target, one, scope);
    }
    return true;
}

}  // namespace

std::vector<PatternCount> countsOf(const Eahg_Histogram& histogram, EerrException& scope)
{
    std::vector<PatternCount> counts;
    counts.reserve(static_cast<std::size_t>(histogram.uniqueCount));
    if (hasArray(histogram)) {
        for (long cell = 0; cell < cellsOf(histogram); ++cell) {
            if (arrayOf(histogram)[cell] != 0) {
                counts.push_back({{static_cast<std::uint64_t>(cell), 0}, arrayOf(histogram)[cell]});
            }
        }
        return counts;
    }
    CountWalk own{&counts, static_cast<std::size_t>(histogram.bytesPerPixel)};
    const CountWalkScope walkScope(own);
    ehsh_KeysApplyFunction(tableOf(histogram), takeCount, scope);
    check(scope, "ehsh_KeysApplyFunction failed");
    std::sort(counts.begin(), counts.end());
    return counts;
}

void addCount(Eahg_Histogram& histogram, const PatternCount& added, EerrException& scope)
{
    std::uint32_t* counter = nullptr;
    if (hasArray(histogram)) {
        counter = arrayOf(histogram) + added.pattern[0];
    } else {
        counter = static_cast<std::uint32_t*>(
            checked(scope, ehsh_KeyHash(tableOf(histogram), added.pattern.data(), nullptr, scope),
                    "ehsh_KeyHash failed"));
    }
    histogram.uniqueCount += *counter == 0;
    requireCounter(*counter, added.count);
    *counter += added.count;
}

bool addCounts(Eahg_Histogram& target, const Eahg_Histogram& source, EerrException& scope)
{
    const bool fits = hasArray(target) ? addArrays(target, source) : addTables(target, source, scope);
    if (fits) {
        emsc_HeapFreeEx(&target.values);
        addToTotal(target, static_cast<std::uint32_t>(source.totalCount));
    }
    return fits;
}

}  // namespace emantle::tables
