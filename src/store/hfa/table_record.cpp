#include "store/hfa/table.h"

#include "frame/guard/guard.h"
#include "frame/guard/nested.h"

#include <emantle/store/ehfa.h>
#include <emantle/store/emif.h>
#include <algorithm>
#include <cstdlib>
#include <cstring>

/* Records of an open table, and their fields. */

namespace emantle::hfa {

namespace {

Ehfa_Table& openTable(Ehfa_Table* table)
{
    require(table != nullptr && table->data != nullptr && table->structure != nullptr && table->recordLength > 0, "Args");
    return *table;
}

int32_t recordCount(const Ehfa_Table& table) { return table.data->byteCount / table.recordLength; }

void goTo(Ehfa_Table& table, int32_t number, EerrException& scope)
{
    require(number >= 0 && number <= recordCount(table), "Error seeking record [%d]", int{number});
    checked(scope, ehfa_CacheSeek(table.data, long{number} * table.recordLength, 0, scope), "Error seeking record [%d]",
            int{number});
    table.currentRecord = number;
}

/* What lies at the position, as far as there is room. */
long readHere(Ehfa_Table& table, char* record, long length, EerrException& scope)
{
    const long start = ehfa_CacheGetCurrPos(table.data);
    const long size = std::min<long>(length, table.recordLength);
    const long stored = checked(scope, ehfa_CacheRead(table.data, record, size, scope), "Error reading record");
    if (stored < length) {
        record[stored] = '\0';
    }
    table.currentRecord = static_cast<int32_t>(start / table.recordLength);
    const long rest = table.recordLength - size;
    if (rest > 0 && stored == size) {
        checked(scope, ehfa_CacheSeek(table.data, rest, 1, scope), "Error reading record");
    }
    return stored;
}

long readRecord(Ehfa_Table& table, int32_t number, char* record, long length, EerrException& scope)
{
    require(record, "record pointer is NULL");
    require(length >= 0, "Args");
    require(number >= 0 && number < recordCount(table), "Error seeking record [%d]", int{number});
    goTo(table, number, scope);
    return asFunction(
        scope, "ehfa_TableRecordNext", "Error reading record [%d]",
        [&] { return readHere(table, record, length, scope); }, int{number});
}

long writeRecord(Ehfa_Table& table, int32_t number, std::string_view record, EerrException& scope)
{
    require(record.size() <= static_cast<std::size_t>(table.recordLength), "Error writing record [%d]", int{number});
    goTo(table, number == -1 ? recordCount(table) : number, scope);
    std::string line(record);
    std::ranges::replace(line, ',', char{EHFA_TABLE_SEPARATOR});
    line.resize(static_cast<std::size_t>(table.recordLength), ' ');
    return checked(scope, ehfa_CacheWrite(table.data, line.data(), table.recordLength, scope), "Error writing record [%d]",
                   int{table.currentRecord});
}

/* The number of a field; fails where none bears the name. */
std::size_t fieldNamed(const Ehfa_Table& table, const char* name)
{
    require(name != nullptr, "Args");
    const auto fields = fieldsOf(*table.structure);
    for (std::size_t i = 0; i < fields.size(); ++i) {
        if (std::strcmp(fields[i].name, name) == 0) {
            return i;
        }
    }
    fail("   field [%s] not found!", name);
}

std::size_t fieldNumbered(const Ehfa_Table& table, int32_t index)
{
    require(index >= 0 && index < table.fieldCount, "   field [%s] not found!", std::to_string(index).c_str());
    return static_cast<std::size_t>(index);
}

/* The columns of a field in a record's text, which may end before them. */
std::string_view columnsOf(const Ehfa_Table& table, std::string_view record, std::size_t index)
{
    const auto fields = fieldsOf(*table.structure);
    const auto offset = static_cast<std::size_t>(offsetOf(fields, index));
    return offset < record.size() ? record.substr(offset, static_cast<std::size_t>(fields[index].width)) : "";
}

std::string_view lineOf(const Ehfa_Table& table, const char* record)
{
    require(record, "record pointer is NULL");
    return {record, strnlen(record, static_cast<std::size_t>(table.recordLength))};
}

char* getField(const Ehfa_Table& table, const char* record, std::size_t index)
{
    return heapText(trimmed(columnsOf(table, lineOf(table, record), index)), "   Out of memory!").release();
}

void modifyField(Ehfa_Table& table, int32_t number, char* record, std::size_t index, const char* value,
                 EerrException& scope)
{
    require(record, "record pointer is NULL");
    require(value, "Args");
    const auto fields = fieldsOf(*table.structure);
    const std::string columns = asFunction(scope, "ehfa_ModifyRecordField", "Error modifying record",
                                           [&] { return printed(fields[index], value); });
    std::string changed(record, static_cast<std::size_t>(table.recordLength));
    columns.copy(&changed[static_cast<std::size_t>(offsetOf(fields, index))], columns.size());
    asFunction(scope, "ehfa_TableRecordWrite", "Error modifying record",
               [&] { writeRecord(table, number, changed, scope); });
    changed.copy(record, changed.size());
}

/* Puts the text of a field where the design has it. */
void loadField(const Emif_DesignItem& item, std::string_view columns, char* record)
{
    const std::string text(trimmed(columns));
    char* place = record + item.hostOffset;
    switch (item.type) {
    case EMIF_TYPE_FLOAT: {
        const float number = std::strtof(text.c_str(), nullptr);
        std::memcpy(place, &number, sizeof number);
        break;
    }
    case EMIF_TYPE_LONG: {
        const auto number = static_cast<int32_t>(std::strtol(text.c_str(), nullptr, 10));
        std::memcpy(place, &number, sizeof number);
        break;
    }
    case EMIF_TYPE_U1: *place = std::strtol(text.c_str(), nullptr, 10) != 0 ? 1 : 0; break;
    default: text.copy(place, static_cast<std::size_t>(item.hostSize)); break;
    }
}

}  // namespace

}  // namespace emantle::hfa

