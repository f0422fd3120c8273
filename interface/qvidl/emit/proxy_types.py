"""The library's own header of the records' and arrays' types, for the layer above the proxy."""

from __future__ import annotations

from ..layout import GENERATED
from ..model import Array, Interface, Record
from . import names

_TEXT = """// {generated}
#pragma once

#include "{header}"
#include "proxy/records.hpp"

namespace quorvel::proxy {{

{declarations}

{type_of}

}}  // namespace quorvel::proxy
"""


def kind(thing: Record | Array) -> str:
    return "RecordType" if isinstance(thing, Record) else "ArrayType"


def emit(interface: Interface, source: str, header: str) -> str:
    things: list[Record | Array] = [*interface.records, *interface.arrays]
    return _TEXT.format(
        generated=GENERATED.format(source=source),
        header=header,
        declarations="\n".join(f"extern const {kind(thing)} {thing.name};" for thing in things),
        type_of="\n\n".join(
            f"template <>\nstruct TypeOf<{names.handle(thing)}> {{\n"
            f"    static constexpr const {kind(thing)}& type = {thing.name};\n}};"
            for thing in things
        ),
    )
