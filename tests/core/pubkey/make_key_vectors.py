#!/usr/bin/env python3
"""Writes key_vectors.inc: fresh RSA and DSA keys made by openssl and the JDK, with the values that this model computes from
them and one power each.

    RSA_KEY(bits, n, e, d, p, q, dP, dQ, qInv, input, power)   d is 1/e mod lcm(p - 1, q - 1); power is input^d mod n
    OPENSSL_RSA(der)         an RSAPrivateKey as openssl wrote it, of a size for which it takes the same d (the 2048-bit one)
    PKCS8_RSA(der)           a PrivateKeyInfo as the JDK wrote it
    DSA_KEY(pkcs8, p, q, g, y, x)   a PrivateKeyInfo and its values as openssl wrote them

Usage: make_key_vectors.py > key_vectors.inc, with openssl and java (17 or later) in the PATH
"""
import math
import secrets
import subprocess
import tempfile

JDK_KEY = """
public class Key {
    public static void main(String[] a) throws Exception {
        var maker = java.security.KeyPairGenerator.getInstance("RSA");
        maker.initialize(1024);
        System.out.print(java.util.HexFormat.of().formatHex(maker.generateKeyPair().getPrivate().getEncoded()));
    }
}
"""


def openssl(*arguments, data=None):
    return subprocess.run(["openssl", *arguments], input=data, check=True, capture_output=True).stdout


def integers(der):
    """The INTEGERs of a DER SEQUENCE."""
    def header(at):
        length, at = der[at + 1], at + 2
        if length >= 128:
            size = length - 128
            length, at = int.from_bytes(der[at : at + size], "big"), at + size
        return length, at

    end, at = header(0)
    end += at
    values = []
    while at < end:
        length, at = header(at)
        values.append(int.from_bytes(der[at : at + length], "big"))
        at += length
    return values


def text(value):
    return value.hex() if isinstance(value, bytes) else value.to_bytes((value.bit_length() + 7) // 8, "big").hex()


def put(name, *values):
    print(f"#ifdef {name}")
    print(name + "(" + ",\n    ".join(v if isinstance(v, str) else f'"{text(v)}"' for v in values) + ")")
    print("#endif")


def rsa(bits, e):
    der = openssl("genrsa", "-traditional", *(["-3"] if e == 3 else []), str(bits))
    return openssl("rsa", "-traditional", "-outform", "DER", data=der)


print("// Written by make_key_vectors.py; change the script, not this file.")
for bits, e in ((1024, 65537), (1024, 3), (2048, 65537)):
    der = rsa(bits, e)
    _, n, e, _, p, q, _, _, _ = integers(der)
    p, q = max(p, q), min(p, q)
    d = pow(e, -1, math.lcm(p - 1, q - 1))
    x = secrets.randbelow(n)
    put("RSA_KEY", str(bits), n, e, d, p, q, pow(e, -1, p - 1), pow(e, -1, q - 1), pow(q, -1, p), x, pow(x, d, n))
    if bits == 2048:
        put("OPENSSL_RSA", der)
with tempfile.NamedTemporaryFile("w", suffix=".java") as source:
    source.write(JDK_KEY)
    source.flush()
    put("PKCS8_RSA", bytes.fromhex(subprocess.run(["java", source.name], check=True, capture_output=True, text=True).stdout))
key = openssl("dsaparam", "-genkey", "-noout", "1024")
_, p, q, g, y, x = integers(openssl("dsa", "-outform", "DER", data=key))
put("DSA_KEY", openssl("pkcs8", "-topk8", "-nocrypt", "-outform", "DER", data=key), p, q, g, y, x)
