#include "tables/binfunction_helpers.h"

#include <cstring>
#include <emantle/store/emif.h>
#include <limits>

namespace {

using Bytes = std::vector<std::uint8_t>;

/* The stream form of a function, with the name of its design in front. */
struct Stored {
    std::string design;
    Bytes bytes;
};

Stored store(const Edsc_BinFunction* binFunction)
{
    void* object = nullptr;
    const Emif_Design* design = nullptr;
    Report report;
    EXPECT_TRUE(edsc_BinFunctionConvertToMIFable(binFunction, &object, &design, report)) << rootCause(report);
    if (object == nullptr) {
        return {};
    }
    Stored stored{design->name, Bytes(static_cast<std::size_t>(emif_ObjectSize(object, design, nullptr)))};
    emif_ConvertToMIF(nullptr, object, design, stored.bytes.data(), nullptr);
    emif_ObjectFree(&object, design, nullptr);
    return stored;
}

/* The function that a stream form holds. */
BinFunction load(const Stored& stored, Eerr_ErrorReport** err)
{
    const Emif_Design* design = stored.design == "Edsc_BinFunction" ? edsc_HFABinFunctionDesignFetch(nullptr)
                                                                   : edsc_HFABinFunction840DesignFetch(nullptr);
    void* object = emif_ObjectAllocate(design, nullptr);
    Bytes bytes = stored.bytes;
    EXPECT_NE(emif_ConvertToHost(nullptr, bytes.data(), design, object, nullptr), 0);
    BinFunction result(edsc_BinFunctionCreate(object, design, err));
    emif_ObjectFree(&object, design, nullptr);
    return result;
}

const Bytes kDouble0{0, 0, 0, 0, 0, 0, 0, 0};
const Bytes kDouble1{0, 0, 0, 0, 0, 0, 0xf0, 0x3f};
const Bytes kDouble2{0, 0, 0, 0, 0, 0, 0, 0x40};
const Bytes kDouble4{0, 0, 0, 0, 0, 0, 0x10, 0x40};
const Bytes kDouble8{0, 0, 0, 0, 0, 0, 0x20, 0x40};
const Bytes kNoLimits{0, 0, 0, 0, 8, 0, 0, 0};

Bytes joined(const std::vector<Bytes>& parts)
{
    Bytes all;
    for (const Bytes& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

Bytes text(const std::string& string)
{
    Bytes bytes(8 + string.size() + 1);
    bytes[0] = static_cast<std::uint8_t>(string.size() + 1);
    bytes[1] = static_cast<std::uint8_t>((string.size() + 1) >> 8);
    bytes[4] = 8;
    std::copy(string.begin(), string.end(), bytes.begin() + 8);
    return bytes;
}

Bytes sized(const Bytes& content)
{
    return joined({{static_cast<std::uint8_t>(content.size()), static_cast<std::uint8_t>(content.size() >> 8), 0, 0, 8, 0,
                    0, 0},
                   content});
}

const std::string kBaseDataText =
    "{1:lnumrows,1:lnumcolumns,1:e13:EGDA_TYPE_U1,EGDA_TYPE_U2,EGDA_TYPE_U4,EGDA_TYPE_U8,EGDA_TYPE_S8,EGDA_TYPE_U16,"
    "EGDA_TYPE_S16,EGDA_TYPE_U32,EGDA_TYPE_S32,EGDA_TYPE_F32,EGDA_TYPE_F64,EGDA_TYPE_C64,EGDA_TYPE_C128,datatype,"
    "1:e4:EGDA_SCALAR_OBJECT,EGDA_TABLE_OBJECT,EGDA_MATRIX_OBJECT,EGDA_RASTER_OBJECT,objecttype,}Egda_BaseData,";
const std::string kOldText = kBaseDataText +
                             "{1:lnumBins,1:e4:direct,linear,logarithmic,explicit,binFunctionType,1:dminLimit,1:dmaxLimit,"
                             "1:*bbinLimits,}Edsc_BinFunction,.";
const std::string kUniqueText = kBaseDataText + "{1:LnumBins,1:*bbinLimits,}BFUnique,.";

/* A table of three F64 rows. */
const Bytes kTable124 = joined({{1, 0, 0, 0, 8, 0, 0, 0}, {3, 0, 0, 0, 1, 0, 0, 0, 10, 0, 1, 0}, kDouble1, kDouble2,
                                kDouble4});

TEST(BinFunctionBytes, TheOldFormOfEachKind)
{
    const struct {
        BinFunction binFunction;
        Bytes bytes;
    } cases[] = {
        {direct(2, 3), joined({{3, 0, 0, 0, 0, 0}, kDouble2, kDouble4, kNoLimits})},
        {linear(0, 8, 5), joined({{5, 0, 0, 0, 1, 0}, kDouble0, kDouble8, kNoLimits})},
        {logarithmic(1, 4, 7), joined({{7, 0, 0, 0, 2, 0}, kDouble1, kDouble4, kNoLimits})},
        {explicitLimits({4, 1, 2}, 2), joined({{2, 0, 0, 0, 3, 0}, kDouble1, kDouble4, kTable124})},
    };
    for (const auto& [binFunction, bytes] : cases) {
        const Stored stored = store(binFunction.get());
        EXPECT_EQ(stored.design, "Edsc_BinFunction");
        EXPECT_EQ(stored.bytes, bytes);
        Report report;
        EXPECT_TRUE(edsc_BinFunctionIsSame(load({"Edsc_BinFunction", bytes}, report).get(), binFunction.get(), nullptr))
            << rootCause(report);
    }
}

TEST(BinFunctionBytes, ASpanTakesTheNewForm)
{
    const BinFunction binFunction = direct(2, 3);
    edsc_BinFunctionBinCountModify(binFunction.get(), 1, 2, nullptr);
    const Bytes bytes = joined({{1, 0, 0, 0, 2, 0, 0, 0, 3, 0, 0, 0},
                                text("Edsc_BinFunction"),
                                text(kOldText),
                                sized(joined({{3, 0, 0, 0, 0, 0}, kDouble2, kDouble4, kNoLimits})),
                                text("Direct")});
    const Stored stored = store(binFunction.get());
    EXPECT_EQ(stored.design, "Edsc_BinFunction840");
    EXPECT_EQ(stored.bytes, bytes);
    Report report;
    const BinFunction loaded = load({"Edsc_BinFunction840", bytes}, report);
    ASSERT_NE(loaded, nullptr) << rootCause(report);
    EXPECT_TRUE(edsc_BinFunctionIsSame(loaded.get(), binFunction.get(), nullptr));
}

TEST(BinFunctionBytes, AKindWithoutOldFormTakesTheNewForm)
{
    const BinFunction binFunction = unique({4, 2, 1});
    const Bytes bytes = joined({{0, 0, 0, 0, 3, 0, 0, 0, 3, 0, 0, 0},
                                text("BFUnique"),
                                text(kUniqueText),
                                sized(joined({{3, 0, 0, 0}, kTable124})),
                                text("Unique Value")});
    EXPECT_EQ(store(binFunction.get()).bytes, bytes);
    Report report;
    EXPECT_TRUE(edsc_BinFunctionIsSame(load({"Edsc_BinFunction840", bytes}, report).get(), binFunction.get(), nullptr))
        << rootCause(report);
}

TEST(BinFunctionMIFable, NothingGivesTheOldDesignOnly)
{
    void* object = &object;
    const Emif_Design* design = nullptr;
    EXPECT_TRUE(edsc_BinFunctionConvertToMIFable(nullptr, &object, &design, nullptr));
    EXPECT_EQ(object, nullptr);
    EXPECT_STREQ(design->name, "Edsc_BinFunction");
    EXPECT_STREQ(edsc_HFABinFunctionNameFromDesignFetch(design), "#Bin_Function#");
    EXPECT_STREQ(edsc_HFABinFunctionNameFromDesignFetch(edsc_HFABinFunction840DesignFetch(nullptr)),
                 "#Bin_Function840#");
}

/* What a hostile file may hold. */

Bytes newForm(std::uint8_t start, std::uint8_t count, std::uint8_t all, const std::string& type,
              const std::string& dictionary, const Bytes& object, const std::string& title)
{
    return joined({{start, 0, 0, 0, count, 0, 0, 0, all, 0, 0, 0}, text(type), text(dictionary), sized(object),
                   text(title)});
}

TEST(HostileBinFunction, IsReported)
{
    const Bytes directObject = joined({{3, 0, 0, 0, 0, 0}, kDouble2, kDouble4, kNoLimits});
    const Bytes nan{0, 0, 0, 0, 0, 0, 0xf8, 0x7f};
    const struct {
        const char* why;
        Stored stored;
        const char* text;
    } cases[] = {
        {"2^31 bins",
         {"Edsc_BinFunction", joined({{0, 0, 0, 0x80, 0, 0}, kDouble2, kDouble4, kNoLimits})},
         "The number of bins must be a positive integer"},
        {"no bins",
         {"Edsc_BinFunction", joined({{0, 0, 0, 0, 1, 0}, kDouble2, kDouble4, kNoLimits})},
         "The number of bins must be a positive integer"},
        {"an unknown type",
         {"Edsc_BinFunction", joined({{1, 0, 0, 0, 9, 0}, kDouble2, kDouble4, kNoLimits})},
         "edsc_BinFunctionMethodsTitleFromMIFable failed"},
        {"a table that is too short",
         {"Edsc_BinFunction", joined({{3, 0, 0, 0, 3, 0}, kDouble1, kDouble4, kTable124})},
         "Not enough data in bin limit table"},
        {"no table",
         {"Edsc_BinFunction", joined({{3, 0, 0, 0, 3, 0}, kDouble1, kDouble4, kNoLimits})},
         "NULL bin limits given"},
        {"a limit that is no number",
         {"Edsc_BinFunction", joined({{3, 0, 0, 0, 1, 0}, nan, kDouble4, kNoLimits})},
         "A limit of a bin function is not a number"},
        {"a span over the end",
         {"Edsc_BinFunction840", newForm(2, 2, 3, "Edsc_BinFunction", kOldText, directObject, "Direct")},
         "Invalid bins of a bin function:  2 from 2 of 3"},
        {"an empty span",
         {"Edsc_BinFunction840", newForm(2, 0, 3, "Edsc_BinFunction", kOldText, directObject, "Direct")},
         "Invalid bins of a bin function:  0 from 2 of 3"},
        {"another design under the right name",
         {"Edsc_BinFunction840", newForm(0, 3, 3, "Edsc_BinFunction", "{1:dnumBins,}Edsc_BinFunction,.", kDouble2, "Direct")},
         "Incorrect bin function design"},
        {"a design of another name",
         {"Edsc_BinFunction840", newForm(0, 3, 3, "BFUnique", kUniqueText, joined({{3, 0, 0, 0}, kTable124}), "Direct")},
         "Incorrect bin function design"},
        {"the object of another kind",
         {"Edsc_BinFunction840", newForm(0, 3, 3, "Edsc_BinFunction", kOldText, directObject, "Linear")},
         "Incorrect bin function type"},
        {"a way to a library",
         {"Edsc_BinFunction840", newForm(0, 3, 3, "Edsc_BinFunction", kOldText, directObject, "/tmp/evil")},
         "Could not find instance /tmp/evil of class BinFunctions"},
        {"no title",
         {"Edsc_BinFunction840", newForm(0, 3, 3, "Edsc_BinFunction", kOldText, directObject, "")},
         "edsc_BinFunctionMethodsTitleFromMIFable failed"},
    };
    for (const auto& [why, stored, text] : cases) {
        Report report;
        EXPECT_EQ(load(stored, report), nullptr) << why;
        EXPECT_EQ(rootCause(report), text) << why;
    }
}

TEST(HostileBinFunction, AnObjectCutAnywhereIsReported)
{
    const Bytes object = joined({{2, 0, 0, 0, 3, 0}, kDouble1, kDouble4, kTable124});
    for (std::size_t length = 1; length < object.size(); ++length) {
        const Bytes cut(object.begin(), object.begin() + static_cast<std::ptrdiff_t>(length));
        Report report;
        EXPECT_EQ(load({"Edsc_BinFunction840", newForm(0, 1, 2, "Edsc_BinFunction", kOldText, cut, "Explicit")}, report),
                  nullptr)
            << length;
        EXPECT_NE(report.get(), nullptr) << length;
    }
}

/* More bins than the kind has: the kind's own bounds hold. */
TEST(HostileBinFunction, BinsThatTheKindDoesNotHaveAreNotReached)
{
    const Bytes object = joined({{2, 0, 0, 0, 3, 0}, kDouble1, kDouble4, kTable124});
    const BinFunction binFunction =
        load({"Edsc_BinFunction840", newForm(0, 200, 200, "Edsc_BinFunction", kOldText, object, "Explicit")}, nullptr);
    ASSERT_NE(binFunction, nullptr);
    EXPECT_EQ(edsc_BinFunctionApply(binFunction.get(), 100, nullptr), 2);
    double lower = 0;
    Report report;
    EXPECT_FALSE(edsc_BinFunctionApplyInverse(binFunction.get(), 199, &lower, nullptr, report));
    EXPECT_EQ(rootCause(report), "bin out of range for bin function");
}

TEST(HostileBinFunction, AnObjectOfAStrangeDesignIsRefused)
{
    Emif_Design* design = emif_DesignCreate(nullptr, "Edsc_Other", nullptr, EMIF_TYPE_LONG, "a", 0);
    const std::int32_t object = 1;
    Report report;
    EXPECT_EQ(edsc_BinFunctionCreate(&object, design, report), nullptr);
    EXPECT_EQ(rootCause(report), "Don't know how to create a bin function from a Edsc_Other object");
    emif_DesignDestroy(design);
}

}  // namespace
