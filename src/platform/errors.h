#pragma once

#include <string>

// Error numbers. Every function of this folder that can fail leaves the number of the library's own message table in
// errno and, where its result is an int, returns it; 0 is success. The layers above read errno and never translate
// again.
//  - 1 to 34 are the kernel's own; from there on the table has its own places (a directory that is not empty is 41).
//  - A network file system that went away answers with one of the numbers of `isNetworkError`.
//  - A socket answers with 10000 and above, except for 4 (interrupted).
namespace emantle::platform {

namespace error {
inline constexpr int noPermission = 1, notFound = 2, interrupted = 4, inputOutput = 5, badHandle = 9, tryAgain = 11,
                     noMemory = 12, accessDenied = 13, busy = 16, exists = 17, crossDevice = 18, notADirectory = 20,
                     isADirectory = 21, invalidArgument = 22, tooManyOpen = 24, fileTooLarge = 27, noSpace = 28,
                     illegalSeek = 29, readOnly = 30, brokenPipe = 32, deadlock = 36, nameTooLong = 38, noLocks = 39,
                     notSupported = 40, notEmpty = 41, illegalSequence = 42, networkBusy = 54, serverFailed = 58,
                     networkUnexpected = 59, networkNameGone = 64, networkWriteFault = 88, moduleNotFound = 126,
                     sessionCancelled = 240, connectionInvalid = 1226;
inline constexpr int socketWouldBlock = 10035, notASocket = 10038, hostUnreachable = 10065;
} // namespace error

// The table's number for what a call on files, memory or processes left in errno, and for what a socket call left
// there. A number of the kernel that has no place in the table is an input/output error (5).
int translateError(int kernelError) noexcept;
int translateSocketError(int kernelError) noexcept;

// Translates errno in place and gives it. For use directly after a system call, once.
int systemError() noexcept;
int socketError() noexcept;

// Leaves `number`, which is of the table already, in errno and gives it.
int failWith(int number) noexcept;

// A sentence for a number of the table; "Unknown error <number>" for one outside it.
std::string systemErrorText(int number);

// 54, 58, 59, 64, 88, 240, 1226: the failures after which a file may be opened again and the transfer repeated.
bool isNetworkError(int number) noexcept;

} // namespace emantle::platform
