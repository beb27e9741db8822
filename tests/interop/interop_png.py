"""Exchanges PNG files, and TIFF files with Deflate, with other programs, through the command line.

usage: interop_png.py TAVO

All color types, depths and both orders of rows from ImageMagick, shown as it shows them; pictures
with opacity from Pillow; what tavo writes at every depth and level, read by libpng's programs,
netpbm, Pillow, GraphicsMagick, ImageMagick and FFmpeg. The last line is "N passed, N failed".
"""

import pathlib
import sys
import tempfile

import interop
from interop import CONVERT, OWN_DEPTH, check, pillow, rgb, run, seen_by_tavo, write

READERS = {
    'pngtopnm': lambda path: run('pngtopnm', path),
    'Pillow': pillow,
    'GraphicsMagick': lambda path: run('gm', 'convert', f'png:{path}', '-depth', '8', 'ppm:-'),
    'ImageMagick': lambda path: run(CONVERT, f'png:{path}', '-depth', '8', 'ppm:-'),
    'FFmpeg': lambda path: run('ffmpeg', '-v', 'error', '-i', path, '-pix_fmt', 'rgb24', '-f',
                               'image2', '-c:v', 'ppm', '-'),
}
TYPES = {0: (1, 2, 4, 8, 16), 2: (8, 16), 3: (1, 2, 4, 8), 4: (8, 16), 6: (8, 16)}


def on_white(path):
    return rgb(run(CONVERT, path, '-background', 'white', '-alpha', 'remove', '-alpha', 'off',
                   '-colorspace', 'sRGB', '-depth', '8', 'ppm:-'))


def close(a, b):
    """Mixed colors are rounded in one program and cut in another."""
    return a and b and a[:2] == b[:2] and all(abs(x - y) <= 1 for x, y in zip(a[2], b[2]))


def types_read(source):
    for color, depths in TYPES.items():
        for depth in depths:
            for interlace in 'none', 'line':
                for size in '61x43', '1x1', '3x2', '5x9':
                    path = interop.folder / 'type.png'
                    options = ['-alpha', 'off'] if color < 4 else []
                    options += ['-colorspace', 'Gray'] if color in (0, 4) else []
                    options += ['-colors', str(min(1 << depth, 200))] if color == 3 else []
                    run(CONVERT, source, '-resize', f'{size}!', *options, '-interlace', interlace,
                        '-define', f'png:color-type={color}', '-define', f'png:bit-depth={depth}',
                        '-define', 'png:compression-filter=5', path)
                    name = f'type {color} of {depth} bits, {interlace}, {size}'
                    check(name, close(seen_by_tavo(path), on_white(path)), True)
                    path.unlink()


def with_opacity(source):
    """From Pillow to Pillow: as it was, when tavo keeps it."""
    out = interop.folder / 'kept.png'
    check('opacity is kept', run(interop.tavo, 'convert', source, out) is not None, True)
    code = ('import sys; from PIL import Image\n'
            'a, b = (Image.open(p) for p in sys.argv[1:])\n'
            'sys.exit(0 if a.mode == b.mode == "RGBA" and a.tobytes() == b.tobytes() else 1)')
    check('opacity by Pillow', run('/usr/bin/python3', '-c', code, source, out), b'')


def written(kind, source, want):
    for depth in 1, 4, 8, 24:
        if depth < OWN_DEPTH[kind]:
            continue
        for level in 'fast', 'default', 'small':
            out = interop.folder / 'ours.png'
            run(interop.tavo, 'convert', source, out, '--bits', str(depth), '--level', level)
            for reader, read in READERS.items():
                check(f'{kind} at {depth} bits, {level}, by {reader}', rgb(read(out)), want)
            out.unlink()


def tiff(kind, source):
    for depth in 1, 4, 8, 24:
        if depth < OWN_DEPTH[kind]:
            continue
        plain, coded = interop.folder / 'plain.tif', interop.folder / 'coded.tif'
        run(interop.tavo, 'convert', source, plain, '--bits', str(depth))
        for options in [], ['--append']:
            run(interop.tavo, 'convert', source, coded, '--bits', str(depth), '--to', 'deflate',
                *options)
            if not options:  # the other file has a page more
                told = run('tiffcmp', '-t', plain, coded)  # of tags it tells all the same
                check(f'TIFF: {kind} at {depth} bits by tiffcmp',
                      told is not None and b'Scanline' not in told, True)
        told = run('tiffinfo', coded) or b''
        check(f'TIFF: {kind} at {depth} bits by tiffinfo', told.count(b'AdobeDeflate'), 2)


def main():
    interop.start('pngtopnm', 'pnmtopng', 'gm', 'ffmpeg', 'tiffcmp', 'tiffinfo', CONVERT,
                  'ppmtobmp')
    with tempfile.TemporaryDirectory() as temporary:
        interop.folder = pathlib.Path(temporary)
        for kind, pnm in interop.pictures().items():
            path, source, want = write('in.pnm', pnm), interop.folder / 'in.bmp', rgb(pnm)
            interop.run_to(source, 'ppmtobmp', f'-bpp={OWN_DEPTH[kind]}', path)
            for options in [], ['-interlace'], ['-paeth']:
                file = write('theirs.png', run('pnmtopng', *options, path) or b'')
                check(f'{kind} from pnmtopng {options}', seen_by_tavo(file), want)
            written(kind, source, want)
            tiff(kind, source)
            if kind == 'photo':
                clear = interop.folder / 'clear.png'
                run('/usr/bin/python3', '-c', 'import sys; from PIL import Image\n'
                    'a = Image.open(sys.argv[1]).convert("RGB")\n'
                    'a.putalpha(a.convert("L")); a.save(sys.argv[2])', path, clear)
                types_read(clear)
                with_opacity(clear)
    return interop.finish(275)


if __name__ == '__main__':
    sys.exit(main())
