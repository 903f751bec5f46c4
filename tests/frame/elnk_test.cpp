#include <emantle/frame/elnk.h>

#include <algorithm>
#include <gtest/gtest.h>
#include <iterator>
#include <list>
#include <random>
#include <vector>

namespace {

std::vector<long> linksOf(Elnk_List list, const Elnk_Pair* pair)
{
    std::vector<long> links;
    elnk_ListApplyFunction(
        list, pair,
        [](long index, void* data) -> Emsc_Boolean {
            static_cast<std::vector<long>*>(data)->push_back(index);
            return 1;
        },
        &links);
    return links;
}

class LinkLists : public testing::TestWithParam<bool> {};

} // namespace

INSTANTIATE_TEST_SUITE_P(SinglyAndDoubly, LinkLists, testing::Bool());

/* Two short lists in one record and its own list, against std::list, while links come and go. */
TEST_P(LinkLists, ManyListsShareOneArray)
{
    const Elnk_List list = elnk_ListAllocate(4, GetParam());
    Ebuf_Buffer* pairs = elnk_LinkAllocate(2);
    Elnk_Pair* ends[] = {nullptr, static_cast<Elnk_Pair*>(ebuf_BufferAddress(pairs, 0)),
                         static_cast<Elnk_Pair*>(ebuf_BufferAddress(pairs, 1))};
    std::list<long> expected[3];
    std::mt19937 random(1);
    for (int step = 0; step < 2000; ++step) {
        const std::size_t which = random() % 3;
        std::list<long>& wanted = expected[which];
        if (random() % 5 < 3 || wanted.empty()) {
            const long added = elnk_ListLinkAppend(list, ends[which]);
            ASSERT_FALSE(elnk_ListLinkIsFree(list, added));
            wanted.push_back(added);
        } else {
            const auto first = std::next(wanted.begin(), static_cast<long>(random() % wanted.size()));
            const long n = static_cast<long>(random() % 3) + 1;
            const long there = std::min<long>(n, std::distance(first, wanted.end()));
            const long freed = *first;
            ASSERT_EQ(elnk_ListLinkFree(list, ends[which], freed, n), there);
            ASSERT_TRUE(elnk_ListLinkIsFree(list, freed));
            wanted.erase(first, std::next(first, there));
        }
        ASSERT_EQ(elnk_ListHead(list, ends[which]), wanted.empty() ? -1 : wanted.front());
        ASSERT_EQ(elnk_ListTail(list, ends[which]), wanted.empty() ? -1 : wanted.back());
    }
    for (std::size_t which = 0; which < 3; ++which) {
        EXPECT_EQ(linksOf(list, ends[which]), std::vector<long>(expected[which].begin(), expected[which].end()));
    }
    ebuf_BufferFree(&pairs);
    elnk_ListFree(list);
}

TEST_P(LinkLists, RefuseLinksThatAreNotTheirs)
{
    const Elnk_List list = elnk_ListAllocate(2, GetParam());
    Elnk_Pair pair = {-1, -1};
    const long own = elnk_ListLinkAppend(list, nullptr);
    for (const long index : {-1L, 1L, 2L, 1000L}) {
        EXPECT_EQ(elnk_ListLinkFree(list, nullptr, index, 1), 0) << index;
        EXPECT_TRUE(elnk_ListLinkIsFree(list, index)) << index;
    }
    EXPECT_EQ(elnk_ListLinkFree(list, &pair, own, 1), 0);
    EXPECT_EQ(elnk_ListLinkFree(list, nullptr, own, 1), 1);
    EXPECT_EQ(elnk_ListLinkFree(list, nullptr, own, 1), 0);
    EXPECT_EQ(elnk_ListLinkAppend(list, nullptr), own) << "the link freed last is given out next";
    elnk_ListFree(list);
    EXPECT_EQ(elnk_ListLinkAppend(0, nullptr), -1);
    EXPECT_EQ(elnk_ListHead(0, nullptr), -1);
    elnk_ListFree(0);
}
