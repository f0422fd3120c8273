#!/usr/bin/env python3
"""qvctl as a person sees it: typed at bash in a terminal of 80 columns, the screen compared.

    terminal.py TMUX QVCTL AGENT
"""

import argparse
import os
import re
import subprocess
import sys
import tempfile
import time
import unittest

WAIT = 30


class Terminal:
    """A bash in a tmux of its own, in which somebody types."""

    count = 0

    def __init__(self, home, columns=80, rows=30):
        Terminal.count += 1
        self.tmux = [TMUX, "-S", f"{home}/tmux{Terminal.count}", "-f", "/dev/null"]
        environment = {"HOME": home, "PATH": f"{os.path.dirname(QVCTL)}:{os.environ['PATH']}", "LANG": "C.UTF-8",
                       "TERM": "xterm-256color", "QUORVEL_HOME_DIR": home, "QVCTL_AGENT_PROGRAM": AGENT, "PS1": "$ "}
        for name in ("ASAN_OPTIONS", "UBSAN_OPTIONS", "TSAN_OPTIONS"):
            if name in os.environ:
                environment[name] = os.environ[name]
        subprocess.run([*self.tmux, "new-session", "-d", "-x", str(columns), "-y", str(rows),
                        "bash --norc --noprofile"], env=environment, check=True)
        self.run("set", "-g", "status", "off")
        self.type("PS1='$ '")
        self.clear()

    def run(self, *words):
        return subprocess.run([*self.tmux, *words], check=True, capture_output=True, text=True).stdout

    def keys(self, *keys):
        self.run("send-keys", *keys)

    def type(self, text):
        self.run("send-keys", "-l", text)
        self.keys("Enter")

    def clear(self):
        self.type("clear")
        self.wait(lambda screen: screen == ["$"])

    def screen(self):
        """What stands there, without the empty lines at the end."""
        lines = [line.rstrip() for line in self.run("capture-pane", "-p").split("\n")]
        while lines and not lines[-1]:
            lines.pop()
        return lines

    def attributes(self):
        return self.run("capture-pane", "-p", "-e")

    def wait(self, holds):
        end = time.monotonic() + WAIT
        while True:
            screen = self.screen()
            if holds(screen):
                return screen
            if time.monotonic() > end:
                raise AssertionError("the screen did not become what was expected:\n" + "\n".join(screen))
            time.sleep(0.05)

    def wait_for(self, pattern):
        return self.wait(lambda screen: re.search(pattern, "\n".join(screen), re.M))

    def answer(self, command):
        """Types a command on a clear screen; gives the lines between it and the next prompt."""
        self.clear()
        self.type(command)
        screen = self.wait(lambda screen: len(screen) > 1 and screen[-1] == "$" and screen[0].startswith("$ " + command[:70]))
        skipped = (len("$ " + command) - 1) // 80 + 1
        return screen[skipped:-1]

    def close(self):
        subprocess.run([*self.tmux, "kill-server"], check=False, capture_output=True)


