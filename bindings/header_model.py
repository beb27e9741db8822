"""The public header as data: constants, records, callbacks and functions."""
import pathlib
import re
import subprocess
import tempfile
from dataclasses import dataclass, replace

from pycparser import c_ast, c_parser

ROOT = pathlib.Path(__file__).resolve().parent.parent
HEADER = ROOT / "include" / "tavo45.h"

SIZES = {"int8_t": 1, "uint8_t": 1, "char": 1, "int16_t": 2, "uint16_t": 2, "int32_t": 4,
         "uint32_t": 4, "int64_t": 8, "uint64_t": 8}


@dataclass(frozen=True)
class Type:
    """`name`: a scalar, record or callback, or "void"; `count`: of an array, for pointers of 4 and
    of 8 bytes."""
    name: str
    pointers: int = 0
    is_const: bool = False
    count: tuple = ()


@dataclass(frozen=True)
class Named:
    name: str
    type: Type


@dataclass(frozen=True)
class Function:
    name: str
    result: Type
    parameters: tuple


@dataclass(frozen=True)
class Record:
    name: str
    fields: tuple


@dataclass(frozen=True)
class Header:
    constants: dict
    records: tuple  # each behind those that it contains
    opaque: tuple  # names of records that nobody sees into, the system's handles among them
    callbacks: tuple
    functions: tuple  # those of every system
    windows: tuple  # those that Windows has besides

    def record(self, name):
        return next(r for r in self.records if r.name == name)

    def is_callback(self, name):
        return any(c.name == name for c in self.callbacks)

    def layout(self, record, pointer_bytes):
        """Offsets of the fields by name, and the size, as C lays them out."""
        offsets, at, widest = {}, 0, 1
        for field in record.fields:
            size, alignment = self._size(field.type, pointer_bytes)
            at = -(-at // alignment) * alignment
            offsets[field.name] = at
            at += size
            widest = max(widest, alignment)
        return offsets, -(-at // widest) * widest

    def _size(self, kind, pointer_bytes):
        count = kind.count[pointer_bytes == 8] if kind.count else 1
        if kind.pointers or kind.name == "uintptr_t" or self.is_callback(kind.name):
            return pointer_bytes * count, pointer_bytes
        if kind.name in SIZES:
            return SIZES[kind.name] * count, SIZES[kind.name]
        record = self.record(kind.name)
        alignment = max(self._size(f.type, pointer_bytes)[1] for f in record.fields)
        return self.layout(record, pointer_bytes)[1] * count, alignment


def _preprocessed(*definitions):
    with tempfile.TemporaryDirectory() as folder:
        for name in ("stdint.h", "stddef.h"):
            (pathlib.Path(folder) / name).write_text("", encoding="ascii")
        names = [*SIZES, "uintptr_t"]
        text = subprocess.run(
            ["cpp", "-P", "-nostdinc", "-U__GNUC__", *definitions, "-I", folder, str(HEADER)],
            check=True, capture_output=True, text=True).stdout
    known = "".join(f"typedef int {name};\n" for name in names if name != "char")
    return known + text


def _type(node, is_const=False):
    if isinstance(node, c_ast.PtrDecl):
        inner = _type(node.type)
        return Type(inner.name, inner.pointers + 1, inner.is_const)
    if isinstance(node, c_ast.ArrayDecl):
        inner = _type(node.type)
        return Type(inner.name, inner.pointers, inner.is_const, (int(node.dim.value),))
    assert isinstance(node, c_ast.TypeDecl), node
    return Type(node.type.names[0] if isinstance(node.type, c_ast.IdentifierType) else
                node.type.name, 0, "const" in node.quals)


def _function(name, node):
    parameters = []
    for i, p in enumerate(node.args.params if node.args else ()):
        kind = _type(p.type)
        if kind != Type("void"):
            parameters.append(Named(p.name or f"value{i}", kind))
    return Function(name, _type(node.type), tuple(parameters))


def _parse(*definitions):
    records, opaque, callbacks, functions, handles = [], [], [], [], []
    for item in c_parser.CParser().parse(_preprocessed(*definitions)).ext:
        if isinstance(item, c_ast.Typedef):
            target = item.type
            if isinstance(target, c_ast.PtrDecl) and isinstance(target.type, c_ast.FuncDecl):
                callbacks.append(_function(item.name, target.type))
            elif isinstance(target, c_ast.PtrDecl):
                handles.append(item.name)
            elif isinstance(getattr(target, "type", None), c_ast.Struct):
                declarations = target.type.decls
                if declarations is None:
                    opaque.append(item.name)
                else:
                    fields = tuple(Named(d.name, _type(d.type)) for d in declarations)
                    records.append(Record(item.name, fields))
        elif isinstance(item.type, c_ast.FuncDecl):
            functions.append(_function(item.name, item.type))
    functions = [_with_pointers(f, handles) for f in functions]
    return records, opaque + handles, callbacks, functions


def _with_pointers(function, handles):
    """A handle, whose type is an address already, as the address of something opaque."""
    def resolved(parameter):
        kind = parameter.type
        if kind.name not in handles:
            return parameter
        return Named(parameter.name, replace(kind, pointers=kind.pointers + 1))
    return replace(function, parameters=tuple(map(resolved, function.parameters)))


def _constants():
    text = HEADER.read_text(encoding="utf-8").replace("\\\n", " ")
    text = re.sub(r"/\*.*?\*/", " ", text, flags=re.S)
    found = {}
    for name, value in re.findall(r"^#define (T_[A-Z0-9_]+)[ \t]+(\S.*?)[ \t]*$", text, re.M):
        number = re.sub(r"\b(0x[0-9A-Fa-f]+|\d+)[uU]\b", r"\1", value)
        if re.fullmatch(r"[-+()x0-9A-Fa-f ]+", number):
            found[name] = eval(number, {})  # digits, signs and brackets alone
    return found


def _both(narrow, wide):
    if not narrow.type.count:
        return wide
    kind = wide.type
    return Named(wide.name, Type(kind.name, kind.pointers, kind.is_const,
                                 (narrow.type.count[0], kind.count[0])))


def read():
    """The header as 32-bit and 64-bit programs see it on Windows, which has all of it, in one."""
    windows = ("-D_WIN32", "-D_WIN64")  # with the second the calling convention has no name
    narrow = _parse(*windows, "-DUINTPTR_MAX=0xFFFFFFFFu")[0]
    records, opaque, callbacks, functions = _parse(*windows, "-DUINTPTR_MAX=0xFFFFFFFFFFFFFFFFu")
    everywhere = {f.name for f in _parse("-DUINTPTR_MAX=0xFFFFFFFFFFFFFFFFu")[3]}
    both = tuple(Record(w.name, tuple(map(_both, n.fields, w.fields)))
                 for n, w in zip(narrow, records))
    return Header(_constants(), both, tuple(opaque), tuple(callbacks),
                  tuple(f for f in functions if f.name in everywhere),
                  tuple(f for f in functions if f.name not in everywhere))
