#include <emantle/data/egda/types.h>
#include <emantle/frame/estr/compare.h>

namespace {

constexpr std::int32_t kNumBytes[EGDA_NUM_TYPES] = {1, 1, 1, 1, 1, 2, 2, 4, 4, 4, 8, 8, 16, sizeof(char*)};
constexpr std::int32_t kNumBits[EGDA_NUM_TYPES] = {1, 2, 4, 8, 8, 16, 16, 32, 32, 32, 64, 64, 128, 8 * sizeof(char*)};
constexpr const char* kNames[EGDA_NUM_TYPES + 1] = {"u1",  "u2",  "u4",  "u8",  "s8",   "u16",    "s16",  "u32",
                                                    "s32", "f32", "f64", "c64", "c128", "string", nullptr};
constexpr double kMin[EGDA_NUM_INTEGER_TYPES] = {0, 0, 0, 0, -128, 0, -32768, 0, -2147483648.0};
constexpr double kMax[EGDA_NUM_INTEGER_TYPES] = {1, 3, 15, 255, 127, 65535, 32767, 4294967295.0, 2147483647};

bool isType(Egda_PixelType type)
{
    return type >= 0 && type < EGDA_NUM_TYPES;
}

}  // namespace

EMANTLE_API Egda_PixelType egda_PixelTypeFromName(const char* name)
{
    for (Egda_PixelType type = 0; type < EGDA_NUM_TYPES; ++type) {
        if (estr_Eqic(name, kNames[type]) != 0) {
            return type;
        }
    }
    return -1;
}

EMANTLE_API const char* egda_PixelNameFromType(Egda_PixelType type)
{
    return isType(type) ? kNames[type] : nullptr;
}

EMANTLE_API long egda_NumBytePerPixelFromType(Egda_PixelType type)
{
    return isType(type) ? kNumBytes[type] : 0;
}

EMANTLE_API const int32_t* emsc_AddressOf_egda_NumBitsPerPixel(void)
{
    return kNumBits;
}

EMANTLE_API const int32_t* emsc_AddressOf_egda_NumBytesPerPixel(void)
{
    return kNumBytes;
}

EMANTLE_API const char* const* emsc_AddressOf_egda_PixelTypeName(void)
{
    return kNames;
}

EMANTLE_API const double* emsc_AddressOf_egda_IntegerMinValue(void)
{
    return kMin;
}

EMANTLE_API const double* emsc_AddressOf_egda_IntegerMaxValue(void)
{
    return kMax;
}
