"""The catalogue: names and types of everything by number, as constant data in C++ and as JSON."""

from __future__ import annotations

import json
from collections.abc import Sequence
from typing import Any

from ..layout import GENERATED, blocks, braces, row
from ..model import Array, Delegate, Interface, Kind, Method, Parameter, Record, Type

_HEADER = """// {generated}
#pragma once

#include "catalogue/catalogue.hpp"

namespace quorvel::catalogue {{

extern const Interface {name};

}}  // namespace quorvel::catalogue
"""

_SOURCE_HEAD = """// {generated}
#include "{header}"

namespace quorvel::catalogue {{
namespace {{"""

_KINDS = {
    Kind.STRING: "text",
    Kind.INT32: "number",
    Kind.INT64: "long_number",
    Kind.BOOL: "flag",
    Kind.BUNDLE: "bundle",
    Kind.STRING_LIST: "text_list",
    Kind.RECORD: "record",
    Kind.ARRAY: "array",
    Kind.DELEGATE: "delegate",
}


def emit_header(interface: Interface, source: str) -> str:
    return _HEADER.format(generated=GENERATED.format(source=source), name=interface.name)


def emit_source(interface: Interface, source: str, header: str) -> str:
    records = {record.name: f"&records[{index}]" for index, record in enumerate(interface.records)}
    arrays = {array.name: f"&arrays[{index}]" for index, array in enumerate(interface.arrays)}
    delegates = {delegate.name: f"&delegates[{index}]" for index, delegate in enumerate(interface.delegates)}
    used = _used_types(interface)
    constants = {
        kind: [_constant(type_, records, arrays, delegates) for type_ in used if type_.kind is kind]
        for kind in Kind
    }
    built_in = [line for kind in _PLAIN_CONSTANTS for line in constants[kind]]
    return blocks(
        [
            _SOURCE_HEAD.format(generated=GENERATED.format(source=source), header=header),
            "\n".join(built_in),
            *(_fields(record) for record in interface.records),
            _table("Record", "records", [_record(record) for record in interface.records]),
            "\n".join(constants[Kind.RECORD]),
            _table("Array", "arrays", [_array(array) for array in interface.arrays]),
            "\n".join(constants[Kind.ARRAY]),
            *(_parameters(f"{one.name}_parameters", one.parameters) for one in interface.delegates),
            _table("Delegate", "delegates", [_delegate(delegate) for delegate in interface.delegates]),
            "\n".join(constants[Kind.DELEGATE]),
            *(_method_parts(method) for method in interface.methods),
            _table("Method", "methods", [_method(method) for method in interface.methods]),
            "}  // namespace",
            braces(
                f"constinit const Interface {interface.name} = ",
                [f'"{interface.name}"', "records", "arrays", "delegates", "methods"],
                ";",
            ),
            "}  // namespace quorvel::catalogue",
        ]
    )


# The types are constants with the names of the description, those of C++ aside.
_PLAIN_CONSTANTS = {
    Kind.STRING: "string",
    Kind.INT32: "int32",
    Kind.INT64: "int64",
    Kind.BOOL: "boolean",
    Kind.BUNDLE: "bundle",
    Kind.STRING_LIST: "strings",
}


def _name(type_: Type) -> str:
    return _PLAIN_CONSTANTS.get(type_.kind, type_.name)


def _used_types(interface: Interface) -> list[Type]:
    """Every type that something is of, in the order of the description."""
    things: list[Delegate | Method] = [*interface.delegates, *interface.methods]
    of_values = [parameter.type for thing in things for parameter in thing.parameters]
    of_fields = [field.type for record in interface.records for field in record.fields]
    return list(dict.fromkeys([*of_fields, *(array.element for array in interface.arrays), *of_values]))


def _constant(type_: Type, records: dict[str, str], arrays: dict[str, str], delegates: dict[str, str]) -> str:
    values = [f"Kind::{_KINDS[type_.kind]}", _quoted(type_.name)]
    if type_.kind is Kind.RECORD:
        values += [records[type_.name]]
    elif type_.kind is Kind.ARRAY:
        values += ["nullptr", arrays[type_.name]]
    elif type_.kind is Kind.DELEGATE:
        values += ["nullptr", "nullptr", delegates[type_.name]]
    return braces(f"constexpr Type {_name(type_)} = ", values, ";")


