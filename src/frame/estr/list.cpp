#include "frame/guard/guard.h"
#include "frame/guard/plain_scope.h"
#include "frame/memory/heap_ptr.h"

#include <emantle/frame/estr/build.h>
#include <emantle/frame/estr/compare.h>
#include <emantle/frame/estr/list.h>
#include <emantle/frame/estr/path.h>

#include <algorithm>
#include <cstring>
#include <limits>

namespace emantle {

namespace {

constexpr std::int32_t kStep = 16;
constexpr std::int32_t kStepsEndAt = 1024;
constexpr std::int32_t kMostItems = std::numeric_limits<std::int32_t>::max() - kStep;

long bytesOf(long items) noexcept
{
    return items * static_cast<long>(sizeof(char*));
}

/* Room for one item more. */
bool makeRoom(Estr_StringList& list) noexcept
{
    if (list.count < list.allocated) {
        return true;
    }
    const std::int32_t step = list.allocated < kStepsEndAt ? kStep : list.allocated / 2 / kStep * kStep;
    const std::int32_t room = list.allocated > kMostItems - step ? kMostItems : list.allocated + step;
    void* strings = room > list.allocated ? emsc_HeapRealloc(list.strings, bytesOf(room)) : nullptr;
    if (strings == nullptr) {
        return false;
    }
    list.strings = static_cast<char**>(strings);
    list.allocated = room;
    return true;
}

int compareItems(const void* a, const void* b) noexcept
{
    return estr_CompareString(*static_cast<char* const*>(a), *static_cast<char* const*>(b));
}

int compareNames(const void* a, const void* b) noexcept
{
    constexpr long size = 256;
    const char* first = *static_cast<char* const*>(a);
    const char* second = *static_cast<char* const*>(b);
    if (first == nullptr || second == nullptr) {
        return estr_CompareString(first, second);
    }
    char firstName[size];
    char secondName[size];
    return estr_CompareString(estr_GetNamePart(first, firstName, size), estr_GetNamePart(second, secondName, size));
}

void sort(Estr_StringList* list, int (*compare)(const void*, const void*)) noexcept
{
    if (list != nullptr && list->count > 1) {
        std::qsort(list->strings, static_cast<std::size_t>(list->count), sizeof(char*), compare);
    }
}

long placeOf(const char* s, const Estr_StringList& list) noexcept
{
    for (long index = 0; index < list.count; ++index) {
        if (list.strings[index] != nullptr && std::strcmp(list.strings[index], s) == 0) {
            return index;
        }
    }
    return -1;
}

/* Both kinds of copy. The copies are made before anything of `dst` is given up. */
Estr_StringList* copyItems(const Estr_StringList* src, Estr_StringList* dst, char* (*copy)(const char*),
                           Eerr_ErrorReport** err)
{
    return guarded<Estr_StringList*>(err, "estr_StringListCopy", nullptr, [&](EerrException& scope) {
        if (src == nullptr || src == dst) {
            return dst;
        }
        require(dst == nullptr || dst->count >= src->count, {"Destination string list too small", 1});
        EstrStringList copies(checked(scope, estr_StringListCreate(src->count, scope)));
        for (std::int32_t index = 0; index < src->count; ++index) {
            copies->strings[index] = copy(src->strings[index]);
            require(src->strings[index] == nullptr || copies->strings[index] != nullptr, "No memory");
        }
        if (dst == nullptr) {
            return copies.Release();
        }
        for (std::int32_t index = 0; index < dst->count; ++index) {
            emsc_HeapFree(dst->strings[index]);
            dst->strings[index] = index < src->count ? std::exchange(copies->strings[index], nullptr) : nullptr;
        }
        return dst;
    });
}

/* A list of `n` texts, of which `text` gives the one of an index as heap text. */
template <class Text>
Estr_StringList* made(const char* function, long n, const void* source, Eerr_ErrorReport** err, Text text)
{
    return guarded<Estr_StringList*>(err, function, nullptr, [&](EerrException& scope) -> Estr_StringList* {
        if (source == nullptr || n < 1) {
            return nullptr;
        }
        EstrStringList list(checked(scope, estr_StringListCreate(n, scope)));
        for (long index = 0; index < n; ++index) {
            list->strings[index] = text(index);
        }
        return list.Release();
    });
}

char* copyOrFail(const char* s)
{
    return s == nullptr ? nullptr : heapText(s).release();
}

} // namespace

} // namespace emantle

