"""Finds what is wrong with a Description, and resolves it into an Interface when nothing is.

Every rule that can be judged on its own is, so that one run shows all mistakes.
"""

from __future__ import annotations

import difflib
import re
from collections.abc import Iterable, Sequence

from .errors import DescriptionError, Position, Problem
from .model import (
    BOOL,
    BUILT_IN,
    INT32,
    STRING,
    Array,
    Delegate,
    Field,
    Interface,
    Kind,
    Method,
    Parameter,
    Record,
    Type,
)
from .syntax import (
    ArraySyntax,
    DelegateSyntax,
    Description,
    MethodSyntax,
    Name,
    ParameterSyntax,
    RecordSyntax,
    TypeName,
)

FIRST_METHOD = 2  # 0 and 1 open the agent's own parcels: a result, a callback
FIRST_DELEGATE = 1

FIELD_KINDS = (Kind.STRING, Kind.INT32, Kind.BUNDLE, Kind.STRING_LIST)
PARAMETER_KINDS = (
    Kind.STRING,
    Kind.INT32,
    Kind.INT64,
    Kind.BOOL,
    Kind.RECORD,
    Kind.ARRAY,
    Kind.DELEGATE,
)
SECRET_KINDS = (Kind.STRING, Kind.RECORD, Kind.ARRAY)

KEYWORDS = frozenset(
    """alignas alignof and and_eq asm auto bitand bitor bool break case catch char class co_await co_return
    co_yield compl concept const const_cast consteval constexpr constinit continue decltype default delete do
    double dynamic_cast else enum explicit export extern false final float for friend goto if inline int long
    mutable namespace new noexcept not not_eq nullptr operator or or_eq override private protected public
    register reinterpret_cast requires restrict return short signed sizeof static static_assert static_cast
    struct switch template this thread_local throw true try typedef typeid typename typeof union unsigned
    using virtual void volatile wchar_t while xor xor_eq""".split()
)

# What the generated functions call their own things.
TAKEN = frozenset(
    "ask call client clone delegate h holder list parcel parcelable proxy service size user_data".split()
)
TAKEN_TYPES = frozenset(
    """array arrays boolean bundle call callback client damage delegates field interface kind later method
    methods number out parameter plan reader record records request server service strings text
    type writer""".split()
)

_PLAIN_NAME = re.compile(r"^[a-z][a-z0-9]*(_[a-z0-9]+)*$")


def check(found: Description) -> Interface:
    """The meaning of a description; raises DescriptionError with every problem in it."""
    return _Checker(found).interface()


