#include "data/epxm/convert.h"

#include "frame/guard/plain_scope.h"

#include <cstring>

using namespace emantle;

namespace emantle {

Epxm_ConvertRoutine convertRoutine(Egda_PixelType from, Egda_PixelType to) noexcept
{
    return isPixelType(from) && isPixelType(to) ? emsc_AddressOf_epxm_Convert()[from][to] : nullptr;
}

}  // namespace emantle

EMANTLE_API const Epxm_ConvertRow* emsc_AddressOf_epxm_Convert(void)
{
    static const Epxm_ConvertRow* const table = convertTable(platform::fastestInstructionSet());
    return table;
}

EMANTLE_API const Epxm_ConvertIncRow* emsc_AddressOf_epxm_ConvertInc(void)
{
    return convertIncTable();
}

EMANTLE_API const Epxm_FillRoutine* emsc_AddressOf_epxm_Fill(void)
{
    return fillTable();
}

EMANTLE_API const Epxm_FillIncRoutine* emsc_AddressOf_epxm_FillInc(void)
{
    return fillIncTable();
}

EMANTLE_API Emsc_Boolean epxm_ConvertPixels(void* dest, Egda_PixelType destType, const void* src,
                                            Egda_PixelType srcType, long count, Eerr_ErrorReport** err)
{
    if (err == nullptr) {
        return 0;
    }
    PlainScope scope("epxm_ConvertPixels", err);
    if (src == nullptr) {
        return scope.raise({"Invalid source pointer", 1}), 0;
    }
    if (dest == nullptr) {
        return scope.raise({"Invalid destination", 2}), 0;
    }
    if (!isPixelType(srcType)) {
        return scope.raise({"Invalid source pixel type", 3}), 0;
    }
    const Epxm_ConvertRoutine convert = convertRoutine(srcType, destType);
    if (convert == nullptr) {
        return scope.raise({"Invalid destination pixel type", 4}), 0;
    }
    convert(src, dest, count);
    return 1;
}

EMANTLE_API Emsc_Boolean epxm_FillPixels(void* dest, Egda_PixelType type, const void* value, long count,
                                         Eerr_ErrorReport** err)
{
    PlainScope scope("epxm_FillPixels", err);
    if (dest == nullptr) {
        return scope.raise({"Invalid pointer", 1}), 0;
    }
    if (!isPixelType(type)) {
        return scope.raise({"Invalid pixel type", 2}), 0;
    }
    if (value == nullptr) {
        return scope.raise({"Invalid value pointer", 3}), 0;
    }
    if (count < 0) {
        return scope.raise({"Invalid count", 4}), 0;
    }
    fillTable()[type](dest, value, count);
    return 1;
}

EMANTLE_API Egda_PixelType epxm_StringToType(const char* name, Eerr_ErrorReport** err)
{
    PlainScope scope("epxm_StringToType", err);
    const char* const* names = emsc_AddressOf_egda_PixelTypeName();
    for (Egda_PixelType type = 0; name != nullptr && names[type] != nullptr; ++type) {
        if (std::strcmp(name, names[type]) == 0) {
            return type;
        }
    }
    return scope.raise({"Invalid pixel type:  %s", 1}, name == nullptr ? "(null)" : name), -1;
}
