#include "store/hfa/store_fixture.h"

#include "support/captured_stderr.h"

#include <cmath>
#include <random>

namespace {

class Tree : public StoreTest {
protected:
    /* root: A (a1 a2 a3), B, C (c1 (x)) */
    void build()
    {
        create();
        for (const char* name : {"A", "B", "C"}) {
            seek(EHFA_SEEK_ROOT);
            write(EHFA_WRITE_LAST_CHILD, name, name[0] == 'B' ? "Other" : "T");
        }
        seek(EHFA_SEEK_PATH, ":A");
        write(EHFA_WRITE_LAST_CHILD, "a1");
        write(EHFA_WRITE_AFTER, "a3", "Other");
        write(EHFA_WRITE_BEFORE, "a2");
        seek(EHFA_SEEK_PATH, ":C");
        write(EHFA_WRITE_FIRST_CHILD, "c1");
        write(EHFA_WRITE_FIRST_CHILD, "x");
    }
    std::string lastMessage(const Report& report) { return report.records().empty() ? "" : *report.records().back().message; }
};

const std::vector<std::string> kAll{":", ":A:", ":A:a1:", ":A:a2:", ":A:a3:", ":B:", ":C:", ":C:c1:", ":C:c1:x:"};

TEST_F(Tree, IsTheSameThroughAFreshHandle)
{
    build();
    EXPECT_EQ(paths(), kAll);
    close();
    open("r");
    EXPECT_EQ(paths(), kAll);
    EXPECT_EQ(paths(":", nullptr, "Other"), (std::vector<std::string>{":A:a3:", ":B:"}));
    EXPECT_EQ(paths(":A", "a2"), (std::vector<std::string>{":A:a2:"}));
    EXPECT_EQ(paths(":", nullptr, "None"), std::vector<std::string>{});
}

TEST_F(Tree, EntryIsTheseBytes)
{
    create();
    seek(EHFA_SEEK_ROOT);
    write(EHFA_WRITE_LAST_CHILD, "A", "Type_A");
    const uint32_t a = file_->entryPtr;
    EXPECT_EQ(a, 508u);
    seek(EHFA_SEEK_ROOT);
    write(EHFA_WRITE_LAST_CHILD, std::string(63, 'n').c_str(), std::string(40, 't').c_str());
    const uint32_t b = file_->entryPtr;
    close();
    const Bytes bytes = bytesOf(name_);
    Bytes expectedA(128);
    setWord(expectedA, 0, b);
    setWord(expectedA, 8, 82);
    expectedA[24] = 'A';
    std::memcpy(&expectedA[88], "Type_A", 6);
    std::copy_n(bytes.begin() + 202, 8, expectedA.begin() + 120);
    EXPECT_EQ(Bytes(bytes.begin() + a, bytes.begin() + a + 128), expectedA);
    Bytes expectedB(128);
    setWord(expectedB, 4, a);
    setWord(expectedB, 8, 82);
    std::fill_n(expectedB.begin() + 24, 63, 'n');
    std::fill_n(expectedB.begin() + 88, 31, 't');
    std::copy_n(bytes.begin() + 202, 8, expectedB.begin() + 120);
    EXPECT_EQ(Bytes(bytes.begin() + b, bytes.begin() + b + 128), expectedB);
    EXPECT_EQ(word(bytes, 82 + 12), a);
    EXPECT_EQ(bytes.size(), 508u + 256u);
}

struct Move {
    const char* from;
    long method;
    const char* name;
    const char* to; /* null: there is nothing; the current entry stays for one-step methods */
};

TEST_F(Tree, IsWalkedByEveryMethod)
{
    build();
    const Move moves[] = {
        {":A:a2", 0, nullptr, ":"},       {":A:a2", 1, nullptr, ":A:a3:"},  {":A:a3", 1, nullptr, nullptr},
        {":A:a2", 2, nullptr, ":A:a1:"},  {":A:a1", 2, nullptr, nullptr},   {":A:a3", 3, nullptr, ":A:a1:"},
        {":A:a1", 4, nullptr, ":A:a3:"},  {":C", 5, nullptr, ":C:c1:"},     {":B", 5, nullptr, nullptr},
        {":C:c1:x", 6, nullptr, ":C:c1:"}, {":", 6, nullptr, nullptr},      {":A:a2", 7, "a3", ":A:a3:"},
        {":A:a2", 7, "a2", ":A:a2:"},     {":", 7, "B", ":B:"},             {":A:a1", 8, "a3", ":A:a3:"},
        {":A:a1", 8, ":C:c1:x:", ":C:c1:x:"}, {":A:a1", 8, "a2", ":A:a2:"}, {":C:c1:x", 9, nullptr, nullptr},
        {":A:a3", 9, nullptr, ":B:"},     {":A", 9, nullptr, ":A:a1:"},     {":A", 10, "Other", ":A:a3:"},
        {":A:a3", 10, "Other", ":B:"},    {":", 11, "x", ":C:c1:x:"},       {":A", 12, "a2", ":A:a2:"},
        {":", 12, "C", ":C:"},            {":A:a3", 13, "a1", ":A:a1:"},    {":A", 13, "C", ":C:"},
        {":A", 14, "Other", ":A:a3:"},    {":A:a3", 15, "T", ":A:a1:"},     {":A:a2", 16, "T", ":A:a2:"},
        {":", 17, ":A:a2:", ":A:a2:"},    {":A:a2", 17, nullptr, ":A:a2:"},
    };
    for (const bool fresh : {false, true}) {
        for (const Move& move : moves) {
            if (fresh) { /* with nothing known of the tree */
                close();
                open("r");
            }
            ASSERT_TRUE(seek(EHFA_SEEK_PATH, move.from));
            const std::string before = path();
            EXPECT_EQ(seek(move.method, move.name), move.to != nullptr) << move.from << " by " << move.method;
            EXPECT_EQ(path(), move.to != nullptr ? move.to : before) << move.from << " by " << move.method;
        }
    }
}

TEST_F(Tree, SaysWhyASeekCannotBe)
{
    build();
    const std::tuple<long, const char*, const char*> cases[] = {
        {19, nullptr, "Invalid seek method"},
        {-1, nullptr, "Invalid seek method"},
        {8, nullptr, "Name parameter must not be null for requested seek type"},
        {16, "", "Name parameter must not be null string"},
    };
    for (const auto& [method, name, text] : cases) {
        Report report;
        EXPECT_EQ(ehfa_EntrySeek(file_, method, name, report), nullptr);
        EXPECT_EQ(lastMessage(report), text);
    }
    EXPECT_NE(stderrOf([&] { seek(EHFA_SEEK_ROOT, "n"); }).find("Name parameter 'n' will be ignored"), std::string::npos);
    Report report;
    EXPECT_EQ(ehfa_EntryWrite(file_, 1, std::string(64, 'n').c_str(), "T", report), nullptr);
    EXPECT_EQ(lastMessage(report), "The length of EHFA entry name '" + std::string(64, 'n') + "' exceeds the 63 character maximum");
    Report none;
    EXPECT_EQ(ehfa_EntrySeek(nullptr, 0, nullptr, none), nullptr);
    EXPECT_EQ(lastMessage(none), "Invalid EHFA file handle");
}

TEST_F(Tree, RootIsNeitherRenamedNorGivenSiblings)
{
    create();
    for (const long method : {0L, 1L, 2L}) {
        seek(EHFA_SEEK_ROOT);
        write(method, ("n" + std::to_string(method)).c_str());
    }
    EXPECT_EQ(paths(), (std::vector<std::string>{":", ":n0:", ":n1:", ":n2:"}));
    seek(EHFA_SEEK_ROOT);
    EXPECT_STREQ(file_->entry->name, "root");
    ehfa_EntryDelete(file_, expected());
    EXPECT_EQ(paths(), (std::vector<std::string>{":"}));
    EXPECT_EQ(file_->entry->child, 0u);
}

TEST_F(Tree, KnowsTheNewPathsOfWhatWasRenamed)
{
    build();
    seek(EHFA_SEEK_PATH, ":C:c1:x");
    seek(EHFA_SEEK_PATH, ":C");
    write(EHFA_WRITE_CURRENT, "D", nullptr);
    EXPECT_STREQ(file_->entry->type, "T");
    EXPECT_EQ(path(), ":D:");
    EXPECT_FALSE(seek(EHFA_SEEK_PATH, ":C:c1:x"));
    EXPECT_TRUE(seek(EHFA_SEEK_PATH, ":D:c1:x"));
}

TEST_F(Tree, PeeksWithoutMoving)
{
    build();
    seek(EHFA_SEEK_PATH, ":A:a2");
    const std::pair<long, const char*> cases[] = {{0, "root"}, {1, "a3"}, {2, "a1"}, {3, "a1"}, {4, "a3"}, {5, nullptr}, {6, "A"}, {9, "a3"}};
    for (const auto& [method, name] : cases) {
        const Ehfa_Entry* entry = ehfa_EntryPeek(file_, method, expected());
        EXPECT_EQ(entry != nullptr ? std::string(entry->name) : "", name != nullptr ? name : "") << method;
        EXPECT_EQ(path(), ":A:a2:");
        EXPECT_STREQ(file_->entry->name, "a2");
    }
}

TEST_F(Tree, GoesBackToAPlaceAlsoAmongEqualNames)
{
    build();
    seek(EHFA_SEEK_PATH, ":A:a2");
    write(EHFA_WRITE_AFTER, "a2", "twin");
    Ehfa_EntryPosition* twin = ehfa_EntryPositionGet(file_, expected());
    seek(EHFA_SEEK_PREV);
    Ehfa_EntryPosition* first = ehfa_EntryPositionGet(file_, expected());
    EXPECT_STREQ(twin->path, first->path);
    for (const auto* place : {twin, first}) {
        seek(EHFA_SEEK_ROOT);
        EXPECT_TRUE(ehfa_EntryPositionSet(file_, place, expected()));
        EXPECT_EQ(file_->entryPtr, place->position);
    }
    ehfa_EntryDelete(file_, expected());
    Report report;
    EXPECT_FALSE(ehfa_EntryPositionSet(file_, first, report));
    EXPECT_EQ(lastMessage(report), "Cannot find entry position");
    EXPECT_EQ(path(), ":");
    ehfa_EntryPositionFree(twin, nullptr);
    ehfa_EntryPositionFree(first, nullptr);
    ehfa_EntryPositionFree(nullptr, nullptr);
}

TEST_F(Tree, MovesASubtree)
{
    build();
    EXPECT_TRUE(ehfa_EntryMove(file_, ":A:a1", ":C:c1:new", expected()));
    EXPECT_EQ(path(), ":C:c1:new:");
    EXPECT_TRUE(ehfa_EntryMove(file_, ":C", ":B:C", expected()));
    seek(EHFA_SEEK_PATH, ":B:C:c1");
    Report child;
    EXPECT_FALSE(ehfa_EntryMove(file_, "new", "Z", child)) << "a child of the current entry is no relative path";
    seek(EHFA_SEEK_PATH, ":B:C");
    EXPECT_TRUE(ehfa_EntryMove(file_, "C", "Z", expected()));
    const std::vector<std::string> after{":", ":A:", ":A:a2:", ":A:a3:", ":B:", ":B:Z:", ":B:Z:c1:", ":B:Z:c1:x:", ":B:Z:c1:new:"};
    EXPECT_EQ(paths(), after);
    const std::tuple<std::string, std::string, std::string> refused[] = {
        {":N", ":M", ":N|Node not found"},
        {":A", ":B", ":B|Node already exists for file " + name_},
        {":A", ":N:M", "Invalid 'move to' path"},
        {":B", ":B:Z:B", "Invalid 'move to' path"},
        {":A", ":" + std::string(64, 'n'), std::string(64, 'n') + ":  Name too long"},
    };
    for (const auto& [from, to, text] : refused) {
        Report report;
        EXPECT_FALSE(ehfa_EntryMove(file_, from.c_str(), to.c_str(), report));
        EXPECT_EQ(lastMessage(report), text);
    }
    close();
    open("r");
    EXPECT_EQ(paths(), after);
}

TEST_F(Tree, TakesManyEntriesInBatchMode)
{
    build();
    seek(EHFA_SEEK_PATH, ":B");
    ehfa_FileChange(file_, expected(), EHFA_OPTION_ENTRY_CACHING, 0, 0);
    write(EHFA_WRITE_FIRST_CHILD, "b1");
    write(EHFA_WRITE_FIRST_CHILD, "y");
    const std::tuple<long, const char*> refused[] = {{2, "Invalid write position for batch write mode"},
                                                     {4, "Invalid write position for batch write mode"}};
    for (const auto& [method, text] : refused) {
        Report report;
        EXPECT_EQ(ehfa_EntryWrite(file_, method, "n", "T", report), nullptr);
        EXPECT_EQ(lastMessage(report), text);
    }
    EXPECT_TRUE(seek(EHFA_SEEK_PARENT));
    write(EHFA_WRITE_AFTER, "b2");
    EXPECT_TRUE(seek(EHFA_SEEK_PARENT));
    EXPECT_FALSE(seek(EHFA_SEEK_PARENT)) << "the start of the batch";
    Report child, sibling, rename, seeking, deleting;
    ehfa_EntryWrite(file_, 3, "n", "T", child);
    EXPECT_EQ(lastMessage(child), "Cannot write additional offspring to a node in batch mode");
    ehfa_EntryWrite(file_, 1, "n", "T", sibling);
    EXPECT_EQ(lastMessage(sibling), "Cannot write before an existing node in batch mode");
    ehfa_EntryWrite(file_, 0, "n", "T", rename);
    EXPECT_EQ(lastMessage(rename), "Cannot change the name of the noCache start node in batch mode");
    ehfa_EntrySeek(file_, 0, nullptr, seeking);
    EXPECT_EQ(lastMessage(seeking), "Invalid seek method for writing w/o caching");
    ehfa_EntryDelete(file_, deleting);
    EXPECT_EQ(lastMessage(deleting), "Deletion not allowed while cache is not in use");
    ehfa_FileChange(file_, expected(), EHFA_OPTION_ENTRY_CACHING, 1, 0);
    EXPECT_EQ(path(), ":B:");
    EXPECT_EQ(paths(":B"), (std::vector<std::string>{":B:", ":B:b1:", ":B:b1:y:", ":B:b2:"}));
}

TEST_F(Tree, ReadsEntriesAsTheyLieInTheFile)
{
    create();
    write(EHFA_WRITE_LAST_CHILD, "A");
    write(EHFA_WRITE_LAST_CHILD, "a1");
    seek(EHFA_SEEK_ROOT);
    write(EHFA_WRITE_LAST_CHILD, "B");
    close();
    open("r");
    char byte[8];
    ehfa_FileMIFDataRead(file_, 500, 8, byte, expected());
    for (const char* expectedPath : {":A:", ":A:a1:", ":B:"}) {
        EXPECT_TRUE(seek(EHFA_SEEK_SEQUENTIAL));
        EXPECT_EQ(path(), expectedPath);
    }
    EXPECT_FALSE(seek(EHFA_SEEK_SEQUENTIAL)) << "the end of the file";
}

/* The tree in memory: nodes with children in order. */
struct Node {
    std::string name;
    std::vector<std::unique_ptr<Node>> children;
    Node* parent = nullptr;

