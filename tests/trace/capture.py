"""Captures by hand: the bytes of parcels and records, and a place to run qvctl in."""

import argparse
import os
import pathlib
import struct
import subprocess
import sys
import tempfile
import unittest

HEAD = b"quorvel-capture 1\n\n"
START = 1767225603_214_000_000  # 2026-01-01 00:00:03.214 UTC


def i32(number):
    return struct.pack("<i", number)


def text(value):
    data = value.encode()
    return i32(len(data) + 1) + data + b"\0"


def texts(*values):
    return i32(len(values)) + b"".join(text(value) for value in values)


def bundle(**entries):
    body = i32(len(entries)) + b"".join(i32(1) + text(key) + text(value) for key, value in entries.items())
    return i32(len(body)) + body


def device(name, kind="qv.d.light"):
    return text(name) + texts(kind)


def delegate(number, sequence, once=False):
    return i32(number) + i32(sequence) + bytes([once])


def callback(number, sequence, once=False):
    return i32(1) + delegate(number, sequence, once)


class Capture:
    """Records of one connection of one process; each is a millisecond after the one before."""

    def __init__(self, process=4121, connection=1, role=0):
        self.bytes = HEAD
        self.time = START
        self.process, self.connection, self.role = process, connection, role

    def record(self, kind, port, direction, payload=b"", milliseconds=1):
        body = struct.pack("<qiiBBBB", self.time, self.process, self.connection, kind, self.role, port, direction) + payload
        self.bytes += i32(len(body)) + body
        self.time += round(milliseconds * 1_000_000)
        return self

    def opened(self):
        return self.record(1, 0, 0, b"agent qv_client")

    def closed(self):
        return self.record(2, 0, 0)

    def asks(self, method, *values, milliseconds=1):
        return self.record(0, 0, 0, i32(method) + b"".join(values), milliseconds)

    def hears(self, *values, code=0):
        return self.record(0, 0, 1, i32(0) + b"".join(values) + i32(code))

    def called(self, *values, port=1):
        return self.record(0, port, 1, b"".join(values))

    def raw(self, data):
        self.bytes += data
        return self


class WithFiles(unittest.TestCase):
    def setUp(self):
        self.directory = tempfile.TemporaryDirectory()
        self.addCleanup(self.directory.cleanup)
        kept = {name: value for name, value in os.environ.items() if not name.startswith(("QUORVEL_", "QVCTL_", "NO_COLOR"))}
        self.environment = {**kept, "QUORVEL_HOME_DIR": self.directory.name, "QVCTL_AGENT_PROGRAM": ARGUMENTS.agent}

    def file(self, content, name="a.trace"):
        path = pathlib.Path(self.directory.name) / name
        path.write_bytes(content.bytes if isinstance(content, Capture) else content)
        return str(path)

    def qvctl(self, *words, status=0, **options):
        done = subprocess.run([ARGUMENTS.qvctl, *words], env=self.environment, capture_output=True, text=True, timeout=60, **options)
        self.assertEqual(done.returncode, status, done.stdout + done.stderr)
        return done


def main():
    global ARGUMENTS
    parser = argparse.ArgumentParser()
    parser.add_argument("qvctl")
    parser.add_argument("agent")
    ARGUMENTS, rest = parser.parse_known_args()
    unittest.main(module="__main__", argv=[sys.argv[0], *rest])
