#pragma once

/* Loops over C128 that call the C library for each element: once for every instruction set. */

namespace emantle {

#define EMANTLE_COMPLEX_LOOP(name) void name(void* dest, const void* a, const void* b, long count);
EMANTLE_COMPLEX_LOOP(complexSin)
EMANTLE_COMPLEX_LOOP(complexCos)
EMANTLE_COMPLEX_LOOP(complexTan)
EMANTLE_COMPLEX_LOOP(complexSinh)
EMANTLE_COMPLEX_LOOP(complexCosh)
EMANTLE_COMPLEX_LOOP(complexTanh)
EMANTLE_COMPLEX_LOOP(complexAsin)
EMANTLE_COMPLEX_LOOP(complexAcos)
EMANTLE_COMPLEX_LOOP(complexAtan)
EMANTLE_COMPLEX_LOOP(complexAsinh)
EMANTLE_COMPLEX_LOOP(complexAcosh)
EMANTLE_COMPLEX_LOOP(complexLog)
EMANTLE_COMPLEX_LOOP(complexExp)
EMANTLE_COMPLEX_LOOP(complexLog10)
EMANTLE_COMPLEX_LOOP(complexSqrt)
EMANTLE_COMPLEX_LOOP(complexInv)
EMANTLE_COMPLEX_LOOP(complexSinc)
EMANTLE_COMPLEX_LOOP(complexGamma)
EMANTLE_COMPLEX_LOOP(complexFact)
/* To doubles. */
EMANTLE_COMPLEX_LOOP(complexAngle)
/* The exponents are doubles. */
EMANTLE_COMPLEX_LOOP(complexPow)
#undef EMANTLE_COMPLEX_LOOP

}  // namespace emantle
