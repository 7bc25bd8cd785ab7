"""Shows tickets, typed stores and batch records in gdb.

gdb loads this file by itself with the library, from share/gdb/auto-load. It reads memory only and calls no function of the
program, so it works on a core file, too. The values of a ticket need the debug information of the library.
"""

import gdb
import gdb.printing

LONGEST = 200  # bytes of a text or byte string that are shown


def shown(data):
    """Bytes as a text in double quotes."""
    text = data[:LONGEST].decode("utf-8", "backslashreplace").replace("\\", "\\\\").replace('"', '\\"')
    text = "".join(c if c.isprintable() else "".join(f"\\x{byte:02x}" for byte in c.encode()) for c in text)
    return f'"{text}"' + ("..." if len(data) > LONGEST else "")


def read(address, length):
    if not length:
        return b""
    return bytes(gdb.selected_inferior().read_memory(int(address), min(int(length), LONGEST + 1)))


def read_text(address):
    """The bytes in front of the first NUL."""
    if not int(address):
        return None
    data = b""
    while len(data) <= LONGEST:
        byte = read(int(address) + len(data), 1)
        if byte == b"\0":
            break
        data += byte
    return data


def unreadable(address):
    return f"<unreadable: {int(address):#x}>"


def shown_text(address):
    """The text at an address."""
    try:
        return shown(read_text(address) or b"")
    except gdb.MemoryError:
        return unreadable(address)


def shown_bytes(address, length):
    """A BIN_STRING without data is empty, whatever its length."""
    length = int(length) if int(address) else 0
    try:
        return f"{length} bytes {shown(read(address, length))}"
    except gdb.MemoryError:
        return f"{length} bytes {unreadable(address)}"


def shown_string(value):
    """A std::string of libstdc++; of another library what gdb makes of it."""
    try:
        return shown(read(value["_M_dataplus"]["_M_p"], value["_M_string_length"]))
    except gdb.error:
        return str(value)


def fields(names):
    """Name and value for a record that is printed as a struct."""
    return "{" + ", ".join(f"{name} = {value}" for name, value in names) + "}"


