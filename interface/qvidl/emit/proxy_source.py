"""The proxy's source: names, numbers and order over the hand-written runtime in src/proxy/."""

from __future__ import annotations

from collections.abc import Iterable

from ..layout import GENERATED, angles, blocks, braces, call, row
from ..model import Array, Delegate, Field, Interface, Kind, Method, Parameter, Record
from . import names
from .names import ClientNames
from .proxy_header import DISPATCH_PARAMETERS, method_signature

_HEAD = """// {generated}
#include "{header}"

#include <atomic>
#include <cstddef>

#include "proxy/runtime.hpp"
#include "{types}"

namespace proxy = quorvel::proxy;"""

_FIELD_KINDS = {
    Kind.STRING: "text",
    Kind.INT32: "number",
    Kind.BUNDLE: "bundle",
    Kind.STRING_LIST: "text_list",
}


def emit(interface: Interface, source: str, header: str, types: str) -> str:
    client = ClientNames(interface)
    return blocks(
        [
            _HEAD.format(generated=GENERATED.format(source=source), header=header, types=types),
            *(_record(record) for record in interface.records),
            *(_array(array) for array in interface.arrays),
            *(_delegate(client, delegate) for delegate in interface.delegates),
            _dispatch_table(interface),
            _proxy(client),
            *(_method(client, method) for method in interface.methods),
        ]
    )


def _function(head: str, parameters: Iterable[str], body: str) -> str:
    return call(head, list(parameters)) + "\n{\n" + body + "\n}"


def _forward(head: str, parameters: Iterable[str], function: str, arguments: Iterable[str]) -> str:
    """A function that only passes its arguments on."""
    return _function(head, parameters, call(f"    return proxy::{function}", list(arguments), ";"))


_PARCELABLE_PARAMETERS = ("rpc_port_parcel_h parcel", "void* data")


def _parcelable_declarations(name: str) -> str:
    # The type names its routines, and they name the type.
    return "\n".join(call(f"static void {name}_{way}", _PARCELABLE_PARAMETERS, ";") for way in ("to", "from"))


def _parcelable(name: str, what: str) -> list[str]:
    return [
        _function(
            f"static void {name}_{way}",
            _PARCELABLE_PARAMETERS,
            f"    proxy::{verb}_{what}(proxy::{name}, parcel, data);",
        )
        for way, verb in (("to", "write"), ("from", "read"))
    ]


def _life(prefix: str, handle: str, type_name: str) -> list[str]:
    return [
        _forward(f"int {prefix}_create", [f"{handle}* h"], "create_record", [type_name, "h"]),
        _forward(f"int {prefix}_destroy", [f"{handle} h"], "destroy_record", [type_name, "h"]),
        _forward(
            f"int {prefix}_clone",
            [f"{handle} h", f"{handle}* clone"],
            "clone_record",
            [type_name, "h", "clone"],
        ),
    ]


def _record(record: Record) -> str:
    prefix = names.record_prefix(record)
    handle = names.handle(record)
    fields = ",\n".join(_field_row(record, field) for field in record.fields)
    operations = [handle, *(f"{prefix}_{way}" for way in ("create", "destroy", "clone"))]
    definition = "\n".join(
        [
            f"static constexpr proxy::Field {record.name}_fields[] = {{",
            fields + ",",
            "};",
            "",
            f"constinit const proxy::RecordType proxy::{record.name} = {{",
            f'    "{record.name}",',
            f"    sizeof({names.struct(record)}),",
            f"    {{{record.name}_to, {record.name}_from}},",
            f"    {record.name}_fields,",
            angles("    proxy::operations", operations, ","),
            f'    "{prefix}_clone",',
            "};",
        ]
    )
    accessors = []
    for index, field in enumerate(record.fields):
        field_row = f"{record.name}_fields[{index}]"
        kind = _FIELD_KINDS[field.type.kind]
        values = [field.name] + ([f"{field.name}_size"] if field.type.kind is Kind.STRING_LIST else [])
        for way, parameters in (
            ("set", names.setter_parameters(record, field)),
            ("get", names.getter_parameters(record, field)),
        ):
            head = f"int {prefix}_{way}_{field.name}"
            accessors.append(
                _forward(
                    head, parameters, f"{way}_{kind}", [f"proxy::{record.name}", "h", field_row, *values]
                )
            )
    return "\n\n".join(
        [
            f"// record {record.name}\n{_parcelable_declarations(record.name)}",
            definition,
            *_parcelable(record.name, "record"),
            *_life(prefix, handle, f"proxy::{record.name}"),
            *accessors,
        ]
    )


def _field_row(record: Record, field: Field) -> str:
    struct = names.struct(record)
    size = f"offsetof({struct}, {field.name}_size)" if field.type.kind is Kind.STRING_LIST else "0"
    values = [
        f'"{field.name}"',
        f"proxy::Kind::{_FIELD_KINDS[field.type.kind]}",
        f"offsetof({struct}, {field.name})",
        size,
    ]
    return row(values, indent=4)


