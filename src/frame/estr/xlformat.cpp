#include "frame/estr/xlformat.h"

#include "frame/estr/letters.h"
#include "frame/guard/guard.h"
#include "frame/memory/heap_ptr.h"

#include <algorithm>
#include <cstring>
#include <string_view>
#include <vector>

namespace emantle {

namespace {

using xl::Kind;
using xl::Piece;
using xl::Section;

constexpr std::size_t kLongest = 4096;

class Reader {
public:
    explicit Reader(std::string_view format) : format_(format) {}

    void run()
    {
        constexpr std::size_t most = xl::kMostSections + 1;
        bool text = false;
        do {
            if (text) {
                refuse("\"@\" stands in the last section only");
            }
            if (sections.size() == most) {
                refuse("a format has at most four sections");
            }
            text = readSection();
        } while (take(';'));
        if (sections.size() == most || (text && sections.size() > 1)) {
            sections.pop_back();
        }
    }

    std::vector<Piece> pieces;
    std::vector<Section> sections;

private:
    enum class Part { whole, decimals, exponent };

    [[noreturn]] void refuse(const char* why) const
    {
        fail("Number format, position %ld: %s", static_cast<long>(at_) + 1, why);
    }

    char next() const { return at_ < format_.size() ? format_[at_] : '\0'; }

    bool take(char c)
    {
        const bool there = at_ < format_.size() && format_[at_] == c;
        at_ += there ? 1 : 0;
        return there;
    }

    /* One character, which UTF-8 may spread over several bytes. */
    std::string_view takeCharacter()
    {
        if (at_ == format_.size()) {
            refuse("a character is expected");
        }
        const std::size_t begin = at_++;
        while (at_ < format_.size() && (static_cast<unsigned char>(format_[at_]) & 0xC0) == 0x80) {
            ++at_;
        }
        return format_.substr(begin, at_ - begin);
    }

    std::string_view takeThrough(char end, const char* whereThereIsNone)
    {
        const std::size_t found = format_.find(end, at_);
        if (found == format_.npos) {
            refuse(whereThereIsNone);
        }
        const std::string_view taken = format_.substr(at_, found - at_);
        at_ = found + 1;
        return taken;
    }

    void add(Kind kind, char text = '\0') { pieces.push_back({kind, text}); }

    void addLiteral(std::string_view text)
    {
        for (const char c : text) {
            add(Kind::literal, c);
        }
    }

    bool readSection()
    {
        now_ = Section{};
        now_.begin = static_cast<std::int32_t>(pieces.size());
        part_ = Part::whole;
        commas_ = 0;
        text_ = behindDigit_ = false;
        while (at_ < format_.size() && next() != ';') {
            readPiece();
        }
        if (part_ == Part::exponent && now_.exponents == 0) {
            refuse("a place for a digit of the exponent is expected");
        }
        if (now_.general && now_.wholes + now_.decimals > 0) {
            refuse("General does not stand beside places for digits");
        }
        divideByCommas();
        now_.end = static_cast<std::int32_t>(pieces.size());
        sections.push_back(now_);
        return text_;
    }

    void readPiece()
    {
        const char c = next();
        const bool wasBehindDigit = std::exchange(behindDigit_, false);
        switch (c) {
        case '0':
        case '#':
        case '?':
            return readDigit();
        case ',':
            return readComma(wasBehindDigit);
        case '.':
            return readPoint();
        case 'E':
        case 'e':
            return readExponent();
        case '"':
            ++at_;
            return addLiteral(takeThrough('"', "the text has no second quote"));
        case '\\':
            ++at_;
            return addLiteral(takeCharacter());
        case '_':
            ++at_;
            takeCharacter();
            return add(Kind::literal, ' ');
        case '*':
            ++at_;
            takeCharacter();
            return;
        case '[':
            return readBrackets();
        case '@':
            ++at_;
            text_ = true;
            return addGeneral();
        case 'G':
        case 'g':
            return readGeneral();
        case '%':
            now_.shift += 2;
            break;
        default:
            if (static_cast<unsigned char>(c) < 0x80 && (c == 0 || std::strchr(" $+-():!^&'~{}<>=|", c) == nullptr)) {
                refuse("the character must stand in quotes");
            }
        }
        ++at_;
        add(Kind::literal, c);
    }

    void readDigit()
    {
        const char c = format_[at_++];
        behindDigit_ = true;
        add(Kind::digit, c);
        if (part_ == Part::whole) {
            now_.grouped = now_.grouped || commas_ > 0;
            commas_ = 0;
            ++now_.wholes;
        } else if (part_ == Part::decimals) {
            ++now_.decimals;
            now_.lastZero = c == '0' ? now_.decimals : now_.lastZero;
        } else {
            ++now_.exponents;
        }
    }

