#!/usr/bin/env python3
"""trace show, follow, stats, lint and diff over captures that are written byte by byte; broken ones; masking."""

import json
import os
import pathlib
import subprocess
import time

import capture
from capture import HEAD, Capture, WithFiles, bundle, callback, delegate, device, i32, text


def home():
    """A connection that lists two devices, asks for one that there is not, and hears of a change."""
    return (Capture().opened()
            .asks(12, milliseconds=1.8).hears(i32(2), device("lamp-1"), device("lamp-2"), i32(2))
            .asks(23, text("film"), milliseconds=20).hears(text(""), text(""), code=-61)
            .asks(9, delegate(3, 1)).hears()
            .called(callback(3, 1), i32(1), device("lamp-1"), i32(1)))


class Show(WithFiles):
    def test_a_line_for_each_call_answer_and_callback(self):
        self.assertEqual(self.qvctl("trace", "show", self.file(home())).stdout.splitlines(), [
            "00:00:03.214  app[4121] #1 opened  agent qv_client",
            "00:00:03.215  app[4121] #1 → 12 get_device_list()",
            "00:00:03.216  app[4121] #1 ← 0  2 devices  1.8 ms",
            "00:00:03.217  app[4121] #1 → 23 get_scene(\"film\")",
            "00:00:03.237  app[4121] #1 ← -61 NO_DATA  scene={\"scene_id\":\"\",\"scene\":\"\"}  20.0 ms",
            "00:00:03.238  app[4121] #1 → 9 set_device_list_cb(device_list_cb[3.1])",
            "00:00:03.239  app[4121] #1 ← 0  1.0 ms",
            "00:00:03.240  app[4121] #1 ⇐ device_list_cb[3.1]  1 devices",
        ])

    def test_times_are_from_the_first_record_or_from_the_line_before(self):
        trace = self.file(home())
        self.assertEqual([line.split()[0] for line in self.qvctl("trace", "show", trace, "--time", "rel").stdout.splitlines()][:4],
                         ["+0.000000", "+0.001000", "+0.002800", "+0.003800"])
        self.assertEqual([line.split()[0] for line in self.qvctl("trace", "show", trace, "--time", "delta").stdout.splitlines()][:4],
                         ["+0.000000", "+0.001000", "+0.001800", "+0.001000"])

    def lines(self, *options):
        return [line.split("#1 ")[1] for line in self.qvctl("trace", "show", self.file(home()), *options).stdout.splitlines()]

    def test_filters_leave_whole_calls(self):
        self.assertEqual(self.lines("--method", "get_device_list"), ["→ 12 get_device_list()", "← 0  2 devices  1.8 ms"])
        self.assertEqual(self.lines("--method", "9", "--method", "device_list_cb")[-1], "⇐ device_list_cb[3.1]  1 devices")
        self.assertEqual(len(self.lines("--errors")), 2)
        self.assertIn("get_scene", self.lines("--errors")[0])
        self.assertIn("get_scene", self.lines("--slower", "10ms")[0])
        self.assertEqual(self.lines("--slower", "1s"), [])
        self.assertEqual(len(self.lines("--connection", "4121#1")), 8)
        self.assertEqual(self.lines("--connection", "2"), [])
        self.assertEqual(self.lines("--device", "lamp-2"), ["← 0  2 devices  1.8 ms  (12 get_device_list)"])

    def test_a_mistyped_method_gets_a_suggestion(self):
        done = self.qvctl("trace", "show", self.file(home()), "--method", "get_device_lst", status=2)
        self.assertIn("did you mean 'get_device_list'?", done.stderr)

    def test_a_call_is_one_json_object(self):
        lines = [json.loads(line) for line in self.qvctl("trace", "show", self.file(home()), "-o", "jsonl").stdout.splitlines()]
        self.assertEqual([line["kind"] for line in lines], ["opened", "call", "call", "call", "event"])
        self.assertEqual(lines[1], {
            "time": "2026-01-01T00:00:03.215000Z", "by": "app", "process": 4121, "connection": 1, "kind": "call", "id": 12,
            "method": "get_device_list", "arguments": {}, "returned": 0,
            "answer": {"devices": [{"device_id": "lamp-1", "device_type": ["qv.d.light"]},
                                   {"device_id": "lamp-2", "device_type": ["qv.d.light"]}], "count": 2},
            "duration_ms": 1.8})
        self.assertEqual((lines[4]["delegate"], lines[4]["sequence"], lines[4]["registered_by"]),
                         ("device_list_cb", 1, "set_device_list_cb"))

    def test_an_answer_that_comes_behind_another_call_says_whose_it_is(self):
        trace = Capture().opened().asks(12).asks(10).hears(i32(0), i32(0)).hears()
        lines = self.qvctl("trace", "show", self.file(trace)).stdout.splitlines()
        self.assertIn("(12 get_device_list)", lines[3])
        self.assertIn("(10 unset_device_list_cb)", lines[4])

    def test_what_an_agent_wrote_reads_as_what_a_client_wrote(self):
        trace = Capture(role=1).opened().record(0, 0, 1, i32(10)).record(0, 0, 0, i32(0) + i32(0))
        lines = self.qvctl("trace", "show", self.file(trace)).stdout.splitlines()
        self.assertEqual(lines[1:], ["00:00:03.215  agent[4121] #1 → 10 unset_device_list_cb()", "00:00:03.216  agent[4121] #1 ← 0  1.0 ms"])

    def test_a_parcel_that_is_not_understood_says_where_and_why(self):
        trace = Capture().opened().asks(15, i32(99)).hears(i32(7))
        self.assertIn("!! offset 4: expected the length of a string, 1 to 0, found 99", self.qvctl("trace", "show", self.file(trace)).stdout)

    def test_following_shows_what_comes_until_enough_came(self):
        path = os.path.join(self.directory.name, "growing.trace")
        follow = subprocess.Popen([capture.ARGUMENTS.qvctl, "trace", "follow", path, "--limit", "8", "--timeout", "30s"],
                                  env=self.environment, stdout=subprocess.PIPE, text=True)
        whole = home().bytes
        for begin in range(0, len(whole), 61):
            with open(path, "ab") as file:
                file.write(whole[begin:begin + 61])
            time.sleep(0.02)
        output, _ = follow.communicate(timeout=30)
        self.assertEqual(follow.returncode, 0)
        self.assertEqual(output, self.qvctl("trace", "show", self.file(home())).stdout)


