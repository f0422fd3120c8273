"""Reading tokens into the tree of declarations."""

from __future__ import annotations

import unittest

from qvidl.errors import DescriptionError, Position
from qvidl.parser import parse
from qvidl.syntax import FieldSyntax, Name, ParameterSyntax, TypeName

LINE = Position("x.idl", 1)


def name(text: str) -> Name:
    return Name(text, LINE)


def type_name(text: str, is_list: bool = False) -> TypeName:
    return TypeName(name(text), is_list)


class Parser(unittest.TestCase):
    def test_an_interface_alone_is_a_description(self) -> None:
        found = parse("interface home;", "x.idl")
        self.assertEqual(found.interface, name("home"))
        self.assertEqual((found.records, found.arrays, found.delegates, found.methods), ([], [], [], []))

    def test_reads_the_fields_of_a_record_in_their_order(self) -> None:
        (record,) = parse("interface home; record lamp_s { string id; string[] tags; }", "x.idl").records
        self.assertEqual(record.name, name("lamp_s"))
        self.assertEqual(
            record.fields,
            (
                FieldSyntax(type_name("string"), name("id")),
                FieldSyntax(type_name("string", is_list=True), name("tags")),
            ),
        )

    def test_keeps_the_comments_of_declarations_and_fields(self) -> None:
        found = parse(
            "// A home.\ninterface home;\n// A lamp.\nrecord lamp_s {\n// Its id.\nstring id;\n}", "x.idl"
        )
        self.assertEqual(found.doc, ("A home.",))
        self.assertEqual(found.records[0].doc, ("A lamp.",))
        self.assertEqual(found.records[0].fields[0].doc, ("Its id.",))

    def test_reads_an_array(self) -> None:
        (array,) = parse("interface home; array array_string of string;", "x.idl").arrays
        self.assertEqual((array.name, array.element), (name("array_string"), type_name("string")))

    def test_reads_a_delegate_with_its_number_and_that_it_is_for_one_call(self) -> None:
        found = parse(
            "interface home; delegate a_cb = 7 ([secret] string s) once; delegate b_cb = 8 ();", "x.idl"
        )
        first, second = found.delegates
        self.assertEqual((first.number, first.once), (7, True))
        self.assertEqual(
            first.parameters, (ParameterSyntax(type_name("string"), name("s"), "", (name("secret"),)),)
        )
        self.assertEqual((second.number, second.once, second.parameters), (8, False, ()))

    def test_reads_a_method_with_directions_result_and_callers(self) -> None:
        (method,) = parse(
            "interface home; method ring = 2 (in string how, out int32 often) returns bool used by a, b;",
            "x.idl",
        ).methods
        self.assertEqual(method.number, 2)
        self.assertEqual([one.direction for one in method.parameters], ["in", "out"])
        self.assertEqual(method.returns, type_name("bool"))
        self.assertEqual(method.users, (name("a"), name("b")))
        self.assertIsNone(method.family)

    def test_a_family_holds_until_the_next_one(self) -> None:
        found = parse(
            "interface home; family x; method a = 2 (); method b = 3 (); family y; method c = 4 ();", "x.idl"
        )
        self.assertEqual([method.family for method in found.methods], [name("x"), name("x"), name("y")])

    def test_reads_retired_numbers(self) -> None:
        found = parse("interface home; retired method 5; retired delegate 6;", "x.idl")
        self.assertEqual([(one.what, one.number) for one in found.retired], [("method", 5), ("delegate", 6)])

    def test_a_word_that_begins_a_declaration_is_a_good_name_for_a_parameter(self) -> None:
        (method,) = parse(
            "interface home; method ring = 2 (in string record, in string out);", "x.idl"
        ).methods
        self.assertEqual([one.name.text for one in method.parameters], ["record", "out"])

    def test_a_symbol_forgotten_at_the_end_of_a_line_is_missed_there(self) -> None:
        with self.assertRaises(DescriptionError) as caught:
            parse("interface home\n\nrecord", "x.idl")
        self.assertEqual(str(caught.exception), 'x.idl:1: error: expected ";" after "home"')

    def test_every_beginning_of_a_description_ends_in_one_error_or_none(self) -> None:
        whole = "interface home; record a_s { string b; } method ring = 2 (in string how) used by x;"
        for length in range(len(whole)):
            try:
                parse(whole[:length], "x.idl")
            except DescriptionError as error:
                self.assertEqual(len(error.problems), 1)


if __name__ == "__main__":
    unittest.main()
