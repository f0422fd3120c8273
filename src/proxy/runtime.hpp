#pragma once

/// What the generated proxy is made of: records and arrays, delegates, the call frame, the connection.

#include "proxy/call.hpp"
#include "proxy/connection.hpp"
#include "proxy/delegates.hpp"
#include "proxy/records.hpp"
