#include "store/stream_writer.h"

#include <emantle/data/egda.h>

#include <limits>

namespace tool {

namespace {

constexpr std::int64_t kMostCount = std::numeric_limits<std::int32_t>::max();

std::int64_t nameIndex(const Json& json, const Emif_DesignItem& item)
{
    if (!json.is_string()) {
        return wholeFrom(json, 0, 0xffff);
    }
    for (std::int16_t i = 0; i < item.enumCount; ++i) {
        if (json.get_ref<const std::string&>() == item.enumNames[i]) {
            return i;
        }
    }
    throw WrongText(lineOf(json) + " is none of the names of " + item.name);
}

const Emif_DesignItem& itemNamed(const Emif_DesignItem& item, const char* name)
{
    for (const Emif_DesignItem* one = item.design == nullptr ? nullptr : item.design->items; one != nullptr; one = one->next) {
        if (std::string_view(one->name) == name) {
            return *one;
        }
    }
    throw WrongText("the design of typed values is another one");
}

/* What is behind a pointer tells its own count. */
std::int64_t countOf(const Json& json, const Emif_DesignItem& item)
{
    if (json.is_null()) {
        return 0;
    }
    if (item.type == EMIF_TYPE_CHAR) {
        return static_cast<std::int64_t>(countedTextFrom(json).size());
    }
    if (json.is_string()) {
        const std::size_t digits = json.get_ref<const std::string&>().size();
        return static_cast<std::int64_t>(item.type == EMIF_TYPE_UCHAR ? digits / 2 : digits);
    }
    if (!json.is_array()) {
        throw WrongText(lineOf(json) + " is not an array");
    }
    return static_cast<std::int64_t>(json.size());
}

}  // namespace

void StreamWriter::record(const Json& json, const Emif_Design& design)
{
    std::size_t items = 0;
    for (const Emif_DesignItem* one = design.items; one != nullptr; one = one->next, ++items) {
        const Json& value = memberOf(json, one->name);
        try {
            item(value, *one);
        } catch (const WrongText& wrong) {
            throw WrongText(std::string(one->name) + ": " + wrong.what());
        }
    }
    if (!json.is_object() || json.size() != items) {
        throw WrongText(std::string("not the items of ") + design.name);
    }
}

void StreamWriter::item(const Json& json, const Emif_DesignItem& item)
{
    std::int64_t count = item.count;
    if (item.isPointer != 0) {
        count = countOf(json, item);
        if (count > kMostCount) {
            throw WrongText("too many elements");
        }
        number(static_cast<std::uint32_t>(count));
        heads_.push_back(bytes_.size());
        number(static_cast<std::uint32_t>(position_ + bytes_.size() + 4));
    }
    elements(json, item, count);
}

void StreamWriter::elements(const Json& json, const Emif_DesignItem& item, std::int64_t count)
{
    if (const int bits = packedBits(item.type); bits != 0) {
        packed(json, bits, count);
        return;
    }
    if (count == 0 && json.is_null()) {
        return;
    }
    if (item.type == EMIF_TYPE_CHAR) {
        raw(item.isPointer != 0 ? countedTextFrom(json) : fieldFrom(json, static_cast<std::size_t>(count)));
        return;
    }
    const bool isAlone = item.isPointer == 0 && count == 1;
    if (isAlone) {
        element(json, item);
    } else if (item.type == EMIF_TYPE_UCHAR) {
        const Bytes bytes = bytesFromHex(json);
        if (static_cast<std::int64_t>(bytes.size()) != count) {
            throw WrongText("there are to be " + std::to_string(count) + " bytes");
        }
        raw(bytes);
    } else {
        if (!json.is_array() || static_cast<std::int64_t>(json.size()) != count) {
            throw WrongText("there are to be " + std::to_string(count) + " elements");
        }
        for (const Json& one : json) {
            element(one, item);
        }
    }
}

void StreamWriter::packed(const Json& json, int bits, std::int64_t count)
{
    Bytes bytes(packedSize(bits, count));
    if (json.is_number() && count == 1) {
        bytes[0] = static_cast<std::uint8_t>(wholeFrom(json, 0, (1 << bits) - 1));
    } else if (count != 0 || !json.is_null()) {
        const std::string text = json.is_string() ? json.get<std::string>() : std::string();
        if (static_cast<std::int64_t>(text.size()) != count) {
            throw WrongText("there are to be " + std::to_string(count) + " digits");
        }
        for (std::size_t i = 0; i < text.size(); ++i) {
            const std::size_t bit = i * static_cast<std::size_t>(bits);
            const char c = text[i];
            const int value = c >= '0' && c <= '9' ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : 16;
            if (value >= 1 << bits) {
                throw WrongText(std::string("'") + c + "' is not an element of " + std::to_string(bits) + " bits");
            }
            bytes[bit / 8] = static_cast<std::uint8_t>(bytes[bit / 8] | value << bit % 8);
        }
    }
    raw(bytes);
}

template <class Part>
void StreamWriter::complex(const Json& json)
{
    if (!json.is_array() || json.size() != 2) {
        throw WrongText(lineOf(json) + " is not a pair of numbers");
    }
    for (const Json& part : json) {
        if constexpr (sizeof(Part) == sizeof(float)) {
            number(floatFrom(part));
        } else {
            number(realFrom(part));
        }
    }
}

void StreamWriter::element(const Json& json, const Emif_DesignItem& item)
{
    switch (item.type) {
    case EMIF_TYPE_DESIGN:
    case EMIF_TYPE_NAMED_DESIGN: record(json, *item.design); return;
    case EMIF_TYPE_ENUM: number(static_cast<std::uint16_t>(nameIndex(json, item))); return;
    case EMIF_TYPE_UCHAR: whole<std::uint8_t>(json); return;
    case EMIF_TYPE_USHORT: whole<std::uint16_t>(json); return;
    case EMIF_TYPE_SHORT: whole<std::int16_t>(json); return;
    case EMIF_TYPE_ULONG: whole<std::uint32_t>(json); return;
    case EMIF_TYPE_LONG:
    case EMIF_TYPE_S32: whole<std::int32_t>(json); return;
    case EMIF_TYPE_FLOAT: number(floatFrom(json)); return;
    case EMIF_TYPE_DOUBLE:
    case EMIF_TYPE_TIME: number(realFrom(json)); return;
    case EMIF_TYPE_COMPLEX: complex<float>(json); return;
    case EMIF_TYPE_DCOMPLEX: complex<double>(json); return;
    case EMIF_TYPE_BASEDATA: baseData(json, item); return;
    default: return;
    }
}

void StreamWriter::pixel(const Json& json, std::int64_t type)
{
    switch (type) {
    case EGDA_TYPE_S8: whole<std::int8_t>(json); return;
    case EGDA_TYPE_U16: whole<std::uint16_t>(json); return;
    case EGDA_TYPE_S16: whole<std::int16_t>(json); return;
    case EGDA_TYPE_U32: whole<std::uint32_t>(json); return;
    case EGDA_TYPE_S32: whole<std::int32_t>(json); return;
    case EGDA_TYPE_F32: number(floatFrom(json)); return;
    case EGDA_TYPE_F64: number(realFrom(json)); return;
    case EGDA_TYPE_C64: complex<float>(json); return;
    case EGDA_TYPE_C128: complex<double>(json); return;
    default: throw WrongText("values of type " + std::to_string(type));
    }
}

void StreamWriter::line(const Json& json, std::int64_t type, std::int64_t count)
{
    if (type <= EGDA_TYPE_U4) {
        packed(json, 1 << type, count);
    } else if (type == EGDA_TYPE_U8) {
        const Bytes bytes = bytesFromHex(json);
        if (static_cast<std::int64_t>(bytes.size()) != count) {
            throw WrongText("a line of " + std::to_string(bytes.size()) + " values");
        }
        raw(bytes);
    } else {
        if (!json.is_array() || static_cast<std::int64_t>(json.size()) != count) {
            throw WrongText("a line of " + std::to_string(json.size()) + " values");
        }
        for (const Json& value : json) {
            pixel(value, type);
        }
    }
}

void StreamWriter::baseData(const Json& json, const Emif_DesignItem& item)
{
    const auto rows = wholeFrom(memberOf(json, "rows"), 0, kMostCount);
    const auto columns = wholeFrom(memberOf(json, "columns"), 0, kMostCount);
    const auto type = nameIndex(memberOf(json, "type"), itemNamed(item, "datatype"));
    const auto object = nameIndex(memberOf(json, "object"), itemNamed(item, "objecttype"));
    number(static_cast<std::int32_t>(rows));
    number(static_cast<std::int32_t>(columns));
    number(static_cast<std::uint16_t>(type));
    number(static_cast<std::uint16_t>(object));
    const bool isMatrix = object == EGDA_MATRIX_OBJECT;
    const std::int64_t lines = rows == 0 || columns == 0 ? 0 : isMatrix ? columns : rows;
    const Json& values = memberOf(json, "values");
    if (!values.is_array() || static_cast<std::int64_t>(values.size()) != lines) {
        throw WrongText("there are to be " + std::to_string(lines) + " lines of values");
    }
    for (const Json& one : values) {
        line(one, type, isMatrix ? rows : columns);
    }
}

}  // namespace tool
