"""Figures that the site shows, from what tests and benchmarks wrote themselves. Where this machine has
no such output, those of docs/figures are shown, which were made in the same way.

usage: figures.py       writes docs/figures from build/test* and build/bench/results"""
import json
from collections import Counter
from importlib.machinery import SourceFileLoader
from pathlib import Path

import charts

ROOT = Path(__file__).resolve().parents[2]
KEPT = ROOT / "docs" / "figures"
BENCHMARKS = ROOT / "build" / "bench" / "results"

COUNTS = {"cuts": "files cut short, at every length", "mutations": "files with changed bytes",
          "faults": "failing reads, writes and seeks"}
TARGETS = {"native": "Linux", "asan": "under both sanitizers", "win32": "32-bit Windows",
           "win64": "64-bit Windows"}


def commit(folder):
    """Of the sources that were tested or measured, as the scripts noted it."""
    note = folder / "commit"
    return note.read_text(encoding="ascii").strip() if note.exists() else "unknown"


def processor():
    lines = Path("/proc/cpuinfo").read_text(encoding="utf-8").splitlines()
    return next((line.split(":")[1].strip() for line in lines if line.startswith("model name")), "")


def _tests_of(target):
    """Tests that passed and failed, and what they counted, of all files of one build."""
    sums, date = Counter(), ""
    for path in sorted((ROOT / "build").glob(f"test*/{target}*.json")):
        outcome = json.loads(path.read_text(encoding="utf-8"))
        date = outcome["timestamp"][:10]
        tests = [test for suite in outcome["testsuites"] for test in suite["testsuite"]
                 if test["result"] == "COMPLETED"]
        sums["failed"] += sum("failures" in test for test in tests)
        sums["passed"] += sum("failures" not in test for test in tests)
        for test in tests:
            for name in COUNTS:
                sums[name] += int(test.get(name, 0))
    return date, dict(sums)


def _files(folder):
    return sum(path.is_file() for path in (ROOT / folder).rglob("*"))


def reliability():
    targets, date = {}, ""
    for target in TARGETS:
        when, sums = _tests_of(target)
        if sums:
            targets[target], date = sums, when
    if not targets:
        return None
    return {"date": date, "commit": commit(ROOT / "build" / "test"), "targets": targets,
            "fuzz": {"targets": len(list((ROOT / "fuzz").glob("fuzz_*.cpp"))),
                     "seeds": _files("fuzz/seeds"), "regressions": _files("fuzz/regressions")}}


def speed():
    table = SourceFileLoader("bench_table", str(ROOT / "scripts" / "bench-table")).load_module()
    medians, context, wanted = {}, None, charts.names()
    for path in sorted(BENCHMARKS.glob("*.json")):
        context = json.loads(path.read_text(encoding="utf-8"))["context"]
        medians[path.stem] = {name: round(median, 5) for name, median, _, _, error
                              in table.rows_of(path) if name in wanted and not error}
    if not medians:
        return None
    return {"date": context["date"][:10], "commit": commit(BENCHMARKS), "processor": processor(),
            "load": round(context["load_avg"][0], 1), "processors": context["num_cpus"],
            "target": "native", "milliseconds": medians}


MAKERS = {"reliability": reliability, "speed": speed}


def shown(name):
    """The figures of this machine, else those that are kept."""
    return MAKERS[name]() or json.loads((KEPT / f"{name}.json").read_text(encoding="utf-8"))


def main():
    KEPT.mkdir(exist_ok=True)
    for name, make in MAKERS.items():
        made = make()
        if made:
            (KEPT / f"{name}.json").write_text(json.dumps(made, indent=1) + "\n", encoding="utf-8")


if __name__ == "__main__":
    main()
