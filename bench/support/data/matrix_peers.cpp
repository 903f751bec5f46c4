#include "data/matrix_peers.h"

#ifdef EMANTLE_BENCH_EIGEN
#include <Eigen/Dense>

namespace {

template <class T>
using Matrix = Eigen::Map<Eigen::Matrix<T, Eigen::Dynamic, Eigen::Dynamic>>;

}  // namespace

bool machineHasNativePeers()
{
    return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("fma");
}

template <class T>
void eigenProduct(T* a, T* b, T* out, long n)
{
    Matrix<T>(out, n, n).noalias() = Matrix<T>(a, n, n) * Matrix<T>(b, n, n);
}

template <class T>
void eigenInverse(T* a, T*, T* out, long n)
{
    Matrix<T>(out, n, n) = Matrix<T>(a, n, n).inverse();
}

template void eigenProduct(float*, float*, float*, long);
template void eigenProduct(double*, double*, double*, long);
template void eigenInverse(float*, float*, float*, long);
template void eigenInverse(double*, double*, double*, long);
#endif
