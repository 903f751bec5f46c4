#include "data/egda/matrix_solve.h"
#include "data/epxm/element_types.h"

#include <cmath>
#include <cstring>
#include <utility>

#define EMANTLE_LOOPS "data/egda/matrix_solve_loops.h"
#include "platform/for_each_target.h"

namespace emantle {

const SolveKernels* solveKernels(platform::InstructionSet set) noexcept
{
    return platform::madeFor(set, baseline::kSolve, avx2::kSolve, avx512::kSolve);
}

}  // namespace emantle
