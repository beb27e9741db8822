"""Exchanges JPEG and CMP pictures with other programs, through the command line.

usage: interop_jpeg.py TAVO

Streams of every kind that cjpeg and ImageMagick write must look as djpeg shows them, to the last
bit where djpeg and tavo compute alike, and tavo info must tell how they are coded. Streams that tavo
writes must look the same to tavo, djpeg and Pillow, and be as small and as near to the picture as
those that cjpeg writes with the same tables. The last line is "N passed, N failed".
"""

import json
import pathlib
import sys
import tempfile

import interop
from interop import CONVERT, check, pillow, rgb, run, seen_by_tavo

SAMPLINGS = ['1x1', '2x1', '2x2', '1x2', '4x1', '4x2', '2x1,1x2,1x1', '1x1,2x2,1x1']
MODES = {'baseline': [], 'optimised': ['-optimize'], 'progressive': ['-progressive'],
         'restarts': ['-restart', '2B'], 'restarted rows': ['-restart', '1', '-progressive'],
         'arithmetic': ['-arithmetic'], 'restarted arithmetic': ['-arithmetic', '-restart', '1B'],
         'progressive arithmetic': ['-arithmetic', '-progressive']}


def djpeg(path):
    return rgb(run('djpeg', '-dct', 'int', '-pnm', path))


def coding(path):
    said = run(interop.tavo, 'info', path, '--json')
    return json.loads(said)[0].get('jpeg') if said else None


def distance(a, b):
    """The mean square difference of two pictures."""
    if not a or not b or a[:2] != b[:2]:
        return float('inf')
    return sum((x - y) ** 2 for x, y in zip(a[2], b[2])) / len(b[2])


def theirs(kind, path):
    """What cjpeg writes."""
    colors = SAMPLINGS if kind != 'gray' else ['1x1']
    for sampling in colors:
        for mode, options in MODES.items():
            name = f'cjpeg {sampling} {mode} of {kind}'
            file = interop.write('theirs.jpg', run('cjpeg', '-sample', sampling, *options, path))
            check(name, seen_by_tavo(file), djpeg(file))
            told = coding(file) or {}
            full = ','.join((sampling.split(',') + ['1x1', '1x1'])[:3])
            plain = sampling if ',' not in sampling else full
            check(f'{name}, as info tells it',
                  (told.get('subsampling'), told.get('progressive'), told.get('quality')),
                  (plain if kind != 'gray' else None, '-progressive' in options, 75))
    scans = interop.write('scans', b'0; 2; 1;')
    for name, options in {'separate scans': ['-scans', scans], 'grey': ['-grayscale'],
                          'RGB': ['-rgb'], '16-bit tables': ['-quality', '4']}.items():
        if kind == 'gray' and name in ('separate scans', 'RGB'):
            continue
        file = interop.write('theirs.jpg', run('cjpeg', *options, path))
        check(f'cjpeg, {name}, of {kind}', seen_by_tavo(file), djpeg(file))


def qualities(path):
    for quality in (1, 5, 10, 25, 40, 50, 60, 75, 82, 90, 95, 99, 100):
        for extra in ([], ['-baseline']):
            made = run('cjpeg', '-quality', quality, *extra, path)
            told = coding(interop.write('quality.jpg', made)) or {}
            check(f'quality {quality} {extra}', told.get('quality'), quality)


def ours(kind, source, want):
    for sampling in ('1x1', '2x1', '2x2'):
        for quality in (50, 75, 92):
            name = f'{kind} at {quality}, {sampling}'
            out = interop.folder / 'ours.jpg'
            if run(interop.tavo, 'convert', source, out, '--quality', quality, '--subsampling',
                   sampling) is None:
                check(f'tavo writes {name}', None, want)
                continue
            shown = djpeg(out)
            check(f'{name} by djpeg and tavo', seen_by_tavo(out), shown)
            check(f'{name} by Pillow', rgb(pillow(out)), shown)
            said = run('identify', '-format', '%Q %[jpeg:sampling-factor]', out).decode()
            full = f'{sampling},1x1,1x1' if kind != 'gray' else '1x1'
            check(f'{name} by identify', said.split()[1:], [full])
            check(f'{name}: quality by identify', abs(int(said.split()[0]) - quality) < 3, True)


def segment(data, marker):
    at = 2
    while data[at + 1] != marker:
        at += 2 + int.from_bytes(data[at + 2:at + 4], 'big')
    return at, data[at + 4:at + 2 + int.from_bytes(data[at + 2:at + 4], 'big')]


def natural_order(table):
    """The entries of a quantisation table that is stored along the diagonals."""
    diagonals = [sorted(((y, s - y) for y in range(8) if 0 <= s - y < 8), reverse=s % 2 == 0)
                 for s in range(15)]
    places = [8 * y + x for diagonal in diagonals for y, x in diagonal]
    return [table[places.index(place)] for place in range(64)]


def rivals(kind, source, path, want):
    """Within 0.2 dB and 2 % of what cjpeg makes with the same tables."""
    for sampling in ('1x1', '2x1', '2x2') if kind != 'gray' else ('1x1',):
        for factor in (1, 10, 25, 100, 255):
            out = interop.folder / 'ours.jpg'
            run(interop.tavo, 'convert', source, out, '--factor', factor, '--subsampling', sampling)
            data = out.read_bytes()
            body = segment(data, 0xDB)[1]
            tables = [body[at + 1:at + 65] for at in range(0, len(body), 65)]
            interop.write('tables', '\n'.join(' '.join(map(str, natural_order(t)))
                                              for t in tables).encode())
            rival = run('cjpeg', '-dct', 'int', '-baseline', '-quality', '50', '-qtables',
                        interop.folder / 'tables', '-qslots', '0,1,1' if len(tables) > 1 else '0',
                        '-sample', sampling, path)
            sizes = [len(file) - segment(file, 0xDA)[0] for file in (data, rival)]
            errors = [distance(djpeg(file), want) for file in (out, interop.write('r.jpg', rival))]
            name = f'{kind} with factor {factor}, {sampling}'
            check(f'{name}: as small as cjpeg', abs(sizes[0] - sizes[1]) < 0.02 * sizes[1], True)
            check(f'{name}: as near as cjpeg', errors[0] < 1.0471 * errors[1] + 0.05, True)


def cmyk(path):
    """ImageMagick's inverted YCCK; both convert without profiles."""
    file = interop.folder / 'cmyk.jpg'
    if run(CONVERT, path, '-colorspace', 'CMYK', '-quality', '95', file) is None:
        return
    want = rgb(run(CONVERT, file, '-colorspace', 'sRGB', 'ppm:-'))
    check('CMYK', distance(seen_by_tavo(file), want) < 4, True)


def main():
    interop.start('cjpeg', 'djpeg', 'identify', 'ppmtobmp', CONVERT)
    with tempfile.TemporaryDirectory() as temporary:
        interop.folder = pathlib.Path(temporary)
        for kind, pnm in interop.pictures().items():
            if kind == 'bits':
                continue
            path = interop.write(f'{kind}.pnm', pnm)
            theirs(kind, path)
            source = interop.folder / f'{kind}.bmp'
            interop.run_to(source, 'ppmtobmp', f'-bpp={interop.OWN_DEPTH[kind]}', path)
            ours(kind, source, rgb(pnm))
            rivals(kind, source, path, rgb(pnm))
            if kind == 'photo':
                qualities(path)
                cmyk(path)
    return interop.finish(490)


if __name__ == '__main__':
    sys.exit(main())
