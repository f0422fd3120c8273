#!/usr/bin/env python3
"""Reads the public headers and writes what qvctl has to know of every function as C++ tables."""

import argparse
import pathlib
import re
import sys

ACCESSOR = re.compile(r"_(get|set)_(string|int|bool|double)(_arr(ay)?)?$|_property_create$|_condition_create$|_file_get_details$")
DESTROYER = re.compile(r"_destroy(_access_point(_list)?)?$")
ADDED_TEXTS = ("const char* const*", "char**", "char***")


def quote(text):
    return '"' + text.replace("\\", "\\\\").replace('"', '\\"') + '"'


def words(text):
    return " ".join(text.split())


class Doc:
    """The comment before a declaration."""

    def __init__(self, text):
        text = "\n".join(re.sub(r"^\s*\*? ?", "", line) for line in text.splitlines())
        self.text = text
        found = re.search(r"@brief (.*?)(?:\n\s*\n|\Z|\n@)", text, re.S)
        self.brief = self.plain(found.group(1)) if found else self.plain(text)
        self.params = {}
        for found in re.finditer(r"@param\[[a-z,]+\]\s+(\w+)\s+(.*?)(?=\n\s*\n|\n@|\Z)", text, re.S):
            self.params[found.group(1)] = words(found.group(2))

    @staticmethod
    def plain(text):
        return words(re.sub(r"@(?:p|ref) |#(?=[qQ])", "", text)).strip()


class Headers:
    def __init__(self, directory):
        self.functions, self.callbacks, self.enumerations, self.records = [], {}, {}, set()
        self.headers = sorted(path.name for path in directory.glob("*.h"))
        for name in self.headers:
            self.read(name, (directory / name).read_text())

    def read(self, header, text):
        for found in re.finditer(r"typedef void\s?\*\s?(\w+_h);", text):
            self.records.add(found.group(1))
        comment = r"/\*\*((?:(?!\*/).)*)\*/\s*"
        for found in re.finditer(comment + r"typedef enum \{(.*?)\} (\w+);", text, re.S):
            values = []
            for value in re.finditer(r"(?:/\*\*((?:(?!\*/).)*)\*/\s*)?(\w+) = (-?\d+)", found.group(2), re.S):
                values.append((value.group(2), int(value.group(3)), words(re.sub(r"^\s*\*", "", value.group(1) or "", flags=re.M))))
            self.enumerations[found.group(3)] = values
        for found in re.finditer(comment + r"typedef void \(\*(\w+)\)\((.*?)\);", text, re.S):
            self.callbacks[found.group(2)] = (Doc(found.group(1)), self.parameters(found.group(3)))
        for found in re.finditer(comment + r"QUORVEL_API (\w+) (\w+)\((.*?)\);", text, re.S):
            self.functions.append((found.group(3), header, Doc(found.group(1)), found.group(2), self.parameters(found.group(4))))

    @staticmethod
    def parameters(text):
        result = []
        for one in words(text).split(", "):
            found = re.match(r"(.*?[ *])(\w+)$", one)
            if not found:
                sys.exit(f"cannot read the parameter '{one}'")
            result.append((found.group(1).strip(), found.group(2)))
        return result


def enumerator_names(values):
    """The constants without what they have in common."""
    split = [constant.split("_") for constant, _, _ in values]
    common = 0
    while len(split) > 1 and all(len(s) > common + 1 and s[common] == split[0][common] for s in split):
        common += 1
    return ["_".join(s[common:]).lower().replace("_", "-") for s in split]


