"""Tries the command line as a user does. usage: cli_test.py TAVO"""

import contextlib
import json
import os
import signal
import stat
import struct
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

from cli_common import (COMMAND, HEIGHT, IS_WINDOWS, WIDTH, CliTest, checked_json, color, make_bmp,
                        parse_bmp, picture, tavo)
from cli_processing import Operations, Orientation, Scans, Sheets, Sizes


class Conversions(CliTest):
    def test_options_reach_the_picture(self):
        name = self.make(24)
        for arguments, bits, most in (([], 24, WIDTH * HEIGHT), (["--colors", 2], 1, 2),
                                      (["--colors", 5], 4, 5), (["--gray"], 8, 256),
                                      (["--bits", 4, "--dither", "none"], 4, 16),
                                      (["--bits", 8, "--palette", "fixed"], 8, 256),
                                      (["--bits", 1, "--dither", "ordered"], 1, 2)):
            with self.subTest(arguments=arguments):
                self.succeeds("convert", name, "out.bmp", *arguments)
                depth, _, rows = parse_bmp(Path("out.bmp").read_bytes())
                self.assertEqual(depth, bits)
                self.assertLessEqual(len({p for row in rows for p in row}), most)
        # The colours of a file: each result colour is one of them.
        self.succeeds("convert", name, "few.bmp", "--colors", 7)
        allowed = {p for row in parse_bmp(Path("few.bmp").read_bytes())[2] for p in row}
        self.succeeds("convert", self.make(32), "out.bmp", "--bits", 4, "--palette", "few.bmp",
                      "--dither", "jarvis")
        used = {p for row in parse_bmp(Path("out.bmp").read_bytes())[2] for p in row}
        self.assertLessEqual(used - {(0, 0, 0)}, allowed)
        self.succeeds("convert", name, "out.bmp", "--size", "200%", "--size-method", "nearest")
        rows = parse_bmp(Path("out.bmp").read_bytes())[2]
        self.assertEqual(rows, [[color(x // 2, y // 2, 24) for x in range(2 * WIDTH)]
                                for y in range(2 * HEIGHT)])
        self.succeeds("convert", name, "out.bmp", "--size", "5x3")
        self.assertEqual(len(parse_bmp(Path("out.bmp").read_bytes())[2]), 3)

    def test_depth_follows_the_picture_and_what_the_format_holds(self):
        for source, expected in ((1, 1), (4, 4), (8, 8), (16, 24), (24, 24), (32, 24)):
            self.succeeds("convert", self.make(source), "out.bmp")
            bits, _, rows = parse_bmp(Path("out.bmp").read_bytes())
            self.assertEqual(bits, expected)
            if source != 16:
                self.assertEqual(rows, picture(source))

    def test_resolution_survives_both_ways(self):
        name = self.make(24, dots_per_metre=(11811, 7874))  # 300 x 200 dpi
        self.succeeds("convert", name, "out.bmp", "--order", "rgb")
        self.assertEqual(parse_bmp(Path("out.bmp").read_bytes())[1], (11811, 7874))
        info = json.loads(self.succeeds("info", "out.bmp", "--json"))[0]
        self.assertEqual((info["x_dpi"], info["y_dpi"]), (300, 200))

    def test_headers_state_size_and_true_length(self):
        self.succeeds("convert", self.make(4), "out.gif")
        data = Path("out.gif").read_bytes()
        self.assertEqual(data[:3] + data[6:10], b"GIF" + struct.pack("<HH", WIDTH, HEIGHT))
        self.succeeds("convert", self.make(24), "out.ras")
        data = Path("out.ras").read_bytes()
        length, _, _, map_length = struct.unpack_from(">4I", data, 16)
        self.assertEqual(length, len(data) - 32 - map_length)

    def test_format_option_wins_over_the_extension(self):
        name = self.make(8)
        for value in ("bmp", "BMP", "6"):
            self.succeeds("convert", name, "picture.xyz", "--format", value)
            self.assertEqual(json.loads(self.succeeds("info", "picture.xyz", "--json"))[0]["format"],
                             "BMP")

    def test_converts_a_file_onto_itself_and_through_absolute_paths(self):
        name = Path(self.make(4)).absolute()
        self.succeeds("convert", name, name, "--bits", "24")
        self.assertEqual(parse_bmp(name.read_bytes())[0], 24)
        self.assertEqual(os.listdir(), [name.name])

    def test_long_path(self):
        folder = Path("d" * 100) / ("e" * 100)
        folder.mkdir(parents=True)
        self.succeeds("convert", self.make(8), folder / "out.bmp")
        self.assertEqual(parse_bmp((folder / "out.bmp").read_bytes())[0], 8)


def jpeg_segments(data):
    """Marker segments up to the scan, by marker; the data behind the length."""
    at, found = data.index(b"\xff\xd8\xff\xe0") + 2, {}
    while data[at + 1] != 0xDA:
        size = int.from_bytes(data[at + 2:at + 4], "big")
        found.setdefault(data[at + 1], data[at + 4:at + 2 + size])
        at += 2 + size
    return found


class Compression(CliTest):
    def convert(self, *options, bits=24, output="out.jpg"):
        self.succeeds("convert", self.make(bits), output, *options)
        return Path(output).read_bytes()

    def test_quality_is_75_and_its_factor_25_if_nothing_is_said(self):
        without = self.convert()
        self.assertEqual(without, self.convert("--quality", 75))
        self.assertEqual(without, self.convert("--factor", 25))

    def test_resolution_is_in_dots_per_inch(self):
        self.assertEqual(jpeg_segments(self.convert())[0xE0][7:12], struct.pack(">BHH", 1, 72, 150))

    def test_options_reach_the_stream(self):
        for options, bits, components, sampling in (
                ([], 24, 3, 0x21), (["--subsampling", "1x1"], 24, 3, 0x11),
                (["--subsampling", "2x2"], 24, 3, 0x22), ([], 1, 3, 0x21), ([], 8, 3, 0x21),
                (["--bits", 8], 8, 1, 0x11)):
            frame = jpeg_segments(self.convert(*options, bits=bits))[0xC0]
            self.assertEqual((frame[5], frame[7]), (components, sampling), options)
        data = self.convert("--quality", 75, "--stamp", "10x4", output="out.cmp")
        self.assertEqual((data[22], data[24:27]), (25, bytes((10, 4, 24))))
        self.assertEqual(self.convert("--stamp", "255x250")[29], 0x11)  # too large for 24 bits

    def test_stamp_comes_out_again(self):
        for output in ("out.jpg", "out.cmp"):
            self.convert("--stamp", "10x4", output=output)
            self.succeeds("stamp", output, "stamp.bmp")
            bits, _, rows = parse_bmp(Path("stamp.bmp").read_bytes())
            self.assertEqual((bits, len(rows), len(rows[0])), (24, 4, 10))
        self.convert(output="without.jpg")
        self.fails(-65, "without.jpg", "stamp", "without.jpg", "stamp.bmp")

    def test_options_that_mean_nothing_are_refused(self):
        name = self.make(24)
        for arguments in (["out.bmp", "-q", 50], ["out.cmp", "--subsampling", "1x1"],
                          ["out.jpg", "-q", 0], ["out.jpg", "-q", 50, "--factor", 3],
                          ["out.jpg", "--stamp", "3x9"], ["out.jpg", "--stamp", "9"]):
            self.usage_error("convert", name, *arguments)
        self.fails(-36, "out.jpg", "convert", name, "out.jpg", "--factor", 0)
        self.assertEqual(os.listdir(), [name])


class Failures(CliTest):
    def test_bad_inputs_leave_nothing_and_destroy_nothing(self):
        name = self.make(24)
        Path("cut.bmp").write_bytes(Path(name).read_bytes()[:-40])
        Path("text.bmp").write_text("no picture at all, but long enough to hold a header\n" * 4)
        Path("empty.bmp").touch()
        Path("kept.bmp").write_bytes(b"precious")
        before = sorted(os.listdir())
        for source, status in (("cut.bmp", -7), ("text.bmp", -9), ("missing.bmp", -10),
                               ("empty.bmp", "-[79]")):
            for target in ("kept.bmp", "new.bmp"):
                with self.subTest(source=source, target=target):
                    self.fails(status, source, "convert", source, target)
                    self.assertEqual(sorted(os.listdir()), before)
                    self.assertEqual(Path("kept.bmp").read_bytes(), b"precious")

    def test_bad_outputs(self):
        name = self.make(8)
        Path("folder.bmp").mkdir()
        cases = ((-14, "folder.bmp", []), (-14, "nowhere/out.bmp", []), (-16, "out.xyz", []),
                 (-16, "out", []), (-27, "out.bmp", ["--bits", "16"]))
        for status, target, options in cases:
            with self.subTest(target=target):
                self.fails(status, target, "convert", name, target, *options)
        self.assertEqual(sorted(os.listdir()), sorted(["folder.bmp", name]))
        self.assertEqual(os.listdir("folder.bmp"), [])

    def test_append_to_a_format_of_one_picture_is_refused(self):
        name = self.make(8)
        self.succeeds("convert", name, "out.bmp", "--append")
        before = Path("out.bmp").read_bytes()
        self.fails(-16, "out.bmp", "convert", self.make(1), "out.bmp", "--append")
        self.assertEqual(Path("out.bmp").read_bytes(), before)
        self.assertEqual(sorted(os.listdir()), ["in1.bmp", name, "out.bmp"])

    def test_append_leaves_alone_what_it_cannot_read(self):
        name = self.make(8)
        self.succeeds("convert", name, "two.tif")
        damaged = bytearray(Path("two.tif").read_bytes())
        damaged[struct.unpack_from("<I", damaged, 4)[0]:] = b"\xff\xff"
        contents = {"bmp.tif": (-16, Path(name).read_bytes()), "text.tif": (-9, b"precious\n"),
                    "cut.tif": (-9, bytes(damaged)), "tiff.dcx": (-16, Path("two.tif").read_bytes())}
        for target, (status, content) in contents.items():
            with self.subTest(target=target):
                Path(target).write_bytes(content)
                self.fails(status, target, "convert", name, target, "--append")
                self.assertEqual(Path(target).read_bytes(), content)
        Path("empty.tif").touch()
        self.succeeds("convert", name, "empty.tif", "--append")
        self.assertEqual(Path("empty.tif").read_bytes(), Path("two.tif").read_bytes())

    def test_runs_that_append_side_by_side_wait_for_each_other(self):
        name = self.make(8)
        for pages in ("pages.dcx", "pages.tif"):
            runs = [subprocess.Popen([*COMMAND, "convert", name, pages, "--append"],
                                     stderr=subprocess.PIPE) for _ in range(8)]
            for run in runs:
                self.assertEqual((run.communicate()[1], run.returncode), (b"", 0))
            info = json.loads(self.succeeds("info", pages, "--json"))[0]
            self.assertEqual(info["pages"], 8)
        self.assertEqual(list(Path().glob(".tavo*")), [])

    def test_pages(self):
        depths = (1, 8, 24)
        for bits in depths:
            self.succeeds("convert", self.make(bits), "pages.dcx", "--append")
        self.succeeds("convert", "pages.dcx", "pages.tif", "--page", "all")
        for page, bits in enumerate(depths, 1):
            info = json.loads(self.succeeds("info", "pages.tif", "--json", "--page", page))[0]
            self.assertEqual((info["pages"], info["page"], info["bits_per_pixel"]), (3, page, bits))
            self.succeeds("convert", "pages.tif", "page.bmp", "--page", page)
            self.assertEqual(parse_bmp(Path("page.bmp").read_bytes())[2], picture(bits))
        self.fails(-13, "pages.tif", "convert", "pages.tif", "page.bmp", "--page", "4")
        self.fails(-13, "pages.tif", "info", "pages.tif", "--page", "4")
        # Behind the pages of a file that is there.
        self.succeeds("convert", "pages.dcx", "pages.tif", "--page", "all", "--append")
        self.assertEqual(json.loads(self.succeeds("info", "pages.tif", "--json"))[0]["pages"], 6)
        # A format without pages gets a file for each; DCX is one even of a single page.
        self.succeeds("convert", "pages.dcx", "out.pcx", "--page", "all")
        for page, bits in enumerate(depths, 1):
            made = Path("out.pcx" if page == 1 else f"out.page{page}.pcx")
            self.assertEqual(made.read_bytes()[0], 10)
            self.succeeds("convert", made, "page.bmp")
            self.assertEqual(parse_bmp(Path("page.bmp").read_bytes())[2], picture(bits))
        self.succeeds("convert", "out.pcx", "one.dcx")
        self.assertEqual(Path("one.dcx").read_bytes()[:4], struct.pack("<I", 0x3ADE68B1))
        self.succeeds("convert", "one.dcx", "page.bmp")
        self.assertEqual(parse_bmp(Path("page.bmp").read_bytes())[2], picture(1))

    @unittest.skipIf(IS_WINDOWS, "no such names there")
    def test_one_line_whatever_the_name_holds(self):
        self.fails(-10, "a??b", "info", "a\n\x1bb")

    def test_usage_errors(self):
        name = self.make(8)
        for arguments in ([], ["paint"], ["info"], ["convert", name],
                          ["convert", name, "out.bmp", "--bits", "7"],
                          ["convert", name, "out.bmp", "--order", "grb"],
                          ["convert", name, "out.bmp", "--page", "0"],
                          ["convert", name, "out.bmp", "--format", "nonsense"],
                          ["convert", name, "out.bmp", "--colors", 20, "--bits", 4],
                          ["convert", name, "out.bmp", "--dither", "none", "--bits", 24],
                          ["convert", name, "out.bmp", "--dither", "sometimes"],
                          *(["convert", name, "out.bmp", "--size=" + size]
                            for size in ("0x5", "5", "-3%", "0%", "x", "5x5x5")),
                          ["convert", name, "out.bmp", "--unknown"],
                          ["info", name, "--page", "x"]):
            with self.subTest(arguments=arguments):
                self.assertIn("--help", self.usage_error(*arguments))
        self.assertEqual(os.listdir(), [name])


class Information(CliTest):
    def test_json(self):
        info = checked_json("info", self.succeeds("info", self.make(8), self.make(24), "--json"))
        self.assertEqual(len(info), 2)
        self.assertEqual(info[0], {
            "file": "in8.bmp", "format": "BMP", "format_id": 6,
            "bytes": Path("in8.bmp").stat().st_size, "width": WIDTH, "height": HEIGHT,
            "bits_per_pixel": 8, "colors": 256, "gray": False, "palette": info[0]["palette"],
            "interlaced": False, "compression": info[0]["compression"], "page": 1, "pages": 1,
            "x_dpi": 72, "y_dpi": 150})
        self.assertEqual((info[1]["bits_per_pixel"], info[1]["colors"]), (24, 0))

    def test_line(self):
        line = self.succeeds("info", self.make(24))
        for part in ("in24.bmp: BMP, ", f"{WIDTH} x {HEIGHT}, ", "24 bits, ", "1 page, ",
                     "72 x 150 dpi, "):
            self.assertIn(part, line)
        unknown = self.succeeds("info", self.make(24, dots_per_metre=(0, 0)))
        self.assertIn("resolution unknown", unknown)

    def test_jpeg(self):
        name = self.make(24)
        for options, output, expected in (
                (["--quality", "60"], "a.jpg", {"quality": 60, "factor": 40, "subsampling": "2x1"}),
                (["--factor", "20", "--subsampling", "2x2", "--stamp", "10x4"], "b.jpg",
                 {"quality": 80, "factor": 20, "subsampling": "2x2",
                  "stamp": {"width": 10, "height": 4, "bits_per_pixel": 24}}),
                (["--factor", "-7"], "c.cmp", {"factor": 110, "half_height": True}),
                (["--bits", "8"], "d.jpg", {"components": 1, "subsampling": None})):
            with self.subTest(output=output):
                self.succeeds("convert", name, output, *options)
                jpeg = checked_json("info", self.succeeds("info", output, "--json"))[0]["jpeg"]
                self.assertEqual({key: jpeg[key] for key in expected}, expected)
                self.assertEqual((jpeg["progressive"], jpeg["restart_interval"]), (False, 0))
        self.assertIn("quality about 80, subsampling 2x2, stamp 10x4,", self.succeeds("info", "b.jpg"))
        self.assertNotIn("jpeg", json.loads(self.succeeds("info", name, "--json"))[0])

    def test_a_bad_file_does_not_hide_the_others(self):
        name = self.make(4)
        done = tavo("info", "missing.bmp", name, "--json")
        self.assertEqual(done.returncode, 1)
        self.assertIn("tavo: missing.bmp: ", done.stderr)
        rows = checked_json("info", done.stdout)
        self.assertEqual([row["file"] for row in rows], ["missing.bmp", name])
        self.assertEqual(sorted(rows[0]), ["errno", "error", "file", "status"])
        self.assertEqual((rows[0]["status"], rows[1]["width"]), (-10, WIDTH))

    def test_formats_table_and_json_agree(self):
        rows = json.loads(self.succeeds("formats", "--json"))
        table = self.succeeds("formats").splitlines()
        self.assertEqual(len(table), len(rows) + 1)
        for row, line in zip(rows, table[1:]):
            self.assertEqual(sorted(row), ["depths", "description", "extensions", "id", "name",
                                           "read", "write"])
            self.assertEqual(line.split()[0], str(row["id"]))
            self.assertIn(row["description"], line)
            self.assertTrue(row["depths"] or not row["write"])
        bmp = next(row for row in rows if row["id"] == 6)
        self.assertTrue(bmp["read"] and bmp["write"] and "bmp" in bmp["extensions"])

    def test_help(self):
        general = self.succeeds("--help")
        for word in ("info", "convert", "formats", "Exit status"):
            self.assertIn(word, general)
        text = self.succeeds("convert", "--help")
        for option in ("--format", "--bits", "--order", "--page", "--append"):
            self.assertIn(option, text)
        self.assertRegex(self.succeeds("--version"), r"\Atavo \d+\.\d+\.\d+\n\Z")


def tavo_stream(data, *arguments):
    """Runs the program with `data` on standard input; exit status, output bytes, messages."""
    with tempfile.TemporaryFile() as out, tempfile.TemporaryFile() as err:
        done = subprocess.run([*COMMAND, *map(str, arguments)], input=data, stdout=out, stderr=err,
                              timeout=120)
        for stream in (out, err):
            stream.seek(0)
        return done.returncode, out.read(), err.read().decode()


class Streams(CliTest):
    def test_standard_streams_carry_the_picture_and_nothing_else(self):
        name = self.make(24)
        data = Path(name).read_bytes()
        for to in ("bmp", "tif", "jpg", "dcx"):
            self.succeeds("convert", name, "out." + to)
            expected = Path("out." + to).read_bytes()
            self.assertEqual(tavo_stream(data, "convert", "-", "-", "--to", to), (0, expected, ""))
        self.assertEqual(tavo_stream(data, "convert", "-", "in.bmp")[0], 0)
        self.assertEqual(parse_bmp(Path("in.bmp").read_bytes())[2], picture(24))
        status, out, _ = tavo_stream(data, "info", "-", "--json")
        self.assertEqual((status, json.loads(out)[0]["width"]), (0, WIDTH))
        for bad in (b"", data[:200], b"no picture" * 30):
            status, out, err = tavo_stream(bad, "convert", "-", "-", "--to", "tif")
            self.assertEqual((status, out), (1, b""))
            self.assertRegex(err, r"\Atavo: standard input: [^\n]*\(status -[79]\)\r?\n\Z")
        self.usage_error("convert", name, "-")
        self.usage_error("convert", name, "-", "--to", "tif", "--append")
        self.succeeds("convert", name, "./-", "--to", "bmp")
        self.assertEqual(parse_bmp(Path("-").read_bytes())[2], picture(24))

    def test_many_inputs_go_into_a_folder(self):
        Path("sub").mkdir()
        a, b, same = self.make(8, "a.b.bmp"), self.make(24, "sub/c"), self.make(4, "sub/a.b.tif")
        done = tavo("convert", a, "missing.bmp", b, "--to", "lzw", "--out", "new/deep")
        self.assertEqual((done.returncode, done.stderr.count("\n")), (1, 1))
        self.assertEqual(sorted(os.listdir("new/deep")), ["a.b.tif", "c.tif"])
        before = sorted(Path().rglob("*"))
        text = self.usage_error("convert", a, b, same, "--to", "tif", "--out", "other")
        self.assertTrue(a in text and same in text, text)
        self.usage_error("convert", a, same, "--to", "tif", "--out", "sub")  # over the other input
        self.usage_error("convert", a, b, "--out", "other")
        self.usage_error("convert", a, b, same)
        self.assertEqual(sorted(Path().rglob("*")), before)


class Damage(CliTest):
    def test_cut_files_of_every_format(self):
        self.succeeds("convert", self.make(24), "big.bmp", "--size", "1000%")
        height = 10 * HEIGHT
        cuts = [("bmp", []), ("pcx", []), ("dcx", []), ("gif", []), ("tga", []), ("ras", []),
                ("jpg", []), ("cmp", []), ("png", []), ("tif", []), ("tif", ["--to", "lzw"]),
                ("tif", ["--to", "packbits"]), ("tif", ["--to", "group4", "--bits", 1]),
                ("tif", ["--to", "g3", "--bits", 1]), ("cal", ["--bits", 1])]
        for extension, options in cuts:
            with self.subTest(extension=extension, options=options):
                name = "whole." + extension
                self.succeeds("convert", "big.bmp", name, *options)
                data = Path(name).read_bytes()
                if extension == "tif":  # which has its directory at the end
                    data = move_strips_to_the_end(data)
                    Path(name).write_bytes(data)
                self.succeeds("convert", name, "whole.bmp")
                wanted = parse_bmp(Path("whole.bmp").read_bytes())[2]
                self.assertIn(", whole", self.succeeds("info", "--check", name))
                cut = "cut." + extension
                Path(cut).write_bytes(data[:-len(data) // 3])
                done = tavo("info", "--check", "--json", cut)
                check = checked_json("info", done.stdout)[0]["check"]
                self.assertEqual((done.returncode, check["verdict"], check["of"]),
                                 (3, "partial", height))
                self.assertTrue(0 < check["rows"] < height)
                self.assertEqual(check["offset"], Path(cut).stat().st_size)
                error = self.fails("-[79]", cut, "convert", cut, "no.bmp")
                self.assertIn(f"{height - check['rows']} of {height} rows are missing", error)
                done = tavo("convert", "--partial", cut, "part.bmp")
                self.assertEqual(done.returncode, 3)
                self.assertRegex(done.stderr,
                                 rf"\Atavo: {cut}: partial: {check['rows']} of {height} rows [^\n]*\n\Z")
                rows = parse_bmp(Path("part.bmp").read_bytes())[2]
                self.assertEqual(len(rows), height)
                equal = [row for row, whole in zip(rows, wanted) if row == whole]
                blank = [row for row in rows if len(set(row)) == 1]
                self.assertGreaterEqual(len(equal), check["rows"])
                self.assertGreaterEqual(len(blank), height - check["rows"])

    def test_verdicts_of_several_files(self):
        whole = self.make(24)
        data = Path(whole).read_bytes()
        Path("part.bmp").write_bytes(data[:-60])
        Path("none.bmp").write_bytes(data[:60])
        for files, status in (([whole], 0), ([whole, "part.bmp"], 3),
                              (["none.bmp", "part.bmp", whole], 1), (["part.bmp", "none"], 1)):
            done = tavo("info", "--check", *files)
            self.assertEqual(done.returncode, status)
            self.assertEqual(len((done.stdout + done.stderr).splitlines()), len(files))
        self.assertIn(", damaged (0 of 5 rows", tavo("info", "--check", "none.bmp").stdout)
        self.fails(-7, "none.bmp", "convert", "--partial", "none.bmp", "out.bmp")
        self.assertFalse(Path("out.bmp").exists())


def move_strips_to_the_end(tiff):
    """A little-endian TIFF file of one strip with its directory and values in front of it."""
    at, = struct.unpack_from("<I", tiff, 4)
    count, = struct.unpack_from("<H", tiff, at)
    entries = [list(struct.unpack_from("<HHII", tiff, at + 2 + 12 * i)) for i in range(count)]
    strip = next(tiff[e[3]:e[3] + size[3]] for e in entries if e[0] == 273
                 for size in entries if size[0] == 279)
    values, place = b"", 8 + 2 + 12 * count + 4
    for entry in entries:
        size = entry[2] * {1: 1, 2: 1, 3: 2, 4: 4, 5: 8}[entry[1]]
        if size > 4:
            old, entry[3] = entry[3], place + len(values)
            values += tiff[old:old + size]
    for entry in entries:
        if entry[0] == 273:
            entry[3] = place + len(values)
    return (tiff[:4] + struct.pack("<IH", 8, count) +
            b"".join(struct.pack("<HHII", *entry) for entry in entries) + bytes(4) + values + strip)


# A directory of one tag, the orientation: to be turned clockwise.
EXIF = b"II*\0" + struct.pack("<IHHHIHHI", 8, 1, 274, 3, 1, 6, 0, 0)


class Words(CliTest):
    def test_every_cause_has_its_sentence(self):
        data = make_bmp(8)
        long_name = "n" * 300 + ".bmp"
        Path("folder.bmp").mkdir()
        contents = {"png.bmp": b"\x89PNG\r\n\x1a\n" + bytes(40), "empty.bmp": b"",
                    "locked.bmp": b"Salted__" + bytes(40), "odd.bmp": b"no picture at all" * 9,
                    "cut.bmp": data[:-40]}
        for name, content in contents.items():
            Path(name).write_bytes(content)
        sentences = {}
        for name in ("missing.bmp", "folder.bmp", long_name, *contents):
            error = self.fails(r"-\d+", name, "convert", name, "out.tif")
            sentences[name] = error.split(": ", 2)[2]
        if IS_WINDOWS:
            del sentences[long_name]  # is missing, too, to that system
        self.assertEqual(len(set(sentences.values())), len(sentences), sentences)
        self.assertIn("a PNG file: not read by this version", sentences["png.bmp"])
        self.assertIn("an encrypted file", sentences["locked.bmp"])
        self.assertRegex(sentences["missing.bmp"], r"The file cannot be opened: .+ \(status -10\)")

    def test_names_of_any_script_and_length(self):
        deep = Path("/".join(letter * 90 for letter in "abcd"))
        deep.mkdir(parents=True)
        for name in ("gr\u00f6\u00dfe.bmp", "\u03a9 \u0416.bmp", "\u753b\U0001f5bc.bmp", str(deep / "in.bmp")):
            Path(name).write_bytes(make_bmp(8))
            out = name.removesuffix(".bmp") + "-out.bmp"
            self.succeeds("convert", name, out)
            self.assertEqual(parse_bmp(Path(out).read_bytes())[2], picture(8))
            self.assertIn(Path(name).name, self.succeeds("info", name))
        self.assertIn("\u03b1.bmp", self.fails(-10, "\u03b1.bmp", "convert", "\u03b1.bmp", "out.bmp"))
        self.succeeds("batch", ".", "--out", "\u51fa", "--to", "tif")
        self.assertTrue(Path("\u51fa/\u753b\U0001f5bc.tif").exists())

    def test_what_is_wrong_is_named_and_what_may_be_meant(self):
        for arguments, words in ((["convrt"], ['"convrt"', '"convert"']), (["xyzzy"], ['"xyzzy"']),
                                 (["convert", "a", "b", "--qualty", 5], ['"--qualty"', '"--quality"']),
                                 (["convert", "a", "b", "--to", "grup4"], ['"grup4"', '"group4"']),
                                 (["convert", "a", "b", "--dither", "stuki"], ["--dither", '"stucki"']),
                                 (["convert", "a", "b", "-q", 500, "--bits", 7],
                                  ['--quality: "500"', "1 to 100"]),
                                 (["convert", "a", "b", "--bits", 7, "-q", 500],
                                  ['--bits: "7"', "1, 4, 8, 16, 24, 32"])):
            text = self.usage_error(*arguments)
            for word in words:
                self.assertIn(word, text)
        self.assertNotIn("mean", self.usage_error("xyzzy"))

    def test_what_is_left_out_is_named(self):
        self.succeeds("convert", self.make(32), "alpha.tga", "--bits", 32)
        tga = bytearray(Path("alpha.tga").read_bytes())
        tga[17] = 0x18  # eight bits of alpha, the first pixel at the bottom right
        Path("alpha.tga").write_bytes(tga)
        self.succeeds("convert", self.make(24), "plain.jpg")
        jpeg = Path("plain.jpg").read_bytes()
        segments = b"".join(bytes((255, marker)) + struct.pack(">H", len(text) + 2) + text
                            for marker, text in ((0xE1, b"Exif\0\0" + EXIF), (0xE2, b"ICC_PROFILE\0\1\1"),
                                                 (0xE1, b"http://ns.adobe.com/xap/1.0/\0<x/>")))
        Path("rich.jpg").write_bytes(jpeg[:2] + segments + jpeg[2:])
        for _ in range(2):
            self.succeeds("convert", self.make(1), "two.tif", "--append")
        for name, words in (("alpha.tga", ["alpha", "orientation"]),
                            ("rich.jpg", ["ICC", "EXIF", "XMP", "turned clockwise"]), ("two.tif", ["page 1 of 2"])):
            done = tavo("convert", name, "out.bmp", "--no-orient")
            self.assertEqual((done.returncode, done.stderr.count("\n")), (0, 1))
            for word in words:
                self.assertIn(word, done.stderr)
        self.succeeds("convert", "plain.jpg", "out.bmp")

    def test_levels_of_deflate(self):
        name = self.make(24)
        sizes = {}
        for level in "small", "default", "fast":
            self.succeeds("convert", name, "out.png", "--level", level)
            self.succeeds("convert", "out.png", "out.tif", "--to", "deflate", "--level", level)
            self.succeeds("convert", "out.tif", "again.tif")  # the coding stays
            rows = json.loads(self.succeeds("info", "--json", "out.png", "again.tif"))
            self.assertEqual([row["compression"] for row in rows], ["Deflate", "Deflate"])
            sizes[level] = Path("out.png").stat().st_size
        self.assertLess(sizes["small"], sizes["fast"])
        self.assertEqual(tavo("convert", name, "out.bmp", "--level", "fast").returncode, 2)

    def test_what_the_source_says_is_kept(self):
        self.succeeds("convert", self.make(24), "fine.jpg", "--quality", 91)
        self.succeeds("convert", "fine.jpg", "again.jpg")
        self.succeeds("convert", self.make(1), "fax.tif", "--to", "group4")
        self.succeeds("convert", "fax.tif", "again.tif")
        self.succeeds("convert", "fax.tif", "lzw.tif", "--to", "lzw")
        self.succeeds("convert", self.make(24), "none.tga")  # has no place for a resolution
        self.succeeds("convert", "none.tga", "again.bmp")
        rows = json.loads(self.succeeds("info", "--json", "again.jpg", "again.tif", "lzw.tif"))
        self.assertEqual(rows[0]["jpeg"]["quality"], 91)
        self.assertEqual([row["compression"] for row in rows[1:]], ["CCITT Group 4 Fax", "LZW"])
        self.assertEqual(parse_bmp(Path("again.bmp").read_bytes())[1], (0, 0))

    def test_a_document_is_called_as_its_file(self):
        self.succeeds("convert", self.make(1), "My page.mac")
        data = Path("My page.mac").read_bytes()
        self.assertEqual(data[2:2 + data[1]], b"My page")


class Clipboard(CliTest):
    def test_files_go_there_and_back(self):
        name = self.make(8)
        if not IS_WINDOWS:
            return self.fails(-110, "clip", "clip", name)
        self.succeeds("clip", name)
        self.succeeds("clip", "new.bmp")
        self.assertEqual(parse_bmp(Path("new.bmp").read_bytes())[2], picture(8))
        self.succeeds("clip", "--paste", name, "--to", "gif")
        self.assertEqual(Path(name).read_bytes()[:3], b"GIF")
        self.fails(-10, "none.bmp", "clip", "--copy", "none.bmp")


@unittest.skipIf(IS_WINDOWS, "of this system only")
class Files(CliTest):
    def test_permissions_of_the_target_stay(self):
        name = self.make(8)
        Path("out.bmp").touch()
        os.chmod("out.bmp", 0o604)
        self.succeeds("convert", name, "out.bmp")
        self.assertEqual(stat.S_IMODE(os.stat("out.bmp").st_mode), 0o604)
        mask = os.umask(0o027)
        self.addCleanup(os.umask, mask)
        self.succeeds("convert", name, "new.bmp")
        self.assertEqual(stat.S_IMODE(os.stat("new.bmp").st_mode), 0o640)

    def test_links_stay_links(self):
        name = self.make(8)
        Path("sub").mkdir()
        os.symlink("sub/real.bmp", "link.bmp")
        self.succeeds("convert", name, "link.bmp")
        self.assertTrue(Path("link.bmp").is_symlink())
        self.assertEqual(parse_bmp(Path("sub/real.bmp").read_bytes())[0], 8)

    def test_devices_are_written_not_replaced(self):
        name = self.make(8)
        self.succeeds("convert", name, "/dev/null", "--format", "bmp")
        self.assertTrue(stat.S_ISCHR(os.stat("/dev/null").st_mode))
        done = subprocess.run([*COMMAND, "convert", name, "/dev/stdout", "--format", "bmp"],
                              stdout=subprocess.PIPE, check=True)
        self.assertEqual(parse_bmp(done.stdout)[0], 8)

    def test_a_run_that_is_ended_leaves_nothing_behind(self):
        import fcntl
        name = self.make(8)
        self.succeeds("convert", name, "out.tif")
        before = Path("out.tif").read_bytes()
        with open("out.tif", "rb") as busy:
            fcntl.flock(busy, fcntl.LOCK_EX)  # runs wait with their work begun
            for number in (signal.SIGHUP, signal.SIGTERM, signal.SIGPIPE, signal.SIGUSR1,
                           signal.SIGKILL):
                run = subprocess.Popen(  # not ignored, as programs behind nohup have it
                    [*COMMAND, "convert", name, "out.tif", "--append"],
                    preexec_fn=lambda: signal.signal(signal.SIGHUP, signal.SIG_DFL))
                for _ in range(2000):
                    if work := [f for f in Path().glob(".tavo~*") if "~lock~" not in f.name]:
                        break
                    time.sleep(0.005)
                self.assertEqual([stat.S_IMODE(f.stat().st_mode) for f in work], [0o600])
                run.send_signal(number)
                self.assertEqual(run.wait(timeout=60), -number)
                self.assertEqual(work[0].exists(), number == signal.SIGKILL)
        self.assertEqual(Path("out.tif").read_bytes(), before)
        foreign = [".tavo~elsewhere~1~1", ".tavo~notes"]  # another machine's, and nobody's
        for other in foreign:
            Path(other).touch()
        self.succeeds("convert", name, "out.tif")  # sweeps
        self.assertEqual(sorted(map(str, Path().glob(".tavo*"))), foreign)

    def test_a_full_disk_keeps_the_old_file(self):
        import resource
        name = self.make(24)
        for options in ([], ["--append"]):
            self.succeeds("convert", name, "out.tif")
            before = Path("out.tif").read_bytes()
            done = subprocess.run(
                [*COMMAND, "convert", name, "out.tif", *options], capture_output=True, text=True,
                preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (100, 100)))
            self.assertEqual(done.returncode, 1)
            self.assertRegex(done.stderr, r"out.tif: There is no room .*\(status -5\)")
            self.assertEqual(Path("out.tif").read_bytes(), before)
            self.assertEqual(sorted(os.listdir()), [name, "out.tif"])

    def test_a_full_folder_for_temporary_files_is_named(self):
        import resource
        data = make_bmp(24)
        for arguments in (["-", "out.tif"], ["-", "-", "--to", "tif"]):
            done = subprocess.run(
                [*COMMAND, "convert", *arguments], input=data, capture_output=True,
                preexec_fn=lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (100, 100)))
            self.assertEqual((done.returncode, done.stdout), (1, b""))
            self.assertIn(b"tavo: " + os.fsencode(tempfile.gettempdir()) + b": ", done.stderr)
        self.assertEqual(os.listdir(), [])

    @unittest.skipIf(os.getuid() != 0, "only root can become somebody else")
    def test_a_folder_that_may_not_be_written(self):
        name = self.make(8)
        Path("closed").mkdir(mode=0o555)
        Path("secret.bmp").write_bytes(make_bmp(8))
        os.chmod("secret.bmp", 0)
        os.chmod(".", 0o755)
        for arguments, words in (([name, "closed/out.tif"], "in this folder: Permission denied"),
                                 (["secret.bmp", "-", "--to", "tif"], "opened: Permission denied"),
                                 ([name, "--to", "tif", "--out", "closed/new"], "cannot be made: ")):
            done = subprocess.run([*COMMAND, "convert", *arguments], capture_output=True, text=True,
                                  user="nobody")
            self.assertEqual(done.returncode, 1)
            self.assertIn(words, done.stderr)
        self.assertEqual(os.listdir("closed"), [])

    def test_named_pipes_are_read(self):
        data = make_bmp(8)
        os.mkfifo("pipe")
        for source in ("pipe", "/dev/stdin"):
            run = subprocess.Popen([*COMMAND, "convert", source, "out.bmp"], stdin=subprocess.PIPE)
            with run.stdin if source != "pipe" else open("pipe", "wb") as end:
                end.write(data)
            self.assertEqual(run.wait(timeout=60), 0)
            self.assertEqual(parse_bmp(Path("out.bmp").read_bytes())[2], picture(8))

    def test_a_pipe_that_nobody_fills_costs_itself_alone(self):
        os.mkfifo("pipe.bmp")
        done = tavo("convert", "pipe.bmp", self.make(8), "--to", "tif", "--out", "out",
                    "--max-seconds", "1")
        self.assertEqual((done.returncode, os.listdir("out")), (1, ["in8.tif"]))
        self.assertRegex(done.stderr, r"\Atavo: pipe.bmp: [^\n]*seconds[^\n]*\(status -120\)\n\Z")

    def test_full_standard_output_is_an_error(self):
        with open("/dev/full", "w") as full:
            done = subprocess.run([*COMMAND, "formats"], stdout=full, stderr=subprocess.PIPE,
                                  text=True)
        self.assertEqual(done.returncode, 1)
        self.assertIn("(status -5)", done.stderr)


@contextlib.contextmanager
def wine_kept_running():
    """Wine takes a second to start and ends with its last program: one that waits keeps it there."""
    if not IS_WINDOWS:
        yield
        return
    quiet = {"stdout": subprocess.DEVNULL, "stderr": subprocess.DEVNULL}
    with subprocess.Popen(["wine", "cmd", "/c", "pause"], stdin=subprocess.PIPE, **quiet) as waiting:
        yield
        waiting.communicate(b"\n")


class Counting(unittest.TextTestResult):
    passed = 0

    def addSuccess(self, test):
        super().addSuccess(test)
        self.passed += 1


def main(cases=None, cases_here=None):
    global IS_WINDOWS
    program = Path(sys.argv[1]).absolute()
    IS_WINDOWS = program.suffix == ".exe"
    COMMAND[:] = ["wine", str(program)] if IS_WINDOWS else [str(program)]
    suite = unittest.TestSuite()
    cases = cases or (Conversions, Compression, Failures, Information, Streams, Damage, Words, Operations,
                      Sizes, Scans, Orientation, Sheets)
    for case in cases + (() if IS_WINDOWS else cases_here or (Files,)):
        suite.addTests(unittest.defaultTestLoader.loadTestsFromTestCase(case))
    with wine_kept_running():
        result = unittest.TextTestRunner(resultclass=Counting).run(suite)
    failed = len({str(test.id()).split(" ")[0] for test, _ in result.failures + result.errors})
    print(f"{result.passed} passed, {failed} failed")
    return 0 if failed == 0 and result.passed > 0 else 1


if __name__ == "__main__":
    sys.exit(main())
