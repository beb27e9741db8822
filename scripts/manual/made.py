"""The parts of pages that are made by the version at hand: tables, charts and pictures."""
import html
import shlex
import sys
from pathlib import Path

from PIL import Image, ImageChops, ImageCms

sys.path.append(str(Path(__file__).resolve().parents[1]))
import charts  # noqa: E402
import figures  # noqa: E402
import pictures  # noqa: E402

SAMPLE_DPI = 300
SAME_AS_OTHERS = {14, 11, 22, 24, 23, 10, 17, 25, 27}  # variants that keep what their format keeps


def table(heads, rows):
    def line(tag, cells):
        return "<tr>" + "".join(f"<{tag}>{html.escape(str(cell))}</{tag}>" for cell in cells) + "</tr>"
    return "<table>" + line("th", heads) + "".join(line("td", row) for row in rows) + "</table>\n"


class Maker:
    def __init__(self, program, work, folder):
        self.tool = pictures.Tool(program, work)
        self.work = work
        self.folder = folder  # of the pictures, beside the pages
        folder.mkdir(exist_ok=True)
        self.scene, self.page = work / "scene.bmp", work / "page.bmp"
        self.small = work / "small-scene.bmp"
        self.tool.run("convert", self.scene, self.small, "--fit", "240x180")

    def make(self, name):
        return getattr(self, name.replace("-", "_"))()

    # ---- What formats keep ----

    def _samples(self):
        """A picture with all that one can have, and pages."""
        rich, pages = self.work / "rich.png", self.work / "pages.tif"
        with Image.open(self.small) as scene:
            picture = scene.convert("RGBA")
        picture.putalpha(picture.getchannel("R").point(lambda level: max(level, 1)))
        profile = ImageCms.ImageCmsProfile(ImageCms.createProfile("sRGB")).tobytes()
        exif = Image.Exif()
        exif[0x010E] = "a sample"
        picture.save(rich, icc_profile=profile, exif=exif, dpi=(SAMPLE_DPI, SAMPLE_DPI))
        flat = picture.convert("RGB")
        flat.save(pages, save_all=True, append_images=[flat, flat])
        return rich, pages

    def _colors(self, plain, out):
        """What became of 24 bits, seen by reading the file back."""
        back = self.work / "back.bmp"
        info = self.tool.info(out)
        self.tool.run("convert", out, back, "--bits", 24)
        with Image.open(plain) as before, Image.open(back) as after:
            if before.size != after.size:
                return "another size"
            if not ImageChops.difference(before.convert("RGB"), after.convert("RGB")).getbbox():
                return "all"
        if info["bits_per_pixel"] > 8:
            return "nearly all (JPEG)"
        return "grey" if info["gray"] else {1: "black and white", 4: "16", 8: "256"}[
            info["bits_per_pixel"]]

    def _kept(self, fmt, rich, plain, pages):
        name = fmt["extensions"][0]
        out = self.work / f"kept-{fmt['id']}.{name}"
        notes = self.tool.run("convert", rich, out, "--to", fmt["id"]).stderr
        resolution = self.tool.info(out).get("x_dpi")
        opacity = "opacity" not in notes
        profiles = [word for word in ("ICC", "EXIF") if word not in notes]
        self.tool.run("convert", plain, out, "--to", fmt["id"])
        colors = self._colors(plain, out)
        self.tool.run("convert", pages, out, "--to", fmt["id"], "--page", "all")
        count = self.tool.info(out)["pages"]
        states = resolution and abs(resolution - SAMPLE_DPI) <= 1
        return (fmt["name"], colors, "yes" if opacity else "no", ", ".join(profiles) or "no",
                "yes" if states else f"states {resolution}" if resolution else "no",
                "in one file" if count == 3 else "a file each")

    def what_is_kept(self):
        rich, pages = self._samples()
        plain = self.work / "plain.bmp"
        self.tool.run("convert", pages, plain)
        rows = [self._kept(fmt, rich, plain, pages) for fmt in self.tool.json("formats")
                if fmt["write"] and fmt["id"] not in SAME_AS_OTHERS]
        return table(("written as", "colors", "opacity", "profile, camera data", "resolution",
                      "pages"), rows)

    # ---- Figures ----

    def reliability(self):
        data = figures.shown("reliability")
        names = {"passed": "tests passed", "failed": "tests failed", **figures.COUNTS}
        targets = data["targets"]
        rows = [(words, *(f"{sums.get(key, 0):,}" for sums in targets.values()))
                for key, words in names.items()]
        fuzz = data["fuzz"]
        return (table(("", *(figures.TARGETS[target] for target in targets)), rows) +
                f"<p>Of {data['date']}, commit {data['commit']}, from what the tests wrote. Besides, "
                f"{fuzz['targets']} fuzz targets run at every change, from {fuzz['seeds']} seeds and "
                f"{fuzz['regressions']} inputs that failed once.</p>\n")

    def charts(self):
        data = figures.shown("speed")
        out = [f"<p>Of {data['date']}, commit {data['commit']}, {data['target']}, on "
               f"{html.escape(data['processor'])} with {data['processors']} processors, which other "
               f"programs were using (load {data['load']}): look at the proportions, not at the "
               "milliseconds.</p>\n"]
        for title, svg in charts.drawn(data["milliseconds"]):
            name = "chart-" + "-".join(title.lower().replace(",", "").split()) + ".svg"
            (self.folder / name).write_text(svg, encoding="utf-8")
            out.append(f'<h2>{html.escape(title)}</h2>\n<img loading="lazy" '
                       f'alt="{html.escape(title)}: milliseconds" src="pictures/{name}">\n')
        return "\n".join(out)

    # ---- Pictures ----

    def _figure(self, name, source, options, extension="png", more=()):
        """A picture by its options, which stand below it."""
        file = self.folder / f"{name}.{extension}"
        arguments = shlex.split(options)
        self.tool.run("convert", source, file, *arguments, *more)
        info = self.tool.info(file)
        caption = html.escape(options or "as it was")
        return (f'<figure><img loading="lazy" width="{info["width"]}" height="{info["height"]}" '
                f'alt="{caption}" src="pictures/{file.name}"><figcaption><code>{caption}</code>'
                "</figcaption></figure>")

    def _row(self, figures_, css="pictures"):
        return f'<div class="{css}">' + "\n".join(figures_) + "</div>\n"

    def dithering(self):
        return "\n".join(self._row(
            (self._figure(f"dither-{method}-{bits}", self.small, f"--bits {bits} --dither {method}")
             for method in pictures.METHODS), "pictures sharp") for bits in (1, 4, 8))

    def processing(self):
        return self._row(self._figure(f"processing-{i}", self.small, options, "jpg",
                                      ("--quality", 88))
                         for i, options in enumerate(self.tool.processing(self.small)))

    def sizes(self):
        detail = self.work / "detail.bmp"
        self.tool.run("convert", self.scene, detail, "--crop", self.tool.detail(self.scene))
        return self._row(self._figure(f"size-{i}", self.scene if "30%" in options else detail,
                                      options) for i, options in enumerate(pictures.SIZES))

    def scans(self):
        skewed = self.work / "skewed.bmp"
        self.tool.run("convert", self.page, skewed, "--rotate", "4:smooth", "--bits", 8)
        return self._row(self._figure(f"scan-{i}", skewed, options) for i, options in enumerate(
            ("", "--deskew", "--deskew --autocrop:20", "--deskew --autocrop:20 --bits 1")))
