#include "store/wreck.h"

#include "console/interrupt.h"
#include "console/owned.h"
#include "store/designs.h"

#include <emantle/frame/eint.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace tool {

namespace {

using FilePtr = Owned<Ehfa_File, ehfa_FileClose>;
using DictionaryPtr = Owned<Emif_Dictionary, emif_DictionaryDelete>;

constexpr char kLabel[] = "EHFA_HEADER_TAG"; /* with its NUL the first 16 bytes */
constexpr char kFirstDesign[] = "{1:lversion,1:LfreeList,1:LrootEntryPtr,";
constexpr std::size_t kHeaderSize = 18;
constexpr std::size_t kNameInEntry = 24;
constexpr std::size_t kTypeInEntry = 88;
constexpr std::size_t kDepthLimit = 1000;
constexpr std::uint32_t kFileLimit = 0x7fffffff;

std::string below(const std::string& path, const char* name)
{
    return (path == ":" ? path : path + ":") + oneLine(name);
}

/* The name of a design, which stands behind its last brace. */
std::string typeOf(const std::string& design)
{
    const std::size_t name = design.rfind('}') + 1;
    return design.substr(name, design.size() - name - 1);
}

/* What types look like where the dictionary does not tell them: a word, and nothing behind it. */
bool isPlainType(const char* type)
{
    const std::size_t length = std::strlen(type);
    return length > 2 && std::isalpha(static_cast<unsigned char>(*type)) != 0 &&
           std::all_of(type, type + length, [](unsigned char c) { return std::isalnum(c) != 0 || c == '_'; }) &&
           std::all_of(type + length, type + EHFA_TYPE_MAX + 1, [](char c) { return c == '\0'; });
}

bool isPrintable(const std::uint8_t* text, std::size_t size)
{
    return std::all_of(text, text + size, [](std::uint8_t c) { return c >= 0x20 && c != 0x7f; });
}

}  // namespace

bool Claims::take(std::uint64_t start, std::uint64_t size)
{
    const auto after = ends_.lower_bound(start);
    const bool reachesNext = after != ends_.end() && start + size > after->first;
    const bool isTaken = after != ends_.begin() && std::prev(after)->second > start;
    if (reachesNext || isTaken) {
        return false;
    }
    if (size != 0) {
        ends_[start] = start + size;
    }
    return true;
}

bool Claims::has(std::uint64_t position) const
{
    const auto after = ends_.upper_bound(position);
    return after != ends_.begin() && std::prev(after)->second > position;
}

Wreck::Wreck(const std::string& path)
{
    std::error_code error;
    if (std::filesystem::is_directory(path, error)) {
        throw Failure(path + ": is a directory");
    }
    if (!readAsStore(path)) {
        readAsFile(path);
    }
    const std::optional<Header> head = header();
    if (!hasAllDesigns_) {
        findDesigns(head);
    }
    claims_.take(0, 64);
    if (head) {
        claimFreeBlocks(head->freeList);
    }
    for (const std::string& design : designs_) {
        types_.insert(typeOf(design));
    }
    findRoot(head);
    followChildren(0);
    claimData(0);
    findOrphans();
    if (found_.size() == 1 && found_[0].position == 0) {
        throw Failure(path + ": nothing of a store is left in it");
    }
}

/* Through the library, which knows of changes that have not reached their place yet. */
bool Wreck::readAsStore(const std::string& path)
{
    Reports reports;
    const FilePtr file(
        ehfa_FileOpenWithOptions(path.c_str(), "rb", eint_InitToolkit(reports), reports, int{EHFA_OPTION_REPORT_ALIEN}, 0, 0));
    if (reports.failed() || !file) {
        return false;
    }
    const ReadBytes read = bytesOf(file.get());
    try {
        bytes_ = read(0, read.fileSize);
    } catch (const Failure&) {
        return false;
    }
    if (file->dictionaryLength > 0) {
        designs_ = designTexts(*file->dictionary);
        hasAllDesigns_ = true;
    }
    return true;
}

void Wreck::readAsFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        throw Failure(path + ": " + std::generic_category().message(errno));
    }
    std::error_code error;
    const auto size = std::filesystem::file_size(path, error);
    if (error || size > kFileLimit) {
        throw Failure(path + ": is too large for a store");
    }
    bytes_.resize(size);
    in.read(reinterpret_cast<char*>(bytes_.data()), static_cast<std::streamsize>(size));
    if (!in) {
        throw Failure(path + ": cannot be read");
    }
    remarks_.push_back({"", 0, "the file cannot be opened as a store; what looks like entries is taken"});
}

