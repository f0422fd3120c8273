#!/usr/bin/env python3
"""Recording a real exchange with the reference agent, and playing it back at either end."""

import json
import os
import pathlib

import capture
from capture import Capture, WithFiles, device, i32, text


class WithRecording(WithFiles):
    def trace(self, *command, home="sim"):
        path = os.path.join(self.directory.name, "live.trace")
        self.qvctl("--agent", home, "trace", "record", path, "--", capture.ARGUMENTS.qvctl, *command)
        return path


class Recording(WithRecording):
    def test_the_status_is_the_programs_and_its_output_is_left_alone(self):
        path = os.path.join(self.directory.name, "x.trace")
        done = self.qvctl("trace", "record", path, "--", "sh", "-c", "echo out; exit 7", status=7)
        self.assertEqual(done.stdout, "out\n")
        self.assertEqual(done.stderr, f"{path}: 0 calls and 0 callbacks recorded, secrets masked\n")

    def test_nothing_but_the_trace_is_left(self):
        self.trace("device", "list")
        self.assertEqual([name for name in os.listdir(self.directory.name) if "recording" in name], [])

    def test_the_agents_version_stands_in_the_head(self):
        self.assertIn(b"\nagent: 2.4.0\n", pathlib.Path(self.trace("device", "list")).read_bytes())

    def test_several_recordings_follow_each_other(self):
        self.trace("device", "list")
        rows = json.loads(self.qvctl("trace", "stats", self.trace("device", "list"), "-o", "json").stdout)["methods"]
        self.assertEqual({row["method"]: row["calls"] for row in rows}["get_device_list"], 2)


class AsAgent(WithRecording):
    def test_an_application_hears_again_what_it_heard(self):
        home = self.qvctl("--agent", "sim", "device", "list", "-o", "json").stdout
        path = self.trace("device", "list", "-o", "json")
        done = self.qvctl("trace", "replay", "--as-agent", path, "--", capture.ARGUMENTS.qvctl, "device", "list", "-o", "json")
        self.assertEqual((done.stdout, done.stderr), (home, ""))

    def test_callbacks_come_again(self):
        path = self.trace("core", "room", "list", "--location", "home")
        path = self.trace("accessory", "list", "-o", "json")
        again = self.qvctl("trace", "replay", "--as-agent", path, "--connection", "1", "--", "sh", "-c",
                           f"{capture.ARGUMENTS.qvctl} core room list --location home >/dev/null && {capture.ARGUMENTS.qvctl} accessory list -o json")
        self.assertEqual(again.stdout, self.qvctl("--agent", "sim", "accessory", "list", "-o", "json").stdout)

    def test_another_argument_is_told_and_fails(self):
        path = self.trace("device", "show", "lamp-1")
        done = self.qvctl("trace", "replay", "--as-agent", path, "--", "sh", "-c", f"{capture.ARGUMENTS.qvctl} device show lamp-2 2>/dev/null; true", status=1)
        self.assertEqual(done.stderr.splitlines(), [
            'qvctl: 15 get_device_detail("lamp-2") was not recorded',
            '~ 15 get_device_detail("lamp-1"): arguments changed',
            '    device_id: "lamp-1" -> "lamp-2"'])

    def test_a_call_that_is_not_made_is_told_and_fails(self):
        done = self.qvctl("trace", "replay", "--as-agent", self.trace("device", "show", "lamp-1"), "--", "true", status=1)
        self.assertIn('15 get_device_detail("lamp-1") was recorded and not called', done.stderr)

    def test_the_applications_own_failure_is_the_status(self):
        done = self.qvctl("trace", "replay", "--as-agent", self.trace("device", "show", "lamp-1"), "--", "sh", "-c", "exit 5", status=5)
        self.assertIn("was recorded and not called", done.stderr)

    def test_a_trace_by_hand_is_an_agent_too(self):
        trace = Capture().opened().asks(52, text("1")).hears().asks(8).hears(text("TRUE"))
        self.assertEqual(self.qvctl("trace", "replay", "--as-agent", self.file(trace), "--", capture.ARGUMENTS.qvctl, "call",
                                    "quorvel_client_is_signed_in").stdout, "true\n")

    def test_an_answer_that_is_cut_is_cut_again(self):
        trace = Capture().opened().asks(52, text("1")).hears().asks(12).record(0, 0, 1, i32(0) + i32(1) + i32(4) + b"abc")
        done = self.qvctl("trace", "replay", "--as-agent", self.file(trace), "--", capture.ARGUMENTS.qvctl, "--trace",
                          os.path.join(self.directory.name, "again.trace"), "--secrets", "call", "quorvel_client_get_device_list", status=1)
        again = pathlib.Path(self.directory.name, "again.trace").read_bytes()
        self.assertIn(i32(0) + i32(1) + i32(4) + b"abc", again, done.stderr)

    def test_a_masked_recording_answers_whoever_gives_the_secret(self):
        path = self.trace("raw", "set_easy_setup_random_pin", "1234")
        self.assertNotIn(b"1234", pathlib.Path(path).read_bytes())
        self.qvctl("trace", "replay", "--as-agent", path, "--", capture.ARGUMENTS.qvctl, "raw", "set_easy_setup_random_pin", "9999")


