"""Lays out generated C and C++ the way a person (or clang-format) would: 4 spaces, 110 columns."""

from __future__ import annotations

import textwrap
from collections.abc import Iterable, Sequence

WIDTH = 110

GENERATED = "Generated from {source} by qvidl: change the description, not this file."


def call(head: str, arguments: Sequence[str], tail: str = "") -> str:
    """`head(arguments)tail`, broken so that no line is too long.

    A call that does not fit on one line goes on below its opening parenthesis; one that would become a tall
    and narrow column there goes on in the next line instead. `head` brings its own indentation.
    """
    if len(_last_line(head)) >= WIDTH:
        # Only a result with a long name makes a head so long: it gets a line of its own.
        head = "\n".join(head.rsplit(" ", 1))
    return _broken(head + "(", list(arguments), ")" + tail)


def alias(type_name: str, name: str) -> str:
    """A typedef; one that is too long goes on in the next line."""
    one_line = f"typedef {type_name} {name};"
    return one_line if len(one_line) <= WIDTH else f"typedef {type_name}\n    {name};"


def angles(head: str, arguments: Sequence[str], tail: str = "") -> str:
    """`head<arguments>tail`, broken like a call."""
    return _broken(head + "<", list(arguments), ">" + tail)


def row(values: Sequence[str], tail: str = "", indent: int = 0) -> str:
    """`{values}tail`, a line of a table, broken like a call."""
    return _broken(" " * indent + "{", list(values), "}" + tail)


def braces(head: str, values: Sequence[str], tail: str = "") -> str:
    """`head{values}tail`: on one line, or all values on the next, or each on its own."""
    one_line = f"{head}{{{', '.join(values)}}}{tail}"
    if len(one_line) <= WIDTH:
        return one_line
    margin = " " * (_indent(head) + 4)
    hanging = f"{margin}{', '.join(values)}}}{tail}"
    if len(hanging) <= WIDTH:
        return f"{head}{{\n{hanging}"
    lines = "".join(_value(value, margin) + "\n" for value in values)
    return f"{head}{{\n{lines}{margin[4:]}}}{tail}"


def _value(value: str, margin: str) -> str:
    line = f"{margin}{value},"
    if len(line) <= WIDTH or not value.startswith("{"):
        return line
    return row(value[1:-1].split(", "), ",", len(margin))


def _broken(opening: str, pieces: list[str], closing: str) -> str:
    pieces = [piece + ", " for piece in pieces[:-1]] + [piece + closing for piece in pieces[-1:]]
    if not pieces:
        return opening + closing
    first = _last_line(opening)
    if len(first + "".join(pieces)) <= WIDTH:
        return opening + "".join(pieces)
    aligned = _packed(opening, pieces, len(first))
    indent = _indent(first) + 4
    hanging = _packed(opening + "\n" + " " * indent, pieces, indent)
    if _fits(aligned) and aligned.count("\n") <= hanging.count("\n") + 1:
        return aligned
    # What fits nowhere, a long text say, stays where it is found best.
    return hanging if _fits(hanging) else aligned


def _packed(start: str, pieces: Sequence[str], column: int) -> str:
    text = start
    line = len(_last_line(start))
    for piece in pieces:
        if line > column and line + len(piece.rstrip()) > WIDTH:
            text = text.rstrip() + "\n" + " " * column
            line = column
        text += piece
        line += len(piece)
    return text.rstrip()


def _last_line(text: str) -> str:
    return text.rsplit("\n", 1)[-1]


def _indent(text: str) -> int:
    last = _last_line(text)
    return len(last) - len(last.lstrip())


def _fits(text: str) -> bool:
    return all(len(line) <= WIDTH for line in text.split("\n"))


def comment(doc: Iterable[str], indent: int = 0, opening: str = "/// ") -> str:
    """A C++ comment of whole lines."""
    margin = " " * indent + opening
    lines: list[str] = []
    for paragraph in doc:
        lines += textwrap.wrap(paragraph, WIDTH - len(margin)) or [""]
    return "\n".join((margin + line).rstrip() for line in lines)


def c_comment(doc: Sequence[str], indent: int = 0) -> str:
    """A documentation comment in C: on one line where it fits."""
    margin = " " * indent
    one_line = f"{margin}/** {' '.join(doc)} */"
    if len(doc) == 1 and len(one_line) <= WIDTH:
        return one_line
    lines: list[str] = []
    for paragraph in doc:
        lines += textwrap.wrap(paragraph, WIDTH - indent - 3) or [""]
    return "\n".join([f"{margin}/**", *(f"{margin} * {line}".rstrip() for line in lines), f"{margin} */"])


def blocks(parts: Iterable[str]) -> str:
    """Parts with one blank line between them, and a newline at the end."""
    return "\n\n".join(part.strip("\n") for part in parts if part) + "\n"
