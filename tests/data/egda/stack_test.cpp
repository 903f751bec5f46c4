#include "data/data_support.h"

#include <climits>
#include <gtest/gtest.h>

namespace {

Stack makeStack(long layers, long rows, long columns, Egda_PixelType type)
{
    return Stack(egda_BaseDataStackCreate(layers, rows, columns, type, EGDA_RASTER_OBJECT, nullptr));
}

TEST(Stacks, OwnTheirLayersUnlessBorrowed)
{
    const Stack stack = makeStack(3, 2, 2, EGDA_TYPE_F64);
    Stack views(egda_BaseDataStackDerived(stack.get(), 1, 0, 1, 2, nullptr));
    EXPECT_EQ(views->derivedFlag, 0);
    EXPECT_EQ(views->datalayer[2]->data, static_cast<char*>(stack->datalayer[2]->data) + 16);
    views.reset();

    Stack borrowed(egda_BaseDataStackDerivedFromDataLayer(1, nullptr));
    borrowed->datalayer[0] = stack->datalayer[0];
    borrowed.reset();
    egda_BaseDataStackSetScalar(stack.get(), 4, EGDA_SET_ALL, 0, nullptr);
    EXPECT_EQ(elements<double>(*stack->datalayer[0]), std::vector<double>(4, 4.0));
    egda_BaseDataStackSetZero(stack.get(), nullptr);
    EXPECT_EQ(elements<double>(*stack->datalayer[2]), std::vector<double>(4, 0.0));

    const Stack filled(egda_BaseDataStackPtrCreate(2, nullptr));
    EXPECT_EQ(filled->datalayer[1], nullptr);
    filled->datalayer[0] = numbered(1, 1).release();
}

TEST(Stacks, ReportWhatFails)
{
    Report report;
    const std::string noBlock = "egda_BaseDataCreate 2 calloc could not allocate space for Egda_BaseData data";
    EXPECT_EQ(egda_BaseDataStackCreate(0, 1, 1, EGDA_TYPE_U8, 3, report), nullptr);
    EXPECT_EQ(report.text(), "egda_BaseDataStackCreate 1 can't allocate space");
    EXPECT_EQ(egda_BaseDataStackCreate(2, 0, 1, EGDA_TYPE_U8, 3, report), nullptr);
    EXPECT_EQ(report.text(), "egda_BaseDataStackCreate 2 - | " + noBlock);
    EXPECT_EQ(egda_BaseDataStackPtrCreate(LONG_MAX, report), nullptr);
    EXPECT_EQ(report.text(), "egda_BaseDataStackPtrCreate 1 can't allocate space");
    EXPECT_EQ(egda_BaseDataStackDerived(nullptr, 0, 0, 1, 1, report), nullptr);
    EXPECT_EQ(report.text(), "egda_BaseDataStackDerived 1 original BaseDataStack is NULL !");
    const Stack two = makeStack(2, 2, 2, EGDA_TYPE_U8);
    const Stack three = makeStack(3, 2, 2, EGDA_TYPE_U8);
    EXPECT_EQ(egda_BaseDataStackDerived(two.get(), 0, 0, 3, 1, report), nullptr);
    EXPECT_EQ(report.text().substr(0, 31), "egda_BaseDataStackDerived 3 - |");
    EXPECT_EQ(egda_BaseDataStackCopy(nullptr, two.get(), report), nullptr);
    EXPECT_EQ(report.text(), "egda_BaseDataStackCopy 1 source BaseDataStack is NULL !");
    EXPECT_EQ(egda_BaseDataStackCopy(two.get(), three.get(), report), nullptr);
    EXPECT_EQ(report.text(), "egda_BaseDataStackCopy 3 -");
    EXPECT_EQ(egda_BaseDataStackCopy(three.get(), two.get(), report), two.get()) << "the tail is ignored";
    two->datalayer[1]->objecttype = EGDA_MATRIX_OBJECT;
    EXPECT_EQ(egda_BaseDataStackCopy(two.get(), nullptr, report), nullptr);
    EXPECT_EQ(report.text().substr(0, 28), "egda_BaseDataStackCopy 4 - |");
    const Stack text = makeStack(1, 1, 1, EGDA_TYPE_STRING);
    egda_BaseDataStackSetZero(text.get(), report);
    EXPECT_EQ(report.text().substr(0, 62), "egda_BaseDataStackSetZero 1 error from egda_BaseDataSetZero | ");
}

TEST(ContiguousStacks, LieInOneBlockThatLayerZeroFrees)
{
    const Stack stack(egda_BaseDataStackCreateContiguous(3, 2, 5, EGDA_TYPE_U8, EGDA_RASTER_OBJECT, nullptr, nullptr));
    const auto* block = static_cast<const char*>(stack->datalayer[0]->data);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(stack->datalayer[i]->data, block + i * 16);
        EXPECT_EQ(stack->datalayer[i]->derivedFlag, i == 0 ? 0 : 1);
    }
    EXPECT_EQ(egda_BaseDataStackIsContiguous(stack.get()), 1);

