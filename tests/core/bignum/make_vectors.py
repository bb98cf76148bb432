#!/usr/bin/env python3
"""Writes bignum_vectors.txt: operations on big integers with the results that Python's integers give.

A line is: operation, operands, "=", results or the name of a status. A value is its 64-bit units in hexadecimal, most
significant first, joined by "."; "U*n" stands for n equal units; "-" in front is the sign flag, and "0" is zero, so "-0" is
a zero whose flag is set. A "#" line names the rare branch that the lines after it were made to reach.

The model keeps to the library's rules for signs, for growth at the limit of 8192 units, and for the modulus that Barrett's
reduction may return in place of 0. It is checked for reaching the rare branches, which random values never do.
"""
import math, random
from itertools import groupby
from pathlib import Path

W, MAX = 64, 8192
B = 1 << W
random.seed(20261121)
SPECIAL = [0, 1, 2, 1 << 63, (1 << 63) - 1, B - 1, B - 2, (1 << 32) - 1, 1 << 32]
lines = []


def units(x):
    return (abs(x).bit_length() + W - 1) // W


class V:
    """A value: magnitude and sign flag."""

    def __init__(self, magnitude, flag=0):
        self.m, self.f = magnitude, flag

    def __str__(self):
        if self.m == 0:
            return "-0" if self.f else "0"
        parts = [f"{self.m >> (W * i) & (B - 1):x}" for i in reversed(range(units(self.m)))]
        runs = [(unit, len(list(run))) for unit, run in groupby(parts)]
        return "-" * self.f + ".".join(unit if n == 1 else f"{unit}*{n}" for unit, n in runs)


def emit(op, operands, *results):
    lines.append(" ".join([op, *map(str, operands), "=", *map(str, results)]))


BAD_LENGTH, DIV_ZERO = "ERR_BAD_LENGTH", "ERR_DIVIDE_BY_ZERO"


def add(a, b):
    if a.f == b.f:
        if units(a.m) < units(b.m) and units(b.m) + 1 > MAX or units(a.m + b.m) > MAX:
            return BAD_LENGTH
        return V(a.m + b.m, a.f)
    return V(b.m - a.m, b.f) if a.m < b.m else V(a.m - b.m, a.f)


def sub(a, b):
    if a.f != b.f:
        return add(a, V(b.m, a.f))
    return V(b.m - a.m, 1 - b.f) if a.m < b.m else V(a.m - b.m, a.f)


def mul(a, b):
    if a.m and b.m and units(a.m) + units(b.m) > MAX:
        return BAD_LENGTH
    return V(a.m * b.m, a.f ^ b.f)


