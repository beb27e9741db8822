"""What the tests of the command line share: pictures that are made and looked at with code of this
file alone, so that reader and writer cannot agree on an error, and runs of the program."""

import json
import os
import struct
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

import jsonschema

IS_WINDOWS = sys.argv[1].endswith(".exe")
PROGRAM = str(Path(sys.argv[1]).absolute())
COMMAND = ["wine", PROGRAM] if IS_WINDOWS else [PROGRAM]

SCHEMAS = Path(__file__).resolve().parent.parent / "docs/schema"

WIDTH, HEIGHT = 13, 5  # odd sizes: padding and part bytes in every row


def palette_of(bits):
    """Distinct colours (red, green, blue) that no rule of thumb would guess."""
    return [((i * 67 + 5) % 256, (i * 31 + 90) % 256, (i * 151 + 200) % 256)
            for i in range(1 << bits)]


def pixel(x, y, bits):
    """The stored value of a test picture's pixel."""
    return (x * 2654435761 + y * 40503 + x * y * 97 + 12345) >> 3 & (1 << bits) - 1


def color(x, y, bits):
    value = pixel(x, y, bits)
    if bits <= 8:
        return palette_of(bits)[value]
    if bits == 16:
        return tuple((value >> shift & 31) << 3 for shift in (10, 5, 0))
    return (value >> 16 & 255, value >> 8 & 255, value & 255)


def picture(bits):
    return [[color(x, y, bits) for x in range(WIDTH)] for y in range(HEIGHT)]


def make_bmp(bits, dots_per_metre=(2835, 5906)):
    row_bytes = (WIDTH * bits + 31) // 32 * 4
    rows = b""
    for y in reversed(range(HEIGHT)):
        number = 0
        for x in range(WIDTH):
            value = pixel(x, y, bits)
            if bits == 16:
                value &= 0x7FFF
            if bits >= 16:  # little-endian pixels, leftmost first
                value = int.from_bytes(value.to_bytes(bits // 8, "little"), "big")
            number = number << bits | value
        number <<= row_bytes * 8 - WIDTH * bits
        rows += number.to_bytes(row_bytes, "big")
    palette = b"".join(bytes((b, g, r, 0)) for r, g, b in palette_of(bits)) if bits <= 8 else b""
    offset = 54 + len(palette)
    return (struct.pack("<2sIHHI", b"BM", offset + len(rows), 0, 0, offset) +
            struct.pack("<IiiHHIIiiII", 40, WIDTH, HEIGHT, 1, bits, 0, len(rows),
                        *dots_per_metre, 0, 0) + palette + rows)


def parse_bmp(data):
    """Depth, dots per metre and colours of an uncompressed bottom-up BMP."""
    magic, size, _, _, offset = struct.unpack_from("<2sIHHI", data)
    assert magic == b"BM" and size == len(data), (magic, size, len(data))
    _, width, height, _, bits, coding, _, x, y, _, _ = struct.unpack_from("<IiiHHIIiiII", data, 14)
    assert coding == 0 and height > 0
    row_bytes = (width * bits + 31) // 32 * 4
    rows = []
    for row in range(height):
        start = offset + (height - 1 - row) * row_bytes
        number = int.from_bytes(data[start:start + row_bytes], "big")
        values = [number >> row_bytes * 8 - (i + 1) * bits & (1 << bits) - 1 for i in range(width)]
        if bits <= 8:
            entries = [data[54 + 4 * v:57 + 4 * v] for v in values]
        else:
            entries = [v.to_bytes(bits // 8, "big")[:3] for v in values]
        rows.append([tuple(reversed(e)) for e in entries])
    return bits, (x, y), rows


def checked_json(schema, text):
    """What `text` says, once it is seen to be as docs/schema describes."""
    document = json.loads(text)
    jsonschema.validate(document, json.loads((SCHEMAS / (schema + ".json")).read_text()))
    return document


def tavo(*arguments):
    """Runs the program. Its output goes through files: services that Wine starts on the way inherit
    what they find, and a pipe would stay open as long as they run."""
    with tempfile.TemporaryFile() as out, tempfile.TemporaryFile() as err:
        done = subprocess.run([*COMMAND, *map(str, arguments)], stdout=out, stderr=err, timeout=120)
        texts = []
        for stream in (out, err):
            stream.seek(0)
            texts.append(stream.read().decode().replace("\r\n", "\n"))
    return subprocess.CompletedProcess(done.args, done.returncode, *texts)


class CliTest(unittest.TestCase):
    def setUp(self):
        holder = tempfile.TemporaryDirectory()
        self.addCleanup(holder.cleanup)
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(holder.name)

    def make(self, bits, name=None, **options):
        name = name or f"in{bits}.bmp"
        Path(name).write_bytes(make_bmp(bits, **options))
        return name

    def succeeds(self, *arguments):
        done = tavo(*arguments)
        self.assertEqual((done.returncode, done.stderr), (0, ""), arguments)
        return done.stdout

    def fails(self, status, file, *arguments):
        """Exit status 1, nothing on standard output, one line of the agreed form."""
        done = tavo(*arguments)
        self.assertEqual(done.returncode, 1, arguments)
        self.assertRegex(done.stderr, rf"\Atavo: [^\n]*\(status {status}\)\n\Z")
        self.assertIn(f"tavo: {file}: ", done.stderr)
        return done.stderr

    def usage_error(self, *arguments):
        done = tavo(*arguments)
        self.assertEqual((done.returncode, done.stdout), (2, ""), arguments)
        self.assertTrue(done.stderr.startswith("tavo: "), done.stderr)
        return done.stderr
