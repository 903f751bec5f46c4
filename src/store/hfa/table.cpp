#include "store/hfa/table.h"

#include "store/hfa/activity.h"
#include "store/hfa/block_store.h"
#include "store/hfa/block_store_node.h"

#include <emantle/store/ehfa.h>
#include <emantle/store/emif.h>
#include <algorithm>
#include <cstring>
#include <optional>
#include <vector>

/* Tables as a whole: the master table of a file, and the tables that it describes. */

namespace emantle::hfa {

namespace {

constexpr char kMasterName[] = "master";
constexpr std::size_t kTableNameMax = 26;
constexpr int32_t kMasterLength = 256; /* behind its fields NULs fill it up */
enum MasterField { kName, kType, kIndexed, kReclen, kFormat, kMasterFields };

StructurePtr masterStructure(EerrException& scope)
{
    char texts[][8] = {"Name", "Type", "Indexed", "Reclen", "Format"};
    const Ehfa_TableField fields[] = {{texts[0], EHFA_FIELD_CHAR, kTableNameMax},
                                      {texts[1], EHFA_FIELD_INT, 8},
                                      {texts[2], EHFA_FIELD_INT, 8},
                                      {texts[3], EHFA_FIELD_INT, 8},
                                      {texts[4], EHFA_FIELD_CHAR, 194}};
    static_assert(std::size(fields) == kMasterFields);
    StructurePtr structure = makeStructure(fields, scope);
    structure->recordLength = kMasterLength;
    return structure;
}

bool isMaster(const Ehfa_Table& table) { return std::strcmp(table.name, kMasterName) == 0; }

void requireName(const char* name)
{
    const std::string_view text(name);
    const auto fits = [](char c) { return c > ' ' && c <= '~' && std::strchr(",:()\\", c) == nullptr; };
    require(!text.empty() && text.size() <= kTableNameMax && std::ranges::all_of(text, fits),
            "%s is no name of a table", name);
}

std::string designNameOf(const char* table) { return formatted("%s_design", table); }

/* The format of a record, with the separators that a record has. */
HeapPtr<char> formatOf(const Ehfa_TableRecordStructure& structure, EerrException& scope)
{
    HeapPtr<char> format(
        checked(scope, ehfa_TableFormatStringCreate(&structure, scope), "Unable to allocate tableformat"));
    std::replace(format.get(), format.get() + std::strlen(format.get()), ',', char{EHFA_TABLE_SEPARATOR});
    return format;
}

/* A table of these fields without its blocks. */
TablePtr newTable(const char* name, StructurePtr structure, EerrException& scope)
{
    TablePtr table(checked(scope, ehfa_TableNew(scope), "   Out of memory!"));
    table->name = heapText(name, "   Out of memory!").release();
    table->design = checked(scope, ehfa_TableDesignCreate(structure.get(), designNameOf(name).c_str(), scope),
                            "Error converting design!");
    table->format = formatOf(*structure, scope).release();
    table->fieldCount = structure->fieldCount;
    table->recordLength = structure->recordLength;
    table->structure = structure.release();
    return table;
}

/* Whether a reader finds the widths again: by the format, or where that is too long for its field by the design. */
bool isDescribed(const Ehfa_Table& table)
{
    const auto fields = fieldsOf(*table.structure);
    return std::strlen(table.format) <= 194 || std::ranges::all_of(fields, [](const Ehfa_TableField& field) {
               return field.type == EHFA_FIELD_CHAR || field.width == defaultWidth(field.type);
           });
}

/* Appends the record that describes a table. */
void describe(Ehfa_Table& master, const Ehfa_Table& table, int32_t type, Emsc_Boolean indexed, EerrException& scope)
{
    require(isDescribed(table), "Error storing table name");
    const auto fields = fieldsOf(*master.structure);
    const bool formatFits = std::strlen(table.format) <= static_cast<std::size_t>(fields[kFormat].width);
    const std::string values[kMasterFields] = {table.name, std::to_string(type), indexed != 0 ? "1" : "0",
                                               std::to_string(table.recordLength), formatFits ? table.format : ""};
    std::string record;
    for (std::size_t i = 0; i < kMasterFields; ++i) {
        record += (i == 0 ? std::string() : std::string(1, EHFA_TABLE_SEPARATOR)) + printed(fields[i], values[i]);
    }
    record.resize(kMasterLength, '\0');
    const long written = checked(scope, ehfa_TableRecordWrite(&master, -1, record.data(), kMasterLength, scope),
                                 "Error storing table name");
    require(written >= kMasterLength, "Error storing table name");
    checked(scope, ehfa_CacheFlush(master.data, scope), "Error storing table name");
}

/* Whether two designs of records have the same fields. */
bool areAlike(const Emif_Design& a, const Emif_Design& b)
{
    const Emif_DesignItem* left = a.items;
    const Emif_DesignItem* right = b.items;
    while (left != nullptr && right != nullptr && left->type == right->type && left->count == right->count &&
           left->isPointer == right->isPointer && std::strcmp(left->name, right->name) == 0) {
        left = left->next;
        right = right->next;
    }
    return left == nullptr && right == nullptr;
}

/* Gives a table its blocks and its design, and has it described: all of it or nothing. */
Ehfa_Table* createIn(Ehfa_File* file, TablePtr table, Ehfa_Table* master, int32_t type, Emsc_Boolean indexed,
                     EerrException& scope)
{
    const std::string node = ":" + std::string(table->name);
    auto* masterStore = master != nullptr ? static_cast<BlockStore*>(master->data) : nullptr;
    const std::unique_ptr<BlockStore> before = masterStore != nullptr ? masterStore->copy() : nullptr;
    try {
        Handle& handle = opened(file);
        Activity activity(handle, scope);
        table->file = file;
        table->data = checked(scope, ehfa_CacheCreate(file, node.c_str(), scope), "Error creating table cache");
        /* A table of this name that is gone has left its design, by which this one would be read. */
        const Emif_Design* design =
            checked(scope, emif_DictionaryAddDesign(file->dictionary, table->design, scope), "Error converting design!");
        require(design != nullptr && areAlike(*design, *table->design), "Error converting design!");
        describe(master != nullptr ? *master : *table, *table, type, indexed, scope);
        writeDesigns(handle, scope);
    } catch (...) {
        if (before != nullptr) {
            masterStore->takeBack(*before);
        }
        throw;
    }
    return table.release();
}

Ehfa_Table* createMaster(const char* fileName, EerrException& scope)
{
    const FileReference file(
        checked(scope, ehfa_CacheFileOpen(fileName, eint_GetInit(), scope), "Error creating table cache"));
    StructurePtr structure = asFunction(scope, "ehfa_TableRecordStructureCreate", "Error creating Master Record!",
                                        [&] { return masterStructure(scope); });
    return createIn(file.get(), newTable(kMasterName, std::move(structure), scope), nullptr, 0, 0, scope);
}

StructurePtr wantedStructure(const Ehfa_Table& master, const char* name, const Ehfa_TableRecordStructure* structure,
                             const char* definitionFile, EerrException& scope)
{
    if (structure == nullptr && definitionFile != nullptr) {
        return StructurePtr(checked(scope, ehfa_TableDesignCreateFromFile(definitionFile, name, scope),
                                    "Error creating design from file"));
    }
    const Ehfa_TableRecordStructure& source = structure != nullptr ? *structure : *master.structure;
    StructurePtr copy = asFunction(scope, "ehfa_TableRecordStructureCreate", "error copying record field definition",
                                   [&] { return makeStructure(fieldsOf(source), scope); });
    require(copy->fieldCount > 0, "error copying record field definition");
    return copy;
}

/* The type of a field by its element in the design; a date is a text there. */
int32_t fieldTypeOf(const Emif_DesignItem& item)
{
    switch (item.isPointer != 0 ? 0 : item.type) {
    case EMIF_TYPE_CHAR: return EHFA_FIELD_CHAR;
    case EMIF_TYPE_FLOAT: return EHFA_FIELD_FLOAT;
    case EMIF_TYPE_LONG: return EHFA_FIELD_INT;
    case EMIF_TYPE_U1: return EHFA_FIELD_BOOL;
    default: fail("Error converting design!");
    }
}

/* The next width of a format, as in "%-16.10lg"; 0 at its end. */
int32_t nextWidth(std::string_view& format)
{
    const std::size_t start = format.find("%-");
    if (start == format.npos) {
        return 0;
    }
    format.remove_prefix(start + 2);
    int32_t width = 0;
    while (!format.empty() && format[0] >= '0' && format[0] <= '9' && width < EHFA_TABLE_RECORD_MAX) {
        width = 10 * width + (format[0] - '0');
        format.remove_prefix(1);
    }
    return width;
}

/* The fields of a table: names and types by its design, widths by the format that the master holds of it. */
StructurePtr structureOf(const Ehfa_File& file, const char* name, std::string_view format, long length,
                         EerrException& scope)
{
    const std::string designName = designNameOf(name);
    const Emif_Design* design = emif_FindDesignByName(file.dictionary, designName.c_str(), scope);
    check(scope);
    require(design, "   could not find design [%s]", designName.c_str());
    const bool isFormatThere = !format.empty();
    std::vector<Ehfa_TableField> fields;
    for (const Emif_DesignItem* item = design->items; item != nullptr; item = item->next) {
        const int32_t type = fieldTypeOf(*item);
        const int32_t width = type == EHFA_FIELD_CHAR ? item->count : defaultWidth(type);
        fields.push_back({item->name, type, isFormatThere ? nextWidth(format) : width});
        const bool agrees = type != EHFA_FIELD_CHAR || fields.back().width == item->count;
        require(fields.back().width > 0 && agrees, "Error retrieving record definitions");
    }
    StructurePtr structure = makeStructure(fields, scope);
    require(structure->recordLength > 0 && structure->recordLength == length, "Error retrieving record definitions");
    return structure;
}

/* Looks a table up in the master table of its file. */
StructurePtr describedStructure(Ehfa_File* file, const char* name, EerrException& scope)
{
    const TablePtr master(checked(scope, ehfa_TableOpen(file, kMasterName, 0, scope), "Error opening table [%s]", kMasterName));
    const auto fields = fieldsOf(*master->structure);
    char record[kMasterLength + 1];
    const auto field = [&](MasterField which) {
        return std::string(trimmed({record + offsetOf(fields, which), static_cast<std::size_t>(fields[which].width)}));
    };
    /* The last one tells: those before it are of tables that are gone. */
    std::optional<std::pair<std::string, long>> found; /* format and length */
    while (const long length = checked(scope, ehfa_TableRecordNext(master.get(), record, sizeof record, scope),
                                       "Error retrieving record definitions")) {
        require(length == kMasterLength, "Error retrieving record definitions");
        if (field(kName) == name) {
            found.emplace(field(kFormat), std::strtol(field(kReclen).c_str(), nullptr, 10));
        }
    }
    require(found, "Error retrieving record definitions");
    return structureOf(*file, name, found->first, found->second, scope);
}

Ehfa_Table* openTable(Ehfa_File* given, const char* text, EerrException& scope)
{
    const bool isPlain = given != nullptr && std::strpbrk(text, ":(") == nullptr;
    const NodeName name = nodeNameOf(isPlain ? (":" + std::string(text)).c_str() : text, given == nullptr, scope);
    const std::string node = given != nullptr ? name.path() : text;
    Ehfa_Cache* cache =
        checked(scope, ehfa_CacheOpen(given, node.c_str(), scope), "Error opening table [%s]", name.node.c_str());
    Owned<Ehfa_Cache, ehfa_CacheFree> owner(cache);
    StructurePtr structure = asFunction(scope, "ehfa_TableRecordStructureCreate", "Error retrieving record definitions", [&] {
        return name.node == kMasterName ? masterStructure(scope) : describedStructure(cache->file, name.node.c_str(), scope);
    });
    TablePtr table = newTable(name.node.c_str(), std::move(structure), scope);
    table->file = cache->file;
    table->data = owner.release();
    return table.release();
}

}  // namespace

}  // namespace emantle::hfa

