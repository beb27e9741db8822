"""The bindings are fresh, agree with the C compiler, and convert a file: Python, C#, Pascal.

usage: bindings.py BUILD (a folder with libtavo45.so and tools/tavo)
"""
import gc
import os
import pathlib
import subprocess
import sys
import tempfile
import unittest

import numpy
from PIL import Image

ROOT = pathlib.Path(__file__).resolve().parents[1]
BUILD = pathlib.Path(sys.argv.pop(1)).resolve()
BINDINGS = ROOT / "bindings"
os.environ["TAVO45_LIBRARY"] = str(BUILD / "libtavo45.so")
os.environ["LD_LIBRARY_PATH"] = str(BUILD)
sys.path[:0] = [str(BINDINGS), str(BINDINGS / "python")]
sys.dont_write_bytecode = True

import header_model  # noqa: E402
import tavo45  # noqa: E402

# Loads a hundred pictures, of which the limit holds thirty, and disposes of none.
FORGETFUL = """
using System;
using Tavo;

static class Forget
{
    static Picture last;

    static void Load(string name) { last = Picture.Load(name, 24); }

    static void Main(string[] arguments)
    {
        Tavo45.Check(Tavo45.T_SetLimit(Tavo45.T_LIMIT_MEMORY, 100000));
        for (int i = 0; i < 100; ++i)
        {
            Load(arguments[0]);
            GC.Collect();
            GC.WaitForPendingFinalizers();
        }
        try { last.Row(23); }
        catch (ArgumentOutOfRangeException) { Console.WriteLine("refused"); }
    }
}
"""


def run(*command, **more):
    return subprocess.run([*map(str, command)], capture_output=True, text=True, check=False, **more)


