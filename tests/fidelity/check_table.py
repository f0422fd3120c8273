#!/usr/bin/env python3
"""Holds the table of functions against the public functions and against the tests that it names."""

import pathlib
import re
import sys

KINDS = {"absent", "names-nothing", "local"}


def rows(path):
    for number, line in enumerate(path.read_text().splitlines(), 1):
        words = line.split("#")[0].split()
        if words:
            yield number, words


def tests_in(directory):
    """Each test with the text of its file: a helper of the fixture may make the call."""
    shared = "".join(path.read_text() for path in sorted(directory.glob("integration/*.hpp")))
    shared += (directory / "integration" / "support.cpp").read_text()
    found = {}
    for path in sorted(directory.glob("integration/*_test.cpp")):
        text = path.read_text()
        for suite, name in re.findall(r"^TEST_F\((\w+),\s*(\w+)\)", text, re.M):
            found[f"{suite}.{name}"] = text + shared
    return found


def main():
    table, public, directory = map(pathlib.Path, sys.argv[1:4])
    functions = {words[0]: "handle yes" in " ".join(words) for _, words in rows(public)}
    tests = tests_in(directory)
    absent = (directory / "fidelity" / "absent_test.cpp").read_text()
    problems, seen = [], set()

    def problem(number, text):
        problems.append(f"{table}:{number}: {text}")

    for number, words in rows(table):
        if len(words) != 3:
            problem(number, "expected a function, a test and absent, names-nothing or local")
            continue
        function, test, kind = words
        if function not in functions:
            problem(number, f"{function} is no public function")
        if function in seen:
            problem(number, f"{function} stands here twice")
        seen.add(function)
        if test not in tests:
            problem(number, f"there is no test {test}")
        elif not re.search(rf"\b{function}\b", tests[test]):
            problem(number, f"{test} does not call {function}")
        if kind not in KINDS:
            problem(number, f"{kind} is none of {', '.join(sorted(KINDS))}")
        if (kind == "absent") != bool(re.search(rf"(ROW\(|\{{\"){function}\b", absent)):
            problem(number, f"{kind}, but absent_test.cpp says otherwise of {function}")
        if kind == "local" and functions.get(function):
            problem(number, f"{function} takes a client, so it is not local")
    problems += [f"{table}: {name} is missing" for name in functions if name not in seen]
    print("\n".join(problems) if problems else f"{len(seen)} functions, each called well by a test that is there")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
