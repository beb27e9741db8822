"""Writes the site: the pages of docs/, with what they point at shown in them, commands run, tables,
charts and pictures made by the version at hand.

usage: site.py BUILD SITE      BUILD: a native build; SITE: a folder in which Doxygen has written
                               reference/, with tags.xml beside it"""
import html
import re
import shlex
import shutil
import subprocess
import sys
import xml.etree.ElementTree as ElementTree
from pathlib import Path

import markdown

import made

ROOT = Path(__file__).resolve().parents[2]
DOCS = ROOT / "docs"

# The pages in their order, by the names that the others know them by.
PAGES = {
    "index": "TAVO45", "first-picture": "First picture", "rows": "Rows",
    "what-is-kept": "Formats", "bad-input": "Bad input", "speed": "Speed",
    "command-line": "In pictures", "processing": "Processing", "bulk": "Many files",
    "coming-from": "Coming from", "drawings": "Drawings", "formats": "Own formats"}

HEAD = """<!doctype html>
<html lang="en">
<meta charset="utf-8"><meta name="viewport" content="width=device-width">
<title>{title}</title>
<link rel="stylesheet" href="style.css">
<nav>{links}</nav>
<main>
"""


def code_block(code, language=""):
    return f'<pre class="{language}"><code>{html.escape(code.rstrip())}</code></pre>'


class Site:
    def __init__(self, build, folder):
        self.folder = folder
        self.base = DOCS  # of the links of the page at work
        self.programs = [build / "tools", build / "examples"]
        self.work = folder.parent / "work"
        shutil.rmtree(self.work, ignore_errors=True)
        self.work.mkdir(parents=True)
        for kind, size in (("scene", (480, 360)), ("page", (620, 520))):
            subprocess.run([build / "examples" / "tavo_picture", kind, *map(str, size),
                            self.work / f"{kind}.bmp"], check=True)
        self.maker = made.Maker(build / "tools" / "tavo", self.work, folder / "pictures")
        self.functions = {}
        for member in ElementTree.parse(folder.parent / "tags.xml").iter("member"):
            name, page = member.findtext("name"), member.findtext("anchorfile")
            if name and page:
                self.functions[name] = f"reference/{page}#{member.findtext('anchor')}"

    # ---- What the pages ask for ----

    def shown(self, match):
        """[text](path "shown here"), on a line of its own: the file, of a page its first program."""
        text = (DOCS / match[2]).read_text(encoding="utf-8")
        if match[2].endswith(".md"):
            text = re.search(r"^```c\n(.*?)^```$", text, re.M | re.S)[1]
        return f"{match[1]}:\n\n{code_block(text)}\n"

    def table(self, match):
        """[text](path "the table of NAME"): what is in columns in that section of another page."""
        text = (DOCS / match[1]).read_text(encoding="utf-8")
        text = re.search(rf"^## {re.escape(match[2])}\n(.*?)^## ", text, re.M | re.S)[1]
        return "\n".join(line for line in text.splitlines() if line.startswith("|"))

    def run(self, match):
        """Commands that are run where the sample pictures are, and what they print."""
        path = ":".join(map(str, self.programs))
        done = subprocess.run(["bash", "-c", f"set -e; PATH={shlex.quote(path)}:$PATH\n{match[1]}"],
                              cwd=self.work, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                              text=True, check=False)
        if done.returncode != 0:
            raise SystemExit(f"these commands of a page fail:\n{match[1]}{done.stdout}")
        output = f'\n<pre class="output">{html.escape(done.stdout.rstrip())}</pre>\n'
        return code_block(match[1], "sh") + (output if done.stdout else "\n")

    # ---- Links ----

    def link(self, match):
        """Pages become pages of the site; other files of the project are copied beside them."""
        address, _, place = match[2].partition("#")
        if not address or "://" in address:
            return match[0]
        path = (self.base / address).resolve()
        if path == ROOT / "include" / "tavo45.h":
            return f'{match[1]}="reference/modules.html"'
        if path.parent == DOCS and path.suffix == ".md":
            return f'{match[1]}="{path.stem}.html{"#" + place if place else ""}"'
        if path.is_dir():  # a folder of one example
            path = next(path.iterdir())
        if not path.is_file():
            return match[0]  # which the check of links tells
        if path.suffix == ".md":
            return f'{match[1]}="{path.stem.lower()}.html"'
        copy = self.folder / "files" / path.relative_to(ROOT)
        copy.parent.mkdir(parents=True, exist_ok=True)
        shutil.copyfile(path, copy)
        return f'{match[1]}="{copy.relative_to(self.folder)}"'

    def reference(self, match):
        """Names of the interface in the text lead to their descriptions."""
        address = self.functions.get(match[1])
        return f'<code><a href="{address}">{match[1]}</a></code>' if address else match[0]

    # ---- Pages ----

    def page(self, source, name):
        self.base = source.parent
        text = source.read_text(encoding="utf-8")
        text = re.sub(r'^\[([^\]]+)\]\((\S+) "shown here"\)$', self.shown, text, flags=re.M)
        text = re.sub(r'^\[[^\]]+\]\((\S+) "the table of ([^"]+)"\)$', self.table, text, flags=re.M)
        text = re.sub(r"^```sh run\n(.*?)^```$", self.run, text, flags=re.M | re.S)
        text = re.sub(r"<!-- made: ([\w-]+) -->", lambda m: self.maker.make(m[1]), text)
        body = markdown.markdown(text, extensions=["tables", "fenced_code", "toc", "md_in_html"])
        body = re.sub(r'(href|src)="([^"]*)"', self.link, body)
        body = re.sub(r"<code>(T_\w+)</code>", self.reference, body)
        title = html.unescape(re.search(r"<h1[^>]*>(.*?)</h1>", body)[1])
        links = "\n".join(f'<a href="{page}.html"{" aria-current=page" if page == name else ""}>'
                          f"{label}</a>" for page, label in PAGES.items())
        links += '\n<a href="reference/modules.html">Reference</a>'
        head = HEAD.format(title=re.sub("<[^>]+>", "", title), links=links)
        (self.folder / f"{name}.html").write_text(f"{head}{body}\n</main>\n</html>\n",
                                                  encoding="utf-8")

    def write(self):
        shutil.copyfile(Path(__file__).with_name("style.css"), self.folder / "style.css")
        for name in PAGES:
            self.page(DOCS / f"{name}.md", name)
        for name in ("SECURITY", "CHANGELOG"):
            self.page(ROOT / f"{name}.md", name.lower())
        shutil.rmtree(self.work)


if __name__ == "__main__":
    Site(Path(sys.argv[1]).resolve(), Path(sys.argv[2]).resolve()).write()