class Stats(WithFiles):
    def test_calls_times_errors_and_what_is_still_open(self):
        trace = Capture().opened().asks(9, delegate(3, 1)).hears()
        for milliseconds in range(1, 101):
            trace.asks(10, milliseconds=milliseconds).hears(code=-61 if milliseconds > 98 else 0)
        trace.asks(13, delegate(5, 2)).hears().called(callback(5, 2), i32(0), i32(0)).asks(12)
        data = json.loads(self.qvctl("trace", "stats", self.file(trace), "-o", "json").stdout)
        self.assertIn({"method": "unset_device_list_cb", "calls": 100, "p50_ms": 50.0, "p99_ms": 99.0, "max_ms": 100.0,
                       "errors": 2, "unanswered": 0}, data["methods"])
        self.assertIn({"method": "get_device_list", "calls": 1, "p50_ms": 0, "p99_ms": 0, "max_ms": 0, "errors": 0, "unanswered": 1},
                      data["methods"])
        self.assertEqual(data["delegates"], [{"delegate": "device_detail_list_cb", "callbacks": 1}])
        self.assertEqual(data["open_delegates"], [{"open_delegate": "device_detail_list_cb[5.2]", "by": "set_device_detail_list_cb",
                                                   "connection": "app[4121] #1", "callbacks": 1}])


