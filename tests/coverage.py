#!/usr/bin/env python3
"""Prints which share of the lines and branches of each layer the native tests have run, and with --missing the lines that
were never run or have a branch that was never taken. Reads what a build of the preset "coverage" has left behind:

    cmake --preset coverage && cmake --build --preset coverage && ctest --preset coverage -LE long
    tests/coverage.py [--missing]

Branches that only an exception would take are left out: the library raises none. So are those under x86/: the compiler
counts two for every intrinsic there, one of which nothing can take, and the kernels' own are loops over constants. What a
template's instantiations and the programs have run counts together.
"""
import collections
import gzip
import json
import pathlib
import subprocess
import sys
import tempfile

root = pathlib.Path(__file__).resolve().parent.parent
layers = ("bridge", "core", "platform")
lines = collections.defaultdict(int)  # (file, line): times run
branches = collections.defaultdict(int)  # (file, line, number on the line): times taken

notes = sorted((root / "build/coverage/CMakeFiles/zelspi_objects.dir").rglob("*.gcno"))
if not notes:
    sys.exit("nothing built: see the head of this script")
with tempfile.TemporaryDirectory() as folder:
    subprocess.run(["gcov", "--branch-probabilities", "--json-format", "--hash-filenames", *map(str, notes)],
                   cwd=folder, check=True, stdout=subprocess.DEVNULL)
    for output in pathlib.Path(folder).glob("*.json.gz"):
        for file in json.load(gzip.open(output))["files"]:
            path = pathlib.Path(file["file"])
            if not path.is_relative_to(root) or path.relative_to(root).parts[0] not in layers:
                continue
            name = str(path.relative_to(root))
            for line in file["lines"]:
                where = (name, line["line_number"])
                lines[where] += line["count"]
                taken = [branch["count"] for branch in line["branches"] if not branch["throw"] and "/x86/" not in name]
                for number, count in enumerate(taken if len(taken) > 1 else []):
                    branches[where + (number,)] += count


def share(counts):
    return f"{sum(count > 0 for count in counts)} of {len(counts)} ({100 * sum(count > 0 for count in counts) / len(counts):.1f} %)"


for layer in layers:
    of_layer = lambda counts: [count for where, count in counts.items() if where[0].startswith(layer + "/")]
    print(f"{layer:9} lines {share(of_layer(lines)):24} branches {share(of_layer(branches))}")
if "--missing" in sys.argv:
    missing = {where: "line" for where, count in lines.items() if count == 0}
    for where, count in branches.items():
        if count == 0:
            missing.setdefault(where[:2], "branch")
    for (name, line), what in sorted(missing.items()):
        print(f"{name}:{line}: {what}: {(root / name).read_text().splitlines()[line - 1].strip()}")
