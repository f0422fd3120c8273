#include "internal/registration.hpp"

#include "proxy/connection.hpp"

namespace quorvel {

bool Slot::is_filled() const
{
    const std::lock_guard lock{locks::clients};
    return static_cast<bool>(name_);
}

bool Slot::holds(const void* delegate) const
{
    const proxy::DelegateName name = proxy::name_of(delegate);
    const std::lock_guard lock{locks::clients};
    return name_ == name;
}

void Slot::fill(const void* delegate)
{
    const proxy::DelegateName name = proxy::name_of(delegate);
    const std::lock_guard lock{locks::clients};
    name_ = name;
}

void Slot::empty()
{
    const std::lock_guard lock{locks::clients};
    name_ = {};
}

void Slot::dispose(rpc_port_proxy_qv_client_h proxy) const
{
    proxy::DelegateName name;
    {
        const std::lock_guard lock{locks::clients};
        name = name_;
    }
    if (name)
        proxy::dispose_named(proxy::proxy_of(proxy), name);
}

}  // namespace quorvel
