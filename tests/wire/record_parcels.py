#!/usr/bin/env python3
"""Makes tests/wire/recorded/parcels from the captures of programs that talked to the reference agent:

    QUORVEL_CAPTURE=a.cap build/debug/bin/client_family_test
    tests/wire/record_parcels.py interface/qv_client.idl tests/wire/recorded/parcels a.cap ...

Every answer of a method and every callback of a delegate that differs from the ones before, the shortest first,
up to a few of each. The file holds, one after the other: a byte, 0 for an answer and 1 for a callback; the length of
the name as a byte; the name of the method or delegate; the size of the payload as a little-endian int32; the payload."""

import collections
import re
import struct
import sys

LONGEST = 1024
OF_EACH = 6


def parcels(path):
    with open(path, "rb") as capture:
        data = capture.read()
    at = data.index(b"\n\n") + 2
    while at + 4 <= len(data):
        (size,) = struct.unpack_from("<i", data, at)
        _, process, connection, kind, role, port, direction = struct.unpack_from("<qiiBBBB", data, at + 4)
        yield (process, connection), kind, port, direction, data[at + 24 : at + 4 + size]
        at += 4 + size


def main():
    idl, target, *captures = sys.argv[1:]
    with open(idl, encoding="utf-8") as source:
        description = source.read()
    methods = {int(n): name for name, n in re.findall(r"^method (\w+) = (\d+)", description, re.M)}
    delegates = {int(n): name for name, n in re.findall(r"^delegate (\w+) = (\d+)", description, re.M)}
    found = collections.defaultdict(set)
    for path in captures:
        asked = collections.defaultdict(collections.deque)
        for where, kind, port, direction, payload in parcels(path):
            if kind != 0:
                continue
            if port == 0 and direction == 0:
                asked[where].append(methods[struct.unpack_from("<i", payload)[0]])
            elif port == 0 and asked[where]:
                found[0, asked[where].popleft()].add(payload)
            elif port == 1 and direction == 1 and len(payload) >= 8:
                found[1, delegates[struct.unpack_from("<i", payload, 4)[0]]].add(payload)
    count = 0
    with open(target, "wb") as out:
        for (kind, name), payloads in sorted(found.items()):
            for payload in sorted((p for p in payloads if len(p) <= LONGEST), key=lambda p: (len(p), p))[:OF_EACH]:
                out.write(struct.pack("<BB", kind, len(name)) + name.encode() + struct.pack("<i", len(payload)) + payload)
                count += 1
    print(f"{count} parcels of {len(found)} methods and delegates")


if __name__ == "__main__":
    main()
