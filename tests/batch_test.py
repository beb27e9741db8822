"""Tries "tavo batch" as a user does. usage: batch_test.py TAVO"""

import collections
import contextlib
import glob
import json
import os
import re
import resource
import shutil
import signal
import subprocess
import sys
import time
import unittest
from pathlib import Path

import cli_test
from cli_test import CliTest, checked_json, make_bmp, tavo


def lines_of(path):
    return [checked_json("journal", line) for line in Path(path).read_bytes().splitlines()]


def outputs(folder="out"):
    return {str(p.relative_to(folder)): p.read_bytes() for p in Path(folder).rglob("*")
            if p.is_file() and ".journal" not in p.parts}


class BatchTest(CliTest):
    def fill(self, count=12):
        """Pictures of some depths, in folders, and two that are none."""
        for i in range(count):
            path = Path("in", str(i % 3), f"{i}.bmp")
            path.parent.mkdir(parents=True, exist_ok=True)
            path.write_bytes(make_bmp((1, 4, 8, 24)[i % 4]))
        Path("in/cut.bmp").write_bytes(make_bmp(24)[:200])
        Path("in/text.txt").write_bytes(b"no picture")

    def batch(self, status, *arguments, out="out", source=("in",)):
        done = tavo("batch", *source, "--to", "tif", "--out", out, *arguments)
        self.assertEqual(done.returncode, status, (arguments, done.stderr))
        self.assertEqual(done.stdout, "")
        return done.stderr

    def outcomes(self, path="out/.journal/0-of-1.ndjson"):
        return collections.Counter(line["outcome"] for line in lines_of(path) if "input" in line)