std::uint32_t Wreck::wordAt(std::uint64_t position) const
{
    std::uint32_t value = 0;
    if (position + 4 <= bytes_.size()) {
        std::memcpy(&value, bytes_.data() + position, sizeof value);
    }
    return value;
}

ReadBytes Wreck::reader() const
{
    return {static_cast<std::int64_t>(bytes_.size()), [this](std::uint32_t position, std::int64_t size) {
                const auto from = bytes_.begin() + position;
                return Bytes(from, from + size);
            }};
}

std::optional<Wreck::Header> Wreck::header() const
{
    const bool isTagged = bytes_.size() >= 20 && std::memcmp(bytes_.data(), kLabel, sizeof kLabel) == 0;
    const std::uint64_t place = isTagged ? wordAt(16) : 64;
    if (place < 20 || place + kHeaderSize > bytes_.size()) {
        return std::nullopt;
    }
    return Header{wordAt(place + 4), wordAt(place + 8), wordAt(place + 14)};
}

/* Takes the designs of a text, as far as it can be read; the length of that part. */
std::size_t Wreck::decodeDesignsAt(std::size_t position)
{
    const auto from = bytes_.begin() + static_cast<std::ptrdiff_t>(position);
    const auto end = std::find_if(from, bytes_.end(), [](std::uint8_t c) { return c < 0x20 || c > 0x7e; });
    const std::string text(from, end);
    Reports reports;
    const DictionaryPtr dictionary(emif_DictionaryDecodeFromString(text.c_str(), reports));
    if (reports.failed() || !dictionary) {
        return 0;
    }
    std::size_t length = 0;
    for (const std::string& design : designTexts(*dictionary)) {
        length += design.size();
        if (types_.insert(typeOf(design)).second) {
            designs_.push_back(design);
        }
    }
    return length;
}

/* Behind a damaged design, the next one starts with a brace. */
void Wreck::decodeDesignsFrom(std::size_t position)
{
    constexpr int kMostAttempts = 1000;
    int left = kMostAttempts;
    while (position < bytes_.size() && left-- > 0) {
        const std::size_t length = bytes_[position] == '{' ? decodeDesignsAt(position) : 0;
        const bool isEnd = length != 0 && position + length < bytes_.size() && bytes_[position + length] == '.';
        if (isEnd) {
            return;
        }
        const auto next = bytes_.begin() + static_cast<std::ptrdiff_t>(position + std::max<std::size_t>(length, 1));
        position = static_cast<std::size_t>(std::find(next, bytes_.end(), '{') - bytes_.begin());
    }
}

void Wreck::findDesigns(const std::optional<Header>& header)
{
    if (header && header->dictionary >= 20 && header->dictionary < bytes_.size()) {
        const std::size_t length = decodeDesignsAt(header->dictionary);
        const std::uint64_t end = header->dictionary + length;
        if (length != 0 && end < bytes_.size() && bytes_[end] == '.') {
            hasAllDesigns_ = true;
            return;
        }
        decodeDesignsFrom(header->dictionary);
    }
    if (designs_.empty()) {
        for (auto at = bytes_.begin();; ++at) {
            at = std::search(at, bytes_.end(), kFirstDesign, kFirstDesign + sizeof kFirstDesign - 1);
            if (at == bytes_.end()) {
                break;
            }
            decodeDesignsFrom(static_cast<std::size_t>(at - bytes_.begin()));
        }
    }
    remarks_.push_back({"", header ? header->dictionary : 0,
                        "the dictionary is damaged; " + std::to_string(designs_.size()) + " designs can be read"});
}

/* What was deleted is not found again. */
void Wreck::claimFreeBlocks(std::uint32_t first)
{
    for (std::uint64_t at = first; at != 0 && at + 8 <= bytes_.size();) {
        const auto size = static_cast<std::int32_t>(wordAt(at + 4));
        if (size < 8 || at + static_cast<std::uint64_t>(size) > bytes_.size() ||
            !claims_.take(at, static_cast<std::uint64_t>(size))) {
            break;
        }
        const std::uint32_t next = wordAt(at);
        if (next == 0 || next > at) {
            at = next;
            continue;
        }
        break;
    }
}

