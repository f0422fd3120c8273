#include "internal/request.hpp"

#include <cstdint>
#include <cstdlib>
#include <new>

namespace quorvel {

namespace {

/// What a once delegate keeps: its request, for as long as no handler has taken it, and the client.
struct Entry {
    Request* request;
    Client* client;
    Entry* next;  // in its bucket of the ledger
};

// The ledger: unanswered requests by address. Guarded by locks::clients.
constexpr std::size_t bucket_count = 256;
Entry* ledger[bucket_count];

Entry*& bucket(const void* request)
{
    return ledger[(reinterpret_cast<std::uintptr_t>(request) >> 4) % bucket_count];
}

/// Takes the request out of the ledger. With locks::clients held.
Entry* take(const void* request)
{
    for (Entry** link = &bucket(request); *link != nullptr; link = &(*link)->next) {
        Entry* const entry = *link;
        if (entry->request == request) {
            *link = entry->next;
            entry->request = nullptr;
            return entry;
        }
    }
    return nullptr;
}

/// Takes an entry's request, unless its handler has.
Request* take_unanswered(const Entry& entry)
{
    const std::lock_guard lock{locks::clients};
    Request* const unanswered = entry.request;
    if (unanswered != nullptr)
        take(unanswered);
    return unanswered;
}

}  // namespace

Request* new_request(Client& client, void (*callback)(), void* user_data, void** kept)
{
    auto* const request = static_cast<Request*>(std::malloc(sizeof(Request)));
    auto* const entry = new (std::nothrow) Entry{request, &client, nullptr};
    if (request == nullptr || entry == nullptr) {
        std::free(request);
        delete entry;
        return nullptr;
    }
    *request = {callback, user_data};
    client.hold();
    {
        const std::lock_guard lock{locks::clients};
        entry->next = bucket(request);
        bucket(request) = entry;
    }
    *kept = entry;
    return request;
}

void release_unanswered(void* kept)
{
    auto* const entry = static_cast<Entry*>(kept);
    std::free(take_unanswered(*entry));
    entry->client->drop();
    delete entry;
}

// The entry holds the client, so the client may not keep the entry: neither would ever go.
void leave_unanswered(void* kept)
{
    auto* const entry = static_cast<Entry*>(kept);
    if (Request* const unanswered = take_unanswered(*entry))
        entry->client->keep(unanswered, std::free);
    release_unanswered(entry);
}

AnsweredRequest::AnsweredRequest(void* request) noexcept : request_{static_cast<Request*>(request)}
{
    if (request_ == nullptr)
        return;
    const std::lock_guard lock{locks::clients};
    const Entry* const entry = take(request_);
    client_ = entry != nullptr ? entry->client : nullptr;
}

AnsweredRequest::~AnsweredRequest()
{
    std::free(request_);
}

void AnsweredRequest::abandon() noexcept
{
    // The delegate that is calling holds the client.
    if (client_ != nullptr) {
        client_->keep(request_, std::free);
        request_ = nullptr;
    }
}

}  // namespace quorvel
