#pragma once

#include "frame/guard/guard.h"
#include "frame/memory/heap_ptr.h"

#include <cstdarg>
#include <emantle/frame/estr/list.h>
#include <emantle/siblings/ethr.h>
#include <emantle/tables/edsc/methods.h>
#include <memory>
#include <optional>
#include <string_view>

/* Calls into a table format. */

namespace emantle::tables {

struct TableMethodsCloser {
    void operator()(Edsc_TableMethods* methods) const noexcept { edsc_TableMethodsClose(methods, nullptr); }
};
using TableMethodsPtr = std::unique_ptr<Edsc_TableMethods, TableMethodsCloser>;

/* Entry points that a format may have beside those of the public set: text columns as fields of their width, and
 * whether a column that was just created reads as zeros, above 0 for yes. */
using FieldsRead = std::int32_t(void* handle, std::int32_t startRow, std::int32_t numRows, void* fields,
                                Eerr_ErrorReport** err);
using FieldsWrite = std::int32_t(void* handle, std::int32_t startRow, std::int32_t numRows, const void* fields,
                                 Eerr_ErrorReport** err);
using ColumnIsBlank = std::int32_t(void* handle, Eerr_ErrorReport** err);

/* A set as it is shared; the library's name tells it apart from an instance of the same name elsewhere. */
struct SharedTableMethods : Edsc_TableMethods {
    char* dllName;
    FieldsRead* ColumnFieldsRead;
    FieldsWrite* ColumnFieldsWrite;
    tables::ColumnIsBlank* ColumnIsBlank;
};

inline const SharedTableMethods& shared(const Edsc_TableMethods& methods) noexcept
{
    return static_cast<const SharedTableMethods&>(methods);
}

inline bool isThreadsafe(const Edsc_TableMethods& methods) noexcept
{
    return methods.InstanceIsThreadsafe != nullptr && methods.InstanceIsThreadsafe();
}

inline bool isWide(const Edsc_TableMethods& methods) noexcept
{
    return methods.InstanceSupportsUnicode != nullptr && methods.InstanceSupportsUnicode();
}

/* Calls a method, inside the unsafe section unless the format does without. Fails with `failed` for a chain and for a
 * negative answer. */
template <class... Parameters, class... Arguments>
std::int32_t callFormat(EerrException& scope, const Edsc_TableMethods& methods, Say failed,
                        std::int32_t (*method)(Parameters...), Arguments... arguments)
{
    std::optional<EthrMTUnsafeCode> section;
    if (!isThreadsafe(methods)) {
        section.emplace();
    }
    const std::int32_t result = method(arguments..., scope);
    check(scope, failed);
    require(result >= 0, failed);
    return result;
}

/* A name as the format takes it. */
class FormatName {
public:
    FormatName(const Edsc_TableMethods& methods, const char* name);

    operator const char*() const noexcept { return wide_ == nullptr ? name_ : wide_.get(); }

private:
    const char* name_;
    HeapPtr<char> wide_;
};

/* A list of names as the format gave it: narrow texts, and the list itself is freed. */
EstrStringList& takeNames(EerrException& scope, bool wide, std::int32_t count, char** names, EstrStringList& list);

/* The index of a column type in the format's own list; kUnknownColumnType where it is missing. */
std::int32_t formatType(const Edsc_TableMethods& methods, const char* typeName) noexcept;

/* Tells of reserved arguments that are not null. */
void ignoreOptions(const char* function, const char* text, va_list arguments) noexcept;

}  // namespace emantle::tables
