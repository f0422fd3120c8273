"""Makes the linker's list of exported functions from the one list of public functions."""

import sys
from pathlib import Path


def main() -> int:
    source, target = map(Path, sys.argv[1:])
    lines = (line.split("#")[0].split() for line in source.read_text(encoding="utf-8").splitlines())
    names = sorted(words[0] for words in lines if words)
    exported = "\n".join(f"        {name};" for name in names)
    target.parent.mkdir(parents=True, exist_ok=True)
    target.write_text(f"QUORVEL_2 {{\n    global:\n{exported}\n    local:\n        *;\n}};\n", encoding="utf-8")
    return 0


if __name__ == "__main__":
    sys.exit(main())
