#pragma once

#include "frame/guard/guard.h"

#include <cstdint>
#include <emantle/tables/edsc/kinds.h>
#include <memory>

namespace emantle::tables {

/* A title with the instance that provides its kind. */
struct KindTitle {
    const char* title;
    const char* instanceName;
    const char* dllName; /* "" for the toolkit's own */
    std::int32_t oldType;
};

/* Null for an unknown title. */
const KindTitle* findKind(const char* title) noexcept;
/* The title of an old type; null for an unknown one. */
const char* titleOfOldType(std::int32_t type) noexcept;

/* Opens the kind of a title, one reference for the caller. A title that the table of kinds lacks is itself the name of
 * the instance. Fails with "edsc_BinFunctionMethodsOpen failed" in front of the reason. */
Edsc_BinFunctionMethods* openMethods(EerrException& scope, const char* title);

/* One more reference to the same methods. */
Edsc_BinFunctionMethods* shareMethods(EerrException& scope, const Edsc_BinFunctionMethods* methods);

/* Gives up a reference. Accepts null; a failure is told. */
void closeMethods(Edsc_BinFunctionMethods* methods) noexcept;

struct MethodsCloser {
    void operator()(Edsc_BinFunctionMethods* methods) const noexcept { closeMethods(methods); }
};
using MethodsPtr = std::unique_ptr<Edsc_BinFunctionMethods, MethodsCloser>;

}  // namespace emantle::tables
