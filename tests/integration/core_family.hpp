#pragma once

#include <gmock/gmock.h>

#include <ostream>
#include <utility>

#include "reference_home.hpp"

namespace integration {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

constexpr int no_data = QUORVEL_CLIENT_ERROR_NO_DATA;
constexpr int invalid = QUORVEL_CLIENT_ERROR_INVALID_PARAMETER;
constexpr int out_of_order = QUORVEL_CLIENT_ERROR_OPERATION_FAILED;
constexpr int there_already = QUORVEL_CLIENT_ERROR_AGENT_DEFINED_2;

/// The code that a function returned and the text that it handed out, if any.
struct Answer {
    int code = 1;
    std::string text;

    friend std::ostream& operator<<(std::ostream& out, const Answer& answer)
    {
        return out << answer.code << " with '" << answer.text << "'";
    }
};

MATCHER_P(Answers, text, "")
{
    return arg.code == 0 && testing::ExplainMatchResult(text, arg.text, result_listener);
}

/// Refused, and nothing handed out.
MATCHER_P(Refuses, code, "")
{
    return arg.code == code && arg.text.empty();
}

/// Refused, and the reason handed out.
MATCHER_P(Explains, code, "")
{
    return arg.code == code && arg.text.starts_with(R"({"error":)")
           && arg.text.find("\"code\":" + std::to_string(code)) != std::string::npos;
}

/// A member of a JSON object whose value is a text, as the agent writes it.
inline std::string member(const std::string& key, const std::string& value)
{
    return "\"" + key + "\":\"" + value + "\"";
}

/// The text of the first member of that name.
inline std::string text_at(const std::string& json, const std::string& key)
{
    const std::string opening = "\"" + key + "\":\"";
    const auto at = json.find(opening);
    if (at == std::string::npos)
        return {};
    const auto begin = at + opening.size();
    return json.substr(begin, json.find('"', begin) - begin);
}

/// A record that the library handed out.
template <auto get_string, auto destroy>
class Record {
public:
    explicit Record(void* record) : record_{record} {}
    Record(Record&& other) noexcept : record_{std::exchange(other.record_, nullptr)} {}
    Record(const Record&) = delete;
    Record& operator=(const Record&) = delete;
    Record& operator=(Record&&) = delete;
    ~Record()
    {
        if (record_ != nullptr) {
            EXPECT_EQ(destroy(record_), 0);
        }
    }

    std::string text(int property) const
    {
        char* value = nullptr;
        EXPECT_EQ(get_string(record_, property, &value), 0) << "property " << property;
        const Text owner{value};
        return value != nullptr ? value : "";
    }
    void* handle() const { return record_; }

private:
    void* record_;
};

using Device = Record<quorvel_core_device_get_string, quorvel_core_device_destroy>;
using DeviceGroup = Record<quorvel_core_device_group_get_string, quorvel_core_device_group_destroy>;
using Favorite = Record<quorvel_core_favorite_get_string, quorvel_core_favorite_destroy>;
using InstalledApp = Record<quorvel_core_installed_app_get_string, quorvel_core_installed_app_destroy>;
using Location = Record<quorvel_core_location_get_string, quorvel_core_location_destroy>;
using Room = Record<quorvel_core_room_get_string, quorvel_core_room_destroy>;
using Rule = Record<quorvel_core_rule_get_string, quorvel_core_rule_destroy>;
using Scene = Record<quorvel_core_scene_get_string, quorvel_core_scene_destroy>;

/// The code that a function returned and the records that it handed out.
template <class R>
struct Found {
    int code = 1;
    std::vector<R> records;

    const R& front() const { return records.at(0); }
    std::set<std::string> texts(int property) const
    {
        std::set<std::string> all;
        for (const auto& record : records)
            all.insert(record.text(property));
        return all;
    }
};

/// The server-sent events that came.
struct Events {
    struct Event {
        int type;
        long long time;
        std::string text;
    };
    std::vector<Event> all;

    static void take(int type, long long time, const char* text, void* user_data)
    {
        static_cast<Events*>(user_data)->all.push_back({type, time, text});
    }
    int count(int type, const std::vector<std::string>& parts) const
    {
        int events = 0;
        for (const auto& event : all) {
            bool matches = event.type == type;
            for (const auto& part : parts)
                matches = matches && event.text.find(part) != std::string::npos;
            events += matches ? 1 : 0;
        }
        return events;
    }
    /// Iterates until an event of that type came whose text holds all of these.
    bool hear(int type, const std::vector<std::string>& parts) const
    {
        return pump_until([&] { return count(type, parts) > 0; });
    }
};

/// The core family against the reference agent.
class CoreFamily : public ReferenceHome {
protected:
    // The events go before what they are sent to.
    void TearDown() override { connection.disconnect(); }

    /// A function whose last argument receives a text.
    template <class F, class... Given>
    Answer ask(F function, Given... given) const
    {
        char* text = nullptr;
        const int code = function(connection.handle, given..., &text);
        const Text owner{text};
        return {code, text != nullptr ? text : ""};
    }
    template <class F, class... Given>
    int call(F function, Given... given) const
    {
        return function(connection.handle, given...);
    }
    /// A function whose last argument receives a record.
    template <class R, class F, class... Given>
    Found<R> one(F function, Given... given) const
    {
        Found<R> found;
        void* const before = &found;
        void* record = before;
        found.code = function(connection.handle, given..., &record);
        if (found.code != 0) {
            EXPECT_EQ(record, before);
            return found;
        }
        found.records.emplace_back(record);
        return found;
    }
    /// A function whose last arguments receive a list of records.
    template <class R, class F, class... Given>
    Found<R> list(F function, Given... given) const
    {
        Found<R> found;
        void* nothing = nullptr;
        void** list = &nothing;
        int count = -1;
        found.code = function(connection.handle, given..., &list, &count);
        if (found.code != 0) {
            EXPECT_EQ(list, &nothing);
            EXPECT_EQ(count, -1);
            return found;
        }
        EXPECT_EQ(list == nullptr, count == 0);
        for (int i = 0; i < count; ++i)
            found.records.emplace_back(list[i]);
        if (list != nullptr) {
            EXPECT_EQ(list[count], nullptr);
            std::free(list);
        }
        return found;
    }

    void listen(int type = QUORVEL_CORE_SSE_TYPE_ALL)
    {
        ASSERT_EQ(call(quorvel_core_set_sse_cb, type, Events::take, static_cast<void*>(&events)), 0);
    }
    /// Does what a person or the world does to the home.
    void world(const std::string& command) const
    {
        EXPECT_THAT(control(command), HasSubstr("\"ok\":true")) << command;
    }
    /// What a device holds of a capability of its main component.
    std::string status(const char* device, const char* capability) const
    {
        return ask(quorvel_core_get_device_capability_status, device, "main", capability).text;
    }
    Found<Device> device(const char* id) const { return one<Device>(quorvel_core_get_device, id); }

    Events events;
};

}  // namespace integration
