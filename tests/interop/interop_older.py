"""Exchanges pictures of older formats with other programs, through the command line.

usage: interop_older.py TAVO

MacPaint with netpbm, in both directions. The last line is "N passed, N failed".
"""

import binascii
import pathlib
import sys
import tempfile

import interop
from interop import OWN_DEPTH, check, rgb, run, seen_by_tavo, write


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


def main():
    interop.start('pbmtomacp', 'macptopbm', 'ppmtobmp')
    with tempfile.TemporaryDirectory() as temporary:
        interop.folder = pathlib.Path(temporary)
        for kind, pnm in interop.pictures().items():
            path, want = write(f'{kind}.pnm', pnm), rgb(pnm)
            source = interop.folder / f'{kind}.bmp'
            interop.run_to(source, 'ppmtobmp', f'-bpp={OWN_DEPTH[kind]}', path)
            if kind == 'bits':
                macpaint(kind, path, source, want)
    return interop.finish(9)


if __name__ == '__main__':
    sys.exit(main())
