// The 38 delegates: what is sent of them, how a callback finds them, and when they end.
#include <atomic>
#include <cstddef>
#include <cstdio>
#include <functional>
#include <memory>
#include <thread>

#include "proxy_catalogue.hpp"

namespace catalogue {
namespace {

using scripted::agent;
using scripted::callback;
using scripted::clear_log;
using scripted::delegate;
using scripted::errors;
using scripted::HasLine;
using scripted::Lines;
using scripted::log;
using scripted::platform;
using scripted::proxy_error;
using scripted::proxy_info;
using scripted::proxy_warning;

// Registers a delegate with a method that takes it. The agent answers 0.
template <typename Tag>
int send(rpc_port_proxy_qv_client_h proxy, typename Tag::Handle h);

#define SENT_WITH(delegate_name, method, ...)                                                 \
    template <>                                                                               \
    int send<delegate_name>(rpc_port_proxy_qv_client_h proxy, delegate_name::Handle h)        \
    {                                                                                         \
        agent().answer_next_with(0);                                                          \
        return rpc_port_proxy_qv_client_invoke_##method(proxy __VA_OPT__(, ) __VA_ARGS__, h); \
    }

SENT_WITH(sign_in_state_cb, set_sign_in_state_cb)
SENT_WITH(device_list_cb, set_device_list_cb)
SENT_WITH(device_detail_list_cb, set_device_detail_list_cb)
SENT_WITH(group_list_cb, set_group_list_cb)
SENT_WITH(scene_list_cb, set_scene_list_cb)
SENT_WITH(scene_cb, remove_scene, "scene")
SENT_WITH(subscribe_cb, subscribe, "device", "uri", "key")
SENT_WITH(start_monitoring_network_state_cb, start_monitoring_network_state, "device", "key")
SENT_WITH(remote_representation_cb, get_remote_representation, "a", "b", "c", "d")
SENT_WITH(remote_attributes_cb, get_remote_attributes, "a", "b", "c", "d")
SENT_WITH(activate_vxr_migration_cb, activate_vxr_migration)
SENT_WITH(get_vxr_device_token_cb, get_vxr_device_token)
SENT_WITH(set_third_party_notification_cb, set_third_party_notification, "a", "b", "c", "d")
SENT_WITH(ui_metadata_cb, set_ui_metadata_cb)
SENT_WITH(notification_cb, set_notification_cb)
SENT_WITH(file_transfer_data_cb, get_file_transfer_data, "a", "b", "c")
SENT_WITH(get_vxr_device_peer_token_cb, get_vxr_device_peer_token, "device")
SENT_WITH(get_accessory_list_cb, get_accessory_list)
SENT_WITH(device_result_cb, remove_device, "device")
SENT_WITH(easy_setup_otm_support_feature_cb, set_easy_setup_otm_support_feature_cb)
SENT_WITH(easy_setup_random_pin_cb, set_easy_setup_random_pin_cb)
SENT_WITH(easy_setup_result_cb, send_easy_setup_log, "line")
SENT_WITH(easy_setup_state_cb, set_easy_setup_state_cb)
SENT_WITH(access_point_list_cb, get_access_point_list)
SENT_WITH(ocf_result_cb, send_reset_provisioning_info)
SENT_WITH(easy_setup_device_conf_cb, get_easy_setup_device_conf)
SENT_WITH(monitor_enrollee_sign_in_cb, monitor_enrollee_sign_in)
SENT_WITH(easy_setup_enrollee_state_cb, set_easy_setup_enrollee_state_cb)
SENT_WITH(easy_setup_enrollee_owned_cb, set_easy_setup_enrollee_owned_cb)
SENT_WITH(easy_setup_init_cb, init_easy_setup, 0)
SENT_WITH(group_result_cb, remove_group, "group", "type")
SENT_WITH(third_party_notification_status_cb, get_third_party_notification_status)
SENT_WITH(third_party_notification_status_updated_cb, set_third_party_notification_status_updated_cb)
SENT_WITH(server_sent_event_cb, set_server_sent_event, 0)
SENT_WITH(easy_setup_prov_info_cb, set_easy_setup_prov_info_cb)
#undef SENT_WITH

// No method takes these three. The records of all types have one form, and a method takes any by it.
#define SENT_WITH_ANOTHERS_METHOD(delegate_name)                                             \
    template <>                                                                              \
    int send<delegate_name>(rpc_port_proxy_qv_client_h proxy, delegate_name::Handle h)       \
    {                                                                                        \
        return send<sign_in_state_cb>(proxy, reinterpret_cast<sign_in_state_cb::Handle>(h)); \
    }

SENT_WITH_ANOTHERS_METHOD(device_cb)
SENT_WITH_ANOTHERS_METHOD(device_detail_cb)
SENT_WITH_ANOTHERS_METHOD(group_cb)
#undef SENT_WITH_ANOTHERS_METHOD

// One delegate type; its handle goes as a void pointer, so that all types stand in one table.
struct Delegate {
    int id;
    std::string name;
    Values parameters;  // of a callback, in the order of the table
    std::function<void*(bool once, void* user_data)> create;
    std::function<int(rpc_port_proxy_qv_client_h, void*)> send;  // registers it with a method
    std::function<int(void*)> destroy;
    std::function<int(rpc_port_proxy_qv_client_h, void*)> dispose;
    std::function<void(rpc_port_parcel_h, void*)> to;
    std::function<void(rpc_port_parcel_h, void*)> from;
    std::function<void(GList**, rpc_port_parcel_h, int, int)> dispatch;
    // The told fields.
    struct View {
        int id;
        int seq_id;
        bool once;
        void* user_data;
    };
    std::function<View(void*)> view;

