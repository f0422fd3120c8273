"""The agent's end: a service with one function to override a method, and one function to fire a delegate.

Header and source stand over the hand-written runtime in agent/stub/.
"""

from __future__ import annotations

from ..layout import GENERATED, WIDTH, angles, blocks, call, comment, row
from ..model import Array, Delegate, Interface, Kind, Method, Parameter, Record, Type

_HEADER_HEAD = """// {generated}
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "stub/runtime.hpp"

/// The agent's end of the port interface {name}.
///
/// A service derives from Service and overrides what it serves. Texts that come in are lent for the call.
/// What goes out may be given or, where it outlives the call, lent with `borrow`. A delegate may be kept;
/// `fire` sends one callback to the client that handed it over, and answers false when that client is gone.
namespace quorvel::stub {{"""

_SOURCE_HEAD = """// {generated}
#include "{header}"

namespace quorvel::stub {{"""

_TAIL = "}  // namespace quorvel::stub"

_SERVER = """/// Serves {name} on a port of that name.
class Server : public BasicServer {{
public:
    explicit Server(Service& service, std::string port_name = "{name}");
}};"""


def emit_header(interface: Interface, source: str) -> str:
    return blocks(
        [
            _HEADER_HEAD.format(generated=GENERATED.format(source=source), name=interface.name),
            *(_record(record) for record in interface.records),
            *(_array(array) for array in interface.arrays),
            *(_delegate(delegate) for delegate in interface.delegates),
            _method_tags(interface),
            _service(interface),
            _SERVER.format(name=interface.name),
            _TAIL,
        ]
    )


def emit_source(interface: Interface, source: str, header: str) -> str:
    return blocks(
        [
            _SOURCE_HEAD.format(generated=GENERATED.format(source=source), header=header),
            *(_record_routines(record) for record in interface.records),
            *(_fire(delegate) for delegate in interface.delegates),
            *(_unserved(method) for method in interface.methods),
            "namespace {",
            "Service& of(BasicService& service)\n{\n    return static_cast<Service&>(service);\n}",
            *(_serve(method) for method in interface.methods),
            _table(interface),
            "}  // namespace",
            _server(interface),
            _TAIL,
        ]
    )


# What values are called.


def _value(type_: Type) -> str:
    """A value to keep."""
    plain = {
        Kind.STRING: "std::string",
        Kind.INT32: "int",
        Kind.INT64: "long long",
        Kind.BOOL: "bool",
        Kind.BUNDLE: "Bundle",
        Kind.STRING_LIST: "std::vector<std::string>",
    }
    return plain.get(type_.kind, type_.name)


def _lent(type_: Type) -> str:
    """A value that is given to the stub to be sent."""
    if type_.kind is Kind.STRING:
        return "TextRef"
    return f"const {type_.name}&" if type_.kind in (Kind.RECORD, Kind.ARRAY) else _value(type_)


def _parameter(parameter: Parameter) -> str:
    """A parameter of a service's function."""
    kind = parameter.type.kind
    if parameter.out:
        if kind is Kind.STRING:
            return f"Text& {parameter.name}"
        if kind in (Kind.RECORD, Kind.ARRAY):
            return f"Out<{parameter.type.name}>& {parameter.name}"
        return f"{_value(parameter.type)}& {parameter.name}"
    if kind is Kind.STRING:
        return f"std::string_view {parameter.name}"
    if kind is Kind.DELEGATE:
        return f"const Delegate<{parameter.type.name}>& {parameter.name}"
    return f"{_lent(parameter.type)} {parameter.name}"


def _result(method: Method) -> str:
    return "bool" if method.returns.kind is Kind.BOOL else "int"


# The header.


def _record(record: Record) -> str:
    members = []
    for field in record.fields:
        if field.doc:
            members.append(comment(field.doc, 4))
        plain = " = 0" if field.type.kind is Kind.INT32 else ""
        members.append(f"    {_value(field.type)} {field.name}{plain};")
    return "\n".join(
        [
            comment(record.doc),
            f"struct {record.name} {{",
            *members,
            "};",
            call("void write", ["Writer& to", f"const {record.name}& value"], ";"),
            call("void read", ["Reader& from", f"{record.name}& value"], ";"),
        ]
    )


def _array(array: Array) -> str:
    return f"{comment(array.doc)}\nusing {array.name} = std::vector<{_value(array.element)}>;"


def _delegate(delegate: Delegate) -> str:
    return "\n".join(
        [
            comment(delegate.doc),
            f"struct {delegate.name} {{",
            f"    static constexpr int id = {delegate.number};",
            f'    static constexpr const char* name = "{delegate.name}";',
            "};",
            call("bool fire", _fire_parameters(delegate), ";"),
        ]
    )


def _fire_parameters(delegate: Delegate) -> list[str]:
    values = [f"{_lent(parameter.type)} {parameter.name}" for parameter in delegate.parameters]
    return [f"const Delegate<{delegate.name}>& delegate", *values]


