#ifndef EMANTLE_FRAME_ESTR_LIST_H
#define EMANTLE_FRAME_ESTR_LIST_H

#include <emantle/frame/eerr.h>

/* estr: counted lists of heap texts.
 *  1. A list owns its array and each text, and goes back to estr_StringListDelete. Any item may be null.
 *  2. A null list is accepted where what it means is said, and is otherwise nothing to do.
 *  3. A failure leaves the list as it stood, and is printed where `err` is null. No memory is "No memory". */

typedef struct _estr_StringList {
    int32_t count;
    char** strings;
    int32_t allocated; /* room in `strings` */
} Estr_StringList;

/* `n` null items for `n` of 1 and more, else an empty list. "Unable to allocate storage for string list", numbers 1
 * (the list) and 2 (its array). */
EMANTLE_API Estr_StringList* estr_StringListCreate(long n, Eerr_ErrorReport** err);
EMANTLE_API void estr_StringListDelete(Estr_StringList* list, Eerr_ErrorReport** err);

/* Appends a copy of `s` and returns the list, a new one for null. Its room begins at 16 and grows by 16 up to 1024
 * items, then by half, so that any number of appends costs a time in proportion. */
EMANTLE_API Estr_StringList* estr_StringListAppend(Estr_StringList* list, const char* s, Eerr_ErrorReport** err);
/* The same unless an equal text is there. */
EMANTLE_API Estr_StringList* estr_StringListAppendUniq(Estr_StringList* list, const char* s, Eerr_ErrorReport** err);

/* Frees the items from `n` on (below 0: all); the room stays. Returns the list. */
EMANTLE_API Estr_StringList* estr_StringListTruncate(Estr_StringList* list, long n);

/* Removes the first item equal to `s` and closes the gap. Whether there was one. */
EMANTLE_API Emsc_Boolean estr_StringListRemoveItem(Estr_StringList* list, const char* s);

/* Replaces the items of `dst` by copies of those of `src`, and by null past its end; the second form copies in double
 * quotes. A null `dst` is made with the count of `src`; a null `src` returns `dst`. "Destination string list too small"
 * (number 1), under the name estr_StringListCopy for both. Returns `dst`; null when it failed. */
EMANTLE_API Estr_StringList* estr_StringListCopy(const Estr_StringList* src, Estr_StringList* dst,
                                                 Eerr_ErrorReport** err);
EMANTLE_API Estr_StringList* estr_StringListQuotedCopy(const Estr_StringList* src, Estr_StringList* dst,
                                                       Eerr_ErrorReport** err);

/* Replaces each item by its estr_QuoteString form; null and empty items stay. Returns the list; null when it failed. */
EMANTLE_API Estr_StringList* estr_StringListQuote(Estr_StringList* list, Emsc_Boolean doubleQuotes,
                                                  Eerr_ErrorReport** err);

EMANTLE_API long estr_StringListCount(const Estr_StringList* list);

/* Sort by unsigned bytes, null items first; the second by the name part of each item, of which 255 bytes count. */
EMANTLE_API void estr_StringListSort(Estr_StringList* list);
EMANTLE_API void estr_StringListSortByNamePart(Estr_StringList* list);

/* The place, from 0, of the first item equal to `s`; -1 for none. "NULL string list", "NULL string". */
EMANTLE_API long estr_FindOnStringList(const char* s, const Estr_StringList* list, Eerr_ErrorReport** err);

/* New lists of `n` copies, one an item; null where the array is null or `n` below 1. */
EMANTLE_API Estr_StringList* estr_StringToStringList(long n, const char* const* array, Eerr_ErrorReport** err);
EMANTLE_API Estr_StringList* estr_StringToStringListX(long n, const char* const* array, Eerr_ErrorReport** err);
/* The numbers as texts, by "%ld" and by "%-25.16le". */
EMANTLE_API Estr_StringList* estr_LongToStringList(long n, const long* values, Eerr_ErrorReport** err);
EMANTLE_API Estr_StringList* estr_DoubleToStringList(long n, const double* values, Eerr_ErrorReport** err);

/* A new list of the pieces of `s` between runs of characters of `delimiters`; without a piece it is empty. Null for a
 * null text. */
EMANTLE_API Estr_StringList* estr_SplitString(const char* s, const char* delimiters);

/* The items joined by a blank or by `delimiter`, as heap text; null items count as empty. Null for a null list. */
EMANTLE_API char* estr_StringListToString(const Estr_StringList* list);
EMANTLE_API char* estr_StringListToDelimString(const Estr_StringList* list, const char* delimiter);

#ifdef __cplusplus

/* Owns one list. */
class EMANTLE_CLASS EstrStringList {
public:
    EstrStringList() noexcept = default;
    explicit EstrStringList(Estr_StringList* list) noexcept : list_(list) {}
    virtual ~EstrStringList() { estr_StringListDelete(list_, nullptr); }
    EstrStringList(const EstrStringList&) = delete;
    EstrStringList& operator=(const EstrStringList&) = delete;

    EstrStringList& operator=(Estr_StringList* list) noexcept
    {
        if (list != list_) {
            estr_StringListDelete(list_, nullptr);
            list_ = list;
        }
        return *this;
    }

    /* Gives the list to the caller. */
    Estr_StringList* Release() noexcept
    {
        Estr_StringList* list = list_;
        list_ = nullptr;
        return list;
    }

    operator Estr_StringList*() noexcept { return list_; }
    operator const Estr_StringList*() const noexcept { return list_; }
    operator Estr_StringList**() noexcept { return &list_; }
    Estr_StringList* operator->() noexcept { return list_; }

private:
    Estr_StringList* list_ = nullptr;
};

#endif
#endif
