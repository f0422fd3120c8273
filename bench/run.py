#!/usr/bin/env python3
"""Runs the benchmark programs side by side and tells what they took, as multiples of the floor.

All systems are up at once, each a server and a client; a repetition lets every system do the same workload in
turn (A B C A B C ...), so that what the machine does meanwhile meets all of them. A figure is the median, over
the repetitions, of a system's time by the floor's in the same repetition.
"""

from __future__ import annotations

import argparse
import json
import os
import pathlib
import re
import shutil
import statistics
import subprocess
import sys
import tempfile
import time
from typing import Any

import plot

FLOOR = "floor"
OURS = "quorvel"
PLAIN = "quorvel-plain"
# A system's name, its program, and the program that serves it where that is another one.
SYSTEMS = {
    FLOOR: ("bench_floor", "bench_floor"),
    OURS: ("bench_quorvel", "bench_quorvel_agent"),
    PLAIN: ("bench_quorvel_plain", "bench_quorvel_agent"),
    "sd-bus": ("bench_sd_bus", "bench_sd_bus"),
    "sdbus-c++": ("bench_sdbus_cpp", "bench_sd_bus"),
    "libdbus": ("bench_libdbus", "bench_libdbus"),
    "GDBus": ("bench_gdbus", "bench_gdbus"),
    "Cap'n Proto": ("bench_capnp", "bench_capnp"),
    "gRPC": ("bench_grpc", "bench_grpc"),
}
WORKLOADS = {
    "W1": "is_signed_in: nothing in, 4 characters out",
    "W2": "three strings in, 4 KiB out",
    "W3": "1,000 device details held and released",
    "W4": "callbacks through the main loop",
    "W5": "exec, connected, first answer",
    "W6": "4 threads on one handle",
}
BARS = {"W1": 1.10, "W2": 1.05, "W3": 4.0, "W4": 1.25, "W5": 1.25, "W6": 0.75}
PLAIN_BARS = {"W3": 14.0}
PEAK_BAR_MIB = 4.6
CALLBACKS = 100_000
SLICE_SECONDS = 0.08  # of one system in one repetition
MOST_OPERATIONS = 200_000
STARTS = 15  # in a repetition
CROWD = 64

# So that the processor's kind does not choose the string routines that are counted.
SAME_ROUTINES = "glibc.cpu.hwcaps=-AVX512F,-AVX512VL,-AVX512BW,-AVX2,-AVX,-ERMS,-FSRM,-SSE4_2,-SSSE3,-RTM,-BMI2,-LZCNT"


class Failed(Exception):
    """A program of the benchmark did not do what it should."""


class Bench:
    """Where the programs are and how they are started."""

    def __init__(self, programs: pathlib.Path, priority: bool) -> None:
        self.programs = programs
        self.under = ["chrt", "-f", "50"] if priority else []
        self.scratch = pathlib.Path(tempfile.mkdtemp(prefix="quorvel-bench-"))
        self.systems = [name for name, (program, _) in SYSTEMS.items() if (programs / program).exists()]

    def program(self, name: str) -> str:
        return str(self.programs / name)

    def address(self, system: str) -> str:
        """Our systems meet in a directory, the others at a socket."""
        return str(self.scratch / re.sub(r"\W", "", system))

    def start(
        self, command: list[str], cpu: int | None, environment: dict[str, str] | None = None
    ) -> subprocess.Popen[str]:
        before = os.sched_getaffinity(0)
        if cpu is not None:
            os.sched_setaffinity(0, {cpu})
        try:
            return subprocess.Popen(
                self.under + command,
                stdin=subprocess.PIPE,
                stdout=subprocess.PIPE,
                text=True,
                env=os.environ | (environment or {}),
            )
        finally:
            os.sched_setaffinity(0, before)


class Server:
    def __init__(self, bench: Bench, system: str, cpu: int | None) -> None:
        self.address = bench.address(system)
        if os.path.exists(self.address) and not os.path.isdir(self.address):
            os.unlink(self.address)
        self.process = bench.start([bench.program(SYSTEMS[system][1]), "serve", self.address], cpu)
        if line(self.process) != "ready":
            raise Failed(f"{system} does not serve")

    def stop(self) -> None:
        self.process.terminate()
        self.process.wait()


