#include "tables/edsc/designs.h"
#include "tables/edsc/hfa/table.h"
#include "tables/edsc/types.h"

#include <cstring>
#include <emantle/files/efnp/node_path.h>
#include <emantle/store/ehfa/entry.h>
#include <emantle/store/ehfa/object.h>
#include <emantle/store/ehfa/space.h>

/* Columns as nodes of a store. */

using namespace emantle;
using namespace emantle::tables;

namespace emantle::tables {

namespace {

HeapPtr<char> pathOfColumn(EerrException& scope, const Edsc_HFATable& table, const char* name)
{
    const long end = checked(scope, efnp_NodePathLength(table.path, scope));
    return HeapPtr<char>(checked(scope, efnp_NodePathSet(table.path, name, EFNP_NODE, end, scope)));
}

HFAColumnPtr newColumn(EerrException& scope, Edsc_HFATable& table, const char* name, const ColumnRecord& header)
{
    HFAColumnPtr column(allocate<OpenHFAColumn>(1, kNoMemory).release());
    column->table = &table;
    column->path = pathOfColumn(scope, table, name).release();
    column->columnDataPtr = header.columnDataPtr;
    column->header = header;
    column->elementDesign = elementDesign(scope, name, header.dataType, header.maxNumChars).release();
    return column;
}

/* Refuses a header that claims what the file cannot hold. */
void checkHeader(const Ehfa_File* file, const ColumnRecord& header)
{
    require(isColumnType(header.dataType), "Invalid column type");
    require(header.dataType != EDSC_COLUMN_STRING || header.maxNumChars > 0, "maxNumChars invalid for string type");
    require(header.numRows >= 0, "Invalid row count %d", header.numRows);
    const std::int64_t end = std::int64_t{header.columnDataPtr} + runSize(header, header.numRows);
    require(header.numRows == 0 || (header.columnDataPtr != 0 && end <= ehfa_FileSize(file)),
            "Column data of %d rows do not lie in the file", header.numRows);
}

}  // namespace

OpenHFAColumn& columnOf(void* handle)
{
    require(handle != nullptr, "Args");
    return *static_cast<OpenHFAColumn*>(handle);
}

std::int64_t runSize(const ColumnRecord& header, std::int64_t rows)
{
    return rows * elementFileSize(header.dataType, header.maxNumChars);
}

void writeHeader(EerrException& scope, OpenHFAColumn& column)
{
    seekNode(scope, column.table->file, column.path, "Can't find column node %s");
    checked(scope, ehfa_ObjectWrite(column.table->file, nullptr, nullptr, kColumnType, EHFA_WRITE_CURRENT,
                                    &column.header, columnDesign(scope), scope));
    column.columnDataPtr = column.header.columnDataPtr;
}

HFAColumnPtr openColumn(EerrException& scope, Edsc_HFATable& table, const char* name, bool checkRows)
{
    const UnchangedDictionary mark(*table.file);
    addDesigns(scope, *table.file);
    std::int32_t size = 0;
    const char* type = checked(scope, ehfa_ObjectDataReadIfPresent(table.file, table.path, name, EHFA_SEEK_CHILD_NAME,
                                                                   nullptr, &size, nullptr, scope));
    if (type == nullptr || size == 0 || std::strcmp(type, kColumnType) != 0) {
        return nullptr;
    }
    ColumnRecord header{};
    checked(scope, ehfa_ObjectRead(table.file, table.path, name, EHFA_SEEK_CHILD_NAME, &header, columnDesign(scope),
                                   scope));
    checkHeader(table.file, header);
    require(!checkRows || table.numRows <= header.numRows, "Column row count is less than table row count");
    return newColumn(scope, table, name, header);
}

}  // namespace emantle::tables