class Writer:
    def __init__(self, headers, versions, records_of):
        self.headers, self.versions, self.out = headers, versions, []
        self.record_index, self.enumeration_index, self.callback_index = {}, {}, {}
        self.names = {f[0] for f in headers.functions}
        self.prefix_of = records_of

    def line(self, text=""):
        self.out.append(text)

    def enumerations(self):
        kept = sorted(name for name in self.headers.enumerations)
        for index, name in enumerate(kept):
            values = self.headers.enumerations[name]
            self.enumeration_index[name] = index
            self.line(f"constexpr Enumerator enumeration_{index}[] = {{")
            for (constant, value, help_text), short in zip(values, enumerator_names(values)):
                self.line(f"    {{{quote(constant)}, {quote(short)}, {value}, {quote(help_text)}}},")
            self.line("};")
        self.line("constexpr Enumeration all_enumerations[] = {")
        for name in kept:
            self.line(f"    {{{quote(name)}, enumeration_{self.enumeration_index[name]}}},")
        self.line("};")

    @staticmethod
    def property_kind(help_text):
        for pattern, kind in ((r"list of strings", "texts"), (r"list of integers", "integers"), (r"; an? (?:\w+ )?integer", "integer"),
                              (r"; a boolean", "boolean"), (r"; a string", "text")):
            if re.search(pattern, help_text):
                return kind
        return "unknown"

    def record_table(self):
        kept = sorted(self.headers.records - {"quorvel_client_h"})
        rows = []
        for index, handle in enumerate(kept):
            self.record_index[handle] = index
            base = handle[:-2]
            enumeration = next((e for e in (base + "_prop_e", base.replace("_property", "") + "_prop_e")
                                if e in self.headers.enumerations), None)
            values = self.headers.enumerations.get(enumeration, [])
            if values:
                self.line(f"constexpr Property properties_{index}[] = {{")
                for constant, value, help_text in values:
                    name = constant.split("_PROP_", 1)[1].lower()
                    self.line(f"    {{{quote(name)}, {quote(constant)}, {value}, PropertyKind::{self.property_kind(help_text)}}},")
                self.line("};")
            destroy = base + "_destroy" if base + "_destroy" in self.names else re.sub(r"(easy_setup)_(.*)", r"\1_destroy_\2", base)

            def one(*candidates):
                return next((c for c in candidates if c in self.names), "nullptr")

            accessors = [one(base + "_get_string"), one(base + "_get_string_array", base + "_get_string_arr"),
                         one(base + "_get_int"), one(base + "_get_int_array"), one(base + "_get_bool"),
                         one(base + "_create"), one(base + "_set_string"), one(base + "_set_string_array", base + "_set_string_arr"), one(destroy)]
            if accessors[-1] == "nullptr":
                sys.exit(f"nothing releases a {handle}")
            named = [quote(a if a != "nullptr" else "") for a in (accessors[5], accessors[6], accessors[8])]
            properties = f"properties_{index}" if values else "{}"
            rows.append(f"    {{{quote(handle)}, {properties}, {', '.join(accessors)}, {', '.join(named)}}},")
        self.line("const Record all_records[] = {")
        self.out += rows
        self.line("};")

    def kind(self, base, counted, in_callback):
        """The kind of a parameter's type, and whether it takes the count after it."""
        if base == "quorvel_client_h":
            return "client"
        if base == "quorvel_client_h*":
            return "client_out"
        if base.rstrip("*") in self.headers.records:
            if base.endswith("**"):
                return "out_records"
            if base.endswith("*"):
                return "records" if in_callback else "out_record"
            return "record"
        if base in self.headers.callbacks:
            return "callback"
        if base == "char**":
            return "owned_texts" if in_callback else "out_text"
        return {"const char*": "text", "const char* const*": "texts", "int": "integer", "unsigned int": "integer",
                "long long": "long_integer", "bool": "boolean", "void*": "user_data", "char***": "out_texts",
                "int*": "out_integer", "bool*": "out_boolean"}.get(base, "none")

    def parameter_rows(self, name, parameters, doc, in_callback):
        rows, skip = [], False
        for base, parameter in parameters:
            if skip:
                skip = False
                continue
            kind = self.kind(base, False, in_callback)
            skip = kind in ("texts", "records", "owned_texts", "out_texts", "out_records")
            help_text = doc.params.get(parameter, "")
            named = re.search(r"#(quorvel_\w+_e)\b", help_text)
            enumeration = named.group(1) if named and kind in ("integer", "out_integer") else None
            if enumeration == "quorvel_client_error_e":
                enumeration = None
            record = base.rstrip("*")
            rows.append("    {%s, %s, %s, Kind::%s, %s, %s, %s}," % (
                quote(parameter), quote(base), quote(Doc.plain(help_text)), kind,
                f"&all_records[{self.record_index[record]}]" if record in self.record_index else "nullptr",
                f"&all_callbacks[{self.callback_index[base]}]" if base in self.callback_index else "nullptr",
                f"&all_enumerations[{self.enumeration_index[enumeration]}]" if enumeration else "nullptr"))
        self.line(f"const Parameter {name}[] = {{")
        self.out += rows
        self.line("};")

    def callback_table(self):
        kept = sorted(self.headers.callbacks)
        for index, name in enumerate(kept):
            doc, parameters = self.headers.callbacks[name]
            self.parameter_rows(f"callback_parameters_{index}", parameters, doc, True)
        self.line("const Callback all_callbacks[] = {")
        for index, name in enumerate(kept):
            self.callback_index[name] = index
            self.line(f"    {{{quote(name)}, callback_parameters_{index}}},")
        self.line("};")

    def function_table(self):
        for index, (name, header, doc, result, parameters) in enumerate(self.headers.functions):
            self.parameter_rows(f"parameters_{index}", parameters, doc, False)
        self.line("const Function all_functions[] = {")
        for index, (name, header, doc, result, parameters) in enumerate(self.headers.functions):
            role = "destroyer" if DESTROYER.search(name) else "accessor" if ACCESSOR.search(name) else "call"
            signature = f"{result} {name}({', '.join((t if t.endswith('*') else t + ' ') + ('' if not t.endswith('*') else ' ') + p for t, p in parameters)})"
            if name not in self.versions:
                sys.exit(f"{name} is declared, but does not stand in the list of public functions")
            self.line("    {%s, %s, %s, %s, %s, parameters_%d, Role::%s, reinterpret_cast<void (*)()>(&%s)}," % (
                quote(name), quote(header), quote(doc.brief), quote(self.versions[name]), quote(signature), index, role, name))
        self.line("};")

    def write(self):
        self.line("// Generated from the public headers: change them, not this file.")
        self.line('#include "api/api.hpp"\n\nextern "C" {')
        for header in ["quorvel_client.h", "quorvel_core.h"]:
            self.line(f"#include <{header}>")
        self.line("}\n\nnamespace quorvel::cli {\nnamespace {\n")
        self.enumerations()
        self.record_table()
        self.callback_table()
        self.function_table()
        self.line("\n}  // namespace\n")
        self.line("std::span<const Function> functions() { return all_functions; }")
        self.line("std::span<const Enumeration> enumerations() { return all_enumerations; }")
        self.line("std::span<const Record> records() { return all_records; }\n")
        self.line("}  // namespace quorvel::cli")
        return "\n".join(self.out) + "\n"


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("include", type=pathlib.Path)
    parser.add_argument("public_functions", type=pathlib.Path)
    parser.add_argument("output", type=pathlib.Path)
    arguments = parser.parse_args()
    versions = {}
    for line in arguments.public_functions.read_text().splitlines():
        if line and not line.startswith("#"):
            fields = line.split()
            versions[fields[0]] = fields[fields.index("agent") + 1]
    headers = Headers(arguments.include)
    missing = set(versions) - {function[0] for function in headers.functions}
    if missing:
        sys.exit("no header declares " + ", ".join(sorted(missing)))
    arguments.output.parent.mkdir(parents=True, exist_ok=True)
    arguments.output.write_text(Writer(headers, versions, {}).write())


if __name__ == "__main__":
    main()
