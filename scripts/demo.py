"""Converts pictures with the command line through every format and depth that it writes, reads each
result back, prints one table and writes one page of the pictures.

usage: demo.py TAVO FOLDER FILE..."""

import base64
import html
import io
import json
import math
import subprocess
import sys
import time
from dataclasses import dataclass
from pathlib import Path

from PIL import Image, ImageChops, ImageStat

LARGEST = (800, 600)  # of larger pictures the page shows the middle
REPEATS = 3

STYLE = """
body { font: 15px/1.5 system-ui, sans-serif; margin: 2rem auto; max-width: 76rem; padding: 0 1rem;
       color: #1d2430; background: #f6f7f9; }
h1 { font-size: 1.6rem; } h2 { margin-top: 2.5rem; font-size: 1.2rem; }
table { border-collapse: collapse; margin-bottom: 1.2rem; background: #fff; }
th, td { padding: .3rem .9rem; border-bottom: 1px solid #dde1e7; text-align: left; }
td.number, th.number { text-align: right; font-variant-numeric: tabular-nums; }
.pictures { display: flex; flex-wrap: wrap; gap: 1.2rem; }
figure { margin: 0; background: #fff; padding: .6rem; border: 1px solid #dde1e7; }
figcaption { padding-top: .4rem; font-size: .85rem; }
img { display: block; max-width: 100%; image-rendering: pixelated; }
.failed { color: #b3261e; }
"""


class ToolError(Exception):
    """The command line refused; the text is its line on standard error."""


@dataclass
class Result:
    """One conversion of one picture."""

    source: str
    format: str
    bits: int
    size: int = 0
    milliseconds: float = 0.0
    psnr: float = 0.0
    picture: Image.Image = None
    error: str = ""

    def cells(self):
        if self.error:
            return [self.source, self.format, str(self.bits), "", "", self.error]
        quality = "exact" if math.isinf(self.psnr) else f"{self.psnr:.2f} dB"
        return [self.source, self.format, str(self.bits), f"{self.size:,}",
                f"{self.milliseconds:.1f}", quality]


class Tool:
    def __init__(self, program, folder):
        self.program = program
        self.folder = folder

    def run(self, *arguments):
        done = subprocess.run([self.program, *map(str, arguments)], capture_output=True, text=True)
        if done.returncode != 0:
            raise ToolError(done.stderr.strip() or f"exit status {done.returncode}")
        return done.stdout

    def formats(self):
        return json.loads(self.run("formats", "--json"))

    def read(self, path):
        """The picture as the library reads it, in 24 bits."""
        copy = self.folder / "read-back.bmp"
        self.run("convert", path, copy, "--format", "bmp", "--bits", 24)
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
        result.picture = tool.read(target)
        result.psnr = psnr(original, result.picture)
    except ToolError as error:
        result.error = str(error)
    return result


MACPAINT = 51
HEADINGS = ["picture", "format", "depth", "bytes", "ms", "PSNR"]
NUMBERS = (2, 3, 4)


def print_table(rows):
    cells = [HEADINGS] + [row.cells() for row in rows]
    widths = [max(len(row[i]) for row in cells) for i in range(len(HEADINGS) - 1)]
    for row in cells:
        columns = [text.rjust(widths[i]) if i in NUMBERS else text.ljust(widths[i])
                   for i, text in enumerate(row[:-1])]
        print("  ".join(columns + row[-1:]))


