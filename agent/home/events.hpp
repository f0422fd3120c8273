// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "home/things.hpp"

namespace quorvel::home {

enum class What { added, changed, removed };

// What can happen in a home. Events are told after the change that they speak of is kept, so a thing that
// was added or changed can be looked up; of a removed one the event carries what a listener needs.
namespace event {

struct SignIn {
    bool signed_in;
};
struct DeviceChanged {
    What what;
    std::string id;
    std::string location;
    std::string room;
    std::string name;
    // What of it changed: name, place, state, health, components, firmware, preferences …
    std::string aspect;
    std::string previous_location;
    std::string previous_room;
};
struct AttributeChanged {
    std::string device;
    std::size_t slot;
    Json value;
    Json previous;
    std::string cause;
};
struct HealthChanged {
    std::string device;
    std::string state;
    std::string detail;
};
struct LocationChanged {
    What what;
    std::string id;
    std::string name;
};
struct RoomChanged {
    What what;
    std::string id;
    std::string location;
    std::string name;
};
struct SceneChanged {
    What what;
    std::string id;
    std::string location;
};
struct SceneRan {
    std::string id;
    std::string location;
    std::string name;
    bool well;
};
struct RuleChanged {
    What what;
    std::string id;
    std::string location;
};
struct RuleRan {
    std::string id;
    std::string location;
    bool well;
};
struct DeviceGroupChanged {
    What what;
    std::string id;
    std::string location;
};
struct FavoriteChanged {
    What what;
    std::string id;
    std::string location;
    std::string member;
};
struct AppChanged {
    What what;
    std::string id;
    std::string location;
    std::string status;
};
struct Notified {
    std::string kind;
    std::string title;
    std::string body;
    std::string location;
    std::string device;
};
struct MetadataChanged {
    std::string vid;
};
struct PushChanged {};
struct CacheFilled {};
struct HubSearch {
    std::string hub;
    bool looking;
};
struct HubFound {
    std::string hub;
    std::string device;
    std::string name;
    std::string model;
    bool joined;
};
// An onboarding speaks to the client that runs it.
struct SetupState {
    int stage;
    int detail;
};
struct SetupError {
    int stage;
    int code;
};
struct SetupAsksOwnership {
    int features;
};
struct SetupAsksPin {
    int length;
};
struct SetupOwned {
    bool owned;
};
struct SetupInfo {
    std::map<std::string, std::string> values;
    std::vector<std::string> protocols;
};

}  // namespace event

using Event =
    std::variant<event::SignIn, event::DeviceChanged, event::AttributeChanged, event::HealthChanged,
                 event::LocationChanged, event::RoomChanged, event::SceneChanged, event::SceneRan,
                 event::RuleChanged, event::RuleRan, event::DeviceGroupChanged, event::FavoriteChanged,
                 event::AppChanged, event::Notified, event::MetadataChanged, event::PushChanged,
                 event::CacheFilled, event::HubSearch, event::HubFound, event::SetupState, event::SetupError,
                 event::SetupAsksOwnership, event::SetupAsksPin, event::SetupOwned, event::SetupInfo>;

// Tells every listener of everything that happens, in the order in which it happened. A listener may add
// and remove listeners, also itself: one that is removed hears nothing more, one that is added hears what
// comes after.
class EventBus {
public:
    using Listener = std::function<void(const Event&)>;
    using Id = std::uint64_t;

    Id listen(Listener listener)
    {
        listeners_.emplace(++last_, std::move(listener));
        return last_;
    }
    void forget(Id id) { listeners_.erase(id); }

    void tell(const Event& event)
    {
        const Id newest = last_;
        for (auto next = listeners_.begin(); next != listeners_.end() && next->first <= newest;) {
            const Id id = next->first;
            const Listener listener = next->second;
            listener(event);
            next = listeners_.upper_bound(id);
        }
    }

private:
    std::map<Id, Listener> listeners_;
    Id last_ = 0;
};

// Handlers for std::visit, one lambda a kind of event.
template <typename... Handlers>
struct Overloaded : Handlers... {
    using Handlers::operator()...;
};
template <typename... Handlers>
Overloaded(Handlers...) -> Overloaded<Handlers...>;

}  // namespace quorvel::home
