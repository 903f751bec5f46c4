#pragma once

#include "store/hfa/path.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
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
            return slots_.empty() ? 0 : slots_[probe(hashOf(name), fits)].position;
        }
        /* Notes a child. `isTwin` tells whether the one at a position bears the same name. */
        template <class IsTwin>
        void add(std::string_view name, uint32_t position, IsTwin&& isTwin)
        {
            addHashed(hashOf(name), position, isTwin);
        }
        template <class IsTwin>
        void addHashed(uint32_t hash, uint32_t position, IsTwin&& isTwin)
        {
            if (2 * (taken_ + 1) > slots_.size()) {
                grow(std::max<std::size_t>(16, (slots_.size() < 512 ? 4 : 2) * slots_.size()));
            }
            std::size_t at = probe(hash, isTwin);
            if (slots_[at].position != 0) {
                hasTwins = true;
                at = probe(hash, [](uint32_t) { return false; });
            }
            slots_[at] = {hash, position};
            ++taken_;
        }
        /* False where it was not known. */
        bool remove(std::string_view name, uint32_t position) noexcept;

        static uint32_t hashOf(std::string_view name) noexcept
        {
            uint64_t sum = 0;
            std::size_t at = 0;
            for (; name.size() - at >= sizeof sum; at += sizeof sum) {
                uint64_t word;
                std::memcpy(&word, name.data() + at, sizeof word);
                sum = mixed(sum, word);
            }
            uint64_t rest = 0;
            for (std::size_t i = 0; at + i < name.size(); ++i) {
                rest |= uint64_t{static_cast<unsigned char>(name[at + i])} << 8 * i;
            }
            return finished(mixed(sum, rest));
        }
        /* The same of a name that ends with the first zero of its field, or one byte before the end of that. */
        template <std::size_t kField>
        static uint32_t hashOfField(const unsigned char* field) noexcept
        {
            static_assert(kField % sizeof(uint64_t) == 0);
            constexpr uint64_t kOnes = 0x0101010101010101;
            uint64_t sum = 0;
            for (std::size_t at = 0;; at += sizeof sum) {
                uint64_t word;
                std::memcpy(&word, field + at, sizeof word);
                word = at + sizeof word == kField ? word << 8 >> 8 : word;
                const uint64_t zeros = (word - kOnes) & ~word & kOnes << 7;
                if (zeros != 0) {
                    return finished(mixed(sum, word & ((zeros & -zeros) - 1)));
                }
                sum = mixed(sum, word);
            }
        }

    private:
        static constexpr uint32_t kGone = 1; /* no entry lies there */
        struct Slot {
            uint32_t hash;
            uint32_t position;
        };

        static constexpr uint64_t kFactor = 0x9E3779B97F4A7C15;
        static uint64_t mixed(uint64_t sum, uint64_t word) noexcept { return (std::rotl(sum, 23) ^ word) * kFactor; }
        static uint32_t finished(uint64_t sum) noexcept { return static_cast<uint32_t>((sum ^ sum >> 29) * kFactor >> 32); }
        std::size_t mask() const { return slots_.size() - 1; }
        /* The slot of the first position that fits, else the empty one behind. */
        template <class Fits>
        std::size_t probe(uint32_t hash, Fits&& fits) const
        {
            std::size_t at = hash & mask();
            while (slots_[at].position != 0 &&
                   (slots_[at].hash != hash || slots_[at].position == kGone || !fits(slots_[at].position))) {
                at = (at + 1) & mask();
            }
            return at;
        }
        void grow(std::size_t slots);

        std::vector<Slot> slots_; /* a power of two, at most half of them taken; linear probing */
        std::size_t taken_ = 0;
    };

    /* The walk from the root that was done last: one call after another goes to the same parent. */
    struct Walk {
        std::string text; /* as it was asked for; no text for no walk */
        Path path;
        uint32_t position = 0;
    };
    /* The walk of that text; null where it was another one. */
    const Walk* walkOf(const char* text) const noexcept { return walk_.text == text ? &walk_ : nullptr; }
    void noteWalk(const char* text, const Path& path, uint32_t position)
    {
        walk_.text.clear();
        walk_.path = path;
        walk_.position = position;
        walk_.text = text;
    }
    void forgetWalk() noexcept { walk_.text.clear(); }

    void clear() noexcept
    {
        families_.clear();
        recent_ = {};
        forgetWalk();
    }
    /* The family of the entry at `parent`, made where there is none. */
    Family& of(uint32_t parent);
    Family* find(uint32_t parent) noexcept;
    void forget(uint32_t parent) noexcept;

    /* Keeps the family of `parent` true when a child comes in between `prev` and `next`, or goes. */
    template <class IsTwin>
    void noteInserted(uint32_t parent, std::string_view name, uint32_t position, uint32_t prev, uint32_t next, IsTwin&& isTwin)
    {
        if (prev == 0 && next == 0) {
            Family& family = of(parent);
            family = Family();
            family.isComplete = true;
            family.add(name, position, isTwin);
            family.last = position;
            return;
        }
        Family* family = find(parent);
        const bool isBehind = family != nullptr && prev == family->last && prev != 0;
        if (family != nullptr && (isBehind || family->isComplete || (prev == 0 && family->last != 0))) {
            family->add(name, position, isTwin);
            family->last = isBehind ? position : family->last;
        } else if (family != nullptr && prev != 0) {
            forget(parent); /* it may lie before or behind the last known child */
            family = nullptr;
        }
        if (family == nullptr || family->last == 0 || family->hasTwins) {
            forgetWalk(); /* the new child may be the one that the walk comes to */
        }
    }
    void noteRemoved(uint32_t parent, std::string_view name, uint32_t position, uint32_t prev) noexcept;

private:
    /* A walk along paths comes back to the same few parents. */
    struct Recent {
        uint32_t parent = 0;
        Family* family = nullptr;
    };
    static constexpr int kRecentBits = 5;
    Recent& recentOf(uint32_t parent) noexcept { return recent_[(parent * 0x9E3779B1u) >> (32 - kRecentBits)]; }
    void forgetRecent(uint32_t parent) noexcept
    {
        Recent& recent = recentOf(parent);
        recent = recent.parent == parent ? Recent() : recent;
    }

    Walk walk_;
    std::unordered_map<uint32_t, Family> families_;
    std::array<Recent, std::size_t{1} << kRecentBits> recent_{};
};

}  // namespace emantle::hfa
