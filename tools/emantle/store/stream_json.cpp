#include "store/stream_json.h"

#include "store/stream_writer.h"

#include <emantle/data/egda.h>

#include <cstring>

namespace tool {

namespace {

/* Thrown where the bytes are not what the design says. */
struct DoesNotFit {};

/* A value of a text form takes many times the memory of its bytes, so that records of more of them stay bytes. */
constexpr std::size_t kMostValues = std::size_t{1} << 22;

class StreamReader {
public:
    explicit StreamReader(const Bytes& bytes) : bytes_(bytes) {}

    std::size_t used() const { return at_; }

    Json record(const Emif_Design& design)
    {
        Json json = Json::object();
        for (const Emif_DesignItem* one = design.items; one != nullptr; one = one->next) {
            if (one->name == nullptr || json.contains(one->name)) {
                throw DoesNotFit();
            }
            json[one->name] = item(*one);
        }
        return json;
    }

private:
    Bytes take(std::size_t size)
    {
        if (size > bytes_.size() - at_) {
            throw DoesNotFit();
        }
        const auto from = bytes_.begin() + static_cast<std::ptrdiff_t>(at_);
        at_ += size;
        return {from, from + static_cast<std::ptrdiff_t>(size)};
    }

    void countOne()
    {
        if (++values_ > kMostValues) {
            throw DoesNotFit();
        }
    }

    template <class Value>
    Value number()
    {
        Value value;
        if (sizeof value > bytes_.size() - at_) {
            throw DoesNotFit();
        }
        std::memcpy(&value, bytes_.data() + at_, sizeof value);
        at_ += sizeof value;
        return value;
    }

    Json item(const Emif_DesignItem& item)
    {
        std::int64_t count = item.count;
        if (item.isPointer != 0) {
            count = number<std::int32_t>();
            number<std::uint32_t>();
        }
        if (count < 0) {
            throw DoesNotFit();
        }
        if (const int bits = packedBits(item.type); bits != 0) {
            const Json digits = packed(bits, count);
            return item.isPointer == 0 && count == 1 ? Json(digitValue(digits)) : count == 0 ? Json() : digits;
        }
        if (count == 0) {
            return nullptr;
        }
        if (item.type == EMIF_TYPE_CHAR) {
            const Bytes text = take(static_cast<std::size_t>(count));
            return item.isPointer != 0 ? countedTextJson(text) : fieldJson(text);
        }
        if (item.isPointer == 0 && count == 1) {
            return element(item);
        }
        if (item.type == EMIF_TYPE_UCHAR) {
            return hexOf(take(static_cast<std::size_t>(count)));
        }
        return elements(item, count);
    }

    static int digitValue(const Json& digits)
    {
        const char c = digits.get_ref<const std::string&>()[0];
        return c <= '9' ? c - '0' : c - 'a' + 10;
    }

    Json packed(int bits, std::int64_t count)
    {
        const Bytes bytes = take(packedSize(bits, count));
        std::string digits(static_cast<std::size_t>(count), '0');
        for (std::size_t i = 0; i < digits.size(); ++i) {
            const std::size_t bit = i * static_cast<std::size_t>(bits);
            const int value = bytes[bit / 8] >> bit % 8 & ((1 << bits) - 1);
            digits[i] = "0123456789abcdef"[value];
        }
        return digits;
    }

    /* Elements that take no bytes could be any number of them. */
    Json elements(const Emif_DesignItem& item, std::int64_t count)
    {
        Json values = Json::array();
        for (std::int64_t i = 0; i < count; ++i) {
            const std::size_t before = at_;
            values.push_back(element(item));
            if (at_ == before) {
                throw DoesNotFit();
            }
        }
        return values;
    }

    Json element(const Emif_DesignItem& item)
    {
        countOne();
        switch (item.type) {
        case EMIF_TYPE_DESIGN:
        case EMIF_TYPE_NAMED_DESIGN:
            if (item.design == nullptr) {
                throw DoesNotFit();
            }
            return record(*item.design);
        case EMIF_TYPE_ENUM: return nameOrNumber(item, number<std::uint16_t>());
        case EMIF_TYPE_UCHAR: return static_cast<unsigned>(number<std::uint8_t>());
        case EMIF_TYPE_USHORT: return number<std::uint16_t>();
        case EMIF_TYPE_SHORT: return number<std::int16_t>();
        case EMIF_TYPE_ULONG: return number<std::uint32_t>();
        case EMIF_TYPE_LONG:
        case EMIF_TYPE_S32: return number<std::int32_t>();
        case EMIF_TYPE_FLOAT: return realJson(number<float>());
        case EMIF_TYPE_DOUBLE:
        case EMIF_TYPE_TIME: return realJson(number<double>());
        case EMIF_TYPE_COMPLEX: return complex<float>();
        case EMIF_TYPE_DCOMPLEX: return complex<double>();
        case EMIF_TYPE_BASEDATA: return baseData(item);
        default: return nullptr;
        }
    }

