#!/usr/bin/env python3
"""What a user of qvctl sees: each exit status and its error text, output in every form, watches, onboarding."""

import argparse
import json
import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile
import time
import unittest


def environment(home):
    kept = {name: value for name, value in os.environ.items() if not name.startswith(("QUORVEL_", "QVCTL_", "NO_COLOR"))}
    return {**kept, "QUORVEL_HOME_DIR": str(home), "QVCTL_AGENT_PROGRAM": AGENT}


class WithHome(unittest.TestCase):
    """Each class has a home and an agent of its own."""

    @classmethod
    def setUpClass(cls):
        cls.directory = tempfile.TemporaryDirectory()
        cls.environment = environment(cls.directory.name)
        cls.run_qvctl("agent", "start", "--timeout", "30s")

    @classmethod
    def tearDownClass(cls):
        cls.run_qvctl("agent", "stop")
        cls.directory.cleanup()

    @classmethod
    def run_qvctl(cls, *words, **options):
        return subprocess.run([QVCTL, *words], env=cls.environment, capture_output=True, text=True, timeout=60, **options)

    def qvctl(self, *words, status=0, **options):
        done = self.run_qvctl(*words, **options)
        self.assertEqual(done.returncode, status, done.stdout + done.stderr)
        return done

    def json(self, *words):
        return json.loads(self.qvctl(*words, "-o", "json").stdout)


class NoAgent(unittest.TestCase):
    def test_without_an_agent_the_status_is_3_and_the_error_tells_what_to_type(self):
        with tempfile.TemporaryDirectory() as home:
            done = subprocess.run([QVCTL, "device", "list"], env=environment(home), capture_output=True, text=True)
        self.assertEqual(done.returncode, 3)
        self.assertEqual(done.stdout, "")
        self.assertIn("QUORVEL_CLIENT_ERROR_NOT_SUPPORTED (-1073741822)", done.stderr)
        self.assertIn("next:  quorvel-agent --install", done.stderr)

    def test_an_agent_that_is_not_running_is_status_3_when_only_a_running_one_will_do(self):
        with tempfile.TemporaryDirectory() as home:
            done = subprocess.run([QVCTL, "--agent", "running", "status"], env=environment(home), capture_output=True, text=True)
        self.assertEqual(done.returncode, 3)
        self.assertIn("no agent is running", done.stderr)

    def test_an_agent_of_its_own_serves_one_command_and_leaves_nothing(self):
        with tempfile.TemporaryDirectory() as home:
            done = subprocess.run([QVCTL, "--agent", "sim", "device", "list", "-o", "tsv", "--fields", "device_id"],
                                  env=environment(home), capture_output=True, text=True)
            self.assertEqual(os.listdir(home), [])
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(done.stdout.splitlines()[:2], ["device_id", "hub-1"])

    def test_an_agent_that_is_too_old_is_status_5(self):
        with tempfile.TemporaryDirectory() as home:
            packages = pathlib.Path(home) / "packages"
            packages.mkdir()
            name = "com.veltrane.norvik.quorvel-client"
            (packages / f"{name}.package").write_text(f"id={name}\nversion=0.9.0\nexec=/bin/false\n")
            done = subprocess.run([QVCTL, "device", "list"], env=environment(home), capture_output=True, text=True)
        self.assertEqual(done.returncode, 5)
        self.assertIn("QUORVEL_CLIENT_ERROR_LOWER_VERSION", done.stderr)