class Batches(BatchTest):
    def test_shards_make_what_one_run_makes_and_merge(self):
        self.fill()
        self.batch(1, out="one")
        journal = lines_of("one/.journal/0-of-1.ndjson")
        self.assertEqual(list(journal[0]), ["tavo", "hash", "options", "list", "files", "shard",
                                            "shards"])
        self.assertEqual(list(journal[1]), ["input", "size", "mtime", "outputs", "pages", "outcome",
                                            "status", "text", "ms"])
        self.assertEqual(journal[-1]["end"], "finished")
        self.assertEqual(self.outcomes("one/.journal/0-of-1.ndjson"),
                         {"ok": 12, "error": 1, "skipped": 1})
        for i in range(3):
            self.assertEqual(tavo("batch", "--merge", "out" if i else "one").returncode, 75 if i else 1)
            self.batch(0, "--shard", f"{i}/3", "--bad-ok")
        merged = json.loads(tavo("batch", "--merge", "out", "--json", "in").stdout)
        self.assertEqual((merged["covered"], merged["files"], merged["ok"]), (True, 14, 12))
        self.assertEqual(outputs("out"), outputs("one"))

    def test_resume_does_what_is_missing_and_nothing_else(self):
        self.fill()
        self.batch(1)
        path = Path("out/.journal/0-of-1.ndjson")
        whole = path.read_bytes()
        made = outputs()
        self.batch(2)  # a journal is there
        self.batch(1, "--resume")
        self.assertEqual(path.read_bytes(), whole)
        self.batch(2, "--resume", "--bits", "8")  # other options
        self.assertEqual(path.read_bytes(), whole)
        end = len(whole)
        second = whole.rindex(b"\n", 0, whole.rindex(b"\n", 0, end - 1))
        for cut in range(second, end, 7):
            path.write_bytes(whole[:cut])
            self.batch(1, "--resume")
            self.assertEqual(lines_of(path)[-1]["end"], "finished")
            self.assertEqual(outputs(), made)
        name = next(iter(made))
        Path("out", name).unlink()
        Path("out", ".tavo~0-of-1~other~1~1").write_bytes(b"")
        Path("out", ".tavo~0-of-2~other~1~1").write_bytes(b"")
        self.batch(1, "--resume")
        self.assertEqual(set(outputs()) - set(made), {".tavo~0-of-2~other~1~1"})
        self.assertEqual(lines_of(path)[-1]["files"], 14)

    def test_names(self):
        self.fill(1)
        name = "in/new\nline.bmp" if not cli_test.IS_WINDOWS else "in/new line.bmp"
        Path(name).write_bytes(make_bmp(8))
        names = [b"in/0/0.bmp", b"./in//0/../0/0.bmp", b"../out.bmp", b"gone.bmp", os.fsencode(name)]
        if not cli_test.IS_WINDOWS:
            names.append(b"in/\xff.bmp")
            Path(os.fsdecode(names[-1])).write_bytes(make_bmp(8))
        Path("list").write_bytes(b"\0".join(names))
        self.batch(1, source=("--list", "list", "-0"))
        rows = {row["input"]: row for row in lines_of("out/.journal/0-of-1.ndjson") if "input" in row}
        self.assertEqual({name: row["outcome"] for name, row in rows.items()},
                         {"in/0/0.bmp": "ok", "../out.bmp": "refused", "gone.bmp": "error",
                          os.fsdecode(names[4]): "ok",
                          **({} if cli_test.IS_WINDOWS else {"in/\ufffd.bmp": "ok"})})
        if not cli_test.IS_WINDOWS:
            self.assertEqual(rows["in/\ufffd.bmp"]["input_hex"], b"in/\xff.bmp".hex())
        Path("list").write_text("in/0/0.bmp\nin/0/0.gif\n")
        self.assertIn("0.gif", self.batch(2, out="other", source=("--list", "list")))
        self.assertFalse(Path("other").exists())
        self.batch(2, "--base", "in", out="in", source=("--list", "list", "--to", "bmp"))

    def test_wrong_options_are_told_before_work(self):
        self.fill(2)
        for wrong in (["--allow", "zzz"], ["--stamp", "5x5"], ["--fanout", "4"], ["--shard", "2/2"]):
            self.batch(2, *wrong)
        self.batch(2, out="in")
        self.assertFalse(Path("out").exists())

    def test_pages_and_folders_of_hashes(self):
        self.fill(1)
        for _ in range(2):
            self.succeeds("convert", "in/0/0.bmp", "in/0/0.tif", "--append")
        Path("in/0/0.bmp").unlink()
        done = tavo("batch", "in", "--to", "bmp", "--out", "out", "--page", "all", "--fanout", "2",
                    "--durable")
        self.assertEqual(done.returncode, 1)
        row = next(r for r in lines_of("out/.journal/0-of-1.ndjson") if r.get("pages") == 2)
        # The hash of "0/0.tif", as "xxhsum -H1" has it, is a98d5633e3b92591.
        names = [f"a9/8d/0/0{page}.bmp" for page in ("", ".page2")]
        self.assertEqual([made["name"] for made in row["outputs"]], names)
        self.assertEqual(sorted(outputs()), sorted(names))

    def test_a_page_and_another_input_of_one_name_are_refused(self):
        self.fill(1)
        Path("p").mkdir()
        for _ in range(2):
            self.succeeds("convert", "in/0/0.bmp", "p/m.tif", "--append")
        self.succeeds("convert", "in/0/0.bmp", "p/m.page2.tif")
        self.succeeds("convert", "in/0/0.bmp", "p/m.page3.tif")  # a page that there is not
        bmp = ("--to", "bmp", "--out", "out")
        for command in (["batch", "p"], ["batch", "p", "--fanout", "1"],
                        ["convert", *sorted(map(str, Path("p").iterdir()))]):
            for pages, met in ((["--page", "all"], "--fanout" not in command), ([], False)):
                done = tavo(*command, *pages, *bmp)
                self.assertEqual(done.returncode, 2 if met else 0, (command, done.stderr))
                if met:
                    self.assertRegex(done.stderr, "page 2 of .*m.tif and .*m.page2.tif .*m.page2.bmp")
                    self.assertFalse(Path("out").exists())
                shutil.rmtree("out", ignore_errors=True)

    def test_a_long_list_is_gone_on_with(self):
        Path("list").write_text("".join(f"{i}.bmp\n" for i in range(3000)))
        names = ("--list", "list")
        self.batch(1, source=names)
        path = Path("out/.journal/0-of-1.ndjson")
        whole = path.read_bytes().splitlines(keepends=True)
        self.batch(1, "--resume", source=names)
        self.assertEqual(path.read_bytes(), b"".join(whole))
        path.write_bytes(b"".join(whole[:2000]))
        self.batch(1, "--resume", source=names)
        self.assertEqual(len(path.read_bytes().splitlines()), len(whole))
        self.assertEqual(tavo("batch", "--merge", "out", *names).returncode, 1)

    def test_limits_are_told(self):
        name = self.make(24)
        for option, word, asked in (("--max-pixels=9", "pixels", "65"), ("--max-mem=1k", "memory", "")):
            text = tavo("convert", name, "out.gif", option).stderr
            self.assertIn(word, text)
            self.assertIn(asked, text)
        row = json.loads(tavo("info", name, "--max-pixels", "9", "--json").stdout)[0]
        self.assertEqual(row["limit"], {"name": "pixels", "asked": 65, "allowed": 9})
        self.assertEqual(tavo("info", name, "--allow", "gif,tif").returncode, 1)
        self.assertEqual(tavo("info", name, "--allow", "bmp").returncode, 0)
        for wrong in (["--allow", "xyz"], ["--max-mem", "0"], ["--max-seconds", "-1"]):
            self.usage_error("info", name, *wrong)


