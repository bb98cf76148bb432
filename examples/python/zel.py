"""The library zelspi from Python, on ctypes: digests, AES-CBC, random bytes, RSA and DSA keys and signatures.

    import zel
    key = zel.Key.read_private(open("private.pem", "rb").read())
    signature = key.sign("sha256", b"message")
    zel.Key.read_public(open("public.pem", "rb").read()).verify("sha256", b"message", signature)    # or zel.Error

The library is looked for as ZEL_LIBRARY says, then where the system has it.
"""
import ctypes
import ctypes.util
import os

OK, BAD_SIGNATURE = 0, -7711
HASHES = {"sha1": 1, "sha224": 2, "sha256": 3, "sha384": 4, "sha512": 5}
PKCS1, PKCS8, X509 = 1, 2, 3
DER, PEM = 1, 2

_library = ctypes.CDLL(os.environ.get("ZEL_LIBRARY") or ctypes.util.find_library("zelspi") or "libzelspi.so.0")
_Size, _Pointer, _Bytes, _Status = ctypes.c_size_t, ctypes.c_void_p, ctypes.c_char_p, ctypes.c_int32


class Error(Exception):
    """A status that is not OK; the text is its name."""

    def __init__(self, status):
        super().__init__((_library.zelStatusName(status) or b"%d" % status).decode())
        self.status = status


def _function(name, *arguments, result=_Status):
    function = getattr(_library, name)
    function.argtypes, function.restype = arguments, result
    if result is _Status:
        function.errcheck = lambda status, *_: status if status == OK else _raise(status)
    return function


def _raise(status):
    raise Error(status)


_status_name = _function("zelStatusName", _Status, result=_Bytes)
_version = _function("zelVersion", result=_Bytes)
_digest_size = _function("zelDigestSize", _Status, result=_Size)
_digest_new = _function("zelDigestNew", _Status, _Pointer)
_digest_copy = _function("zelDigestCopy", _Pointer, _Pointer)
_digest_update = _function("zelDigestUpdate", _Pointer, _Bytes, _Size)
_digest_finish = _function("zelDigestFinish", _Pointer, _Pointer, _Size)
_digest_free = _function("zelDigestFree", _Pointer)
_cbc = [_function(f"zelAesCbc{work}", _Bytes, _Size, _Bytes, _Bytes, _Size, _Pointer, _Pointer) for work in ("Encrypt", "Decrypt")]
_random_bytes = _function("zelRandomBytes", _Pointer, _Size)
_key_read = [_function(f"zelKeyRead{half}", _Bytes, _Size, _Pointer) for half in ("Private", "Public")]
_key_generate_rsa = _function("zelKeyGenerateRsa", _Size, _Pointer)
_key_write = _function("zelKeyWrite", _Pointer, _Status, _Status, _Pointer, _Pointer)
_key_bits = _function("zelKeyBits", _Pointer, result=_Size)
_key_free = _function("zelKeyFree", _Pointer)
_sign = _function("zelSign", _Pointer, _Status, _Bytes, _Size, _Pointer, _Pointer)
_verify = _function("zelVerify", _Pointer, _Status, _Bytes, _Size, _Bytes, _Size)


def _result(function, *arguments):
    """What a function writes to its last two arguments, output and length: the room is asked for first."""
    length = _Size(0)
    function(*arguments, None, ctypes.byref(length))
    output = ctypes.create_string_buffer(length.value)
    function(*arguments, output, ctypes.byref(length))
    return output.raw[:length.value]


def version():
    return _version().decode()


def random_bytes(count):
    """The first call in a process takes some six seconds."""
    output = ctypes.create_string_buffer(count)
    _random_bytes(output, count)
    return output.raw


def encrypt(key, iv, plaintext):
    """AES-CBC with the padding of PKCS#5; the key has 16, 24 or 32 bytes, the iv 16."""
    return _result(_cbc[0], key, len(key), _iv(iv), plaintext, len(plaintext))


def decrypt(key, iv, ciphertext):
    return _result(_cbc[1], key, len(key), _iv(iv), ciphertext, len(ciphertext))


def _iv(iv):
    if len(iv) != 16:
        raise ValueError("an iv has 16 bytes")
    return iv


class _Handle:
    def __init__(self, make, *arguments):
        self._handle = _Pointer()
        make(*arguments, ctypes.byref(self._handle))

    def __del__(self):
        if self._handle:
            self._free(self._handle)


class Digest(_Handle):
    """A running digest, as in hashlib, but that digest() begins a new message."""
    _free = _digest_free

    def __init__(self, name, data=b""):
        self.digest_size = _digest_size(HASHES[name])
        super().__init__(_digest_new, HASHES[name])
        self.update(data)

    def update(self, data):
        _digest_update(self._handle, data, len(data))

    def copy(self):
        copy = Digest.__new__(Digest)
        copy.digest_size = self.digest_size
        _Handle.__init__(copy, _digest_copy, self._handle)
        return copy

    def digest(self):
        output = ctypes.create_string_buffer(self.digest_size)
        _digest_finish(self._handle, output, self.digest_size)
        return output.raw


class Key(_Handle):
    """A key of RSA or DSA. Threads may share it."""
    _free = _key_free

    @classmethod
    def read_private(cls, encoded):
        return cls(_key_read[0], encoded, len(encoded))

    @classmethod
    def read_public(cls, encoded):
        return cls(_key_read[1], encoded, len(encoded))

    @classmethod
    def generate_rsa(cls, bits=2048):
        return cls(_key_generate_rsa, bits)

    @property
    def bits(self):
        return _key_bits(self._handle)

    def write(self, key_format, encoding=PEM):
        return _result(_key_write, self._handle, key_format, encoding)

    def sign(self, name, message):
        return _result(_sign, self._handle, HASHES[name], message, len(message))

    def verify(self, name, message, signature):
        _verify(self._handle, HASHES[name], message, len(message), signature, len(signature))
