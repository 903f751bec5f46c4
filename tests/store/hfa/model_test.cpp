// Drives a store and a model of it in memory with the same random operations. A sequence that ends in a difference is cut
// down to one in which every operation is needed, and printed. EMANTLE_MODEL_OPERATIONS asks for more of them,
// EMANTLE_MODEL_SEED for others.

#include "store/hfa/store_fixture.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <random>
#include <sstream>

namespace {

constexpr int kNodes = 120; /* about so many entries, then as many go as come */

enum Kind { kAdd, kWrite, kDelete, kMove, kRename, kFlush, kHoldBack, kBatch, kStream, kReopen, kKinds };
constexpr const char* kKindNames[] = {"add", "write", "delete", "move", "rename", "flush", "hold back", "batch", "stream", "reopen"};
constexpr int kWeights[] = {30, 30, 12, 8, 6, 2, 1, 2, 6, 3};
static_assert(std::size(kKindNames) == kKinds && std::size(kWeights) == kKinds);

/* What an operation works on follows from these numbers and what is there: any part of a sequence is a sequence. */
struct Operation {
    Kind kind;
    std::uint32_t a, b, c;
};

struct Node {
    std::string name;
    std::string type = "T";
    std::string data;
    bool isStream = false;
    Node* parent = nullptr;
    std::vector<std::unique_ptr<Node>> children;

    std::string path() const { return parent == nullptr ? ":" : parent->path() + name + ":"; }
    bool has(const std::string& child) const
    {
        return std::ranges::any_of(children, [&](const auto& node) { return node->name == child; });
    }
    std::size_t place() const
    {
        return static_cast<std::size_t>(std::ranges::find(parent->children, this, [](const auto& node) { return node.get(); }) - parent->children.begin());
    }
    bool isBelow(const Node& other) const
    {
        const Node* node = this;
        while (node != nullptr && node != &other) {
            node = node->parent;
        }
        return node != nullptr;
    }
    Node& insert(std::size_t at, std::string childName)
    {
        auto node = std::make_unique<Node>();
        node->name = std::move(childName);
        node->parent = this;
        return **children.insert(children.begin() + static_cast<std::ptrdiff_t>(at), std::move(node));
    }
    void collect(std::vector<Node*>& all)
    {
        for (auto& child : children) {
            all.push_back(child.get());
            child->collect(all);
        }
    }
};

std::string bytesFor(std::uint32_t seed)
{
    constexpr std::size_t kSizes[] = {0, 1, 7, 8, 9, 16, 24, 100, 128, 5000};
    std::string bytes(kSizes[seed % std::size(kSizes)] + (seed >> 8) % 3, '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<char>(seed + 31 * i);
    }
    return bytes;
}

std::string nameFor(std::uint32_t seed)
{
    return seed % 16 == 0 ? std::string(63, static_cast<char>('a' + seed / 16 % 26)) : "n" + std::to_string(seed % 40);
}

/* Thrown where store and model are not the same. */
struct Difference {
    std::string text;
};

class Drive {
public:
    explicit Drive(std::string name) : name_(std::move(name))
    {
        std::filesystem::remove(name_);
        file_ = ehfa_FileCreate(name_.c_str(), eint_GetInit(), nullptr);
    }
    ~Drive() { ehfa_FileClose(file_, nullptr); }
    Drive(const Drive&) = delete;
    Drive& operator=(const Drive&) = delete;

    void apply(const Operation& o)
    {
        std::vector<Node*> all;
        root_.collect(all);
        Node* node = all.empty() ? nullptr : all[o.a % all.size()];
        switch (o.kind) {
        case kAdd: add(all.size() > kNodes ? nullptr : o.a % 8 == 0 || node == nullptr ? &root_ : node, o); return;
        case kFlush: need(ehfa_FileFlush(file_, report_)); return;
        case kHoldBack: need(ehfa_FileChange(file_, report_, int{EHFA_OPTION_FLUSH_ON_WRITE}, int(o.a % 2), 0)); return;
        case kReopen: reopen(); return;
        default: break;
        }
        if (node == nullptr) {
            return;
        }
        switch (o.kind) {
        case kWrite: rewrite(*node, o); return;
        case kDelete: remove(*node); return;
        case kMove: move(*node, o.b % 8 == 0 ? root_ : *all[o.b % all.size()], nameFor(o.c)); return;
        case kRename: rename(*node, nameFor(o.b)); return;
        case kBatch: batch(*node, o); return;
        default: stream(*node, o); return;
        }
    }

