"""Tavo45.cs: P/Invoke declarations for 32-bit and 64-bit programs."""
SCALARS = {"int8_t": "sbyte", "uint8_t": "byte", "char": "byte", "int16_t": "short",
           "uint16_t": "ushort", "int32_t": "int", "uint32_t": "uint", "int64_t": "long",
           "uint64_t": "ulong", "uintptr_t": "UIntPtr", "void": "void"}

# Words of the language that the header uses as names.
KEYWORDS = {"in", "out", "ref", "params", "object", "string", "event", "base", "checked", "fixed",
            "lock", "internal", "operator"}

# The one record whose layout depends on the size of addresses in its middle is memory of the
# library's size here; a class of the template reads its fields at these offsets.
BITMAP = "BitmapHandle"


def _name(name):
    return "@" + name if name in KEYWORDS else name


def _is_plain(header, record):
    """Whether it is laid out alike everywhere."""
    return header.layout(record, 4) == header.layout(record, 8)


def _field(header, field):
    kind = field.type
    attribute, name = "", SCALARS.get(kind.name, kind.name)
    if kind.pointers:
        name = "IntPtr"
    elif kind.name == BITMAP:
        attribute, name = "[MarshalAs(UnmanagedType.ByValArray, SizeConst = 1280)] ", "byte[]"
    elif kind.count and kind.name == "char":
        attribute = f"[MarshalAs(UnmanagedType.ByValTStr, SizeConst = {kind.count[1]})] "
        name = "string"
    elif kind.count:
        attribute = f"[MarshalAs(UnmanagedType.ByValArray, SizeConst = {kind.count[1]})] "
        name += "[]"
    return f"        {attribute}public {name} {_name(field.name)};"


def _parameter(header, parameter):
    kind, name = parameter.type, _name(parameter.name)
    if kind.pointers == 0:
        return f"{SCALARS.get(kind.name, kind.name)} {name}"
    if kind.name == "T_Rect":
        return f"[In] int[] {name}"  # left, top, right, bottom, or null
    if kind.pointers > 1:
        return f"out IntPtr {name}" if kind.name in header.opaque else f"IntPtr {name}"
    if kind.name == "char":
        return f"string {name}" if kind.is_const else f"StringBuilder {name}"
    if kind.name in ("void", BITMAP) or kind.name in header.opaque:
        return f"IntPtr {name}"
    if kind.name in SCALARS:
        scalar = SCALARS[kind.name]
        return f"{scalar}[] {name}" if kind.is_const else f"out {scalar} {name}"
    if kind.name == "T_PaletteEntry":
        return f"[In] T_PaletteEntry[] {name}"
    return f"{'ref' if kind.is_const else 'out'} {kind.name} {name}"


def _parameters(header, function):
    return ", ".join(_parameter(header, p) for p in function.parameters)


def _result(function):
    kind = function.result
    return "IntPtr" if kind.pointers else SCALARS[kind.name]


def generate(header, template):
    lines = []
    for name, value in header.constants.items():
        kind = "int" if value < 1 << 31 else "uint"
        lines.append(f"        public const {kind} {name} = {value};")
    for callback in header.callbacks:
        parameters = ", ".join(_parameter(header, p).replace("string ", "IntPtr ")
                               for p in callback.parameters)
        lines += ["", "        [UnmanagedFunctionPointer(CallingConvention.StdCall)]",
                  f"        public delegate {_result(callback)} {callback.name}({parameters});"]
    for record in header.records:
        if record.name == BITMAP:
            continue
        lines += ["", "        [StructLayout(LayoutKind.Sequential, CharSet = CharSet.Ansi)]",
                  f"        public struct {record.name}", "        {"]
        lines += ["    " + _field(header, f) for f in record.fields]
        lines += ["        }"]
    for function in header.functions + header.windows:
        lines += ["", "        [DllImport(Library, CharSet = CharSet.Ansi)]",
                  f"        public static extern {_result(function)} {function.name}("
                  f"{_parameters(header, function)});"]
    bitmap = header.record(BITMAP)
    narrow, wide = header.layout(bitmap, 4)[0], header.layout(bitmap, 8)[0]
    offsets = []
    for field in bitmap.fields:
        if field.type.pointers or field.type.count or field.type.name not in ("int32_t", "uint32_t"):
            continue
        kind = SCALARS[field.type.name]
        offsets.append(f"        public {kind} {field.name} => ({kind})Marshal.ReadInt32("
                       f"At, IntPtr.Size == 8 ? {wide[field.name]} : {narrow[field.name]});")
    text = template.replace("        // @DECLARATIONS@\n", "\n".join(lines) + "\n")
    return text.replace("        // @FIELDS@\n", "\n".join(offsets) + "\n")
