#pragma once

#include <boost/any.hpp>
#include <boost/shared_ptr.hpp>
#include <emantle/store/emif/design.h>
#include <string>
#include <typeinfo>
#include <vector>

namespace nubr::miflib_ns {

/* Ties a host type to an item of a record. */
class IMifTypeMapping {
public:
    virtual const std::type_info& HostType() const = 0;
    virtual bool IsHostType(const std::type_info& type) const = 0;
    virtual Emif_Type ItemFlags() const = 0; /* a flag word of emif_DesignCreate */
    virtual std::size_t FieldSize() const = 0;
    virtual boost::any FromField(const void* field) const = 0;
    /* The field is zero and owns nothing before. */
    virtual void ToField(const boost::any& value, void* field) const = 0;
    virtual ~IMifTypeMapping() = default;
};

/* The mappings that there are. */
class TypeMap {
public:
    TypeMap();

    /* Null for none. */
    const IMifTypeMapping* findByType(const std::type_info& type) const;
    const IMifTypeMapping* findByFlags(Emif_Type flags) const;

private:
    std::vector<boost::shared_ptr<const IMifTypeMapping>> mappings_;
};

/* The one list, built at its first use. */
boost::shared_ptr<const TypeMap> typeMap();

}  // namespace nubr::miflib_ns
