#!/usr/bin/env python3
"""Eight clients with mixed calls and events while the agent has faults: none crashes or hangs, every code is a
documented one, and the agent's memory stays flat.

    load.py PRESET CLIENT AGENT HEADER      20 seconds; 5 minutes with QUORVEL_TEST_SCALE=all
"""

import collections
import json
import os
import re
import socket
import subprocess
import sys
import tempfile
import time

CLIENTS = 8


class Control:
    """The agent's control socket."""

    def __init__(self, home):
        self.path = f"{home}/run/com.veltrane.norvik.quorvel-client.control.sock"

    def do_all(self, commands):
        with socket.socket(socket.AF_UNIX) as connection:
            connection.settimeout(120)
            connection.connect(self.path)
            answers = connection.makefile()
            for command in commands:
                connection.sendall(json.dumps(command).encode() + b"\n")
            results = [json.loads(answers.readline()) for _ in commands]
        for result in results:
            assert result["ok"], result
        return results

    def do(self, what, **more):
        return self.do_all([{"do": what, **more}])[0]

    def wait(self, seconds=30):
        end = time.monotonic() + seconds
        while True:
            try:
                return self.do("status")
            except OSError:
                if time.monotonic() > end:
                    raise
                time.sleep(0.05)


def resident(pid):
    with open(f"/proc/{pid}/status", encoding="ascii") as status:
        return int(re.search(r"VmRSS:\s+(\d+)", status.read())[1])


def documented(header):
    with open(header, encoding="utf-8") as file:
        return {int(code): name for name, code in re.findall(r"(QUORVEL_CLIENT_ERROR_\w+) = (-?\d+)", file.read())}


def run_clients(program, environment, seconds):
    started = [subprocess.Popen([program, str(number), str(seconds)], env=environment, stdout=subprocess.PIPE,
                                stderr=subprocess.PIPE, text=True) for number in range(CLIENTS)]
    reports, problems = [], []
    end = time.monotonic() + seconds + 60
    for number, client in enumerate(started):
        try:
            out, errors = client.communicate(timeout=max(1, end - time.monotonic()))
        except subprocess.TimeoutExpired:
            client.kill()
            client.communicate()
            problems.append(f"client {number} hangs")
            continue
        if client.returncode != 0:
            problems.append(f"client {number} ended with {client.returncode}: {errors[-500:]}")
        else:
            reports.append(json.loads(out))
    return reports, problems


def main():
    preset, program, agent, header = sys.argv[1:5]
    seconds = 300 if os.environ.get("QUORVEL_TEST_SCALE") == "all" else 20
    codes = documented(header)
    with tempfile.TemporaryDirectory() as home:
        environment = {name: value for name, value in os.environ.items() if not name.startswith("QUORVEL_")}
        environment |= {"QUORVEL_HOME_DIR": home, "QUORVEL_DEADLINE_MS": "3000", "QUORVEL_LOG": "*:silent",
                        "QUORVEL_AGENT_CONNECTIONS": "64"}
        subprocess.run([agent, "--install"], env=environment, check=True, stdout=subprocess.DEVNULL)
        server = subprocess.Popen([agent], env=environment)
        try:
            control = Control(home)
            control.wait()
            # What the home remembers of the past has an end; the memory is measured when that is reached.
            past = {"do": "push", "kind": "message", "title": "past", "body": "something that was"}
            for _ in range(26):
                control.do_all([past] * 200)
            before_first = resident(server.pid)
            run_clients(program, environment, 5)
            control.do("fault-preset", name=preset)
            before = resident(server.pid)
            reports, problems = run_clients(program, environment, seconds)
            struck = sum(fault["struck"] for fault in control.do("fault-list")["faults"])
            control.do("fault-clear")
            after = resident(server.pid)
            clients_left = len(control.do("status")["clients"])
        finally:
            server.terminate()
            server.wait(timeout=30)
    answered = collections.Counter()
    for report in reports:
        for code, functions in report["codes"].items():
            answered[int(code)] += sum(functions.values())
            if int(code) not in codes:
                problems.append(f"{code} is no documented code: {functions}")
    calls = sum(report["calls"] for report in reports)
    events = sum(report["events"] for report in reports)
    if calls < CLIENTS * seconds or events == 0 or struck == 0:
        problems.append("too little happened")
    if clients_left != 0:
        problems.append(f"{clients_left} clients are still known after they went")
    # A tenth and 4 MiB are what an allocator may keep; a sanitizer's keeps what was freed.
    if after > before * 1.1 + 4096 and not os.environ.get("QUORVEL_SANITIZED"):
        problems.append(f"the agent grew from {before} to {after} KiB")
    print(f"{preset}: {CLIENTS} clients, {seconds} s: {calls} calls, {events} events, "
          f"{sum(report['connections'] for report in reports)} connections, {struck} faults struck")
    print(f"agent: {before_first} KiB when it was started, {before} before, {after} after")
    for code, count in sorted(answered.items(), reverse=True):
        print(f"{count:9} {codes.get(code, code)}")
    for problem in problems:
        print(f"FAILED: {problem}")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
