#include "store/hfa/table.h"

#include "frame/guard/guard.h"
#include "frame/guard/nested.h"

#include <emantle/files/efio.h>
#include <emantle/frame/estr.h>
#include <emantle/store/emif.h>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <vector>

/* What a record is made of, and the forms in which that is said. */

namespace emantle::hfa {

namespace {

struct FieldType {
    const char* name;
    int32_t width;
    int type; /* of the element in the design */
    bool isText;
};

constexpr FieldType kTypes[] = {
    {"char", 0, EMIF_TYPE_CHAR, true},   {"float", 16, EMIF_TYPE_FLOAT, false},   {"int", 8, EMIF_TYPE_LONG, false},
    {"bool", 2, EMIF_TYPE_U1, false},    {"datetime", 15, EMIF_TYPE_CHAR, true},
};

bool isType(int32_t type) { return type >= 0 && type < static_cast<int32_t>(std::size(kTypes)); }

void freeField(void* field) { emsc_HeapFree(static_cast<Ehfa_TableField*>(field)->name); }

}  // namespace

int32_t defaultWidth(int32_t type) { return kTypes[type].width; }

std::span<const Ehfa_TableField> fieldsOf(const Ehfa_TableRecordStructure& structure)
{
    Eerr_ErrorReport* unheard = nullptr;
    const auto* fields = static_cast<const Ehfa_TableField*>(edlm_Consolidate(structure.fields, &unheard));
    eerr_DeleteErrorReportEx(&unheard);
    return {fields, fields != nullptr ? static_cast<std::size_t>(structure.fieldCount) : 0};
}

StructurePtr makeStructure(std::span<const Ehfa_TableField> fields, EerrException& scope)
{
    StructurePtr structure(allocate<Ehfa_TableRecordStructure>(1, "   Out of memory!").release());
    structure->fields = checked(scope, edlm_InitList(sizeof(Ehfa_TableField), 16, scope), "   Out of memory!");
    int64_t length = -1;
    for (const Ehfa_TableField& field : fields) {
        require(isType(field.type) && field.name != nullptr && *field.name != '\0' && std::strchr(field.name, ',') == nullptr,
                "There is no field %s of type %ld", field.name != nullptr ? field.name : "<NULL>", long{field.type});
        const int32_t width = field.width > 0 ? field.width : defaultWidth(field.type);
        require(width > 0, "The field %s has no width", field.name);
        length += int64_t{width} + 1;
        require(length <= EHFA_TABLE_RECORD_MAX, "A record of more than %ld bytes is too long", long{EHFA_TABLE_RECORD_MAX});
        HeapPtr<char> name = heapText(field.name, "   Out of memory!");
        const Ehfa_TableField copy{name.get(), field.type, width};
        checked(scope, edlm_Add(structure->fields, &copy, scope), "error copying record field definition");
        name.release();
        ++structure->fieldCount;
    }
    structure->recordLength = static_cast<int32_t>(std::max<int64_t>(0, length));
    return structure;
}

std::string formatOf(const Ehfa_TableField& field)
{
    switch (field.type) {
    case EHFA_FIELD_FLOAT: return formatted("%%-%d.%dlg", field.width, std::max(1, field.width - 6));
    case EHFA_FIELD_INT:
    case EHFA_FIELD_BOOL: return formatted("%%-%dd", field.width);
    default: return formatted("%%-%ds", field.width);
    }
}

int64_t offsetOf(std::span<const Ehfa_TableField> fields, std::size_t index)
{
    int64_t offset = 0;
    for (std::size_t i = 0; i < index; ++i) {
        offset += int64_t{fields[i].width} + 1;
    }
    return offset;
}

std::string_view trimmed(std::string_view text)
{
    const std::size_t last = text.find_last_not_of(std::string_view(" \0", 2));
    return text.substr(0, last == text.npos ? 0 : last + 1);
}

namespace {

std::optional<long> wholeNumber(const std::string& text)
{
    char* end = nullptr;
    errno = 0;
    const long number = std::strtol(text.c_str(), &end, 10);
    return end != text.c_str() && *end == '\0' && errno == 0 ? std::optional(number) : std::nullopt;
}

/* With as many digits as there is room for. */
std::string printedReal(double number, int32_t width)
{
    std::string text;
    for (int precision = std::max(1, width - 6); precision > 0; --precision) {
        text = formatted("%-*.*lg", int{width}, precision, number);
        if (text.size() <= static_cast<std::size_t>(width)) {
            break;
        }
    }
    return text;
}

}  // namespace

std::string printed(const Ehfa_TableField& field, std::string_view value)
{
    const std::string text(value);
    std::string columns;
    if (kTypes[field.type].isText) {
        columns = formatted("%-*.*s", int{field.width}, int{field.width}, text.c_str());
    } else if (field.type == EHFA_FIELD_FLOAT) {
        double number = 0;
        require(efio_Sscanf(text.c_str(), "%lf", &number) == 1, "%s is no number for the field %s", text.c_str(), field.name);
        columns = printedReal(number, field.width);
    } else {
        const std::optional<long> number = wholeNumber(text);
        require(number, "%s is no number for the field %s", text.c_str(), field.name);
        columns = formatted("%-*ld", int{field.width}, *number);
    }
    require(columns.size() == static_cast<std::size_t>(field.width), "%s does not fit the %d columns of the field %s",
            text.c_str(), int{field.width}, field.name);
    return columns;
}

namespace {

constexpr long kLineSize = 81; /* 80 characters and a NUL */

struct FileCloser {
    void operator()(Efio_File* file) const noexcept { efio_Close(file, nullptr); }
};

/* The fields of a design in a definition file, line by line. */
StructurePtr structureFrom(Efio_File& file, const char* fileName, const char* name, EerrException& scope)
{
    char line[kLineSize];
    char words[2][kLineSize];
    const auto next = [&] { return checked(scope, efio_Fgets(line, kLineSize, &file, scope)) != nullptr; };
    while (next()) {
        int count = 0;
        if (efio_Sscanf(line, "%80s %d", words[0], &count) != 2 || std::strcmp(words[0], name) != 0 || count < 1) {
            continue;
        }
        std::vector<std::string> names;
        std::vector<Ehfa_TableField> fields;
        for (int i = 0; i < count; ++i) {
            int width = 0;
            require(next() && efio_Sscanf(line, "%80s %80s %d", words[0], words[1], &width) >= 2,
                    "   error finding design [%s] in file [%s]", name, fileName);
            int32_t type = 0;
            while (isType(type) && !estr_Eqic(words[1], kTypes[type].name)) {
                ++type;
            }
            names.emplace_back(words[0]);
            fields.push_back({nullptr, type, type == EHFA_FIELD_CHAR ? width : 0});
        }
        for (std::size_t i = 0; i < fields.size(); ++i) {
            fields[i].name = names[i].data();
        }
        return makeStructure(fields, scope);
    }
    fail("   error finding design [%s] in file [%s]", name, fileName);
}

}  // namespace

}  // namespace emantle::hfa