/* The blocks that the data of entries take hold no entries. */
void Wreck::claimData(std::size_t from)
{
    const ReadBytes read = reader();
    for (std::size_t at = from; at < found_.size(); ++at) {
        throwIfInterrupted();
        try {
            contentOf(read, found_[at].entry, [&](const Block& block) {
                if (!claims_.take(block.position, static_cast<std::uint64_t>(block.size))) {
                    throw Failure("taken");
                }
            });
        } catch (const Failure&) {
            /* Told when the entry is copied; the blocks before are taken all the same. */
        }
    }
}

/* Whether a link may lead here. */
bool Wreck::mayBeEntry(std::uint64_t position) const
{
    if (position < 20 || position + kEntrySize > bytes_.size()) {
        return false;
    }
    const std::uint8_t* entry = bytes_.data() + position;
    /* The cheapest signs first: this is asked for every byte of a file. */
    if (entry[kNameInEntry + EHFA_NAME_MAX] != 0 || entry[kTypeInEntry + EHFA_TYPE_MAX] != 0) {
        return false;
    }
    const auto* name = reinterpret_cast<const char*>(entry + kNameInEntry);
    const auto* type = reinterpret_cast<const char*>(entry + kTypeInEntry);
    return isPrintable(entry + kNameInEntry, std::strlen(name)) && isPrintable(entry + kTypeInEntry, std::strlen(type));
}

/* Whether what lies here is an entry although no link says so. */
bool Wreck::looksLikeEntry(std::uint64_t position) const
{
    if (bytes_[position + kNameInEntry] == 0 || !mayBeEntry(position)) {
        return false;
    }
    /* The end of a file may be missing, and with it what links lead to; but not the parent. */
    for (std::uint64_t link = 0; link < 20; link += 4) {
        const std::uint32_t to = wordAt(position + link);
        if (to != 0 && (to < 20 || to > kFileLimit || to == position)) {
            return false;
        }
    }
    const std::uint32_t size = wordAt(position + 20);
    double modified = 0;
    std::memcpy(&modified, bytes_.data() + position + 120, sizeof modified);
    const auto* type = reinterpret_cast<const char*>(bytes_.data() + position + kTypeInEntry);
    const bool isTimed = modified == 0 || (modified >= 1 && modified < 1e12);
    return isTimed && wordAt(position + 8) < bytes_.size() && size <= kFileLimit &&
           (types_.contains(type) || (*type == '\0' && size == 0) || (!hasAllDesigns_ && isPlainType(type)));
}

void Wreck::findRoot(const std::optional<Header>& header)
{
    std::uint64_t position = 0;
    if (header && mayBeEntry(header->root) && wordAt(header->root + std::uint64_t{8}) == 0) {
        position = header->root;
    } else {
        for (std::uint64_t at = 20; at + kEntrySize <= bytes_.size() && position == 0; ++at) {
            const auto* name = reinterpret_cast<const char*>(&bytes_[at + kNameInEntry]);
            const auto* type = reinterpret_cast<const char*>(&bytes_[at + kTypeInEntry]);
            if (std::memcmp(name, "root", 5) == 0 && std::memcmp(type, "root", 5) == 0 && wordAt(at + 8) == 0) {
                position = at;
            }
        }
        remarks_.push_back({":", static_cast<std::uint32_t>(position),
                            position == 0 ? "the root is gone" : "the root was found by what it looks like"});
    }
    Found root;
    root.position = static_cast<std::uint32_t>(position);
    if (position != 0) {
        root.entry = entry(root.position);
        claims_.take(position, kEntrySize);
        indexOf_[root.position] = 0;
    }
    found_.push_back(root);
    paths_.push_back(":");
}

std::size_t Wreck::adopt(std::uint32_t position, std::size_t parent)
{
    const std::size_t index = found_.size();
    found_.push_back({entry(position), position, {}});
    paths_.push_back(below(paths_[parent], found_[index].entry.name));
    indexOf_[position] = index;
    return index;
}

/* Follows siblings as long as each link leads to an entry that is there for the first time and knows its parent or its
 * neighbour. */
