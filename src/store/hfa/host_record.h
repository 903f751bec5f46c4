#pragma once

#include "store/hfa/handle.h"

namespace emantle::hfa {

/* A fresh record of a design that the file brings along, freed with all that it holds. A file cannot claim memory with
 * its designs alone: a record that the whole file could not fill is refused. */
class HostRecord {
public:
    HostRecord(const Handle& handle, const Emif_Design* design, EerrException& scope);
    ~HostRecord();
    HostRecord(const HostRecord&) = delete;
    HostRecord& operator=(const HostRecord&) = delete;

    /* Null for a design without host bytes. */
    void* get() const noexcept { return record_; }

private:
    const Emif_Design* design_;
    void* record_;
};

}  // namespace emantle::hfa
