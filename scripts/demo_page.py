"""The page that the demonstration ends with: what the library is for, an idea in each picture, and
below, folded away, every conversion."""
import html
import resource
import shlex
import shutil
import subprocess
from pathlib import Path
from urllib.parse import quote

from pictures import METHODS, SIZES

THUMBNAIL = "128x96"
RUNS = 5

STYLE = Path(__file__).with_name("manual") / "style.css"
MORE_STYLE = """
body { max-width: 84rem; }
.lede { font-size: 1.08rem; max-width: 62rem; margin: .4rem 0 1rem; }
.cards { display: grid; grid-template-columns: repeat(3, 1fr); gap: 1rem; }
.card { background: #fff; border: 1px solid #dde1e7; padding: .8rem 1rem; min-width: 0; }
.card.wide { grid-column: span 2; } .card.full { grid-column: 1 / -1; }
.card h2 { margin: 0; font-size: 1.1rem; } .card p { margin: .2rem 0 .6rem; font-size: .92rem; }
.card .pictures { display: grid; grid-template-columns: repeat(2, 1fr); gap: .6rem; margin: 0; }
.card.wide .pictures { grid-template-columns: repeat(4, 1fr); }
.card.full .pictures { grid-template-columns: repeat(6, 1fr); }
.card figure { border: 0; padding: 0; } .card figcaption { overflow-wrap: anywhere; }
.card figure img { width: 100%; } .page { max-height: 9rem; overflow: hidden; }
.card table { margin: .4rem 0; font-size: .88rem; } .card td, .card th { padding: .1rem .5rem; }
@media (max-width: 64rem) { .cards { grid-template-columns: repeat(2, 1fr); } }
@media (max-width: 44rem) { .cards { display: block; } .card { margin-bottom: 1rem; }
  .card.wide .pictures, .card.full .pictures { grid-template-columns: repeat(2, 1fr); } }
"""


def small_copy(tool, file):
    """A small picture of a file, for the page."""
    copy = tool.folder / "small" / f"{file.stem}.jpg"
    copy.parent.mkdir(exist_ok=True)
    tool.run("convert", file, copy, "--fit", THUMBNAIL, "--size-method", "lanczos", "--quality", 70)
    return copy


