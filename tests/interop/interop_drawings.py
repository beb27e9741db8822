"""Compares drawn metafiles with how Windows' own PlayMetaFile draws them, under Wine, drawings of
WordPerfect with what wpg2svg and librsvg make of them, and drawn PICT files with how LibreOffice
does, where it is installed (it is large).

usage: interop_drawings.py TAVO [FOLDER]

The metafiles are the seeds of the fuzzer and those of FOLDER, which also may have PICT files; the
WordPerfect drawings are those of made_wpg.py, smooth as librsvg's are. Edges may differ by a pixel:
at least 90 % of the pixels must be within 48 levels, and of those that either draws 80 % must have
one within 64 levels at most a pixel away in the other. Texts differ, since the fonts do: files whose
names say so, or stand in TEXTS, only have to have the size. The last line is "N passed, N failed".
"""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

import numpy
from PIL import Image

import interop
import made_wpg
from interop import check, run

HERE = pathlib.Path(__file__).parent
# What differs, and why, stands in docs/drawings.md.
TEXTS = ('text', 'formula', 'fulltest', '64716', 'charset', 'Eg', '2doorvan', 'missing-font',
         'dibbitblt')
# Clips, patterns and transparent bitmaps that LibreOffice draws in ways of its own; bitmaps alone.
OTHER_PICTS = ('Genevois', 'patterns', 'inside_', 'tm-5', 'rotated', 'liste', 'PhotoShop', 'Ringstadt')


def pixels(path):
    return numpy.asarray(Image.open(path).convert('RGB')).astype(int)


def near(ours, theirs):
    """How much of what one draws is at most a pixel away in the other."""
    drawn = numpy.abs(ours - 255).max(2) > 64
    height, width = drawn.shape
    around = numpy.pad(theirs, ((1, 1), (1, 1), (0, 0)), constant_values=9999)
    found = numpy.zeros_like(drawn)
    for y in range(3):
        for x in range(3):
            found |= numpy.abs(ours - around[y:y + height, x:x + width]).max(2) <= 64
    return (found & drawn).sum() / max(drawn.sum(), 1)


def pict():
    """Shapes of every kind with thick pens and colours, 120 units high and 160 wide."""
    red, blue, thick = '001AFFFF00000000', '001A00000000FFFF', '000700040006'
    records = ['0011 02FF 0C00 FFFE 0000 00480000 00480000 0000 0000 0078 00A0 00000000 001E',
               '0001 000A 0000 0000 0078 00A0', thick, '0030 0002 0002 0076 009E', red,
               '0051 000C 000E 0030 0050', '000B 0014 001E', blue, '0041 000C 0058 0030 0098',
               '0061 0036 000E 0070 0050 001E 00FA', red,
               '0071 001A 0036 0058 0070 0098 0070 0058 0036 0078 0070 0098 0070 0058',
               blue, '0020 0060 0058 0038 0068 00FF']
    return bytes(512) + bytes.fromhex('0000 0000 0000 0078 00A0' + ''.join(records))


def box(picture):
    """Where anything is drawn: top, left, bottom, right."""
    drawn = numpy.abs(picture - 255).max(2) > 48
    rows, columns = numpy.flatnonzero(drawn.any(1)), numpy.flatnonzero(drawn.any(0))
    return rows[0], columns[0], rows[-1] + 1, columns[-1] + 1


