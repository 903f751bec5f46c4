#include "data/egda/ascii_element.h"
#include "data/egda/ascii_read.h"
#include "data/egda/ascii_scan.h"
#include "frame/guard/nested.h"

#include <emantle/frame/estr/build.h>

#include <algorithm>

namespace emantle {

namespace {

constexpr Say kReadError{"Error reading ASCII file", 1};
constexpr long kLineSize = 2048;

class FileSource {
public:
    FileSource(EerrException& scope, Efio_File* file) : scope_(scope), file_(file) {}

    int peek()
    {
        if (!held_) {
            byte_ = efio_Fgetc(file_, scope_);
            check(scope_, kReadError);
            held_ = true;
        }
        return static_cast<int>(byte_);
    }
    void take() { held_ = byte_ < 0; }

    /* Gives the byte that was looked at back to the file, for a reader of lines. */
    void giveBack()
    {
        if (held_ && byte_ >= 0) {
            efio_Ungetc(byte_, file_, scope_);
            check(scope_, kReadError);
        }
        held_ = false;
    }

private:
    EerrException& scope_;
    Efio_File* file_;
    long byte_ = 0;
    bool held_ = false;
};

class TextSource {
public:
    explicit TextSource(std::string_view text) : text_(text) {}
    int peek() const { return text_.empty() ? -1 : static_cast<unsigned char>(text_.front()); }
    void take() { text_.remove_prefix(!text_.empty()); }

private:
    std::string_view text_;
};

template <class T>
void store(void* element, T value) noexcept
{
    std::memcpy(element, &value, sizeof value);
}

/* A number as the format of its type gives it: beyond the format's own type it wraps, and small types are then limited. */
void storeWhole(Egda_PixelType type, void* element, long value) noexcept
{
    const auto limited = [&](int high) {
        store(element, static_cast<std::uint8_t>(std::min<int>(static_cast<std::uint16_t>(value), high)));
    };
    switch (type) {
    case EGDA_TYPE_U1:
        return limited(1);
    case EGDA_TYPE_U2:
        return limited(3);
    case EGDA_TYPE_U4:
        return limited(15);
    case EGDA_TYPE_U8:
        return limited(255);
    case EGDA_TYPE_S8: {
        const auto wrapped = static_cast<std::int32_t>(value);
        return store(element, static_cast<std::int8_t>(wrapped > 127 ? 127 : wrapped < -127 ? -128 : wrapped));
    }
    case EGDA_TYPE_U16:
    case EGDA_TYPE_S16:
        return store(element, static_cast<std::uint16_t>(value));
    default:
        return store(element, static_cast<std::uint32_t>(value));
    }
}

template <class Float>
void storePart(void* element, std::optional<Float> value, Say failure)
{
    require(value.has_value(), failure);
    store(element, *value);
}

template <class Float, class Scan>
void readComplex(Scan& scan, void* element)
{
    constexpr Say failure{"Error reading ASCII file", 2};
    scan.blanks();
    require(scan.literal('('), failure);
    Float parts[2];
    storePart(&parts[0], scan.template real<Float>(), failure);
    require(scan.literal(','), failure);
    storePart(&parts[1], scan.template real<Float>(), failure);
    scan.literal(')');
    std::memcpy(element, parts, sizeof parts);
}

void readString(EerrException& scope, Efio_File* file, void* element)
{
    char line[kLineSize];
    const char* read = efio_Fgets(line, sizeof line, file, scope);
    check(scope, {"efio_Fgets failed", 1});
    require(read != nullptr, {"Error reading ASCII file", 3});
    std::replace(line, line + std::strlen(line), '\n', '\0');
    char* copy = estr_StringCopy(loadAs<char*>(element), line);
    require(copy != nullptr, {"Error reading ASCII file", 3});
    store(element, copy);
}

void readElement(EerrException& scope, Efio_File* file, FileSource& source, Egda_PixelType type, void* element)
{
    require(element != nullptr, kReadError);
    AsciiScan scan(source);
    switch (asciiKind(type)) {
    case AsciiKind::whole: {
        const std::optional<long> value = scan.whole();
        require(value.has_value(), kReadError);
        return storeWhole(type, element, *value);
    }
    case AsciiKind::real:
        return type == EGDA_TYPE_F32 ? storePart(element, scan.real<float>(), kReadError)
                                     : storePart(element, scan.real<double>(), kReadError);
    case AsciiKind::complex:
        return type == EGDA_TYPE_C64 ? readComplex<float>(scan, element) : readComplex<double>(scan, element);
    case AsciiKind::string:
        source.giveBack();
        return readString(scope, file, element);
    }
}

}  // namespace

void readAscii(EerrException& scope, Efio_File* file, Egda_BaseDataStack& stack, Say callerSays)
{
    asFunction(scope, "egda_BaseDataStackReadAsciiFile", callerSays, [&] {
        FileSource source(scope, file);
        AsciiWalk(stack).run(
            [&](Egda_PixelType type, void* element, std::size_t, long) {
                asFunction(scope, "egda_ReadElementFromAscii", {"Read error", 2},
                           [&] { readElement(scope, file, source, type, element); });
            },
            [] {});
    });
}

long countAsciiElements(EerrException& scope, std::string_view line, Egda_PixelType type, Say callerSays)
{
    return asFunction(scope, "egda_CountElements", callerSays, [&] {
        TextSource source(line);
        AsciiScan scan(source);
        long count = 0;
        switch (asciiKind(type)) {
        case AsciiKind::whole:
            while (scan.whole()) {
                ++count;
            }
            return count;
        case AsciiKind::real:
            while (scan.template real<double>()) {
                ++count;
            }
            return count;
        case AsciiKind::complex:
            for (;; ++count) {
                scan.blanks();
                if (!scan.literal('(') || !scan.template real<double>()) {
                    return count;
                }
                require(scan.literal(',') && scan.template real<double>(), {"Error reading complex", 1});
                scan.literal(')');
            }
        case AsciiKind::string:
            break;
        }
        return 1L;
    });
}

}  // namespace emantle
