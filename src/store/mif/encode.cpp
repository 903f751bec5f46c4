#include "frame/guard/nested.h"
#include "store/mif/stream.h"
#include "store/mif/types.h"

#include "frame/memory/heap_ptr.h"

#include <charconv>
#include <emantle/files/efio/handle.h>

namespace emantle::mif {

namespace {

/* Writes the textual form of designs behind a text. */
class Encoder {
public:
    explicit Encoder(EerrException& scope) : scope_(scope) {}

    std::string dictionary(const Emif_Dictionary& source)
    {
        for (const Emif_Design* each = source.first; each != nullptr; each = each->next) {
            asFunction(scope_, "emif_EncodeDesign", [&] { design(each); });
        }
        text_ += '.';
        return std::move(text_);
    }

private:
    void design(const Emif_Design* source)
    {
        require(source, "No design");
        require(source->name, "No design name");
        text_ += '{';
        for (const Emif_DesignItem* each = source->items; each != nullptr; each = each->next) {
            asFunction(scope_, "emif_EncodeItem", [&] { item(*each); });
        }
        text_ += '}';
        name(source->name);
    }

    void item(const Emif_DesignItem& source)
    {
        require(source.name, "No item name");
        require(isKnown(source.type), "Invalid Emif_Type %ld", long{source.type});
        number(source.count);
        if (source.isPointer != 0) {
            text_ += source.isCountedPointer != 0 ? 'p' : '*';
        }
        text_ += kTypes[source.type].letter;
        if (source.type == EMIF_TYPE_DESIGN) {
            asFunction(scope_, "emif_EncodeDesign", [&] { design(source.design); });
        } else if (source.type == EMIF_TYPE_NAMED_DESIGN) {
            require(source.design, "No design");
            require(source.design->name, "No design name");
            name(source.design->name);
        } else if (source.type == EMIF_TYPE_ENUM) {
            number(source.enumCount);
            for (int i = 0; i < source.enumCount; ++i) {
                require(source.enumNames != nullptr && source.enumNames[i] != nullptr, "No item name");
                name(source.enumNames[i]);
            }
        }
        name(source.name);
    }

    void number(int value)
    {
        char digits[16];
        text_.append(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
        text_ += ':';
    }

    void name(const char* source)
    {
        text_ += source;
        text_ += ',';
    }

    EerrException& scope_;
    std::string text_;
};

/* The text; the dictionary counts as encoded from here on. */
std::string encodeAndSettle(EerrException& scope, Emif_Dictionary& dictionary)
{
    std::string text = encodeDictionary(scope, dictionary);
    dictionary.changed = 0;
    return text;
}

}  // namespace

std::string encodeDictionary(EerrException& scope, const Emif_Dictionary& dictionary)
{
    return asFunction(scope, "emif_DictionaryEncode", "DictionaryEncode fail",
                      [&] { return Encoder(scope).dictionary(dictionary); });
}

}  // namespace emantle::mif

using namespace emantle;
using namespace emantle::mif;

EMANTLE_API long emif_DictionaryEncodedLength(Emif_Dictionary* dictionary, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "emif_DictionaryEncodedLength", 0, [&](EerrException& scope) {
        require(dictionary, "Args");
        return static_cast<long>(encodeAndSettle(scope, *dictionary).size());
    });
}

EMANTLE_API char* emif_DictionaryEncodeToString(Emif_Dictionary* dictionary, Eerr_ErrorReport** err)
{
    return guarded<char*>(err, "emif_DictionaryEncodeToString", nullptr, [&](EerrException& scope) {
        require(dictionary, "Args");
        /* The text is measured by the same walk that makes it. */
        return heapText(asFunction(scope, "emif_DictionaryEncodedLength", [&] {
                   return encodeAndSettle(scope, *dictionary);
               })).release();
    });
}

EMANTLE_API long emif_EncodeDictionary(Efio_File* file, Emif_Dictionary* dictionary, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "emif_EncodeDictionary", 0, [&](EerrException& scope) {
        require(file != nullptr && dictionary != nullptr, "Args");
        const std::string text = encodeDictionary(scope, *dictionary);
        const auto length = static_cast<long>(text.size());
        checked(scope, efio_FileWriteSequential(file, text.data(), length, scope), "writeFunc failed");
        dictionary->changed = 0;
        return length;
    });
}
