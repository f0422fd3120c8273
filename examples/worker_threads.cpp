// Calls from several threads at once: each gets its own answer. Callbacks stay with the main loop's thread.
#include <quorvel_client_device_detail.h>

#include <array>
#include <iostream>
#include <thread>

#include "session.h"
#include "text.hpp"

namespace {

constexpr std::array devices{"lamp-1", "tv-1", "plug-1", "washer-1"};

std::string name_of(quorvel_client_h client, const char* device)
{
    quorvel_client_device_detail_h detail = nullptr;
    if (quorvel_client_get_device_detail(client, device, &detail) != 0)
        return "?";
    std::string name = text_of(quorvel_client_device_detail_get_string, detail,
                               QUORVEL_CLIENT_DEVICE_DETAIL_PROP_DEVICE_NAME);
    quorvel_client_device_detail_destroy(detail);
    return name;
}

void work(session* session)
{
    std::array<std::string, devices.size()> names;
    std::array<std::thread, devices.size()> threads;
    for (std::size_t i = 0; i < devices.size(); ++i)
        threads[i] = std::thread([&, i] { names[i] = name_of(session->client, devices[i]); });
    for (std::thread& thread : threads)
        thread.join();
    for (std::size_t i = 0; i < devices.size(); ++i)
        std::cout << devices[i] << ": " << names[i] << '\n';
    session_end(session, EXIT_SUCCESS);
}

}  // namespace

int main()
{
    return session_run(work);
}
