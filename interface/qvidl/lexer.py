"""Cuts the text of a description into tokens.

Comments are no tokens: the lines of a `//` block that ends right above a token become the token's `doc`, so
that a parser finds the documentation of a declaration on its first word. A blank line cuts the tie.
"""

from __future__ import annotations

import enum
import re
from dataclasses import dataclass, field

from .errors import DescriptionError, Position, fail


class TokenKind(enum.Enum):
    WORD = "a name"
    NUMBER = "a number"
    SYMBOL = "a symbol"
    END = "the end of the file"


@dataclass(frozen=True)
class Token:
    kind: TokenKind
    text: str
    position: Position
    doc: tuple[str, ...] = field(default=(), compare=False)

    def described(self) -> str:
        return "the end of the file" if self.kind is TokenKind.END else f'"{self.text}"'


_PIECE = re.compile(
    r"""(?P<space>[ \t\r]+)
      | (?P<comment>//[^\n]*)
      | (?P<number>[0-9]+)(?![A-Za-z_0-9])
      | (?P<word>[A-Za-z_][A-Za-z_0-9]*)
      | (?P<symbol>[{}()\[\];,=])""",
    re.VERBOSE,
)

# A line of dashes only draws a border; it says nothing about the declaration below it.
_BORDER = re.compile(r"^-{3,}$")


def tokenize(text: str, file: str) -> list[Token]:
    """All tokens of `text`, the last of them the end of the file."""
    tokens: list[Token] = []
    comment: list[str] = []
    number = 0
    for number, line in enumerate(text.split("\n"), start=1):
        position = Position(file, number)
        at = 0
        saw_token = False
        while at < len(line):
            piece = _PIECE.match(line, at)
            if piece is None:
                raise _unreadable(line[at:], position)
            at = piece.end()
            if piece.lastgroup == "space":
                continue
            if piece.lastgroup == "comment":
                if not saw_token:
                    comment.append(piece.group()[2:].strip())
                continue
            kinds = {"number": TokenKind.NUMBER, "word": TokenKind.WORD}
            kind = kinds.get(str(piece.lastgroup), TokenKind.SYMBOL)
            tokens.append(Token(kind, piece.group(), position, _documentation(comment)))
            comment = []
            saw_token = True
        if not line.strip():
            comment = []
    tokens.append(Token(TokenKind.END, "", Position(file, number)))
    return tokens


def _documentation(lines: list[str]) -> tuple[str, ...]:
    return tuple(line for line in lines if not _BORDER.match(line))


def _unreadable(rest: str, position: Position) -> DescriptionError:
    if rest.startswith("/*"):
        return fail(position, 'comments with "/*" are not known, begin each line with "//"')
    if rest[0].isdigit():
        wrong = re.match(r"[0-9A-Za-z_]+", rest)
        assert wrong is not None
        return fail(
            position, f'"{wrong.group()}" is neither a number nor a name, a name begins with a letter'
        )
    if rest[0] in "\"'":
        return fail(position, "there are no quoted texts in a description, remove the quotation mark")
    if rest[0] == "/":
        return fail(position, 'a single "/" means nothing, a comment begins with "//"')
    return fail(position, f'the character "{rest[0]}" means nothing here, remove it')
