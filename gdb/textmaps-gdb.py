"""GDB pretty-printers for the containers of textmaps, their nodes and their iterators."""

from functools import partial
from itertools import islice

import gdb
import gdb.printing
import gdb.types

# Nodes are read word by word: a program that names no type of theirs has none in its debug
# information. Where the fields are is part of the binary interface; a word is a pointer.
PREV = 1
ENTRY_VALUE, ENTRY_VALUESZ, ENTRY_KEY = 2, 3, 4
KEY_KEY, KEY_COUNT, KEY_VALUES = 2, 3, 4
VALUE_DATA, VALUE_LEN = 2, 3

# Of a text, where GDB has no limit of its own: a length may be anything.
NO_LIMIT = 65536

SHORT_ESCAPES = {'"': '\\"', "\\": "\\\\", "\n": "\\n", "\r": "\\r", "\t": "\\t"}


class Broken(Exception):
    """A container contradicts itself."""


def word_at(address, word):
    # Computed by GDB, for which an address that is wild is no overflow.
    pointer = gdb.lookup_type("void").pointer()
    return gdb.Value(address).cast(pointer.pointer()) + word


def pointer_at(address, word=0):
    return int(word_at(address, word).dereference())


def uint32_at(address, word):
    uint32 = gdb.lookup_type("unsigned int")
    return int(word_at(address, word).cast(uint32.pointer()).dereference())


def bytes_at(address, size):
    return bytes(gdb.selected_inferior().read_memory(address, size))


def print_elements():
    return gdb.parameter("print elements") or NO_LIMIT


def number_of(kind, number):
    return f"{number} {kind}" + ("" if number == 1 else "s")


def quoted(data):
    """As a string of C, with the letters that the terminal has."""
    charset = gdb.host_charset()

    def escaped(letter):
        if letter in SHORT_ESCAPES:
            return SHORT_ESCAPES[letter]
        if letter.isprintable():
            return letter
        return "".join(f"\\{byte:03o}" for byte in letter.encode(charset, "surrogateescape"))

    return '"' + "".join(map(escaped, data.decode(charset, "surrogateescape"))) + '"'


def key_text(address):
    most = print_elements()
    data = b""
    try:
        while len(data) <= most and b"\0" not in data:
            # In pieces that cross no page, since what follows a text need not be readable.
            piece = address + len(data)
            data += bytes_at(piece, 64 - piece % 64)
    except gdb.MemoryError as error:
        return f"<error: {error}>"
    text = data.partition(b"\0")[0]
    return quoted(text[:most]) + ("..." if len(text) > most else "")


def value_text(address, size):
    """Text without its NUL; other bytes with their number."""
    if size == 0:
        return "0 bytes"
    try:
        data = bytes_at(address, min(size, print_elements()))
        last = bytes_at(address + size - 1, 1)
    except gdb.MemoryError as error:
        return f"{number_of('byte', size)} <error: {error}>"
    is_text = last == b"\0" and b"\0" not in data[: size - 1]
    length = size - 1 if is_text else size
    return (
        ("" if is_text else number_of("byte", size) + " ")
        + quoted(data[:length])
        + ("..." if len(data) < length else "")
    )


def chain(head):
    """The nodes of the tail queue whose `first` and `last` are at the address."""
    link = head
    seen = set()
    while node := pointer_at(link):
        if node in seen:
            raise Broken(f"{node:#x} comes again")
        if pointer_at(node, PREV) != link:
            raise Broken(f"{node:#x} does not lead back to {link:#x}")
        seen.add(node)
        yield node
        # A node's `next` is its first field.
        link = node
    if pointer_at(head, 1) != link:
        raise Broken(f"`last` is not {link:#x}")


def checked_chain(head, place=""):
    try:
        yield from chain(head)
    except (Broken, gdb.MemoryError) as error:
        raise Broken(f"broken chain{place}: {error}")


def counted(nodes, count, kind):
    """The nodes, no more than `count`, which must be their number."""
    found = 0
    for node in nodes:
        if found == count:
            raise Broken(f"more than the {number_of(kind, count)} counted")
        found += 1
        yield node
    if found != count:
        raise Broken(f"{number_of(kind, found)}, but {count} counted")


