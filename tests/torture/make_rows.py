"""Lists everything that the torture calls, as lines of macros: see calls.cpp.

    make_rows.py PUBLIC_FUNCTIONS PROXY_HEADER ROWS PUBLIC_HEADERS REQUIRED

The public functions come from the list that decides what is exported, the rest from the proxy's generated header, so
neither can miss one. REQUIRED are the arguments that the public headers say must not be NULL, by function and place.
"""

import pathlib
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


def required_arguments(directory):
    documented = re.compile(r"/\*\*((?:(?!\*/).)*)\*/\s*QUORVEL_API\s+int\s+(\w+)\(([^)]*)\)", re.S)
    for header in sorted(pathlib.Path(directory).glob("*.h")):
        for comment, function, parameters in documented.findall(header.read_text(encoding="utf-8")):
            text = " ".join(re.sub(r"^\s*\* ?", "", line) for line in comment.splitlines())
            entries = re.split(r"@(?=param|retval|return|note|since|attention)", text)
            refusals = " ".join(each for each in entries if each.startswith("retval QUORVEL_CLIENT_ERROR_INVALID"))
            for place, parameter in enumerate(parameters.split(",")):
                name = re.search(r"(\w+)$", parameter.strip()).group(1)
                own = " ".join(each for each in entries if re.match(rf"param\[\w+(,\w+)?\]\s+{name}\b", each))
                is_out = own.startswith("param[out]")
                is_required = (
                    re.search(r"\b[Nn]ot NULL|neither NULL", own)
                    or re.search(rf"@p {name}\b[^.;]*? NULL", refusals)
                    or (is_out and "an out pointer is NULL" in refusals)
                )
                if is_required and "*" in parameter + ("*" if re.search(r"_(h|cb) \w+$", parameter.strip()) else ""):
                    yield f'{{"{function}", {place}}},'


def main():
    public_functions, proxy_header, rows, public_headers, required = sys.argv[1:]
    for path, lines in (
        (rows, [*public_rows(public_functions), *internal_rows(proxy_header)]),
        (required, list(required_arguments(public_headers))),
    ):
        with open(path, "w", encoding="utf-8") as out:
            out.write("\n".join(lines) + "\n")


main()
