// A number format, up to the first line feed, and behind it the bytes of numbers; what stands before the line feed is
// tried as an expression and as a command line, too. A text fits a buffer of exactly its size, and no smaller one.

#include "fuzz/input.h"

#include <emantle/frame/estr.h>
#include <limits>
#include <vector>

using namespace fuzz;

namespace {

void tryNumber(const Estr_XLFormat* format, double number)
{
    char* text = estr_XLFormatPrintNumber(format, number, nullptr, 0, nullptr);
    need(text != nullptr);
    std::vector<char> buffer(std::strlen(text) + 1);
    const long size = static_cast<long>(buffer.size());
    need(estr_XLFormatPrintNumber(format, number, buffer.data(), size - 1, nullptr) == nullptr);
    need(estr_XLFormatPrintNumber(format, number, buffer.data(), size, nullptr) == buffer.data());
    need(std::strcmp(buffer.data(), text) == 0);
    emsc_HeapFree(text);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    dropReports();
    const std::string input(reinterpret_cast<const char*>(data), size);
    const std::size_t end = std::min(input.find('\n'), size);
    const std::string text(input.substr(0, end).c_str());
    estr_EvaluateString(text.c_str(), nullptr);
    EstrStringList arguments(estr_ArgsGet(text.c_str(), nullptr));
    Estr_XLFormat* format = estr_XLFormatCreate(text.c_str(), nullptr);
    if (format == nullptr) {
        return 0;
    }
    for (const double number : {0.0, -0.0, 0.5, -1234567.891, 5e-324, std::numeric_limits<double>::max(),
                                -std::numeric_limits<double>::infinity(), std::numeric_limits<double>::quiet_NaN()}) {
        tryNumber(format, number);
    }
    for (std::size_t at = end + 1; at + sizeof(double) <= size; at += sizeof(double)) {
        double number = 0;
        std::memcpy(&number, data + at, sizeof number);
        tryNumber(format, number);
    }
    estr_XLFormatFree(format);
    return 0;
}
