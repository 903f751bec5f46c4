#include "frame/guard/guard.h"
#include "frame/memory/heap_ptr.h"

#include <emantle/frame/edlm.h>

#include <algorithm>
#include <cstring>
#include <limits>
#include <vector>

namespace emantle {

namespace {

constexpr std::int32_t kFirstChunks = 32;
constexpr std::int32_t kMostObjects = std::numeric_limits<std::int32_t>::max();
constexpr Say noMemory{"Out of memory"};

/* Owns a list that is still being made. */
struct ListDeleter {
    void operator()(Edlm_List* list) const noexcept { edlm_FreeList(list, nullptr); }
};
using ListPtr = std::unique_ptr<Edlm_List, ListDeleter>;

void requireList(const Edlm_List* list)
{
    require(list != nullptr, "Null List passed.");
    require(list->objectSize > 0 && list->chunkSize > 0 && list->count >= 0 && list->count <= list->capacity &&
                static_cast<std::int64_t>(list->chunkCount) * list->chunkSize == list->capacity &&
                list->chunkCount <= list->indexCapacity && list->chunks != nullptr,
            "Edlm_List corrupted");
    if (list->index != nullptr) {
        require(list->compare != nullptr && list->index->count == list->count &&
                    list->index->objectSize == static_cast<std::int32_t>(sizeof(std::int32_t)),
                "Invalid index list");
    }
}

std::size_t objectBytes(const Edlm_List& list) noexcept
{
    return static_cast<std::size_t>(list.objectSize);
}

char* at(const Edlm_List& list, long index) noexcept
{
    return static_cast<char*>(list.chunks[index / list.chunkSize]) + index % list.chunkSize * list.objectSize;
}

/* The number that stands at a place of the index, and the object that it refers to. */
std::int32_t& reference(const Edlm_List& list, long place) noexcept
{
    return *reinterpret_cast<std::int32_t*>(at(*list.index, place));
}

const char* referred(const Edlm_List& list, long place)
{
    const std::int32_t number = reference(list, place);
    require(number >= 0 && number < list.count, "Invalid index list");
    return at(list, number);
}

/* Room for one object more. */
void extend(Edlm_List& list)
{
    if (list.count < list.capacity) {
        return;
    }
    require(list.capacity <= kMostObjects - list.chunkSize, noMemory);
    if (list.chunkCount == list.indexCapacity) {
        const std::int64_t room = std::int64_t{list.indexCapacity} * 2;
        require(room <= kMostObjects, noMemory);
        void* chunks = emsc_HeapRealloc(list.chunks, static_cast<long>(room * static_cast<long>(sizeof(void*))));
        require(chunks, noMemory);
        list.chunks = static_cast<void**>(chunks);
        list.indexCapacity = static_cast<std::int32_t>(room);
    }
    list.chunks[list.chunkCount] =
        allocate<char>(static_cast<std::size_t>(list.chunkSize) * objectBytes(list), noMemory).release();
    ++list.chunkCount;
    list.capacity += list.chunkSize;
}

/* Moves the objects from `from` on by one place; the room is there. Chunk by chunk from the end: all but the last of a
 * chunk move within it, and its first place takes the last object of the chunk before. */
void openGap(Edlm_List& list, long from) noexcept
{
    for (long chunk = list.count / list.chunkSize; chunk >= from / list.chunkSize; --chunk) {
        const long start = chunk * list.chunkSize;
        const long first = std::max(from, start);
        const long moved = std::min<long>(list.count, start + list.chunkSize - 1) - first;
        std::memmove(at(list, first) + list.objectSize, at(list, first),
                     static_cast<std::size_t>(moved) * objectBytes(list));
        if (start > from) {
            std::memcpy(at(list, start), at(list, start - 1), objectBytes(list));
        }
    }
    ++list.count;
}

void closeGap(Edlm_List& list, long gap) noexcept
{
    for (long chunk = gap / list.chunkSize; chunk * list.chunkSize < list.count; ++chunk) {
        const long first = std::max(gap, chunk * list.chunkSize);
        const long end = std::min<long>(list.count, (chunk + 1) * list.chunkSize);
        std::memmove(at(list, first), at(list, first) + list.objectSize,
                     static_cast<std::size_t>(end - first - 1) * objectBytes(list));
        if (end < list.count) {
            std::memcpy(at(list, end - 1), at(list, end), objectBytes(list));
        }
    }
    --list.count;
}

/* The first place of the index whose object is not below `object`, or, with `after`, above it. */
long placeInIndex(const Edlm_List& list, const void* object, bool after)
{
    long low = 0;
    for (long high = list.index->count; low < high;) {
        const long middle = low + (high - low) / 2;
        const int order = list.compare(referred(list, middle), object);
        if (order < 0 || (after && order == 0)) {
            low = middle + 1;
        } else {
            high = middle;
        }
    }
    return low;
}

long placeOfNumber(const Edlm_List& list, long number)
{
    long place = 0;
    while (place < list.index->count && reference(list, place) != number) {
        ++place;
    }
    require(place < list.index->count, "Invalid index list");
    return place;
}

void insertObject(Edlm_List& list, long index, const void* object)
{
    /* The object may lie in this list and move with the others. */
    const std::vector<char> bytes(static_cast<const char*>(object), static_cast<const char*>(object) + list.objectSize);
    extend(list);
    long place = 0;
    if (list.index != nullptr) {
        extend(*list.index);
        place = placeInIndex(list, bytes.data(), true);
    }
    openGap(list, index);
    std::memcpy(at(list, index), bytes.data(), bytes.size());
    if (list.index != nullptr) {
        for (long other = 0; index + 1 < list.count && other < list.index->count; ++other) {
            reference(list, other) += reference(list, other) >= index ? 1 : 0;
        }
        openGap(*list.index, place);
        reference(list, place) = static_cast<std::int32_t>(index);
    }
}

void removeObject(Edlm_List& list, long index)
{
    if (list.index != nullptr) {
        closeGap(*list.index, placeOfNumber(list, index));
        for (long place = 0; place < list.index->count; ++place) {
            reference(list, place) -= reference(list, place) > index ? 1 : 0;
        }
    }
    closeGap(list, index);
}

void replaceObject(Edlm_List& list, long index, const void* object)
{
    std::memmove(at(list, index), object, objectBytes(list));
    if (list.index != nullptr) {
        closeGap(*list.index, placeOfNumber(list, index));
        const long place = placeInIndex(list, at(list, index), true);
        openGap(*list.index, place);
        reference(list, place) = static_cast<std::int32_t>(index);
    }
}

long findObject(const Edlm_List& list, const void* object, Edlm_CompareFunction compare)
{
    if (list.index != nullptr && (compare == nullptr || compare == list.compare)) {
        const long place = placeInIndex(list, object, false);
        return place < list.index->count && list.compare(referred(list, place), object) == 0 ? reference(list, place)
                                                                                             : -1;
    }
    for (long index = 0; index < list.count; ++index) {
        const char* other = at(list, index);
        if ((compare == nullptr ? std::memcmp(other, object, objectBytes(list)) : compare(other, object)) == 0) {
            return index;
        }
    }
    return -1;
}

void copyObjects(const Edlm_List& list, char* target) noexcept
{
    for (long first = 0; first < list.count; first += list.chunkSize) {
        const auto objects = static_cast<std::size_t>(std::min<long>(list.chunkSize, list.count - first));
        std::memcpy(target + static_cast<std::size_t>(first) * objectBytes(list), at(list, first),
                    objects * objectBytes(list));
    }
}

std::size_t contentBytes(const Edlm_List& list) noexcept
{
    return static_cast<std::size_t>(list.count) * objectBytes(list);
}

void freeChunks(Edlm_List& list) noexcept
{
    for (std::int32_t chunk = 0; chunk < list.chunkCount; ++chunk) {
        emsc_HeapFree(std::exchange(list.chunks[chunk], nullptr));
    }
    list.chunkCount = 0;
    list.capacity = 0;
}

ListPtr bareCopy(const Edlm_List& list, EerrException& scope)
{
    ListPtr copy(checked(scope, edlm_InitList(list.objectSize, list.chunkSize, scope)));
    while (copy->capacity < list.count) {
        copy->count = copy->capacity;
        extend(*copy);
    }
    for (std::int32_t chunk = 0; chunk * std::int64_t{list.chunkSize} < list.count; ++chunk) {
        const long first = static_cast<long>(chunk) * list.chunkSize;
        std::memcpy(copy->chunks[chunk], list.chunks[chunk],
                    static_cast<std::size_t>(std::min<long>(list.chunkSize, list.count - first)) * objectBytes(list));
    }
    copy->count = list.count;
    return copy;
}

/* The numbers of the objects in their order; equal objects by their numbers. */
ListPtr indexOf(const Edlm_List& list, Edlm_CompareFunction compare, EerrException& scope)
{
    std::vector<std::int32_t> numbers(static_cast<std::size_t>(list.count));
    for (std::size_t number = 0; number < numbers.size(); ++number) {
        numbers[number] = static_cast<std::int32_t>(number);
    }
    std::stable_sort(numbers.begin(), numbers.end(),
                     [&](std::int32_t a, std::int32_t b) { return compare(at(list, a), at(list, b)) < 0; });
    ListPtr index(checked(scope, edlm_InitList(sizeof(std::int32_t), list.chunkSize, scope)));
    for (const std::int32_t number : numbers) {
        checked(scope, edlm_Add(index.get(), &number, scope), "Error adding to list");
    }
    return index;
}

/* Copies what the objects of `copy` own; where that fails, gives back what was copied. */
void deepen(const Edlm_List& list, Edlm_List& copy, Edlm_CopyFunction function, Edlm_FreeFunction release,
            EerrException& scope)
{
    for (long index = 0; index < list.count; ++index) {
        function(at(list, index), at(copy, index), scope);
        if (scope) {
            for (long made = 0; release != nullptr && made < index; ++made) {
                release(at(copy, made));
            }
            fail("Error copying list");
        }
    }
}

} // namespace

} // namespace emantle

