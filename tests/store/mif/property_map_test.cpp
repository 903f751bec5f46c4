#include "support/chain.h"

#include <emantle/frame/emsc/heap.h>
#include <emantle/store/emif.h>
#include <gtest/gtest.h>

namespace {

using namespace nubr::miflib_ns;
using MapPtr = boost::shared_ptr<IPropertyMap>;

struct Packed {
    boost::shared_ptr<void> bytes;
    long size = 0;
    boost::shared_ptr<char> dictionary;
    boost::shared_ptr<char> design;

    std::string text() const { return {static_cast<const char*>(bytes.get()), static_cast<std::size_t>(size)}; }
    Emif_MIFObject object() const
    {
        return {{static_cast<int32_t>(strlen(design.get()) + 1), design.get()},
                {static_cast<int32_t>(strlen(dictionary.get()) + 1), dictionary.get()},
                {static_cast<int32_t>(size), bytes.get()}};
    }
};

Packed pack(const IPropertyMap& map)
{
    Packed packed;
    SerializeToMIF(map, packed.bytes, packed.size, packed.dictionary, packed.design);
    return packed;
}

/* The records of what is thrown. */
template <class Action>
std::vector<Record> thrownBy(Action action)
{
    try {
        action();
    } catch (EerrException& exception) {
        const auto records = recordsOf(static_cast<Eerr_ErrorReport*>(exception));
        exception.Clear();
        return records;
    }
    return {};
}

TEST(PropertyMap, IsPackedInTheOrderOfTheNames)
{
    const MapPtr map = CreatePropertyMap();
    map->SetProperty("b", 7);
    map->SetProperty("a", std::string("hi"));
    map->SetProperty("c", 1.5f);
    const Packed packed = pack(*map);
    EXPECT_STREQ(packed.design.get(), "Property_Map_v9.3");
    EXPECT_STREQ(packed.dictionary.get(), "{0:pca,1:lb,1:fc,}Property_Map_v9.3,.");
    EXPECT_EQ(packed.text(), std::string("\3\0\0\0\10\0\0\0hi\0\7\0\0\0\0\0\xc0\x3f", 19));

    const MapPtr other = CreatePropertyMap();
    other->SetProperty("c", 1.5f);
    other->SetProperty("a", std::string("other"));
    other->SetProperty("b", 7);
    other->SetProperty("a", std::string("hi"));
    EXPECT_EQ(pack(*other).text(), packed.text());
}

template <class Value>
void expectValue(const IPropertyMap& map, const char* name, const Value& expected)
{
    const boost::any value = map.GetProperty(name);
    const auto* held = boost::any_cast<Value>(&value);
    ASSERT_NE(held, nullptr) << name << " is a " << value.type().name();
    if constexpr (requires { held->re; }) {
        EXPECT_EQ(std::pair(held->re, held->im), std::pair(expected.re, expected.im)) << name;
    } else {
        EXPECT_EQ(*held, expected) << name;
    }
}

/* Every type, at its ends, by way of both forms of unpacking. */
TEST(PropertyMap, GivesBackWhatWasPacked)
{
    const MapPtr inner = CreatePropertyMap();
    inner->SetProperty("deep", std::string("text"));
    const MapPtr map = CreatePropertyMap();
    map->SetProperty("char", 'x');
    map->SetProperty("short", short{-32768});
    map->SetProperty("ushort", static_cast<unsigned short>(65535));
    map->SetProperty("int", INT32_MIN);
    map->SetProperty("uint", UINT32_MAX);
    map->SetProperty("long", long{INT32_MAX});
    map->SetProperty("ulong", static_cast<unsigned long>(UINT32_MAX));
    map->SetProperty("float", -0.1f);
    map->SetProperty("double", 1e300);
    map->SetProperty("complex", Emif_Complex{1, 2});
    map->SetProperty("dcomplex", Emif_DComplex{3, 4});
    map->SetProperty("text", std::string("a\0b", 3));
    map->SetProperty("empty", std::string());
    map->SetProperty("map", inner);
    const Packed packed = pack(*map);
    Emif_MIFObject object = packed.object();
    EmifDictionaryT<char> dictionary(emif_DictionaryDecodeFromString(packed.dictionary.get(), nullptr));
    const Emif_Design* design = emif_FindDesignByName(dictionary, packed.design.get(), nullptr);
    for (const MapPtr& again : {DeserializeFromMIF(&object, nullptr, true), DeserializeFromMIF(packed.bytes.get(), design, false)}) {
        ASSERT_EQ(again->GetPropertyCount(), 14);
        EXPECT_EQ(again->GetPropertyName(0), "char");
        expectValue(*again, "char", 'x');
        expectValue(*again, "short", short{-32768});
        expectValue(*again, "ushort", static_cast<unsigned short>(65535));
        expectValue(*again, "int", long{INT32_MIN});
        expectValue(*again, "uint", static_cast<unsigned long>(UINT32_MAX));
        expectValue(*again, "long", long{INT32_MAX});
        expectValue(*again, "ulong", static_cast<unsigned long>(UINT32_MAX));
        expectValue(*again, "float", -0.1f);
        expectValue(*again, "double", 1e300);
        expectValue(*again, "complex", Emif_Complex{1, 2});
        expectValue(*again, "dcomplex", Emif_DComplex{3, 4});
        expectValue(*again, "text", std::string("a\0b", 3));
        expectValue(*again, "empty", std::string());
        expectValue(*boost::any_cast<MapPtr>(again->GetProperty("map")), "deep", std::string("text"));
    }
}

TEST(PropertyMap, RefusesWhatItCannotPack)
{
    const MapPtr cycle = CreatePropertyMap();
    cycle->SetProperty("self", cycle);
    struct Case {
        const char* name;
        boost::any value;
        std::string text; /* of the last record */
    };
    const Case cases[] = {
        {"flag", true, std::string("No mapping defined for type ") + typeid(bool).name()},
        {"nothing", boost::any(), std::string("No mapping defined for type ") + typeid(void).name()},
        {"no map", MapPtr(), std::string("No mapping defined for type ") + typeid(MapPtr).name()},
        {"large", long{1} << 31, "The value 2147483648 does not fit 32 bits"},
        {"a,b", 1, "A property cannot be named \"a,b\""},
        {"", 1, "A property cannot be named \"\""},
        {"cycle", cycle, "Property maps nest deeper than 32"},
        {"empty", CreatePropertyMap(), "Invalid object or design!"},
    };
    for (const Case& c : cases) {
        const MapPtr map = CreatePropertyMap();
        map->SetProperty(c.name, c.value);
        const auto records = thrownBy([&] { pack(*map); });
        ASSERT_FALSE(records.empty()) << c.name;
        EXPECT_EQ(records.back().message, c.text);
    }
    cycle->SetProperty("self", 0);
    for (const auto& records : {thrownBy([&] { cycle->GetProperty("absent"); }), thrownBy([&] { cycle->GetPropertyName(1); }),
                                thrownBy([&] { cycle->GetPropertyValue(-1); })}) {
        ASSERT_EQ(records.size(), 1u);
        EXPECT_EQ(records[0].message, "Property not found");
    }
}

TEST(PropertyMap, TrustsNoBytes)
{
    const MapPtr inner = CreatePropertyMap();
    inner->SetProperty("deep", std::string("text"));
    const MapPtr map = CreatePropertyMap();
    map->SetProperty("map", inner);
    map->SetProperty("text", std::string("text"));
    map->SetProperty("number", 1.5);
    const Packed packed = pack(*map);
    for (long at = 0; at < packed.size; ++at) {
        for (const unsigned char byte : {0x00, 0x7f, 0x80, 0xff}) {
            std::string bytes = packed.text();
            bytes[static_cast<std::size_t>(at)] = static_cast<char>(byte);
            for (const long size : {packed.size, at}) {
                std::vector<char> exact(bytes.begin(), bytes.begin() + size);
                Emif_MIFObject object = packed.object();
                object.MIFObject = {static_cast<int32_t>(size), exact.data()};
                Report report;
                Emif_PropertyMap* again = emif_DeserializePropertyMap(&object, nullptr, 1, report);
                EXPECT_EQ(again == nullptr, report.get() != nullptr) << at << ' ' << int{byte};
                emif_PropertyMapDelete(again);
            }
        }
    }
    for (const char* text : {"{2:la,}Property_Map_v9.3,.", "{1:1a,}Property_Map_v9.3,.", "{1:*la,}Property_Map_v9.3,.",
                             "{1:ba,}Property_Map_v9.3,.", "{1:x{1:lb,}Inner,a,}Property_Map_v9.3,."}) {
        Emif_MIFObject object = packed.object();
        const std::string dictionary(text);
        object.MIFDictionary = {static_cast<int32_t>(dictionary.size() + 1), const_cast<char*>(dictionary.c_str())};
        std::vector<char> zeros(64);
        object.MIFObject = {64, zeros.data()};
        const auto records = thrownBy([&] { DeserializeFromMIF(&object, nullptr, true); });
        ASSERT_FALSE(records.empty()) << text;
        EXPECT_EQ(records[0].message, "No mapping defined for this type.") << text;
    }
}

TEST(PropertyMap, ServesPlainCallers)
{
    Emif_PropertyMap* map = emif_PropertyMapCreate(nullptr);
    EXPECT_TRUE(emif_PropertyMapSetPropertyText(map, "t", "text", nullptr));
    EXPECT_TRUE(emif_PropertyMapSetPropertyLong(map, "l", -5, nullptr));
    EXPECT_TRUE(emif_PropertyMapSetPropertyULong(map, "u", 5, nullptr));
    EXPECT_TRUE(emif_PropertyMapSetPropertyFloat(map, "f", 0.5f, nullptr));
    EXPECT_TRUE(emif_PropertyMapSetPropertyDouble(map, "d", 0.25, nullptr));
    void* bytes;
    long size;
    char *dictionary, *design;
    ASSERT_TRUE(emif_SerializePropertyMap(map, &bytes, &size, &dictionary, &design, nullptr));
    EXPECT_STREQ(dictionary, "{1:dd,1:ff,1:ll,0:pct,1:Lu,}Property_Map_v9.3,.");
    emif_PropertyMapDelete(map);
    EmifDictionaryT<char> decoded(emif_DictionaryDecodeFromString(dictionary, nullptr));
    map = emif_DeserializePropertyMap(bytes, emif_FindDesignByName(decoded, design, nullptr), 0, nullptr);
    char* text = emif_PropertyMapGetPropertyText(map, "t", nullptr);
    EXPECT_STREQ(text, "text");
    EXPECT_EQ(emif_PropertyMapGetPropertyLong(map, "l", nullptr), -5);
    EXPECT_EQ(emif_PropertyMapGetPropertyULong(map, "u", nullptr), 5u);
    EXPECT_EQ(emif_PropertyMapGetPropertyFloat(map, "f", nullptr), 0.5f);
    EXPECT_EQ(emif_PropertyMapGetPropertyDouble(map, "d", nullptr), 0.25);
    for (char* block : {text, dictionary, design, static_cast<char*>(bytes)}) {
        emsc_HeapFree(block);
    }
    Report absent, other, null;
    EXPECT_EQ(emif_PropertyMapGetPropertyLong(map, "absent", absent), 0);
    EXPECT_EQ(absent.records().back().message, "Property not found");
    EXPECT_EQ(emif_PropertyMapGetPropertyDouble(map, "f", other), 0);
    EXPECT_EQ(other.records().back().message, "The property f is of another type");
    EXPECT_FALSE(emif_PropertyMapSetPropertyText(map, "t", nullptr, null));
    emif_PropertyMapDelete(map);
    emif_PropertyMapDelete(nullptr);
}

}  // namespace