def _method_tags(interface: Interface) -> str:
    tags = []
    for method in interface.methods:
        values = [_result(method), *(_lent(parameter.type) for parameter in method.outs)]
        tags.append(
            "\n".join(
                [
                    f"struct {method.name} {{",
                    f"    static constexpr int id = {method.number};",
                    angles("    using Postponed = PostponedAnswer", values, ";"),
                    "};",
                ]
            )
        )
    return (
        "/// Names a method where its answer is postponed: `client.postpone<method::NAME>()`.\n"
        "namespace method {\n\n" + "\n\n".join(tags) + "\n\n}  // namespace method"
    )


def _service(interface: Interface) -> str:
    functions = "\n\n".join(
        comment(method.doc, 4)
        + "\n"
        + call(f"    virtual {_result(method)} {method.name}", _service_parameters(method), ";")
        for method in interface.methods
    )
    return "\n".join(
        [
            comment(
                [
                    "What the agent does: a function a method, which gives the method's result, 0 for"
                    " success. One that is not overridden says so in the log and answers that it is not"
                    " supported."
                ]
            ),
            "class Service : public BasicService {",
            "public:",
            functions,
            "};",
        ]
    )


def _service_parameters(method: Method) -> list[str]:
    return ["Client& client", *(_parameter(parameter) for parameter in method.parameters)]


# The source.


def _function(head: str, parameters: list[str], body: list[str]) -> str:
    return call(head, parameters) + "\n{\n" + "\n".join(body) + "\n}"


def _record_routines(record: Record) -> str:
    return "\n\n".join(
        [
            _function(
                "void write",
                ["Writer& to", f"const {record.name}& value"],
                [f"    write(to, value.{field.name});" for field in record.fields],
            ),
            _function(
                "void read",
                ["Reader& from", f"{record.name}& value"],
                [f"    read(from, value.{field.name});" for field in record.fields],
            ),
        ]
    )


def _fire(delegate: Delegate) -> str:
    names = [parameter.name for parameter in delegate.parameters]
    return _function(
        "bool fire",
        _fire_parameters(delegate),
        [call("    return send_callback", ["delegate", *names], ";")],
    )


def _unserved(method: Method) -> str:
    types = [_parameter(parameter).rsplit(" ", 1)[0] for parameter in method.parameters]
    refused = f'unserved("{method.name}")'
    body = [f"    return {refused};"]
    if method.returns.kind is Kind.BOOL:
        body = [f"    {refused};", "    return false;"]
    return _function(f"{_result(method)} Service::{method.name}", ["Client&", *types], body)


def _serve(method: Method) -> str:
    names = [parameter.name for parameter in method.parameters]
    asked = call(f"        return of(service).{method.name}", ["call.client()", *names], ";")
    ask = [f"    const auto ask = [&] {{ {asked.strip()} }};"]
    if "\n" in asked or len(ask[0]) > WIDTH:
        ask = ["    const auto ask = [&] {", asked, "    };"]
    return _function(
        f"void serve_{method.name}",
        ["BasicService& service", "Call& call"],
        [
            *(line for parameter in method.parameters for line in _local(parameter)),
            "    if (!call.complete())",
            "        return;",
            *ask,
            call("    call.answer", ["ask", *(parameter.name for parameter in method.outs)], ";"),
        ],
    )


def _local(parameter: Parameter) -> list[str]:
    """The variable that holds a parameter while its method is served."""
    kind, name = parameter.type.kind, parameter.name
    if parameter.out:
        plain = {Kind.INT32: f"int {name} = 0", Kind.BOOL: f"bool {name} = false"}
        if kind is Kind.STRING:
            return [f"    Text {name}{{Text::Wipe::yes}};" if parameter.secret else f"    Text {name};"]
        return [f"    {plain[kind]};" if kind in plain else f"    Out<{parameter.type.name}> {name};"]
    if kind is Kind.STRING:
        return [f"    const InText {name} = call.in().{'secret_text' if parameter.secret else 'text'}();"]
    if kind is Kind.DELEGATE:
        return [f"    const auto {name} = call.delegate<{parameter.type.name}>();"]
    if kind is Kind.INT32:
        return [f"    const int {name} = call.in().number();"]
    if kind is Kind.BOOL:
        return [f"    const bool {name} = call.in().flag();"]
    return [f"    {parameter.type.name} {name};", f"    read(call.in(), {name});"]


def _table(interface: Interface) -> str:
    by_number = {method.number: method for method in interface.methods}
    rows = []
    for number in range(min(by_number), max(by_number) + 1):
        method = by_number.get(number)
        values = [f'"{method.name}"', f"serve_{method.name}"] if method else ["nullptr", "nullptr"]
        rows.append(row(values, ",", indent=4))
    return "\n".join(
        [
            f"constexpr int first_method = {min(by_number)};",
            "",
            "// By the number of the method; numbers without one stay empty.",
            "constexpr MethodEntry methods[] = {",
            *rows,
            "};",
        ]
    )


def _server(interface: Interface) -> str:
    return "\n".join(
        [
            "Server::Server(Service& service, std::string port_name)",
            "    : BasicServer{service, methods, first_method, std::move(port_name)}",
            "{",
            "}",
        ]
    )