using namespace emantle;

EMANTLE_API Edlm_List* edlm_InitList(long objectSize, long chunkSize, Eerr_ErrorReport** err)
{
    return guarded<Edlm_List*>(err, "edlm_InitList", nullptr, [&] {
        require(objectSize > 0 && chunkSize > 0 && objectSize <= kMostObjects && chunkSize <= kMostObjects,
                "Illegal value passed in");
        HeapPtr<Edlm_List> list = allocate<Edlm_List>(1, noMemory);
        list->objectSize = static_cast<std::int32_t>(objectSize);
        list->chunkSize = static_cast<std::int32_t>(chunkSize);
        list->indexCapacity = kFirstChunks;
        list->chunks = allocate<void*>(kFirstChunks, noMemory).release();
        return list.release();
    });
}

EMANTLE_API void edlm_ResetList(Edlm_List* list, Eerr_ErrorReport** err)
{
    guarded(err, "edlm_ResetList", [&] {
        requireList(list);
        list->count = 0;
        if (list->index != nullptr) {
            list->index->count = 0;
        }
    });
}

EMANTLE_API long edlm_Add(Edlm_List* list, const void* object, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "edlm_Add", -1, [&]() -> long {
        requireList(list);
        require(object != nullptr, "Bad argument");
        if (list->index != nullptr) {
            insertObject(*list, list->count, object);
        } else {
            extend(*list);
            std::memcpy(at(*list, list->count++), object, objectBytes(*list));
        }
        return list->count - 1;
    });
}

