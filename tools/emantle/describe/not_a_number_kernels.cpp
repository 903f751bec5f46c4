#include "describe/not_a_number.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace tool {

namespace {

template <class T>
void markReal(const T* pixels, std::size_t count, std::uint8_t* mask)
{
    for (std::size_t i = 0; i < count; ++i) {
        mask[i] = pixels[i] == pixels[i] ? 1 : 0;
    }
}

template <class T>
void markComplex(const T* parts, std::size_t count, std::uint8_t* mask)
{
    for (std::size_t i = 0; i < count; ++i) {
        const bool number = (parts[2 * i] == parts[2 * i]) & (parts[2 * i + 1] == parts[2 * i + 1]);
        mask[i] = number ? 1 : 0;
    }
}

template <class T>
double greatestReal(const T* pixels, const std::uint8_t* mask, std::size_t count, double greatest)
{
    for (std::size_t i = 0; i < count; ++i) {
        const bool counts = mask == nullptr || mask[i] != 0;
        greatest = counts && static_cast<double>(pixels[i]) > greatest ? static_cast<double>(pixels[i]) : greatest;
    }
    return greatest;
}

template <class T>
double greatestComplex(const T* parts, const std::uint8_t* mask, std::size_t count, double greatest)
{
    for (std::size_t i = 0; i < count; ++i) {
        const bool counts = mask == nullptr || mask[i] != 0;
        const double magnitude = std::sqrt(parts[2 * i] * parts[2 * i] + parts[2 * i + 1] * parts[2 * i + 1]);
        greatest = counts && magnitude > greatest ? magnitude : greatest;
    }
    return greatest;
}

}  // namespace

void markNumbers(Egda_PixelType type, const void* pixels, std::size_t count, std::uint8_t* mask)
{
    switch (type) {
    case EGDA_TYPE_F32: return markReal(static_cast<const float*>(pixels), count, mask);
    case EGDA_TYPE_F64: return markReal(static_cast<const double*>(pixels), count, mask);
    case EGDA_TYPE_C64: return markComplex(static_cast<const float*>(pixels), count, mask);
    case EGDA_TYPE_C128: return markComplex(static_cast<const double*>(pixels), count, mask);
    default: std::memset(mask, 1, count);
    }
}

double greatestOf(Egda_PixelType type, const void* pixels, const std::uint8_t* mask, std::size_t count, double greatest)
{
    switch (type) {
    case EGDA_TYPE_S8: return greatestReal(static_cast<const std::int8_t*>(pixels), mask, count, greatest);
    case EGDA_TYPE_U16: return greatestReal(static_cast<const std::uint16_t*>(pixels), mask, count, greatest);
    case EGDA_TYPE_S16: return greatestReal(static_cast<const std::int16_t*>(pixels), mask, count, greatest);
    case EGDA_TYPE_U32: return greatestReal(static_cast<const std::uint32_t*>(pixels), mask, count, greatest);
    case EGDA_TYPE_S32: return greatestReal(static_cast<const std::int32_t*>(pixels), mask, count, greatest);
    case EGDA_TYPE_F32: return greatestReal(static_cast<const float*>(pixels), mask, count, greatest);
    case EGDA_TYPE_F64: return greatestReal(static_cast<const double*>(pixels), mask, count, greatest);
    case EGDA_TYPE_C64: return greatestComplex(static_cast<const float*>(pixels), mask, count, greatest);
    case EGDA_TYPE_C128: return greatestComplex(static_cast<const double*>(pixels), mask, count, greatest);
    default: return greatestReal(static_cast<const std::uint8_t*>(pixels), mask, count, greatest);
    }
}

}  // namespace tool
