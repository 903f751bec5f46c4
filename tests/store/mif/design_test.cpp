#include "support.h"

#include "store/mif/fetch.h"
#include "store/mif/types.h"

#include <cstddef>

namespace {

using namespace mif_test;

/* Every type in an order that leaves holes, as the compiler lays it out. */
struct Everything {
    char c[3];
    Emif_Complex m;
    std::uint8_t u1[10];
    double d;
    std::int16_t s;
    std::uint16_t S;
    std::uint8_t C;
    std::uint32_t L;
    std::int32_t l;
    float f;
    Emif_DComplex M;
    char before;
    double* star;
    char before2;
    Counted<std::int32_t> p;
    std::uint8_t u4[3];
    std::int32_t e;
    std::uint8_t u2[5];
    Egda_BaseData b[2];
    double t;
    std::int32_t i;
    char last;
};

constexpr const char* kEverything = "{3:cc,1:mm,10:1u1,1:dd,1:ss,1:SS,1:CC,1:LL,1:ll,1:ff,1:MM,1:cbefore,1:*dstar,"
                                    "1:cbefore2,0:plp,3:4u4,1:e2:no,yes,e,5:2u2,2:bb,1:tt,1:ii,1:clast,}Everything,";

#define PLACE(field) {#field, offsetof(Everything, field)}
constexpr emantle::mif::Field kEverythingFields[] = {
    PLACE(c), PLACE(m), PLACE(u1),     PLACE(d),    PLACE(s),       PLACE(S), PLACE(C),  PLACE(L), PLACE(l),  PLACE(f), PLACE(M),
    PLACE(before), PLACE(star), PLACE(before2), PLACE(p), PLACE(u4), PLACE(e), PLACE(u2), PLACE(b), PLACE(t), PLACE(i), PLACE(last)};
#undef PLACE

constinit emantle::mif::OwnDictionary home;
constinit emantle::mif::OwnDesign everything(home, kEverything, emantle::mif::recordOf<Everything>(kEverythingFields));

constexpr emantle::mif::Field kWrongPlace[] = {{"first", 0}, {"second", 4}};
constexpr emantle::mif::Field kWrongName[] = {{"first", 0}, {"third", 8}};
constexpr emantle::mif::Field kTooFew[] = {{"first", 0}};
struct Pair {
    char first;
    double second;
};
constinit emantle::mif::OwnDesign wrongPlace(home, "{1:cfirst,1:dsecond,}Pair,", emantle::mif::recordOf<Pair>(kWrongPlace));
constinit emantle::mif::OwnDesign wrongName(home, "{1:cfirst,1:dsecond,}Pair,", emantle::mif::recordOf<Pair>(kWrongName));
constinit emantle::mif::OwnDesign tooFew(home, "{1:cfirst,1:dsecond,}Pair,", emantle::mif::recordOf<Pair>(kTooFew));
constinit emantle::mif::OwnDesign wrongSize(home, "{1:cfirst,1:dsecond,}Pair,", emantle::mif::recordOf<int>());
constinit emantle::mif::OwnDesign damaged(home, "{1:cfirst,1;dsecond,}Pair,", emantle::mif::recordOf<Pair>());

std::string fetched(emantle::mif::OwnDesign& design)
{
    Report report;
    const Emif_Design* made = emantle::guarded<const Emif_Design*>(
        report, "test", nullptr, [&](EerrException& scope) { return design.fetch(scope); });
    return made == nullptr ? report.text() : made->name;
}

TEST(OwnDesigns, LieAsTheCompilerLaysTheRecord)
{
    EXPECT_EQ(fetched(everything), "Everything");
    EXPECT_EQ(fetched(everything), "Everything");
    EXPECT_EQ(fetched(wrongSize), "test: EMIF_DESIGN_FETCH failed / Pair_Design: Design create failed / "
                                  "emif_DesignCreate: Pair takes 16 bytes by its design, 4 in memory");
    EXPECT_THAT(fetched(wrongPlace), ::testing::HasSubstr("second at 8 by its design, at 4 in memory"));
    EXPECT_THAT(fetched(wrongName), ::testing::HasSubstr("Pair has no item third"));
    EXPECT_THAT(fetched(tooFew), ::testing::HasSubstr("Pair has 2 items, 1 of them with a field"));
    EXPECT_THAT(fetched(damaged), ::testing::HasSubstr("Non-numeric character ; (0x3b) for count"));
}

TEST(Layout, SizesAndPadding)
{
    struct Case {
        const char* text;
        int hostSize;
        int mifSize;
        int alignment;
    };
    const int pointer = sizeof(void*);
    const Case cases[] = {
        {"{}A,", 0, 0, 1},
        {"{10:1a,}A,", 10, 2, 1},
        {"{3:2a,3:4b,}A,", 6, 3, 1},
        {"{1:ma,1:db,}A,", 16, 16, 8},
        {"{1:ca,1:mb,}A,", 12, 9, 4},
        {"{1:ca,5:*db,}A,", 2 * pointer, 9, pointer},
        {"{1:ca,0:pdb,}A,", 3 * pointer, 9, pointer},
        {"{1:ca,1:x{1:sb,1:cc,}B,d,1:ce,}A,", 8, 5, 2},
        {"{1:sb,1:cc,}B,{1:ca,2:oB,d,1:ce,}A,", 12, 8, 2},
        {"{2:ba,}A,", 2 * sizeof(Egda_BaseData), 24, alignof(Egda_BaseData)},
        {"{1:e1:x,a,1:cb,}A,", 8, 3, 4},
        {"{1:?a,4:cb,}A,", 4, 4, 1},
        {"{0:la,1:sb,}A,", 4, 2, 4},
    };
    for (const Case& each : cases) {
        const DesignPtr design = designOf(each.text);
        ASSERT_TRUE(design) << each.text;
        EXPECT_EQ(design->hostSize, each.hostSize) << each.text;
        EXPECT_EQ(design->mifSize, each.mifSize) << each.text;
        EXPECT_EQ(design->alignment, each.alignment) << each.text;
        int offset = 0;
        for (const Emif_DesignItem* item = design->items; item != nullptr; item = item->next) {
            EXPECT_EQ(item->hostOffset, offset) << each.text;
            offset += item->hostSize + item->padAfter;
        }
        EXPECT_EQ(offset, design->hostSize) << each.text << ": walking by the padding ends at the record's end";
    }
}

TEST(Layout, ElementsAsTheTypesSay)
{
    const DesignPtr design = designOf("{7:1a,1:bb,1:mc,}A,");
    const Emif_DesignItem* item = design->items;
    EXPECT_EQ(item->mifBytesPerElement, 0.125F);
    EXPECT_EQ(item->hostBytesPerElement, 1);
    item = item->next;
    EXPECT_EQ(item->mifBytesPerElement, 12.0F);
    EXPECT_STREQ(item->design->name, "Egda_BaseData");
    EXPECT_EQ(item->design->items->next->next->enumCount, 13);
    EXPECT_EQ(item->next->prev, item);

    const Emif_Type values[] = {4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    EXPECT_TRUE(std::equal(std::begin(values), std::end(values), emsc_AddressOf_emif_Type()));
}

TEST(Creation, RunTableAndTextSayTheSame)
{
    const char* text = "{1:lversion,16:clabel,0:pdpoints,9:*Cbytes,1:e2:off,on,state,1:x{1:sx,}Inner,inner,"
                       "3:oInner,more,2:bvalues,}Outer,";
    const DictionaryPtr home1 = dictionaryOf("{1:sx,}Inner,.");
    const Emif_Design* inner = home1->first;
    Report report;
    const Emif_Design* byRun = emif_DesignCreate(
        home1.get(), "Outer", report, EMIF_TYPE_LONG, "version", EMIF_TYPE_CHAR | EMIF_ITEM_COUNT, "label", 16,
        EMIF_TYPE_DOUBLE | EMIF_ITEM_COUNTED_POINTER, "points",
        EMIF_TYPE_UCHAR | EMIF_ITEM_POINTER | EMIF_ITEM_COUNT, "bytes", 9, EMIF_TYPE_ENUM, "state", "off", "on",
        static_cast<char*>(nullptr), EMIF_TYPE_DESIGN, "inner", inner, EMIF_TYPE_NAMED_DESIGN | EMIF_ITEM_COUNT, "more",
        "Inner", 3, EMIF_TYPE_BASEDATA | EMIF_ITEM_COUNT, "values", 2, 0);
    ASSERT_TRUE(byRun) << report.text();
    EXPECT_EQ(byRun, home1->last);
    EXPECT_EQ(encoded(*home1).substr(13), "{1:lnumrows,1:lnumcolumns,1:e13:EGDA_TYPE_U1,EGDA_TYPE_U2,EGDA_TYPE_U4,"
                                          "EGDA_TYPE_U8,EGDA_TYPE_S8,EGDA_TYPE_U16,EGDA_TYPE_S16,EGDA_TYPE_U32,"
                                          "EGDA_TYPE_S32,EGDA_TYPE_F32,EGDA_TYPE_F64,EGDA_TYPE_C64,EGDA_TYPE_C128,"
                                          "datatype,1:e4:EGDA_SCALAR_OBJECT,EGDA_TABLE_OBJECT,EGDA_MATRIX_OBJECT,"
                                          "EGDA_RASTER_OBJECT,objecttype,}Egda_BaseData," +
                                              std::string(text) + ".");

    const char* const states[] = {"off", "on", nullptr};
    const Emif_DesignItemRow rows[] = {
        {EMIF_TYPE_LONG, "version", 77, 99, nullptr},
        {EMIF_TYPE_CHAR | EMIF_ITEM_COUNT, "label", 16, 0, nullptr},
        {EMIF_TYPE_DOUBLE | EMIF_ITEM_COUNTED_POINTER, "points", 0, 0, nullptr},
        {EMIF_TYPE_UCHAR | EMIF_ITEM_POINTER | EMIF_ITEM_COUNT, "bytes", 9, 0, nullptr},
        {EMIF_TYPE_ENUM, "state", 0, 0, states},
        {EMIF_TYPE_DESIGN, "inner", 0, 0, inner},
        {EMIF_TYPE_NAMED_DESIGN | EMIF_ITEM_COUNT, "more", 3, 0, "Inner"},
        {EMIF_TYPE_BASEDATA | EMIF_ITEM_COUNT, "values", 2, 0, nullptr},
    };
    const DictionaryPtr home2 = dictionaryOf("{1:sx,}Inner,.");
    const Emif_Design* byTable = emif_DesignCreateFromTable(home2.get(), "Outer", rows, std::size(rows), report);
    ASSERT_TRUE(byTable) << report.text();
    EXPECT_EQ(encoded(*home2), encoded(*home1));
    EXPECT_EQ(byTable->hostSize, byRun->hostSize);
}

TEST(Creation, RefusalsSayWhy)
{
    Report report;
    const DictionaryPtr none(emif_DictionaryCreate(nullptr));
    const Emif_Design* missing = nullptr;
    const std::string run = "emif_DesignCreate: emif_DesignCreateVAPtr failed / emif_DesignCreateVAPtr: ";

    EXPECT_EQ(emif_DesignCreate(none.get(), "A", report, 20, "a", 0), nullptr);
    EXPECT_EQ(report.text(), run + "SetSizes failed / emif_SetSizes: Invalid Emif_Type 20");
    EXPECT_EQ(emif_DesignCreate(none.get(), "A", report, EMIF_TYPE_DESIGN, "a", missing, 0), nullptr);
    EXPECT_EQ(report.text(),
              run + "SetSizes failed / emif_SetSizes: emifDesignCopy failure / emif_DesignCopy: Invalid source design");
    EXPECT_EQ(emif_DesignCreate(none.get(), "A", report, EMIF_TYPE_NAMED_DESIGN, "a", "B", 0), nullptr);
    EXPECT_EQ(report.text(),
              run + "SetSizes failed / emif_SetSizes: emifDesignCopy failure / emif_DesignCopy: Invalid source design");
    EXPECT_EQ(emif_DesignCreate(nullptr, "A", report, EMIF_TYPE_NAMED_DESIGN, "a", "B", 0), nullptr);
    EXPECT_EQ(report.text(), run + "SetSizes failed / emif_SetSizes: emif_DictionarySearchByName failure / "
                                   "emif_DictionarySearchByName: NULL dictionary pointer");
    EXPECT_EQ(emif_DesignCreate(nullptr, "A", report, EMIF_TYPE_DCOMPLEX | EMIF_ITEM_COUNT, "a", 1 << 28, 0), nullptr);
    EXPECT_EQ(report.text(), run + "SetSizes failed / emif_SetSizes: Item a is beyond 32 bits");
    EXPECT_EQ(emif_DesignCreateFromTable(nullptr, "A", nullptr, 1, report), nullptr);
    EXPECT_EQ(report.text(), "emif_DesignCreateFromTable: Args");
    EXPECT_EQ(none->first, nullptr);
    EXPECT_EQ(emif_DesignCopy(nullptr, report), nullptr);
    EXPECT_EQ(report.text(), "emif_DesignCopy: Invalid source design");
    EXPECT_EQ(emif_DesignA2U(nullptr, report), nullptr);
    EXPECT_EQ(report.text(), "emif_DesignA2U: Empty input source design");
}

TEST(Creation, APrivateDesignOverridesFiles)
{
    emif_DesignDestroy(emif_DesignCreateX(nullptr, "Own_Everywhere", nullptr, EMIF_TYPE_LONG, "ours", 0));
    const DesignPtr design = designOf("{1:dtheirs,}Own_Everywhere,");
    EXPECT_STREQ(design->items->name, "ours");
}

TEST(Widths, NamesChangeAndLayoutStays)
{
    const DesignPtr design = designOf("{5:cname,1:e2:a,b,kind,1:x{3:ct,}In,in,1:dz,}Wide,");
    EmifDesignT<Etxt_TextU> wide(emif_DesignA2U(design.get(), nullptr));
    ASSERT_TRUE(wide);
    EXPECT_EQ(std::u16string(wide->name), u"Wide");
    EXPECT_EQ(wide->items->hostBytesPerElement, 2);
    EXPECT_EQ(wide->items->mifBytesPerElement, 1.0F);
    EXPECT_EQ(wide->items->hostSize, 5);
    EXPECT_EQ(std::u16string(wide->items->next->enumNames[1]), u"b");
    EXPECT_EQ(wide->items->next->next->design->items->hostBytesPerElement, 2);
    EXPECT_EQ(wide->hostSize, design->hostSize);

    const DesignPtr back(emif_DesignU2A(wide, nullptr));
    EXPECT_EQ(encoded(*back), encoded(*design));
    EXPECT_EQ(back->items->hostBytesPerElement, 1);
}

}  // namespace
