#pragma once

#include <span>

/* The instances that need no library of their own. The layer that provides them defines the table: the linker fills
 * this seam, so that nothing registers at load and nothing here knows who provides. */

namespace emantle::settings {

struct OwnEntry {
    const char* name;
    void* function;
};

struct OwnInstance {
    const char* className;
    const char* name;
    std::span<const OwnEntry> entries;
};

std::span<const OwnInstance> ownInstances() noexcept;

}  // namespace emantle::settings
