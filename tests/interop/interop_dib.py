"""Device-independent bitmaps, through the shared library, against Pillow and ImageMagick: what the
library makes is read by them behind a file header, and what they write is taken without theirs.

usage: interop_dib.py LIBRARY

The last line is "N passed, N failed".
"""

import ctypes
import io
import struct
import subprocess
import sys

import numpy as np
from PIL import Image

from interop_process import Bitmap

passed = failed = 0


def check(name, got, want, tolerance=0):
    global passed, failed
    same = got.shape == want.shape and np.abs(got.astype(int) - want).max() <= tolerance
    passed += same
    failed += not same
    if not same:
        print(f'FAILED: {name}', got.shape, want.shape)


def seen_by_library(bitmap):
    """Red, green, blue, top row first."""
    rows = np.zeros((bitmap.height, bitmap.line), np.uint8)
    library.T_AccessBitmap(ctypes.byref(bitmap))
    ctypes.memmove(rows.ctypes.data, bitmap.data, rows.size)
    rows = rows[::-1] if bitmap.perspective >= 2 else rows
    if bitmap.bits <= 8:
        indices = np.unpackbits(rows, axis=1).reshape(bitmap.height, -1, bitmap.bits)
        indices = np.packbits(indices, axis=2)[:, :bitmap.width, 0] >> (8 - bitmap.bits)
        return np.array(bitmap.palette, np.uint8)[indices][..., 2::-1]
    if bitmap.bits == 16:
        pixels = rows.view(np.uint16)[:, :bitmap.width].astype(int)
        fields = np.stack([pixels >> shift & 31 for shift in (10, 5, 0)], axis=2)
        return (fields << 3 | fields >> 2).astype(np.uint8)
    size = bitmap.bits // 8
    return rows[:, :bitmap.width * size].reshape(bitmap.height, -1, size)[..., 2::-1]


def take(dib):
    bitmap = Bitmap()
    status = library.T_ConvertFromDIB(dib, len(dib), ctypes.byref(bitmap))
    assert status == 1, status
    return bitmap


def make(bitmap):
    dib, size = ctypes.c_void_p(), ctypes.c_uint32()
    assert library.T_ConvertToDIB(ctypes.byref(bitmap), ctypes.byref(dib), ctypes.byref(size)) == 1
    block = ctypes.string_at(dib, size.value)
    library.T_FreeDIB(dib)
    return block


def in_file(dib):
    """With a file header; the table as long as the header says."""
    bits, used = struct.unpack_from('<H', dib, 14)[0], struct.unpack_from('<I', dib, 32)[0]
    table = 4 * (used or (1 << bits if bits <= 8 else 0))
    return struct.pack('<2sIHHI', b'BM', 14 + len(dib), 0, 0, 54 + table) + dib


def main():
    random = np.random.default_rng(45)
    color = Image.fromarray(random.integers(0, 256, (19, 37, 3), np.uint8))
    pictures = [('1', color.convert('1')), ('P', color.quantize(200)), ('L', color.convert('L')),
                ('RGB', color), ('RGBA', color.convert('RGBA'))]
    for mode, picture in pictures:
        want = np.array(picture.convert('RGB'))
        file = io.BytesIO()
        picture.save(file, 'DIB')
        bitmap = take(file.getvalue())
        check(f'from Pillow, {mode}', seen_by_library(bitmap), want)
        check(f'grey, {mode}', np.array(bitmap.flags >> 8 & 1), np.array(mode == 'L'))
        for order, perspective in ((1, 2), (0, 2), (1, 0), (0, 0)):
            bitmap.order, bitmap.perspective = order, perspective
            want = seen_by_library(bitmap)[..., ::1 if order or bitmap.bits <= 8 else -1]
            made = in_file(make(bitmap))
            image = Image.open(io.BytesIO(made))
            check(f'Pillow reads {mode}, {order}, {perspective}', np.array(image.convert('RGB')), want)
        library.T_FreeBitmap(ctypes.byref(bitmap))

    source = io.BytesIO()
    color.save(source, 'PPM')
    for name, options in (('4 bits', ['-colors', '16', '-compress', 'None', '-depth', '4']),
                          ('RLE8', ['-colors', '90', '-compress', 'RLE']),
                          ('core header', ['BMP2:-']), ('40 bytes', ['BMP3:-']),
                          ('565', ['-define', 'bmp:subtype=RGB565', 'BMP:-']),
                          ('555', ['-define', 'bmp:subtype=RGB555', 'BMP:-'])):
        target = options.pop() if options[-1].startswith('BMP') else 'BMP:-'
        file = subprocess.run(['convert', 'PPM:-', *options, target], input=source.getvalue(),
                              stdout=subprocess.PIPE, check=True).stdout
        back = subprocess.run(['convert', 'BMP:-', '-depth', '8', 'RGB:-'], input=file,
                              stdout=subprocess.PIPE, check=True).stdout
        want = np.frombuffer(back, np.uint8).reshape(19, 37, 3)
        # ImageMagick repeats the upper bits where this library rounds.
        check(f'from ImageMagick, {name}', seen_by_library(take(file[14:])), want, name == '565')
    print(f'{passed} passed, {failed} failed')
    return 0 if failed == 0 and passed >= 36 else 1


if __name__ == '__main__':
    library = ctypes.CDLL(sys.argv[1])
    sys.exit(main())
