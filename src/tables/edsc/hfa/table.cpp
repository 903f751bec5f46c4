#include "tables/edsc/hfa/table.h"

#include "tables/edsc/designs.h"
#include "tables/edsc/hfa/placement.h"
#include "tables/edsc/types.h"

#include <cstring>
#include <emantle/files/efnp/node_path.h>
#include <emantle/frame/estr/list.h>
#include <emantle/store/ehfa/entry.h>
#include <emantle/store/ehfa/object.h>
#include <emantle/store/ehfa/space.h>
#include <utility>

/* Tables as nodes of a store. */

using namespace emantle;
using namespace emantle::tables;

namespace emantle::tables {

Edsc_HFATable& tableOf(void* handle)
{
    require(handle != nullptr, "NULL table");
    return *static_cast<Edsc_HFATable*>(handle);
}

void addDesigns(EerrException& scope, Ehfa_File& file)
{
    checked(scope, emif_DictionaryAddDesign(file.dictionary, tableDesign(scope), scope));
    checked(scope, emif_DictionaryAddDesign(file.dictionary, columnDesign(scope), scope));
}

Ehfa_Entry* seekNode(EerrException& scope, Ehfa_File* file, const char* path, Say missing)
{
    Ehfa_Entry* entry = checked(scope, ehfa_EntrySeek(file, EHFA_SEEK_PATH, path, scope));
    require(entry, missing, path);
    return entry;
}

}  // namespace emantle::tables

namespace {

HFATablePtr newTable(Ehfa_File* file, const char* path, std::int32_t numRows)
{
    HFATablePtr table(allocate<Edsc_HFATable>(1, kNoMemory).release());
    table->file = file;
    table->path = heapText(path, kNoMemory).release();
    table->numRows = numRows;
    return table;
}

void writeRowCount(EerrException& scope, const Edsc_HFATable& table, std::int32_t numRows)
{
    seekNode(scope, table.file, table.path, "Can't find table %s");
    const TableRecord record{numRows};
    checked(scope, ehfa_ObjectWrite(table.file, nullptr, nullptr, kTableType, EHFA_WRITE_CURRENT, &record,
                                    tableDesign(scope), scope));
}

void writeTable(EerrException& scope, Ehfa_File* file, const char* name, const TableRecord& record,
                const Edsc_HFAPlacement& placement)
{
    const Emif_Design* design = tableDesign(scope);
    if (placement.pending && !placement.name.empty()) {
        checked(scope, ehfa_ObjectWrite(file, placement.parentPath.c_str(), placement.name.c_str(), kTableType,
                                        placement.insertMode, &record, design, scope));
        return;
    }
    const HeapPtr<char> parent(
        checked(scope, efnp_NodePathGet(name, EFNP_NODE_ROOT | EFNP_NODE_PATH, -1, scope)));
    const HeapPtr<char> leaf(checked(scope, efnp_NodePathGet(name, EFNP_NODE, -1, scope)));
    const char* start = parent == nullptr || *parent == '\0' ? nullptr : parent.get();
    checked(scope, ehfa_ObjectWrite(file, start, leaf.get(), kTableType, EHFA_WRITE_FIRST_CHILD, &record, design,
                                    scope));
}

/* The paths of the columns. */
Estr_StringList* columnPaths(EerrException& scope, const Edsc_HFATable& table)
{
    return checked(scope, ehfa_ObjectList(table.file, table.path, nullptr, kColumnType, scope));
}

HeapPtr<char> leafOf(EerrException& scope, const char* path)
{
    return HeapPtr<char>(checked(scope, efnp_NodePathGet(path, EFNP_NODE, -1, scope)));
}

/* The column, however many rows it has; where there is none that opens, what was found comes behind `failed`. */
HFAColumnPtr openedColumn(EerrException& scope, Edsc_HFATable& table, const char* name, Say failed)
{
    HFAColumnPtr column(guarded<OpenHFAColumn*>(scope, "edsc_HFAColumnOpen", nullptr, [&](EerrException& inner) {
        return openColumn(inner, table, name, false).release();
    }));
    require(column, failed, name);
    return column;
}

/* Copies `size` bytes from one run of the file to another. */
void copyRun(EerrException& scope, Ehfa_File* file, std::uint32_t from, std::uint32_t to, std::int64_t size)
{
    constexpr std::int64_t kChunk = 0x10000;
    const HeapPtr<char> buffer = allocate<char>(kChunk, kNoMemory);
    for (std::int64_t done = 0; done < size; done += kChunk) {
        const std::int64_t length = std::min(kChunk, size - done);
        checked(scope, ehfa_FileMIFDataRead(file, from + done, length, buffer.get(), scope));
        checked(scope, ehfa_FileMIFDataWrite(file, to + done, length, buffer.get(), scope));
    }
}

void freeRun(EerrException& scope, Ehfa_File* file, std::uint32_t position, std::int64_t size)
{
    if (position != 0 && size > 0) {
        checked(scope, ehfa_FreeSpace(file, position, size, scope));
    }
}

/* A longer column, in a new run. */
void growColumn(EerrException& scope, OpenHFAColumn& column, std::int32_t newCount)
{
    Ehfa_File* file = column.table->file;
    const std::int64_t newSize = runSize(column.header, newCount);
    const std::int64_t oldSize = runSize(column.header, column.header.numRows);
    const std::uint32_t oldRun = column.header.columnDataPtr;
    const std::uint32_t newRun = checked(scope, ehfa_NextFreePos(file, newSize, scope));
    copyRun(scope, file, oldRun, newRun, oldSize);
    column.header.columnDataPtr = newRun;
    column.header.numRows = newCount;
    writeHeader(scope, column);
    freeRun(scope, file, oldRun, oldSize);
}

void shrinkColumn(EerrException& scope, OpenHFAColumn& column, std::int32_t newCount)
{
    const std::int64_t kept = runSize(column.header, newCount);
    const std::int64_t tail = runSize(column.header, column.header.numRows) - kept;
    const std::uint32_t run = column.header.columnDataPtr;
    column.header.numRows = newCount;
    writeHeader(scope, column);
    freeRun(scope, column.table->file, static_cast<std::uint32_t>(run + kept), tail);
}

void resizeColumns(EerrException& scope, Edsc_HFATable& table, std::int32_t newCount)
{
    EstrStringList paths(columnPaths(scope, table));
    for (long i = 0; i < estr_StringListCount(paths); ++i) {
        const HeapPtr<char> name = leafOf(scope, paths->strings[i]);
        const HFAColumnPtr column =
            openedColumn(scope, table, name.get(), "Cannot open column ETXT_LCHAR('%s') for row count update");
        if (newCount <= column->header.numRows) {
            shrinkColumn(scope, *column, newCount);
        } else {
            growColumn(scope, *column, newCount);
        }
    }
}

}  // namespace

