// Adds through an operation, a lambda and templates of both. Each reaches the probe of its target, which compiles only
// where the target is really in force.
namespace target_test::EMANTLE_TARGET {

struct Add {
    template <class T> T operator()(T a, T b) const
    {
        return static_cast<T>(a + b + static_cast<T>(PROBE(EMANTLE_TARGET)));
    }
};

template <class Operation, class T> void apply(Operation operation, const T* a, const T* b, T* sum, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
        sum[i] = operation(a[i], b[i]);
}

template <class T> void addTwice(const T* a, const T* b, T* sum, std::size_t count)
{
    apply(Add{}, a, b, sum, count);
    apply([](T x, T y) { return static_cast<T>(x + y + static_cast<T>(PROBE(EMANTLE_TARGET))); }, sum, b, sum, count);
}

} // namespace target_test::EMANTLE_TARGET
