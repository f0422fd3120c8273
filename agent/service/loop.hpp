// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <glib.h>

#include <deque>
#include <functional>

#include "home/clock.hpp"

namespace quorvel::agent {

// The agent's main loop: drives the home's clock, and runs what is to happen after a request is answered.
class Loop {
public:
    explicit Loop(home::Clock& clock);
    ~Loop();
    Loop(const Loop&) = delete;
    Loop& operator=(const Loop&) = delete;

    // Runs the action in a later turn, in the order in which they were posted.
    void post(std::function<void()> action);
    // Runs until `quit`, SIGTERM or SIGINT.
    void run();
    void quit() { g_main_loop_quit(loop_); }
    // Ends like quit, and the program begins anew.
    void restart()
    {
        restarts_ = true;
        quit();
    }
    bool restarts() const { return restarts_; }

private:
    static gboolean turn(gpointer self);
    static gboolean due(gpointer self);
    static gboolean stop(gpointer self);

    home::Clock& clock_;
    GMainLoop* loop_;
    bool restarts_ = false;
    guint timer_ = 0;
    guint turn_ = 0;
    guint signals_[2];
    std::deque<std::function<void()>> posted_;
};

}  // namespace quorvel::agent
