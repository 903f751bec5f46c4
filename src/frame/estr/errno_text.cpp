#include "frame/memory/heap_ptr.h"
#include "platform/errors.h"

#include <cerrno>
#include <cstdio>
#include <emantle/frame/estr/path.h>
#include <string>

namespace emantle {

namespace {

struct Sentence {
    int number;
    const char* text;
};

constexpr Sentence sentences[] = {
    {1, "An attempt was made to perform an operation limited to processes with appropriate privileges or to "
        "the owner of a file or other resource."},
    {2, "A component of a specified pathname did not exist, or the path name was an empty string."},
    {3, "No process could be found corresponding to that specified by the given process ID."},
    {4, "An asynchronous signal (such as SIGINT or SIGQUIT was caught during the execution of an "
        "interruptible function."},
    {5, "Physical input/output error occurred."},
    {6, "Input or output on a special file referred to a device that did not exist, or made a request beyond "
        "the limits of the device."},
    {7, "The sum of the number of bytes used by the new process image's argument list and environment list "
        "was greater than the system-imposed limit of {ARG_MAX} bytes."},
    {8, "A request was made to execute a file that, although it had appropriate permissions, was not in the "
        "format required by the implementation for executables."},
    {9, "File descriptor argument is out of range, referred to no open file, or a read(write) request was "
        "made to a file that was only open for writing (reading)"},
    {10, "No existing or unwaited-for child processes."},
    {11, "Resource temporarily unavailable"},
    {12, "The new process image required more memory than was allowed by the hardware or by the "
         "system-imposed memory management constraints."},
    {13, "An attempt was made to access a file in a way forbidden by its file access permissions."},
    {14, "The system detected an invalid address in attempting to use an argument of a call."},
    {16, "Attempted to use a system resource that is unavailable at this time (ie: may be used by other process)"},
    {17, "An existing file was specified in an inappropriate context, for instance, as the new link name in a "
         "link() function"},
    {18, "Improper link. A link to a file on another file system was attempted."},
    {19, "An attempt was made to apply an inappropriate function to a device; for example, trying to read a "
         "write-only device such as a printer."},
    {20, "A component of the specified pathname exists, but it is not a directory."},
    {21, "An attempt was made to open a directory with write mode specified."},
    {22, "Invalid argument was supplied. (for instance, specifying an undefined signal to a signal() or "
         "kill() function."},
    {23, "Error reading data.  The cyclic redundancy check for the device failed.  This usually indicates "
         "that a hardware error occured."},
    {24, "An attempt was made to open more than the maximum number of {OPEN_MAX} file descriptors allowed in "
         "this process."},
    {25, "A control function was attempted for a file or special file for which the operation was inappropriate."},
    {27, "The size of the file exceeds the implementation-defined maximum file size."},
    {28, "No free disk space left on the system."},
    {29, "Invalid seek. An lseek() function was issued on a pipe or FIFO."},
    {30, "An attempt was made to modify a file or directory on a file system that was read-only."},
    {31, "An attempt was made to have the link count of a single file exceed {LINK_MAX}."},
    {32, "A write was attempted on a pipe or FIFO for which there was no process to read the data."},
    {33, "The input argument was outside the defined domain of the mathematical function."},
    {34, "Defined in the C Standard; the result of the function was too large to fit in the available space."},
    {36, "An attempt was made to lock a system resource that would have resulted in a deadlock situation."},
    {38, "The size of a pathname string exceeded {PATH_MAX}, or a pathname component was longer than "
         "{NAME_MAX} and {_POSIX_NO_TRUNC} was in effect for the file."},
    {39, "A system-imposed limit on the number of simultaneous file and record locks is reached and no more "
         "available at this time."},
    {40, "An attempt was made to use a function that is not available in this implimentation."},
    {41, "A directory with entries other than dot and dot-dot was supplied when an empty directory was expected."},
    {112, "There is not enough space on the disk."},
    {126, "The module was not found."},
    {1102, "Attempt to rewind past the beginning of the tape."},
    {1112, "There is no media in the drive."},
    {1117, "I/O Device Error"},
};

}  // namespace

}  // namespace emantle

using namespace emantle;

EMANTLE_API const char* estr_ErrnoString(void)
{
    const int number = errno;
    for (const Sentence& sentence : sentences) {
        if (sentence.number == number) {
            return sentence.text;
        }
    }
    thread_local char unknown[48];
    std::snprintf(unknown, sizeof unknown, "Unknown error code : %d", number);
    return unknown;
}

EMANTLE_API char* estr_LastError(void)
{
    const int number = errno;
    char* text = nullptr;
    try {
        const std::string sentence = platform::systemErrorText(number);
        text = heapText(sentence.empty() ? "Could not get last error message." : sentence).release();
    } catch (const std::exception&) {
        text = nullptr;
    }
    errno = number;
    return text;
}
