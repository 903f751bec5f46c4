#pragma once

#include <cstdint>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace emantle::hfa {

/* What a handle knows of the children of entries, by name.
 *  1. Known are the children of an entry from the first one on, up to `last`.
 *  2. A position is a hint: who takes it looks whether the entry there is the one meant. */
class Children {
public:
    class Family {
    public:
        uint32_t last = 0;       /* the last known child */
        bool isComplete = false; /* no child comes behind it */
        bool hasTwins = false;   /* two children of one name: the first one is found by walking */

        /* The position for which `fits` answers true among those kept for the name; 0 for none. */
        template <class Fits>
        uint32_t find(std::string_view name, Fits&& fits) const
        {
            if (slots_.empty()) {
                return 0;
            }
            const uint32_t hash = hashOf(name);
            for (std::size_t at = hash & mask(); slots_[at].position != 0; at = (at + 1) & mask()) {
                if (slots_[at].hash == hash && slots_[at].position != kGone && fits(slots_[at].position)) {
                    return slots_[at].position;
                }
            }
            return 0;
        }
        void add(std::string_view name, uint32_t position);
        /* False where it was not known. */
        bool remove(std::string_view name, uint32_t position) noexcept;

    private:
        static constexpr uint32_t kGone = 1; /* no entry lies there */
        struct Slot {
            uint32_t hash;
            uint32_t position;
        };

        static uint32_t hashOf(std::string_view name) noexcept
        {
            return static_cast<uint32_t>(std::hash<std::string_view>()(name));
        }
        std::size_t mask() const { return slots_.size() - 1; }
        void grow();

        std::vector<Slot> slots_; /* a power of two, at most half of them taken; linear probing */
        std::size_t taken_ = 0;
    };

    void clear() noexcept
    {
        families_.clear();
        recent_ = nullptr;
    }
    /* The family of the entry at `parent`, made where there is none. */
    Family& of(uint32_t parent);
    Family* find(uint32_t parent) noexcept;
    void forget(uint32_t parent) noexcept;

    /* Keeps the family of `parent` true when a child comes in between `prev` and `next`, or goes. */
    void noteInserted(uint32_t parent, std::string_view name, uint32_t position, uint32_t prev, uint32_t next);
    void noteRemoved(uint32_t parent, std::string_view name, uint32_t position, uint32_t prev) noexcept;

private:
    std::unordered_map<uint32_t, Family> families_;
    Family* recent_ = nullptr;
    uint32_t recentParent_ = 0;
};

}  // namespace emantle::hfa
