#pragma once

#include "frame/guard/guard.h"
#include "frame/memory/heap_ptr.h"

#include <emantle/settings/edll.h>
#include <emantle/siblings/ethr.h>
#include <string>

/* How method sets are found in the instances of a class. */

namespace emantle::tables {

/* Shared method sets are counted inside the unsafe section. */
using InstanceLock = EthrMTUnsafeCode;

/* The entry points of one instance: under the instance's name and their own where `prefixed`, else under their own. */
class InstanceEntries {
public:
    InstanceEntries(EdllHandle library, const char* instanceName, bool prefixed)
        : library_(library), instanceName_(instanceName), prefixed_(prefixed)
    {
    }

    /* Null in `entry` where there is none. */
    template <class Function>
    void find(EerrException& scope, const char* name, Function*& entry)
    {
        entry = reinterpret_cast<Function*>(look(scope, name));
    }

    /* The same for the entry that tells whether the instance is of the class at all: when it is missing under the
     * prefixed name it is sought, with all the others, under the bare one. */
    template <class Function>
    void findMark(EerrException& scope, const char* name, Function*& entry)
    {
        find(scope, name, entry);
        if (entry == nullptr && prefixed_) {
            prefixed_ = false;
            find(scope, name, entry);
        }
    }

    /* Fails with "Function %s not found in %s". */
    template <class Function>
    void require(EerrException& scope, const char* name, Function*& entry)
    {
        find(scope, name, entry);
        emantle::require(entry != nullptr, "Function %s not found in %s", name, instanceName_.c_str());
    }

private:
    void* look(EerrException& scope, const char* name)
    {
        const std::string symbol = prefixed_ ? instanceName_ + name : name;
        return checked(scope, edll_FindIfPresent(library_, symbol.c_str(), scope));
    }

    EdllHandle library_;
    std::string instanceName_;
    bool prefixed_;
};

}  // namespace emantle::tables
