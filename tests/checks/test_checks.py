"""The checks of scripts/ find the faults they are there for."""
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

sys.dont_write_bytecode = True
ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.append(str(ROOT / "scripts/manual"))
import header_text  # noqa: E402
import links  # noqa: E402


def run(script, *arguments):
    return subprocess.run([ROOT / "scripts" / script, *map(str, arguments)],
                          capture_output=True, text=True, check=False)


class Layers(unittest.TestCase):
    def check(self, path, line):
        with tempfile.TemporaryDirectory() as folder:
            root = pathlib.Path(folder)
            for name in ("base/a.h", "core/b.h", "io/c.h", "codec/d.h", "formats/e.h", path):
                (root / name).parent.mkdir(exist_ok=True)
                (root / name).write_text("#pragma once\n", encoding="utf-8")
            (root / path).write_text(line + "\n", encoding="utf-8")
            return run("check-layers", root)

    def test_faults_are_found(self):
        for path, line in (
                ("base/x.cpp", '#include "core/b.h"'),          # up
                ("core/x.cpp", '#include "io/c.h"'),            # sideways
                ("codec/x.h", '  #  include "io/c.h"'),         # codecs know no files
                ("core/x.cpp", '#include "../base/a.h"'),       # around the rule
                ("core/x.inl", '#include "formats/e.h"'),       # whatever the file is called
                ("core/x.any", '#include "formats/e.h"'),
                ("core/x.cpp", '#include "base/none.h"'),
                ("core/x.cpp", "#include <windows.h>"),
                ("core/x.cpp", "#include <vector.h>"),
                ("core/x.cpp", "#ifdef _WIN32"),
                ("core/x.cpp", "#if defined(__linux__)"),
                ("codec/x.inl", "  return _mm256_add_epi8(a, b);"),
                ("tools/x.cpp", '#include "core/b.h"'),
                ("include/x.h", "#include <string.h>")):
            with self.subTest(path=path, line=line):
                result = self.check(path, line)
                self.assertEqual(result.returncode, 1)
                self.assertIn(f"{path}:1:", result.stdout)

    def test_good_code_passes(self):
        for path, line in (
                ("formats/x.cpp", '#include "codec/d.h"'),
                ("formats/x.cpp", '#include "formats/e.h"'),
                ("platform/x.cpp", "#include <windows.h>"),
                ("tests/x.cpp", '#include "core/b.h"'),
                ("core/x.cpp", "#include <algorithm>")):
            with self.subTest(path=path, line=line):
                self.assertEqual(self.check(path, line).returncode, 0)


class Exports(unittest.TestCase):
    def check(self, header, listed):
        with tempfile.TemporaryDirectory() as folder:
            root = pathlib.Path(folder)
            (root / "h").write_text(header, encoding="utf-8")
            lines = "".join(f"  {name}\n" for name in listed)
            (root / "d").write_text('LIBRARY "X.dll"\nEXPORTS\n' + lines, encoding="utf-8")
            (root / "w").write_text("EXPORTS\n  T_W\n", encoding="utf-8")
            return run("check-exports", "--header", root / "h", "--def", root / "d",
                       "--windows-def", root / "w")

    HEADER = ("/* T_API int T_CALL T_Old(void); */\n#define T_API\n"
              "T_API int32_t T_CALL T_A(void);\nT_API const char* T_CALL\n    T_B(int x);\n"
              "T_API int32_t T_CALL T_W(void);\n"
              "typedef void(T_CALL* T_Sink)(int);\n")

    def test_agreement_passes(self):
        self.assertEqual(self.check(self.HEADER, ["T_A", "T_B"]).returncode, 0)

    def test_every_difference_is_found(self):
        for listed in (["T_A"], ["T_A", "T_B", "T_C"], ["T_B", "T_A"], ["T_A", "T_A", "T_B"]):
            with self.subTest(listed=listed):
                self.assertEqual(self.check(self.HEADER, listed).returncode, 1)


class Abi(unittest.TestCase):
    HEADER = ("typedef struct R { int a; int b[2]; void* p; } R;\n"
              "int f(const R* r, int n);\nint g(R* r);\n")
    SOURCE = '#include "l.h"\nint f(const R* r, int n) { return r->a; }\nint g(R* r) { return !r; }\n'

    def check(self, old, new, *options):
        """The library with `old` replaced by `new` in its header and its source."""
        with tempfile.TemporaryDirectory() as folder:
            root = pathlib.Path(folder)
            (root / "l.h").write_text(self.HEADER.replace(old, new), encoding="utf-8")
            (root / "l.c").write_text(self.SOURCE.replace(old, new), encoding="utf-8")
            subprocess.run(["cc", "-g", "-shared", "-fPIC", root / "l.c", "-o", root / "l.so"], check=True)
            return run("check-abi", *options, "--dump", self.dump, "--headers", root, root / "l.so")

    def test_changes_are_found(self):
        with tempfile.TemporaryDirectory() as folder:
            self.dump = pathlib.Path(folder, "dump.gz")
            self.assertEqual(self.check("", "", "--renew").returncode, 0)
            for old, new, status in (("", "", 0),
                                     ("{ return !r; }", "{ return !r; }\nint h(void) { return 1; }", 0),
                                     (", int n", "", 1), (", int n", ", long n", 1),
                                     ("int g(R* r)", "static int g(R* r)", 1),
                                     ("int g(R* r)", "unsigned g(R* r)", 1),
                                     ("const R*", "R*", 1), ("int b[2];", "", 1),
                                     ("int b[2]", "long b[2]", 1)):
                with self.subTest(old=old, new=new):
                    self.assertEqual(self.check(old, new).returncode, status)

