"""Checks a site: every link and picture leads to a file and a place that are there, and no file is
larger than a megabyte. Addresses of other sites are counted, not asked.

usage: links.py FOLDER"""
import sys
from html.parser import HTMLParser
from pathlib import Path
from urllib.parse import unquote, urlsplit

LARGEST = 1_000_000


class Page(HTMLParser):
    def __init__(self, path):
        super().__init__()
        self.links, self.places = [], set()
        self.feed(path.read_text(encoding="utf-8"))

    def handle_starttag(self, tag, attrs):
        for name, value in attrs:
            if name in ("id", "name") and value:
                self.places.add(value)
            elif name in ("href", "src") and value:
                self.links.append(value)


def faults(folder):
    """(lines that tell what is wrong, links looked at, addresses elsewhere)."""
    pages = {path.resolve(): Page(path) for path in folder.rglob("*.html")}
    lines, count, elsewhere = [], 0, 0
    for path, page in pages.items():
        for link in page.links:
            parts = urlsplit(link)
            if parts.scheme or parts.netloc:
                elsewhere += parts.scheme not in ("data", "javascript")
                continue
            count += 1
            target = (path.parent / unquote(parts.path)).resolve() if parts.path else path
            if not target.is_file():
                lines.append(f"{path.relative_to(folder)}: {link}: there is no such file")
            elif parts.fragment and target in pages \
                    and unquote(parts.fragment) not in pages[target].places:
                lines.append(f"{path.relative_to(folder)}: {link}: there is no such place")
    for path in folder.rglob("*"):
        if path.is_file() and path.stat().st_size > LARGEST:
            lines.append(f"{path.relative_to(folder)}: {path.stat().st_size} bytes")
    return lines, count, elsewhere


def main():
    folder = Path(sys.argv[1]).resolve()
    lines, count, elsewhere = faults(folder)
    print("\n".join(lines), end="\n" if lines else "")
    size = sum(path.stat().st_size for path in folder.rglob("*") if path.is_file())
    print(f"{count} links, {len(lines)} faults; {elsewhere} addresses of other sites; "
          f"{size / 1e6:.1f} MB")
    return 1 if lines or count == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
