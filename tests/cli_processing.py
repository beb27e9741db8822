"""The options of convert that work on the picture; small pictures and sheets of them."""

import json
import os
import shutil
import struct
import subprocess
from pathlib import Path

from cli_common import (HEIGHT, IS_WINDOWS, PROGRAM, WIDTH, CliTest, parse_bmp, picture, tavo)


def mirrored(rows):
    return [row[::-1] for row in rows]


def turned(rows):
    """A quarter clockwise."""
    return [list(column) for column in zip(*rows[::-1])]


def cut(rows, width, height, x, y):
    return [row[x:x + width] for row in rows[y:y + height]]


class Operations(CliTest):
    def made(self, name, *options):
        self.succeeds("convert", name, "out.bmp", *options)
        return parse_bmp(Path("out.bmp").read_bytes())

    def test_moves_are_done_in_the_order_of_the_line(self):
        for bits in (1, 4, 8, 24):
            name, rows = self.make(bits), picture(bits)
            for options, wanted in (
                    (["--flip", "h"], mirrored(rows)), (["--flip", "v"], rows[::-1]),
                    (["--rotate", "90"], turned(rows)),
                    (["--rotate", "-90"], mirrored(turned(rows))[::-1]),
                    (["--rotate", "90", "--rotate", "90"], mirrored(rows)[::-1]),
                    (["--crop", "5x3+2+1", "--flip", "h"], mirrored(cut(rows, 5, 3, 2, 1))),
                    (["--flip", "h", "--crop", "5x3+2+1"], cut(mirrored(rows), 5, 3, 2, 1)),
                    (["--invert", "--rotate", "90:keep", "--rotate", "-90:keep", "--invert",
                      "--crop", "5x5+4+0"], cut(rows, 5, 5, 4, 0)),
                    (["--size-method", "nearest", "--size", f"{2 * WIDTH}x", "--crop", "6x10+0+0"],
                     [[p for p in row[:3] for _ in range(2)] for row in rows for _ in range(2)])):
                with self.subTest(bits=bits, options=options):
                    self.assertEqual(self.made(name, *options)[::2], (bits, wanted))

    def test_every_operation_takes_what_it_says_and_nothing_else(self):
        smooth = self.make(24)
        window = ((3, 255), (2, 4, 1, 257, "x", "", "3.5"))
        level = ((-1000, "+1000", 1), (-1001, 1001, "1.5", "much"))
        shape = (("3:box", "5:cross", "3:row", "255:column"), (2, "3:ring", "3:box:box", "257:row"))
        cases = {
            "--rotate": ((7.5, "-0.7:smooth", "5:keep:smooth:ff0000", 450),
                         ("x", "1.234", "5:red", "5:12345", 3601)),
            "--flip": (("h",), ("x", "")), "--blur": window, "--median": window,
            "--sharpen": level, "--mosaic": ((2, 32767), (1, 32768)),
            "--despeckle": ((1, 16), (0, 1001)),
            "--kernel": (("0 -1 0 -1 5 -1 0 -1 0", "1,1,1,1,1,1,1,1,1/9", "1 " * 25 + "/25+-9:abs",
                          "0 " * 48 + "1+20", "-1 0 0 0 0 0 0 0 2+255"),
                         ("1 2 3", "1 " * 9 + "/-1", "1 " * 9 + "+256", "1 " * 9 + ":sab",
                          "1 " * 8 + "40000", "1 " * 8 + "1/8388608")),
            "--erode": shape, "--dilate": shape, "--open": shape, "--close": shape,
            "--brightness": level, "--contrast": level, "--saturation": level,
            "--hue": ((-360 + 30, 359), (361, -361)), "--posterize": ((2, 63), (1, 65)),
            "--halftone": ((2, 64, "8:30", "8:-360"), (1, 65, "8:361", "8:30:2")),
            "--fit": (("7x7", "100x3"), ("7", "7x", "0x7")),
            "--crop": (("1x1+0+0", "13x4+0+1"), ("5x5", "5x5+1", "5x5-1+0", "0x5+0+0")),
            "--size": (("5x", "x3", "33.3%", "0.0001%"), ("5", "0x5", "5.5x5", "100001%")),
        }
        for option, (good, bad) in cases.items():
            for value in good:
                with self.subTest(option=option, value=value):
                    self.made(smooth, f"{option}={value}")
            before = sorted(os.listdir())
            for value in bad:
                with self.subTest(option=option, value=value):
                    text = self.usage_error("convert", smooth, "new.bmp", f"{option}={value}")
                    self.assertTrue(value == "" or f"tavo: {option}: " in text, text)
            self.assertEqual(sorted(os.listdir()), before)

    def test_what_does_not_fit_the_picture_is_said(self):
        name = self.make(24)
        for options, words in ((["--crop", "10x5+4+0"], "which is 13 x 5"),
                               (["--despeckle", 17], "from 1 to 16"),
                               (["--rotate", 90, "--crop", "6x5+0+0"], "which is 5 x 13")):
            text = self.fails(-13, f"{name}: {options[-2]} {options[-1]}", "convert", name,
                              "new.bmp", *options)
            self.assertIn(words, text)
        self.assertEqual(os.listdir(), [name])
        self.made(self.make(1), "--despeckle", 17)

    def test_depth_and_resolution_follow_the_picture(self):
        one, few, full = self.make(1), self.make(4), self.make(24)
        for name, options, bits in ((one, ["--median", 3], 1), (one, ["--rotate", "5:smooth"], 24),
                                    (few, ["--invert"], 4), (few, ["--blur", 3], 24),
                                    (full, ["--halftone", 4], 1), (full, ["--blur", 3], 24),
                                    (full, ["--blur", 3, "--bits", 4], 4)):
            self.assertEqual(self.made(name, *options)[0], bits, (name, options))
        self.assertEqual(self.made(full, "--rotate", 90)[1], (5906, 2835))
        self.assertEqual(self.made(full, "--crop", "3x3+0+0")[1], (2835, 5906))

    def test_every_page_is_processed(self):
        for bits in (1, 8, 24):
            self.succeeds("convert", self.make(bits), "pages.tif", "--append")
        self.succeeds("convert", "pages.tif", "out.tif", "--page", "all", "--rotate", 90)
        for page, bits in enumerate((1, 8, 24), 1):
            self.succeeds("convert", "out.tif", "page.bmp", "--page", page)
            self.assertEqual(parse_bmp(Path("page.bmp").read_bytes())[2], turned(picture(bits)))


