package com.vantrel.zel.provider.spi;

import java.io.IOException;
import java.security.InvalidKeyException;
import java.security.Key;
import java.security.PublicKey;
import java.util.Arrays;
import javax.crypto.spec.SecretKeySpec;

/** The encoded forms of keys, on their way into the native engines. */
final class KeyEncodings {
    /** Three times what the longest key takes: the native side needs many times the memory of what it reads. */
    private static final int MAX_BYTES = 1 << 15;

    private KeyEncodings() {}

    /** Looks at an encoding and gives the engine what it is to have of it. */
    interface Check {
        byte[] run(byte[] encoded) throws IOException, InvalidKeyException;
    }

    /**
     * Has the key's encoding checked, and refuses every other kind of key.
     *
     * @param type what the key must be an instance of
     * @param format its format, X.509 or PKCS#8
     * @param check is given a copy of the encoding, to change as it likes; if it returns another array, the copy is zeroed
     */
    static byte[] checked(Key key, Class<? extends Key> type, String format, Check check) throws InvalidKeyException {
        if (key == null) {
            throw new InvalidKeyException("key is null");
        }
        if (!type.isInstance(key)) {
            throw new InvalidKeyException("not a " + type.getSimpleName() + ": " + key.getAlgorithm());
        }
        byte[] encoded = copy(key);
        if (encoded == null || !format.equals(key.getFormat())) {
            throw new InvalidKeyException("the key has no encoding in the format " + format);
        }
        if (encoded.length > MAX_BYTES) {
            Arrays.fill(encoded, (byte) 0);
            throw new InvalidKeyException("the key's encoding has more than " + MAX_BYTES + " bytes: " + encoded.length);
        }
        byte[] result = null;
        try {
            result = check.run(encoded);
            return result;
        } catch (IOException e) {
            throw new InvalidKeyException("the key's encoding cannot be read: " + e.getMessage(), e);
        } finally {
            if (result != encoded) {
                Arrays.fill(encoded, (byte) 0);
            }
        }
    }

    /**
     * A copy of a key's encoding for the caller alone, or null. A key may give its own array, which must stay as it is; what a
     * secret key copies at every call is zeroed.
     *
     * @throws InvalidKeyException if the key does not answer, as one that has been destroyed
     */
    static byte[] copy(Key key) throws InvalidKeyException {
        byte[] given = given(key);
        if (given == null) {
            return null;
        }
        if (key.getClass() == SecretKeySpec.class) { // known to give a new array at every call
            return given;
        }
        byte[] copy = given.clone();
        if (!(key instanceof PublicKey)) {
            byte[] again = given(key);
            if (again != given) { // a new array at every call
                Arrays.fill(given, (byte) 0);
                if (again != null) {
                    Arrays.fill(again, (byte) 0);
                }
            }
        }
        return copy;
    }

    private static byte[] given(Key key) throws InvalidKeyException {
        try {
            return key.getEncoded();
        } catch (RuntimeException e) {
            throw new InvalidKeyException("the key does not give its encoding: " + e.getMessage(), e);
        }
    }
}
