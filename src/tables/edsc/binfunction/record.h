#pragma once

#include "frame/memory/heap_ptr.h"
#include "tables/edsc/binfunction/methods.h"

#include <cstdint>
#include <emantle/tables/edsc/kinds.h>
#include <memory>

/* The public record of a bin function. */

namespace emantle::tables {

struct BinFunctionDeleter {
    void operator()(Edsc_BinFunction* binFunction) const noexcept { edsc_BinFunctionDelete(binFunction, nullptr); }
};
using BinFunctionPtr = std::unique_ptr<Edsc_BinFunction, BinFunctionDeleter>;

inline bool isNewForm(const Edsc_BinFunction& record) noexcept { return record.binFunction == &record; }

/* Brings the old part of a new record up to date with its kind. */
void syncOld(EerrException& scope, Edsc_BinFunction& record);

/* What a new record is made of. */
struct BinFunctionParts {
    const char* title;
    MethodsPtr methods;
    void* internals; /* the kind's; given up to its BinFunctionDestroy when the record is not made */
    std::int32_t startBin;
    std::uint32_t binCount;
    std::uint32_t origBinCount;
    const char* noMemory = "Insufficient memory";
};

/* A synchronised new record. */
BinFunctionPtr makeRecord(EerrException& scope, BinFunctionParts parts);

/* The record that an operation works with: the caller's, or a new one converted from an old one for as long as this
 * lives. Fails with "NULL bin function". */
class UsableBinFunction {
public:
    UsableBinFunction(EerrException& scope, const Edsc_BinFunction* binFunction);

    const Edsc_BinFunction* operator->() const noexcept { return record_; }
    const Edsc_BinFunction& operator*() const noexcept { return *record_; }

private:
    BinFunctionPtr temporary_;
    const Edsc_BinFunction* record_ = nullptr;
};

}  // namespace emantle::tables
