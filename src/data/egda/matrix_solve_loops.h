/* Factors and solutions. Compiled once for each instruction set; every sum is formed in one order in all of them. */

namespace emantle::EMANTLE_TARGET {

/* Elements as a step of a loop takes them. */
template <class T>
struct Lanes {
    typedef T Vector __attribute__((vector_size(64)));
    static constexpr long count = 64 / static_cast<long>(sizeof(T));
};

template <class T>
inline T magnitude(T value)
{
    return value < 0 ? -value : value;
}

inline double magnitude(Egda_Complex64 value)
{
    return std::hypot(static_cast<double>(value.real), static_cast<double>(value.imaginary));
}

inline double magnitude(Egda_Complex128 value)
{
    return std::hypot(value.real, value.imaginary);
}

template <class T>
inline T quotient(T a, T b)
{
    if constexpr (isComplexValue<T>) {
        const auto x = b.real * b.real + b.imaginary * b.imaginary;
        return {(a.real * b.real + a.imaginary * b.imaginary) / x, (a.imaginary * b.real - a.real * b.imaginary) / x};
    } else {
        return a / b;
    }
}

/* Keeps the compiler from making one instruction of a complex number's products and their alternating signs: that rounds
 * once where two roundings are asked for. */
template <class Part>
inline Part rounded(Part value)
{
    asm("" : "+x"(value));
    return value;
}

/* a - b * c */
template <class T>
inline T lessProduct(T a, T b, T c)
{
    if constexpr (isComplexValue<T>) {
        return {a.real - (rounded(b.real * c.real) - rounded(b.imaginary * c.imaginary)),
                a.imaginary - (rounded(b.imaginary * c.real) + rounded(b.real * c.imaginary))};
    } else {
        return a - b * c;
    }
}

template <class T>
inline T one()
{
    if constexpr (isComplexValue<T>) {
        return {1, 0};
    } else {
        return 1;
    }
}

/* The column, from `step` on, of the largest element of row `step`, the first of equal ones; -1 where all are 0. */
template <class T>
long pivotColumn(const T* upper, long rows, long n, long step)
{
    long pivot = -1;
    decltype(magnitude(T{})) largest = 0;
    for (long column = step; column < n; ++column) {
        const auto candidate = magnitude(upper[column * rows + step]);
        if (candidate > largest) {
            largest = candidate;
            pivot = column;
        }
    }
    return pivot;
}

/* Takes the multiples of row `step` from the rows below it, in `count` columns. */
template <class T, int count>
inline void eliminate(T* upper, const T* factors, long rows, long n, long step, long column)
{
    if constexpr (isComplexValue<T>) {
        for (int i = 0; i < count; ++i) {
            T* at = upper + (column + i) * rows;
            const T top = at[step];
            for (long row = step + 1; row < n; ++row) {
                at[row] = lessProduct(at[row], factors[row], top);
            }
        }
    } else {
        using Vector = typename Lanes<T>::Vector;
        constexpr long lanes = Lanes<T>::count;
        T* at[count];
        T top[count];
        for (int i = 0; i < count; ++i) {
            at[i] = upper + (column + i) * rows;
            top[i] = at[i][step];
        }
        const long first = (step + 1) / lanes * lanes;
        const long whole = first < step + 1 ? first + lanes : first;
        T above[count][lanes]; /* rows up to `step` that lie in a vector with rows below it */
        for (int i = 0; i < count; ++i) {
            std::memcpy(above[i], at[i] + first, sizeof above[i]);
        }
        for (long row = first; row < n; row += lanes) {
            Vector factor;
            std::memcpy(&factor, factors + row, sizeof factor);
            for (int i = 0; i < count; ++i) {
                Vector value;
                std::memcpy(&value, at[i] + row, sizeof value);
                value -= factor * top[i];
                std::memcpy(at[i] + row, &value, sizeof value);
            }
        }
        if (whole != first) {
            for (int i = 0; i < count; ++i) {
                for (long row = first; row <= step; ++row) {
                    at[i][row] = above[i][row - first];
                }
            }
        }
    }
}

template <class T>
bool factor(void* upperBlock, void* lowerBlock, long n, long* columns)
{
    auto* upper = static_cast<T*>(upperBlock);
    auto* lower = static_cast<T*>(lowerBlock);
    const long rows = paddedRows<T>(n);
    for (long step = 0; step < n; ++step) {
        const long pivot = pivotColumn(upper, rows, n, step);
        if (pivot < 0) {
            return false;
        }
        T* column = upper + step * rows;
        if (pivot != step) {
            for (long row = 0; row < n; ++row) {
                std::swap(column[row], upper[pivot * rows + row]);
            }
            std::swap(columns[step], columns[pivot]);
        }
        T* factors = lower + step * rows;
        std::memset(static_cast<void*>(factors), 0, static_cast<std::size_t>(rows) * sizeof(T));
        const T divisor = column[step];
        for (long row = step + 1; row < n; ++row) {
            factors[row] = quotient(column[row], divisor);
            column[row] = T{};
        }
        long right = step + 1;
        for (; right + 4 <= n; right += 4) {
            eliminate<T, 4>(upper, factors, rows, n, step, right);
        }
        for (; right < n; ++right) {
            eliminate<T, 1>(upper, factors, rows, n, step, right);
        }
        factors[step] = one<T>();
    }
    return true;
}

/* row -= factor * solved, over the right sides. */
template <class T>
inline void takeMultiple(T* row, const T* solved, T factor)
{
    if constexpr (isComplexValue<T>) {
        for (long i = 0; i < solveLanes<T>; ++i) {
            row[i] = lessProduct(row[i], factor, solved[i]);
        }
    } else {
        using Vector = typename Lanes<T>::Vector;
        for (long i = 0; i < solveLanes<T>; i += Lanes<T>::count) {
            Vector value;
            Vector known;
            std::memcpy(&value, row + i, sizeof value);
            std::memcpy(&known, solved + i, sizeof known);
            value -= known * factor;
            std::memcpy(row + i, &value, sizeof value);
        }
    }
}

template <class T>
void solve(const void* upperBlock, const void* lowerBlock, void* panelBlock, long n)
{
    const auto* upper = static_cast<const T*>(upperBlock);
    const auto* lower = static_cast<const T*>(lowerBlock);
    auto* panel = static_cast<T*>(panelBlock);
    const long rows = paddedRows<T>(n);
    for (long step = 0; step < n; ++step) {
        const T* solved = panel + step * solveLanes<T>;
        for (long row = step + 1; row < n; ++row) {
            takeMultiple(panel + row * solveLanes<T>, solved, lower[step * rows + row]);
        }
    }
    for (long step = n - 1; step >= 0; --step) {
        T* solved = panel + step * solveLanes<T>;
        const T divisor = upper[step * rows + step];
        for (long i = 0; i < solveLanes<T>; ++i) {
            solved[i] = quotient(solved[i], divisor);
        }
        for (long row = 0; row < step; ++row) {
            takeMultiple(panel + row * solveLanes<T>, solved, upper[step * rows + row]);
        }
    }
}

constexpr SolveKernels kSolve[] = {{factor<float>, solve<float>},
                                   {factor<double>, solve<double>},
                                   {factor<Egda_Complex64>, solve<Egda_Complex64>},
                                   {factor<Egda_Complex128>, solve<Egda_Complex128>}};

}  // namespace emantle::EMANTLE_TARGET
