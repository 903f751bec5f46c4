#ifndef EMANTLE_STORE_EMIF_PROPERTY_MAP_H
#define EMANTLE_STORE_EMIF_PROPERTY_MAP_H

#include <emantle/store/emif/object.h>

/* emif, property maps: values by name, for callers that want a record without a design. A map is packed as a record of the
 * design "Property_Map_v9.3", which is made of its properties in the order of their names.
 *  1. Values are char, short, int, long, their unsigned forms, float, double, Emif_Complex, Emif_DComplex, std::string,
 *     and other maps. In the packed form int and long have 32 bits; both come back as long, and their unsigned forms as
 *     unsigned long. A value that does not fit is refused.
 *  2. Names are printable and hold no comma. Maps nest at most EMIF_DEPTH_LIMIT deep. An empty map cannot be packed.
 *  3. A map belongs to one thread at a time. */

/* A map for plain callers. */
typedef struct Emif_PropertyMap Emif_PropertyMap;

EMANTLE_API Emif_PropertyMap* emif_PropertyMapCreate(Eerr_ErrorReport** err);
/* Accepts null. */
EMANTLE_API void emif_PropertyMapDelete(Emif_PropertyMap* map);

/* Set a property, new or not, to a value of that type; texts are copied. */
EMANTLE_API Emsc_Boolean emif_PropertyMapSetPropertyText(Emif_PropertyMap* map, const char* name, const char* value,
                                                         Eerr_ErrorReport** err);
EMANTLE_API Emsc_Boolean emif_PropertyMapSetPropertyLong(Emif_PropertyMap* map, const char* name, long value,
                                                         Eerr_ErrorReport** err);
EMANTLE_API Emsc_Boolean emif_PropertyMapSetPropertyULong(Emif_PropertyMap* map, const char* name, unsigned long value,
                                                          Eerr_ErrorReport** err);
EMANTLE_API Emsc_Boolean emif_PropertyMapSetPropertyFloat(Emif_PropertyMap* map, const char* name, float value,
                                                          Eerr_ErrorReport** err);
EMANTLE_API Emsc_Boolean emif_PropertyMapSetPropertyDouble(Emif_PropertyMap* map, const char* name, double value,
                                                           Eerr_ErrorReport** err);

/* The value of a property; 0, or null, with "Property not found" where there is none, and with a report where it is of
 * another type. The text is the caller's. */
EMANTLE_API char* emif_PropertyMapGetPropertyText(const Emif_PropertyMap* map, const char* name, Eerr_ErrorReport** err);
EMANTLE_API long emif_PropertyMapGetPropertyLong(const Emif_PropertyMap* map, const char* name, Eerr_ErrorReport** err);
EMANTLE_API unsigned long emif_PropertyMapGetPropertyULong(const Emif_PropertyMap* map, const char* name,
                                                           Eerr_ErrorReport** err);
EMANTLE_API float emif_PropertyMapGetPropertyFloat(const Emif_PropertyMap* map, const char* name, Eerr_ErrorReport** err);
EMANTLE_API double emif_PropertyMapGetPropertyDouble(const Emif_PropertyMap* map, const char* name,
                                                     Eerr_ErrorReport** err);

/* Packs a map: bytes, their number, the text of its dictionary, and the name of its design, each the caller's. On failure
 * the results are null and 0. */
EMANTLE_API Emsc_Boolean emif_SerializePropertyMap(const Emif_PropertyMap* map, void** bytes, long* size,
                                                   char** dictionaryText, char** designName, Eerr_ErrorReport** err);

/* Unpacks one: with `isMIFObject` other than 0 `bytes` is an Emif_MIFObject, trusted in nothing but its counts, and
 * `design` is not looked at; else they are the bytes of a record of `design`, complete (see emif_ConvertToHost). The map is
 * the caller's. */
EMANTLE_API Emif_PropertyMap* emif_DeserializePropertyMap(void* bytes, const Emif_Design* design,
                                                          Emsc_Boolean isMIFObject, Eerr_ErrorReport** err);

#ifdef __cplusplus

#include <boost/any.hpp>
#include <boost/shared_ptr.hpp>
#include <string>

namespace nubr::miflib_ns {

/* Values by name, walked in the order of the names. The three that look something up throw an EerrException with
 * "Property not found". A value that is a map is a boost::shared_ptr<IPropertyMap>. */
class EMANTLE_CLASS IPropertyMap {
public:
    virtual boost::any GetProperty(const std::string& name) const = 0;
    virtual void SetProperty(const std::string& name, const boost::any& value) = 0;
    virtual long GetPropertyCount() const = 0;
    virtual std::string GetPropertyName(long index) const = 0;
    virtual boost::any GetPropertyValue(long index) const = 0;
    virtual ~IPropertyMap();
    IPropertyMap(const IPropertyMap&) = default;
    IPropertyMap& operator=(const IPropertyMap&) = default;

protected:
    IPropertyMap() = default;
};

/* Gives memory of emsc_HeapMalloc back for a shared pointer. */
struct EMANTLE_CLASS EmscFreeMe {
    void operator()(const void* memory) const noexcept;
};

EMANTLE_CLASS boost::shared_ptr<IPropertyMap> CreatePropertyMap();

/* The plain functions above, with an EerrException in place of the report. */
EMANTLE_CLASS void SerializeToMIF(const IPropertyMap& map, boost::shared_ptr<void>& bytes, long& size,
                                  boost::shared_ptr<char>& dictionaryText, boost::shared_ptr<char>& designName);
EMANTLE_CLASS boost::shared_ptr<IPropertyMap> DeserializeFromMIF(void* bytes, const Emif_Design* design,
                                                                 bool isMIFObject);

}  // namespace nubr::miflib_ns

#endif
#endif
