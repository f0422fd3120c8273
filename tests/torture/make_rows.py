"""Lists everything that the torture calls, as lines of macros: see calls.cpp.

    make_rows.py PUBLIC_FUNCTIONS PROXY_HEADER OUTPUT

The public functions come from the list that decides what is exported, the rest from the proxy's generated header, so
neither can miss one.
"""

import re
import sys


def public_rows(path):
    line = re.compile(r"(\w+)\s+(\w+)\s+agent\s+(?:(\d+)\.(\d+)|any)\s+handle\s+(yes|no)\s*$")
    with open(path, encoding="utf-8") as lines:
        for text in lines:
            text = text.split("#")[0].strip()
            if not text:
                continue
            found = line.match(text)
            if not found:
                sys.exit(f"{path}: cannot read: {text}")
            name, _, _, _, handle = found.groups()
            yield f"PUBLIC({name}, {'true' if handle == 'yes' else 'false'})"


def internal_rows(path):
    with open(path, encoding="utf-8") as header:
        text = re.sub(r"/\*.*?\*/", "", header.read(), flags=re.S)
    text = re.sub(r"^ *#.*$", "", text, flags=re.M)
    text = " ".join(text.split())
    for name in re.findall(r"typedef struct rpc_port_(\w+)_s\* rpc_port_\1_h;", text):
        if name.startswith("qv_client_"):
            yield f"DELEGATE({name.removeprefix('qv_client_')})"
        elif not name.startswith("proxy_"):
            yield f"RECORD({name})"
    for name in re.findall(r"(?:^|[;}{]) ?(?:int|bool|void|\w+_h) (\w+)\([^;{}()]*\)(?=;)", text):
        if "_invoke_" in name:
            yield f"INVOKE({name})"
        elif name.startswith(("__qv_client_", "rpc_port_qv_client_")) or name.endswith("_dispose"):
            yield f"DELEGATE_FUNCTION({name})"
        else:
            yield f"RECORD_FUNCTION({name})"


def main():
    public_functions, proxy_header, output = sys.argv[1:]
    rows = [*public_rows(public_functions), *internal_rows(proxy_header)]
    with open(output, "w", encoding="utf-8") as out:
        out.write("\n".join(rows) + "\n")


main()
