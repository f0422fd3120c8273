"""The check itself: what it must find, and what it must leave alone."""

import json
import pathlib
import subprocess
import sys
import tempfile
import unittest

CHECK = pathlib.Path(__file__).with_name("check_bodies.py")
STYLE = CHECK.parents[2] / ".clang-format"


class CheckBodies(unittest.TestCase):
    def setUp(self) -> None:
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.place = pathlib.Path(directory.name).resolve()
        (self.place / ".clang-format").write_text(STYLE.read_text())

    def check(self, source: str, listed: str = "one two") -> subprocess.CompletedProcess[str]:
        (self.place / "quorvel_some.cpp").write_text(source)
        (self.place / "list.txt").write_text("# the functions\n" + "\n".join(listed.split()) + "\n")
        entry = {
            "directory": str(self.place),
            "file": "quorvel_some.cpp",
            "command": "g++ -c quorvel_some.cpp -o some.o",
        }
        (self.place / "commands.json").write_text(json.dumps([entry]))
        command = [sys.executable, str(CHECK), "--commands", str(self.place / "commands.json")]
        command += ["--sources", str(self.place), "--list", str(self.place / "list.txt")]
        return subprocess.run(command, capture_output=True, text=True, check=False)

    @staticmethod
    def function(name: str, body: str) -> str:
        return f"int {name}(int x)\n{{\n{body}\nreturn x;\n}}\n"

    def test_six_lines_in_a_row_alike_are_found(self) -> None:
        six = "\n".join(f"x += {i};" for i in range(6))
        done = self.check(self.function("one", "--x;" + six) + self.function("two", "++x;" + six))
        self.assertEqual(done.returncode, 1)
        self.assertIn("one and two have 6 lines in a row alike", done.stdout)

    def test_five_are_not(self) -> None:
        five = "\n".join(f"x += {i};" for i in range(5))
        done = self.check(self.function("one", five + "--x;") + self.function("two", five + "++x;"))
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)

    def test_six_of_which_one_differs_are_not(self) -> None:
        one = "\n".join(f"x += {i};" for i in range(5))
        two = one.replace("2", "7")
        done = self.check(self.function("one", one) + self.function("two", two))
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)

    def test_a_macro_hides_nothing(self) -> None:
        macro = "#define SIX x += 0; x += 1; x += 2; x += 3; x += 4; x += 5;\n"
        done = self.check(macro + self.function("one", "SIX") + self.function("two", "++x; SIX"))
        self.assertEqual(done.returncode, 1)

    def test_a_line_break_hides_nothing(self) -> None:
        lines = [f"x += {i};" for i in range(6)]
        done = self.check(
            self.function("one", " ".join(lines)) + self.function("two", "\n\n".join(lines).replace("+=", "\n+="))
        )
        self.assertEqual(done.returncode, 1)

    def test_functions_that_are_not_listed_may_be_alike(self) -> None:
        six = "\n".join(f"x += {i};" for i in range(6))
        done = self.check(self.function("one", six) + self.function("helper", six), "one")
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)

    def test_a_listed_function_that_is_nowhere_is_told(self) -> None:
        done = self.check(self.function("one", "++x;"), "one two")
        self.assertEqual(done.returncode, 1)
        self.assertIn("two is listed, but its body was not found", done.stdout)


if __name__ == "__main__":
    unittest.main()
