#include "store/hfa/children.h"

namespace emantle::hfa {

void Children::Family::grow(std::size_t slots)
{
    std::vector<Slot> old(slots);
    old.swap(slots_);
    taken_ = 0;
    for (const Slot& slot : old) {
        if (slot.position > kGone) {
            std::size_t at = slot.hash & mask();
            while (slots_[at].position != 0) {
                at = (at + 1) & mask();
            }
            slots_[at] = slot;
            ++taken_;
        }
    }
}

bool Children::Family::remove(std::string_view name, uint32_t position) noexcept
{
    if (slots_.empty()) {
        return false;
    }
    for (std::size_t at = hashOf(name) & mask(); slots_[at].position != 0; at = (at + 1) & mask()) {
        if (slots_[at].position == position) {
            slots_[at].position = kGone;
            return true;
        }
    }
    return false;
}

Children::Family& Children::of(uint32_t parent)
{
    Recent& recent = recentOf(parent);
    if (recent.family == nullptr || recent.parent != parent) {
        recent = {parent, &families_[parent]};
    }
    return *recent.family;
}

Children::Family* Children::find(uint32_t parent) noexcept
{
    Recent& recent = recentOf(parent);
    if (recent.family == nullptr || recent.parent != parent) {
        const auto found = families_.find(parent);
        if (found == families_.end()) {
            return nullptr;
        }
        recent = {parent, &found->second};
    }
    return recent.family;
}

void Children::forget(uint32_t parent) noexcept
{
    forgetRecent(parent);
    families_.erase(parent);
}

void Children::noteRemoved(uint32_t parent, std::string_view name, uint32_t position, uint32_t prev) noexcept
{
    if (position == walk_.position) {
        forgetWalk();
    }
    if (Family* family = find(parent)) {
        if (family->hasTwins) {
            forget(parent);
            forgetWalk();
            return;
        }
        family->remove(name, position);
        family->last = family->last == position ? prev : family->last;
    }
}

}  // namespace emantle::hfa
