// Scenes: quorvel_client_scene.cpp over the scripted platform.
#include <quorvel_client_scene.h>

#include "api_contract.hpp"
#include "callback_contract.hpp"
#include "connected_client.hpp"
#include "home_values.hpp"

extern "C" {
void _scene_list_cb(void* user_data, const char* event, rpc_port_array_scene_s_h scenes, int extra);
void _scene_result_cb(void* request, const char* scene_id, const char* scene, const char* third,
                      const char* fourth, int result);
}

namespace scripted {
namespace {

using Scene = OwnedRecord<rpc_port_scene_s_h>;
using Scenes = OwnedRecords<rpc_port_scene_s_h>;

constexpr auto source = "quorvel_client_scene";
constexpr int invalid_parameter = -22;

LogLine error(const char* function, const std::string& text)
{
    return qc_error(source, function, text);
}

void hear_list(int, quorvel_client_scene_h* list, int count, const char*, void* heard)
{
    const Scenes scenes{rpc_port_scene_s_destroy, list, count};
    static_cast<Heard*>(heard)->hear();
}

void hear_result(int, const char*, const char*, const char*, void* heard)
{
    static_cast<Heard*>(heard)->hear();
}

using Command = int (*)(quorvel_client_h, quorvel_client_scene_result_cb, void*);

int run(quorvel_client_h client, quorvel_client_scene_result_cb cb, void* user_data)
{
    return quorvel_client_do_scene(client, "s1", cb, user_data);
}

int add(quorvel_client_h client, quorvel_client_scene_result_cb cb, void* user_data)
{
    return quorvel_client_add_scene(client, "g1", "{body}", cb, user_data);
}

int remove(quorvel_client_h client, quorvel_client_scene_result_cb cb, void* user_data)
{
    return quorvel_client_remove_scene(client, "s1", cb, user_data);
}

int update(quorvel_client_h client, quorvel_client_scene_result_cb cb, void* user_data)
{
    return quorvel_client_update_scene(client, "s1", "{body}", cb, user_data);
}

Contract::Call called(Command command)
{
    return [command](auto client) { return command(client, nullptr, nullptr); };
}

OneAnswer answer_to(const char* function, Command command)
{
    return OneAnswer(function, source)
        .command([command](auto client, bool with_callback, Heard& heard) {
            return command(client, with_callback ? hear_result : nullptr, &heard);
        })
        .answered(9, {text("s1"), text("{body}"), text("third"), text("fourth"), i32(5)},
                  "rpc_port_qv_client_scene_cb_create");
}

const auto with_scene = [](auto function) {
    return with_record(rpc_port_scene_s_create, rpc_port_scene_s_destroy, function);
};

[[maybe_unused]] const bool contracts = register_contracts(
    source, {
                Contract("quorvel_client_get_scene_list", {1, 0},
                         [](auto client) {
                             Scenes scenes{rpc_port_scene_s_destroy};
                             return quorvel_client_get_scene_list(client, scenes, scenes);
                         })
                    .asks(24, "get_scene_list", {count(0), i32(0)}),
                Contract("quorvel_client_get_scene", {1, 0},
                         [](auto client) {
                             return quorvel_client_get_scene(client, "s1", Scene{rpc_port_scene_s_destroy});
                         })
                    .asks(23, "get_scene", SceneValues{}.on_the_wire()),
                Contract::local("quorvel_client_scene_destroy", {1, 0},
                                destroys(rpc_port_scene_s_create, rpc_port_scene_s_destroy,
                                         quorvel_client_scene_destroy)),
                Contract::local("quorvel_client_scene_get_string", {1, 0}, with_scene([](auto scene) {
                                    return quorvel_client_scene_get_string(scene, 0, OwnedText{});
                                })),
                Contract("quorvel_client_set_scene_list_updated_cb", {1, 0},
                         [](auto client) {
                             return quorvel_client_set_scene_list_updated_cb(client, hear_list, nullptr);
                         })
                    .asks(21, "set_scene_list_cb"),
                Contract("quorvel_client_unset_scene_list_updated_cb", {1, 0},
                         quorvel_client_unset_scene_list_updated_cb)
                    .asks(22, "unset_scene_list_cb"),
                Contract("quorvel_client_do_scene", {1, 0}, called(run)).asks(26, "do_scene"),
                Contract("quorvel_client_add_scene", {1, 6}, called(add)).asks(84, "add_scene"),
                // A refusal is reported as one of adding, which is meant so.
                Contract("quorvel_client_remove_scene", {1, 6}, called(remove)).asks(85, "add_scene"),
                Contract("quorvel_client_update_scene", {1, 6}, called(update)).asks(86, "update_scene"),
            });

[[maybe_unused]] const bool repeating_callbacks = register_callbacks({
    RepeatingCallback("quorvel_client_set_scene_list_updated_cb", source)
        .set([](auto client, Heard& heard) {
            return quorvel_client_set_scene_list_updated_cb(client, hear_list, &heard);
        })
        .unset(quorvel_client_unset_scene_list_updated_cb)
        .speaks(21, 22, 8, {text("add_scene"), list_of<SceneValues>({{.id = "s1"}}), i32(0)}),
});

[[maybe_unused]] const bool answers = register_callbacks({
    answer_to("quorvel_client_do_scene", run),
    answer_to("quorvel_client_add_scene", add),
    answer_to("quorvel_client_remove_scene", remove),
    answer_to("quorvel_client_update_scene", update),
});

class SceneTest : public ConnectedClient {
protected:
    // A scene as an application gets one: out of the list.
    void* received(const SceneValues& values)
    {
        agent().answer_next_with(0, {list_of<SceneValues>({values}), i32(0)});
        void** list = nullptr;
        int count = 0;
        EXPECT_EQ(quorvel_client_get_scene_list(client, &list, &count), 0);
        void* const scene = list[0];
        std::free(list);
        forget();
        return scene;
    }