void Wreck::followChain(std::size_t parent, std::uint32_t position, std::uint32_t prev, const char* link)
{
    std::uint32_t from = prev != 0 ? prev : found_[parent].position;
    while (position != 0) {
        throwIfInterrupted();
        const bool isEntry = mayBeEntry(position) && !indexOf_.contains(position);
        const bool isKnown = isEntry && (wordAt(position + std::uint64_t{8}) == found_[parent].position ||
                                         (prev != 0 && wordAt(position + std::uint64_t{4}) == prev));
        if (!isKnown || !claims_.take(position, kEntrySize)) {
            remarks_.push_back({paths_[indexOf_.contains(from) ? indexOf_[from] : parent], from,
                                std::string("the link ") + link + " leads to " + std::to_string(position) +
                                    ", where its entry is not"});
            return;
        }
        const std::size_t index = adopt(position, parent);
        found_[parent].children.push_back(index);
        from = prev = position;
        position = found_[index].entry.next;
        link = "next";
    }
}

/* The entries from `from` on and all below them; they are told in the order in which they are found. */
void Wreck::followChildren(std::size_t from)
{
    for (std::size_t at = from; at < found_.size(); ++at) {
        const auto depth = static_cast<std::size_t>(std::count(paths_[at].begin(), paths_[at].end(), ':'));
        if (depth < kDepthLimit && found_[at].position != 0) {
            followChain(at, found_[at].entry.child, 0, "child");
        }
    }
}

std::size_t Wreck::makeParent(std::uint32_t position)
{
    Found parent;
    std::snprintf(parent.entry.name, sizeof parent.entry.name, "lost_%lu", static_cast<unsigned long>(position));
    parent.entry.modTime = found_[0].entry.modTime;
    const std::size_t index = found_.size();
    paths_.push_back(below(":", parent.entry.name));
    remarks_.push_back({paths_.back(), position, "the entry cannot be read; what was below it is kept here"});
    found_.push_back(parent);
    found_[0].children.push_back(index);
    indexOf_[position] = index;
    return index;
}

/* What looks like an entry in space that nothing has taken. */
std::vector<std::uint32_t> Wreck::orphans() const
{
    std::vector<std::uint32_t> found;
    for (std::uint64_t at = 20; at + kEntrySize <= bytes_.size(); ++at) {
        if (at % (1 << 20) == 0) {
            throwIfInterrupted();
        }
        if (looksLikeEntry(at) && wordAt(at + 8) != 0 && !claims_.has(at) && !claims_.has(at + kEntrySize - 1)) {
            found.push_back(static_cast<std::uint32_t>(at));
        }
    }
    return found;
}

/* Puts an entry that no link leads to where its own links say, with all that it leads to. */
bool Wreck::adoptOrphan(std::uint32_t position, std::size_t above)
{
    if (!claims_.take(position, kEntrySize)) {
        return false;
    }
    const std::uint32_t prev = wordAt(position + std::uint64_t{4});
    const std::size_t index = adopt(position, above);
    auto& siblings = found_[above].children;
    const auto before = std::ranges::find_if(siblings, [&](std::size_t one) { return found_[one].position == prev; });
    siblings.insert(prev == 0 ? siblings.begin() : before == siblings.end() ? before : before + 1, index);
    remarks_.push_back({paths_[index], position, "no link leads to the entry; it was found by what it looks like"});
    followChain(above, found_[index].entry.next, position, "next");
    followChildren(index);
    claimData(index);
    return true;
}

/* First below entries that are known, from the top down; then below those that are gone. The first one of a chain is taken
 * first, so that its links lead to the others. */
void Wreck::findOrphans()
{
    std::vector<std::uint32_t> left = orphans();
    const auto isLeft = [&](std::uint32_t position) {
        return position != 0 && std::ranges::binary_search(left, position) && !indexOf_.contains(position);
    };
    for (int round = 0; round < 3;) {
        bool isAny = false;
        for (const std::uint32_t position : left) {
            const std::uint32_t parent = wordAt(position + std::uint64_t{8});
            const std::uint32_t prev = wordAt(position + std::uint64_t{4});
            const bool isKnown = indexOf_.contains(parent);
            /* In the last round, what is left leads round in circles. */
            const bool isFirst = !isLeft(prev) && (isKnown || (round > 0 && !isLeft(parent)));
            if (!isLeft(position) || claims_.has(position) || !(isFirst || round == 2)) {
                continue;
            }
            isAny = adoptOrphan(position, isKnown ? indexOf_[parent] : makeParent(parent)) || isAny;
        }
        round += isAny ? 0 : 1;
    }
}

}  // namespace tool
