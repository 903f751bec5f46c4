#include "data/data_support.h"

#include <emantle/data/epxm/pixelblock.h>

#include <gtest/gtest.h>
#include <climits>
#include <numeric>

namespace {

using epxm::ConfigurablePixelBlock;
using epxm::PixelBlock;

template <class Call>
std::string thrownBy(Call&& call)
{
    try {
        call();
    } catch (EerrException& exception) {
        const Eerr_ErrorReport* chain = exception;
        EXPECT_STREQ(exception.get_FileName(), "PixelBlock");
        return chain == nullptr || chain->message == nullptr ? "-" : chain->message;
    }
    return "nothing";
}

const std::uint16_t kNone = 999;
const void* const kOneValue[] = {&kNone};

Egda_BaseData* planeOf(const PixelBlock& block, long index)
{
    PixelBlock plane;
    block.getPlane(index, plane);
    return plane;
}

/* Two planes of 3 by 2 in the caller's memory, rows 10 bytes apart, planes 20; pixels are numbered along memory. */
struct Pixels {
    std::vector<std::uint16_t> values = std::vector<std::uint16_t>(20);
    PixelBlock block;

    Pixels()
    {
        std::iota(values.begin(), values.end(), std::uint16_t{0});
        block = PixelBlock(2, 3, 2, EGDA_TYPE_U16, values.data(), 20, 10);
    }
};

TEST(PixelBlocks, LieOverTheCallersRowsAndPlanes)
{
    const Pixels pixels;
    EXPECT_EQ(pixels.block.getWidth(), 3);
    EXPECT_EQ(pixels.block.getHeight(), 2);
    EXPECT_EQ(pixels.block.getDataType(), EGDA_TYPE_U16);
    EXPECT_EQ(pixels.block.getPlanePitch(), 20);
    EXPECT_EQ(elements<std::uint16_t>(*planeOf(pixels.block, 1)), (std::vector<std::uint16_t>{10, 11, 12, 15, 16, 17}));
    const Stack stack(pixels.block.asPixelRectStack());
    EXPECT_EQ(stack->numlayers, 2);
    EXPECT_EQ(stack->datalayer[0], static_cast<Egda_BaseData*>(pixels.block));
    EXPECT_EQ(pixels.block->pitch, 10);
}

TEST(PixelBlocks, RefuseWhatTheyCannotHold)
{
    std::uint16_t data[20] = {};
    const auto block = [&](long planes, long width, long rowPitch, int type = EGDA_TYPE_U16) {
        return thrownBy([&] { PixelBlock(planes, width, 2, type, data, 20, rowPitch); });
    };
    EXPECT_EQ(block(2, 3, 10), "nothing");
    EXPECT_EQ(block(2, 3, 9), "Inter-row pitch is not an even multiple of the pixel size");
    EXPECT_EQ(block(0, 3, 10), "Invalid noOfPlanes");
    EXPECT_NE(block(2, 3, 4), "nothing") << "rows that overlap";
    EXPECT_NE(block(2, 3, LONG_MAX), "nothing");
    EXPECT_NE(block(2, 0, 10), "nothing");
    EXPECT_NE(block(2, 3, 10, 14), "nothing");
    EXPECT_NE(thrownBy([] { PixelBlock(1L << 40, 1L << 15, 1L << 15, EGDA_TYPE_U8); }), "nothing");
}

TEST(PixelBlocks, KnowTheirNODATA)
{
    PixelBlock block(1, 3, 2, EGDA_TYPE_U16, kOneValue);
    EXPECT_EQ(block.getCondition(0), epxm::onlyNODATA);
    EXPECT_EQ(*static_cast<const std::uint16_t*>(block.getNODATAValue(0)), 999);
    EXPECT_NE(block.getNODATAValue(0), &kNone);
    block.setCondition(0, epxm::someNODATA);
    block.setPixelToNODATA(0, 2, 1);
    EXPECT_EQ(elements<std::uint16_t>(*block), (std::vector<std::uint16_t>{0, 0, 0, 0, 0, 999}));
    EXPECT_EQ(block.getCondition(0), epxm::someNODATA);
    EXPECT_EQ(thrownBy([&] { block.setPixelToNODATA(0, 3, 0); }), "Invalid Pixel Position");
    EXPECT_EQ(thrownBy([&] { block.setPixelToNODATA(0, 0, -1); }), "Invalid Pixel Position");
    block.setBlockToNODATA();
    EXPECT_EQ(elements<std::uint16_t>(*block), std::vector<std::uint16_t>(6, 999));
    EXPECT_EQ(block.getCondition(0), epxm::onlyNODATA);

    block.setNODATAValue(0, nullptr);
    EXPECT_EQ(thrownBy([&] { block.setPixelToNODATA(0, 0, 0); }), "NODATA value not set for the plane");
    EXPECT_EQ(thrownBy([&] { block.setCondition(0, epxm::someNODATA); }),
              "Invalid condition when no NODATA value present");
    block.setCondition(0, epxm::noNODATA);
    block.setPlaneToNODATA(0);
    EXPECT_EQ(block.getCondition(0), epxm::onlyNODATA) << "without a value the condition alone changes";
}

/* The run of a whole plane does not know about gaps between the rows. */
TEST(PixelBlocks, FillAPlaneAsOneRun)
{
    Pixels pixels;
    pixels.block.setNODATAValue(0, &kNone);
    pixels.block.setPlaneToNODATA(0);
    pixels.values.resize(10);
    EXPECT_EQ(pixels.values, (std::vector<std::uint16_t>{999, 999, 999, 999, 999, 999, 6, 7, 8, 9}));
}

TEST(PixelBlocks, TestEveryIndex)
{
    Pixels pixels;
    PixelBlock& block = pixels.block;
    PixelBlock other;
    for (const long index : {-1L, 2L}) {
        EXPECT_EQ(thrownBy([&] { block.getPlane(index, other); }), "Invalid index");
        EXPECT_EQ(thrownBy([&] { block.setPlane(index, block); }), "Invalid index");
        EXPECT_EQ(thrownBy([&] { block.getNODATAValue(index); }), "Invalid index");
        EXPECT_EQ(thrownBy([&] { block.setNODATAValue(index, &kNone); }), "Invalid index");
        EXPECT_EQ(thrownBy([&] { block.getCondition(index); }), "Invalid index");
        EXPECT_EQ(thrownBy([&] { block.setCondition(index, epxm::noNODATA); }), "Invalid index");
        EXPECT_EQ(thrownBy([&] { block.setPixelToNODATA(index, 0, 0); }), "Invalid index");
        EXPECT_EQ(thrownBy([&] { block.setPlaneToNODATA(index); }), "Invalid Index");
    }
    const PixelBlock empty;
    EXPECT_EQ(empty.getWidth(), 0);
    EXPECT_EQ(empty.getPlanePitch(), 0);
    EXPECT_EQ(thrownBy([&] { empty.asPixelRectStack(); }), "Empty Pixel Block");
    EXPECT_EQ(thrownBy([&] { static_cast<void>(empty->numrows); }), "Empty Pixel Block");
    EXPECT_EQ(thrownBy([&] { static_cast<void>(static_cast<Egda_BaseData*>(empty)); }), "Empty Pixel Block");
    EXPECT_EQ(thrownBy([&] { PixelBlock().setBlockToNODATA(); }), "nothing");
}

TEST(PixelBlocks, TakePlanesOfTheirOwnShapeOnly)
{
    Pixels pixels;
    PixelBlock source(1, 3, 2, EGDA_TYPE_U16, kOneValue);
    source.setBlockToNODATA();
    source.setCondition(0, epxm::someNODATA);
    pixels.block.setPlane(1, source);
    EXPECT_EQ(elements<std::uint16_t>(*planeOf(pixels.block, 1)), std::vector<std::uint16_t>(6, 999));
    EXPECT_EQ(pixels.values[13], 13) << "the gap between rows";
    EXPECT_EQ(pixels.block.getCondition(1), epxm::someNODATA);
    EXPECT_EQ(*static_cast<const std::uint16_t*>(pixels.block.getNODATAValue(1)), 999);
    EXPECT_EQ(thrownBy([&] { pixels.block.setPlane(0, PixelBlock()); }), "Invalid source PixelBlock");
    EXPECT_EQ(thrownBy([&] { pixels.block.setPlane(0, PixelBlock(1, 2, 2, EGDA_TYPE_U16)); }), "Invalid argument");
    EXPECT_EQ(thrownBy([&] { pixels.block.setPlane(0, PixelBlock(1, 3, 2, EGDA_TYPE_S16)); }), "Invalid argument");
}

/* What outlives what is left to the sanitizers. */
TEST(PixelBlocks, ShareTheirPixelsUntilTheLastHolderGoes)
{
    PixelBlock plane;
    ConfigurablePixelBlock window;
    {
        PixelBlock block(2, 3, 2, EGDA_TYPE_U16, nullptr);
        PixelBlock copy = block;
        copy.setNODATAValue(1, &kNone);
        EXPECT_EQ(block.getNODATAValue(1), nullptr);
        copy.setPixelToNODATA(1, 0, 0);
        block.getPlane(1, plane);
        ConfigurablePixelBlock::rederive(block, 0, 0, 1, 1, window);
    }
    EXPECT_EQ(plane.getNumOfPlanes(), 1);
    EXPECT_EQ(elements<std::uint16_t>(*plane)[0], 999);
    PixelBlock part;
    window.getPlane(1, part);
    window.reset();
    EXPECT_EQ(window.getNumOfPlanes(), 0);
    EXPECT_EQ(elements<std::uint16_t>(*part), std::vector<std::uint16_t>{999});
}

TEST(ConfigurableBlocks, MoveOverTheirSource)
{
    const Pixels pixels;
    ConfigurablePixelBlock window(pixels.block, 1, 0, 2, 2);
    EXPECT_EQ(window.getWidth(), 2);
    EXPECT_EQ(elements<std::uint16_t>(*window), (std::vector<std::uint16_t>{1, 2, 6, 7}));
    const Egda_BaseData* view = window;
    window.Reconfigure(0, 1, 3, 1);
    EXPECT_EQ(static_cast<Egda_BaseData*>(window), view) << "the same record, aimed anew";
    EXPECT_EQ(window.getHeight(), 1);
    EXPECT_EQ(elements<std::uint16_t>(*planeOf(window, 1)), (std::vector<std::uint16_t>{15, 16, 17}));
    EXPECT_NE(thrownBy([&] { window.Reconfigure(2, 0, 2, 1); }), "nothing");
    EXPECT_EQ(elements<std::uint16_t>(*window), (std::vector<std::uint16_t>{5, 6, 7})) << "nothing has moved";
    EXPECT_NE(thrownBy([&] { ConfigurablePixelBlock(pixels.block, 0, 0, 4, 1); }), "nothing");

    const PixelBlock plain = window;
    EXPECT_EQ(plain.getWidth(), 3);
    EXPECT_EQ(plain.getHeight(), 1);
    const ConfigurablePixelBlock nested(window, 2, 0, 1, 1);
    EXPECT_EQ(elements<std::uint16_t>(*nested), std::vector<std::uint16_t>{7});
}

}  // namespace
