#pragma once

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <climits>
#include <set>

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
    std::string nick_of(const char* device_id)
    {
        quorvel_client_device_detail_h detail = nullptr;
        if (quorvel_client_get_device_detail(connection.handle, device_id, &detail) != 0)
            return {};
        char* nick = nullptr;
        quorvel_client_device_detail_get_string(detail, QUORVEL_CLIENT_DEVICE_DETAIL_PROP_NICK, &nick);
        quorvel_client_device_detail_destroy(detail);
        const Text owner{nick};
        return nick != nullptr ? nick : "";
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
        if (connect(control, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0
            && write(control, (command + "\n").data(), command.size() + 1) > 0) {
            char byte = 0;
            while (read(control, &byte, 1) == 1 && byte != '\n')
                answer += byte;
        }
        close(control);
        return answer;
    }

    TemporaryHome home;
    Connection connection;
};

}  // namespace integration
