"""Exchanges pictures with other programs, through the command line.

usage: interop.py TAVO

What tavo writes, other programs must read to the same pixels, and the other way round. A program
that is missing, and fewer checks than there were, are failures; the last line is "N passed, N
failed".
"""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

CONVERT = '/usr/bin/convert'  # ImageMagick's; another program may be first in the path
passed = failed = 0
tavo = ''
folder = pathlib.Path()


def run(*command, stdin=None):
    """The standard output of a program, None when it fails."""
    done = subprocess.run([str(c) for c in command], input=stdin, capture_output=True, timeout=120)
    return done.stdout if done.returncode == 0 else None


def start(*programs):
    """Fails for each of the programs, Pillow among them, that is not there."""
    global tavo
    tavo = os.path.abspath(sys.argv[1])
    for program in programs:
        check(program, shutil.which(program), shutil.which(program) or 'installed')
    check('Pillow', run('/usr/bin/python3', '-c', 'import PIL'), b'')


def finish(floor):
    """The exit status, after the sum."""
    check(f'all of at least {floor} checks', passed + failed >= floor, True)
    print(f'{passed} passed, {failed} failed')
    return 1 if failed else 0


def rgb(pnm):
    """(width, height, triples) of a PBM, PGM or PPM file with 8 bits per sample."""
    if not pnm or pnm[:2] not in (b'P4', b'P5', b'P6'):
        return None
    fields, at = [], 2
    while len(fields) < (2 if pnm[:2] == b'P4' else 3):
        while pnm[at:at + 1].isspace():
            at += 1
        if pnm[at:at + 1] == b'#':
            at = pnm.index(b'\n', at)
            continue
        end = at
        while not pnm[end:end + 1].isspace():
            end += 1
        fields.append(int(pnm[at:end]))
        at = end
    data = pnm[at + 1:]
    width, height = fields[:2]
    if pnm[:2] == b'P6':
        return width, height, data[:3 * width * height]
    if pnm[:2] == b'P5':
        top = fields[2]
        levels = data[:width * height] if top == 255 else bytes(v * 255 // top for v in data)
        return width, height, bytes(v for level in levels for v in (level, level, level))
    line, out = (width + 7) // 8, bytearray()
    for y in range(height):
        for x in range(width):
            bit = data[y * line + x // 8] >> (7 - x % 8) & 1
            out += (b'\0\0\0' if bit else b'\xff\xff\xff')
    return width, height, bytes(out)


def bmp_rgb(path):
    """The same of a BMP file of 24 bits, as tavo writes it."""
    data = pathlib.Path(path).read_bytes()
    at = int.from_bytes(data[10:14], 'little')
    width = int.from_bytes(data[18:22], 'little')
    height = int.from_bytes(data[22:26], 'little')
    line, rows = (3 * width + 3) // 4 * 4, []
    for y in reversed(range(height)):
        row = data[at + y * line:at + y * line + 3 * width]
        out = bytearray(3 * width)
        out[0::3], out[1::3], out[2::3] = row[2::3], row[1::3], row[0::3]
        rows.append(bytes(out))
    return width, height, b''.join(rows)


def seen_by_tavo(path, *options):
    out = folder / 'seen.bmp'
    if run(tavo, 'convert', path, out, '--bits', '24', *options) is None:
        return None
    return bmp_rgb(out)


def check(what, got, want):
    global passed, failed
    if got is not None and got == want:
        passed += 1
        return
    failed += 1
    reason = 'cannot be read' if got is None else 'differs'
    print(f'{what}: {reason}')


def write(name, content):
    path = folder / name
    path.write_bytes(content)
    return path


# ---- Pictures: photographic, of few colours, grey, bilevel; odd widths ----

def pictures():
    width, height = 61, 43
    photo = bytes(v for y in range(height) for x in range(width) for v in
                  ((x * 4) & 255, (y * 5 + x * x // 16) & 255, (x * y + 7 * (x ^ y)) & 255))
    ppm = b'P6\n%d %d\n255\n' % (width, height) + photo
    few = b'P6\n%d %d\n255\n' % (width, height) + bytes(
        v for y in range(height) for x in range(width) for v in
        ((x // 9 % 4) * 80, (y // 7 % 3) * 100, ((x + y) // 11 % 2) * 200))
    gray = b'P5\n%d %d\n255\n' % (width, height) + photo[1::3]
    bits = b'P4\n%d %d\n' % (width, height) + bytes(
        (x * 37 + y * 91) & (0xF8 if x == 7 else 0xFF) for y in range(height) for x in range(8))
    return {'photo': ppm, 'few': few, 'gray': gray, 'bits': bits}


# ---- What each program reads and writes ----

def pillow(path):
    code = ('import sys\nfrom PIL import Image\nim = Image.open(sys.argv[1]).convert("RGB")\n'
            'sys.stdout.buffer.write(b"P6\\n%d %d\\n255\\n" % im.size + im.tobytes())')
    return run('/usr/bin/python3', '-c', code, path)


def readers(extension):
    """Named functions from a file to PNM."""
    netpbm = {'gif': 'giftopnm', 'tga': 'tgatoppm', 'ras': 'rasttopnm',
              'pcx': 'pcxtoppm'}[extension]
    name = 'sun' if extension == 'ras' else extension
    found = {netpbm: lambda path: run(netpbm, path), 'Pillow': pillow,
             'ImageMagick': lambda path: run(CONVERT, f'{name}:{path}[0]', '-depth', '8', 'ppm:-')}
    if extension == 'gif':
        found['gif2rgb'] = gif2rgb
    return found


def gif2rgb(path):
    pixels = run('gif2rgb', '-1', '-o', folder / 'gif2rgb.out', path)
    if pixels is None:
        return None
    raw = pathlib.Path(path).read_bytes()
    width, height = (int.from_bytes(raw[at:at + 2], 'little') for at in (6, 8))
    return b'P6\n%d %d\n255\n' % (width, height) + (folder / 'gif2rgb.out').read_bytes()


def writers(extension, kind, pnm, path):
    """(name, file) of what other programs make of a picture."""
    made = []

    def add(name, content):
        if content:
            made.append((name, write(f'{kind}-{len(made)}.{extension}', content)))

    if extension == 'gif' and kind != 'photo':
        add('pamtogif', run('pamtogif', path))
        add('pamtogif -interlace', run('pamtogif', '-interlace', path))
        add('gifsicle', run('gifsicle', '--interlace', '--careful', made[0][1]))
        add('gifsicle, animated', run('gifsicle', '--delay', '9', made[0][1], made[1][1]))
    if extension == 'tga':
        for options in (['-rgb'], ['-rgb', '-norle'], ['-cmap'], ['-cmap', '-norle']):
            if kind != 'photo' or '-cmap' not in options:
                add('pamtotga ' + ' '.join(options), run('pamtotga', *options, path))
        if kind == 'gray':
            add('pamtotga -mono', run('pamtotga', '-mono', path))
    if extension == 'pcx' and kind != 'bits':
        for options in (['-24bit'], ['-8bit'], [], ['-packed']):
            if kind == 'few' or (kind == 'gray' and options == ['-8bit']) or options == ['-24bit']:
                add('ppmtopcx ' + ' '.join(options), run('ppmtopcx', *options, path))
    # pnmtorast loses the last bits of rows that do not end with a byte.
    if extension == 'ras' and kind != 'bits':
        add('pnmtorast -standard', run('pnmtorast', '-standard', path))
        add('pnmtorast -rle', run('pnmtorast', '-rle', path))
    # ImageMagick reduces grey to fewer levels for GIF.
    if extension != 'gif' or kind in ('few', 'bits'):
        name = 'sun' if extension == 'ras' else extension
        add('ImageMagick', run(CONVERT, path, f'{name}:-'))
        if extension == 'tga':
            add('ImageMagick, runs', run(CONVERT, path, '-compress', 'RLE', 'tga:-'))
    return made


DEPTHS = {'gif': [8], 'tga': [8, 24, 32], 'ras': [1, 8, 24, 32], 'pcx': [1, 4, 8, 24]}
OWN_DEPTH = {'photo': 24, 'few': 24, 'gray': 8, 'bits': 1}

# What other programs cannot do: Pillow knows no 32-bit Sun files and no 4-bit PCX files,
# ImageMagick 6 has the two colours of PCX files the wrong way round.
FOREIGN_FAULTS = {('Pillow', 'pcx', 4), ('ImageMagick', 'pcx', 1), ('Pillow', 'ras', 32)}


def exchange(extension):
    for kind, pnm in pictures().items():
        path = write(f'{kind}.pnm', pnm)
        want = rgb(pnm)
        for name, file in writers(extension, kind, pnm, path):
            upright = flip(want) if is_flipped(name, extension) else want
            check(f'{extension}: {kind} from {name}', seen_by_tavo(file), upright)
        # tavo reads no PNM: the picture comes as BMP, which the tests prove elsewhere.
        source = folder / f'{kind}.bmp'
        run_to(source, 'ppmtobmp', f'-bpp={OWN_DEPTH[kind]}', path)
        for depth in DEPTHS[extension]:
            if depth < OWN_DEPTH[kind]:
                continue
            out = folder / f'ours.{extension}'
            if run(tavo, 'convert', source, out, '--bits', str(depth)) is None:
                check(f'{extension}: tavo writes {kind} at {depth} bits', None, want)
                continue
            for name, read in readers(extension).items():
                if (name, extension, depth) not in FOREIGN_FAULTS:
                    upright = flip(want) if is_flipped(name, extension) else want
                    check(f'{extension}: {kind} at {depth} bits by {name}', rgb(read(out)), upright)


def is_flipped(name, extension):
    """ImageMagick 6 reads and writes TGA files as if the origin were always at the top."""
    return name.startswith('ImageMagick') and extension == 'tga'


def flip(picture):
    width, height, pixels = picture
    return width, height, b''.join(pixels[3 * width * y:3 * width * (y + 1)]
                                   for y in reversed(range(height)))


def run_to(path, *command):
    """Writes a program's output to a file; True when it failed."""
    content = run(*command)
    if content is None:
        return True
    pathlib.Path(path).write_bytes(content)
    return False


def main():
    global folder
    start('giftopnm', 'tgatoppm', 'rasttopnm', 'pcxtoppm', 'gif2rgb', 'gifsicle', 'ppmtobmp', CONVERT)
    with tempfile.TemporaryDirectory() as temporary:
        folder = pathlib.Path(temporary)
        for extension in ['gif', 'tga', 'ras', 'pcx']:
            exchange(extension)
    return finish(155)


if __name__ == '__main__':
    sys.exit(main())
