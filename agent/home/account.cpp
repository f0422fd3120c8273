// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include <algorithm>
#include <functional>

#include "home/home.hpp"

namespace quorvel::home {

void Home::sign_in(bool signed_in)
{
    if (c_.account.signed_in == signed_in)
        return;
    c_.account.signed_in = signed_in;
    ++c_.account.token_generation;
    touch(Kind::agent, "agent");
    tell(event::SignIn{signed_in});
}

void Home::set_cloud(bool up)
{
    if (c_.account.cloud == up)
        return;
    std::vector<std::pair<std::string, std::string>> before;
    for (const auto& device : c_.devices)
        before.emplace_back(device.id, cloud_state(device));
    c_.account.cloud = up;
    touch(Kind::agent, "agent");
    for (const auto& [id, state] : before)
        if (const std::string now = cloud_state(*c_.devices.find(id)); now != state)
            tell(event::HealthChanged{id, now, up ? "cloud is back" : "cloud cannot be reached"});
}

void Home::set_environment(int type, int value)
{
    c_.account.environments[type] = value;
    touch(Kind::agent, "agent");
}

void Home::set_suspended(bool suspended)
{
    c_.account.suspended = suspended;
    touch(Kind::agent, "agent");
}

void Home::set_version(const std::string& version)
{
    c_.account.version = version;
    touch(Kind::agent, "agent");
}

void Home::set_update_waiting(bool waiting)
{
    c_.account.update_waiting = waiting;
    touch(Kind::agent, "agent");
}

void Home::set_caching(std::int64_t milliseconds)
{
    c_.account.caching = milliseconds;
    caching_since_ = clock_.now();
    clock_.cancel(caching_timer_);
    touch(Kind::agent, "agent");
    caching_timer_ = clock_.after(milliseconds, [this] {
        tell(event::CacheFilled{});
        commit();
    });
}

bool Home::caching() const
{
    return clock_.now() < caching_since_ + c_.account.caching;
}

double Home::gathered() const
{
    if (c_.account.caching == 0)
        return 1;
    const auto passed = static_cast<double>(clock_.now() - caching_since_);
    return std::clamp(passed / static_cast<double>(c_.account.caching), 0.0, 1.0);
}

void Home::refresh_devices()
{
    for (const auto& device : c_.devices)
        device_changed(device, "refreshed");
}

std::string Home::token(std::string_view purpose) const
{
    // Stable until it is renewed, different for each purpose, and plainly not a real one.
    const std::string seed =
        fmt::format("{}/{}/{}/{}", purpose, c_.account.user, c_.account.device, c_.account.token_generation);
    const std::size_t first = std::hash<std::string>{}(seed);
    const std::size_t second = std::hash<std::string>{}(seed + "+");
    return fmt::format("sim-{:016x}{:016x}", first, second);
}

void Home::renew_tokens()
{
    ++c_.account.token_generation;
    touch(Kind::agent, "agent");
}

void Home::bump_metadata(const std::string& vid)
{
    ++c_.account.metadata_version;
    touch(Kind::agent, "agent");
    tell(event::MetadataChanged{vid});
}

void Home::register_push(PushRegistration registration)
{
    auto& all = c_.account.registrations;
    std::erase_if(all, [&](const PushRegistration& each) {
        return each.provider == registration.provider && each.app == registration.app;
    });
    all.push_back(std::move(registration));
    touch(Kind::agent, "agent");
    tell(event::PushChanged{});
}

void Home::set_push(bool enabled, const std::vector<std::string>& topics)
{
    auto& known = c_.account.push_topics;
    if (topics.empty()) {
        c_.account.push_enabled = enabled;
    } else if (enabled) {
        c_.account.push_enabled = true;
        for (const auto& topic : topics)
            if (std::find(known.begin(), known.end(), topic) == known.end())
                known.push_back(topic);
    } else {
        std::erase_if(known, [&](const std::string& topic) {
            return std::find(topics.begin(), topics.end(), topic) != topics.end();
        });
    }
    touch(Kind::agent, "agent");
    tell(event::PushChanged{});
}

int Home::migrate()
{
    int moved = 0;
    for (auto& device : c_.devices)
        if (device.legacy) {
            device.legacy = false;
            touch(Kind::device, device.id);
            device_changed(device, "migrated");
            ++moved;
        }
    c_.account.migrated = true;
    touch(Kind::agent, "agent");
    return moved;
}

void Home::notify(const std::string& kind, const std::string& title, const std::string& body,
                  const std::string& location, const std::string& device)
{
    record("notification", title, body, location.empty() ? c_.locations.front().id : location, device,
           {{"type", kind}});
    tell(event::Notified{kind, title, body, location, device});
}

void Home::set_last_setup_error(const std::string& text)
{
    c_.account.last_setup_error = text;
    touch(Kind::agent, "agent");
}

Status Home::announce_upload(const std::string& content, const std::string& type)
{
    constexpr std::size_t most_uploads = 10'000;
    if (c_.account.uploads.size() >= most_uploads && !c_.account.uploads.contains(content))
        return Status::no_space;
    c_.account.uploads[content] = type;
    touch(Kind::agent, "agent");
    return Status::ok;
}

}  // namespace quorvel::home
