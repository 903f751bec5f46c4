#ifndef EMANTLE_TABLES_EDSC_BINFUNCTION_H
#define EMANTLE_TABLES_EDSC_BINFUNCTION_H

#include <emantle/frame/eerr.h>
#include <emantle/store/emif/design.h>
#include <stdarg.h>

typedef struct Egda_BaseData Egda_BaseData;
typedef struct Ehfa_File Ehfa_File;

/* edsc, the bin functions: from a data value to a bin, which is a row of a table, and from a bin to its values.
 *  1. A bin function is a value. What the Create, Copy and Read calls return is the caller's; give it back to
 *     edsc_BinFunctionDelete, which accepts null.
 *  2. Bins are counted from 0. A function shows a span of the bins of its kind: visible bin k is the kind's bin
 *     k + startBin. All calls speak of visible bins.
 *  3. A record whose `binFunction` does not point to the record itself is an old one: a caller has filled in the first
 *     part, and nothing else of it is read. Every call takes it, and none changes it.
 *  4. A bin holds the values from its lower limit up to, and without, its upper limit.
 *  5. `err` may be null. Without a word about failure a call fails with "NULL bin function" for null. */

typedef struct Edsc_BinFunctionMethods Edsc_BinFunctionMethods;

/* `binFunctionType`. */
enum {
    EDSC_BIN_NO_OLD_FORM = -1,
    EDSC_BIN_DIRECT = 0,
    EDSC_BIN_LINEAR = 1,
    EDSC_BIN_LOGARITHMIC = 2,
    EDSC_BIN_EXPLICIT = 3
};

/* The titles of the kinds that come with the library. */
#define EDSC_TITLE_DIRECT "Direct"
#define EDSC_TITLE_LINEAR "Linear"
#define EDSC_TITLE_LOGARITHMIC "Logarithmic (Toolkit)"
#define EDSC_TITLE_EXPLICIT "Explicit"
#define EDSC_TITLE_UNIQUE "Unique Value"

/* The old form. For the direct kind `maxLimit` is the lowest value of the last bin. */
typedef struct Edsc_BinFunctionPre840 {
    uint32_t numBins;
    int32_t binFunctionType;
    double minLimit;
    double maxLimit;
    Egda_BaseData* binLimits; /* explicit only: numBins + 1 limits */
    int32_t limitsType;
} Edsc_BinFunctionPre840;

typedef struct Edsc_BinFunction {
    /* The old form, field by field; kept up to date in new records of a kind that has one. */
    uint32_t numBins;
    int32_t binFunctionType;
    double minLimit;
    double maxLimit;
    Egda_BaseData* binLimits;
    int32_t limitsType;
    /* The new form. */
    struct Edsc_BinFunction* binFunction; /* this record */
    Edsc_BinFunctionMethods* functions;
    char* title;
    void* internals;
    uint32_t origBinCount;
    int32_t startBin;
    uint32_t binCount; /* startBin + binCount never exceeds origBinCount */
    void* reserved;
} Edsc_BinFunction;

/* The functions of the four classic kinds. Direct bins are one unit wide from `minimum` on. Linear bins share the span
 * from `minimum` to `maximum` evenly, logarithmic ones by powers of two. The span ends one unit in the last place above
 * `maximum`, and the maximum falls into the last bin, also where the difference of the limits has no room for it.
 * A minimum above the maximum is swapped with it. `limits` has at least numBins + 1 values of a number type, in any
 * order and without equals; the lowest numBins + 1 count. It stays the caller's.
 * Fail with "The number of bins must be a positive integer", and "BinFunctionCreate failed" for limits that are no
 * numbers. */
EMANTLE_API Edsc_BinFunction* edsc_BinFunctionCreateDirect(double minimum, uint32_t numBins, Eerr_ErrorReport** err);
EMANTLE_API Edsc_BinFunction* edsc_BinFunctionCreateLinear(double minimum, double maximum, uint32_t numBins,
                                                           Eerr_ErrorReport** err);
EMANTLE_API Edsc_BinFunction* edsc_BinFunctionCreateLogarithm(double minimum, double maximum, uint32_t numBins,
                                                              Eerr_ErrorReport** err);
EMANTLE_API Edsc_BinFunction* edsc_BinFunctionCreateExplicit(const Egda_BaseData* limits, uint32_t numBins,
                                                             Eerr_ErrorReport** err);

