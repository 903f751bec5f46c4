#ifndef EMANTLE_TABLES_EDSC_KINDS_H
#define EMANTLE_TABLES_EDSC_KINDS_H

#include <emantle/tables/edsc/binfunction.h>

/* edsc, the kinds of bin functions: what an instance of the class "BinFunctions" provides.
 *  1. `internals` is the kind's own state. Bins are the kind's own, counted from 0 over all that it was created with.
 *  2. Each entry point is found under the name of its field. The members of the built-in kinds are exported as
 *     edsc_BFDirect, edsc_BFLinear, edsc_BFLogarithmicTK, edsc_BFExplicit and edsc_BFUnique with that name behind.
 *  3. A creation that fails returns null and leaves nothing behind. */

struct Edsc_BinFunctionMethods {
    char* instanceName;
    /* Null on failure; the arguments are the kind's. */
    void* (*BinFunctionCreate)(uint32_t numBins, va_list arguments, Eerr_ErrorReport** err);
    /* Fills the old form from `internals`; with null internals gives up what the old form owns. */
    void (*BinFunctionBCSyncOld)(const void* internals, Edsc_BinFunctionPre840* old, Eerr_ErrorReport** err);
    /* The kind's object as MIF bytes, with the text of its dictionary and the name of its design, all three heap blocks
     * of the caller's. The count of bytes, or -1. */
    long (*BinFunctionConvertToMIF)(const void* internals, unsigned char** object, char** dictionary,
                                    char** designName, Eerr_ErrorReport** err);
    /* The way back, into `*result`; 0 on failure. `object` holds a whole record of the design. */
    Emsc_Boolean (*BinFunctionConvertFromMIF)(const unsigned char* object, const char* dictionary,
                                              const char* designName, void** result, Eerr_ErrorReport** err);
    void* (*BinFunctionCopy)(const void* internals, Eerr_ErrorReport** err);
    void (*BinFunctionPrint)(const void* internals, Eerr_ErrorReport** err);
    void (*BinFunctionDestroy)(void* internals, Eerr_ErrorReport** err);
    Emsc_Boolean (*BinFunctionIsSame)(const void* a, const void* b, Eerr_ErrorReport** err);
    /* -1 below the range, the number of bins above it. */
    int32_t (*BinFunctionApply)(const void* internals, double value, Eerr_ErrorReport** err);
    /* Either limit may be null; 0 on failure. */
    Emsc_Boolean (*BinFunctionApplyInverse)(const void* internals, int32_t bin, double* lower, double* upper,
                                            Eerr_ErrorReport** err);
};


/* The members that every built-in kind has. */
#define EDSC_KIND_MEMBERS(Kind)                                                                                       \
    EMANTLE_API void* edsc_BF##Kind##BinFunctionCreate(uint32_t numBins, va_list arguments, Eerr_ErrorReport** err);   \
    EMANTLE_API long edsc_BF##Kind##BinFunctionConvertToMIF(const void* internals, unsigned char** object,             \
                                                            char** dictionary, char** designName,                      \
                                                            Eerr_ErrorReport** err);                                   \
    EMANTLE_API Emsc_Boolean edsc_BF##Kind##BinFunctionConvertFromMIF(const unsigned char* object,                     \
                                                                      const char* dictionary, const char* designName,  \
                                                                      void** result, Eerr_ErrorReport** err);          \
    EMANTLE_API void* edsc_BF##Kind##BinFunctionCopy(const void* internals, Eerr_ErrorReport** err);                   \
    EMANTLE_API void edsc_BF##Kind##BinFunctionPrint(const void* internals, Eerr_ErrorReport** err);                   \
    EMANTLE_API void edsc_BF##Kind##BinFunctionDestroy(void* internals, Eerr_ErrorReport** err);                       \
    EMANTLE_API Emsc_Boolean edsc_BF##Kind##BinFunctionIsSame(const void* a, const void* b, Eerr_ErrorReport** err);   \
    EMANTLE_API int32_t edsc_BF##Kind##BinFunctionApply(const void* internals, double value, Eerr_ErrorReport** err);  \
    EMANTLE_API Emsc_Boolean edsc_BF##Kind##BinFunctionApplyInverse(const void* internals, int32_t bin, double* lower, \
                                                                    double* upper, Eerr_ErrorReport** err)

EDSC_KIND_MEMBERS(Direct);
EDSC_KIND_MEMBERS(Linear);
EDSC_KIND_MEMBERS(LogarithmicTK);
EDSC_KIND_MEMBERS(Explicit);
EDSC_KIND_MEMBERS(Unique);

/* Of the four kinds that have an old form. */
EMANTLE_API void edsc_BFDirectBinFunctionBCSyncOld(const void* internals, Edsc_BinFunctionPre840* old,
                                                   Eerr_ErrorReport** err);
EMANTLE_API void edsc_BFLinearBinFunctionBCSyncOld(const void* internals, Edsc_BinFunctionPre840* old,
                                                   Eerr_ErrorReport** err);
EMANTLE_API void edsc_BFLogarithmicTKBinFunctionBCSyncOld(const void* internals, Edsc_BinFunctionPre840* old,
                                                          Eerr_ErrorReport** err);
EMANTLE_API void edsc_BFExplicitBinFunctionBCSyncOld(const void* internals, Edsc_BinFunctionPre840* old,
                                                     Eerr_ErrorReport** err);

/* A sorted copy of `limits` as F64, of all its rows, of which the lowest numBins + 1 (or numBins, for values) must
 * differ from each other. The caller's. Fails with "NULL bin limits given", "Not enough data in bin limit table", "NULL
 * bin limit data" and "Non-increasing bin limit data", the last also for a limit that is no number. */
EMANTLE_API Egda_BaseData* edsc_BFExplicitBinLimitTableCheck(const Egda_BaseData* limits, uint32_t numBins,
                                                             Eerr_ErrorReport** err);
EMANTLE_API Egda_BaseData* edsc_BFUniqueBinLimitTableCheck(const Egda_BaseData* limits, uint32_t numBins,
                                                           Eerr_ErrorReport** err);

/* The record of the old form as MIF bytes, with dictionary and design name, the caller's heap blocks; and the way back.
 * The first gives the count of bytes, or -1; the second a heap record, for emif_ObjectFree with the design of
 * edsc_HFABinFunctionDesignFetch, or null. */
EMANTLE_API long edsc_HFABinFunctionMIFableToMIF(const Edsc_BinFunctionPre840* old, unsigned char** object,
                                                 char** dictionary, char** designName, Eerr_ErrorReport** err);
EMANTLE_API Edsc_BinFunctionPre840* edsc_HFABinFunctionMIFableFromMIF(const unsigned char* object,
                                                                      const char* dictionary, const char* designName,
                                                                      Eerr_ErrorReport** err);

#endif
