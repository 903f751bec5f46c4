#include "data/egda/basedata_shape.h"
#include "data/epxm/mask.h"
#include "frame/guard/plain_scope.h"

#include <emantle/data/epxm/pixelrect.h>

using namespace emantle;

namespace {

using MaskRoutine = decltype(&maskOr);

MaskRoutine maskRoutine(long operation)
{
    switch (operation) {
    case EPXM_MASK_OR:
        return maskOr;
    case EPXM_MASK_AND:
        return maskAnd;
    case EPXM_MASK_NOT_AND:
        return maskNotAnd;
    default:
        return nullptr;
    }
}

bool holds(const Egda_BaseData& mask, long nPerLine, long nLines)
{
    return mask.numcolumns >= nPerLine && mask.numrows >= nLines;
}

/* What a function that only hands on has left to do: a text of its own in front of the callee's chain. */
template <class Result>
Result handOn(PlainScope& scope, Result result, Say text)
{
    if (scope.failed()) {
        scope.raise(text);
    }
    return result;
}

}  // namespace

EMANTLE_API void epxm_MaskOperation(Egda_BaseData* dest, const Egda_BaseData* a, const Egda_BaseData* b, long nPerLine,
                                    long nLines, long operation, Eerr_ErrorReport** err)
{
    PlainScope scope("eaoi_MaskOperation", err);
    if (!holds(*dest, nPerLine, nLines) || !holds(*a, nPerLine, nLines) || !holds(*b, nPerLine, nLines)) {
        return scope.raise({"Mask sizes (input or output) are too small !", 1});
    }
    const MaskRoutine combine = maskRoutine(operation);
    if (combine == nullptr) {
        return scope.raise({"No such operation!", 2});
    }
    for (long line = 0; line < nLines; ++line) {
        combine(reinterpret_cast<std::uint8_t*>(lineOf(*dest, line)),
                reinterpret_cast<const std::uint8_t*>(lineOf(*a, line)),
                reinterpret_cast<const std::uint8_t*>(lineOf(*b, line)), nPerLine);
    }
}

EMANTLE_API Egda_BaseData* epxm_PixelRectCreate(long width, long height, Egda_PixelType type, Eerr_ErrorReport** err)
{
    PlainScope scope("epxm_PixelRectCreate", err);
    return handOn(scope, egda_BaseDataCreate(height, width, type, EGDA_RASTER_OBJECT, nullptr, scope),
                  "egda_BaseDataCreate failed");
}

EMANTLE_API Egda_BaseData* epxm_PixelRectCopy(const Egda_BaseData* src, Egda_BaseData* dest, Eerr_ErrorReport** err)
{
    PlainScope scope("epxm_PixelRectCopy", err);
    return handOn(scope, egda_BaseDataCopy(src, dest, scope), "egda_BaseDataCopy failed");
}

EMANTLE_API void epxm_PixelRectDelete(Egda_BaseData* rect, Eerr_ErrorReport** err)
{
    PlainScope scope("epxm_PixelRectDelete", err);
    egda_BaseDataDelete(rect, scope);
    handOn(scope, nullptr, "egda_BaseDataDelete failed");
}

EMANTLE_API Egda_BaseDataStack* epxm_PixelRectStackCreate(long nLayers, long width, long height, Egda_PixelType type,
                                                          Eerr_ErrorReport** err)
{
    PlainScope scope("epxm_PixelRectStackCreate", err);
    return handOn(scope, egda_BaseDataStackCreate(nLayers, height, width, type, EGDA_RASTER_OBJECT, scope),
                  "egda_BaseDataStackCreate failed");
}

EMANTLE_API Egda_BaseDataStack* epxm_PixelRectStackCopy(const Egda_BaseDataStack* src, Egda_BaseDataStack* dest,
                                                        Eerr_ErrorReport** err)
{
    PlainScope scope("epxm_PixelRectStackCopy", err);
    return handOn(scope, egda_BaseDataStackCopy(src, dest, scope), "egda_BaseDataStackCopy failed");
}

EMANTLE_API void epxm_PixelRectStackDelete(Egda_BaseDataStack* stack, Eerr_ErrorReport** err)
{
    PlainScope scope("epxm_PixelRectStackDelete", err);
    egda_BaseDataStackDelete(stack, scope);
    handOn(scope, nullptr, "egda_BaseDataStackDelete failed");
}
