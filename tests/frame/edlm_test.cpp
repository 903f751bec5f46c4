#include "platform/faults.h"
#include "support/chain.h"

#include <emantle/frame/edlm.h>
#include <emantle/frame/emsc/heap.h>

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <random>
#include <string>
#include <vector>

using emantle::platform::FaultInjection;
using emantle::platform::Operation;

namespace {

struct Free {
    void operator()(Edlm_List* list) const { edlm_FreeList(list, nullptr); }
};
using ListPtr = std::unique_ptr<Edlm_List, Free>;

ListPtr listOf(const std::vector<int>& values, long chunkSize = 3)
{
    ListPtr list(edlm_InitList(sizeof(int), chunkSize, nullptr));
    for (const int value : values) {
        edlm_Add(list.get(), &value, nullptr);
    }
    return list;
}

std::vector<int> valuesOf(const Edlm_List* list)
{
    std::vector<int> values(static_cast<std::size_t>(list->count));
    edlm_CopyToArray(list, values.data(), nullptr);
    return values;
}

/* What the index says, read through the list. */
std::vector<int> indexedValues(const Edlm_List* list)
{
    std::vector<int> values;
    for (const int number : valuesOf(list->index)) {
        values.push_back(*static_cast<int*>(edlm_GetAddr(list, number, nullptr)));
    }
    return values;
}

int compareInts(const void* a, const void* b)
{
    const int first = *static_cast<const int*>(a);
    const int second = *static_cast<const int*>(b);
    return (first > second) - (first < second);
}

int compareTens(const void* a, const void* b)
{
    return *static_cast<const int*>(a) / 10 - *static_cast<const int*>(b) / 10;
}

template <class Call> std::string failureOf(Call call)
{
    Report report;
    call(static_cast<Eerr_ErrorReport**>(report));
    return report.records().empty() ? "" : report.records().front().message.value_or("");
}

} // namespace

/* Random changes against std::vector, without and with an index, across chunk limits. */
TEST(RecordList, AgreesWithAVector)
{
    for (const bool indexed : {false, true}) {
        const ListPtr list = listOf({}, 4);
        if (indexed) {
            edlm_SortList(list.get(), compareInts, nullptr);
        }
        std::vector<int> expected;
        std::mt19937 random(3);
        for (int step = 0; step < 1200; ++step) {
            const int value = static_cast<int>(random() % 50);
            const auto at = expected.empty() ? 0L : static_cast<long>(random() % expected.size());
            const unsigned what = random() % 10;
            if (what < 4 || expected.empty()) {
                ASSERT_EQ(edlm_Add(list.get(), &value, nullptr), static_cast<long>(expected.size()));
                expected.push_back(value);
            } else if (what < 6) {
                ASSERT_TRUE(edlm_Insert(list.get(), at, &value, nullptr));
                expected.insert(expected.begin() + at, value);
            } else if (what < 7) {
                ASSERT_TRUE(edlm_Replace(list.get(), at, &value, nullptr));
                expected[static_cast<std::size_t>(at)] = value;
            } else if (what < 9) {
                ASSERT_TRUE(edlm_Delete(list.get(), at, nullptr));
                expected.erase(expected.begin() + at);
            } else {
                int popped = -1;
                ASSERT_TRUE(edlm_Pop(list.get(), &popped, nullptr));
                ASSERT_EQ(popped, expected.back());
                expected.pop_back();
            }
            ASSERT_EQ(valuesOf(list.get()), expected) << "step " << step;
            const long found = edlm_FindOnList(list.get(), &value, nullptr, nullptr);
            ASSERT_EQ(found >= 0, std::count(expected.begin(), expected.end(), value) > 0);
            if (indexed) {
                std::vector<int> sorted = expected;
                std::sort(sorted.begin(), sorted.end());
                ASSERT_EQ(indexedValues(list.get()), sorted) << "step " << step;
            }
        }
    }
}

TEST(RecordList, ObjectsStayWhereTheyAreWhenItGrows)
{
    const ListPtr list = listOf({5});
    const void* first = edlm_GetAddr(list.get(), 0, nullptr);
    for (int value = 0; value < 1000; ++value) {
        edlm_Add(list.get(), &value, nullptr);
    }
    EXPECT_EQ(edlm_GetAddr(list.get(), 0, nullptr), first);
    EXPECT_EQ(list->capacity, 1002);
    EXPECT_GT(list->indexCapacity, 32);
    const int* all = static_cast<int*>(edlm_Consolidate(list.get(), nullptr));
    EXPECT_EQ(all[1000], 999);
    EXPECT_EQ(list->chunkCount, 1);
    EXPECT_EQ(edlm_AddIfUnique(list.get(), &all[7], nullptr), 7);
    const int fresh = -1;
    EXPECT_EQ(edlm_AddIfUnique(list.get(), &fresh, nullptr), 1001);
    /* An object of the list itself is the source while the list moves under it. */
    edlm_Insert(list.get(), 0, edlm_GetAddr(list.get(), 1001, nullptr), nullptr);
    EXPECT_EQ(valuesOf(list.get()).front(), -1);
}

