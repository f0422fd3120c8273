"""The reference of an interface, in Markdown."""

from __future__ import annotations

from collections.abc import Sequence

from ..layout import GENERATED
from ..model import Array, Delegate, Interface, Kind, Method, Parameter, Record, Type

_HEAD = """<!-- {generated} -->

# The interface {name}

What a client and the agent say to each other over the port `{name}`: {methods} methods, {delegates}
delegates, {records} records and {arrays} arrays. [Methods](#methods) · [Delegates](#delegates) ·
[Records](#records) · [Arrays](#arrays)

## How values cross the port

| value | how it is written |
|---|---|
| string | a string; one that is absent goes out as an empty one |
| int32, int64, bool | as they are |
| bundle | a bundle |
| string[] | a count, then that many strings |
| a record | its fields one after the other, in their order, with nothing between or around them |
| an array | a count, then its elements one after the other |
| a delegate | int32 its type's number, int32 its sequence number, bool whether it is for one call only |

* A **request** goes to the agent on the main port: int32 the method's number, then what goes in.
* Its **answer** comes back on the main port: int32 0, then what comes out, then the return value. Answers
  come in the order of the requests.
* A **callback** comes on the callback port: int32 1, then a delegate as above, then its parameters.

Values marked *secret* are never logged, never shown, and wiped when they are released."""


def emit(interface: Interface, source: str) -> str:
    head = _HEAD.format(
        generated=GENERATED.format(source=source),
        name=interface.name,
        methods=len(interface.methods),
        delegates=len(interface.delegates),
        records=len(interface.records),
        arrays=len(interface.arrays),
    )
    parts = [head, "## Methods"]
    for family in interface.families:
        methods = [method for method in interface.methods if method.family == family]
        parts += [f"### The {family} family", _index(methods), *(_method(method) for method in methods)]
    parts += ["## Delegates", _index(interface.delegates)]
    parts += [_delegate(interface, delegate) for delegate in interface.delegates]
    parts += ["## Records", *(_record(record) for record in interface.records)]
    parts += [
        "## Arrays",
        "\n".join(["| array | of |", "|---|---|", *(_array(array) for array in interface.arrays)]),
    ]
    return "\n\n".join(parts) + "\n"


def _index(things: Sequence[Method | Delegate]) -> str:
    rows = [
        f"| {thing.number} | [`{thing.name}`](#{_anchor(thing)}) | {_first(thing.doc)} |" for thing in things
    ]
    return "\n".join(["| id | name | |", "|---|---|---|", *rows])


def _anchor(thing: Method | Delegate | Record | Type) -> str:
    kinds = {Method: "method", Delegate: "delegate", Record: "record"}
    what = kinds.get(type(thing)) or (
        "delegate" if getattr(thing, "kind", None) is Kind.DELEGATE else "record"
    )
    return f"{what}-{thing.name}"


def _first(doc: Sequence[str]) -> str:
    return " ".join(doc).replace("|", "\\|")


def _heading(thing: Method | Delegate | Record, title: str) -> str:
    return f'<a id="{_anchor(thing)}"></a>\n#### {title}'


def _type(type_: Type) -> str:
    if type_.kind in (Kind.RECORD, Kind.DELEGATE):
        return f"[`{type_.name}`](#{_anchor(type_)})"
    return f"[`{type_.name}`](#arrays)" if type_.kind is Kind.ARRAY else type_.name


def _values(parameters: Sequence[Parameter]) -> str:
    if not parameters:
        return "nothing"
    return ", ".join(
        f"`{one.name}` {_type(one.type)}" + (" (*secret*)" if one.secret else "") for one in parameters
    )


def _method(method: Method) -> str:
    returns = "bool" if method.returns.kind is Kind.BOOL else "int32, 0 for success"
    lines = [
        _heading(method, f"{method.number} `{method.name}`"),
        "",
        " ".join(method.doc),
        "",
        f"* In: {_values(method.ins)}",
        f"* Out: {_values(method.outs)}",
        f"* Returns: {returns}",
    ]
    used = ", ".join(f"`{user}`" for user in method.users)
    lines.append(f"* Used by: {used}" if used else "* Used by nothing in the library; it keeps its number.")
    return "\n".join(lines)


def _delegate(interface: Interface, delegate: Delegate) -> str:
    takers = ", ".join(f"[`{method.name}`](#{_anchor(method)})" for method in interface.users_of(delegate))
    return "\n".join(
        [
            _heading(delegate, f"{delegate.number} `{delegate.name}`"),
            "",
            " ".join(delegate.doc),
            "",
            f"* Carries: {_values(delegate.parameters)}",
            f"* Made for: {'one call' if delegate.once else 'any number of calls'}",
            f"* Taken by: {takers}" if takers else "* Taken by no method; it keeps its number.",
        ]
    )


def _record(record: Record) -> str:
    rows = [f"| `{field.name}` | {_type(field.type)} | {_first(field.doc)} |" for field in record.fields]
    return "\n".join(
        [
            _heading(record, f"`{record.name}`"),
            "",
            " ".join(record.doc),
            "",
            "| field | type | |",
            "|---|---|---|",
            *rows,
        ]
    )


def _array(array: Array) -> str:
    return f"| `{array.name}` | {_type(array.element)} |"
