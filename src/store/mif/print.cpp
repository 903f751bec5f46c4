#include "store/mif/elements.h"
#include "frame/guard/nested.h"

#include <algorithm>
#include <emantle/files/efio/handle.h>
#include <emantle/store/emif/dictionary.h>
#include <string>
#include <string_view>

namespace emantle::mif {

namespace {

/* Of an array this many values are shown. */
constexpr std::size_t kShown = 8;
constexpr std::size_t kIndent = 4;

template <class T>
T valueAt(const uint8_t* place) noexcept
{
    T value;
    std::memcpy(&value, place, sizeof value);
    return value;
}

class Printer {
public:
    std::string objectText(const void* object, const Emif_Design& design)
    {
        record(static_cast<const uint8_t*>(object), design);
        return std::move(text_);
    }

    std::string dictionaryText(const Emif_Dictionary& dictionary)
    {
        for (const Emif_Design* each = dictionary.first; each != nullptr; each = each->next) {
            declaration(*each);
        }
        return std::move(text_);
    }

private:
    static const char* orEmpty(const char* text) noexcept { return text == nullptr ? "" : text; }

    void line(std::string_view text)
    {
        text_.append(depth_ * kIndent, ' ');
        text_ += text;
        text_ += '\n';
    }

    void declaration(const Emif_Design& design)
    {
        line(formatted("struct %s {", orEmpty(design.name)));
        ++depth_;
        for (const Emif_DesignItem* item = design.items; item != nullptr; item = item->next) {
            const char* star = item->isPointer != 0 ? "*" : "";
            line(kindOf(*item) + ' ' + star + orEmpty(item->name) + formatted("[%d]", item->count));
        }
        --depth_;
        line("}");
    }

    static std::string kindOf(const Emif_DesignItem& item)
    {
        if (isRecord(item.type) || item.type == EMIF_TYPE_BASEDATA) {
            return std::string("struct ") + (item.design == nullptr ? "" : orEmpty(item.design->name));
        }
        return isKnown(item.type) ? kTypes[item.type].label : "";
    }

    void record(const uint8_t* place, const Emif_Design& design)
    {
        line(formatted("struct %s {", orEmpty(design.name)));
        ++depth_;
        for (const Emif_DesignItem* each = design.items; each != nullptr; each = each->next) {
            if (isKnown(each->type) && each->type != kNoType) {
                item(place + each->hostOffset, *each);
            }
        }
        --depth_;
        line("}");
    }

    void item(const uint8_t* place, const Emif_DesignItem& item)
    {
        const Elements elements = elementsOf(item, place);
        const std::string start = kindOf(item) + ' ' + orEmpty(item.name) + " = ";
        if (item.type == EMIF_TYPE_CHAR) {
            const auto* text = reinterpret_cast<const char*>(elements.data);
            line(start + '"' + std::string(text, text == nullptr ? 0 : strnlen(text, elements.count)) + '"');
        } else if (isRecord(item.type) && item.design != nullptr && !isGuid(item)) {
            line(start);
            inside(elements, [&](std::size_t i) { record(elementAt(item, elements, i).data, *item.design); });
        } else if (item.type == EMIF_TYPE_BASEDATA) {
            line(start);
            inside(elements, [&](std::size_t i) { values(elementAt(item, elements, i).data); });
        } else {
            line(start + list(elements.count, [&](std::size_t i) { return value(item, elementAt(item, elements, i).data); }));
        }
    }

    template <class Show>
    void inside(const Elements& elements, Show show)
    {
        ++depth_;
        for (std::size_t i = 0; i < std::min(elements.count, kShown); ++i) {
            show(i);
        }
        if (elements.count > kShown) {
            line(", ...");
        }
        --depth_;
    }

    template <class Show>
    static std::string list(std::size_t count, Show show)
    {
        std::string text;
        for (std::size_t i = 0; i < std::min(count, kShown); ++i) {
            text += (i == 0 ? "" : ", ") + show(i);
        }
        return count > kShown ? text + ", ..." : text;
    }

