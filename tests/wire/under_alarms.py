#!/usr/bin/env python3
"""Runs test programs with a signal every millisecond: nothing may come out differently.

    under_alarms.py PRELOADED-LIBRARY PROGRAMS-FOR-CI PROGRAMS-FOR-ALL

Both lists are separated by commas. QUORVEL_TEST_SCALE says which is run."""

import os
import re
import subprocess
import sys


def passed(output):
    """What the tests' own main program counts: each of them ran in a process of its own."""
    return sum(int(n) for n in re.findall(r"^\d+ tests?: (\d+) passed", output, re.M))


def main():
    library, in_ci, in_all = sys.argv[1:]
    full = in_ci.split(",") + in_all.split(",")
    programs = full if os.environ.get("QUORVEL_TEST_SCALE") == "all" else in_ci.split(",")
    programs = [program for program in programs if os.path.exists(program)]
    environment = dict(os.environ, LD_PRELOAD=library, QUORVEL_TEST_SCALE="quick", QUORVEL_LOG="*:silent")
    tests, changed = 0, []
    for program in programs:
        try:
            run = subprocess.run([program], env=environment, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                                 errors="replace", timeout=600, check=False)
            output, status = run.stdout, run.returncode
        except subprocess.TimeoutExpired as expired:
            output, status = str(expired.stdout), "time-out"
        tests += passed(output)
        if status != 0:
            changed.append(os.path.basename(program))
            print(f"FAILED: {program} ends with {status} under signals", *output.splitlines()[-30:], sep="\n  ")
    share = 100.0 * len(programs) / len(full)
    print(f"FIGURE test programs under a signal every millisecond: {len(programs)} of {len(full)} ({share:.1f} %)")
    print(f"{tests} tests passed; {len(changed)} programs ended otherwise than without signals")
    return 1 if changed else 0


if __name__ == "__main__":
    sys.exit(main())