class Manual(unittest.TestCase):
    def test_columns_of_comments_have_not_been_filled_into_lines(self):
        parts = [part for section in header_text.read()[1] for block in section.blocks
                 for part in block.parts]
        self.assertEqual([line for part in parts for chunk in header_text.chunks(part.comment)
                          for line in chunk.lines if chunk.kind == "text" and "  " in line], [])

    def test_parameters_are_explained_by_name(self):
        blocks = [block for section in header_text.read()[1] for block in section.blocks]
        trio = re.compile(r"T_(Load|Save)[A-Z]{3,4}(File|Bitmap)")  # what they share is said once
        explained = 0
        for block in blocks:
            terms = {name for part in block.parts for chunk in header_text.chunks(part.comment)
                     for term in chunk.lines if chunk.kind == "terms" for name in term[0].split(", ")}
            for _, function, parameters in block.functions():
                names = re.findall(r"(\w+)(?:\[\w*\])?(?:,|$)", parameters.removesuffix("void"))
                wanted = {"Read", "Delivered", "Statuses"} if trio.fullmatch(function) else set(names)
                self.assertEqual(wanted - terms, set(), function)
                explained += len(wanted)
        self.assertGreater(explained, 400)

    def test_examples_compile(self):
        text = (ROOT / "include/tavo45.h").read_text(encoding="utf-8")
        found = re.findall(r"/\* Example: .*\n((?: \*   .*\n)+) \*/", text)
        self.assertEqual(len(found), text.count("/* Example"))
        with_functions = [section for section in header_text.read()[1] if section.functions()]
        self.assertGreaterEqual(len(found), len(with_functions))
        everywhere = len(re.findall(r"/\* Example", text[:text.index("#ifdef _WIN32\n\n")]))
        self.compile(found[:everywhere], "cc", "c++")
        if shutil.which("i686-w64-mingw32-gcc"):
            self.compile(found, "i686-w64-mingw32-gcc", "i686-w64-mingw32-g++")

    def compile(self, examples, c, cpp):
        code = '#include "tavo45.h"\n' + "".join(
            f"void example{i}(void);\nvoid example{i}(void) {{\n" + body.replace(" *   ", "") + "}\n"
            for i, body in enumerate(examples))
        for language in ((c, "-x", "c", "-std=c99"), (cpp, "-x", "c++", "-std=c++17")):
            done = subprocess.run([*language, "-pedantic", "-Wall", "-Wextra", "-Werror", "-fsyntax-only",
                                   f"-I{ROOT / 'include'}", "-"], input=code, text=True,
                                  capture_output=True, check=False)
            self.assertEqual(done.returncode, 0, done.stderr)

    def test_every_function_has_a_page_without_a_warning(self):
        exported = re.findall(r"^  (\w+)$", "".join(
            (ROOT / "exports" / name).read_text(encoding="utf-8")
            for name in ("exports.def", "exports_windows.def")), re.M)
        with tempfile.TemporaryDirectory() as folder:
            pages = pathlib.Path(folder) / "man3"
            subprocess.run([sys.executable, "-B", ROOT / "scripts/manual/man_pages.py", pages, "0"],
                           check=True)
            names = {page.stem for page in pages.iterdir()}
            self.assertEqual({name for name in names if not name.startswith("tavo45")}, set(exported))
            done = subprocess.run(["groff", "-man", "-Tutf8", "-ww", "-z", *pages.iterdir()],
                                  cwd=folder, capture_output=True, text=True, check=False)
            self.assertEqual((done.returncode, done.stderr), (0, ""))

    def test_broken_links_are_found(self):
        with tempfile.TemporaryDirectory() as folder:
            site = pathlib.Path(folder)
            (site / "a.html").write_text('<p id="x"><a href="b.html#y"><a href="#x">', encoding="utf-8")
            (site / "b.html").write_text('<a href="a.html#y"><img src="c.png">', encoding="utf-8")
            (site / "large").write_bytes(bytes(links.LARGEST + 1))
            self.assertEqual(len(links.faults(site)[0]), 4)


if __name__ == "__main__":
    unittest.main()
