#!/usr/bin/env python3
"""Each example program: run in the built-in home, and run again with what it was recorded to hear.

What they have to print follows from the home (agent/data/default-home.yaml) and from docs/agent.md.
"""

import argparse
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

EXPECTED = {
    "account": ["signed in: yes", "state: 1", "login: demo@example.test", "user: user-demo", "device: agent-demo"],
    "apps": ["sunrise is PENDING", "Vacation lights: ACTIVE", "Sunrise alarm: ACTIVE"],
    "command_device": ["The lamp is at 40", "Now it is at 70"],
    "device_details": ["Floor lamp", "Reading lamp", "Television", "Living room shade"],
    "device_group": ["Living room lights:", "  lamp-1: COMPLETED", "  lamp-2: COMPLETED"],
    "errors": ["'lamp-1': done", "'no-such-device': there is no such thing, nothing was handed out",
               "'': an argument is wrong, nothing was handed out"],
    "events": ["lamp-1: switch from on to off, by app"],
    "favorites": ["lamp-1, movie", "lamp-1, movie, tv-1", "lamp-1, movie"],
    "files": ["1 file, complete", "hall.txt, 27 bytes: a picture of an empty hall"],
    "groups": ["Demo home", "Cabin", "  Living room, in home", "  Kitchen, in home", "  Hall, in home", "  Bedroom, in home",
               "  The room, in cabin"],
    "history": ["Home hub: device added", "Movie night: scene ran"],
    "launch_condition": ["added: yes", "still there: no"],
    "monitor_device": ["thermostat-1 is connected"],
    "notifications": ["[automation] Kitchen: The tea is ready"],
    "places": ["Demo home", "  Living room", "  Kitchen", "  Hall", "  Bedroom", "Cabin", "  The room"],
    "push_topics": ["switched: yes", "push notifications are on, for: doors leaks"],
    "read_resource": ["1 resource of the type qv.r.switch", "lamp-1/switch: value = true"],
    "rename_device": ["lamp-2 is now called Bookworm"],
    "rules": ["2 rules", "Light when the door opens, enabled: true; 3 rules", "enabled: false", "2 rules"],
    "run_scene": ["movie: ran (0)", "leaving: ran (0)"],
    "setup_networks": ["  Demo home", "  Demo home 5", "  Café guest"],
    "subscribe": ["lamp-1/switch (qv.r.switch) is now off; said: from the example"],
    "worker_threads": ["lamp-1: Floor lamp", "tv-1: Television", "plug-1: Kettle", "washer-1: Washing machine"],
}

DEVICES = ["hub-1", "lamp-1", "lamp-2", "tv-1", "shade-1", "plug-1", "washer-1", "leak-1", "smoke-1", "hall-light", "motion-1",
           "door-1", "lock-1", "thermostat-1", "button-1", "camera-1", "old-plug", "cabin-plug"]
WATCHED = (["Connected: 18 devices"] + [f"  {device}" for device in DEVICES]
           + ["The list changed: 19 devices"] + [f"  {device}" for device in [*DEVICES, "lamp-new"]])


class Examples(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.trace = os.path.join(directory.name, "example.trace")
        kept = {name: value for name, value in os.environ.items() if not name.startswith(("QUORVEL_", "QVCTL_"))}
        self.environment = {**kept, "QUORVEL_HOME_DIR": directory.name, "QVCTL_AGENT_PROGRAM": ARGUMENTS.agent}

    def qvctl(self, *words):
        done = subprocess.run([ARGUMENTS.qvctl, *words], env=self.environment, capture_output=True, text=True, timeout=60)
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)
        return done

    def record(self, *command):
        return self.qvctl("--agent", "sim", "--quiet", "trace", "record", self.trace, "--secrets", "--", *command).stdout.splitlines()

    def replay(self, *command):
        done = self.qvctl("trace", "replay", "--as-agent", self.trace, "--", *command)
        self.assertEqual(done.stderr, "")
        return done.stdout.splitlines()

    def test_each_prints_what_the_home_says_and_the_same_when_it_is_replayed(self):
        for name, expected in EXPECTED.items():
            with self.subTest(example=name):
                pathlib.Path(self.trace).unlink(missing_ok=True)
                program = str(ARGUMENTS.programs / name)
                self.assertEqual(self.record(program), expected)
                self.assertEqual(self.replay(program), expected)

    def test_each_leaves_a_trace_without_errors(self):
        for name in EXPECTED:
            with self.subTest(example=name):
                pathlib.Path(self.trace).unlink(missing_ok=True)
                self.record(str(ARGUMENTS.programs / name))
                self.qvctl("trace", "lint", self.trace)

    def test_watch_devices_hears_of_a_device_that_comes(self):
        program = ARGUMENTS.programs / "watch_devices"
        lamp = '{"id": "lamp-new", "name": "Reading lamp", "model": "light.dimmer", "room": "living"}'
        output = os.path.join(os.path.dirname(self.trace), "output")
        self.record("sh", "-c", f"{program} > {output} & for i in $(seq 200); do grep -q cabin-plug {output} 2>/dev/null && break; sleep 0.05; done; "
                                f"{ARGUMENTS.qvctl} sim device-add '{lamp}' >/dev/null; wait")
        self.assertEqual(pathlib.Path(output).read_text().splitlines(), WATCHED)
        self.assertEqual(self.replay(str(program)), WATCHED)

    def test_every_example_is_here_and_short(self):
        sources = [*ARGUMENTS.sources.glob("*.c"), *ARGUMENTS.sources.glob("*.cpp")]
        self.assertEqual({source.stem for source in sources}, {*EXPECTED, "watch_devices"})
        self.assertEqual([source.name for source in sources if len(source.read_text().splitlines()) > 60], [])


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    parser.add_argument("qvctl")
    parser.add_argument("agent")
    parser.add_argument("programs", type=pathlib.Path)
    parser.add_argument("sources", type=pathlib.Path)
    ARGUMENTS, rest = parser.parse_known_args()
    unittest.main(argv=[sys.argv[0], *rest])
