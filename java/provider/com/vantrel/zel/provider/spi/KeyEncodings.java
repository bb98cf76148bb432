package com.vantrel.zel.provider.spi;

import java.io.IOException;
import java.security.InvalidKeyException;
import java.security.Key;
import java.util.Arrays;

/** The encoded forms of keys, on their way into the native engines. */
final class KeyEncodings {
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
     * @param check is given an array of its own; if it returns another one, that is zeroed afterwards
     */
    static byte[] checked(Key key, Class<? extends Key> type, String format, Check check) throws InvalidKeyException {
        if (key == null) {
            throw new InvalidKeyException("key is null");
        }
        if (!type.isInstance(key)) {
            throw new InvalidKeyException("not a " + type.getSimpleName() + ": " + key.getAlgorithm());
        }
        byte[] encoded = key.getEncoded();
        if (encoded == null || !format.equals(key.getFormat())) {
            throw new InvalidKeyException("the key has no encoding in the format " + format);
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
}
