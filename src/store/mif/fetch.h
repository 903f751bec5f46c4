#pragma once

#include "frame/guard/guard.h"

#include <atomic>
#include <cstddef>
#include <emantle/store/emif/dictionary.h>
#include <span>

/* How a subsystem gets its own designs. It states each one as text, beside the record that the text describes:
 *
 *     constinit mif::OwnDictionary dictionary;
 *
 *     constexpr mif::Field kTrackFields[] = {{"version", offsetof(Exmp_Track, version)},
 *                                            {"points", offsetof(Exmp_Track, points)}};
 *     constinit mif::OwnDesign trackDesign(dictionary, "{1:lversion,0:pdpoints,}Exmp_Track,",
 *                                          mif::recordOf<Exmp_Track>(kTrackFields));
 *
 *     void* track = checked(scope, ehfa_ObjectRead(file, path, trackDesign.fetch(scope), scope));
 *
 *  1. A design is made at its first fetch, in the unsafe section, into the dictionary of its subsystem; a later fetch is
 *     one load. It lives until the program ends.
 *  2. The record is held against the design when the design is made: a field at another offset, a field that one of the
 *     two lacks, or another size, and the design cannot be had.
 *  3. A fetch that fails throws "EMIF_DESIGN_FETCH failed"; the chain below names the design. */

namespace emantle::mif {

struct Field {
    const char* name;
    std::size_t offset;
};

/* A record as the compiler lays it out. Without fields only the size is held against the design. */
struct HostRecord {
    std::size_t size;
    std::span<const Field> fields;
};

template <class Record>
constexpr HostRecord recordOf(std::span<const Field> fields = {}) noexcept
{
    return {sizeof(Record), fields};
}

/* The dictionary of one subsystem. */
class OwnDictionary {
public:
    constexpr OwnDictionary() noexcept = default;
    OwnDictionary(const OwnDictionary&) = delete;
    OwnDictionary& operator=(const OwnDictionary&) = delete;

private:
    friend class OwnDesign;
    EmifDictionaryP holder_;
};

class OwnDesign {
public:
    /* `text` is the encoding of the design, from "{" to the comma behind the name, and lives as long as this. */
    constexpr OwnDesign(OwnDictionary& home, const char* text, HostRecord record) noexcept
        : home_(home), text_(text), record_(record)
    {
    }
    OwnDesign(const OwnDesign&) = delete;
    OwnDesign& operator=(const OwnDesign&) = delete;

    /* The design, which stays the dictionary's. */
    Emif_Design* fetch(EerrException& scope, long line = __builtin_LINE())
    {
        Emif_Design* design = made_.load(std::memory_order_acquire);
        return design != nullptr ? design : make(scope, line);
    }

    const char* text() const noexcept { return text_; }

private:
    Emif_Design* make(EerrException& scope, long line);

    OwnDictionary& home_;
    const char* text_;
    HostRecord record_;
    std::atomic<Emif_Design*> made_{nullptr};
};

}  // namespace emantle::mif
