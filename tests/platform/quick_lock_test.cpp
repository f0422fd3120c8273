#include "quick_lock.hpp"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>
#include <vector>

namespace quorvel::platform::test {
namespace {

using namespace std::chrono_literals;

TEST(QuickLock, IsWaitedForUntilItIsFree)
{
    QuickLock lock;
    std::atomic<bool> is_mine{false};
    std::unique_lock held{lock};
    std::thread waiting{[&] {
        const std::lock_guard mine{lock};
        is_mine = true;
    }};
    std::this_thread::sleep_for(20ms);
    EXPECT_FALSE(is_mine);
    EXPECT_FALSE(lock.try_lock());
    held.unlock();
    waiting.join();
    EXPECT_TRUE(is_mine);
}

TEST(QuickLock, IsWaitedForUntilADeadline)
{
    QuickLock lock;
    std::unique_lock held{lock};
    const auto deadline = Clock::now() + 20ms;
    EXPECT_FALSE(lock.lock_until(deadline));
    EXPECT_GE(Clock::now(), deadline);
    held.unlock();
    EXPECT_TRUE(lock.lock_until(Clock::now() + 10s));
    lock.unlock();
}

TEST(QuickLock, IsHeldByOneThreadAtATimeAndComesToAllWhoWait)
{
    constexpr int threads = 4;
    constexpr int rounds = 500;
    QuickLock lock;
    int count = 0;
    std::vector<std::thread> counting;
    for (int i = 0; i < threads; ++i) {
        counting.emplace_back([&, i] {
            for (int round = 0; round < rounds; ++round) {
                if (i % 2 == 0)
                    lock.lock();
                else
                    ASSERT_TRUE(lock.lock_until(Clock::now() + 60s));
                const int before = count;
                // The others come meanwhile and have to wait.
                if (round % 50 == 0)
                    std::this_thread::sleep_for(1ms);
                count = before + 1;
                lock.unlock();
            }
        });
    }
    for (std::thread& thread : counting)
        thread.join();
    EXPECT_EQ(count, threads * rounds);
}

}  // namespace
}  // namespace quorvel::platform::test
