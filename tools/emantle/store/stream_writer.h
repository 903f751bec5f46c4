#pragma once

#include "store/value_json.h"

#include <emantle/store/emif.h>

namespace tool {

/* Writes records to bytes as they lie in a file. */
class StreamWriter {
public:
    explicit StreamWriter(std::uint32_t position) : position_(position) {}

    void record(const Json& json, const Emif_Design& design);

    const Bytes& bytes() const { return bytes_; }
    /* Where in the bytes the positions behind counts stand. */
    const std::vector<std::size_t>& heads() const { return heads_; }

private:
    void item(const Json& json, const Emif_DesignItem& item);
    void elements(const Json& json, const Emif_DesignItem& item, std::int64_t count);
    void element(const Json& json, const Emif_DesignItem& item);
    void baseData(const Json& json, const Emif_DesignItem& item);
    void line(const Json& json, std::int64_t type, std::int64_t count);
    void pixel(const Json& json, std::int64_t type);
    void packed(const Json& json, int bits, std::int64_t count);
    void raw(const Bytes& bytes) { bytes_.insert(bytes_.end(), bytes.begin(), bytes.end()); }

    template <class Value>
    void number(Value value)
    {
        const auto* bytes = reinterpret_cast<const std::uint8_t*>(&value);
        bytes_.insert(bytes_.end(), bytes, bytes + sizeof value);
    }
    template <class Value>
    void whole(const Json& json)
    {
        number(static_cast<Value>(
            wholeFrom(json, std::numeric_limits<Value>::min(), std::numeric_limits<Value>::max())));
    }
    template <class Part>
    void complex(const Json& json);

    Bytes bytes_;
    std::vector<std::size_t> heads_;
    std::uint32_t position_;
};

/* How the elements of a type of packed ones lie; 0 for the others. */
constexpr int packedBits(Emif_Type type)
{
    return type == EMIF_TYPE_U1 ? 1 : type == EMIF_TYPE_U2 ? 2 : type == EMIF_TYPE_U4 ? 4 : 0;
}

/* The bytes that so many packed elements take; a byte for none of them. */
constexpr std::size_t packedSize(int bits, std::int64_t count)
{
    return count == 0 ? 1 : static_cast<std::size_t>((count * bits + 7) / 8);
}

}  // namespace tool
