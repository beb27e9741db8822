"""Files that are cut or changed, through the Python binding: each gives a picture or tavo45.Error, and no
status of the library passes unseen. TAVO45_LIBRARY names the library.

usage: bindings_bad_input.py FILES CHANGES   of each format so many small files; each is cut at as many
       lengths as it is changed, or, with 0, at every one and changed at every byte
"""
import pathlib
import random
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[1]
sys.path.insert(0, str(ROOT / "bindings" / "python"))
sys.dont_write_bytecode = True

import tavo45  # noqa: E402

FORMATS = ("bmp", "cals", "eps", "gem", "gif", "jpeg", "macpaint", "msp", "pcx", "pict", "png", "ras", "tga",
           "tiff", "wmf", "wpg")


class Watched:
    """The library with a note of every status that is none of success."""

    def __init__(self, library):
        self._library = library
        self.bad = []

    def __getattr__(self, name):
        function = getattr(self._library, name)

        def watched(*arguments):
            result = function(*arguments)
            if function.restype is tavo45.c.c_int32 and result < 0:
                self.bad.append(result)
            return result
        return watched


def use(content, file, out):
    """All that the binding offers of a file; counts pictures and errors."""
    def load():
        with tavo45.load(content, bits=random.choice((0, 8, 24))) as picture:
            assert len(picture.row(picture.height - 1)) <= picture.record.BytesPerLine
            assert len(picture.buffer) == picture.record.Size
            picture.save(out, tavo45.T_FORMAT_BMP)

    def stream():
        for record, rows in tavo45.rows(file):
            assert len(rows) % record.BytesPerLine == 0

    file.write_bytes(content)
    outcomes = []
    for action in (load, stream, lambda: tavo45.info(file)):
        tavo45.lib.bad.clear()
        try:
            action()
            assert not tavo45.lib.bad, f"{tavo45.lib.bad} of {content!r} passed unseen"
            outcomes.append(True)
        except tavo45.Error as error:
            assert [error.status] == tavo45.lib.bad and str(error), f"{error.status} of {content!r}"
            outcomes.append(False)
    return outcomes


def variants(content, changes):
    cuts = range(len(content)) if changes == 0 else random.sample(range(len(content)), changes)
    for length in cuts:
        yield content[:length]
    places = range(len(content)) if changes == 0 else random.choices(range(len(content)), k=changes)
    for at in places:
        yield content[:at] + bytes([random.randrange(256)]) + content[at + 1:]


def main(files, changes):
    random.seed(45)
    tavo45.lib = Watched(tavo45.lib)
    tavo45.check(tavo45.lib.T_SetLimit(tavo45.T_LIMIT_PIXELS, 1 << 20))
    tavo45.check(tavo45.lib.T_SetLimit(tavo45.T_LIMIT_WORK, 1 << 22))
    outcomes = []
    with tempfile.TemporaryDirectory() as folder:
        file, out = pathlib.Path(folder, "file"), pathlib.Path(folder, "out.bmp")
        for name in FORMATS:
            seeds = sorted((ROOT / "fuzz" / "seeds" / name).iterdir(), key=lambda s: s.stat().st_size)
            for seed in seeds[:files]:
                content = seed.read_bytes()
                outcomes += use(content, file, out)
                for variant in variants(content, changes):
                    outcomes += use(variant, file, out)
    good = sum(outcomes)
    assert 0 < good < len(outcomes)
    print(f"{len(outcomes)} calls: {good} pictures, {len(outcomes) - good} errors")


if __name__ == "__main__":
    main(*map(int, sys.argv[1:]))
