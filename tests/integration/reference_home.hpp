#pragma once

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <set>
#include <tuple>
#include <type_traits>

#include "support.hpp"

namespace integration {

/// One answer of a command that answers through a result callback.
struct Outcome {
    int answers = 0;
    int result = 1;
    static void take(int result, void* user_data)
    {
        auto& outcome = *static_cast<Outcome*>(user_data);
        ++outcome.answers;
        outcome.result = result;
    }
    /// Iterates until the answer is there. Answers its code, or INT_MAX when none came.
    int wait()
    {
        return pump_until([&] { return answers > 0; }) ? result : INT_MAX;
    }
};

/// What callbacks heard: an event a line, its values between bars.
struct Heard {
    std::vector<std::string> lines;

    /// Iterates until so many events came.
    bool wait(std::size_t count = 1)
    {
        return pump_until([&] { return lines.size() >= count; });
    }
    bool has(std::string_view text) const
    {
        return std::any_of(lines.begin(), lines.end(),
                           [&](const std::string& line) { return line.find(text) != std::string::npos; });
    }
    bool wait_for(std::string_view text)
    {
        return pump_until([&] { return has(text); });
    }
};

template <typename Value>
std::string in_words(Value value)
{
    if constexpr (std::is_same_v<Value, const char*>)
        return value != nullptr ? value : "(none)";
    else if constexpr (std::is_same_v<Value, bool>)
        return value ? "true" : "false";
    else
        return std::to_string(value);
}

template <typename Callback>
struct HeardBy;
template <typename... Values>
struct HeardBy<void (*)(Values...)> {
    static void take(Values... values)
    {
        const auto all = std::tuple{values...};
        constexpr std::size_t last = sizeof...(Values) - 1;
        std::string line;
        [&]<std::size_t... I>(std::index_sequence<I...>)
        {
            ((line += (I > 0 ? "|" : "") + in_words(std::get<I>(all))), ...);
        }
        (std::make_index_sequence<last>{});
        static_cast<Heard*>(std::get<last>(all))->lines.push_back(line);
    }
};

/// A callback of that type which writes what it is given into the Heard that is its user data.
template <typename Callback>
constexpr Callback hear = &HeardBy<Callback>::take;

/// A string of a record, by its getter. Empty when it has none.
template <typename Get>
std::string text_of(Get get, void* record, int property)
{
    char* value = nullptr;
    EXPECT_EQ(get(record, property, &value), 0) << "property " << property;
    const Text owner{value};
    return value != nullptr ? value : "";
}

/// Strings that the library handed out.
inline std::vector<std::string> take_texts(char** list, int count)
{
    std::vector<std::string> texts;
    for (int i = 0; i < count; ++i)
        texts.emplace_back(Text{list[i]}.get());
    std::free(list);
    return texts;
}

/// A list of strings of a record, by its getter.
template <typename Get>
std::vector<std::string> texts_of(Get get, void* record, int property)
{
    char** list = nullptr;
    int count = 0;
    EXPECT_EQ(get(record, property, &list, &count), 0) << "property " << property;
    return take_texts(list, count);
}

/// Records that the library handed out: the string of each that the property names.
template <typename Get, typename Destroy>
std::vector<std::string> take_records(void** list, int count, Get get, int property, Destroy destroy)
{
    std::vector<std::string> texts;
    for (int i = 0; i < count; ++i) {
        texts.push_back(text_of(get, list[i], property));
        EXPECT_EQ(destroy(list[i]), 0);
    }
    std::free(list);
    return texts;
}

/// A test over a home of its own in which the reference agent is installed, and a client that is connected to
/// it.
class ReferenceHome : public testing::Test {
protected:
    ReferenceHome() { home.install("2.4.0", REFERENCE_AGENT); }
    ~ReferenceHome() override { home.kill_agent(9); }

    void SetUp() override { ASSERT_TRUE(connection.establish()); }

    std::set<std::string> device_ids()
    {
        quorvel_client_device_h* devices = nullptr;
        int count = 0;
        EXPECT_EQ(quorvel_client_get_device_list(connection.handle, &devices, &count), 0);
        return take_ids(devices, count);
    }
    static std::set<std::string> take_ids(quorvel_client_device_h* devices, int count)
    {
        std::set<std::string> ids;
        for (int i = 0; i < count; ++i) {
            char* id = nullptr;
            quorvel_client_device_get_string(devices[i], QUORVEL_CLIENT_DEVICE_PROP_DEVICE_ID, &id);
            ids.insert(Text{id}.get());
            quorvel_client_device_destroy(devices[i]);
        }
        std::free(devices);
        return ids;
    }
    std::string nick_of(const char* device_id) const
    {
        return detail_of(device_id, QUORVEL_CLIENT_DEVICE_DETAIL_PROP_NICK);
    }
    /// One command on the agent's control socket; answers its line.
    std::string control(const std::string& command) const
    {
        const int control = socket(AF_UNIX, SOCK_STREAM, 0);
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        const std::string path = home.sockets() / "com.veltrane.norvik.quorvel-client.control.sock";
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        std::string answer;
        const std::string line = command + "\n";
        if (TEMP_FAILURE_RETRY(connect(control, reinterpret_cast<sockaddr*>(&address), sizeof address)) == 0
            && TEMP_FAILURE_RETRY(write(control, line.data(), line.size())) > 0) {
            char byte = 0;
            while (TEMP_FAILURE_RETRY(read(control, &byte, 1)) == 1 && byte != '\n')
                answer += byte;
        }
        close(control);
        return answer;
    }

    /// One command on the control socket that has to be done.
    void order(const std::string& command) const
    {
        const std::string answer = control(command);
        EXPECT_NE(answer.find("\"ok\":true"), std::string::npos) << command << ": " << answer;
    }
    quorvel_client_h client() const { return connection.handle; }
    /// A string of the details of a device; empty when there is no such device.
    std::string detail_of(const char* device_id, int property) const
    {
        quorvel_client_device_detail_h detail = nullptr;
        if (quorvel_client_get_device_detail(client(), device_id, &detail) != 0)
            return {};
        const std::string value = text_of(quorvel_client_device_detail_get_string, detail, property);
        quorvel_client_device_detail_destroy(detail);
        return value;
    }
    /// The attributes of a device's resource: code, device, URI and JSON between bars.
    std::string attributes_of(const char* device_id, const char* resource_uri) const
    {
        Heard heard;
        EXPECT_EQ(quorvel_client_get_remote_attributes(client(), device_id, resource_uri, "", "",
                                                       hear<quorvel_client_remote_attributes_cb>, &heard),
                  0);
        EXPECT_TRUE(heard.wait());
        return heard.lines.empty() ? "" : heard.lines.front();
    }
    /// Iterates until whatever the agent sent by now was delivered: callbacks come in the order sent, and
    /// those of lists a turn of the agent's loop later.
    void settle() const
    {
        for (int turn = 0; turn < 2; ++turn)
            attributes_of("lamp-1", "/switch");
    }

    TemporaryHome home;
    Connection connection;
};

}  // namespace integration