def list_values(key):
    """The text of each value of a key node, and what is wrong with them."""
    try:
        head = int(word_at(key, KEY_VALUES))
        for node in counted(checked_chain(head), uint32_at(key, KEY_COUNT), "value"):
            yield value_text(pointer_at(node, VALUE_DATA), uint32_at(node, VALUE_LEN))
    except (Broken, gdb.MemoryError) as error:
        yield f"<{error}>"


class MapNodes:
    """How the nodes of a map are read."""

    value_name = "value"

    @staticmethod
    def key(node):
        return key_text(pointer_at(node, ENTRY_KEY))

    @staticmethod
    def value(node):
        return value_text(pointer_at(node, ENTRY_VALUE), uint32_at(node, ENTRY_VALUESZ))

    @staticmethod
    def count(node):
        return 1


class ListNodes:
    """How the nodes of a multimap and of an arraymap are read."""

    value_name = "values"

    @staticmethod
    def key(node):
        return key_text(pointer_at(node, KEY_KEY))

    @staticmethod
    def value(node):
        most = print_elements()
        shown = list(islice(list_values(node), most + 1))
        if len(shown) > most:
            shown[most] = "..."
        return "{" + ", ".join(shown) + "}"

    @staticmethod
    def count(node):
        return uint32_at(node, KEY_COUNT)


class RecordPrinter:
    def __init__(self, name, nodes, record):
        self.name = name
        self.nodes = nodes
        self.record = record
        self.has_lists = nodes is ListNodes

    def number(self, field):
        return int(self.record[field])

    def to_string(self):
        if self.number("hashsize") == 0:
            return f"released {self.name}"
        text = f"{self.name} of {number_of('key', self.number('numkeys'))}"
        if self.has_lists:
            text += f" and {number_of('value', self.number('numvalues'))}"
        text += f" in {number_of('bucket', self.number('hashsize'))}"
        if self.number("casekeys"):
            text += ", case-insensitive"
        if self.number("maxkeys") >= 0:
            text += f", key limit {self.number('maxkeys')}"
        if self.has_lists and self.number("maxvalues") >= 0:
            text += f", value limit {self.number('maxvalues')}"
        if self.number("hashfunc"):
            text += f", hash function {self.record['hashfunc']}"
        return text

    def display_hint(self):
        return "map"

    def children(self):
        for number, (key, value) in enumerate(self.items()):
            yield f"key {number}", key
            yield f"value {number}", value

    def items(self):
        values = 0
        try:
            for node in counted(self.chains(), self.number("numkeys"), "key"):
                yield self.nodes.key(node), self.nodes.value(node)
                values += self.nodes.count(node)
            if self.has_lists and values != self.number("numvalues"):
                found = number_of("value", values)
                raise Broken(f"{found}, but {self.number('numvalues')} counted")
        except (Broken, gdb.MemoryError) as error:
            yield "<error>", f"<{error}>"

    def chains(self):
        buckets = self.record["buckets"]
        for index in range(self.number("hashsize")):
            yield from checked_chain(int(buckets + index), f" in bucket {index}")


class EntryPrinter:
    def __init__(self, entry):
        self.entry = entry

    def children(self):
        yield "key", key_text(int(self.entry["key"]))
        yield "value", value_text(int(self.entry["value"]), int(self.entry["valuesz"]))


class KeyPrinter:
    def __init__(self, key):
        self.key = key

    def children(self):
        yield "key", key_text(int(self.key["key"]))
        if self.key.address is None:
            # A copy that GDB holds: no list leads back to it.
            yield "count", self.key["count"]
            return
        for position, value in enumerate(list_values(int(self.key.address))):
            yield f"[{position}]", value


class ValuePrinter:
    def __init__(self, value):
        self.value = value

    def children(self):
        yield "data", value_text(int(self.value["data"]), int(self.value["len"]))
        if gdb.types.has_field(self.value.type, "index"):
            yield "index", self.value["index"]