    alignas(8) char buffer[2 * 24];
    const Stack wrap(egda_BaseDataStackCreateContiguous(2, 3, 3, EGDA_TYPE_U16, EGDA_MATRIX_OBJECT, buffer, nullptr));
    EXPECT_EQ(wrap->datalayer[0]->derivedFlag, 1);
    EXPECT_EQ(wrap->datalayer[1]->data, buffer + 24);
}

/* The leak check of the sanitized suite counts the strings. */
TEST(ContiguousStacks, OwnTheStringsOfEveryLayer)
{
    const char* values[] = {"one", "two", "three"};
    const Stack own(egda_BaseDataStackCreateContiguous(3, 1, 3, EGDA_TYPE_STRING, EGDA_RASTER_OBJECT, nullptr, nullptr));
    for (int i = 0; i < 3; ++i) {
        egda_BaseDataSet(own->datalayer[i], values, EGDA_SET_ALL, 0, nullptr);
    }

    /* A layer that the caller made a view on another record's strings leaves them alone. */
    const Base elsewhere = makeBase(1, 3, EGDA_TYPE_STRING);
    egda_BaseDataSet(elsewhere.get(), values, EGDA_SET_ALL, 0, nullptr);
    Stack mixed(egda_BaseDataStackPtrCreate(2, nullptr));
    mixed->datalayer[0] = makeBase(1, 3, EGDA_TYPE_STRING).release();
    mixed->datalayer[1] = egda_BaseDataDerived(elsewhere.get(), 0, 0, 1, 3, nullptr);
    mixed.reset();
    EXPECT_STREQ(static_cast<char**>(elsewhere->data)[2], "three");
}

TEST(ContiguousStacks, AreToldFromOthers)
{
    EXPECT_EQ(egda_BaseDataStackIsContiguous(nullptr), 0);
    EXPECT_EQ(egda_BaseDataStackIsContiguous(makeStack(1, 2, 2, EGDA_TYPE_U8).get()), 1);
    const Stack stack(egda_BaseDataStackCreateContiguous(3, 2, 2, EGDA_TYPE_U8, EGDA_RASTER_OBJECT, nullptr, nullptr));
    const Stack views(egda_BaseDataStackDerived(stack.get(), 0, 1, 1, 1, nullptr));
    EXPECT_EQ(egda_BaseDataStackIsContiguous(views.get()), 1);
    std::swap(views->datalayer[0], views->datalayer[1]);
    EXPECT_EQ(egda_BaseDataStackIsContiguous(views.get()), 0) << "the distances differ";
    std::swap(views->datalayer[0], views->datalayer[1]);
    views->datalayer[2]->datatype = EGDA_TYPE_S8;
    EXPECT_EQ(egda_BaseDataStackIsContiguous(views.get()), 0) << "the types differ";
}