    void values(const uint8_t* place)
    {
        const auto data = valueAt<Egda_BaseData>(place);
        line(formatted("%d rows, %d columns", data.numrows, data.numcolumns));
        line("BaseData Values:");
        if (data.firstelement == nullptr || data.datatype < 0 || data.datatype > EGDA_TYPE_C128) {
            return;
        }
        const Emif_Type type = kValueTypes[data.datatype];
        const auto bytes = static_cast<std::size_t>(kTypes[type].hostBytes);
        const Lines lines = linesOf(data);
        const auto* first = static_cast<const uint8_t*>(data.firstelement);
        ++depth_;
        for (std::size_t i = 0; i < std::min(lines.count, kShown); ++i) {
            const uint8_t* at = first + static_cast<std::ptrdiff_t>(i) * data.pitch;
            line(list(lines.perLine, [&](std::size_t k) { return number(type, at + k * bytes); }));
        }
        if (lines.count > kShown) {
            line(", ...");
        }
        --depth_;
    }

    static bool isGuid(const Emif_DesignItem& item) noexcept
    {
        return item.design != nullptr && std::string_view(orEmpty(item.design->name)) == "Emif_CLSID" &&
               item.hostBytesPerElement == 16;
    }

    static std::string value(const Emif_DesignItem& item, const uint8_t* place)
    {
        if (isGuid(item)) {
            return guid(place);
        }
        if (item.type == EMIF_TYPE_ENUM) {
            const auto index = valueAt<uint32_t>(place);
            const bool isNamed = index < static_cast<uint32_t>(std::max<int>(item.enumCount, 0));
            return isNamed ? orEmpty(item.enumNames[index]) : formatted("%u", index);
        }
        return number(item.type, place);
    }

    static std::string guid(const uint8_t* place)
    {
        std::string text = formatted("%.8lX-%.4X-%.4X-", static_cast<unsigned long>(valueAt<uint32_t>(place)),
                                     unsigned{valueAt<uint16_t>(place + 4)}, unsigned{valueAt<uint16_t>(place + 6)});
        for (int i = 8; i < 16; ++i) {
            text += formatted(i == 10 ? "-%.2X" : "%.2X", unsigned{place[i]});
        }
        return text;
    }

    static std::string number(Emif_Type type, const uint8_t* place)
    {
        switch (type) {
        case EMIF_TYPE_USHORT:
            return formatted("%u", unsigned{valueAt<uint16_t>(place)});
        case EMIF_TYPE_SHORT:
            return formatted("%d", int{valueAt<int16_t>(place)});
        case EMIF_TYPE_ULONG:
            return formatted("%u", valueAt<uint32_t>(place));
        case EMIF_TYPE_LONG:
        case EMIF_TYPE_S32:
            return formatted("%d", valueAt<int32_t>(place));
        case EMIF_TYPE_CHAR:
            return formatted("%d", int{valueAt<signed char>(place)});
        case EMIF_TYPE_FLOAT:
            return formatted("%-17.8le", double{valueAt<float>(place)});
        case EMIF_TYPE_DOUBLE:
        case EMIF_TYPE_TIME:
            return formatted("%-25.16le", valueAt<double>(place));
        case EMIF_TYPE_COMPLEX:
            return formatted("(%-17.8le, %-17.8le)", double{valueAt<float>(place)}, double{valueAt<float>(place + 4)});
        case EMIF_TYPE_DCOMPLEX:
            return formatted("(%-25.16le, %-25.16le)", valueAt<double>(place), valueAt<double>(place + 8));
        default:
            return formatted("%u", unsigned{*place});
        }
    }

    std::string text_;
    std::size_t depth_ = 0;
};

void writeText(EerrException& scope, Efio_File* file, const std::string& text)
{
    checked(scope, efio_FileWriteSequential(file, text.data(), static_cast<long>(text.size()), scope));
}

}  // namespace

}  // namespace emantle::mif

using namespace emantle;
using namespace emantle::mif;

EMANTLE_API void emif_FprintfDictionary(Efio_File* file, const Emif_Dictionary* dictionary, Eerr_ErrorReport** err)
{
    guarded(err, "emif_FprintfDictionary", [&](EerrException& scope) {
        require(file, "Args");
        writeText(scope, file, dictionary == nullptr ? "<NULL>\n" : Printer().dictionaryText(*dictionary));
    });
}

EMANTLE_API void emif_FprintfDesign(Efio_File* file, const void* object, const Emif_Design* design,
                                    Eerr_ErrorReport** err)
{
    guarded(err, "emif_FprintfDesign", [&](EerrException& scope) {
        require(file != nullptr && design != nullptr, "Args");
        writeText(scope, file, object == nullptr ? "<NULL>\n" : Printer().objectText(object, *design));
    });
}
