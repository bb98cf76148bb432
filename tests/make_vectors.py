#!/usr/bin/env python3
"""tests/make_vectors.py [--check]: computes the results in the vector files anew, from models that share nothing with the
product: Python's integers and hashlib, and OpenSSL. Rewrites the files; with --check only says which lines differ. Lines whose
operation has no model here are of a published standard, or worked out by hand, and stay as they are; so do OpenSSL's DSA
signatures, of which each is another one. Signatures of keys whose private half is not kept are verified.

A line is: operation, operands, "=", results or the name of a status. The notations of bytes and of big
integers are those of tests/support/vectors.h and tests/support/number.h.

The keys of tests/capi are OpenSSL's: genrsa 2048 (with the smallest private exponent, as the library writes it), dsaparam -genkey
1024, and their other forms by pkey -pubout, rsa -traditional and rsa -RSAPublicKey_out.
"""
import ctypes
import ctypes.util
import hashlib
import shlex
import subprocess
import sys
from itertools import groupby, product
from pathlib import Path

TESTS = Path(__file__).parent
crypto = ctypes.CDLL(ctypes.util.find_library("crypto"))


def octets(notation):
    out = b""
    for piece in notation.strip(".").split("+"):
        if ":" in piece:
            step, start, count = map(int, piece.split(":"))
            out += bytes((step * i + start) % 256 for i in range(count))
        else:
            digits, _, count = piece.partition("*")
            out += bytes.fromhex(digits) * int(count or 1)
    return out


# ---- hashes

def sha(name):
    return lambda message: [hashlib.new(name, octets(message)).hexdigest()]


def sha_after(name, word):
    """The digest after so many blocks that left the initial value in place, then a tail."""
    def model(blocks, tail):
        context = (word * 40)()  # the chaining value in eight words, then the count of bits in two, low word first
        digest = ctypes.create_string_buffer(8 * ctypes.sizeof(word))
        getattr(crypto, name + "_Init")(context)
        count = 8 * int(blocks) * 16 * ctypes.sizeof(word)
        context[8], context[9] = word(count), word(count >> 8 * ctypes.sizeof(word))
        getattr(crypto, name + "_Update")(context, octets(tail), ctypes.c_size_t(len(octets(tail))))
        getattr(crypto, name + "_Final")(digest, context)
        return [digest.raw.hex()]
    return model


def g(block):
    """One SHA-1 compression from the initial value, no padding: the chaining value stands first in OpenSSL's context."""
    context = (ctypes.c_uint32 * 24)()
    crypto.SHA1_Init(context)
    crypto.SHA1_Transform(context, block)
    return b"".join(word.to_bytes(4, "big") for word in context[:5])


HASH = {name: sha(name) for name in ("sha1", "sha224", "sha256", "sha384", "sha512")} | {
    "sha256after": sha_after("SHA256", ctypes.c_uint32), "sha512after": sha_after("SHA512", ctypes.c_uint64),
    "sha1g": lambda block: [g(octets(block)).hex()]}


# ---- the generator of FIPS 186-2, appendix 3.1