    void reopen()
    {
        need(ehfa_FileClose(std::exchange(file_, nullptr), report_));
        file_ = ehfa_FileOpen(name_.c_str(), "r+b", eint_GetInit(), report_);
        need(file_);
        Ehfa_CheckTotals totals;
        std::string findings;
        need(ehfa_FileCheck(file_, noteFinding, &findings, &totals, report_));
        if (!findings.empty()) {
            throw Difference{findings};
        }
        std::vector<Node*> all;
        root_.collect(all);
        need(ehfa_EntrySeek(file_, EHFA_SEEK_ROOT, nullptr, report_));
        for (const Node* node : all) {
            const Ehfa_Entry* entry = ehfa_EntrySeek(file_, EHFA_SEEK_DEPTH_NEXT, nullptr, report_);
            const std::string there = entry != nullptr ? std::string(file_->path) + " of type " + entry->type : "nothing";
            const std::string wanted = node->path() + " of type " + (node->isStream ? "Ehfa_CacheNode" : node->type);
            if (there != wanted) {
                throw Difference{there + " in place of " + wanted};
            }
            if (!node->isStream) {
                compare(*node, entry);
            }
        }
        if (ehfa_EntrySeek(file_, EHFA_SEEK_DEPTH_NEXT, nullptr, report_) != nullptr) {
            throw Difference{std::string(file_->path) + " is too many"};
        }
        for (const Node* node : all) {
            if (node->isStream) {
                compareStream(*node);
            }
        }
    }

private:
    template <class Answer>
    void need(Answer answer, long line = __builtin_LINE())
    {
        if (report_.get() != nullptr || !answer) {
            const std::string text = told(report_);
            eerr_DeleteErrorReportEx(report_);
            throw Difference{"line " + std::to_string(line) + ": " + text};
        }
    }

    static Emsc_Boolean noteFinding(const Ehfa_CheckItem* item, void* data)
    {
        if (item->finding != nullptr && std::string(item->finding) != "the dictionary has no design of this type") {
            *static_cast<std::string*>(data) += item->path + std::string(" ") + item->finding + "\n";
        }
        return 1;
    }

    void seek(const Node& node) { need(ehfa_EntrySeek(file_, EHFA_SEEK_PATH, node.path().c_str(), report_)); }

    void add(Node* at, const Operation& o)
    {
        const std::string name = nameFor(o.b);
        const bool besides = at != nullptr && at != &root_ && o.c % 2 == 0;
        Node* parent = besides ? at->parent : at;
        if (parent == nullptr || parent->has(name)) {
            return;
        }
        const bool second = o.c / 2 % 2 == 0;
        const long method = besides ? (second ? EHFA_WRITE_AFTER : EHFA_WRITE_BEFORE)
                                    : (second ? EHFA_WRITE_LAST_CHILD : EHFA_WRITE_FIRST_CHILD);
        const std::size_t place = besides ? at->place() + (second ? 1 : 0) : second ? parent->children.size() : 0;
        const std::string bytes = bytesFor(o.c);
        need(ehfa_ObjectDataWrite(file_, at->path().c_str(), name.c_str(), "T", method, bytes.data(), static_cast<long>(bytes.size()), report_));
        parent->insert(place, name).data = bytes;
    }

