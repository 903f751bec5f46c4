#include "platform/errors.h"

#include <cerrno>
#include <gtest/gtest.h>

using namespace emantle::platform;

TEST(Errors, KernelNumbersBecomeThoseOfTheTable)
{
    const struct {
        int kernel, table;
    } cases[] = {
        {0, 0},
        {1, 1},
        {ENOENT, 2},
        {EACCES, 13},
        {ENOSPC, 28},
        {ERANGE, 34},
        {EDEADLK, 36},
        {ENAMETOOLONG, 38},
        {ENOLCK, 39},
        {ENOSYS, 40},
        {ENOTEMPTY, 41},
        {EILSEQ, 42},
        {EDQUOT, 28},
        {ESTALE, 59},
        {ENETRESET, 64},
        {ECONNRESET, 64},
        {ETIMEDOUT, 54},
        {EHOSTDOWN, 58},
        {EREMOTEIO, 88},
        {ECONNABORTED, 240},
        {ENOTCONN, 1226},
        // 54, 59 and 64 mean other things to the kernel; they must not pass for network failures.
        {EXFULL, 5},
        {EBFONT, 5},
        {12345, 5},
        {-3, 5},
    };
    for (const auto& [kernel, table] : cases) {
        errno = kernel;
        EXPECT_EQ(systemError(), table) << kernel;
        EXPECT_EQ(errno, table) << kernel;
    }
    const struct {
        int kernel, table;
    } sockets[] = {{ENOTSOCK, 10038},     {EBADF, 10038}, {EAGAIN, 10035},
                   {EHOSTUNREACH, 10065}, {EINTR, 4},     {ECONNREFUSED, 10061}};
    for (const auto& [kernel, table] : sockets)
        EXPECT_EQ(translateSocketError(kernel), table) << kernel;
}

TEST(Errors, NetworkNumbersAreExactlyThoseThatWarrantAReopening)
{
    std::string found;
    for (int number = 0; number < 11000; ++number)
        if (isNetworkError(number))
            found += std::to_string(number) + ' ';
    EXPECT_EQ(found, "54 58 59 64 88 240 1226 ");
}

TEST(Errors, TextsBelongToTheTableAndNotToTheKernel)
{
    EXPECT_EQ(systemErrorText(error::notEmpty), "Directory not empty");
    EXPECT_EQ(systemErrorText(error::noSpace), "No space left on device");
    EXPECT_EQ(systemErrorText(error::hostUnreachable), "No route to host");
    EXPECT_EQ(systemErrorText(error::moduleNotFound), "The module was not found.");
    EXPECT_EQ(systemErrorText(error::networkUnexpected), "An unexpected network error occurred.");
    EXPECT_EQ(systemErrorText(error::notASocket), "Socket operation on non-socket");
    EXPECT_EQ(systemErrorText(error::inputOutput), "Input/output error");
    EXPECT_EQ(systemErrorText(-1), "Unknown error -1");
    EXPECT_EQ(systemErrorText(35), "Unknown error 35");
}
