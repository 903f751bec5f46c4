#include "frame/memory/heap_ptr.h"
#include "store/mif/dictionary.h"
#include "store/mif/owners.h"
#include "store/mif/property_types.h"

#include "frame/guard/guard.h"

#include <emantle/store/emif.h>
#include <boost/make_shared.hpp>
#include <algorithm>
#include <cstring>
#include <map>
#include <vector>

namespace nubr::miflib_ns {

namespace {

using namespace emantle;

constexpr char kSource[] = "MifPropertyMap";
constexpr char kDesignName[] = "Property_Map_v9.3";
constexpr char kNestedDesign[] = "Emif_MIFObject";

using MapPtr = boost::shared_ptr<IPropertyMap>;

class PropertyMap : public IPropertyMap {
public:
    boost::any GetProperty(const std::string& name) const override
    {
        const auto found = properties_.find(name);
        return found != properties_.end() ? found->second : notFound("GetProperty").second;
    }
    void SetProperty(const std::string& name, const boost::any& value) override { properties_[name] = value; }
    long GetPropertyCount() const override { return static_cast<long>(properties_.size()); }
    std::string GetPropertyName(long index) const override { return at(index, "GetPropertyName").first; }
    boost::any GetPropertyValue(long index) const override { return at(index, "GetPropertyValue").second; }

private:
    using Properties = std::map<std::string, boost::any>;

    [[noreturn]] static const Properties::value_type& notFound(const char* function)
    {
        EerrException(kSource, function).Throw(__LINE__, "Property not found");
    }

    const Properties::value_type& at(long index, const char* function) const
    {
        if (index < 0 || index >= GetPropertyCount()) {
            notFound(function);
        }
        return *std::next(properties_.begin(), index);
    }

