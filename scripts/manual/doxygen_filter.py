"""Doxygen's input filter: the public header with its comments in the form that Doxygen knows.

usage: doxygen_filter.py HEADER"""
import re
import sys

import header_text

WORD = re.compile(r"`([^`]+)`|\b([A-Z]\w+)\b|([\\@&<>#%])")


def parameter_names(functions):
    """Of the first one, with which the others are described."""
    return re.findall(r"(\w+)(?:,|$)", functions[0][2]) if functions else ()


class Writer:
    def __init__(self, sections):
        code = "\n".join(line for section in sections for block in section.blocks
                         for part in block.parts for line in part.code)
        self.names = set(re.findall(r"^#define (T_\w+)", code, re.M))
        self.names |= {name for section in sections for _, name, _ in section.functions()}
        self.names |= set(re.findall(r"^\} (\w+);", code, re.M))
        self.names |= set(re.findall(r"^typedef [\w(]+T_CALL\* (\w+)\)", code, re.M))
        self.out = []

    def text(self, words):
        def one(match):
            if match[1]:
                return f"<code>{self.text(match[1])}</code>"
            if match[2]:
                return f'\\ref {match[2]} "{match[2]}"' if match[2] in self.names else match[2]
            return "\\" + match[3]
        return WORD.sub(one, words)

    def comment(self, comment, parameters=frozenset()):
        """A comment's chunks as Doxygen's commands."""
        lines = []
        for chunk in header_text.chunks(comment):
            if chunk.kind == "table":
                lines += ["\\verbatim", *chunk.lines, "\\endverbatim"]
            elif chunk.kind == "text":
                is_result = chunk.lines[0].startswith("T_OK") and parameters
                lines += [("\\return " if is_result else "") + self.text(" ".join(chunk.lines))]
            else:
                lines += self.terms(chunk.lines, parameters)
            lines.append("")
        return lines

    def terms(self, terms, parameters):
        if all(name == "-" for name, _ in terms):
            return ["<ul>", *(f"<li>{self.text(words)}</li>" for _, words in terms), "</ul>"]
        if all(set(name.split(", ")) <= parameters for name, _ in terms):
            return [f"\\param {name.replace(', ', ',')} {self.text(words)}"
                    for name, words in terms]
        return ["<dl>", *(f"<dt>{self.text(name)}</dt><dd>{self.text(words)}</dd>"
                          for name, words in terms), "</dl>"]

    def put(self, lines):
        self.out += ["/**", *lines, "*/"]

    def code(self, lines):
        """Declarations, with the comments at their ends as descriptions of what stands before."""
        code = re.sub(r"\b(T_API|T_CALL) ?", "", "\n".join(lines))
        return re.sub(r"/\*(.*?)\*/", lambda m: f"/**< \\brief {self.text(' '.join(m[1].split()))} */", code,
                      flags=re.S)

    def part(self, part):
        functions = part.functions()
        if len([line for line in part.code if line.startswith("#define")]) > 1 and part.comment:
            title, _, rest = " ".join(part.comment).partition(". ")
            self.put(["\\name " + title.replace("`", ""), self.text(rest)])
            self.out += ["/**@{*/", self.code(part.code), "/**@}*/"]
            return
        if part.comment:
            self.put(self.comment(part.comment, frozenset(parameter_names(functions))))
        if len(functions) < 2:
            self.out.append(self.code(part.code))
            return
        first, *others = self.code(part.code).split(";\n")
        self.out.append(first + ";")
        for one in others:
            self.put([f"See \\ref {functions[0][1]} \"{functions[0][1]}\"."])
            self.out.append(one.rstrip(";") + ";")

    def section(self, number, section):
        name = f"section{number:02}"
        prose, examples = [], []
        for block in section.blocks:
            if block.is_example():
                title, *code = block.parts[0].comment
                examples += ["\\par " + title.replace("`", "").rstrip("."), "\\code{.c}",
                             *(line[2:] for line in code), "\\endcode"]
            elif not any(part.code for part in block.parts):
                prose += self.comment(block.parts[0].comment)
        only = ["\\note On Windows only."] if section.windows_only else []
        self.put([f"\\defgroup {name} {section.title}", *only, *prose, *examples])
        self.out.append("/**@{*/")
        for block in section.blocks:
            for part in block.parts:
                if part.code:
                    self.part(part)
        self.out.append("/**@}*/")


def main():
    _, sections = header_text.read(sys.argv[1])
    writer = Writer(sections)
    writer.put(["\\file", "The one header of the library. Its sections are the topics."])
    for number, section in enumerate(sections, 1):
        writer.section(number, section)
    print("\n".join(writer.out))


if __name__ == "__main__":
    main()
