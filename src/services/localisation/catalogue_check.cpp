#include "services/localisation/catalogue_check.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

/* A .qm file is 16 bytes of magic, then sections: a tag of one byte, a length of four, the data. Numbers have their
 * high byte first.
 *
 *     Hashes    pairs of hash and offset into Messages, sorted by hash
 *     Messages  records, one behind the other: tagged items up to the tag 1
 *     Contexts  size of a hash table, the table of 16-bit offsets (in steps of 2 bytes, behind the table; 0 is none),
 *               chains of texts, each with its length in a byte, up to a length of 0
 *
 * The others hold plural rules, which the reader checks, the language, and the names of catalogues to open as well. */

namespace emantle {

namespace {

using Bytes = std::span<const unsigned char>;

constexpr std::array<unsigned char, 16> kMagic{0x3c, 0xb8, 0x64, 0x18, 0xca, 0xef, 0x9c, 0x95,
                                               0xcd, 0x21, 0x1c, 0xbf, 0x60, 0xa1, 0xbd, 0xdd};
constexpr std::size_t kSectionHeader = 5;

enum Section : unsigned char { contexts = 0x2f, hashes = 0x42, messages = 0x69, dependencies = 0x96 };
enum Item : unsigned char { end = 1, translation = 3, firstObsolete = 5, sourceText = 6, context = 7, comment = 8 };

std::uint32_t number16(Bytes bytes, std::size_t at)
{
    return std::uint32_t{bytes[at]} << 8 | bytes[at + 1];
}

std::uint32_t number32(Bytes bytes, std::size_t at)
{
    return number16(bytes, at) << 16 | number16(bytes, at + 2);
}

/* The start of each record, in order; empty where the records do not fill the section. */
std::vector<std::uint32_t> recordStarts(Bytes records)
{
    std::vector<std::uint32_t> starts;
    bool isOpen = false;
    for (std::size_t at = 0; at < records.size();) {
        if (!isOpen) {
            starts.push_back(static_cast<std::uint32_t>(at));
        }
        const unsigned char tag = records[at++];
        isOpen = tag != Item::end;
        if (!isOpen) {
            continue;
        }
        if (tag != translation && tag != firstObsolete && tag != sourceText && tag != context && tag != comment) {
            return {};
        }
        if (records.size() - at < 4) {
            return {};
        }
        std::uint32_t length = 0;
        if (tag != firstObsolete) {
            length = number32(records, at);
            /* A translation without units has this length. */
            if (tag == translation && length == 0xffffffff) {
                return {};
            }
        }
        at += 4;
        if (length > records.size() - at) {
            return {};
        }
        at += length;
    }
    return isOpen ? std::vector<std::uint32_t>{} : starts;
}

bool hashesLeadToRecords(Bytes table, Bytes records)
{
    if (table.size() % 8 != 0) {
        return false;
    }
    const std::vector<std::uint32_t> starts = recordStarts(records);
    for (std::size_t at = 0; at < table.size(); at += 8) {
        if (!std::binary_search(starts.begin(), starts.end(), number32(table, at + 4))) {
            return false;
        }
    }
    return true;
}

/* The padding ends a chain that runs on, so that only its start is held against the section. */
bool contextsStartInside(Bytes section)
{
    if (section.size() < 2) {
        return false;
    }
    const std::size_t count = number16(section, 0);
    const std::size_t chains = 2 + 2 * count;
    if (count == 0 || chains > section.size()) {
        return false;
    }
    for (std::size_t at = 2; at < chains; at += 2) {
        if (chains + 2 * std::size_t{number16(section, at)} >= section.size()) {
            return false;
        }
    }
    return true;
}

} // namespace

bool isSoundCatalogue(Bytes bytes)
{
    if (bytes.size() < kMagic.size() || !std::equal(kMagic.begin(), kMagic.end(), bytes.begin())) {
        return false;
    }
    std::array<Bytes, 256> sections{};
    for (Bytes rest = bytes.subspan(kMagic.size()); rest.size() > kSectionHeader;) {
        const unsigned char tag = rest[0];
        const std::uint32_t length = number32(rest, 1);
        rest = rest.subspan(kSectionHeader);
        if (tag == 0 || length == 0) {
            break;
        }
        /* Of two sections the reader takes the last; a file that is as it should be has one. */
        if (length > rest.size() || sections[tag].data() != nullptr) {
            return false;
        }
        sections[tag] = rest.first(length);
        rest = rest.subspan(length);
    }
    /* A catalogue that names itself would be opened without end. */
    return sections[dependencies].empty() && hashesLeadToRecords(sections[hashes], sections[messages]) &&
           (sections[contexts].data() == nullptr || contextsStartInside(sections[contexts]));
}

} // namespace emantle
