#include "platform/terminal.h"

#include <cerrno>
#include <cstdio>
#include <sys/ioctl.h>
#include <unistd.h>

namespace emantle::platform {

bool isTerminal(StandardStream stream) noexcept
{
    const int kept = errno;
    const bool result = isatty(static_cast<int>(stream)) == 1;
    errno = kept;
    return result;
}

int terminalWidth(StandardStream stream) noexcept
{
    const int kept = errno;
    winsize size{};
    const bool known = ioctl(static_cast<int>(stream), TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    errno = kept;
    return known ? size.ws_col : 80;
}

void showMessage(std::string_view title, std::string_view text) noexcept
{
    std::fprintf(stderr, "%.*s: %.*s\n", static_cast<int>(title.size()), title.data(), static_cast<int>(text.size()),
                 text.data());
}

} // namespace emantle::platform
