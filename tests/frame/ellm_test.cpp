#include <emantle/frame/ellm.h>

#include <gtest/gtest.h>
#include <string>

namespace {

struct Letter {
    Ellm_Node node{};
    char letter;
};

/* Forward, and "!" where the way back differs. */
std::string read(void* list)
{
    std::string forward;
    for (auto* node = static_cast<Ellm_Node*>(ellm_Start(list)); node != nullptr; node = node->next) {
        forward += reinterpret_cast<Letter*>(node)->letter;
    }
    std::string backward;
    for (auto* node = static_cast<Ellm_Node*>(ellm_End(list)); node != nullptr; node = node->previous) {
        backward.insert(0, 1, reinterpret_cast<Letter*>(node)->letter);
    }
    return forward == backward && ellm_Count(list) == static_cast<long>(forward.size()) ? forward : "!" + forward;
}

} // namespace

TEST(IntrusiveList, NodesAndChainsGoWhereTheyAreSent)
{
    Letter a{{}, 'a'}, b{{}, 'b'}, c{{}, 'c'}, d{{}, 'd'}, x{{}, 'x'}, y{{}, 'y'};
    EXPECT_EQ(ellm_Add(nullptr, ELLM_AFTER, &a), &a);
    EXPECT_EQ(ellm_Add(&a, ELLM_AFTER, &c), &c);
    EXPECT_EQ(ellm_AddToList(&c, ELLM_BEFORE, &b), &a);
    EXPECT_EQ(ellm_AddToList(&c, ELLM_AT_START, &d), &d);
    EXPECT_EQ(read(&b), "dabc");
    ellm_Add(&x, ELLM_AFTER, &y);
    ellm_Add(&a, ELLM_AFTER, &x);
    EXPECT_EQ(read(&d), "daxybc");
    Letter z{{}, 'z'};
    ellm_Add(&d, 7, &z);
    EXPECT_EQ(ellm_Count(&d), 6);
    ellm_Add(&d, ELLM_AT_END, &z);
    EXPECT_EQ(read(&y), "daxybcz");
    EXPECT_EQ(ellm_AddToList(nullptr, ELLM_AT_END, &z), &d);
}

TEST(IntrusiveList, TheEndsCanGo)
{
    Letter a{{}, 'a'}, b{{}, 'b'}, c{{}, 'c'}, x{{}, 'x'};
    ellm_Add(&a, ELLM_AT_END, &b);
    ellm_Add(&a, ELLM_AT_END, &c);
    EXPECT_EQ(ellm_Replace(&b, &x), &x);
    EXPECT_EQ(read(&a), "axc");
    EXPECT_EQ(ellm_DeleteFromList(&c, &a), &x);
    EXPECT_EQ(read(&x), "xc");
    EXPECT_EQ(ellm_DeleteFromList(&x, &c), &x);
    EXPECT_EQ(ellm_DeleteFromList(&x, &x), nullptr);
    EXPECT_EQ(ellm_Count(nullptr), 0);
    EXPECT_EQ(ellm_Delete(nullptr), nullptr);
}