EMANTLE_API long edlm_AddIfUnique(Edlm_List* list, const void* object, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "edlm_AddIfUnique", -1, [&](EerrException& scope) {
        requireList(list);
        require(object != nullptr, "Bad argument");
        const long found = findObject(*list, object, nullptr);
        return found >= 0 ? found : checked(scope, edlm_Add(list, object, scope), "Error adding to list");
    });
}

EMANTLE_API long edlm_FindOnList(const Edlm_List* list, const void* object, Edlm_CompareFunction compare,
                                 Eerr_ErrorReport** err)
{
    return guarded<long>(err, "edlm_FindOnList", -1, [&] {
        requireList(list);
        require(object != nullptr, "Bad argument");
        return findObject(*list, object, compare);
    });
}

EMANTLE_API Emsc_Boolean edlm_Delete(Edlm_List* list, long index, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "edlm_Delete", 0, [&] {
        requireList(list);
        require(list->count > 0, "Attempt to delete from empty list");
        require(index >= 0 && index < list->count, "Attempt to delete item not on list");
        removeObject(*list, index);
        return 1;
    });
}

EMANTLE_API Emsc_Boolean edlm_Insert(Edlm_List* list, long index, const void* object, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "edlm_Insert", 0, [&] {
        requireList(list);
        require(object != nullptr, "Bad argument");
        require(index >= 0 && index < list->count, "Attempt to insert before item not on list");
        insertObject(*list, index, object);
        return 1;
    });
}

EMANTLE_API Emsc_Boolean edlm_Replace(Edlm_List* list, long index, const void* object, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "edlm_Replace", 0, [&] {
        requireList(list);
        require(object != nullptr, "Bad argument");
        require(list->count > 0, "Attempt to replace in empty list");
        require(index >= 0 && index < list->count, "Attempt to replace item not on list");
        replaceObject(*list, index, object);
        return 1;
    });
}

EMANTLE_API void* edlm_GetAddr(const Edlm_List* list, long index, Eerr_ErrorReport** err)
{
    return guarded<void*>(err, "edlm_GetAddr", nullptr, [&] {
        requireList(list);
        require(index >= 0 && index < list->count, "Index out of range");
        return at(*list, index);
    });
}

