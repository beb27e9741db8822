"""Converts pictures with the command line through every format and depth that it writes, reads each
result back, prints one table and writes one page.

usage: demo.py TAVO FOLDER FILE...      FOLDER has the page of a fax, fax.bmp"""
import math
import sys
import time
from dataclasses import dataclass
from pathlib import Path

from PIL import Image, ImageChops, ImageStat

import demo_page
from pictures import Tool, ToolError

REPEATS = 3
# MacPaint documents are pages of 576 x 720 pixels: other pictures do not come back as they were.
MACPAINT = 51


@dataclass
class Result:
    """One conversion of one picture."""

    source: str
    format: str
    bits: int
    size: int = 0
    milliseconds: float = 0.0
    psnr: float = 0.0
    small: Path = None
    error: str = ""

    def cells(self):
        if self.error:
            return [self.source, self.format, str(self.bits), "", "", self.error]
        quality = "exact" if math.isinf(self.psnr) else f"{self.psnr:.2f} dB"
        return [self.source, self.format, str(self.bits), f"{self.size:,}",
                f"{self.milliseconds:.1f}", quality]


def read(tool, path):
    """The picture as the library reads it, in 24 bits."""
    copy = tool.folder / "read-back.bmp"
    tool.run("convert", path, copy, "--format", "bmp", "--bits", 24)
    with Image.open(copy) as picture:
        picture.load()
    copy.unlink()
    return picture.convert("RGB")


def psnr(one, other):
    if one.size != other.size:
        raise ToolError(f"the size changed from {one.size} to {other.size}")
    squares = ImageStat.Stat(ImageChops.difference(one, other)).sum2
    mean = sum(squares) / (one.width * one.height * len(squares))
    return math.inf if mean == 0 else 10 * math.log10(255**2 / mean)


def convert(tool, source, original, fmt, bits):
    name = fmt["name"]
    extension = (fmt["extensions"] or ["out"])[0]
    target = tool.folder / f"{source.stem}-{fmt['id']}-{bits}.{extension}"
    result = Result(source.name, name, bits)
    try:
        times = []
        for _ in range(REPEATS):
            start = time.perf_counter()
            tool.run("convert", source, target, "--format", fmt["id"], "--bits", bits)
            times.append(1000 * (time.perf_counter() - start))
        result.milliseconds = sorted(times)[len(times) // 2]
        result.size = target.stat().st_size
        result.psnr = psnr(original, read(tool, target))
        result.small = demo_page.small_copy(tool, target)
    except ToolError as error:
        result.error = str(error)
    return result


HEADINGS = ["picture", "format", "depth", "bytes", "ms", "PSNR"]
NUMBERS = (2, 3, 4)


def print_table(rows):
    cells = [HEADINGS] + [row.cells() for row in rows]
    widths = [max(len(row[i]) for row in cells) for i in range(len(HEADINGS) - 1)]
    for row in cells:
        columns = [text.rjust(widths[i]) if i in NUMBERS else text.ljust(widths[i])
                   for i, text in enumerate(row[:-1])]
        print("  ".join(columns + row[-1:]))


def convert_all(tool, sources):
    """Every picture in every format and depth."""
    formats = [fmt for fmt in tool.json("formats") if fmt["write"] and fmt["id"] != MACPAINT]
    jobs = [(source, fmt, bits) for source in sources for fmt in formats for bits in fmt["depths"]]
    originals = {source: read(tool, source) for source in sources}
    results = []
    for source, fmt, bits in jobs:
        results.append(convert(tool, source, originals[source], fmt, bits))
        if sys.stdout.isatty():
            print(f"\rconverting, {len(results)}/{len(jobs)} ", end="", flush=True)
    if sys.stdout.isatty():
        print("\r\033[K", end="")
    return results


def main():
    program, folder, *files = sys.argv[1:]
    tool = Tool(program, Path(folder))
    sources = [Path(file) for file in files]
    for source in sources:
        print(tool.run("info", source).stdout.strip())
    results = convert_all(tool, sources)
    print_table(results)
    tables = {source.name: [row for row in results if row.source == source.name]
              for source in sources}
    page = demo_page.write(tool, sources[0], tables, HEADINGS, NUMBERS)
    total = len(results)
    failed = sum(1 for row in results if row.error)
    print(f"{total} conversions, {failed} failed; the pictures: {page}")
    return 1 if failed or total == 0 else 0


if __name__ == "__main__":
    try:
        sys.exit(main())
    except ToolError as error:
        sys.exit(f"demo: {error}")
