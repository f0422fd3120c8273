"""What every emitter makes of the small interface, compared with golden/.

After a change that is meant:  python3 interface/tests/test_output.py --renew   and read the difference.
"""

from __future__ import annotations

import contextlib
import io
import sys
import tempfile
import unittest
from pathlib import Path

HERE = Path(__file__).resolve().parent
sys.path.insert(0, str(HERE.parent))

from qvidl.__main__ import OUTPUTS, main, write  # noqa: E402

GOLDEN = HERE / "golden"
FILES = {
    "proxy-header": "small_proxy.h",
    "proxy-source": "small_proxy.cpp",
    "proxy-types": "small_proxy_types.hpp",
    "stub-header": "small_stub.hpp",
    "stub-source": "small_stub.cpp",
    "catalogue-header": "small_catalogue.hpp",
    "catalogue-source": "small_catalogue.cpp",
    "catalogue-json": "small_catalogue.json",
    "docs": "small.md",
}


def emit_into(directory: Path) -> int:
    wanted = [part for output, name in FILES.items() for part in (f"--{output}", str(directory / name))]
    return main([str(HERE / "small.idl"), *wanted])


class Output(unittest.TestCase):
    maxDiff = None

    def test_every_emitter_has_a_golden_file(self) -> None:
        self.assertEqual(set(FILES), set(OUTPUTS))
        self.assertEqual(sorted(path.name for path in GOLDEN.glob("[!.]*")), sorted(FILES.values()))

    def test_every_emitter_makes_its_golden_file(self) -> None:
        with tempfile.TemporaryDirectory() as made:
            self.assertEqual(emit_into(Path(made)), 0)
            for name in FILES.values():
                with self.subTest(name):
                    self.assertEqual(
                        (Path(made) / name).read_text(encoding="utf-8"),
                        (GOLDEN / name).read_text(encoding="utf-8"),
                    )

    def test_code_of_the_product_keeps_to_the_width(self) -> None:
        with tempfile.TemporaryDirectory() as made:
            files = [name for output, name in FILES.items() if output.startswith(("proxy", "stub"))]
            wanted = [
                part
                for output, name in FILES.items()
                if name in files
                for part in (f"--{output}", str(Path(made) / name))
            ]
            self.assertEqual(main([str(HERE.parent / "qv_client.idl"), *wanted]), 0)
            for name in files:
                for number, line in enumerate(
                    (Path(made) / name).read_text(encoding="utf-8").split("\n"), start=1
                ):
                    self.assertLessEqual(len(line), 110, f"{name}:{number}")
                    self.assertEqual(line, line.rstrip(), f"{name}:{number}")

    def test_a_file_that_is_right_already_is_left_alone(self) -> None:
        with tempfile.TemporaryDirectory() as made:
            path = Path(made) / "deep" / "x.txt"
            write(path, "same")
            before = path.stat().st_mtime_ns
            write(path, "same")
            self.assertEqual(path.stat().st_mtime_ns, before)
            write(path, "other")
            self.assertEqual(path.read_text(encoding="utf-8"), "other")

    def test_nothing_is_written_when_the_description_is_bad(self) -> None:
        with tempfile.TemporaryDirectory() as made, contextlib.redirect_stderr(io.StringIO()):
            bad = str(HERE / "bad" / "duplicate_method_id.idl")
            self.assertEqual(main([bad, "--docs", str(Path(made) / "x.md")]), 1)
            self.assertEqual(list(Path(made).iterdir()), [])

    def test_a_source_is_not_made_without_what_it_includes(self) -> None:
        heard = io.StringIO()
        with contextlib.redirect_stderr(heard), self.assertRaises(SystemExit):
            main([str(HERE / "small.idl"), "--stub-source", "x.cpp"])
        self.assertIn("name it with --stub-header", heard.getvalue())


if __name__ == "__main__":
    if sys.argv[1:] == ["--renew"]:
        sys.exit(emit_into(GOLDEN))
    unittest.main()
