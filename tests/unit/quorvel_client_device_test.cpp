// Devices: quorvel_client_device.cpp over the scripted platform.
#include <quorvel_client_device.h>

#include "api_contract.hpp"
#include "callback_contract.hpp"
#include "connected_client.hpp"

namespace scripted {
namespace {

constexpr auto source = "quorvel_client_device";
// The device commands blame the easy setup's delegate, which is meant so.
constexpr auto easy_setup_delegate = "rpc_port_qv_client_easy_setup_result_cb_create";
constexpr const char* two_ids[] = {"lamp", "fan"};

void on_result(int, void*) {}
void on_list(quorvel_client_device_h*, int, void*) {}

[[maybe_unused]] const bool contracts = register_contracts(
    source,
    {
        Contract("quorvel_client_get_device_list", {1, 0},
                 [](auto client) {
                     OwnedRecords devices{rpc_port_device_s_destroy};
                     return quorvel_client_get_device_list(client, devices, devices);
                 })
            .asks(12, "get_device_list", {count(0), i32(0)}),
        Contract::local(
            "quorvel_client_device_destroy", {1, 0},
            destroys(rpc_port_device_s_create, rpc_port_device_s_destroy, quorvel_client_device_destroy)),
        Contract::local("quorvel_client_device_get_string", {1, 0},
                        with_record(rpc_port_device_s_create, rpc_port_device_s_destroy,
                                    [](auto device) {
                                        return quorvel_client_device_get_string(device, 0, OwnedText{});
                                    })),
        Contract::local("quorvel_client_device_get_string_array", {1, 0},
                        with_record(rpc_port_device_s_create, rpc_port_device_s_destroy,
                                    [](auto device) {
                                        OwnedTexts types;
                                        return quorvel_client_device_get_string_array(device, 1, types,
                                                                                      types);
                                    })),
        Contract(
            "quorvel_client_set_device_list_updated_cb", {1, 0},
            [](auto client) { return quorvel_client_set_device_list_updated_cb(client, on_list, nullptr); })
            .asks(9, "set_device_list_cb"),
        Contract("quorvel_client_unset_device_list_updated_cb", {1, 0},
                 quorvel_client_unset_device_list_updated_cb)
            .asks(10, "unset_device_list_cb"),
        Contract("quorvel_client_move_devices", {1, 4},
                 [](auto client) {
                     return quorvel_client_move_devices(client, two_ids, 2, "den", nullptr, on_result,
                                                        nullptr);
                 })
            .asks(58, "move_devices"),
        // Reported under the name of another method, which is meant so.
        Contract("quorvel_client_change_device_nick", {1, 4},
                 [](auto client) {
                     return quorvel_client_change_device_nick(client, "lamp", "Sun", on_result, nullptr);
                 })
            .asks(59, "set_device_profile"),
        // Reported without "invoke_", which is meant so.
        Contract("quorvel_client_remove_device", {1, 6},
                 [](auto client) { return quorvel_client_remove_device(client, "lamp", on_result, nullptr); })
            .asks(83, "remove_device")
            .reported_as("rpc_port_proxy_qv_client_remove_device"),
    });

void hear_result(int, void* heard)
{
    static_cast<Heard*>(heard)->hear();
}

void hear_list(quorvel_client_device_h* list, int count, void* heard)
{
    const OwnedRecords devices{rpc_port_device_s_destroy, list, count};
    static_cast<Heard*>(heard)->hear();
}

[[maybe_unused]] const bool repeating_callbacks = register_callbacks({
    RepeatingCallback("quorvel_client_set_device_list_updated_cb", source)
        .set([](auto client, Heard& heard) {
            return quorvel_client_set_device_list_updated_cb(client, hear_list, &heard);
        })
        .unset(quorvel_client_unset_device_list_updated_cb)
        .speaks(9, 10, 3, {count(1), text("lamp"), texts({"light", "dimmer"}), i32(0)}),
});

[[maybe_unused]] const bool answers = register_callbacks({
    OneAnswer("quorvel_client_move_devices", source)
        .command([](auto client, bool with_callback, Heard& heard) {
            return quorvel_client_move_devices(client, two_ids, 2, "den", nullptr,
                                               with_callback ? hear_result : nullptr, &heard);
        })
        .answered(22, {i32(0)}, easy_setup_delegate)
        .staying_when_refused(),
    OneAnswer("quorvel_client_change_device_nick", source)
        .command([](auto client, bool with_callback, Heard& heard) {
            return quorvel_client_change_device_nick(client, "lamp", "Sun",
                                                     with_callback ? hear_result : nullptr, &heard);
        })
        .answered(22, {i32(0)}, easy_setup_delegate)
        .staying_when_refused(),
    OneAnswer("quorvel_client_remove_device", source)
        .command([](auto client, bool with_callback, Heard& heard) {
            return quorvel_client_remove_device(client, "lamp", with_callback ? hear_result : nullptr,
                                                &heard);
        })
        .answered(22, {i32(0)}, easy_setup_delegate),
});

}  // namespace
}  // namespace scripted