class BinString:
    """BIN_STRING: its bytes."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        return shown_bytes(self.value["data"], self.value["length"])


class BatchRecord:
    """GETMULTIPAR and SETMULTIPAR: the value as its type says, instead of an untyped pointer."""

    TYPES = ("PARAM_NONE", "PARAM_POINTER", "PARAM_INT", "PARAM_DOUBLE", "PARAM_STRING", "PARAM_BINSTR", "PARAM_VECTOR",
             "PARAM_INT64", "PARAM_UNSIGNED", "PARAM_UINT64")
    STORED = {"PARAM_INT": "int", "PARAM_DOUBLE": "double", "PARAM_BINSTR": "BIN_STRING", "PARAM_VECTOR": "unsigned long",
              "PARAM_INT64": "long", "PARAM_UNSIGNED": "unsigned int", "PARAM_UINT64": "unsigned long"}

    def __init__(self, value):
        self.value = value

    def to_string(self):
        key = shown_text(self.value["key"])
        if key == '""':
            return "end of the batch"
        number = int(self.value["type"])  # in C a plain number
        kind = self.TYPES[number] if number < len(self.TYPES) else number
        try:
            stored = self.stored(kind)
        except gdb.MemoryError:
            stored = unreadable(self.value["value"])
        return fields([("key", key), ("type", kind), ("value", stored), ("index", self.value["index"]),
                       ("result", self.value["result"])])

    def stored(self, kind):
        pointer = self.value["value"]
        if not int(pointer):
            return "null"
        if kind in self.STORED:
            value = pointer.cast(gdb.lookup_type(self.STORED[kind]).pointer()).dereference()
            value.fetch_lazy()
            return value
        if kind == "PARAM_STRING":
            is_read = self.value.type.strip_typedefs().name == "GETMULTIPAR"  # which receives a pointer to the text
            text = pointer.cast(gdb.lookup_type("char").pointer().pointer()).dereference() if is_read else pointer
            return shown_text(text)
        return pointer


class Parameters:
    """The parameters of a ticket, in the order of their keys."""

    def __init__(self, access):
        state = access["pTicket"].cast(gdb.lookup_type("STICKET").pointer()).dereference()["m_state"]
        # The object that a unique_ptr owns, whatever standard library made it.
        pointer = state.address.cast(gdb.lookup_type("STICKET::STATE").pointer().pointer())
        self.map = pointer.dereference().dereference()["parameters"]["m_map"]
        self.value_type = gdb.lookup_type("KEYED_VALUE<clTICKETNODE::clENTRY>")

    @staticmethod
    def elements(vector, element):
        """The elements of a std::vector, which begins with the pointers to its first element and behind its last."""
        begin, end = (vector.address.cast(element.pointer().pointer().pointer())[i] for i in (0, 1))
        begin, end = (pointer.cast(element.pointer()) for pointer in (begin, end))
        return (begin[i] for i in range(int(end - begin)))

    def __iter__(self):
        order, arena = self.map["m_order"], self.map["m_arena"]
        page_type = gdb.lookup_type("PARAMETER_ORDER::PAGE")
        chunk_type = gdb.lookup_type("PARAMETER_ARENA<clTICKETNODE::clENTRY>::CHUNK")
        chunks = list(self.elements(arena["m_chunks"], chunk_type))
        for owner in self.elements(order["m_pages"], page_type.pointer()):
            page = owner.dereference()
            for i in range(int(page["count"])):
                number = int(page["ids"][i])
                chunk = chunks[number >> 13]["memory"].address.cast(self.value_type.pointer().pointer()).dereference()
                yield self.parameter(int(chunk) + (number & 0x1FFF) * 8)

    def parameter(self, address):
        value = gdb.Value(address).cast(self.value_type.pointer()).dereference()
        key = read(address + self.value_type.sizeof, value["length"])
        return key.decode("utf-8", "backslashreplace"), self.entry(value)

    def entry(self, value):
        tag, payload = int(value["m_tag"]), value["m_payload"]
        if tag == 1:
            return payload["number"]
        if tag in (2, 3):
            text = payload["text"].dereference()
            data = read(int(text.address) + text.type.sizeof, text["m_length"])
            return shown(data) if tag == 2 else f"{int(text['m_length'])} bytes {shown(data)}"
        if tag == 5:
            vector = payload["elements"].dereference()
            kind = gdb.lookup_type("clTICKETNODE::clENTRY")
            return "{" + ", ".join(str(self.entry(element)) for element in self.elements(vector, kind)) + "}"
        return {4: payload["pointer"], 6: payload["int64"], 7: payload["uint64"]}.get(tag, "nothing")


class Ticket:
    """STICKET_ACCESS: what the ticket holds."""

    def __init__(self, value):
        self.value = value

    def is_null(self):
        return not int(self.value["pTicket"])

    def parameters(self):
        return iter(()) if self.is_null() else iter(Parameters(self.value))

    def to_string(self):
        try:
            return "table without a ticket" if self.is_null() else f"ticket with {sum(1 for _ in self.parameters())} keys"
        except gdb.MemoryError:
            return f"ticket at {self.value['pTicket']} (its memory cannot be read)"
        except gdb.error:
            return f"ticket at {self.value['pTicket']} (no debug information of the library)"

    def children(self):
        try:
            for key, value in self.parameters():
                yield key, key
                yield key + " ", value
        except gdb.error:
            return

    def display_hint(self):
        return "map"


class Store(Ticket):
    """ticket::Store: what it holds."""

    def __init__(self, value):
        super().__init__(value["m_table"])  # dereferenced by its fields

    def is_null(self):
        return not int(self.value) or super().is_null()

    def to_string(self):
        return "store without a ticket" if self.is_null() else super().to_string().replace("ticket", "store", 1)


class Result:
    """ticket::Result: done, or why not."""

    def __init__(self, value):
        self.value = value

    def to_string(self):
        reason = str(self.value["m_reason"]).rsplit("::", 1)[-1]
        if reason == "none":
            return "done"
        parts = [reason, shown_string(self.value["m_subject"])]
        if int(self.value["m_detail"]):
            parts.append(shown_text(self.value["m_detail"]))
        if int(self.value["m_error"]):
            parts.append(f"errno {int(self.value['m_error'])}")
        return ": ".join(parts)


def printers():
    collection = gdb.printing.RegexpCollectionPrettyPrinter("ConfigurationControl")
    for name, printer in (("BIN_STRING", BinString), ("[GS]ETMULTIPAR", BatchRecord), ("STICKET_ACCESS", Ticket),
                          ("ticket::BasicStore<.*>", Store), ("ticket::Result", Result)):
        collection.add_printer(name, f"^{name}$", printer)
    return collection


gdb.printing.register_pretty_printer(gdb.current_objfile(), printers(), replace=True)
