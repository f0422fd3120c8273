// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fmt/format.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "home/home.hpp"

namespace quorvel::home {

// The message with which reading fails, or "" when it does not.
template <typename Read>
std::string message_of(const Read& read)
{
    try {
        read();
    } catch (const DocumentError& error) {
        return error.what();
    }
    return {};
}

// A home of two places, over a clock that stands still until it is moved.
class HomeTest : public testing::Test {
protected:
    HomeTest()
    {
        clock.set_speed(0);
        home.load(read_yaml(text, "test home"));
        home.bus().listen([this](const Event& event) { heard.push_back(event); });
    }

    // Everything of one kind that was heard since the last call.
    template <typename Kind>
    std::vector<Kind> take()
    {
        std::vector<Kind> taken;
        for (const auto& event : heard)
            if (const Kind* found = std::get_if<Kind>(&event))
                taken.push_back(*found);
        heard.clear();
        return taken;
    }
    Json value(const char* device, const char* attribute)
    {
        const Device& found = *home.devices().find(device);
        return home.value(found, *found.model->slot(attribute));
    }
    void report(const char* device, const char* attribute, const Json& value)
    {
        std::string problem;
        ASSERT_EQ(home.report(device, attribute, value, problem), Status::ok) << problem;
        ASSERT_EQ(home.commit(), Status::ok);
    }

    static constexpr std::string_view text = R"yaml(
quorvel-home: 1
agent:
  user-id: user-1
  access-points: [{ssid: net, password: secret12}, {ssid: open net}]
places:
  - {id: home, name: Home, rooms: [living, hall]}
  - {id: cabin, rooms: [den]}
devices:
  - {id: hub, model: hub.home, room: hall}
  - {id: lamp, name: Lamp, model: light.color, room: living, state: {level: 40}}
  - {id: light, model: light.switch, room: hall}
  - {id: motion, model: sensor.motion, room: hall, parent: hub}
  - {id: heater, model: thermostat.room, room: living}
  - {id: plug, model: plug.meter, room: den}
  - {id: washer, model: washer.front, room: den}
  - {id: button, model: button.single, room: hall}
  - {id: old, model: plug.switch, room: den, legacy: true, local: true}
scenes:
  - {id: dark, name: Dark, set: {lamp: {switch: off}, light: {switch: off}}}
rules:
  - id: on-motion
    when: {device: motion, attribute: motion, is: active}
    then: [{device: light, set: {switch: on}}]
    else: [{device: light, set: {switch: off}}]
device-groups:
  - {id: lights, type: LIGHTING, devices: [lamp, light]}
favorites: [{device: lamp}, {scene: dark}]
app-store: [{id: clock-app, asks: [time]}]
enrollees:
  - {id: sensor, model: sensor.contact, address: 10.0.0.1, asks: [ownership, {pin: "1234"}], stage-ms: 100}
  - {id: bulb, model: light.switch, address: 10.0.0.2, fails-at: {stage: cloud, code: 7}, stage-ms: 100}
findable: [{id: found, model: light.dimmer, after-ms: 300}]
)yaml";

    Clock clock;
    ModelLibrary models;
    Home home{models, clock};
    std::vector<Event> heard;
};

// A file that is gone when the test is.
class TemporaryFile {
public:
    explicit TemporaryFile(const char* name)
        : directory_(std::filesystem::temp_directory_path() / ("quorvel-test-" + std::to_string(getpid()))),
          path_(directory_ / name)
    {
        std::filesystem::create_directories(directory_);
        remove();
    }
    ~TemporaryFile() { remove(); }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    std::string path() const { return path_.string(); }

private:
    void remove() const
    {
        for (const char* suffix : {"", "-wal", "-shm"})
            std::filesystem::remove(path_.string() + suffix);
    }
    std::filesystem::path directory_;
    std::filesystem::path path_;
};

}  // namespace quorvel::home
