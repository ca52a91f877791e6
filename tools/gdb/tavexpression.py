"""GDB pretty-printers for tavexpression: `source tools/gdb/tavexpression.py` (see README).

Handles print as the text of their expression, by a call of `display` in the program. Where GDB cannot call functions, as in
a core file, and after `set tavexpression-calls off`, they print the structure of their node instead; the reason is printed
once. Without the library's debug information a node prints as its name, or as its class and identifier. Arrays print their
size and elements, environments a summary."""

import re

import gdb
import gdb.printing

MAX_DEPTH = 6
MAX_TERMS = 20


class Calls(gdb.Parameter):
    """Whether expressions are printed by calls of the program's own display."""

    set_doc = "Set whether expressions are printed by calls of the program's own display."
    show_doc = "Show whether expressions are printed by calls of the program's own display."

    def __init__(self):
        super().__init__("tavexpression-calls", gdb.COMMAND_DATA, gdb.PARAM_BOOLEAN)
        self.value = True
        self.explained = False

    def explain(self, reason):
        """Says once why expressions are shown by their structure."""
        if not self.explained:
            gdb.write(f"tavexpression: GDB cannot call display ({reason}), so nodes print as their structure\n", gdb.STDERR)
        self.explained = True


calls = Calls()


def word(address):
    """The 8 bytes at an address, as a number."""
    return int.from_bytes(gdb.selected_inferior().read_memory(address, 8).tobytes(), "little")


def function(symbol, arguments):
    """A function of the C or C++ library by its linker's name, called with integer arguments."""
    types = ", ".join(["unsigned long"] * len(arguments))
    values = ", ".join(str(a) for a in arguments)
    return int(gdb.parse_and_eval(f"((unsigned long (*)({types})) '{symbol}')({values})"))


def displayed(node):
    """What the program's own output operator writes for a node."""
    ostringstream = "_ZNSt7__cxx1119basic_ostringstreamIcSt11char_traitsIcESaIcEE"
    stream = function("malloc", [1024])
    function(ostringstream + "C1Ev", [stream])
    try:
        function("_ZlsRSo14TavExtractable", [stream, node])  # stream << object; exists without debug information too
        # After the virtual function tables of stream and buffer: three input pointers, then the output pointers.
        begin, current = word(stream + 40), word(stream + 48)
        return gdb.selected_inferior().read_memory(begin, current - begin).tobytes().decode(errors="replace")
    finally:
        function(ostringstream + "D1Ev", [stream])
        function("free", [stream])


def field(value, name):
    """A member of a value or of one of its bases; None when there is none."""
    for member in value.type.strip_typedefs().fields():
        if member.name == name and not hasattr(member, "bitpos"):
            continue
        if member.name == name:
            return value[member]
        if member.is_base_class:
            found = field(value[member], name)
            if found is not None:
                return found
    return None


def text_at(address):
    """The null-terminated text at an address."""
    return gdb.Value(address).cast(gdb.lookup_type("char").pointer()).string(errors="replace")


def label(node, name):
    """The name of an object of class `name`, or its class and identifier. Needs no debug information."""
    # The fields of TavExtractableI: the virtual functions' table, the environment, the identifier, the name's record.
    identifier, record = word(node + 16), word(node + 24)
    return text_at(word(record)) if record else f"{name}#{identifier}"


def class_of(node):
    """The name of a node's class, from its table of virtual functions; None where there is no such table."""
    try:
        symbol = gdb.execute(f"info symbol {word(node)}", to_string=True)
    except gdb.error:
        return None
    found = re.match(r"vtable for ([\w:() ]+?) ", symbol)
    return found.group(1) if found else None