    Properties properties_;
};

struct Packed {
    HeapPtr<void> bytes;
    long size = 0;
    HeapPtr<char> dictionary;
    HeapPtr<char> design;
};

const MapPtr* nestedMap(const boost::any& value)
{
    const auto* map = boost::any_cast<MapPtr>(&value);
    return map != nullptr && *map != nullptr ? map : nullptr;
}

void requireName(const std::string& name)
{
    const auto fits = [](char c) { return c >= ' ' && c <= '~' && c != ','; };
    require(!name.empty() && std::ranges::all_of(name, fits), "A property cannot be named \"%s\"", name.c_str());
}

/* The properties of a map in their order. */
struct Property {
    std::string name;
    boost::any value;
    const IMifTypeMapping* mapping; /* null for a map */
};

std::vector<Property> propertiesOf(const IPropertyMap& map, const TypeMap& types)
{
    std::vector<Property> properties;
    for (long i = 0; i < map.GetPropertyCount(); ++i) {
        Property property{map.GetPropertyName(i), map.GetPropertyValue(i), nullptr};
        requireName(property.name);
        if (nestedMap(property.value) == nullptr) {
            const std::type_info& type = property.value.type();
            property.mapping = types.findByType(type);
            require(property.mapping, "No mapping defined for type %s", type.name());
        }
        properties.push_back(std::move(property));
    }
    return properties;
}

mif::DesignPtr designOf(const std::vector<Property>& properties, EerrException& scope)
{
    const Emif_Design* nested = mif::privateDesign(scope, kNestedDesign);
    std::vector<Emif_DesignItemRow> rows(1);
    for (const Property& property : properties) {
        const Emif_Type flags = property.mapping != nullptr ? property.mapping->ItemFlags() : int{EMIF_TYPE_DESIGN};
        rows.push_back({static_cast<uint32_t>(flags), property.name.c_str(), 1, 0,
                        property.mapping != nullptr ? nullptr : nested});
    }
    return mif::DesignPtr(checked(
        scope,
        emif_DesignCreateFromTable(nullptr, kDesignName, rows.data() + 1, static_cast<long>(properties.size()), scope)));
}

/* A record that its design frees. */
class Record {
public:
    Record(void* object, const Emif_Design* design) : object_(object), design_(design) {}
    ~Record()
    {
        if (object_ != nullptr) {
            Eerr_ErrorReport* unheard = nullptr;
            emif_ObjectFree(&object_, design_, &unheard);
            eerr_DeleteErrorReportEx(&unheard);
        }
    }
    Record(const Record&) = delete;
    Record& operator=(const Record&) = delete;
    char* at(int32_t offset) const { return static_cast<char*>(object_) + offset; }
    void* get() const { return object_; }

private:
    void* object_;
    const Emif_Design* design_;
};

Packed packed(const IPropertyMap& map, int depth, EerrException& scope);

Emif_String heldText(HeapPtr<char> text)
{
    const std::size_t length = std::strlen(text.get());
    require(length < INT32_MAX, "Out of memory");
    return {static_cast<int32_t>(length + 1), text.release()};
}

void putNested(const IPropertyMap& map, int depth, void* field, EerrException& scope)
{
    Packed nested = packed(map, depth, scope);
    require(nested.size <= INT32_MAX, "Out of memory");
    auto* object = static_cast<Emif_MIFObject*>(field);
    object->type = heldText(std::move(nested.design));
    object->MIFDictionary = heldText(std::move(nested.dictionary));
    object->MIFObject = {static_cast<int32_t>(nested.size), nested.bytes.release()};
}

Packed packed(const IPropertyMap& map, int depth, EerrException& scope)
{
    require(depth < EMIF_DEPTH_LIMIT, "Property maps nest deeper than %d", int{EMIF_DEPTH_LIMIT});
    const auto types = typeMap();
    const std::vector<Property> properties = propertiesOf(map, *types);
    const mif::DesignPtr design = designOf(properties, scope);
    const Record record(allocate<char>(static_cast<std::size_t>(std::max(1, design->hostSize)), "Out of memory").release(),
                        design.get());
    const Emif_DesignItem* item = design->items;
    for (const Property& property : properties) {
        void* field = record.at(item->hostOffset);
        if (property.mapping != nullptr) {
            property.mapping->ToField(property.value, field);
        } else {
            putNested(**nestedMap(property.value), depth + 1, field, scope);
        }
        item = item->next;
    }
    Packed result;
    void* bytes = nullptr;
    char* dictionary = nullptr;
    char* name = nullptr;
    result.size = checked(
        scope, emif_MIFableObjectConvertToMIF(record.get(), design.get(), &bytes, &dictionary, &name, scope));
    result.bytes.reset(bytes);
    result.dictionary.reset(dictionary);
    result.design.reset(name);
    return result;
}

MapPtr mapOf(const Record& record, const Emif_Design& design, int depth, EerrException& scope);

MapPtr unpacked(const Emif_MIFObject& object, int depth, EerrException& scope)
{
    require(depth < EMIF_DEPTH_LIMIT, "Property maps nest deeper than %d", int{EMIF_DEPTH_LIMIT});
    void* record = nullptr;
    Emif_Design* design = nullptr;
    checked(scope, emif_MIFableObjectConvertFromMIFObject(&record, &design, &object, scope));
    const mif::DesignPtr owner(design);
    return mapOf(Record(record, design), *design, depth, scope);
}

MapPtr unpacked(void* bytes, const Emif_Design& design, EerrException& scope)
{
    const mif::DictionaryPtr dictionary(checked(scope, emif_DictionaryCreate(scope)));
    checked(scope, emif_DictionaryAddDesign(dictionary.get(), &design, scope));
    const HeapPtr<char> text(checked(scope, emif_DictionaryEncodeToString(dictionary.get(), scope)));
    void* record = nullptr;
    Emif_Design* copy = nullptr;
    checked(scope, emif_MIFableObjectConvertFromMIF(&record, &copy, bytes, text.get(), kDesignName, scope));
    const mif::DesignPtr owner(copy);
    return mapOf(Record(record, copy), *copy, 0, scope);
}

Emif_Type flagsOf(const Emif_DesignItem& item)
{
    const int shape = item.isCountedPointer != 0 ? EMIF_ITEM_COUNTED_POINTER : item.isPointer != 0 ? EMIF_ITEM_POINTER : 0;
    return item.type | shape;
}

bool isNested(const Emif_DesignItem& item)
{
    return item.design != nullptr && item.type != EMIF_TYPE_BASEDATA && std::strcmp(item.design->name, kNestedDesign) == 0 &&
           item.isPointer == 0 && item.count == 1;
}

MapPtr mapOf(const Record& record, const Emif_Design& design, int depth, EerrException& scope)
{
    const auto types = typeMap();
    MapPtr map = boost::make_shared<PropertyMap>();
    for (const Emif_DesignItem* item = design.items; item != nullptr; item = item->next) {
        const void* field = record.at(item->hostOffset);
        if (isNested(*item)) {
            map->SetProperty(item->name, unpacked(*static_cast<const Emif_MIFObject*>(field), depth + 1, scope));
            continue;
        }
        const IMifTypeMapping* mapping = types->findByFlags(flagsOf(*item));
        const bool isOne = item->isPointer != 0 || item->count == 1;
        require(mapping != nullptr && isOne && mapping->FieldSize() == static_cast<std::size_t>(item->hostSize),
                "No mapping defined for this type.");
        map->SetProperty(item->name, mapping->FromField(field));
    }
    return map;
}

MapPtr unpackedFrom(void* bytes, const Emif_Design* design, bool isMIFObject, EerrException& scope)
{
    require(bytes != nullptr && (isMIFObject || design != nullptr), "Args");
    return isMIFObject ? unpacked(*static_cast<const Emif_MIFObject*>(bytes), 0, scope) : unpacked(bytes, *design, scope);
}

/* The edge of a function of a class: what is thrown leaves as the toolkit's exception. */
template <class Body>
void throwing(const char* function, Body&& body, long line = __builtin_LINE())
{
    EerrException scope(kSource, function);
    try {
        body(scope);
        return;
    } catch (...) {
        takeThrown(scope, line);
    }
    scope.Throw();
}

}  // namespace

IPropertyMap::~IPropertyMap() = default;

void EmscFreeMe::operator()(const void* memory) const noexcept { emsc_HeapFree(const_cast<void*>(memory)); }

boost::shared_ptr<IPropertyMap> CreatePropertyMap() { return boost::make_shared<PropertyMap>(); }

void SerializeToMIF(const IPropertyMap& map, boost::shared_ptr<void>& bytes, long& size,
                    boost::shared_ptr<char>& dictionaryText, boost::shared_ptr<char>& designName)
{
    throwing("SerializeToMIF", [&](EerrException& scope) {
        Packed result = packed(map, 0, scope);
        bytes = boost::shared_ptr<void>(result.bytes.release(), EmscFreeMe());
        dictionaryText = boost::shared_ptr<char>(result.dictionary.release(), EmscFreeMe());
        designName = boost::shared_ptr<char>(result.design.release(), EmscFreeMe());
        size = result.size;
    });
}

boost::shared_ptr<IPropertyMap> DeserializeFromMIF(void* bytes, const Emif_Design* design, bool isMIFObject)
{
    MapPtr map;
    throwing("DeserializeFromMIF",
             [&](EerrException& scope) { map = unpackedFrom(bytes, design, isMIFObject, scope); });
    return map;
}

}  // namespace nubr::miflib_ns

