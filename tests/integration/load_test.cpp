// Many threads, many events: every answer for its question, every event in its order.
#include <algorithm>
#include <mutex>

#include "support.hpp"

namespace {

using namespace integration;

using Load = WithEchoAgent;

int wrong_answers(quorvel_client_h handle, int thread, int calls)
{
    int wrong = 0;
    for (int i = 0; i < calls; ++i) {
        const std::string nonce = std::to_string(thread) + "-" + std::to_string(i);
        if (i % 3 == 0) {
            quorvel_client_device_detail_h detail = nullptr;
            char* id = nullptr;
            wrong += quorvel_client_get_device_detail(handle, nonce.c_str(), &detail) != 0
                     || quorvel_client_device_detail_get_string(
                            detail, QUORVEL_CLIENT_DEVICE_DETAIL_PROP_DEVICE_ID, &id)
                            != 0
                     || nonce != id;
            std::free(id);
            if (detail != nullptr)
                quorvel_client_device_detail_destroy(detail);
        } else if (i % 3 == 1) {
            bool is_signed_in = false;
            wrong += quorvel_client_is_signed_in(handle, &is_signed_in) != 0 || !is_signed_in;
        } else {
            std::string answer;
            wrong += ask_metadata(handle, nonce, answer) != 0 || answer != "metadata of " + nonce;
        }
    }
    return wrong;
}

TEST_F(Load, GivesEveryAnswerToTheCallThatAsked)
{
    constexpr int threads = 8;
    const int calls = scaled("calls of each of 8 threads", 10000, 2000);
    Connection connection;
    ASSERT_TRUE(connection.establish());
    const LoopThread loop;
    std::vector<int> wrong(threads);
    {
        std::vector<std::jthread> callers;
        for (int thread = 0; thread < threads; ++thread) {
            callers.emplace_back([&, thread] {
                wrong[static_cast<std::size_t>(thread)] = wrong_answers(connection.handle, thread, calls);
            });
        }
    }
    EXPECT_EQ(wrong, std::vector<int>(threads));
    EXPECT_EQ(connection.disconnected, 0);
}

struct Heard {
    int next = 0;
    int out_of_order = 0;
};

void hear(const char* kind, const char*, const char*, void* user_data)
{
    auto& heard = *static_cast<Heard*>(user_data);
    heard.out_of_order += std::stoi(kind) != heard.next;
    ++heard.next;
}

TEST_F(Load, DeliversEveryEventInOrder)
{
    const int events = scaled("events", 100000, 20000);
    Connection connection;
    ASSERT_TRUE(connection.establish());
    Heard heard;
    ASSERT_EQ(quorvel_client_set_notification_cb(connection.handle, hear, &heard), 0);
    std::string answer;
    ASSERT_EQ(ask_metadata(connection.handle, "storm:" + std::to_string(events), answer), 0);
    EXPECT_TRUE(pump_until([&] { return heard.next >= events; }, 60s)) << heard.next;
    EXPECT_EQ(heard.next, events);
    EXPECT_EQ(heard.out_of_order, 0);
}

TEST_F(Load, DeliversEventsInOrderWhileTheLoopThreadIsInACall)
{
    const int events = scaled("events during calls", 50000, 10000);
    Connection connection;
    ASSERT_TRUE(connection.establish());
    Heard heard;
    ASSERT_EQ(quorvel_client_set_notification_cb(connection.handle, hear, &heard), 0);
    std::string answer;
    ASSERT_EQ(ask_metadata(connection.handle, "storm:" + std::to_string(events), answer), 0);
    // The agent fires while this thread, which would dispatch, waits for an answer.
    ASSERT_EQ(ask_metadata(connection.handle, "slow:200", answer), 0);
    EXPECT_EQ(heard.next, 0);
    EXPECT_TRUE(pump_until([&] { return heard.next >= events; }, 60s)) << heard.next;
    EXPECT_EQ(heard.out_of_order, 0);
}

}  // namespace
