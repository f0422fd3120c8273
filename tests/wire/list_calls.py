#!/usr/bin/env python3
"""Writes the public functions of a directory of headers as a list for the preprocessor, a line each:

    PUBLIC_CALL(quorvel_core_get_room, Client, Text, Text, OutRecord<rpc_port_room_s_h>)

The names behind the function say what each parameter is for; calls.hpp makes a value of each."""

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

PLAIN = {
    "quorvel_client_h": "Client",
    "quorvel_client_h*": "OutClient",
    "const char*": "Text",
    "const char* const*": "Texts",
    "char**": "OutText",
    "char***": "OutTexts",
    "int*": "OutNumber",
    "int**": "OutNumbers",
    "unsigned char**": "OutBytes",
    "bool*": "OutTruth",
    "int": "Number",
    "unsigned int": "Unsigned",
    "bool": "Truth",
    "void*": "UserData",
}


def record(handle):
    name = RECORDS.get(handle) or re.sub(r"^quorvel_(client|core)_(\w+)_h$", r"\2_s", handle)
    return f"rpc_port_{name}_h"


def parameters(text):
    for one in " ".join(text.split()).split(", "):
        kind, name = re.match(r"(.*?[ *])(\w+)$", one).groups()
        yield kind.strip(), name


def tag(function, kind, name, callbacks):
    if kind in PLAIN:
        return "Property" if kind == "int" and name == "property_id" else PLAIN[kind]
    if kind in callbacks:
        handles = [k.rstrip("*") for k, _ in parameters(callbacks[kind]) if k.rstrip("*").endswith("_h")]
        return f"Callback<{kind}, {record(handles[0]) if handles else 'void'}>"
    handle = kind.rstrip("*")
    stars = len(kind) - len(handle)
    if function.endswith("destroy_access_point_list"):
        return f"ConsumedList<{record(handle)}>"
    if stars == 0:
        return f"{'ConsumedRecord' if '_destroy' in function else 'Record'}<{record(handle)}>"
    return f"{'OutRecord' if stars == 1 else 'OutRecords'}<{record(handle)}>"


def main():
    include, target = sys.argv[1:]
    text = "\n".join(path.read_text() for path in sorted(pathlib.Path(include).glob("*.h")))
    text = re.sub(r"/\*.*?\*/", "", text, flags=re.S)
    callbacks = dict(re.findall(r"typedef void \(\*(\w+)\)\((.*?)\);", text, re.S))
    with open(target, "w", encoding="utf-8") as out:
        for function, declared in re.findall(r"QUORVEL_API int (\w+)\((.*?)\);", text, re.S):
            tags = [tag(function, kind, name, callbacks) for kind, name in parameters(declared)]
            out.write(f"PUBLIC_CALL({', '.join([function, *tags])})\n")
        out.write("#undef PUBLIC_CALL\n")


if __name__ == "__main__":
    main()
