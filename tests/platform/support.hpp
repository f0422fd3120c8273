// What the platform's tests share: a home of their own, a client that counts its events, and an agent or a
// client made of bare sockets, which can say anything.
#pragma once

#include <glib.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <future>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "bundle.h"
#include "descriptor.hpp"
#include "rpc-port.h"
#include "stopwatch.hpp"

namespace quorvel::platform::test {

using quorvel::test::Stopwatch;

inline constexpr char kApp[] = "com.example.agent";
inline constexpr char kPort[] = "things";

// How late something that has a deadline may be; sanitizers are slow.
#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
#define QUORVEL_SANITIZED 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer) || __has_feature(address_sanitizer)
#define QUORVEL_SANITIZED 1
#endif
#endif
#ifdef QUORVEL_SANITIZED
inline constexpr std::chrono::milliseconds kSlack{2000};
#else
inline constexpr std::chrono::milliseconds kSlack{50};
#endif

// What is allocated while one of these lives may leak.
class NoLeakCheck {
public:
    NoLeakCheck();
    ~NoLeakCheck();
    NoLeakCheck(const NoLeakCheck&) = delete;
    NoLeakCheck& operator=(const NoLeakCheck&) = delete;
};

// A child that ends with its parent, however that ends: a child left behind would hold up the test's output.
pid_t fork_with_parent();

// A variable of the environment, put back at the end.
class ScopedVariable {
public:
    ScopedVariable(const char* name, const std::string& value);
    ~ScopedVariable();
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

private:
    std::string name_;
    bool was_set_;
    std::string before_;
};

// A directory of its own, to which sockets, packages and state are moved.
class Home {
public:
    Home();
    ~Home();
    const std::string& path() const { return path_; }
    std::string socket() const { return path_ + "/run/" + kApp + "." + kPort + ".sock"; }
    void install(const std::string& text, const std::string& id = kApp) const;
    std::string read(const std::string& relative) const;

private:
    std::string path_;
    ScopedVariable home_;
    ScopedVariable app_id_;
};

// Iterates the default main context until it holds.
bool run_until(const std::function<bool()>& condition,
               std::chrono::milliseconds patience = std::chrono::seconds{10});
void run_for(std::chrono::milliseconds time);

// Runs one of the functions of roles.cpp in a fresh process of this program; what it wrote to stderr.
struct Outcome {
    int status;
    std::string errors;
};
Outcome run_role(const std::string& role,
                 const std::vector<std::pair<std::string, std::string>>& variables = {});
using Role = int (*)();
void add_role(const char* name, Role role);
int run_named_role(const std::string& name);
struct RoleAdder {
    RoleAdder(const char* name, Role role) { add_role(name, role); }
};

class Client {
public:
    Client();
    ~Client();
    int connect(const char* app = kApp, const char* port = kPort);
    bool connect_to_open();
    void destroy();

    rpc_port_proxy_h proxy = nullptr;
    rpc_port_h main = nullptr;
    rpc_port_h callback = nullptr;
    int connected = 0;
    int disconnected = 0;
    int rejected = 0;
    std::vector<std::string> received;
    std::function<void()> on_connected, on_disconnected, on_received;
    int ended() const { return disconnected + rejected; }
};

// The platform's calls, as a generated proxy makes them: an int32 and a text there, a text back.
struct Answer {
    int send;
    int read;
    std::string text;
};
Answer call(rpc_port_h main, const std::string& text);
std::future<Answer> call_aside(rpc_port_h main, const std::string& text);
int send_text(rpc_port_h port, const std::string& text);

// Bytes of the wire.
std::string int32(std::int32_t value);
std::string text(std::string_view value);
std::string frame(std::string_view payload);

bool write_all(int fd, std::string_view bytes);
// Reads exactly that much, or what came before the end or before five seconds went by.
std::string read_some(int fd, std::size_t size);
std::string read_frame(int fd);
bool is_at_end(int fd);

struct Link {
    Descriptor main;
    Descriptor callback;
};

// An agent made of a listening socket.
class RawAgent {
public:
    explicit RawAgent(const Home& home);
    // Takes a client's two sockets and welcomes it.
    Link accept(std::int32_t status = 0);
    Descriptor accept_one();

private:
    Descriptor listener_;
};

Descriptor connect_raw(const Home& home);
std::string introduction(std::int32_t port, char token_fill, const std::string& sender = "raw");
// A client made of two sockets, introduced but not yet welcomed.
Link introduce_raw(const Home& home, char token_fill = 't');

// A stub that answers "echo:" and the text, on the loop of the test.
class Agent {
public:
    Agent();
    ~Agent();
    int listen();
    rpc_port_h port(rpc_port_port_type_e type, std::size_t client = 0) const;

    rpc_port_stub_h stub = nullptr;
    std::vector<std::string> instances;
    std::vector<std::string> gone;
    std::vector<std::string> requests;
    std::function<int(rpc_port_h)> on_request;
    std::function<void()> on_gone;
};

std::size_t open_descriptors();

// Reads a parcel that is one string; 0, or why there is none.
int read_one(rpc_port_h port, std::string* value = nullptr);

}  // namespace quorvel::platform::test
