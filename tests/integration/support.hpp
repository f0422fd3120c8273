#pragma once

#include <glib.h>
#include <gtest/gtest.h>
#include <quorvel_client.h>
#include <quorvel_core.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace integration {

using namespace std::chrono_literals;

struct Free {
    void operator()(void* memory) const { std::free(memory); }
};

/// A string that the library handed out.
using Text = std::unique_ptr<char, Free>;

/// How much of a figure this run does: all of it, or the share that CI has time for. Says which.
int scaled(const char* what, int full, int in_ci);

/// Descriptors that this process has open.
int open_descriptors();

/// A place of its own for sockets, packages and state, for as long as the test runs.
class TemporaryHome {
public:
    TemporaryHome();
    ~TemporaryHome();
    TemporaryHome(const TemporaryHome&) = delete;
    TemporaryHome& operator=(const TemporaryHome&) = delete;

    /// Installs the agent's package, to be started on demand by that command.
    void install(std::string_view version, std::string_view command) const;
    /// Removes the package.
    void uninstall() const;
    std::filesystem::path path() const { return path_; }
    std::filesystem::path sockets() const { return path_ / "run"; }
    /// Where the agent listens.
    std::filesystem::path socket() const
    {
        return sockets() / "com.veltrane.norvik.quorvel-client.qv_client.sock";
    }
    /// The process of the agent that listens, 0 while there is none.
    pid_t agent() const;
    void kill_agent(int signal) const;

private:
    std::filesystem::path manifest() const;

    std::filesystem::path path_;
};

/// Iterates the default main context until the condition holds. False when it did not within the time.
bool pump_until(const std::function<bool()>& condition, std::chrono::milliseconds most = 20s);

/// Iterates the default main context on a thread of its own.
class LoopThread {
public:
    LoopThread();
    ~LoopThread();
    LoopThread(const LoopThread&) = delete;
    LoopThread& operator=(const LoopThread&) = delete;

private:
    GMainLoop* loop_;
    std::thread thread_;
};

/// A client and what it heard of its connection.
class Connection {
public:
    ~Connection() { disconnect(); }
    Connection() = default;
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    int connect();
    /// Connects and waits, iterating the main context here, for the outcome. Answers whether it is connected.
    bool establish();
    void disconnect();

    quorvel_client_h handle = nullptr;
    std::atomic<int> connected = 0;
    std::atomic<int> disconnected = 0;
    std::atomic<int> rejected = 0;
    std::atomic<int> last_result = 1;
    std::function<void()> on_disconnected;
};

/// get_ui_metadata, whose answer shows the question.
int ask_metadata(quorvel_client_h handle, const std::string& vid, std::string& answer);

/// A test over a home of its own in which the echoing agent is installed.
class WithEchoAgent : public testing::Test {
protected:
    WithEchoAgent() { home.install("2.4.0", ECHO_AGENT); }
    ~WithEchoAgent() override { home.kill_agent(9); }

    TemporaryHome home;
};

}  // namespace integration
