"""Shows ZelCore's values as text in gdb: source this file, or put "source .../zelcore_gdb.py" into ~/.gdbinit.

They are read from memory, without calling functions of the program, so a minidump or a damaged process is sufficient.
"""
import datetime
import ipaddress
import uuid

import gdb
import gdb.printing

TICKS_PER_SECOND = 10_000_000


def read(value, member):
    """Returns the bytes of an array member."""
    field = value[member]
    return bytes(gdb.selected_inferior().read_memory(int(field.address), field.type.sizeof))


def wide(value):
    """Returns the text of a std::wstring, without the printers of the C++ library."""
    size = int(value["_M_string_length"])
    if size > 1 << 20:
        return "<damaged>"
    data = gdb.selected_inferior().read_memory(int(value["_M_dataplus"]["_M_p"]), 2 * size)
    return bytes(data).decode("utf-16-le", "replace")


def date_time(value):
    ticks, kind = int(value["m_ticks"]), int(value["m_kind"])
    try:
        seconds, fraction = divmod(ticks, TICKS_PER_SECOND)
        moment = datetime.datetime(1, 1, 1) + datetime.timedelta(seconds=seconds)
    except OverflowError:
        return f"{ticks} ticks, out of range"
    return f"{moment.isoformat()}.{fraction:07}{['', 'Z', ' local'][kind] if kind in (0, 1, 2) else ' ?'}"


def time_span(value):
    ticks = int(value["m_ticks"])
    sign, (seconds, fraction) = "-" if ticks < 0 else "", divmod(abs(ticks), TICKS_PER_SECOND)
    days, seconds = divmod(seconds, 86_400)
    return f"{sign}{days}.{seconds // 3600:02}:{seconds // 60 % 60:02}:{seconds % 60:02}.{fraction:07}"


def duration(value):
    parts = [(int(value["m_" + name]), letter) for name, letter in
             (("years", "Y"), ("months", "M"), ("days", "D"), ("hours", "H"), ("minutes", "M"))]
    seconds = float(value["m_seconds"])
    date = "".join(f"{count}{letter}" for count, letter in parts[:3] if count)
    time = "".join(f"{count}{letter}" for count, letter in parts[3:] if count)
    if seconds or not date + time:
        time += f"{seconds:.15g}S"
    return "P" + date + ("T" + time if time else "")


def guid(value):
    return str(uuid.UUID(bytes_le=read(value, "m_bytes")))


def version(value):
    parts = [int(value["m_" + name]) for name in ("major", "minor", "build", "revision")]
    return ".".join(str(part) for part in parts if part >= 0)


def address(value):
    data = read(value, "m_bytes")
    family, port = int.from_bytes(data[:2], "little"), int.from_bytes(data[2:4], "big")
    if family == 2:
        text = str(ipaddress.IPv4Address(data[4:8]))
        return f"{text}:{port}" if port else text
    if family == 23:
        scope = int.from_bytes(data[24:28], "little")
        text = str(ipaddress.IPv6Address(data[8:24])) + (f"%{scope}" if scope else "")
        return f"[{text}]:{port}" if port else text
    return f"no address (family {family})"


def exception(value):
    """Prints an exception of the family: its type, its throw site and its message."""
    try:
        value = value.cast(value.dynamic_type)
    except gdb.error:
        pass  # an optimised program without type information: the root is still readable
    root = value if has(value, "m_sourceFile") else value.cast(gdb.lookup_type("ZelCore::CException"))
    details = [f"parameter '{wide(value['m_paramName'])}'"] if has(value, "m_paramName") else []
    code = int(root["m_error"]) & 0xFFFFFFFF
    return (f"{value.type.strip_typedefs().unqualified()} {code:#x} in {wide(root['m_method'])} at "
            f"{wide(root['m_sourceFile'])}:{int(root['m_sourceLine'])}: "
            + ", ".join(filter(None, [wide(root["m_message"]).lstrip(": "), *details])))


def has(value, member):
    try:
        return value[member] is not None
    except gdb.error:
        return False


class Printer:
    def __init__(self, show, value):
        self.show, self.value = show, value

    def to_string(self):
        try:
            return self.show(self.value)
        except gdb.error as error:  # memory that is not there, or types without symbols
            return f"<{error}; are the symbols, ZelCore.dll.debug, beside ZelCore.dll?>"


VALUES = {"ZelCore::CDateTime": date_time, "ZelCore::CTimeSpan": time_span, "ZelCore::CDuration": duration,
          "ZelCore::CGuid": guid, "ZelCore::CVersion": version, "ZelNet::CIPAddress": address}


def is_exception(kind):
    while kind.name != "ZelCore::CException":
        bases = [field.type for field in kind.fields() if field.is_base_class]
        if not bases:
            return False
        kind = bases[0]
    return True


def find(value):
    kind = value.type
    if kind.code == gdb.TYPE_CODE_REF:
        kind = kind.target()
    kind = kind.strip_typedefs().unqualified()
    if kind.code != gdb.TYPE_CODE_STRUCT:
        return None
    if kind.name in VALUES:
        return Printer(VALUES[kind.name], value)
    if (kind.name or "").startswith(("ZelCore::", "ZelWin32::", "ZelXml::", "ZelNet::")) and is_exception(kind):
        return Printer(exception, value.referenced_value() if value.type.code == gdb.TYPE_CODE_REF else value)
    return None


find.name, find.enabled = "ZelCore", True
gdb.printing.register_pretty_printer(gdb.current_objfile(), find, replace=True)
