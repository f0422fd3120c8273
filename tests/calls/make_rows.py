"""Lists everything that can be called, as lines of macros: see calls.cpp.

    make_rows.py PUBLIC_FUNCTIONS PROXY_HEADER ROWS PUBLIC_HEADERS REQUIRED

The public functions come from the list that decides what is exported, the rest from the proxy's generated header, so
neither can miss one. What record a public function's handle is, its header says. REQUIRED are the arguments that the public headers say must not be NULL, by function and place.
"""

import pathlib
import re
import sys


# The record behind a handle, where its name is not the same.
RECORDS = {
    "quorvel_client_easy_setup_access_point_h": "access_point_s",
    "quorvel_client_easy_setup_device_property_h": "device_prop_s",
    "quorvel_client_easy_setup_cloud_property_h": "cloud_prop_s",
    "quorvel_client_easy_setup_device_conf_h": "device_conf_s",
    "quorvel_client_provisioning_info_h": "easy_setup_prov_info_s",
    "quorvel_client_file_h": "transfer_data_s",
    "quorvel_client_self_sign_up_info_h": "self_signup_info_s",
    "quorvel_core_device_h": "core_device_s",
    "quorvel_core_rule_h": "core_rule_s",
    "quorvel_core_scene_h": "core_scene_s",
}


def record_of(parameters):
    for handle in re.findall(r"\bquorvel_\w+_h\b", parameters):
        if handle != "quorvel_client_h":
            return RECORDS.get(handle) or re.sub(r"^quorvel_(client|core)_(\w+)_h$", r"\2_s", handle)
    return "none"


def public_rows(path, directory):
    line = re.compile(r"(\w+)\s+(\w+)\s+agent\s+(?:(\d+)\.(\d+)|any)\s+handle\s+(yes|no)\s*$")
    takes_client = {}
    with open(path, encoding="utf-8") as lines:
        for text in lines:
            text = text.split("#")[0].strip()
            if not text:
                continue
            found = line.match(text)
            if not found:
                sys.exit(f"{path}: cannot read: {text}")
            takes_client[found.group(1)] = "true" if found.group(5) == "yes" else "false"
    for header in sorted(pathlib.Path(directory).glob("*.h")):
        text = re.sub(r"/\*.*?\*/", "", header.read_text(encoding="utf-8"), flags=re.S)
        for name, parameters in re.findall(r"QUORVEL_API int (\w+)\((.*?)\);", text, re.S):
            if name not in takes_client:
                sys.exit(f"{header}: {name} is not in {path}")
            yield f"PUBLIC({name}, {takes_client.pop(name)}, {record_of(parameters)})"
    if takes_client:
        sys.exit(f"{path}: no header declares {', '.join(takes_client)}")


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


def guarded(lines):
    """The rows, for whoever defines the macros that he wants."""
    kinds = ("PUBLIC", "RECORD", "DELEGATE", "INVOKE", "RECORD_FUNCTION", "DELEGATE_FUNCTION")
    for kind in kinds:
        yield f"#ifndef {kind}\n#define {kind}(...)\n#endif"
    yield from lines
    for kind in kinds:
        yield f"#undef {kind}"


def main():
    public_functions, proxy_header, rows, public_headers, required = sys.argv[1:]
    for path, lines in (
        (rows, guarded([*public_rows(public_functions, public_headers), *internal_rows(proxy_header)])),
        (required, required_arguments(public_headers)),
    ):
        with open(path, "w", encoding="utf-8") as out:
            out.writelines(f"{line}\n" for line in lines)


main()
