#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

/* Writes the bytes of a .qm file. */
class CatalogueWriter {
public:
    CatalogueWriter& add(const std::string& context, const std::string& source, const std::u16string& translation)
    {
        hashes.insert({hashOf(source), static_cast<std::uint32_t>(messages.size())});
        std::string units;
        for (const char16_t unit : translation) {
            units += {static_cast<char>(unit >> 8), static_cast<char>(unit)};
        }
        messages += item(3, units) + item(6, source) + item(7, context) + '\1';
        return *this;
    }

    /* With one list of contexts for all hashes, as compressed catalogues have. */
    CatalogueWriter& list(const std::vector<std::string>& contexts)
    {
        table = {0, 1, 0, 1, 0, 0};
        for (const std::string& context : contexts) {
            table += static_cast<char>(context.size());
            table += context;
        }
        table += '\0';
        return *this;
    }

    std::string bytes() const
    {
        std::string pairs;
        for (const auto& [hash, offset] : hashes) {
            pairs += number(hash) + number(offset);
        }
        return magic() + item(0x42, pairs) + item(0x69, messages) + (table.empty() ? "" : item(0x2f, table));
    }

    static std::string magic() { return "\x3c\xb8\x64\x18\xca\xef\x9c\x95\xcd\x21\x1c\xbf\x60\xa1\xbd\xdd"; }

    static std::string number(std::uint32_t value)
    {
        return {static_cast<char>(value >> 24), static_cast<char>(value >> 16), static_cast<char>(value >> 8),
                static_cast<char>(value)};
    }

    /* Sections and the items of messages look alike. */
    static std::string item(int tag, const std::string& data)
    {
        return static_cast<char>(tag) + number(static_cast<std::uint32_t>(data.size())) + data;
    }

    static std::uint32_t hashOf(const std::string& text)
    {
        std::uint32_t hash = 0;
        for (const char c : text) {
            hash = (hash << 4) + static_cast<unsigned char>(c);
            const std::uint32_t high = hash & 0xf0000000;
            hash = (hash ^ (high >> 24)) & ~high;
        }
        return hash == 0 ? 1 : hash;
    }

private:
    std::multimap<std::uint32_t, std::uint32_t> hashes;
    std::string messages, table;
};
