#include "core/session.hpp"

#include <fmt/format.h>
#include <glib-unix.h>
#include <glib.h>
#include <signal.h>

#include "core/failure.hpp"
#include "quorvel_client.h"

namespace quorvel::cli {
namespace {

const std::string connect_name = "quorvel_client_connect";

gboolean awake(gpointer flag)
{
    *static_cast<bool*>(flag) = true;
    return G_SOURCE_REMOVE;
}

gboolean interrupted(gpointer signal)
{
    *static_cast<int*>(signal) = SIGINT;
    return G_SOURCE_CONTINUE;
}

gboolean terminated(gpointer signal)
{
    *static_cast<int*>(signal) = SIGTERM;
    return G_SOURCE_CONTINUE;
}

}  // namespace

Session::~Session()
{
    disconnect();
}

void Session::prepare()
{
    if (options_.agent.starts_with("sim") && !agent_)
        agent_ = std::make_unique<PrivateAgent>(options_.agent.size() > 4 ? options_.agent.substr(4) : "");
}

quorvel_client_h Session::connect()
{
    if (client_ != nullptr)
        return client_;
    prepare();
    if (options_.agent == "running" && !listens(agent_socket()))
        throw Failure(no_agent, "no agent is running",
                      fmt::format("nobody listens at {}", agent_socket().string()), "qvctl agent start");
    g_setenv("QUORVEL_DEADLINE_MS", std::to_string(timeout().count()).c_str(), FALSE);
    g_setenv("QUORVEL_CONNECT_DEADLINE_MS", std::to_string(timeout().count()).c_str(), FALSE);
    connected_ = rejected_ = lost_ = false;
    if (const int code = quorvel_client_connect(&client_, &Session::changed, this);
        code != QUORVEL_CLIENT_ERROR_NONE) {
        client_ = nullptr;
        if (code == QUORVEL_CLIENT_ERROR_NOT_SUPPORTED)
            throw Failure(no_agent, fmt::format("QUORVEL_CLIENT_ERROR_NOT_SUPPORTED ({})", code),
                          fmt::format("{}: the agent {} is not installed", connect_name, agent_id),
                          "quorvel-agent --install, or qvctl --agent sim COMMAND", code);
        throw code_failure(connect_name, code);
    }
    const End end = wait([this] { return connected_ || rejected_; }, timeout());
    if (connected_ && !lost_)
        return client_;
    disconnect();
    if (end == End::timed_out)
        throw Failure(timed_out, "the agent does not answer",
                      fmt::format("{}: no word within {} ms", connect_name, timeout().count()),
                      "qvctl agent log; or give it more time with --timeout 30s");
    if (rejected_ && listens(agent_socket()))
        throw Failure(refused, "the agent refused the connection",
                      fmt::format("{}: rejected by the agent at {}", connect_name, agent_socket().string()),
                      "qvctl doctor", QUORVEL_CLIENT_ERROR_PERMISSION_DENIED);
    if (rejected_)
        throw Failure(
            no_agent, "the agent is not running and could not be started",
            fmt::format("{}: rejected, and nobody listens at {}", connect_name, agent_socket().string()),
            "qvctl agent log", QUORVEL_CLIENT_ERROR_PERMISSION_DENIED);
    throw Failure(Status::lost, "the connection was lost while it was made", connect_name, "qvctl doctor");
}

void Session::disconnect()
{
    if (client_ == nullptr)
        return;
    quorvel_client_disconnect(client_);
    client_ = nullptr;
}

Session::End Session::wait(const std::function<bool()>& done, std::chrono::milliseconds time)
{
    bool late = false;
    const guint timer = time.count() > 0 ? g_timeout_add(static_cast<guint>(time.count()), awake, &late) : 0;
    while (!done() && !late && !lost_ && signal_ == 0)
        g_main_context_iteration(nullptr, TRUE);
    if (timer != 0 && !late)
        g_source_remove(timer);
    if (done())
        return End::done;
    return signal_ != 0 ? End::signalled : lost_ ? End::lost : End::timed_out;
}

void Session::catch_signals()
{
    g_unix_signal_add(SIGINT, interrupted, &signal_);
    g_unix_signal_add(SIGTERM, terminated, &signal_);
}

void Session::changed(int /*result*/, int state, void* self)
{
    auto* session = static_cast<Session*>(self);
    if (state == QUORVEL_CLIENT_CONNECTION_CONNECTED)
        session->connected_ = true;
    else if (state == QUORVEL_CLIENT_CONNECTION_REJECTED)
        session->rejected_ = true;
    else
        session->lost_ = true;
}

}  // namespace quorvel::cli