class Sizes(CliTest):
    def size(self, name, *options):
        self.succeeds("convert", name, "out.tif", *options)
        info = json.loads(self.succeeds("info", "--json", "out.tif"))[0]
        return info["width"], info["height"], info["bits_per_pixel"]

    def test_sizes_are_as_asked_and_mixed_where_that_is_meant(self):
        page = ["--bits", 1, "--palette", "fixed"]
        self.succeeds("convert", self.make(24), "gray.bmp", "--gray")
        self.succeeds("convert", "gray.bmp", "page.bmp", *page)
        for name, options, wanted in (
                (self.make(24), ["--size", "7x"], (7, 3, 24)), ("in24.bmp", ["--size", "x3"], (8, 3, 24)),
                ("in24.bmp", ["--fit", "26x26"], (26, 10, 24)), ("in24.bmp", ["--fit", "100x3"], (8, 3, 24)),
                ("in24.bmp", ["--size", "33.3%"], (4, 2, 24)), ("in24.bmp", ["--size", "0.1%"], (1, 1, 24)),
                ("gray.bmp", ["--size", "50%"], (7, 3, 8)), (self.make(8), ["--size", "50%"], (7, 3, 8)),
                ("page.bmp", ["--size", "50%"], (7, 3, 8)), ("page.bmp", ["--size", "200%"], (26, 10, 1)),
                ("page.bmp", ["--size", "50%", "--bits", 1], (7, 3, 1)),
                ("page.bmp", ["--size", "50%", "--to", "group4"], (7, 3, 1)),
                ("in8.bmp", ["--size", "50%", "--size-method", "box"], (7, 3, 24))):
            with self.subTest(name=name, options=options):
                self.assertEqual(self.size(name, *options), wanted)
        for name, mixes in (("in24.bmp", True), ("gray.bmp", True), ("in8.bmp", False),
                            ("page.bmp", True)):
            self.succeeds("convert", name, "whole.bmp", "--bits", 24)
            self.succeeds("convert", name, "small.bmp", "--size", "8x5", "--bits", 24)
            whole, small = ({p for row in parse_bmp(Path(f).read_bytes())[2] for p in row}
                            for f in ("whole.bmp", "small.bmp"))
            self.assertEqual(bool(small - whole), mixes, name)

    def test_a_resized_load_is_the_same_work(self):
        """JPEG files are decoded smaller: nearly the same. All others exactly."""
        self.succeeds("convert", self.make(24), "big.bmp", "--size", "900%")
        for name, most in (("big.tif", 0), ("big.jpg", 5)):
            self.succeeds("convert", "big.bmp", name)
            self.succeeds("convert", name, "once.bmp", "--size", "20x20")
            self.succeeds("convert", name, "later.bmp", "--crop", "117x45+0+0", "--size", "20x20")
            once, later = (parse_bmp(Path(f).read_bytes())[2] for f in ("once.bmp", "later.bmp"))
            difference = max(abs(a - b) for r, s in zip(once, later) for p, q in zip(r, s)
                             for a, b in zip(p, q))
            self.assertLessEqual(difference, most)
        Path("cut.jpg").write_bytes(Path("big.jpg").read_bytes()[:-900])
        self.assertIn("rows are missing", self.fails(-7, "cut.jpg", "convert", "cut.jpg", "no.bmp",
                                                     "--size", "20x20"))


    def test_nearest_takes_the_pixel_in_which_the_middle_lies(self):
        for bits in (1, 4, 8, 24):
            name, rows = self.make(bits), picture(bits)
            for width, height in ((40, 57), (29, 3), (8, 11), (2, 2)):
                self.succeeds("convert", name, "out.bmp", "--size", f"{width}x{height}",
                              "--size-method", "nearest")
                made = parse_bmp(Path("out.bmp").read_bytes())[2]
                middle = lambda i, old, new: (2 * i + 1) * old // (2 * new)
                self.assertEqual(made[::-1], [
                    [rows[::-1][middle(y, HEIGHT, height)][middle(x, WIDTH, width)]
                     for x in range(width)] for y in range(height)], (bits, width, height))


