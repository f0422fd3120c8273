// SPDX-License-Identifier: Apache-2.0
#include "service/home_service.hpp"
#include "service/views.hpp"

namespace quorvel::agent {

using home::code;
using home::parse_json;
using home::to_text;

int HomeService::set_scene_list_cb(Client&, const Delegate<scene_list_cb>& on_changed)
{
    return scene_lists_.set(on_changed);
}

int HomeService::unset_scene_list_cb(Client& client)
{
    return scene_lists_.unset(client);
}

int HomeService::get_scene(Client&, std::string_view scene_id, Out<scene_s>& scene)
{
    const home::Scene* found = home_.scenes().find(scene_id);
    if (found == nullptr)
        return code(Status::no_data);
    scene = scene_record(*found);
    return 0;
}

int HomeService::get_scene_list(Client&, Out<array_scene_s>& scenes, int& count)
{
    for (const auto& scene : home_.scenes())
        scenes.made().push_back(scene_record(scene));
    count = static_cast<int>(scenes.get().size());
    return 0;
}

// A scene that ran in part still ran: the request is accepted, and its outcome tells the first failure.
int HomeService::do_scene(Client&, std::string_view scene_id, std::string_view,
                          const Delegate<scene_cb>& on_result)
{
    std::vector<home::CommandResult> results;
    const Status status = home_.run_scene(scene_id, results);
    const home::Scene* scene = home_.scenes().find(scene_id);
    if (scene == nullptr)
        return code(Status::no_data);
    std::string detail = "ran";
    for (const auto& result : results)
        if (result.status != Status::ok && detail == "ran")
            detail = result.message;
    return answer_later(on_result, scene->id, to_text(scene_json(*scene)), std::string{}, detail,
                        code(status));
}

int HomeService::add_scene(Client&, std::string_view group_id, std::string_view scene,
                           const Delegate<scene_cb>& on_result)
{
    const auto body = parse_json(scene);
    std::string id;
    std::string problem;
    const Status status = body ? home_.add_scene(group_id, *body, id, problem) : Status::invalid;
    if (status != Status::ok)
        return code(status);
    return answer_later(on_result, id, to_text(scene_json(*home_.scenes().find(id))), std::string{},
                        std::string{"added"}, 0);
}

int HomeService::remove_scene(Client&, std::string_view scene_id, const Delegate<scene_cb>& on_result)
{
    const home::Scene* scene = home_.scenes().find(scene_id);
    if (scene == nullptr)
        return code(Status::no_data);
    const std::string id = scene->id;
    const std::string body = to_text(scene_json(*scene));
    home_.remove_scene(id);
    return answer_later(on_result, id, body, std::string{}, std::string{"removed"}, 0);
}

int HomeService::update_scene(Client&, std::string_view scene_id, std::string_view scene,
                              const Delegate<scene_cb>& on_result)
{
    const auto body = parse_json(scene);
    std::string problem;
    if (!home_.scenes().contains(scene_id))
        return code(Status::no_data);
    const Status status = body ? home_.change_scene(scene_id, *body, problem) : Status::invalid;
    if (status != Status::ok)
        return code(status);
    const home::Scene& changed = *home_.scenes().find(scene_id);
    return answer_later(on_result, changed.id, to_text(scene_json(changed)), std::string{},
                        std::string{"updated"}, 0);
}

}  // namespace quorvel::agent
