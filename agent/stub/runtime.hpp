#pragma once

/// What the generated stub is made of: values, parcels, clients, the server.

#include "stub/client.hpp"
#include "stub/server.hpp"
#include "stub/values.hpp"
#include "stub/wire.hpp"
