#include <emantle/tables/edsc/methods.h>

#include <cstring>
#include <string>

/* Table formats of which each lacks something, and one with wide names that keeps what it was told. An instance's entry
 * points bear its name in front. */

namespace {

std::int32_t open(void*, const char*, void** handle, Eerr_ErrorReport**)
{
    static int table;
    *handle = &table;
    return 3;
}
std::int32_t create(void*, const char*, std::int32_t, void** handle, Eerr_ErrorReport** err)
{
    return open(nullptr, nullptr, handle, err);
}
std::int32_t onHandle(void*, Eerr_ErrorReport**) { return 0; }
std::int32_t setRows(void*, std::int32_t, Eerr_ErrorReport**) { return 0; }
std::int32_t namesGet(void*, std::int32_t* count, char*** names, Eerr_ErrorReport**)
{
    *count = 0;
    *names = nullptr;
    return 0;
}
std::int32_t namesSet(void*, std::int32_t, const char* const*, const char* const*, Eerr_ErrorReport**) { return 0; }
std::int32_t columnCreate(void*, const char*, std::int32_t, std::int32_t, void** handle, Eerr_ErrorReport** err)
{
    return open(nullptr, nullptr, handle, err);
}
std::int32_t columnOpen(void*, const char*, std::int32_t* type, std::int32_t*, void** handle, Eerr_ErrorReport** err)
{
    *type = 0;
    return open(nullptr, nullptr, handle, err);
}
std::int32_t modTime(void*, double* time, Eerr_ErrorReport**)
{
    *time = 7;
    return 0;
}
std::int32_t read(void*, std::int32_t start, std::int32_t rows, void* data, Eerr_ErrorReport**)
{
    for (std::int32_t i = 0; i < rows; ++i) {
        static_cast<std::int32_t*>(data)[i] = start + i;
    }
    return 0;
}
std::int32_t write(void*, std::int32_t, std::int32_t, const void*, Eerr_ErrorReport**) { return -1; }

std::u16string lastName;

std::int32_t wideOpen(void*, const char* name, void** handle, Eerr_ErrorReport** err)
{
    lastName = reinterpret_cast<const char16_t*>(name);
    return open(nullptr, nullptr, handle, err);
}

}  // namespace

#define FORWARD(instance, name, function, parameters, arguments)                                                      \
    extern "C" __attribute__((visibility("default"))) std::int32_t instance##name parameters { return function arguments; }

#define TABLE_OPEN(i) FORWARD(i, TableOpen, open, (void* c, const char* n, void** h, Eerr_ErrorReport** e), (c, n, h, e))
#define TABLE_CREATE(i)                                                                                               \
    FORWARD(i, TableCreate, create, (void* c, const char* n, std::int32_t r, void** h, Eerr_ErrorReport** e), (c, n, r, h, e))
#define ON_HANDLE(i, name) FORWARD(i, name, onHandle, (void* h, Eerr_ErrorReport** e), (h, e))
#define ROW_COUNT_SET(i) FORWARD(i, TableRowCountSet, setRows, (void* h, std::int32_t r, Eerr_ErrorReport** e), (h, r, e))
#define NAMES_GET(i)                                                                                                  \
    FORWARD(i, TableColumnNamesGet, namesGet, (void* h, std::int32_t* c, char*** n, Eerr_ErrorReport** e), (h, c, n, e))
#define NAMES_SET(i)                                                                                                  \
    FORWARD(i, TableColumnNamesSet, namesSet,                                                                         \
            (void* h, std::int32_t c, const char* const* o, const char* const* n, Eerr_ErrorReport** e), (h, c, o, n, e))
#define COLUMN_CREATE(i)                                                                                              \
    FORWARD(i, ColumnCreate, columnCreate,                                                                            \
            (void* t, const char* n, std::int32_t y, std::int32_t m, void** h, Eerr_ErrorReport** e), (t, n, y, m, h, e))
#define COLUMN_OPEN(i)                                                                                                \
    FORWARD(i, ColumnOpen, columnOpen,                                                                                \
            (void* t, const char* n, std::int32_t* y, std::int32_t* m, void** h, Eerr_ErrorReport** e), (t, n, y, m, h, e))
#define MOD_TIME(i) FORWARD(i, ColumnModTimeGet, modTime, (void* h, double* t, Eerr_ErrorReport** e), (h, t, e))
#define DATA_READ(i)                                                                                                  \
    FORWARD(i, ColumnDataRead, read, (void* h, std::int32_t s, std::int32_t r, void* d, Eerr_ErrorReport** e), (h, s, r, d, e))
#define DATA_WRITE(i)                                                                                                 \
    FORWARD(i, ColumnDataWrite, write, (void* h, std::int32_t s, std::int32_t r, const void* d, Eerr_ErrorReport** e),  \
            (h, s, r, d, e))
#define REQUIRED_BUT_OPEN(i) ON_HANDLE(i, TableClose) NAMES_GET(i) ON_HANDLE(i, ColumnClose) MOD_TIME(i) DATA_READ(i)
#define REQUIRED(i) TABLE_OPEN(i) REQUIRED_BUT_OPEN(i) COLUMN_OPEN(i)

REQUIRED(complete) TABLE_CREATE(complete) ON_HANDLE(complete, TableDestroy) ROW_COUNT_SET(complete) NAMES_SET(complete)
COLUMN_CREATE(complete) ON_HANDLE(complete, ColumnDestroy) DATA_WRITE(complete)

REQUIRED(noDestroy) TABLE_CREATE(noDestroy) ON_HANDLE(noDestroy, TableDestroy) ROW_COUNT_SET(noDestroy)
NAMES_SET(noDestroy) COLUMN_CREATE(noDestroy) DATA_WRITE(noDestroy)

REQUIRED(noWrite) TABLE_CREATE(noWrite) ON_HANDLE(noWrite, TableDestroy) ROW_COUNT_SET(noWrite) NAMES_SET(noWrite)
COLUMN_CREATE(noWrite) ON_HANDLE(noWrite, ColumnDestroy)

REQUIRED(noCreate) TABLE_CREATE(noCreate) ON_HANDLE(noCreate, TableDestroy) ROW_COUNT_SET(noCreate) NAMES_SET(noCreate)
ON_HANDLE(noCreate, ColumnDestroy) DATA_WRITE(noCreate)

REQUIRED(noRename) TABLE_CREATE(noRename) ON_HANDLE(noRename, TableDestroy) ROW_COUNT_SET(noRename)
COLUMN_CREATE(noRename) ON_HANDLE(noRename, ColumnDestroy) DATA_WRITE(noRename)

REQUIRED_BUT_OPEN(noTables) COLUMN_OPEN(noTables)
TABLE_OPEN(noColumns) REQUIRED_BUT_OPEN(noColumns)

REQUIRED(garbage)
FORWARD(garbage, InstanceColumnTypesGet, std::int32_t, (std::int32_t*, char***, Eerr_ErrorReport**), {-1})

/* Bare names, and wide ones. */
FORWARD(, InstanceSupportsUnicode, std::int32_t, (), {1})
FORWARD(, InstanceIsThreadsafe, std::int32_t, (), {1})
FORWARD(, TableOpen, wideOpen, (void* c, const char* n, void** h, Eerr_ErrorReport** e), (c, n, h, e))
REQUIRED_BUT_OPEN() COLUMN_OPEN()
extern "C" __attribute__((visibility("default"))) const char16_t* lastTableName() { return lastName.c_str(); }