    std::string text_of(const SceneValues& values, int id)
    {
        const Scene scene{rpc_port_scene_s_destroy, received(values)};
        char preset[] = "preset";
        char* value = preset;
        EXPECT_EQ(quorvel_client_scene_get_string(scene.get(), id, &value), 0);
        EXPECT_NE(value, preset);
        const std::string read = value != nullptr ? value : "(null)";
        std::free(value);
        return read;
    }
};

// ---------------------------------------------------------------------------------------------------------
// The list and one scene

TEST_F(SceneTest, ListIsHandedOutWithItsCount)
{
    agent().answer_next_with(0, {list_of<SceneValues>({{"s1", "one"}, {"s2", "two"}}), i32(99)});
    Scenes scenes{rpc_port_scene_s_destroy};
    EXPECT_EQ(quorvel_client_get_scene_list(client, scenes, scenes), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(24)}));
    ASSERT_EQ(scenes.count(), 2);
    EXPECT_EQ(scenes.list()[2], nullptr) << "one more slot ends the vector";
    OwnedText id, body;
    quorvel_client_scene_get_string(scenes.list()[0], 0, id);
    quorvel_client_scene_get_string(scenes.list()[1], 1, body);
    EXPECT_STREQ(id.get(), "s1");
    EXPECT_STREQ(body.get(), "two");
}

TEST_F(SceneTest, ListOfNoScenesIsNullAndZero)
{
    void* preset = nullptr;
    void** list = &preset;
    int number = 5;
    agent().answer_next_with(0, {count(0), i32(0)});
    EXPECT_EQ(quorvel_client_get_scene_list(client, &list, &number), 0);
    EXPECT_EQ(list, nullptr);
    EXPECT_EQ(number, 0);
}

TEST_F(SceneTest, ListBlamesAMissingOutPointerBeforeTheProxy)
{
    void*& proxy = *static_cast<void**>(client);
    void* const taken = std::exchange(proxy, nullptr);
    void** list = nullptr;
    int number = 0;
    EXPECT_EQ(quorvel_client_get_scene_list(client, nullptr, &number), invalid_parameter);
    EXPECT_EQ(quorvel_client_get_scene_list(client, &list, nullptr), invalid_parameter);
    proxy = taken;
    const auto line = error("quorvel_client_get_scene_list", "invalid parameter");
    EXPECT_THAT(errors(), Lines(line, line));
}

TEST_F(SceneTest, ListLeavesTheOutValuesAloneWhenTheAgentRefuses)
{
    void* preset = nullptr;
    void** list = &preset;
    int number = 5;
    agent().answer_next_with(-61, {list_of<SceneValues>({{"s1", "one"}}), i32(0)});
    EXPECT_EQ(quorvel_client_get_scene_list(client, &list, &number), -61);
    EXPECT_EQ(list, &preset);
    EXPECT_EQ(number, 5);
}

