#!/usr/bin/env python3
"""Checks that the list of public functions, the public headers and the shared library tell the same.

The list (interface/public_functions.txt) is the measure: the headers declare exactly its functions and the
library exports exactly these. Since the headers are what an application developer reads, their comments are
checked too: a function says what it does, what each argument is, which codes come back, on which thread, and
from which agent on; the versions and codes that it names are those of the list.
"""
from __future__ import annotations

import argparse
import re
import subprocess
import sys
import unittest
from dataclasses import dataclass, field
from pathlib import Path

LIST_LINE = re.compile(
    r"(?P<name>\w+)\s+(?P<area>\w+)\s+agent (?P<agent>\d+\.\d+|any)\s+handle (?P<handle>yes|no)$"
)
COMMENT = re.compile(r"/\*.*?\*/|//[^\n]*", re.S)
FUNCTION = re.compile(r"QUORVEL_API\s+(?P<result>[\w\s]+?\**)\s*\b(?P<name>\w+)\((?P<params>[^)]*)\);", re.S)
CALLBACK = re.compile(r"typedef\s+\w+\s+\(\*(?P<name>\w+)\)\((?P<params>[^)]*)\);", re.S)
HANDLE_TYPE = re.compile(r"typedef\s+void\s*\*\s*(?P<name>\w+_h);")
ENUM = re.compile(r"typedef\s+enum\s*\{(?P<body>[^}]*)\}\s*(?P<name>\w+);", re.S)

ERROR = "QUORVEL_CLIENT_ERROR_"
# Disconnecting works in every state; every other function with a handle refuses without a connection.
NEEDS_NO_CONNECTION = {"quorvel_client_disconnect"}
# What a pointer of these types points to is written by the function, ...
OUT_TYPE = re.compile(r"char\*{2,3}|unsignedchar\*\*|int\*{1,2}|longlong\*|bool\*|quorvel_\w+_h\*{1,2}")
# ... but here: the one releases a vector, the other never writes.
POINTERS_IN = {
    ("quorvel_client_easy_setup_destroy_access_point_list", "list"),
    ("quorvel_client_get_scene", "scene"),
}


@dataclass(frozen=True)
class Listed:
    """A line of the list."""

    area: str
    agent: str
    handle: bool


@dataclass
class Declared:
    """A function or a callback as a header declares it."""

    header: str
    parameters: list[tuple[str, str]]
    doc: str


@dataclass
class Surface:
    """All that the headers declare."""

    functions: dict[str, Declared] = field(default_factory=dict)
    callbacks: dict[str, Declared] = field(default_factory=dict)
    handle_types: dict[str, str] = field(default_factory=dict)
    enums: dict[str, str] = field(default_factory=dict)
    enumerators: dict[str, str] = field(default_factory=dict)
    twice: list[str] = field(default_factory=list)
    raw: dict[str, str] = field(default_factory=dict)


def read_list(path: Path) -> tuple[dict[str, Listed], list[str]]:
    """Gives the functions of the list, and the lines that cannot be read or name a function again."""
    listed: dict[str, Listed] = {}
    bad: list[str] = []
    for number, line in enumerate(path.read_text().splitlines(), 1):
        if not line.strip() or line.startswith("#"):
            continue
        found = LIST_LINE.match(line)
        if not found or found["name"] in listed:
            bad.append(f"{path.name}:{number}: {line}")
            continue
        listed[found["name"]] = Listed(found["area"], found["agent"], found["handle"] == "yes")
    return listed, bad


def split_parameters(text: str) -> list[tuple[str, str]]:
    """Takes "quorvel_client_h handle, char** token" apart into (type, name) pairs."""
    text = " ".join(text.split())
    if text in ("", "void"):
        return []
    pairs = []
    for parameter in text.split(","):
        found = re.fullmatch(r"\s*(.*?)(\w+)\s*", parameter)
        assert found, parameter
        pairs.append((found[1].replace(" ", ""), found[2]))
    return pairs


def comment_before(text: str, start: int) -> str:
    """Gives the documentation comment that stands right before a declaration, or nothing."""
    before = text[:start].rstrip()
    if not before.endswith("*/"):
        return ""
    comment = before[before.rindex("/*"):]
    return comment if comment.startswith("/**") else ""


def words_of(comment: str) -> str:
    """Gives the text of a comment without its frame, in one line."""
    lines = (re.sub(r"^\s*/?\*+/?\s?", "", line) for line in comment.splitlines())
    return " ".join(" ".join(lines).replace("*/", " ").split())


