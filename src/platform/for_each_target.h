// Compiles a file of loops once per instruction set. No guard: each file of kernels includes this once.
//
//     #include <algorithm>                          // every header that the loops need comes first
//     #define EMANTLE_LOOPS "data/foo_loops.h"      // wraps itself in namespace EMANTLE_TARGET, has no guard
//     #include "platform/for_each_target.h"         // now baseline::, avx2:: and avx512:: hold the loops
//
// README.md says what a file of loops may call.

#ifndef EMANTLE_LOOPS
#error "Define EMANTLE_LOOPS, the file of loops, before including platform/for_each_target.h"
#endif

#define EMANTLE_TARGET baseline
#include EMANTLE_LOOPS
#undef EMANTLE_TARGET

#if defined(__clang__)
#pragma clang attribute push(__attribute__((target("avx2,fma,bmi2"))), apply_to = function)
#else
#pragma GCC push_options
#pragma GCC target("avx2,fma,bmi2")
#endif
#define EMANTLE_TARGET avx2
#include EMANTLE_LOOPS
#undef EMANTLE_TARGET
#if defined(__clang__)
#pragma clang attribute pop
#else
#pragma GCC pop_options
#endif

#if defined(__clang__)
#pragma clang attribute push(__attribute__((target("avx2,fma,bmi2,avx512f,avx512bw,avx512dq,avx512vl"))), \
                             apply_to = function)
#else
#pragma GCC push_options
#pragma GCC target("avx2,fma,bmi2,avx512f,avx512bw,avx512dq,avx512vl")
#endif
#define EMANTLE_TARGET avx512
#include EMANTLE_LOOPS
#undef EMANTLE_TARGET
#if defined(__clang__)
#pragma clang attribute pop
#else
#pragma GCC pop_options
#endif

#undef EMANTLE_LOOPS
