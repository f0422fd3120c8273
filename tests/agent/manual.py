#!/usr/bin/env python3
"""The agent's manual pages name what the program and the schema of the home file know.

    manual.py AGENT SOURCES      (the directory of the agent's sources)
"""

import json
import pathlib
import re
import subprocess
import sys
import unittest


def plain(page):
    return (SOURCES / "man" / page).read_text(encoding="utf-8").replace("\\", "")


class Manual(unittest.TestCase):
    def test_it_names_every_option_of_the_program_and_no_other(self):
        text = subprocess.run([AGENT, "--help"], check=True, capture_output=True, text=True).stdout
        options = set(re.findall(r"(--[a-z][a-z-]*)", text))
        named = set(re.findall(r"\*(--[a-z][a-z-]*)\*", plain("quorvel-agent.1.scd")))
        self.assertEqual(options - named - {"--help"}, set())
        self.assertEqual(named - options, set())

    def test_it_names_every_switch_of_the_environment(self):
        page = plain("quorvel-agent.1.scd")
        for path in sorted(SOURCES.rglob("*.cpp")):
            for name in re.findall(r'(?:getenv|variable)\("([A-Z_]+)"\)', path.read_text(encoding="utf-8")):
                if name != "HOME":
                    self.assertIn(f"*{name}*", page, path)

    def test_it_has_the_exit_statuses_of_the_program(self):
        codes = re.search(r"enum Exit \{(.*?)\}", (SOURCES / "main.cpp").read_text(encoding="utf-8"), re.S)[1]
        wanted = {int(code) for code in re.findall(r"= (\d+)", codes) if int(code) < 128}
        section = plain("quorvel-agent.1.scd").split("# EXIT STATUS")[1].split("\n# ")[0]
        self.assertEqual({int(code) for code in re.findall(r"^\*?(\d+)\*?", section, re.M)}, wanted)

    def test_the_page_of_the_home_file_names_every_key(self):
        page = plain("quorvel-home.5.scd")
        schema = json.loads((SOURCES / "schema" / "home.schema.json").read_text(encoding="utf-8"))
        keys = set()

        def gather(value):
            if isinstance(value, dict):
                if isinstance(value.get("properties"), dict):
                    keys.update(value["properties"])
                for one in value.values():
                    gather(one)
            elif isinstance(value, list):
                for one in value:
                    gather(one)

        gather(schema)
        self.assertEqual([key for key in sorted(keys) if not re.search(rf"\b{re.escape(key)}\b", page)], [])


if __name__ == "__main__":
    AGENT, SOURCES = sys.argv[1], pathlib.Path(sys.argv[2])
    unittest.main(argv=sys.argv[:1])