def read_headers(directory: Path) -> Surface:
    """Gives everything that the public headers declare."""
    surface = Surface()
    for path in sorted(directory.glob("*.h")):
        text = path.read_text()
        surface.raw[path.name] = text
        # Blanked, so that positions stay and words in comments are not taken for declarations.
        code = COMMENT.sub(lambda found: re.sub(r"[^\n]", " ", found[0]), text)

        def doc(start: int, text: str = text) -> str:
            return words_of(comment_before(text, start))

        for pattern, target in ((FUNCTION, surface.functions), (CALLBACK, surface.callbacks)):
            for found in pattern.finditer(code):
                if found["name"] in target:
                    surface.twice.append(found["name"])
                parameters = split_parameters(found["params"])
                target[found["name"]] = Declared(path.name, parameters, doc(found.start()))
        # A declaration that the pattern does not understand must not get lost.
        marked = len(re.findall(r"^(?!\s*#).*\bQUORVEL_API\b", code, re.M))
        if marked != len(FUNCTION.findall(code)):
            surface.twice.append(f"{path.name}: a declaration that cannot be read")
        for found in HANDLE_TYPE.finditer(code):
            surface.handle_types[found["name"]] = doc(found.start())
        for found in ENUM.finditer(code):
            surface.enums[found["name"]] = doc(found.start())
            for item in re.finditer(r"\b([A-Z]\w+)\s*=\s*-?\w+", found["body"]):
                at = found.start("body") + item.start()
                surface.enumerators[item[1]] = doc(at)
    return surface


def tags(doc: str, tag: str) -> list[str]:
    """Gives what stands behind each @tag of a comment, up to the next; @p, @ref and @c are text."""
    found = re.findall(rf"@{tag}(?:\[[a-z,]+\])?\s+(.*?)(?=\s@(?!p\b|ref\b|c\b)|$)", doc)
    return [text.strip() for text in found]


