// Every method of qv_client through the generated stub: the shapes are taken from the catalogue, which other
// tests hold against the wire form that was written down by hand.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "catalogue/qv_client_catalogue.hpp"
#include "log_matchers.hpp"
#include "scripted.hpp"
#include "stub/qv_client_stub.hpp"
#include "with_agent.hpp"

namespace quorvel::stub {
namespace {

using catalogue::Kind;
using scripted::Values;

/// A value of that type as a request may hold it, and as it stands in an answer that nobody filled.
Values value(const catalogue::Type& type, bool is_empty)
{
    switch (type.kind) {
        case Kind::text:
            return {scripted::text(is_empty ? "" : "words")};
        case Kind::number:
            return {scripted::i32(is_empty ? 0 : 42)};
        case Kind::long_number:
            return {scripted::i64(is_empty ? 0 : 42)};
        case Kind::flag:
            return {scripted::flag(!is_empty)};
        case Kind::bundle:
            return {is_empty ? scripted::no_bundle() : scripted::bundle_of({{"key", "value"}})};
        case Kind::text_list:
            return scripted::texts(is_empty ? scripted::Strings{} : scripted::Strings{"one", ""});
        case Kind::record: {
            Values fields;
            for (const catalogue::Field& field : type.record->fields)
                fields.add(value(field.type, is_empty));
            return fields;
        }
        case Kind::array: {
            Values elements = {scripted::count(is_empty ? 0 : 2)};
            for (int i = 0; i < (is_empty ? 0 : 2); ++i)
                elements.add(value(type.array->element, false));
            return elements;
        }
        case Kind::delegate:
            return scripted::delegate(type.delegate->id, 3, type.delegate->is_once);
    }
    return {};
}

Values request(const catalogue::Method& method)
{
    Values whole = {scripted::i32(method.id)};
    for (const catalogue::Parameter& parameter : method.ins)
        whole.add(value(parameter.type, false));
    return whole;
}

class EveryMethod : public scripted::Scripted {
protected:
    void SetUp() override
    {
        Scripted::SetUp();
        server.emplace(service);
        ASSERT_EQ(server->listen(), 0);
    }
    void TearDown() override
    {
        server.reset();
        Scripted::TearDown();
    }

    Service service;
    std::optional<Server> server;
};

TEST_F(EveryMethod, IsReadToItsEndAndAnsweredWithEmptyValuesAndThatItIsNotSupported)
{
    ASSERT_EQ(catalogue::qv_client.methods.size(), 181U);
    scripted::Client client;
    client.connect();
    for (const catalogue::Method& method : catalogue::qv_client.methods) {
        scripted::clear_log();
        ASSERT_EQ(client.call(request(method)), 0) << method.name;
        Values expected = {scripted::i32(0)};
        for (const catalogue::Parameter& parameter : method.outs)
            expected.add(value(parameter.type, true));
        expected.add(method.returns == Kind::flag ? scripted::flag(false) : scripted::i32(-1073741822));
        EXPECT_EQ(client.answers().back(), expected) << method.name;
        ASSERT_EQ(scripted::errors().size(), 1U) << method.name;
        EXPECT_EQ(scripted::errors()[0].whole, std::string{method.name} + " is not served");
    }
}

TEST_F(EveryMethod, DropsAClientThatCutsItsRequestShortAnywhere)
{
    for (const catalogue::Method& method : catalogue::qv_client.methods) {
        const Values whole = request(method);
        for (std::size_t length = 0; length < whole.size(); ++length) {
            scripted::Client client;
            client.connect();
            scripted::clear_log();
            ASSERT_EQ(client.call(whole.first(length)), -1) << method.name << " at " << length;
            EXPECT_TRUE(client.answers().empty()) << method.name << " at " << length;
            EXPECT_EQ(scripted::errors().size(), 1U) << method.name << " at " << length;
        }
    }
    EXPECT_EQ(server->client_count(), 0U);
}

// Values as `value` makes them.

template <typename Value>
Value sample()
{
    Value one;
    one.bundle_data.add("key", "value");
    return one;
}

template <>
device_s sample()
{
    return {"words", {"one", ""}};
}

template <>
group_s sample()
{
    return {"words", "words", "words", "words", "words", "words", "words", {"one", ""}, {"one", ""}};
}

template <>
device_detail_s sample()
{
    return {42,      "words", "words", "words",     "words",     "words",     "words", "words",
            "words", "words", "words", {"one", ""}, {"one", ""}, {"one", ""}, "words"};
}

template <>
scene_s sample()
{
    return {"words", "words"};
}

template <>
transfer_data_s sample()
{
    transfer_data_s one{"words", {}, 42};
    one.file_data.add("key", "value");
    return one;
}

template <>
std::string sample()
{
    return "words";
}

template <typename Element>
std::vector<Element> two()
{
    return {sample<Element>(), sample<Element>()};
}

class EveryDelegate : public EveryMethod {
protected:
    void SetUp() override
    {
        EveryMethod::SetUp();
        app.connect();
    }

