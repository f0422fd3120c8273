#!/usr/bin/env python3
"""Writes what the generated proxy's header declares as lists for the preprocessor: one line each for its records, arrays,
delegates and methods."""

import re
import sys


def main():
    header, target = sys.argv[1:]
    with open(header, encoding="utf-8") as source:
        text = source.read()

    def names(pattern):
        return list(dict.fromkeys(re.findall(pattern, text)))

    delegates = names(r"__qv_client_delegate_(\w+)\(")
    methods = names(r"rpc_port_proxy_qv_client_invoke_(\w+)\(")
    objects = names(r"int rpc_port_(\w+)_clone\(")
    arrays = [name for name in objects if name.startswith("array_")]
    records = [name for name in objects if name not in arrays]
    kinds = {"RECORD": records, "ARRAY": arrays, "DELEGATE": delegates, "METHOD": methods}
    with open(target, "w", encoding="utf-8") as out:
        for kind, listed in kinds.items():
            out.write(f"#ifdef QV_{kind}\n")
            out.writelines(f"QV_{kind}({name})\n" for name in listed)
            out.write(f"#undef QV_{kind}\n#endif\n")
    print(", ".join(f"{len(listed)} {kind.lower()}s" for kind, listed in kinds.items()))


if __name__ == "__main__":
    main()
