"""The proofs are proved: faults that are planted on purpose must be found, and told for what they are.

    planted_faults_test.py DIRECTORY_OF_PROGRAMS
"""

import os
import subprocess
import sys

CASE = "quorvel_client_get_device_id/none"

# What is planted, the program, one of its cases, and what its finding must say.
FAULTS = [
    ("leak", "out_of_memory", CASE, "held at first"),
    ("leak of the platform's", "out_of_memory", CASE, "objects of the platform are left alive"),
    ("crash", "out_of_memory", CASE, "died: Segmentation fault"),
    ("abort", "out_of_memory", CASE, "died: Aborted"),
    ("hang", "out_of_memory", CASE, "hung"),
    ("descriptor leak", "out_of_memory", CASE, "held at first"),
    ("thread leak", "out_of_memory", CASE, "held at first"),
    ("lock left held", "out_of_memory", CASE, "hung"),
    ("double release", "out_of_memory", CASE, "a bundle that is not alive"),
    ("code that nobody documented", "out_of_memory", CASE, "the code is not documented: 7"),
    ("swapped answer", "turns", "own answers/0", "swapped"),
    ("lost answer", "turns", "own answers/0", "lost"),
    ("race", "races", "seed/1", "counts were lost in a race"),
]


def is_found(directory, fault, program, case, finding):
    path = os.path.join(directory, f"torture_{program}")
    arguments = [path, "--only", case]
    well = subprocess.run(arguments, capture_output=True, text=True, check=False)
    if well.returncode != 0:
        print(f"{fault}: fails without it:\n{well.stdout}{well.stderr}")
        return False
    planted = subprocess.run([*arguments, "--planted", fault], capture_output=True, text=True, check=False)
    found = planted.returncode != 0 and finding in planted.stdout
    print(f"{fault}: {'found' if found else 'NOT FOUND'}")
    if not found:
        print(planted.stdout + planted.stderr)
    return found


def main():
    (directory,) = sys.argv[1:]
    found = sum(is_found(directory, *fault) for fault in FAULTS)
    print(f"planted faults: {found} of {len(FAULTS)} found")
    sys.exit(0 if found == len(FAULTS) else 1)


main()
