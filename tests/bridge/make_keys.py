#!/usr/bin/env python3
"""Writes, from Python's integers and hashlib alone, the same in every run:

    scripts/rsa_keys.txt      RSA keys of unusual sizes with PKCS#1 v1.5 signatures (RFC 8017, section 8.2) of "abc"
    scripts/signed_files.txt  keys and signatures of files, and signatures that are forged, with the key and without it
    ../tools/...              the same kind of things as files, for the command-line tool; short.sig is good's signature
                              with a block that is one octet too short

Byte i of a file of any size is (7 i + i div 256) mod 256; the large one is zeros.
"""
import hashlib
import random
from pathlib import Path

HERE = Path(__file__).parent
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


def prime(bits, e):
    while True:
        p = DRAW.getrandbits(bits) | 3 << (bits - 2) | 1
        if p % e != 1 and is_prime(p):
            return p


class Key:
    def __init__(self, bits, e=65537):
        p, q = sorted((prime(bits // 2, e), prime(bits // 2, e)), reverse=True)
        self.n, self.d, self.k = p * q, pow(e, -1, (p - 1) * (q - 1)), bits // 8
        self.public = item(0x30, integer(self.n), integer(e))
        values = 0, self.n, e, self.d, p, q, self.d % (p - 1), self.d % (q - 1), pow(q, -1, p)
        rsa_id = item(0x30, bytes.fromhex("06092a864886f70d0101010500"))
        self.private = item(0x30, integer(0), rsa_id, item(4, item(0x30, *map(integer, values))))

    def sign(self, digest, algorithm="sha256", start=b"\0\1"):
        info = bytes.fromhex(PREFIXES[algorithm]) + digest
        block = start + b"\xff" * (self.k - len(info) - len(start) - 1) + b"\0" + info
        return pow(int.from_bytes(block, "big"), self.d, self.n).to_bytes(self.k, "big")


def digest_of(size):
    return hashlib.sha256(content(size)).digest()


def content(size):
    return bytes((7 * i + i // 256) % 256 for i in range(size))


def flipped(digest, at):
    return bytes(b ^ (i == at) for i, b in enumerate(digest))


def forge(digest, k):
    """A number whose cube begins with the block of a digest: the bytes behind it are anything, which nobody compares."""
    start = b"\0\1" + b"\xff" * 9 + b"\0" + bytes.fromhex(PREFIXES["sha256"]) + digest
    block = int.from_bytes(start.ljust(k, b"\0"), "big")
    low, high = 0, 1 << 8 * k // 3 + 1
    while low < high:
        middle = (low + high) // 2
        low, high = (middle + 1, high) if middle**3 < block else (low, middle)
    return low.to_bytes(k, "big")


def write(name, values):
    lines = ["# Written by make_keys.py; change the script, not this file."]
    lines += [f"{key} = {value.hex() if isinstance(value, bytes) else value}" for key, value in values.items()]
    (HERE / "scripts" / name).write_text("\n".join(lines) + "\n")


values = {}
for bits in (488, 512, 1024):
    key = Key(bits)
    values |= {f"rsa{bits}Public": key.public, f"rsa{bits}Private": key.private}
    for algorithm, prefix in PREFIXES.items():
        digest = hashlib.new(algorithm, b"abc").digest()
        # The last byte that a comparison of the DigestInfo's first bytes, as many as the digest has, still sees of the digest.
        for name, at in (("", -1), ("WrongAtEnd", len(digest) - 1), ("Wrong", len(digest) - len(prefix) // 2 - 1)):
            values[f"rsa{bits}{algorithm}{name}"] = key.sign(flipped(digest, at), algorithm)
write("rsa_keys.txt", values)

key, small_exponent, largest = Key(2048), Key(2048, 3), Key(3888)
assert len(largest.public) == 500
zero_ended = next(size for size in range(1, 10**4) if key.sign(digest_of(size))[-1] == 0)
large = hashlib.sha256()
for _ in range(2 << 10):
    large.update(bytes(1 << 20))
forged = key.sign(flipped(digest_of(5), 13))
write("signed_files.txt", {"zeroEndedSize": zero_ended, "fileKey": key.public} | {
    f"signed{size}": key.sign(digest_of(size)) for size in (0, 5, 10239, 10240, 10241, 20480)} | {
    "zeroEnded": key.sign(digest_of(zero_ended)), "forged5": forged, "smallExponentKey": small_exponent.public,
    "forgedWithoutKey": forge(digest_of(5), 256), "signedLarge": key.sign(large.digest()), "largestKey": largest.public,
    "signedByLargest": largest.sign(digest_of(5))})
for name, data in {"key.der": key.public, "good": content(5), "good.sig": key.sign(digest_of(5)), "forged": content(5),
                   "forged.sig": forged, "short.sig": key.sign(digest_of(5), start=b"\0\0\1")}.items():
    (HERE / "../tools" / name).write_bytes(data)
