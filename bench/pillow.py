"""Times one Pillow operation for the benchmarks: pillow.py OPERATION RAWFILE WIDTH HEIGHT CHANNELS.

Prints the median processor seconds of some runs, the picture being in memory.
"""
import statistics
import sys
import time

from PIL import Image

operation, name = sys.argv[1:3]
width, height, channels = map(int, sys.argv[3:6])
mode = {1: "L", 3: "RGB", 4: "RGBA"}[channels]
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


def resize(halves):
    size = (width * halves // 2, height * halves // 2)
    return lambda: picture.resize(size, Image.Resampling.NEAREST)


palette = given_palette()
operations = {
    "palette": lambda: picture.quantize(palette=palette, dither=Image.Dither.FLOYDSTEINBERG),
    "palette_none": lambda: picture.quantize(palette=palette, dither=Image.Dither.NONE),
    "gray1": lambda: picture.convert("1"),
    "threshold1": lambda: picture.convert("1", dither=Image.Dither.NONE),
    "resize1": resize(1),
    "resize3": resize(3),
    "resize4": resize(4),
}
times = []
for _ in range(7):
    start = time.process_time()
    operations[operation]()
    times.append(time.process_time() - start)
print(statistics.median(times))
