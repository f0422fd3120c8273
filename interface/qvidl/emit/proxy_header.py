"""The proxy's header: plain C, for the library and for whoever links its archive."""

from __future__ import annotations

from ..layout import GENERATED, alias, blocks, c_comment, call
from ..model import Array, Delegate, Interface, Kind, Method, Record
from . import names
from .names import ClientNames

_HEAD = """/* SPDX-License-Identifier: Apache-2.0 */
/* {generated} */
/**
 * @file
 * @brief The client's end of the port interface {name}: records, arrays, delegates and methods.
 *
 * Unless a function says otherwise it returns 0, or -1 after a line in the log that tells what was wrong.
 *
 * Records and arrays are made with _create, released with _destroy and copied whole with _clone. A
 * setter keeps a copy of what it is given. A getter hands out a copy that the caller releases: a text
 * with free(), a bundle with bundle_free(), an element of an array with its own _destroy, a vector with
 * free() after its elements. The getter of a list that is empty returns 0 and leaves its arguments as
 * they were, so set them to NULL and 0 first.
 */
#ifndef {guard}
#define {guard}

#include <glib.h>
#include <stdbool.h>

#include "bundle.h"
#include "rpc-port.h"

#ifdef __cplusplus
extern "C" {{
#endif"""

_TAIL = """#ifdef __cplusplus
}}
#endif

#endif /* {guard} */"""


def emit(interface: Interface, source: str, file_name: str) -> str:
    client = ClientNames(interface)
    guard = file_name.upper().replace(".", "_").replace("-", "_")
    generated = GENERATED.format(source=source)
    return blocks(
        [
            _HEAD.format(generated=generated, guard=guard, name=interface.name),
            _section("Records."),
            *(_record(record) for record in interface.records),
            _section("Arrays."),
            *(_array(array) for array in interface.arrays),
            _section("The proxy: one connection to the agent."),
            _proxy(client),
            _section(
                "Delegates: the client's end of the callbacks that the agent makes.",
                "",
                "A delegate is created with the callback and its user data, and handed to a method. From then"
                " on it belongs to the proxy: a once delegate ends with its first call, any other with"
                " _dispose or with the proxy. One that was handed to no method is released with _destroy."
                " What a callback is given lives until it returns.",
            ),
            *(_delegate(client, delegate) for delegate in interface.delegates),
            _section(
                "Methods. Each waits for the agent's answer and returns the agent's result, 0 for success, or"
                " -1 when there was no answer; then what comes out is left as it was.",
                "",
                "A text that comes out is released with free(), a record or an array with its _destroy. A"
                " text that goes in may be NULL and is sent as an empty one.",
            ),
            *(_method(client, method) for method in interface.methods),
            _TAIL.format(guard=guard),
        ]
    )


def _section(*doc: str) -> str:
    return c_comment(doc).replace("/**", "/*", 1)


def _record(record: Record) -> str:
    prefix = names.record_prefix(record)
    handle = names.handle(record)
    members = [f"    {member};" for field in record.fields for member in names.members(field)]
    accessors = []
    for field in record.fields:
        accessors.append(call(f"int {prefix}_set_{field.name}", names.setter_parameters(record, field), ";"))
        accessors.append(call(f"int {prefix}_get_{field.name}", names.getter_parameters(record, field), ";"))
    return "\n".join(
        [c_comment(record.doc), *_structure(prefix, members), *_life(prefix, handle), *accessors]
    )


def _array(array: Array) -> str:
    prefix = names.record_prefix(array)
    handle = names.handle(array)
    element = "char*" if array.element.kind is Kind.STRING else names.handle(array.element)
    members = [f"    {element}* {array.elements};", f"    int {array.elements}_size;"]
    accessors = [
        call(f"int {prefix}_set_{array.elements}", names.elements_in(array), ";"),
        call(f"int {prefix}_get_{array.elements}", names.elements_out(array), ";"),
    ]
    return "\n".join([c_comment(array.doc), *_structure(prefix, members), *_life(prefix, handle), *accessors])


def _structure(prefix: str, members: list[str]) -> list[str]:
    return [
        f"struct {prefix}_s {{",
        "    rpc_port_parcelable_t parcelable;",
        *members,
        "};",
        alias(f"struct {prefix}_s*", f"{prefix}_h"),
    ]


