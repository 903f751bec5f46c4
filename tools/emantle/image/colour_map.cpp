#include "image/colour_map.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace tool {

ColourMap colourMapOf(TIFF* file)
{
    constexpr std::uint16_t kMostBits = 16;
    std::uint16_t photometric = 0;
    std::uint16_t bits = 0;
    std::uint16_t format = 0;
    const std::uint16_t* parts[3] = {};
    TIFFGetField(file, TIFFTAG_PHOTOMETRIC, &photometric);
    TIFFGetFieldDefaulted(file, TIFFTAG_BITSPERSAMPLE, &bits);
    TIFFGetFieldDefaulted(file, TIFFTAG_SAMPLEFORMAT, &format);
    const bool isPalette = photometric == PHOTOMETRIC_PALETTE && format == SAMPLEFORMAT_UINT && bits <= kMostBits;
    if (!isPalette || TIFFGetField(file, TIFFTAG_COLORMAP, &parts[0], &parts[1], &parts[2]) == 0 || parts[2] == nullptr) {
        return {};
    }
    const std::size_t count = std::size_t(1) << bits;
    /* Some writers put 8-bit parts where 16 bits belong. */
    std::uint16_t greatest = 0;
    for (const std::uint16_t* part : parts) {
        greatest = std::max(greatest, *std::max_element(part, part + count));
    }
    const double full = greatest < 256 ? 255 : 65535;
    ColourMap colours(count);
    for (std::size_t i = 0; i < count; ++i) {
        colours[i] = {parts[0][i] / full, parts[1][i] / full, parts[2][i] / full};
    }
    return colours;
}

}  // namespace tool
