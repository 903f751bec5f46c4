#include "tables/edsc/format.h"

#include "frame/guard/plain_scope.h"
#include "tables/edsc/types.h"

#include <cstring>
#include <emantle/frame/etxt/convert.h>

namespace emantle::tables {

namespace {

/* The names of a format, and the array. */
class NameArray {
public:
    NameArray(std::int32_t count, char** names) noexcept : count_(names == nullptr ? 0 : count), names_(names) {}
    ~NameArray()
    {
        for (std::int32_t i = 0; i < count_; ++i) {
            emsc_HeapFree(names_[i]);
        }
        emsc_HeapFree(names_);
    }
    NameArray(const NameArray&) = delete;
    NameArray& operator=(const NameArray&) = delete;

    std::int32_t count() const noexcept { return count_; }
    const char* operator[](std::int32_t i) const noexcept { return names_[i]; }

private:
    std::int32_t count_;
    char** names_;
};

}  // namespace

FormatName::FormatName(const Edsc_TableMethods& methods, const char* name) : name_(name)
{
    if (isWide(methods)) {
        wide_.reset(reinterpret_cast<char*>(etxt_Text_Ascii2Unicode(nullptr, name, 0)));
        require(wide_, "No memory");
    }
}

EstrStringList& takeNames(EerrException& scope, bool wide, std::int32_t count, char** names, EstrStringList& list)
{
    const NameArray taken(count, names);
    require(count >= 0 && (count == 0 || names != nullptr), "TableColumnNamesGet failed");
    if (static_cast<Estr_StringList*>(list) == nullptr) {
        list = checked(scope, estr_StringListCreate(0, scope));
    }
    for (std::int32_t i = 0; i < taken.count(); ++i) {
        require(taken[i], "TableColumnNamesGet failed");
        HeapPtr<char> narrow;
        if (wide) {
            narrow.reset(etxt_Text_Unicode2Ascii(nullptr, reinterpret_cast<const Etxt_TextU*>(taken[i]), 0));
        }
        checked(scope, estr_StringListAppend(list, wide ? narrow.get() : taken[i], scope));
    }
    return list;
}

std::int32_t formatType(const Edsc_TableMethods& methods, const char* typeName) noexcept
{
    for (std::int32_t type = 0; typeName != nullptr && type < methods.columnTypeCount; ++type) {
        if (std::strcmp(methods.columnTypes[type], typeName) == 0) {
            return type;
        }
    }
    return kUnknownColumnType;
}

void ignoreOptions(const char* function, const char* text, va_list arguments) noexcept
{
    if (va_arg(arguments, void*) != nullptr) {
        warn(function, text);
    }
}

}  // namespace emantle::tables