using namespace emantle;

EMANTLE_API Estr_StringList* estr_StringListCreate(long n, Eerr_ErrorReport** err)
{
    constexpr const char* text = "Unable to allocate storage for string list";
    PlainScope scope("estr_StringListCreate", err);
    auto* list = static_cast<Estr_StringList*>(emsc_HeapMalloc(sizeof(Estr_StringList)));
    if (list == nullptr) {
        return scope.raise({text, 1}), nullptr;
    }
    if (n < 1) {
        return list;
    }
    list->strings = n > kMostItems ? nullptr : static_cast<char**>(emsc_HeapMalloc(bytesOf(n)));
    if (list->strings == nullptr) {
        emsc_HeapFree(list);
        return scope.raise({text, 2}), nullptr;
    }
    list->count = static_cast<std::int32_t>(n);
    list->allocated = list->count;
    return list;
}

EMANTLE_API void estr_StringListDelete(Estr_StringList* list, Eerr_ErrorReport** err)
{
    if (err != nullptr) {
        *err = nullptr;
    }
    if (list != nullptr) {
        estr_StringListTruncate(list, 0);
        emsc_HeapFree(list->strings);
        emsc_HeapFree(list);
    }
}

EMANTLE_API Estr_StringList* estr_StringListAppend(Estr_StringList* list, const char* s, Eerr_ErrorReport** err)
{
    PlainScope scope("estr_StringListAppend", err);
    char* copy = estr_Duplicate(s);
    if (s != nullptr && copy == nullptr) {
        return scope.raise("No memory"), list;
    }
    Estr_StringList* grown = list == nullptr ? estr_StringListCreate(0, scope) : list;
    if (grown == nullptr) {
        emsc_HeapFree(copy);
        return scope.raise("estr_StringListCreate failed"), nullptr;
    }
    if (!makeRoom(*grown)) {
        emsc_HeapFree(copy);
        if (list == nullptr) {
            estr_StringListDelete(grown, nullptr);
        }
        return scope.raise("No memory"), list;
    }
    grown->strings[grown->count++] = copy;
    return grown;
}

EMANTLE_API Estr_StringList* estr_StringListAppendUniq(Estr_StringList* list, const char* s, Eerr_ErrorReport** err)
{
    PlainScope scope("estr_StringListAppendUniq", err);
    if (list != nullptr && s != nullptr && placeOf(s, *list) >= 0) {
        return list;
    }
    Estr_StringList* grown = estr_StringListAppend(list, s, scope);
    if (scope.failed()) {
        scope.raise("estr_StringListAppend failed");
    }
    return grown;
}

EMANTLE_API Estr_StringList* estr_StringListTruncate(Estr_StringList* list, long n)
{
    const long kept = std::max(n, 0L);
    while (list != nullptr && list->count > kept) {
        emsc_HeapFreeEx(reinterpret_cast<void**>(&list->strings[--list->count]));
    }
    return list;
}

EMANTLE_API Emsc_Boolean estr_StringListRemoveItem(Estr_StringList* list, const char* s)
{
    const long place = list == nullptr || s == nullptr ? -1 : placeOf(s, *list);
    if (place < 0) {
        return 0;
    }
    emsc_HeapFree(list->strings[place]);
    std::copy(list->strings + place + 1, list->strings + list->count, list->strings + place);
    list->strings[--list->count] = nullptr;
    return 1;
}

EMANTLE_API Estr_StringList* estr_StringListCopy(const Estr_StringList* src, Estr_StringList* dst,
                                                 Eerr_ErrorReport** err)
{
    return copyItems(src, dst, estr_Duplicate, err);
}

EMANTLE_API Estr_StringList* estr_StringListQuotedCopy(const Estr_StringList* src, Estr_StringList* dst,
                                                       Eerr_ErrorReport** err)
{
    return copyItems(src, dst, estr_QuotedDuplicate, err);
}

