#include "store/mif/decode.h"

#include "store/mif/stream.h"

#include <algorithm>
#include <emantle/files/efio/handle.h>

namespace emantle::mif {

namespace {

/* A text that names designs by `o`, or holds a `b`, yields more than it spells out: each design inside is a copy. What a
 * text yields is held against its length, so that a short text cannot take the machine's memory. */
constexpr int64_t kWeightAtStart = 512;
constexpr int64_t kWeightPerCharacter = 8;
constexpr int64_t kMostWeight = int64_t{1} << 20;

bool isDigit(char character) noexcept
{
    return character >= '0' && character <= '9';
}

bool isPrintable(char character) noexcept
{
    return character >= ' ' && character <= '~';
}

unsigned long codeOf(char character) noexcept
{
    return static_cast<unsigned char>(character);
}

class Decoder {
public:
    Decoder(EerrException& scope, Characters& characters, Emif_Dictionary& dictionary, bool onItsOwn)
        : scope_(scope), characters_(characters), editor_(dictionary), onItsOwn_(onItsOwn)
    {
    }

    /* Null where the text ended, as below. */
    DesignPtr decodeNext()
    {
        return asFunction(scope_, "emif_DecodeDesign", [&] { return decodeDesign(1); });
    }

    Emif_Design* addNext()
    {
        DesignPtr design = decodeNext();
        if (design == nullptr) {
            return nullptr;
        }
        chargeParts(*design);
        return editor_.take(scope_, std::move(design));
    }

    /* Whether what was thrown is the fault of the text: it may also be for want of memory, or of the disk. */
    bool metDamage() const noexcept { return isDamaged_ || characters_.isAtEnd(); }

private:
    char next() { return characters_.next(scope_); }

    bool sound(bool holds) noexcept
    {
        isDamaged_ = isDamaged_ || !holds;
        return holds;
    }

    void charge(int64_t weight)
    {
        weight_ += weight;
        const auto read = static_cast<int64_t>(std::min<uint64_t>(characters_.consumed(), kMostWeight));
        const int64_t most = std::min(kWeightAtStart + kWeightPerCharacter * read, kMostWeight);
        require(sound(weight_ <= most), "The designs hold more than %ld items", long{most});
    }

    /* The designs inside that will enter the dictionary as well. */
    void chargeParts(const Emif_Design& design)
    {
        for (const Emif_DesignItem* item = design.items; item != nullptr; item = item->next) {
            if (item->design != nullptr && editor_.find(item->design->name) == nullptr) {
                charge(extentOf(*item->design).weight);
                chargeParts(*item->design);
            }
        }
    }

    DesignPtr decodeDesign(int depth)
    {
        const char start = next();
        if (start == '.') {
            return nullptr;
        }
        require(sound(start == '{'), "Illegal object definition; start char = %c, 0x%02lx", start, codeOf(start));
        require(sound(depth <= EMIF_DEPTH_LIMIT), "Designs nest deeper than %d", int{EMIF_DEPTH_LIMIT});
        DesignBuilder builder;
        while (asFunction(scope_, "emif_DecodeItem", [&] { return decodeItem(builder, depth); })) {
        }
        HeapPtr<char> name = decodeName();
        DesignPtr design;
        laidOut([&] { design = builder.finish(std::move(name)); });
        const Emif_Design* ours = findPrivate(design->name);
        return ours == nullptr ? std::move(design) : copied(*ours);
    }

    /* False at the design's closing brace. */
    bool decodeItem(DesignBuilder& builder, int depth)
    {
        const int64_t count = asFunction(scope_, "emif_DecodeItemCount", [&] { return decodeCount(); });
        if (count < 0) {
            return false;
        }
        charge(1);
        Emif_DesignItem& item = builder.append();
        item.count = static_cast<int32_t>(count);
        char letter = next();
        if (letter == '*' || letter == 'p') {
            item.isPointer = 1;
            item.isCountedPointer = letter == 'p';
            letter = next();
        }
        item.type = typeOfLetter(letter);
        decodeNested(item, depth);
        item.name = decodeName().release();
        laidOut([&] { builder.place(); });
        return true;
    }

