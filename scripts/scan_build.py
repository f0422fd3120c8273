#!/usr/bin/env python3
"""Runs scan-build over what applications load, as a compilation database says that it is built.

    scan_build.py COMPILE-COMMANDS DIRECTORY…

Prints what it finds and ends with 1, unless the line before says NOLINTNEXTLINE with the name of the check:
what is suppressed for clang-tidy is for scan-build, too.
"""

import json
import pathlib
import plistlib
import subprocess
import sys
import tempfile

# The steps of a call lie deeper than the analyzer looks by itself.
DEPTH = ["-Xclang", "-analyzer-inline-max-stack-depth", "-Xclang", "12"]


def is_suppressed(source, line, check):
    before = source.read_text(encoding="utf-8").splitlines()[line - 2]
    return "NOLINTNEXTLINE(" in before and check in before


def main():
    database, *directories = map(pathlib.Path, sys.argv[1:])
    roots = [directory.resolve() for directory in directories]
    commands = []
    for command in json.loads(database.read_text(encoding="utf-8")):
        if any(pathlib.Path(command["file"]).is_relative_to(root) for root in roots):
            command["command"] += " " + " ".join(DEPTH)
            commands.append(command)
    findings, suppressed = set(), set()
    with tempfile.TemporaryDirectory() as work:
        chosen = pathlib.Path(work, "commands.json")
        chosen.write_text(json.dumps(commands), encoding="utf-8")
        subprocess.run(["analyze-build-14", "--cdb", chosen, "--output", work, "--plist-multi-file"], check=True,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        # It goes on when it cannot analyse a file, and has found nothing there.
        failures = [failure.read_text(encoding="utf-8")
                    for failure in pathlib.Path(work).glob("**/failures/*.stderr.txt")]
        if failures:
            sys.exit("".join(failures) + f"scan-build could not analyse {len(failures)} of {len(commands)} files")
        for report in pathlib.Path(work).glob("**/*.plist"):
            content = plistlib.loads(report.read_bytes())
            for found in content["diagnostics"]:
                source = pathlib.Path(content["files"][found["location"]["file"]])
                line, check = found["location"]["line"], found["check_name"]
                (suppressed if is_suppressed(source, line, check) else findings).add(
                    f"{source}:{line}: {found['description']} [{check}]")
    for finding in sorted(findings):
        print(finding)
    print(f"scan-build: {len(commands)} files, {len(findings)} findings, {len(suppressed)} suppressed")
    return 1 if findings or not commands else 0


if __name__ == "__main__":
    sys.exit(main())
