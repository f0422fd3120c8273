"""What a description means, and what is wrong with a bad one."""

from __future__ import annotations

import contextlib
import io
import os
import unittest
from pathlib import Path

from qvidl.__main__ import main, read_interface
from qvidl.checker import check
from qvidl.model import INT32, STRING, Array, Interface, Kind, Type
from qvidl.parser import parse

HERE = Path(__file__).resolve().parent
BAD = HERE / "bad"


def checked(text: str) -> Interface:
    return check(parse(text, "x.idl"))


class Checker(unittest.TestCase):
    def test_resolves_the_small_interface(self) -> None:
        small = read_interface(HERE / "small.idl")
        self.assertEqual(small.name, "small")
        self.assertEqual(small.families, ("home", "account"))
        self.assertEqual(small.arrays[0], Array("array_lamp_s", Type(Kind.RECORD, "lamp_s"), ("Lamps.",)))
        self.assertEqual(small.arrays[0].elements, "array_lamp_ss")
        self.assertEqual(
            small.records[1].doc, ('A place, "as it is"; everything lies in one bundle.', "A second line.")
        )

    def test_sorts_methods_by_number_whatever_their_family(self) -> None:
        small = read_interface(HERE / "small.idl")
        self.assertEqual([method.number for method in small.methods], [2, 3, 4, 5, 8, 9, 10])
        self.assertEqual([method.family for method in small.methods], ["home"] * 5 + ["account"] * 2)

    def test_a_method_is_secret_through_its_values_or_its_delegate(self) -> None:
        small = read_interface(HERE / "small.idl")
        secret = [method.name for method in small.methods if method.secret]
        self.assertEqual(
            secret,
            [
                "exchange_secrets",
                "ask_for_a_token_with_quite_a_long_name_so_that_lines_must_be_broken_somewhere",
            ],
        )

    def test_a_method_returns_int32_unless_it_says_bool(self) -> None:
        small = checked(
            "interface a;\nfamily f;\n// R.\nmethod ring = 2 ();\n// I.\nmethod is_on = 3 () returns bool;"
        )
        self.assertEqual([method.returns.name for method in small.methods], ["int32", "bool"])

    def test_types_may_be_declared_behind_their_use(self) -> None:
        found = checked(
            "interface a;\nfamily f;\n// R.\nmethod ring = 2 (in lamp_s lamp, out int32 x, out string y);\n"
            "// L.\nrecord lamp_s { string id; }"
        )
        types = [parameter.type for parameter in found.methods[0].parameters]
        self.assertEqual(types, [Type(Kind.RECORD, "lamp_s"), INT32, STRING])

    def test_finds_the_methods_that_take_a_delegate(self) -> None:
        small = read_interface(HERE / "small.idl")
        takers = {one.name: [method.name for method in small.users_of(one)] for one in small.delegates}
        self.assertEqual(takers["bell_cb"], [])
        self.assertEqual(takers["lamps_cb"], ["watch_lamps"])

    def test_the_description_of_the_product_is_good(self) -> None:
        qv_client = read_interface(HERE.parent / "qv_client.idl")
        self.assertEqual(qv_client.name, "qv_client")
        self.assertEqual((len(qv_client.records), len(qv_client.arrays)), (22, 16))
        self.assertEqual([delegate.number for delegate in qv_client.delegates], list(range(1, 39)))
        self.assertEqual([method.number for method in qv_client.methods], list(range(2, 183)))

    def test_callers_that_the_product_names_are_public_functions(self) -> None:
        public = {
            line.split()[0]
            for line in (HERE.parent / "public_functions.txt").read_text(encoding="utf-8").splitlines()
            if line and not line.startswith("#")
        }
        internal = {"quorvel_client_rpc_connected_cb", "_set_sse_cb_by_filter", "_unset_sse_cb_by_filter"}
        named = {
            user for method in read_interface(HERE.parent / "qv_client.idl").methods for user in method.users
        }
        self.assertEqual(named - public, internal)

    def test_tokens_pins_and_passwords_of_the_product_are_secret(self) -> None:
        qv_client = read_interface(HERE.parent / "qv_client.idl")
        self.assertEqual(
            {method.number for method in qv_client.methods if any(one.secret for one in method.parameters)},
            {5, 65, 66, 81, 93},
        )
        self.assertEqual(
            {delegate.number for delegate in qv_client.delegates if delegate.secret}, {15, 20, 24}
        )
        self.assertEqual(
            {method.number for method in qv_client.methods if method.secret}, {5, 37, 46, 62, 65, 66, 81, 93}
        )


class BadDescriptions(unittest.TestCase):
    """Each file in bad/ must be answered with exactly its lines of bad/expected.txt."""

    def expected(self) -> dict[str, list[str]]:
        lines: dict[str, list[str]] = {}
        for line in (BAD / "expected.txt").read_text(encoding="utf-8").splitlines():
            if not line.startswith("#"):
                lines.setdefault(line.split(":", 1)[0], []).append(line)
        return lines

    def test_every_bad_description_is_expected_and_no_other(self) -> None:
        self.assertEqual(sorted(self.expected()), sorted(path.name for path in BAD.glob("*.idl")))

    def test_a_bad_description_fails_on_the_right_line_and_says_what_to_write_instead(self) -> None:
        before = os.getcwd()
        os.chdir(BAD)
        self.addCleanup(os.chdir, before)
        for name, lines in self.expected().items():
            with self.subTest(name):
                heard = io.StringIO()
                with contextlib.redirect_stderr(heard):
                    status = main([name, "--check"])
                self.assertEqual(status, 1)
                self.assertEqual(heard.getvalue().splitlines(), lines)

    def test_a_file_that_is_not_there_is_named(self) -> None:
        heard = io.StringIO()
        with contextlib.redirect_stderr(heard):
            status = main([str(BAD / "nowhere.idl"), "--check"])
        self.assertEqual(status, 1)
        self.assertRegex(heard.getvalue(), r"nowhere\.idl: error: No such file")


if __name__ == "__main__":
    unittest.main()