EMANTLE_API int32_t edsc_HFAInstanceColumnTypesGet(int32_t* count, char*** names, Eerr_ErrorReport** err)
{
    return guarded<std::int32_t>(err, "edsc_HFAInstanceColumnTypesGet", -1, [&] {
        require(count != nullptr && names != nullptr, "Args");
        HeapPtr<char> texts[kColumnTypes];
        for (std::int32_t type = 0; type < kColumnTypes; ++type) {
            texts[type] = heapText(columnTypeName(type), kNoMemory);
        }
        *names = allocate<char*>(kColumnTypes, kNoMemory).release();
        *count = kColumnTypes;
        for (std::int32_t type = 0; type < kColumnTypes; ++type) {
            (*names)[type] = texts[type].release();
        }
        return 0;
    });
}

EMANTLE_API int32_t edsc_HFATableCreate(void* context, const char* name, int32_t numRows, void** handle,
                                        Eerr_ErrorReport** err)
{
    return guarded<std::int32_t>(err, "edsc_HFATableCreate", -1, [&](EerrException& scope) {
        /* Whatever happens, the thread's next table has a place of its own. */
        const Edsc_HFAPlacement placement = takePlacement();
        require(context != nullptr, "File pointer is NULL");
        require(name != nullptr && handle != nullptr, "Args");
        require(numRows >= 0, "Invalid row count %d", numRows);
        *handle = nullptr;
        auto* file = static_cast<Ehfa_File*>(context);
        addDesigns(scope, *file);
        {
            const WholeChange change(scope, file);
            writeTable(scope, file, name, {numRows}, placement);
        }
        const HeapPtr<char> path(checked(scope, ehfa_CurrentEntryPath(file, scope)));
        *handle = newTable(file, path.get(), numRows).release();
        return 0;
    });
}

EMANTLE_API int32_t edsc_HFATableOpen(void* context, const char* name, void** handle, Eerr_ErrorReport** err)
{
    return guarded<std::int32_t>(err, "edsc_HFATableOpen", -1, [&](EerrException& scope) {
        require(context != nullptr, "File pointer is NULL");
        require(name != nullptr && handle != nullptr, "Args");
        *handle = nullptr;
        auto* file = static_cast<Ehfa_File*>(context);
        takePlacement();
        const UnchangedDictionary mark(*file);
        addDesigns(scope, *file);
        /* A name without a path is one of a child. */
        const long method = std::strchr(name, ':') == nullptr ? EHFA_SEEK_CHILD_NAME : EHFA_SEEK_PATH;
        void* bytes = nullptr;
        std::int32_t size = 0;
        const char* type =
            ehfa_ObjectDataReadIfPresent(file, nullptr, name, method, &bytes, &size, nullptr, scope);
        const HeapPtr<std::uint8_t> data(static_cast<std::uint8_t*>(bytes));
        check(scope);
        if (type == nullptr || data == nullptr || std::strcmp(type, kTableType) != 0) {
            return 0;
        }
        TableRecord record{};
        require(size >= static_cast<std::int32_t>(sizeof record), "Table %s has %d bytes", name, size);
        std::uint32_t rows = 0;
        for (int i = 3; i >= 0; --i) {
            rows = rows << 8 | data.get()[i];
        }
        record.numrows = static_cast<std::int32_t>(rows);
        require(record.numrows >= 0, "Invalid row count %d", record.numrows);
        const HeapPtr<char> path(checked(scope, ehfa_CurrentEntryPath(file, scope)));
        *handle = newTable(file, path.get(), record.numrows).release();
        return record.numrows;
    });
}

