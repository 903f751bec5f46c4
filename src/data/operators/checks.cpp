#include "data/operators/frame.h"

/* The checks of operands. Each is a rule; the loop over the layers and the reports are one for all. */

using namespace emantle;

namespace {

/* The layers that the sources contribute to one layer of the destination. */
class Sources {
public:
    Sources(const Egda_BaseDataStackArray& array, long layer) : array_(array), layer_(layer) {}

    int count() const { return array_.numstacks; }
    /* Must have been found complete. */
    const Egda_BaseData& operator[](int i) const { return *layerFor(*array_.stacks[i], layer_); }
    bool complete() const
    {
        for (int i = 0; i < count(); ++i) {
            if (layerFor(*array_.stacks[i], layer_) == nullptr) {
                return false;
            }
        }
        return true;
    }

private:
    const Egda_BaseDataStackArray& array_;
    long layer_;
};

using Dest = const Egda_BaseData&;
using Test = bool (*)(Dest dest, const Sources& sources);

bool anything(Dest, const Sources&)
{
    return true;
}

bool isComplexType(Egda_PixelType type)
{
    return type == EGDA_TYPE_C64 || type == EGDA_TYPE_C128;
}

bool isFloatType(Egda_PixelType type)
{
    return type == EGDA_TYPE_F32 || type == EGDA_TYPE_F64;
}

bool objectOfOneOfTwo(Dest dest, const Sources& sources)
{
    return sources[0].objecttype == dest.objecttype || sources[1].objecttype == dest.objecttype;
}

bool typeOfEach(Dest dest, const Sources& sources)
{
    for (int i = 0; i < sources.count(); ++i) {
        if (sources[i].datatype != dest.datatype) {
            return false;
        }
    }
    return true;
}

bool typeOfFirst(Dest dest, const Sources& sources)
{
    return sources[0].datatype == dest.datatype;
}

bool twoAlike(const Sources& sources)
{
    return sources[0].datatype == sources[1].datatype;
}

bool byte(Dest dest, const Sources&)
{
    return dest.datatype == EGDA_TYPE_U8;
}

bool byteFromTwo(Dest dest, const Sources& sources)
{
    return byte(dest, sources) && twoAlike(sources);
}

bool wholeToFloat(Dest dest, const Sources& sources)
{
    return dest.datatype == (isComplexType(sources[0].datatype) ? EGDA_TYPE_C128 : EGDA_TYPE_F64);
}

bool wholeToFloatFromTwo(Dest dest, const Sources& sources)
{
    return wholeToFloat(dest, sources) && twoAlike(sources);
}

bool floatToWhole(Dest dest, const Sources& sources)
{
    const Egda_PixelType type = sources[0].datatype;
    return dest.datatype == (isFloatType(type) ? Egda_PixelType{EGDA_TYPE_S32} : type);
}

bool floatToWholeFromTwo(Dest dest, const Sources& sources)
{
    return floatToWhole(dest, sources) && twoAlike(sources);
}

bool complexToFloat(Dest dest, const Sources& sources)
{
    const Egda_PixelType type = sources[0].datatype;
    return dest.datatype == (isComplexType(type) ? Egda_PixelType{EGDA_TYPE_F64} : type);
}

bool lastThreeToFloat(Dest dest, const Sources& sources)
{
    return dest.datatype == EGDA_TYPE_F64 && sources[3].datatype == sources[4].datatype &&
           sources[3].datatype == sources[5].datatype;
}

bool sameSize(Dest dest, const Egda_BaseData& source)
{
    return source.numrows == dest.numrows && source.numcolumns == dest.numcolumns;
}

bool sizeOrScalar(Dest dest, const Egda_BaseData& source)
{
    return source.objecttype == EGDA_SCALAR_OBJECT || sameSize(dest, source);
}

bool sizeOfEach(Dest dest, const Sources& sources)
{
    for (int i = 0; i < sources.count(); ++i) {
        if (!sizeOrScalar(dest, sources[i])) {
            return false;
        }
    }
    return true;
}

bool sizeOfFirst(Dest dest, const Sources& sources)
{
    return sizeOrScalar(dest, sources[0]);
}

bool sizeOfLastThree(Dest dest, const Sources& sources)
{
    return sameSize(dest, sources[3]) && sameSize(dest, sources[4]) && sameSize(dest, sources[5]);
}

bool roomForFirst(Dest dest, const Sources& sources)
{
    return dest.numrows >= sources[0].numrows && dest.numcolumns >= sources[0].numcolumns;
}

bool shapeOfProduct(Dest dest, const Sources& sources)
{
    return dest.numrows == sources[0].numrows && dest.numcolumns == sources[1].numcolumns &&
           sources[0].numcolumns == sources[1].numrows;
}

bool sizeOfSecond(Dest dest, const Sources& sources)
{
    return sameSize(dest, sources[1]);
}

struct Rule {
    const char* name;
    int least;
    int most;
    Test object;
    Test type;
    Test size;
    /* Whose name a wrong number of sources is reported under, where it is another. */
    const char* nameForCount = nullptr;
    /* The first source has a column for each layer of the destination. */
    bool weighsLayers = false;
};

constexpr int kAnyNumber = 0x7FFFFFFF;

void raiseAs(const char* name, Say text, Eerr_ErrorReport** err)
{
    PlainScope(name, err).raise(text);
}

void run(const Rule& rule, Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources, Eerr_ErrorReport** err)
{
    if (err != nullptr) {
        *err = nullptr;
    }
    if (sources->numstacks < rule.least || sources->numstacks > rule.most) {
        return raiseAs(rule.nameForCount != nullptr ? rule.nameForCount : rule.name,
                       {"The source data contains less than two stacks", 1}, err);
    }
    for (int k = 0; k < dest->numlayers; ++k) {
        const Sources layers(*sources, k);
        const Egda_BaseData& to = *dest->datalayer[k];
        if (!layers.complete()) {
            return raiseAs(rule.name, {"The data size is not matched between the input and output data", 4}, err);
        }
        if (!rule.object(to, layers)) {
            return raiseAs(rule.name, {"The object type is not matched between the input and output data", 2}, err);
        }
        if (!rule.type(to, layers)) {
            return raiseAs(rule.name, {"The data type is not matched between the input and output data", 3}, err);
        }
        if (!rule.size(to, layers) || (rule.weighsLayers && layers[0].numcolumns != dest->numlayers)) {
            return raiseAs(rule.name, {"The data size is not matched between the input and output data", 4}, err);
        }
    }
}

void unchecked(Egda_BaseDataStack*, const Egda_BaseDataStackArray*, Eerr_ErrorReport** err)
{
    if (err != nullptr) {
        *err = nullptr;
    }
}

}  // namespace

