#include "store/hfa/activity.h"
#include "store/hfa/bytes.h"
#include "store/hfa/host_record.h"
#include "store/hfa/print.h"
#include "store/hfa/runs.h"
#include "store/hfa/tree.h"

#include <emantle/files/efio.h>
#include <cstring>
#include <ctime>
#include <memory>

namespace emantle::hfa {

namespace {

std::string timeText(double seconds)
{
    constexpr double kLastYear9999 = 253402300799.0;
    if (!(seconds >= 0 && seconds <= kLastYear9999)) {
        return "at an unknown time";
    }
    const auto whole = static_cast<std::time_t>(seconds);
    std::tm parts{};
    gmtime_r(&whole, &parts);
    char text[64];
    std::strftime(text, sizeof text, "%a %b %e %H:%M:%S %Y", &parts);
    return text;
}

struct FileCloser {
    void operator()(Efio_File* file) const noexcept { efio_Close(file, nullptr); }
};

/* Prints a record by its design: the conversion to text knows files only. */
void printRecord(Handle& handle, const Emif_Design* design, EerrException& scope)
{
    const HostRecord record(handle, design, scope);
    readRecord(handle, handle.currentEntry.data, design, record.get(), scope);
    const std::unique_ptr<Efio_File, FileCloser> text(checked(scope, efio_TmpFile(scope)));
    emif_FprintfDesign(text.get(), record.get(), design, scope);
    check(scope);
    checked(scope, efio_Seek(text.get(), 0, EFIO_SEEK_SET, scope), "efio_Seek failed");
    char line[512];
    while (checked(scope, efio_Fgets(line, sizeof line, text.get(), scope)) != nullptr) {
        print("%s", line);
    }
}

double decodedDouble(const unsigned char* bytes)
{
    const uint64_t bits = decoded32(bytes) | uint64_t(decoded32(bytes + 4)) << 32;
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

enum ColumnType { integerColumn, realColumn, complexColumn, stringColumn };

void printElement(const char* column, long row, unsigned type, const unsigned char* bytes, std::size_t size)
{
    switch (type) {
    case integerColumn: print("%s[%ld] = %d\n", column, row, static_cast<int32_t>(decoded32(bytes))); break;
    case realColumn: print("%s[%ld] = %f\n", column, row, decodedDouble(bytes)); break;
    case complexColumn:
        print("%s[%ld] = (%f", column, row, decodedDouble(bytes));
        print(",%f)\n", decodedDouble(bytes + 8));
        break;
    default: {
        const std::string text(reinterpret_cast<const char*>(bytes),
                               strnlen(reinterpret_cast<const char*>(bytes), size));
        print("%s[%ld] = \"%s\"\n", column, row, text.c_str());
    }
    }
}

void printColumn(Handle& handle, EerrException& scope)
{
    const Ehfa_Entry entry = handle.currentEntry;
    std::string damage;
    const std::vector<Run> runs = runsOf(handle, entry, damage, scope);
    require(damage.empty(), "%s %s", entry.name, damage.c_str());
    if (runs.empty()) {
        return;
    }
    unsigned char head[14];
    readBytes(handle, entry.data, head, sizeof head, scope);
    const int64_t rows = decoded32(head);
    const unsigned type = head[8];
    std::vector<unsigned char> element(static_cast<std::size_t>(runs[0].size / rows));
    for (int64_t row = 0; row < rows; ++row) {
        const auto place = static_cast<uint32_t>(runs[0].position + row * static_cast<int64_t>(element.size()));
        readBytes(handle, place, element.data(), element.size(), scope);
        printElement(entry.name, static_cast<long>(row), type, element.data(), element.size());
    }
}

/* A damaged object does not end the listing of the others. */
void printObject(Handle& handle, EerrException& scope)
{
    const Ehfa_Entry& entry = handle.currentEntry;
    print("%s ", handle.path);
    print("(%s Object)\n", entry.type);
    print(" (last modified %s)\n", timeText(entry.modTime).c_str());
    if (entry.dataSize <= 0 || !isAllocatable(handle, entry.data, static_cast<uint32_t>(entry.dataSize))) {
        return;
    }
    try {
        if (std::strcmp(entry.type, "Edsc_Column") == 0) {
            printColumn(handle, scope);
        } else if (const Emif_Design* design = emif_FindDesignByName(handle.dictionary, entry.type, scope)) {
            printRecord(handle, design, scope);
        }
    } catch (const Failure&) {
        takeThrown(scope, __LINE__);
        tellAndForget(scope, "ehfa_ListFile");
    }
}

}  // namespace

}  // namespace emantle::hfa

using namespace emantle;
using namespace emantle::hfa;

EMANTLE_API Emsc_Boolean ehfa_ListFile(Ehfa_File* file, const char* start, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "ehfa_ListFile", 0, [&](EerrException& scope) {
        Handle& handle = opened(file);
        Activity activity(handle, scope);
        const char* from = start != nullptr ? start : ":";
        require(!inBatchMode(handle), "Invalid seek method for writing w/o caching");
        require(seekEntry(handle, EHFA_SEEK_PATH, from, scope), "Could not find starting node \"%s\"", from);
        const uint32_t top = handle.entryPtr;
        do {
            printObject(handle, scope);
        } while (goToDepthNext(handle, top, scope));
        return 1;
    });
}