TEST(ContiguousStacks, CountTheirBytes)
{
    Report report;
    EXPECT_EQ(egda_BaseDataStackMaxElements(1000, 3, EGDA_TYPE_F32, EGDA_RASTER_OBJECT, report), 82);
    EXPECT_EQ(egda_BaseDataStackDataSize(3, 2, 5, EGDA_TYPE_U8, EGDA_RASTER_OBJECT, report), 48);
    EXPECT_EQ(egda_BaseDataStackDataSize(3, 2, 5, EGDA_TYPE_U8, EGDA_MATRIX_OBJECT, report), 48);
    EXPECT_EQ(egda_BaseDataStackDataSize(1, 3, 5, EGDA_TYPE_U8, EGDA_TABLE_OBJECT, report), 16);
    EXPECT_TRUE(report.empty());
    struct {
        long layers, rows, columns;
        int type;
        long object;
    } const bad[] = {{0, 1, 1, 3, 3}, {1, 0, 1, 3, 3}, {1, 1, -1, 3, 3}, {1, 1, 1, 14, 3},
                     {1, 1, 1, 3, 4}, {1, 1, 1, 3, -1}, {LONG_MAX, 2, 2, 3, 3}, {1, LONG_MAX, LONG_MAX, 3, 3}};
    for (const auto& b : bad) {
        EXPECT_EQ(egda_BaseDataStackDataSize(b.layers, b.rows, b.columns, b.type, b.object, report), 0);
        EXPECT_EQ(report.message(), "Args");
        EXPECT_EQ(egda_BaseDataStackCreateContiguous(b.layers, b.rows, b.columns, b.type, b.object, nullptr, report),
                  nullptr);
        EXPECT_EQ(report.message(), "Args");
    }
    EXPECT_EQ(egda_BaseDataStackMaxElements(8, 0, 3, 3, report), 0);
    EXPECT_EQ(report.message(), "Args");
    EXPECT_EQ(egda_BaseDataStackCreateContiguous(1L << 31, 1, 1, 3, 3, nullptr, report), nullptr);
    EXPECT_EQ(report.message(), "No memory");
}

TEST(StackArrays, CopyStackByStackAndShareTheMask)
{
    Report report;
    const StackArray src(egda_BaseDataStackArrayCreate(2, 1, 1, 2, EGDA_TYPE_U8, EGDA_RASTER_OBJECT, report));
    const StackArray dest(egda_BaseDataStackArrayCreate(3, 1, 1, 2, EGDA_TYPE_S32, EGDA_RASTER_OBJECT, report));
    const Base mask = numbered(1, 2);
    src->mask = mask.get();
    egda_BaseDataStackArraySetScalar(src.get(), 9, EGDA_SET_ALL, 0, report);
    EXPECT_EQ(egda_BaseDataStackArrayCopy(src.get(), dest.get(), report), dest.get());
    EXPECT_EQ(dest->mask, mask.get());
    EXPECT_EQ(elements<int>(*dest->stacks[1]->datalayer[0]), (std::vector<int>{9, 9}));
    EXPECT_EQ(elements<int>(*dest->stacks[2]->datalayer[0]), (std::vector<int>{0, 0}));

    EXPECT_EQ(egda_BaseDataStackArrayCopy(nullptr, dest.get(), report), nullptr);
    EXPECT_EQ(report.text(), "egda_BaseDataStackArrayCopy 1 source BaseDataStackArray is NULL !");
    EXPECT_EQ(egda_BaseDataStackArrayCopy(dest.get(), src.get(), report), nullptr);
    EXPECT_EQ(report.text(), "egda_BaseDataStackArrayCopy 3 -");
    EXPECT_EQ(egda_BaseDataStackArrayDerived(nullptr, 0, 0, 1, 1, report), nullptr);
    EXPECT_EQ(report.text(), "egda_BaseDataStackArrayDerived 1 original BaseDataStackArray is NULL !");
    EXPECT_EQ(egda_BaseDataStackArrayDerived(src.get(), 0, 0, 1, 1, report), nullptr);
    EXPECT_EQ(report.text(), "egda_BaseDataStackArrayDerived 2 can't allocate space");
    EXPECT_EQ(egda_BaseDataStackArrayCreate(1, 1, 1, 1, 77, 3, report), nullptr);
    EXPECT_EQ(report.text().substr(0, 35), "egda_BaseDataStackArrayCreate 2 - |");
}

TEST(ArgumentLists, BorrowTheirStacks)
{
    Report report;
    const Stack a = makeStack(1, 1, 1, EGDA_TYPE_U8);
    const Stack b = makeStack(1, 1, 1, EGDA_TYPE_U8);
    Egda_BaseDataStackArray* list = egda_ArgumentListCreate(report, a.get(), b.get(), nullptr);
    EXPECT_EQ(list->numstacks, 2);
    EXPECT_EQ(list->stacks[1], b.get());
    EXPECT_EQ(list->mask, nullptr);
    egda_ArgumentListDelete(list, report);
    list = egda_ArgumentListCreate(report, nullptr);
    EXPECT_EQ(list->numstacks, 0);
    egda_ArgumentListDelete(list, report);
}

}  // namespace
