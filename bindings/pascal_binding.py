"""tavo45.pas: a unit for Free Pascal and Delphi."""
SCALARS = {"int8_t": "ShortInt", "uint8_t": "Byte", "char": "AnsiChar", "int16_t": "SmallInt",
           "uint16_t": "Word", "int32_t": "LongInt", "uint32_t": "LongWord", "int64_t": "Int64",
           "uint64_t": "UInt64", "uintptr_t": "NativeUInt"}

KEYWORDS = {"file", "type", "procedure", "function", "end", "begin", "array", "record", "string",
            "to", "of", "in", "out", "mod", "div", "set", "with", "var", "const", "unit",
            "result"}

CONVENTION = "{$ifdef WIN32}stdcall{$else}cdecl{$endif}"


def _name(name):
    return name + "_" if name.lower() in KEYWORDS else name


def _scalar(header, kind):
    if kind.pointers == 0:
        return SCALARS.get(kind.name, kind.name)
    if kind.name == "char" and kind.pointers == 1:
        return "PAnsiChar"
    return "Pointer"


def _field(header, field):
    name = _scalar(header, field.type)
    if field.type.count:
        narrow, wide = field.type.count
        high = str(wide - 1) if narrow == wide else (
            f"{{$ifdef CPU64}}{wide - 1}{{$else}}{narrow - 1}{{$endif}}")
        name = f"array[0..{high}] of {name}"
    return f"    {_name(field.name)}: {name};"


def _parameter(header, parameter):
    kind = parameter.type
    is_record = any(r.name == kind.name for r in header.records)
    # By address; a palette may be nil, and has many entries.
    if kind.pointers == 1 and is_record and kind.name != "T_PaletteEntry":
        return f"{'const' if kind.is_const else 'var'} {_name(parameter.name)}: {kind.name}"
    return f"{_name(parameter.name)}: {_scalar(header, kind)}"


def _head(header, name, function):
    parameters = "; ".join(_parameter(header, p) for p in function.parameters)
    brackets = f"({parameters})" if parameters else ""
    if function.result.name == "void" and not function.result.pointers:
        return f"procedure {name}{brackets};"
    return f"function {name}{brackets}: {_scalar(header, function.result)};"


def _declaration(header, function):
    return f"{_head(header, function.name, function)} {CONVENTION}; external LibraryName;"


def generate(header, template):
    lines = ["const"]
    lines += [f"  {name} = {value};" for name, value in header.constants.items()]
    lines += ["", "type"]
    for record in header.records:
        if record.name == "BitmapHandle":
            # Callbacks name it, and it holds one.
            lines += ["  PBitmapHandle = ^BitmapHandle;", ""]
            for callback in header.callbacks:
                parameters = "; ".join(
                    f"{_name(p.name)}: " + ("PBitmapHandle" if p.type.name == "BitmapHandle"
                                            else _scalar(header, p.type))
                    for p in callback.parameters)
                lines += [f"  {callback.name} = function({parameters}): "
                          f"{_scalar(header, callback.result)}; {CONVENTION};"
                          if callback.result.name != "void" else
                          f"  {callback.name} = procedure({parameters}); {CONVENTION};"]
            lines += [""]
        lines += [f"  {record.name} = record"]
        lines += [_field(header, f) for f in record.fields]
        lines += ["  end;", ""]
    lines += [_declaration(header, f) for f in header.functions]
    lines += ["", "{$ifdef MSWINDOWS}"]
    lines += [_declaration(header, f) for f in header.windows]
    lines += ["{$endif}"]
    return template.replace("// @DECLARATIONS@\n", "\n".join(lines) + "\n")