using namespace emantle;
using namespace emantle::hfa;

EMANTLE_API Ehfa_Table* ehfa_TableCreate(const char* fileName, Ehfa_Table* master, const char* tableName,
                                         const Ehfa_TableRecordStructure* structure, int32_t type, Emsc_Boolean indexed,
                                         const char* definitionFile, Eerr_ErrorReport** err)
{
    return guarded<Ehfa_Table*>(err, "ehfa_TableCreate", nullptr, [&](EerrException& scope) {
        require(fileName != nullptr, "Name not provided!");
        if (master == nullptr) {
            return createMaster(fileName, scope);
        }
        require(tableName != nullptr, "Table Name not provided!");
        require(isMaster(*master) && master->data != nullptr && master->structure != nullptr, "Error opening table [%s]",
                master->name);
        requireName(tableName);
        TablePtr table = newTable(tableName, wantedStructure(*master, tableName, structure, definitionFile, scope), scope);
        return createIn(master->file, std::move(table), master, type, indexed, scope);
    });
}

EMANTLE_API Ehfa_Table* ehfa_TableOpen(Ehfa_File* file, const char* name, long, Eerr_ErrorReport** err)
{
    return guarded<Ehfa_Table*>(err, "ehfa_TableOpen", nullptr, [&](EerrException& scope) {
        require(name != nullptr && *name != '\0', "   Table Name not provided!");
        return openTable(file, name, scope);
    });
}

EMANTLE_API Emsc_Boolean ehfa_TableClose(Ehfa_Table* table, Eerr_ErrorReport** err)
{
    return guarded<Emsc_Boolean>(err, "ehfa_TableClose", 0, [&](EerrException& scope) {
        const TablePtr owner(table);
        if (table != nullptr) {
            checked(scope, ehfa_CacheClose(std::exchange(table->data, nullptr), scope));
        }
        return 1;
    });
}

EMANTLE_API Ehfa_Table* ehfa_TableNew(Eerr_ErrorReport** err)
{
    return guarded<Ehfa_Table*>(err, "ehfa_TableNew", nullptr, [] {
        auto table = allocate<Ehfa_Table>(1, "   Out of Memory!");
        table->currentRecord = -1;
        return table.release();
    });
}

EMANTLE_API void ehfa_TableFree(Ehfa_Table* table)
{
    if (table != nullptr) {
        ehfa_CacheFree(table->index);
        ehfa_CacheFree(table->data);
        emif_DesignDestroy(table->design);
        ehfa_TableRecordStructureFree(table->structure);
        emsc_HeapFree(table->format);
        emsc_HeapFree(table->name);
        emsc_HeapFree(table);
    }
}
