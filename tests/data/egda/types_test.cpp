#include "data/c_interface.h"

#include <emantle/data/egda.h>

#include <gtest/gtest.h>

namespace {

TEST(PixelTypes, NamesAndSizesFollowTheCodes)
{
    struct {
        const char* name;
        int bits;
        int bytes;
    } const types[EGDA_NUM_TYPES] = {{"u1", 1, 1},   {"u2", 2, 1},   {"u4", 4, 1},   {"u8", 8, 1},    {"s8", 8, 1},
                                     {"u16", 16, 2}, {"s16", 16, 2}, {"u32", 32, 4}, {"s32", 32, 4},  {"f32", 32, 4},
                                     {"f64", 64, 8}, {"c64", 64, 8}, {"c128", 128, 16}, {"string", 64, 8}};
    for (Egda_PixelType type = 0; type < EGDA_NUM_TYPES; ++type) {
        EXPECT_STREQ(egda_PixelNameFromType(type), types[type].name);
        EXPECT_STREQ(emsc_AddressOf_egda_PixelTypeName()[type], types[type].name);
        EXPECT_EQ(egda_PixelTypeFromName(types[type].name), type);
        EXPECT_EQ(emsc_AddressOf_egda_NumBitsPerPixel()[type], types[type].bits);
        EXPECT_EQ(emsc_AddressOf_egda_NumBytesPerPixel()[type], types[type].bytes);
        EXPECT_EQ(egda_NumBytePerPixelFromType(type), types[type].bytes);
    }
    EXPECT_EQ(emsc_AddressOf_egda_PixelTypeName()[EGDA_NUM_TYPES], nullptr);
    EXPECT_EQ(egda_PixelTypeFromName("U8"), EGDA_TYPE_U8);
    EXPECT_EQ(egda_PixelTypeFromName("byte"), -1);
    EXPECT_EQ(egda_PixelTypeFromName(nullptr), -1);
    EXPECT_EQ(egda_PixelNameFromType(-1), nullptr);
    EXPECT_EQ(egda_PixelNameFromType(14), nullptr);
}

TEST(Records, HoldTheirFieldsInOrder)
{
    EXPECT_EQ(offsetof(Egda_BaseData, data), 16u);
    EXPECT_EQ(offsetof(Egda_BaseData, pitch), 32u);
    EXPECT_EQ(offsetof(Egda_BaseData, numbytes), 44u);
    EXPECT_EQ(offsetof(Egda_BaseData, binfunction), 48u);
    EXPECT_EQ(sizeof(Egda_BaseData), 56u);
}

TEST(Records, ServeCToo)
{
    EXPECT_EQ(sumFromC(), 7.5 + 8);
}

}  // namespace