class KeyIteratorPrinter:
    def __init__(self, name, nodes, node_field, iterator):
        self.name = name
        self.nodes = nodes
        self.iterator = iterator
        self.map = iterator["map"]
        self.node = int(iterator[node_field])

    def is_on_key(self):
        return self.map != 0 and self.iterator["bucket"] < self.map["hashsize"]

    def to_string(self):
        if self.map == 0:
            return f"{self.name}, not started"
        if not self.is_on_key():
            return f"{self.name} at the end"
        return f"{self.name} in bucket {int(self.iterator['bucket'])}"

    def children(self):
        if self.is_on_key():
            yield "key", self.nodes.key(self.node)
            yield self.nodes.value_name, self.nodes.value(self.node)


class MultimapValueIteratorPrinter:
    def __init__(self, iterator):
        self.iterator = iterator

    def is_on_value(self):
        return self.iterator["map"] != 0 and self.iterator["node"] != 0

    def to_string(self):
        if self.iterator["map"] == 0:
            return "multimap value iterator, not started"
        if not self.is_on_value():
            return "multimap value iterator, no such key"
        return "multimap value iterator"

    def children(self):
        if self.is_on_value():
            node = self.iterator["node"]
            yield "key", key_text(int(self.iterator["key"]))
            yield "value", value_text(int(node["data"]), int(node["len"]))


class ArraymapValueIteratorPrinter:
    def __init__(self, iterator):
        self.iterator = iterator

    def has_key(self):
        return self.iterator["map"] != 0 and self.iterator["key"] != 0

    def is_at_end(self):
        return self.iterator["position"] >= self.iterator["key"]["count"]

    def to_string(self):
        if self.iterator["map"] == 0:
            return "arraymap value iterator, not started"
        if not self.has_key():
            return "arraymap value iterator, no such key"
        if self.is_at_end():
            return "arraymap value iterator at the end"
        return f"arraymap value iterator at position {int(self.iterator['position'])}"

    def children(self):
        if self.has_key() and not self.is_at_end():
            node = self.iterator["node"]
            yield "key", key_text(int(self.iterator["key"]["key"]))
            yield "value", value_text(int(node["data"]), int(node["len"]))


class Printer(gdb.printing.SubPrettyPrinter):
    """Of one type: its tag, fields that tell it from other types of that tag, and what prints it."""

    def __init__(self, tag, fields, make):
        super().__init__(tag)
        self.fields = set(fields.split())
        self.make = make


class Collection(gdb.printing.PrettyPrinter):
    def __init__(self):
        super().__init__("textmaps", [])
        record = "maxkeys numkeys casekeys hashsize hashfunc buckets"
        lists = record + " maxvalues numvalues"
        self.add("map", record, partial(RecordPrinter, "map", MapNodes))
        self.add("multimap", lists, partial(RecordPrinter, "multimap", ListNodes))
        self.add("arraymap", lists, partial(RecordPrinter, "arraymap", ListNodes))

        self.add("map_entry", "next prev value valuesz key", EntryPrinter)
        self.add("multimap_key", "next prev key count values", KeyPrinter)
        self.add("multimap_value", "next prev data len", ValuePrinter)
        self.add("arraymap_key", "next prev key count values", KeyPrinter)
        self.add("arraymap_value", "next prev data len index", ValuePrinter)

        self.add_key_iterator("map_iter", "map iterator", MapNodes, "entry")
        self.add_key_iterator("multimap_key_iter", "multimap key iterator", ListNodes, "node")
        self.add_key_iterator("arraymap_key_iter", "arraymap key iterator", ListNodes, "node")
        self.add("multimap_value_iter", "map key node", MultimapValueIteratorPrinter)
        self.add("arraymap_value_iter", "map position key node", ArraymapValueIteratorPrinter)

    def add(self, tag, fields, make):
        self.subprinters.append(Printer(tag, fields, make))

    def add_key_iterator(self, tag, name, nodes, node_field):
        make = partial(KeyIteratorPrinter, name, nodes, node_field)
        self.add(tag, f"map bucket {node_field}", make)

    def __call__(self, value):
        value_type = gdb.types.get_basic_type(value.type)
        for printer in self.subprinters:
            if printer.name == value_type.tag and printer.enabled:
                fields = {field.name for field in value_type.fields()}
                return printer.make(value) if fields >= printer.fields else None
        return None


gdb.printing.register_pretty_printer(gdb.current_objfile(), Collection(), replace=True)
