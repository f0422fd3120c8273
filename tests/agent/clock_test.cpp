// SPDX-License-Identifier: Apache-2.0
#include "support.hpp"

namespace quorvel::home {
namespace {

class ClockTest : public testing::Test {
protected:
    ClockTest() { clock.set_speed(0); }
    Clock clock;
    std::vector<int> ran;
};

TEST_F(ClockTest, AdvancingRunsWhatFallsDueInTheOrderOfTime)
{
    clock.after(300, [this] { ran.push_back(3); });
    clock.after(100, [this] { ran.push_back(1); });
    clock.after(200, [this] { ran.push_back(2); });
    clock.advance(250);
    EXPECT_EQ(ran, (std::vector{1, 2}));
    clock.advance(50);
    EXPECT_EQ(ran, (std::vector{1, 2, 3}));
}

TEST_F(ClockTest, ATimerSeesTheTimeAtWhichItWasDue)
{
    const std::int64_t begin = clock.now();
    std::int64_t seen = 0;
    clock.after(100, [&] { seen = clock.now() - begin; });
    clock.advance(1000);
    EXPECT_EQ(seen, 100);
    EXPECT_EQ(clock.now() - begin, 1000);
}

TEST_F(ClockTest, ATimerThatRenewsItselfRunsAsOftenAsTimePasses)
{
    std::function<void()> again = [&] {
        ran.push_back(0);
        clock.after(100, again);
    };
    clock.after(100, again);
    clock.advance(1000);
    EXPECT_EQ(ran.size(), 10U);
}

TEST_F(ClockTest, ACancelledTimerDoesNotRunAndCancellingTwiceIsHarmless)
{
    const auto timer = clock.after(10, [this] { ran.push_back(1); });
    clock.cancel(timer);
    clock.cancel(timer);
    clock.advance(100);
    EXPECT_TRUE(ran.empty());
}

TEST_F(ClockTest, WhoeverDrivesItIsToldOfTheNextTimer)
{
    std::vector<std::int64_t> told;
    clock.on_next = [&](std::int64_t wait) { told.push_back(wait); };
    clock.after(100, [] {});
    EXPECT_EQ(told, (std::vector<std::int64_t>{-1}));  // it stands still
    clock.set_speed(10);
    EXPECT_LE(told.back(), 10);
    EXPECT_GE(told.back(), 0);
}

TEST_F(ClockTest, ATimerThatThrowsLeavesTheOthersToRun)
{
    clock.after(0, [] { throw std::runtime_error("no"); });
    clock.after(0, [this] { ran.push_back(1); });
    EXPECT_THROW(clock.run_due(), std::runtime_error);
    clock.run_due();
    EXPECT_EQ(ran, (std::vector{1}));
}

TEST(Rfc3339, WritesTheEpochAndAMomentAfterIt)
{
    EXPECT_EQ(rfc3339(0), "1970-01-01T00:00:00.000Z");
    EXPECT_EQ(rfc3339(1767225600123), "2026-01-01T00:00:00.123Z");
    EXPECT_EQ(rfc3339(-1), "1969-12-31T23:59:59.999Z");
}

}  // namespace
}  // namespace quorvel::home