def _quoted(text: str) -> str:
    # JSON's escapes are C++'s, as long as the text is kept as UTF-8.
    return json.dumps(text, ensure_ascii=False)


def _doc(doc: Sequence[str]) -> str:
    return _quoted(" ".join(doc))


def _flag(value: bool) -> str:
    return "true" if value else "false"


def _table(type_name: str, name: str, rows: Sequence[str]) -> str:
    if not rows:
        return f"constexpr std::span<const {type_name}> {name};"
    return "\n".join([f"constexpr {type_name} {name}[] = {{", *rows, "};"])


def _fields(record: Record) -> str:
    rows = [f'    {{"{field.name}", {_name(field.type)}}},' for field in record.fields]
    return _table("Field", f"{record.name}_fields", rows)


def _record(record: Record) -> str:
    return row([_quoted(record.name), f"{record.name}_fields", _doc(record.doc)], ",", indent=4)


def _array(array: Array) -> str:
    return row([_quoted(array.name), _name(array.element), _doc(array.doc)], ",", indent=4)


def _parameters(name: str, parameters: Sequence[Parameter]) -> str:
    rows = [f'    {{"{one.name}", {_name(one.type)}, {_flag(one.secret)}}},' for one in parameters]
    return _table("Parameter", name, rows) if rows else ""


def _delegate(delegate: Delegate) -> str:
    values = [
        str(delegate.number),
        _quoted(delegate.name),
        f"{delegate.name}_parameters" if delegate.parameters else "{}",
        _flag(delegate.once),
        _doc(delegate.doc),
    ]
    return row(values, ",", indent=4)


def _method_parts(method: Method) -> str:
    users = [f"    {_quoted(user)}," for user in method.users]
    parts = [
        _parameters(f"{method.name}_ins", method.ins),
        _parameters(f"{method.name}_outs", method.outs),
        _table("std::string_view", f"{method.name}_users", users) if users else "",
    ]
    return "\n".join(part for part in parts if part)


def _method(method: Method) -> str:
    values = [
        str(method.number),
        _quoted(method.name),
        _quoted(method.family),
        f"{method.name}_ins" if method.ins else "{}",
        f"{method.name}_outs" if method.outs else "{}",
        f"Kind::{_KINDS[method.returns.kind]}",
        _flag(method.secret),
        f"{method.name}_users" if method.users else "{}",
        _doc(method.doc),
    ]
    return row(values, ",", indent=4)


def emit_json(interface: Interface, _source: str) -> str:
    """The same for whoever has a JSON parser nearer than a C++ compiler."""

    def values(parameters: Sequence[Parameter]) -> list[dict[str, Any]]:
        return [
            {"name": one.name, "type": one.type.name, **({"secret": True} if one.secret else {})}
            for one in parameters
        ]

    everything = {
        "interface": interface.name,
        "records": [
            {
                "name": record.name,
                "doc": " ".join(record.doc),
                "fields": [{"name": field.name, "type": field.type.name} for field in record.fields],
            }
            for record in interface.records
        ],
        "arrays": [
            {"name": array.name, "doc": " ".join(array.doc), "element": array.element.name}
            for array in interface.arrays
        ],
        "delegates": [
            {
                "id": delegate.number,
                "name": delegate.name,
                "doc": " ".join(delegate.doc),
                "once": delegate.once,
                "parameters": values(delegate.parameters),
            }
            for delegate in interface.delegates
        ],
        "methods": [
            {
                "id": method.number,
                "name": method.name,
                "family": method.family,
                "doc": " ".join(method.doc),
                "in": values(method.ins),
                "out": values(method.outs),
                "returns": method.returns.name,
                "secret": method.secret,
                "users": list(method.users),
            }
            for method in interface.methods
        ],
    }
    return json.dumps(everything, indent=2, ensure_ascii=False) + "\n"