def write_tga(name, width, rows):
    """Grey bytes, or red, green and blue, top row first."""
    bits = 8 * len(rows[0]) // width
    Path(name).write_bytes(struct.pack("<BBBHHBHHHHBB", 0, 0, 3 if bits == 8 else 2, 0, 0, 0, 0, 0,
                                       width, len(rows), bits, 0x20) + b"".join(rows))


class Scans(CliTest):
    WIDTH, HEIGHT = 600, 500

    def page(self, name, left=100, top=90, right=500, bottom=410, slope=0.0, speck=()):
        """Lines of what looks like words, 10 of 32 rows high."""
        rows = [bytearray(b"\xff" * self.WIDTH) for _ in range(self.HEIGHT)]
        for y in range(top, bottom):
            for x in range(left, right):
                if int(y - top - slope * (x - left)) % 32 < 10 and x // 5 % 7 != 3:
                    rows[y][x] = 0
        for x, y in speck:
            rows[y][x] = 0
        write_tga("page.tga", self.WIDTH, rows)
        self.succeeds("convert", "page.tga", name, "--bits", 1, "--dither", "none")

    def made(self, *options):
        self.succeeds("convert", "in.tif", "out.bmp", *options)
        rows = parse_bmp(Path("out.bmp").read_bytes())[2]
        return [bytes(p[0] for p in row) for row in rows]

    def test_autocrop_keeps_what_is_on_the_page(self):
        self.page("in.tif", bottom=388, speck=((30, 450), (580, 20)))
        for option, margin in (("--autocrop", 0), ("--autocrop:20", 20), ("--autocrop=7", 7)):
            rows = self.made(option)
            self.assertEqual((len(rows[0]), len(rows)), (400 + 2 * margin, 298 + 2 * margin))
        self.usage_error("convert", "in.tif", "new.tif", "--autocrop:x")

    def test_deskew_turns_lines_straight(self):
        white = lambda rows: sum(0 not in row[150:450] for row in rows[120:380])
        self.page("in.tif", slope=0.1)
        self.assertLess(white(self.made()), 20)
        self.assertGreater(white(self.made("--deskew")), 130)

    def test_blank_pages_are_left_out_and_named(self):
        for i, bottom in enumerate((400, 90, 300)):
            self.page(f"{i}.tif", bottom=bottom, speck=((77, 66),))
            self.succeeds("convert", f"{i}.tif", "in.tif", "--append")
        done = tavo("convert", "in.tif", "out.tif", "--page", "all", "--drop-blank")
        self.assertEqual(done.returncode, 0)
        self.assertIn("page 2 is blank", done.stderr)
        self.assertEqual(json.loads(self.succeeds("info", "--json", "out.tif"))[0]["pages"], 2)
        done = tavo("convert", "1.tif", "new.tif", "--drop-blank")
        self.assertEqual((done.returncode, os.path.exists("new.tif")), (1, False))
        self.assertIn("nothing but blank pages", done.stderr)

    def test_a_fine_palette_is_nearer_to_the_picture(self):
        rows = [bytes(v for x in range(96) for v in (x * 255 // 95, y * 4, (x * y) % 256))
                for y in range(64)]
        write_tga("in.tga", 96, rows)
        want = [v for row in rows for v in row]
        errors = []
        for palette in ("fine", "optimized"):
            self.succeeds("convert", "in.tga", "out.bmp", "--colors", 16, "--dither", "none",
                          "--palette", palette)
            bits, _, made = parse_bmp(Path("out.bmp").read_bytes())
            pixels = [p for row in made for p in row]
            self.assertEqual((bits, len(set(pixels)) <= 16), (4, True))
            errors.append(sum((a - b) ** 2 for a, b in zip((v for r, g, b in pixels for v in (b, g, r)),
                                                           want)))
        self.assertLess(errors[0], errors[1])


class Orientation(CliTest):
    # By TIFF's numbers: what makes the stored picture upright.
    UPRIGHT = {1: lambda r: r, 2: mirrored, 3: lambda r: mirrored(r)[::-1], 4: lambda r: r[::-1],
               5: lambda r: mirrored(turned(r)), 6: turned, 7: lambda r: turned(mirrored(r)),
               8: lambda r: mirrored(turned(r))[::-1]}

    def test_pictures_come_upright(self):
        self.succeeds("convert", self.make(24), "plain.jpg", "--subsampling", "1x1")
        jpeg = Path("plain.jpg").read_bytes()
        for number, upright in self.UPRIGHT.items():
            exif = b"Exif\0\0II*\0" + struct.pack("<IHHHIHHI", 8, 1, 274, 3, 1, number, 0, 0)
            Path("turned.jpg").write_bytes(jpeg[:2] + b"\xff\xe1" + struct.pack(
                ">H", len(exif) + 2) + exif + jpeg[2:])
            done = tavo("convert", "turned.jpg", "stored.bmp", "--no-orient")
            self.assertEqual((done.returncode, "orientation" in done.stderr), (0, number > 1))
            stored = parse_bmp(Path("stored.bmp").read_bytes())[2]
            for kept in ("kept.tif", "kept.jpg"):
                done = tavo("convert", "turned.jpg", kept, "--no-orient", "--subsampling=1x1"
                            if kept.endswith("jpg") else "--bits=24")
                self.assertNotIn("orientation", done.stderr)
                info = json.loads(self.succeeds("info", "--json", kept))[0]
                self.assertEqual((info.get("orientation", 1), info["width"]),
                                 (1 if number == 4 and kept == "kept.tif" else number, WIDTH))
            self.succeeds("convert", "kept.tif", "out.bmp")
            self.assertEqual(parse_bmp(Path("out.bmp").read_bytes())[2], upright(stored), number)
            self.assertNotIn("orientation", tavo("convert", "turned.jpg", "out.bmp").stderr)
            self.assertEqual(parse_bmp(Path("out.bmp").read_bytes())[2], upright(stored), number)
            tavo("convert", "turned.jpg", "out.bmp", "--crop", "4x4+1+0")
            self.assertEqual(parse_bmp(Path("out.bmp").read_bytes())[2],
                             cut(upright(stored), 4, 4, 1, 0))
            tavo("convert", "turned.jpg", "out.bmp", "--size", "10x20")
            rows = parse_bmp(Path("out.bmp").read_bytes())[2]
            self.assertEqual((len(rows[0]), len(rows)), (10, 20))

    def test_corners_of_tga_files(self):
        self.succeeds("convert", self.make(24), "in.tga")
        data = bytearray(Path("in.tga").read_bytes())
        rows = picture(24) if data[17] & 0x20 else picture(24)[::-1]
        for bits in (0, 0x10, 0x20, 0x30):
            data[17] = bits
            Path("in.tga").write_bytes(data)
            self.succeeds("convert", "in.tga", "out.bmp")
            upright = rows if bits & 0x20 else rows[::-1]
            self.assertEqual(parse_bmp(Path("out.bmp").read_bytes())[2],
                             mirrored(upright) if bits & 0x10 else upright)


class Sheets(CliTest):
    def info(self, name, *options):
        return json.loads(self.succeeds("info", "--json", name, *options))[0]

    def test_thumbs(self):
        self.succeeds("convert", self.make(24), "wide.bmp", "--size", "600x240")
        self.succeeds("convert", "wide.bmp", "wide.jpg", "--stamp", "100x40")
        self.succeeds("convert", self.make(1), "pages.tif")
        self.succeeds("convert", self.make(8), "pages.tif", "--append")
        done = tavo("thumb", "wide.bmp", "missing.bmp", "pages.tif", "--out", "a/b", "--size", 50)
        self.assertEqual((done.returncode, done.stderr.count("\n")), (1, 1))
        self.assertEqual(sorted(os.listdir("a/b")), ["pages.jpg", "wide.jpg"])
        for name, size in (("wide", (50, 20)), ("pages", (WIDTH, HEIGHT))):  # none grows
            info = self.info(f"a/b/{name}.jpg")
            self.assertEqual((info["width"], info["height"]), size)
        # What is seen of a file with a stamp is the stamp, where that is large enough.
        stamped = bytearray(Path("wide.jpg").read_bytes())
        del stamped[-300:]
        Path("wide.jpg").write_bytes(stamped)
        self.succeeds("thumb", "wide.jpg", "--out", "c", "--size", 90, "--to", "bmp")
        self.assertEqual(len(parse_bmp(Path("c/wide.bmp").read_bytes())[2]), 36)
        self.fails(-7, "wide.jpg", "thumb", "wide.jpg", "--out", "c", "--size", 110)
        self.usage_error("thumb", "wide.jpg", "wide.bmp", "--out", "c")
        self.usage_error("thumb", "wide.jpg")

    def test_sheets_show_every_page_with_its_name(self):
        blank, red = self.make(24, "a.bmp"), "b.bmp"
        self.succeeds("convert", blank, red, "--size", "900x", "--brightness", -1000, "--rotate",
                      "45:FF0000", "--crop", "30x20+0+0")
        for _ in range(3):
            self.succeeds("convert", red, "pages.tif", "--append")
        self.succeeds("sheet", red, "pages.tif", "all.bmp", "--columns", 3, "--dpi", 72)
        _, dots, rows = parse_bmp(Path("all.bmp").read_bytes())
        self.assertEqual((len(rows[0]), len(rows), dots), (595, 842, (2835, 2835)))
        flat = [p for row in rows for p in row]
        self.assertEqual(flat.count((255, 0, 0)), 4 * 30 * 20)
        top = next(y for y, row in enumerate(rows) if (255, 0, 0) in row)
        below = rows[top + 20:top + 150]
        for column in range(3):  # a name stands below each
            part = [p for row in below for p in row[column * 198:column * 198 + 198]]
            self.assertGreater(part.count((0, 0, 0)), 20)
        many = [red] * 40
        self.succeeds("sheet", *many, "pages.tif", "all.tif", "--dpi", 72, "--first-page", "--to", "lzw")
        self.assertEqual(self.info("all.tif")["pages"], 3)
        self.succeeds("sheet", *many, "all.jpg", "--dpi", 72, "--landscape")
        made = sorted(f for f in os.listdir() if f.startswith("all") and f.endswith("jpg"))
        self.assertEqual((made[0], len(made)), ("all.jpg", 5))
        self.assertEqual((self.info("all.jpg")["width"], self.info("all.page2.jpg")["height"]), (842, 595))

    def test_scans(self):
        self.usage_error("scan")
        self.usage_error("scan", "page.bmp", "--resolution", 0)
        if not IS_WINDOWS:
            self.fails(-113, "scan", "scan", "page.bmp")
            return
        # Beside the program stands the scanner of the tests, which has one picture.
        build = Path(PROGRAM).parents[1]
        shutil.copy(PROGRAM, "tavo.exe")
        shutil.copy(build / "tests/twain_double/TWAIN.dll", ".")
        subprocess.run(["wine", "tavo.exe", "scan", "page.bmp", "--pages", "3"], check=True, timeout=60)
        _, dots, rows = parse_bmp(Path("page.bmp").read_bytes())
        self.assertEqual((len(rows[0]), len(rows), dots), (21, 19, (11811, 11811)))
        self.assertEqual(rows[0][1], (11, 82, 153))

    def test_sheets_that_cannot_be(self):
        name = self.make(8)
        done = tavo("sheet", name, "missing.bmp", "sheet.bmp")
        self.assertEqual((done.returncode, done.stderr.count("\n")), (1, 1))
        self.assertTrue(Path("sheet.bmp").exists())
        for arguments in ([name], [name, name], [name, "-"], [name, "o.bmp", "--columns", 21],
                          [name, "o.bmp", "--columns", 20, "--dpi", 50]):
            self.usage_error("sheet", *arguments)
        self.fails(-16, "standard output", "sheet", *[name] * 21, "-", "--to", "bmp")
        self.fails(-10, "no.bmp", "sheet", "no.bmp", "o.bmp")
        self.assertEqual(sorted(os.listdir()), [name, "sheet.bmp"])
