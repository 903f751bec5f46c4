#include "frame/guard/guard.h"
#include "tables/edsc/binfunction/exchange.h"
#include "tables/edsc/designs.h"

#include <cstring>
#include <emantle/store/ehfa/entry.h>
#include <emantle/store/ehfa/object.h>
#include <emantle/tables/edsc/binfunction.h>

/* Bin functions as nodes of a store. */

using namespace emantle;
using namespace emantle::tables;

namespace {

/* The entry of the function below the table; current then. */
const Ehfa_Entry* findFunction(EerrException& scope, Ehfa_File* file, const char* tablePath)
{
    for (const char* name : {edsc_HFABinFunctionNameFetch(), edsc_HFABinFunction840NameFetch()}) {
        const Ehfa_Entry* entry = checked(scope, ehfa_EntrySeek(file, EHFA_SEEK_PATH, tablePath, scope));
        if (entry != nullptr) {
            entry = checked(scope, ehfa_EntrySeek(file, EHFA_SEEK_CHILD_NAME, name, scope));
        }
        if (entry != nullptr) {
            return entry;
        }
    }
    return nullptr;
}

const Emif_Design* ownDesignOf(EerrException& scope, const char* type)
{
    for (mif::OwnDesign* design : {&oldDesign(), &newDesign()}) {
        const Emif_Design* own = design->fetch(scope);
        if (std::strcmp(own->name, type) == 0) {
            return own;
        }
    }
    fail("Cannot convert bin function from type %s", type);
}

}  // namespace

EMANTLE_API Emsc_Boolean edsc_HFABinFunctionWrite(Ehfa_File* file, const char* tablePath,
                                                  const Edsc_BinFunction* binFunction, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "edsc_HFABinFunctionWrite", 0, [&](EerrException& scope) {
        require(file != nullptr, "File pointer is NULL");
        require(binFunction != nullptr, "Bin function pointer is NULL");
        void* object = nullptr;
        const Emif_Design* design = nullptr;
        checked(scope, edsc_BinFunctionConvertToMIFable(binFunction, &object, &design, scope));
        const ObjectOwner owner(object, design);
        checked(scope, emif_DictionaryAddDesign(file->dictionary, design, scope));
        checked(scope, ehfa_ObjectWrite(file, tablePath, edsc_HFABinFunctionNameFromDesignFetch(design), design->name,
                                        EHFA_WRITE_FIRST_CHILD, object, design, scope));
        return 1;
    });
}

EMANTLE_API Emsc_Boolean edsc_HFABinFunctionRead(Ehfa_File* file, const char* tablePath, Edsc_BinFunction** result,
                                                 Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "edsc_HFABinFunctionRead", 0, [&](EerrException& scope) {
        require(file != nullptr, "File pointer is NULL");
        require(result != nullptr, "Bin function pointer is NULL");
        *result = nullptr;
        const Ehfa_Entry* entry = findFunction(scope, file, tablePath);
        require(entry != nullptr, "Unable to locate either %s or %s of %s", edsc_HFABinFunctionNameFetch(),
                edsc_HFABinFunction840NameFetch(), tablePath == nullptr ? "<NULL>" : tablePath);
        const Emif_Design* design = ownDesignOf(scope, entry->type);
        const UnchangedDictionary mark(*file);
        checked(scope, emif_DictionaryAddDesign(file->dictionary, design, scope));
        const ObjectOwner object(checked(scope, emif_ObjectAllocate(design, scope)), design);
        checked(scope, ehfa_ObjectRead(file, nullptr, nullptr, EHFA_SEEK_BACK, object.as<void>(), design, scope));
        checked(scope, edsc_BinFunctionConvertFromMIFable(result, object.as<void>(), design, scope));
        return 1;
    });
}