class OnATerminal(unittest.TestCase):
    maxDiff = None

    @classmethod
    def setUpClass(cls):
        cls.directory = tempfile.TemporaryDirectory()
        kept = {name: value for name, value in os.environ.items() if not name.startswith(("QUORVEL_", "QVCTL_"))}
        cls.environment = {**kept, "QUORVEL_HOME_DIR": cls.directory.name, "QVCTL_AGENT_PROGRAM": AGENT}
        home = os.path.join(cls.directory.name, "home.yaml")
        with open(home, "w", encoding="utf-8") as file:
            file.write(HOME)
        cls.home = home
        cls.qvctl("agent", "start", "--home", home, "--timeout", "30s")

    @classmethod
    def tearDownClass(cls):
        cls.qvctl("agent", "stop")
        cls.directory.cleanup()

    @classmethod
    def qvctl(cls, *words):
        subprocess.run([QVCTL, *words], env=cls.environment, check=True, capture_output=True, timeout=60)

    def setUp(self):
        self.qvctl("home", "import", self.home)
        self.terminal = Terminal(self.directory.name)
        self.addCleanup(self.terminal.close)

    # Tables.

    def test_a_table_fits_into_80_columns_and_leaves_ids_in_one_piece(self):
        self.assertEqual(self.terminal.answer("qvctl device list"), [
            "DEVICE ID                   DEVICE NAME DEVICE TYPE CLOUD GROUP ID SUBGROUP ID",
            "lamp-1                      客厅灯      qv.d.light  0     home     living",
            "lamp-2                      Café lamp   qv.d.light  0     home     living",
            "a-plug-with-quite-a-long-id Kettle      qv.d.plug   0     home     living",
            "sensor-1                    거실 센서   qv.d.sensor 0     home     living",
        ])

    def test_a_cell_that_is_too_wide_goes_on_below_itself(self):
        self.qvctl("device", "nick", "lamp-2", "The lamp beside the reading chair")
        screen = self.terminal.answer("qvctl device list --fields device_id,nick,device_type,device_name,cloud_device_state")
        self.assertLessEqual(max(len(line) for line in screen), 80)
        # No id is cut, and no line begins in the middle of a cell.
        self.assertEqual([line.split()[0] for line in screen if not line.startswith(" ")],
                         ["DEVICE", "lamp-1", "lamp-2", "a-plug-with-quite-a-long-id", "sensor-1"])
        self.assertEqual(self.terminal.answer("qvctl device list --fields device_id,nick | grep chair"),
                         ["lamp-2                      The lamp beside the reading chair"])

    def test_wide_characters_take_two_columns(self):
        self.assertEqual(self.terminal.answer("qvctl device list --fields device_id,device_name,subgroup_id"), [
            "DEVICE ID                   DEVICE NAME SUBGROUP ID",
            "lamp-1                      客厅灯      living",
            "lamp-2                      Café lamp   living",
            "a-plug-with-quite-a-long-id Kettle      living",
            "sensor-1                    거실 센서   living",
        ])

    def test_headings_are_bold_on_a_terminal_and_plain_where_they_are_piped(self):
        self.terminal.answer("qvctl core room list --location home")
        self.assertIn("\033[1m", self.terminal.attributes())
        for command in ("qvctl core room list --location home | cat", "NO_COLOR=1 qvctl core room list --location home",
                        "qvctl --no-color core room list --location home"):
            self.assertEqual(self.terminal.answer(command), ["ROOM ID NAME        LOCATION ID",
                                                             "living  Living room home"])
            self.assertNotIn("\033[1m", self.terminal.attributes())

    def test_an_error_is_red_and_says_what_to_type_next(self):
        self.assertEqual(self.terminal.answer("qvctl device lsit"), [
            "qvctl: 'lsit' is not a command",
            "  where: qvctl device",
            "  next:  did you mean 'qvctl device list'?",
        ])
        self.assertRegex(self.terminal.attributes(), "\033\\[1m?[;\033\\[]*31mqvctl: 'lsit' is not a command")

    def test_a_piped_table_is_not_folded(self):
        self.qvctl("device", "nick", "lamp-1", "A nick that needs more columns than the terminal has, and then some")
        self.assertEqual(self.terminal.answer("qvctl device list --fields device_id,nick,device_name | wc -l"), ["5"])

    # Completion.

    def complete(self, typed, expected):
        self.terminal.clear()
        self.terminal.run("send-keys", "-l", typed)
        self.terminal.keys("Tab")
        self.terminal.wait(lambda screen: screen[-1] == expected)
        self.terminal.keys("C-u")

    def test_tab_completes_words_options_and_ids_that_there_are(self):
        self.terminal.type("source <(qvctl completion bash)")
        self.complete("qvctl dev", "$ qvctl device")
        self.complete("qvctl device sh", "$ qvctl device show")
        self.complete("qvctl device show sens", "$ qvctl device show sensor-1")
        self.complete("qvctl core room list --loc", "$ qvctl core room list --location")
        self.complete("qvctl -o js", "$ qvctl -o json")

    def test_tab_twice_shows_what_there_is(self):
        self.terminal.type("source <(qvctl completion bash)")
        self.terminal.clear()
        self.terminal.run("send-keys", "-l", "qvctl device show ")
        self.terminal.keys("Tab")
        time.sleep(1)
        self.terminal.keys("Tab")
        screen = self.terminal.wait_for("sensor-1")
        self.assertEqual(set(" ".join(screen[1:-1]).split()),
                         {"a-plug-with-quite-a-long-id", "lamp-1", "lamp-2", "sensor-1"})
        self.terminal.keys("C-u")

    # Onboarding.

    def checklist(self, screen):
        """The lines of a checklist, with every time as 0.0, which is as wide as any."""
        return [re.sub(r"( +)\d+\.\d s", lambda match: match[1] + "0.0 s", line) for line in screen]

    def test_onboarding_is_a_checklist_that_asks_what_it_needs(self):
        self.terminal.clear()
        self.terminal.type("qvctl setup run 192.168.8.1 --subgroup living")
        self.terminal.wait_for(r"^    PIN of the device \(4 digits\):$")
        self.terminal.type("1234")
        self.terminal.wait_for(r"^    Network, one of Demo home, Demo home 5, Café guest:$")
        self.terminal.type("Demo home")
        self.terminal.wait_for(r"^    Password of Demo home:$")
        self.terminal.type("quorvel-demo")
        screen = self.terminal.wait(lambda screen: screen[-1] == "$")
        self.assertEqual(self.checklist(screen[1:]), [
            "[x] init              0.0 s",
            "    PIN of the device (4 digits):",
            "[x] start             0.0 s  owned no",
            "    Network, one of Demo home, Demo home 5, Café guest: Demo home",
            "[x] wifi              0.0 s  ssid Demo home",
            "    Password of Demo home:",
            "[x] device            0.0 s",
            "[x] configuration     0.0 s",
            "[x] cloud             0.0 s",
            "[x] sign-in           0.0 s",
            "[x] place             0.0 s",
            "$",
        ])
        self.assertIn("new-sensor", "".join(self.terminal.answer("qvctl device list --fields device_id")))

    def test_the_stage_that_is_in_progress_stands_there_unticked(self):
        self.qvctl("sim", "fault", "add", '{"name": "delay", "ms": 2500, "method": "init_easy_setup", "count": 1}')
        self.terminal.clear()
        self.terminal.type("qvctl setup run 192.168.8.2 --ssid 'Demo home' --password quorvel-demo")
        self.terminal.wait(lambda screen: screen[-1] == "[ ] init")
        screen = self.terminal.wait(lambda screen: screen[-1] == "$")
        took = re.fullmatch(r"\[x\] init +(\d+\.\d) s", screen[1])
        self.assertIsNotNone(took, screen)
        self.assertGreaterEqual(float(took[1]), 2.5)

    def test_a_failure_names_stage_and_last_error_and_tells_how_to_go_on(self):
        screen = self.terminal.answer("qvctl setup run 192.168.8.3 --ssid 'Demo home' --password wrong; echo status $?")
        self.assertEqual(self.checklist(screen), [
            "[x] init              0.0 s",
            "[x] start             0.0 s  owned no",
            "[x] wifi              0.0 s  ssid Demo home",
            "[!] device            0.0 s",
            "qvctl: onboarding failed at device: the device reported an error",
            "  where: stage 6, reason 6; last error 606",
            "  next:  qvctl setup run 192.168.8.3; or first: qvctl setup reset",
            "status 1",
        ])

    # Ctrl-C.

    def interrupted(self, command, until):
        self.terminal.clear()
        self.terminal.type(command)
        self.terminal.wait_for(until)
        time.sleep(1)
        self.terminal.keys("C-c")
        self.terminal.wait(lambda screen: screen[-1] in ("$", "^C$"))
        self.terminal.type("echo status $?")
        return self.terminal.wait_for(r"^status \d+")

    def test_ctrl_c_ends_a_watch_with_status_130(self):
        self.assertIn("status 130", self.interrupted("qvctl device watch", "watch"))

    def test_ctrl_c_ends_a_question_with_status_130(self):
        screen = self.interrupted("qvctl setup run 192.168.8.3", "Network, one of")
        self.assertIn("qvctl: onboarding failed at wifi: interrupted", screen)
        self.assertIn("status 130", screen)
        # What is typed is seen again.
        self.assertEqual(self.terminal.answer("echo seen"), ["seen"])

    def test_ctrl_c_ends_a_hidden_question_and_the_terminal_shows_again_what_is_typed(self):
        screen = self.interrupted("qvctl setup run 192.168.8.3 --ssid 'Demo home'", "Password of")
        self.assertIn("status 130", screen)
        self.assertEqual(self.terminal.answer("echo seen"), ["seen"])

    def test_ctrl_c_ends_a_call_that_waits_with_status_130(self):
        self.qvctl("sim", "fault", "add", '{"name": "delay", "ms": 8000, "method": "get_scene_list", "count": 1}')
        self.assertIn("status 130", self.interrupted("qvctl scene list", "scene"))


