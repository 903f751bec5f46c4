#include "platform/errors.h"

#include <cerrno>
#include <cstring>

namespace emantle::platform {
namespace {

struct Pair {
    int kernel;
    int table;
};

// Of files, memory and processes. A number up to 34 is the same on both sides.
constexpr Pair kErrors[] = {
    {EDEADLK, error::deadlock},
    {ENAMETOOLONG, error::nameTooLong},
    {ENOLCK, error::noLocks},
    {ENOSYS, error::notSupported},
    {ENOTEMPTY, error::notEmpty},
    {EILSEQ, error::illegalSequence},
    {EOPNOTSUPP, error::notSupported},
    {EDQUOT, error::noSpace},
    {EOVERFLOW, error::fileTooLarge},
    {ELOOP, error::notFound},
    {ENOMEDIUM, 1112},
    // A server, or the way to it, that went away under an open file.
    {ETIMEDOUT, error::networkBusy},
    {EHOSTDOWN, error::serverFailed},
    {EHOSTUNREACH, error::serverFailed},
    {ESTALE, error::networkUnexpected},
    {ENETDOWN, error::networkUnexpected},
    {ENETUNREACH, error::networkUnexpected},
    {ENONET, error::networkUnexpected},
    {ENETRESET, error::networkNameGone},
    {ECONNRESET, error::networkNameGone},
    {ENOLINK, error::networkNameGone},
    {ECOMM, error::networkWriteFault},
    {EREMOTEIO, error::networkWriteFault},
    {ECONNABORTED, error::sessionCancelled},
    {ESHUTDOWN, error::sessionCancelled},
    {ENOTCONN, error::connectionInvalid},
    {ECONNREFUSED, error::connectionInvalid},
};

// Of sockets. Interrupted stays 4: a transfer goes on after it.
constexpr Pair kSocketErrors[] = {
    {ENOTSOCK, error::notASocket},
    {EBADF, error::notASocket},
    {EWOULDBLOCK, error::socketWouldBlock},
    {EINPROGRESS, 10036},
    {EALREADY, 10037},
    {EACCES, 10013},
    {EPERM, 10013},
    {EFAULT, 10014},
    {EINVAL, 10022},
    {EMFILE, 10024},
    {ENFILE, 10024},
    {EDESTADDRREQ, 10039},
    {EMSGSIZE, 10040},
    {EPROTOTYPE, 10041},
    {ENOPROTOOPT, 10042},
    {EPROTONOSUPPORT, 10043},
    {ESOCKTNOSUPPORT, 10044},
    {EOPNOTSUPP, 10045},
    {EPFNOSUPPORT, 10046},
    {EAFNOSUPPORT, 10047},
    {EADDRINUSE, 10048},
    {EADDRNOTAVAIL, 10049},
    {ENETDOWN, 10050},
    {ENETUNREACH, 10051},
    {ENETRESET, 10052},
    {ECONNABORTED, 10053},
    {ECONNRESET, 10054},
    {EPIPE, 10053},
    {ENOBUFS, 10055},
    {ENOMEM, 10055},
    {EISCONN, 10056},
    {ENOTCONN, 10057},
    {ESHUTDOWN, 10058},
    {ETIMEDOUT, 10060},
    {ECONNREFUSED, 10061},
    {EHOSTDOWN, 10064},
    {EHOSTUNREACH, error::hostUnreachable},
};

struct Sentence {
    int number;
    const char* text;
};

constexpr Sentence kSentences[] = {
    {error::networkBusy, "The network is busy."},
    {error::serverFailed, "The server cannot be reached or cannot do what was asked."},
    {error::networkUnexpected, "An unexpected network error occurred."},
    {error::networkNameGone, "The connection to the server was lost."},
    {error::networkWriteFault, "A write to the network failed."},
    {112, "There is not enough space on the disk."},
    {error::moduleNotFound, "The module was not found."},
    {error::sessionCancelled, "The session with the server was cancelled."},
    {1112, "There is no media in the drive."},
    {1117, "I/O Device Error"},
    {error::connectionInvalid, "The connection to the server is not open."},
};

// The first of the kernel's numbers that become `table`; 0 for none.
template <std::size_t n> int kernelNumber(const Pair (&pairs)[n], int table) noexcept
{
    for (const Pair& pair : pairs)
        if (pair.table == table)
            return pair.kernel;
    return 0;
}

} // namespace

int translateError(int kernelError) noexcept
{
    for (const Pair& pair : kErrors)
        if (pair.kernel == kernelError)
            return pair.table;
    return kernelError >= 0 && kernelError <= 34 ? kernelError : error::inputOutput;
}

int translateSocketError(int kernelError) noexcept
{
    for (const Pair& pair : kSocketErrors)
        if (pair.kernel == kernelError)
            return pair.table;
    return translateError(kernelError);
}

int systemError() noexcept
{
    return failWith(translateError(errno));
}

int socketError() noexcept
{
    return failWith(translateSocketError(errno));
}

int failWith(int number) noexcept
{
    errno = number;
    return number;
}

std::string systemErrorText(int number)
{
    for (const Sentence& sentence : kSentences)
        if (sentence.number == number)
            return sentence.text;
    if (number < 0)
        return "Unknown error " + std::to_string(number);
    int kernel = number;
    if (number > 34) {
        kernel = number >= 10000 ? kernelNumber(kSocketErrors, number) : kernelNumber(kErrors, number);
        if (kernel == 0)
            return "Unknown error " + std::to_string(number);
    }
    char buffer[128];
    return strerror_r(kernel, buffer, sizeof buffer);
}

bool isNetworkError(int number) noexcept
{
    switch (number) {
    case error::networkBusy:
    case error::serverFailed:
    case error::networkUnexpected:
    case error::networkNameGone:
    case error::networkWriteFault:
    case error::sessionCancelled:
    case error::connectionInvalid:
        return true;
    default:
        return false;
    }
}

} // namespace emantle::platform
