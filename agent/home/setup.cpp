// SPDX-License-Identifier: Apache-2.0
#include "home/setup.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

namespace quorvel::home {

namespace {

constexpr std::int64_t prepare_time = 50;
constexpr int most_wrong_pins = 3;

std::string at(const Setup::Values& values, const char* key)
{
    const auto found = values.find(key);
    return found == values.end() ? std::string{} : found->second;
}

}  // namespace

const char* Setup::name(Stage stage)
{
    switch (stage) {
        case idle:
            return "idle";
        case init:
            return "init";
        case start:
            return "start";
        case ownership:
            return "ownership";
        case pin:
            return "pin";
        case wifi:
            return "wifi";
        case device:
            return "device";
        case configuration:
            return "configuration";
        case cloud:
            return "cloud";
        case sign_in:
            return "sign-in";
        case done:
            return "done";
    }
    return "";
}

Setup::~Setup()
{
    for (const auto timer : timers_)
        home_.clock().cancel(timer);
}

void Setup::later(std::function<void()> action)
{
    const Enrollee* enrollee = met();
    timers_.push_back(home_.clock().after(enrollee ? enrollee->stage_time : prepare_time,
                                          [this, action = std::move(action)] {
                                              action();
                                              home_.commit();
                                          }));
}

void Setup::reach(Stage stage, Detail detail)
{
    stage_ = stage;
    home_.tell(event::SetupState{stage, detail});
}

void Setup::fail(Stage stage, int error, const Result& result)
{
    home_.set_last_setup_error(std::to_string(stage * 100 + error));
    reach(stage, failed);
    home_.tell(event::SetupError{stage, error});
    if (result)
        result(code(Status::failed));
}

bool Setup::fails(Stage stage, const Result& result)
{
    int error = 0;
    if (!home_.fail_enrollee(enrollee_, name(stage), error))
        return false;
    fail(stage, error, result);
    return true;
}

Status Setup::prepare(Owner owner, int type, Result result)
{
    if (owner_ != 0 && owner_ != owner)
        return Status::busy;
    if (!home_.account().signed_in)
        return Status::denied;
    clear();
    owner_ = owner;
    type_ = type;
    home_.set_last_setup_error("");
    reach(init, begun);
    // Which device it will be is not known yet, so the first one that waits decides whether this fails.
    if (!home_.enrollees().empty())
        enrollee_ = home_.enrollees().front().id;
    later([this, result = std::move(result)] {
        if (fails(init, result))
            return;
        enrollee_.clear();
        prepared_ = true;
        reach(init, finished);
        result(0);
    });
    return Status::ok;
}

Status Setup::begin(Owner owner, const std::string& address, bool take_over)
{
    if (owner_ != 0 && owner_ != owner)
        return Status::busy;
    if (!mine(owner) || !prepared_)
        return Status::failed;
    const Enrollee* found = nullptr;
    for (const auto& each : home_.enrollees())
        if (found == nullptr && (address.empty() || each.address == address || each.id == address))
            found = &each;
    if (found == nullptr)
        return Status::no_data;
    enrollee_ = found->id;
    take_over_ = take_over;
    ready_ = configured_ = provisioned_ = false;
    joined_.clear();
    wrong_pins_ = 0;
    reach(start, begun);
    later([this] { meet(); });
    return Status::ok;
}

void Setup::meet()
{
    const Enrollee* enrollee = met();
    if (enrollee == nullptr || fails(start))
        return;
    const Model* model = home_.models().find(enrollee->model);
    const int features = just_works | (enrollee->pin.empty() ? 0 : with_pin);
    event::SetupInfo info;
    info.values = {{"owned", enrollee->owned ? "1" : "0"},
                   {"provisioningReset", "0"},
                   {"otmSupport", std::to_string(features)},
                   {"accessibility", "1"},
                   {"supportedTokenType", "1"},
                   {"softApAddress", enrollee->address},
                   {"bleAddress", "02:51:56:be:00:01"},
                   {"easysetupId", "qv-" + enrollee->id},
                   {"easysetupVer", "2.0"},
                   {"setupId", "01"},
                   {"targetSerialNum", enrollee->serial},
                   {"firmwareVer", model ? model->firmware : ""},
                   {"sessionId", fmt::format("session-{}", enrollee->id)},
                   {"lastStatus", home_.account().last_setup_error},
                   {"nonce", home_.token("nonce/" + enrollee->id).substr(4, 16)},
                   {"countryCode", home_.locations().front().country},
                   {"targetLogId", "log-" + enrollee->id},
                   {"mnmn", model ? model->mnmn : ""},
                   {"vid", model ? model->vid : ""}};
    info.protocols = {"softap", "ble"};
    home_.tell(std::move(info));
    home_.tell(event::SetupOwned{enrollee->owned});
    if (enrollee->owned && !take_over_) {
        fail(start, owned_already);
        return;
    }
    reach(start, finished);
    if (!enrollee->asks_ownership) {
        feature_ = enrollee->pin.empty() ? just_works : with_pin;
        ask();
        return;
    }
    if (fails(ownership))
        return;
    reach(ownership, waiting);
    home_.tell(event::SetupAsksOwnership{features});
}

Status Setup::choose_ownership(Owner owner, int feature)
{
    if (!mine(owner) || stage_ != ownership)
        return Status::failed;
    const Enrollee* enrollee = met();
    if (enrollee == nullptr)
        return Status::failed;
    const int features = just_works | (enrollee->pin.empty() ? 0 : with_pin);
    if ((feature != just_works && feature != with_pin) || (feature & features) == 0)
        return Status::invalid;
    feature_ = feature;
    reach(ownership, finished);
    later([this] { ask(); });
    return Status::ok;
}

void Setup::ask()
{
    const Enrollee* enrollee = met();
    if (enrollee == nullptr)
        return;
    if (feature_ != with_pin) {
        ready();
        return;
    }
    if (fails(pin))
        return;
    reach(pin, waiting);
    home_.tell(event::SetupAsksPin{static_cast<int>(enrollee->pin.size())});
}

Status Setup::give_pin(Owner owner, std::string_view given)
{
    const Enrollee* enrollee = met();
    if (!mine(owner) || stage_ != pin || enrollee == nullptr)
        return Status::failed;
    later([this, right = given == enrollee->pin] {
        const Enrollee* still = met();
        if (still == nullptr)
            return;
        if (right) {
            reach(pin, finished);
            ready();
        } else if (++wrong_pins_ >= most_wrong_pins) {
            fail(pin, wrong_pin);
        } else {
            home_.tell(event::SetupError{pin, wrong_pin});
            reach(pin, waiting);
            home_.tell(event::SetupAsksPin{static_cast<int>(still->pin.size())});
        }
    });
    return Status::ok;
}

void Setup::ready()
{
    ready_ = true;
    reach(wifi, waiting);
}

Status Setup::list_access_points(Owner owner, AccessPoints result)
{
    if (!mine(owner) || !ready_)
        return Status::failed;
    later([this, result = std::move(result)] {
        const Enrollee* enrollee = met();
        if (enrollee == nullptr || fails(wifi)) {
            result({});
            return;
        }
        result(enrollee->access_points.empty() ? home_.access_points() : enrollee->access_points);
        if (stage_ == wifi)
            reach(wifi, finished);
    });
    return Status::ok;
}

Status Setup::configure_device(Owner owner, const Values& values, Result result)
{
    if (!mine(owner) || !ready_)
        return Status::failed;
    settings_ = values;
    reach(device, begun);
    later([this, result = std::move(result)] {
        const Enrollee* enrollee = met();
        if (enrollee == nullptr) {
            result(code(Status::failed));
            return;
        }
        if (fails(device, result))
            return;
        const auto& points =
            enrollee->access_points.empty() ? home_.access_points() : enrollee->access_points;
        const std::string ssid = at(settings_, "ssid");
        const auto point = std::find_if(points.begin(), points.end(),
                                        [&](const AccessPoint& each) { return each.ssid == ssid; });
        if (point == points.end()) {
            fail(device, wrong_network, result);
        } else if (!point->password.empty() && point->password != at(settings_, "password")) {
            fail(device, wrong_password, result);
        } else {
            settings_["password"].clear();
            configured_ = true;
            reach(device, finished);
            result(0);
        }
    });
    return Status::ok;
}

Status Setup::read_configuration(Owner owner, std::function<void(const Configuration&)> result)
{
    if (!mine(owner) || !ready_)
        return Status::failed;
    later([this, result = std::move(result)] {
        const Enrollee* enrollee = met();
        Configuration read;
        if (enrollee == nullptr || fails(configuration)) {
            result(read);
            return;
        }
        const Model* model = home_.models().find(enrollee->model);
        const std::string error = home_.account().last_setup_error;
        read.values = {{"isCloudAccessible", home_.account().cloud ? "1" : "0"},
                       {"freq", "2412"},
                       {"provStatus", provisioned_  ? "2"
                                      : configured_ ? "1"
                                                    : "0"},
                       {"lastErrorCode", error.empty() ? "0" : error},
                       {"netConnectionState", configured_ ? "1" : "0"},
                       {"deviceName", enrollee->name},
                       {"modelNumber", model ? model->number : ""},
                       {"deviceType", model ? model->type : ""},
                       {"deviceSubType", model ? model->category : ""},
                       {"registerSetDevice", "0"},
                       {"pnpPin", ""},
                       {"bssid", at(settings_, "bssid")},
                       {"networkProvisioningInfo", at(settings_, "ssid")},
                       {"esProtocolVersion", "2.0"},
                       {"country", at(settings_, "country")},
                       {"hubId", ""},
                       {"tcStatus", "1"},
                       {"tcHeader", "terms"},
                       {"tcVersion", "1.0"}};
        for (const Device& hub : home_.devices())
            if (hub.model->hub && read.values["hubId"].empty())
                read.values["hubId"] = hub.id;
        read.wifi_modes = {"11", "12", "13"};
        result(read);
        reach(configuration, finished);
    });
    return Status::ok;
}

Status Setup::configure_cloud(Owner owner, const Values& values, Result result)
{
    (void)values;
    if (!mine(owner) || !configured_)
        return Status::failed;
    reach(cloud, begun);
    later([this, result = std::move(result)] {
        if (met() == nullptr) {
            result(code(Status::failed));
            return;
        }
        if (fails(cloud, result))
            return;
        if (!home_.account().cloud) {
            fail(cloud, no_cloud, result);
            return;
        }
        provisioned_ = true;
        reach(cloud, finished);
        result(0);
        reach(sign_in, begun);
        later([this] { join(); });
    });
    return Status::ok;
}

// The enrollee becomes a device of the home.
void Setup::join()
{
    const Enrollee* enrollee = met();
    const auto answer = [this](bool signed_in) {
        for (const auto& watcher : std::exchange(watchers_, {}))
            watcher(signed_in);
    };
    if (enrollee == nullptr || fails(sign_in)) {
        answer(false);
        return;
    }
    Device added;
    added.id = enrollee->id;
    added.name = enrollee->name;
    added.model = home_.models().find(enrollee->model);
    added.serial = enrollee->serial;
    added.location = location_.empty() ? home_.locations().front().id : location_;
    added.room = room_;
    const Home::Cause cause{home_, "onboarding"};
    if (added.model == nullptr || home_.add_device(std::move(added)) != Status::ok) {
        fail(sign_in, 1);
        answer(false);
        return;
    }
    joined_ = enrollee_;
    before_ = *enrollee;
    home_.remove_enrollee(enrollee_);
    reach(sign_in, finished);
    reach(done, finished);
    home_.notify("device", "New device", fmt::format("{} joined the home", joined_), "", joined_);
    answer(true);
}

Status Setup::watch_sign_in(Owner owner, std::function<void(bool)> result)
{
    if (!mine(owner) || enrollee_.empty())
        return Status::failed;
    if (!joined_.empty()) {
        later([result = std::move(result)] { result(true); });
        return Status::ok;
    }
    watchers_.push_back(std::move(result));
    return Status::ok;
}

Status Setup::bookmark(Owner owner, const Values& values, Result result)
{
    if (!mine(owner) || enrollee_.empty())
        return Status::failed;
    const std::string location = at(values, "group_id");
    const std::string room = at(values, "subgroup_id");
    if (!home_.locations().contains(location) || (!room.empty() && home_.room_in(location, room) == nullptr))
        return Status::no_data;
    location_ = location;
    room_ = room;
    if (!joined_.empty())
        home_.move_device(joined_, location_, room_);
    later([result = std::move(result)] { result(0); });
    return Status::ok;
}

Status Setup::reset(Owner owner, Result result)
{
    if (!mine(owner) || enrollee_.empty())
        return Status::failed;
    if (!joined_.empty()) {
        // A device that joined already leaves the home again and waits as it did before.
        home_.remove_device(joined_);
        home_.add_enrollee(before_);
        joined_.clear();
    }
    home_.own_enrollee(enrollee_, false);
    ready_ = configured_ = provisioned_ = false;
    settings_.clear();
    reach(start, begun);
    later([result = std::move(result)] { result(0); });
    return Status::ok;
}

Status Setup::stop(Owner owner)
{
    if (owner_ != 0 && owner_ != owner)
        return Status::busy;
    if (owner_ == 0)
        return Status::failed;
    clear();
    owner_ = 0;
    reach(idle, finished);
    return Status::ok;
}

void Setup::leave(Owner owner)
{
    if (!mine(owner))
        return;
    watchers_.clear();
    clear();
    owner_ = 0;
    stage_ = idle;
}

void Setup::clear()
{
    for (const auto timer : std::exchange(timers_, {}))
        home_.clock().cancel(timer);
    for (const auto& watcher : std::exchange(watchers_, {}))
        watcher(false);
    prepared_ = ready_ = configured_ = provisioned_ = take_over_ = false;
    feature_ = wrong_pins_ = 0;
    enrollee_.clear();
    joined_.clear();
    settings_.clear();
    location_.clear();
    room_.clear();
}

}  // namespace quorvel::home
