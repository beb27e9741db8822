"""Exchanges pictures of older formats with other programs, through the command line.

usage: interop_older.py TAVO

MacPaint and GEM images with netpbm, these with FFmpeg, too, MSP with Pillow, WPG with
GraphicsMagick and ImageMagick, which only read it, PICT with these two, FFmpeg and netpbm, EPS with
Ghostscript, GraphicsMagick and netpbm. Photo CD files of
ImageMagick and GraphicsMagick with FFmpeg and Pillow. The last line is "N passed, N failed".
"""

import binascii
import pathlib
import struct
import sys
import tempfile

import interop
from interop import CONVERT, OWN_DEPTH, check, pillow, rgb, run, seen_by_tavo, write


def page(picture, width=576, height=720):
    """The picture at the top left of a white page."""
    own_width, own_height, pixels = picture
    line, white = 3 * own_width, b'\xff' * 3
    rows = [pixels[line * y:line * (y + 1)] + white * (width - own_width)
            for y in range(own_height)]
    return width, height, b''.join(rows) + white * width * (height - own_height)


def written(kind, source, name, *options):
    """The file that tavo makes of a BMP file, None when it fails."""
    out = interop.folder / name
    done = run(interop.tavo, 'convert', source, out, *options)
    check(f'tavo writes {kind} as {name}', done is not None, True)
    return out if done is not None else None


def macpaint(kind, path, source, want):
    for options in [], ['-norle']:
        file = write('theirs.mac', run('pbmtomacp', *options, path))
        check(f'MacPaint: {kind} from pbmtomacp {options}', seen_by_tavo(file),
              rgb(run('macptopbm', file)))
    out = written(kind, source, 'ours.mac')
    check(f'MacPaint: {kind} by macptopbm', out and rgb(run('macptopbm', out)), page(want))
    head = out and out.read_bytes()[:128]
    check('MacPaint: checksum', head and head[124:126],
          head and binascii.crc_hqx(head[:124], 0).to_bytes(2, 'big'))


def msp(kind, path, source, want):
    code = 'import sys; from PIL import Image; Image.open(sys.argv[1]).save(sys.argv[2])'
    theirs = interop.folder / 'theirs.msp'
    run('/usr/bin/python3', '-c', code, path, theirs)
    check(f'MSP: {kind} from Pillow', seen_by_tavo(theirs), want)
    out = written(kind, source, 'ours.msp')
    check(f'MSP: {kind} by Pillow', out and rgb(pillow(out)), want)


def ffmpeg_gem(path):
    return run('ffmpeg', '-v', 'error', '-f', 'image2', '-c:v', 'gem', '-i', path, '-pix_fmt',
               'rgb24', '-f', 'image2', '-c:v', 'ppm', '-')


def gem(kind, path, source, want):
    if kind == 'bits':
        file = write('theirs.img', run('pbmtogem', path))
        check(f'GEM: {kind} from pbmtogem', seen_by_tavo(file), want)
    for depth in (1, 4, 8):
        if depth < OWN_DEPTH[kind]:
            continue
        out = written(kind, source, f'ours-{depth}.img', '--bits', str(depth))
        check(f'GEM: {kind} at {depth} bits by FFmpeg', out and rgb(ffmpeg_gem(out)), want)
        if depth == 1:
            check(f'GEM: {kind} by gemtopnm', out and rgb(run('gemtopnm', out)), want)


def wpg(kind, source, want):
    for depth in (1, 4, 8):
        if depth < OWN_DEPTH[kind]:
            continue
        out = written(kind, source, f'ours-{depth}.wpg', '--bits', str(depth))
        seen = out and rgb(run('gm', 'convert', f'wpg:{out}', '-depth', '8', 'ppm:-'))
        check(f'WPG: {kind} at {depth} bits by GraphicsMagick', seen, want)
        if depth > 1:  # of which ImageMagick 6 takes the colours wrongly
            seen = out and rgb(run(CONVERT, f'wpg:{out}', '-depth', '8', 'ppm:-'))
            check(f'WPG: {kind} at {depth} bits by ImageMagick', seen, want)


def turned_wpg(rotation):
    """Version 1 with a bitmap of type 2: 3 x 2 pixels of 8 bits behind a map of six colours."""
    bitmap = struct.pack('<H8x5H', rotation, 3, 2, 8, 72, 72) + bytes([6, 0, 1, 2, 3, 4, 5])
    return (bytes.fromhex('FF575043 10000000 01160100 00000000 0F060100 B0046009 0E16 00000600') +
            bytes(range(10, 190, 10)) + bytes([0x14, len(bitmap)]) + bitmap + b'\x10\0')


def turned():
    for rotation in (90, 180, 270, 0x8000, 0x2000, 0x8000 + 90, 0x2000 + 270):
        file = write('turned.wpg', turned_wpg(rotation))
        check(f'WPG: turned by {rotation:#x}', seen_by_tavo(file),
              rgb(run('gm', 'convert', f'wpg:{file}', '-depth', '8', 'ppm:-')))


def pict_readers(path, width):
    yield 'ImageMagick', run(CONVERT, f'pict:{path}', '-depth', '8', 'ppm:-')
    yield 'GraphicsMagick', run('gm', 'convert', f'pict:{path}', '-depth', '8', 'ppm:-')
    if width > 250:  # it reads no shorter rows
        yield 'FFmpeg', run('ffmpeg', '-v', 'error', '-f', 'image2', '-c:v', 'qdraw', '-i', path,
                            '-pix_fmt', 'rgb24', '-f', 'image2', '-c:v', 'ppm', '-')


