"""What a checked description means: every type resolved, every number known to be good."""

from __future__ import annotations

import enum
from dataclasses import dataclass


class Kind(enum.Enum):
    """How a value crosses the port."""

    STRING = "string"
    INT32 = "int32"
    INT64 = "int64"
    BOOL = "bool"
    BUNDLE = "bundle"
    STRING_LIST = "string[]"
    RECORD = "record"
    ARRAY = "array"
    DELEGATE = "delegate"


@dataclass(frozen=True)
class Type:
    """A type; `name` is the word that the description uses for it."""

    kind: Kind
    name: str


STRING = Type(Kind.STRING, "string")
INT32 = Type(Kind.INT32, "int32")
INT64 = Type(Kind.INT64, "int64")
BOOL = Type(Kind.BOOL, "bool")
BUNDLE = Type(Kind.BUNDLE, "bundle")
STRING_LIST = Type(Kind.STRING_LIST, "string[]")

BUILT_IN = {plain.name: plain for plain in (STRING, INT32, INT64, BOOL, BUNDLE, STRING_LIST)}


@dataclass(frozen=True)
class Field:
    name: str
    type: Type
    doc: tuple[str, ...]


@dataclass(frozen=True)
class Parameter:
    name: str
    type: Type
    secret: bool
    out: bool = False


@dataclass(frozen=True)
class Record:
    name: str
    fields: tuple[Field, ...]
    doc: tuple[str, ...]


@dataclass(frozen=True)
class Array:
    name: str
    element: Type
    doc: tuple[str, ...]

    @property
    def elements(self) -> str:
        """The name of the element vector: array_device_ss, array_strings."""
        return self.name + "s"


@dataclass(frozen=True)
class Delegate:
    name: str
    number: int
    parameters: tuple[Parameter, ...]
    once: bool
    doc: tuple[str, ...]

    @property
    def secret(self) -> bool:
        return any(parameter.secret for parameter in self.parameters)


@dataclass(frozen=True)
class Method:
    name: str
    number: int
    parameters: tuple[Parameter, ...]
    returns: Type
    users: tuple[str, ...]
    family: str
    secret: bool  # a parameter is, or one of a delegate that it takes
    doc: tuple[str, ...]

    @property
    def ins(self) -> tuple[Parameter, ...]:
        return tuple(parameter for parameter in self.parameters if not parameter.out)

    @property
    def outs(self) -> tuple[Parameter, ...]:
        return tuple(parameter for parameter in self.parameters if parameter.out)


@dataclass(frozen=True)
class Interface:
    """Delegates and methods are sorted by number; records and arrays stand as they were written."""

    name: str
    doc: tuple[str, ...]
    records: tuple[Record, ...]
    arrays: tuple[Array, ...]
    delegates: tuple[Delegate, ...]
    methods: tuple[Method, ...]
    families: tuple[str, ...]

    def users_of(self, delegate: Delegate) -> tuple[Method, ...]:
        """The methods that take a delegate of this type."""
        return tuple(
            method
            for method in self.methods
            if any(parameter.type == Type(Kind.DELEGATE, delegate.name) for parameter in method.parameters)
        )
