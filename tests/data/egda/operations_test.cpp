#include "data/data_support.h"

#include <emantle/siblings/ethr.h>

#include <gtest/gtest.h>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <thread>

namespace {

/* Stacks of records without elements that matter: what checks look at. */
class Operands {
public:
    Base& add(int type, long rows = 2, long columns = 3, long object = EGDA_RASTER_OBJECT)
    {
        records_.push_back(makeBase(rows, columns, type, object));
        return records_.back();
    }

    /* The first record as destination, the others as sources. */
    std::string run(Egda_OperatorRoutine routine)
    {
        std::vector<Egda_BaseData*> layers;
        std::vector<Egda_BaseDataStack> stacks(records_.size());
        std::vector<Egda_BaseDataStack*> pointers;
        for (Base& record : records_) {
            layers.push_back(record.get());
        }
        for (std::size_t i = 0; i < stacks.size(); ++i) {
            stacks[i] = {1, 1, &layers[i], 0};
            pointers.push_back(&stacks[i]);
        }
        const Egda_BaseDataStackArray sources{static_cast<int32_t>(stacks.size() - 1), pointers.data() + 1, nullptr};
        Report report;
        routine(&stacks[0], &sources, report);
        return report.text();
    }

private:
    std::vector<Base> records_;
};

struct Shape {
    int type;
    long rows = 2;
    long columns = 3;
    long object = EGDA_RASTER_OBJECT;
};

struct CheckCase {
    Egda_OperatorRoutine check;
    std::vector<Shape> operands; /* the destination first */
    std::string expected;
};

constexpr int U8 = EGDA_TYPE_U8;
constexpr int U16 = EGDA_TYPE_U16;
constexpr int S16 = EGDA_TYPE_S16;
constexpr int S32 = EGDA_TYPE_S32;
constexpr int F32 = EGDA_TYPE_F32;
constexpr int F64 = EGDA_TYPE_F64;
constexpr int C64 = EGDA_TYPE_C64;
constexpr int C128 = EGDA_TYPE_C128;
constexpr long kScalar = EGDA_SCALAR_OBJECT;
constexpr long kMatrix = EGDA_MATRIX_OBJECT;
constexpr long kTable = EGDA_TABLE_OBJECT;

std::string says(const char* name, int number)
{
    const char* const texts[] = {"The source data contains less than two stacks",
                                 "The object type is not matched between the input and output data",
                                 "The data type is not matched between the input and output data",
                                 "The data size is not matched between the input and output data"};
    return std::string(name) + ' ' + std::to_string(number) + ' ' + texts[number - 1];
}

TEST(Checks, AskWhatTheirTableSaysInItsOrder)
{
    const std::vector<CheckCase> cases{
        {egda_BinaryOpCheck, {{U8}, {U8}, {U8}, {U8}}, ""},
        {egda_BinaryOpCheck, {{U8}, {U8}, {U8, 1, 1, kScalar}}, ""},
        {egda_BinaryOpCheck, {{U8}, {U8, 7, 9, kScalar}, {U8}}, ""},
        {egda_BinaryOpCheck, {{U8}, {U8}}, says("egda_BinaryCheck", 1)},
        {egda_BinaryOpCheck, {{U8}, {S16, 2, 3, kTable}, {U8, 2, 3, kMatrix}}, says("egda_BinaryOpCheck", 2)},
        {egda_BinaryOpCheck, {{U8}, {U8}, {S16, 5, 5}}, says("egda_BinaryOpCheck", 3)},
        {egda_BinaryOpCheck, {{U8}, {U8}, {U8}, {U8, 2, 4}}, says("egda_BinaryOpCheck", 4)},
        {egda_TwoItofOpCheck, {{F64}, {S32}, {S32}}, ""},
        {egda_TwoItofOpCheck, {{C128}, {C64}, {C64}}, ""},
        {egda_TwoItofOpCheck, {{F64}, {S32}, {S32}, {S32}}, says("egda_TwoItofOpCheck", 1)},
        {egda_TwoItofOpCheck, {{F32}, {S32}, {S32}}, says("egda_TwoItofOpCheck", 3)},
        {egda_TwoItofOpCheck, {{F64}, {S32}, {S16}}, says("egda_TwoItofOpCheck", 3)},
        {egda_TwoItofOpCheck, {{F64}, {C64}, {C64}}, says("egda_TwoItofOpCheck", 3)},
        {egda_TwoFtoiOpCheck, {{S32}, {F32}, {F32}}, ""},
        {egda_TwoFtoiOpCheck, {{U16}, {U16}, {U16}}, ""},
        {egda_TwoFtoiOpCheck, {{S32}, {U16}, {U16}}, says("egda_TwoFtoiOpCheck", 3)},
        {egda_TwoFtoiOpCheck, {{F32}, {F32}, {F32}}, says("egda_TwoFtoiOpCheck", 3)},
        {egda_TwoFtoiOpCheck, {{S32}, {F32}, {F64}}, says("egda_TwoFtoiOpCheck", 3)},
        {egda_BinaryLogicOpCheck, {{U8}, {C64}, {C64}}, ""},
        {egda_BinaryLogicOpCheck, {{S16}, {S16}, {S16}}, says("egda_BinaryLogicOpCheck", 3)},
        {egda_BinaryLogicOpCheck, {{U8}, {S16}, {U16}}, says("egda_BinaryLogicOpCheck", 3)},
        {egda_BinaryLogicOpCheck, {{U8}, {S16}}, says("egda_BinaryLogicOpCheck", 1)},
        {egda_ThrICtofOpCheck, {{F64}, {U8, 9, 9}, {S16}, {F32}, {U8}, {U8}, {U8}}, ""},
        {egda_ThrICtofOpCheck, {{F64}, {U8}, {U8}, {U8}}, says("egda_ThrICtofOpCheck", 1)},
        {egda_ThrICtofOpCheck, {{F32}, {U8}, {U8}, {U8}, {U8}, {U8}, {U8}}, says("egda_ThrICtofOpCheck", 3)},
        {egda_ThrICtofOpCheck, {{F64}, {U8}, {U8}, {U8}, {U8}, {U8}, {S16}}, says("egda_ThrICtofOpCheck", 3)},
        {egda_ThrICtofOpCheck, {{F64}, {U8}, {U8}, {U8}, {U8}, {U8}, {U8, 1, 1, kScalar}},
         says("egda_ThrICtofOpCheck", 4)},
        {egda_SingleOpCheck, {{F32}, {F32, 1, 1, kScalar}}, ""},
        {egda_SingleOpCheck, {{F32}, {F64}}, says("egda_SingleCtofOpCheck", 3)},
        {egda_SingleOpCheck, {{F32}, {F32, 3, 3}}, says("egda_SingleCtofOpCheck", 4)},
        {egda_SingleCtofOpCheck, {{F64}, {C64}}, ""},
        {egda_SingleCtofOpCheck, {{F32}, {F32}}, ""},
        {egda_SingleCtofOpCheck, {{C64}, {C64}}, says("egda_SingleCtofOpCheck", 3)},
        {egda_SingleItofOpCheck, {{F64}, {S32}}, ""},
        {egda_SingleItofOpCheck, {{C128}, {C64}}, ""},
        {egda_SingleItofOpCheck, {{S32}, {S32}}, says("egda_SingleItofOpCheck", 3)},
        {egda_SingleItofOpCheck, {{F64, 2, 2}, {S32}}, says("egda_SingleItofOpCheck", 4)},
        {egda_SingleLogicOpCheck, {{U8}, {C128}}, ""},
        {egda_SingleLogicOpCheck, {{EGDA_TYPE_U1}, {U8}}, says("egda_SingleLogicOpCheck", 3)},
        {egda_SingleFtoiOpCheck, {{S32}, {F64}}, ""},
        {egda_SingleFtoiOpCheck, {{U8}, {U8}}, ""},
        {egda_SingleFtoiOpCheck, {{F64}, {F64}}, says("egda_SingleFtoiOpCheck", 3)},
        {egda_ConvertOpCheck, {{U8, 4, 4}, {F64}}, ""},
        {egda_ConvertOpCheck, {{U8, 2, 2}, {F64}}, says("egda_ConvertOpCheck", 4)},
        {egda_ConvertOpCheck, {{U8, 1, 3}, {F64}}, says("egda_ConvertOpCheck", 4)},
        {egda_FillOpCheck, {{U8, 4, 4}, {U8, 1, 1}}, ""},
        {egda_FillOpCheck, {{U8}, {F64}}, says("egda_FillOpCheck", 3)},
        {egda_MatrixMulOpCheck, {{F64, 2, 4, kMatrix}, {F64, 2, 3, kMatrix}, {F64, 3, 4, kMatrix}}, ""},
        {egda_MatrixMulOpCheck, {{F64, 2, 4}, {F32, 2, 3}, {F64, 3, 4}}, says("egda_MatrixMulOpCheck", 3)},
        {egda_MatrixMulOpCheck, {{F64, 2, 4}, {F64, 2, 3}, {F64, 2, 4}}, says("egda_MatrixMulOpCheck", 4)},
        {egda_MatrixMulOpCheck, {{F64, 3, 4}, {F64, 2, 3}, {F64, 3, 4}}, says("egda_MatrixMulOpCheck", 4)},
        {MatrixTrRasterOpCheck, {{F64}, {F64, 5, 1, kMatrix}, {F64}}, ""},
        {MatrixTrRasterOpCheck, {{F64}, {F64, 5, 2, kMatrix}, {F64}}, says("MatrixTrRasterOpCheck", 4)},
        {MatrixTrRasterOpCheck, {{F64}, {F64, 5, 1, kMatrix}, {F64, 3, 3}}, says("MatrixTrRasterOpCheck", 4)},
        {MatrixTrRasterOpCheck, {{F64}, {F64}}, says("MatrixTrRasterOpCheck", 1)},
    };
    for (std::size_t i = 0; i < cases.size(); ++i) {
        Operands operands;
        for (const Shape& shape : cases[i].operands) {
            operands.add(shape.type, shape.rows, shape.columns, shape.object);
        }
        EXPECT_EQ(operands.run(cases[i].check), cases[i].expected) << "case " << i;
    }
}

TEST(Checks, StandInTheTableByObjectType)
{
    const Egda_OperatorRow* checks = emsc_AddressOf_egda_CheckInitialCheck();
    const auto cell = [&](long op, long object) { return checks[op][object].routine; };
    EXPECT_EQ(cell(EGDA_OP_MATRIX_MUL, kMatrix), egda_MatrixMulOpCheck);
    EXPECT_EQ(cell(EGDA_OP_MATRIX_TR_RASTER, kTable), MatrixTrRasterOpCheck);
    EXPECT_EQ(cell(EGDA_OP_GREEN, EGDA_RASTER_OBJECT), egda_ThrICtofOpCheck);
    EXPECT_EQ(cell(EGDA_OP_HSV_TO_BLUE, kScalar), egda_ThrICtofOpCheck);
    EXPECT_EQ(cell(EGDA_OP_POW, kMatrix), egda_TwoItofOpCheck);
    for (const auto& [op, object] : {std::pair{102L, kScalar}, {102L, 3L}, {109L, kScalar}, {87L, 3L}, {115L, 3L}}) {
        Operands nothing;
        nothing.add(U8);
        EXPECT_EQ(nothing.run(cell(op, object)), "") << op;
    }
    for (long op = 0; op < EGDA_NUM_OPERATIONS; ++op) {
        for (long object = 0; object < EGDA_NUM_OBJECTS; ++object) {
            EXPECT_NE(cell(op, object), nullptr);
            if (op != EGDA_OP_MATRIX_MUL && op != EGDA_OP_MATRIX_TR_RASTER) {
                EXPECT_EQ(cell(op, object), cell(op, 0)) << op;
            }
            EXPECT_EQ(checks[op][object].reserved[0] | checks[op][object].reserved[1], 0);
        }
    }
}

/* What computes in a table. Tables of matrices have no rows for scalars and rasters. */
struct Served {
    int last; /* the last number type that computes, -1 for none */
    bool texts = false;
    bool ofMatrices = false;
    bool shared = false; /* one routine for every type */
};

void expectServed(Egda_OperatorTable table, const Served& served, const std::string& name)
{
    for (long object = 0; object < EGDA_NUM_OBJECTS; ++object) {
        const Egda_OperatorRow row = table[object];
        if (served.ofMatrices && (object == EGDA_SCALAR_OBJECT || object == EGDA_RASTER_OBJECT)) {
            EXPECT_EQ(row, nullptr) << name;
            continue;
        }
        const int types = EGDA_NUM_TYPES - (served.last < 0 ? 1 : 0); /* the rows of the eigen operators end */
        for (int type = 0; type < types; ++type) {
            const bool computes = type == EGDA_TYPE_STRING ? served.texts : type <= served.last;
            EXPECT_EQ(row[type].routine != egda_NoOperation, computes) << name << " type " << type;
            EXPECT_EQ(row[type].routine, table[EGDA_MATRIX_OBJECT][type].routine) << name << " object " << object;
            EXPECT_EQ(row[type].reserved[0] | row[type].reserved[1], 0);
        }
        EXPECT_TRUE(row[0].routine == row[3].routine && row[1].routine == row[3].routine &&
                    row[2].routine == row[3].routine)
            << name;
        EXPECT_TRUE(!served.shared || row[C128].routine == row[0].routine) << name;
    }
}

/* The list, retold: the first number of each run of operations that serve the same types, then the other tables. */
TEST(Tables, ServeTheTypesOfTheList)
{
    const Served all{C128}, real{F64}, allAndTexts{C128, true}, realAndTexts{F64, true}, matrices{C128, false, true};
    const std::map<long, Served> runs{
        {0, all},   {4, real},         {9, all},    {11, allAndTexts}, {13, realAndTexts}, {17, all},
        {20, real}, {22, all},         {50, allAndTexts},              {52, all},          {78, real},
        {87, all},  {89, real},        {95, allAndTexts},              {100, real},        {102, matrices},
        {105, {C128, false, false, true}},          {106, {C128, true, false, true}},      {107, {-1}},
        {109, all}, {110, real}};
    const Egda_OperatorTable* tables = emsc_AddressOf_egda_BaseDataOP();
    for (long op = 0; op < EGDA_NUM_OPERATIONS; ++op) {
        expectServed(tables[op], std::prev(runs.upper_bound(op))->second, "operation " + std::to_string(op));
    }
    expectServed(emsc_AddressOf_egda_MaoStackBaseData(), allAndTexts, "MaoStackBaseData");
    expectServed(emsc_AddressOf_egda_MaoFormComplex(), real, "MaoFormComplex");
    expectServed(emsc_AddressOf_egda_SaoNotAllZero(), all, "SaoNotAllZero");
    expectServed(emsc_AddressOf_egda_SaoMatrixTranspose(), matrices, "SaoMatrixTranspose");
    expectServed(emsc_AddressOf_egda_SaoBinToDataValue(), all, "SaoBinToDataValue");
    expectServed(emsc_AddressOf_egda_SaoCopyTableStackThroughLUT(), all, "SaoCopyTableStackThroughLUT");
    expectServed(emsc_AddressOf_egda_GpfColorElementsByRGB(), real, "GpfColorElementsByRGB");
    expectServed(emsc_AddressOf_egda_GpfColorElementsByIHS(), real, "GpfColorElementsByIHS");
    expectServed(emsc_AddressOf_egda_GpfIncFill(), all, "GpfIncFill");
}

TEST(Tables, AreFilledOnceWhoeverComesFirst)
{
    std::vector<std::thread> threads;
    std::set<const Egda_OperatorTable*> seen;
    std::set<Egda_OperatorTable> adds;
    Ethr_Mutex mutex{};
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&] {
            const Egda_OperatorTable* tables = emsc_AddressOf_egda_BaseDataOP();
            const EthrMutexLock lock(mutex);
            seen.insert(tables);
            adds.insert(tables[EGDA_OP_ADD]);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(seen.size(), 1U);
    EXPECT_EQ(adds, std::set<Egda_OperatorTable>{emsc_AddressOf_egda_MaoAdd()});
}

TEST(Dispatch, ReportsTheCheckTheRoutineAndNullArguments)
{
    Base dest = numbered(2, 3);
    Base other = makeBase(2, 3, S16);
    Base text = makeBase(2, 3, EGDA_TYPE_STRING);
    Egda_BaseData* mixed[] = {dest.get(), other.get()};
    Egda_BaseData* texts[] = {text.get(), text.get()};
    Report report;
    egda_BaseDataOperation(EGDA_OP_ADD, dest.get(), mixed, 2, report);
    EXPECT_EQ(report.text(), "egda_BaseDataOperation 2 - | " + says("egda_BinaryOpCheck", 3));
    egda_BaseDataOperation(EGDA_OP_ADD, text.get(), texts, 2, report);
    EXPECT_EQ(report.text(), "egda_BaseDataOperation 3 - | egda_NoOperation 1 no operation on this data");
    Base complex = makeBase(2, 3, C64);
    Egda_BaseData* numbers[] = {complex.get(), complex.get()};
    egda_BaseDataOperation(EGDA_OP_GT, dest.get(), numbers, 2, report);
    EXPECT_EQ(report.text(), "egda_BaseDataOperation 3 - | egda_NoOperation 1 no operation on this data");

    Egda_BaseData* layers[] = {dest.get(), other.get()};
    Egda_BaseDataStack stacks[] = {{1, 1, &layers[0], 0}, {1, 1, &layers[1], 0}};
    Egda_BaseDataStack* pointers[] = {&stacks[0], &stacks[1]};
    const Egda_BaseDataStackArray sources{2, pointers, nullptr};
    egda_BaseDataStackOperation(EGDA_OP_ADD, &stacks[0], &sources, report);
    EXPECT_EQ(report.text(), "egda_BaseDataStackOperation 1 - | " + says("egda_BinaryOpCheck", 3));
    egda_BaseDataStackFunction(emsc_AddressOf_egda_SaoEigenValue(), &stacks[0], &sources, report);
    EXPECT_EQ(report.text(), "egda_BaseDataStackFunction 2 - | egda_NoOperation 1 no operation on this data");
    egda_BaseDataStackFunction(emsc_AddressOf_egda_MaoAdd(), nullptr, &sources, report);
    EXPECT_EQ(report.text(), "egda_BaseDataStackFunction 1 destdatastack or sourcedatastackarray is NULL !");
    egda_BaseDataStackFunction(emsc_AddressOf_egda_MaoAdd(), &stacks[0], nullptr, report);
    EXPECT_EQ(report.message(), "destdatastack or sourcedatastackarray is NULL !");
}

TEST(Dispatch, ManySourcesFoldFromTheLeft)
{
    std::vector<Base> bases;
    std::vector<Egda_BaseData*> sources;
    for (int i = 0; i < 20; ++i) {
        bases.push_back(makeBase(2, 3, S32));
        std::fill_n(static_cast<std::int32_t*>(bases.back()->data), 6, i == 0 ? 1000 : i);
        sources.push_back(bases.back().get());
    }
    Base dest = makeBase(2, 3, S32);
    Report report;
    egda_BaseDataOperation(EGDA_OP_SUB, dest.get(), sources.data(), 20, report);
    EXPECT_EQ(report.text(), "");
    EXPECT_EQ(elements<std::int32_t>(*dest), std::vector<std::int32_t>(6, 1000 - 190));
}

/* A source of one layer serves all layers, one of more than the destination has is used as far as that goes. */
TEST(Dispatch, LayersMatch)
{
    const auto stackOf = [](long layers, int base) {
        Stack stack(egda_BaseDataStackCreate(layers, 2, 2, S32, EGDA_RASTER_OBJECT, nullptr));
        for (int k = 0; k < layers; ++k) {
            std::fill_n(static_cast<std::int32_t*>(stack->datalayer[k]->data), 4, base + k);
        }
        return stack;
    };
    const Stack one = stackOf(1, 100);
    const Stack four = stackOf(4, 10);
    const Stack two = stackOf(2, 10);
    const Stack dest = stackOf(3, 0);
    Report report;
    Egda_BaseDataStackArray* list = egda_ArgumentListCreate(nullptr, one.get(), four.get(), nullptr);
    egda_BaseDataStackOperation(EGDA_OP_ADD, dest.get(), list, report);
    EXPECT_EQ(report.text(), "");
    for (int k = 0; k < 3; ++k) {
        EXPECT_EQ(elements<std::int32_t>(*dest->datalayer[k]), std::vector<std::int32_t>(4, 110 + k));
    }
    egda_ArgumentListDelete(list, nullptr);
    list = egda_ArgumentListCreate(nullptr, one.get(), two.get(), nullptr);
    egda_BaseDataStackOperation(EGDA_OP_ADD, dest.get(), list, report);
    EXPECT_EQ(report.text(), "egda_BaseDataStackOperation 1 - | " + says("egda_BinaryOpCheck", 4));
    egda_BaseDataStackFunction(emsc_AddressOf_egda_MaoAdd(), dest.get(), list, report);
    EXPECT_NE(report.text().find("egda_BaseDataStackFunction 2 - | egda_MaoAdd"), std::string::npos) << report.text();
    egda_ArgumentListDelete(list, nullptr);
}

}  // namespace