    void list(const std::string& path, std::vector<std::string>& out) const
    {
        out.push_back(path);
        for (const auto& child : children) {
            child->list(path + child->name + ":", out);
        }
    }
    std::string path() const { return parent == nullptr ? ":" : parent->path() + name + ":"; }
    std::size_t index() const
    {
        return static_cast<std::size_t>(std::find_if(parent->children.begin(), parent->children.end(), [&](const auto& n) { return n.get() == this; }) - parent->children.begin());
    }
};

TEST_F(Tree, AgreesWithAModelThroughRandomChanges)
{
    create();
    std::mt19937 random(20);
    const auto pick = [&](std::size_t n) { return std::size_t(random() % n); };
    Node root{"root", {}, nullptr};
    int serial = 0;
    for (int round = 0; round < 600; ++round) {
        std::vector<Node*> nodes{&root};
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            for (const auto& child : nodes[i]->children) {
                nodes.push_back(child.get());
            }
        }
        Node* node = nodes[pick(nodes.size())];
        ASSERT_TRUE(seek(EHFA_SEEK_PATH, node->path().c_str())) << node->path();
        ASSERT_EQ(path(), node->path());
        const std::size_t what = pick(nodes.size() > 40 ? 8 : 6);
        if (what < 4 || node == &root) {
            const long method = 1 + static_cast<long>(what % 4);
            auto fresh = std::make_unique<Node>(Node{"n" + std::to_string(serial++), {}, node});
            write(method, fresh->name.c_str());
            Node* parent = node;
            std::size_t at = method == EHFA_WRITE_FIRST_CHILD ? 0 : node->children.size();
            if (node != &root && method <= EHFA_WRITE_BEFORE) {
                parent = node->parent;
                at = node->index() + (method == EHFA_WRITE_AFTER ? 1 : 0);
            }
            fresh->parent = parent;
            EXPECT_EQ(path(), fresh->path());
            parent->children.insert(parent->children.begin() + static_cast<long>(at), std::move(fresh));
        } else if (what == 4) {
            node->name = "r" + std::to_string(serial++);
            write(EHFA_WRITE_CURRENT, node->name.c_str(), nullptr);
        } else if (what == 5) {
            Node* parent = nodes[pick(nodes.size())];
            for (Node* up = parent; parent != nullptr && up != nullptr; up = up->parent) {
                parent = up == node ? nullptr : parent;
            }
            if (parent == nullptr) {
                continue;
            }
            const std::string name = "m" + std::to_string(serial++);
            EXPECT_TRUE(ehfa_EntryMove(file_, node->path().c_str(), (parent->path() + name).c_str(), expected()));
            auto place = node->parent->children.begin() + static_cast<long>(node->index());
            std::unique_ptr<Node> moved = std::move(*place);
            node->parent->children.erase(place);
            moved->name = name;
            moved->parent = parent;
            parent->children.push_back(std::move(moved));
        } else {
            ehfa_EntryDelete(file_, expected());
            Node* parent = node->parent;
            const std::size_t at = node->index();
            parent->children.erase(parent->children.begin() + static_cast<long>(at));
            const Node* now = at < parent->children.size() ? parent->children[at].get()
                              : at > 0                     ? parent->children[at - 1].get()
                                                           : parent;
            EXPECT_EQ(path(), now->path());
        }
        if (round % 50 == 49) {
            std::vector<std::string> model;
            root.list(":", model);
            ASSERT_EQ(paths(), model) << round;
            if (round % 100 == 99) {
                close();
                open();
                ASSERT_EQ(paths(), model) << round;
            }
        }
    }
    Ehfa_CheckTotals totals;
    EXPECT_TRUE(ehfa_FileCheck(file_, nullptr, nullptr, &totals, expected()));
    EXPECT_EQ(totals.findings, 0);
    EXPECT_EQ(totals.lost, 0);
    EXPECT_EQ(totals.live, 508 + 128 * (totals.entries - 1));
}

}  // namespace
