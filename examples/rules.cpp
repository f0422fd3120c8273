// Makes a rule, switches it off, and deletes it.
#include <cJSON.h>
#include <quorvel_core_rule.h>

#include <iostream>

#include "session.h"
#include "text.hpp"

namespace {

constexpr const char* rule = R"({
    "name": "Light when the door opens",
    "when": {"device": "door-1", "attribute": "contact", "is": "open"},
    "then": [{"device": "hall-light", "set": {"switch": "on"}}]})";

std::string member(const std::string& json, const char* name)
{
    const std::unique_ptr<cJSON, void (*)(cJSON*)> parsed(cJSON_Parse(json.c_str()), cJSON_Delete);
    const cJSON* found = cJSON_GetObjectItem(parsed.get(), name);
    return cJSON_IsString(found) ? cJSON_GetStringValue(found) : cJSON_IsTrue(found) ? "true" : "false";
}

int count(session* session)
{
    quorvel_core_rule_h* list = nullptr;
    int found = 0;
    session_failed(session, "get_rule_list",
                   quorvel_core_get_rule_list(session->client, "home", &list, &found));
    for (int i = 0; i < found; ++i)
        quorvel_core_rule_destroy(list[i]);
    std::free(list);
    return found;
}

void work(session* session)
{
    std::cout << count(session) << " rules\n";
    const std::string made = text_of(quorvel_core_create_rule, session->client, "home", rule);
    const std::string id = member(made, "ruleId");
    std::cout << member(made, "name") << ", enabled: " << member(made, "enabled") << "; " << count(session)
              << " rules\n";
    const std::string off =
        text_of(quorvel_core_update_rule_status, session->client, "home", id.c_str(), false);
    std::cout << "enabled: " << member(off, "enabled") << '\n';
    text_of(quorvel_core_delete_rule, session->client, "home", id.c_str());
    std::cout << count(session) << " rules\n";
    session_end(session, session->status);
}

}  // namespace

int main()
{
    return session_run(work);
}
