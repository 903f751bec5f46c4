#pragma once

#include <emantle/store/ehfa/file.h>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

class EerrException;

namespace emantle::hfa {

/* The path text of an entry, with the place at which each name starts: names may hold the separator themselves. */
class Path {
public:
    const std::string& text() const { return text_; }
    std::size_t depth() const { return starts_.size(); }
    /* Whether the text leads to one entry only, and is short enough to be kept for every entry. */
    bool isIndexable() const { return unclear_ == 0 && text_.size() <= kIndexableLength; }
    /* The length of the text of the parent. */
    std::size_t parentLength() const { return starts_.empty() ? 0 : starts_.back(); }

    void clear();
    void push(std::string_view name);
    void pop();

private:
    /* Keeps the index in proportion to the file, however deep its tree. */
    static constexpr std::size_t kIndexableLength = 1024;

    std::string text_ = ":";
    std::vector<std::size_t> starts_;
    std::size_t unclear_ = 0; /* names that are empty or hold a separator */
};

/* What a handle knows of its tree: where paths lead, and the entries it has seen.
 *  - The value of a path holds the last child of the chain, from the first child on, of which every entry before is known
 *    here too. A search for an unknown name starts there.
 *  - Where two entries were met under one path, the paths are no longer a way to them. */
class PathIndex {
public:
    struct Place {
        uint32_t position;
        uint32_t lastChild;
    };

    PathIndex() = default;
    ~PathIndex();
    PathIndex(const PathIndex&) = delete;
    PathIndex& operator=(const PathIndex&) = delete;

    /* Starts with empty tables, the ids of which are left in the handle. */
    void create(Ehfa_File& file, bool withEntries, EerrException& scope);
    void destroy();
    void createEntries(Ehfa_File& file, EerrException& scope);
    void destroyEntries(Ehfa_File& file);

    std::optional<Place> find(const std::string& path, EerrException& scope);
    bool isUsable() const { return !ambiguous_; }

    /* Notes that `entry` at `position` lies at `path`. */
    void add(const Path& path, uint32_t position, const Ehfa_Entry& entry, EerrException& scope);
    /* Forgets an entry; where it was the last known child of its parent, that is the one before it from now on. */
    void remove(const Path& path, uint32_t position, const Ehfa_Entry& entry, EerrException& scope);
    /* Forgets everything below `path`. */
    void removeBelow(const std::string& path, EerrException& scope);

    /* An entry without a time is never kept: it marks a place that the table holds nothing for. */
    bool findEntry(uint32_t position, Ehfa_Entry& entry, EerrException& scope);
    void keepEntry(uint32_t position, const Ehfa_Entry& entry, EerrException& scope);
    void dropEntry(uint32_t position, EerrException& scope);

private:
    Place* slot(const std::string& path, EerrException& scope);
    void moveLastChild(const Path& path, const Ehfa_Entry& entry, uint32_t from, uint32_t to, EerrException& scope);
    void forget(const std::string& path, EerrException& scope);

    int paths_ = 0;
    int entries_ = 0;
    bool ambiguous_ = false;
};

}  // namespace emantle::hfa