/* A function of any kind. The arguments that follow `err` are the kind's own: `double minimum` for "Direct"; `double
 * minimum, double maximum` for "Linear" and "Logarithmic (Toolkit)"; `const Egda_BaseData*` for "Explicit" (the limits)
 * and "Unique Value" (at least numBins values, of which each is a bin by itself). */
EMANTLE_API Edsc_BinFunction* edsc_BinFunctionCreateFromTitle(const char* title, uint32_t numBins,
                                                              Eerr_ErrorReport** err, ...);
EMANTLE_API Edsc_BinFunction* edsc_BinFunctionCreateFromTitleInternal(const char* title, uint32_t numBins,
                                                                      va_list arguments, Eerr_ErrorReport** err);

/* A function from its MIF object: a record under the design "Edsc_BinFunction" or "Edsc_BinFunction840". The object
 * stays the caller's. */
EMANTLE_API Edsc_BinFunction* edsc_BinFunctionCreate(const void* object, const Emif_Design* design,
                                                     Eerr_ErrorReport** err);

/* A deep copy with the same span. With a null `target` a new record; else the content of `target`, which must be a
 * record of this family, is replaced, and `target` returned. On failure `target` is as it was. */
EMANTLE_API Edsc_BinFunction* edsc_BinFunctionCopy(const Edsc_BinFunction* binFunction, Edsc_BinFunction* target,
                                                   Eerr_ErrorReport** err);

/* Frees a function; of an old record the limits and the record. Accepts null. */
EMANTLE_API void edsc_BinFunctionDelete(Edsc_BinFunction* binFunction, Eerr_ErrorReport** err);

/* The bin of `value`: -1 below the range, the bin count above it; -2 on failure. */
EMANTLE_API int32_t edsc_BinFunctionApply(const Edsc_BinFunction* binFunction, double value, Eerr_ErrorReport** err);

/* The limits of a bin; either pointer may be null. Answers 0 on failure: "bin out of range for bin function". */
EMANTLE_API Emsc_Boolean edsc_BinFunctionApplyInverse(const Edsc_BinFunction* binFunction, int32_t bin, double* lower,
                                                      double* upper, Eerr_ErrorReport** err);

/* The bin of each element of `values`, into `bins`, a record of type U8 to F64, in the smaller of the two sizes;
 * `below` and `above` stand for the values outside the range. Where an element of the byte record `mask`, which may be
 * null and limits the size too, is 0 the element of `bins` stays. `bins` may be `values`. Answers 0 on failure. */
EMANTLE_API Emsc_Boolean edsc_BinFunctionApplyToValues(const Edsc_BinFunction* binFunction, const Egda_BaseData* values,
                                                       double below, double above, const Egda_BaseData* mask,
                                                       Egda_BaseData* bins, Eerr_ErrorReport** err);

/* The limits of each bin of `bins`, a record of type U8 to F64, into `lower` and `upper`, of which one may be null; NaN
 * for an element that is no bin. The mask works as above. Answers 0 on failure. */
EMANTLE_API Emsc_Boolean edsc_BinFunctionApplyInverseToValues(const Edsc_BinFunction* binFunction,
                                                              const Egda_BaseData* bins, const Egda_BaseData* mask,
                                                              Egda_BaseData* lower, Egda_BaseData* upper,
                                                              Eerr_ErrorReport** err);

/* The count of visible bins; 0 for null. */
EMANTLE_API uint32_t edsc_BinFunctionBinCount(const Edsc_BinFunction* binFunction, Eerr_ErrorReport** err);

/* Moves the first visible bin by `shift` and shows `count` bins; the bins themselves stay, so that a function that was
 * narrowed can be widened again. New records only: "Rogue bin function". Answers 0 on failure; the span
 * then is as it was. */
EMANTLE_API Emsc_Boolean edsc_BinFunctionBinCountModify(Edsc_BinFunction* binFunction, int32_t shift, int32_t count,
                                                        Eerr_ErrorReport** err);

/* The `binFunctionType` word; -1 for null. */
EMANTLE_API int32_t edsc_BinFunctionType(const Edsc_BinFunction* binFunction);

