#include "platform/select.h"

#include "platform/errors.h"

#include <cstdint>
#include <emantle/files/efio/select.h>
#include <emantle/frame/emsc/heap.h>
#include <exception>

namespace {

bool isMember(int descriptor) noexcept
{
    return descriptor >= 0 && descriptor < EFIO_FD_LIMIT;
}

std::uint64_t bitOf(int descriptor) noexcept
{
    return std::uint64_t{1} << (descriptor % 64);
}

}  // namespace

EMANTLE_API void efio_FD_SET(int descriptor, Efio_FdSet* set)
{
    if (set != nullptr && isMember(descriptor)) {
        set->words[descriptor / 64] |= bitOf(descriptor);
    }
}

EMANTLE_API void efio_FD_CLR(int descriptor, Efio_FdSet* set)
{
    if (set != nullptr && isMember(descriptor)) {
        set->words[descriptor / 64] &= ~bitOf(descriptor);
    }
}

EMANTLE_API void efio_FD_ZERO(Efio_FdSet* set)
{
    if (set != nullptr) {
        *set = {};
    }
}

EMANTLE_API Emsc_Boolean efio_FD_ISSET(int descriptor, const Efio_FdSet* set)
{
    return set != nullptr && isMember(descriptor) && (set->words[descriptor / 64] & bitOf(descriptor)) != 0;
}

EMANTLE_API Efio_FdSet* efio_NewFdSet(void)
{
    return static_cast<Efio_FdSet*>(emsc_HeapMalloc(sizeof(Efio_FdSet)));
}

EMANTLE_API void efio_CopyFdSet(const Efio_FdSet* from, Efio_FdSet* to)
{
    if (to != nullptr) {
        *to = from == nullptr ? Efio_FdSet{} : *from;
    }
}

EMANTLE_API long efio_Select(int width, Efio_FdSet* read, Efio_FdSet* write, Efio_FdSet* except, double seconds)
try {
    emantle::platform::ReadySet sets[3];
    Efio_FdSet* const given[] = {read, write, except};
    for (int i = 0; i < 3; ++i) {
        for (int descriptor = 0; descriptor < width && descriptor < EFIO_FD_LIMIT; ++descriptor) {
            if (efio_FD_ISSET(descriptor, given[i])) {
                sets[i].descriptors.push_back(descriptor);
            }
        }
    }
    const int count = emantle::platform::waitUntilReady(sets[0], sets[1], sets[2], seconds);
    for (int i = 0; i < 3 && count >= 0; ++i) {
        efio_FD_ZERO(given[i]);
        for (const int descriptor : sets[i].descriptors) {
            efio_FD_SET(descriptor, given[i]);
        }
    }
    return count;
} catch (const std::exception&) {
    return emantle::platform::failWith(emantle::platform::error::noMemory), -1;
}
