#include "data/data_support.h"

#include <emantle/data/epxm/pixelrect.h>

#include <cstring>
#include <gtest/gtest.h>
#include <utility>

namespace {

template <class Call>
std::string thrownBy(Call&& call)
{
    try {
        call();
    } catch (EerrException& exception) {
        const Eerr_ErrorReport* chain = exception;
        return chain == nullptr || chain->message == nullptr ? "-" : chain->message;
    }
    return "nothing";
}

TEST(MaskOperations, HoldOnEveryPairOfBytes)
{
    struct {
        int operation;
        int (*holds)(int, int);
    } const operations[] = {{EPXM_MASK_OR, [](int a, int b) { return int{a != 0 || b != 0}; }},
                            {EPXM_MASK_AND, [](int a, int b) { return int{a != 0 && b != 0}; }},
                            {EPXM_MASK_NOT_AND, [](int a, int b) { return int{a == 0 && b == 1}; }}};
    const Base a = makeBase(9, 40, EGDA_TYPE_U8);
    const Base b = makeBase(8, 33, EGDA_TYPE_U8);
    auto* left = static_cast<unsigned char*>(a->data);
    auto* right = static_cast<unsigned char*>(b->data);
    for (int i = 0; i < 360; ++i) {
        left[i] = static_cast<unsigned char>("\0\0\1\2\xff"[i % 5]);
    }
    for (int i = 0; i < 264; ++i) {
        right[i] = static_cast<unsigned char>("\0\1\2\xff"[i % 4]);
    }
    for (const auto& [operation, holds] : operations) {
        const Base dest = makeBase(8, 40, EGDA_TYPE_U8);
        std::memset(dest->data, 0xA5, 320);
        epxm_MaskOperation(dest.get(), a.get(), b.get(), 33, 7, operation, nullptr);
        const auto* got = static_cast<const unsigned char*>(dest->data);
        for (int row = 0; row < 8; ++row) {
            for (int column = 0; column < 40; ++column) {
                const int wanted =
                    row < 7 && column < 33 ? holds(left[row * 40 + column], right[row * 33 + column]) : 0xA5;
                ASSERT_EQ(got[row * 40 + column], wanted) << operation << ' ' << row << ' ' << column;
            }
        }
    }
    Report report;
    epxm_MaskOperation(a.get(), a.get(), b.get(), 34, 8, 0, report);
    EXPECT_EQ(report.text(), "eaoi_MaskOperation 1 Mask sizes (input or output) are too small !");
    epxm_MaskOperation(a.get(), a.get(), b.get(), 33, 8, 3, report);
    EXPECT_EQ(report.text(), "eaoi_MaskOperation 2 No such operation!");
    epxm_MaskOperation(a.get(), a.get(), b.get(), 33, 8, EPXM_MASK_AND, report);
    EXPECT_EQ(left[3], 1) << "a mask may be combined in place";
}

TEST(PixelRects, TakeWidthFirstAndNameTheirCallee)
{
    Report report;
    const Base rect(epxm_PixelRectCreate(5, 2, EGDA_TYPE_U16, report));
    EXPECT_EQ(rect->numrows, 2);
    EXPECT_EQ(rect->numcolumns, 5);
    EXPECT_EQ(rect->objecttype, EGDA_RASTER_OBJECT);
    const Stack stack(epxm_PixelRectStackCreate(2, 5, 2, EGDA_TYPE_U16, report));
    EXPECT_EQ(stack->datalayer[1]->numcolumns, 5);
    EXPECT_EQ(epxm_PixelRectCreate(1, 1, 99, report), nullptr);
    EXPECT_EQ(report.message(), "egda_BaseDataCreate failed");
    EXPECT_EQ(epxm_PixelRectCopy(nullptr, nullptr, report), nullptr);
    EXPECT_EQ(report.message(), "egda_BaseDataCopy failed");
    EXPECT_EQ(epxm_PixelRectStackCreate(0, 1, 1, 3, report), nullptr);
    EXPECT_EQ(report.message(), "egda_BaseDataStackCreate failed");
    EXPECT_EQ(epxm_PixelRectStackCopy(nullptr, nullptr, report), nullptr);
    EXPECT_EQ(report.message(), "egda_BaseDataStackCopy failed");
    epxm_PixelRectDelete(nullptr, report);
    epxm_PixelRectStackDelete(nullptr, report);
    EXPECT_TRUE(report.empty());
}

TEST(RectHandles, OwnOneRectAndCopyDeeply)
{
    EpxmPixelRect rect(numbered(2, 2).release());
    EpxmPixelRect copy = rect;
    EXPECT_NE(copy->data, rect->data);
    static_cast<unsigned char*>(copy->data)[0] = 99;
    EXPECT_EQ(elements<unsigned char>(*static_cast<Egda_BaseData*>(rect)), (Bytes{0, 1, 2, 3}));
    rect = copy;
    rect = *&rect;
    EXPECT_EQ(elements<unsigned char>(*static_cast<Egda_BaseData*>(rect))[0], 99);
    EpxmPixelRect moved = std::move(copy);
    EXPECT_TRUE(!copy);
    moved = numbered(1, 1).release();
    Egda_BaseData** out = moved;
    EXPECT_EQ(*out, nullptr);
    *out = numbered(3, 3).release();
    EXPECT_EQ(moved->numrows, 3);
    moved.Free();
    EXPECT_FALSE(static_cast<bool>(moved));
    moved = numbered(1, 1).release();
    EXPECT_TRUE(static_cast<bool>(moved) && moved->numrows == 1) << "a test frees nothing";
}

TEST(StackHandles, WrapARecordWithoutCopying)
{
    const Base base = numbered(2, 2);
    {
        const EpxmPixelRectStack borrowed(base.get(), 1);
        EXPECT_EQ(borrowed.datalayer(0), base.get());
    }
    EXPECT_EQ(elements<unsigned char>(*base), (Bytes{0, 1, 2, 3}));
    const EpxmPixelRectStack owner(numbered(1, 1).release(), 0);
    EpxmPixelRectStack three(3);
    EXPECT_EQ(three->numlayers, 3);
    EXPECT_EQ(three.datalayer(2)->datatype, EGDA_TYPE_U1);
    three = owner;
    EXPECT_NE(three.datalayer(0), owner.datalayer(0));
    EXPECT_EQ(thrownBy([] { EpxmPixelRectStack(nullptr, 0); }),
              "EpxmPixelRectStack::Invalid arguments for constructor");
    EXPECT_NE(thrownBy([] { EpxmPixelRectStack(0); }), "nothing");
}

TEST(ArrayHandles, OwnTheStacksAdded)
{
    const Base mask = numbered(1, 1);
    EpxmPixelRectStackArray array;
    array.mask = mask.get();
    for (int layers = 1; layers < 4; ++layers) {
        array.AddStack(epxm_PixelRectStackCreate(layers, 2, 2, EGDA_TYPE_U8, nullptr));
    }
    EpxmPixelRectStackArray copy(array);
    EXPECT_EQ(copy.numstacks, 3);
    EXPECT_EQ(copy.stacks[2]->numlayers, 3);
    EXPECT_NE(copy.stacks[2], array.stacks[2]);
    EXPECT_EQ(copy.mask, mask.get());
    EpxmPixelRectStackArray other;
    other.AddStack(epxm_PixelRectStackCreate(1, 1, 1, EGDA_TYPE_U8, nullptr));
    other = copy;
    EXPECT_EQ(other.numstacks, 3);
}

}  // namespace
