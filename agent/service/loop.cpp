// SPDX-License-Identifier: Apache-2.0
#include "service/loop.hpp"

#include <dlog.h>
#include <glib-unix.h>

#include <csignal>
#include <exception>
#include <utility>

namespace quorvel::agent {

namespace {

// An exception must not cross GLib; one action that failed leaves the others to run.
template <typename Action>
void guarded(const Action& action)
{
    try {
        action();
    } catch (const std::exception& error) {
        dlog_print(DLOG_ERROR, "QV_AGENT", "something that was to happen failed: %s", error.what());
    }
}

}  // namespace

Loop::Loop(home::Clock& clock)
    : clock_(clock),
      loop_(g_main_loop_new(nullptr, FALSE)),
      signals_{g_unix_signal_add(SIGTERM, stop, this), g_unix_signal_add(SIGINT, stop, this)}
{
    clock_.on_next = [this](std::int64_t wait) {
        if (timer_ != 0)
            g_source_remove(std::exchange(timer_, 0));
        if (wait >= 0)
            timer_ = g_timeout_add(static_cast<guint>(wait), due, this);
    };
}

Loop::~Loop()
{
    clock_.on_next = nullptr;
    for (const guint source : {timer_, turn_, signals_[0], signals_[1]})
        if (source != 0)
            g_source_remove(source);
    g_main_loop_unref(loop_);
}

void Loop::post(std::function<void()> action)
{
    posted_.push_back(std::move(action));
    if (turn_ == 0)
        turn_ = g_idle_add_full(G_PRIORITY_DEFAULT, turn, this, nullptr);
}

gboolean Loop::turn(gpointer self)
{
    Loop& loop = *static_cast<Loop*>(self);
    loop.turn_ = 0;
    // What is posted meanwhile waits for the next turn.
    for (auto& action : std::exchange(loop.posted_, {}))
        guarded(action);
    return G_SOURCE_REMOVE;
}

gboolean Loop::due(gpointer self)
{
    Loop& loop = *static_cast<Loop*>(self);
    loop.timer_ = 0;
    guarded([&loop] { loop.clock_.run_due(); });
    return G_SOURCE_REMOVE;
}

gboolean Loop::stop(gpointer self)
{
    g_main_loop_quit(static_cast<Loop*>(self)->loop_);
    return G_SOURCE_CONTINUE;
}

void Loop::run()
{
    g_main_loop_run(loop_);
}

}  // namespace quorvel::agent
