package com.vantrel.zel.provider;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;

import com.vantrel.zel.provider.internal.ShortWay;
import java.security.DigestException;
import java.security.MessageDigest;
import java.security.Provider;
import java.util.Arrays;
import java.util.Random;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.ValueSource;

/** The digests as a Java program sees them; the JDK's own provider is the oracle. */
class MessageDigestTest {
    private static final Provider ZEL = new ZelSecurityProvider();

    private static MessageDigest zel(String algorithm) throws Exception {
        return MessageDigest.getInstance(algorithm, ZEL);
    }

    private static byte[] expected(String algorithm, byte[] message) throws Exception {
        return MessageDigest.getInstance(algorithm, "SUN").digest(message);
    }

    private static byte[] randomBytes(Random random, int length) {
        byte[] bytes = new byte[length];
        random.nextBytes(bytes);
        return bytes;
    }

    /**
     * Messages one after the other in pieces of every size, up to more than one native call takes; some are given up, and of some
     * a clone goes on. Around the length at which an engine takes over, in both ways of doing what is short.
     */
    @ParameterizedTest
    @ValueSource(strings = {"SHA-1", "SHA-256"})
    void everySplitGivesTheSameDigest(String algorithm) throws Exception {
        Random random = new Random(1);
        MessageDigest digest = zel(algorithm);
        assertEquals(algorithm.equals("SHA-1") ? 20 : 32, digest.getDigestLength());
        int[] longest = {1, 70, 258, 2000, 4096, 4097};
        for (int round = 0; round < 600; ++round) {
            ShortWay.take(round % 2 == 0);
            digest.update(randomBytes(random, random.nextInt(600)));
            digest.reset();
            byte[] message = randomBytes(random, random.nextInt(round % 100 == 0 ? 5 << 20 : 9000));
            for (int at = 0; at < message.length;) {
                int most = round % 100 == 0 ? 3 << 20 : longest[random.nextInt(longest.length)];
                int length = Math.min(message.length - at, random.nextInt(most + 1));
                if (length == 1) {
                    digest.update(message[at]);
                } else {
                    digest.update(message, at, length);
                }
                at += length;
                if (random.nextInt(5) == 0) {
                    MessageDigest original = digest;
                    digest = (MessageDigest) digest.clone();
                    assertArrayEquals(expected(algorithm, Arrays.copyOf(message, at)), original.digest(), "round " + round);
                    original.update(message); // is nothing to the clone any more
                }
            }
            byte[] out = new byte[40];
            int written = random.nextBoolean() ? digest.digest(out, 3, 37) : 0;
            assertArrayEquals(expected(algorithm, message),
                    written > 0 ? Arrays.copyOfRange(out, 3, 3 + written) : digest.digest(), "round " + round);
        }
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
