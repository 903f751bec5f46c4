#include "data/epxm/element_types.h"
#include "data/operators/matrix_product.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

namespace emantle {

namespace {

constexpr std::size_t kAlignment = 64;

struct FreePacked {
    void operator()(std::byte* block) const noexcept { ::operator delete[](block, std::align_val_t{kAlignment}); }
};
using Packed = std::unique_ptr<std::byte[], FreePacked>;

Packed makePacked(long bytes) noexcept
{
    return Packed(new (std::align_val_t{kAlignment}, std::nothrow) std::byte[static_cast<std::size_t>(bytes)]);
}

}  // namespace

/* How many bytes a register holds, and how many columns of sums the registers of a machine hold beside their factors. */
namespace baseline {
inline constexpr long kRegister = 16;
inline constexpr long kTileColumns = 4;
}  // namespace baseline
namespace avx2 {
inline constexpr long kRegister = 32;
inline constexpr long kTileColumns = 4;
}  // namespace avx2
namespace avx512 {
inline constexpr long kRegister = 64;
inline constexpr long kTileColumns = 12;
}  // namespace avx512

}  // namespace emantle

#define EMANTLE_LOOPS "data/operators/matrix_product_loops.h"
#include "platform/for_each_target.h"

namespace emantle {

const ProductRoutines* productTable(platform::InstructionSet set) noexcept
{
    return platform::madeFor(set, baseline::kProducts, avx2::kProducts, avx512::kProducts);
}

}  // namespace emantle
