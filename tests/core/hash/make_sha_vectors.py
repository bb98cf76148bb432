#!/usr/bin/env python3
"""Writes sha_vectors.inc: digests of messages around every block limit, from Python's hashlib, and finals after
more blocks than a test could feed (counts of 2^61 bytes and more), from the compression functions below.

Message byte i is (7 * i + 3) mod 256.

Usage: make_sha_vectors.py > sha_vectors.inc
"""
import hashlib
from math import isqrt

LENGTHS = [0, 1, 3, 55, 56, 57, 63, 64, 65, 111, 112, 113, 119, 120, 127, 128, 129, 191, 192, 1000, 4099]
NAMES = ["sha1", "sha224", "sha256", "sha384", "sha512"]


def message(length):
    return bytes((7 * i + 3) % 256 for i in range(length))


def primes(count):
    found, candidate = [], 2
    while len(found) < count:
        if all(candidate % p for p in found):
            found.append(candidate)
        candidate += 1
    return found


def cube_root(n):
    low, high = 0, 1 << (n.bit_length() // 3 + 1)
    while low < high:
        middle = (low + high + 1) // 2
        low, high = (middle, high) if middle**3 <= n else (low, middle - 1)
    return low


def sha2_compress(bits, state, block):
    """FIPS 180-2, 6.2.2 and 6.3.2, as the text has it."""
    mask, rounds = (1 << bits) - 1, 64 if bits == 32 else 80
    big0, big1, small0, small1 = (
        ((2, 13, 22), (6, 11, 25), (7, 18, 3), (17, 19, 10)) if bits == 32 else ((28, 34, 39), (14, 18, 41), (1, 8, 7), (19, 61, 6))
    )
    rotate = lambda x, n: (x >> n | x << (bits - n)) & mask
    big = lambda x, r: rotate(x, r[0]) ^ rotate(x, r[1]) ^ rotate(x, r[2])
    small = lambda x, r: rotate(x, r[0]) ^ rotate(x, r[1]) ^ x >> r[2]
    constants = [cube_root(p << 3 * bits) & mask for p in primes(rounds)]
    w = [int.from_bytes(block[i * bits // 8 : (i + 1) * bits // 8], "big") for i in range(16)]
    for t in range(16, rounds):
        w.append((small(w[t - 2], small1) + w[t - 7] + small(w[t - 15], small0) + w[t - 16]) & mask)
    a, b, c, d, e, f, g, h = state
    for t in range(rounds):
        t1 = h + big(e, big1) + (e & f ^ ~e & mask & g) + constants[t] + w[t]
        t2 = big(a, big0) + (a & b ^ a & c ^ b & c)
        a, b, c, d, e, f, g, h = (t1 + t2) & mask, a, b, c, (d + t1) & mask, e, f, g
    return [(x + y) & mask for x, y in zip(state, (a, b, c, d, e, f, g, h))]


def final_after(bits, blocks_before, tail):
    """The digest after blocks_before blocks that left the initial value in place, then tail."""
    block_bytes, count_bytes = bits * 2, bits // 4
    state = [isqrt(p << 2 * bits) & ((1 << bits) - 1) for p in primes(8)]
    total = blocks_before * block_bytes + len(tail)
    padded = tail + b"\x80"
    padded += bytes(-(len(padded) + count_bytes) % block_bytes)
    padded += (8 * total % (1 << 8 * count_bytes)).to_bytes(count_bytes, "big")
    for at in range(0, len(padded), block_bytes):
        state = sha2_compress(bits, state, padded[at : at + block_bytes])
    return b"".join(word.to_bytes(bits // 8, "big") for word in state)


def main():
    assert final_after(32, 0, b"abc") == hashlib.sha256(b"abc").digest()
    assert final_after(64, 0, b"abc") == hashlib.sha512(b"abc").digest()
    print("// Written by make_sha_vectors.py; change the script, not this file.")
    for name in NAMES:
        for length in LENGTHS:
            print(f'SHA_VECTOR({name}, {length}, "{hashlib.new(name, message(length)).hexdigest()}")')
    for bits, name in ((32, "sha256"), (64, "sha512")):
        for blocks in (2**55 + 1, 2**64 // (bits * 2) - 1):
            tail = message(bits * 3)
            print(f'SHA_FAR_COUNT({name}, {blocks}, {len(tail)}, "{final_after(bits, blocks, tail).hex()}")')


if __name__ == "__main__":
    main()
