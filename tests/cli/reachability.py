#!/usr/bin/env python3
"""Every public function is used by a command; and the manual names every command, option and exit status."""

import argparse
import json
import pathlib
import re
import subprocess
import sys
import unittest


def described(qvctl):
    text = subprocess.run([qvctl, "__commands"], check=True, capture_output=True, text=True).stdout
    return [json.loads(line) for line in text.splitlines()]


# Tables read records with these and release them: no command is needed for them.
SERVES_TABLES = re.compile(r"_(get|set)_(string|int|bool)(_array)?$|_destroy(_access_point(_list)?)?$|_file_get_details$"
                           r"|_(property|condition)_create$")


class Reachability(unittest.TestCase):
    def test_every_public_function_is_used_by_a_command(self):
        used = {function for row in ROWS for function in row.get("functions", [])}
        listed = [line.split()[0] for line in FUNCTIONS.read_text().splitlines() if line and not line.startswith("#")]
        missing = [name for name in listed if name not in used and not SERVES_TABLES.search(name)]
        self.assertEqual(missing, [])

    def test_no_command_names_a_function_that_there_is_not(self):
        listed = {line.split()[0] for line in FUNCTIONS.read_text().splitlines() if line and not line.startswith("#")}
        used = {function for row in ROWS for function in row.get("functions", [])}
        self.assertEqual(sorted(used - listed), [])

    def test_no_two_commands_have_the_same_words(self):
        paths = [row["command"] for row in ROWS if "command" in row]
        self.assertEqual(len(paths), len(set(paths)))


class Manual(unittest.TestCase):
    def setUp(self):
        self.text = MANUAL.read_text().replace("\\", "")

    def test_it_names_every_command(self):
        missing = [row["command"] for row in ROWS if "command" in row and f"\n*{row['command']}*" not in self.text]
        self.assertEqual(missing, [])

    def test_it_names_no_command_that_there_is_not(self):
        section = self.text.split("# COMMANDS")[1].split("# EXIT STATUS")[0]
        named = set(re.findall(r"^\*([^*]+)\*.*\n\t", section, re.M))
        self.assertEqual(sorted(named - {row["command"] for row in ROWS if "command" in row}), [])

    def test_it_names_every_option_of_every_command(self):
        for row in ROWS:
            for argument in row.get("arguments", []):
                if argument["option"]:
                    line = next(l for l in self.text.splitlines() if l.startswith(f"*{row['command']}*"))
                    self.assertIn(f"*{argument['word']}*", line)

    def test_it_names_every_global_option(self):
        self.assertEqual([row["option"] for row in ROWS if "option" in row and f"*{row['option']}*" not in self.text], [])

    def test_it_names_every_switch_of_the_environment(self):
        section = self.text.split("# ENVIRONMENT")[1].split("# EXAMPLES")[0]
        sources = FUNCTIONS.parent.parent / "cli"
        used = {name for path in sources.rglob("*.cpp")
                for name in re.findall(r'(?:getenv|variable|environment)\("([A-Z_]+)"', path.read_text())}
        self.assertLessEqual({"NO_COLOR", "QVCTL_LOCATION"}, used)
        missing = [name for name in sorted(used) if name.startswith(("QUORVEL_", "QVCTL_", "NO_")) and f"*{name}*" not in section]
        self.assertEqual(missing, [])

    def test_it_has_the_table_of_exit_statuses(self):
        section = self.text.split("# EXIT STATUS")[1].split("# ENVIRONMENT")[0]
        for row in ROWS:
            if "status" in row:
                name = "128+n" if row["status"] == 128 else str(row["status"])
                self.assertIn(f"*{name}*\n\t{row['meaning']}\n", section)


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    parser.add_argument("qvctl")
    parser.add_argument("functions", type=pathlib.Path)
    parser.add_argument("manual", type=pathlib.Path)
    arguments, rest = parser.parse_known_args()
    ROWS, FUNCTIONS, MANUAL = described(arguments.qvctl), arguments.functions, arguments.manual
    unittest.main(argv=[sys.argv[0], *rest])
