#!/usr/bin/env python3
"""Writes signature_vectors.inc: RSA keys of unusual sizes with PKCS#1 v1.5 signatures (RFC 8017, section 8.2) by Python's pow,
and the DSA example of FIPS 186-2, appendix 5, as keys and a signature in DER. The message is "abc".

Usage: make_signature_vectors.py > signature_vectors.inc
"""
import hashlib
import random

PREFIXES = {"sha1": "3021300906052b0e03021a05000414", "sha256": "3031300d060960864801650304020105000420"}
DRAW = random.Random(20)


def item(tag, *contents):
    content = b"".join(contents)
    length = bytes([len(content)]) if len(content) < 128 else (
        b"\x81" + bytes([len(content)]) if len(content) < 256 else b"\x82" + len(content).to_bytes(2, "big"))
    return bytes([tag]) + length + content


def integer(value):
    return item(2, value.to_bytes(value.bit_length() // 8 + 1, "big"))


def is_prime(n):
    return all(n % p for p in (3, 5, 7, 11, 13)) and all(pow(DRAW.randrange(2, n), n - 1, n) == 1 for _ in range(20))


def prime(bits):
    while True:
        p = DRAW.getrandbits(bits) | 3 << (bits - 2) | 1
        if p % 65537 != 1 and is_prime(p):
            return p


def rsa(bits):
    p, q = sorted((prime(bits // 2), prime(bits // 2)), reverse=True)
    n, e = p * q, 65537
    d = pow(e, -1, (p - 1) * (q - 1))
    k = (n.bit_length() + 7) // 8
    pkcs1 = item(0x30, *map(integer, (0, n, e, d, p, q, d % (p - 1), d % (q - 1), pow(q, -1, p))))
    rsa_id = item(0x30, bytes.fromhex("06092a864886f70d0101010500"))

    def signed(algorithm, digest):
        info = bytes.fromhex(PREFIXES[algorithm]) + digest
        encoded = b"\0\1" + b"\xff" * (k - 3 - len(info)) + b"\0" + info
        return pow(int.from_bytes(encoded, "big"), d, n).to_bytes(k, "big")

    print(f"RSA_KEY({bits},\n    \"{item(0x30, integer(n), integer(e)).hex()}\",")
    print(f"    \"{item(0x30, integer(0), rsa_id, item(4, pkcs1)).hex()}\",")
    for end, algorithm in ((",", "sha1"), (")", "sha256")):
        digest = hashlib.new(algorithm, b"abc").digest()
        # What a comparison of the DigestInfo's first bytes, as many as the digest has, still sees of the digest.
        seen = len(digest) - len(PREFIXES[algorithm]) // 2
        other = bytes(b ^ 1 for b in digest)
        tail = digest[:seen] + other[seen:]
        head = digest[:seen - 1] + other[seen - 1:]
        print("    " + ", ".join(f"\"{signed(algorithm, d).hex()}\"" for d in (digest, tail, head)) + end)


def dsa():
    p = int("8df2a494492276aa3d25759bb06869cbeac0d83afb8d0cf7cbb8324f0d7882e5"
            "d0762fc5b7210eafc2e9adac32ab7aac49693dfbf83724c2ec0736ee31c80291", 16)
    q = int("c773218c737ec8ee993b4f2ded30f48edace915f", 16)
    g = int("626d027839ea0a13413163a55b4cb500299d5522956cefcb3bff10f399ce2c2e"
            "71cb9de5fa24babf58e5b79521925c9cc42e9f6f464b088cc572af53e6d78802", 16)
    x = int("2070b3223dba372fde1c0ffc7b2e3b498b260614", 16)
    r = int("8bac1ab66410435cb7181f95b16ab97c92b341c0", 16)
    s = int("41e2345f1f56df2458f426d155b4ba2db6dcd8c8", 16)
    parameters = item(0x30, *map(integer, (p, q, g)))
    algorithm = item(0x30, bytes.fromhex("06072a8648ce380401"), parameters)
    rsa_named = item(0x30, bytes.fromhex("06092a864886f70d010101"), parameters)
    y = item(3, b"\0", integer(pow(g, x, p)))
    print(f"DSA_KEY(\"{item(0x30, algorithm, y).hex()}\",\n    \"{item(0x30, rsa_named, y).hex()}\",")
    print(f"    \"{item(0x30, integer(0), algorithm, item(4, integer(x))).hex()}\",")
    print(f"    \"{item(0x30, integer(r), integer(s)).hex()}\")")


print("// Written by make_signature_vectors.py; change the script, not this file.\n#ifdef RSA_KEY")
for size in (488, 512, 1024):
    rsa(size)
print("#endif\n#ifdef DSA_KEY")
dsa()
print("#endif")
