package com.vantrel.zel.provider.spi;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNotEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;

import java.security.DigestException;
import java.security.InvalidAlgorithmParameterException;
import java.security.InvalidKeyException;
import java.security.MessageDigest;
import java.security.ProviderException;
import java.util.List;
import javax.crypto.BadPaddingException;
import javax.crypto.Cipher;
import javax.crypto.ShortBufferException;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.function.Executable;

/**
 * The native methods called directly: that a real virtual machine links them, and knows every class of exception that they
 * raise. What they do with which arguments is shown by the bridge's own tests.
 */
class NativeMethodsTest {
    private static final int FAR = Integer.MAX_VALUE;

    private final ZelSha1MessageDigestSpi sha1 = new ZelSha1MessageDigestSpi();
    private final ZelSha256MessageDigestSpi sha256 = new ZelSha256MessageDigestSpi();
    private final ZelAes256CipherSpi aes = new ZelAes256CipherSpi();
    private final ZelSecureRandomSpi random = new ZelSecureRandomSpi();

    private static void assertRaises(Class<? extends Throwable> type, String message, Executable call) {
        assertEquals(message, assertThrows(type, call).getMessage());
    }

    @Test
    void everyException() {
        byte[] array = new byte[64];
        byte[] iv = new byte[16];
        byte[] key = new byte[32];
        assertRaises(NullPointerException.class, "array is null", () -> sha1.engineUpdate0(null, 0, 0));
        assertRaises(ArrayIndexOutOfBoundsException.class, "offset or length out of range",
                () -> sha256.engineUpdate0(array, FAR, 1));
        for (ZelMessageDigestSpi digest : List.of(sha1, sha256)) {
            assertRaises(DigestException.class, "insufficient space for digest",
                    () -> digest.engineDigest0(array, 60, 20));
        }
        assertRaises(NegativeArraySizeException.class, "number of bytes is negative",
                () -> random.engineGenerateSeed0(-1));
        assertThrows(OutOfMemoryError.class, () -> random.engineGenerateSeed0(FAR));
        assertRaises(NullPointerException.class, "array is null", () -> random.engineSetSeed(null));

        assertRaises(ProviderException.class, "aes engine not intialized : ERR_NULL_POINTER",
                () -> aes.engineUpdate0(array, 0, 16));
        assertRaises(UnsupportedOperationException.class, "unsupported cipher mode", () -> aes.engineInit0(3, iv, key));
        assertRaises(InvalidAlgorithmParameterException.class, "invalid iv provided",
                () -> aes.engineInit0(Cipher.ENCRYPT_MODE, key, key));
        assertRaises(InvalidKeyException.class, "invalid key size",
                () -> aes.engineInit0(Cipher.ENCRYPT_MODE, iv, iv));
        aes.engineInit0(Cipher.DECRYPT_MODE, iv, key);
        assertRaises(BadPaddingException.class, "invalid source buffer size", () -> aes.engineDoFinal0(array, 0, 17));
        assertRaises(ShortBufferException.class, "insufficient bytes in output buffer",
                () -> aes.engineDoFinal0(array, 0, 32, array, 33));
        aes.deleteContext0();
    }

    /** Methods that the Java classes hardly ever call, or not at all. */
    @Test
    void singleBytesAndTheComingAndGoingOfEngines() throws Exception {
        sha1.engineUpdate0((byte) 'a');
        sha256.engineUpdate0((byte) 'a');
        for (ZelMessageDigestSpi digest : List.of(sha1, sha256)) {
            MessageDigest jdk = MessageDigest.getInstance(digest == sha1 ? "SHA-1" : "SHA-256", "SUN");
            assertArrayEquals(jdk.digest(new byte[] {'a'}), digest.engineDigest0());
            assertNotEquals(0, digest.context0());
        }
        for (int i = 0; i < 2; ++i) {
            sha1.deleteContext0();
            sha256.deleteContext0();
            assertEquals(0, sha1.context0());
            assertEquals(0, sha256.context0());
        }
    }

    @Test
    void smallUpdatesDoNotReachTheEngine() {
        for (int i = 0; i < 100; ++i) {
            sha1.engineUpdate((byte) i);
            sha1.engineUpdate(new byte[] {1}, 0, 1);
        }
        sha1.engineReset();
        assertEquals(0, sha1.context0());
        sha1.engineUpdate(new byte[257], 0, 257);
        assertNotEquals(0, sha1.context0());
    }
}