EMANTLE_API int32_t edsc_HFATableClose(void* handle, Eerr_ErrorReport** err)
{
    return guarded<std::int32_t>(err, "edsc_HFATableClose", -1, [&] {
        const HeapPtr<Edsc_HFATable> table(static_cast<Edsc_HFATable*>(handle));
        if (table != nullptr) {
            emsc_HeapFree(table->path);
        }
        return 0;
    });
}

EMANTLE_API int32_t edsc_HFATableDestroy(void* handle, Eerr_ErrorReport** err)
{
    return guarded<std::int32_t>(err, "edsc_HFATableDestroy", -1, [&](EerrException& scope) {
        const HFATablePtr table(&tableOf(handle));
        const WholeChange change(scope, table->file);
        EstrStringList paths(columnPaths(scope, *table));
        for (long i = 0; i < estr_StringListCount(paths); ++i) {
            /* A column that does not open is told, and its run is lost to the file; the table goes all the same. */
            guarded(nullptr, "edsc_HFATableDestroy", [&](EerrException& told) {
                const HeapPtr<char> name = leafOf(told, paths->strings[i]);
                const HFAColumnPtr column =
                    openedColumn(told, *table, name.get(), "Cannot open column ETXT_LCHAR('%s') for deletion");
                freeRun(told, table->file, column->header.columnDataPtr,
                        runSize(column->header, column->header.numRows));
            });
        }
        seekNode(scope, table->file, table->path, "Can't find table %s");
        checked(scope, ehfa_EntryDelete(table->file, scope));
        return 0;
    });
}

EMANTLE_API int32_t edsc_HFATableRowCountSet(void* handle, int32_t count, Eerr_ErrorReport** err)
{
    return guarded<std::int32_t>(err, "edsc_HFATableRowCountSet", -1, [&](EerrException& scope) {
        Edsc_HFATable& table = tableOf(handle);
        require(count >= 0, "Invalid row count %d", count);
        {
            /* A file without a gap keeps the order: at every moment columns are at least as long as the table says. */
            const WholeChange change(scope, table.file);
            const bool grows = count > table.numRows;
            if (!grows) {
                writeRowCount(scope, table, count);
            }
            resizeColumns(scope, table, count);
            if (grows) {
                writeRowCount(scope, table, count);
            }
        }
        table.numRows = count;
        return 0;
    });
}

EMANTLE_API int32_t edsc_HFATableColumnNamesGet(void* handle, int32_t* count, char*** names, Eerr_ErrorReport** err)
{
    return guarded<std::int32_t>(err, "edsc_HFATableColumnNamesGet", -1, [&](EerrException& scope) {
        const Edsc_HFATable& table = tableOf(handle);
        require(count != nullptr && names != nullptr, "Args");
        *count = 0;
        *names = nullptr;
        EstrStringList paths(columnPaths(scope, table));
        const long found = estr_StringListCount(paths);
        for (long i = 0; i < found; ++i) {
            emsc_HeapFree(std::exchange(paths->strings[i], leafOf(scope, paths->strings[i]).release()));
        }
        HeapPtr<char*> array = allocate<char*>(static_cast<std::size_t>(found), kNoMemory);
        for (long i = 0; i < found; ++i) {
            array.get()[i] = std::exchange(paths->strings[i], nullptr);
        }
        *names = array.release();
        *count = static_cast<std::int32_t>(found);
        return 0;
    });
}

EMANTLE_API int32_t edsc_HFATableColumnNamesSet(void* handle, int32_t count, const char* const* oldNames,
                                                const char* const* newNames, Eerr_ErrorReport** err)
{
    return guarded<std::int32_t>(err, "edsc_HFATableColumnNamesSet", -1, [&](EerrException& scope) {
        const Edsc_HFATable& table = tableOf(handle);
        require(count >= 0 && (count == 0 || (oldNames != nullptr && newNames != nullptr)), "Args");
        const long end = checked(scope, efnp_NodePathLength(table.path, scope));
        const WholeChange change(scope, table.file);
        for (std::int32_t i = 0; i < count; ++i) {
            seekNode(scope, table.file, table.path, "Can't find table %s");
            const HeapPtr<char> from(checked(scope, efnp_NodePathSet(table.path, oldNames[i], EFNP_NODE, end, scope)));
            const HeapPtr<char> to(checked(scope, efnp_NodePathSet(table.path, newNames[i], EFNP_NODE, end, scope)));
            checked(scope, ehfa_EntryMove(table.file, from.get(), to.get(), scope));
        }
        return 0;
    });
}
