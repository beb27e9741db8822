"""Exchanges TIFF and CALS pictures with other programs, through the command line.

usage: interop_tiff.py TAVO

Every variant that tavo writes is read by libtiff's tools, ImageMagick and netpbm, and must pass
tiffinfo and tiffdump without a warning; every coding that tiffcp, ImageMagick, Ghostscript, netpbm
and fax2tiff write is read by tavo, and so are files of every kind made here, also as libtiff shows
them. The last line is "N passed, N failed".
"""

import json
import pathlib
import subprocess
import sys
import tempfile

import interop
import made_tiff
from interop import CONVERT, OWN_DEPTH, check, pillow, rgb, run, seen_by_tavo

# Save variants by format identifier, with the depths that their codings have.
VARIANTS = {3: (1, 4, 8, 24), 17: (1, 4, 8, 24), 29: (1, 4, 8, 24), 25: (1,), 27: (1,), 28: (1,)}
BILEVEL = ['none', 'packbits', 'lzw', 'zip', 'g3:1d', 'g3:2d', 'g3:1d:fill', 'g3:2d:fill', 'g4']
OTHERS = ['none', 'packbits', 'lzw', 'lzw:2', 'zip', 'zip:2']


def complaints(path):
    """What tiffinfo and tiffdump have to say against a file."""
    return b''.join(subprocess.run(command, capture_output=True, timeout=60).stderr
                    for command in (['tiffinfo', '-D', path], ['tiffdump', path]))


READERS = {'tifftopnm': lambda path: run('tifftopnm', path), 'Pillow': pillow,
           'ImageMagick': lambda path: run(CONVERT, f'tiff:{path}[0]', '-depth', '8', 'ppm:-')}


def ours(folder, kind, source, want):
    for variant, depths in VARIANTS.items():
        for depth in depths:
            if depth < OWN_DEPTH[kind]:
                continue
            out = folder / f'{kind}-{variant}-{depth}.tif'
            if run(interop.tavo, 'convert', source, out, '--format', str(variant), '--bits',
                   str(depth)) is None:
                check(f'tavo writes {kind} as {variant} with {depth} bits', None, want)
                continue
            check(f'{out.name} without a warning', complaints(out), b'')
            for name, read in READERS.items():
                check(f'{out.name} by {name}', rgb(read(out)), want)
            for coding in BILEVEL if depth == 1 else OTHERS:
                if coding.endswith(':2') and depth == 4:
                    continue  # libtiff knows no predictor for these
                again = folder / 'again.tif'
                run('tiffcp', '-c', coding, out, again)
                check(f'{out.name} by tiffcp -c {coding}', seen_by_tavo(again), want)


def theirs(folder, kind, path, want):
    plain = folder / f'{kind}-plain.tif'
    if interop.run_to(plain, 'pamtotiff', '-truecolor', path):
        interop.run_to(plain, 'pamtotiff', path)
    layouts = [[], ['-B'], ['-r', '3'], ['-t', '-w', '16', '-l', '16'], ['-f', 'lsb2msb']]
    if kind in ('photo', 'few'):
        layouts.append(['-p', 'separate'])
    for coding in BILEVEL if kind == 'bits' else OTHERS:
        for layout in layouts:
            if coding.startswith('g3') and '-t' in layout:
                continue  # libtiff itself cannot read these
            out = folder / 'theirs.tif'
            if run('tiffcp', '-c', coding, *layout, plain, out) is not None:
                check(f'{kind} by tiffcp -c {coding} {" ".join(layout)}', seen_by_tavo(out), want)


def fax(folder, path, want):
    """Pages of fax programs, and CALS. fax2tiff may add a row for the return-to-control code."""
    raw = interop.write('fax.g3', run('pbmtog3', '-nofixedwidth', path))
    for option in ('-7', '-8'):  # output as Group 3, as Group 4
        out = folder / f'f{option}.tif'
        run('fax2tiff', '-M', '-X', str(want[0]), option, '-o', out, raw)
        got = seen_by_tavo(out)
        check(f'fax2tiff {option}', got and (got[0], want[1], got[2][:len(want[2])]), want)
    for kind, name in (('Group4', 'im.tif'), ('Fax', 'im.tif'), ('Group4', 'cals:im.cal')):
        out = folder / name.removeprefix('cals:')
        run(CONVERT, path, '-compress', kind, f'cals:{out}' if name != 'im.tif' else out)
        check(f'ImageMagick {kind}, {name}', seen_by_tavo(out), want)


