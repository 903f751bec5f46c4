#include "support.h"

#include "platform/faults.h"
#include "store/mif/stream.h"

#include <emantle/files/efio.h>
#include <utility>

namespace {

using namespace mif_test;
using ::testing::HasSubstr;

TEST(Adding, DesignsInsideComeFirstAndTheFirstDefinitionWins)
{
    const DesignPtr outer = designOf("{1:x{1:x{1:la,}C,c,1:sb,}B,b,1:x{1:la,}C,d,}A,");
    const DictionaryPtr dictionary(emif_DictionaryCreate(nullptr));
    EXPECT_EQ(encoded(*dictionary), ".");

    Emif_Design* added = emif_DictionaryAddDesign(dictionary.get(), outer.get(), nullptr);
    EXPECT_EQ(namesIn(*dictionary), "C B A ");
    EXPECT_EQ(added, dictionary->last);
    EXPECT_NE(added, outer.get());
    EXPECT_EQ(dictionary->changed, 1);
    EXPECT_EQ(emif_DictionaryEncodedLength(dictionary.get(), nullptr), static_cast<long>(encoded(*dictionary).size()));
    EXPECT_EQ(dictionary->changed, 0);

    const DesignPtr other = designOf("{1:dother,}B,");
    EXPECT_EQ(emif_AddDesignToDictionary(dictionary.get(), other.get(), nullptr), dictionary->first->next);
    EXPECT_EQ(dictionary->changed, 0);
    EXPECT_EQ(emif_FindDesignByName(dictionary.get(), "B", nullptr)->items->type, EMIF_TYPE_DESIGN);
}

TEST(Adding, ADesignThatTwoOthersHoldStillComesBeforeBoth)
{
    const DictionaryPtr source = dictionaryOf("{1:la,}C,{1:oC,c,}B,{1:oC,c,1:oB,b,}A,.");
    const DictionaryPtr target(emif_DictionaryCreate(nullptr));
    emif_DictionaryAddDesign(target.get(), source->last, nullptr);
    EXPECT_EQ(namesIn(*target), "C B A ");
    EXPECT_EQ(namesIn(*dictionaryOf(encoded(*target))), "C B A ");
}

TEST(Adding, AndSearchingRefuseNulls)
{
    Report report;
    const DictionaryPtr dictionary = dictionaryOf("{1:la,}A,.");
    EXPECT_EQ(emif_DictionaryAddDesign(nullptr, dictionary->first, report), nullptr);
    EXPECT_EQ(report.text(), "emif_DictionaryAddDesign: Dictionary pointer is NULL");
    EXPECT_EQ(emif_DictionaryAddDesign(dictionary.get(), nullptr, report), nullptr);
    EXPECT_EQ(report.text(), "emif_DictionaryAddDesign: DesignPrepend failure NULL / emif_DesignPrepend: Input Design is NULL");
    EXPECT_EQ(emif_DictionarySearchByName(nullptr, "A", report), nullptr);
    EXPECT_EQ(report.text(), "emif_DictionarySearchByName: NULL dictionary pointer");
    EXPECT_EQ(emif_DictionarySearchByName(dictionary.get(), nullptr, report), nullptr);
    EXPECT_EQ(report.text(), "emif_DictionarySearchByName: NULL name");
    EXPECT_EQ(emif_DictionarySearchByName(dictionary.get(), "a", report), nullptr);
    EXPECT_EQ(report.text(), "");
}

TEST(Text, ComesBackAsItWas)
{
    const char* const texts[] = {
        ".",
        "{}Empty,.",
        "{1:lversion,1:LfreeList,1:LrootEntryPtr,1:sentryHeaderLength,1:LdictionaryPtr,}Ehfa_File,"
        "{1:Lnext,1:Lprev,1:Lparent,1:Lchild,1:Ldata,1:ldataSize,64:cname,32:ctype,1:tmodTime,}Ehfa_Entry,.",
        "{1:e0:x,}None,.",
        "{1:e3:a,,b c,x,}Blank,.",
        "{1:1a,1:2b,1:4c,1:Cd,1:ce,1:Sf,1:sg,1:Lh,1:li,1:fj,1:dk,1:ml,1:Mm,1:to,1:ip,}Letters,.",
        "{0:pla,7:*lb,0:la,2147483647:*dd,}Shapes,.",
        "{1:la,}A,{3:oA,a,}B,.",
        "{1:?a,}Unknown,.",
    };
    for (const char* text : texts) {
        EXPECT_EQ(encoded(*dictionaryOf(text)), text);
    }
    const DesignPtr unknown = designOf("{1:qa,1:*zb,1:cc,}Unknown,");
    EXPECT_EQ(unknown->items->type, 0);
    EXPECT_EQ(unknown->hostSize, 1);
    EXPECT_EQ(dictionaryOf("{1:e0:x,}None,.")->first->items->enumNames, nullptr);
}

TEST(Text, TheToolkitsOwnDesignsOverride)
{
    const DictionaryPtr dictionary =
        dictionaryOf("{1:dnothing,}Egda_BaseData,{1:x{9:dx,}Emif_String,s,1:oEmif_MIFObject,m,}A,.");
    EXPECT_STREQ(dictionary->first->items->name, "numrows");
    const Emif_DesignItem* item = emif_FindDesignByName(dictionary.get(), "A", nullptr)->items;
    EXPECT_EQ(item->hostSize, static_cast<int>(sizeof(Emif_String)));
    EXPECT_EQ(item->next->hostSize, static_cast<int>(sizeof(Emif_MIFObject)));
}

TEST(Text, DamageInTheFirstDesignIsTold)
{
    const std::string top = "emif_DictionaryDecodeFromString: emif_DictionaryDecode failed / "
                            "emif_DictionaryDecode: emif_DecodeDesign failed / emif_DecodeDesign: ";
    const std::string item = top + "emif_DecodeItem failed / emif_DecodeItem: ";
    const std::string name = "emif_DecodeName failed / emif_DecodeName: ";
    struct Case {
        std::string text;
        std::string report;
    };
    std::string deep = "{";
    for (int i = 0; i < 40; ++i) {
        deep += "1:x{";
    }
    const Case cases[] = {
        {"", top + "readFunc failed"},
        {"x", top + "Illegal object definition; start char = x, 0x78"},
        {"\xC3", top + "Illegal object definition; start char = \xC3, 0xc3"},
        {"{", item + "emif_DecodeItemCount failed / emif_DecodeItemCount: readFunc failed"},
        {"{1", item + "emif_DecodeItemCount failed / emif_DecodeItemCount: readFunc failed"},
        {"{-1:la,}A,.", item + "emif_DecodeItemCount failed / emif_DecodeItemCount: Non-numeric character - (0x2d) for count"},
        {"{1}A,.", item + "emif_DecodeItemCount failed / emif_DecodeItemCount: Non-numeric character } (0x7d) for count"},
        {"{2147483648:la,}A,.", item + "emif_DecodeItemCount failed / emif_DecodeItemCount: The count is beyond 32 bits"},
        {"{1:", item + "readFunc failed"},
        {"{1:la", item + name + "readFunc failed"},
        {"{1:l\ta,}A,.", item + name + "Non-printable character \t (0x09) for name"},
        {"{1:la,}A", top + name + "readFunc failed"},
        {"{1:oB,b,}A,.", item + "emif_DesignCopy failed / emif_DesignCopy: Invalid source design"},
        {"{1:oA,a,}A,.", item + "emif_DesignCopy failed / emif_DesignCopy: Invalid source design"},
        {"{1:x.", item + "emif_DecodeDesign failed"},
        {"{1:e}a,}A,.", item + "emif_DecodeEnumCount failed / emif_DecodeEnumCount: Non-numeric character } (0x7d) for count"},
        {"{1:e32768:a,}A,.", item + "An enumeration of 32768 names; the most is 32767"},
        {"{1:e3:a,b,}A,.", item + name + "readFunc failed"},
        {"{536870912:la,}A,.", item + "Item a is beyond 32 bits"},
        {"{1:x{1073741824:Ca,}B,b,1:x{1073741824:Ca,}B,c,}A,.", item + "Item c is beyond 32 bits"},
        {"{65536:x{65536:Ca,}B,b,}A,.", item + "Item b is beyond 32 bits"},
    };
    for (const Case& each : cases) {
        Report report;
        const DictionaryPtr dictionary(emif_DictionaryDecodeFromString(each.text.c_str(), report));
        EXPECT_EQ(dictionary, nullptr) << each.text;
        EXPECT_EQ(report.text(), each.report) << each.text;
    }
    Report report;
    EXPECT_EQ(emif_DictionaryDecodeFromString(nullptr, report), nullptr);
    EXPECT_EQ(report.text(), "emif_DictionaryDecodeFromString: Missing dictionary string");
    EXPECT_EQ(emif_DictionaryDecodeFromString(deep.c_str(), report), nullptr);
    EXPECT_THAT(report.text(), HasSubstr("emif_DecodeDesign: Designs nest deeper than 32"));
}

TEST(Text, DamageBehindTheFirstDesignIsPrintedAndEndsIt)
{
    Printed printed;
    const DictionaryPtr dictionary = dictionaryOf("{1:la,}A,{1:lb,}B,{1:l\x01,}C,{1:ld,}D,.");
    EXPECT_EQ(namesIn(*dictionary), "A B ");
    EXPECT_THAT(printed.text, HasSubstr("Non-printable character \x01 (0x01) for name"));
}

/* A text may not ask for more than it spells out: each of these is short, and what it names would fill the machine. */
TEST(Text, ShortTextsDoNotYieldLargeDesigns)
{
    Printed printed;
    std::string doubling = "{1:la,}A0,";
    std::string chain = doubling;
    for (int i = 0; i < 60; ++i) {
        const std::string last = "A" + std::to_string(i);
        const std::string next = "A" + std::to_string(i + 1);
        doubling += "{1:*o" + last + ",a,1:*o" + last + ",b,}" + next + ",";
        chain += "{1:*o" + last + ",a,}" + next + ",";
    }
    EXPECT_STREQ(dictionaryOf(chain + ".")->last->name, "A31");
    EXPECT_THAT(printed.text, HasSubstr("nests designs 33 deep; the limit is 32"));
    printed.text.clear();
    const DictionaryPtr doubled = dictionaryOf(doubling + ".");
    EXPECT_THAT(printed.text, HasSubstr("The designs hold more than "));
    EXPECT_LT(namesIn(*doubled).size(), 60U);

    std::string many;
    for (int i = 0; i < 20000; ++i) {
        many += "{1:la,}D" + std::to_string(i) + ",";
    }
    EXPECT_STREQ(dictionaryOf(many + ".")->last->name, "D19999");
}

TEST(Files, HoldTheTextAtTheirPosition)
{
    Efio_File* file = efio_TmpFile(nullptr);
    ASSERT_NE(file, nullptr);
    std::string text;
    for (int i = 0; i < 600; ++i) {
        text += "{1:la,16:cname,}Design" + std::to_string(i) + ",";
    }
    text += ".";
    const DictionaryPtr written = dictionaryOf(text);
    efio_WriteSeq(file, "head", 4, nullptr);
    EXPECT_EQ(emif_EncodeDictionary(file, written.get(), nullptr), static_cast<long>(text.size()));
    efio_WriteSeq(file, "tail", 4, nullptr);

    const DictionaryPtr target = dictionaryOf("{1:dmine,}Design7,.");
    efio_Seek(file, 4, EFIO_SEEK_SET, nullptr);
    Report report;
    EXPECT_EQ(emif_DecodeDictionary(file, target.get(), report), target.get()) << report.text();
    EXPECT_EQ(efio_Tell(file, nullptr), 4 + static_cast<long>(text.size()));
    EXPECT_STREQ(target->first->items->name, "mine");
    EXPECT_STREQ(target->last->name, "Design599");

    efio_Seek(file, 0, EFIO_SEEK_END, nullptr);
    EXPECT_EQ(emif_DecodeDictionary(file, nullptr, report), nullptr);
    EXPECT_THAT(report.text(), HasSubstr("emif_DecodeDesign: readFunc failed"));
    efio_Close(file, nullptr);

    EerrException scope(OrvikLog::Literal{"test"});
    EXPECT_EQ(emantle::mif::decodeDictionary(scope, text + "rest", *target), text.size());
}

TEST(Text, DamageAnywhereEndsInAReportOrAValue)
{
    const std::string text = "{1:lversion,0:pcname,}A,{2:oA,a,1:e2:x,y,e,1:x{3:1b,}B,i,4:bv,1:*dd,}C,.";
    Printed printed;
    const auto survives = [](const std::string& damaged) {
        Report report;
        const DictionaryPtr dictionary(emif_DictionaryDecodeFromString(damaged.c_str(), report));
        EXPECT_EQ(dictionary == nullptr, !report.text().empty()) << damaged;
        if (dictionary != nullptr) {
            const std::string again = encoded(*dictionary);
            EXPECT_EQ(encoded(*dictionaryOf(again)), again) << damaged;
        }
    };
    for (std::size_t i = 0; i < text.size(); ++i) {
        survives(text.substr(0, i));
        for (const char value : {'0', '9', ':', ',', '{', '}', '.', 'x', 'o', 'b', 'p', '*', '\x01', '\xFF'}) {
            std::string damaged = text;
            damaged[i] = value;
            survives(damaged);
        }
    }
}

TEST(Text, OfWhatHasNoNameIsRefused)
{
    const DictionaryPtr dictionary = dictionaryOf("{1:e2:x,y,kind,}A,.");
    Emif_DesignItem& item = *dictionary->first->items;
    const std::string encode = "emif_DictionaryEncodeToString: emif_DictionaryEncodedLength failed / "
                               "emif_DictionaryEncodedLength: DictionaryEncode fail / "
                               "emif_DictionaryEncode: emif_EncodeDesign failed / emif_EncodeDesign: ";
    Report report;
    char* kept = std::exchange(item.enumNames[1], nullptr);
    EXPECT_EQ(emif_DictionaryEncodeToString(dictionary.get(), report), nullptr);
    EXPECT_EQ(report.text(), encode + "emif_EncodeItem failed / emif_EncodeItem: No item name");
    item.enumNames[1] = kept;
    kept = std::exchange(dictionary->first->name, nullptr);
    EXPECT_EQ(emif_DictionaryEncodeToString(dictionary.get(), report), nullptr);
    EXPECT_EQ(report.text(), encode + "No design name");
    EXPECT_EQ(emif_DictionaryAddDesign(dictionary.get(), dictionary->first, report), nullptr);
    EXPECT_EQ(report.text(),
              "emif_DictionaryAddDesign: DesignPrepend failure NULL / emif_DesignPrepend: FindDesign fail");
    dictionary->first->name = kept;
}

TEST(Text, WithoutMemoryNothingIsLeftBehind)
{
    const std::string text = "{1:lversion,0:pcname,}A,{2:oA,a,1:e2:x,y,e,1:x{3:1b,}B,i,4:bv,}C,.";
    dictionaryOf(text);
    Printed printed;
    bool fired = true;
    for (std::uint64_t nth = 1; fired; ++nth) {
        const emantle::platform::FaultInjection fault(emantle::platform::Operation::allocate, nth,
                                                      emantle::platform::Outcome::noMemory());
        Eerr_ErrorReport* report = nullptr;
        const DictionaryPtr dictionary(emif_DictionaryDecodeFromString(text.c_str(), &report));
        fired = fault.fired();
        EXPECT_EQ(dictionary == nullptr, report != nullptr) << nth;
        eerr_DeleteErrorReportEx(&report);
    }
}

}  // namespace
