package com.vantrel.zel.provider.spi;

import java.security.InvalidKeyException;
import java.security.Key;
import java.security.KeyFactory;
import java.security.NoSuchAlgorithmException;
import java.security.spec.InvalidKeySpecException;
import java.security.spec.PKCS8EncodedKeySpec;
import java.security.spec.X509EncodedKeySpec;
import java.util.Arrays;
import javax.crypto.Cipher;
import javax.crypto.spec.SecretKeySpec;

/** AES keys of a cipher, and keys of any kind that it wraps. */
final class AesKeys {
    static final int KEY_BYTES = 32;

    private AesKeys() {}

    /**
     * Copies the bytes of an AES-256 key.
     *
     * @param target receives the {@link #KEY_BYTES} bytes
     * @throws InvalidKeyException if it is not an AES-256 key; the target is then unchanged
     */
    static void copy(Key key, byte[] target) throws InvalidKeyException {
        byte[] encoded = encodedAesKey(key);
        try {
            if (encoded.length != KEY_BYTES) {
                throw new InvalidKeyException("invalid key size");
            }
            System.arraycopy(encoded, 0, target, 0, KEY_BYTES);
        } finally {
            Arrays.fill(encoded, (byte) 0);
        }
    }

    private static byte[] encodedAesKey(Key key) throws InvalidKeyException {
        if (key == null) {
            throw new InvalidKeyException("key is null");
        }
        if (!"AES".equalsIgnoreCase(key.getAlgorithm()) || !"RAW".equalsIgnoreCase(key.getFormat())) {
            throw new InvalidKeyException("not an AES key in raw form: " + key.getAlgorithm());
        }
        return encoded(key);
    }

    /**
     * A copy of the encoded form of any key, to be zeroed by the caller.
     *
     * @throws InvalidKeyException if it has none
     */
    static byte[] encoded(Key key) throws InvalidKeyException {
        byte[] encoded = KeyEncodings.copy(key);
        if (encoded == null || encoded.length == 0) {
            throw new InvalidKeyException("the key has no encoded form");
        }
        return encoded;
    }

    /**
     * Makes a key of its encoding, which has been unwrapped.
     *
     * @param type one of the key types of {@link Cipher}
     */
    static Key unwrapped(byte[] encoded, String algorithm, int type)
            throws InvalidKeyException, NoSuchAlgorithmException {
        try {
            switch (type) {
                case Cipher.SECRET_KEY:
                    return new SecretKeySpec(encoded, algorithm);
                case Cipher.PRIVATE_KEY:
                    return KeyFactory.getInstance(algorithm).generatePrivate(new PKCS8EncodedKeySpec(encoded));
                case Cipher.PUBLIC_KEY:
                    return KeyFactory.getInstance(algorithm).generatePublic(new X509EncodedKeySpec(encoded));
                default:
                    throw new InvalidKeyException("unknown key type: " + type);
            }
        } catch (InvalidKeySpecException | IllegalArgumentException e) {
            throw new InvalidKeyException("the unwrapped bytes are no such key", e);
        }
    }
}
