"""Times one Pillow operation for the benchmarks: pillow.py OPERATION RAWFILE WIDTH HEIGHT.

Prints the least processor seconds of some runs, the picture being in memory.
"""
import sys
import time

from PIL import Image

operation, name, width, height = sys.argv[1], sys.argv[2], int(sys.argv[3]), int(sys.argv[4])
mode = "L" if operation == "gray1" else "RGB"
with open(name, "rb") as file:
    picture = Image.frombytes(mode, (width, height), file.read())


def given_palette():
    """216 colours of a cube and 40 greys: 256 entries."""
    steps = [0, 51, 102, 153, 204, 255]
    entries = [c for r in steps for g in steps for b in steps for c in (r, g, b)]
    for i in range(40):
        entries += [3 + 6 * i] * 3
    image = Image.new("P", (1, 1))
    image.putpalette(entries)
    return image


palette = given_palette()
operations = {
    "palette": lambda: picture.quantize(palette=palette, dither=Image.Dither.FLOYDSTEINBERG),
    "gray1": lambda: picture.convert("1"),
    "threshold1": lambda: picture.convert("1", dither=Image.Dither.NONE),
}
best = None
for _ in range(4):
    start = time.process_time()
    operations[operation]()
    spent = time.process_time() - start
    best = spent if best is None else min(best, spent)
print(best)
