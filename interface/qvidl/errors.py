"""Where something stands in a description, and what is wrong there."""

from __future__ import annotations

from dataclasses import dataclass


@dataclass(frozen=True, order=True)
class Position:
    file: str
    line: int

    def __str__(self) -> str:
        return f"{self.file}:{self.line}"


@dataclass(frozen=True, order=True)
class Problem:
    """One mistake: what is wrong, and what to write instead."""

    position: Position
    text: str

    def __str__(self) -> str:
        return f"{self.position}: error: {self.text}"


class DescriptionError(Exception):
    """A description that cannot be used, with every problem found in it."""

    def __init__(self, problems: list[Problem]) -> None:
        super().__init__("\n".join(str(problem) for problem in problems))
        self.problems = problems


def fail(position: Position, text: str) -> DescriptionError:
    return DescriptionError([Problem(position, text)])