class Lint(WithFiles):
    def found(self, trace, *options, status=1):
        done = self.qvctl("trace", "lint", self.file(trace), "-o", "json", *options, status=status)
        return [(row["rule"], row["what"]) for row in json.loads(done.stdout)]

    def test_nothing_is_wrong_with_a_good_trace(self):
        good = Capture().opened().asks(9, delegate(3, 1)).hears().asks(10).hears().closed()
        self.assertEqual(self.found(good, status=0), [])

    def test_a_call_before_the_connection(self):
        self.assertEqual(self.found(Capture().asks(10).hears()), [("before-connected", "10 unset_device_list_cb")])

    def test_a_call_after_the_connection(self):
        self.assertIn(("after-closed", "a parcel of 4 bytes"), self.found(Capture().opened().closed().asks(10).hears()))

    def test_calls_that_overlap(self):
        self.assertEqual(self.found(Capture().opened().asks(10).asks(18).hears().hears(), status=0),
                         [("overlapping", "18 unset_group_list_cb while 10 unset_device_list_cb waits")])

    def test_a_callback_on_the_main_port(self):
        trace = Capture().opened().asks(9, delegate(3, 1)).hears().called(callback(3, 1), i32(0), i32(0), port=0).asks(10).hears()
        self.assertEqual(self.found(trace), [("misplaced", "a callback on the main port")])

    def test_an_answer_on_the_callback_port(self):
        trace = Capture().opened().asks(10).called(i32(0), i32(0))
        self.assertEqual(self.found(trace), [("misplaced", "an answer on the callback port")])

    def test_a_delegate_that_nobody_holds(self):
        self.assertEqual(self.found(Capture().opened().called(callback(3, 7), i32(0), i32(0))), [("stranger", "device_list_cb[3.7]")])

    def test_a_callback_that_was_on_its_way_when_its_delegate_was_taken_back(self):
        trace = Capture().opened().asks(9, delegate(3, 1)).hears().asks(10).hears().called(callback(3, 1), i32(0), i32(0))
        self.assertEqual(self.found(trace, status=0), [("late", "device_list_cb[3.1]")])

    def test_a_delegate_that_was_called_already(self):
        trace = Capture().opened().asks(51, delegate(21, 1, True)).hears()
        for _ in range(2):
            trace.called(callback(21, 1, True), text("[]"), i32(0))
        self.assertEqual(self.found(trace), [("stranger", "get_accessory_list_cb[21.1]")])

    def test_a_callback_that_overtook_the_record_of_its_registration_is_no_stranger(self):
        trace = Capture().opened().called(callback(3, 1), i32(0), i32(0)).asks(9, delegate(3, 1)).hears().asks(10).hears()
        self.assertEqual(self.found(trace, status=0), [])

    def test_a_delegate_registered_twice(self):
        trace = Capture().opened().asks(9, delegate(3, 1)).hears().asks(9, delegate(3, 1)).hears().asks(10).hears()
        self.assertEqual(self.found(trace), [("registered-twice", "device_list_cb[3.1] by set_device_list_cb, held since set_device_list_cb")])

    def test_a_delegate_that_is_never_disposed_of(self):
        self.assertEqual(self.found(Capture().opened().asks(9, delegate(3, 1)).hears(), status=0),
                         [("never-disposed", "device_list_cb[3.1] of set_device_list_cb; unset_device_list_cb ends it")])

    def test_a_subscription_ends_with_the_same_device_and_resource(self):
        subscribed = lambda: Capture().opened().asks(27, text("lamp-1"), text("/a"), text(""), delegate(10, 1)).hears()
        self.assertEqual(self.found(subscribed().asks(28, text("lamp-1"), text("/a")).hears(), status=0), [])
        self.assertEqual(self.found(subscribed().asks(28, text("lamp-1"), text("")).hears(), status=0), [])
        self.assertEqual([rule for rule, _ in self.found(subscribed().asks(28, text("lamp-2"), text("/a")).hears(), status=0)], ["never-disposed"])

    def test_a_flag_that_differs_from_the_registration(self):
        trace = Capture().opened().asks(9, delegate(3, 1)).hears().called(callback(3, 1, True), i32(0), i32(0)).asks(10).hears()
        self.assertEqual(self.found(trace, status=0), [("once", "device_list_cb[3.1] says true, its registration false")])
        self.assertEqual(len(self.found(trace, "--strict")), 1)

    def test_a_result_that_is_longer_or_shorter_than_its_methods(self):
        self.assertEqual(self.found(Capture().opened().asks(10).hears(i32(5))),
                         [("too-long", "the answer to 10 unset_device_list_cb: offset 8: expected the end, found 4 bytes more")])
        self.assertEqual(self.found(Capture().opened().asks(12).hears(i32(0))),
                         [("too-short", "the answer to 12 get_device_list: offset 12: expected an int32, found the end")])

    def test_numbers_that_there_are_not(self):
        self.assertEqual(self.found(Capture().opened().asks(500))[0], ("unknown", "500: offset 0: expected the number of a method, found 500"))
        self.assertEqual(self.found(Capture().opened().called(callback(77, 1)))[0][0], "unknown")

    def test_an_answer_that_nobody_asked_for_and_a_call_that_nobody_answered(self):
        self.assertEqual([rule for rule, _ in self.found(Capture().opened().hears())], ["unasked"])
        self.assertEqual(self.found(Capture().opened().asks(12), status=0), [("unanswered", "12 get_device_list")])

    def test_a_secret_in_clear(self):
        trace = Capture().opened().asks(5).hears(text("sesame"))
        self.assertEqual(self.found(trace, status=0), [("in-clear", "the answer to 5 get_access_token: token")])
        self.assertEqual(self.found(trace, "--strict", "--ignore", "in-clear", status=0), [])