def divide(a, b):
    if b.m == 0:
        return (DIV_ZERO,)
    if a.m >= b.m:
        s = -b.m.bit_length() % W
        if s and units(a.m) + 1 > MAX:
            return (BAD_LENGTH,)
        n, m = units(a.m << s) - 1, units(b.m) - 1
        if n > m and n + 2 > MAX:
            return (BAD_LENGTH,)
    return V(a.m // b.m), V(a.m % b.m)


def shift_left(a, k):
    if k and a.m and units(a.m) + k // W + 1 > MAX:
        return BAD_LENGTH
    return V(a.m << k, a.f)


def division_branches(a, b):
    """The rare branches that algorithm D takes on a / b, a >= b."""
    found = set()
    s = -b.bit_length() % W
    r, t = a << s, b << s
    n, m = units(r) - 1, units(t) - 1
    top, second = t >> (W * m), (t >> (W * (m - 1)) & (B - 1)) if m else 0
    if r >= t << (W * (n - m)):
        r -= t << (W * (n - m))
        found.add("top-digit")
    for i in range(n, m, -1):
        j = i - m - 1
        high, low = r >> (W * i), r >> (W * (i - 1)) & (B - 1)
        third = r >> (W * (i - 2)) & (B - 1) if i >= 2 else 0
        if high == top:
            found.add("equal-tops")
        digit = B - 1 if high == top else (high * B + low) // top
        corrections = 0
        while digit * (top * B + second) > (high * B + low) * B + third:
            digit, corrections = digit - 1, corrections + 1
        if corrections:
            found.add(f"corrected-{corrections}")
        r -= digit * t << (W * j)
        if r < 0:
            r += t << (W * j)
            found.add("add-back")
        assert 0 <= r < t << (W * j)
    assert r >> s == a % b
    return found


def barrett(m, x):
    """The value of Barrett's reduction, and whether the unit k + 1 was added."""
    if x < m:
        return x, False
    k = units(m)
    mod = 1 << (W * (k + 1))
    r2 = ((x >> (W * (k - 1))) * ((1 << (2 * W * k)) // m) >> (W * (k + 1))) * m % mod
    r = x % mod
    added = r < r2
    r = (r - r2) % mod
    while r > m:
        r -= m
    return r, added


def mod_exp(b, e, m):
    if b == 0 or e == 0:
        return 0 if b == 0 else 1
    if m & 1 and units(m) >= 2:
        return pow(b, e, m)
    power, square = 1, b if units(b) <= units(m) else b % m
    for i in range(e.bit_length()):
        if e >> i & 1:
            power = barrett(m, power * square)[0]
        if i + 1 < e.bit_length():
            square = barrett(m, square * square)[0]
    return power


def special(n):
    """n units, most of them extreme; the top one is not zero."""
    kind = random.randrange(4)
    if kind == 0:
        return (1 << (W * n)) - 1
    x = 0
    for i in range(n):
        unit = random.choice(SPECIAL) if kind < 3 else random.getrandbits(W)
        x = x << W | (unit or (1 if i == 0 else 0))
    return x


def inverse(a, n):
    u, v, g, h = 0, 1, n, a
    while h:
        u, v, g, h = v, u - g // h * v, h, g % h
    return u + n if u < 0 else u


def sums_products_quotients():
    for la, lb in [(0, 0), (0, 3), (1, 1), (2, 1), (1, 4), (5, 5), (8, 8), (8, 9), (15, 15), (16, 16), (16, 15), (24, 24),
                   (32, 32), (33, 31), (40, 40), (40, 7), (64, 64)]:
        for fa, fb in ((0, 0), (0, 1), (1, 0), (1, 1)):
            a, b = V(special(la), fa), V(special(lb), fb)
            emit("add", (a, b), add(a, b))
            emit("sub", (a, b), sub(a, b))
            emit("mul", (a, b), mul(a, b))
            emit("cmp", (a, b), (a.m * (-1) ** fa > b.m * (-1) ** fb) - (a.m * (-1) ** fa < b.m * (-1) ** fb))
            emit("divide", (a, b), *divide(a, b))
            if b.m:
                emit("mod", (a, b), V(a.m % b.m, fa))
                emit("div", (a, b), V(a.m // b.m, fa ^ fb))
    for a, b in [(V(5, 0), V(5, 0)), (V(5, 1), V(5, 1)), (V(5, 1), V(5, 0)), (V(0, 1), V(7, 0)), (V(0, 1), V(0, 0)),
                 (V(9, 1), V(3, 0))]:
        emit("add", (a, b), add(a, b))
        emit("sub", (a, b), sub(a, b))
        emit("mul", (a, b), mul(a, b))
        if b.m:
            emit("mod", (a, b), V(a.m % b.m, a.f))


def size_limit():
    lines.append("# size limit")
    full, less = (1 << (W * MAX)) - 1, (1 << (W * (MAX - 1))) - 1
    top = 1 << (W * MAX - 1)
    for a, b in [(full, 1), (top, 1), (1, full), (1, less), (less, less), (0, full), (full, 0)]:
        emit("add", (V(a), V(b)), add(V(a), V(b)))
        emit("sub", (V(a), V(b)), sub(V(a), V(b)))
    for a, b in [(full, 1), (less, 1), (1, full), (0, full), (1 << (W * 4095), 1 << (W * 4095)),
                 (1 << (W * 4096), 1 << (W * 4095))]:
        emit("mul", (V(a), V(b)), mul(V(a), V(b)))
    for a, b in [(full, 3), (full, 1 << 63), (full, full), (full, top), (less, full), (less, 3), (less >> 1, 3), (less, 1 << 63),
                 (less >> 70, 1), (full, less)]:
        emit("divide", (V(a), V(b)), *divide(V(a), V(b)))
    for a, k in [(1, W * MAX - 1), (1, W * (MAX - 1)), (1, W * (MAX - 1) - 1), (less, 1), (less >> 1, 1), (full, 0), (full, 1),
                 (1, 2**32 - 1), (0, 2**32 - 1)]:
        emit("shl", (V(a), k), shift_left(V(a), k))


def shifts():
    for n in (0, 1, 2, 5, 20):
        for k in (0, 1, 31, 63, 64, 65, 128, 64 * n, 64 * n + 1, 2**32 - 1):
            for flag in (0, 1):
                a = V(special(n), flag)
                if k < 10**6:
                    emit("shl", (a, k), shift_left(a, k))
                emit("shr", (a, k), V(a.m >> k, flag))


def rare_divisions():
    wanted = {"corrected-1": 8, "corrected-2": 8, "add-back": 12, "top-digit": 6, "equal-tops": 6}
    while any(wanted.values()):
        m = random.randrange(1, 6)
        t = special(m) if random.random() < 0.7 else random.choice([1, 3, B - 1]) << (W * (m - 1)) | special(m) >> W
        a = special(m + random.randrange(0, 6))
        if t == 0 or a < t:
            continue
        found = division_branches(a, t)
        assert "corrected-3" not in found
        for branch in sorted(found):
            if wanted.get(branch, 0) > 0:
                wanted[branch] -= 1
                lines.append(f"# {branch}")
                emit("divide", (V(a), V(t)), *divide(V(a), V(t)))
                break


def divisors():
    for a, n in [(6, 9), (0, 7), (7, 0), (1, 1), (3, 7), (10, 17), (2**512, 2**512 - 569), (3, 2**521 - 1)]:
        emit("inverse", (V(a), V(n)), V(inverse(a, n)))
    emit("inverse", (V(3, 1), V(7)), V(5))  # the inverse of the magnitude
    for n in (1, 2, 8, 9, 16):
        a, m = special(n), special(n) | 1
        for factor in (1, 6, B + 1):
            emit("inverse", (V(a * factor), V(m * factor)), V(inverse(a * factor, m * factor)))
        emit("gcd", (V(a * 12), V(m * 18)), V(math.gcd(a * 12, m * 18)))
    for a, b in [(0, 0), (0, 5), (5, 0), (12, 18)]:
        emit("gcd", (V(a), V(b)), V(math.gcd(a, b)))
    emit("gcd", (V(12, 1), V(18)), V(6))  # -12 and 18: remainders -12, 18 mod -12 = 6, -12 mod 6 = flagged zero
    emit("gcd", (V(12), V(18, 1)), V(6, 1))
    emit("gcd", (V(5, 1), V(0)), V(5, 1))


def mpint(x):
    n = (abs(x).bit_length() + 7) // 8
    extra = 1 if n and abs(x).bit_length() % 8 == 0 else 0
    return ((n + extra).to_bytes(4, "big") + x.to_bytes(n + extra, "big", signed=True)).hex()


def mpints():
    values = {sign * ((1 << k) + d) for k in range(0, 300, 7) for d in (-1, 0, 1) for sign in (1, -1)}
    for x in sorted(values | {s * (1 << (8 * k)) for k in range(0, 20, 3) for s in (1, -1)}):
        emit("mpint", (V(abs(x), int(x < 0)),), mpint(x))


def conversions():
    for text in (b"", b"\0", b"\0" * 20, b"\0\0\1", bytes(range(1, 9)), bytes(range(9)), bytes(range(1, 10)), b"\xff" * 33):
        emit("frombytes", (text.hex() or ".",), V(int.from_bytes(text, "big")))
    for value, count in [(0, 0), (0, 2), (0x1FF, 2), (0x1FF, 4), (0x1FF, 1), (B, 9), (B, 8), (B * B - 1, 16), (B * B - 1, 17)]:
        needed = (value.bit_length() + 7) // 8
        emit("tobytes", (V(value, 1), count),
             value.to_bytes(count, "big").hex() or "." if count >= needed else "ERR_BUFFER_OVERFLOW", needed)
    for value in (0, 1, -1, B - 1, B * B - 1, -B, 1 - B):
        flag = int(value < 0)
        emit("step", (V(abs(value), flag),), add(V(abs(value), flag), V(1)), sub(V(abs(value), flag), V(1)))
    for value, flag, unit, order in [(0, 0, 0, 0), (0, 0, 1, -1), (5, 0, 4, 1), (5, 0, 5, 0), (5, 0, 6, -1), (B, 0, B - 1, 1),
                                     (5, 1, 0, -1), (0, 1, 0, -1)]:
        emit("cmpunit", (V(value, flag), f"{unit:x}"), order)
    for body in ("", "7f", "00ff", "ff", "ff80", "80", "8000", "80" + "00" * 8, "80" + "00" * 7 + "01", "ff" * 9):
        value = int.from_bytes(bytes.fromhex(body), "big", signed=True)
        misread = body.startswith("80") and int(body[2:] or "0", 16) == 0  # kept: a zero with its flag set
        emit("frommpint", (f"{len(body) // 2:08x}{body}ee",), V(0 if misread else abs(value), int(value < 0)),
             len(body) // 2 + 4)
    for text, consumed in [("000000", 77), ("000000030102", 7), ("7fffffff", 0x80000003), ("ffffffff00", 3)]:
        emit("frommpint", (text,), BAD_LENGTH, consumed)


def powers():
    for m in [1, 2, 3, 7, 9, 12, 1000, 1000003, 1 << 63, B - 1, 1 << 64, (1 << 127) - 1, (1 << 128) + 51, 1 << 200,
              (1 << 1024) - 105, (1 << 512) - 2, special(8) | 1, special(9) | 1, special(16) | 1, special(24) | 1,
              special(32) | 1, special(4) & ~1]:
        n = units(m)
        for b in {1, 2, 3, m - 1, m, m + 1, 6 * m, special(n), special(n + 2), special(1)}:
            for e in {1, 2, 3, 65537, special(1), random.getrandbits(100) | 1} if n < 9 else {1, 3, 65537, special(2)}:
                if random.random() < (0.5 if n < 4 else 0.2):
                    emit("modexp", (V(b), V(e), V(m)), V(mod_exp(b, e, m)))
    lines.append("# the modulus in place of 0")
    for b, e, m in [(3, 2, 9), (6, 2, 12), (10, 3, 1000), (1 << 64, 2, 1 << 100)]:
        assert mod_exp(b, e, m) == m or b >= B
        emit("modexp", (V(b), V(e), V(m)), V(mod_exp(b, e, m)))
    m = (1 << 1024) - 105  # small bases are one unit in Montgomery form
    for b in (1, 2, 3):
        for e in (3, 65537, random.getrandbits(1024)):
            emit("modexp", (V(b), V(e), V(m)), V(pow(b, e, m)))
    emit("modexp", (V((1 << 128) + (1 << 100) + 5), V(3), V(7)), V(mod_exp((1 << 128) + (1 << 100) + 5, 3, 7)))
    emit("modexp", (V(2, 1), V(3, 1), V(1000003)), V(8))  # signs are not looked at
    emit("modexp", (V(2, 1), V(3), V((1 << 127) - 1)), V(8))
    for bits in (23, 24, 79, 80, 239, 240, 671, 672, 1024):
        for e in ((1 << bits) - 1, 1 << (bits - 1), (1 << (bits - 1)) + 1, random.getrandbits(bits) | 1 << (bits - 1)):
            m = (1 << 127) - 1
            emit("modexp", (V(5), V(e), V(m)), V(pow(5, e, m)))


def reductions():
    added = 0
    for m in [3, 9, B - 1, 1 << 63, (1 << 64) + 1, (1 << 128) - 1, 1 << 127, special(4), special(3) | 1]:
        k = units(m)
        for x in [0, m - 1, m, m + 1, m * m - 1, (1 << (2 * W * k)) - 1, m * special(k), special(2 * k), 1 << (W * (k - 1)),
                  *(j << (W * (k + 1)) | small for j in (1, 5, B - 1) for small in (0, 1, 7) if k > 1)]:
            if x < 1 << (2 * W * k):
                value, was_added = barrett(m, x)
                added += was_added
                lines.append("# added unit") if was_added else None
                emit("barrett", (V(x), V(m)), V(value))
    assert added >= 5, added


sums_products_quotients()
size_limit()
shifts()
rare_divisions()
divisors()
mpints()
conversions()
powers()
reductions()
path = Path(__file__).with_name("bignum_vectors.txt")
path.write_text("\n".join(lines) + "\n", newline="\n")
print(f"{len(lines)} lines, {path.stat().st_size} bytes")
