#!/usr/bin/env python3
"""Every fault of the reference agent: what a user sees while it is set, and that clearing it restores everything."""

import argparse
import json
import os
import subprocess
import sys
import tempfile
import time
import unittest

# The exit statuses of qvctl.
OK, FAILED, NO_AGENT, REFUSED, TOO_OLD, NOTHING, LATE, CLOUD, LOST = 0, 1, 3, 4, 5, 6, 7, 8, 9


class Faults(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.directory = tempfile.TemporaryDirectory()
        kept = {name: value for name, value in os.environ.items() if not name.startswith(("QUORVEL_", "QVCTL_"))}
        cls.environment = {**kept, "QUORVEL_HOME_DIR": cls.directory.name, "QVCTL_AGENT_PROGRAM": AGENT}
        cls.run_qvctl("agent", "start", "--timeout", "30s")
        cls.tried = set()

    @classmethod
    def tearDownClass(cls):
        cls.run_qvctl("agent", "stop")
        cls.directory.cleanup()

    @classmethod
    def run_qvctl(cls, *words):
        return subprocess.run([QVCTL, *words], env=cls.environment, capture_output=True, text=True,
                              errors="replace", timeout=120)

    def qvctl(self, *words, status=OK):
        done = self.run_qvctl(*words)
        self.assertEqual(done.returncode, status, done.stdout + done.stderr)
        return done.stdout

    def rows(self, *words):
        return [json.loads(line) for line in self.qvctl(*words, "-o", "jsonl").splitlines()]

    def set(self, name, **more):
        self.tried.add(name)
        self.qvctl("sim", "fault", "add", json.dumps({"name": name, **more}))

    def setUp(self):
        self.qvctl("sim", "fault", "clear")

    # What the home is like when all is well, asked after each fault.
    def tearDown(self):
        self.qvctl("sim", "fault", "clear")
        self.assertEqual(self.qvctl("sim", "fault", "list", "-o", "jsonl"), "")
        self.assertEqual([row["location_id"] for row in self.rows("core", "location", "list", "--timeout", "30s")],
                         ["home", "cabin"])
        status = self.rows("sim", "status")[0]
        self.assertEqual((status["version"], status["signedIn"], status["cloud"], status["caching"], status["devices"]),
                         ("2.4.0", True, True, False, 18))
        self.assertIn("version=2.4.0", self.package())

    def package(self):
        path = f"{self.directory.name}/packages/com.veltrane.norvik.quorvel-client.package"
        with open(path, encoding="utf-8") as file:
            return file.read()

    # The port.

    def test_reject_turns_a_client_away(self):
        self.set("reject")
        self.qvctl("core", "location", "list", status=REFUSED)

    def test_refuse_and_reset_end_the_connection(self):
        for name in ("refuse", "reset"):
            self.set(name, method="core_get_location_list")
            self.qvctl("core", "location", "list", status=LOST)
            self.qvctl("sim", "fault", "clear")

    def test_an_answer_that_never_comes_is_waited_for_until_the_deadline(self):
        for name in ("drop", "no-answer"):
            self.set(name, method="core_get_location_list")
            began = time.monotonic()
            self.qvctl("core", "location", "list", "--timeout", "700ms", status=LOST)
            self.assertGreater(time.monotonic() - began, 0.7)
            self.qvctl("sim", "fault", "clear")

    def test_delay_and_stall_take_their_time(self):
        for name in ("delay", "stall"):
            self.set(name, ms=400, method="core_get_location_list")
            began = time.monotonic()
            self.qvctl("core", "location", "list")
            self.assertGreater(time.monotonic() - began, 0.4)
            self.qvctl("sim", "fault", "clear")

    def test_slices_change_nothing_of_what_is_read(self):
        whole = self.qvctl("device", "list", "-o", "tsv")
        self.set("slice", bytes=1)
        self.set("fire-slice", bytes=1)
        self.assertEqual(self.qvctl("device", "list", "-o", "tsv", "--timeout", "30s"), whole)
        self.assertIn("hub-1", self.qvctl("accessory", "list", "--timeout", "30s"))

    def test_a_number_of_faults_make_an_answer_that_is_none(self):
        for name, more in (("truncate", {"keep": 1}), ("corrupt", {"value": 2}), ("unknown-command", {}),
                           ("missing-text", {})):
            with self.subTest(name):
                self.set(name, method="core_get_device_json", **more)
                self.assertNotEqual(self.run_qvctl("core", "device", "json", "lamp-1", "--timeout", "2s").returncode, OK)
                self.qvctl("sim", "fault", "clear")

    def test_an_answer_that_comes_on_the_callback_port_is_missed(self):
        self.set("misplaced", method="core_get_location_list")
        self.qvctl("core", "location", "list", "--timeout", "1s", status=LOST)

    def test_the_second_of_two_answers_is_taken_for_the_next_calls(self):
        self.set("twice", method="is_signed_in", count=1)
        self.assertNotEqual(self.run_qvctl("account", "show", "--timeout", "5s").stdout.count("demo@example.test"), 2)
        self.assertEqual(self.rows("sim", "fault", "list")[0]["struck"], 1)

    # Methods.

    def test_a_code_of_the_table_is_passed_on_and_another_is_unknown(self):
        self.set("result", code=-61, method="core_get_location_list")
        self.qvctl("core", "location", "list", status=NOTHING)
        self.qvctl("sim", "fault", "clear")
        self.set("result", code=12345, method="core_get_location_list")
        self.assertIn("UNKNOWN", self.run_qvctl("core", "location", "list").stderr)

    def test_result_after_does_the_work_all_the_same(self):
        self.set("result-after", code=-28, method="core_update_device")
        self.qvctl("core", "device", "rename", "lamp-1", "Renamed lamp", status=FAILED)
        self.qvctl("sim", "fault", "clear")
        self.assertIn("Renamed lamp", self.qvctl("device", "show", "lamp-1"))

    def test_texts_are_empty_or_broken(self):
        self.set("empty-text", method="core_get_device_json")
        self.assertEqual(self.rows("raw", "core_get_device_json", "lamp-1")[0], {"json": "", "returned": 0})
        self.qvctl("sim", "fault", "clear")
        whole = self.qvctl("raw", "core_get_device_json", "lamp-1", "-o", "jsonl")
        self.set("broken-json", method="core_get_device_json")
        broken = self.qvctl("raw", "core_get_device_json", "lamp-1", "-o", "jsonl")
        self.assertLess(len(broken), 0.6 * len(whole))

    def test_bundles_lack_their_keys(self):
        self.assertIn('"entries":11', self.qvctl("raw", "core_get_location_list", "-o", "jsonl"))
        self.set("missing-key", method="core_get_location_list")
        self.assertEqual(self.qvctl("raw", "core_get_location_list", "-o", "jsonl").count('"entries":0'), 2)
        for row in self.rows("core", "location", "list"):
            self.assertIn(row["location_id"], (None, ""))

    def test_a_list_has_a_great_many_elements(self):
        self.set("many", records=5000, method="core_get_location_list")
        self.assertEqual(len(self.rows("core", "location", "list", "--timeout", "60s")), 5000)

    def test_an_agent_that_dies_is_started_again_by_the_next(self):
        self.set("die", method="core_get_location_list")
        self.qvctl("core", "location", "list", status=LOST)
        time.sleep(0.2)
        self.qvctl("core", "location", "list", "--timeout", "30s")

    # Callbacks.

    def test_a_callback_that_does_not_come_is_late(self):
        for name in ("fire-never", "fire-unknown", "fire-stranger", "fire-misplaced"):
            with self.subTest(name):
                self.set(name, delegate="get_accessory_list_cb")
                status = self.run_qvctl("accessory", "list", "--timeout", "1s").returncode
                self.assertIn(status, (LATE, LOST) if name == "fire-misplaced" else (LATE,))
                self.qvctl("sim", "fault", "clear")

    def test_a_callback_comes_more_often_than_once(self):
        for name, copies in (("fire-twice", 2), ("fire-storm", 7)):
            self.set(name, delegate="start_monitoring_network_state_cb",
                     **({"copies": copies} if name == "fire-storm" else {}))
            answer = self.rows("raw", "start_monitoring_network_state", "lamp-1", "", "--limit", str(copies))[0]
            self.assertEqual(len(answer["callbacks"]), copies)
            self.qvctl("sim", "fault", "clear")

    def test_a_callback_lies_ends_early_or_holds_another_value(self):
        whole = self.rows("raw", "get_accessory_list")[0]["callbacks"][0]
        self.assertIs(whole["once"], True)
        self.set("fire-lying")
        self.assertIs(self.rows("raw", "get_accessory_list")[0]["callbacks"][0]["once"], False)
        self.qvctl("sim", "fault", "clear")
        for name, more in (("fire-truncate", {"keep": 4}), ("fire-corrupt", {"value": 4})):
            self.set(name, **more)
            self.assertNotEqual(self.rows("raw", "get_accessory_list")[0]["callbacks"][0]["values"], whole["values"])
            self.qvctl("sim", "fault", "clear")

    # The world.

    def test_a_device_is_offline(self):
        self.set("offline", device="lamp-1")
        self.assertEqual(self.rows("core", "device", "health", "lamp-1"), [0])
        self.qvctl("sim", "fault", "clear")
        self.assertEqual(self.rows("core", "device", "health", "lamp-1"), [1])

    def test_the_world_is_bad_in_other_ways(self):
        for name, status, error in (("cloud-down", CLOUD, "NETWORK_UNREACHABLE"), ("signed-out", REFUSED, "PERMISSION_DENIED"),
                                    ("older-agent", TOO_OLD, "LOWER_VERSION"), ("no-agent", NO_AGENT, "NOT_SUPPORTED")):
            with self.subTest(name):
                self.set(name)
                done = self.run_qvctl("core", "location", "list")
                self.assertEqual(done.returncode, status, done.stderr)
                self.assertIn(error, done.stderr)
                self.qvctl("sim", "fault", "clear")
                self.qvctl("core", "location", "list")

    def test_the_agent_gathers_its_devices(self):
        self.set("caching", ms=600000)
        self.assertIs(self.rows("sim", "status")[0]["caching"], True)

    def test_a_restart_ends_every_connection(self):
        watch = subprocess.Popen([QVCTL, "device", "watch"], env=self.environment, stdout=subprocess.DEVNULL,
                                 stderr=subprocess.DEVNULL)
        time.sleep(1)
        self.set("restart")
        self.assertEqual(watch.wait(timeout=30), LOST)
        time.sleep(0.5)

    # Closing.

    def test_a_dropped_client_hears_of_it_at_once(self):
        watch = subprocess.Popen([QVCTL, "device", "watch"], env=self.environment, stdout=subprocess.DEVNULL,
                                 stderr=subprocess.DEVNULL)
        time.sleep(1)
        began = time.monotonic()
        self.qvctl("sim", "drop")
        self.assertEqual(watch.wait(timeout=30), LOST)
        self.assertLess(time.monotonic() - began, 5)

    def test_zz_every_fault_that_there_is_was_tried(self):
        names = {row["name"] for row in self.rows("sim", "fault", "names")}
        self.assertEqual(names - self.tried, set())

    def test_a_mistyped_fault_gets_a_suggestion(self):
        done = self.run_qvctl("sim", "fault", "add", '{"name": "slcie"}')
        self.assertNotEqual(done.returncode, OK)
        self.assertIn("did you mean 'slice'?", done.stderr)


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    parser.add_argument("qvctl")
    parser.add_argument("agent")
    arguments, rest = parser.parse_known_args()
    QVCTL, AGENT = arguments.qvctl, arguments.agent
    unittest.main(argv=[sys.argv[0], *rest])
