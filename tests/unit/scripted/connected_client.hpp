// Fixture: a client of the library that is connected to the scripted agent.
#ifndef QUORVEL_TESTS_CONNECTED_CLIENT_HPP
#define QUORVEL_TESTS_CONNECTED_CLIENT_HPP

#include "quorvel_client.h"
#include "with_agent.hpp"

namespace scripted {

// The log and the requests begin empty, after the connection was made. Tests of functions with another
// lowest agent version derive and override version().
class ConnectedClient : public WithAgent {
protected:
    void SetUp() override
    {
        WithAgent::SetUp();
        ASSERT_EQ(quorvel_client_connect(&client, on_state, this), QUORVEL_CLIENT_ERROR_NONE);
        agent().answer_next_with(0);  // set_api_version, which an agent before 1.3 is not sent
        agent().connect();
        ASSERT_EQ(states.size(), 1U);
        forget();
    }

    void TearDown() override
    {
        if (client) {
            EXPECT_EQ(quorvel_client_disconnect(client), QUORVEL_CLIENT_ERROR_NONE);
        }
        WithAgent::TearDown();
    }

    // Drops what was logged, sent and scripted so far.
    static void forget()
    {
        clear_log();
        agent().forget_requests();
        agent().forget_script();
    }

    struct State {
        int result;
        int state;
    };

    quorvel_client_h client = nullptr;
    std::vector<State> states;  // what the connection-state callback was told

private:
    static void on_state(int result, int state, void* user_data)
    {
        static_cast<ConnectedClient*>(user_data)->states.push_back({result, state});
    }
};

}  // namespace scripted

#endif