def pict(kind, path):
    """At widths where rows begin to be packed, are cut in two, and are counted by words."""
    for width in (3, 61, 64, 210, 300):
        pnm = run(CONVERT, path, '-sample', f'{width}x20!', 'pbm:-' if kind == 'bits' else 'ppm:-')
        sample, want = write('sample.pnm', pnm), rgb(pnm)
        source = interop.folder / 'sample.bmp'
        interop.run_to(source, 'ppmtobmp', f'-bpp={OWN_DEPTH[kind]}', sample)
        for depth in (1, 4, 8, 24):
            if depth < OWN_DEPTH[kind]:
                continue
            out = written(kind, source, f'ours-{depth}.pct', '--bits', str(depth))
            for name, seen in pict_readers(out, width * depth // 8):
                check(f'PICT: {width} columns of {kind} at {depth} bits by {name}', rgb(seen), want)
        for name, command in (('ImageMagick', [CONVERT]), ('GraphicsMagick', ['gm', 'convert'])):
            if width < 8:  # rows that GraphicsMagick packs, and cannot read then
                continue
            theirs = interop.folder / 'theirs.pct'
            run(*command, sample, f'pict:{theirs}')
            check(f'PICT: {width} columns of {kind} from {name}', seen_by_tavo(theirs), want)
        if kind != 'photo' and width >= 8:  # as it wants them
            theirs = write('theirs.pct', run('ppmtopict', sample))
            check(f'PICT: {width} columns of {kind} from netpbm', seen_by_tavo(theirs), want)


def photo_cd():
    """Grey pictures by FFmpeg's luma; colours by Pillow, which does not interpolate chroma."""
    size = 768 * 512
    ramp = bytes((x + y) // 5 % 256 for y in range(512) for x in range(768))
    blobs = bytes(v for y in range(512) for x in range(768) for v in (x // 3, y // 2, 255 - x // 4))
    for maker in (('gm', 'convert'), (CONVERT,)):
        file = interop.folder / 'theirs.pcd'
        run(*maker, write('grey.pgm', b'P5 768 512 255 ' + ramp), f'pcd:{file}')
        luma = run('ffmpeg', '-v', 'error', '-f', 'image2', '-c:v', 'photocd', '-lowres', '2', '-i',
                   file, '-f', 'rawvideo', '-pix_fmt', 'gray', '-')
        level = [min((89024 * y + 32768) >> 16, 255) for y in range(256)]
        want = luma and (768, 512, bytes(v for y in luma for v in [level[y]] * 3))
        check(f'Photo CD: grey of {maker[0]} by FFmpeg', seen_by_tavo(file), want)
        run(*maker, write('color.ppm', b'P6 768 512 255 ' + blobs), f'pcd:{file}')
        ours, theirs = seen_by_tavo(file), rgb(pillow(file))
        small = interop.folder / 'small.bmp'
        run(interop.tavo, 'convert', '--photocd', '1', file, small)
        check('Photo CD: the smallest level', interop.bmp_rgb(small)[:2], (192, 128))
        apart = sum(abs(a - b) for a, b in zip(ours[2], theirs[2])) if ours and theirs else 999 * size
        check(f'Photo CD: colours of {maker[0]} by Pillow', apart < 2.5 * 3 * size, True)


def ghostscript(path):
    return run('gs', '-q', '-dBATCH', '-dNOPAUSE', '-dSAFER', '-sDEVICE=ppmraw', '-dEPSCrop', '-r72',
               '-sOutputFile=-', path)


def eps(kind, path, source, want):
    for depth in (1, 4, 8, 24):
        if depth < OWN_DEPTH[kind]:
            continue
        out = written(kind, source, f'ours-{depth}.eps', '--bits', str(depth))
        check(f'EPS: {kind} at {depth} bits by Ghostscript', out and rgb(ghostscript(out)), want)
        check(f'EPS: {kind} at {depth} bits by tavo', out and seen_by_tavo(out), want)
    theirs = interop.folder / 'theirs.ept'
    run('gm', 'convert', path, f'ept:{theirs}')
    check(f'EPS: {kind} from GraphicsMagick', seen_by_tavo(theirs), want)
    if kind == 'bits':
        theirs = write('theirs.epsi', run('pbmtoepsi', '-dpi=72', path))
        check(f'EPS: {kind} from pbmtoepsi', seen_by_tavo(theirs), want)


def main():
    interop.start('pbmtomacp', 'macptopbm', 'pbmtogem', 'gemtopnm', 'ffmpeg', 'gm', CONVERT,
                  'ppmtobmp', 'ppmtopict', 'gs', 'pbmtoepsi')
    with tempfile.TemporaryDirectory() as temporary:
        interop.folder = pathlib.Path(temporary)
        for kind, pnm in interop.pictures().items():
            path, want = write(f'{kind}.pnm', pnm), rgb(pnm)
            source = interop.folder / f'{kind}.bmp'
            interop.run_to(source, 'ppmtobmp', f'-bpp={OWN_DEPTH[kind]}', path)
            pict(kind, path)
            eps(kind, path, source, want)
            if kind == 'bits':
                macpaint(kind, path, source, want)
                msp(kind, path, source, want)
            if kind != 'photo':
                gem(kind, path, source, want)
                wpg(kind, source, want)
        turned()
        photo_cd()
    return interop.finish(246)


if __name__ == '__main__':
    sys.exit(main())
