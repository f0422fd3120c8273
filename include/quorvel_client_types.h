/* SPDX-License-Identifier: Apache-2.0 */
/**
 * @file
 * @brief What every header of the library shares: the client handle, the error codes, the states of
 *        the connection and the macros that the declarations are written with.
 */
#ifndef QUORVEL_CLIENT_TYPES_H
#define QUORVEL_CLIENT_TYPES_H

#include <stdbool.h>
#include <stddef.h>

/** Opens a run of declarations with C linkage. */
#ifdef __cplusplus
#define QUORVEL_BEGIN_DECLS extern "C" {
#define QUORVEL_END_DECLS }
#else
#define QUORVEL_BEGIN_DECLS
#define QUORVEL_END_DECLS
#endif

/** Marks a function that the shared library exports. */
#if defined(__GNUC__)
#define QUORVEL_API __attribute__((visibility("default")))
#else
#define QUORVEL_API
#endif

QUORVEL_BEGIN_DECLS

/**
 * @brief The client: one connection to the agent, with the callbacks registered on it.
 *
 * Made by quorvel_client_connect() and released by quorvel_client_disconnect(), which is the only
 * function that releases it. The client family and the core family take the same handle.
 */
typedef void* quorvel_client_h;

/**
 * @brief Every code that a function of the library returns.
 *
 * A function returns one of these, except where its own description names another value.
 *
 * @anchor quorvel_agent_codes
 * A function that asks the agent also passes on the code that the agent answers with, if it is one of these:
 * #QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY, #QUORVEL_CLIENT_ERROR_PERMISSION_DENIED,
 * #QUORVEL_CLIENT_ERROR_INVALID_PARAMETER, #QUORVEL_CLIENT_ERROR_NO_SPACE, #QUORVEL_CLIENT_ERROR_NO_DATA,
 * #QUORVEL_CLIENT_ERROR_NETWORK_UNREACHABLE, #QUORVEL_CLIENT_ERROR_NOT_SUPPORTED,
 * #QUORVEL_CLIENT_ERROR_OPERATION_FAILED, #QUORVEL_CLIENT_ERROR_IO_ERROR,
 * #QUORVEL_CLIENT_ERROR_LOWER_VERSION and #QUORVEL_CLIENT_ERROR_AGENT_DEFINED_1 to
 * #QUORVEL_CLIENT_ERROR_AGENT_DEFINED_4. Every other answer, and none at all, is
 * #QUORVEL_CLIENT_ERROR_UNKNOWN. So a code that is described for a cause here, on the client's side, may
 * also be the agent's.
 */
typedef enum {
    /** Success. */
    QUORVEL_CLIENT_ERROR_NONE = 0,
    /** Memory could not be had. */
    QUORVEL_CLIENT_ERROR_OUT_OF_MEMORY = -12,
    /** The agent refused the connection or the request. */
    QUORVEL_CLIENT_ERROR_PERMISSION_DENIED = -13,
    /** An argument is not usable; also a NULL handle, and a client without a link to the agent. */
    QUORVEL_CLIENT_ERROR_INVALID_PARAMETER = -22,
    /** The agent has no room left. */
    QUORVEL_CLIENT_ERROR_NO_SPACE = -28,
    /** There is no data, or not yet. */
    QUORVEL_CLIENT_ERROR_NO_DATA = -61,
    /** The agent has no way to the network. */
    QUORVEL_CLIENT_ERROR_NETWORK_UNREACHABLE = -101,
    /** The agent is not installed, or does not support the request. */
    QUORVEL_CLIENT_ERROR_NOT_SUPPORTED = -1073741822,
    /** The agent gave no answer, or one that is not in this table. */
    QUORVEL_CLIENT_ERROR_UNKNOWN = -1073741824,
    /** The operation failed, inside the library or at the agent. */
    QUORVEL_CLIENT_ERROR_OPERATION_FAILED = -1073741825,
    /** A code of the agent's own, passed on as it is. */
    QUORVEL_CLIENT_ERROR_AGENT_DEFINED_1 = -1073741826,
    /** A code of the agent's own, passed on as it is. */
    QUORVEL_CLIENT_ERROR_AGENT_DEFINED_2 = -1073741827,
    /** The connection could not be read or written. */
    QUORVEL_CLIENT_ERROR_IO_ERROR = -1073741828,
    /** A code of the agent's own, passed on as it is. */
    QUORVEL_CLIENT_ERROR_AGENT_DEFINED_3 = -1073741829,
    /** The installed agent is older than the function needs. */
    QUORVEL_CLIENT_ERROR_LOWER_VERSION = -1073741830,
    /** A code of the agent's own, passed on as it is. */
    QUORVEL_CLIENT_ERROR_AGENT_DEFINED_4 = -1073741831,
    /** A connection is being made already. */
    QUORVEL_CLIENT_ERROR_ALREADY_CONNECTING = -1073741832,
    /** A connection exists already. */
    QUORVEL_CLIENT_ERROR_ALREADY_CONNECTED = -1073741833,
    /** There is no connection, or it is still being made. */
    QUORVEL_CLIENT_ERROR_NOT_CONNECTED = -1073741834
} quorvel_client_error_e;

/** @brief What a quorvel_client_connection_state_cb() is told. */
typedef enum {
    /** The connection stands; calls may be made from now on. */
    QUORVEL_CLIENT_CONNECTION_CONNECTED = 0,
    /** The connection was lost. */
    QUORVEL_CLIENT_CONNECTION_DISCONNECTED = 1,
    /** The agent refused the connection, or could not be started. */
    QUORVEL_CLIENT_CONNECTION_REJECTED = 2
} quorvel_client_connection_state_e;

QUORVEL_END_DECLS

#endif /* QUORVEL_CLIENT_TYPES_H */