class Statuses(WithHome):
    def test_what_works_is_status_0(self):
        self.assertIn("lamp-1", self.qvctl("device", "list").stdout)

    def test_a_code_of_the_agents_own_is_status_1(self):
        self.qvctl("sim", "fault", "add", '{"name": "result", "code": -1073741827, "count": 1, "method": "get_device_list"}')
        self.assertIn("AGENT_DEFINED_2", self.qvctl("raw", "get_device_list").stdout + self.qvctl(
            "explain", "AGENT_DEFINED_2").stdout)
        self.qvctl("sim", "fault", "add", '{"name": "result", "code": -1073741827, "count": 1, "method": "get_scene_list"}')
        self.assertIn("QUORVEL_CLIENT_ERROR_AGENT_DEFINED_2 (-1073741827)", self.qvctl("scene", "list", status=1).stderr)

    def test_a_mistyped_word_is_status_2_and_gets_a_suggestion(self):
        self.assertIn("did you mean 'qvctl device'?", self.qvctl("devcie", "list", status=2).stderr)
        self.assertIn("did you mean 'qvctl device list'?", self.qvctl("device", "lsit", status=2).stderr)
        self.assertIn("did you mean '--json'?", self.qvctl("device", "list", "--jsn", status=2).stderr)
        self.assertIn("did you mean 'subgroup'?", self.qvctl("group", "list", "subgruop", status=2).stderr)

    def test_a_missing_argument_is_status_2(self):
        self.assertIn("qvctl device nick --help", self.qvctl("device", "nick", status=2).stderr)

    def test_one_who_is_signed_out_is_refused_with_status_4(self):
        self.qvctl("sim", "sign", "off")
        try:
            self.assertIn("PERMISSION_DENIED (-13)", self.qvctl("device", "nick", "lamp-1", "x", status=4).stderr)
        finally:
            self.qvctl("sim", "sign", "on")

    def test_what_there_is_not_is_status_6(self):
        self.assertIn("QUORVEL_CLIENT_ERROR_NO_DATA (-61)", self.qvctl("device", "show", "nothing", status=6).stderr)

    def test_what_does_not_come_in_time_is_status_7(self):
        done = self.qvctl("device", "watch", "--limit", "1", "--timeout", "300ms", status=7)
        self.assertIn("0 of 1 events", done.stderr)

    def test_a_cloud_that_is_away_is_status_8(self):
        self.qvctl("sim", "cloud", "off")
        try:
            self.assertIn("NETWORK_UNREACHABLE (-101)", self.qvctl("core", "location", "list", status=8).stderr)
        finally:
            self.qvctl("sim", "cloud", "on")

    def test_a_refused_argument_is_status_10(self):
        self.assertIn("INVALID_PARAMETER (-22)", self.qvctl("core", "device", "exec", "lamp-1", "no json", status=10).stderr)

    def test_a_signal_ends_a_watch_with_128_and_its_number(self):
        watch = subprocess.Popen([QVCTL, "device", "watch"], env=self.environment, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        time.sleep(1)
        watch.send_signal(signal.SIGINT)
        watch.communicate(timeout=20)
        self.assertEqual(watch.returncode, 130)

    def test_a_mistake_of_qvctls_own_is_status_70(self):
        self.assertEqual(self.qvctl("__bug", status=70).stderr.splitlines(), [
            "qvctl: this is a mistake in qvctl", "  where: __bug was asked for",
            "  next:  please report it, with the command line"])

    def test_every_code_is_told_with_its_name_its_number_why_and_what_to_type_next(self):
        # Three are the library's alone: an agent that answers with one is not understood.
        own = ("ALREADY_CONNECTING", "ALREADY_CONNECTED", "NOT_CONNECTED")
        codes = [row for row in self.json("explain") if row["code"] != 0 and not row["name"].endswith(own)]
        self.assertGreater(len(codes), 10)
        for row in codes:
            with self.subTest(row["name"]):
                self.qvctl("sim", "fault", "add", json.dumps(
                    {"name": "result", "code": row["code"], "count": 1, "method": "get_scene_list"}))
                error = self.qvctl("scene", "list", status=row["exit_status"]).stderr.splitlines()
                self.qvctl("sim", "fault", "clear")
                self.assertEqual(error[0], f"qvctl: {row['name']} ({row['code']})")
                self.assertRegex(error[1], r"^  where: quorvel_client_get_scene_list: .")
                self.assertRegex(error[2], r"^  next:  .")

    def test_an_error_of_every_kind_says_what_happened_where_and_what_to_type_next(self):
        for words, status, what, why, following in (
                (["scene", "run"], 2, "scene_id is required", "qvctl scene run", "qvctl scene run --help"),
                (["scene", "list", "--timeout", "soon"], 2, "'soon' is not a time", "--timeout", "e.g. 500ms"),
                (["--agent", "simm", "status"], 2, "there is no agent 'simm'", "--agent", "sim, sim:HOME or running"),
                (["call", "quorvel_client_get_stat"], 2, "there is no function 'quorvel_client_get_stat'",
                 "the public functions", "did you mean 'quorvel_client_get_state'?"),
                (["raw", "get_device_lst"], 2, "there is no method 'get_device_lst'", "methods of the interface",
                 "did you mean 'get_device_list'?"),
                (["explain", "NO_DATTA"], 6, "there is no code 'NO_DATTA'", "the codes of the library",
                 "did you mean 'NO_DATA'?"),
                (["sim", "fault", "add", "no json"], 2, "a JSON object is needed", "qvctl sim fault-add", "e.g."),
                (["sim", "link", "lamp-1", "latency"], 2, "'latency' is not NAME=VALUE", "qvctl sim", "e.g."),
                (["scene", "add", "home", "@/no/such/file"], 2, "/no/such/file cannot be read", "No such file", "@FILE"),
                (["completion", "bsh"], 2, "there is no completion for 'bsh'", "bash, zsh and fish",
                 "did you mean 'bash'?"),
                (["home", "check", "/no/such/file"], 10, "", "", "")):
            with self.subTest(words):
                error = self.qvctl(*words, status=status).stderr
                if what:
                    lines = error.splitlines()
                    self.assertIn(what, lines[0])
                    self.assertIn(why, lines[1])
                    self.assertIn(following, lines[2])

    def test_every_status_of_the_table_has_a_test_here(self):
        table = {row["status"] for row in map(json.loads, self.qvctl("__commands").stdout.splitlines()) if "status" in row}
        with open(__file__, encoding="utf-8") as file:
            tested = {int(number) for number in re.findall(r"(?:status=|returncode, )(\d+)", file.read())}
        self.assertEqual(table - tested, {128})  # 128 + n, which is 130 here
        self.assertIn(130, tested)

    def test_the_status_stands_in_the_json_error_too(self):
        error = json.loads(self.qvctl("device", "show", "nothing", "--json", status=6).stderr)["error"]
        self.assertEqual((error["exit_status"], error["code"]), (6, -61))

    def test_explain_knows_a_code_by_its_number_and_by_its_name(self):
        self.assertEqual(self.json("explain", "NO_DATA"), self.json("explain", "-61"))
        self.assertEqual(self.json("explain", "no-data")["exit_status"], 6)


class Lost(WithHome):
    def test_a_connection_that_is_lost_midway_is_status_9(self):
        watch = subprocess.Popen([QVCTL, "device", "watch"], env=self.environment, stdout=subprocess.PIPE,
                                 stderr=subprocess.PIPE, text=True)
        time.sleep(1)
        self.qvctl("agent", "stop")
        _, errors = watch.communicate(timeout=20)
        self.assertEqual(watch.returncode, 9, errors)
        self.assertIn("the connection to the agent was lost", errors)


class Output(WithHome):
    def test_a_piped_table_has_no_colours_and_cuts_no_id(self):
        text = self.qvctl("device", "list").stdout
        self.assertNotIn("\033", text)
        self.assertIn("thermostat-1", text)

    def test_fields_reach_into_members(self):
        rows = self.json("core", "rule", "list", "--location", "home", "--fields", "rule_id,rule_json.name")
        self.assertIn({"rule_id": "hall-motion", "rule_json.name": "Hall light on motion"}, rows)

    def test_jsonl_is_an_object_a_line(self):
        lines = self.qvctl("device", "list", "-o", "jsonl").stdout.splitlines()
        self.assertEqual(json.loads(lines[0])["device_id"], "hub-1")

    def test_one_location_has_to_be_chosen_when_there_are_two(self):
        self.assertIn("--location home", self.qvctl("core", "room", "list", status=2).stderr)

    def test_a_watcher_sees_what_happens_until_what_it_waits_for(self):
        watch = subprocess.Popen([QVCTL, "core", "events", "watch", "--device", "lamp-1", "--until", "event.value=70",
                                  "--timeout", "20s"], env=self.environment, stdout=subprocess.PIPE, text=True)
        time.sleep(1)
        self.qvctl("sim", "set", "lamp-1", "level", "60")
        self.qvctl("sim", "set", "lamp-1", "level", "70")
        text, _ = watch.communicate(timeout=30)
        self.assertEqual(watch.returncode, 0)
        self.assertEqual(json.loads(text.splitlines()[-1])["event"]["value"], 70)

    def test_a_device_that_is_added_is_there(self):
        self.qvctl("sim", "device-add", '{"id": "lamp-9", "name": "Lamp", "model": "light.color", "room": "living"}')
        self.assertEqual(self.json("device", "show", "lamp-9")["device_name"], "Lamp")

    def test_a_dry_run_changes_nothing(self):
        done = self.qvctl("device", "nick", "lamp-2", "Other", "--dry-run")
        self.assertIn('quorvel_client_change_device_nick(client, "lamp-2", "Other", on_cb, NULL);', done.stdout)
        self.assertNotEqual(self.json("device", "show", "lamp-2")["nick"], "Other")

    def test_completion_offers_what_is_there(self):
        self.assertEqual(self.qvctl("__complete", "device", "show", "therm").stdout, "thermostat-1\n")
        self.assertEqual(self.qvctl("__complete", "core", "ro").stdout, "room\n")

    def test_a_method_answers_without_the_library(self):
        self.assertEqual(self.json("raw", "change_device_nick", "no-such", "Name")["returned"], -61)


class SetUp(WithHome):
    def test_a_script_onboards_a_device_by_options_alone(self):
        done = self.qvctl("setup", "run", "192.168.8.1", "--pin", "1234", "--ssid", "Demo home", "--password",
                          "quorvel-demo", "--subgroup", "living", "--timeout", "30s")
        stages = [json.loads(line) for line in done.stdout.splitlines()]
        self.assertEqual([stage["stage"] for stage in stages],
                         ["init", "start", "wifi", "device", "configuration", "cloud", "sign-in", "place"])
        self.assertEqual({stage["state"] for stage in stages}, {"done"})
        self.assertIn("new-sensor", self.qvctl("device", "list").stdout)

    def test_a_wrong_password_is_told_with_the_stage_and_the_last_error(self):
        done = self.qvctl("setup", "run", "192.168.8.2", "--ssid", "Demo home", "--password", "wrong", status=1)
        self.assertIn("onboarding failed at device", done.stderr)
        self.assertIn("last error 606", done.stderr)


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    parser.add_argument("qvctl")
    parser.add_argument("agent")
    arguments, rest = parser.parse_known_args()
    QVCTL, AGENT = arguments.qvctl, arguments.agent
    unittest.main(argv=[sys.argv[0], *rest])
