/* Eigen's functions get another namespace, since they are inline and must not be taken for those of any machine. */

#ifdef EMANTLE_BENCH_EIGEN
#define Eigen EigenNative
#include <Eigen/Dense>

#include "data/matrix_peers.h"

namespace {

template <class T>
using Matrix = Eigen::Map<Eigen::Matrix<T, Eigen::Dynamic, Eigen::Dynamic>>;

}  // namespace

template <class T>
void eigenNativeProduct(T* a, T* b, T* out, long n)
{
    Matrix<T>(out, n, n).noalias() = Matrix<T>(a, n, n) * Matrix<T>(b, n, n);
}

template <class T>
void eigenNativeInverse(T* a, T*, T* out, long n)
{
    Matrix<T>(out, n, n) = Matrix<T>(a, n, n).inverse();
}

template void eigenNativeProduct(float*, float*, float*, long);
template void eigenNativeProduct(double*, double*, double*, long);
template void eigenNativeInverse(float*, float*, float*, long);
template void eigenNativeInverse(double*, double*, double*, long);
#endif