TEST_F(SceneTest, GettingOneSucceedsAndLeavesTheCallersVariableAsItWas)
{
    void* scene = this;
    agent().answer_next_with(0, {text("s1"), text("{body}")});
    EXPECT_EQ(quorvel_client_get_scene(client, "s1", &scene), 0);
    EXPECT_EQ(agent().request(), (Sent{i32(23), text("s1")}));
    EXPECT_EQ(scene, this);
}

TEST_F(SceneTest, GettingOneThatIsRefusedLeavesTheCallersVariableAsItWas)
{
    void* scene = this;
    agent().answer_next_with(-61, {text("s1"), text("{body}")});
    EXPECT_EQ(quorvel_client_get_scene(client, "s1", &scene), -61);
    EXPECT_EQ(scene, this);
}

TEST_F(SceneTest, GettingOneBlamesTheIdBeforeTheMissingOutPointerAndBothBeforeTheProxy)
{
    void*& proxy = *static_cast<void**>(client);
    void* const taken = std::exchange(proxy, nullptr);
    EXPECT_EQ(quorvel_client_get_scene(client, nullptr, nullptr), invalid_parameter);
    EXPECT_EQ(quorvel_client_get_scene(client, "", nullptr), invalid_parameter);
    EXPECT_EQ(quorvel_client_get_scene(client, "s1", nullptr), invalid_parameter);
    proxy = taken;
    const auto id = error("quorvel_client_get_scene", "scene_id is invalid");
    EXPECT_THAT(errors(), Lines(id, id, error("quorvel_client_get_scene", "invalid parameter")));
    EXPECT_THAT(agent().requests(), testing::IsEmpty());
}

TEST_F(SceneTest, IsNotDestroyedWhenItIsMissing)
{
    EXPECT_EQ(quorvel_client_scene_destroy(nullptr), invalid_parameter);
    EXPECT_THAT(errors(), Lines(error("quorvel_client_scene_destroy", "invalid parameter")));
}

// ---------------------------------------------------------------------------------------------------------
// Properties

TEST_F(SceneTest, ReadsIdAndBody)
{
    EXPECT_EQ(text_of({"s1", "{body}"}, 0), "s1");
    EXPECT_EQ(text_of({"s1", "{body}"}, 1), "{body}");
}

TEST_F(SceneTest, ReadsAnEmptyTextAsNull)
{
    EXPECT_EQ(text_of({"", "{body}"}, 0), "(null)");
    EXPECT_EQ(text_of({"s1", ""}, 1), "(null)");
}

TEST_F(SceneTest, RefusesUnknownNumbers)
{
    const Scene scene{rpc_port_scene_s_destroy, received({"s1", "{body}"})};
    for (const int id : {-2147483647 - 1, -1, 2, 2147483647}) {
        clear_log();
        char preset[] = "preset";
        char* value = preset;
        EXPECT_EQ(quorvel_client_scene_get_string(scene.get(), id, &value), invalid_parameter);
        EXPECT_EQ(value, preset);
        EXPECT_THAT(errors(), Lines(error("quorvel_client_scene_get_string",
                                          "invalid property id [" + std::to_string(id) + "]")));
    }
}

TEST_F(SceneTest, BlamesAMissingPointerBeforeABadNumber)
{
    const Scene scene{rpc_port_scene_s_destroy, received({"s1", "{body}"})};
    char* value = nullptr;
    EXPECT_EQ(quorvel_client_scene_get_string(nullptr, 99, &value), invalid_parameter);
    EXPECT_EQ(quorvel_client_scene_get_string(scene.get(), 99, nullptr), invalid_parameter);
    const auto line = error("quorvel_client_scene_get_string", "invalid parameter");
    EXPECT_THAT(errors(), Lines(line, line));
}

// ---------------------------------------------------------------------------------------------------------
// Events

class SceneEvent : public SceneTest {
protected:
    struct Told {
        int times = 0;
        int event = -1;
        Strings ids;
        std::string scene_id;
    };

