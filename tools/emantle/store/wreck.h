#pragma once

#include "store/content.h"

#include <map>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

namespace tool {

/* Pieces of a file that something has taken. */
class Claims {
public:
    /* False, and nothing taken, where a part of it is taken already. */
    bool take(std::uint64_t start, std::uint64_t size);
    bool has(std::uint64_t position) const;

private:
    std::map<std::uint64_t, std::uint64_t> ends_; /* by start */
};

/* A store whose bytes may be wrong anywhere. Its entries are found by their links and, where these are broken, by what
 * they look like. */
class Wreck {
public:
    /* Fails where the file cannot be read or has nothing of a store. */
    explicit Wreck(const std::string& path);

    static constexpr std::size_t kEntrySize = 128;

    struct Found {
        Ehfa_Entry entry{};
        std::uint32_t position = 0; /* 0 for one that had to be made up, for those that were below it */
        std::vector<std::size_t> children;
    };

    /* The entries; the first one is the root. */
    const std::vector<Found>& entries() const { return found_; }

    /* The designs that could be read. */
    const std::vector<std::string>& designs() const { return designs_; }

    ReadBytes reader() const;

    /* What is wrong beside the data of entries. */
    struct Remark {
        std::string path;
        std::uint32_t position = 0;
        std::string text;
    };
    const std::vector<Remark>& remarks() const { return remarks_; }

private:
    struct Header {
        std::uint32_t freeList = 0;
        std::uint32_t root = 0;
        std::uint32_t dictionary = 0;
    };

    bool readAsStore(const std::string& path);
    void readAsFile(const std::string& path);
    std::optional<Header> header() const;
    void findDesigns(const std::optional<Header>& header);
    std::size_t decodeDesignsAt(std::size_t position);
    void decodeDesignsFrom(std::size_t position);
    void findRoot(const std::optional<Header>& header);
    void claimFreeBlocks(std::uint32_t first);
    void claimData(std::size_t from);
    bool mayBeEntry(std::uint64_t position) const;
    bool looksLikeEntry(std::uint64_t position) const;
    std::size_t adopt(std::uint32_t position, std::size_t parent);
    void followChain(std::size_t parent, std::uint32_t position, std::uint32_t prev, const char* link);
    void followChildren(std::size_t from);
    void findOrphans();
    std::vector<std::uint32_t> orphans() const;
    bool adoptOrphan(std::uint32_t position, std::size_t above);
    std::size_t makeParent(std::uint32_t position);
    std::uint32_t wordAt(std::uint64_t position) const;
    Ehfa_Entry entry(std::uint32_t position) const { return entryAt(reader(), position); }

    Bytes bytes_;
    std::vector<std::string> designs_;
    std::set<std::string> types_; /* the names of the designs */
    bool hasAllDesigns_ = false;
    std::vector<Found> found_;
    std::unordered_map<std::uint32_t, std::size_t> indexOf_; /* of found entries, by position */
    std::vector<std::string> paths_;                         /* of found entries */
    Claims claims_;
    std::vector<Remark> remarks_;
};

}  // namespace tool