class Client:
    """A connected client that does what it is told."""

    def __init__(
        self,
        bench: Bench,
        system: str,
        cpu: int | None,
        under: list[str] | None = None,
        environment: dict[str, str] | None = None,
    ) -> None:
        self.system = system
        command = (under or []) + [bench.program(SYSTEMS[system][0]), "client", bench.address(system)]
        self.process = bench.start(command, cpu, environment)

    def tell(self, workload: str, count: int) -> None:
        assert self.process.stdin is not None
        self.process.stdin.write(f"{workload} {count}\n")
        self.process.stdin.flush()

    def answer(self) -> tuple[float, int]:
        words = line(self.process).split()
        if len(words) != 2:
            raise Failed(f"{self.system} failed")
        return float(words[0]), int(words[1])

    def run(self, workload: str, count: int) -> float:
        """Seconds an operation."""
        self.tell(workload, count)
        return self.answer()[0] / count

    def stop(self) -> None:
        assert self.process.stdin is not None
        self.process.stdin.close()
        if self.process.wait() != 0:
            raise Failed(f"{self.system} ended badly")


def line(process: subprocess.Popen[str]) -> str:
    assert process.stdout is not None
    return process.stdout.readline().strip()


def calibrated(client: Client, workload: str) -> int:
    """How many operations fill a slice."""
    if workload == "W4":
        client.run(workload, CALLBACKS // 10)
        return CALLBACKS
    count = 4
    while True:
        seconds = client.run(workload, count) * count
        if seconds > SLICE_SECONDS / 10 or count >= MOST_OPERATIONS:
            count = min(MOST_OPERATIONS, max(4, int(count * SLICE_SECONDS / seconds)))
            return count // 4 * 4
        count *= 4


def against_floor(
    times: dict[str, list[float]],
) -> dict[str, float]:
    floor = times[FLOOR]
    return {
        system: statistics.median(own / bare for own, bare in zip(taken, floor))
        for system, taken in times.items()
    }


def measure_mode(bench: Bench, cpus: tuple[int, int], repetitions: int) -> tuple[dict[str, Any], dict[str, Any]]:
    """W1 to W6 with the client on one CPU and the server on the other; ratios, and what else was seen."""
    ratios: dict[str, Any] = {}
    seen: dict[str, Any] = {"microseconds": {}}
    servers = []
    clients: dict[str, Client] = {}
    try:
        for system in bench.systems:
            servers.append(Server(bench, system, cpus[1]))
            clients[system] = Client(bench, system, cpus[0])
        for workload in ("W1", "W2", "W3", "W4", "W6"):
            counts = {system: calibrated(client, workload) for system, client in clients.items()}
            times: dict[str, list[float]] = {system: [] for system in clients}
            for _ in range(repetitions):
                for system, client in clients.items():
                    times[system].append(client.run(workload, counts[system]))
            ratios[workload] = against_floor(times)
            seen["microseconds"][workload] = statistics.median(times[FLOOR]) * 1e6
            progress(f"{workload}: " + ", ".join(f"{name} {ratio:.2f}" for name, ratio in ratios[workload].items()))
        ratios["W5"], seen["start"] = measure_start(bench, cpus, repetitions)
        progress("W5: " + ", ".join(f"{name} {ratio:.2f}" for name, ratio in ratios["W5"].items()))
    finally:
        for client in clients.values():
            client.process.kill()
            client.process.wait()
        for server in servers:
            server.stop()
    return ratios, seen


def measure_start(bench: Bench, cpus: tuple[int, int], repetitions: int) -> tuple[dict[str, float], dict[str, Any]]:
    times: dict[str, list[float]] = {system: [] for system in bench.systems}
    memory: dict[str, dict[str, float]] = {}
    for _ in range(repetitions):
        for system in bench.systems:
            taken = []
            for _ in range(STARTS):
                command = [bench.program("bench_launch"), bench.program(SYSTEMS[system][0]), "start"]
                process = bench.start([*command, bench.address(system)], cpus[0])
                words = line(process).split()
                if process.wait() != 0 or len(words) != 3:
                    raise Failed(f"{system} does not start")
                taken.append(float(words[0]))
                memory[system] = {
                    "peak MiB": int(words[1]) / 1024,
                    "mapped MiB": int(words[2]) / 1024,
                }
            times[system].append(statistics.median(taken))
    for system, taken in times.items():
        memory[system]["milliseconds"] = statistics.median(taken) * 1e3
    return against_floor(times), memory


def resident_kib(process: subprocess.Popen[str]) -> int:
    status = pathlib.Path(f"/proc/{process.pid}/status").read_text()
    return int(re.search(r"VmRSS:\s+(\d+)", status).group(1))  # type: ignore[union-attr]


def seconds_together(clients: list[Client], calls: int) -> float:
    """From the first one's beginning to the last one's end, so many calls each."""
    begin = time.monotonic()
    for client in clients:
        client.tell("W1", calls)
    for client in clients:
        client.answer()
    return time.monotonic() - begin


def measure_crowd(bench: Bench, system: str, calls: int, repetitions: int) -> float:
    """What a call costs when 64 clients make so many each, by what it costs one client that makes half of them."""
    server = Server(bench, system, 0)
    clients = [Client(bench, system, 0)]
    try:
        alone = [seconds_together(clients, calls * CROWD // 2) for _ in range(repetitions)]
        clients.extend(Client(bench, system, 0) for _ in range(1, CROWD))
        together = [seconds_together(clients, calls) for _ in range(repetitions)]
        return statistics.median(together) / statistics.median(alone) / 2
    finally:
        for client in clients:
            client.stop()
        server.stop()


def measure_growth(bench: Bench, repetitions: int, scale: int) -> dict[str, Any]:
    """W7: how cost grows with what is asked for, on one CPU."""
    growth: dict[str, Any] = {}
    server = Server(bench, OURS, 0)
    client = Client(bench, OURS, 0)
    try:
        most = 100_000 // scale
        sizes = [size for size in (1, 10, 100, 1000, 10_000, 100_000) if size <= most]
        times: dict[int, list[float]] = {size: [] for size in sizes}
        for _ in range(repetitions):
            for size in sizes:
                client.run("size", size)
                client.run("devices", 1)
                times[size].append(client.run("devices", max(3, 20_000 // size)))
        growth["microseconds a device"] = {
            str(size): statistics.median(taken) * 1e6 / size for size, taken in times.items()
        }
        growth[f"{most} devices by linear from 1000"] = statistics.median(
            large / small / (most / 1000) for small, large in zip(times[1000], times[most])
        )

        delegates = 10_000 // scale
        lone = Client(bench, OURS, 0)
        lone.run("delegates", 1)
        alone = [lone.run("events", CALLBACKS) for _ in range(repetitions)]
        lone.stop()
        crowd = Client(bench, OURS, 0)
        crowd.run("delegates", delegates)
        together = [crowd.run("events", CALLBACKS) for _ in range(repetitions)]
        growth[f"a callback at {delegates} delegates by one at 1"] = statistics.median(together) / statistics.median(
            alone
        )
        crowd.stop()

        client.run("W4", CALLBACKS)
        before = resident_kib(client.process)
        million = 1_000_000 // scale
        client.run("W4", million)
        growth[f"KiB grown over {million} callbacks"] = resident_kib(client.process) - before
        client.stop()
    finally:
        server.stop()

    growth[f"{CROWD} clients by linear from 1"] = measure_crowd(bench, OURS, 1000, repetitions)
    # The others show what of it is the machine's: so many processes do not fit its caches.
    growth[f"{CROWD} clients, the others"] = {
        system: measure_crowd(bench, system, 200, repetitions)
        for system in bench.systems
        if system not in (OURS, PLAIN)
    }
    return growth


def instructions(bench: Bench, system: str, workload: str, count: int) -> int:
    with tempfile.NamedTemporaryFile() as log:
        under = ["valgrind", "--tool=callgrind", f"--log-file={log.name}", "--callgrind-out-file=/dev/null"]
        client = Client(bench, system, None, under, {"GLIBC_TUNABLES": SAME_ROUTINES})
        client.tell(workload, count)
        client.answer()
        client.stop()
        found = re.search(r"Collected : (\d+)", pathlib.Path(log.name).read_text())
    if found is None:
        raise Failed("callgrind counted nothing")
    return int(found.group(1))


def system_calls(bench: Bench, system: str, workload: str, count: int) -> int:
    with tempfile.NamedTemporaryFile() as log:
        client = Client(bench, system, None, ["strace", "-f", "-qq", "-c", "-U", "calls,name", "-o", log.name])
        client.tell(workload, count)
        client.answer()
        client.stop()
        total = re.search(r"(\d+)\s+total", pathlib.Path(log.name).read_text())
    if total is None:
        raise Failed("strace counted nothing")
    return int(total.group(1))


GROWTH = 1.05
ROUNDING = 0.01
COUNTED = {"W1": (200, 1200), "W3": (2, 6), "W4": (2000, 22_000)}


def count_client(bench: Bench, system: str, workload: str) -> dict[str, float]:
    """What an operation costs on the client's side: the difference between few and many of them."""
    few, many = COUNTED[workload]
    per = many - few
    counts = {
        "instructions": (instructions(bench, system, workload, many) - instructions(bench, system, workload, few)) / per,
        "system calls": (system_calls(bench, system, workload, many) - system_calls(bench, system, workload, few)) / per,
    }
    preloaded = {"LD_PRELOAD": str(bench.programs.parent / "lib" / "libbench_allocations.so")}
    client = Client(bench, system, None, None, preloaded)
    client.run(workload, few)
    client.tell(workload, many)
    counts["allocations"] = client.answer()[1] / many
    client.stop()
    return counts


def count_all(bench: Bench, systems: list[str], workloads: list[str]) -> dict[str, Any]:
    counts: dict[str, Any] = {}
    for workload in workloads:
        counts[workload] = {}
        for system in systems:
            server = Server(bench, system, None)
            try:
                counts[workload][system] = count_client(bench, system, workload)
            finally:
                server.stop()
            shown = ", ".join(f"{value:,.2f} {what}" for what, value in counts[workload][system].items())
            progress(f"{workload} {system}: {shown}")
    return counts


def check_counts(bench: Bench, committed: pathlib.Path) -> bool:
    """Whether nothing that is counted has grown by more than 5 % over what is committed."""
    expected = json.loads(committed.read_text())
    good = True
    for workload, limits in expected.items():
        lowest: dict[str, float] = {}
        # How much is there at a wake-up differs from run to run; what the code itself takes is the least that was seen.
        for _ in range(3):
            counted = count_all(bench, [OURS], [workload])[workload][OURS]
            lowest = {what: min(value, lowest.get(what, value)) for what, value in counted.items()}
            grown = {what for what, limit in limits.items() if lowest[what] > limit * GROWTH + ROUNDING}
            if not grown:
                break
        for what in sorted(grown):
            good = False
            print(f"{workload}: {lowest[what]:,.2f} {what} an operation; committed are {limits[what]:,.2f}")
    return good


def progress(text: str) -> None:
    print(text, file=sys.stderr, flush=True)


def print_ratios(title: str, ratios: dict[str, Any], systems: list[str]) -> None:
    shown = [system for system in systems if system != FLOOR]
    print(f"\n{title}, as multiples of the bare socket\n")
    print("| | bar | " + " | ".join(shown) + " |")
    print("|---" * (len(shown) + 2) + "|")
    for workload in WORKLOADS:
        row = ratios[workload]
        cells = [f"{row[system]:.2f}" if system in row else "" for system in shown]
        print(f"| {workload} {WORKLOADS[workload]} | {BARS[workload]:.2f} | " + " | ".join(cells) + " |")


def print_seen(seen: dict[str, Any], systems: list[str]) -> None:
    print("\nThe floor took " + ", ".join(f"{time:.2f} µs in {name}" for name, time in seen["microseconds"].items()))
    print("\n| start | ms to the first answer | peak MiB | mapped MiB beyond libc and libstdc++ |\n|---|---|---|---|")
    for system in systems:
        one = seen["start"][system]
        print(f"| {system} | {one['milliseconds']:.2f} | {one['peak MiB']:.1f} | {one['mapped MiB']:.1f} |")


def print_counts(counts: dict[str, Any]) -> None:
    print("\nCounted on the client's side, an operation\n")
    print("| | | instructions | allocations | system calls |\n|---|---|---|---|---|")
    for workload, systems in counts.items():
        for system, one in systems.items():
            print(
                f"| {workload} | {system} | {one['instructions']:,.0f} | {one['allocations']:,.2f} "
                f"| {one['system calls']:,.2f} |"
            )


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("programs", type=pathlib.Path, help="the directory with the programs")
    parser.add_argument("--json", type=pathlib.Path, help="where to write the figures")
    parser.add_argument("--plot", type=pathlib.Path, help="where to draw them, as SVG")
    parser.add_argument("--quick", action="store_true", help="fewer and shorter repetitions")
    parser.add_argument("--priority", action="store_true", help="run at real-time priority, on a busy machine")
    parser.add_argument("--repetitions", type=int, help="of every workload")
    parser.add_argument("--systems", help="only these, comma-separated; the floor always")
    parser.add_argument("--check", type=pathlib.Path, help="only compare our counts with those in that file")
    parser.add_argument("--no-counts", action="store_true")
    parser.add_argument("--no-modes", action="store_true", help="only the counts")
    parser.add_argument("--no-growth", action="store_true")
    options = parser.parse_args()

    bench = Bench(options.programs.resolve(), options.priority)
    if options.systems:
        wanted = options.systems.split(",")
        bench.systems = [system for system in bench.systems if system == FLOOR or system in wanted]
    repetitions = options.repetitions or (5 if options.quick else 11)
    figures: dict[str, Any] = {}
    try:
        if options.check:
            return 0 if check_counts(bench, options.check) else 1
        if not options.no_modes:
            modes = {"one-cpu": (0, 0)}
            if os.cpu_count() != 1:
                modes["two-cpus"] = (0, 1)
            for mode, cpus in modes.items():
                progress(f"== {mode}")
                figures[mode], seen = measure_mode(bench, cpus, repetitions)
                figures.setdefault("seen", {})[mode] = seen
        if not options.no_growth and OURS in bench.systems:
            progress("== growth")
            figures["growth"] = measure_growth(bench, repetitions, 10 if options.quick else 1)
        if not options.no_counts:
            progress("== counts")
            figures["counts"] = count_all(bench, [s for s in bench.systems if s != FLOOR], list(COUNTED))
    finally:
        shutil.rmtree(bench.scratch, ignore_errors=True)

    titles = {"one-cpu": "Both processes on one CPU", "two-cpus": "A CPU each"}
    for mode, title in titles.items():
        if mode in figures:
            print_ratios(title, figures[mode], bench.systems)
            print_seen(figures["seen"][mode], bench.systems)
    if "growth" in figures:
        print("\nHow cost grows (W7)\n\n| | |\n|---|---|")
        for what, value in figures["growth"].items():
            if isinstance(value, dict):
                value = ", ".join(f"{key}: {number:.3f}" for key, number in value.items())
                print(f"| {what} | {value} |")
            else:
                print(f"| {what} | {value:.2f} |")
    if "counts" in figures:
        print_counts(figures["counts"])
    if options.json:
        options.json.write_text(json.dumps(figures, indent=2) + "\n")
    if options.plot and "one-cpu" in figures:
        options.plot.write_text(plot.draw(figures["one-cpu"], list(WORKLOADS), FLOOR))
    return 0


if __name__ == "__main__":
    sys.exit(main())
