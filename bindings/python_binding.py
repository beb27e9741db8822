"""tavo45.py: constants, records and functions for ctypes, between the two halves of the template."""
SCALARS = {"int8_t": "c_int8", "uint8_t": "c_uint8", "char": "c_char", "int16_t": "c_int16",
           "uint16_t": "c_uint16", "int32_t": "c_int32", "uint32_t": "c_uint32",
           "int64_t": "c_int64", "uint64_t": "c_uint64", "uintptr_t": "c_size_t"}


def _type(header, kind):
    if kind.pointers == 0:
        if kind.name == "void":
            return "None"
        name = "c." + SCALARS[kind.name] if kind.name in SCALARS else kind.name
        if not kind.count:
            return name
        narrow, wide = kind.count
        return f"{name} * {wide}" if narrow == wide else f"{name} * ({wide} if _WIDE else {narrow})"
    if kind.name == "char" and kind.pointers == 1:
        return "c.c_char_p"
    # None, an address, ctypes' own objects and byref() are all taken for these.
    return "c.c_void_p"


def generate(header, template):
    lines = [f"{name} = {value}" for name, value in header.constants.items()]
    for callback in header.callbacks:
        kinds = [_type(header, callback.result)]
        kinds += [_type(header, p.type) for p in callback.parameters]
        lines += ["", f"{callback.name} = _CALLBACK({', '.join(kinds)})"]
    for record in header.records:
        lines += ["", "", f"class {record.name}(c.Structure):", "    _fields_ = ["]
        lines += [f'        ("{f.name}", {_type(header, f.type)}),' for f in record.fields]
        lines += ["    ]"]
    lines += ["", "", "def _declare(library):"]
    lines += _prototypes(header, header.functions, "    ")
    lines += ['    if sys.platform == "win32":']
    lines += _prototypes(header, header.windows, "        ")
    return template.replace("# @DECLARATIONS@\n", "\n".join(lines) + "\n")


def _prototypes(header, functions, indent):
    for function in functions:
        kinds = ", ".join(_type(header, p.type) for p in function.parameters)
        yield f"{indent}library.{function.name}.restype = {_type(header, function.result)}"
        yield f"{indent}library.{function.name}.argtypes = [{kinds}]"
