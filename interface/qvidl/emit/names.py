"""What the things of an interface are called on the client's side."""

from __future__ import annotations

from ..model import Array, Delegate, Field, Interface, Kind, Parameter, Record, Type


def record_prefix(thing: Record | Array | Type) -> str:
    """The beginning of all names of a record or an array: rpc_port_device_s."""
    return f"rpc_port_{thing.name}"


def struct(thing: Record | Array | Type) -> str:
    return f"{record_prefix(thing)}_s"


def handle(thing: Record | Array | Type) -> str:
    return f"{record_prefix(thing)}_h"


class ClientNames:
    """The names that hold the interface's own."""

    def __init__(self, interface: Interface) -> None:
        self._interface = interface.name
        self.proxy = f"rpc_port_proxy_{interface.name}"
        self.proxy_struct = f"{self.proxy}_s"
        self.proxy_handle = f"{self.proxy}_h"
        self.events = f"{self.proxy}_callback_s"

    def delegate_prefix(self, delegate: Delegate | Type) -> str:
        return f"rpc_port_{self._interface}_{delegate.name}"

    def delegate_struct(self, delegate: Delegate) -> str:
        return f"{self.delegate_prefix(delegate)}_s"

    def delegate_handle(self, delegate: Delegate | Type) -> str:
        return f"{self.delegate_prefix(delegate)}_h"

    def delegate_callback(self, delegate: Delegate) -> str:
        # The type's name ends in _cb already where it should; the callback's own ending follows all the same.
        return f"{self.delegate_prefix(delegate)}_cb"

    def dispose(self, delegate: Delegate) -> str:
        return f"{self.proxy}_{delegate.name}_dispose"

    def parcelable(self, delegate: Delegate, way: str) -> str:
        return f"__{self._interface}_{delegate.name}_{way}"

    def dispatcher(self, delegate: Delegate) -> str:
        return f"__{self._interface}_delegate_{delegate.name}"

    def event(self, event: str) -> str:
        return f"{self.proxy}_{event}_cb"

    def invoke(self, method: str) -> str:
        return f"{self.proxy}_invoke_{method}"

    def value(self, type_: Type) -> str:
        """The C type that a value is passed as, ready to be put before a name."""
        plain = {
            Kind.STRING: "const char* ",
            Kind.INT32: "int ",
            Kind.INT64: "long long ",
            Kind.BOOL: "bool ",
        }
        if type_.kind in plain:
            return plain[type_.kind]
        return f"{self.delegate_handle(type_)} " if type_.kind is Kind.DELEGATE else f"{handle(type_)} "

    def parameter(self, parameter: Parameter) -> str:
        if not parameter.out:
            return f"{self.value(parameter.type)}{parameter.name}"
        if parameter.type.kind is Kind.STRING:
            return f"char** {parameter.name}"
        return f"{self.value(parameter.type).rstrip()}* {parameter.name}"


def members(field: Field) -> list[str]:
    """The members of a record's struct that hold a field."""
    plain = {Kind.STRING: "char* ", Kind.INT32: "int ", Kind.BUNDLE: "bundle* "}
    if field.type.kind is Kind.STRING_LIST:
        return [f"char** {field.name}", f"int {field.name}_size"]
    return [f"{plain[field.type.kind]}{field.name}"]


def setter_parameters(record: Record, field: Field) -> list[str]:
    plain = {Kind.STRING: "const char* ", Kind.INT32: "int ", Kind.BUNDLE: "bundle* "}
    if field.type.kind is Kind.STRING_LIST:
        values = [f"const char* const* {field.name}", f"int {field.name}_size"]
    else:
        values = [f"{plain[field.type.kind]}{field.name}"]
    return [f"{handle(record)} h", *values]


def getter_parameters(record: Record, field: Field) -> list[str]:
    plain = {Kind.STRING: "char** ", Kind.INT32: "int* ", Kind.BUNDLE: "bundle** "}
    if field.type.kind is Kind.STRING_LIST:
        values = [f"char*** {field.name}", f"int* {field.name}_size"]
    else:
        values = [f"{plain[field.type.kind]}{field.name}"]
    return [f"{handle(record)} h", *values]


def elements_in(array: Array) -> list[str]:
    vector = "const char* const*" if array.element.kind is Kind.STRING else f"const {handle(array.element)}*"
    return [f"{handle(array)} h", f"{vector} {array.elements}", f"int {array.elements}_size"]


def elements_out(array: Array) -> list[str]:
    vector = "char***" if array.element.kind is Kind.STRING else f"{handle(array.element)}**"
    return [f"{handle(array)} h", f"{vector} {array.elements}", f"int* {array.elements}_size"]