/* The type of a title; -1 for a kind without old form and for an unknown title. */
EMANTLE_API int32_t edsc_BinFunctionTypeFromTitle(const char* title);

/* The lower limit of the first visible bin and the upper limit of the last one; of an old record the fields as they
 * stand; NaN on failure. */
EMANTLE_API double edsc_BinFunctionMinLimit(const Edsc_BinFunction* binFunction, Eerr_ErrorReport** err);
EMANTLE_API double edsc_BinFunctionMaxLimit(const Edsc_BinFunction* binFunction, Eerr_ErrorReport** err);

/* The `limitsType` word; 0 for null. */
EMANTLE_API int32_t edsc_BinFunctionLimitsType(const Edsc_BinFunction* binFunction);

/* Whether two functions are of one kind, with the same bins and the same span. */
EMANTLE_API Emsc_Boolean edsc_BinFunctionIsSame(const Edsc_BinFunction* a, const Edsc_BinFunction* b,
                                                Eerr_ErrorReport** err);

/* Prints the fields, and a line for each bin, to the standard output. */
EMANTLE_API void edsc_BinFunctionPrint(const Edsc_BinFunction* binFunction, Eerr_ErrorReport** err);

/* The title of the function's kind, also of an old record; heap text of the caller's. */
EMANTLE_API char* edsc_BinFunctionTitle(const Edsc_BinFunction* binFunction, Eerr_ErrorReport** err);

/* For each of the first `count` bins of `source` the bin of `target` that covers exactly the same values, or -1. For a
 * `dataType` of whole numbers (EGDA_TYPE_U1 to EGDA_TYPE_S32) the same whole numbers are enough. A heap array of
 * `count`, the caller's; null, without a report, when no bin has its like, and for bad arguments. */
EMANTLE_API int32_t* edsc_BinFunctionTranslate(int32_t count, const Edsc_BinFunction* source,
                                               const Edsc_BinFunction* target, int32_t dataType,
                                               Eerr_ErrorReport** err);

/* The record to work with: `binFunction` itself when it is a new one; else a new record converted from it, which is
 * also left in `*temporary`, to be deleted after use. Null on failure. */
EMANTLE_API const Edsc_BinFunction* edsc_BinFunctionBCCheck(const Edsc_BinFunction* binFunction,
                                                            Edsc_BinFunction** temporary, Eerr_ErrorReport** err);

/* The MIF object of a function and its design: the old form where the kind has one and all its bins are visible. The
 * object is the caller's, for emif_ObjectFree with the design, which is the library's. For a null function there is a
 * design only. Answers 0 on failure. */
EMANTLE_API Emsc_Boolean edsc_BinFunctionConvertToMIFable(const Edsc_BinFunction* binFunction, void** object,
                                                          const Emif_Design** design, Eerr_ErrorReport** err);

/* The function of a MIF object, into `*result`; answers 0, and leaves `*result` null, on failure. The object stays the
 * caller's. */
EMANTLE_API Emsc_Boolean edsc_BinFunctionConvertFromMIFable(Edsc_BinFunction** result, const void* object,
                                                            const Emif_Design* design, Eerr_ErrorReport** err);

/* Writes a function as the first child of the node `tablePath`, or reads the one that stands there into `*result`; both
 * answer 0 on failure. Fails to read with "Unable to locate either %s or %s of %s". */
EMANTLE_API Emsc_Boolean edsc_HFABinFunctionWrite(Ehfa_File* file, const char* tablePath,
                                                  const Edsc_BinFunction* binFunction, Eerr_ErrorReport** err);
EMANTLE_API Emsc_Boolean edsc_HFABinFunctionRead(Ehfa_File* file, const char* tablePath, Edsc_BinFunction** result,
                                                 Eerr_ErrorReport** err);

/* The node names, and the designs; both are the library's. */
EMANTLE_API const char* edsc_HFABinFunctionNameFetch(void);
EMANTLE_API const char* edsc_HFABinFunction840NameFetch(void);
EMANTLE_API const char* edsc_HFABinFunctionNameFromDesignFetch(const Emif_Design* design);
EMANTLE_API const Emif_Design* edsc_HFABinFunctionDesignFetch(Eerr_ErrorReport** err);
EMANTLE_API const Emif_Design* edsc_HFABinFunction840DesignFetch(Eerr_ErrorReport** err);

#endif
