"""Cutting a description into tokens."""

from __future__ import annotations

import unittest

from qvidl.errors import DescriptionError, Position
from qvidl.lexer import Token, TokenKind, tokenize


def texts(source: str) -> list[str]:
    return [token.text for token in tokenize(source, "x.idl")[:-1]]


class Lexer(unittest.TestCase):
    def test_cuts_words_numbers_and_symbols(self) -> None:
        self.assertEqual(
            texts("method ring=2(in string[] how_often);"),
            ["method", "ring", "=", "2", "(", "in", "string", "[", "]", "how_often", ")", ";"],
        )

    def test_tells_kinds_apart(self) -> None:
        kinds = [token.kind for token in tokenize("ring2 2 {", "x.idl")]
        self.assertEqual(kinds, [TokenKind.WORD, TokenKind.NUMBER, TokenKind.SYMBOL, TokenKind.END])

    def test_counts_lines_from_one(self) -> None:
        tokens = tokenize("a\n\n  b\r\n// c\nd", "x.idl")
        self.assertEqual([token.position.line for token in tokens], [1, 3, 5, 5])
        self.assertEqual(tokens[0].position, Position("x.idl", 1))

    def test_gives_the_comment_above_to_the_next_token_only(self) -> None:
        first, second, _ = tokenize("// One\n//  two \nring twice", "x.idl")
        self.assertEqual((first.doc, second.doc), (("One", "two"), ()))

    def test_a_blank_line_cuts_the_comment_off(self) -> None:
        (token, _) = tokenize("// One\n\nring", "x.idl")
        self.assertEqual(token.doc, ())

    def test_a_comment_behind_a_token_is_no_documentation(self) -> None:
        tokens = tokenize("ring // loud\ntwice", "x.idl")
        self.assertEqual([token.doc for token in tokens], [(), (), ()])

    def test_a_border_is_no_documentation(self) -> None:
        (token, _) = tokenize("// -----\n// One\n// -----\nring", "x.idl")
        self.assertEqual(token.doc, ("One",))

    def test_an_empty_text_has_only_its_end(self) -> None:
        self.assertEqual(tokenize("", "x.idl"), [Token(TokenKind.END, "", Position("x.idl", 1))])

    def test_names_the_line_of_what_it_cannot_read(self) -> None:
        for source in ("ring\n$", "ring\n/", "ring\n/* */", "ring\n'x'", "ring\n12ab"):
            with self.subTest(source), self.assertRaises(DescriptionError) as caught:
                tokenize(source, "x.idl")
            self.assertRegex(str(caught.exception), r"^x\.idl:2: error: .+, .+")


if __name__ == "__main__":
    unittest.main()