    /* Laying out takes no memory: where it fails the text asks for too much. */
    template <class Body>
    void laidOut(Body body)
    {
        isDamaged_ = true;
        body();
        isDamaged_ = false;
    }

    void decodeNested(Emif_DesignItem& item, int depth)
    {
        switch (item.type) {
        case EMIF_TYPE_DESIGN:
            item.design = asFunction(scope_, "emif_DecodeDesign", [&] { return decodeDesign(depth + 1); }).release();
            require(sound(item.design != nullptr), "emif_DecodeDesign failed");
            break;
        case EMIF_TYPE_NAMED_DESIGN:
            item.design = decodeReference().release();
            break;
        case EMIF_TYPE_ENUM:
            decodeEnum(item);
            break;
        case EMIF_TYPE_BASEDATA: {
            const Emif_Design* design = findPrivate("Egda_BaseData");
            require(design, "EMIF_DESIGN_FETCH fail");
            item.design = copied(*design).release();
            break;
        }
        default:
            break;
        }
    }

    /* -1 for a closing brace in front. */
    int64_t decodeCount()
    {
        const char first = next();
        return first == '}' ? -1 : decodeNumber(first, "count");
    }

    int64_t decodeNumber(char character, const char* what)
    {
        int64_t number = 0;
        for (; character != ':'; character = next()) {
            require(sound(isDigit(character)), "Non-numeric character %c (0x%02lx) for count", character, codeOf(character));
            number = 10 * number + (character - '0');
            require(sound(number <= kLargestSize), "The %s is beyond 32 bits", what);
        }
        return number;
    }

    void decodeEnum(Emif_DesignItem& item)
    {
        const int64_t count =
            asFunction(scope_, "emif_DecodeEnumCount", [&] { return decodeNumber(next(), "number of names"); });
        require(sound(count <= std::numeric_limits<int16_t>::max()), "An enumeration of %ld names; the most is %d",
                static_cast<long>(count), int{std::numeric_limits<int16_t>::max()});
        std::vector<HeapPtr<char>> names;
        while (static_cast<int64_t>(names.size()) < count) {
            charge(1);
            names.push_back(decodeName());
        }
        item.enumNames = allocate<char*>(names.size()).release();
        for (HeapPtr<char>& name : names) {
            item.enumNames[item.enumCount++] = name.release();
        }
    }

    DesignPtr decodeReference()
    {
        const HeapPtr<char> name = decodeName();
        const Emif_Design* design = findPrivate(name.get());
        if (design == nullptr) {
            design = editor_.find(name.get());
        }
        if (!sound(design != nullptr)) {
            checked(scope_, emif_DesignCopy(nullptr, scope_));
        }
        return copied(*design);
    }

    HeapPtr<char> decodeName()
    {
        return asFunction(scope_, "emif_DecodeName", [&] {
            name_.clear();
            for (char character = next(); character != ','; character = next()) {
                require(sound(isPrintable(character)), "Non-printable character %c (0x%02lx) for name", character,
                        codeOf(character));
                name_.push_back(character);
            }
            return heapText(name_);
        });
    }

    const Emif_Design* findPrivate(std::string_view name)
    {
        return onItsOwn_ ? nullptr : privateDesign(scope_, name);
    }

    DesignPtr copied(const Emif_Design& design)
    {
        charge(extentOf(design).weight);
        return copyOf(design);
    }

    EerrException& scope_;
    Characters& characters_;
    DictionaryEditor editor_;
    bool onItsOwn_;
    int64_t weight_ = 0;
    bool isDamaged_ = false;
    std::string name_;
};

/* A file from its position on; what was read beyond the text is given back at the end. */
class FileCharacters final : public Characters {
public:
    FileCharacters(EerrException& scope, Efio_File* file)
        : Characters({}), file_(file), start_(checked(scope, efio_Tell(file, scope))),
          left_(checked(scope, efio_FileSizeGetByHandle(file, scope)) - start_)
    {
    }

