// SPDX-License-Identifier: Apache-2.0
#include "support.hpp"

namespace quorvel::home {
namespace {

class EventBusTest : public testing::Test {
protected:
    static Event event(const char* id) { return event::MetadataChanged{id}; }
    EventBus::Listener noting(std::string who)
    {
        return [this, who = std::move(who)](const Event& each) {
            notes.push_back(who + std::get<event::MetadataChanged>(each).vid);
        };
    }
    EventBus bus;
    std::vector<std::string> notes;
};

TEST_F(EventBusTest, EveryListenerHearsEveryEventInOrder)
{
    bus.listen(noting("a"));
    bus.listen(noting("b"));
    bus.tell(event("1"));
    bus.tell(event("2"));
    EXPECT_EQ(notes, (std::vector<std::string>{"a1", "b1", "a2", "b2"}));
}

TEST_F(EventBusTest, AListenerThatForgetsItselfHearsNothingMoreAndTheOthersDo)
{
    EventBus::Id own = 0;
    own = bus.listen([&](const Event&) {
        notes.emplace_back("once");
        bus.forget(own);
    });
    bus.listen(noting("b"));
    bus.tell(event("1"));
    bus.tell(event("2"));
    EXPECT_EQ(notes, (std::vector<std::string>{"once", "b1", "b2"}));
}

TEST_F(EventBusTest, AListenerThatIsForgottenByAnotherIsNotReachedAnyMore)
{
    EventBus::Id second = 0;
    bus.listen([&](const Event&) { bus.forget(second); });
    second = bus.listen(noting("b"));
    bus.tell(event("1"));
    EXPECT_TRUE(notes.empty());
}

TEST_F(EventBusTest, AListenerThatIsAddedMeanwhileHearsWhatComesAfter)
{
    bool added = false;
    bus.listen([&](const Event&) {
        if (!std::exchange(added, true))
            bus.listen(noting("new"));
    });
    bus.tell(event("1"));
    EXPECT_TRUE(notes.empty());
    bus.tell(event("2"));
    EXPECT_EQ(notes, std::vector<std::string>{"new2"});
}

TEST_F(HomeTest, NothingIsToldBeforeItIsCommitted)
{
    home.set_nick("lamp", "x");
    EXPECT_TRUE(heard.empty());
    home.commit();
    EXPECT_FALSE(heard.empty());
}

TEST_F(HomeTest, WhatARuleDoesIsToldAfterWhatTriggeredIt)
{
    report("motion", "motion", "active");
    std::vector<std::string> devices;
    for (const auto& event : take<event::AttributeChanged>())
        devices.push_back(event.device + " by " + event.cause);
    EXPECT_EQ(devices, (std::vector<std::string>{"motion by app", "light by rule on-motion"}));
}

TEST_F(HomeTest, AMoveTellsWhereTheDeviceWasAndWhereItIs)
{
    home.move_device("lamp", "cabin", "den");
    home.commit();
    const auto told = take<event::DeviceChanged>();
    ASSERT_EQ(told.size(), 1U);
    EXPECT_EQ(told[0].previous_location, "home");
    EXPECT_EQ(told[0].previous_room, "living");
    EXPECT_EQ(told[0].location, "cabin");
    EXPECT_EQ(told[0].room, "den");
}

}  // namespace
}  // namespace quorvel::home
