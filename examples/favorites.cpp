// The favorites of a location, with one more and one less.
#include <quorvel_core_favorite.h>

#include <iostream>

#include "session.h"
#include "text.hpp"

namespace {

void show(session* session)
{
    quorvel_core_favorite_h* list = nullptr;
    int count = 0;
    if (session_failed(session, "get_favorite_list",
                       quorvel_core_get_favorite_list(session->client, "home", nullptr, &list, &count)))
        return;
    const std::unique_ptr<quorvel_core_favorite_h, Free> owner(list);
    for (int i = 0; i < count; ++i) {
        std::cout << (i == 0 ? "" : ", ")
                  << text_of(quorvel_core_favorite_get_string, list[i], QUORVEL_CORE_FAVORITE_PROP_MEMBER_ID);
        quorvel_core_favorite_destroy(list[i]);
    }
    std::cout << '\n';
}

void work(session* session)
{
    show(session);
    quorvel_core_favorite_h favorite = nullptr;
    if (session_failed(
            session, "create_favorite",
            quorvel_core_create_favorite(session->client, "home", nullptr,
                                         R"({"memberId": "tv-1", "memberType": "DEVICE"})", &favorite)))
        return;
    const std::string id =
        text_of(quorvel_core_favorite_get_string, favorite, QUORVEL_CORE_FAVORITE_PROP_FAVORITE_ID);
    quorvel_core_favorite_destroy(favorite);
    show(session);
    session_failed(session, "delete_favorite",
                   quorvel_core_delete_favorite(session->client, "home", id.c_str(), nullptr));
    show(session);
    session_end(session, session->status);
}

}  // namespace

int main()
{
    return session_run(work);
}
