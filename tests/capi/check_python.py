"""check_python.py: holds examples/python/zel.py against hashlib and the program openssl. Run in an empty folder, with the module
on PYTHONPATH and ZEL_LIBRARY naming the library."""
import hashlib
import pathlib
import subprocess
import zel


def openssl(command, data=None):
    return subprocess.run(["openssl", *command.split()], input=data, check=True, capture_output=True).stdout


def refused(status, work, *arguments):
    try:
        work(*arguments)
    except zel.Error as error:
        assert error.status == status, error
        return
    raise AssertionError("not refused")


message = b"Received with thanks.\0" * 1000
for name in zel.HASHES:
    expected, running = hashlib.new(name, message).digest(), zel.Digest(name, message[:777])
    for digest in (running.copy(), running):
        digest.update(message[777:])
        assert digest.digest() == expected, name

iv = bytes(range(16))
for key, length in ((b"k" * 16, 0), (b"k" * 24, 15), (b"k" * 32, 22000)):
    ciphertext = zel.encrypt(key, iv, message[:length])
    assert ciphertext == openssl(f"enc -aes-{8 * len(key)}-cbc -K {key.hex()} -iv {iv.hex()}", message[:length])
    assert zel.decrypt(key, iv, ciphertext) == message[:length]
    refused(-7902, zel.decrypt, key, iv, ciphertext[:-1])

openssl("genrsa -out rsa.pem 3072")
openssl("dsaparam -genkey -out old.pem 2048")
openssl("pkey -in old.pem -out dsa.pem")
for name in ("rsa.pem", "dsa.pem"):
    private = zel.Key.read_private(pathlib.Path(name).read_bytes())
    public_pem = private.write(zel.X509)
    assert public_pem == openssl(f"pkey -in {name} -pubout")
    pathlib.Path("public.pem").write_bytes(public_pem)
    for hash_name in zel.HASHES:
        pathlib.Path("signature").write_bytes(private.sign(hash_name, message))
        openssl(f"dgst -{hash_name} -verify public.pem -signature signature", message)
        theirs = openssl(f"dgst -{hash_name} -sign {name}", message)
        zel.Key.read_public(public_pem).verify(hash_name, message, theirs)
        refused(zel.BAD_SIGNATURE, private.verify, hash_name, message + b".", theirs)

made = zel.Key.generate_rsa(1024)
openssl("pkey -check -noout", made.write(zel.PKCS8))
assert made.bits == 1024 and zel.random_bytes(32) != zel.random_bytes(32)