    void leaveFileBehindText(EerrException& scope)
    {
        checked(scope, efio_Seek(file_, start_ + static_cast<long>(consumed()), EFIO_SEEK_SET, scope));
    }

private:
    std::string_view refill(EerrException& scope) override
    {
        const long size = std::min<long>(left_, static_cast<long>(sizeof buffer_));
        if (size <= 0) {
            return {};
        }
        check(scope);
        efio_ReadSeq(file_, buffer_, size, scope);
        check(scope, "readFunc failed");
        left_ -= size;
        return {buffer_, static_cast<std::size_t>(size)};
    }

    Efio_File* file_;
    long start_;
    long left_;
    char buffer_[4096];
};

void decodeNamed(EerrException& scope, Characters& characters, Emif_Dictionary& dictionary)
{
    asFunction(scope, "emif_DictionaryDecode", [&] { decode(scope, characters, dictionary); });
}

}  // namespace

void Characters::more(EerrException& scope)
{
    const std::string_view piece = refill(scope);
    isAtEnd_ = piece.empty();
    require(!isAtEnd_, "readFunc failed");
    at_ = piece.data();
    end_ = at_ + piece.size();
    given_ += piece.size();
}

void decode(EerrException& scope, Characters& characters, Emif_Dictionary& dictionary)
{
    privateDesign(scope, {});
    Decoder decoder(scope, characters, dictionary, false);
    for (bool isFirst = true;; isFirst = false) {
        try {
            if (decoder.addNext() == nullptr) {
                return;
            }
        } catch (...) {
            if (isFirst || !decoder.metDamage()) {
                throw;
            }
            recordThrown(scope, "emif_DictionaryDecode", __LINE__);
            eerr_PrintErrorReport(scope, EERR_PRINT_ALL);
            Eerr_ErrorReport* told = scope.Release();
            eerr_DeleteErrorReportEx(&told);
            return;
        }
    }
}

void decodeOnItsOwn(EerrException& scope, std::string_view text, Emif_Dictionary& dictionary)
{
    Characters characters(text);
    Decoder decoder(scope, characters, dictionary, true);
    while (decoder.addNext() != nullptr) {
    }
}

DesignPtr decodeOne(EerrException& scope, Characters& characters, Emif_Dictionary& dictionary)
{
    DesignPtr design = Decoder(scope, characters, dictionary, false).decodeNext();
    require(design, "No design");
    return design;
}

std::size_t decodeDictionary(EerrException& scope, std::string_view bytes, Emif_Dictionary& dictionary)
{
    Characters characters(bytes);
    decodeNamed(scope, characters, dictionary);
    return characters.consumed();
}

}  // namespace emantle::mif

using namespace emantle;
using namespace emantle::mif;

EMANTLE_API Emif_Dictionary* emif_DictionaryDecodeFromString(const char* text, Eerr_ErrorReport** err)
{
    return guarded<Emif_Dictionary*>(err, "emif_DictionaryDecodeFromString", nullptr, [&](EerrException& scope) {
        require(text, "Missing dictionary string");
        DictionaryPtr dictionary(checked(scope, emif_DictionaryCreate(scope)));
        decodeDictionary(scope, text, *dictionary);
        return dictionary.release();
    });
}

EMANTLE_API Emif_Dictionary* emif_DecodeDictionary(Efio_File* file, Emif_Dictionary* dictionary, Eerr_ErrorReport** err)
{
    return guarded<Emif_Dictionary*>(err, "emif_DecodeDictionary", nullptr, [&](EerrException& scope) {
        require(file, "Args");
        DictionaryPtr fresh;
        if (dictionary == nullptr) {
            fresh.reset(checked(scope, emif_DictionaryCreate(scope)));
        }
        FileCharacters characters(scope, file);
        decodeNamed(scope, characters, dictionary == nullptr ? *fresh : *dictionary);
        characters.leaveFileBehindText(scope);
        return dictionary == nullptr ? fresh.release() : dictionary;
    });
}
