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

    /** Checks an encoding and returns the form of it that the engine reads. */
    interface Check {
        byte[] run(byte[] encoded) throws IOException, InvalidKeyException;
    }

    /**
     * Returns the checked encoding of a key; refuses keys of other kinds.
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
     * A copy of a key's encoding for the caller alone, or null. A key may return its own array, which must stay as it is; the
     * copies that a secret key makes at every call are zeroed.
     *
     * @throws InvalidKeyException if the key throws an exception, as one that has been destroyed
     */
    static byte[] copy(Key key) throws InvalidKeyException {
        byte[] encoding = encodingOf(key);
        if (encoding == null) {
            return null;
        }
        if (key.getClass() == SecretKeySpec.class) { // known to give a new array at every call
            return encoding;
        }
        byte[] copy = encoding.clone();
        if (!(key instanceof PublicKey)) {
            byte[] second = encodingOf(key);
            if (second != encoding) { // a new array at every call
                Arrays.fill(encoding, (byte) 0);
                if (second != null) {
                    Arrays.fill(second, (byte) 0);
                }
            }
        }
        return copy;
    }

    private static byte[] encodingOf(Key key) throws InvalidKeyException {
        try {
            return key.getEncoded();
        } catch (RuntimeException e) {
            throw new InvalidKeyException("the key does not give its encoding: " + e.getMessage(), e);
        }
    }
}
