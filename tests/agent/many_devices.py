#!/usr/bin/env python3
"""How long the agent takes to start and to list its devices, with 1,000 and with 10,000 of them: no more than
linearly longer.

    many_devices.py AGENT QVCTL
"""

import json
import os
import resource
import socket
import subprocess
import sys
import tempfile
import time

FEW, MANY = 1000, 10000
# Ten times the devices may take ten times as long; twice that is the machine's. Time on a processor is what counts:
# others use the machine, too.
MOST = 2 * MANY / FEW
MODELS = ["light.color", "light.dimmer", "plug.meter", "sensor.motion", "thermostat.room"]


def home_file(path, count):
    devices = [{"id": f"device-{i}", "name": f"Device {i}", "model": MODELS[i % len(MODELS)], "room": f"room-{i % 20}"}
               for i in range(count)]
    rooms = [{"id": f"room-{i}", "name": f"Room {i}"} for i in range(20)]
    with open(path, "w", encoding="utf-8") as file:
        # JSON is YAML.
        json.dump({"quorvel-home": 1, "places": [{"id": "home", "rooms": rooms}], "devices": devices}, file)


def on_processor(agent):
    """The seconds that its main thread ran, whatever else the machine had to do."""
    with open(f"/proc/{agent.pid}/schedstat", encoding="ascii") as file:
        return int(file.read().split()[0]) / 1e9


def start(environment, *words):
    """The agent, how long it took until it served, and how much of that it ran."""
    path = environment["QUORVEL_HOME_DIR"] + "/run/com.veltrane.norvik.quorvel-client.control.sock"
    began = time.monotonic()
    agent = subprocess.Popen([AGENT, *words], env=environment)
    while time.monotonic() < began + 120:
        try:
            with socket.socket(socket.AF_UNIX) as connection:
                connection.connect(path)
                connection.sendall(b'{"do": "status"}\n')
                if connection.recv(65536):
                    return agent, time.monotonic() - began, on_processor(agent)
        except OSError:
            time.sleep(0.0005)
    raise AssertionError("the agent does not start")


def stop(agent):
    agent.terminate()
    agent.wait(timeout=60)


def listed(environment, agent):
    """How many devices a client lists, and for how long the two of them ran."""
    def ran():
        usage = resource.getrusage(resource.RUSAGE_CHILDREN)
        return usage.ru_utime + usage.ru_stime + on_processor(agent)

    began = ran()
    done = subprocess.run([QVCTL, "device", "list", "-o", "jsonl", "--timeout", "60s"], env=environment, check=True,
                          capture_output=True, text=True)
    return done.stdout.count("\n"), ran() - began


def measured(directory, count):
    home = os.path.join(directory, str(count))
    os.mkdir(home)
    environment = {**BASE, "QUORVEL_HOME_DIR": home}
    home_file(f"{home}/home.yaml", count)
    subprocess.run([AGENT, "--install", "--home", f"{home}/home.yaml"], env=environment, check=True,
                   stdout=subprocess.DEVNULL)
    starts, lists = [], []
    for _ in range(3):
        agent, _, ran = start(environment, "--home", f"{home}/home.yaml")
        starts.append(ran)
        for _ in range(2):
            found, ran = listed(environment, agent)
            assert found == count, f"{found} devices of {count}"
            lists.append(ran)
        stop(agent)
    return min(starts), min(lists)


def main():
    with tempfile.TemporaryDirectory() as directory:
        default = {**BASE, "QUORVEL_HOME_DIR": directory}
        starts = []
        for _ in range(10):
            agent, *took = start(default)
            starts.append(took)
            stop(agent)
        wall, ran = min(starts)
        print(f"start with the built-in home: {wall * 1000:.1f} ms at best of {len(starts)}, "
              f"{ran * 1000:.1f} ms of it on a processor")
        few, many = measured(directory, FEW), measured(directory, MANY)
    well = True
    for what, one, ten in zip(("start", "list"), few, many):
        ratio = ten / one
        well = well and ratio <= MOST
        print(f"{what}: {one * 1000:.0f} ms with {FEW} devices, {ten * 1000:.0f} ms with {MANY}: "
              f"{ratio:.1f} times as long, {MOST:.0f} allowed")
    return 0 if well else 1


if __name__ == "__main__":
    AGENT, QVCTL = sys.argv[1:3]
    BASE = {name: value for name, value in os.environ.items() if not name.startswith(("QUORVEL_", "QVCTL_"))}
    sys.exit(main())
