#!/usr/bin/env python3
"""Writes rsa_keys.txt: RSA keys of unusual sizes with PKCS#1 v1.5 signatures (RFC 8017, section 8.2) of "abc" by Python's
pow.

Usage: make_rsa_keys.py > scripts/rsa_keys.txt
"""
import hashlib
import random

PREFIXES = {"sha1": "3021300906052b0e03021a05000414", "sha256": "3031300d060960864801650304020105000420"}
DRAW = random.Random(20)


def item(tag, *contents):
    content = b"".join(contents)
    size = len(content)
    return bytes([tag]) + bytes([size] if size < 128 else [0x81, size] if size < 256 else [0x82, size >> 8, size & 255]) + content


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

    print(f"rsa{bits}Public = {item(0x30, integer(n), integer(e)).hex()}")
    print(f"rsa{bits}Private = {item(0x30, integer(0), rsa_id, item(4, pkcs1)).hex()}")
    for algorithm in PREFIXES:
        digest = hashlib.new(algorithm, b"abc").digest()
        # The last byte that a comparison of the DigestInfo's first bytes, as many as the digest has, still sees of the digest.
        last_seen = len(digest) - len(PREFIXES[algorithm]) // 2 - 1
        for name, at in (("", None), ("WrongAtEnd", len(digest) - 1), ("Wrong", last_seen)):
            value = bytes(b ^ (i == at) for i, b in enumerate(digest))
            print(f"rsa{bits}{algorithm}{name} = {signed(algorithm, value).hex()}")


print("# Written by make_rsa_keys.py; change the script, not this file.")
for size in (488, 512, 1024):
    rsa(size)