class PublicSurface(unittest.TestCase):
    """What the list, the headers and the library owe each other."""

    maxDiff = None
    include: Path
    list_file: Path
    library: Path | None
    nm: str
    listed: dict[str, Listed]
    bad_lines: list[str]
    surface: Surface

    @classmethod
    def setUpClass(cls) -> None:
        cls.listed, cls.bad_lines = read_list(cls.list_file)
        cls.surface = read_headers(cls.include)

    def functions(self) -> list[tuple[str, Listed, Declared]]:
        """Gives the functions that are both listed and declared."""
        both = sorted(self.listed.keys() & self.surface.functions.keys())
        return [(name, self.listed[name], self.surface.functions[name]) for name in both]

    def test_every_line_of_the_list_can_be_read_and_names_a_function_once(self) -> None:
        self.assertEqual(self.bad_lines, [])
        self.assertGreater(len(self.listed), 200)

    def test_every_function_of_the_list_is_declared_and_no_other_is(self) -> None:
        self.assertEqual(self.surface.twice, [])
        self.assertEqual(sorted(self.surface.functions), sorted(self.listed))

    def test_the_library_exports_the_functions_of_the_list_and_nothing_else(self) -> None:
        if self.library is None:
            self.skipTest("no library was given")
        output = subprocess.run(
            [self.nm, "-D", "--defined-only", str(self.library)], check=True, capture_output=True, text=True
        ).stdout
        exported = {}
        for line in output.splitlines():
            _, kind, symbol = line.split()
            if kind != "A":  # the name of the symbol version itself
                exported[symbol.split("@")[0]] = kind
        self.assertEqual(sorted(exported), sorted(self.listed))
        self.assertEqual(set(exported.values()), {"T"})

    def test_a_function_is_declared_in_a_header_of_its_family(self) -> None:
        for name, _, declared in self.functions():
            with self.subTest(name):
                self.assertTrue(declared.header.startswith("_".join(name.split("_")[:2])), declared.header)

    def test_every_area_of_the_list_has_a_header(self) -> None:
        self.assertEqual({f"{line.area}.h" for line in self.listed.values()} - self.surface.raw.keys(), set())

    def test_the_first_argument_is_a_client_where_the_list_says_so_and_only_there(self) -> None:
        for name, line, declared in self.functions():
            with self.subTest(name):
                first = declared.parameters[0] if declared.parameters else ("", "")
                self.assertEqual(first == ("quorvel_client_h", "handle"), line.handle)

    def test_every_function_says_what_it_does(self) -> None:
        for name, _, declared in self.functions():
            with self.subTest(name):
                self.assertEqual(len(tags(declared.doc, "brief")), 1)
                self.assertGreater(len(tags(declared.doc, "brief")[0]), 10)

    def test_every_function_says_on_which_thread_it_may_be_called(self) -> None:
        for name, _, declared in self.functions():
            with self.subTest(name):
                self.assertRegex(" ".join(tags(declared.doc, "note")), r"(?i)thread")

    def test_every_function_names_the_agent_that_the_list_names(self) -> None:
        for name, line, declared in self.functions():
            with self.subTest(name):
                since = tags(declared.doc, "since")
                self.assertEqual(len(since), 1)
                self.assertRegex(since[0], rf"^Agent {re.escape(line.agent)}\b")
                for refusal in tags(declared.doc, f"retval {ERROR}LOWER_VERSION"):
                    self.assertIn(f"older than {line.agent}", refusal)

    def test_every_argument_is_described_in_its_order(self) -> None:
        for name, declared in {**self.surface.functions, **self.surface.callbacks}.items():
            with self.subTest(name):
                described = [text.split()[0] for text in tags(declared.doc, "param")]
                self.assertEqual(described, [parameter for _, parameter in declared.parameters])

    def test_every_argument_is_marked_as_going_in_or_out(self) -> None:
        for name, _, declared in self.functions():
            with self.subTest(name):
                ways = re.findall(r"@param\[(\w+)\]\s+(\w+)", declared.doc)
                marked = {argument: way for way, argument in ways}
                for kind, argument in declared.parameters:
                    out = OUT_TYPE.fullmatch(kind) and (name, argument) not in POINTERS_IN
                    self.assertEqual(marked[argument], "out" if out else "in", argument)

    def test_every_function_tells_each_code_that_its_checks_can_give(self) -> None:
        codes = {name for name in self.surface.enumerators if name.startswith(ERROR)}
        for name, line, declared in self.functions():
            with self.subTest(name):
                told = {text.split()[0] for text in tags(declared.doc, "retval")}
                self.assertLessEqual({code for code in told if code.startswith("QUORVEL_")}, codes)
                due = {"NONE"}
                if line.agent != "any":
                    due |= {"NOT_SUPPORTED", "LOWER_VERSION"}
                if line.handle or declared.parameters:
                    due.add("INVALID_PARAMETER")
                if line.handle and name not in NEEDS_NO_CONNECTION:
                    due |= {"NOT_CONNECTED"}
                self.assertEqual({ERROR + code for code in due} - told, set())

    def test_every_callback_says_what_it_hears_and_on_which_thread(self) -> None:
        for name, declared in self.surface.callbacks.items():
            with self.subTest(name):
                self.assertEqual(len(tags(declared.doc, "brief")), 1)
                self.assertRegex(declared.doc, r"(?i)loop thread|main context")

    def test_every_callback_ends_in_its_user_data(self) -> None:
        for name, declared in self.surface.callbacks.items():
            with self.subTest(name):
                self.assertEqual(declared.parameters[-1], ("void*", "user_data"))

    def test_every_type_and_every_value_is_described(self) -> None:
        described = {**self.surface.handle_types, **self.surface.enums, **self.surface.enumerators}
        self.assertEqual([name for name, doc in described.items() if not doc], [])

    def test_every_number_of_the_client_family_and_every_property_of_the_core_family_is_pinned(self) -> None:
        sources = Path(__file__).parent.glob("pinned_*.c")
        pinned = {name for source in sources for name in re.findall(r"PIN\w*\((\w+)", source.read_text())}
        named = {*self.surface.enumerators, *self.surface.callbacks}
        due = {name for name in named if name.lower().startswith("quorvel_client_") or "_PROP_" in name}
        self.assertEqual(due - pinned, set())

    def test_every_name_that_a_comment_refers_to_exists(self) -> None:
        surface = self.surface
        names = {*surface.functions, *surface.callbacks, *surface.handle_types}
        names |= {*surface.enums, *surface.enumerators}
        for header, text in surface.raw.items():
            with self.subTest(header):
                comments = " ".join(COMMENT.findall(text))
                refers = set(re.findall(r"\b(quorvel_\w+)\(\)|#(quorvel_\w+|QUORVEL_\w+)", comments))
                self.assertEqual({a or b for a, b in refers} - names, set())

    def test_the_two_main_headers_bring_in_all_others_of_their_family(self) -> None:
        for family in ("quorvel_client", "quorvel_core"):
            brought = set(re.findall(r'#include "(\w+\.h)"', self.surface.raw[f"{family}.h"]))
            others = {name for name in self.surface.raw if name.startswith(f"{family}_")}
            self.assertEqual(others - brought, set())


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--include", type=Path, required=True, help="the directory of the public headers")
    parser.add_argument("--list", type=Path, required=True, help="the list of public functions")
    parser.add_argument("--library", type=Path, help="the shared library, if it is there")
    parser.add_argument("--nm", default="nm", help="the nm to read the library with")
    arguments, rest = parser.parse_known_args()
    PublicSurface.include = arguments.include
    PublicSurface.list_file = arguments.list
    PublicSurface.library = arguments.library
    PublicSurface.nm = arguments.nm
    program = unittest.main(argv=[sys.argv[0], *rest], exit=False)
    return 0 if program.result.wasSuccessful() else 1


if __name__ == "__main__":
    sys.exit(main())
