#include "data/egda/ascii_read.h"

#include "data/egda/ascii_element.h"
#include "data/egda/basedata_shape.h"
#include "data/epxm/convert.h"
#include "frame/memory/heap_ptr.h"

#include <emantle/data/egda/ascii.h>

#include <algorithm>

using namespace emantle;

namespace {

struct CloseFile {
    void operator()(Efio_File* file) const noexcept { efio_Close(file, nullptr); }
};
using OpenedFile = std::unique_ptr<Efio_File, CloseFile>;
using OwnedStack =
    std::unique_ptr<Egda_BaseDataStack, decltype([](Egda_BaseDataStack* stack) { egda_BaseDataStackDelete(stack, nullptr); })>;

/* No element takes less than a byte of the file and more than 16 of memory. */
constexpr long kMostBytesOfMemoryPerByte = 64;
constexpr long kNeverOutOfProportion = 1L << 16;

OpenedFile opened(EerrException& scope, const char* name)
{
    return OpenedFile(checked(scope, efio_Open(name, "r", scope), {"Error opening file", 1}));
}

void rewind(EerrException& scope, Efio_File* file)
{
    efio_Seek(file, 0, EFIO_SEEK_SET, scope);
    check(scope, {"Error reading ASCII file", 2});
}

long nextByte(EerrException& scope, Efio_File* file)
{
    return checked(scope, efio_Fgetc(file, scope), {"efio_Fgetc failed", 1});
}

long countLines(EerrException& scope, Efio_File* file)
{
    long count = 0;
    for (long byte = 0; (byte = nextByte(scope, file)) >= 0;) {
        count += byte == '\n';
    }
    rewind(scope, file);
    return count;
}

/* The elements of the first line. */
long countElements(EerrException& scope, Efio_File* file, Egda_PixelType type)
{
    long length = 0;
    for (long byte = 0; (byte = nextByte(scope, file)) >= 0 && byte != '\n';) {
        ++length;
    }
    rewind(scope, file);
    const auto line = allocate<char[]>(static_cast<std::size_t>(length) + 2, {"No Memory", 1});
    const char* read = checked(scope, efio_Fgets(line.get(), length + 2, file, scope), {"efio_Fgets failed", 1});
    require(read != nullptr, {"efio_Fgets failed", 1});
    rewind(scope, file);
    return countAsciiElements(scope, line.get(), type, {"Error reading ASCII record", 2});
}

/* What `count` elements of a line make of the size that is missing beside `given`. */
long quotient(long count, long given)
{
    require(given > 0 && count % given == 0, {"ASCII file column count mismatch", 1});
    return count / given;
}

/* A file of many layers that lies about them must not cost their memory. */
void holdAgainstFile(EerrException& scope, Efio_File* file, long nLayers, long nRows, long nColumns,
                     Egda_PixelType type, long objectType)
{
    const long layer = std::max(1L, blockSize(nRows, nColumns, type, objectType).value_or(1));
    const long size = checked(scope, efio_FileSizeGetByHandle(file, scope), {"Error reading ASCII file", 2});
    const long most = std::max(kNeverOutOfProportion, size * kMostBytesOfMemoryPerByte);
    require(nLayers < 1 || layer <= most / nLayers, {"Error reading ASCII file", 2});
}

}  // namespace

EMANTLE_API Egda_BaseDataStack* egda_CreateBaseDataStackFromAscii(long objectType, Egda_PixelType dataType, long nRows,
                                                                  long nColumns, long nLayers, const char* fileName,
                                                                  Eerr_ErrorReport** err)
{
    return guarded<Egda_BaseDataStack*>(
        err, "egda_CreateBaseDataStackFromAscii", nullptr, [&](EerrException& scope) {
            const OpenedFile file = opened(scope, fileName);
            require(isPixelType(dataType), {"Unable to create base data stack", 1});
            if (nRows == 0) {
                nRows = countLines(scope, file.get());
            }
            if (objectType == EGDA_SCALAR_OBJECT || objectType == EGDA_TABLE_OBJECT) {
                nColumns = 1;
            }
            if (nLayers == 0 || nColumns == 0) {
                const long count = countElements(scope, file.get(), dataType);
                if (nLayers == 0 && nColumns == 0) {
                    nLayers = 1;
                }
                (nColumns == 0 ? nColumns : nLayers) = quotient(count, nColumns == 0 ? nLayers : nColumns);
            }
            holdAgainstFile(scope, file.get(), nLayers, nRows, nColumns, dataType, objectType);
            OwnedStack stack(checked(
                scope, egda_BaseDataStackCreate(nLayers, nRows, nColumns, dataType, objectType, scope),
                {"Unable to create base data stack", 1}));
            readAscii(scope, file.get(), *stack, {"Error reading ASCII file", 2});
            return stack.release();
        });
}

EMANTLE_API void egda_BaseDataStackReadAscii(Egda_BaseDataStack* stack, const char* fileName, Eerr_ErrorReport** err)
{
    if (err != nullptr && *err != nullptr) {
        return;
    }
    guarded(err, "egda_BaseDataStackReadAscii", [&](EerrException& scope) {
        const OpenedFile file = opened(scope, fileName);
        readAscii(scope, file.get(), *stack, {"Error reading ASCII file", 2});
    });
}
