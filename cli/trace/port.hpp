// Both ends of the port, for parcels whose bytes are known.
//
// The platform's functions read and write values; a bundle's keys cannot even be listed. What arrives is
// therefore read where the platform writes everything down: in its capture. What is sent is composed of
// values again.
#pragma once

#include <rpc-port.h>

#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/session.hpp"
#include "trace/capture.hpp"
#include "trace/message.hpp"
#include "trace/record.hpp"

namespace quorvel::cli::trace {

// What this process receives. Made before its first connection; an existing recording is shared.
class Tap {
public:
    Tap();
    ~Tap();
    Tap(const Tap&) = delete;
    Tap& operator=(const Tap&) = delete;

    // Takes a parcel off the port, and gives its bytes. Nothing when none came.
    std::optional<std::string> receive(rpc_port_h port);

private:
    std::optional<TemporaryDirectory> directory_;
    std::optional<Variable> variable_;
    std::filesystem::path file_;
    std::optional<Reader> reader_;
};

// Sends exactly these bytes. False when no values make them up, or the port refuses.
bool send_bytes(rpc_port_h port, std::string_view bytes);
// Sends a request. False when it is not understood wholly, or the port refuses.
bool send_request(rpc_port_h port, const Message& request);

// The client's end of a connection to the agent.
class ClientPort {
public:
    using OnCallback = std::function<void(Message)>;

    ClientPort(Session& session, Tap& tap, OnCallback on_callback);
    ~ClientPort();
    ClientPort(const ClientPort&) = delete;
    ClientPort& operator=(const ClientPort&) = delete;

    // The answer; nothing when the connection ended.
    std::optional<Message> ask(const Message& request);
    [[nodiscard]] bool is_over() const { return over_; }

private:
    static void connected(const char* endpoint, const char* name, rpc_port_h port, void* self);
    static void gone(const char* endpoint, const char* name, void* self);
    static void received(const char* endpoint, const char* name, void* self);

    Tap& tap_;
    OnCallback on_callback_;
    rpc_port_proxy_h proxy_ = nullptr;
    rpc_port_h main_ = nullptr;
    bool over_ = false;
};

// The agent's end: listens in a home of its own, into which the environment points for as long as this lives.
class AgentPort {
public:
    struct Client {
        std::string instance;
        rpc_port_h main = nullptr;
        rpc_port_h callback = nullptr;
    };
    // False drops the client.
    using OnRequest = std::function<bool(Client& client, const std::string& bytes)>;

    AgentPort(Tap& tap, const std::string& version, OnRequest on_request);
    ~AgentPort();
    AgentPort(const AgentPort&) = delete;
    AgentPort& operator=(const AgentPort&) = delete;

    std::function<void(Client&)> on_connected;

private:
    static void connected(const char* sender, const char* instance, void* self);
    static void disconnected(const char* sender, const char* instance, void* self);
    static int received(const char* sender, const char* instance, rpc_port_h port, void* self);

    TemporaryDirectory home_;
    Variable home_variable_;
    Tap& tap_;
    OnRequest on_request_;
    rpc_port_stub_h stub_ = nullptr;
    std::map<std::string, Client> clients_;
};

}  // namespace quorvel::cli::trace
