// An agent made of bare sockets, in a process of its own: it says on the wire what a test wants, whole, in
// part or not at all, and dies where it is told to.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "bytes.hpp"

namespace wire {

/// The agent's end, in the agent's process.
class AgentSide {
public:
    explicit AgentSide(const std::string& socket);

    /// Takes the next client's two sockets, without a word to it.
    void accept();
    void welcome();
    /// The next request's payload; the process ends when there is none any more.
    std::string request();
    /// The same, or nothing when the client left; both sockets are closed then.
    std::optional<std::string> next_request();
    void answer(std::string_view payload) { send(main_, frame(payload)); }
    void call_back(std::string_view payload) { send(callback_, frame(payload)); }
    /// Bytes as they are.
    void send_main(std::string_view bytes) { send(main_, bytes); }
    void send_callback(std::string_view bytes) { send(callback_, bytes); }
    /// Until a request lies there unread.
    void await_input() const;
    /// Closes both sockets and the one that listens.
    void close();

private:
    static void send(int fd, std::string_view bytes);

    int listener_ = -1;
    int main_ = -1;
    int callback_ = -1;
};

/// Runs that in a child process with a listening socket, which is there when the constructor returns; the
/// child is killed at the end.
class RawAgent {
public:
    RawAgent(const std::string& socket, const std::function<void(AgentSide&)>& run);
    ~RawAgent();
    RawAgent(const RawAgent&) = delete;
    RawAgent& operator=(const RawAgent&) = delete;

    pid_t process() const { return process_; }
    void signal(int number) const;

private:
    pid_t process_;
};

// The requests that the tests make, and what is answered.
constexpr std::int32_t kSubscribe = 27;
constexpr std::int32_t kGetUiMetadata = 41;
constexpr std::int32_t kSetNotificationCb = 43;
constexpr std::int32_t kSetApiVersion = 52;

std::string done();                                        // a method without values
std::string answer_to_metadata(std::string_view request);  // "metadata of <vid>"
std::string vid_of(std::string_view request);
/// The head of a callback for the delegate with which a request ends.
std::string callback_head(std::string_view request);

}  // namespace wire
