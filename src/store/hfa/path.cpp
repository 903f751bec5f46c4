#include "store/hfa/path.h"

#include "frame/guard/guard.h"

#include <emantle/frame/ehsh.h>
#include <cstring>

namespace emantle::hfa {

namespace {

constexpr long kBuckets = 100;
constexpr double kGrowAt = 2.0;

bool isUnclear(std::string_view name)
{
    return name.empty() || name.find(':') != std::string_view::npos;
}

}  // namespace

void Path::clear()
{
    text_ = ":";
    starts_.clear();
    unclear_ = 0;
}

void Path::push(std::string_view name)
{
    starts_.push_back(text_.size());
    text_ += name;
    text_ += ':';
    unclear_ += isUnclear(name) ? 1 : 0;
}

void Path::pop()
{
    require(!starts_.empty(), "Unexpected path pop problem");
    const std::string_view name = std::string_view(text_).substr(starts_.back());
    unclear_ -= isUnclear(name.substr(0, name.size() - 1)) ? 1 : 0;
    text_.resize(starts_.back());
    starts_.pop_back();
}

PathIndex::~PathIndex()
{
    destroy();
}

void PathIndex::create(Ehfa_File& file, bool withEntries, EerrException& scope)
{
    destroy();
    paths_ = checked(scope,
                     ehsh_TableCreate(kBuckets, sizeof(Place), scope, EHSH_GROW_AT, kGrowAt, EHSH_END),
                     "Hash table create error");
    file.pathHash = paths_;
    if (withEntries) {
        createEntries(file, scope);
    }
}

void PathIndex::createEntries(Ehfa_File& file, EerrException& scope)
{
    if (entries_ == 0) {
        entries_ = checked(scope,
                           ehsh_TableCreate(kBuckets, sizeof(Ehfa_Entry), scope, EHSH_KEY_SIZE,
                                            static_cast<int>(sizeof(uint32_t)), EHSH_GROW_AT, kGrowAt, EHSH_END),
                           "Hash table create error");
    }
    file.entryCache = entries_;
}

void PathIndex::destroyEntries(Ehfa_File& file)
{
    if (entries_ != 0) {
        ehsh_TableDelete(entries_, nullptr);
    }
    entries_ = 0;
    file.entryCache = 0;
}

void PathIndex::destroy()
{
    for (int* table : {&paths_, &entries_}) {
        if (*table != 0) {
            ehsh_TableDelete(*table, nullptr);
            *table = 0;
        }
    }
    ambiguous_ = false;
}

/* The value of a path, with position 0 where the path is new. */
PathIndex::Place* PathIndex::slot(const std::string& path, EerrException& scope)
{
    return static_cast<Place*>(
        checked(scope, ehsh_KeyHash(paths_, path.c_str(), nullptr, scope), "Trouble checking for hash id"));
}

void PathIndex::forget(const std::string& path, EerrException& scope)
{
    checked(scope, ehsh_KeyUnHash(paths_, path.c_str(), scope), "Trouble unhashing entry");
}

std::optional<PathIndex::Place> PathIndex::find(const std::string& path, EerrException& scope)
{
    const Place place = *slot(path, scope);
    if (place.position == 0) {
        forget(path, scope);
        return std::nullopt;
    }
    return place;
}

/* Sets the last known child of the entry above `path` to `to` where it was `from`. */
void PathIndex::moveLastChild(const Path& path, const Ehfa_Entry& entry, uint32_t from, uint32_t to,
                              EerrException& scope)
{
    if (path.depth() == 0) {
        return;
    }
    const std::string parent = path.text().substr(0, path.parentLength());
    Place* above = slot(parent, scope);
    if (above->position == 0) {
        forget(parent, scope);
    } else if (above->position == entry.parent && above->lastChild == from) {
        above->lastChild = to;
    }
}

void PathIndex::add(const Path& path, uint32_t position, const Ehfa_Entry& entry, EerrException& scope)
{
    if (!path.isIndexable()) {
        return;
    }
    Place* place = slot(path.text(), scope);
    if (place->position == 0) {
        *place = {position, 0};
    } else if (place->position != position) {
        ambiguous_ = true;
    }
    moveLastChild(path, entry, entry.prev, position, scope);
}

void PathIndex::remove(const Path& path, uint32_t position, const Ehfa_Entry& entry, EerrException& scope)
{
    if (!path.isIndexable()) {
        return;
    }
    const std::optional<Place> place = find(path.text(), scope);
    if (place && place->position == position) {
        forget(path.text(), scope);
    }
    moveLastChild(path, entry, position, entry.prev, scope);
}

namespace {

/* The walk over the keys of a table has no argument of its own. */
thread_local const std::string* prefixOfWalk = nullptr;

void removeBelowPrefix(int id, const void* key, void*, Eerr_ErrorReport** err)
{
    const char* text = static_cast<const char*>(key);
    const std::size_t length = prefixOfWalk->size();
    if (std::strncmp(text, prefixOfWalk->c_str(), length) == 0 && text[length] != '\0') {
        const std::string copy = text;
        ehsh_KeyUnHash(id, copy.c_str(), err);
    }
}

}  // namespace

void PathIndex::removeBelow(const std::string& path, EerrException& scope)
{
    prefixOfWalk = &path;
    ehsh_KeysApplyFunction(paths_, removeBelowPrefix, scope);
    prefixOfWalk = nullptr;
    check(scope, "Trouble unhashing children");
}

bool PathIndex::findEntry(uint32_t position, Ehfa_Entry& entry, EerrException& scope)
{
    if (entries_ == 0) {
        return false;
    }
    const auto* kept = static_cast<const Ehfa_Entry*>(
        checked(scope, ehsh_KeyHash(entries_, &position, nullptr, scope), "Trouble checking for hash id"));
    if (kept->modTime == 0.0) {
        return false;
    }
    entry = *kept;
    return true;
}

void PathIndex::keepEntry(uint32_t position, const Ehfa_Entry& entry, EerrException& scope)
{
    if (entries_ != 0 && entry.modTime != 0.0) {
        checked(scope, ehsh_KeyHash(entries_, &position, &entry, scope), "Trouble hashing entry");
    }
}

void PathIndex::dropEntry(uint32_t position, EerrException& scope)
{
    Ehfa_Entry entry;
    if (findEntry(position, entry, scope)) {
        ehsh_KeyUnHash(entries_, &position, scope);
        check(scope, "Trouble unhashing entry");
    }
}

}  // namespace emantle::hfa
