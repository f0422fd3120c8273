// SPDX-License-Identifier: Apache-2.0
#include "home/setup.hpp"

#include "support.hpp"

namespace quorvel::home {
namespace {

using Onboarding = Setup;

class SetupTest : public HomeTest {
protected:
    static constexpr Onboarding::Owner me = 1;
    static constexpr Onboarding::Owner other = 2;

    Onboarding::Result noting()
    {
        return [this](int result) { results.push_back(result); };
    }
    // Everything up to where access points are listed.
    void meet(const char* address)
    {
        ASSERT_EQ(setup.prepare(me, 0, noting()), Status::ok);
        clock.advance(200);
        ASSERT_EQ(setup.begin(me, address, false), Status::ok);
        clock.advance(100);
        if (setup.stage() == Onboarding::ownership) {
            ASSERT_EQ(setup.choose_ownership(me, Onboarding::with_pin), Status::ok);
            clock.advance(100);
            ASSERT_EQ(setup.give_pin(me, "1234"), Status::ok);
            clock.advance(100);
        }
        ASSERT_EQ(setup.stage(), Onboarding::wifi);
        results.clear();
    }
    void configure()
    {
        ASSERT_EQ(setup.configure_device(me, {{"ssid", "net"}, {"password", "secret12"}}, noting()),
                  Status::ok);
        clock.advance(100);
        ASSERT_EQ(results, std::vector{0});
        results.clear();
    }
    std::vector<std::pair<int, int>> states()
    {
        std::vector<std::pair<int, int>> all;
        for (const auto& event : take<event::SetupState>())
            all.emplace_back(event.stage, event.detail);
        return all;
    }

    Onboarding setup{home};
    std::vector<int> results;
};

TEST_F(SetupTest, AnOnboardingWithEveryQuestionEndsWithADeviceOfTheHome)
{
    meet("10.0.0.1");
    configure();
    bool signed_in = false;
    ASSERT_EQ(setup.bookmark(me, {{"group_id", "home"}, {"subgroup_id", "hall"}}, noting()), Status::ok);
    ASSERT_EQ(setup.watch_sign_in(me, [&](bool answer) { signed_in = answer; }), Status::ok);
    ASSERT_EQ(setup.configure_cloud(me, {}, noting()), Status::ok);
    clock.advance(200);
    EXPECT_TRUE(signed_in);
    EXPECT_EQ(setup.stage(), Onboarding::done);
    const Device* joined = home.devices().find("sensor");
    ASSERT_NE(joined, nullptr);
    EXPECT_EQ(joined->room, "hall");
    EXPECT_EQ(home.enrollee("sensor"), nullptr);
}

TEST_F(SetupTest, TheStagesAreToldInTheirOrder)
{
    meet("10.0.0.1");
    EXPECT_EQ(states(), (std::vector<std::pair<int, int>>{{Onboarding::init, Onboarding::begun},
                                                          {Onboarding::init, Onboarding::finished},
                                                          {Onboarding::start, Onboarding::begun},
                                                          {Onboarding::start, Onboarding::finished},
                                                          {Onboarding::ownership, Onboarding::waiting},
                                                          {Onboarding::ownership, Onboarding::finished},
                                                          {Onboarding::pin, Onboarding::waiting},
                                                          {Onboarding::pin, Onboarding::finished},
                                                          {Onboarding::wifi, Onboarding::waiting}}));
}

TEST_F(SetupTest, EachStageTakesItsTime)
{
    setup.prepare(me, 0, noting());
    EXPECT_TRUE(results.empty());
    clock.advance(99);
    EXPECT_TRUE(results.empty());
    clock.advance(1);
    EXPECT_EQ(results, std::vector{0});
}

TEST_F(SetupTest, AWrongPinIsAskedForAgainThreeTimes)
{
    setup.prepare(me, 0, noting());
    clock.advance(100);
    setup.begin(me, "10.0.0.1", false);
    clock.advance(100);
    setup.choose_ownership(me, Onboarding::with_pin);
    clock.advance(100);
    for (int i = 0; i < 2; ++i) {
        setup.give_pin(me, "0000");
        clock.advance(100);
        EXPECT_EQ(setup.stage(), Onboarding::pin);
    }
    EXPECT_EQ(take<event::SetupAsksPin>().size(), 3U);
    setup.give_pin(me, "0000");
    clock.advance(100);
    EXPECT_EQ(home.account().last_setup_error, "404");
    EXPECT_TRUE(take<event::SetupAsksPin>().empty());
}

TEST_F(SetupTest, AWrongPasswordFailsTheStageAndTheRightOneMayFollow)
{
    meet("10.0.0.1");
    setup.configure_device(me, {{"ssid", "net"}, {"password", "wrong"}}, noting());
    clock.advance(100);
    EXPECT_EQ(results, std::vector{code(Status::failed)});
    EXPECT_EQ(home.account().last_setup_error, "606");
    results.clear();
    configure();
}

TEST_F(SetupTest, ADeviceFailsAsOftenAsItWasToldTo)
{
    meet("10.0.0.2");
    configure();
    setup.configure_cloud(me, {}, noting());
    clock.advance(100);
    EXPECT_EQ(results, std::vector{code(Status::failed)});
    EXPECT_EQ(home.account().last_setup_error, "807");
    results.clear();
    setup.configure_cloud(me, {}, noting());
    clock.advance(200);
    EXPECT_EQ(results, std::vector{0});
    EXPECT_TRUE(home.devices().contains("bulb"));
}

TEST_F(SetupTest, NothingHappensOutOfOrder)
{
    EXPECT_EQ(setup.begin(me, "", false), Status::failed);
    EXPECT_EQ(setup.give_pin(me, "1234"), Status::failed);
    EXPECT_EQ(setup.configure_device(me, {}, noting()), Status::failed);
    EXPECT_EQ(setup.stop(me), Status::failed);
    setup.prepare(me, 0, noting());
    clock.advance(100);
    EXPECT_EQ(setup.begin(me, "10.9.9.9", false), Status::no_data);
    EXPECT_EQ(setup.configure_cloud(me, {}, noting()), Status::failed);
}

TEST_F(SetupTest, OneClientOnboardsAtATime)
{
    meet("10.0.0.1");
    EXPECT_EQ(setup.prepare(other, 0, noting()), Status::busy);
    EXPECT_EQ(setup.stop(other), Status::busy);
    EXPECT_EQ(setup.stop(me), Status::ok);
    EXPECT_EQ(setup.prepare(other, 0, noting()), Status::ok);
}

TEST_F(SetupTest, AClientThatLeavesEndsItsOnboarding)
{
    meet("10.0.0.1");
    bool answered = false;
    setup.watch_sign_in(me, [&](bool) { answered = true; });
    setup.leave(me);
    EXPECT_FALSE(answered);
    EXPECT_EQ(setup.prepare(other, 0, noting()), Status::ok);
}

TEST_F(SetupTest, AResetDeviceWaitsAgainWithItsQuestions)
{
    meet("10.0.0.1");
    configure();
    setup.configure_cloud(me, {}, noting());
    clock.advance(200);
    ASSERT_TRUE(home.devices().contains("sensor"));
    ASSERT_EQ(setup.reset(me, noting()), Status::ok);
    clock.advance(200);
    EXPECT_FALSE(home.devices().contains("sensor"));
    ASSERT_NE(home.enrollee("sensor"), nullptr);
    EXPECT_EQ(home.enrollee("sensor")->pin, "1234");
    EXPECT_TRUE(home.enrollee("sensor")->asks_ownership);
}

}  // namespace
}  // namespace quorvel::home
