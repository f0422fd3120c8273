"""The command line: checks a description and writes what is asked for."""

from __future__ import annotations

import argparse
import sys
from collections.abc import Callable
from pathlib import Path

from .checker import check
from .emit import proxy_header, proxy_source, stub, proxy_types
from .errors import DescriptionError
from .model import Interface
from .parser import parse


def read_interface(path: Path) -> Interface:
    return check(parse(path.read_text(encoding="utf-8"), str(path)))


def write(path: Path, text: str) -> None:
    """Leaves a file that is right already alone, so that nothing is built anew because of it."""
    if path.is_file() and path.read_text(encoding="utf-8") == text:
        return
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text(text, encoding="utf-8")


def main(arguments: list[str] | None = None) -> int:
    parser = argparse.ArgumentParser(prog="qvidl", description="Turns an interface description into code.")
    parser.add_argument("description", type=Path, metavar="FILE")
    parser.add_argument("--check", action="store_true", help="only look for mistakes")
    outputs = {
        "proxy-header": "the client's header",
        "proxy-source": "the client's source",
        "stub-header": "the agent's header",
        "stub-source": "the agent's source",
        "proxy-types": "the client's own header of the records' types",
    }
    for option, what in outputs.items():
        parser.add_argument(f"--{option}", type=Path, metavar="OUT", help=f"write {what}")
    options = parser.parse_args(arguments)

    try:
        interface = read_interface(options.description)
    except OSError as error:
        print(f"{options.description}: error: {error.strerror}", file=sys.stderr)
        return 1
    except DescriptionError as error:
        print(error, file=sys.stderr)
        return 1

    source = options.description.name
    emitters: dict[str, Callable[[], str]] = {
        "proxy_header": lambda: proxy_header.emit(interface, source, options.proxy_header.name),
        "proxy_source": lambda: proxy_source.emit(
            interface, source, options.proxy_header.name, options.proxy_types.name
        ),
        "proxy_types": lambda: proxy_types.emit(interface, source, options.proxy_header.name),
        "stub_header": lambda: stub.emit_header(interface, source),
        "stub_source": lambda: stub.emit_source(interface, source, f"stub/{options.stub_header.name}"),
    }
    for option, emit in emitters.items():
        path = getattr(options, option)
        if path is not None and not options.check:
            write(path, emit())
    return 0


if __name__ == "__main__":
    sys.exit(main())