def _array(array: Array) -> str:
    prefix = names.record_prefix(array)
    handle = names.handle(array)
    strings = array.element.kind is Kind.STRING
    values = [
        f'"{array.name}"',
        f'"{array.elements}"',
        f"{{{array.name}_to, {array.name}_from}}",
        "nullptr" if strings else f"&proxy::{array.element.name}",
        f'"{prefix}_get_{array.elements}"',
    ]
    what = "strings" if strings else "elements"
    arguments = [f"proxy::{array.name}", "h", array.elements, f"{array.elements}_size"]
    return "\n\n".join(
        [
            f"// array {array.name}\n{_parcelable_declarations(array.name)}",
            braces(f"constinit const proxy::ArrayType proxy::{array.name} = ", values, ";"),
            *_parcelable(array.name, "array"),
            *_life(prefix, handle, f"proxy::{array.name}"),
            _forward(
                f"int {prefix}_set_{array.elements}", names.elements_in(array), f"set_{what}", arguments
            ),
            _forward(
                f"int {prefix}_get_{array.elements}", names.elements_out(array), f"get_{what}", arguments
            ),
        ]
    )


def _delegate(client: ClientNames, delegate: Delegate) -> str:
    prefix = client.delegate_prefix(delegate)
    handle = client.delegate_handle(delegate)
    dispatcher = client.dispatcher(delegate)
    to, source = client.parcelable(delegate, "to"), client.parcelable(delegate, "from")
    values = [
        f'"{delegate.name}"',
        f'"{client.dispose(delegate)}"',
        str(delegate.number),
        f"{{{to}, {source}}}",
        f"&last_{delegate.name}",
    ]
    classes = [_parameter_class(parameter) for parameter in delegate.parameters]
    arguments = ["list", "parcel", "seq_id", "id", f'quorvel::CallSite::named("{dispatcher}")']
    return "\n\n".join(
        [
            f"// delegate {delegate.name}\nstatic std::atomic<unsigned> last_{delegate.name};",
            braces(f"static constexpr proxy::DelegateType {delegate.name} = ", values, ";"),
            _forward(
                f"{handle} {prefix}_create",
                [f"{client.delegate_callback(delegate)} callback", "bool once", "void* user_data"],
                f"create_delegate<{handle}>",
                [delegate.name, "callback", "once", "user_data"],
            ),
            _forward(f"int {prefix}_destroy", [f"{handle} h"], "destroy_delegate", ["h"]),
            # "proxy" names the namespace in this file.
            _forward(
                f"int {client.dispose(delegate)}",
                [f"{client.proxy_handle} holder", f"{handle} h"],
                "dispose_delegate",
                ["holder", "h"],
            ),
            _function(
                f"void {to}",
                ["rpc_port_parcel_h parcel", "void* delegate"],
                "    proxy::write_delegate(parcel, delegate);",
            ),
            _function(
                f"void {source}",
                ["rpc_port_parcel_h parcel", "void* delegate"],
                "    proxy::read_delegate(parcel, delegate);",
            ),
            _function(
                f"static void dispatch_{delegate.name}",
                ["proxy::Listed list", *DISPATCH_PARAMETERS[1:]],
                angles("    using Delivered = proxy::Dispatch", classes, ";")
                + "\n"
                + call("    Delivered{}.run", arguments, ";"),
            ),
            _function(
                f"void {dispatcher}",
                DISPATCH_PARAMETERS,
                call(f"    dispatch_{delegate.name}", ["proxy::Listed{list}", "parcel", "seq_id", "id"], ";"),
            ),
        ]
    )


def _parameter_class(parameter: Parameter) -> str:
    plain = {Kind.INT32: "Number", Kind.INT64: "LongNumber", Kind.BOOL: "Flag"}
    kind = parameter.type.kind
    if kind is Kind.STRING:
        return "proxy::SecretText" if parameter.secret else "proxy::Text"
    if kind in plain:
        return f"proxy::{plain[kind]}"
    return f"proxy::Object<{names.handle(parameter.type)}>"


def _dispatch_table(interface: Interface) -> str:
    by_number = {delegate.number: delegate for delegate in interface.delegates}
    last = max(by_number, default=0)
    rows = []
    for number in range(last + 1):
        delegate = by_number.get(number)
        rows.append(
            f'    {{"{delegate.name}", dispatch_{delegate.name}}},' if delegate else "    {nullptr, nullptr},"
        )
    return "\n".join(
        [
            "// By the number of the delegate; numbers without one stay empty.",
            f"const proxy::DispatchEntry proxy::dispatch_table[{last + 1}] = {{",
            *rows,
            "};",
        ]
    )


def _proxy(client: ClientNames) -> str:
    handle = client.proxy_handle
    create = [
        "const char* stub_appid",
        f"const {client.events}* callback",
        "void* user_data",
        f"{handle}* h",
    ]
    return "\n\n".join(
        [
            _forward(
                f"int {client.proxy}_create",
                create,
                "create_proxy",
                ["stub_appid", "callback", "user_data", "h"],
            ),
            _forward(f"int {client.proxy}_connect", [f"{handle} h"], "connect_proxy", ["h"]),
            _forward(f"int {client.proxy}_destroy", [f"{handle} h"], "destroy_proxy", ["h"]),
        ]
    )


def _method(client: ClientNames, method: Method) -> str:
    head, parameters = method_signature(client, method)
    wrapped = [_passed(parameter) for parameter in method.parameters]
    frame = f"    return proxy::Call{{h, {method.number}}}"
    if method.returns.kind is Kind.BOOL:
        frame += ".flag"
    return _function(head, parameters, call(frame, wrapped, ";"))


def _passed(parameter: Parameter) -> str:
    if parameter.out:
        return f"proxy::out({parameter.name})"
    way = "in_delegate" if parameter.type.kind is Kind.DELEGATE else "in"
    return f"proxy::{way}({parameter.name})"
