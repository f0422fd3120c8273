#pragma once

#include <quorvel_client_device_detail.h>

#include <cstring>

namespace quorvel {

/// How a device stands with the cloud, from the agent's word for it. The words are compared by their
/// beginnings, of "DISCONNECTED" without its last letter, which is meant so.
inline int cloud_device_state(const char* word)
{
    if (std::strncmp(word, "CONNECTED", 9) == 0)
        return QUORVEL_CLIENT_CLOUD_DEVICE_STATE_CONNECTED;
    if (std::strncmp(word, "DISCONNECTED", 11) == 0)
        return QUORVEL_CLIENT_CLOUD_DEVICE_STATE_DISCONNECTED;
    if (std::strncmp(word, "INACTIVE", 8) == 0)
        return QUORVEL_CLIENT_CLOUD_DEVICE_STATE_INACTIVE;
    return QUORVEL_CLIENT_CLOUD_DEVICE_STATE_UNKNOWN;
}

}  // namespace quorvel