class Bindings(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        levels = numpy.arange(37 * 23 * 3, dtype=numpy.uint32) * 7919 % 251
        self.pixels = levels.astype(numpy.uint8).reshape(23, 37, 3)
        self.source = self.folder / "in.bmp"
        Image.fromarray(self.pixels).save(self.source)

    def test_they_are_what_the_header_makes(self):
        result = run(sys.executable, BINDINGS / "generate.py", "--check")
        self.assertEqual((result.returncode, result.stdout + result.stderr), (0, ""))

    def test_layouts_are_those_of_the_compilers(self):
        header = header_model.read()
        lines = []
        for record in header.records:
            lines += [f"sizeof({record.name})"]
            lines += [f"offsetof({record.name}, {f.name})" for f in record.fields]
        # With _WIN32 the header has all its records; they are laid out the same on both systems.
        for compiler, wide in (("gcc -D_WIN32 -D_WIN64", 8), ("i686-w64-mingw32-gcc", 4)):
            want = []
            for record in header.records:
                offsets, size = header.layout(record, wide)
                want += [size, *offsets.values()]
            checks = "\n".join(f'_Static_assert({line} == {value}, "");'
                               for line, value in zip(lines, want))
            result = run(*compiler.split(), "-fsyntax-only", "-I", ROOT / "include", "-x", "c", "-",
                         input=f'#include "tavo45.h"\n{checks}\n')
            self.assertEqual(result.returncode, 0, result.stderr[:500])
        for record in header.records:
            offsets, size = header.layout(record, 8)
            class_ = getattr(tavo45, record.name)
            self.assertEqual(tavo45.c.sizeof(class_), size)
            for name, offset in offsets.items():
                self.assertEqual(getattr(class_, name).offset, offset, f"{record.name}.{name}")

    def test_examples_convert_alike(self):
        programs = {"Python": [sys.executable, BINDINGS / "python" / "convert.py"],
                    "C#": self.csharp(), "Pascal": self.pascal()}
        for language, command in programs.items():
            with self.subTest(language=language):
                out = self.folder / f"{language}.tif"
                result = run(*command, self.source, out)
                self.assertEqual(result.stdout.strip(), "37 x 23 pixels of 24 bits", result.stderr)
                self.assertTrue((numpy.asarray(Image.open(out)) == self.pixels).all())
                failed = run(*command, self.folder / "none.bmp", out)
                self.assertNotEqual(failed.returncode, 0)
                self.assertIn("The file cannot be opened: there is no such file or folder",
                              failed.stderr)
                self.assertIn("(status -10)", failed.stderr)

    def test_rows_of_the_example_have_the_mean_of_the_pixels(self):
        levels = (self.pixels.astype(int) @ (2, 5, 1) + 4) >> 3
        mean = f"37 x 23 pixels, mean level {levels.sum() // levels.size}"
        for program in ([sys.executable, BINDINGS / "python" / "rows.py"],
                        [BUILD / "examples" / "tavo_rows"]):
            result = run(*program, self.source)
            self.assertEqual(result.stdout.strip(), mean, result.stderr)

    def csharp(self, source=BINDINGS / "csharp" / "Convert.cs"):
        program = self.folder / "Convert.exe"
        result = run("mcs", f"-out:{program}", source, BINDINGS / "csharp" / "Tavo45.cs")
        self.assertEqual(result.returncode, 0, result.stdout + result.stderr)
        return ["mono", program]

    def pascal(self):
        for arguments in (["-dMSWINDOWS", BINDINGS / "pascal" / "tavo45.pas"],  # what only Windows has
                          [BINDINGS / "pascal" / "convert.pas"]):
            result = run("fpc", "-B", f"-Fl{BUILD}", f"-FU{self.folder}", f"-FE{self.folder}", *arguments)
            self.assertEqual(result.returncode, 0, result.stdout[-500:])
        return [self.folder / "convert"]

    def test_csharp_frees_what_nobody_disposed_of(self):
        source = self.folder / "Forget.cs"
        source.write_text(FORGETFUL, encoding="ascii")
        result = run(*self.csharp(source), self.source)
        self.assertEqual((result.returncode, result.stdout), (0, "refused\n"), result.stderr)

    def test_python_shares_pixels_and_streams_rows(self):
        picture = tavo45.load(self.source, bits=24)
        array = numpy.asarray(picture)
        self.assertTrue((array == self.pixels).all())
        array[0, 0] = (1, 2, 3)
        self.assertEqual(picture.row(22)[:3], bytes((1, 2, 3)))
        self.assertTrue((numpy.asarray(picture) == array).all())
        grey = tavo45.load(self.source.read_bytes(), bits=8)
        self.assertEqual(numpy.asarray(grey).shape, (23, 37))
        deep = numpy.asarray(tavo45.load(self.source, bits=16))
        self.assertEqual((deep.shape, deep.dtype), ((23, 37), numpy.uint16))
        lines = []
        for record, rows in tavo45.rows(self.source, bits=24):
            got = numpy.frombuffer(rows, numpy.uint8).reshape(-1, record.BytesPerLine)
            lines.append(got[:, :111].reshape(-1, 37, 3))
        top_first = numpy.concatenate(lines)
        if record.ViewPerspective >= 2:
            top_first = top_first[::-1]
        self.assertTrue((top_first == self.pixels).all())
        for _ in tavo45.rows(self.source):
            break  # ends the load
        for number in (-1, 23):
            with self.assertRaises(IndexError):
                picture.row(number)
        with self.assertRaises(tavo45.Error) as caught:
            tavo45.Picture(10, 10, 8).call(tavo45.lib.T_MosaicBitmap, 0)
        self.assertEqual(caught.exception.status, tavo45.T_ERR_ARGUMENT)

    def test_python_survives_bad_files(self):
        result = run(sys.executable, ROOT / "tests" / "bindings_bad_input.py", 1, 0)
        self.assertEqual(result.returncode, 0, result.stderr[-500:])
        self.assertIn("pictures", result.stdout)

    def test_python_leaks_no_bitmap(self):
        def pages():
            return int(pathlib.Path("/proc/self/statm").read_text(encoding="ascii").split()[1])

        def work():
            for _ in range(20):
                numpy.asarray(tavo45.Picture(1000, 1000, 24)).fill(7)
            gc.collect()

        work()
        before = pages()
        work()
        self.assertLess((pages() - before) * 4096, 8 << 20)


if __name__ == "__main__":
    outcome = unittest.main(exit=False, verbosity=1).result
    bad = len(outcome.failures) + len(outcome.errors)
    print(f"{outcome.testsRun - bad} passed, {bad} failed")
    sys.exit(bad != 0)
