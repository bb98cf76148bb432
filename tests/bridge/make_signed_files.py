#!/usr/bin/env python3
"""Writes what the tests of the file signature check compare with:

    scripts/signed_files.txt  keys and signatures made by openssl, and signatures that this model forges, with the key and
                              without it
    ../tools/...              key.der, good, good.sig, forged, forged.sig: the same kind of things as files, for the
                              command-line tool; short.sig, good's signature with a block that is one octet too short

Byte i of a file of any size is (7 i + i div 256) mod 256; the large one is zeros.

Usage: make_signed_files.py, with openssl in the PATH
"""
import hashlib
import os
import re
import subprocess
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
TOOLS = os.path.join(HERE, "../tools")
PREFIX = bytes.fromhex("3031300d060960864801650304020105000420")
LARGE = 2 << 30


def openssl(*arguments, data=None):
    return subprocess.run(["openssl", *arguments], input=data, check=True, capture_output=True).stdout


def content(size):
    return bytes((7 * i + i // 256) % 256 for i in range(size))


class Key:
    def __init__(self, bits, *options):
        self.pem = openssl("genrsa", "-traditional", *options, str(bits))
        self.public = openssl("rsa", "-RSAPublicKey_out", "-outform", "DER", data=self.pem)
        text = openssl("rsa", "-noout", "-text", data=self.pem).decode()
        self.n = self.number(text, "modulus")
        self.d = self.number(text, "privateExponent")
        self.k = bits // 8

    @staticmethod
    def number(text, name):
        return int(re.sub(r"[\s:]", "", re.search(rf"{name}:([\s0-9a-f:]+)", text)[1]), 16)

    def sign(self, data):
        with tempfile.NamedTemporaryFile() as key, tempfile.NamedTemporaryFile() as file:
            key.write(self.pem)
            file.write(data)
            key.flush()
            file.flush()
            return openssl("dgst", "-sha256", "-sign", key.name, file.name)

    def power(self, digest, start=b"\0\1"):
        info = PREFIX + digest
        block = start + b"\xff" * (self.k - len(info) - len(start) - 1) + b"\0" + info
        return pow(int.from_bytes(block, "big"), self.d, self.n).to_bytes(self.k, "big")


def forge(digest, k):
    """A number whose cube begins with the block of a digest: the bytes behind it are anything, which nobody compares."""
    start = b"\0\1" + b"\xff" * 9 + b"\0" + PREFIX + digest
    block = int.from_bytes(start.ljust(k, b"\0"), "big")
    low, high = 0, 1 << 8 * k // 3 + 1
    while low < high:
        middle = (low + high) // 2
        low, high = (middle + 1, high) if middle**3 < block else (low, middle)
    assert (low**3).to_bytes(k, "big").startswith(start)
    return low.to_bytes(k, "big")


def sha256(data):
    return hashlib.sha256(data).digest()


def digest_of_large():
    hash_ = hashlib.sha256()
    for _ in range(LARGE >> 20):
        hash_.update(bytes(1 << 20))
    return hash_.digest()


def ends_in_zero(key):
    """The size of a file whose signature ends with a zero byte."""
    size = 1
    while key.power(sha256(content(size)))[-1] != 0:
        size += 1
    return size


def main():
    key, large_key = Key(2048), Key(3888)
    assert len(large_key.public) == 500
    forged = bytearray(sha256(content(5)))
    forged[13] ^= 1
    forged_signature = key.power(bytes(forged))
    zero_ended = ends_in_zero(key)
    small_exponent = Key(2048, "-3")
    values = {"fileKey": key.public}
    for size in (0, 5, 10239, 10240, 10241, 20480):
        values[f"signed{size}"] = key.sign(content(size))
    values |= {"zeroEnded": key.sign(content(zero_ended)), "forged5": forged_signature,
               "smallExponentKey": small_exponent.public, "forgedWithoutKey": forge(sha256(content(5)), 256),
               "signedLarge": key.power(digest_of_large()),
               "largestKey": large_key.public, "signedByLargest": large_key.sign(content(5))}
    with open(f"{HERE}/scripts/signed_files.txt", "w") as file:
        file.write("# Written by make_signed_files.py; change the script, not this file.\n")
        file.write(f"zeroEndedSize = {zero_ended}\n")
        file.writelines(f"{name} = {value.hex()}\n" for name, value in values.items())
    files = {"key.der": key.public, "good": content(5), "good.sig": key.sign(content(5)), "forged": content(5),
             "forged.sig": forged_signature, "short.sig": key.power(sha256(content(5)), b"\0\0\1")}
    for name, data in files.items():
        with open(f"{TOOLS}/{name}", "wb") as file:
            file.write(data)


main()