class Page:
    def __init__(self, tool, source):
        self.tool = tool
        self.folder = tool.folder / "page"
        self.folder.mkdir()
        self.shown = set()
        self.scene = self.folder / "scene.bmp"
        self.tool.run("convert", source, self.scene, "--fit", "480x360", "--bits", 24)
        self.small = self.folder / "small.bmp"
        self.tool.run("convert", self.scene, self.small, "--fit", "200x150")

    # ---- Pieces ----

    def image(self, file, words):
        info = self.tool.info(file)
        return (f'<img loading="lazy" width="{info["width"]}" height="{info["height"]}" '
                f'alt="{html.escape(words)}" src="{quote(str(file.relative_to(self.tool.folder)))}">')

    def figure(self, source, options, words=None, extension="png"):
        """What becomes of a picture; below it its options, or words."""
        file = self.folder / f"{len(self.shown)}.{extension}"
        self.shown.add(file)
        more = ("--quality", 85) if extension == "jpg" else ()
        self.tool.run("convert", source, file, *shlex.split(options), *more, statuses=(0, 3))
        caption = html.escape(words or options or "as it was")
        return (f"<figure>{self.image(file, words or options or 'as it was')}"
                f"<figcaption>{caption}</figcaption></figure>")

    @staticmethod
    def card(title, words, content, css=""):
        return (f'<section class="card {css}"><h2>{title}</h2><p>{words}</p>{content}</section>')

    @staticmethod
    def row(figures, css=""):
        return f'<div class="pictures {css}">{"".join(figures)}</div>'

    # ---- The cards ----

    def dithering(self):
        figures = [self.figure(self.small, f"--bits 1 --dither {method}", method)
                   for method in METHODS]
        return self.card("Black and white, eight ways",
                         "One picture in 1 bit by every method; in 16 and 256 colors below.",
                         self.row(figures, "sharp"), "wide")

    def sizes(self):
        detail = self.folder / "detail.bmp"
        self.tool.run("convert", self.scene, detail, "--crop", self.tool.detail(self.scene))
        figures = [self.figure(detail, "--size 400% --size-method nearest", "plain"),
                   self.figure(detail, "--size 400% --size-method mitchell", "smooth"),
                   self.figure(self.scene, "--size 25% --size-method nearest", "plain"),
                   self.figure(self.scene, "--size 25% --size-method lanczos", "smooth")]
        return self.card("Larger and smaller, plain and smooth",
                         "Pixels repeated and dropped, or mixed by one of five filters, in integers.",
                         self.row(figures, "sharp"))

    def damage(self):
        """A picture with a hole in its data, and a cut one."""
        whole = self.folder / "whole.jpg"
        self.tool.run("convert", self.scene, whole, "--quality", 80)
        data = bytearray(whole.read_bytes())
        hurt, cut = self.folder / "hurt.jpg", self.folder / "cut.gif"
        half = (data.index(b"\xff\xda") + len(data)) // 2  # of what stands behind the headers
        for at in range(half, min(half + 60, len(data))):
            data[at] ^= 0x55
        hurt.write_bytes(data)
        self.tool.run("convert", self.scene, cut, "--colors", 128)
        size = cut.stat().st_size
        cut.write_bytes(cut.read_bytes()[:size - max(0, size - 800) * 4 // 10])  # its head stays
        figures, words = [], []
        for file in (hurt, cut):
            said = self.tool.run("convert", "--partial", file, self.folder / "rest.bmp",
                                 statuses=(0, 3)).stderr
            words.append(said.strip().removeprefix("tavo: ").replace(str(file), file.name))
            figures.append(self.figure(file, "--partial", file.name, "jpg"))
        said = "".join(f"<br><code>{html.escape(line)}</code>" for line in words if line)
        return self.card("Damage is told and survived",
                         f"What can be read is shown, and a line says what could not.{said}",
                         self.row(figures))

    def scans(self):
        bad = self.folder / "scan.bmp"
        half = self.folder / "half.bmp"
        self.tool.run("convert", self.tool.folder / "fax.bmp", half, "--crop", "1728x1300+0+0",
                      "--size", "30%")
        self.tool.run("convert", half, bad, "--rotate", "6:smooth")
        figures = [self.figure(bad, "", "as it came"),
                   self.figure(bad, "--deskew --autocrop:8", "--deskew --autocrop")]
        return self.card("Scans put straight", "The angle of the lines of text is found, the page "
                         "turned, its margins cut.", self.row(figures))

    def processing(self):
        figures = [self.figure(self.small, options, extension="jpg") for options in (
            "--rotate 20:smooth:224466", "--hue 120", "--halftone 5", "--mosaic 8", "--median 7",
            "--posterize 4")]
        return self.card("Turned, filtered, adjusted", "In the order in which the options stand on "
                         "the line, a picture or a folder of them.", self.row(figures), "full")

    # ---- Beside the peers ----

    def peers(self, page, out):
        """Programs that read a page of Group 4 and write it so again, where they are installed."""
        pillow = ("from PIL import Image; import sys; "
                  "Image.open(sys.argv[1]).save(sys.argv[2], compression='group4')")
        commands = {
            "tavo": [self.tool.program, "convert", page, out, "--to", "group4"],
            "libtiff, tiffcp": ["tiffcp", "-c", "g4", page, out],
            "ImageMagick": ["convert", page, "-compress", "Group4", out],
            "GraphicsMagick": ["gm", "convert", page, "-compress", "Group4", out],
            "libvips": ["vips", "copy", page, f"{out}[compression=ccittfax4,bitdepth=1]"],
            "Pillow": ["/usr/bin/python3", "-c", pillow, page, out]}
        return {name: list(map(str, command)) for name, command in commands.items()
                if shutil.which(command[0])}

    def cost(self, command):
        """(milliseconds of the processor, KiB) of a run, None when it fails. A process that this one
        starts counts this one's memory as its own: time(1) stands between, which is small."""
        told = self.folder / "time"
        before = resource.getrusage(resource.RUSAGE_CHILDREN)
        done = subprocess.run(["/usr/bin/time", "-f", "%M", "-o", told, *command],
                              capture_output=True, check=False)
        after = resource.getrusage(resource.RUSAGE_CHILDREN)
        if done.returncode != 0:
            return None
        time = after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime
        return 1000 * time, int(told.read_text(encoding="ascii"))

    def fax(self):
        page, out = self.folder / "fax.tif", self.folder / "again.tif"
        self.tool.run("convert", self.tool.folder / "fax.bmp", page, "--to", "group4")
        lines = []
        for name, command in self.peers(page, out).items():
            runs = [run for run in (self.cost(command) for _ in range(RUNS)) if run]
            if runs:
                time, memory = min(run[0] for run in runs), min(run[1] for run in runs)
                lines.append(f'<tr><td>{name}<td class="number">{time:.0f}'
                             f'<td class="number">{memory / 1024:.0f}')
        size = page.stat().st_size
        table = ('<table><tr><th>program<th class="number">ms<th class="number">MiB'
                 + "".join(lines) + "</table>")
        picture = self.figure(page, "--crop 1728x900+0+0 --size 25%", "the upper part")
        return self.card("A page of a fax", f"1728 x 2200 pixels in {size:,} bytes, read and written "
                         f"again as Group 4: time of the processor and memory of the whole process, "
                         f"least of {RUNS}.", f'{table}<div class="page">{picture}</div>')

    # ---- What is folded away ----

    def conversions(self, name, rows, headings, numbers):
        def line(tag, cells, css=""):
            columns = (f'<{tag}{" class=number" if i in numbers else ""}>{html.escape(text)}</{tag}>'
                       for i, text in enumerate(cells))
            return f"<tr{css}>{''.join(columns)}</tr>"

        failed = sum(1 for row in rows if row.error)
        table = "".join([line("th", headings)] + [
            line("td", row.cells(), " class=failed" if row.error else "") for row in rows])
        figures = [f"<figure>{self.image(row.small, row.format)}<figcaption>{html.escape(row.format)},"
                   f" {row.bits}</figcaption></figure>" for row in rows if row.small]
        return (f'<details{" open" if failed else ""}><summary>{html.escape(name)}: {len(rows)} '
                f"conversions, {failed} failed</summary><p>Each was converted, read back and compared "
                f"with the original (PSNR).</p><table>{table}</table>{self.row(figures)}</details>")

    def everything(self):
        processed = [self.figure(self.small, options, extension="jpg")
                     for options in self.tool.processing(self.small)]
        sizes = [self.figure(self.small, options.replace("400%", "160%"), extension="jpg")
                 for options in SIZES]
        dithered = [self.figure(self.small, f"--bits {bits} --dither {method}")
                    for bits in (4, 8) for method in METHODS]
        return "".join(f"<details><summary>{title}</summary>{self.row(figures)}</details>"
                       for title, figures in (("Dithering to 16 and 256 colors", dithered),
                                              ("Rotation, filters and adjustments", processed),
                                              ("Sizes", sizes)))


def write(tool, source, tables, headings, numbers):
    page = Page(tool, source)
    readable = [fmt for fmt in tool.json("formats") if fmt["read"]]
    cards = "".join(card() for card in (page.dithering, page.fax, page.sizes, page.damage, page.scans,
                                        page.processing))
    total = sum(map(len, tables.values()))
    failed = sum(1 for rows in tables.values() for row in rows if row.error)
    conversions = "".join(page.conversions(name, rows, headings, numbers)
                          for name, rows in tables.items())
    text = (
        '<!doctype html>\n<html lang="en">\n<meta charset="utf-8">'
        '<meta name="viewport" content="width=device-width"><title>TAVO45</title>'
        f"<style>{STYLE.read_text(encoding='utf-8')}{MORE_STYLE}</style>\n<h1>TAVO45</h1>\n"
        '<p class="lede">TAVO45 is a library, and the command line <code>tavo</code>, that reads, '
        f"repairs, converts and writes the raster files of forty years, {len(readable)} formats from "
        "fax pages and MacPaint to PNG and JPEG: one C interface, no other library behind it, the "
        "same bytes on Linux and Windows. Every picture below was just made by it.</p>\n"
        f'<div class="cards">{cards}</div>\n<h2>Everything that was converted: {total} files, '
        f'<span class="{"failed" if failed else ""}">{failed} failed</span></h2>\n'
        f"{conversions}{page.everything()}\n</html>\n")
    path = tool.folder / "index.html"
    path.write_text(text, encoding="utf-8")
    for file in set(page.folder.iterdir()) - page.shown:
        file.unlink()
    return path
