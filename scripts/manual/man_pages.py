"""Writes manual pages of section 3 from the public header: one for what stands together in it, others
that lead there, one for each topic with its constants and records, and tavo45(3) with all topics.

usage: man_pages.py FOLDER VERSION"""
import re
import sys
import textwrap
from pathlib import Path

import header_text


def roff(text):
    """Text of ours: no line of it starts a request, and hyphens stay hyphens."""
    text = text.replace("\\", "\\e").replace("-", "\\-")
    text = re.sub(r"`([^`]+)`", r"\\fI\1\\fP", text)
    return re.sub(r"^([.'])", r"\\&\1", text, flags=re.M)


def bold(text):
    return f"\\fB{roff(text)}\\fP"


def verbatim(lines):
    return [".nf", *map(roff, lines), ".fi"]


def described(comment):
    """A comment as paragraphs, lists of terms and tables."""
    out = []
    for chunk in header_text.chunks(comment):
        if chunk.kind == "table":
            out += [".PP", *verbatim(chunk.lines)]
        elif chunk.kind == "text":
            out += [".PP", roff(" ".join(chunk.lines))]
        else:
            for term, words in chunk.lines:
                out += [".TP", "\\(bu" if term == "-" else f"\\fI{roff(term)}\\fP", roff(words)]
    return out


def prototype(result, name, parameters):
    """As C has it, in lines that a terminal holds."""
    space = "" if result.endswith("*") else " "
    return textwrap.wrap(f"{result}{space}{name}({parameters});", 74, subsequent_indent="    ")


def declared(code):
    """Constants and records: what is said at the end of a line stands below it."""
    out = []
    pieces = re.split(r"/\*(.*?)\*/", "\n".join(code), flags=re.S)
    for declarations, words in zip(pieces[::2], pieces[1::2] + [""]):
        lines = [line.strip() for line in declarations.split("\n") if line.strip()]
        if lines:
            out += [".PP", ".nf", *(bold(" ".join(line.split())) for line in lines), ".fi"]
        if words:
            out += [".RS", roff(" ".join(words.split())), ".RE"]
    return out


def brief(comment, title):
    """The first clause, as the line that apropos shows."""
    chunks = header_text.chunks(comment)
    if not chunks or chunks[0].kind != "text":
        return f"of TAVO45: {title}"
    return re.split(r"[.:;](?:\s|$)", " ".join(chunks[0].lines))[0].replace("`", "")


class Manual:
    def __init__(self, folder, version):
        self.folder = folder
        self.version = version

    def write(self, name, names, summary, lines):
        head = [f'.TH {name.upper()} 3 "" "TAVO45 {self.version}" "TAVO45"', ".SH NAME",
                f"{', '.join(names)} \\- {roff(summary)}"]
        text = "\n".join([*head, *lines]) + "\n"
        (self.folder / f"{name}.3").write_text(text, encoding="utf-8")

    def functions(self, block, section, topic):
        """The page of a block's first function, and pages of the others that lead there."""
        functions = block.functions()
        names = [name for _, name, _ in functions]
        lines = [".SH SYNOPSIS", ".nf", bold("#include <tavo45.h>"), ""]
        lines += [bold(line) for function in functions for line in prototype(*function)]
        lines += [".fi", ".SH DESCRIPTION"]
        for part in block.parts:
            if len(block.parts) > 1 and part.functions():
                part_names = ", ".join(name for _, name, _ in part.functions())
                lines += [".SS " + roff(part_names)]
            lines += described(part.comment)
            if not part.functions():
                lines += declared(part.code)
        if section.windows_only:
            lines += [".SH NOTES", "On Windows only."]
        lines += [".SH SEE ALSO", f".BR {topic} (3),", ".BR tavo45 (3)"]
        comments = [part.comment for part in block.parts if part.functions()]
        self.write(names[0], names, brief(comments[0], section.title), lines)
        for name in names[1:]:
            (self.folder / f"{name}.3").write_text(f".so man3/{names[0]}.3\n", encoding="utf-8")

    def section(self, section, topic):
        """The page of a topic."""
        lines, examples = [".SH DESCRIPTION"], []
        for block in section.blocks:
            if block.is_example():
                title, *code = block.parts[0].comment
                title = title.removeprefix("Example:").strip(" .")
                examples += [".PP", roff(title[0].upper() + title[1:] + ":"), ".PP",
                             *verbatim(["    " + line[2:] for line in code])]
            elif block.functions():
                self.functions(block, section, topic)
            else:
                for part in block.parts:
                    lines += described(part.comment) + declared(part.code)
        names = [name for _, name, _ in section.functions()]
        if names:
            lines += [".SH FUNCTIONS", ".nh"] + [f".BR {name} (3)," for name in names[:-1]]
            lines += [f".BR {names[-1]} (3)", ".hy"]
        if examples:
            lines += [".SH EXAMPLES"] + examples
        lines += [".SH SEE ALSO", ".BR tavo45 (3)"]
        self.write(topic, [topic], f"TAVO45: {section.title}", lines)


def main():
    folder, version = Path(sys.argv[1]), sys.argv[2]
    folder.mkdir(parents=True, exist_ok=True)
    introduction, sections = header_text.read()
    manual = Manual(folder, version)
    about = header_text.contents(introduction)
    topics = [".SH TOPICS"]
    for section in sections:
        topic = "tavo45_" + re.sub(r"\W+", "_", section.title.lower())
        manual.section(section, topic)
        topics += [".TP", f".BR {topic} (3)", roff(about[section.title])]
    opening = introduction[:introduction.index("")]
    rules = [line for line in introduction[len(opening):] if not line.startswith("  ")]
    rules = [line for line in rules if not line.endswith(":")]
    manual.write("tavo45", ["tavo45"], "reads, converts and writes raster images",
                 [".SH SYNOPSIS", ".nf", bold("#include <tavo45.h>"), ".PP",
                  "cc program.c $(pkg\\-config \\-\\-cflags \\-\\-libs tavo45)", ".fi",
                  ".SH DESCRIPTION", *described(rules), *topics, ".SH SEE ALSO", ".BR tavo (1)"])


if __name__ == "__main__":
    main()
