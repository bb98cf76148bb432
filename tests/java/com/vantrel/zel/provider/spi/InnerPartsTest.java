package com.vantrel.zel.provider.spi;

import static org.junit.jupiter.api.Assertions.*;

import com.vantrel.zel.provider.internal.ShortCalls;
import java.lang.reflect.Field;
import java.util.*;
import org.junit.jupiter.api.Test;

/** What cannot be seen from outside. */
class InnerPartsTest {
    /** What is short needs no engine, whatever is done with it; the first byte too many makes one. */
    @Test
    void shortMessagesDoNotReachTheEngine() throws Exception {
        ZelSha1MessageDigestSpi sha1 = new ZelSha1MessageDigestSpi();
        for (int i = 0; i < ZelMessageDigestSpi.BUFFER_BYTES; ++i) {
            sha1.engineUpdate((byte) i);
        }
        ZelSha1MessageDigestSpi copy = (ZelSha1MessageDigestSpi) sha1.clone();
        assertArrayEquals(sha1.engineDigest(), copy.engineDigest());
        assertEquals(0, sha1.context0() | copy.context0());
        sha1.engineUpdate(new byte[ShortCalls.MOST_BYTES], 0, ShortCalls.MOST_BYTES);
        sha1.engineUpdate((byte) 1);
        copy = (ZelSha1MessageDigestSpi) sha1.clone();
        assertEquals(3, new HashSet<>(List.of(0L, sha1.context0(), copy.context0())).size());

        ZelAes256CipherSpi cipher = new ZelAes256CipherSpi();
        AesMessage message = new AesMessage(cipher);
        message.init(true, new byte[16], new byte[32]);
        message.update(new byte[ShortCalls.MOST_BYTES], 0, ShortCalls.MOST_BYTES);
        message.doFinal(new byte[ShortCalls.MOST_BYTES - 1], 0, ShortCalls.MOST_BYTES - 1);
        assertEquals(0, cipher.context0());
        message.doFinal(new byte[ShortCalls.MOST_BYTES], 0, ShortCalls.MOST_BYTES);
        long engine = cipher.context0();
        assertNotEquals(0, engine);
        message.init(false, new byte[16], new byte[32]); // the same key: the engine stays
        assertEquals(engine, cipher.context0());
        message.init(false, new byte[16], "1".repeat(32).getBytes());
        assertEquals(0, cipher.context0());
    }

    /** An object without an engine is cleaned up after, too: a key does not outlive its cipher, in neither of its forms. */
    @Test
    void whatHasNoEngineIsWiped() throws Exception {
        List<byte[]> secrets = new ArrayList<>();
        AesMessage message = new AesMessage(new ZelAes256CipherSpi());
        assertThrows(IllegalStateException.class, () -> message.update(new byte[1], 0, 1));
        AesCbc dropped = new AesCbc(new ZelAes256CipherSpi());
        dropped.init(true, "1".repeat(32).getBytes());
        dropped.shortFinal(new byte[16], 0, 16);
        for (String name : List.of("key", "state")) {
            Field field = AesCbc.class.getDeclaredField(name);
            field.setAccessible(true);
            secrets.add((byte[]) field.get(dropped));
            assertNotEquals(0, secrets.get(secrets.size() - 1)[31]);
        }
        dropped = null;
        for (int i = 0; i < 1000 && secrets.stream().anyMatch(secret -> !Arrays.equals(secret, new byte[secret.length])); ++i) {
            System.gc();
            Thread.sleep(10);
        }
        secrets.forEach(secret -> assertArrayEquals(new byte[secret.length], secret));
    }
}
