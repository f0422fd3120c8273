// The locations of the account, and the rooms of each.
#include <quorvel_core_location.h>
#include <quorvel_core_room.h>

#include <iostream>

#include "session.h"
#include "text.hpp"

namespace {

void show_rooms(session* session, const std::string& location)
{
    quorvel_core_room_h* list = nullptr;
    int count = 0;
    if (session_failed(session, "get_room_list",
                       quorvel_core_get_room_list(session->client, location.c_str(), &list, &count)))
        return;
    const std::unique_ptr<quorvel_core_room_h, Free> owner(list);
    for (int i = 0; i < count; ++i) {
        std::cout << "  " << text_of(quorvel_core_room_get_string, list[i], QUORVEL_CORE_ROOM_PROP_NAME)
                  << '\n';
        quorvel_core_room_destroy(list[i]);
    }
}

void work(session* session)
{
    quorvel_core_location_h* list = nullptr;
    int count = 0;
    if (session_failed(session, "get_location_list",
                       quorvel_core_get_location_list(session->client, &list, &count)))
        return;
    const std::unique_ptr<quorvel_core_location_h, Free> owner(list);
    for (int i = 0; i < count; ++i) {
        std::cout << text_of(quorvel_core_location_get_string, list[i], QUORVEL_CORE_LOCATION_PROP_NAME)
                  << '\n';
        show_rooms(session, text_of(quorvel_core_location_get_string, list[i],
                                    QUORVEL_CORE_LOCATION_PROP_LOCATION_ID));
        quorvel_core_location_destroy(list[i]);
    }
    session_end(session, session->status);
}

}  // namespace

int main()
{
    return session_run(work);
}