    std::string create_name() const { return "rpc_port_qv_client_" + name + "_create"; }
    std::string dispose_name() const { return "rpc_port_proxy_qv_client_" + name + "_dispose"; }
    std::string to_name() const { return "__qv_client_" + name + "_to"; }
    std::string from_name() const { return "__qv_client_" + name + "_from"; }
    std::string dispatch_name() const { return "__qv_client_delegate_" + name; }
};

std::ostream& operator<<(std::ostream& out, const Delegate& type)
{
    return out << type.name;
}

template <typename Tag>
Delegate row()
{
    using Handle = typename Tag::Handle;
    using Record = std::remove_pointer_t<Handle>;
    // Programs read these fields; their order and places are part of the interface.
    static_assert(offsetof(Record, parcelable) == 0);
    static_assert(offsetof(Record, id) == 2 * sizeof(void*));
    static_assert(offsetof(Record, seq_id) == offsetof(Record, id) + sizeof(int));
    static_assert(offsetof(Record, callback) == 3 * sizeof(void*));
    static_assert(offsetof(Record, once) == 4 * sizeof(void*));
    static_assert(offsetof(Record, user_data) == 5 * sizeof(void*));

    const auto typed = [](void* h) { return static_cast<Handle>(h); };
    return {Tag::id,
            Tag::name,
            Wire<Tag>::parameters(),
            [](bool once, void* user_data) -> void* {
                return Tag::create(Wire<Tag>::record_call, once, user_data);
            },
            [typed](rpc_port_proxy_qv_client_h proxy, void* h) { return send<Tag>(proxy, typed(h)); },
            [typed](void* h) { return Tag::destroy(typed(h)); },
            [typed](rpc_port_proxy_qv_client_h proxy, void* h) { return Tag::dispose(proxy, typed(h)); },
            Tag::to,
            Tag::from,
            Tag::dispatch,
            [typed](void* h) -> Delegate::View {
                return {typed(h)->id, typed(h)->seq_id, typed(h)->once, typed(h)->user_data};
            }};
}

template <typename... Tags>
std::vector<Delegate> rows(TagList<Tags...>)
{
    return {row<Tags>()...};
}

// The handlers are given a list by its address, and any list of delegate records will do: "list" is made by
// hand. The proxy's own is filled by methods only.
class EveryDelegate : public ConnectedProxy, public testing::WithParamInterface<Delegate> {
protected:
    const Delegate& type = GetParam();
    int user = 0;
    GList* list = nullptr;

