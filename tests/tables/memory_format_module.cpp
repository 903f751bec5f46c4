#include <emantle/tables/edsc/methods.h>

#include <cstring>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

/* A complete table format from outside, in memory: one table. A test says through `memorySet` how it takes names, what
 * it answers to the questions of threads, and which of its answers are garbage. */

#define MEMBER extern "C" __attribute__((visibility("default")))

namespace {

struct Column {
    std::int32_t type = 0;
    std::int32_t width = 0;
    std::vector<char> rows;
    std::vector<std::string> texts;
};
struct Table {
    std::int32_t rows = 0;
    std::map<std::string, Column> columns;
    bool isThere = false;
};

Table table;
void* (*heapMalloc)(long) = nullptr;
void (*heapFree)(void*) = nullptr;
bool isWide = false;
bool isThreadsafe = false;
std::string garbage;

bool spoils(const char* what) { return garbage == what; }

std::string nameOf(const char* name)
{
    if (!isWide) {
        return name;
    }
    std::string narrow;
    for (const auto* at = reinterpret_cast<const char16_t*>(name); *at != 0; ++at) {
        narrow += static_cast<char>(*at);
    }
    return narrow;
}

char* heapCopy(const void* bytes, std::size_t size)
{
    auto* copy = static_cast<char*>(heapMalloc(static_cast<long>(size)));
    std::memcpy(copy, bytes, size);
    return copy;
}

char* handedOut(const std::string& name)
{
    const std::u16string wide(name.begin(), name.end());
    return isWide ? heapCopy(wide.c_str(), 2 * (wide.size() + 1)) : heapCopy(name.c_str(), name.size() + 1);
}

long sizeOf(std::int32_t type) { return type == 0 ? 4 : type == 1 ? 8 : 16; }

void resize(Column& column, std::int32_t rows)
{
    column.rows.resize(static_cast<std::size_t>(rows * sizeOf(column.type)));
    column.texts.resize(static_cast<std::size_t>(rows));
}

Column& columnOf(void* handle) { return *static_cast<Column*>(handle); }

}  // namespace

MEMBER void memoryUseHeap(void* (*allocate)(long), void (*release)(void*))
{
    heapMalloc = allocate;
    heapFree = release;
}
MEMBER void memorySet(int wide, int threadsafe, const char* spoilt)
{
    isWide = wide != 0;
    isThreadsafe = threadsafe != 0;
    garbage = spoilt;
}

