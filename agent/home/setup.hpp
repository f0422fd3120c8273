// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "home/home.hpp"

namespace quorvel::home {

// Taking a new device into the home.
//
// It is a process with stages, and each takes its time: the agent prepares (init), meets the device
// (start), is asked who may own it (ownership) and for the PIN on its label (pin); then the application
// lists access points (wifi), sends the settings (device), reads the configuration, sends what the cloud
// wants (cloud), and the device signs in and is a device of the home. One client onboards at a time. What
// happens is told over the home's bus; what answers one request goes to that request's callback.
class Setup {
public:
    enum Stage {
        idle = 0,
        init = 1,
        start = 2,
        ownership = 3,
        pin = 4,
        wifi = 5,
        device = 6,
        configuration = 7,
        cloud = 8,
        sign_in = 9,
        done = 10,
    };
    enum Detail { begun = 0, finished = 1, failed = 2, waiting = 3 };
    // How the ownership may be transferred; a device offers some and the application chooses one.
    enum Ownership { just_works = 1, with_pin = 2 };
    // Why the device says no. A device of the home file may fail with other numbers too.
    enum Error { owned_already = 2, wrong_pin = 4, wrong_network = 5, wrong_password = 6, no_cloud = 7 };

    using Owner = std::uintptr_t;
    using Result = std::function<void(int)>;
    using Values = std::map<std::string, std::string>;
    using AccessPoints = std::function<void(const std::vector<AccessPoint>&)>;
    struct Configuration {
        Values values;
        std::vector<std::string> wifi_modes;
    };

    explicit Setup(Home& home) : home_(home) {}
    ~Setup();
    Setup(const Setup&) = delete;
    Setup& operator=(const Setup&) = delete;

    static const char* name(Stage stage);

    Status prepare(Owner owner, int type, Result result);
    Status begin(Owner owner, const std::string& address, bool take_over);
    Status choose_ownership(Owner owner, int feature);
    Status give_pin(Owner owner, std::string_view pin);
    Status list_access_points(Owner owner, AccessPoints result);
    Status configure_device(Owner owner, const Values& values, Result result);
    Status read_configuration(Owner owner, std::function<void(const Configuration&)> result);
    Status configure_cloud(Owner owner, const Values& values, Result result);
    Status watch_sign_in(Owner owner, std::function<void(bool)> result);
    Status bookmark(Owner owner, const Values& values, Result result);
    Status reset(Owner owner, Result result);
    Status stop(Owner owner);
    // The client is gone, and its onboarding with it.
    void leave(Owner owner);
    // Starts over, for a home that was replaced.
    void clear();

    Stage stage() const { return stage_; }

private:
    void later(std::function<void()> action);
    void reach(Stage stage, Detail detail);
    bool fails(Stage stage, const Result& result = {});
    void fail(Stage stage, int error, const Result& result = {});
    void meet();
    void ask();
    void ready();
    void join();
    bool mine(Owner owner) const { return owner_ == owner && owner_ != 0; }
    const Enrollee* met() const { return home_.enrollee(enrollee_); }

    Home& home_;
    Owner owner_ = 0;
    int type_ = 0;
    Stage stage_ = idle;
    bool prepared_ = false;
    bool ready_ = false;
    bool configured_ = false;
    bool provisioned_ = false;
    bool take_over_ = false;
    int feature_ = 0;
    int wrong_pins_ = 0;
    std::string enrollee_;
    std::string joined_;  // the device that the enrollee became
    Enrollee before_;     // what it was, should it be reset
    Values settings_;
    std::string location_;
    std::string room_;
    std::vector<std::function<void(bool)>> watchers_;
    std::vector<Clock::Timer> timers_;
};

}  // namespace quorvel::home