    void* listed(bool once)
    {
        void* h = type.create(once, &user);
        list = g_list_append(list, h);
        return h;
    }
    void* registered(bool once)
    {
        void* h = type.create(once, &user);
        EXPECT_EQ(type.send(proxy, h), 0);
        return h;
    }
    // What a received event does after it has read the head of the parcel.
    void dispatch(int seq_id, int id, const Values& parameters)
    {
        rpc_port_parcel_h parcel = scripted::make_parcel(parameters);
        type.dispatch(&list, parcel, seq_id, id);
        rpc_port_parcel_destroy(parcel);
    }
    void TearDown() override
    {
        for (GList* each = list; each != nullptr; each = each->next) {
            type.destroy(each->data);
        }
        g_list_free(list);
        ConnectedProxy::TearDown();
    }
};

TEST_P(EveryDelegate, IsNumberedFromOneUpwardsWithinItsType)
{
    for (int seq_id = 1; seq_id <= 3; ++seq_id) {
        clear_log();
        void* h = type.create(seq_id == 2, &user);
        ASSERT_NE(h, nullptr);
        const Delegate::View view = type.view(h);
        EXPECT_EQ(view.id, type.id);
        EXPECT_EQ(view.seq_id, seq_id);
        EXPECT_EQ(view.once, seq_id == 2);
        EXPECT_EQ(view.user_data, &user);
        EXPECT_THAT(log(),
                    HasLine(proxy_info(type.create_name(), "id(" + std::to_string(type.id) + "), seq_id("
                                                               + std::to_string(seq_id) + ")")));
        type.destroy(h);
    }
}

TEST_P(EveryDelegate, GoesOverTheWireAsIdNumberAndOnce)
{
    void* h = type.create(true, &user);
    rpc_port_parcel_h parcel = scripted::make_parcel({});
    clear_log();
    type.to(parcel, h);
    EXPECT_EQ(scripted::contents(parcel), delegate(type.id, 1, true));
    const std::string id = "id(" + std::to_string(type.id) + "), seq_id(1), once(true)";
    EXPECT_THAT(log(), HasLine(proxy_info(type.to_name(), id)));
    rpc_port_parcel_destroy(parcel);
    type.destroy(h);
}

TEST_P(EveryDelegate, IsReadBackFromTheWire)
{
    void* h = type.create(true, &user);
    rpc_port_parcel_h parcel = scripted::make_parcel(delegate(99, 123, false));
    clear_log();
    type.from(parcel, h);
    EXPECT_EQ(type.view(h).id, 99);
    EXPECT_EQ(type.view(h).seq_id, 123);
    EXPECT_FALSE(type.view(h).once);
    EXPECT_THAT(log(), HasLine(proxy_info(type.from_name(), "id(99), seq_id(123), once(false)")));
    rpc_port_parcel_destroy(parcel);
    type.destroy(h);
}

TEST_P(EveryDelegate, WritesAndReadsNothingWhereThereIsNone)
{
    rpc_port_parcel_h parcel = scripted::make_parcel(delegate(1, 2, true));
    clear_log();
    type.to(parcel, nullptr);
    type.from(parcel, nullptr);
    EXPECT_EQ(scripted::unread(parcel), 3);
    EXPECT_EQ(scripted::contents(parcel).size(), 3U);
    EXPECT_THAT(errors(), Lines(proxy_error(type.to_name(), "Invalid parameter"),
                                proxy_error(type.from_name(), "Invalid parameter")));
    rpc_port_parcel_destroy(parcel);
}

TEST_P(EveryDelegate, IsToldTheUserDataAndTheParametersInTheOrderOfTheTable)
{
    listed(false);
    clear_log();
    dispatch(1, type.id, type.parameters);
    ASSERT_EQ(calls().size(), 1U);
    EXPECT_EQ(calls()[0].user_data, &user);
    EXPECT_EQ(calls()[0].parameters, type.parameters);
    EXPECT_THAT(log(), HasLine(proxy_warning(type.dispatch_name(),
                                             "Invoke id(" + std::to_string(type.id) + "), seq_id(1)")));
    EXPECT_THAT(log(), scripted::HasNoText("Dispose"));
}

TEST_P(EveryDelegate, IsHeardThroughTheReceivedEvent)
{
    registered(false);
    clear_log();
    agent().fire(type.id, 1, true, type.parameters);
    ASSERT_EQ(calls().size(), 1U);
    EXPECT_EQ(calls()[0].parameters, type.parameters);
    agent().fire(type.id, 1, true, type.parameters);
    EXPECT_EQ(calls().size(), 2U) << "that the agent says once does not make it so";
    const auto head = scripted::log_at(DLOG_WARN);
    ASSERT_FALSE(head.empty());
    EXPECT_EQ(head[0].text, "id(" + std::to_string(type.id) + "), seq_id(1)");
}

TEST_P(EveryDelegate, MadeForOneCallEndsWithItWhateverTheAgentSays)
{
    listed(true);
    clear_log();
    dispatch(1, type.id, type.parameters);
    EXPECT_EQ(calls().size(), 1U);
    EXPECT_EQ(list, nullptr);
    EXPECT_THAT(log(), HasLine(proxy_warning(type.dispatch_name(), "Dispose")));
    dispatch(1, type.id, type.parameters);
    EXPECT_EQ(calls().size(), 1U) << "there is none any more";
}

TEST_P(EveryDelegate, WithAnotherNumberOrTypeIsNotCalledAndNothingIsLogged)
{
    listed(true);
    clear_log();
    const scripted::Live before = scripted::live();
    dispatch(2, type.id, type.parameters);
    dispatch(1, type.id + 1, type.parameters);
    EXPECT_TRUE(calls().empty());
    EXPECT_THAT(log(), testing::IsEmpty());
    EXPECT_EQ(scripted::live(), before) << "the parameters were freed";
    EXPECT_NE(list, nullptr);
}

TEST_P(EveryDelegate, IsFoundByTheFirstOfTwoEntries)
{
    void* h = listed(false);
    list = g_list_append(list, h);
    dispatch(1, type.id, type.parameters);
    EXPECT_EQ(calls().size(), 1U);
    list = g_list_remove(list, h);
}

TEST_P(EveryDelegate, SurvivesACallbackParcelThatEndsEarly)
{
    listed(false);
    const scripted::Live before = scripted::live();
    for (std::size_t length = 0; length < type.parameters.size(); ++length) {
        dispatch(1, type.id, type.parameters.first(length));
    }
    EXPECT_EQ(scripted::live(), before);
}

TEST_P(EveryDelegate, DisposedOfIsUnlinkedAndFreed)
{
    void* h = registered(false);
    clear_log();
    EXPECT_EQ(type.dispose(proxy, h), 0);
    EXPECT_EQ(proxy->delegates, nullptr);
    EXPECT_THAT(log(), Lines(proxy_info(type.dispose_name(),
                                        "id(" + std::to_string(type.id) + "), seq_id(1), once(false)")));
    agent().fire(type.id, 1, false, type.parameters);
    EXPECT_TRUE(calls().empty());
}

TEST_P(EveryDelegate, ThatIsNotInTheListIsNotDisposedOf)
{
    void* h = type.create(true, &user);
    clear_log();
    EXPECT_EQ(type.dispose(proxy, h), -1);
    EXPECT_EQ(type.view(h).seq_id, 1) << "it is still there";
    EXPECT_THAT(errors(), testing::IsEmpty());
    EXPECT_EQ(type.destroy(h), 0);
}

TEST_P(EveryDelegate, CannotBeDisposedOfWithoutAHandle)
{
    void* h = type.create(false, &user);
    clear_log();
    EXPECT_EQ(type.dispose(nullptr, h), -1);
    EXPECT_EQ(type.dispose(proxy, nullptr), -1);
    ASSERT_EQ(errors().size(), 2U);
    void* const none = nullptr;
    char expected[100];
    std::snprintf(expected, sizeof expected, "Invalid handle %p %p", none, h);
    EXPECT_EQ(errors()[0], proxy_error(type.dispose_name(), expected));
    std::snprintf(expected, sizeof expected, "Invalid handle %p %p", static_cast<void*>(proxy), none);
    EXPECT_EQ(errors()[1], proxy_error(type.dispose_name(), expected));
    type.destroy(h);
}

TEST_P(EveryDelegate, LeftInTheListEndsWithTheProxyAndIsNotCalled)
{
    registered(false);
    registered(true);
    EXPECT_EQ(rpc_port_proxy_qv_client_destroy(proxy), 0);
    proxy = nullptr;
    EXPECT_TRUE(calls().empty());
}

INSTANTIATE_TEST_SUITE_P(Table, EveryDelegate, testing::ValuesIn(rows(AllDelegates{})),
                         [](const auto& tested) { return tested.param.name; });

TEST(DelegateTable, HoldsThirtyEightTypesNumberedFrom1)
{
    const std::vector<Delegate> all = rows(AllDelegates{});
    ASSERT_EQ(all.size(), 38U);
    for (int id = 1; id <= 38; ++id) {
        EXPECT_EQ(all[static_cast<std::size_t>(id - 1)].id, id);
    }
}

// ---------------------------------------------------------------------------------------------------------
// What a callback may do

class Dispatch : public ConnectedProxy {
protected:
    // Registers a ui_metadata delegate whose callback runs what the test gives.
    using Body = std::function<void()>;
    rpc_port_qv_client_ui_metadata_cb_h on_metadata(bool once, Body body)
    {
        bodies.push_back(std::make_unique<Body>(std::move(body)));
        auto h = rpc_port_qv_client_ui_metadata_cb_create(
            [](void* user_data, const char*, const char*) { (*static_cast<Body*>(user_data))(); }, once,
            bodies.back().get());
        EXPECT_EQ(send<ui_metadata_cb>(proxy, h), 0);
        return h;
    }
    static void fire(int seq_id) { agent().fire(17, seq_id, false, {text("vid"), text("metadata")}); }

