// The connection that a command uses: made once, waited for, and closed in order.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "core/places.hpp"
#include "quorvel_client_types.h"

namespace quorvel::cli {

struct SessionOptions {
    std::string agent;  // "", "running", "sim" or "sim:HOME"
    std::chrono::milliseconds timeout{10000};
};

// Not copied, not moved: the library knows its address.
class Session {
public:
    explicit Session(SessionOptions options) : options_(std::move(options)) {}
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    // Starts the agent of our own, if that was asked for; nothing else.
    void prepare();
    // Connected, or a failure that says why not.
    quorvel_client_h connect();
    void disconnect();
    [[nodiscard]] bool lost() const { return lost_; }
    [[nodiscard]] std::chrono::milliseconds timeout() const { return options_.timeout; }

    enum class End { done, timed_out, lost, signalled };
    // Iterates the default main context until done; with a time of 0, for ever.
    End wait(const std::function<bool()>& done, std::chrono::milliseconds time);
    // From now on SIGINT and SIGTERM end waits instead of the program.
    void catch_signals();
    [[nodiscard]] int signal() const { return signal_; }

private:
    static void changed(int result, int state, void* self);

    SessionOptions options_;
    std::unique_ptr<PrivateAgent> agent_;
    quorvel_client_h client_ = nullptr;
    bool connected_ = false;
    bool rejected_ = false;
    bool lost_ = false;
    int signal_ = 0;
};

}  // namespace quorvel::cli
