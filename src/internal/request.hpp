#pragma once

#include "internal/client.hpp"

namespace quorvel {

/// The application's end of a command that the agent answers once: two words, passed as the user data of a
/// once delegate.
///
/// Exactly one side frees it: the handler, which takes it before it calls the application, or, when that
/// never runs, the delegate, with its memory. A ledger beside the requests tells which; a request that it
/// does not know is the handler's all the same.
struct Request {
    void (*callback)();
    void* user_data;
};

/// A new request; nullptr without memory. Its delegate keeps what `kept` is set to, with
/// `release_unanswered`.
Request* new_request(Client& client, void (*callback)(), void* user_data, void** kept);
void release_unanswered(void* kept);
/// The same, but the request stays until the client's disconnect.
void leave_unanswered(void* kept);

/// A request in the hands of its handler: freed at the end, also on the way of an application's exception.
class AnsweredRequest {
public:
    explicit AnsweredRequest(void* request) noexcept;
    ~AnsweredRequest();
    AnsweredRequest(const AnsweredRequest&) = delete;
    AnsweredRequest& operator=(const AnsweredRequest&) = delete;

    /// The application's callback as what it is; NULL when there is no request, or none in it.
    template <typename Callback>
    Callback callback() const
    {
        return request_ != nullptr ? reinterpret_cast<Callback>(request_->callback) : nullptr;
    }
    void* user_data() const { return request_->user_data; }

    /// Leaves the request to the client, to be released at its disconnect.
    void abandon() noexcept;

private:
    Request* request_;
    Client* client_ = nullptr;
};

}  // namespace quorvel
