#!/usr/bin/env python3
"""Runs a benchmark program and prints, for each row that a peer has too, our speed over the peer's, from the same run.

Rows are called zelspi/WORK/ARGUMENTS and PEER/WORK/ARGUMENTS. The median of the repetitions counts.

Usage: ratios.py PROGRAM [ARGUMENT...], such as: ratios.py build/bench/bench/hash_bench --benchmark_filter=SHA-256
"""
import json
import subprocess
import sys

OURS = "zelspi"


def measure(program, arguments):
    """What the program says of itself, and its rows as (who, work, time in ns, bytes per second or None)."""
    command = [program, "--benchmark_format=json", "--benchmark_repetitions=5", "--benchmark_report_aggregates_only=true",
               "--benchmark_enable_random_interleaving=true", "--benchmark_min_time=0.05", *arguments]
    report = json.loads(subprocess.run(command, check=True, stdout=subprocess.PIPE).stdout)
    found = []
    for row in report["benchmarks"]:
        if row.get("error_occurred"):
            raise SystemExit(f"{row['name']}: {row.get('error_message')}")
        if row.get("aggregate_name") == "median":
            who, _, work = row["run_name"].partition("/")
            scale = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}[row["time_unit"]]
            found.append((who, work, row["cpu_time"] * scale, row.get("bytes_per_second")))
    return report["context"], found


def order(work):
    """A key that sorts rows by name and by their numbers."""
    return [int(part) if part.isdigit() else part for part in work.split("/")]


def main():
    if len(sys.argv) < 2:
        raise SystemExit(__doc__)
    context, measured = measure(sys.argv[1], sys.argv[2:])
    print("; ".join(f"{key}: {value}" for key, value in context.items() if "kernel" in key or key in ("CPU", "compiler")))
    ours = {work: (time, rate) for who, work, time, rate in measured if who == OURS}
    for who, work, time, _ in sorted(measured, key=lambda row: order(row[1])):
        if who != OURS and work in ours and not who.startswith("kernel-"):
            our_time, rate = ours[work]
            speed = f"{rate / 1e6:9.1f} MB/s" if rate else f"{our_time:12.1f} ns"
            print(f"{work:32} {speed}   {time / our_time:5.2f} of {who}")


if __name__ == "__main__":
    main()
