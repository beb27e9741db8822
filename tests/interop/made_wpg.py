"""WordPerfect Graphics made to be drawn, by the published layouts of records."""

import math
import struct

FRAMED, CLOSED, FILLED, WINDING = 0x8000, 0x4000, 0x2000, 0x1000
ALL = FRAMED | CLOSED | FILLED
MOVED, SKEWED, SCALED, TURNED = 2, 4, 8, 16
ONE = 0x10000
STAR = [(round(2400 + 1600 * math.sin(4 * math.pi * i / 5)),
         round(1800 + 1600 * math.cos(4 * math.pi * i / 5))) for i in range(5)]
BENDS = [(200, 200, 600, 600, 1000, 3400), (1800, 3000, 2400, 3000, 3000, 3000),
         (3000, 600, 4000, 600, 4600, 200)]


def words(*values):
    return b''.join(struct.pack('<H', value & 0xFFFF) for value in values)


def longs(*values):
    return b''.join(struct.pack('<I', value & 0xFFFFFFFF) for value in values)


def head(version):
    return b'\xffWPC' + longs(16) + bytes([1, 0x16, version, 0]) + words(0, 0)


def length(count):
    return bytes([count]) if count < 255 else b'\xff' + words(count)


def record1(kind, data):
    return bytes([kind]) + length(len(data)) + data


def record(kind, data, follow=0):
    return bytes([0, kind, follow]) + length(len(data)) + data


def points(corners):
    return words(len(corners), *(value for corner in corners for value in corner))


def brush(*color):
    return record(0x31, bytes([0, *color]).ljust(5, b'\0'))


def pen(width, *color):
    return record(0x2B, words(width, width)) + record(0x26, bytes(color).ljust(4, b'\0'))


def polygon(corners, flags=ALL, numbers=b''):
    return record(0x15, words(flags) + numbers + points(corners))


def curve(flags):
    return record(0x17, words(flags, 3) + b''.join(words(*bend) for bend in BENDS))


def box(flags, *values):
    return record(0x18, words(flags, *values))


def arc(flags, numbers, *values):
    return record(0x19, words(flags) + numbers + words(*values))


def drawing2(*records, long=False):
    size = [0, 0, 4800, 3600] * 2
    corners = longs(*(value << 16 for value in size)) if long else words(*size)
    start = record(1, words(1200, 1200) + bytes([long]) + corners)
    return head(2) + start + b''.join(records) + record(2, b'')


def drawings():
    """(name, file) of each. All are 4 by 3 inches."""
    small = [(x // 2, y // 2) for x, y in STAR]
    turn = longs(30 * ONE, 56756, 56756, ONE // 2, -ONE // 2)
    yield 'polygons', drawing2(pen(60, 200, 0, 0), brush(0, 160, 0), polygon(STAR),
                               pen(60, 0, 0, 255), polygon(small, ALL | WINDING))
    yield 'boxes', drawing2(pen(50, 0, 0, 0), brush(255, 128, 0), box(ALL, 600, 600, 2600, 1800, 0, 0),
                            brush(0, 128, 255), box(ALL, 2800, 2000, 4600, 3400, 400, 200))
    yield 'ellipses', drawing2(pen(50, 128, 0, 128), brush(255, 255, 0),
                               arc(ALL, b'', 1200, 1800, 1000, 1400, 0, 0, 0, 0),
                               arc(FRAMED, b'', 3400, 1800, 1000, 1400, 1000, 0, 0, 1400),
                               arc(FRAMED | TURNED, turn, 2400, 1800, 800, 200, 0, 0, 0, 0))
    yield 'curves', drawing2(pen(60, 0, 100, 0), brush(220, 220, 255), curve(ALL))
    yield 'moved', drawing2(pen(50, 0, 0, 0), brush(250, 100, 100),
                            polygon(STAR, ALL | SCALED, longs(ONE // 2, ONE // 2)),
                            polygon(small, ALL | MOVED, words(0) + longs(2000) + words(0) + longs(0)),
                            polygon(small, ALL | SKEWED, longs(ONE // 4, ONE // 8)))
    yield 'compound', drawing2(pen(50, 0, 0, 120), brush(0, 200, 200),
                               record(0x1A, words(ALL), 2), polygon(STAR, 0), curve(0),
                               polygon(small))
    yield 'clear', drawing2(pen(60, 0, 0, 255), brush(255, 0, 0, 128), polygon(STAR))
    far = longs(*(value << 16 for corner in STAR for value in corner))
    yield 'long', drawing2(record(0x32, b'\0' + words(0x1E00, 0x3C00, 0xC800, 0)),
                           record(0x15, words(FILLED | CLOSED, 5) + far), long=True)
    yield 'version 1', (head(1) + record1(0x0F, bytes([1, 0]) + words(4800, 3600)) +
                        record1(0x0E, words(3, 2) + bytes([200, 40, 0, 0, 60, 160])) +
                        record1(1, bytes([1, 3])) + record1(2, bytes([1, 4]) + words(60)) +
                        record1(8, points(STAR)) + record1(7, words(200, 200, 1200, 800)) +
                        record1(9, words(4000, 800, 600, 400, 30, 0, 0, 0)) + record1(0x10, b''))
