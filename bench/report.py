#!/usr/bin/env python3
"""Measures what the library is judged by, beside OpenSSL, GMP and the JDK's providers, and writes docs/performance.md and
docs/performance.svg. Takes some minutes; the machine should have nothing else to do.

Usage: report.py [--keep]     --keep: write from the rows that the last run left in build/performance.json
"""
import json
import pathlib
import re
import subprocess
import sys

import ratios

ROOT = pathlib.Path(__file__).resolve().parent.parent
KEPT = ROOT / "build" / "performance.json"

# Programs of the preset `bench` and the rows that count.
NATIVE = {
    "hash": r"/SHA-(1|256|512)/(64|16384)$",
    "aes": r"/(CBC|CFB)-256/(encrypt|decrypt)/16384$",
    "random": r"/random/16384$",
    "rsa": r"/(sign|verify|load)/",
    "prime": r"/(rsa|dsa)-",
}
CALLED = {"rsa": "RSA "} # what a program's rows leave out
# Rows of the Java comparison that count.
JAVA = re.compile(r"^(digest SHA-(1|256) (16|64|256|1024|16384)|cipher \w+ (16|256|1024|16384)|random (16|16384)|SHA\d+with\w+ \d+ (sign|verify)|.* key pair)\s")
JAVA_ROW = re.compile(r"^(?P<work>.+?)\s+(?:median\s+)?(?P<time>[\d.]+) (?P<unit>ns|ms)(?P<peers>.*)$")
JAVA_PEER = re.compile(r"([\d.]+) of (\S+)")


def build():
    subprocess.run(["cmake", "--preset", "bench"], cwd=ROOT, check=True, stdout=subprocess.DEVNULL)
    subprocess.run(["cmake", "--build", "--preset", "bench"], cwd=ROOT, check=True, stdout=subprocess.DEVNULL)


def native_rows():
    """(work, time in ns, bytes per second or None, {peer: our speed over the peer's}), and what the programs say of themselves"""
    said, found = {}, []
    for name, wanted in NATIVE.items():
        context, measured = ratios.measure(str(ROOT / "build/bench/bench" / f"{name}_bench"), [f"--benchmark_filter={wanted}"])
        said.update({key: value for key, value in context.items() if "kernel" in key or key in ("CPU", "compiler")})
        times = {}
        for who, work, time, rate in measured:
            times.setdefault(work, {})[who] = (time, rate)
        for work, by_whom in sorted(times.items(), key=lambda item: ratios.order(item[0])):
            if ratios.OURS in by_whom:
                ours, rate = by_whom[ratios.OURS]
                peers = {who: time / ours for who, (time, _) in by_whom.items()
                         if who != ratios.OURS and not who.startswith("kernel-")}
                label = CALLED.get(name, "") + re.sub("/iterations:.*", "", work).replace("/", " ")
                found.append((label, ours, rate, peers))
    return said, found


def java_rows():
    output = subprocess.run([str(ROOT / "bench/run-java.sh")], check=True, stdout=subprocess.PIPE, text=True).stdout
    version, *lines = output.splitlines()
    found = []
    for line in lines:
        row = JAVA_ROW.match(line)
        if row and JAVA.match(line):
            peers = {peer: float(ratio) for ratio, peer in JAVA_PEER.findall(row["peers"])}
            found.append((row["work"], float(row["time"]) * (1e6 if row["unit"] == "ms" else 1), None, peers))
    return version, found


def speed(nanos, rate):
    if rate:
        return f"{rate / 1e6:,.0f} MB/s"
    for limit, unit, scale in ((1e4, "ns", 1), (1e7, "µs", 1e3), (1e10, "ms", 1e6)):
        if nanos < limit:
            return f"{nanos / scale:,.1f} {unit}"
    return f"{nanos / 1e9:,.2f} s"


def table(rows):
    lines = ["| Work | zelspi | Speed over a peer's |", "|---|---|---|"]
    for work, nanos, rate, peers in rows:
        beside = ", ".join(f"{ratio:.2f} of {peer}" for peer, ratio in peers.items()) or "no peer"
        lines.append(f"| {work} | {speed(nanos, rate)} | {beside} |")
    return "\n".join(lines)


def plot(rows):
    """Bars: how much faster than the fastest peer; the line at 1 is as fast."""
    bars = [(work, *min(peers.items(), key=lambda row: row[1])) for work, _, _, peers in rows if peers]
    left, step, width, most = 300, 22, 420, 5.0
    height = step * len(bars) + 50
    parts = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{left + width + 130}" height="{height}" '
             'font-family="sans-serif" font-size="12">',
             f'<rect width="100%" height="100%" fill="white"/>']
    for i, (work, peer, ratio) in enumerate(bars):
        y = 30 + i * step
        length = width * min(ratio, most) / most
        colour = "#2a7f62" if ratio >= 1 else "#b5762a"
        parts.append(f'<text x="{left - 8}" y="{y + 12}" text-anchor="end">{work}</text>'
                     f'<rect x="{left}" y="{y}" width="{length:.1f}" height="15" fill="{colour}"/>'
                     f'<text x="{left + length + 5:.1f}" y="{y + 12}">{ratio:.2f} of {peer}</text>')
    one = left + width / most
    parts.append(f'<line x1="{one}" y1="22" x2="{one}" y2="{height - 12}" stroke="#444" stroke-dasharray="3 3"/>'
                 f'<text x="{one}" y="16" text-anchor="middle">as fast as the peer</text></svg>')
    return "\n".join(parts) + "\n"


def write(report):
    said, native, version, java = (report[key] for key in ("said", "native", "version", "java"))
    about = "\n".join(f"- {key}: {value}" for key, value in said.items())
    page = ROOT / "docs" / "performance.md"
    head, _, _ = page.read_text().partition("<!-- measured -->")
    page.write_text(f"{head}<!-- measured -->\n\n## The machine and the kernels in use\n\n{about}\n- JVM: {version}\n\n"
                    f"## Native\n\n{table(native)}\n\n## Java\n\n{table(java)}\n\n![As bars](performance.svg)\n")
    (ROOT / "docs" / "performance.svg").write_text(plot(
        [(f"native: {work}", *rest) for work, *rest in native] + [(f"Java: {work}", *rest) for work, *rest in java]))


def main():
    if sys.argv[1:] == ["--keep"]:
        report = json.loads(KEPT.read_text())
    elif len(sys.argv) == 1:
        build()
        said, native = native_rows()
        version, java = java_rows()
        report = {"said": said, "native": native, "version": version, "java": java}
        KEPT.write_text(json.dumps(report))
    else:
        raise SystemExit(__doc__)
    write(report)


if __name__ == "__main__":
    main()
