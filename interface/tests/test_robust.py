"""Whatever a description holds, it ends in an Interface or in errors with a line: never in anything else."""

from __future__ import annotations

import random
import re
import unittest
from pathlib import Path

from qvidl.checker import check
from qvidl.errors import DescriptionError
from qvidl.parser import parse

HERE = Path(__file__).resolve().parent
ROUNDS = 400


class Robust(unittest.TestCase):
    def judge(self, text: str) -> None:
        try:
            check(parse(text, "x.idl"))
        except DescriptionError as error:
            for line in str(error).split("\n"):
                self.assertRegex(line, r"^x\.idl:[1-9][0-9]*: error: .")

    def test_words_that_are_moved_doubled_or_lost(self) -> None:
        pieces = re.split(r"(\W)", (HERE / "small.idl").read_text(encoding="utf-8"))
        chance = random.Random(1)
        for _ in range(ROUNDS):
            changed = list(pieces)
            for _ in range(chance.randint(1, 4)):
                here, there = chance.randrange(len(changed)), chance.randrange(len(changed))
                change = chance.choice(("lose", "double", "swap", "copy"))
                if change == "lose":
                    del changed[here]
                elif change == "double":
                    changed.insert(here, changed[here])
                elif change == "swap":
                    changed[here], changed[there] = changed[there], changed[here]
                else:
                    changed[here] = changed[there]
            self.judge("".join(changed))

    def test_characters_of_any_kind(self) -> None:
        whole = (HERE / "small.idl").read_text(encoding="utf-8")
        chance = random.Random(2)
        for _ in range(ROUNDS):
            at = chance.randrange(len(whole))
            self.judge(
                whole[:at] + chr(chance.choice((0, 9, 34, 47, 92, 123, 0x00E9, 0x4E2D, 0x1F4A1))) + whole[at:]
            )

    def test_every_bad_description_cut_short_at_every_character(self) -> None:
        for path in sorted((HERE / "bad").glob("*.idl")):
            text = path.read_text(encoding="utf-8")
            for length in range(len(text)):
                self.judge(text[:length])


if __name__ == "__main__":
    unittest.main()
