#include "store/mif/property_types.h"

#include "frame/memory/heap_ptr.h"

#include <emantle/siblings/ethr.h>
#include <emantle/store/emif/object.h>
#include <boost/make_shared.hpp>
#include <cstring>
#include <limits>
#include <utility>

namespace nubr::miflib_ns {

namespace {

using emantle::require;

/* What a field holds: 32 bits where the value is a long. */
template <class Stored>
struct FieldOf {
    using Type = Stored;
};
template <>
struct FieldOf<long> {
    using Type = int32_t;
};
template <>
struct FieldOf<unsigned long> {
    using Type = uint32_t;
};

/* A host type that is stored as another, which is what a reader gets. */
template <class Host, class Stored, Emif_Type type>
class BasicTypeMap : public IMifTypeMapping {
public:
    using Field = typename FieldOf<Stored>::Type;

    const std::type_info& HostType() const override { return typeid(Host); }
    bool IsHostType(const std::type_info& other) const override { return std::strcmp(typeid(Host).name(), other.name()) == 0; }
    Emif_Type ItemFlags() const override { return type; }
    std::size_t FieldSize() const override { return sizeof(Field); }

    boost::any FromField(const void* field) const override
    {
        Field held;
        std::memcpy(&held, field, sizeof held);
        return Stored(held);
    }

    void ToField(const boost::any& value, void* field) const override
    {
        const auto host = boost::any_cast<Host>(value);
        if constexpr (sizeof(Host) > sizeof(Field)) {
            require(std::in_range<Field>(host), "The value %ld does not fit 32 bits", static_cast<long>(host));
        }
        const auto held = static_cast<Field>(host);
        std::memcpy(field, &held, sizeof held);
    }
};

class StringTypeMap : public IMifTypeMapping {
public:
    const std::type_info& HostType() const override { return typeid(std::string); }
    bool IsHostType(const std::type_info& other) const override
    {
        return std::strcmp(typeid(std::string).name(), other.name()) == 0;
    }
    Emif_Type ItemFlags() const override { return int{EMIF_TYPE_CHAR} | int{EMIF_ITEM_COUNTED_POINTER}; }
    std::size_t FieldSize() const override { return sizeof(Emif_String); }

    boost::any FromField(const void* field) const override
    {
        Emif_String held;
        std::memcpy(&held, field, sizeof held);
        std::string text;
        if (held.string != nullptr && held.count > 0) {
            text.assign(held.string, static_cast<std::size_t>(held.count));
            if (text.back() == '\0') {
                text.pop_back();
            }
        }
        return text;
    }

    void ToField(const boost::any& value, void* field) const override
    {
        const auto& text = *boost::any_cast<std::string>(&value);
        Emif_String held{};
        if (!text.empty()) {
            require(text.size() < static_cast<std::size_t>(std::numeric_limits<int32_t>::max()), "Out of memory");
            held = {static_cast<int32_t>(text.size() + 1), emantle::heapText(text, "Out of memory").release()};
        }
        std::memcpy(field, &held, sizeof held);
    }
};

}  // namespace

TypeMap::TypeMap()
    : mappings_{boost::make_shared<BasicTypeMap<char, char, EMIF_TYPE_CHAR>>(),
                boost::make_shared<BasicTypeMap<short, short, EMIF_TYPE_SHORT>>(),
                boost::make_shared<BasicTypeMap<unsigned short, unsigned short, EMIF_TYPE_USHORT>>(),
                boost::make_shared<BasicTypeMap<int, long, EMIF_TYPE_LONG>>(),
                boost::make_shared<BasicTypeMap<unsigned int, unsigned long, EMIF_TYPE_ULONG>>(),
                boost::make_shared<BasicTypeMap<long, long, EMIF_TYPE_LONG>>(),
                boost::make_shared<BasicTypeMap<unsigned long, unsigned long, EMIF_TYPE_ULONG>>(),
                boost::make_shared<BasicTypeMap<float, float, EMIF_TYPE_FLOAT>>(),
                boost::make_shared<BasicTypeMap<double, double, EMIF_TYPE_DOUBLE>>(),
                boost::make_shared<BasicTypeMap<Emif_Complex, Emif_Complex, EMIF_TYPE_COMPLEX>>(),
                boost::make_shared<BasicTypeMap<Emif_DComplex, Emif_DComplex, EMIF_TYPE_DCOMPLEX>>(),
                boost::make_shared<StringTypeMap>()}
{
}

const IMifTypeMapping* TypeMap::findByType(const std::type_info& type) const
{
    for (const auto& mapping : mappings_) {
        if (mapping->IsHostType(type)) {
            return mapping.get();
        }
    }
    return nullptr;
}

const IMifTypeMapping* TypeMap::findByFlags(Emif_Type flags) const
{
    for (const auto& mapping : mappings_) {
        if (mapping->ItemFlags() == flags) {
            return mapping.get();
        }
    }
    return nullptr;
}

boost::shared_ptr<const TypeMap> typeMap()
{
    const EthrMTUnsafeCode section;
    static const auto mappings = boost::make_shared<const TypeMap>();
    return mappings;
}

}  // namespace nubr::miflib_ns
