#include "internal/client.hpp"

#include <cstddef>
#include <cstring>
#include <new>
#include <utility>

namespace quorvel {

Client::Client() noexcept
    : ClientFields{}, Retired{[](Retired* retired) noexcept { static_cast<Client*>(retired)->drop(); }}
{
}

Client::~Client()
{
    while (kept_ != nullptr) {
        kept_->release(kept_->object);
        delete std::exchange(kept_, kept_->next);
    }
}

void Client::drop() noexcept
{
    if (references_.fetch_sub(1, std::memory_order_acq_rel) == 1)
        delete this;
}

void Client::clear_callbacks()
{
    // All but the first field: calls look at the proxy without the lock.
    constexpr std::size_t first = offsetof(ClientFields, connection_state);
    auto* const fields = reinterpret_cast<char*>(static_cast<ClientFields*>(this));
    const std::lock_guard lock{locks::clients};
    std::memset(fields + first, 0, sizeof(ClientFields) - first);
}

void Client::keep(void* object, void (*release)(void*))
{
    if (!try_keep(object, release))
        release(object);
}

bool Client::try_keep(void* object, void (*release)(void*))
{
    auto* const kept = new (std::nothrow) Kept{object, release, nullptr};
    if (kept == nullptr)
        return false;
    const std::lock_guard lock{locks::clients};
    kept->next = kept_;
    kept_ = kept;
    return true;
}

}  // namespace quorvel
