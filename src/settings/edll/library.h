#pragma once

#include "settings/edll/own_instances.h"

#include <emantle/settings/edll.h>

/* Either a library of the loader, or one of the instances that need none. */
struct Edll_Library {
    void* loaded;
    const emantle::settings::OwnInstance* own;
};

namespace emantle::settings {

/* Null for an instance that is in a library of its own. */
const OwnInstance* findOwnInstance(const char* className, const char* instanceName) noexcept;

/* The handle of an own instance, for edll_Close. */
EdllHandle openOwn(const OwnInstance& instance);

}  // namespace emantle::settings
