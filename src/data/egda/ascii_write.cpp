#include "data/egda/ascii_element.h"
#include "frame/guard/guard.h"
#include "frame/guard/nested.h"
#include "frame/memory/heap_ptr.h"

#include <emantle/data/egda/ascii.h>
#include <emantle/files/efio/handle.h>

#include <charconv>
#include <string_view>

using namespace emantle;

namespace {

void put(EerrException& scope, Efio_File* file, std::string_view text, Say failure)
{
    efio_WriteSeq(file, text.data(), static_cast<long>(text.size()), scope);
    check(scope, failure);
}

/* The text of a number, room for two of them and what stands around them. */
class NumberText {
public:
    NumberText& number(double value)
    {
        end_ = std::to_chars(end_, text_ + sizeof text_, value, std::chars_format::general, 16).ptr;
        return *this;
    }
    NumberText& number(std::int32_t value)
    {
        end_ = std::to_chars(end_, text_ + sizeof text_, value).ptr;
        return *this;
    }
    NumberText& text(std::string_view part)
    {
        end_ += part.copy(end_, part.size());
        return *this;
    }
    operator std::string_view() const { return {text_, static_cast<std::size_t>(end_ - text_)}; }

private:
    char text_[96];
    char* end_ = text_;
};

void writeElement(EerrException& scope, Efio_File* file, Egda_PixelType type, const void* element)
{
    constexpr Say failure{"Write error writing to ASCII file", 1};
    require(element != nullptr, failure);
    switch (asciiKind(type)) {
    case AsciiKind::whole:
        return put(scope, file, NumberText().number(asciiWhole(type, element)), failure);
    case AsciiKind::real:
        return put(scope, file, NumberText().number(asciiNumber(type, element).real), failure);
    case AsciiKind::complex: {
        const Egda_Complex128 value = asciiNumber(type, element);
        return put(scope, file,
                   NumberText().text("(").number(value.real).text(", ").number(value.imaginary).text(")"), failure);
    }
    case AsciiKind::string:
        return put(scope, file, asciiString(element), failure);
    }
}

void writeStack(EerrException& scope, Efio_File* file, const Egda_BaseDataStack& stack)
{
    const AsciiWalk walk(stack);
    walk.run(
        [&](Egda_PixelType type, const void* element, std::size_t layer, long column) {
            asFunction(scope, "egda_WriteElementToAscii", {"Write error", 2},
                       [&] { writeElement(scope, file, type, element); });
            if (layer + 1 < walk.layers()) {
                put(scope, file, " ", {"Write error", 3});
            } else if (column + 1 < walk.columns()) {
                put(scope, file, " ", {"Write error", 4});
            }
        },
        [&] { put(scope, file, "\n", {"Write error", 5}); });
}

}  // namespace

EMANTLE_API void egda_BaseDataStackWriteAscii(const Egda_BaseDataStack* stack, const char* fileName,
                                              Eerr_ErrorReport** err)
{
    if (err != nullptr && *err != nullptr) {
        return;
    }
    guarded(err, "egda_BaseDataStackWriteAscii", [&](EerrException& scope) {
        const Owned<Efio_File, [](Efio_File* open) { efio_Close(open, nullptr); }> file(
            checked(scope, efio_Open(fileName, "w", scope), {"Error opening file", 1}));
        writeStack(scope, file.get(), *stack);
        efio_Flush(file.get(), scope);
        check(scope, {"Write error", 5});
    });
}
