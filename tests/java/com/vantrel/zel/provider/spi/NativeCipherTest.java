package com.vantrel.zel.provider.spi;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;

import java.security.InvalidAlgorithmParameterException;
import java.security.InvalidKeyException;
import java.security.ProviderException;
import java.util.Arrays;
import javax.crypto.BadPaddingException;
import javax.crypto.ShortBufferException;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.function.Executable;

/** The cipher's native methods called directly: the classes and texts of their exceptions, and one array for all. */
class NativeCipherTest {
    private static final int ENCRYPT = 1;
    private static final int DECRYPT = 2;

    private final ZelAes256CipherSpi spi = new ZelAes256CipherSpi();

    private static void assertRaises(Class<? extends Throwable> type, String message, Executable call) {
        assertEquals(message, assertThrows(type, call).getMessage());
    }

    @Test
    void everyException() {
        byte[] iv = new byte[16];
        byte[] key = new byte[32];
        byte[] array = new byte[64];
        assertRaises(ProviderException.class, "aes engine not intialized : ERR_NULL_POINTER",
                () -> spi.engineUpdate0(array, 0, 16));
        assertRaises(ProviderException.class, "aes engine not initialized : ERR_NULL_POINTER",
                () -> spi.engineDoFinal0(array, 0, 16, array, 0));
        assertRaises(UnsupportedOperationException.class, "unsupported cipher mode", () -> spi.engineInit0(3, iv, key));
        assertRaises(NullPointerException.class, "key or iv is null", () -> spi.engineInit0(ENCRYPT, null, key));
        assertRaises(InvalidAlgorithmParameterException.class, "invalid iv provided",
                () -> spi.engineInit0(ENCRYPT, new byte[12], new byte[16]));
        assertRaises(InvalidKeyException.class, "invalid key size", () -> spi.engineInit0(ENCRYPT, iv, new byte[16]));

        spi.engineInit0(DECRYPT, iv, key);
        assertRaises(BadPaddingException.class, "invalid source buffer size",
                () -> spi.engineDoFinal0(array, 0, 17, array, 0));
        assertRaises(ShortBufferException.class, "insufficient bytes in output buffer",
                () -> spi.engineDoFinal0(array, 0, 32, array, 33));
        assertRaises(ArrayIndexOutOfBoundsException.class, "offset or length out of range",
                () -> spi.engineUpdate0(array, Integer.MAX_VALUE, 1));
        assertRaises(NullPointerException.class, "array is null", () -> spi.engineDoFinal0(array, 0, 16, null, 0));
        spi.deleteContext0();
    }

    @Test
    void oneArrayForInputAndOutput() throws Exception {
        byte[] array = new byte[100];
        for (int i = 0; i < 50; ++i) {
            array[20 + i] = (byte) i;
        }
        byte[] message = Arrays.copyOfRange(array, 20, 70);
        spi.engineInit0(ENCRYPT, new byte[16], new byte[32]);
        byte[] ciphertext = spi.engineDoFinal0(array, 20, 50);
        spi.engineInit0(ENCRYPT, new byte[16], new byte[32]);
        assertEquals(64, spi.engineDoFinal0(array, 20, 50, array, 27));
        assertArrayEquals(ciphertext, Arrays.copyOfRange(array, 27, 91));
        spi.engineInit0(DECRYPT, new byte[16], new byte[32]);
        assertEquals(50, spi.engineDoFinal0(array, 27, 64, array, 3));
        assertArrayEquals(message, Arrays.copyOfRange(array, 3, 53));
        spi.deleteContext0();
    }
}
