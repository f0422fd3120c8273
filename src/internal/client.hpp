#pragma once

#include <quorvel_client.h>
#include <quorvel_client_device.h>
#include <quorvel_client_device_detail.h>
#include <quorvel_client_easy_setup.h>
#include <quorvel_client_group.h>
#include <quorvel_client_notification.h>
#include <quorvel_client_proxy.h>
#include <quorvel_client_qc_api.h>
#include <quorvel_client_scene.h>
#include <quorvel_core.h>

#include <atomic>
#include <mutex>

#include "internal/call_guard.hpp"
#include "internal/locks.hpp"

namespace quorvel {

/// A callback of the application's and the user data that belongs to it: stored and read as a pair, so that a
/// new callback never meets the old user data.
template <typename Callback>
struct CallbackPair {
    Callback callback;
    void* user_data;

    void store(Callback new_callback, void* new_user_data)
    {
        const std::lock_guard lock{locks::clients};
        *this = {new_callback, new_user_data};
    }
    void clear() { store(nullptr, nullptr); }
    CallbackPair load() const
    {
        const std::lock_guard lock{locks::clients};
        return *this;
    }
};

/// What a client handle points to: the proxy, the connection callback and a pair for each kind of event,
/// which other programs may read; then our own.
///
/// Its memory is counted: one count is the handle's, given back when the calls that were in progress at its
/// disconnect have left; the proxy and every delegate that calls back with the handle hold another.
struct ClientFields {
    rpc_port_proxy_qv_client_h rpc_h;
    CallbackPair<quorvel_client_connection_state_cb> connection_state;
    CallbackPair<quorvel_client_sign_in_state_changed_cb> sign_in_state;
    CallbackPair<quorvel_client_ui_metadata_updated_cb> ui_metadata;
    CallbackPair<quorvel_client_group_list_updated_cb> group_list;
    CallbackPair<quorvel_client_device_list_updated_cb> device_list;
    CallbackPair<quorvel_client_device_detail_list_updated_cb> device_detail_list;
    CallbackPair<quorvel_client_scene_list_updated_cb> scene_list;
    CallbackPair<quorvel_client_notification_cb> notification;
    CallbackPair<quorvel_client_easy_setup_state_cb> easy_setup_state;
    CallbackPair<quorvel_client_easy_setup_enrollee_error_cb> easy_setup_enrollee_error;
    // These four share the user data of the last start, which is the process's.
    CallbackPair<quorvel_client_easy_setup_otm_feature_cb> easy_setup_otm_feature;
    CallbackPair<quorvel_client_easy_setup_random_pin_cb> easy_setup_random_pin;
    CallbackPair<quorvel_client_easy_setup_enrollee_owned_cb> easy_setup_enrollee_owned;
    CallbackPair<quorvel_client_easy_setup_provisioning_info_cb> easy_setup_prov_info;
    CallbackPair<quorvel_client_third_party_notification_status_updated_cb> third_party_notification_status;
    CallbackPair<quorvel_core_sse_cb> sse;
};

struct Client : ClientFields, Retired {
    Client() noexcept;
    ~Client();
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    rpc_port_proxy_qv_client_h proxy() const noexcept { return __atomic_load_n(&rpc_h, __ATOMIC_ACQUIRE); }
    void set_proxy(rpc_port_proxy_qv_client_h proxy) noexcept
    {
        __atomic_store_n(&rpc_h, proxy, __ATOMIC_RELEASE);
    }

    void hold() noexcept { references_.fetch_add(1, std::memory_order_relaxed); }
    void drop() noexcept;
    /// The same for those who know the client as what they keep.
    static void drop_kept(void* client) { static_cast<Client*>(client)->drop(); }

    /// Forgets all callbacks: a handler that still runs finds none.
    void clear_callbacks();

    /// Keeps what a call deliberately does not release until the client goes. Without memory for that it is
    /// released at once.
    void keep(void* object, void (*release)(void*));
    /// The same for what must not be released before: answers false, and leaves it alone, without memory.
    bool try_keep(void* object, void (*release)(void*));

    Client* next_live = nullptr;  // guarded by locks::clients

private:
    struct Kept {
        void* object;
        void (*release)(void*);
        Kept* next;
    };

    std::atomic<unsigned> references_{1};
    Kept* kept_ = nullptr;  // guarded by locks::clients
};

inline Client& client_of(quorvel_client_h handle)
{
    return *static_cast<Client*>(handle);
}

}  // namespace quorvel