def data_uri(picture):
    if picture.width > LARGEST[0] or picture.height > LARGEST[1]:
        left = max(0, (picture.width - LARGEST[0]) // 2)
        top = max(0, (picture.height - LARGEST[1]) // 2)
        picture = picture.crop((left, top, min(picture.width, left + LARGEST[0]),
                                min(picture.height, top + LARGEST[1])))
    colors = picture.getcolors(256)
    if colors:  # the same pixels in fewer bytes
        picture = picture.quantize(len(colors), dither=Image.Dither.NONE)
    stream = io.BytesIO()
    picture.save(stream, "PNG", optimize=True)
    return "data:image/png;base64," + base64.b64encode(stream.getvalue()).decode()


def html_table(rows):
    def line(tag, cells, css=""):
        columns = (f'<{tag}{" class=number" if i in NUMBERS else ""}>{html.escape(text)}</{tag}>'
                   for i, text in enumerate(cells))
        return f"<tr{css}>{''.join(columns)}</tr>"

    lines = [line("th", HEADINGS)]
    lines += [line("td", row.cells(), " class=failed" if row.error else "") for row in rows]
    return "<table>" + "\n".join(lines) + "</table>"


def figure(picture, caption):
    return (f'<figure><img alt="{html.escape(caption)}" src="{data_uri(picture)}">'
            f"<figcaption>{html.escape(caption)}</figcaption></figure>")


def html_section(source, original, rows):
    figures = [figure(original, f"original, {original.width} x {original.height}")]
    for row in rows:
        if row.picture:
            _, name, bits, size, _, quality = row.cells()
            figures.append(figure(row.picture, f"{name}, depth {bits}, {size} bytes, {quality}"))
    return (f"<h2>{html.escape(source.name)}</h2>\n{html_table(rows)}\n"
            f'<div class="pictures">{"".join(figures)}</div>')


METHODS = ("none", "floyd-steinberg", "stucki", "burkes", "sierra", "stevenson-arce", "jarvis",
           "ordered")


def dithering(tool, source):
    """One picture under every dithering method at 1, 4 and 8 bits."""
    def made(caption, *options):
        target = tool.folder / "sheet.bmp"
        tool.run("convert", source, target, *options)
        picture = tool.read(target)
        target.unlink()
        return figure(picture, caption)

    dithered = [made(f"{method}, depth {bits}", "--bits", bits, "--dither", method)
                for bits in (1, 4, 8) for method in METHODS]
    return f'<h2>Dithering methods</h2>\n<div class="pictures">{"".join(dithered)}</div>'


# Each by its options, which are also its name on the sheet.
PROCESSING = (
    "", "--rotate 20", "--rotate 20:smooth:224466", "--rotate -90", "--flip h", "--flip v",
    "--crop middle", "--blur 9", "--median 9", "--sharpen 400", "--mosaic 8",
    "--despeckle 8", "--kernel emboss", "--erode 5", "--dilate 5", "--open 7", "--close 7",
    "--brightness 250", "--brightness -250", "--contrast 400", "--contrast -500",
    "--saturation -1000", "--saturation 1000", "--hue 120", "--invert", "--posterize 4",
    "--equalize", "--halftone 6")
SIZES = [f"--size {size} --size-method {method}" for size, methods in (
    ("30%", ("nearest", "box", "triangle", "lanczos")),
    ("400%", ("nearest", "triangle", "cubic", "mitchell"))) for method in methods]


def middle(tool, picture, width, height):
    """The rectangle of at most this size in the middle of a picture."""
    info = json.loads(tool.run("info", "--json", picture))[0]
    width, height = min(width, info["width"]), min(height, info["height"])
    return f"{width}x{height}+{(info['width'] - width) // 2}+{(info['height'] - height) // 2}"


def contact_sheet(tool, name, pictures, columns):
    """The pictures, each the command line's arguments by its name, on one page: NAME.jpg."""
    folder = tool.folder / name
    folder.mkdir()
    files = []
    for title, arguments in pictures.items():
        files.append(folder / f"{title}.bmp")
        tool.run("convert", *arguments[:1], files[-1], *arguments[1:], "--bits", 24)
    page = folder / "page.bmp"
    tool.run("sheet", *files, page, "--columns", columns, "--landscape", "--dpi", 110)
    sheet = tool.folder / f"{name}.jpg"
    tool.run("convert", page, sheet, "--quality", 85)
    for file in (*files, page):
        file.unlink()
    folder.rmdir()
    return sheet


def sheet_section(title, sheet):
    data = base64.b64encode(sheet.read_bytes()).decode()
    return f'<h2>{title}</h2>\n<figure><img alt="" src="data:image/jpeg;base64,{data}"></figure>'


def processing(tool, source):
    small = tool.folder / "small.bmp"
    tool.run("convert", source, small, "--fit", "240x180", "--bits", 24)
    values = {"emboss": "-2 -1 0 -1 1 1 0 1 2", "middle": middle(tool, small, 120, 90)}
    pictures = {}
    for text in PROCESSING:
        option, _, value = text.partition(" ")
        arguments = [option, values.get(value, value)] if value else [option] if option else []
        pictures[text.removeprefix("--").replace(":", ",") or "as it was"] = [small, *arguments]
    sheet = contact_sheet(tool, "processing", pictures, 7)
    small.unlink()
    return sheet_section("Rotation, filters and adjustments", sheet)


def sizes(tool, source):
    detail = tool.folder / "detail.bmp"
    tool.run("convert", source, detail, "--crop", middle(tool, source, 64, 48), "--bits", 24)
    pictures = {}
    for text in SIZES:
        _, size, _, method = text.split()
        pictures[f"{size} {method}"] = [source if size == "30%" else detail, *text.split()]
    sheet = contact_sheet(tool, "sizes", pictures, 4)
    detail.unlink()
    return sheet_section("Sizes: repeated pixels and mixed ones", sheet)


def main():
    program, folder, *files = sys.argv[1:]
    tool = Tool(program, Path(folder))
    # MacPaint documents are pages of 576 x 720 pixels: other pictures do not come back as they were.
    formats = [fmt for fmt in tool.formats() if fmt["write"] and fmt["id"] != MACPAINT]
    sections = []
    results = []
    for source in map(Path, files):
        print(tool.run("info", source).strip())
        original = tool.read(source)
        rows = [convert(tool, source, original, fmt, bits)
                for fmt in formats for bits in fmt["depths"]]
        sections.append(html_section(source, original, rows))
        results += rows
    print_table(results)
    sections += [part(tool, files[0]) for part in (dithering, processing, sizes)]
    page = tool.folder / "index.html"
    page.write_text("<!doctype html><html lang=en><meta charset=utf-8><title>TAVO45 pictures</title>"
                    f"<style>{STYLE}</style><h1>Every format, every depth</h1>\n"
                    "<p>Each picture was converted by <code>tavo convert</code> and read back; "
                    "PSNR is against the original.</p>\n" + "\n".join(sections) + "</html>\n",
                    encoding="utf-8")
    total = len(results)
    failed = sum(1 for row in results if row.error)
    print(f"{total} conversions, {failed} failed; the pictures: {page}")
    return 1 if failed or total == 0 else 0


if __name__ == "__main__":
    try:
        sys.exit(main())
    except ToolError as error:
        sys.exit(f"demo: {error}")