    std::vector<std::unique_ptr<Body>> bodies;
    int called = 0;
};

TEST_F(Dispatch, TellsApartTwoTypesWithTheSameNumber)
{
    auto first = rpc_port_qv_client_sign_in_state_cb_create(
        [](void* user_data, const char*) { *static_cast<int*>(user_data) += 100; }, false, &called);
    ASSERT_EQ(send<sign_in_state_cb>(proxy, first), 0);
    auto second = on_metadata(false, [this] { ++called; });
    ASSERT_EQ(first->seq_id, second->seq_id);
    fire(1);
    EXPECT_EQ(called, 1);
    agent().fire(1, 1, false, {text("TRUE")});
    EXPECT_EQ(called, 101);
}

TEST_F(Dispatch, KeepsTwoEntriesOfADelegateThatWasSentTwice)
{
    auto h = on_metadata(false, [this] { ++called; });
    ASSERT_EQ(send<ui_metadata_cb>(proxy, h), 0);
    EXPECT_EQ(g_list_length(proxy->delegates), 2U);
    fire(1);
    EXPECT_EQ(called, 1) << "the first entry is the one that is called";
}

TEST_F(Dispatch, AppendsToTheEnd)
{
    auto first = on_metadata(false, [] {});
    auto second = on_metadata(false, [] {});
    ASSERT_EQ(g_list_length(proxy->delegates), 2U);
    EXPECT_EQ(g_list_nth_data(proxy->delegates, 0), first);
    EXPECT_EQ(g_list_nth_data(proxy->delegates, 1), second);
}

TEST_F(Dispatch, LogsAnUnknownTypeAndDropsTheParcel)
{
    for (const int id : {0, 39, -1, 1 << 30}) {
        clear_log();
        agent().fire(id, 1);
        EXPECT_THAT(errors(), testing::ElementsAre(testing::Field("text", &scripted::LogLine::text,
                                                                  "Unknown id(" + std::to_string(id) + ")")));
    }
}

TEST_F(Dispatch, LogsIdAndNumberOfEveryParcelAsAWarning)
{
    fire(5);
    EXPECT_THAT(scripted::log_at(DLOG_WARN),
                testing::ElementsAre(testing::Field("text", &scripted::LogLine::text, "id(17), seq_id(5)")));
}

TEST_F(Dispatch, LeavesADelegateWhoseMethodFailedInTheList)
{
    auto h = rpc_port_qv_client_ui_metadata_cb_create(
        [](void* user_data, const char*, const char*) { ++*static_cast<int*>(user_data); }, false, &called);
    agent().answer_next_with(-22);
    EXPECT_EQ(rpc_port_proxy_qv_client_invoke_set_ui_metadata_cb(proxy, h), -22);
    fire(1);
    EXPECT_EQ(called, 1);
}

TEST_F(Dispatch, LetsACallbackDisposeOfItself)
{
    rpc_port_qv_client_ui_metadata_cb_h h = nullptr;
    h = on_metadata(false, [&] {
        ++called;
        EXPECT_EQ(rpc_port_proxy_qv_client_ui_metadata_cb_dispose(proxy, h), 0);
    });
    fire(1);
    fire(1);
    EXPECT_EQ(called, 1);
    EXPECT_EQ(proxy->delegates, nullptr);
}

TEST_F(Dispatch, LetsACallbackOfOneCallDisposeOfItselfFirst)
{
    rpc_port_qv_client_ui_metadata_cb_h h = nullptr;
    h = on_metadata(true, [&] {
        ++called;
        EXPECT_EQ(rpc_port_proxy_qv_client_ui_metadata_cb_dispose(proxy, h), 0);
        clear_log();
    });
    fire(1);
    EXPECT_EQ(called, 1);
    EXPECT_THAT(log(), scripted::HasNoText("Dispose")) << "it was disposed of already";
    EXPECT_EQ(proxy->delegates, nullptr);
}

TEST_F(Dispatch, LetsACallbackDisposeOfAllOthers)
{
    std::vector<rpc_port_qv_client_ui_metadata_cb_h> others;
    others.push_back(on_metadata(false, [] { ADD_FAILURE(); }));
    on_metadata(false, [&] {
        ++called;
        for (auto each : others) {
            EXPECT_EQ(rpc_port_proxy_qv_client_ui_metadata_cb_dispose(proxy, each), 0);
        }
        others.clear();
    });
    others.push_back(on_metadata(false, [] { ADD_FAILURE(); }));
    fire(2);
    fire(1);
    fire(3);
    EXPECT_EQ(called, 1);
    EXPECT_EQ(g_list_length(proxy->delegates), 1U);
}

TEST_F(Dispatch, LetsACallbackReplaceItself)
{
    rpc_port_qv_client_ui_metadata_cb_h h = nullptr;
    h = on_metadata(false, [&] {
        EXPECT_EQ(rpc_port_proxy_qv_client_ui_metadata_cb_dispose(proxy, h), 0);
        h = on_metadata(false, [this] { called += 10; });
    });
    fire(1);
    fire(1);
    fire(2);
    EXPECT_EQ(called, 10);
}

TEST_F(Dispatch, LetsACallbackCallAMethod)
{
    on_metadata(true, [this] {
        char* state = nullptr;
        agent().answer_next_with(0, {text("TRUE")});
        EXPECT_EQ(rpc_port_proxy_qv_client_invoke_is_signed_in(proxy, &state), 0);
        EXPECT_STREQ(state, "TRUE");
        std::free(state);
        ++called;
    });
    fire(1);
    EXPECT_EQ(called, 1);
}

TEST_F(Dispatch, GivesASecondParcelForADelegateOfOneCallToNobodyWhileTheFirstRuns)
{
    on_metadata(true, [this] {
        if (++called < 5) {
            fire(1);
        }
    });
    fire(1);
    EXPECT_EQ(called, 1);
}

TEST_F(Dispatch, LetsACallbackDestroyTheProxy)
{
    on_metadata(false, [this] {
        ++called;
        EXPECT_EQ(rpc_port_proxy_qv_client_destroy(proxy), 0);
        proxy = nullptr;
    });
    on_metadata(false, [] { ADD_FAILURE(); });
    agent().post(17, 1, false, {text("vid"), text("metadata")});
    agent().post(17, 2, false, {text("vid"), text("metadata")});
    agent().run_events();
    EXPECT_EQ(called, 1);
}

TEST_F(Dispatch, LetsACallbackOfOneCallDestroyTheProxy)
{
    on_metadata(true, [this] {
        ++called;
        EXPECT_EQ(rpc_port_proxy_qv_client_destroy(proxy), 0);
        proxy = nullptr;
    });
    fire(1);
    EXPECT_EQ(called, 1);
}

TEST_F(Dispatch, LetsAnExceptionOfTheApplicationPassAndStaysWhole)
{
    auto throwing = on_metadata(true, [] { throw 17; });
    EXPECT_THROW(fire(1), int);
    (void)throwing;
    on_metadata(false, [this] { ++called; });
    fire(2);
    EXPECT_EQ(called, 1);
}

TEST_F(Dispatch, UnlinksADelegateThatIsDestroyedWhileItIsListed)
{
    auto h = on_metadata(false, [] { ADD_FAILURE(); });
    EXPECT_EQ(rpc_port_qv_client_ui_metadata_cb_destroy(h), 0);
    EXPECT_EQ(proxy->delegates, nullptr);
    fire(1);
}

TEST_F(Dispatch, RemovesEveryEntryOfADelegateThatIsDestroyed)
{
    auto h = on_metadata(false, [] { ADD_FAILURE(); });
    ASSERT_EQ(send<ui_metadata_cb>(proxy, h), 0);
    EXPECT_EQ(rpc_port_qv_client_ui_metadata_cb_destroy(h), 0);
    EXPECT_EQ(proxy->delegates, nullptr);
}

TEST_F(Dispatch, FindsOneAmongManyByItsNumber)
{
    constexpr int many = 2000;
    for (int i = 0; i < many; ++i) {
        on_metadata(false, [this, i] { called = i + 1; });
    }
    for (const int seq_id : {1, many / 2, many}) {
        fire(seq_id);
        EXPECT_EQ(called, seq_id);
    }
}

// Numbers begin anew after four billion delegates; reading a name from the wire stands for that here.
TEST_F(Dispatch, CallsTheFirstInTheListOfTwoThatGoByTheSameNumber)
{
    constexpr int many = 40;  // enough for the places of all to be found anew
    std::vector<rpc_port_qv_client_ui_metadata_cb_h> handles;
    for (int i = 1; i <= many; ++i)
        handles.push_back(on_metadata(false, [this, i] { called = i; }));
    const auto rename = [&](int which, int seq_id) {
        rpc_port_parcel_h name = scripted::make_parcel(delegate(17, seq_id, false));
        __qv_client_ui_metadata_cb_from(name, handles[static_cast<std::size_t>(which - 1)]);
        rpc_port_parcel_destroy(name);
    };
    rename(3, 2);
    fire(2);
    EXPECT_EQ(called, 2) << "the later one has taken the number of the earlier one";
    rename(5, 6);
    fire(6);
    EXPECT_EQ(called, 5) << "the earlier one has taken the number of the later one";
    for (int i = 0; i < many; ++i)
        on_metadata(false, [] { ADD_FAILURE(); });
    fire(2);
    EXPECT_EQ(called, 2);
    EXPECT_EQ(rpc_port_qv_client_ui_metadata_cb_destroy(handles[1]), 0);
    fire(2);
    EXPECT_EQ(called, 3) << "now it is the first";
}

TEST_F(Dispatch, NumbersDelegatesAlthoughManyThreadsMakeThem)
{
    constexpr int threads = 8;
    constexpr int each_makes = 500;
    std::vector<std::vector<int>> numbers(threads);
    std::vector<std::thread> running;
    for (auto& mine : numbers) {
        running.emplace_back([&mine] {
            for (int i = 0; i < each_makes; ++i) {
                auto h = rpc_port_qv_client_scene_cb_create(nullptr, true, nullptr);
                mine.push_back(h->seq_id);
                rpc_port_qv_client_scene_cb_destroy(h);
            }
        });
    }
    for (std::thread& thread : running) {
        thread.join();
    }
    std::vector<bool> seen(threads * each_makes + 1, false);
    for (const auto& mine : numbers) {
        for (const int number : mine) {
            ASSERT_GE(number, 1);
            ASSERT_LE(number, threads * each_makes);
            EXPECT_FALSE(seen[static_cast<std::size_t>(number)]) << number;
            seen[static_cast<std::size_t>(number)] = true;
        }
    }
}

// Registrations on some threads, events on this one.
TEST_F(Dispatch, MayRunWhileOtherThreadsRegisterAndDispose)
{
    constexpr int threads = 4;
    constexpr int rounds = 300;
    scripted::keep_log(false);
    agent().otherwise_answer(0);
    std::atomic<int> running{threads};
    std::vector<std::thread> workers;
    for (int i = 0; i < threads; ++i) {
        workers.emplace_back([&] {
            for (int round = 0; round < rounds; ++round) {
                auto h = rpc_port_qv_client_ui_metadata_cb_create([](void*, const char*, const char*) {},
                                                                  false, nullptr);
                EXPECT_EQ(rpc_port_proxy_qv_client_invoke_set_ui_metadata_cb(proxy, h), 0);
                EXPECT_EQ(rpc_port_proxy_qv_client_ui_metadata_cb_dispose(proxy, h), 0);
            }
            --running;
        });
    }
    for (int seq_id = 1; running > 0; ++seq_id) {
        fire(seq_id % (threads * rounds));
    }
    for (std::thread& worker : workers) {
        worker.join();
    }
    EXPECT_EQ(proxy->delegates, nullptr);
}

}  // namespace
}  // namespace catalogue