EMANTLE_API Edlm_List* edlm_CopyList(const Edlm_List* list, Eerr_ErrorReport** err)
{
    return guarded<Edlm_List*>(err, "edlm_CopyList", nullptr, [&](EerrException& scope) {
        requireList(list);
        ListPtr copy = bareCopy(*list, scope);
        if (list->index != nullptr) {
            copy->index = bareCopy(*list->index, scope).release();
            copy->compare = list->compare;
        }
        return copy.release();
    });
}

EMANTLE_API Edlm_List* edlm_CopyListEx(const Edlm_List* list, Edlm_CopyFunction copy, Edlm_FreeFunction release,
                                       Eerr_ErrorReport** err)
{
    return guarded<Edlm_List*>(err, "edlm_CopyListEx", nullptr, [&](EerrException& scope) {
        ListPtr made(checked(scope, edlm_CopyList(list, scope)));
        if (copy != nullptr) {
            deepen(*list, *made, copy, release, scope);
        }
        return made.release();
    });
}

EMANTLE_API void* edlm_Consolidate(Edlm_List* list, Eerr_ErrorReport** err)
{
    return guarded<void*>(err, "edlm_Consolidate", nullptr, [&]() -> void* {
        requireList(list);
        if (list->count == 0) {
            return nullptr;
        }
        if (list->count > list->chunkSize) {
            HeapPtr<char> all = allocate<char>(contentBytes(*list), noMemory);
            copyObjects(*list, all.get());
            freeChunks(*list);
            list->chunks[0] = all.release();
            list->chunkCount = 1;
            list->chunkSize = list->count;
            list->capacity = list->count;
        }
        return list->chunks[0];
    });
}

EMANTLE_API void* edlm_CopyToArray(const Edlm_List* list, void* array, Eerr_ErrorReport** err)
{
    return guarded<void*>(err, "edlm_CopyToArray", nullptr, [&]() -> void* {
        requireList(list);
        if (list->count == 0) {
            return nullptr;
        }
        HeapPtr<char> made = array == nullptr ? allocate<char>(contentBytes(*list), noMemory) : nullptr;
        copyObjects(*list, array == nullptr ? made.get() : static_cast<char*>(array));
        return array == nullptr ? made.release() : array;
    });
}

EMANTLE_API long edlm_CountList(const Edlm_List* list, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "edlm_CountList", 0, [&] {
        requireList(list);
        return list->count;
    });
}

EMANTLE_API Emsc_Boolean edlm_Pop(Edlm_List* list, void* object, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "edlm_Pop", 0, [&] {
        requireList(list);
        if (list->count == 0) {
            return 0;
        }
        if (object != nullptr) {
            std::memcpy(object, at(*list, list->count - 1), objectBytes(*list));
        }
        removeObject(*list, list->count - 1);
        return 1;
    });
}

EMANTLE_API void edlm_PrintList(const Edlm_List* list, Edlm_PrintFunction print, Eerr_ErrorReport** err)
{
    guarded(err, "edlm_PrintList", [&] {
        requireList(list);
        require(print != nullptr, "Bad argument");
        for (long index = 0; index < list->count; ++index) {
            print(index, at(*list, index));
        }
    });
}

EMANTLE_API void edlm_SortList(Edlm_List* list, Edlm_CompareFunction compare, Eerr_ErrorReport** err)
{
    guarded(err, "edlm_SortList", [&](EerrException& scope) {
        requireList(list);
        require(compare != nullptr, "Bad argument");
        ListPtr index = indexOf(*list, compare, scope);
        std::vector<char> sorted(contentBytes(*list));
        for (long place = 0; place < list->count; ++place) {
            auto& number = *reinterpret_cast<std::int32_t*>(at(*index, place));
            std::memcpy(sorted.data() + static_cast<std::size_t>(place) * objectBytes(*list), at(*list, number),
                        objectBytes(*list));
            number = static_cast<std::int32_t>(place);
        }
        for (long place = 0; place < list->count; ++place) {
            std::memcpy(at(*list, place), sorted.data() + static_cast<std::size_t>(place) * objectBytes(*list),
                        objectBytes(*list));
        }
        edlm_FreeList(list->index, nullptr);
        list->index = index.release();
        list->compare = compare;
    });
}

EMANTLE_API void edlm_FreeList(Edlm_List* list, Eerr_ErrorReport** err)
{
    edlm_FreeListAndContents(list, nullptr, err);
}

EMANTLE_API void edlm_FreeListAndContents(Edlm_List* list, Edlm_FreeFunction release, Eerr_ErrorReport** err)
{
    if (err != nullptr) {
        *err = nullptr;
    }
    if (list == nullptr) {
        return;
    }
    for (long index = 0; release != nullptr && index < list->count; ++index) {
        release(at(*list, index));
    }
    freeChunks(*list);
    emsc_HeapFree(list->chunks);
    edlm_FreeList(list->index, nullptr);
    emsc_HeapFree(list);
}
