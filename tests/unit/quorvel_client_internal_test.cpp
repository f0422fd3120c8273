// Controls for privileged applications: quorvel_client_internal.cpp over the scripted platform.
#include <quorvel_client_internal.h>

#include <limits>

#include "api_contract.hpp"
#include "connected_client.hpp"

namespace scripted {
namespace {

using testing::IsEmpty;

constexpr auto source = "quorvel_client_internal";
constexpr int invalid_parameter = -22;
constexpr int no_space = -28;

constexpr auto get_env = "quorvel_client_internal_get_server_env";
constexpr auto set_env = "quorvel_client_internal_set_server_env";

// A negative number, given as an unsigned one.
constexpr unsigned negative = static_cast<unsigned>(-1);

[[maybe_unused]] const bool contracts = register_contracts(
    source, {
                // All three are reported as a "dev mode", which is meant so.
                Contract(get_env, {1, 2},
                         [](auto client) {
                             int env = 0;
                             return quorvel_client_internal_get_server_env(client, 0, &env);
                         })
                    .asks(47, "get_dev_mode", {i32(1)}),
                Contract(set_env, {1, 2},
                         [](auto client) { return quorvel_client_internal_set_server_env(client, 1, 2); })
                    .asks(48, "set_dev_mode"),
                Contract("quorvel_client_internal_set_suspend_mode", {1, 2},
                         [](auto client) { return quorvel_client_internal_set_suspend_mode(client, true); })
                    .asks(48, "set_dev_mode"),
            });

class ServerEnv : public ConnectedClient {
protected:
    void refused(const char* function, const char* message, int code)
    {
        EXPECT_EQ(code, invalid_parameter);
        EXPECT_THAT(errors(), Lines(qc_error(source, function, message)));
        EXPECT_THAT(agent().requests(), IsEmpty());
        clear_log();
    }
    int env = 7;
};

TEST_F(ServerEnv, IsReadByItsType)
{
    for (const unsigned type : {0U, 1U}) {
        agent().answer_next_with(0, {i32(-3)});
        EXPECT_EQ(quorvel_client_internal_get_server_env(client, type, &env), 0);
        EXPECT_EQ(agent().request(), (Sent{i32(47), i32(static_cast<int>(type))}));
        EXPECT_EQ(env, -3);
    }
}

TEST_F(ServerEnv, StaysUntouchedWhenTheAgentRefuses)
{
    agent().answer_next_with(no_space, {i32(2)});
    EXPECT_EQ(quorvel_client_internal_get_server_env(client, 0, &env), no_space);
    EXPECT_EQ(env, 7);
}

TEST_F(ServerEnv, IsSetByTypeAndNumber)
{
    agent().otherwise_answer(0);
    for (const unsigned type : {0U, 1U}) {
        for (const unsigned number : {0U, 1U, 2U}) {
            EXPECT_EQ(quorvel_client_internal_set_server_env(client, type, number), 0);
            EXPECT_EQ(agent().request(),
                      (Sent{i32(48), i32(static_cast<int>(type)), i32(static_cast<int>(number))}));
        }
    }
}

TEST_F(ServerEnv, ReadingBlamesTheOutPointerThenTheTypeThenTheProxy)
{
    void*& proxy = *static_cast<void**>(client);
    void* const taken = std::exchange(proxy, nullptr);
    const auto get = [this](unsigned type, int* out) {
        return quorvel_client_internal_get_server_env(client, type, out);
    };
    refused(get_env, "invalid parameter (env)", get(5, nullptr));
    refused(get_env, "invalid parameter (type)", get(2, &env));
    refused(get_env, "invalid parameter (type)", get(negative, &env));
    refused(get_env, "rpc_h is null", get(1, &env));
    proxy = taken;
}

TEST_F(ServerEnv, SettingBlamesTheTypeThenTheNumberThenTheProxy)
{
    void*& proxy = *static_cast<void**>(client);
    void* const taken = std::exchange(proxy, nullptr);
    const auto set = [this](unsigned type, unsigned number) {
        return quorvel_client_internal_set_server_env(client, type, number);
    };
    refused(set_env, "invalid parameter (type)", set(2, 0));
    refused(set_env, "invalid parameter (type)", set(2, 3));
    refused(set_env, "invalid parameter (type)", set(negative, negative));
    refused(set_env, "invalid parameter (env)", set(1, 3));
    refused(set_env, "invalid parameter (env)", set(0, negative));
    refused(set_env, "rpc_h is null", set(1, 2));
    proxy = taken;
}

class SuspendMode : public ConnectedClient {};

TEST_F(SuspendMode, IsSentAsTheReservedTypeTwo)
{
    agent().otherwise_answer(0);
    EXPECT_EQ(quorvel_client_internal_set_suspend_mode(client, true), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(48), i32(2), i32(1)}));
    EXPECT_EQ(quorvel_client_internal_set_suspend_mode(client, false), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(48), i32(2), i32(0)}));
}

}  // namespace
}  // namespace scripted