EMANTLE_API int32_t edsc_HFAColumnCreate(void* table, const char* name, int32_t type, int32_t maxNumChars,
                                         void** handle, Eerr_ErrorReport** err)
{
    return guarded<std::int32_t>(err, "edsc_HFAColumnCreate", -1, [&](EerrException& scope) {
        Edsc_HFATable& owner = tableOf(table);
        require(name != nullptr && handle != nullptr, "Args");
        *handle = nullptr;
        require(isColumnType(type), "Invalid column type");
        require(type != EDSC_COLUMN_STRING || maxNumChars > 0, "maxNumChars invalid for string type");
        addDesigns(scope, *owner.file);
        ColumnRecord header{owner.numRows, 0, type, type == EDSC_COLUMN_STRING ? maxNumChars : 0};
        HFAColumnPtr column = newColumn(scope, owner, name, header);
        const std::int64_t size = runSize(header, header.numRows);
        {
            const WholeChange change(scope, owner.file);
            if (size > 0) {
                const std::int64_t end = ehfa_FileSize(owner.file);
                header.columnDataPtr = checked(scope, ehfa_NextFreePos(owner.file, size, scope));
                column->isBlank = header.columnDataPtr >= end;
            }
            checked(scope, ehfa_ObjectWrite(owner.file, owner.path, name, kColumnType, EHFA_WRITE_LAST_CHILD, &header,
                                            columnDesign(scope), scope));
        }
        column->header = header;
        column->columnDataPtr = header.columnDataPtr;
        *handle = column.release();
        return 0;
    });
}

EMANTLE_API int32_t edsc_HFAColumnOpen(void* table, const char* name, int32_t* type, int32_t* maxNumChars,
                                       void** handle, Eerr_ErrorReport** err)
{
    return guarded<std::int32_t>(err, "edsc_HFAColumnOpen", -1, [&](EerrException& scope) {
        Edsc_HFATable& owner = tableOf(table);
        require(name != nullptr && type != nullptr && maxNumChars != nullptr && handle != nullptr, "Args");
        *handle = nullptr;
        HFAColumnPtr column = openColumn(scope, owner, name, true);
        if (column == nullptr) {
            return 0;
        }
        *type = column->header.dataType;
        *maxNumChars = column->header.maxNumChars;
        *handle = column.release();
        /* What the column holds beyond its table stays hidden. */
        return owner.numRows;
    });
}

EMANTLE_API int32_t edsc_HFAColumnClose(void* handle, Eerr_ErrorReport** err)
{
    return guarded<std::int32_t>(err, "edsc_HFAColumnClose", -1, [&] {
        const HeapPtr<OpenHFAColumn> column(static_cast<OpenHFAColumn*>(handle));
        if (column != nullptr) {
            emsc_HeapFree(column->path);
            emif_DesignDestroy(column->elementDesign);
        }
        return 0;
    });
}

EMANTLE_API int32_t edsc_HFAColumnDestroy(void* handle, Eerr_ErrorReport** err)
{
    return guarded<std::int32_t>(err, "edsc_HFAColumnDestroy", -1, [&](EerrException& scope) {
        const HFAColumnPtr column(&columnOf(handle));
        Ehfa_File* file = column->table->file;
        const WholeChange change(scope, file);
        const std::int64_t size = runSize(column->header, column->header.numRows);
        if (size > 0) {
            checked(scope, ehfa_FreeSpace(file, column->header.columnDataPtr, size, scope));
        }
        const Ehfa_Entry* entry = checked(scope, ehfa_EntrySeek(file, EHFA_SEEK_PATH, column->table->path, scope));
        require(entry, "Can't find table node");
        entry = checked(scope, ehfa_EntrySeek(file, EHFA_SEEK_PATH, column->path, scope));
        require(entry, "Can't find column");
        checked(scope, ehfa_EntryDelete(file, scope));
        return 0;
    });
}

EMANTLE_API int32_t edsc_HFAColumnModTimeGet(void* handle, double* time, Eerr_ErrorReport** err)
{
    return guarded<std::int32_t>(err, "edsc_HFAColumnModTimeGet", -1, [&](EerrException& scope) {
        OpenHFAColumn& column = columnOf(handle);
        require(time != nullptr, "Args");
        *time = seekNode(scope, column.table->file, column.path, "Can't find column node %s")->modTime;
        return 0;
    });
}