class Masking(WithFiles):
    """Nothing of what is secret is in anything that is shown."""

    def secret_trace(self):
        location = bundle(location_id="home", latitude="51.5033", longitude="-0.1196")
        settings = bundle(ssid="Demo", password="quorvel-demo")
        return (Capture().opened()
                .asks(5).hears(text("sesame-token"))
                .asks(92).hears(text("login@example.test"))
                .asks(81, text("4711")).hears()
                .asks(66, settings, delegate(25, 1, True)).hears()
                .asks(149, text("home")).hears(location)
                .asks(107, text("home")).hears(text('{"name":"Home","place":{"latitude":51.5033},"accessToken":"json-token"}'))
                .asks(90, text("c"), text("t"), text("s"), i32(1)).hears(text("https://x.test/up?token=url-token&a=b"), text("https://x.test"))
                .asks(37, delegate(15, 2, True)).hears()
                .called(callback(15, 2, True), text("delegate-token"), i32(0)))

    SECRETS = ["sesame-token", "login@example.test", "4711", "quorvel-demo", "51.5033", "-0.1196", "json-token", "url-token", "delegate-token"]

    def assert_no_secrets(self, text):
        self.assertEqual([secret for secret in self.SECRETS if secret in text], [])

    def test_no_secret_is_shown(self):
        trace = self.file(self.secret_trace())
        for form in ["table", "json", "jsonl", "tsv"]:
            self.assert_no_secrets(self.qvctl("trace", "show", trace, "--full", "-o", form).stdout)
        for command in ["stats", "lint"]:
            self.assert_no_secrets(self.qvctl("trace", command, trace).stdout)
        other = self.file(Capture().opened().asks(5).hears(text("another-token")), "b.trace")
        self.assert_no_secrets(self.qvctl("trace", "diff", trace, other, status=1).stdout)

    def test_what_is_not_secret_stays(self):
        shown = self.qvctl("trace", "show", self.file(self.secret_trace()), "--full").stdout
        for kept in ['"name\\":\\"Home', '"ssid":"***"', '"location_id":"home"', "&a=b"]:
            self.assertIn(kept, shown)

    def test_all_is_shown_when_that_is_asked_for(self):
        shown = self.qvctl("trace", "show", self.file(self.secret_trace()), "--full", "--secrets").stdout
        self.assertEqual([secret for secret in self.SECRETS if secret not in shown], [])

    def test_a_recording_holds_no_secrets_and_belongs_to_its_owner(self):
        trace = os.path.join(self.directory.name, "token.trace")
        token = self.qvctl("--agent", "sim", "--trace", trace, "account", "token").stdout.strip()
        self.assertNotIn(token.encode(), pathlib.Path(trace).read_bytes())
        self.assertEqual(os.stat(trace).st_mode & 0o777, 0o600)
        self.qvctl("trace", "lint", trace, "--strict")
        self.qvctl("--agent", "sim", "--trace", trace, "--secrets", "account", "token", status=2)
        clear = os.path.join(self.directory.name, "clear.trace")
        self.qvctl("--agent", "sim", "--trace", clear, "--secrets", "account", "token")
        self.assertIn(token.encode(), pathlib.Path(clear).read_bytes())
        self.assertIn(b"Keep this file to yourself", pathlib.Path(clear).read_bytes())
        self.assertEqual(os.stat(clear).st_mode & 0o777, 0o600)


