// Begins to install an app, answers what it asks, and lists what is installed.
#include <cJSON.h>
#include <quorvel_core_installed_app.h>
#include <quorvel_core_oxbarrow.h>

#include <iostream>

#include "session.h"
#include "text.hpp"

namespace {

void work(session* session)
{
    const std::string begun =
        text_of(quorvel_core_oxbarrow_initialize, session->client, "sunrise", "home", "en", nullptr);
    const std::unique_ptr<cJSON, void (*)(cJSON*)> parsed(cJSON_Parse(begun.c_str()), cJSON_Delete);
    const auto text = [&](const char* name) -> std::string {
        const char* value = cJSON_GetStringValue(cJSON_GetObjectItem(parsed.get(), name));
        return value == nullptr ? "" : value;
    };
    std::cout << text("appId") << " is " << text("status") << '\n';

    char* result = nullptr;
    const int code = quorvel_core_oxbarrow_complete_installation(
        session->client, "sunrise", text("installedAppId").c_str(), "home", text("configurationId").c_str(),
        R"({"light": "lamp-2", "time": "06:30"})", &result);
    std::free(result);
    quorvel_core_installed_app_h* list = nullptr;
    int count = 0;
    if (session_failed(session, "complete_installation", code)
        || session_failed(session, "get_installed_app_list",
                          quorvel_core_get_installed_app_list(session->client, &list, &count)))
        return;
    const std::unique_ptr<quorvel_core_installed_app_h, Free> owner(list);
    for (int i = 0; i < count; ++i) {
        std::cout << text_of(quorvel_core_installed_app_get_string, list[i],
                             QUORVEL_CORE_INSTALLED_APP_PROP_DISPLAY_NAME)
                  << ": "
                  << text_of(quorvel_core_installed_app_get_string, list[i],
                             QUORVEL_CORE_INSTALLED_APP_PROP_STATUS)
                  << '\n';
        quorvel_core_installed_app_destroy(list[i]);
    }
    session_end(session, EXIT_SUCCESS);
}

}  // namespace

int main()
{
    return session_run(work);
}
