#include "support.h"

#include "store/mif/fetch.h"

#include <emantle/data/egda.h>
#include <emantle/files/efio.h>

namespace {

using namespace mif_test;
using ::testing::HasSubstr;

struct Track {
    std::int32_t version;
    Emif_String name;
    Counted<double> points;
    Egda_BaseData* values;
};
constexpr const char* kTrack = "{1:lversion,1:oEmif_String,name,0:pdpoints,1:*bvalues,}Track,";

void fill(Track& track)
{
    track.version = 7;
    emif_EmifStringFromString(&track.name, "north", nullptr);
    track.points = {3, heapCopy<double>({1, 2, 3})};
    track.values = egda_BaseDataCreate(2, 2, EGDA_TYPE_U8, EGDA_MATRIX_OBJECT, nullptr, nullptr);
    static_cast<std::uint8_t*>(track.values->data)[3] = 9;
}

TEST(Copies, ShareNothing)
{
    const DesignPtr design = designOf(kTrack);
    const Object<Track> object(*design);
    fill(*object.operator->());
    const Object<Track> copy(*design, emif_ObjectCopy(object.get(), design.get(), nullptr));
    EXPECT_NE(copy->name.string, object->name.string);
    EXPECT_NE(copy->points.pointer, object->points.pointer);
    EXPECT_NE(copy->values->data, object->values->data);
    EXPECT_STREQ(copy->name.string, "north");
    EXPECT_EQ(copy->points.pointer[2], 3);
    EXPECT_EQ(static_cast<std::uint8_t*>(copy->values->data)[3], 9);

    void* contents = copy.get();
    emif_ObjectItemsFree(&contents, design.get(), nullptr);
    EXPECT_EQ(copy->points.pointer, nullptr);
    EXPECT_EQ(copy->points.count, 3) << "the count stays";
    EXPECT_EQ(copy->values, nullptr);
    EXPECT_EQ(copy->version, 7);
    const Object<Track> again(*design, emif_ObjectCopy(copy.get(), design.get(), nullptr));
    EXPECT_EQ(again->points.count, 0);
}

/* A count of less than none is no permission to walk. */
TEST(Copies, AndReleasesNameTheStepThatFailed)
{
    const DesignPtr design = designOf("{0:pbvalues,}A,");
    Egda_BaseData values{};
    Counted<Egda_BaseData> record{-1, &values};
    void* object = &record;
    Report report;
    emif_ObjectItemsFree(&object, design.get(), report);
    EXPECT_EQ(report.text(),
              "emif_ObjectItemsFree: ObjectItemFree failure / emif_ObjectItemFree: emif_BaseDataFree failed. / "
              "emif_BaseDataFree: Item values holds -1 elements");
    EXPECT_EQ(record.pointer, &values);
}

TEST(Copies, AndReleasesRefuseNulls)
{
    const DesignPtr design = designOf(kTrack);
    Report report;
    void* object = nullptr;
    emif_ObjectFree(&object, design.get(), report);
    EXPECT_EQ(report.text(), "emif_ObjectFree: Couldn't free sub-objects. / emif_ObjectItemsFree: Bad objectPP.");
    object = emif_NewObject(design.get(), nullptr);
    emif_ObjectItemsFree(&object, nullptr, report);
    EXPECT_EQ(report.text(), "emif_ObjectItemsFree: Missing design.");
    EXPECT_EQ(emif_ObjectCopy(nullptr, design.get(), report), nullptr);
    EXPECT_EQ(report.text(), "emif_ObjectCopy: Bad srcObjectPP.");
    emif_FreeObject(&object, design.get(), report);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(emif_ObjectAllocate(nullptr, report), nullptr);
    EXPECT_EQ(report.text(), "");
}

TEST(Items, AreCopiedOutAndIn)
{
    const DesignPtr design = designOf(kTrack);
    const Object<Track> object(*design);
    fill(*object.operator->());

    Counted<double> points;
    EXPECT_EQ(emif_ObjectItemValueGet(object.get(), design.get(), "points", &points, nullptr), &points);
    EXPECT_EQ(points.count, 3);
    EXPECT_NE(points.pointer, object->points.pointer);
    points.count = 2;
    points.pointer[0] = -1;
    EXPECT_EQ(emif_ObjectItemValueSet(object.get(), design.get(), "points", &points, nullptr), &points);
    EXPECT_EQ(object->points.count, 2);
    EXPECT_EQ(object->points.pointer[0], -1);
    emsc_HeapFree(points.pointer);

    std::int32_t version = 0;
    emif_ObjectItemValueGet(object.get(), design.get(), "version", &version, nullptr);
    EXPECT_EQ(version, 7);
    Report report;
    EXPECT_EQ(emif_ObjectItemValueGet(object.get(), design.get(), "nothing", &version, report), nullptr);
    EXPECT_EQ(report.text(), "");
    EXPECT_EQ(emif_ObjectItemValueSet(object.get(), design.get(), nullptr, &version, report), nullptr);
    EXPECT_EQ(report.text(), "emif_ObjectItemValueSet: Args!");
}

TEST(Strings, AreCountedWithTheirTerminator)
{
    Emif_String string{};
    emif_EmifStringFromString(&string, "abc", nullptr);
    EXPECT_EQ(string.count, 4);
    string.count = 2;
    char* text = emif_EmifStringToString(&string, nullptr);
    EXPECT_STREQ(text, "ab") << "cut to the count";
    emsc_HeapFree(text);
    Emif_String copy{};
    emif_EmifStringFromEmifString(&copy, &string, nullptr);
    EXPECT_STREQ(copy.string, "ab");
    for (const char* nothing : {"", static_cast<const char*>(nullptr)}) {
        emif_EmifStringFromString(&string, nothing, nullptr);
        EXPECT_EQ(string.count, 0);
        EXPECT_EQ(string.string, nullptr);
    }
    text = emif_EmifStringToString(&string, nullptr);
    EXPECT_STREQ(text, "");
    emsc_HeapFree(text);
    emif_EmifStringFromString(&copy, nullptr, nullptr);
}

TEST(PackedObjects, ExplainThemselves)
{
    const DesignPtr design = designOf(kTrack);
    const Object<Track> object(*design);
    fill(*object.operator->());
    Emif_MIFObject packed{};
    const long size = emif_MIFableObjectConvertToMIFObject(object.get(), design.get(), &packed, nullptr);
    EXPECT_EQ(size, 4 + 8 + 6 + 8 + 24 + 8 + 12 + 4);
    EXPECT_EQ(packed.MIFObject.count, size);
    EXPECT_STREQ(packed.type.string, "Track");
    EXPECT_THAT(packed.MIFDictionary.string, HasSubstr("{1:lversion,1:oEmif_String,name,0:pdpoints,1:*bvalues,}Track,."));

    Emif_MIFObject copy{};
    emif_MIFObjectCopyContents(&copy, &packed, nullptr);
    EXPECT_TRUE(emif_MIFObjectIsSame(&copy, &packed));
    static_cast<char*>(copy.MIFObject.pointer)[0] = 8;
    EXPECT_FALSE(emif_MIFObjectIsSame(&copy, &packed));

    Report report;
    void* back = nullptr;
    Emif_Design* backDesign = nullptr;
    ASSERT_TRUE(emif_MIFableObjectConvertFromMIFObject(&back, &backDesign, &copy, report)) << report.text();
    EXPECT_EQ(static_cast<Track*>(back)->version, 8);
    EXPECT_EQ(static_cast<Track*>(back)->points.pointer[2], 3);
    emif_ObjectFree(&back, backDesign, nullptr);
    emif_DesignDestroy(backDesign);

    --copy.MIFObject.count;
    EXPECT_FALSE(emif_MIFableObjectConvertFromMIFObject(&back, &backDesign, &copy, report));
    EXPECT_THAT(report.text(), HasSubstr("emif_MIFableObjectConvertFromMIFObject: emif_ConvertToHost failed"));
    EXPECT_EQ(back, nullptr);
    emif_EmifStringFromString(&copy.type, "Trak", nullptr);
    EXPECT_FALSE(emif_MIFableObjectConvertFromMIFObject(&back, &backDesign, &copy, report));
    EXPECT_EQ(report.text(), "emif_MIFableObjectConvertFromMIFObject: Trak:  Missing design");

    Emif_MIFObject moved{};
    emif_MIFObjectTransferContents(&moved, &packed);
    EXPECT_EQ(packed.MIFObject.pointer, nullptr);
    EXPECT_EQ(packed.type.count, 0);
    emif_MIFObjectFreeContents(&moved);
    emif_MIFObjectFreeContents(&copy);
}

TEST(PackedObjects, InThreeParts)
{
    const DesignPtr design = designOf("{1:la,0:pCb,}A,");
    struct A {
        std::int32_t a;
        Emif_PTR b;
    };
    const Object<A> object(*design);
    object->a = 1;
    void* bytes = nullptr;
    char* text = nullptr;
    char* name = nullptr;
    EXPECT_EQ(emif_MIFableObjectConvertToMIF(object.get(), design.get(), &bytes, &text, &name, nullptr), 12);
    EXPECT_STREQ(text, "{1:la,0:pCb,}A,.");
    EXPECT_STREQ(name, "A");
    void* back = nullptr;
    Emif_Design* backDesign = nullptr;
    EXPECT_TRUE(emif_MIFableObjectConvertFromMIF(&back, &backDesign, bytes, text, name, nullptr));
    EXPECT_EQ(static_cast<A*>(back)->a, 1);
    emif_ObjectFree(&back, backDesign, nullptr);
    emif_DesignDestroy(backDesign);
    for (void* each : {bytes, static_cast<void*>(text), static_cast<void*>(name)}) {
        emsc_HeapFree(each);
    }
    Report report;
    EXPECT_EQ(emif_MIFableObjectConvertToMIF(nullptr, design.get(), &bytes, &text, &name, report), -1);
    EXPECT_EQ(report.text(), "emif_MIFableObjectConvertToMIF: Args");
    EXPECT_EQ(bytes, nullptr);
}

TEST(Printing, ShowsEachItemUnderItsLabel)
{
    const DesignPtr design = designOf("{1:lData1,1:SData2,1:SData3,8:CData4,}Emif_CLSID,{1:lnumber,10:Smany,5:ctext,1:ff,1:dd,"
                                      "1:e2:off,on,state,1:oEmif_CLSID,id,1:bvalues,1:x{1:sdeep,}In,in,}Shown,");
    struct Shown {
        std::int32_t number;
        std::uint16_t many[10];
        char text[5];
        float f;
        double d;
        std::int32_t state;
        std::uint8_t id[16];
        Egda_BaseData values;
        std::int16_t deep;
    };
    ASSERT_EQ(static_cast<std::size_t>(design->hostSize), sizeof(Shown));
    const Object<Shown> object(*design);
    object->number = -3;
    object->many[7] = 65535;
    std::memcpy(object->text, "abc", 3);
    object->f = 0.5F;
    object->state = 1;
    for (int i = 0; i < 16; ++i) {
        object->id[i] = static_cast<std::uint8_t>(i + 1);
    }
    object->values.datatype = EGDA_TYPE_S16;
    Efio_File* file = efio_TmpFile(nullptr);
    emif_FprintfDesign(file, object.get(), design.get(), nullptr);
    emif_FprintfDesign(file, nullptr, design.get(), nullptr);
    const DictionaryPtr dictionary = dictionaryOf("{0:pCa,2:oEmif_String,b,}A,.");
    emif_FprintfDictionary(file, dictionary.get(), nullptr);
    std::string text(static_cast<std::size_t>(efio_Tell(file, nullptr)), ' ');
    efio_ReadDirect(file, 0, text.data(), static_cast<long>(text.size()), nullptr);
    efio_Close(file, nullptr);
    EXPECT_EQ(text, "struct Shown {\n"
                    "    long number = -3\n"
                    "    ushort many = 0, 0, 0, 0, 0, 0, 0, 65535, ...\n"
                    "    char text = \"abc\"\n"
                    "    float f = 5.00000000e-01   \n"
                    "    double d = 0.0000000000000000e+00   \n"
                    "    enum state = on\n"
                    "    struct Emif_CLSID id = 04030201-0605-0807-090A-0B0C0D0E0F10\n"
                    "    struct Egda_BaseData values = \n"
                    "        0 rows, 0 columns\n"
                    "        BaseData Values:\n"
                    "    struct In in = \n"
                    "        struct In {\n"
                    "            short deep = 0\n"
                    "        }\n"
                    "}\n"
                    "<NULL>\n"
                    "struct Emif_String {\n"
                    "    char *string[0]\n"
                    "}\n"
                    "struct A {\n"
                    "    uchar *a[0]\n"
                    "    struct Emif_String b[2]\n"
                    "}\n");
}

constexpr emantle::mif::Field kMIFObjectFields[] = {{"type", offsetof(Emif_MIFObject, type)},
                                                    {"MIFDictionary", offsetof(Emif_MIFObject, MIFDictionary)},
                                                    {"MIFObject", offsetof(Emif_MIFObject, MIFObject)}};
constinit emantle::mif::OwnDictionary home;
constinit emantle::mif::OwnDesign mifObject(home, "{}Emif_MIFObject,", emantle::mif::recordOf<Emif_MIFObject>(kMIFObjectFields));

TEST(PackedObjects, AreTheHostFormOfTheirDesign)
{
    Report report;
    EXPECT_TRUE(emantle::guarded<bool>(report, "test", false,
                                       [](EerrException& scope) { return mifObject.fetch(scope) != nullptr; }))
        << report.text();
}

}  // namespace
