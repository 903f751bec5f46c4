#include "frame/guard/failure.h"

#include <cstdarg>
#include <cstdio>

namespace emantle {

std::string formatted(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    va_end(arguments);
    std::string text(length < 0 ? 0 : static_cast<std::size_t>(length), '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    return text;
}

void fail(Say text)
{
    if (text.format == nullptr) {
        throw Failure(FailureOf::own, text.number);
    }
    throw Failure(std::string(text.format), text.number);
}

}  // namespace emantle