struct Emif_PropertyMap {
    boost::shared_ptr<nubr::miflib_ns::IPropertyMap> map;
};

using namespace emantle;
using namespace nubr::miflib_ns;

namespace {

template <class Value>
Emsc_Boolean set(Emif_PropertyMap* map, const char* name, const Value& value, const char* function, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, function, 0, [&] {
        require(map != nullptr && name != nullptr, "Args");
        map->map->SetProperty(name, value);
        return 1;
    });
}

/* `Other` is what was set as another type and stands for the same. */
template <class Value, class Other>
Value valueOf(const Emif_PropertyMap* map, const char* name)
{
    require(map != nullptr && name != nullptr, "Args");
    const boost::any value = map->map->GetProperty(name);
    if (const auto* other = boost::any_cast<Other>(&value)) {
        return Value(*other);
    }
    const auto* held = boost::any_cast<Value>(&value);
    require(held, "The property %s is of another type", name);
    return *held;
}

template <class Value, class Other = Value>
Value get(const Emif_PropertyMap* map, const char* name, const char* function, Eerr_ErrorReport** err)
{
    return guarded<Value>(err, function, Value(), [&] { return valueOf<Value, Other>(map, name); });
}

}  // namespace

EMANTLE_API Emif_PropertyMap* emif_PropertyMapCreate(Eerr_ErrorReport** err)
{
    return guarded<Emif_PropertyMap*>(err, "emif_PropertyMapCreate", nullptr,
                                      [] { return new Emif_PropertyMap{CreatePropertyMap()}; });
}