class Broken(WithFiles):
    """Each kind of damage has its own message, and what stands before it is shown."""

    def fails(self, content, offset, expected, found, where):
        trace = self.file(content)
        done = self.qvctl("trace", "show", trace, status=10)
        self.assertEqual(done.stderr.splitlines()[:2],
                         [f"qvctl: {trace}: offset {offset}: expected {expected}, found {found}", f"  where: {where}"])
        return done.stdout

    def damaged(self, place, value):
        """One good record and one with other bytes at a place in it."""
        good = Capture().opened().bytes
        second = Capture().asks(12).bytes[len(HEAD):]
        return good + second[:place] + value + second[place + len(value):], len(good)

    def test_an_empty_file(self):
        self.fails(b"", 0, "the line 'quorvel-capture 1'", "an empty file", "the head of the file")

    def test_something_else(self):
        self.fails(b"\x7fELF\x02 and so on and so on\n", 0, "the line 'quorvel-capture 1'", "'\\x7fELF\\x02 and so on and so on'", "the head of the file")

    def test_another_version(self):
        self.fails(b"quorvel-capture 2\n\n", 16, "version 1", "'2'", "the head of the file")

    def test_a_head_that_does_not_end(self):
        self.fails(b"quorvel-capture 1\n# more\n", 25, "an empty line, which ends the head", "the end of the file", "the head of the file")

    def test_a_head_without_end(self):
        self.fails(b"quorvel-capture 1\n" + b"#\n" * 40000, 65536, "an empty line, which ends the head", "more of the head", "the head of the file")

    def test_a_length_that_is_cut(self):
        shown = self.fails(Capture().opened().bytes + b"\x18\0", 58, "the 4 bytes of a record's length", "2 and the end of the file", "record 2")
        self.assertIn("opened", shown)

    def test_a_record_that_is_cut(self):
        content, at = self.damaged(0, b"")
        shown = self.fails(content[:-3], at, "a record of 24 bytes", "21 bytes and the end of the file", "record 2")
        self.assertIn("opened", shown)

    def test_a_length_that_is_too_small(self):
        content, at = self.damaged(0, i32(19))
        self.fails(content, at, "the length of a record, 20 to 67108884", "19", "record 2")

    def test_a_length_below_nothing(self):
        content, at = self.damaged(0, i32(-1))
        self.fails(content, at, "the length of a record, 20 to 67108884", "-1", "record 2")

    def test_a_length_beyond_every_parcel(self):
        content, at = self.damaged(0, i32(0x7fffffff))
        self.fails(content, at, "the length of a record, 20 to 67108884", "2147483647", "record 2")

    def test_a_time_before_1970(self):
        content, at = self.damaged(4, b"\xff" * 8)
        self.fails(content, at + 4, "nanoseconds since 1970", "-1", "record 2")

    def test_no_process(self):
        content, at = self.damaged(12, i32(0))
        self.fails(content, at + 12, "the number of a process, from 1 on", "0", "record 2")

    def test_no_connection(self):
        content, at = self.damaged(16, i32(-3))
        self.fails(content, at + 16, "the number of a connection, from 1 on", "-3", "record 2")

    def test_a_kind_that_there_is_not(self):
        content, at = self.damaged(20, b"\x03")
        self.fails(content, at + 20, "a kind of record (parcel, connection opened, connection closed), 0 to 2", "3", "record 2")

    def test_a_role_that_there_is_not(self):
        content, at = self.damaged(21, b"\x02")
        self.fails(content, at + 21, "a role (client, agent), 0 to 1", "2", "record 2")

    def test_a_port_that_there_is_not(self):
        content, at = self.damaged(22, b"\xff")
        self.fails(content, at + 22, "a port (main, callback), 0 to 1", "255", "record 2")

    def test_a_direction_that_there_is_not(self):
        content, at = self.damaged(23, b"\x09")
        self.fails(content, at + 23, "a direction (sent, received), 0 to 1", "9", "record 2")

    def test_a_closing_that_says_something(self):
        content, at = self.damaged(20, b"\x02")
        self.fails(content, at + 24, "nothing behind the closing of a connection", "4 bytes", "record 2")

    def test_a_file_that_there_is_not_and_a_directory(self):
        self.assertIn("cannot be read\n  where: No such file or directory", self.qvctl("trace", "show", "/no/such/file", status=6).stderr)
        self.assertIn("is a directory", self.qvctl("trace", "show", self.directory.name, status=10).stderr)

    def test_no_command_takes_a_broken_trace_for_a_whole_one(self):
        broken = self.file(Capture().opened().asks(12).bytes[:-1])
        for words in [["stats"], ["lint"], ["diff", broken]]:
            self.assertIn("offset 58", self.qvctl("trace", *words, broken, status=10).stderr)
        self.assertIn("offset 58", self.qvctl("trace", "replay", "--as-client", broken, status=10).stderr)
        self.assertIn("offset 58", self.qvctl("trace", "replay", "--as-agent", broken, "--", "true", status=10).stderr)

    def test_values_that_nest_too_deep_are_left_as_text(self):
        trace = Capture().opened().asks(107, text("home")).hears(text("[" * 300000))
        self.assertIn("json=", self.qvctl("trace", "show", self.file(trace)).stdout)


