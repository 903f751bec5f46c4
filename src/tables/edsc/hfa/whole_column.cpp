#include "tables/edsc/binfunction/exchange.h"
#include "tables/edsc/hfa/table.h"
#include "tables/edsc/types.h"

#include <algorithm>
#include <cstring>
#include <emantle/store/ehfa/entry.h>
#include <emantle/store/ehfa/object.h>
#include <emantle/store/ehfa/space.h>

/* Whole columns: header and elements together. */

using namespace emantle;
using namespace emantle::tables;

namespace {

/* The header of the column that is current; fails with "No column data!" where its node is empty. */
ColumnRecord currentHeader(EerrException& scope, Ehfa_File* file)
{
    require(file->entry != nullptr && file->entry->dataSize != 0, "No column data!");
    ColumnRecord header{};
    checked(scope, ehfa_FileHostDataRead(file, file->entry->data, columnDesign(scope), file->entry->dataSize, &header,
                                         scope));
    const bool sound = isColumnType(header.dataType) && header.numRows >= 0 &&
                       (header.dataType != EDSC_COLUMN_STRING || header.maxNumChars > 0);
    require(sound, "Invalid column type");
    require(header.columnDataPtr <= ehfa_FileSize(file), "efio_Seek error.");
    require(header.columnDataPtr + runSize(header, header.numRows) <= ehfa_FileSize(file),
            "Column data of %d rows do not lie in the file", header.numRows);
    return header;
}

/* Writes the header of the current node, with its elements in a new run that `fill` writes. */
template <class Fill>
void writeColumn(EerrException& scope, Ehfa_File* file, ColumnRecord header, Fill&& fill)
{
    const std::int64_t size = runSize(header, header.numRows);
    const WholeChange change(scope, file);
    header.columnDataPtr = size == 0 ? 0 : checked(scope, ehfa_NextFreePos(file, size, scope));
    fill(header.columnDataPtr, size);
    checked(scope, ehfa_ObjectWrite(file, nullptr, nullptr, nullptr, EHFA_WRITE_CURRENT, &header, columnDesign(scope),
                                    scope));
}

}  // namespace

EMANTLE_API Emsc_Boolean edsc_HFAColumnDataCopy(Ehfa_File* source, Ehfa_File* destination, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "edsc_HFAColumnDataCopy", 0, [&](EerrException& scope) {
        require(source != nullptr && destination != nullptr, "File pointer is NULL");
        addDesigns(scope, *destination);
        const ColumnRecord header = currentHeader(scope, source);
        writeColumn(scope, destination, header, [&](std::uint32_t run, std::int64_t size) {
            constexpr std::int64_t kChunk = 0x10000;
            const HeapPtr<char> buffer = allocate<char>(kChunk, kNoMemory);
            for (std::int64_t done = 0; done < size; done += kChunk) {
                const std::int64_t length = std::min(kChunk, size - done);
                checked(scope, ehfa_FileMIFDataRead(source, header.columnDataPtr + done, length, buffer.get(), scope));
                checked(scope, ehfa_FileMIFDataWrite(destination, run + done, length, buffer.get(), scope));
            }
        });
        return 1;
    });
}

EMANTLE_API Emsc_Boolean edsc_CopyColumnData(Ehfa_File* source, Ehfa_File* destination, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "edsc_CopyColumnData", 0, [&](EerrException& scope) {
        return checked(scope, edsc_HFAColumnDataCopy(source, destination, scope));
    });
}

EMANTLE_API void* edsc_HFAColumnAndMIFDataRead(Ehfa_File* file, const char* node, Eerr_ErrorReport** err)
{
    return guarded<void*>(err, "edsc_HFAColumnAndMIFDataRead", nullptr, [&](EerrException& scope) {
        require(file != nullptr, "File pointer is NULL");
        if (node != nullptr) {
            seekNode(scope, file, node, "Can't find column node %s");
        }
        require(file->entry != nullptr && std::strcmp(file->entry->type, kColumnType) == 0,
                "Node type is not Edsc_Column");
        ObjectOwner whole(allocate<WholeColumnRecord>(1, kNoMemory).release(), wholeColumnDesign(scope));
        const ColumnRecord header = currentHeader(scope, file);
        const std::int64_t size = runSize(header, header.numRows);
        auto* record = whole.as<WholeColumnRecord>();
        record->column = allocate<ColumnRecord>(1, kNoMemory).release();
        *record->column = header;
        if (size > 0) {
            record->data.pointer =
                checked(scope, ehfa_FileMIFDataRead(file, header.columnDataPtr, size, nullptr, scope));
            record->data.count = static_cast<std::int32_t>(size);
        }
        return whole.release();
    });
}

EMANTLE_API Emsc_Boolean edsc_HFAColumnAndMIFDataWrite(Ehfa_File* file, const void* column, const Emif_Design* design,
                                                       Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "edsc_HFAColumnAndMIFDataWrite", 0, [&](EerrException& scope) {
        require(file != nullptr, "File pointer is NULL");
        require(column != nullptr && design != nullptr, "Args");
        const Emif_Design* own = wholeColumnDesign(scope);
        require(design->name != nullptr && std::strcmp(design->name, own->name) == 0 && sameLayout(*design, *own),
                "Design name is not %s", own->name);
        const auto* whole = static_cast<const WholeColumnRecord*>(column);
        require(whole->column != nullptr && isColumnType(whole->column->dataType) && whole->column->numRows >= 0 &&
                    runSize(*whole->column, whole->column->numRows) == whole->data.count,
                "Args");
        addDesigns(scope, *file);
        const WholeChange change(scope, file);
        const bool hadRun = file->entry != nullptr && file->entry->dataSize != 0;
        const ColumnRecord before = hadRun ? currentHeader(scope, file) : ColumnRecord{};
        writeColumn(scope, file, *whole->column, [&](std::uint32_t run, std::int64_t size) {
            checked(scope, ehfa_FileMIFDataWrite(file, run, size, whole->data.pointer, scope));
        });
        const std::int64_t oldSize = hadRun ? runSize(before, before.numRows) : 0;
        if (oldSize > 0) {
            checked(scope, ehfa_FreeSpace(file, before.columnDataPtr, oldSize, scope));
        }
        return 1;
    });
}
