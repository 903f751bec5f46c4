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
    switch (set) {
    case platform::InstructionSet::avx512:
        return avx512::kSolve;
    case platform::InstructionSet::avx2:
        return avx2::kSolve;
    case platform::InstructionSet::baseline:
        break;
    }
    return baseline::kSolve;
}

}  // namespace emantle