def _life(prefix: str, handle: str) -> list[str]:
    return [
        call(f"int {prefix}_create", [f"{handle}* h"], ";"),
        call(f"int {prefix}_destroy", [f"{handle} h"], ";"),
        call(f"int {prefix}_clone", [f"{handle} h", f"{handle}* clone"], ";"),
    ]


def _proxy(client: ClientNames) -> str:
    handle = client.proxy_handle
    told = {
        "connected": "The connection stands: methods may be invoked from now on.",
        "disconnected": "The connection was lost.",
        "rejected": "The agent refused the connection, or could not be started.",
    }
    events = [
        c_comment([doc])
        + "\n"
        + call(f"typedef void (*{client.event(event)})", [f"{handle} h", "void* user_data"], ";")
        for event, doc in told.items()
    ]
    event_members = [f"    {client.event(event)} {event};" for event in told]
    table = "\n".join(
        [
            c_comment(["What happens to the connection. The callbacks run on the thread of the main loop."]),
            f"typedef struct {client.events} {{",
            *event_members,
            f"}} {client.events};",
        ]
    )
    structure = "\n".join(
        [
            c_comment(["A proxy. Only for looking at: the library keeps fields of its own behind these."]),
            f"struct {client.proxy_struct} {{",
            "    char* stub_appid;",
            "    rpc_port_proxy_h proxy;",
            "    rpc_port_h port; /**< The main port; NULL while not connected. */",
            "    rpc_port_h callback_port;",
            f"    {client.events} callback;",
            "    void* user_data;",
            "    GList* delegates;",
            "    GRecMutex mutex;",
            "};",
        ]
    )
    functions = "\n".join(
        [
            c_comment(["Makes a proxy for the agent's application. Nothing is connected yet."]),
            call(
                f"int {client.proxy}_create",
                [
                    "const char* stub_appid",
                    f"const {client.events}* callback",
                    "void* user_data",
                    f"{handle}* h",
                ],
                ";",
            ),
            c_comment(["Asks for the connection; one of the callbacks tells what became of it."]),
            call(f"int {client.proxy}_connect", [f"{handle} h"], ";"),
            c_comment(["Closes the connection and releases the proxy with every delegate left in it."]),
            call(f"int {client.proxy}_destroy", [f"{handle} h"], ";"),
        ]
    )
    forward = alias(f"struct {client.proxy_struct}*", handle)
    return "\n\n".join([forward, *events, table, structure, functions])


def _delegate(client: ClientNames, delegate: Delegate) -> str:
    prefix = client.delegate_prefix(delegate)
    handle = client.delegate_handle(delegate)
    callback = client.delegate_callback(delegate)
    parameters = [client.parameter(parameter) for parameter in delegate.parameters]
    declarations = [
        call(f"typedef void (*{callback})", ["void* user_data", *parameters], ";"),
        *_structure(
            prefix,
            [
                "    int id;",
                "    int seq_id;",
                f"    {callback} callback;",
                "    bool once;",
                "    void* user_data;",
            ],
        ),
        call(f"{handle} {prefix}_create", [f"{callback} callback", "bool once", "void* user_data"], ";"),
        call(f"int {prefix}_destroy", [f"{handle} h"], ";"),
        call(f"int {client.dispose(delegate)}", [f"{client.proxy_handle} proxy", f"{handle} h"], ";"),
        *(
            call(
                f"void {client.parcelable(delegate, way)}",
                ["rpc_port_parcel_h parcel", "void* delegate"],
                ";",
            )
            for way in ("to", "from")
        ),
        call(f"void {client.dispatcher(delegate)}", DISPATCH_PARAMETERS, ";"),
    ]
    return "\n".join([c_comment(delegate.doc), *declarations])


DISPATCH_PARAMETERS = ("GList** list", "rpc_port_parcel_h parcel", "int seq_id", "int id")


def method_signature(client: ClientNames, method: Method) -> tuple[str, list[str]]:
    returns = "bool" if method.returns.kind is Kind.BOOL else "int"
    parameters = [
        f"{client.proxy_handle} h",
        *(client.parameter(parameter) for parameter in method.parameters),
    ]
    return f"{returns} {client.invoke(method.name)}", parameters


def _method(client: ClientNames, method: Method) -> str:
    doc = list(method.doc)
    if method.returns.kind is Kind.BOOL:
        doc.append("Returns the answer itself; false when there is none.")
    return c_comment(doc) + "\n" + call(*method_signature(client, method), ";")
