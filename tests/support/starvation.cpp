#include "support/starvation.h"

#include "platform/faults.h"
#include "support/chain.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <new>
#include <optional>
#include <string>

using namespace emantle::platform;

namespace {

/* The objects of this thread while a test counts them. */
struct Objects {
    bool counted = false;
    std::uint64_t nth = 0;
    bool fromThenOn = false;
    std::uint64_t calls = 0;
    bool fired = false;
    std::int64_t living = 0;
};

thread_local constinit Objects objects;

bool refusesNext() noexcept
{
    const std::uint64_t call = ++objects.calls;
    const bool due = objects.nth != 0 && (call == objects.nth || (objects.fromThenOn && call > objects.nth));
    objects.fired |= due;
    return due;
}

void* newObject(std::size_t size, std::size_t alignment) noexcept
{
    if (objects.counted && refusesNext()) {
        return nullptr;
    }
    void* object = alignment == 0 ? std::malloc(size == 0 ? 1 : size)
                                  : std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment);
    objects.living += objects.counted && object != nullptr ? 1 : 0;
    return object;
}

void deleteObject(void* object) noexcept
{
    objects.living -= objects.counted && object != nullptr ? 1 : 0;
    std::free(object);
}

void* orThrow(void* object)
{
    return object == nullptr ? throw std::bad_alloc() : object;
}

enum class Source { blocks, ofNew };

/* One call with the n-th allocation failing. Whether there were that many. */
bool callWithout(const Starved& starved, Source source, std::uint64_t nth, Repeat repeat, std::uint64_t& refused)
{
    Report report;
    Ending ending = Ending::wrong;
    bool fired = false;
    {
        std::optional<FaultInjection> heap;
        if (source == Source::blocks) {
            heap.emplace(Operation::allocate, nth, Outcome::noMemory(), repeat);
        }
        objects.nth = source == Source::ofNew ? nth : 0;
        objects.fromThenOn = repeat == Repeat::fromThenOn;
        objects.calls = 0;
        objects.fired = false;
        objects.counted = true;
        try {
            ending = starved.call(starved.reports ? static_cast<Eerr_ErrorReport**>(report) : nullptr);
            objects.counted = false;
        } catch (...) {
            objects.counted = false;
            ADD_FAILURE() << "it throws";
        }
        fired = heap ? heap->fired() : objects.fired;
        refused += heap && fired ? (repeat == Repeat::once ? 1 : heap->calls() - nth + 1) : 0;
    }
    EXPECT_NE(ending, Ending::wrong);
    if (ending == Ending::failed) {
        EXPECT_TRUE(fired);
        EXPECT_TRUE(!starved.reports || report.get() != nullptr) << "nothing is reported";
    }
    return fired;
}

} // namespace

void* operator new(std::size_t size) { return orThrow(newObject(size, 0)); }
void* operator new[](std::size_t size) { return orThrow(newObject(size, 0)); }
void* operator new(std::size_t size, std::align_val_t at) { return orThrow(newObject(size, std::size_t(at))); }
void* operator new[](std::size_t size, std::align_val_t at) { return orThrow(newObject(size, std::size_t(at))); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return newObject(size, 0); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return newObject(size, 0); }
void operator delete(void* object) noexcept { deleteObject(object); }
void operator delete[](void* object) noexcept { deleteObject(object); }
void operator delete(void* object, std::size_t) noexcept { deleteObject(object); }
void operator delete[](void* object, std::size_t) noexcept { deleteObject(object); }
void operator delete(void* object, std::align_val_t) noexcept { deleteObject(object); }
void operator delete[](void* object, std::align_val_t) noexcept { deleteObject(object); }
void operator delete(void* object, std::size_t, std::align_val_t) noexcept { deleteObject(object); }
void operator delete[](void* object, std::size_t, std::align_val_t) noexcept { deleteObject(object); }
void operator delete(void* object, const std::nothrow_t&) noexcept { deleteObject(object); }
void operator delete[](void* object, const std::nothrow_t&) noexcept { deleteObject(object); }

void starve(const std::vector<Starved>& calls)
{
    constexpr std::uint64_t mostAllocations = 2000;
    eerr_SetAltErrorFunction([](void*, Eerr_ErrorReport*, Eerr_ErrorReportingMode, Eerr_ErrorReport**) {}, nullptr);
    /* The list of recorders is made once. */
    static_cast<void>(WriteRecorder());
    /* The signal of reports gives back what it has no use for a little at a time. */
    for (int i = 0; i < 4; ++i) {
        eerr_MessageLog(EERR_STATUS, "nobody sees this");
    }
    for (const Starved& starved : calls) {
        /* What is made once and kept is made here. */
        std::uint64_t refused = 0;
        EXPECT_FALSE(callWithout(starved, Source::ofNew, 0, Repeat::once, refused)) << starved.name;
        const FaultInjection allocated(Operation::allocate, 0), released(Operation::release, 0);
        objects.living = 0;
        for (const Repeat repeat : {Repeat::once, Repeat::fromThenOn}) {
            for (const Source source : {Source::blocks, Source::ofNew}) {
                std::uint64_t nth = 1;
                for (bool fired = true; fired && nth <= mostAllocations; ++nth) {
                    SCOPED_TRACE(std::string(starved.name) + (source == Source::blocks ? ": block " : ": object ") +
                                 std::to_string(nth) + (repeat == Repeat::once ? "" : " and all behind it"));
                    fired = callWithout(starved, source, nth, repeat, refused);
                }
                EXPECT_LE(nth, mostAllocations) << starved.name;
            }
        }
        EXPECT_EQ(allocated.calls() - refused, released.calls()) << starved.name << ": blocks";
        EXPECT_EQ(objects.living, 0) << starved.name << ": objects";
    }
    eerr_SetAltErrorFunction(nullptr, nullptr);
}
