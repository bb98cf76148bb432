#!/usr/bin/env python3
"""Writes fips186_vectors.inc: output of the FIPS 186-2 generator (Appendix 3.1) for given keys, from this model over
OpenSSL's SHA-1, which shares nothing with the product but the standard.

A case is a key length, an XSEED length, and a script of steps: draw some bytes (d), add an entropy bit (b), generate over the
key itself (o), or stir (s). The key's last 20 bytes are 5, 16, 27 ..., those before them 255, so that a carry goes all the
way; byte i of XSEED is (29 * i + 1) mod 256. XSEED is added aligned at its end, keyBytes of it being used up by each round
from its start: the reading that this system keeps.

Usage: make_fips186_vectors.py > fips186_vectors.inc
"""

import ctypes
import ctypes.util

crypto = ctypes.CDLL(ctypes.util.find_library("crypto"))


def g(block):
    """One SHA-1 compression from the initial value, no padding: the chaining value stands first in OpenSSL's context."""
    context = (ctypes.c_uint32 * 24)()
    crypto.SHA1_Init(context)
    crypto.SHA1_Transform(context, block)
    return b"".join(word.to_bytes(4, "big") for word in context[:5])


class Generator:
    def __init__(self, key_bytes, xseed_bytes):
        self.size = key_bytes
        self.key = int.from_bytes(b"\xff" * (key_bytes - 20) + bytes(11 * i + 5 for i in range(20)), "big")
        self.xseed = bytes((29 * i + 1) % 256 for i in range(xseed_bytes))
        self.waiting = b""
        self.position = 0

    def round(self):
        modulus = 1 << 8 * self.size
        value = (self.key + int.from_bytes(self.xseed, "big")) % modulus
        self.xseed = self.xseed[self.size :]
        x = g(value.to_bytes(self.size, "big") + bytes(64 - self.size))
        self.key = (1 + self.key + int.from_bytes(x, "big")) % modulus
        return x

    def draw(self, count):
        out = b""
        while len(out) < count:
            if not self.waiting:
                self.waiting = self.round() + self.round()
            taken = min(count - len(out), len(self.waiting))
            out, self.waiting = out + self.waiting[:taken], self.waiting[taken:]
        return out

    def draw_over_key(self):
        for i in range(self.size):
            byte = self.draw(1)[0]
            key = bytearray(self.key.to_bytes(self.size, "big"))
            key[i] = byte
            self.key = int.from_bytes(key, "big")

    def stir(self):
        fresh = self.round() + self.round()
        self.waiting = fresh[len(fresh) - len(self.waiting) :] if self.waiting else b""

    def add_bit(self, bit):
        self.position = (self.position + 1) % (8 * self.size)
        if bit & 1:
            from_end = self.size - 1 - self.position // 8
            self.key ^= 1 << (self.position % 8 + 8 * from_end)


def cases():
    for key_bytes in (20, 21, 33, 63, 64):
        yield key_bytes, 0, "d1 d39 d1 d200"
    for key_bytes in (20, 33, 64):
        for xseed_bytes in (1, key_bytes - 1, key_bytes, key_bytes + 1, 2 * key_bytes, 5 * key_bytes + 3):
            yield key_bytes, xseed_bytes, "d130"
        yield key_bytes, 0, "d7 b1 b0 b254 b255 d60 b1 d80"
        yield key_bytes, key_bytes, "b1 d40 b1 b1 b1 d41"
        yield key_bytes, 0, "d3 o d50 o o d20"
        yield key_bytes, 0, "d3 s d50 s s d20"


def main():
    print("// Written by make_fips186_vectors.py; change the script, not this file.")
    for key_bytes, xseed_bytes, script in cases():
        generator, out = Generator(key_bytes, xseed_bytes), b""
        for step in script.split():
            if step[0] == "d":
                out += generator.draw(int(step[1:]))
            elif step[0] == "o":
                generator.draw_over_key()
            elif step[0] == "s":
                generator.stir()
            else:
                generator.add_bit(int(step[1:]))
        print(f'FIPS186_VECTOR({key_bytes}, {xseed_bytes}, "{script}", "{out.hex()}")')


if __name__ == "__main__":
    main()
