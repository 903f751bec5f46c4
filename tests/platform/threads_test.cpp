#include "platform/threads.h"

#include "platform/clock.h"
#include "platform/fpu.h"

#include <cfenv>
#include <cstring>
#include <gtest/gtest.h>
#include <immintrin.h>
#include <mutex>
#include <thread>

using namespace emantle::platform;

namespace {

template <class Lock> int countWithTwoThreads(Lock& lock)
{
    int count = 0;
    const auto work = [&] {
        for (int i = 0; i < 20000; ++i) {
            const std::lock_guard guard(lock);
            ++count;
        }
    };
    std::thread first(work), second(work);
    first.join();
    second.join();
    return count;
}

} // namespace

TEST(Threads, LocksWorkFromZeroedMemory)
{
    alignas(16) static unsigned char zero[2][256] = {};
    auto& plain = *reinterpret_cast<Mutex*>(zero[0]);
    auto& recursive = *reinterpret_cast<RecursiveMutex*>(zero[1]);
    EXPECT_EQ(countWithTwoThreads(plain), 40000);
    EXPECT_EQ(countWithTwoThreads(recursive), 40000);
    constinit static RecursiveMutex made;
    const RecursiveMutex& view = made;
    unsigned char zeros[sizeof(RecursiveMutex)] = {};
    EXPECT_EQ(std::memcmp(static_cast<const void*>(&view), zeros, sizeof zeros), 0);
}

TEST(Threads, ARecursiveLockIsFreeOnlyAfterAsManyUnlocks)
{
    static RecursiveMutex lock;
    const auto othersTry = [] {
        bool got = false;
        std::thread([&] {
            lock.unlock(); // not its own: nothing happens
            got = lock.try_lock();
            if (got)
                lock.unlock();
        }).join();
        return got;
    };
    lock.lock();
    EXPECT_TRUE(lock.try_lock());
    EXPECT_TRUE(lock.heldByThisThread());
    lock.unlock();
    EXPECT_FALSE(othersTry());
    lock.unlock();
    EXPECT_FALSE(lock.heldByThisThread());
    EXPECT_TRUE(othersTry());
}

TEST(FloatingPoint, ResetUndoesRoundingTrapsAndFlushing)
{
    std::fesetround(FE_DOWNWARD);
    std::feraiseexcept(FE_INVALID);
    feenableexcept(FE_DIVBYZERO);
    _MM_SET_FLUSH_ZERO_MODE(_MM_FLUSH_ZERO_ON);
    resetFloatingPoint();
    EXPECT_EQ(_mm_getcsr(), 0x1f80u);
    EXPECT_EQ(std::fegetround(), FE_TONEAREST);
    EXPECT_EQ(std::fetestexcept(FE_ALL_EXCEPT), 0);
    EXPECT_EQ(fegetexcept(), 0);
}

TEST(Clock, MonotonicTimeCoversASleep)
{
    const double before = monotonicSeconds();
    sleepSeconds(0.02);
    EXPECT_GE(monotonicSeconds() - before, 0.0199);
    sleepSeconds(-1);
    EXPECT_NEAR(secondsSinceEpoch(), static_cast<double>(wholeSecondsSinceEpoch()), 1.5);
}