using namespace emantle;
using namespace emantle::hfa;

EMANTLE_API Ehfa_TableRecordStructure* ehfa_TableRecordStructureCreate(int32_t fieldCount, const Ehfa_TableField* fields,
                                                                       Eerr_ErrorReport** err)
{
    return guarded<Ehfa_TableRecordStructure*>(err, "ehfa_TableRecordStructureCreate", nullptr, [&](EerrException& scope) {
        require(fieldCount >= 0 && (fields != nullptr || fieldCount == 0), "Args");
        return makeStructure({fields, static_cast<std::size_t>(fieldCount)}, scope).release();
    });
}

EMANTLE_API void ehfa_TableRecordStructureFree(Ehfa_TableRecordStructure* structure)
{
    if (structure != nullptr) {
        Eerr_ErrorReport* unheard = nullptr;
        edlm_FreeListAndContents(structure->fields, freeField, &unheard);
        eerr_DeleteErrorReportEx(&unheard);
        emsc_HeapFree(structure);
    }
}

EMANTLE_API char* ehfa_TableFormatStringCreate(const Ehfa_TableRecordStructure* structure, Eerr_ErrorReport** err)
{
    return guarded<char*>(err, "ehfa_TableFormatStringCreate", nullptr, [&] {
        require(structure, "Args");
        std::string format;
        for (const Ehfa_TableField& field : fieldsOf(*structure)) {
            format += (format.empty() ? "" : ",") + formatOf(field);
        }
        return heapText(format, "Unable to allocate tableformat").release();
    });
}

EMANTLE_API Emif_Design* ehfa_TableDesignCreate(const Ehfa_TableRecordStructure* structure, const char* name,
                                                Eerr_ErrorReport** err)
{
    return guarded<Emif_Design*>(err, "ehfa_TableDesignCreate", nullptr, [&](EerrException& scope) {
        require(structure != nullptr && name != nullptr, "Args");
        std::vector<Emif_DesignItemRow> rows;
        for (const Ehfa_TableField& field : fieldsOf(*structure)) {
            const FieldType& type = kTypes[field.type];
            rows.push_back({static_cast<uint32_t>(type.type) | EMIF_ITEM_COUNT, field.name, type.isText ? field.width : 1, 0,
                            nullptr});
        }
        return checked(scope,
                       emif_DesignCreateFromTable(nullptr, name, rows.data(), static_cast<long>(rows.size()), scope),
                       "Error converting design!");
    });
}

EMANTLE_API Ehfa_TableRecordStructure* ehfa_TableDesignCreateFromFile(const char* fileName, const char* name,
                                                                      Eerr_ErrorReport** err)
{
    return guarded<Ehfa_TableRecordStructure*>(err, "ehfa_TableDesignCreateFromFile", nullptr, [&](EerrException& scope) {
        require(fileName != nullptr && name != nullptr, "Args");
        require(checked(scope, efio_FileExists(fileName, scope)), "   file [%s] not found", fileName);
        const std::unique_ptr<Efio_File, FileCloser> file(
            checked(scope, efio_Open(fileName, "r", scope), "   error opening [%s]", fileName));
        return structureFrom(*file, fileName, name, scope).release();
    });
}
