// The library's own lock.
#include "internal/locks.hpp"

#include <gtest/gtest.h>
#include <sched.h>

#include <mutex>
#include <thread>
#include <vector>

namespace {

TEST(Lock, IsHeldByOneThreadAtATimeAndComesToAllWhoWait)
{
    constexpr int threads = 4;
    constexpr int rounds = 2'000;
    constexpr int rounds_to_a_crowd = 50;
    quorvel::locks::Lock lock;
    int count = 0;
    std::vector<std::thread> counting;
    for (int i = 0; i < threads; ++i) {
        counting.emplace_back([&] {
            for (int round = 0; round < rounds; ++round) {
                const std::lock_guard guard{lock};
                const int before = count;
                // The others come meanwhile and have to wait.
                if (round % rounds_to_a_crowd == 0)
                    sched_yield();
                count = before + 1;
            }
        });
    }
    for (std::thread& thread : counting)
        thread.join();
    EXPECT_EQ(count, threads * rounds);
}

}  // namespace
