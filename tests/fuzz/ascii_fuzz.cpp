// Five bytes choose the object, the type and the counts of rows, columns and layers; the rest is the file. What was read
// is written and read again.

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <emantle/data/egda.h>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

namespace {

void drop(void*, Eerr_ErrorReport*, Eerr_ErrorReportingMode, Eerr_ErrorReport**) {}

/* A file in memory, by a name that can be opened. */
class MemoryFile {
public:
    MemoryFile(const std::uint8_t* data, std::size_t size) : descriptor_(memfd_create("ascii", 0))
    {
        if (write(descriptor_, data, size) != static_cast<ssize_t>(size)) {
            std::abort();
        }
    }
    ~MemoryFile() { close(descriptor_); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    std::string name() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

private:
    int descriptor_;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 5) {
        return 0;
    }
    eerr_SetAltErrorFunction(drop, nullptr);
    const MemoryFile file(data + 5, size - 5);
    Egda_BaseDataStack* stack = egda_CreateBaseDataStackFromAscii(data[0] % EGDA_NUM_OBJECTS, data[1] % 16, data[2],
                                                                  data[3], data[4], file.name().c_str(), nullptr);
    if (stack == nullptr) {
        return 0;
    }
    const MemoryFile copy(nullptr, 0);
    Eerr_ErrorReport* err = nullptr;
    egda_BaseDataStackWriteAscii(stack, copy.name().c_str(), &err);
    if (err != nullptr) {
        std::abort(); /* what could be filled can be written */
    }
    egda_BaseDataStackReadAscii(stack, copy.name().c_str(), nullptr);
    egda_BaseDataStackDelete(stack, nullptr);
    return 0;
}
