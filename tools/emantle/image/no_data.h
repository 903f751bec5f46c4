#pragma once

#include <optional>
#include <string>
#include <tiffio.h>

namespace tool {

/* The tag by which many programs say which value stands for no data, as text. */
inline constexpr std::uint32_t kNoDataTag = 42113;

/* Makes the tag known to files that are opened from now on. */
void registerNoDataTag();

std::optional<std::string> noDataText(TIFF* file);

/* The number that a text says; nothing for "nan" and for what is no number. */
std::optional<double> noDataValue(const std::string& text);

}  // namespace tool