HOME = """
quorvel-home: 1
agent:
  access-points:
    - {ssid: Demo home, mac: "02:51:56:00:00:01", channel: 6, signal: -48, frequency: 2437, password: quorvel-demo}
    - {ssid: Demo home 5, mac: "02:51:56:00:00:02", channel: 36, signal: -61, frequency: 5180, password: quorvel-demo}
    - {ssid: Café guest, mac: "02:51:56:00:00:03", channel: 11, signal: -79, frequency: 2462}
places: [{id: home, name: Demo home, rooms: [{id: living, name: Living room}]}]
devices:
  - {id: lamp-1, name: 客厅灯, model: light.color, room: living}
  - {id: lamp-2, name: Café lamp, model: light.dimmer, room: living}
  - {id: a-plug-with-quite-a-long-id, name: Kettle, model: plug.switch, room: living}
  - {id: sensor-1, name: 거실 센서, model: sensor.motion, room: living}
enrollees:
  - {id: new-sensor, name: New motion sensor, model: sensor.motion, address: 192.168.8.1, asks: [ownership, {pin: "1234"}]}
  - {id: new-plug, name: New plug, model: plug.meter, address: 192.168.8.2}
  - {id: other-plug, name: Other plug, model: plug.meter, address: 192.168.8.3}
"""

if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    parser.add_argument("tmux")
    parser.add_argument("qvctl")
    parser.add_argument("agent")
    arguments, rest = parser.parse_known_args()
    TMUX, QVCTL, AGENT = arguments.tmux, arguments.qvctl, arguments.agent
    unittest.main(argv=[sys.argv[0], *rest])
