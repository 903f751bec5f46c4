#include "store/mif/decode.h"
#include "store/mif/dictionary.h"

#include <emantle/siblings/ethr.h>

namespace emantle::mif {

namespace {

/* What the toolkit itself stores in records of others. */
constexpr std::string_view kToolkitDesigns =
    "{1:lnumrows,1:lnumcolumns,1:e13:EGDA_TYPE_U1,EGDA_TYPE_U2,EGDA_TYPE_U4,EGDA_TYPE_U8,EGDA_TYPE_S8,EGDA_TYPE_U16,"
    "EGDA_TYPE_S16,EGDA_TYPE_U32,EGDA_TYPE_S32,EGDA_TYPE_F32,EGDA_TYPE_F64,EGDA_TYPE_C64,EGDA_TYPE_C128,datatype,"
    "1:e4:EGDA_SCALAR_OBJECT,EGDA_TABLE_OBJECT,EGDA_MATRIX_OBJECT,EGDA_RASTER_OBJECT,objecttype,}Egda_BaseData,"
    "{0:pcstring,}Emif_String,"
    "{1:x{0:pcstring,}Emif_String,type,1:x{0:pcstring,}Emif_String,MIFDictionary,0:pCMIFObject,}Emif_MIFObject,.";

constinit EmifDictionaryP privateDictionary;

Emif_Dictionary& filled(EerrException& scope)
{
    if (privateDictionary.dictionary == nullptr) {
        asFunction(scope, "emif_Init", "emif_Init failed!", [&] {
            DictionaryPtr fresh(checked(scope, emif_DictionaryCreate(scope)));
            decodeOnItsOwn(scope, kToolkitDesigns, *fresh);
            fresh->changed = 0;
            privateDictionary.dictionary = fresh.release();
        });
    }
    return *privateDictionary.dictionary;
}

}  // namespace

const Emif_Design* privateDesign(EerrException& scope, std::string_view name)
{
    const EthrMTUnsafeCode section;
    return DictionaryEditor(filled(scope)).find(name);
}

void addPrivately(EerrException& scope, const Emif_Design& design)
{
    const EthrMTUnsafeCode section;
    DictionaryEditor(filled(scope)).add(scope, design);
}

}  // namespace emantle::mif

EMANTLE_API void emif_Init(Eerr_ErrorReport** err)
{
    emantle::guarded(err, "emif_Init", [](EerrException& scope) {
        const EthrMTUnsafeCode section;
        emantle::mif::filled(scope);
    });
}

_emif_Dictionary_PEtxt_TextA::~_emif_Dictionary_PEtxt_TextA()
{
    const EthrMTUnsafeCode section;
    emif_DictionaryDestroy(dictionary);
    dictionary = nullptr;
}

EmifDictionaryP::~EmifDictionaryP() = default;