class Diff(WithFiles):
    def diff(self, left, right, *options, status=1):
        return self.qvctl("trace", "diff", self.file(left), self.file(right, "b.trace"), *options, status=status).stdout

    def test_a_trace_does_not_differ_from_itself(self):
        self.assertEqual(self.diff(home(), home(), status=0), "")

    def test_a_changed_value_is_told_by_its_name_and_the_devices_id(self):
        left = Capture().opened().asks(12).hears(i32(2), device("a"), device("b"), i32(2))
        right = Capture().opened().asks(12).hears(i32(2), device("a", "qv.d.tv"), device("c"), i32(2))
        self.assertEqual(self.diff(left, right).splitlines(), [
            "~ 12 get_device_list(): answer changed",
            '    devices[a].device_type[0]: "qv.d.light" -> "qv.d.tv"',
            '    devices[b]: {"device_id":"b","device_type":["qv.d.light"]} -> nothing',
            '    devices[c]: nothing -> {"device_id":"c","device_type":["qv.d.light"]}',
        ])

    def test_it_looks_into_json(self):
        answers = [Capture().opened().asks(107, text("home")).hears(text(f'{{"id":"home","rooms":[{{"id":"hall","level":{level}}}]}}')) for level in (1, 2)]
        self.assertEqual(self.diff(*answers).splitlines()[1:], ["    json.rooms[hall].level: 1 -> 2"])
        self.assertEqual(self.diff(*answers, "--ignore", "level", status=0), "")

    def test_calls_that_are_missing_added_and_changed(self):
        left = Capture().opened().asks(12).hears(i32(0), i32(0)).asks(15, text("lamp-1")).asks(10)
        right = Capture().opened().asks(15, text("lamp-2")).asks(10).asks(18)
        self.assertEqual(self.diff(left, right).splitlines(), [
            "- 12 get_device_list(): call missing",
            '~ 15 get_device_detail("lamp-1"): arguments changed',
            '    device_id: "lamp-1" -> "lamp-2"',
            "+ 18 unset_group_list_cb(): call added",
        ])

    def test_numbers_of_delegates_do_not_matter(self):
        self.assertEqual(self.diff(Capture().opened().asks(9, delegate(3, 1)), Capture().opened().asks(9, delegate(3, 8)), status=0), "")


if __name__ == "__main__":
    capture.main()