def ghostscript(folder):
    page = ('/Times-Roman findfont 20 scalefont setfont 20 20 moveto (Fax) show '
            '10 10 100 3 rectfill showpage')
    for device in ('tiffg3', 'tiffg32d', 'tiffg4', 'tifflzw', 'tiffpack', 'tiffgray', 'tiff24nc'):
        out = folder / f'{device}.tif'
        run('gs', '-q', '-dSAFER', '-dBATCH', '-dNOPAUSE', f'-sDEVICE={device}', '-g203x131',
            '-r100', f'-sOutputFile={out}', '-c', page)
        check(f'Ghostscript {device}', seen_by_tavo(out), rgb(pillow(out)))


def cals(folder, source, want):
    """ImageMagick reads only headers padded with blanks, so the Group 4 data behind ours, which
    fax2tiff takes as they are, have to do."""
    out, tiff = folder / 'ours.cal', folder / 'body.tif'
    run(interop.tavo, 'convert', source, out, '--bits', '1')
    body = interop.write('body.g4', out.read_bytes()[2048:])
    run('fax2tiff', '-4', '-M', '-X', str(want[0]), '-8', '-o', tiff, body)
    got = rgb(pillow(tiff))
    check('CALS by fax2tiff', got and (got[0], want[1], got[2][:len(want[2])]), want)


def close(got, want, tolerance):
    """`want` when `got` is near it, otherwise `got`: what check() compares."""
    if got is None or want is None or got[:2] != want[:2] or len(got[2]) != len(want[2]):
        return got
    return want if all(abs(a - b) <= tolerance for a, b in zip(got[2], want[2])) else got


def kinds():
    """Every kind of samples in every layout, as TIFF 6.0 and libtiff have it."""
    width, height = made_tiff.WIDTH, made_tiff.HEIGHT
    for kind in made_tiff.kinds():
        picture = width, height, kind.picture()
        for layout in made_tiff.layouts(kind):
            path = interop.write('made.tif', made_tiff.made(kind, **layout))
            got = seen_by_tavo(path)
            check(f'{kind.name}, {layout}', close(got, picture, kind.tolerance), picture)
            # libtiff multiplies colours by an alpha that is not in them yet, and loses its way in
            # tiles of 16-bit grey at the right edge.
            is_other = kind.tags.get(338) == (3, [2]) or (
                kind.bits == 16 and kind.samples == 1 and 'tile' in layout)
            if not is_other:
                other = made_tiff.seen_by_libtiff(path, 1, width, height)
                if other is not None:
                    check(f'{kind.name}, {layout} by libtiff', close(got, other, 1), other)
    for orientation in range(1, 9):
        path = interop.write('made.tif', made_tiff.made(kind, orientation=orientation))
        told = json.loads(run(interop.tavo, 'info', path, '--json') or '[{}]')[0]
        # Bottom row first is told by ViewPerspective.
        check(f'orientation {orientation} in info', told.get('orientation', 1),
              1 if orientation == 4 else orientation)
        rows = [picture[2][i:i + 3 * width] for i in range(0, len(picture[2]), 3 * width)]
        stored = b''.join(reversed(rows)) if orientation == 4 else picture[2]
        seen = seen_by_tavo(path, '--no-orient')
        check(f'orientation {orientation}', close(seen, (width, height, stored), 2),
              (width, height, stored))
    for across in (1, 2, 4):
        for down in (1, 2, 4):
            for extra in ({}, {'order': '>', 'coding': 8}, {'strip': 8, 'coding': 32773}):
                file, want = made_tiff.shared_colors(across, down, **extra)
                path, picture = interop.write('made.tif', file), (width, height, want)
                got = seen_by_tavo(path)
                check(f'YCbCr {across}x{down}, {extra}', close(got, picture, 1), picture)


def main():
    interop.start('tifftopnm', 'tiffcp', 'tiffinfo', 'tiffdump', 'pamtotiff', 'pbmtog3', 'fax2tiff',
                  'gs', 'ppmtobmp', CONVERT)
    with tempfile.TemporaryDirectory() as temporary:
        folder = interop.folder = pathlib.Path(temporary)
        for kind, pnm in interop.pictures().items():
            path, want = interop.write(f'{kind}.pnm', pnm), rgb(pnm)
            theirs(folder, kind, path, want)
            source = folder / f'{kind}.bmp'
            interop.run_to(source, 'ppmtobmp', f'-bpp={OWN_DEPTH[kind]}', path)
            ours(folder, kind, source, want)
            if kind == 'bits':
                fax(folder, path, want)
                cals(folder, source, want)
        ghostscript(folder)
        kinds()
    return interop.finish(1250)


if __name__ == '__main__':
    sys.exit(main())