def compare_pict(file):
    """LibreOffice fits pictures to a page: what it draws is laid over what is drawn here."""
    ours_file, page = interop.folder / 'ours.png', interop.folder / f'{file.stem}.png'
    if run(interop.tavo, 'convert', file, ours_file) is None:
        return
    sides = '{"PixelWidth":{"type":"long","value":"2382"},"PixelHeight":{"type":"long","value":"3369"}}'
    run('soffice', '--headless', '--convert-to', f'png:draw_png_Export:{sides}', '--outdir',
        interop.folder, file)
    ours, theirs = pixels(ours_file), pixels(page)
    to, at = box(ours), box(theirs)
    places = [(numpy.arange(to[i], to[i + 2]) + .5 - to[i]) * (at[i + 2] - at[i]) / (to[i + 2] - to[i])
              + at[i] for i in (0, 1)]
    seen = ours[to[0]:to[2], to[1]:to[3]]
    theirs = theirs[places[0].astype(int)][:, places[1].astype(int)]
    like = (numpy.abs(seen - theirs).max(2) <= 48).mean()
    there, back = near(seen, theirs), near(theirs, seen)
    print(f'{file.stem}: {like:.3f} alike, {there:.3f} and {back:.3f} near')
    if not any(word in file.stem for word in OTHER_PICTS):
        check(f'{file.stem}: as LibreOffice draws it', like >= .9 and min(there, back) >= .8, True)


def compare_picts(folders):
    if shutil.which('soffice') is None:
        print('LibreOffice is not there: drawn PICT files are not compared')
        return
    (interop.folder / 'shapes.pct').write_bytes(pict())
    given = (path for folder in folders for path in folder.glob('*.p*ct'))
    for file in (interop.folder / 'shapes.pct', *sorted(given)):
        compare_pict(file)


def play(program, jobs):
    settings = dict(WINEPREFIX=str(interop.folder / 'wine'), WINEARCH='win32', WINEDEBUG='-all',
                    WINEDLLOVERRIDES='mscoree,mshtml=')
    arguments = [str(value) for job in jobs for value in job]
    subprocess.run(['wine', str(program), *arguments], env=dict(os.environ, **settings),
                   capture_output=True, timeout=600)


def compare(name, ours, theirs):
    ours, theirs = pixels(ours), pixels(theirs)
    if any(word in name for word in TEXTS):
        check(f'{name}: size', ours.shape, theirs.shape)
        return
    like = (numpy.abs(ours - theirs).max(2) <= 48).mean()
    there, back = near(ours, theirs), near(theirs, ours)
    print(f'{name}: {like:.3f} alike, {there:.3f} and {back:.3f} near')
    check(f'{name}: as the other draws it', like >= .9 and there >= .8 and back >= .8, True)


def compare_wpg():
    for name, data in made_wpg.drawings():
        file = interop.folder / f'{name}.wpg'
        ours, theirs = file.with_suffix('.bmp'), file.with_suffix('.png')
        file.write_bytes(data)
        run(interop.tavo, 'convert', '--smooth', file, ours)
        size = ('-w', 384, '-h', 288, '-b', 'white', '-o', theirs)
        run('rsvg-convert', *size, stdin=run('wpg2svg', file))
        compare(f'WPG {name}', ours, theirs)


def main():
    interop.start('wine', 'i686-w64-mingw32-gcc', 'wpg2svg', 'rsvg-convert')
    folders = [HERE.parent.parent / 'fuzz/seeds/wmf', *map(pathlib.Path, sys.argv[2:])]
    with tempfile.TemporaryDirectory() as temporary:
        interop.folder = pathlib.Path(temporary)
        program = interop.folder / 'play_metafile.exe'
        run('i686-w64-mingw32-gcc', '-O1', HERE / 'play_metafile.c', '-o', program, '-lgdi32')
        jobs = []
        for file in sorted(path for folder in folders for path in folder.glob('*.wmf')):
            ours = interop.folder / f'{file.stem}-ours.bmp'
            if run(interop.tavo, 'convert', file, ours) is None:
                continue
            height, width = pixels(ours).shape[:2]
            jobs.append((width, height, file, interop.folder / f'{file.stem}.bmp'))
        play(program, jobs)
        for _, _, file, theirs in jobs:
            compare(file.stem, interop.folder / f'{file.stem}-ours.bmp', theirs)
        compare_wpg()
        compare_picts(folders[1:])
    return interop.finish(17)


sys.exit(main())