EMANTLE_API Estr_StringList* estr_StringListQuote(Estr_StringList* list, Emsc_Boolean doubleQuotes,
                                                  Eerr_ErrorReport** err)
{
    return guarded<Estr_StringList*>(err, "estr_StringListQuote", nullptr, [&](EerrException& scope) {
        if (list == nullptr) {
            return list;
        }
        EstrStringList quoted(checked(scope, estr_StringListCreate(list->count, scope)));
        for (std::int32_t index = 0; index < list->count; ++index) {
            const char* item = list->strings[index];
            if (item != nullptr && *item != 0) {
                quoted->strings[index] = checked(scope, estr_QuoteString(item, doubleQuotes, scope));
            }
        }
        for (std::int32_t index = 0; index < list->count; ++index) {
            if (quoted->strings[index] != nullptr) {
                std::swap(list->strings[index], quoted->strings[index]);
            }
        }
        return list;
    });
}

EMANTLE_API long estr_StringListCount(const Estr_StringList* list)
{
    return list == nullptr ? 0 : list->count;
}

EMANTLE_API void estr_StringListSort(Estr_StringList* list)
{
    sort(list, compareItems);
}

EMANTLE_API void estr_StringListSortByNamePart(Estr_StringList* list)
{
    sort(list, compareNames);
}

EMANTLE_API long estr_FindOnStringList(const char* s, const Estr_StringList* list, Eerr_ErrorReport** err)
{
    PlainScope scope("estr_FindOnStringList", err);
    if (list == nullptr) {
        return scope.raise("NULL string list"), -1;
    }
    if (s == nullptr) {
        return scope.raise("NULL string"), -1;
    }
    return placeOf(s, *list);
}

EMANTLE_API Estr_StringList* estr_StringToStringList(long n, const char* const* array, Eerr_ErrorReport** err)
{
    return made("estr_StringToStringList", n, array, err, [&](long index) { return copyOrFail(array[index]); });
}

EMANTLE_API Estr_StringList* estr_StringToStringListX(long n, const char* const* array, Eerr_ErrorReport** err)
{
    return made("estr_StringToStringListX", n, array, err, [&](long index) { return copyOrFail(array[index]); });
}

EMANTLE_API Estr_StringList* estr_LongToStringList(long n, const long* values, Eerr_ErrorReport** err)
{
    return made("estr_LongToStringList", n, values, err,
                [&](long index) { return heapText(formatted("%ld", values[index])).release(); });
}

EMANTLE_API Estr_StringList* estr_DoubleToStringList(long n, const double* values, Eerr_ErrorReport** err)
{
    return made("estr_DoubleToStringList", n, values, err,
                [&](long index) { return heapText(formatted("%-25.16le", values[index])).release(); });
}

EMANTLE_API Estr_StringList* estr_SplitString(const char* s, const char* delimiters)
{
    return guarded<Estr_StringList*>(nullptr, "estr_SplitString", nullptr,
                                     [&](EerrException& scope) -> Estr_StringList* {
                                         if (s == nullptr) {
                                             return nullptr;
                                         }
                                         const char* cuts = delimiters == nullptr ? "" : delimiters;
                                         EstrStringList list(checked(scope, estr_StringListCreate(0, scope)));
                                         for (s += std::strspn(s, cuts); *s != 0; s += std::strspn(s, cuts)) {
                                             const std::string piece(s, std::strcspn(s, cuts));
                                             checked(scope, estr_StringListAppend(list, piece.c_str(), scope));
                                             s += piece.size();
                                         }
                                         return list.Release();
                                     });
}

EMANTLE_API char* estr_StringListToString(const Estr_StringList* list)
{
    return estr_StringListToDelimString(list, " ");
}

EMANTLE_API char* estr_StringListToDelimString(const Estr_StringList* list, const char* delimiter)
{
    return guarded<char*>(nullptr, "estr_StringListToDelimString", nullptr, [&]() -> char* {
        if (list == nullptr) {
            return nullptr;
        }
        std::string text;
        for (std::int32_t index = 0; index < list->count; ++index) {
            text += index == 0 || delimiter == nullptr ? "" : delimiter;
            text += list->strings[index] == nullptr ? "" : list->strings[index];
        }
        return heapText(text).release();
    });
}