class _Checker:
    def __init__(self, found: Description) -> None:
        self._found = found
        self._problems: list[Problem] = []
        self._types: dict[str, Type] = dict(BUILT_IN)
        for record in found.records:
            self._types.setdefault(record.name.text, Type(Kind.RECORD, record.name.text))
        for array in found.arrays:
            self._types.setdefault(array.name.text, Type(Kind.ARRAY, array.name.text))
        for delegate in found.delegates:
            self._types.setdefault(delegate.name.text, Type(Kind.DELEGATE, delegate.name.text))

    def interface(self) -> Interface:
        found = self._found
        self._names()
        self._numbers("method", found.methods, FIRST_METHOD)
        self._numbers("delegate", found.delegates, FIRST_DELEGATE)
        records = self._records()
        arrays = self._arrays()
        delegates = self._delegates()
        methods = self._methods({delegate.name for delegate in delegates if delegate.secret})
        if self._problems:
            raise DescriptionError(sorted(set(self._problems)))
        return Interface(
            found.interface.text,
            found.doc,
            tuple(records),
            tuple(arrays),
            tuple(sorted(delegates, key=lambda delegate: delegate.number)),
            tuple(sorted(methods, key=lambda method: method.number)),
            tuple(dict.fromkeys(method.family for method in methods)),
        )

    def _wrong(self, position: Position, text: str) -> None:
        self._problems.append(Problem(position, text))

    # Names and numbers.

    def _names(self) -> None:
        found = self._found
        self._plain(found.interface)
        if not found.methods:
            self._wrong(
                found.interface.position, f'interface "{found.interface.text}" has no methods, declare one'
            )
        types: list[RecordSyntax | ArraySyntax | DelegateSyntax] = [
            *found.records,
            *found.arrays,
            *found.delegates,
        ]
        declarations: list[RecordSyntax | ArraySyntax | DelegateSyntax | MethodSyntax] = [
            *types,
            *found.methods,
        ]
        for declaration in declarations:
            self._plain(declaration.name)
            if not declaration.doc:
                self._wrong(
                    declaration.name.position,
                    f'"{declaration.name.text}" has no comment, say directly above it what it is for',
                )
        for declared in types:
            if declared.name.text in BUILT_IN or declared.name.text in TAKEN_TYPES:
                self._wrong(declared.name.position, f'"{declared.name.text}" is taken, choose another name')
        self._unique([declared.name for declared in types])
        self._unique([method.name for method in found.methods])

    def _plain(self, name: Name) -> None:
        if name.text in KEYWORDS:
            self._wrong(name.position, f'"{name.text}" is a word of C or C++, choose another name')
        elif not _PLAIN_NAME.match(name.text):
            self._wrong(
                name.position,
                f'"{name.text}" is not a plain name, write lower case words joined by single underscores',
            )

    def _inner(self, name: Name) -> None:
        """The name of a field or a parameter, which stands beside what the generated code needs itself."""
        self._plain(name)
        if name.text in TAKEN:
            self._wrong(name.position, f'"{name.text}" is used by the generated code, choose another name')

    def _unique(self, names: Iterable[Name], within: str = "") -> None:
        first: dict[str, Name] = {}
        for name in names:
            other = first.setdefault(name.text, name)
            if other is not name:
                self._wrong(
                    name.position,
                    f'"{name.text}" is declared already{within}, at line {other.position.line},'
                    " choose another name",
                )

    def _numbers(self, what: str, declared: Sequence[DelegateSyntax | MethodSyntax], smallest: int) -> None:
        used: dict[int, str] = {}
        for retired in self._found.retired:
            if retired.what != what:
                continue
            if retired.number in used:
                self._wrong(retired.position, f"{what} {retired.number} is retired already, remove this line")
            used[retired.number] = "retired"
        for one in declared:
            where = one.name.position
            other = used.get(one.number)
            if one.number < smallest:
                self._wrong(
                    where, f'{what}s are numbered from {smallest}, give "{one.name.text}" another number'
                )
            elif other == "retired":
                self._wrong(
                    where, f'{what} {one.number} is retired, give "{one.name.text}" a number of its own'
                )
            elif other is not None:
                self._wrong(
                    where,
                    f'{what} {one.number} is "{other}" already, give "{one.name.text}" a number of its own',
                )
            else:
                used[one.number] = one.name.text
        expected = smallest
        by_number = {one.number: one for one in reversed(declared)}
        for number in sorted(number for number in used if number >= smallest):
            if number > expected and number in by_number:
                missing = (
                    f"number {expected} is"
                    if number == expected + 1
                    else f"numbers {expected} to {number - 1} are"
                )
                self._wrong(
                    by_number[number].name.position,
                    f'{what} {missing} missing before "{by_number[number].name.text}", number it {expected}'
                    f' or write "retired {what} {expected};"',
                )
            expected = number + 1

    # Types.

    def _resolve(self, written: TypeName) -> Type | None:
        known = self._types.get(str(written))
        if known is not None:
            return known
        if written.is_list and written.name.text in self._types:
            self._wrong(
                written.name.position,
                f'"{written}" is no type, only "string[]" is a list; declare an array of records instead',
            )
            return None
        near = difflib.get_close_matches(written.name.text, self._types, n=1, cutoff=0.6)
        advice = f'did you mean "{near[0]}"?' if near else "declare it or use another type"
        self._wrong(written.name.position, f'the type "{written}" is not known, {advice}')
        return None

    def _records(self) -> list[Record]:
        records = []
        for record in self._found.records:
            if not record.fields:
                self._wrong(record.name.position, f'record "{record.name.text}" has no fields, give it one')
            fields = []
            names = []
            for field in record.fields:
                self._inner(field.name)
                names.append(field.name)
                type_ = self._resolve(field.type)
                if type_ is None:
                    continue
                if type_.kind not in FIELD_KINDS:
                    self._wrong(
                        field.name.position,
                        f'a field cannot be of type "{field.type}",'
                        " only string, int32, bundle and string[] lie in a record",
                    )
                    continue
                if type_.kind is Kind.STRING_LIST:
                    names.append(Name(field.name.text + "_size", field.name.position))
                fields.append(Field(field.name.text, type_, field.doc))
            self._unique(names, f' in record "{record.name.text}"')
            records.append(Record(record.name.text, tuple(fields), record.doc))
        return records

    def _arrays(self) -> list[Array]:
        arrays = []
        for array in self._found.arrays:
            element = self._resolve(array.element)
            if element is None:
                continue
            if element != STRING and element.kind is not Kind.RECORD:
                self._wrong(
                    array.element.name.position,
                    f'an array cannot hold elements of type "{array.element}", only a record or string',
                )
                continue
            arrays.append(Array(array.name.text, element, array.doc))
        return arrays

    def _parameters(self, parameters: Sequence[ParameterSyntax], owner: str) -> tuple[Parameter, ...]:
        resolved = []
        for parameter in parameters:
            self._inner(parameter.name)
            type_ = self._resolve(parameter.type)
            secret = False
            for attribute in parameter.attributes:
                if attribute.text != "secret":
                    self._wrong(
                        attribute.position, f'there is no attribute "{attribute.text}", only [secret]'
                    )
                elif secret:
                    self._wrong(
                        attribute.position, f'"{parameter.name.text}" is secret already, remove one [secret]'
                    )
                else:
                    secret = True
            if type_ is None:
                continue
            if type_.kind not in PARAMETER_KINDS:
                instead = "array of strings" if type_.kind is Kind.STRING_LIST else "record that holds it"
                self._wrong(
                    parameter.name.position,
                    f'a parameter cannot be of type "{parameter.type}", use an {instead}'.replace(
                        "an record", "a record"
                    ),
                )
                continue
            if secret and type_.kind not in SECRET_KINDS:
                self._wrong(
                    parameter.name.position,
                    f'"{parameter.name.text}" is of type "{parameter.type}",'
                    " only texts, records and arrays can be [secret]",
                )
            resolved.append(Parameter(parameter.name.text, type_, secret, parameter.direction == "out"))
        self._unique([parameter.name for parameter in parameters], f' in "{owner}"')
        return tuple(resolved)

    def _delegates(self) -> list[Delegate]:
        delegates = []
        for delegate in self._found.delegates:
            parameters = self._parameters(delegate.parameters, delegate.name.text)
            for parameter in delegate.parameters:
                if self._types.get(str(parameter.type), STRING).kind is Kind.DELEGATE:
                    self._wrong(
                        parameter.name.position,
                        f'delegate "{delegate.name.text}" cannot carry a delegate,'
                        " only a method can take one",
                    )
            delegates.append(
                Delegate(delegate.name.text, delegate.number, parameters, delegate.once, delegate.doc)
            )
        return delegates

    def _methods(self, secret_delegates: set[str]) -> list[Method]:
        methods = []
        for method in self._found.methods:
            parameters = self._parameters(method.parameters, method.name.text)
            self._directions(method)
            for parameter in method.parameters:
                if str(parameter.type) == "int64":
                    self._wrong(
                        parameter.name.position,
                        f'method "{method.name.text}" cannot carry an int64, only a delegate can;'
                        " use int32 or string",
                    )
            self._unique(method.users, f' as a caller of "{method.name.text}"')
            returns = INT32
            if method.returns is not None:
                if str(method.returns) == "bool":
                    returns = BOOL
                else:
                    self._wrong(
                        method.returns.name.position,
                        f'a method cannot return "{method.returns}", write "returns bool"'
                        " or nothing, which means int32",
                    )
            if method.family is None:
                self._wrong(
                    method.name.position,
                    f'method "{method.name.text}" belongs to no family, write "family NAME;" above it',
                )
            methods.append(
                Method(
                    method.name.text,
                    method.number,
                    parameters,
                    returns,
                    tuple(user.text for user in method.users),
                    method.family.text if method.family is not None else "",
                    any(one.secret or one.type.name in secret_delegates for one in parameters),
                    method.doc,
                )
            )
        return methods

    def _directions(self, method: MethodSyntax) -> None:
        seen_out = False
        for parameter in method.parameters:
            if parameter.direction == "in" and seen_out:
                self._wrong(
                    parameter.name.position,
                    f'"{parameter.name.text}" goes in but stands behind one that comes out,'
                    " put all that go in first",
                )
            seen_out = seen_out or parameter.direction == "out"
            if (
                parameter.direction == "out"
                and self._types.get(str(parameter.type), STRING).kind is Kind.DELEGATE
            ):
                self._wrong(
                    parameter.name.position,
                    f'delegate "{parameter.name.text}" cannot come out of a method, write "in"',
                )
