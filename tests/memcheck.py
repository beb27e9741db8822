"""The library under valgrind, as C and Python programs use it: nothing is leaked or touched that must not be.

usage: memcheck.py BUILD (a folder with libtavo45.so)
"""
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree as xml

ROOT = pathlib.Path(__file__).resolve().parents[1]
BUILD = pathlib.Path(sys.argv.pop(1)).resolve()
SEEDS = ROOT / "fuzz" / "seeds"
# With Python's own allocator a block in use by nobody could look as if it were.
ENVIRONMENT = {**os.environ, "TAVO45_LIBRARY": str(BUILD / "libtavo45.so"), "LD_LIBRARY_PATH": str(BUILD),
               "PYTHONPATH": str(ROOT / "bindings" / "python"), "PYTHONMALLOC": "malloc"}
LEAKS = """
bitmap = tavo45.BitmapHandle()
at = tavo45.c.byref(bitmap)
tavo45.check(tavo45.lib.T_InitBitmap(at, 99, 99, 8))
tavo45.check(tavo45.lib.T_AllocateBitmap(at, 1))
"""


class Memcheck(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def faults(self, *command):
        """What valgrind has against the program where the library takes part, and the finished process."""
        report = self.folder / "report"
        result = subprocess.run(
            ["valgrind", "--leak-check=full", "--show-leak-kinds=definite,indirect", "--xml=yes",
             f"--xml-file={report}", *map(str, command)],
            capture_output=True, text=True, check=False, env=ENVIRONMENT, timeout=300)
        errors = xml.parse(report).getroot().iter("error")
        texts = [xml.tostring(error, encoding="unicode") for error in errors]
        return [text for text in texts if "libtavo45" in text], result

    def python(self, *command):
        return self.faults("/usr/bin/python3", *command)

    def test_python(self):
        faults, result = self.python(ROOT / "tests" / "bindings_bad_input.py", 1, 4)
        self.assertEqual((result.returncode, faults), (0, []), result.stderr)
        self.assertIn("pictures", result.stdout)

    def test_a_leak_in_python_would_be_seen(self):
        for forgets in (False, True):
            lines = LEAKS + ("" if forgets else "tavo45.lib.T_FreeBitmap(at)\n") + "del bitmap, at"
            faults, result = self.python("-c", "import tavo45\n" + lines)
            self.assertEqual((result.returncode, len(faults)), (0, forgets), result.stderr)

    def test_c(self):
        source = re.search(r"^```c$(.*?)^```$", (ROOT / "README.md").read_text(encoding="utf-8"),
                           re.M | re.S).group(1)
        program, file, out = self.folder / "program", self.folder / "file", self.folder / "out.bmp"
        leaky = source.replace("T_FreeBitmap(&picture)", "(void)picture")
        for text, leaks in ((source, 0), (leaky, 1)):
            subprocess.run(["cc", "-g", "-x", "c", "-", "-I", ROOT / "include", "-L", BUILD, "-ltavo45",
                            "-o", program], input=text, text=True, check=True)
            content = (SEEDS / "tiff" / "rgb_lzw.tif").read_bytes()
            for length, status in ((len(content), 0), (0, 1), (len(content) // 2, 1)):
                file.write_bytes(content[:length])
                faults, result = self.faults(program, file, out)
                self.assertEqual(result.returncode, status, result.stderr)
                self.assertEqual(len(faults), leaks * (status == 0), faults)


if __name__ == "__main__":
    outcome = unittest.main(exit=False, verbosity=1).result
    bad = len(outcome.failures) + len(outcome.errors)
    print(f"{outcome.testsRun - bad} passed, {bad} failed")
    sys.exit(bad != 0)