TEST(RecordList, SortingKeepsEqualObjectsInOrderAndCopiesKeepTheIndex)
{
    const ListPtr list = listOf({31, 12, 35, 11, 2, 14, 30});
    edlm_SortList(list.get(), compareTens, nullptr);
    EXPECT_EQ(valuesOf(list.get()), (std::vector<int>{2, 12, 11, 14, 31, 35, 30}));
    const ListPtr copy(edlm_CopyList(list.get(), nullptr));
    const int wanted = 19;
    EXPECT_EQ(edlm_FindOnList(copy.get(), &wanted, nullptr, nullptr), 1);
    EXPECT_EQ(edlm_FindOnList(copy.get(), &wanted, compareInts, nullptr), -1);
    edlm_ResetList(copy.get(), nullptr);
    EXPECT_EQ(edlm_Add(copy.get(), &wanted, nullptr), 0);
    EXPECT_EQ(valuesOf(list.get()).size(), 7u);
}

TEST(RecordList, OwnedContentsAreCopiedAndGivenBack)
{
    using Text = char*;
    const auto duplicate = [](const void* source, void* target, Eerr_ErrorReport** err) {
        char* text = *static_cast<Text const*>(source);
        if (*text == '!') {
            *err = eerr_CreateErrorReport("copy", 1, EERR_ERROR, nullptr, "refused");
        }
        auto* made = static_cast<char*>(emsc_HeapMalloc(8));
        std::strcpy(made, text);
        *text == '!' ? emsc_HeapFree(made) : void(*static_cast<Text*>(target) = made);
    };
    const auto release = [](void* object) { emsc_HeapFree(*static_cast<Text*>(object)); };
    Edlm_List* list = edlm_InitList(sizeof(Text), 1, nullptr);
    for (const char* text : {"a", "b", "!"}) {
        auto* made = static_cast<char*>(emsc_HeapMalloc(8));
        std::strcpy(made, text);
        edlm_Add(list, &made, nullptr);
    }
    Report report;
    EXPECT_EQ(edlm_CopyListEx(list, duplicate, release, report), nullptr);
    EXPECT_EQ(report.records(), (std::vector<Record>{{"edlm_CopyListEx", "Error copying list"}, {"copy", "refused"}}));
    **static_cast<Text*>(edlm_GetAddr(list, 2, nullptr)) = 'c';
    Edlm_List* copy = edlm_CopyListEx(list, duplicate, release, nullptr);
    edlm_FreeListAndContents(list, release, nullptr);
    EXPECT_STREQ(*static_cast<Text*>(edlm_GetAddr(copy, 2, nullptr)), "c");
    edlm_FreeListAndContents(copy, release, nullptr);
}

TEST(RecordList, FailuresSayWhatIsWrong)
{
    using Err = Eerr_ErrorReport**;
    const ListPtr list = listOf({});
    Edlm_List* empty = list.get();
    const int value = 1;
    EXPECT_EQ(failureOf([](Err err) { EXPECT_EQ(edlm_InitList(0, 8, err), nullptr); }), "Illegal value passed in");
    EXPECT_EQ(failureOf([](Err err) { EXPECT_EQ(edlm_InitList(8, -1, err), nullptr); }), "Illegal value passed in");
    EXPECT_EQ(failureOf([](Err err) { edlm_CountList(nullptr, err); }), "Null List passed.");
    EXPECT_EQ(failureOf([&](Err err) { EXPECT_EQ(edlm_Add(empty, nullptr, err), -1); }), "Bad argument");
    EXPECT_EQ(failureOf([&](Err err) { edlm_Delete(empty, 0, err); }), "Attempt to delete from empty list");
    EXPECT_EQ(failureOf([&](Err err) { edlm_Replace(empty, 0, &value, err); }), "Attempt to replace in empty list");
    edlm_Add(empty, &value, nullptr);
    EXPECT_EQ(failureOf([&](Err err) { edlm_Delete(empty, 1, err); }), "Attempt to delete item not on list");
    EXPECT_EQ(failureOf([&](Err err) { edlm_Replace(empty, -1, &value, err); }), "Attempt to replace item not on list");
    EXPECT_EQ(failureOf([&](Err err) { edlm_Insert(empty, 1, &value, err); }),
              "Attempt to insert before item not on list");
    EXPECT_EQ(failureOf([&](Err err) { edlm_GetAddr(empty, 1, err); }), "Index out of range");
    edlm_SortList(empty, compareInts, nullptr);
    empty->index->count = 0;
    EXPECT_EQ(failureOf([&](Err err) { edlm_Add(empty, &value, err); }), "Invalid index list");
    empty->count = 100;
    EXPECT_EQ(failureOf([&](Err err) { edlm_GetAddr(empty, 50, err); }), "Edlm_List corrupted");
    empty->count = 1;
}

TEST(RecordList, NoMemoryLeavesTheListAsItWas)
{
    const ListPtr list = listOf({3, 1, 2});
    edlm_SortList(list.get(), compareInts, nullptr);
    const int value = 0;
    for (int nth = 1; nth <= 3; ++nth) {
        const FaultInjection full(Operation::allocate, static_cast<std::uint64_t>(nth),
                                  emantle::platform::Outcome::noMemory());
        Report report;
        if (edlm_Add(list.get(), &value, report) >= 0) {
            break;
        }
        EXPECT_EQ(report.records(), (std::vector<Record>{{"edlm_Add", "Out of memory"}})) << nth;
        EXPECT_EQ(valuesOf(list.get()), (std::vector<int>{1, 2, 3}));
        EXPECT_EQ(indexedValues(list.get()), (std::vector<int>{1, 2, 3}));
    }
    EXPECT_EQ(indexedValues(list.get()), (std::vector<int>{0, 1, 2, 3}));
}