EMANTLE_API void emif_PropertyMapDelete(Emif_PropertyMap* map) { delete map; }

EMANTLE_API Emsc_Boolean emif_PropertyMapSetPropertyText(Emif_PropertyMap* map, const char* name, const char* value,
                                                         Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "emif_PropertyMapSetPropertyText", 0, [&] {
        require(map != nullptr && name != nullptr && value != nullptr, "Args");
        map->map->SetProperty(name, std::string(value));
        return 1;
    });
}

EMANTLE_API Emsc_Boolean emif_PropertyMapSetPropertyLong(Emif_PropertyMap* map, const char* name, long value,
                                                         Eerr_ErrorReport** err)
{
    return set(map, name, value, "emif_PropertyMapSetPropertyLong", err);
}

EMANTLE_API Emsc_Boolean emif_PropertyMapSetPropertyULong(Emif_PropertyMap* map, const char* name, unsigned long value,
                                                          Eerr_ErrorReport** err)
{
    return set(map, name, value, "emif_PropertyMapSetPropertyULong", err);
}

EMANTLE_API Emsc_Boolean emif_PropertyMapSetPropertyFloat(Emif_PropertyMap* map, const char* name, float value,
                                                          Eerr_ErrorReport** err)
{
    return set(map, name, value, "emif_PropertyMapSetPropertyFloat", err);
}

EMANTLE_API Emsc_Boolean emif_PropertyMapSetPropertyDouble(Emif_PropertyMap* map, const char* name, double value,
                                                           Eerr_ErrorReport** err)
{
    return set(map, name, value, "emif_PropertyMapSetPropertyDouble", err);
}

EMANTLE_API char* emif_PropertyMapGetPropertyText(const Emif_PropertyMap* map, const char* name, Eerr_ErrorReport** err)
{
    return guarded<char*>(err, "emif_PropertyMapGetPropertyText", nullptr,
                          [&] { return heapText(valueOf<std::string, std::string>(map, name)).release(); });
}

EMANTLE_API long emif_PropertyMapGetPropertyLong(const Emif_PropertyMap* map, const char* name, Eerr_ErrorReport** err)
{
    return get<long, int>(map, name, "emif_PropertyMapGetPropertyLong", err);
}

EMANTLE_API unsigned long emif_PropertyMapGetPropertyULong(const Emif_PropertyMap* map, const char* name,
                                                           Eerr_ErrorReport** err)
{
    return get<unsigned long, unsigned int>(map, name, "emif_PropertyMapGetPropertyULong", err);
}

EMANTLE_API float emif_PropertyMapGetPropertyFloat(const Emif_PropertyMap* map, const char* name, Eerr_ErrorReport** err)
{
    return get<float>(map, name, "emif_PropertyMapGetPropertyFloat", err);
}

EMANTLE_API double emif_PropertyMapGetPropertyDouble(const Emif_PropertyMap* map, const char* name,
                                                     Eerr_ErrorReport** err)
{
    return get<double>(map, name, "emif_PropertyMapGetPropertyDouble", err);
}

EMANTLE_API Emsc_Boolean emif_SerializePropertyMap(const Emif_PropertyMap* map, void** bytes, long* size,
                                                   char** dictionaryText, char** designName, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "emif_SerializePropertyMap", 0, [&](EerrException& scope) {
        require(map != nullptr && bytes != nullptr && size != nullptr && dictionaryText != nullptr && designName != nullptr,
                "Args");
        *bytes = nullptr;
        *size = 0;
        *dictionaryText = nullptr;
        *designName = nullptr;
        Packed result = packed(*map->map, 0, scope);
        *bytes = result.bytes.release();
        *size = result.size;
        *dictionaryText = result.dictionary.release();
        *designName = result.design.release();
        return 1;
    });
}

EMANTLE_API Emif_PropertyMap* emif_DeserializePropertyMap(void* bytes, const Emif_Design* design,
                                                          Emsc_Boolean isMIFObject, Eerr_ErrorReport** err)
{
    return guarded<Emif_PropertyMap*>(err, "emif_DeserializePropertyMap", nullptr, [&](EerrException& scope) {
        return new Emif_PropertyMap{unpackedFrom(bytes, design, isMIFObject != 0, scope)};
    });
}
