// Tokens, PINs and passwords: no block that the library frees still holds one.
//
// The program is linked so that the library's calls of free come by here first (see CMakeLists.txt). What the
// application was handed is its own, and is released when nobody looks any more.
#include <malloc.h>
#include <quorvel_client.h>
#include <quorvel_client_proxy.h>

#include <atomic>
#include <cstdlib>
#include <string_view>

#include "api_contract.hpp"
#include "connected_client.hpp"

namespace {

constexpr const char* secret = "hush-4711-sesame";

std::atomic<bool> is_watched = false;
std::atomic<int> blocks_freed = 0;
std::atomic<int> secrets_freed = 0;

}  // namespace

extern "C" {
void __real_free(void* block);
void __wrap_free(void* block);

void __wrap_free(void* block)
{
    if (is_watched && block != nullptr) {
        ++blocks_freed;
        const std::string_view held{static_cast<const char*>(block), malloc_usable_size(block)};
        if (held.find(secret) != std::string_view::npos)
            ++secrets_freed;
    }
    __real_free(block);
}
}

namespace scripted {
namespace {

constexpr int no_space = -28;

class Secrets : public ConnectedClient {
protected:
    // Runs the call, and answers with its code.
    template <typename Call>
    static auto watched(Call call)
    {
        is_watched = true;
        const auto result = call();
        is_watched = false;
        return result;
    }
    // What an agent sends while it is watched.
    static void fire(int id, const Values& values)
    {
        watched([&] {
            agent().fire(id, 1, true, values);
            return 0;
        });
    }
    void TearDown() override
    {
        EXPECT_GT(blocks_freed, 0) << "nothing came by";
        EXPECT_EQ(secrets_freed, 0);
        ConnectedClient::TearDown();
    }
};

TEST_F(Secrets, OfATokenAreWipedWhenItIsNotHandedOut)
{
    agent().answer_next_with(no_space, {text(secret)});
    char* token = nullptr;
    EXPECT_EQ(watched([&] { return quorvel_client_get_access_token(client, &token); }), no_space);
    EXPECT_EQ(token, nullptr);
}

TEST_F(Secrets, OfATokenGoToTheApplicationAlone)
{
    agent().otherwise_answer(0, {text(secret)});
    OwnedText token;
    EXPECT_EQ(watched([&] { return quorvel_client_get_access_token(client, token); }), 0);
    EXPECT_STREQ(token.get(), secret);
    // Something else that is read as a text and freed, so that it is seen that the watch works.
    bool is_signed_in = false;
    agent().answer_next_with(0, {text("TRUE")});
    EXPECT_EQ(watched([&] { return quorvel_client_is_signed_in(client, &is_signed_in); }), 0);
}

TEST_F(Secrets, OfTokensThatComeLaterAreWiped)
{
    agent().otherwise_answer(0);
    const auto token = [](int, const char* first, void*) { EXPECT_STREQ(first, secret); };
    const auto peer_token = [](int, const char* first, const char* second, bool, void*) {
        EXPECT_STREQ(first, secret);
        EXPECT_STREQ(second, secret);
    };
    EXPECT_EQ(watched([&] { return quorvel_client_get_vxr_device_token(client, token, nullptr); }), 0);
    EXPECT_EQ(watched([&] {
                  return quorvel_client_get_vxr_device_peer_token(client, "lamp", peer_token, nullptr);
              }),
              0);
    fire(15, {text(secret), i32(0)});
    fire(20, {text(secret), text(secret), flag(true), i32(0)});
}

TEST_F(Secrets, OfAPinAreWiped)
{
    agent().otherwise_answer(0);
    quorvel_client_easy_setup_initialize(
        client, 1, [](int, void*) {}, nullptr);
    agent().fire(33, 1, true, {i32(0)});
    ASSERT_EQ(quorvel_client_easy_setup_start(
                  client, nullptr, false, [](int, void*) {}, [](int, void*) {}, [](bool, void*) {}, nullptr),
              0);
    fire(24, {text(secret), i32(16)});
    EXPECT_EQ(watched([&] { return quorvel_client_easy_setup_set_random_pin(client, secret); }), 0);
    fire(23, {i32(1)});
}

TEST_F(Secrets, OfAPasswordAreHeldByNothingButTheBundle)
{
    agent().otherwise_answer(0);
    quorvel_client_easy_setup_device_property_h property = nullptr;
    ASSERT_EQ(quorvel_client_easy_setup_device_property_create(&property), 0);
    const auto result = [](int, void*) {};
    watched([&] {
        EXPECT_EQ(quorvel_client_easy_setup_device_property_set_string(property, 10, secret), 0);
        EXPECT_NE(quorvel_client_easy_setup_device_property_set_string(property, 10, secret), 0);
        EXPECT_EQ(quorvel_client_easy_setup_device_provisioning(client, property, result, nullptr), 0);
        return quorvel_client_easy_setup_device_property_destroy(property);
    });
    fire(25, {i32(0)});
}

TEST_F(Secrets, OfTheSelfSignUpAreHeldByNothingButTheBundle)
{
    agent().answer_next_with(0, {bundle_of({{"jwt", secret}})});
    OwnedText jwt;
    watched([&] {
        quorvel_client_self_sign_up_info_h info = nullptr;
        EXPECT_EQ(quorvel_client_get_self_sign_up_info(client, "den", nullptr, &info), 0);
        EXPECT_EQ(quorvel_client_self_sign_up_info_get_string(info, 0, jwt), 0);
        return quorvel_client_self_sign_up_info_destroy(info);
    });
    EXPECT_STREQ(jwt.get(), secret);
}

}  // namespace
}  // namespace scripted