using namespace emantle;
using namespace emantle::hfa;

EMANTLE_API Emsc_Boolean ehfa_TableRecordSeek(Ehfa_Table* table, int32_t number, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "ehfa_TableRecordSeek", 0, [&](EerrException& scope) {
        Ehfa_Table& open = openTable(table);
        goTo(open, number == -1 ? recordCount(open) : number, scope);
        return 1;
    });
}

EMANTLE_API long ehfa_TableRecordRead(Ehfa_Table* table, int32_t number, char* record, long length,
                                      Eerr_ErrorReport** err)
{
    return guarded<long>(err, "ehfa_TableRecordRead", -1,
                         [&](EerrException& scope) { return readRecord(openTable(table), number, record, length, scope); });
}

EMANTLE_API long ehfa_TableRecordNext(Ehfa_Table* table, char* record, long length, Eerr_ErrorReport** err)
{
    return guarded<long>(err, "ehfa_TableRecordNext", -1, [&](EerrException& scope) {
        require(record, "record pointer is NULL");
        require(length >= 0, "Args");
        Ehfa_Table& open = openTable(table);
        const bool isThere = ehfa_CacheGetCurrPos(open.data) / open.recordLength < recordCount(open);
        return isThere ? readHere(open, record, length, scope) : 0;
    });
}

EMANTLE_API long ehfa_TableRecordWrite(Ehfa_Table* table, int32_t number, const char* record, long length,
                                       Eerr_ErrorReport** err)
{
    return guarded<long>(err, "ehfa_TableRecordWrite", -1, [&](EerrException& scope) {
        require(record, "record pointer is NULL");
        Ehfa_Table& open = openTable(table);
        const std::string_view text = length >= 0 ? std::string_view(record, static_cast<std::size_t>(length)) : record;
        return writeRecord(open, number, text, scope);
    });
}

EMANTLE_API Emsc_Boolean ehfa_TableRecordLoad(Ehfa_Table* table, int32_t number, void* record, long length,
                                              Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "ehfa_TableRecordLoad", 0, [&](EerrException& scope) {
        require(record, "record pointer is NULL");
        Ehfa_Table& open = openTable(table);
        require(length >= open.design->hostSize, "A record of %ld bytes does not hold the %d of %s", length,
                int{open.design->hostSize}, open.design->name);
        std::string line(static_cast<std::size_t>(open.recordLength), '\0');
        line.resize(static_cast<std::size_t>(readRecord(open, number, line.data(), open.recordLength, scope)));
        std::memset(record, 0, static_cast<std::size_t>(open.design->hostSize));
        std::size_t index = 0;
        for (const Emif_DesignItem* item = open.design->items; item != nullptr; item = item->next) {
            loadField(*item, columnsOf(open, line, index++), static_cast<char*>(record));
        }
        return 1;
    });
}

EMANTLE_API char* ehfa_GetRecordFieldByName(const Ehfa_Table* table, const char* record, const char* name,
                                            Eerr_ErrorReport** err)
{
    return guarded<char*>(err, "ehfa_GetRecordFieldByName", nullptr, [&] {
        const Ehfa_Table& open = openTable(const_cast<Ehfa_Table*>(table));
        return getField(open, record, fieldNamed(open, name));
    });
}

EMANTLE_API char* ehfa_GetRecordFieldByIndex(const Ehfa_Table* table, const char* record, int32_t index,
                                             Eerr_ErrorReport** err)
{
    return guarded<char*>(err, "ehfa_GetRecordFieldByIndex", nullptr, [&] {
        const Ehfa_Table& open = openTable(const_cast<Ehfa_Table*>(table));
        return getField(open, record, fieldNumbered(open, index));
    });
}

EMANTLE_API Emsc_Boolean ehfa_ModifyRecordFieldByName(Ehfa_Table* table, int32_t number, char* record, const char* name,
                                                      const char* value, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "ehfa_ModifyRecordFieldByName", 0, [&](EerrException& scope) {
        Ehfa_Table& open = openTable(table);
        modifyField(open, number, record, fieldNamed(open, name), value, scope);
        return 1;
    });
}

EMANTLE_API Emsc_Boolean ehfa_ModifyRecordFieldByIndex(Ehfa_Table* table, int32_t number, char* record, int32_t index,
                                                       const char* value, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "ehfa_ModifyRecordFieldByIndex", 0, [&](EerrException& scope) {
        Ehfa_Table& open = openTable(table);
        modifyField(open, number, record, fieldNumbered(open, index), value, scope);
        return 1;
    });
}
