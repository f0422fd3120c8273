"""Reads tokens into a Description.

    interface NAME ;
    family NAME ;
    record NAME { TYPE NAME ; ... }
    array NAME of TYPE ;
    delegate NAME = NUMBER ( [ATTRIBUTE] TYPE NAME , ... ) once? ;
    method NAME = NUMBER ( [ATTRIBUTE] in|out TYPE NAME , ... ) (returns bool)? (used by NAME , ...)? ;
    retired method|delegate NUMBER ;

The parser stops at its first problem: what follows a broken declaration would only be guessed at.
"""

from __future__ import annotations

from collections.abc import Callable

from .errors import DescriptionError, fail
from .lexer import Token, TokenKind, tokenize
from .syntax import (
    ArraySyntax,
    DelegateSyntax,
    Description,
    FieldSyntax,
    MethodSyntax,
    Name,
    ParameterSyntax,
    RecordSyntax,
    RetiredSyntax,
    TypeName,
)

LARGEST_NUMBER = 2**31 - 1


def parse(text: str, file: str) -> Description:
    return _Parser(tokenize(text, file)).description()


class _Parser:
    def __init__(self, tokens: list[Token]) -> None:
        self._tokens = tokens
        self._at = 0
        self._family: Name | None = None
        self._declarations: dict[str, Callable[[Description, tuple[str, ...]], None]] = {
            "record": self._record,
            "array": self._array,
            "delegate": self._delegate,
            "method": self._method,
            "family": self._set_family,
            "retired": self._retired,
        }

    def description(self) -> Description:
        doc = self._next.doc
        self._keyword("interface", 'a description begins with "interface NAME;"')
        found = Description(self._name("the interface's name"), doc)
        self._symbol(";")
        while self._next.kind is not TokenKind.END:
            first = self._take()
            declare = self._declarations.get(first.text)
            if declare is None:
                known = ", ".join(f'"{word}"' for word in self._declarations)
                raise self._expected(f"a declaration, which begins with one of {known}", first)
            declare(found, first.doc)
        return found

    # The declarations, each after its first word.

    def _set_family(self, _found: Description, _doc: tuple[str, ...]) -> None:
        self._family = self._name("the family's name")
        self._symbol(";")

    def _record(self, found: Description, doc: tuple[str, ...]) -> None:
        name = self._name("the record's name")
        self._symbol("{")
        fields: list[FieldSyntax] = []
        while not self._accept("}"):
            field_doc = self._next.doc
            fields.append(
                FieldSyntax(self._type('a field\'s type or "}"'), self._name("the field's name"), field_doc)
            )
            self._symbol(";")
        found.records.append(RecordSyntax(name, tuple(fields), doc))

    def _array(self, found: Description, doc: tuple[str, ...]) -> None:
        name = self._name("the array's name")
        self._keyword("of", 'an array is written "array NAME of TYPE;"')
        element = self._type("the type of the elements")
        self._symbol(";")
        found.arrays.append(ArraySyntax(name, element, doc))

    def _delegate(self, found: Description, doc: tuple[str, ...]) -> None:
        name, number = self._numbered("delegate")
        parameters = self._parameters(directed=False)
        once = self._accept("once")
        self._symbol(";")
        found.delegates.append(DelegateSyntax(name, number, parameters, once, doc))

    def _method(self, found: Description, doc: tuple[str, ...]) -> None:
        name, number = self._numbered("method")
        parameters = self._parameters(directed=True)
        returns = self._type("the type of the return value") if self._accept("returns") else None
        users: list[Name] = []
        if self._accept("used"):
            self._keyword("by", 'the callers of a method are written "used by NAME, NAME"')
            users.append(self._name("the name of a caller"))
            while self._accept(","):
                users.append(self._name("the name of a caller"))
        self._symbol(";")
        found.methods.append(MethodSyntax(name, number, parameters, returns, tuple(users), self._family, doc))

    def _retired(self, found: Description, _doc: tuple[str, ...]) -> None:
        what = self._take()
        if what.text not in ("method", "delegate"):
            raise self._expected('"method" or "delegate"', what)
        found.retired.append(
            RetiredSyntax(what.text, self._number(f"the {what.text}'s number"), what.position)
        )
        self._symbol(";")

    # Their pieces.

    def _numbered(self, what: str) -> tuple[Name, int]:
        name = self._name(f"the {what}'s name")
        if not self._accept("="):
            raise self._expected(f'"=" and the number of {what} {name.text}', self._next)
        return name, self._number(f"the number of {what} {name.text}")

    def _parameters(self, directed: bool) -> tuple[ParameterSyntax, ...]:
        self._symbol("(")
        parameters: list[ParameterSyntax] = []
        if self._accept(")"):
            return ()
        while True:
            parameters.append(self._parameter(directed))
            if self._accept(")"):
                return tuple(parameters)
            if not self._accept(","):
                raise self._expected('"," or ")" after a parameter', self._next)

    def _parameter(self, directed: bool) -> ParameterSyntax:
        attributes: list[Name] = []
        while self._accept("["):
            attributes.append(self._name("an attribute"))
            self._symbol("]")
        direction = ""
        if directed:
            if self._next.text not in ("in", "out"):
                raise self._expected('"in" or "out" before the type of a method\'s parameter', self._next)
            direction = self._take().text
        elif self._next.text in ("in", "out"):
            raise fail(
                self._next.position,
                f'a delegate\'s parameters have no direction, remove "{self._next.text}"',
            )
        return ParameterSyntax(
            self._type("a type"), self._name("the parameter's name"), direction, tuple(attributes)
        )

    def _type(self, what: str) -> TypeName:
        name = self._name(what)
        is_list = self._accept("[")
        if is_list:
            self._symbol("]")
        return TypeName(name, is_list)

    def _name(self, what: str) -> Name:
        if self._next.kind is not TokenKind.WORD:
            raise self._expected(what, self._next)
        token = self._take()
        return Name(token.text, token.position)

    def _number(self, what: str) -> int:
        if self._next.kind is not TokenKind.NUMBER:
            raise self._expected(what, self._next)
        token = self._take()
        number = int(token.text)
        if number > LARGEST_NUMBER:
            raise fail(
                token.position, f"{token.text} does not fit into an int32, {LARGEST_NUMBER} is the largest"
            )
        return number

    def _symbol(self, text: str) -> None:
        if self._accept(text):
            return
        before = self._tokens[self._at - 1]
        if before.position != self._next.position:
            # It was forgotten at the end of the line before.
            raise fail(before.position, f'expected "{text}" after "{before.text}"')
        raise self._expected(f'"{text}"', self._next)

    def _keyword(self, text: str, advice: str) -> None:
        if not self._accept(text):
            raise fail(self._next.position, f'expected "{text}" but found {self._next.described()}, {advice}')

    # The tokens.

    @property
    def _next(self) -> Token:
        return self._tokens[self._at]

    def _take(self) -> Token:
        token = self._next
        if token.kind is not TokenKind.END:
            self._at += 1
        return token

    def _accept(self, text: str) -> bool:
        if self._next.text != text or self._next.kind is TokenKind.END:
            return False
        self._at += 1
        return True

    @staticmethod
    def _expected(what: str, found: Token) -> DescriptionError:
        return fail(found.position, f"expected {what} but found {found.described()}")
