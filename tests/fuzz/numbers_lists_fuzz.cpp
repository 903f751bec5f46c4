// Three lines: numbers and ranges, the characters between them, and any text. Numbers are read as the C library reads them
// and stay inside their text; a list's join and its pieces agree; a text fits a buffer of any size.

#include "fuzz/input.h"

#include <cmath>
#include <emantle/frame/edbl.h>
#include <emantle/frame/estr.h>
#include <vector>

using namespace fuzz;

namespace {

void numberList(const char* text, const char* delimiters)
{
    std::int32_t* list = nullptr;
    const long count = estr_StringToIntList(text, delimiters, &list, nullptr);
    const std::unique_ptr<std::int32_t, Free> numbers(list);
    need(count > 0 ? list != nullptr : list == nullptr);
    std::int64_t sum = 0;
    for (long i = 0; i < count; ++i) {
        sum += list[i];
    }
    need(count <= 0 || std::abs(sum) <= count << 31);
}

void number(const char* text, long length)
{
    double value = -1;
    if (edbl::TryStringToDouble(value, text) && *text != '+') {
        need(std::isnan(value) || value == std::strtod(text, nullptr));
    }
    for (const long start : {-1L, 0L, 1L, length, length + 1}) {
        for (const long many : {-1L, 0L, 1L, length - start}) {
            estr_StringToL(text, start, many);
            estr_StringToD(text, start, many);
        }
    }
    std::vector<char> scanned(text, text + length + 1);
    localeIndependentDoubleScan(scanned.data(), ",;", &value);
}

void pieces(const char* text, const char* delimiters)
{
    EstrStringList list(estr_SplitString(text, delimiters));
    for (std::int32_t i = 0; i < list->count; ++i) {
        need(*list->strings[i] != '\0' && std::strpbrk(list->strings[i], delimiters) == nullptr);
    }
    if (*delimiters != '\0') {
        const char between[] = {*delimiters, '\0'};
        const HeapText joined = held(estr_StringListToDelimString(list, between));
        EstrStringList again(estr_SplitString(joined.get(), delimiters));
        need(again->count == list->count);
        need(same(held(estr_StringListToDelimString(again, between)), joined.get()));
    }
    estr_StringListSort(list);
    estr_StringListSortByNamePart(list);
    estr_StringListQuote(list, 1, nullptr);
}

void buffers(const char* text, const char* delimiters, std::size_t length)
{
    for (const std::size_t room : {std::size_t{1}, length / 2 + 1, length + 1}) {
        const long size = static_cast<long>(room);
        std::vector<char> buffer(room);
        for (const char* at = text; (at = estr_GetLine(at, buffer.data(), size)) != nullptr;) {
            need(std::strchr(buffer.data(), '\r') == nullptr);
        }
        for (const char* at = text; (at = estr_GetQuotedString(at, buffer.data(), size)) != nullptr;) {
            need(std::strchr(buffer.data(), '"') == nullptr);
        }
        for (auto* part : {estr_GetLocalFilename, estr_GetPathPart, estr_GetRootPart, estr_GetNamePart,
                           estr_GetNamePartSimple, estr_GetLayerPart, estr_GetLayerPartSimple, estr_GetNonNodePart,
                           estr_GetServerPart, estr_GetProtocolPart, estr_GetExtPart, estr_GetBestFitParts}) {
            need(part(text, buffer.data(), size) == buffer.data());
            need(std::strlen(buffer.data()) < room);
        }
        estr_StringCopyEx(buffer.data(), text, size);
        estr_StringCatEx(buffer.data(), delimiters, size);
    }
    std::vector<char> copy(text, text + length + 1);
    estr_MetaStringToString(copy.data(), copy.data());
    const std::size_t whole = std::strlen(copy.data()), removed = std::max<std::size_t>(std::strlen(delimiters), 1);
    estr_RemoveChars(copy.data(), delimiters);
    need((whole - std::strlen(copy.data())) % removed == 0);
    held(estr_QuoteString(text, 0, nullptr));
    held(estr_AddCR(text, nullptr));
    estr_LooseMatch(text, delimiters);
    estr_AbbrevCompare(delimiters, text);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size)
{
    dropReports();
    Lines lines(bytes, size);
    const Text numbers = lines.next(), delimiters = lines.next(), text(lines.rest());
    numberList(numbers, delimiters);
    number(numbers, static_cast<long>(numbers.view().size()));
    pieces(text, delimiters);
    buffers(text, delimiters, text.view().size());
    return 0;
}