    /* Whether commas behind a whole digit group or divide is known when the next digit, or none, follows. */
    void readComma(bool behindDigit)
    {
        ++at_;
        if (behindDigit && part_ != Part::exponent) {
            ++commas_;
            behindDigit_ = true;
        } else {
            add(Kind::literal, ',');
        }
    }

    void divideByCommas()
    {
        now_.shift -= 3 * commas_;
        commas_ = 0;
    }

    /* A number without places for whole digits still prints those that it has. */
    void endWholes()
    {
        divideByCommas();
        if (now_.wholes == 0) {
            add(Kind::digit, '#');
            ++now_.wholes;
        }
    }

    void readPoint()
    {
        if (part_ != Part::whole) {
            refuse("a second decimal point");
        }
        endWholes();
        ++at_;
        add(Kind::point, '.');
        part_ = Part::decimals;
    }

    void readExponent()
    {
        if (part_ == Part::exponent) {
            refuse("a second exponent");
        }
        if (part_ == Part::whole) {
            endWholes();
        }
        divideByCommas();
        add(Kind::exponent, format_[at_++]);
        now_.alwaysSigned = next() == '+';
        if (!take('+') && !take('-')) {
            refuse("\"+\" or \"-\" is expected behind the letter of an exponent");
        }
        part_ = Part::exponent;
    }

    void readBrackets()
    {
        ++at_;
        const std::string_view inside = takeThrough(']', "the bracket is not closed");
        if (!inside.empty() && inside[0] == '$') {
            addLiteral(inside.substr(1, inside.find('-') - 1));
        }
    }

    void addGeneral()
    {
        now_.general = true;
        add(Kind::general);
    }

    void readGeneral()
    {
        constexpr std::string_view word = "general";
        const std::string_view there = format_.substr(at_, word.size());
        if (!std::equal(there.begin(), there.end(), word.begin(), word.end(),
                        [](char a, char b) { return lower(a) == b; })) {
            refuse("the character must stand in quotes");
        }
        at_ += word.size();
        addGeneral();
    }

    std::string_view format_;
    std::size_t at_ = 0;
    Section now_{};
    Part part_ = Part::whole;
    std::int32_t commas_ = 0;
    bool text_ = false;
    bool behindDigit_ = false;
};

} // namespace

} // namespace emantle

using namespace emantle;

EMANTLE_API Estr_XLFormat* estr_XLFormatCreate(const char* format, Eerr_ErrorReport** err)
{
    return guarded<Estr_XLFormat*>(err, "estr_XLFormatCreate", nullptr, [&] {
        require(format != nullptr, "Args");
        const std::size_t length = strnlen(format, kLongest + 1);
        require(length <= kLongest, "The number format is longer than %zu bytes", kLongest);
        Reader reader(length == 0 ? "General" : std::string_view(format, length));
        reader.run();
        Owned<Estr_XLFormat, estr_XLFormatFree> made(allocate<Estr_XLFormat>().release());
        made->count = static_cast<std::int32_t>(reader.sections.size());
        std::copy(reader.sections.begin(), reader.sections.end(), made->sections);
        made->pieces = allocate<Piece>(reader.pieces.size()).release();
        std::copy(reader.pieces.begin(), reader.pieces.end(), made->pieces);
        return made.release();
    });
}

EMANTLE_API void estr_XLFormatFree(Estr_XLFormat* format)
{
    if (format != nullptr) {
        emsc_HeapFree(format->pieces);
        emsc_HeapFree(format);
    }
}

EMANTLE_API char* estr_XLFormatPrintNumber(const Estr_XLFormat* format, double number, char* buffer, long size,
                                           Eerr_ErrorReport** err)
{
    return guarded<char*>(err, "estr_XLFormatPrintNumber", nullptr, [&] {
        require(format != nullptr, "Args");
        const std::string text = xl::printed(*format, number);
        if (buffer == nullptr) {
            return heapText(text).release();
        }
        require(size > 0 && text.size() < static_cast<std::size_t>(size),
                "The text takes %ld bytes; the buffer has %ld", static_cast<long>(text.size()) + 1, size);
        std::memcpy(buffer, text.c_str(), text.size() + 1);
        return buffer;
    });
}

EMANTLE_API Estr_StringList* estr_XLFormatPrintNumberGroup(const Estr_XLFormat* format, long count,
                                                           const double* numbers, Eerr_ErrorReport** err)
{
    return guarded<Estr_StringList*>(err, "estr_XLFormatPrintNumberGroup", nullptr, [&](EerrException& scope) {
        require(format != nullptr && count >= 0 && (numbers != nullptr || count == 0), "Args");
        EstrStringList list(checked(scope, estr_StringListCreate(count, scope)));
        for (long index = 0; index < count; ++index) {
            list->strings[index] = heapText(xl::printed(*format, numbers[index])).release();
        }
        return list.Release();
    });
}