class AsClient(WithRecording):
    def test_an_agent_with_the_same_home_answers_the_same(self):
        done = self.qvctl("--agent", "sim", "trace", "replay", "--as-client", self.trace("device", "nick", "lamp-1", "Other"))
        self.assertEqual((done.stdout, done.stderr), ("", "2 calls sent, 0 differences\n"))

    def test_an_agent_with_another_home_answers_otherwise_and_that_fails(self):
        path = self.trace("device", "show", "lamp-1")
        home = os.path.join(self.directory.name, "other.yaml")
        pathlib.Path(home).write_text("quorvel-home: 1\nplaces: [{id: home, name: Home, rooms: [living]}]\n"
                                      "devices: [{id: lamp-1, name: Other lamp, model: light.color, room: living}]\n")
        done = self.qvctl("--agent", f"sim:{home}", "trace", "replay", "--as-client", path, status=1)
        self.assertIn('~ 15 get_device_detail("lamp-1"): answer changed\n', done.stdout)
        self.assertIn('    detail.device_name: "Floor lamp" -> "Other lamp"\n', done.stdout)

    def test_a_changed_answer_in_the_trace_is_told_and_fails(self):
        trace = Capture().opened().asks(8).hears(text("FALSE"))
        done = self.qvctl("--agent", "sim", "trace", "replay", "--as-client", self.file(trace), status=1)
        self.assertEqual(done.stdout, '~ 8 is_signed_in(): answer changed\n    state: "FALSE" -> "TRUE"\n')

    def test_one_of_the_two_ends_has_to_be_chosen(self):
        self.assertIn("either --as-agent or --as-client", self.qvctl("trace", "replay", status=2).stderr)


class DryRun(WithFiles):
    def test_a_dry_run_shows_the_call_and_its_parcel_without_any_agent(self):
        self.assertEqual(self.qvctl("core", "location", "show", "home", "--dry-run").stdout.splitlines(), [
            'quorvel_core_get_location(client, "home", &location);',
            "/* method 149 core_get_location */",
            '→ 149 core_get_location("home")',
            "    0000  95 00 00 00 05 00 00 00 68 6f 6d 65 00           ........home."])

    def test_a_call_that_the_library_refuses_sends_nothing(self):
        self.assertIn("/* nothing is sent: the library itself refuses the arguments */",
                      self.qvctl("device", "nick", "", "Name", "--dry-run").stdout)

    def test_a_raw_call_shows_its_parcel_too(self):
        self.assertIn("    0000  30 00 00 00 01 00 00 00 02 00 00 00", self.qvctl("raw", "set_test_configuration", "1", "2", "--dry-run").stdout)


if __name__ == "__main__":
    capture.main()