    template <typename Kind>
    Delegate<Kind> of()
    {
        Delegate<Kind> made{3, catalogue::qv_client.delegate(Kind::id)->is_once, {}};
        server->for_each_client([&made](Client& client) { made.client = client.weak_from_this(); });
        return made;
    }

    scripted::Client app{"app"};
};

TEST_F(EveryDelegate, IsFiredWithItsNumbersAndItsParametersInTheirOrder)
{
    EXPECT_TRUE(fire(of<sign_in_state_cb>(), "words"));
    EXPECT_TRUE(fire(of<device_cb>(), sample<device_s>()));
    EXPECT_TRUE(fire(of<device_list_cb>(), two<device_s>(), 42));
    EXPECT_TRUE(fire(of<device_detail_cb>(), sample<device_detail_s>()));
    EXPECT_TRUE(fire(of<device_detail_list_cb>(), two<device_detail_s>(), 42));
    EXPECT_TRUE(fire(of<group_cb>(), sample<group_s>()));
    EXPECT_TRUE(fire(of<group_list_cb>(), "words", "words", two<group_s>(), 42));
    EXPECT_TRUE(fire(of<scene_list_cb>(), "words", two<scene_s>(), 42));
    EXPECT_TRUE(fire(of<scene_cb>(), "words", "words", "words", "words", 42));
    EXPECT_TRUE(fire(of<subscribe_cb>(), "words", "words", "words", "words", "words", "words"));
    EXPECT_TRUE(fire(of<start_monitoring_network_state_cb>(), "words", "words", "words", "words"));
    EXPECT_TRUE(fire(of<remote_representation_cb>(), "words", "words", "words", "words", "words", 42));
    EXPECT_TRUE(fire(of<remote_attributes_cb>(), "words", "words", "words", "words", "words", 42));
    EXPECT_TRUE(fire(of<activate_vxr_migration_cb>(), "words"));
    EXPECT_TRUE(fire(of<get_vxr_device_token_cb>(), "words", 42));
    EXPECT_TRUE(fire(of<set_third_party_notification_cb>(), "words"));
    EXPECT_TRUE(fire(of<ui_metadata_cb>(), "words", "words"));
    EXPECT_TRUE(fire(of<notification_cb>(), "words", "words", "words"));
    EXPECT_TRUE(fire(of<file_transfer_data_cb>(), two<transfer_data_s>(), 42, "words", 42));
    EXPECT_TRUE(fire(of<get_vxr_device_peer_token_cb>(), "words", "words", true, 42));
    EXPECT_TRUE(fire(of<get_accessory_list_cb>(), "words", 42));
    EXPECT_TRUE(fire(of<device_result_cb>(), 42));
    EXPECT_TRUE(fire(of<easy_setup_otm_support_feature_cb>(), 42));
    EXPECT_TRUE(fire(of<easy_setup_random_pin_cb>(), "words", 42));
    EXPECT_TRUE(fire(of<easy_setup_result_cb>(), 42));
    EXPECT_TRUE(fire(of<easy_setup_state_cb>(), 42, 42));
    EXPECT_TRUE(fire(of<access_point_list_cb>(), two<access_point_s>(), 42));
    EXPECT_TRUE(fire(of<ocf_result_cb>(), 42));
    EXPECT_TRUE(fire(of<easy_setup_device_conf_cb>(), sample<device_conf_s>()));
    EXPECT_TRUE(fire(of<monitor_enrollee_sign_in_cb>(), true));
    EXPECT_TRUE(fire(of<easy_setup_enrollee_state_cb>(), 42, 42));
    EXPECT_TRUE(fire(of<easy_setup_enrollee_owned_cb>(), true));
    EXPECT_TRUE(fire(of<easy_setup_init_cb>(), 42));
    EXPECT_TRUE(fire(of<group_result_cb>(), "words", "words", 42));
    EXPECT_TRUE(fire(of<third_party_notification_status_cb>(), 42, true, two<std::string>(), 42));
    EXPECT_TRUE(fire(of<third_party_notification_status_updated_cb>()));
    EXPECT_TRUE(fire(of<server_sent_event_cb>(), 42, 42, "words"));
    EXPECT_TRUE(fire(of<easy_setup_prov_info_cb>(), sample<easy_setup_prov_info_s>()));

    const auto sent = app.callbacks();
    ASSERT_EQ(sent.size(), 38U);
    for (std::size_t i = 0; i < sent.size(); ++i) {
        const catalogue::Delegate& delegate = catalogue::qv_client.delegates[i];
        Values parameters;
        for (const catalogue::Parameter& parameter : delegate.parameters)
            parameters.add(value(parameter.type, false));
        EXPECT_EQ(sent[i], scripted::callback(delegate.id, 3, delegate.is_once, parameters)) << delegate.name;
    }
}

}  // namespace
}  // namespace quorvel::stub
