#include "frame/guard/failure.h"

#include <emantle/frame/eerr.h>
#include <emantle/frame/etxt/holders.h>

#include <string>

namespace emantle {

namespace {

template <class T>
T* heapTextOf(std::size_t units, const char* function)
{
    auto* text = static_cast<T*>(emsc_HeapMalloc(static_cast<long>(units * sizeof(T))));
    if (text == nullptr) {
        EerrException(".\\etxt", function).Throw(__LINE__, "emsc_New failed");
    }
    return text;
}

template <class T>
T* copyOf(const T* source, const char* function)
{
    const std::size_t length = std::char_traits<T>::length(source);
    T* text = heapTextOf<T>(length + 1, function);
    std::char_traits<T>::copy(text, source, length);
    return text;
}

}  // namespace

}  // namespace emantle

using namespace emantle;

OrvikText::Text::~Text() = default;

EtxtTextA::EtxtTextA(const OrvikText::Text& text)
{
    const std::size_t size = text.AsciiSize();
    if (size != 0) {
        data = heapTextOf<char>(size + 1, "EtxtTextA::EtxtTextA");
        text.ToAscii(data, size);
    }
}

EtxtTextA::EtxtTextA(const EtxtTextA& other) : LegacyHelperTemplate()
{
    Copy(other);
}

EtxtTextA& EtxtTextA::operator=(const EtxtTextA& other)
{
    if (this != &other) {
        Copy(other);
    }
    return *this;
}

void EtxtTextA::Copy(const char* source)
{
    LegacyHelperTemplate::operator=(source == nullptr ? nullptr : copyOf(source, "EtxtTextA::Copy"));
}

EtxtTextU::EtxtTextU(const OrvikText::Text& text)
{
    const std::size_t size = text.UnicodeSize();
    if (size != 0) {
        data = heapTextOf<Etxt_TextU>(size + 1, "EtxtTextU::EtxtTextU");
        text.ToUnicode(data, size);
    }
}

EtxtTextU::EtxtTextU(const EtxtTextU& other) : LegacyHelperTemplate()
{
    Copy(other);
}

EtxtTextU& EtxtTextU::operator=(const EtxtTextU& other)
{
    if (this != &other) {
        Copy(other);
    }
    return *this;
}

void EtxtTextU::Copy(const Etxt_TextU* source)
{
    LegacyHelperTemplate::operator=(source == nullptr ? nullptr : copyOf(source, "EtxtTextU::Copy"));
}