/* The number of sources of the single checks is not told; without the first there is nothing to hold against. */
#define EMANTLE_CHECK(check, ...)                                                                               \
    EMANTLE_API void check(Egda_BaseDataStack* dest, const Egda_BaseDataStackArray* sources, Eerr_ErrorReport** err) \
    {                                                                                                           \
        static constexpr Rule rule{__VA_ARGS__};                                                                \
        run(rule, dest, sources, err);                                                                          \
    }

EMANTLE_CHECK(egda_BinaryOpCheck, "egda_BinaryOpCheck", 2, kAnyNumber, objectOfOneOfTwo, typeOfEach, sizeOfEach,
              "egda_BinaryCheck")
EMANTLE_CHECK(egda_TwoItofOpCheck, "egda_TwoItofOpCheck", 2, 2, objectOfOneOfTwo, wholeToFloatFromTwo, sizeOfEach)
EMANTLE_CHECK(egda_TwoFtoiOpCheck, "egda_TwoFtoiOpCheck", 2, 2, objectOfOneOfTwo, floatToWholeFromTwo, sizeOfEach)
EMANTLE_CHECK(egda_BinaryLogicOpCheck, "egda_BinaryLogicOpCheck", 2, 2, objectOfOneOfTwo, byteFromTwo, sizeOfEach)
EMANTLE_CHECK(egda_ThrICtofOpCheck, "egda_ThrICtofOpCheck", 6, 6, anything, lastThreeToFloat, sizeOfLastThree)
EMANTLE_CHECK(egda_SingleOpCheck, "egda_SingleCtofOpCheck", 1, kAnyNumber, anything, typeOfFirst, sizeOfFirst)
EMANTLE_CHECK(egda_SingleCtofOpCheck, "egda_SingleCtofOpCheck", 1, kAnyNumber, anything, complexToFloat, sizeOfFirst)
EMANTLE_CHECK(egda_SingleItofOpCheck, "egda_SingleItofOpCheck", 1, kAnyNumber, anything, wholeToFloat, sizeOfFirst)
EMANTLE_CHECK(egda_SingleLogicOpCheck, "egda_SingleLogicOpCheck", 1, kAnyNumber, anything, byte, sizeOfFirst)
EMANTLE_CHECK(egda_SingleFtoiOpCheck, "egda_SingleFtoiOpCheck", 1, kAnyNumber, anything, floatToWhole, sizeOfFirst)
EMANTLE_CHECK(egda_ConvertOpCheck, "egda_ConvertOpCheck", 1, kAnyNumber, anything, anything, roomForFirst)
EMANTLE_CHECK(egda_FillOpCheck, "egda_FillOpCheck", 1, kAnyNumber, anything, typeOfFirst, anything)
EMANTLE_CHECK(egda_MatrixMulOpCheck, "egda_MatrixMulOpCheck", 2, 2, anything, typeOfEach, shapeOfProduct)
EMANTLE_CHECK(MatrixTrRasterOpCheck, "MatrixTrRasterOpCheck", 2, 2, anything, typeOfEach, sizeOfSecond, nullptr, true)

namespace {

/* The checks of an operation, by object type. */
struct CheckCells {
    constexpr CheckCells(Egda_OperatorRoutine check) : CheckCells(check, check, check, check) {}
    constexpr CheckCells(Egda_OperatorRoutine scalar, Egda_OperatorRoutine table, Egda_OperatorRoutine matrix,
                         Egda_OperatorRoutine raster)
        : cells{{scalar, {0, 0}}, {table, {0, 0}}, {matrix, {0, 0}}, {raster, {0, 0}}}
    {
    }

    Egda_OperatorCell cells[EGDA_NUM_OBJECTS];
};

constexpr CheckCells forMatrix(Egda_OperatorRoutine check)
{
    return {unchecked, unchecked, check, unchecked};
}

constexpr CheckCells exceptForScalar(Egda_OperatorRoutine check)
{
    return {unchecked, check, check, check};
}

constexpr CheckCells kChecks[EGDA_NUM_OPERATIONS] = {
#define EGDA_OPERATION(number, symbol, table, check, types, home) check,
#define EGDA_TABLE(table, types, home)
#include <emantle/data/egda/operations.def>
};

constexpr auto kCheckRows = [] {
    std::array<Egda_OperatorRow, EGDA_NUM_OPERATIONS> rows{};
    for (std::size_t op = 0; op < rows.size(); ++op) {
        rows[op] = kChecks[op].cells;
    }
    return rows;
}();

}  // namespace

EMANTLE_API const Egda_OperatorRow* emsc_AddressOf_egda_CheckInitialCheck(void)
{
    return kCheckRows.data();
}
