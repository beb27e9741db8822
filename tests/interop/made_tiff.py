"""TIFF files of every kind of samples, coding and layout, made byte by byte, and what they show:
as TIFF 6.0 says, and as libtiff shows them. Used by interop_tiff.py."""

import ctypes
import ctypes.util
import struct
import zlib

WIDTH, HEIGHT = 37, 29
RAW, DEFLATE, PACKBITS = 1, 8, 32773


# ---- libtiff, as a library ----

def open_libtiff():
    lib = ctypes.CDLL(ctypes.util.find_library('tiff') or 'libtiff.so.6')
    lib.TIFFOpen.restype = ctypes.c_void_p
    lib.TIFFClose.argtypes = [ctypes.c_void_p]
    lib.TIFFReadRGBAImageOriented.argtypes = [ctypes.c_void_p, ctypes.c_uint32, ctypes.c_uint32,
                                              ctypes.c_void_p, ctypes.c_int, ctypes.c_int]
    for quiet in (lib.TIFFSetErrorHandler, lib.TIFFSetWarningHandler):
        quiet.argtypes = [ctypes.c_void_p]
        quiet(None)
    return lib


LIBTIFF = open_libtiff()


def seen_by_libtiff(path, orientation, width, height):
    """(width, height, triples), rows as stored; None where libtiff cannot."""
    handle = LIBTIFF.TIFFOpen(str(path).encode(), b'r')
    if not handle:
        return None
    raster = (ctypes.c_uint32 * (width * height))()
    good = LIBTIFF.TIFFReadRGBAImageOriented(handle, width, height, raster, orientation, 1)
    LIBTIFF.TIFFClose(handle)
    return (width, height, bytes(v >> shift & 255 for v in raster for shift in (0, 8, 16))) \
        if good else None


# ---- Codings ----

def packbits(data):
    return b''.join(bytes([len(part) - 1]) + part
                    for part in (data[i:i + 128] for i in range(0, len(data), 128)))


def encode(data, coding):
    return {RAW: bytes, DEFLATE: zlib.compress, PACKBITS: packbits}[coding](data)


def reverse_bits(data):
    return bytes(int(f'{byte:08b}'[::-1], 2) for byte in data)


# ---- Files ----

def tiff(tags, blocks, order='<', wide=False, tiled=False, before=b''):
    """`tags`: number -> (type, values). `wide`: 64-bit offsets. `before`: what stands between the
    header and the strips or tiles."""
    word = 'Q' if wide else 'L'
    head = (b'II' if order == '<' else b'MM') + struct.pack(
        order + ('HHHQ' if wide else 'HL'), *((43, 8, 0, 0) if wide else (42, 0)))
    body, offsets = bytearray(head + before + bytes(len(before) % 2)), []
    for block in blocks:
        offsets.append(len(body))
        body += block + bytes(len(block) % 2)
    tags = dict(tags)
    if blocks:
        tags[324 if tiled else 273] = (4, offsets)
        tags[325 if tiled else 279] = (4, [len(block) for block in blocks])
    room, entries = 8 if wide else 4, b''
    for number in sorted(tags):
        kind, values = tags[number]
        data = struct.pack(order + {3: 'H', 4: 'L', 5: 'L'}[kind] * len(values), *values)
        count = len(values) // (2 if kind == 5 else 1)
        if len(data) > room:
            at = len(body)
            body += data + bytes(len(data) % 2)
            data = struct.pack(order + word, at)
        entries += struct.pack(order + 'HH' + word, number, kind, count) + data.ljust(room, b'\0')
    where = len(body)
    body += struct.pack(order + ('Q' if wide else 'H'), len(tags)) + entries + bytes(room)
    struct.pack_into(order + word, body, 8 if wide else 4, where)
    return bytes(body)


# ---- Pictures ----

