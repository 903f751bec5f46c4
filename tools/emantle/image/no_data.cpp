#include "image/no_data.h"

#include <charconv>
#include <cmath>

namespace tool {

namespace {

TIFFExtendProc nextExtender = nullptr;

void extend(TIFF* file)
{
    static char name[] = "NoDataText";
    static const TIFFFieldInfo field = {kNoDataTag, -1, -1, TIFF_ASCII, FIELD_CUSTOM, 1, 0, name};
    TIFFMergeFieldInfo(file, &field, 1);
    if (nextExtender != nullptr) {
        nextExtender(file);
    }
}

}  // namespace

void registerNoDataTag()
{
    static const bool registered = [] {
        nextExtender = TIFFSetTagExtender(extend);
        return true;
    }();
    static_cast<void>(registered);
}

std::optional<std::string> noDataText(TIFF* file)
{
    const char* text = nullptr;
    if (TIFFGetField(file, kNoDataTag, &text) != 1 || text == nullptr) {
        return std::nullopt;
    }
    return std::string(text);
}

std::optional<double> noDataValue(const std::string& text)
{
    const auto first = text.find_first_not_of(" \t+");
    const auto last = text.find_last_not_of(" \t\r\n");
    if (first == std::string::npos) {
        return std::nullopt;
    }
    double value = 0;
    const char* end = text.data() + last + 1;
    const auto [stop, error] = std::from_chars(text.data() + first, end, value);
    if (error != std::errc() || stop != end || std::isnan(value)) {
        return std::nullopt;
    }
    return value;
}

}  // namespace tool
