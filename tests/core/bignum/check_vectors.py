#!/usr/bin/env python3
"""Checks every line of bignum_vectors.txt against Python's integers.

A line is: operation, operands, "=", results or the name of a status. A value is its 64-bit units in hexadecimal, most
significant first, joined by "."; "U*n" stands for n equal units; "-" in front is the sign flag, and "0" is zero, so "-0" is
a zero whose flag is set. A "#" line names the rare branch that the lines after it were made to reach.

The model keeps to the library's rules for signs, for growth at the limit of 8192 units, and for the modulus that Barrett's
reduction may return in place of 0.
"""
from itertools import groupby
from pathlib import Path

W, MAX = 64, 8192
BAD_LENGTH = ["ERR_BAD_LENGTH"]


def units(x):
    return (x.bit_length() + W - 1) // W


def read(text):
    """Magnitude and sign flag of a value."""
    magnitude = 0
    for part in text.lstrip("-").split("."):
        unit, _, count = part.partition("*")
        for _ in range(int(count or 1)):
            magnitude = magnitude << W | int(unit, 16)
    return magnitude, int(text[0] == "-")


def write(magnitude, flag=0):
    parts = [f"{magnitude >> (W * i) & (2**W - 1):x}" for i in reversed(range(units(magnitude)))] or ["0"]
    runs = [(unit, len(list(run))) for unit, run in groupby(parts)]
    return "-" * flag + ".".join(unit if n == 1 else f"{unit}*{n}" for unit, n in runs)


def fits(magnitude, flag, needed=0):
    return [write(magnitude, flag)] if max(units(magnitude), needed) <= MAX else BAD_LENGTH


def add(a, f, b, g):
    if f != g:
        return [write(b - a, g) if a < b else write(a - b, f)]
    return fits(a + b, f, units(b) + 1 if units(a) < units(b) else 0)


def sub(a, f, b, g):
    return add(a, f, b, 1 - g) if f != g or a >= b else [write(b - a, 1 - g)]


def divide(a, f, b, g):
    if b == 0:
        return ["ERR_DIVIDE_BY_ZERO"]
    shift = -b.bit_length() % W
    n = units(a << shift) - 1
    is_too_long = shift and units(a) + 1 > MAX or n > units(b) - 1 and n + 2 > MAX
    return BAD_LENGTH if a >= b and is_too_long else [write(a // b), write(a % b)]


def shl(a, f, text):
    k = int(text)
    if k and a and units(a) + k // W + 1 > MAX:
        return BAD_LENGTH
    return [write(a << k if a else 0, f)]


def gcd(a, f, b, g):
    while a:
        a, f, b, g = b % a, g, a, f  # a remainder keeps the flag of what was divided
    return [write(b, g)]


def inverse(a, f, n, g):
    u, v, h = 0, 1, n
    while a:
        u, v, h, a = v, u - h // a * v, a, h % a
    return [write(u + n if u < 0 else u)]


def barrett(x, m):
    k = units(m)
    multiple = ((x >> (W * (k - 1))) * ((1 << (2 * W * k)) // m) >> (W * (k + 1))) * m
    rest = (x - multiple) % (1 << (W * (k + 1)))
    while rest > m:
        rest -= m
    return x if x < m else rest


def modexp(b, f, e, g, m, h):
    if b == 0 or e == 0:
        return [write(0 if b == 0 else 1)]
    if m & 1 and units(m) >= 2:
        return [write(pow(b, e, m))]
    power, square = 1, b if units(b) <= units(m) else b % m
    for bit in reversed(f"{e:b}"):
        power = barrett(power * square, m) if bit == "1" else power
        square = barrett(square * square, m)
    return [write(power)]


def mpint(a, f):
    value = a * (-1) ** f
    count = (a.bit_length() + 7) // 8 + (a != 0 and a.bit_length() % 8 == 0)
    return [(count.to_bytes(4, "big") + value.to_bytes(count, "big", signed=True)).hex()]


def frommpint(text):
    octets = bytes.fromhex(text)
    if len(octets) < 4:
        return BAD_LENGTH + ["77"]
    end = int.from_bytes(octets[:4], "big") + 4
    if end > len(octets):
        return BAD_LENGTH + [str(end % 2**32)]
    value = int.from_bytes(octets[4:end], "big", signed=True)
    is_misread = octets[4:5] == b"\x80" and not any(octets[5:end])  # kept: a zero with its flag set
    return [write(0 if is_misread else abs(value), int(value < 0)), str(end)]


def tobytes(a, f, text):
    needed = (a.bit_length() + 7) // 8
    return ["ERR_BUFFER_OVERFLOW" if int(text) < needed else a.to_bytes(int(text), "big").hex() or ".", str(needed)]


def order(x, y):
    return [str((x > y) - (x < y))]


MODEL = {
    "add": add, "sub": sub, "divide": divide, "shl": shl, "gcd": gcd, "inverse": inverse, "modexp": modexp, "mpint": mpint,
    "frommpint": frommpint, "tobytes": tobytes,
    "mul": lambda a, f, b, g: fits(a * b, f ^ g, units(a) + units(b) if a and b else 0),
    "mod": lambda a, f, b, g: [write(a % b, f)],
    "div": lambda a, f, b, g: [write(a // b, f ^ g)],
    "shr": lambda a, f, k: [write(a >> int(k), f)],
    "cmp": lambda a, f, b, g: order(a * (-1) ** f, b * (-1) ** g),
    "cmpunit": lambda a, f, unit: [str(-1)] if f else order(a, int(unit, 16)),
    "step": lambda a, f: add(a, f, 1, 0) + sub(a, f, 1, 0),
    "frombytes": lambda text: [write(int(text.strip(".") or "0", 16))],
    "barrett": lambda x, f, m, g: [write(barrett(x, m))],
}
PLAIN = {"frombytes": 0, "frommpint": 0, "tobytes": 1, "shl": 1, "shr": 1, "cmpunit": 1}  # operands that are no values follow

for line in Path(__file__).with_name("bignum_vectors.txt").read_text().splitlines():
    if line[0] != "#":
        operands, results = (part.split() for part in line.split(" = "))
        values = PLAIN.get(operands[0], 9) + 1
        arguments = [part for value in operands[1:values] for part in read(value)] + operands[values:]
        found = MODEL[operands[0]](*arguments)
        assert found == results, (line[:200], found)
