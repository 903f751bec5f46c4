#include "store/hfa/checksum.h"

#include <array>
#include <cstring>
#include <nmmintrin.h>

namespace emantle::hfa {

namespace {

using Tables = std::array<std::array<uint32_t, 256>, 8>;

/* Table k answers for a byte with k bytes behind it, so that eight bytes go in one step. */
constexpr Tables makeTables()
{
    Tables tables{};
    for (uint32_t value = 0; value < 256; ++value) {
        uint32_t sum = value;
        for (int bit = 0; bit < 8; ++bit) {
            sum = (sum >> 1) ^ (0x82F63B78u & (0u - (sum & 1)));
        }
        tables[0][value] = sum;
    }
    for (std::size_t k = 1; k < 8; ++k) {
        for (std::size_t value = 0; value < 256; ++value) {
            const uint32_t before = tables[k - 1][value];
            tables[k][value] = (before >> 8) ^ tables[0][before & 0xFF];
        }
    }
    return tables;
}

constexpr Tables kTables = makeTables();

uint32_t byTables(const unsigned char* bytes, std::size_t size, uint32_t sum) noexcept
{
    for (; size >= 8; bytes += 8, size -= 8) {
        uint64_t word;
        std::memcpy(&word, bytes, sizeof word);
        word ^= sum;
        sum = 0;
        for (std::size_t k = 0; k < 8; ++k) {
            sum ^= kTables[7 - k][(word >> (8 * k)) & 0xFF];
        }
    }
    for (; size > 0; ++bytes, --size) {
        sum = (sum >> 8) ^ kTables[0][(sum ^ *bytes) & 0xFF];
    }
    return sum;
}

__attribute__((target("sse4.2"))) uint32_t byInstruction(const unsigned char* bytes, std::size_t size, uint32_t sum) noexcept
{
    uint64_t wide = sum;
    for (; size >= 8; bytes += 8, size -= 8) {
        uint64_t word;
        std::memcpy(&word, bytes, sizeof word);
        wide = _mm_crc32_u64(wide, word);
    }
    auto narrow = static_cast<uint32_t>(wide);
    for (; size > 0; ++bytes, --size) {
        narrow = _mm_crc32_u8(narrow, *bytes);
    }
    return narrow;
}

}  // namespace

uint32_t checksum(const unsigned char* bytes, std::size_t size) noexcept
{
    static const bool hasInstruction = __builtin_cpu_supports("sse4.2") != 0;
    return ~(hasInstruction ? byInstruction : byTables)(bytes, size, ~uint32_t{0});
}

}  // namespace emantle::hfa
