/* Limits and ranges of runs of elements. Compiled once for each instruction set. */

namespace emantle::EMANTLE_TARGET {

/* A bound in the element's type: whole ones limited to what the type stores, and truncated. */
template <class Type>
inline typename Type::Storage bound(double value)
{
    if constexpr (isWhole<Type>) {
        value = value > static_cast<double>(Type::low) ? value : static_cast<double>(Type::low);
        value = value < static_cast<double>(Type::high) ? value : static_cast<double>(Type::high);
    }
    return static_cast<typename Type::Storage>(value);
}

template <class T>
void clipRun(void* run, long count, T low, T high)
{
    auto* cells = static_cast<Cell<T>*>(run);
    for (long i = 0; i < count; ++i) {
        const T value = cells[i].value;
        const T limited = value > high ? high : value;
        cells[i].value = value < low ? low : limited;
    }
}

template <class Type>
void clip(const Lines& lines, double least, double greatest)
{
    using Storage = typename Type::Storage;
    const Storage low = bound<Type>(least);
    const Storage high = bound<Type>(greatest);
    for (long line = 0; line < lines.count; ++line) {
        clipRun<Storage>(lines.first + line * lines.pitch, lines.run, low, high);
    }
}

template <class T>
inline void widen(T value, T& low, T& high)
{
    low = value < low ? value : low;
    high = value > high ? value : high;
}

/* Floating types need their lanes written out, since the order of comparisons decides what a NaN does: every lane
 * starts from the same values, so a NaN counts only where they hold it. The number of lanes does not depend on the
 * instruction set. */
template <class T>
long widenByLanes(const Cell<T>* cells, long count, T& low, T& high)
{
    using Lanes [[gnu::vector_size(16)]] = T;
    constexpr long lanes = 16 / sizeof(T);
    constexpr long parts = 4; /* so many that no comparison waits for the one before */
    const T least = low;
    const T greatest = high;
    Lanes lows[parts];
    Lanes highs[parts];
    for (long part = 0; part < parts; ++part) {
        lows[part] = Lanes{} + least;
        highs[part] = Lanes{} + greatest;
    }
    long i = 0;
    for (; i + parts * lanes <= count; i += parts * lanes) {
        for (long part = 0; part < parts; ++part) {
            Lanes values;
            __builtin_memcpy(&values, cells + i + part * lanes, sizeof(values));
            lows[part] = values < lows[part] ? values : lows[part];
            highs[part] = values > highs[part] ? values : highs[part];
        }
    }
    for (long lane = 0; lane < parts * lanes; ++lane) {
        widen<T>(lows[lane / lanes][lane % lanes], low, high);
        widen<T>(highs[lane / lanes][lane % lanes], low, high);
    }
    return i;
}

template <class T>
void widenRange(const void* run, long count, T& low, T& high)
{
    const auto* cells = static_cast<const Cell<T>*>(run);
    T least = low;
    T greatest = high;
    long i = 0;
    if constexpr (!std::is_integral_v<T>) {
        i = widenByLanes<T>(cells, count, least, greatest);
    }
    for (; i < count; ++i) {
        widen<T>(cells[i].value, least, greatest);
    }
    low = least;
    high = greatest;
}

template <class Type>
void range(const Lines& lines, double& least, double& greatest)
{
    using Storage = typename Type::Storage;
    Storage low = reinterpret_cast<const Cell<Storage>*>(lines.first)->value;
    Storage high = low;
    for (long line = 0; line < lines.count; ++line) {
        widenRange<Storage>(lines.first + line * lines.pitch, lines.run, low, high);
    }
    least = low;
    greatest = high;
}

/* Complex numbers and strings are taken for bytes. */
constexpr RangeRoutines kRange[EGDA_NUM_TYPES] = {
    {clip<U8>, range<U8>},   {clip<U8>, range<U8>},   {clip<U8>, range<U8>},   {clip<U8>, range<U8>},
    {clip<S8>, range<S8>},   {clip<U16>, range<U16>}, {clip<S16>, range<S16>}, {clip<U32>, range<U32>},
    {clip<S32>, range<S32>}, {clip<F32>, range<F32>}, {clip<F64>, range<F64>}, {clip<U8>, range<U8>},
    {clip<U8>, range<U8>},   {clip<U8>, range<U8>}};

}  // namespace emantle::EMANTLE_TARGET
