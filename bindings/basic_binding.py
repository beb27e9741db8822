"""tavo45.bas: declarations for Visual Basic 6 and for VBA of 32 and 64 bits."""
SCALARS = {"int8_t": "Byte", "uint8_t": "Byte", "char": "Byte", "int16_t": "Integer",
           "uint16_t": "Integer", "int32_t": "Long", "uint32_t": "Long", "int64_t": "Currency",
           "uint64_t": "Currency", "uintptr_t": "LongPtr"}

# Words of the language, and those that its statements begin with.
KEYWORDS = set("""
and as base boolean byref byte byval call case close const currency date declare dim do double each else
end enum error event exit false for friend function get global goto if implements in input integer is
let like len lock long loop me mod name new next not nothing on open option optional or paramarray print
private property public put read redim rem resume return seek select set single static step stop string
sub then to true type until variant wend while with write xor""".split())


def _name(name):
    return name + "_" if name.lower() in KEYWORDS else name


def _scalar(header, kind):
    is_address = kind.pointers > 0 or header.is_callback(kind.name)
    return "LongPtr" if is_address else SCALARS.get(kind.name, kind.name)


def _fields(header, record):
    for field in record.fields:
        name, kind = _name(field.name), _scalar(header, field.type)
        if field.type.count and field.type.count[0] != field.type.count[1]:
            narrow, wide = field.type.count
            yield "#If Win64 Then"
            yield f"  {name}(0 To {wide - 1}) As {kind}"
            yield "#Else"
            yield f"  {name}(0 To {narrow - 1}) As {kind}"
            yield "#End If"
        elif field.type.name == "char" and field.type.count:
            yield f"  {name}(0 To {field.type.count[0] - 1}) As Byte"
        elif field.type.count:
            yield f"  {name}(0 To {field.type.count[0] - 1}) As {kind}"
        else:
            yield f"  {name} As {kind}"


def _parameter(header, parameter):
    kind, name = parameter.type, _name(parameter.name)
    is_record = any(r.name == kind.name for r in header.records)
    if kind.pointers == 1 and is_record and kind.name != "T_PaletteEntry":
        return f"ByRef {name} As {kind.name}"
    if kind.pointers == 1 and kind.name == "char":
        return f"ByVal {name} As String"
    if kind.pointers == 1 and kind.name in SCALARS and not kind.is_const:
        return f"ByRef {name} As {SCALARS[kind.name]}"
    return f"ByVal {name} As {_scalar(header, kind)}"


def _declaration(header, function):
    parameters = ", ".join(_parameter(header, p) for p in function.parameters)
    if function.result.name == "void" and not function.result.pointers:
        return f'Sub {function.name} Lib "TAVO45.dll" ({parameters})'
    return (f'Function {function.name} Lib "TAVO45.dll" ({parameters}) As '
            f"{_scalar(header, function.result)}")


def _number(value):
    return str(value) if value != -2147483648 else "&H80000000"


def generate(header, template):
    lines = [f"Public Const {name} As Long = {_number(value)}"
             for name, value in header.constants.items()]
    for record in header.records:
        lines += ["", f"Public Type {record.name}", *_fields(header, record), "End Type"]
    functions = header.functions + header.windows
    lines += ["", "#If VBA7 Then"]
    lines += ["Public Declare PtrSafe " + _declaration(header, f) for f in functions]
    lines += ["#Else"]
    lines += ["Public Declare " + _declaration(header, f).replace("LongPtr", "Long")
              for f in functions]
    lines += ["#End If"]
    return template.replace("' @DECLARATIONS@\n", "\n".join(lines) + "\n")