class Kind:
    """Samples of one kind: how many, how large, what colour they make."""

    def __init__(self, name, photometric, bits, samples, color, tags=None, tolerance=0):
        self.name, self.photometric, self.bits, self.samples = name, photometric, bits, samples
        self.color, self.tags, self.tolerance = color, tags or {}, tolerance

    def pixel(self, x, y):
        top = (1 << self.bits) - 1
        values = [(x * (7 + 5 * s) + y * (11 - 3 * s) + x * y * (s + 1)) * (257 if self.bits == 16
                                                                          else 1) & top
                  for s in range(self.samples)]
        if 338 in self.tags and self.tags[338][1] == [1]:  # colours are below their alpha
            values = [min(v, values[-1]) for v in values]
        return values

    def picture(self, width=WIDTH, height=HEIGHT):
        return bytes(v for y in range(height) for x in range(width)
                     for v in self.color(*self.pixel(x, y)))


def gray(bits, inverse=False):
    top = (1 << bits) - 1

    def color(v, *_):
        level = (v >> 8 if bits == 16 else v * 255 // top) ^ (255 if inverse else 0)
        return level, level, level
    return color


def high(bits):
    return lambda r, g, b, *_: tuple(v >> 8 if bits == 16 else v * 255 // ((1 << bits) - 1)
                                     for v in (r, g, b))


def cmyk(c, m, y, k, *_):
    return tuple((255 - v) * (255 - k) // 255 for v in (c, m, y))


def ycc(y, cb, cr):
    cb, cr = cb - 128, cr - 128
    r, b = y + 1.402 * cr, y + 1.772 * cb
    g = (y - 0.114 * b - 0.299 * r) / 0.587
    return tuple(min(max(round(v), 0), 255) for v in (r, g, b))


def palette(bits):
    levels = [[(i * (31 + 17 * c) + 5 * c) & 255 for i in range(1 << bits)] for c in range(3)]
    tags = {320: (3, [v * 257 for channel in levels for v in channel])}
    return Kind(f'palette of {bits} bits', 3, bits, 1,
                lambda i: tuple(channel[i] for channel in levels), tags)


def kinds():
    found = [palette(bits) for bits in (1, 2, 4, 8)]
    for bits in (1, 2, 4, 8, 16):
        tolerance = 1 if bits == 16 else 0
        found.append(Kind(f'grey of {bits} bits', 1, bits, 1, gray(bits), tolerance=tolerance))
        found.append(Kind(f'white is zero, {bits} bits', 0, bits, 1, gray(bits, True),
                          tolerance=tolerance))
    for bits in (4, 8, 16):
        found.append(Kind(f'RGB of {bits} bits', 2, bits, 3, high(bits),
                          tolerance=1 if bits == 16 else 0))
    for bits in (8, 16):
        for alpha, name in ((0, 'unknown'), (1, 'associated'), (2, 'unassociated')):
            found.append(Kind(f'RGB of {bits} bits, {name} alpha', 2, bits, 4, high(bits),
                              {338: (3, [alpha])}, 1 if bits == 16 else 0))
    found.append(Kind('grey and alpha', 1, 8, 2, gray(8), {338: (3, [2])}))
    found.append(Kind('CMYK', 5, 8, 4, cmyk, {332: (3, [1])}, 1))
    found.append(Kind('CMYK and one more', 5, 8, 5, cmyk, {332: (3, [1]), 338: (3, [0])}, 1))
    found.append(Kind('YCbCr', 6, 8, 3, ycc, {530: (3, [1, 1]),
                                              532: (5, [0, 1, 255, 1, 128, 1, 255, 1, 128, 1, 255,
                                                        1])}, 2))
    return found


def pack(samples, bits, order):
    if bits == 16:
        return struct.pack(f'{order}{len(samples)}H', *samples)
    if bits == 8:
        return bytes(samples)
    line = ''.join(f'{v:0{bits}b}' for v in samples)
    return bytes(int(line[i:i + 8].ljust(8, '0'), 2) for i in range(0, len(line), 8))


def rows_of(kind, plane, x0, y0, width, height, order, predicts):
    """Packed rows of a block; outside the picture, what lies there."""
    rows = []
    for y in range(y0, y0 + height):
        pixels = [kind.pixel(x, y) for x in range(x0, x0 + width)]
        if plane is not None:
            pixels = [[p[plane]] for p in pixels]
        samples, step, mask = [v for p in pixels for v in p], len(pixels[0]), (1 << kind.bits) - 1
        if predicts:
            samples = samples[:step] + [b - a & mask for a, b in zip(samples, samples[step:])]
        rows.append(pack(samples, kind.bits, order))
    return b''.join(rows)


def made(kind, coding=RAW, order='<', tile=None, strip=None, planar=False, predicts=False,
         reverses=False, wide=False, orientation=1):
    planes = range(kind.samples) if planar else [None]
    across, down = tile or (WIDTH, strip or HEIGHT)
    blocks = []
    for plane in planes:
        for y in range(0, HEIGHT, down):
            for x in range(0, WIDTH, across):
                rows = down if tile else min(down, HEIGHT - y)
                data = encode(rows_of(kind, plane, x, y, across, rows, order, predicts), coding)
                blocks.append(reverse_bits(data) if reverses else data)
    tags = {256: (4, [WIDTH]), 257: (4, [HEIGHT]), 258: (3, [kind.bits] * kind.samples),
            259: (3, [coding]), 262: (3, [kind.photometric]),
            274: (3, [orientation]), 277: (3, [kind.samples]), 284: (3, [2 if planar else 1])}
    tags |= {322: (4, [across]), 323: (4, [down])} if tile else {278: (4, [down])}
    if predicts:
        tags[317] = (3, [2])
    if reverses:
        tags[266] = (3, [2])
    return tiff(tags | kind.tags, blocks, order, wide, tile is not None)


def layouts(kind):
    """Named arguments of made(): not every product, but every value with every kind. LZW is left to
    other programs."""
    found = [{'coding': coding} for coding in (RAW, DEFLATE, PACKBITS)]
    found += [{'order': '>'}, {'order': '>', 'coding': DEFLATE, 'strip': 5}, {'wide': True},
              {'wide': True, 'order': '>', 'strip': 4}, {'tile': (16, 16)}, {'reverses': True},
              {'tile': (32, 16), 'coding': DEFLATE, 'order': '>'}, {'strip': 7},
              {'coding': PACKBITS, 'reverses': True}]
    if kind.bits in (8, 16):
        found += [{'coding': DEFLATE, 'order': order, 'predicts': True} for order in '<>']
        found.append({'coding': DEFLATE, 'predicts': True, 'tile': (16, 32)})
    if kind.samples > 1 and kind.bits >= 8:
        found += [{'planar': True}, {'planar': True, 'coding': PACKBITS, 'strip': 6, 'order': '>'},
                  {'planar': True, 'tile': (16, 16)}]
        found.append({'planar': True, 'coding': DEFLATE, 'predicts': True})
    return found


# ---- YCbCr with shared colours ----

def shared_colors(across, down, coding=RAW, order='<', strip=None):
    """(file, picture): units of across * down brightness samples, then a pair of colours."""
    def unit(x, y):
        return ((x * 5 + y * 3) & 255, (x * 9 + 40) & 255, (y * 7 + 90) & 255)

    rows, want = strip or HEIGHT, bytearray()
    for y in range(HEIGHT):
        for x in range(WIDTH):
            _, cb, cr = unit(x // across, y // down)
            want += bytes(ycc((x * 6 + y * 9) & 255, cb, cr))
    blocks = []
    for y0 in range(0, HEIGHT, rows):
        data = bytearray()
        for y in range(y0, min(y0 + rows, HEIGHT), down):
            for x in range(0, WIDTH, across):
                data += bytes((x + i) * 6 + (y + j) * 9 & 255 for j in range(down)
                              for i in range(across))
                data += bytes(unit(x // across, y // down)[1:])
        blocks.append(encode(bytes(data), coding))
    tags = {256: (3, [WIDTH]), 257: (3, [HEIGHT]), 258: (3, [8, 8, 8]), 259: (3, [coding]),
            262: (3, [6]), 277: (3, [3]), 278: (4, [rows]), 530: (3, [across, down]),
            532: (5, [0, 1, 255, 1, 128, 1, 255, 1, 128, 1, 255, 1])}
    return tiff(tags, blocks, order), bytes(want)
