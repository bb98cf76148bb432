package com.vantrel.zel.provider.spi;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNotEquals;

import org.junit.jupiter.api.Test;

/** A digest collects small updates in Java: what cannot be seen from outside, but in how long it takes. */
class SmallUpdatesTest {
    @Test
    void doNotReachTheEngine() {
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
}
