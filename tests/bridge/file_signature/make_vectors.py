#!/usr/bin/env python3
"""Writes what the tests of the file signature check compare with, into the folder of this script:

    vectors.inc      keys and signatures made by openssl, and signatures that this model forges, with the key and without it
    output.txt       the debug output of output_main.cpp, by this model
    ../../tools/...  key.der, good, good.sig, forged, forged.sig: the same kind of things as files, for the command-line tool;
                     short.sig, good's signature with a block that is one octet too short

Byte i of a file of any size is (7 i + i div 256) mod 256; the large one is zeros.

Usage: make_vectors.py, with openssl in the PATH
"""
import hashlib
import os
import re
import subprocess
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
TOOLS = os.path.join(HERE, "../../tools")
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


def put(file, name, *values):
    text = ", ".join(str(v) if isinstance(v, int) else f'"{v.hex()}"' for v in values)
    file.write(f"#ifdef {name}\n{name}({text})\n#endif\n")


def ends_in_zero(key):
    """The size of a file whose signature ends with a zero byte."""
    size = 1
    while key.power(sha256(content(size)))[-1] != 0:
        size += 1
    return size


def dump(data):
    rows = ""
    for start in range(0, len(data), 16):
        row = data[start : start + 16]
        rows += f"0x{start:06x}: " + "".join(f"{byte:02x} " for byte in row) + "   " * (16 - len(row))
        rows += "".join(chr(byte) if 0x20 <= byte <= 0x7E else "." for byte in row).ljust(16) + "\n"
    return rows


def output(wanted, signed):
    """What output_main.cpp prints; wanted and signed are the digests of the changed and of the good file."""
    info, error = "INFO [ZelUtil::checkFileSignature] ", "ERROR [ZelUtil::checkFileSignature] "
    start = info + "creating signature object\n"
    reading = start + info + "reading data from filePath data\n"
    to_signature = reading + info + "reading source file for signature\n" + info + "open signature file\n"
    to_verdict = to_signature + info + "reading key\n" + info + "verifying file signature\n"
    compared = lambda digest: to_verdict + "Comparing signatures:\n\n" + dump(PREFIX + digest) + "\nwith:\n" + dump(PREFIX + signed)
    return "".join((
        error + "Invalid filePath provided\n",
        error + "Invalid key provided\n",
        start + error + "unable to initalize signature verification: ERR_RSA_INVALID_PKCS1",
        reading + error + "unable to open filePath data\n",
        to_signature + error + "error opening signature file\n",
        to_signature + info + "reading key\n" + error + "invalid key size\n",
        to_verdict + error + "file signature verification failed\n",
        compared(signed) + info + "file signature verification succeeded\n",
        compared(wanted) + error + "file signature verification failed\n",
        *(reading + info + "reading source file for signature\n" + error + f"error reading source file: {status}\n"
          for status in ("ERR_INTERNAL_ERROR", -1)),
    ))


def main():
    key, large_key = Key(2048), Key(3888)
    assert len(large_key.public) == 500
    forged = bytearray(sha256(content(5)))
    forged[13] ^= 1
    forged_signature = key.power(bytes(forged))
    with open(f"{HERE}/vectors.inc", "w") as file:
        file.write("// Written by make_vectors.py; change the script, not this file.\n")
        put(file, "PUBLIC_KEY", key.public)
        for size in (0, 5, 10239, 10240, 10241, 20480):
            put(file, "SIGNED_FILE", size, key.sign(content(size)))
        size = ends_in_zero(key)
        put(file, "ENDS_IN_ZERO", size, key.sign(content(size)))
        put(file, "FORGED", 5, forged_signature)
        put(file, "FORGED_WITHOUT_KEY", Key(2048, "-3").public, 5, forge(sha256(content(5)), 256))
        put(file, "LARGE_FILE", LARGE, key.power(digest_of_large()))
        put(file, "LARGEST_KEY", large_key.public, 5, large_key.sign(content(5)))
    files = {"key.der": key.public, "good": content(5), "good.sig": key.sign(content(5)), "forged": content(5),
             "forged.sig": forged_signature, "short.sig": key.power(sha256(content(5)), b"\0\0\1"),
             "output.txt": output(sha256(content(4)), sha256(content(5))).encode()}
    for name, data in files.items():
        with open(f"{HERE if name == 'output.txt' else TOOLS}/{name}", "wb") as file:
            file.write(data)


main()