def structure(node, depth=0):
    """A node by its class and its fields, without a call."""
    name = class_of(node)
    try:
        value = gdb.Value(node).cast(gdb.lookup_type(name).pointer()).dereference()
    except gdb.error:
        return label(node, name)
    if word(node + 24) or field(value, "_domain") is not None:
        return label(node, name)
    if depth == MAX_DEPTH:
        return f"{name}(...)"
    parts = []
    for member in ("_index", "_operand", "_left", "_right", "_condition", "_then", "_else"):
        operand = field(value, member)
        if operand is not None and int(operand):
            parts.append(structure(int(operand), depth + 1))
    terms, summands = field(value, "_terms"), field(value, "_parts")
    if terms is not None and summands is not None:
        cell = terms["first"]
        while int(cell) and len(parts) < MAX_TERMS:
            parts.append(f"{float(cell['coef']):g} * {structure(int(cell['var']), depth + 1)}")
            cell = cell["next"]
        cell = summands["first"]
        while int(cell) and len(parts) < MAX_TERMS:
            parts.append(structure(int(cell["expr"]), depth + 1))
            cell = cell["next"]
        if int(cell):
            parts.append("...")
    for member in ("_constant", "_value", "_truth"):
        constant = field(value, member)
        if constant is not None:
            parts.append(str(constant))
    return f"{name}({', '.join(parts)})"


def text_of(node):
    """A node as a line of text."""
    if node == 0:
        return "(empty)"
    if class_of(node) is None:  # a handle before its construction, for instance
        return f"<no object at {node:#x}>"
    if calls.value:
        try:
            return displayed(node).strip()
        except gdb.error as reason:
            calls.explain(reason)
    return structure(node)


class Handle:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        return text_of(int(field(self.value, "_impl")))


class Term:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        cell = self.value["_cell"]
        return f"{float(cell['coef']):g} * {structure(int(cell['var']))}"


class Environment:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        impl = self.value["_impl"]
        if not int(impl):
            return "(empty)"
        algorithms = impl["_algorithms"]["_M_impl"]
        syntax = "library" if impl["librarySyntaxDisplay"] else "plain"
        count = int(algorithms["_M_finish"] - algorithms["_M_start"])
        return f"environment of {self.objects(impl['_objects'])} objects and {count} algorithms, {syntax} syntax"

    @staticmethod
    def objects(table):
        """As TavObjectTable::count: all identifiers without those in the list of free ones."""
        entries, free = table["_entries"], int(table["_firstFree"])
        count = int(entries["_size"])
        while free >= 0:
            count -= 1
            free = word(int(entries["_words"]) + 8 * free) >> 2
            free -= (free >> 61) << 62  # the sign
        return count


class Array:
    def __init__(self, value):
        impl = int(field(value, "_impl"))
        self.empty = impl == 0
        # The fields of TavArrayI: its definition is in the library's debug information, which may be missing.
        names = ("size", "mask", "shift", "table")
        self.at = {name: 0 if self.empty else word(impl + 32 + 8 * i) for i, name in enumerate(names)}
        base = value.type.strip_typedefs()
        while not re.match(r"Tav(Handle)?Array<", base.name):
            base = next(f.type for f in base.fields() if f.is_base_class)
        self.element = base.template_argument(0)

    def to_string(self):
        return "(empty)" if self.empty else f"array of {self.at['size']}"

    def children(self):
        for i in range(self.at["size"]):
            block = word(self.at["table"] + 8 * (i >> self.at["shift"]))
            at = block + 8 * (i & self.at["mask"])
            yield f"[{i}]", gdb.Value(at).cast(self.element.pointer()).dereference()

    def display_hint(self):
        return "array"


def printers():
    collection = gdb.printing.RegexpCollectionPrettyPrinter("tavexpression")
    collection.add_printer("array", r"^Tav(\w*Array|(Handle)?Array<.*>)$", Array)
    collection.add_printer("term", r"^Tav(Num|Int)LinExprTerm$", Term)
    collection.add_printer("environment", r"^Tav(Scoped)?Env$", Environment)
    handles = r"^Tav((Num|Int)ExprArg|(Num|Int|Bool|SemiCont)Var|(Num|Int)?Expr|Extractable|Constraint|Conversion)$"
    collection.add_printer("handle", handles, Handle)
    return collection


gdb.printing.register_pretty_printer(gdb.current_objfile(), printers(), replace=True)
