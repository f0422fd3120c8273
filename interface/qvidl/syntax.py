"""The tree that the parser makes: what was written, not yet what it means."""

from __future__ import annotations

from dataclasses import dataclass, field

from .errors import Position


@dataclass(frozen=True)
class Name:
    text: str
    position: Position


@dataclass(frozen=True)
class TypeName:
    """`string`, `string[]`, `device_s` …"""

    name: Name
    is_list: bool = False

    def __str__(self) -> str:
        return self.name.text + ("[]" if self.is_list else "")


@dataclass(frozen=True)
class FieldSyntax:
    type: TypeName
    name: Name
    doc: tuple[str, ...] = ()


@dataclass(frozen=True)
class ParameterSyntax:
    type: TypeName
    name: Name
    direction: str = ""  # "in", "out", or "" for a delegate's
    attributes: tuple[Name, ...] = ()


@dataclass(frozen=True)
class RecordSyntax:
    name: Name
    fields: tuple[FieldSyntax, ...]
    doc: tuple[str, ...] = ()


@dataclass(frozen=True)
class ArraySyntax:
    name: Name
    element: TypeName
    doc: tuple[str, ...] = ()


@dataclass(frozen=True)
class DelegateSyntax:
    name: Name
    number: int
    parameters: tuple[ParameterSyntax, ...]
    once: bool
    doc: tuple[str, ...] = ()


@dataclass(frozen=True)
class MethodSyntax:
    name: Name
    number: int
    parameters: tuple[ParameterSyntax, ...]
    returns: TypeName | None
    users: tuple[Name, ...]
    family: Name | None
    doc: tuple[str, ...] = ()


@dataclass(frozen=True)
class RetiredSyntax:
    """A number that is used no more and never again."""

    what: str  # "method" or "delegate"
    number: int
    position: Position


@dataclass
class Description:
    """A whole file."""

    interface: Name
    doc: tuple[str, ...] = ()
    records: list[RecordSyntax] = field(default_factory=list)
    arrays: list[ArraySyntax] = field(default_factory=list)
    delegates: list[DelegateSyntax] = field(default_factory=list)
    methods: list[MethodSyntax] = field(default_factory=list)
    retired: list[RetiredSyntax] = field(default_factory=list)