    void rewrite(Node& node, const Operation& o)
    {
        if (node.isStream) {
            return;
        }
        const std::string bytes = bytesFor(o.b);
        node.type = "T" + std::to_string(o.c % 3);
        need(ehfa_ObjectDataWrite(file_, node.path().c_str(), nullptr, node.type.c_str(), EHFA_WRITE_CURRENT, bytes.data(), static_cast<long>(bytes.size()), report_));
        node.data = bytes;
    }

    void remove(Node& node)
    {
        std::vector<Node*> below{&node};
        node.collect(below);
        for (const Node* stream : below) {
            /* The blocks of a block store are given back by its own call only. */
            if (stream->isStream && stream->children.empty()) {
                need(ehfa_CacheDelete(file_, ("(" + trimmed(stream->path()) + ")").c_str(), report_));
                dropFromModel(*stream);
                return;
            }
        }
        seek(node);
        need(ehfa_EntryDelete(file_, report_));
        dropFromModel(node);
    }

    static void dropFromModel(const Node& node)
    {
        node.parent->children.erase(node.parent->children.begin() + static_cast<std::ptrdiff_t>(node.place()));
    }

    void move(Node& node, Node& target, const std::string& name)
    {
        const std::string destination = target.path() + name;
        const bool refused = target.isBelow(node) || target.has(name);
        const Emsc_Boolean moved = ehfa_EntryMove(file_, node.path().c_str(), destination.c_str(), report_);
        if (refused && !moved) {
            eerr_DeleteErrorReportEx(report_);
            return;
        }
        need(moved && !refused);
        std::unique_ptr<Node> held = std::move(node.parent->children[node.place()]);
        std::erase(held->parent->children, nullptr);
        held->name = name;
        held->parent = &target;
        target.children.push_back(std::move(held));
    }

    void rename(Node& node, const std::string& name)
    {
        if (node.parent->has(name)) {
            return;
        }
        seek(node);
        need(ehfa_EntryWrite(file_, EHFA_WRITE_CURRENT, name.c_str(), nullptr, report_));
        node.name = name;
    }

    void batch(Node& node, const Operation& o)
    {
        if (!node.children.empty()) {
            return;
        }
        seek(node);
        need(ehfa_FileChange(file_, report_, int{EHFA_OPTION_ENTRY_CACHING}, 0, 0));
        for (std::uint32_t i = 0; i <= o.b % 3; ++i) {
            const std::string name = "batch" + std::to_string(i);
            const std::string bytes = bytesFor(o.c + i);
            need(ehfa_ObjectDataWrite(file_, nullptr, name.c_str(), "T", i == 0 ? EHFA_WRITE_FIRST_CHILD : EHFA_WRITE_AFTER, bytes.data(), static_cast<long>(bytes.size()), report_));
            node.insert(i, name).data = bytes;
        }
        need(ehfa_FileChange(file_, report_, int{EHFA_OPTION_ENTRY_CACHING}, 1, 0));
    }

    static std::string trimmed(const std::string& path) { return path.substr(0, path.size() - 1); }

    /* Writes into the block store below a node, which is made where it is not there yet. */
    void stream(Node& node, const Operation& o)
    {
        const auto found = std::ranges::find_if(node.children, [](const auto& child) { return child->isStream; });
        const bool isNew = found == node.children.end();
        if (isNew && node.has("stream")) {
            return;
        }
        const std::string path = "(" + (isNew ? node.path() + "stream" : trimmed((*found)->path())) + ")";
        Ehfa_Cache* cache = isNew ? ehfa_CacheCreate(file_, path.c_str(), report_) : ehfa_CacheOpen(file_, path.c_str(), report_);
        need(cache);
        Node& child = isNew ? node.insert(node.children.size(), "stream") : **found;
        child.isStream = true;
        const long at = static_cast<long>(o.b % (child.data.size() + 1));
        const std::string bytes = bytesFor(o.c);
        const bool written = ehfa_CacheSeek(cache, at, 0, report_) && ehfa_CacheWrite(cache, bytes.data(), static_cast<long>(bytes.size()), report_) >= 0;
        if (o.c % 5 == 0 && cache->blockCount > 0) {
            ehfa_CacheReduce(cache, report_);
        }
        const auto length = static_cast<std::size_t>(cache->byteCount);
        const Emsc_Boolean closed = report_.get() == nullptr ? ehfa_CacheClose(cache, report_) : 0;
        need(written && closed);
        child.data.resize(std::max(child.data.size(), static_cast<std::size_t>(at) + bytes.size()));
        child.data.replace(static_cast<std::size_t>(at), bytes.size(), bytes);
        child.data.resize(length);
    }

