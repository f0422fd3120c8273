"""Laying out generated code."""

from __future__ import annotations

import unittest

from qvidl import layout


class Layout(unittest.TestCase):
    def test_a_call_that_fits_stays_on_one_line(self) -> None:
        self.assertEqual(layout.call("    ring", ["how", "often"], ";"), "    ring(how, often);")
        self.assertEqual(layout.call("ring", [], ";"), "ring();")

    def test_a_call_of_exactly_the_width_is_not_broken(self) -> None:
        text = layout.call("f", ["a" * (layout.WIDTH - 4)], ";")
        self.assertEqual(len(text), layout.WIDTH)
        self.assertNotIn("\n", text)

    def test_a_longer_call_goes_on_below_its_parenthesis(self) -> None:
        text = layout.call("ring", ["a" * 60, "b" * 60], ";")
        self.assertEqual(text, f"ring({'a' * 60},\n     {'b' * 60});")

    def test_a_call_that_would_become_a_column_hangs_in_the_next_line(self) -> None:
        head = "int " + "f" * 70
        text = layout.call(head, ["a" * 20, "b" * 20, "c" * 20, "d" * 20], ";")
        self.assertEqual(text, f"{head}(\n    {'a' * 20}, {'b' * 20}, {'c' * 20}, {'d' * 20});")

    def test_what_hangs_stands_one_step_further_in_than_its_call(self) -> None:
        text = layout.call("    return " + "f" * 70, ["a" * 20, "b" * 20, "c" * 20, "d" * 20], ";")
        self.assertEqual(text.split("\n")[1], f"        {'a' * 20}, {'b' * 20}, {'c' * 20}, {'d' * 20});")

    def test_a_result_with_a_long_name_gets_a_line_of_its_own(self) -> None:
        text = layout.call("t" * 60 + " " + "f" * 60, ["int a"], ";")
        self.assertEqual(text, f"{'t' * 60}\n{'f' * 60}(int a);")

    def test_braces_fit_or_hang_or_stand_in_a_column(self) -> None:
        self.assertEqual(layout.braces("x = ", ["1", "2"], ";"), "x = {1, 2};")
        hanging = layout.braces("x" * 60 + " = ", ["a" * 30, "b" * 30], ";")
        self.assertEqual(hanging, f"{'x' * 60} = {{\n    {'a' * 30}, {'b' * 30}}};")
        column = layout.braces("x = ", ["a" * 60, "b" * 60], ";")
        self.assertEqual(column, f"x = {{\n    {'a' * 60},\n    {'b' * 60},\n}};")

    def test_a_comment_is_wrapped_by_words(self) -> None:
        lines = layout.comment(["word " * 40, "second"], 4).split("\n")
        self.assertTrue(all(line.startswith("    /// ") and len(line) <= layout.WIDTH for line in lines))
        self.assertEqual(lines[-1], "    /// second")

    def test_a_short_comment_in_c_stands_on_one_line(self) -> None:
        self.assertEqual(layout.c_comment(["A lamp."]), "/** A lamp. */")
        self.assertEqual(layout.c_comment(["A lamp.", "Two."]), "/**\n * A lamp.\n * Two.\n */")


if __name__ == "__main__":
    unittest.main()
