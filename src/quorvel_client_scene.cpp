#include <quorvel_client_scene.h>

#include "internal/answer.hpp"
#include "internal/list_event.hpp"
#include "internal/named.hpp"
#include "internal/parameters.hpp"
#include "internal/properties.hpp"
#include "internal/registration.hpp"

using namespace quorvel;

namespace {

using Scene = rpc_port_scene_s_h;

constexpr const char* event_words[] = {"add_scene", "update_scene", "delete_scene"};

Slot scene_list_slot;

auto scene_result(quorvel_client_scene_result_cb cb, void* user_data)
{
    return one_answer(DELEGATE(scene_cb), _scene_result_cb, cb, user_data);
}

void destroy_scene(void* scene)
{
    rpc_port_scene_s_destroy(static_cast<Scene>(scene));
}

}  // namespace

int quorvel_client_get_scene_list(quorvel_client_h handle, quorvel_client_scene_h** list, int* count)
{
    return ApiCall{handle}
        .agent(1, 0)
        .require(list != nullptr && count != nullptr)
        .invoke(METHOD(get_scene_list), list_out<rpc_port_array_scene_s_h>(list, count), Unused{})
        .result();
}

int quorvel_client_get_scene(quorvel_client_h handle, const char* scene_id, quorvel_client_scene_h* scene)
{
    // The caller's variable stays as it was: the scene goes into this one, which is meant so. The client
    // releases it at its end.
    void* received = nullptr;
    return ApiCall{handle}
        .agent(1, 0)
        .require(is_set(scene_id), "scene_id is invalid")
        .require(scene != nullptr)
        .invoke(METHOD(get_scene), scene_id, record_out<Scene>(&received))
        .then([&received](ApiCall& call) { call.client().keep(received, destroy_scene); })
        .result();
}

int quorvel_client_scene_destroy(quorvel_client_scene_h scene)
{
    return LocalCall{}.agent(1, 0).require(scene != nullptr).then(released<Scene>(scene)).result();
}

int quorvel_client_scene_get_string(quorvel_client_scene_h scene, int property_id, char** value)
{
    static constexpr TextGetter<Scene> properties[] = {rpc_port_scene_s_get_scene_id,
                                                       rpc_port_scene_s_get_scene};
    return LocalCall{}
        .agent(1, 0)
        .require(scene != nullptr && value != nullptr)
        .then(text_property(properties, scene, property_id, value))
        .result();
}

int quorvel_client_set_scene_list_updated_cb(quorvel_client_h handle, quorvel_client_scene_list_updated_cb cb,
                                             void* user_data)
{
    return ApiCall{handle}
        .agent(1, 0)
        .require(cb != nullptr, "user_cb is NULL")
        .invoke(METHOD(set_scene_list_cb), registration(scene_list_slot, DELEGATE(scene_list_cb),
                                                        _scene_list_cb, &Client::scene_list, cb, user_data))
        .result();
}

int quorvel_client_unset_scene_list_updated_cb(quorvel_client_h handle)
{
    return ApiCall{handle}
        .agent(1, 0)
        .proxied()
        .then(unregistered(scene_list_slot, &Client::scene_list))
        .invoke(METHOD(unset_scene_list_cb))
        .result();
}

void _scene_list_cb(void* user_data, const char* event_word, rpc_port_array_scene_s_h scenes, int)
{
    Event event{user_data};
    const auto pair = event.has_user_data().callback(&Client::scene_list, "No scene list cb");
    Scene* list = nullptr;
    int count = 0;
    if (!event.ok() || !copy_out(event, scenes, rpc_port_array_scene_s_get_array_scene_ss, &list, &count))
        return;
    const int number = number_of(event_word, event_words);
    // Told of a known event only, other than for groups.
    const OwnText id = number != QUORVEL_CLIENT_SCENE_EVENT_NONE
                           ? only_id(list, count, rpc_port_scene_s_get_scene_id)
                           : OwnText{};
    pair.callback(number, reinterpret_cast<quorvel_client_scene_h*>(list), count, id.get(), pair.user_data);
}

int quorvel_client_do_scene(quorvel_client_h handle, const char* scene_id, quorvel_client_scene_result_cb cb,
                            void* user_data)
{
    static constexpr const char* absent = nullptr;
    return ApiCall{handle}
        .agent(1, 0)
        .require(is_set(scene_id), "scene_id is invalid")
        .invoke(METHOD(do_scene), scene_id, absent, scene_result(cb, user_data))
        .result();
}

int quorvel_client_add_scene(quorvel_client_h handle, const char* group_id, const char* scene,
                             quorvel_client_scene_result_cb cb, void* user_data)
{
    return ApiCall{handle}
        .agent(1, 6)
        .require(is_set(group_id), "group_id is invalid")
        .require(is_set(scene), "rcs_rep is invalid")
        .invoke(METHOD(add_scene), group_id, scene, scene_result(cb, user_data))
        .result();
}

int quorvel_client_remove_scene(quorvel_client_h handle, const char* scene_id,
                                quorvel_client_scene_result_cb cb, void* user_data)
{
    return ApiCall{handle}
        .agent(1, 6)
        .require(is_set(scene_id), "scene_id is invalid")
        // Reported under the name of another method, which is meant so.
        .invoke(METHOD(remove_scene).reported_as(METHOD_NAME(add_scene)), scene_id,
                scene_result(cb, user_data))
        .result();
}

int quorvel_client_update_scene(quorvel_client_h handle, const char* scene_id, const char* scene,
                                quorvel_client_scene_result_cb cb, void* user_data)
{
    return ApiCall{handle}
        .agent(1, 6)
        .require(is_set(scene_id), "scene_id is invalid")
        .require(is_set(scene), "rcs_rep is invalid")
        .invoke(METHOD(update_scene), scene_id, scene, scene_result(cb, user_data))
        .result();
}

void _scene_result_cb(void* request, const char* scene_id, const char* scene, const char*, const char* fourth,
                      int result)
{
    const Answer answer{request};
    log_api(DLOG_DEBUG, answer.event.at(), QC_TEXT("_scene_result_cb scene id [%s]"), shown(scene_id));
    log_api(DLOG_DEBUG, answer.event.at(), QC_TEXT("_scene_result_cb scene [%s]"), shown(scene));
    // The fifth value comes first and the third goes no further, which is meant so.
    answer.tell<quorvel_client_scene_result_cb>(result, scene_id, scene, fourth);
}
