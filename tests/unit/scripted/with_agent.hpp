// Fixtures: tests of the library over the scripted platform.
#ifndef QUORVEL_TESTS_WITH_AGENT_HPP
#define QUORVEL_TESTS_WITH_AGENT_HPP

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "log_matchers.hpp"
#include "scripted.hpp"

namespace scripted {

// The platform fresh at the start; at the end nothing may be alive and nothing misused. The agent is not
// installed.
class Scripted : public testing::Test {
protected:
    void SetUp() override { reset(); }
    void TearDown() override
    {
        EXPECT_EQ(live(), Live{}) << "left alive at the end of the test";
        EXPECT_THAT(misuses(), testing::IsEmpty());
    }
};

// An agent of version() is installed; nobody is connected.
class WithAgent : public Scripted {
protected:
    virtual std::string version() const { return "2.4.0"; }
    void SetUp() override
    {
        Scripted::SetUp();
        agent().install(version());
    }
};

}  // namespace scripted

#endif
