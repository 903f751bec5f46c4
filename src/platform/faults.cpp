#include "platform/faults.h"

#include "platform/threads.h"

#include <algorithm>
#include <mutex>

namespace emantle::platform {

// What is armed, under one lock. The lock and the lists need no construction order: the heap may be asked before main.
struct Seam {
    static Mutex lock;
    static std::vector<FaultInjection*>& injections()
    {
        static auto* const list = new std::vector<FaultInjection*>;
        return *list;
    }
    static std::vector<WriteRecorder*>& recorders()
    {
        static auto* const list = new std::vector<WriteRecorder*>;
        return *list;
    }

    template <class T> static void arm(std::vector<T*>& list, T* object)
    {
        const std::lock_guard guard(lock);
        list.push_back(object);
        detail::armed.fetch_add(1, std::memory_order_relaxed);
    }

    template <class T> static void disarm(std::vector<T*>& list, T* object)
    {
        const std::lock_guard guard(lock);
        detail::armed.fetch_sub(1, std::memory_order_relaxed);
        std::erase(list, object);
    }

    // Counts the call in every object that it concerns; the first one that fires decides.
    static Interference pass(Operation operation, std::string_view name)
    {
        const std::lock_guard guard(lock);
        Interference result;
        for (FaultInjection* injection : injections()) {
            if (injection->operation_ != operation || name.find(injection->nameContains_) == name.npos)
                continue;
            const std::uint64_t call = ++injection->calls_;
            const bool due =
                call == injection->nth_ || (injection->repeat_ == Repeat::fromThenOn && call > injection->nth_);
            if (injection->nth_ == 0 || !due)
                continue;
            injection->fired_ = true;
            if (!result.active)
                result = {injection->outcome_.error, injection->outcome_.bytes, true};
        }
        return result;
    }

    static bool records()
    {
        const std::lock_guard guard(lock);
        return !recorders().empty();
    }

    static void record(const RecordedWrite& write)
    {
        const std::lock_guard guard(lock);
        for (WriteRecorder* recorder : recorders())
            if (write.name.find(recorder->nameContains_) != write.name.npos)
                recorder->writes_.push_back(write);
    }
};

constinit Mutex Seam::lock;

namespace detail {

constinit std::atomic<int> armed{0};

Interference consult(Operation operation, std::string_view name) noexcept
{
    return Seam::pass(operation, name);
}

void record(RecordedWrite::Kind kind, std::string_view name, std::uint64_t offset, const void* bytes, std::size_t count)
{
    if (!Seam::records())
        return;
    const auto* const first = static_cast<const std::byte*>(bytes);
    Seam::record({kind, std::string(name), offset, std::vector<std::byte>(first, first + count)});
}

} // namespace detail

FaultInjection::FaultInjection(Operation operation, std::uint64_t nth, Outcome outcome, Repeat repeat,
                               std::string nameContains)
    : operation_(operation), nth_(nth), outcome_(outcome), repeat_(repeat), nameContains_(std::move(nameContains))
{
    Seam::arm(Seam::injections(), this);
}

FaultInjection::~FaultInjection()
{
    Seam::disarm(Seam::injections(), this);
}

std::uint64_t FaultInjection::calls() const
{
    const std::lock_guard guard(Seam::lock);
    return calls_;
}

bool FaultInjection::fired() const
{
    const std::lock_guard guard(Seam::lock);
    return fired_;
}

WriteRecorder::WriteRecorder(std::string nameContains) : nameContains_(std::move(nameContains))
{
    Seam::arm(Seam::recorders(), this);
}

WriteRecorder::~WriteRecorder()
{
    Seam::disarm(Seam::recorders(), this);
}

std::vector<RecordedWrite> WriteRecorder::writes() const
{
    const std::lock_guard guard(Seam::lock);
    return writes_;
}

std::vector<std::byte> afterWrites(std::vector<std::byte> before, std::span<const RecordedWrite> writes)
{
    for (const RecordedWrite& write : writes) {
        if (write.kind == RecordedWrite::Kind::truncate) {
            before.resize(write.offset);
        } else if (write.kind == RecordedWrite::Kind::write) {
            before.resize(std::max<std::size_t>(before.size(), write.offset + write.bytes.size()));
            std::copy(write.bytes.begin(), write.bytes.end(),
                      before.begin() + static_cast<std::ptrdiff_t>(write.offset));
        }
    }
    return before;
}

} // namespace emantle::platform