    void SetUp() override
    {
        SceneTest::SetUp();
        const auto cb = [](int event, quorvel_client_scene_h* list, int count, const char* scene_id,
                           void* user_data) {
            auto& now = *static_cast<Told*>(user_data);
            const Scenes scenes{rpc_port_scene_s_destroy, list, count};
            now.ids.clear();
            for (int i = 0; i < count; ++i) {
                OwnedText id;
                quorvel_client_scene_get_string(list[i], 0, id);
                now.ids.emplace_back(id.get() != nullptr ? id.get() : "(null)");
            }
            ++now.times;
            now.event = event;
            now.scene_id = scene_id != nullptr ? scene_id : "(null)";
        };
        agent().answer_next_with(0);
        ASSERT_EQ(quorvel_client_set_scene_list_updated_cb(client, cb, &told), 0);
        forget();
    }

    void fire(const std::string& event, const Strings& ids)
    {
        std::vector<SceneValues> scenes;
        for (const std::string& id : ids)
            scenes.push_back({id, "{body}"});
        agent().fire(8, 1, false, {text(event), list_of(scenes), i32(99)});
    }

    Told told;
};

TEST_F(SceneEvent, HandsOverEventListCountIdAndUserData)
{
    fire("delete_scene", {"s7"});
    EXPECT_EQ(told.times, 1);
    EXPECT_EQ(told.event, 3);
    EXPECT_EQ(told.ids, Strings{"s7"});
    EXPECT_EQ(told.scene_id, "s7");
}

TEST_F(SceneEvent, TellsTheEventByItsExactWord)
{
    const std::pair<const char*, int> events[] = {{"add_scene", 1}, {"update_scene", 2}, {"delete_scene", 3},
                                                  {"Add_Scene", 0}, {"add_scenes", 0},   {"", 0},
                                                  {"add_group", 0}};
    for (const auto& [word, number] : events) {
        fire(word, {});
        EXPECT_EQ(told.event, number) << word;
    }
}

TEST_F(SceneEvent, TellsTheIdOfTheOnlySceneOfAKnownEventOnly)
{
    fire("add_scene", {"s7"});
    EXPECT_EQ(told.scene_id, "s7");
    fire("something_else", {"s7"});
    EXPECT_EQ(told.event, 0);
    EXPECT_EQ(told.scene_id, "(null)") << "other than for groups";
    EXPECT_EQ(told.ids, Strings{"s7"});
}

TEST_F(SceneEvent, TellsNoIdOfNoneOrOfTwoScenes)
{
    fire("add_scene", {});
    EXPECT_EQ(told.scene_id, "(null)");
    fire("add_scene", {"s7", "s8"});
    EXPECT_EQ(told.scene_id, "(null)");
    EXPECT_EQ(told.ids, (Strings{"s7", "s8"}));
}

TEST_F(SceneEvent, WithoutUserDataIsLogged)
{
    _scene_list_cb(nullptr, "add_scene", nullptr, 0);
    EXPECT_THAT(errors(), Lines(error("_scene_list_cb", "No user data")));
    EXPECT_THAT(log(), HasLine(qc_info(source, "_scene_list_cb", "ENTER v[2.4.29]")));
}

TEST_F(SceneTest, EventWithoutACallbackIsLogged)
{
    _scene_list_cb(client, "add_scene", nullptr, 0);
    EXPECT_THAT(errors(), Lines(error("_scene_list_cb", "No scene list cb")));
}

TEST_F(SceneEvent, ThatCannotBeCopiedIsLogged)
{
    _scene_list_cb(client, "add_scene", nullptr, 0);
    EXPECT_EQ(told.times, 0);
    EXPECT_EQ(errors().back(),
              error("_scene_list_cb", "rpc_port_array_scene_s_get_array_scene_ss is failed"));
}

TEST_F(SceneTest, SettingNoCallbackIsRefusedBeforeTheProxyIsLookedFor)
{
    void*& proxy = *static_cast<void**>(client);
    void* const taken = std::exchange(proxy, nullptr);
    EXPECT_EQ(quorvel_client_set_scene_list_updated_cb(client, nullptr, this), invalid_parameter);
    proxy = taken;
    EXPECT_THAT(errors(), Lines(error("quorvel_client_set_scene_list_updated_cb", "user_cb is NULL")));
}

// ---------------------------------------------------------------------------------------------------------
// Commands