def fips186(key, xseed, script):
    """Steps: draw some bytes (d), add an entropy bit (b), generate over the key itself (o), stir (s). XSEED is added aligned
    at its end, as many octets of it as the key has being used up by each round from its start."""
    size, key, xseed = len(octets(key)), int.from_bytes(octets(key), "big"), octets(xseed)
    waiting, position, out = b"", 0, b""

    def round_():
        nonlocal key, xseed
        value = (key + int.from_bytes(xseed, "big")) % (1 << 8 * size)
        xseed = xseed[size:]
        x = g(value.to_bytes(size, "big") + bytes(64 - size))
        key = (1 + key + int.from_bytes(x, "big")) % (1 << 8 * size)
        return x

    def draw(count):
        nonlocal waiting
        drawn = b""
        while len(drawn) < count:
            waiting = waiting or round_() + round_()
            drawn, waiting = drawn + waiting[: count - len(drawn)], waiting[count - len(drawn) :]
        return drawn

    for step in script.split(","):
        if step[0] == "d":
            out += draw(int(step[1:]))
        elif step == "o":
            for i in reversed(range(size)):
                byte = draw(1)[0]
                key = key & ~(255 << 8 * i) | byte << 8 * i
        elif step == "s":
            fresh = round_() + round_()
            waiting = fresh[len(fresh) - len(waiting) :]
        else:
            position = (position + 1) % (8 * size)
            key ^= (int(step[1:]) & 1) << (position % 8 + 8 * (size - 1 - position // 8))
    return [out.hex()]


# ---- big integers: the library's rules for signs, for growth at its limit, and for the modulus that Barrett's reduction may
# return in place of 0

W, MAX = 64, 8192
BAD_LENGTH = ["ERR_BAD_LENGTH"]


def units(x):
    return (x.bit_length() + W - 1) // W


def read(text):
    """Magnitude and sign flag of a value."""
    magnitude = 0
    for part in text.lstrip("-").split("."):
        digits, _, count = part.partition("*")
        for _ in range(int(count or 1)):
            magnitude = magnitude << W * -(-len(digits) // 16) | int(digits, 16)
    return magnitude, int(text[0] == "-")


def write(magnitude, flag=0):
    parts = [f"{magnitude >> (W * i) & (2**W - 1):x}" for i in reversed(range(units(magnitude)))] or ["0"]
    runs = [(unit, len(list(run))) for unit, run in groupby(parts)]
    return "-" * flag + ".".join(unit if n == 1 else f"{unit}*{n}" for unit, n in runs)


def fits(magnitude, flag, needed=0):
    return [write(magnitude, flag)] if max(units(magnitude), needed) <= MAX else BAD_LENGTH


def add(a, f, b, g):
    if f != g:
        return [write(b - a, g) if a < b else write(a - b, f)]
    return fits(a + b, f, units(b) + 1 if units(a) < units(b) else 0)


def sub(a, f, b, g):
    return add(a, f, b, 1 - g) if f != g or a >= b else [write(b - a, 1 - g)]


def divide(a, f, b, g):
    if b == 0:
        return ["ERR_DIVIDE_BY_ZERO"]
    shift = -b.bit_length() % W
    n = units(a << shift) - 1
    is_too_long = shift and units(a) + 1 > MAX or n > units(b) - 1 and n + 2 > MAX
    return BAD_LENGTH if a >= b and is_too_long else [write(a // b), write(a % b)]


def shl(a, f, text):
    k = int(text)
    if k and a and units(a) + k // W + 1 > MAX:
        return BAD_LENGTH
    return [write(a << k if a else 0, f)]


def gcd(a, f, b, g):
    while a:
        a, f, b, g = b % a, g, a, f  # a remainder keeps the flag of what was divided
    return [write(b, g)]


def inverse(a, f, n, g):
    u, v, h = 0, 1, n
    while a:
        u, v, h, a = v, u - h // a * v, a, h % a
    return [write(u + n if u < 0 else u)]


def barrett(x, m):
    k = units(m)
    multiple = ((x >> (W * (k - 1))) * ((1 << (2 * W * k)) // m) >> (W * (k + 1))) * m
    rest = (x - multiple) % (1 << (W * (k + 1)))
    while rest > m:
        rest -= m
    return x if x < m else rest


def modexp(b, f, e, g, m, h):
    if b == 0 or e == 0:
        return [write(0 if b == 0 else 1)] if m else ["ERR_BAD_MODULO"]
    if m == 0:
        return ["ERR_BAD_MODULO"]
    if m & 1 and units(m) >= 2:
        return [write(pow(b, e, m))]
    power, square = 1, b if units(b) <= units(m) else b % m
    for bit in reversed(f"{e:b}"):
        power = barrett(power * square, m) if bit == "1" else power
        square = barrett(square * square, m)
    return [write(power)]


def mpint(a, f):
    count = (a.bit_length() + 7) // 8 + (a != 0 and a.bit_length() % 8 == 0)
    return [(count.to_bytes(4, "big") + (a * (-1) ** f).to_bytes(count, "big", signed=True)).hex()]


def frommpint(text):
    data = octets(text)
    if len(data) < 4:
        return BAD_LENGTH + ["77"]
    end = int.from_bytes(data[:4], "big") + 4
    if end > len(data):
        return BAD_LENGTH + [str(end % 2**32)]
    value = int.from_bytes(data[4:end], "big", signed=True)
    is_misread = data[4:5] == b"\x80" and not any(data[5:end])  # kept: a zero with its flag set
    return [write(0 if is_misread else abs(value), int(value < 0)), str(end)]


def tobytes(a, f, text):
    needed = (a.bit_length() + 7) // 8
    return ["ERR_BUFFER_OVERFLOW" if int(text) < needed else a.to_bytes(int(text), "big").hex() or ".", str(needed)]


def order(x, y):
    return [str((x > y) - (x < y))]


def of_values(model, count=9):
    """A model of values, each as magnitude and flag; operands behind the first count are texts."""
    return lambda *words: model(*(part for word in words[:count] for part in read(word)), *words[count:])


BIGNUM = {name: of_values(model) for name, model in {
    "add": add, "sub": sub, "divide": divide, "gcd": gcd, "inverse": inverse, "modexp": modexp, "mpint": mpint,
    "mul": lambda a, f, b, g: fits(a * b, f ^ g, units(a) + units(b) if a and b else 0),
    "mod": lambda a, f, b, g: [write(a % b, f)],
    "div": lambda a, f, b, g: [write(a // b, f ^ g)],
    "cmp": lambda a, f, b, g: order(a * (-1) ** f, b * (-1) ** g),
    "cmpunit": lambda a, f, b, g: ["-1"] if f else order(a, b),
    "step": lambda a, f: add(a, f, 1, 0) + sub(a, f, 1, 0),
    "barrett": lambda x, f, m, g: [write(barrett(x, m))]}.items()} | {
    "shl": of_values(shl, 1), "shr": of_values(lambda a, f, k: [write(a >> int(k), f)], 1), "tobytes": of_values(tobytes, 1),
    "frommpint": frommpint, "frombytes": lambda text: BAD_LENGTH if len(octets(text)) > 65535 else [write(int.from_bytes(octets(text), "big"))]}


def rsa_power(n, e, p, q, d, dp, dq, q_inverse, x):
    modulus = int(n, 16)
    return [pow(int(x, 16), int(d, 16), modulus).to_bytes((modulus.bit_length() + 7) // 8, "big").hex()]


# ---- what the keys of the scripts and of tests/tools have signed: each signature is opened with its public key, and the block
# compared with that of PKCS#1 v1.5 (RFC 8017, section 8.2)

PREFIXES = {"sha1": "3021300906052b0e03021a05000414", "sha256": "3031300d060960864801650304020105000420"}


def items(der):
    """The contents of DER items that stand one behind the other."""
    while der:
        more = der[1] - 128 if der[1] > 128 else 0
        size = int.from_bytes(der[2 : 2 + more], "big") if more else der[1]
        yield der[2 + more : 2 + more + size]
        der = der[2 + more + size :]


def of_file(size):
    return bytes((7 * i + i // 256) % 256 for i in range(size))


def block_of(size, message, wrong=None, algorithm="sha256", start=b"\0\1"):
    """With one byte of the digest changed where `wrong` says which."""
    digest = hashlib.new(algorithm, message).digest()
    info = bytes.fromhex(PREFIXES[algorithm]) + bytes(b ^ (i == wrong) for i, b in enumerate(digest))
    return start + b"\xff" * (size - len(info) - len(start) - 1) + b"\0" + info


def is_signed(key, signature, *block):
    n, e = (int.from_bytes(value, "big") for value in items(next(items(key))))
    size = (n.bit_length() + 7) // 8
    return pow(int.from_bytes(signature, "big"), e, n).to_bytes(size, "big") == block_of(size, *block)


def wrong_signatures():
    texts = dict(line.split(" = ") for name in ("rsa_keys.txt", "signed_files.txt")
                 for line in (TESTS / "bridge/scripts" / name).read_text().splitlines()[1:])
    zero_ended, five = int(texts.pop("zeroEndedSize")), of_file(5)
    values = {name: bytes.fromhex(text) for name, text in texts.items()} | {
        path.name: path.read_bytes() for path in (TESTS / "tools").iterdir()}
    rows = [("fileKey", f"signed{size}", of_file(size)) for size in (0, 5, 10239, 10240, 10241, 20480)]
    rows += [("fileKey", "signedLarge", bytes(2 << 30)), ("fileKey", "zeroEnded", of_file(zero_ended)),
             ("fileKey", "forged5", five, 13), ("largestKey", "signedByLargest", five), ("key.der", "good.sig", five),
             ("key.der", "forged.sig", five, 13), ("key.der", "short.sig", five, None, "sha256", b"\0\0\1")]
    for bits, (algorithm, prefix) in product((488, 512, 1024), PREFIXES.items()):
        end = hashlib.new(algorithm).digest_size
        # The last byte that a comparison of as many of the DigestInfo's first bytes as the digest has still sees of it.
        for name, wrong in ("", None), ("WrongAtEnd", end - 1), ("Wrong", end - len(prefix) // 2 - 1):
            rows.append((f"rsa{bits}Public", f"rsa{bits}{algorithm}{name}", b"abc", wrong, algorithm))
    # A number whose cube begins with a block: the bytes behind it are anything, which nobody compares.
    cube = (int.from_bytes(values["forgedWithoutKey"], "big") ** 3).to_bytes(256, "big")
    return [name for key, name, *block in rows if not is_signed(values[key], values[name], *block)] + [
        "forgedWithoutKey"] * (not cube.startswith(block_of(63, five)))


# ---- the functions for C

def openssl(command, data):
    return [subprocess.run(["openssl", *command.split()], input=data, check=True, capture_output=True).stdout.hex()]


CAPI = {"digest": lambda name, text: [hashlib.new(name, text.encode()).hexdigest()],
        "padded": lambda key, iv, text: openssl(f"enc -aes-{4 * len(key)}-cbc -K {key} -iv {iv}", octets(text)),
        "rsa": lambda name, text: openssl(f"dgst -{name} -sign {TESTS}/capi/rsa.pkcs8", text.encode())}

MODELS = {"core/hash/hash_vectors.txt": HASH, "core/random/random_vectors.txt": {"fips186": fips186},
          "core/bignum/bignum_vectors.txt": BIGNUM, "core/pubkey/rsa_vectors.txt": {"rsakey": rsa_power},
          "capi/capi_vectors.txt": CAPI}

wrong = wrong_signatures()
print(*(f"{name}: not what it is to be" for name in wrong), sep="\n", end="\n" * bool(wrong))
differences = len(wrong)
for name, models in MODELS.items():
    path = TESTS / name
    lines = path.read_text().splitlines()
    for i, line in enumerate(lines):
        head = line.partition(" =")[0]
        operation, *operands = shlex.split(head, comments=True) or [""]
        if operation in models:
            made = " ".join([head, "=", *models[operation](*operands)])
            if made != line:
                differences += 1
                print(f"{path}:{i + 1}: {line[:120]}: now {made.partition(' =')[2][:120]}")
                lines[i] = made
    if "--check" not in sys.argv:
        path.write_text("\n".join(lines) + "\n")
sys.exit(differences != 0 and "--check" in sys.argv)
