#!/usr/bin/env python3
"""Writes sha_vectors.inc: digests of messages around every block limit, from Python's hashlib, and finals after
more blocks than a test could feed (counts of 2^61 bytes and more), from OpenSSL's contexts with the count put in.

Message byte i is (7 * i + 3) mod 256.

Usage: make_sha_vectors.py > sha_vectors.inc
"""
import ctypes
import ctypes.util
import hashlib

LENGTHS = [0, 1, 3, 55, 56, 57, 63, 64, 65, 111, 112, 113, 119, 120, 127, 128, 129, 191, 192, 1000, 4099]
NAMES = ["sha1", "sha224", "sha256", "sha384", "sha512"]
crypto = ctypes.CDLL(ctypes.util.find_library("crypto"))


def message(length):
    return bytes((7 * i + 3) % 256 for i in range(length))


def final_after(name, word, blocks_before, tail):
    """The digest after blocks_before blocks that left the initial value in place, then tail."""
    context = (word * 40)()  # the chaining value in eight words, then the count of bits in two, low word first
    digest = ctypes.create_string_buffer(8 * ctypes.sizeof(word))
    getattr(crypto, name + "_Init")(context)
    count = 8 * blocks_before * 16 * ctypes.sizeof(word)
    context[8], context[9] = word(count), word(count >> 8 * ctypes.sizeof(word))
    getattr(crypto, name + "_Update")(context, tail, ctypes.c_size_t(len(tail)))
    getattr(crypto, name + "_Final")(digest, context)
    return digest.raw


print("// Written by make_sha_vectors.py; change the script, not this file.")
for name in NAMES:
    for length in LENGTHS:
        print(f'SHA_VECTOR({name}, {length}, "{hashlib.new(name, message(length)).hexdigest()}")')
for word, name in ((ctypes.c_uint32, "SHA256"), (ctypes.c_uint64, "SHA512")):
    for blocks in (2**55 + 1, 2**64 // (16 * ctypes.sizeof(word)) - 1):
        tail = message(24 * ctypes.sizeof(word))
        print(f'SHA_FAR_COUNT({name.lower()}, {blocks}, {len(tail)}, "{final_after(name, word, blocks, tail).hex()}")')
