package com.vantrel.zel.provider.spi;

import static org.junit.jupiter.api.Assertions.*;

import java.lang.reflect.Field;
import org.junit.jupiter.api.Test;

/** What cannot be seen from outside. */
class InnerPartsTest {
    /** A digest collects small updates in Java. */
    @Test
    void smallUpdatesDoNotReachTheEngine() {
        ZelSha1MessageDigestSpi sha1 = new ZelSha1MessageDigestSpi();
        for (int i = 0; i < 100; ++i) {
            sha1.engineUpdate((byte) i);
            sha1.engineUpdate(new byte[] {1}, 0, 1);
        }
        sha1.engineReset();
        assertEquals(0, sha1.context0());
        sha1.engineUpdate(new byte[257], 0, 257);
        assertNotEquals(0, sha1.context0());
    }

    @Test
    void aKeyThatFailsInTheEngineIsWiped() throws Exception {
        AesMessage message = new AesMessage(new ZelAes256CipherSpi());
        Field key = AesMessage.class.getDeclaredField("key");
        key.setAccessible(true);
        byte[] ones = "1".repeat(AesKeys.KEY_BYTES).getBytes();
        message.init(true, new byte[16], ones);
        assertArrayEquals(ones, (byte[]) key.get(message));
        assertThrows(Exception.class, () -> message.init(true, new byte[3], ones)); // which the engine refuses
        assertArrayEquals(new byte[AesKeys.KEY_BYTES], (byte[]) key.get(message));
        assertThrows(IllegalStateException.class, () -> message.update(ones, 0, 1));
    }
}
