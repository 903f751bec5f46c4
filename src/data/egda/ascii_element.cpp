#include "data/egda/ascii_element.h"

#include "data/egda/basedata_shape.h"
#include "frame/emsc/block_size.h"

#include <algorithm>

namespace emantle {

namespace {

/* The lines of a record, and the slack behind them where the record owns its block. */
long reachOf(const Egda_BaseData& base) noexcept
{
    const Extent extent = extentOf(base);
    if (extent.lines < 1 || extent.run < 1) {
        return 0;
    }
    const long shown = (extent.lines - 1) * base.pitch + extent.run * base.numbytes;
    return base.derivedFlag == 1 ? shown : std::max(shown, static_cast<long>(heapBlockSize(base.data)));
}

}  // namespace

std::int32_t asciiWhole(Egda_PixelType type, const void* element) noexcept
{
    switch (type) {
    case EGDA_TYPE_S8: return loadAs<std::int8_t>(element);
    case EGDA_TYPE_U16: return loadAs<std::uint16_t>(element);
    case EGDA_TYPE_S16: return loadAs<std::int16_t>(element);
    case EGDA_TYPE_U32:
    case EGDA_TYPE_S32: return loadAs<std::int32_t>(element);
    default: return loadAs<std::uint8_t>(element);
    }
}

Egda_Complex128 asciiNumber(Egda_PixelType type, const void* element) noexcept
{
    switch (type) {
    case EGDA_TYPE_F32: return {loadAs<float>(element), 0};
    case EGDA_TYPE_F64: return {loadAs<double>(element), 0};
    case EGDA_TYPE_C64: {
        const auto value = loadAs<Egda_Complex64>(element);
        return {value.real, value.imaginary};
    }
    default: return loadAs<Egda_Complex128>(element);
    }
}

const char* asciiString(const void* element) noexcept
{
    const auto* text = loadAs<const char*>(element);
    return text == nullptr ? "" : text;
}

AsciiWalk::AsciiWalk(const Egda_BaseDataStack& stack)
{
    if (stack.numlayers < 1) {
        return;
    }
    rows_ = stack.datalayer[0]->numrows;
    columns_ = stack.datalayer[0]->numcolumns;
    for (long i = 0; i < stack.numlayers; ++i) {
        layers_.push_back({stack.datalayer[i], reachOf(*stack.datalayer[i])});
    }
}

}  // namespace emantle
