"""Compares drawn metafiles with how Windows' own PlayMetaFile draws them, under Wine, and drawings of
WordPerfect with what wpg2svg and librsvg make of them.

usage: interop_drawings.py TAVO [FOLDER]

The metafiles are the seeds of the fuzzer and those of FOLDER, the drawings those of made_wpg.py,
smooth as librsvg's are. Edges may differ by a pixel: at least 90 % of the pixels must be within 48
levels, and of those that either draws 80 % must have one within 64 levels at most a pixel away in
the other. Texts differ, since the fonts do: files whose names say so, or stand in TEXTS, only have
to have the size. The last line is "N passed, N failed".
"""

import os
import pathlib
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
    return interop.finish(17)


sys.exit(main())
