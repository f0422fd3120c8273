#!/usr/bin/env python3
"""Checks that the body of a public function holds only what is its own: no two have six lines in a row alike.

The bodies are looked at as the compiler sees them, with macros expanded, and as clang-format lays them out, so
that neither a macro nor a line break hides what is alike.
"""

import argparse
import concurrent.futures
import json
import os
import pathlib
import re
import shlex
import subprocess
import sys

MOST_ALIKE = 5
LINE_MARKER = re.compile(r'# \d+ "(.*)"')


def own_lines(preprocessed: str) -> str:
    """What the source itself says; what it includes is left out."""
    source = None
    current = None
    lines = []
    for line in preprocessed.splitlines():
        marker = LINE_MARKER.match(line)
        if marker:
            current = marker[1]
            source = source or current
        elif current == source:
            lines.append(line)
    return "\n".join(lines) + "\n"


def preprocessed(entry: dict[str, str]) -> str:
    command = shlex.split(entry["command"])
    place = command.index("-o")
    del command[place : place + 2]
    command[command.index("-c")] = "-E"
    # The compiler's cache, in front of it, would only get in the way.
    if pathlib.Path(command[0]).name == "ccache":
        del command[0]
    return subprocess.run(command, cwd=entry["directory"], check=True, capture_output=True, text=True).stdout


def laid_out(text: str, source: pathlib.Path, clang_format: str) -> str:
    command = [clang_format, "--style=file", f"--assume-filename={source}"]
    return subprocess.run(command, input=text, check=True, capture_output=True, text=True).stdout


def bodies(text: str) -> dict[str, list[str]]:
    """The lines between the braces of every function, by its name."""
    found: dict[str, list[str]] = {}
    name = None
    body: list[str] | None = None
    for line in text.splitlines():
        if body is not None:
            if line.startswith("}"):
                found[name] = body
                name = body = None
            elif line.strip():
                body.append(line.strip())
        elif line == "{" and name is not None:
            body = []
        elif line and not line[0].isspace():
            head = re.match(r"[\w:<>*& ]*?\b(\w+)\(", line)
            name = head[1] if head and not line.endswith(";") else None
        elif line.endswith(";"):
            name = None
    return found


def alike(functions: dict[str, list[str]], size: int) -> list[tuple[str, str, list[str]]]:
    """Every pair of functions with that many lines in a row alike, once, with those lines."""
    first: dict[tuple[str, ...], str] = {}
    pairs: dict[tuple[str, str], list[str]] = {}
    for name, body in functions.items():
        for begin in range(len(body) - size + 1):
            run = tuple(body[begin : begin + size])
            other = first.setdefault(run, name)
            if other != name:
                pairs.setdefault((other, name), list(run))
    return [(one, other, run) for (one, other), run in pairs.items()]


def functions_of(entry: dict[str, str], clang_format: str) -> dict[str, list[str]]:
    source = pathlib.Path(entry["directory"], entry["file"])
    return bodies(laid_out(own_lines(preprocessed(entry)), source, clang_format))


def main() -> int:
    arguments = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    arguments.add_argument("--commands", type=pathlib.Path, required=True, help="compile_commands.json")
    arguments.add_argument("--sources", type=pathlib.Path, required=True, help="where the public functions are")
    arguments.add_argument("--list", type=pathlib.Path, required=True, help="public_functions.txt")
    arguments.add_argument("--clang-format", default="clang-format-14")
    given = arguments.parse_args()

    lines = (line.split("#")[0].split() for line in given.list.read_text().splitlines())
    listed = {line[0] for line in lines if line}
    entries = {
        path: entry
        for entry in json.loads(given.commands.read_text())
        if (path := pathlib.Path(entry["directory"], entry["file"])).parent == given.sources
        and path.name.startswith("quorvel_")
    }
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        by_source = pool.map(lambda entry: functions_of(entry, given.clang_format), entries.values())
        all_functions = {name: body for functions in by_source for name, body in functions.items()}

    # Without them all the check would say nothing.
    missing = sorted(listed - all_functions.keys())
    for name in missing:
        print(f"{name} is listed, but its body was not found")
    public = {name: body for name, body in all_functions.items() if name in listed}
    pairs = alike(public, MOST_ALIKE + 1)
    for one, other, run in pairs:
        print(f"{one} and {other} have {MOST_ALIKE + 1} lines in a row alike:")
        for line in run:
            print(f"    {line}")
    if not missing and not pairs:
        print(f"{len(public)} public functions, none with more than {MOST_ALIKE} lines in a row like another's")
    return 1 if missing or pairs else 0


if __name__ == "__main__":
    sys.exit(main())
