#!/usr/bin/env python3
"""Writes fips186_vectors.inc: output of the FIPS 186-2 generator (Appendix 3.1) for given keys, from this model, which
shares nothing with the product but the standard.

A case is a key length, an XSEED length, and a script of steps: draw some bytes (d), add an entropy bit (b), generate over the
key itself (o), or stir (s). Byte i of the key
is (11 * i + 5) mod 256, of XSEED (29 * i + 1) mod 256. XSEED is added aligned at its end, keyBytes of it being used up by
each round from its start: the reading that this system keeps.

Usage: make_fips186_vectors.py > fips186_vectors.inc
"""

SHA1_START = (0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476, 0xC3D2E1F0)


def rotate(x, n):
    return (x << n | x >> (32 - n)) & 0xFFFFFFFF


def g(block):
    """One SHA-1 compression from the initial value, no padding (FIPS 180-2, 6.1.2)."""
    w = [int.from_bytes(block[4 * i : 4 * i + 4], "big") for i in range(16)]
    for t in range(16, 80):
        w.append(rotate(w[t - 3] ^ w[t - 8] ^ w[t - 14] ^ w[t - 16], 1))
    a, b, c, d, e = SHA1_START
    for t in range(80):
        if t < 20:
            f, k = b & c | ~b & d, 0x5A827999
        elif t < 40:
            f, k = b ^ c ^ d, 0x6ED9EBA1
        elif t < 60:
            f, k = b & c | b & d | c & d, 0x8F1BBCDC
        else:
            f, k = b ^ c ^ d, 0xCA62C1D6
        a, b, c, d, e = (rotate(a, 5) + (f & 0xFFFFFFFF) + e + k + w[t]) & 0xFFFFFFFF, a, rotate(b, 30), c, d
    return b"".join(((x + y) & 0xFFFFFFFF).to_bytes(4, "big") for x, y in zip(SHA1_START, (a, b, c, d, e)))


class Generator:
    def __init__(self, key_bytes, xseed_bytes):
        self.size = key_bytes
        self.key = int.from_bytes(bytes((11 * i + 5) % 256 for i in range(key_bytes)), "big")
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
        yield key_bytes, 0, "d7 b1 b0 b1 b255 d60 b1 d80"
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
