#!/usr/bin/python3
"""Makes the bindings from the header, or, with --check, says whether they are what it would make.

usage: generate.py [--check]
"""
import argparse
import importlib
import pathlib
import sys

import header_model

HERE = pathlib.Path(__file__).resolve().parent
BINDINGS = {"python_binding": "python/tavo45.py", "csharp_binding": "csharp/Tavo45.cs",
            "pascal_binding": "pascal/tavo45.pas", "basic_binding": "basic/tavo45.bas"}


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--check", action="store_true")
    is_check = parser.parse_args().check
    header = header_model.read()
    stale = []
    for module, name in BINDINGS.items():
        path = HERE / name
        template = path.with_name(path.name + ".in").read_text(encoding="utf-8")
        text = importlib.import_module(module).generate(header, template)
        if is_check:
            if not path.exists() or path.read_text(encoding="utf-8") != text:
                stale.append(name)
        else:
            path.write_text(text, encoding="utf-8")
    for name in stale:
        print(f"bindings/{name} is stale: run bindings/generate.py")
    return 1 if stale else 0


if __name__ == "__main__":
    sys.exit(main())
