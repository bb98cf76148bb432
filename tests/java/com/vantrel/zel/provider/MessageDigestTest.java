package com.vantrel.zel.provider;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;

import java.security.*;
import org.junit.jupiter.api.Test;

/** What the digests refuse. */
class MessageDigestTest {
    private static final Provider ZEL = new ZelSecurityProvider();

    private static MessageDigest zel(String algorithm) throws Exception {
        return MessageDigest.getInstance(algorithm, ZEL);
    }

    private static byte[] expected(String algorithm, byte[] message) throws Exception {
        return MessageDigest.getInstance(algorithm, "SUN").digest(message);
    }

    @Test
    void refusedCallsLeaveTheHashAlone() throws Exception {
        MessageDigest digest = zel("SHA-256");
        byte[] message = {1, 2, 3};
        digest.update(message);
        assertThrows(DigestException.class, () -> digest.digest(new byte[40], 0, 31));
        assertThrows(DigestException.class, () -> digest.digest(new byte[40], -1, 32));
        assertThrows(ArrayIndexOutOfBoundsException.class, () -> digest.update(message, -1, 2));
        assertThrows(ArrayIndexOutOfBoundsException.class, () -> digest.update(message, 1, -1));
        assertArrayEquals(expected("SHA-256", message), digest.digest());
    }
}
