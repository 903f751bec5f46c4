#include "store/hfa/print.h"

#include <emantle/frame/eerr.h>
#include <cstdarg>

namespace emantle::hfa {

void print(const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    EerrDispatcher::Dispatch(format, arguments);
    va_end(arguments);
}

}  // namespace emantle::hfa
