#!/usr/bin/env python3
"""bench/mca.py OBJECT FUNCTION CPU...: what llvm-mca's model of each processor says of the loops of a function, for processors
that are not at hand.

OBJECT is what a build has made of a source file, FUNCTION a part of the function's name. Each loop of twenty instructions and
more is modelled by itself, as if none of its branches forward were taken. Needs Debian's package llvm-19.
"""
import re, subprocess, sys

def run(command, **more):
    return subprocess.run(command, capture_output=True, text=True, check=True, **more).stdout

path, function, cpus = sys.argv[1], sys.argv[2], sys.argv[3:]
listing = run(["llvm-objdump-19", "-d", "-C", "--no-show-raw-insn", path])
is_arm = "aarch64" in listing
machine = ["-march=aarch64", "-mattr=+crypto,+sha3"] if is_arm else ["-march=x86-64"]

for title, body in re.findall(r"^[0-9a-f]+ <(.*)>:\n((?:.+\n)*)", listing, re.MULTILINE):
    if function not in title:
        continue
    code = [(int(address, 16), text.split(" <")[0])
            for address, text in re.findall(r"^\s*([0-9a-f]+):\s+(.*)", body, re.MULTILINE)]
    for end, text in code:
        branch = re.match(r"(?:b(?:\.\w+)?|[ct]bn?z|j\w+)\s.*\b0x([0-9a-f]+)$", text)
        loop = [line for address, line in code if branch and int(branch[1], 16) <= address <= end]
        if len(loop) < 20:
            continue
        print(f"{title}: a loop of {len(loop)} instructions, up to {end:#x}")
        for cpu in cpus:
            said = run(["llvm-mca-19", *machine, f"-mcpu={cpu}", "-iterations=1000", "-resource-pressure=false",
                        "-instruction-info=false"], input="\n".join(loop))
            cycles = int(re.search(r"Total Cycles:\s+(\d+)", said)[1]) / 1000
            bound = re.search(r"Block RThroughput:\s+(\S+)", said)[1]
            print(f"  {cpu}: {cycles:.1f} cycles a pass, {bound} by the throughput alone")
