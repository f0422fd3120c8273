"""The command line: checks a description and writes what is asked for."""

from __future__ import annotations

import argparse
import sys
from collections.abc import Mapping
from pathlib import Path

from .checker import check
from .emit import catalogue, docs, proxy_header, proxy_source, proxy_types, stub
from .errors import DescriptionError
from .model import Interface
from .parser import parse

OUTPUTS = {
    "proxy-header": "the client's header",
    "proxy-source": "the client's source",
    "proxy-types": "the client's own header of the records' types",
    "stub-header": "the agent's header",
    "stub-source": "the agent's source",
    "catalogue-header": "the catalogue's header",
    "catalogue-source": "the catalogue's source",
    "catalogue-json": "the catalogue as JSON",
    "docs": "the reference in Markdown",
}


def read_interface(path: Path) -> Interface:
    return check(parse(path.read_text(encoding="utf-8"), str(path)))


def emit(output: str, interface: Interface, source: str, name_of: Mapping[str, str]) -> str:
    """The text of one output; `name_of` gives the file name of each, for what includes it."""
    if output == "proxy-header":
        return proxy_header.emit(interface, source, name_of["proxy-header"])
    if output == "proxy-source":
        return proxy_source.emit(interface, source, name_of["proxy-header"], name_of["proxy-types"])
    if output == "proxy-types":
        return proxy_types.emit(interface, source, name_of["proxy-header"])
    if output == "stub-header":
        return stub.emit_header(interface, source)
    if output == "stub-source":
        return stub.emit_source(interface, source, f"stub/{name_of['stub-header']}")
    if output == "catalogue-header":
        return catalogue.emit_header(interface, source)
    if output == "catalogue-source":
        return catalogue.emit_source(interface, source, f"catalogue/{name_of['catalogue-header']}")
    if output == "catalogue-json":
        return catalogue.emit_json(interface, source)
    return docs.emit(interface, source)


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
    for option, what in OUTPUTS.items():
        parser.add_argument(f"--{option}", type=Path, metavar="OUT", help=f"write {what}")
    options = parser.parse_args(arguments)
    paths: dict[str, Path] = {
        output: path for output in OUTPUTS if (path := getattr(options, output.replace("-", "_"))) is not None
    }
    for output, included in (
        ("proxy-source", "proxy-header"),
        ("proxy-source", "proxy-types"),
        ("proxy-types", "proxy-header"),
        ("stub-source", "stub-header"),
        ("catalogue-source", "catalogue-header"),
    ):
        if output in paths and included not in paths:
            parser.error(f"--{output} includes the other file, name it with --{included}")

    try:
        interface = read_interface(options.description)
        if not options.check:
            for output, path in paths.items():
                name_of = {one: other.name for one, other in paths.items()}
                write(path, emit(output, interface, options.description.name, name_of))
    except OSError as error:
        print(f"{error.filename}: error: {error.strerror}", file=sys.stderr)
        return 1
    except UnicodeDecodeError:
        print(f"{options.description}:1: error: this is not UTF-8 text, write it in UTF-8", file=sys.stderr)
        return 1
    except DescriptionError as error:
        print(error, file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