    /* Of two equal names only the first is told by name. */
    static Json nameOrNumber(const Emif_DesignItem& item, std::uint16_t value)
    {
        if (value >= item.enumCount || item.enumNames == nullptr) {
            return value;
        }
        for (std::uint16_t i = 0; i < value; ++i) {
            if (std::strcmp(item.enumNames[i], item.enumNames[value]) == 0) {
                return value;
            }
        }
        return item.enumNames[value];
    }

    template <class Part>
    Json complex()
    {
        Json real = realJson(number<Part>());
        return Json::array({std::move(real), realJson(number<Part>())});
    }

    Json pixel(std::uint16_t type)
    {
        countOne();
        switch (type) {
        case EGDA_TYPE_S8: return static_cast<int>(number<std::int8_t>());
        case EGDA_TYPE_U16: return number<std::uint16_t>();
        case EGDA_TYPE_S16: return number<std::int16_t>();
        case EGDA_TYPE_U32: return number<std::uint32_t>();
        case EGDA_TYPE_S32: return number<std::int32_t>();
        case EGDA_TYPE_F32: return realJson(number<float>());
        case EGDA_TYPE_F64: return realJson(number<double>());
        case EGDA_TYPE_C64: return complex<float>();
        case EGDA_TYPE_C128: return complex<double>();
        default: throw DoesNotFit();
        }
    }

    Json line(std::uint16_t type, std::int64_t count)
    {
        if (type <= EGDA_TYPE_U4) {
            return packed(1 << type, count);
        }
        if (type == EGDA_TYPE_U8) {
            return hexOf(take(static_cast<std::size_t>(count)));
        }
        Json values = Json::array();
        for (std::int64_t i = 0; i < count; ++i) {
            values.push_back(pixel(type));
        }
        return values;
    }

    static const Emif_DesignItem* itemNamed(const Emif_DesignItem& item, const char* name)
    {
        for (const Emif_DesignItem* one = item.design == nullptr ? nullptr : item.design->items; one != nullptr;
             one = one->next) {
            if (std::strcmp(one->name, name) == 0) {
                return one;
            }
        }
        throw DoesNotFit();
    }

    Json baseData(const Emif_DesignItem& item)
    {
        const std::int64_t rows = number<std::int32_t>();
        const std::int64_t columns = number<std::int32_t>();
        const auto type = number<std::uint16_t>();
        const auto object = number<std::uint16_t>();
        if (rows < 0 || columns < 0) {
            throw DoesNotFit();
        }
        const bool isMatrix = object == EGDA_MATRIX_OBJECT;
        const std::int64_t lines = rows == 0 || columns == 0 ? 0 : isMatrix ? columns : rows;
        Json values = Json::array();
        for (std::int64_t i = 0; i < lines; ++i) {
            values.push_back(line(type, isMatrix ? rows : columns));
        }
        return {{"rows", rows},
                {"columns", columns},
                {"type", nameOrNumber(*itemNamed(item, "datatype"), type)},
                {"object", nameOrNumber(*itemNamed(item, "objecttype"), object)},
                {"values", std::move(values)}};
    }

    const Bytes& bytes_;
    std::size_t at_ = 0;
    std::size_t values_ = 0;
};

/* Whether what was written of a record are the bytes that it was read from. */
bool isSame(const StreamWriter& written, const Bytes& bytes, std::size_t size)
{
    if (written.bytes().size() != size) {
        return false;
    }
    Bytes original(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
    for (const std::size_t head : written.heads()) {
        std::memcpy(&original[head], &written.bytes()[head], 4);
    }
    return original == written.bytes();
}

bool holdsPositions(const Emif_Design& design, int depth)
{
    for (const Emif_DesignItem* item = design.items; item != nullptr; item = item->next) {
        const bool below = item->design != nullptr && depth < EMIF_DEPTH_LIMIT && holdsPositions(*item->design, depth + 1);
        if (item->isPointer != 0 || below) {
            return true;
        }
    }
    return false;
}

}  // namespace

std::optional<StreamRecord> recordFromStream(const Bytes& bytes, const Emif_Design& design)
{
    try {
        StreamReader reader(bytes);
        StreamRecord record{reader.record(design), 0};
        record.size = reader.used();
        StreamWriter again(0);
        again.record(record.json, design);
        return isSame(again, bytes, record.size) ? std::optional(std::move(record)) : std::nullopt;
    } catch (const DoesNotFit&) {
        return std::nullopt;
    } catch (const WrongText&) {
        return std::nullopt;
    }
}

Bytes streamFromRecord(const Json& json, const Emif_Design& design, std::uint32_t position)
{
    StreamWriter writer(position);
    writer.record(json, design);
    return writer.bytes();
}

bool holdsPositions(const Emif_Design& design)
{
    return holdsPositions(design, 0);
}

}  // namespace tool