    void compare(const Node& node, const Ehfa_Entry* entry)
    {
        std::string bytes(static_cast<std::size_t>(std::max(0, entry->dataSize)), '?');
        if (!bytes.empty()) {
            need(ehfa_FileMIFDataRead(file_, entry->data, entry->dataSize, bytes.data(), report_));
        }
        if (bytes != node.data) {
            throw Difference{"the data of " + node.path()};
        }
    }

    void compareStream(const Node& node)
    {
        Ehfa_Cache* cache = ehfa_CacheOpen(file_, ("(" + trimmed(node.path()) + ")").c_str(), report_);
        need(cache);
        std::string bytes(node.data.size() + 1, '?');
        const long size = ehfa_CacheRead(cache, bytes.data(), static_cast<long>(bytes.size()), report_);
        need(ehfa_CacheClose(cache, report_));
        if (size != static_cast<long>(node.data.size()) || bytes.compare(0, node.data.size(), node.data) != 0) {
            throw Difference{"the stream of " + node.path()};
        }
    }

    std::string name_;
    Ehfa_File* file_;
    Node root_;
    Report report_;
};

class TheStore : public StoreTest {
protected:
    std::string differenceAfter(const std::vector<Operation>& operations)
    {
        try {
            Drive run(name_);
            for (const Operation& operation : operations) {
                run.apply(operation);
            }
            run.reopen();
        } catch (const Difference& difference) {
            return difference.text;
        }
        return "";
    }

    /* Leaves out what can be left out, in ever smaller pieces. */
    std::vector<Operation> shrunk(std::vector<Operation> operations)
    {
        for (std::size_t piece = operations.size() / 2; piece > 0; piece /= 2) {
            for (std::size_t at = 0; at < operations.size();) {
                std::vector<Operation> fewer = operations;
                const auto first = fewer.begin() + static_cast<std::ptrdiff_t>(at);
                fewer.erase(first, first + static_cast<std::ptrdiff_t>(std::min(piece, operations.size() - at)));
                if (!differenceAfter(fewer).empty()) {
                    operations = std::move(fewer);
                } else {
                    at += piece;
                }
            }
        }
        return operations;
    }

    std::string described(const std::vector<Operation>& operations)
    {
        std::ostringstream text;
        text << differenceAfter(operations) << '\n';
        for (const Operation& o : operations) {
            text << "{" << kKindNames[o.kind] << ", " << o.a << ", " << o.b << ", " << o.c << "}\n";
        }
        return text.str();
    }
};

TEST_F(TheStore, IsWhatTheModelIs)
{
    const char* count = std::getenv("EMANTLE_MODEL_OPERATIONS");
    const char* seed = std::getenv("EMANTLE_MODEL_SEED");
    long left = count != nullptr ? std::atol(count) : 20000;
    std::mt19937 random(seed != nullptr ? static_cast<std::uint32_t>(std::atol(seed)) : 1u);
    std::discrete_distribution<int> kinds(std::begin(kWeights), std::end(kWeights));
    while (left > 0) {
        std::vector<Operation> operations(static_cast<std::size_t>(std::min(left, 5000L)));
        for (Operation& o : operations) {
            o = {static_cast<Kind>(kinds(random)), static_cast<std::uint32_t>(random()), static_cast<std::uint32_t>(random()), static_cast<std::uint32_t>(random())};
        }
        if (!differenceAfter(operations).empty()) {
            FAIL() << described(shrunk(operations));
        }
        left -= static_cast<long>(operations.size());
    }
}

}  // namespace