TEST_F(SceneTest, CommandsSendTheirStringsAndTheDelegate)
{
    agent().otherwise_answer(0);
    EXPECT_EQ(run(client, hear_result, nullptr), 0);
    EXPECT_EQ(add(client, hear_result, nullptr), 0);
    EXPECT_EQ(remove(client, hear_result, nullptr), 0);
    EXPECT_EQ(update(client, hear_result, nullptr), 0);
    EXPECT_EQ(agent().requests(),
              (std::vector<Sent>{{i32(26), text("s1"), text(""), delegate(9, 1, true)},
                                 {i32(84), text("g1"), text("{body}"), delegate(9, 2, true)},
                                 {i32(85), text("s1"), delegate(9, 3, true)},
                                 {i32(86), text("s1"), text("{body}"), delegate(9, 4, true)}}));
}

TEST_F(SceneTest, CommandsBlameTheIdBeforeTheBodyAndBothBeforeTheProxy)
{
    void*& proxy = *static_cast<void**>(client);
    void* const taken = std::exchange(proxy, nullptr);
    for (const char* missing : {static_cast<const char*>(nullptr), ""}) {
        EXPECT_EQ(quorvel_client_do_scene(client, missing, nullptr, nullptr), invalid_parameter);
        EXPECT_EQ(quorvel_client_remove_scene(client, missing, nullptr, nullptr), invalid_parameter);
        EXPECT_EQ(quorvel_client_add_scene(client, missing, missing, nullptr, nullptr), invalid_parameter);
        EXPECT_EQ(quorvel_client_add_scene(client, "g1", missing, nullptr, nullptr), invalid_parameter);
        EXPECT_EQ(quorvel_client_update_scene(client, missing, missing, nullptr, nullptr), invalid_parameter);
        EXPECT_EQ(quorvel_client_update_scene(client, "s1", missing, nullptr, nullptr), invalid_parameter);
        EXPECT_THAT(errors(), Lines(error("quorvel_client_do_scene", "scene_id is invalid"),
                                    error("quorvel_client_remove_scene", "scene_id is invalid"),
                                    error("quorvel_client_add_scene", "group_id is invalid"),
                                    error("quorvel_client_add_scene", "rcs_rep is invalid"),
                                    error("quorvel_client_update_scene", "scene_id is invalid"),
                                    error("quorvel_client_update_scene", "rcs_rep is invalid")));
        clear_log();
    }
    proxy = taken;
    EXPECT_THAT(agent().requests(), testing::IsEmpty());
}

TEST_F(SceneTest, ResultIsToldAsTheFifthValueThenTheFirstTheSecondAndTheFourth)
{
    struct Told {
        int result = 0;
        std::string scene_id, scene, fourth;
    } told;
    const auto cb = [](int result, const char* scene_id, const char* scene, const char* fourth,
                       void* user_data) {
        *static_cast<Told*>(user_data) = {result, scene_id, scene, fourth};
    };
    agent().answer_next_with(0);
    ASSERT_EQ(run(client, cb, &told), 0);
    clear_log();
    agent().fire(9, 1, true, {text("s9"), text("{done}"), text("third"), text("fourth"), i32(-61)});
    EXPECT_EQ(told.result, -61);
    EXPECT_EQ(told.scene_id, "s9");
    EXPECT_EQ(told.scene, "{done}");
    EXPECT_EQ(told.fourth, "fourth") << "the third goes no further";
    EXPECT_THAT(log_of(public_tag),
                Lines(qc_info(source, "_scene_result_cb", "ENTER v[2.4.29]"),
                      qc_line(DLOG_DEBUG, source, "_scene_result_cb", "_scene_result_cb scene id [s9]"),
                      qc_line(DLOG_DEBUG, source, "_scene_result_cb", "_scene_result_cb scene [{done}]")));
}

TEST_F(SceneTest, ResultWithoutARequestOrTextsIsDropped)
{
    _scene_result_cb(nullptr, nullptr, nullptr, nullptr, nullptr, 0);
    EXPECT_THAT(log(), HasLine(qc_line(DLOG_DEBUG, source, "_scene_result_cb",
                                       "_scene_result_cb scene id [(null)]")));
    EXPECT_THAT(errors(), testing::IsEmpty());
}

}  // namespace
}  // namespace scripted
