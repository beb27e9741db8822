"""The public header as the manual that it is: sections, and in each the comments with what they are
about. Manual pages and the site are made from this; the text has no second copy."""
import re
from dataclasses import dataclass, field
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
HEADER = ROOT / "include" / "tavo45.h"

SECTION = re.compile(r"/\* ---- (.+?) -+ \*/\n")
FUNCTION = re.compile(r"^T_API\s+(.+?)\bT_CALL\s+(\w+)\((.*)\);$", re.S)
TERM = re.compile(r"(\S(?:.{0,22}?\S)?)  +(\S.*)")


@dataclass
class Part:
    """A comment, line by line without its frame, and the declarations below it."""
    comment: list
    code: list = field(default_factory=list)

    def functions(self):
        """(result, name, parameters) of each function that is declared."""
        text = re.sub(r"/\*.*?\*/", "", "\n".join(self.code), flags=re.S)
        found = (FUNCTION.match(one.strip() + ";") for one in text.split(";"))
        return [(m[1].strip(), m[2], " ".join(m[3].split())) for m in found if m]


@dataclass
class Block:
    """Parts that stand together, without an empty line between them."""
    parts: list

    def functions(self):
        return [function for part in self.parts for function in part.functions()]

    def is_example(self):
        return not self.parts[0].code and self.parts[0].comment[0].startswith("Example")


@dataclass
class Section:
    title: str
    blocks: list
    windows_only: bool

    def functions(self):
        return [function for block in self.blocks for function in block.functions()]


def _for_one_reader(text):
    """What the compiler's conditions leave to a C program of 64 bits on Windows, where everything
    is."""
    text = re.sub(r"^#ifdef __cplusplus\n.*?^#else\n(.*?)^#endif\n", r"\1", text, flags=re.S | re.M)
    text = re.sub(r"^#if UINTPTR_MAX.*?\n(.*?)^#else\n.*?^#endif\n", r"\1", text, flags=re.S | re.M)
    text = re.sub(r"^#(ifdef|endif).*\n", "", text, flags=re.M)
    return re.sub(r"[ \t]*\\\n[ \t]*", " ", text)


def _comment_lines(text):
    """/* text */ without its frame; what stood in columns stays there."""
    lines = re.sub(r"\s*\*/\s*$", "", text).split("\n")
    first = re.sub(r"^\s*/\* ?", "", lines[0])
    return [first.rstrip()] + [re.sub(r"^\s*\* ?", "", line).rstrip() for line in lines[1:]]


def _parts(lines):
    parts = []
    at = 0
    while at < len(lines):
        if lines[at].startswith("/*"):
            end = next(i for i in range(at, len(lines)) if lines[i].endswith("*/"))
            parts.append(Part(_comment_lines("\n".join(lines[at:end + 1]))))
            at = end + 1
        else:
            if not parts:
                parts.append(Part([]))
            parts[-1].code.append(lines[at])
            at += 1
    return parts


def _blocks(text):
    """Runs of lines; an empty line inside a comment or a record parts nothing."""
    blocks, lines, depth, in_comment = [], [], 0, False
    for line in text.split("\n") + [""]:
        if not line.strip() and depth == 0 and not in_comment:
            if lines:
                blocks.append(Block(_parts(lines)))
            lines = []
            continue
        lines.append(line)
        if not in_comment:
            bare = re.sub(r"/\*.*?\*/", "", line)
            in_comment = "/*" in bare
            bare = bare.split("/*")[0]
            depth += bare.count("{") - bare.count("}")
        else:
            in_comment = "*/" not in line
    return blocks


def read(path=HEADER):
    """(introduction, sections): the comment at the header's top, and what stands below it."""
    text = Path(path).read_text(encoding="utf-8")
    introduction = _comment_lines(text[:text.index("*/") + 2])
    body = text[SECTION.search(text).start():]
    body = body[:body.rindex("#ifdef __cplusplus")]
    sections, windows_only = [], False
    pieces = SECTION.split(body)[1:]
    for title, piece in zip(pieces[::2], pieces[1::2]):
        sections.append(Section(title, _blocks(_for_one_reader(piece)), windows_only))
        windows_only = windows_only or "#ifdef _WIN32\n" in piece
    return introduction, sections


def contents(introduction):
    """What the header's list of contents says of each section, by its title."""
    found = {}
    for line in introduction:
        entry = re.fullmatch(r"  (\S.*?)  +(\S.*)", line)
        if entry:
            found[entry[1]] = entry[2]
        elif line.startswith("   "):
            found[list(found)[-1]] += " " + line.strip()
    return found


@dataclass
class Chunk:
    """A piece of a comment: "text" (a paragraph), "terms" ([name, words] each) or "table" (lines
    whose columns count)."""
    kind: str
    lines: list


def chunks(comment):
    """Paragraphs, explained terms and tables, told by columns: a term begins at the edge, and two
    blanks part it from its words, which go on further in. A table ends with an empty line. What a
    function returns is a paragraph of its own."""
    found = []

    def last(kind):
        if not found or found[-1].kind != kind:
            found.append(Chunk(kind, []))
        return found[-1].lines

    for line in comment:
        term = TERM.fullmatch(line)
        if not line:
            found.append(Chunk("end", []))
        elif (found and found[-1].kind == "table") or (term and "  " in term[2]):
            last("table").append(line)
        elif line.startswith("- "):
            last("terms").append(["-", line[2:]])
        elif term:
            last("terms").append([term[1], term[2]])
        elif line.startswith("  ") and found and found[-1].kind == "terms":
            found[-1].lines[-1][1] += " " + line.strip()
        elif line.startswith(" "):
            last("table").append(line)
        else:
            if line.startswith("T_OK") and found and found[-1].kind == "text" \
                    and found[-1].lines[-1].endswith("."):
                found.append(Chunk("end", []))
            last("text").append(line)
    return [chunk for chunk in found if chunk.kind != "end"]
