package com.vantrel.zel.provider.spi;

import static org.junit.jupiter.api.Assertions.*;

import com.vantrel.zel.provider.internal.ShortCalls;
import java.lang.reflect.Field;
import java.util.*;
import org.junit.jupiter.api.Test;

/** What cannot be seen from outside. */
class InnerPartsTest {
    /** Only long messages make an engine, and its key does not outlive the next one. */
    @Test
    void enginesAreForLongMessagesAndOneKey() throws Exception {
        ZelAes256CipherSpi cipher = new ZelAes256CipherSpi();
        AesMessage message = new AesMessage(cipher);
        message.init(true, new byte[16], new byte[32]);
        message.doFinal(new byte[ShortCalls.MOST_BYTES - 1], 0, ShortCalls.MOST_BYTES - 1);
        assertEquals(0, cipher.context0());
        message.doFinal(new byte[ShortCalls.MOST_BYTES], 0, ShortCalls.MOST_BYTES);
        message.init(false, new byte[16], new byte[32]);
        assertNotEquals(0, cipher.context0());
        message.init(false, new byte[16], "1".repeat(32).getBytes());
        assertEquals(0, cipher.context0());
    }

    /** An object without an engine is cleaned up after, too: a key does not outlive its cipher, in neither of its forms. */
    @Test
    void keysAreWipedWithTheirCipher() throws Exception {
        AesCbc cbc = new AesCbc(new ZelAes256CipherSpi());
        cbc.init(true, "1".repeat(32).getBytes());
        cbc.shortFinal(new byte[16], 0, 16);
        List<byte[]> keys = new ArrayList<>();
        for (String name : List.of("key", "state")) {
            Field field = AesCbc.class.getDeclaredField(name);
            field.setAccessible(true);
            keys.add((byte[]) field.get(cbc));
            assertNotEquals(0, keys.get(keys.size() - 1)[31]);
        }
        cbc = null; // and the cipher with it
        for (int i = 0; i < 1000 && keys.stream().anyMatch(key -> !Arrays.equals(key, new byte[key.length])); ++i) {
            System.gc();
            Thread.sleep(10);
        }
        keys.forEach(key -> assertArrayEquals(new byte[key.length], key));
    }
}
