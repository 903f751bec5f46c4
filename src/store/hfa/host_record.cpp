#include "store/hfa/host_record.h"

#include "store/mif/stream.h"

#include <algorithm>

namespace emantle::hfa {

namespace {

/* A small file has room for an entry that gets its first data only now. */
constexpr uint64_t kAlwaysFits = 4096;

void* allocated(const Handle& handle, const Emif_Design* design, EerrException& scope)
{
    require(design != nullptr, "emif_NewObject failure!");
    const uint64_t needed = mif::leastStreamBytes(*design);
    require(needed <= std::max<uint64_t>(handle.fileEnd, kAlwaysFits), "A record of %s takes %lu bytes, file %s has %lu",
            design->name, static_cast<unsigned long>(needed), handle.nameText.c_str(),
            static_cast<unsigned long>(handle.fileEnd));
    return checked(scope, emif_NewObject(design, scope), "emif_NewObject failure!");
}

}  // namespace

HostRecord::HostRecord(const Handle& handle, const Emif_Design* design, EerrException& scope)
    : design_(design), record_(allocated(handle, design, scope))
{
}

HostRecord::~HostRecord()
{
    if (record_ != nullptr) {
        emif_FreeObject(&record_, design_, nullptr);
    }
}

}  // namespace emantle::hfa