class Processes(BatchTest):
    """Signals, locks and limits as only this system has them."""

    def start(self, *arguments, **options):
        return subprocess.Popen([*cli_test.COMMAND, "batch", "in", "--to", "tif", "--out", "out",
                                 "--jobs", "1", *arguments], stderr=subprocess.DEVNULL, **options)

    def worker_of(self, process):
        for _ in range(1000):
            found = [int(number) for tasks in glob.glob(f"/proc/{process.pid}/task/*/children")
                     for number in Path(tasks).read_text().split()]
            if found:
                return found[0]
            time.sleep(0.005)
        self.fail("no worker")

    def large(self, count=6, side=1500):
        """Each takes a while: noise, optimised to few colours."""
        Path("in").mkdir()
        rows = os.urandom(side * side * 3)
        head = make_bmp(24)[:54]
        head = head[:18] + side.to_bytes(4, "little") * 2 + head[26:34] + bytes(4) + head[38:]
        for i in range(count):
            Path("in", f"{i}.bmp").write_bytes(head + rows)
        return ("--colors", "200")

    def test_what_kills_a_worker_costs_one_file(self):
        slow = self.large(20)
        process = self.start(*slow)
        worker = self.worker_of(process)
        time.sleep(0.2)  # until it has a file in hand
        os.kill(worker, signal.SIGABRT)
        self.assertEqual(process.wait(120), 1)
        self.assertEqual(self.outcomes(), {"ok": 19, "crashed": 1})
        rows = lines_of("out/.journal/0-of-1.ndjson")
        self.assertIn("SIGABRT", next(r["text"] for r in rows if r.get("outcome") == "crashed"))
        self.batch(0, "--resume", "--retry-errors", *slow)
        self.assertEqual(len(outputs()), 20)

    def test_signals_locks_and_sudden_ends(self):
        slow = self.large()
        process = self.start(*slow)
        self.worker_of(process)
        self.batch(3, "--resume", *slow)  # another is at it
        process.send_signal(signal.SIGTERM)
        self.assertEqual(process.wait(120), 75)
        self.assertEqual(lines_of("out/.journal/0-of-1.ndjson")[-1]["end"], "interrupted")
        process = self.start("--resume", *slow)
        worker = self.worker_of(process)
        process.kill()
        process.wait()
        time.sleep(0.3)
        command = Path(f"/proc/{worker}/cmdline")  # empty when nobody has waited for it
        self.assertEqual(command.read_bytes() if command.exists() else b"", b"")
        self.batch(0, "--resume", *slow)
        self.assertEqual(len(outputs()), 6)

    def test_a_memory_limit_holds_for_all_samples_in_one_process(self):
        if b"__asan_init" in Path(cli_test.COMMAND[-1]).read_bytes():
            self.skipTest("a sanitizer holds memory of its own")
        self.large(1, side=1800)  # 9.7 million bytes
        here = Path(__file__).resolve().parent.parent
        root = Path(os.environ.get("TAVO_CORPUS") or here / "fuzz/seeds").resolve()
        for i, path in enumerate(sorted(p for p in root.rglob("*") if p.is_file())):
            Path("in", f"s{i}{path.suffix}").symlink_to(path)
        pipes = ("first.bmp", "last.bmp")
        for pipe in pipes:
            os.mkfifo(pipe)
        whole = ("--to", "group4", "--dither", "none", "--out", "out")
        with open("told", "wb") as told:
            process = subprocess.Popen(
                [*cli_test.COMMAND, "convert", pipes[0], *glob.glob("in/*"), pipes[1],
                 "--max-mem", "8M", *whole], stderr=told)
        first, last = (self.kib_when_it_reads(process, pipe) for pipe in pipes)
        process.wait(60)
        # Parts of the program that came into use are not the work's memory.
        growth = last["VmHWM"] - first["VmHWM"] - (last["RssFile"] - first["RssFile"])
        self.assertLess(growth, 9 << 10)

        def statuses(text):
            return dict(re.findall(r"^tavo: (\S+): .*\(status (-\d+)\)$", text, re.M))
        failed = statuses(Path("told").read_text())
        others = {name: status for name, status in failed.items()
                  if status != "-120" and name not in pipes}
        self.assertEqual(failed["in/0.bmp"], "-120")
        # What is not the limit's is so without one.
        self.assertEqual(statuses(tavo("convert", *others, *whole).stderr), others)

    def kib_when_it_reads(self, process, pipe):
        """What it holds, and held at most, when it comes to that input, which is then empty."""
        while process.poll() is None:
            with contextlib.suppress(OSError):
                end = os.open(pipe, os.O_WRONLY | os.O_NONBLOCK)
                status = Path(f"/proc/{process.pid}/status").read_text()
                os.close(end)
                return {row[0]: int(row[1]) for row in re.findall(r"(\w+):\s+(\d+) kB", status)}
            time.sleep(0.002)
        self.fail("it ended early")

    def test_a_full_disk_loses_nothing(self):
        self.fill()
        def small_files():
            resource.setrlimit(resource.RLIMIT_FSIZE, (1500, 1500))
        process = self.start(preexec_fn=small_files)
        self.assertEqual(process.wait(60), 3)
        self.assertEqual([name for name in outputs() if "~" in name], [])
        self.batch(0, "--resume", "--bad-ok")
        self.assertEqual(len(outputs()), 12)
        self.assertEqual(lines_of("out/.journal/0-of-1.ndjson")[-1]["files"], 14)


if __name__ == "__main__":
    sys.exit(cli_test.main((Batches,), (Processes,)))