MEMBER Emsc_Boolean memoryInstanceIsThreadsafe(void) { return isThreadsafe; }
MEMBER Emsc_Boolean memoryInstanceSupportsUnicode(void) { return isWide; }
MEMBER int32_t memoryInstanceColumnTypesGet(int32_t* count, char*** names, Eerr_ErrorReport**)
{
    if (spoils("types: none at all")) {
        *count = 3;
        *names = nullptr;
        return 0;
    }
    *names = static_cast<char**>(heapMalloc(4 * sizeof(char*)));
    int at = 0;
    for (const char* name : {"string", "complex", "real", "integer"}) { /* an order of its own */
        (*names)[at++] = heapCopy(name, std::strlen(name) + 1);
    }
    if (spoils("types: a null")) {
        heapFree((*names)[2]);
        (*names)[2] = nullptr;
    }
    *count = 4;
    return 0;
}
MEMBER int32_t memoryTableCreate(void*, const char*, int32_t rows, void** handle, Eerr_ErrorReport**)
{
    table = {rows, {}, true};
    *handle = spoils("create: no handle") ? nullptr : &table;
    return 0;
}
MEMBER int32_t memoryTableOpen(void*, const char* name, void** handle, Eerr_ErrorReport**)
{
    if (spoils("open: throws")) {
        throw std::runtime_error("the format is broken");
    }
    *handle = table.isThere && nameOf(name) == "T" ? &table : nullptr;
    return spoils("open: negative") ? -5 : table.rows;
}
MEMBER int32_t memoryTableClose(void*, Eerr_ErrorReport**) { return spoils("close: negative") ? -1 : 0; }
MEMBER int32_t memoryTableDestroy(void*, Eerr_ErrorReport**)
{
    table = {};
    return 0;
}
MEMBER int32_t memoryTableRowCountGet(void*, int32_t* count, Eerr_ErrorReport**)
{
    *count = spoils("rows: negative") ? -7 : table.rows;
    return 0;
}
MEMBER int32_t memoryTableRowCountSet(void*, int32_t rows, Eerr_ErrorReport**)
{
    table.rows = rows;
    for (auto& [name, column] : table.columns) {
        resize(column, rows);
    }
    return 0;
}
MEMBER int32_t memoryTableColumnNamesGet(void*, int32_t* count, char*** names, Eerr_ErrorReport**)
{
    *count = static_cast<int32_t>(table.columns.size());
    *names = static_cast<char**>(heapMalloc(static_cast<long>((table.columns.size() + 1) * sizeof(char*))));
    std::size_t at = 0;
    for (const auto& [name, column] : table.columns) {
        (*names)[at++] = handedOut(name);
    }
    if (spoils("names: a null") && at > 0) {
        heapFree((*names)[0]);
        (*names)[0] = nullptr;
    }
    if (spoils("names: none at all")) {
        for (std::size_t i = 0; i < at; ++i) {
            heapFree((*names)[i]);
        }
        heapFree(*names);
        *names = nullptr;
    }
    if (spoils("names: what is not there")) {
        heapFree((*names)[0]);
        (*names)[0] = handedOut("nothing");
    }
    return 0;
}
MEMBER int32_t memoryTableColumnNamesSet(void*, int32_t count, const char* const* oldNames, const char* const* newNames,
                                         Eerr_ErrorReport**)
{
    for (int32_t at = 0; at < count; ++at) {
        auto node = table.columns.extract(nameOf(oldNames[at]));
        node.key() = nameOf(newNames[at]);
        table.columns.insert(std::move(node));
    }
    return 0;
}
MEMBER int32_t memoryColumnCreate(void*, const char* name, int32_t type, int32_t width, void** handle,
                                  Eerr_ErrorReport**)
{
    Column& column = table.columns[nameOf(name)];
    column.type = 3 - type;
    column.width = width;
    resize(column, table.rows);
    *handle = spoils("column create: no handle") ? nullptr : &column;
    return 0;
}
MEMBER int32_t memoryColumnOpen(void*, const char* name, int32_t* type, int32_t* width, void** handle,
                                Eerr_ErrorReport**)
{
    const auto found = table.columns.find(nameOf(name));
    if (found == table.columns.end()) {
        return 0;
    }
    *type = spoils("column: type 4") ? 4 : spoils("column: type -1") ? -1 : 3 - found->second.type;
    *width = spoils("column: width -1") ? -1 : found->second.width;
    *handle = &found->second;
    return spoils("column: negative rows") ? -1 : table.rows;
}
MEMBER int32_t memoryColumnClose(void*, Eerr_ErrorReport**) { return 0; }
MEMBER int32_t memoryColumnDestroy(void* handle, Eerr_ErrorReport**)
{
    std::erase_if(table.columns, [&](const auto& one) { return &one.second == handle; });
    return 0;
}
MEMBER int32_t memoryColumnModTimeGet(void*, double* time, Eerr_ErrorReport**)
{
    *time = 42;
    return 0;
}
MEMBER int32_t memoryColumnDataRead(void* handle, int32_t start, int32_t rows, void* data, Eerr_ErrorReport**)
{
    if (spoils("read: throws")) {
        throw 7;
    }
    if (spoils("read: negative")) {
        return -1;
    }
    Column& column = columnOf(handle);
    for (int32_t row = 0; column.type == 3 && row < rows && !spoils("read: no texts"); ++row) {
        const std::string& text = column.texts.at(static_cast<std::size_t>(start + row));
        static_cast<char**>(data)[row] = heapCopy(text.c_str(), text.size() + 1);
    }
    if (column.type != 3) {
        std::memcpy(data, column.rows.data() + start * sizeOf(column.type),
                    static_cast<std::size_t>(rows * sizeOf(column.type)));
    }
    return 0;
}
MEMBER int32_t memoryColumnDataWrite(void* handle, int32_t start, int32_t rows, const void* data, Eerr_ErrorReport**)
{
    Column& column = columnOf(handle);
    for (int32_t row = 0; column.type == 3 && row < rows; ++row) {
        const char* const text = static_cast<const char* const*>(data)[row];
        column.texts.at(static_cast<std::size_t>(start + row)) =
            text == nullptr ? "" : std::string(text, strnlen(text, static_cast<std::size_t>(column.width)));
    }
    if (column.type != 3) {
        std::memcpy(column.rows.data() + start * sizeOf(column.type), data,
                    static_cast<std::size_t>(rows * sizeOf(column.type)));
    }
    return 0;
}
