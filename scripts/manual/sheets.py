"""Makes the pictures of docs/processing.md, a sheet of all options and one of all sizes.

usage: sheets.py BUILD"""
import shlex
import subprocess
import sys
import tempfile
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
sys.path.append(str(ROOT / "scripts"))
import pictures  # noqa: E402


def sheet(tool, name, titles, columns):
    """Pictures, each [source, options...] by its title, on one page: docs/NAME.jpg."""
    folder = tool.folder / name
    folder.mkdir()
    files = []
    for title, (source, *options) in titles.items():
        files.append(folder / f"{title}.bmp")
        tool.run("convert", source, files[-1], *options, "--bits", 24)
    page = folder / "page.bmp"
    tool.run("sheet", *files, page, "--columns", columns, "--landscape", "--dpi", 110)
    tool.run("convert", page, ROOT / "docs" / f"{name}.jpg", "--quality", 85)


def main():
    build = Path(sys.argv[1]).resolve()
    with tempfile.TemporaryDirectory() as folder:
        tool = pictures.Tool(build / "tools" / "tavo", Path(folder))
        scene, small, detail = (tool.folder / f"{name}.bmp" for name in ("scene", "small", "detail"))
        subprocess.run([build / "examples" / "tavo_picture", "scene", "480", "360", scene], check=True)
        tool.run("convert", scene, small, "--fit", "240x180")
        tool.run("convert", scene, detail, "--crop", tool.detail(scene))
        options = {text.removeprefix("--").replace(":", ",").partition(" '")[0] or "as it was": text
                   for text in tool.processing(small)}
        sheet(tool, "processing", {title: [small, *shlex.split(text)]
                                   for title, text in options.items()}, 7)
        sheet(tool, "sizes", {" ".join(text.split()[1::2]):
                              [scene if "30%" in text else detail, *text.split()]
                              for text in pictures.SIZES}, 4)


if __name__ == "__main__":
    main()
