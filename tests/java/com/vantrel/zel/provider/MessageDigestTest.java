package com.vantrel.zel.provider;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertThrows;

import java.nio.ByteBuffer;
import java.security.DigestException;
import java.security.MessageDigest;
import java.security.Provider;
import java.util.ArrayList;
import java.util.List;
import java.util.Random;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import java.util.concurrent.Future;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.ValueSource;

/** The digests as a Java program sees them; the JDK's own provider is the oracle. */
class MessageDigestTest {
    private static final Provider ZEL = new ZelSecurityProvider();

    private static MessageDigest zel(String algorithm) throws Exception {
        return MessageDigest.getInstance(algorithm, ZEL);
    }

    private static MessageDigest jdk(String algorithm) throws Exception {
        return MessageDigest.getInstance(algorithm, "SUN");
    }

    private static byte[] randomBytes(Random random, int length) {
        byte[] bytes = new byte[length];
        random.nextBytes(bytes);
        return bytes;
    }

    @ParameterizedTest
    @CsvSource({
        "SHA-1, 20", "SHA, 20", "SHA1, 20", "1.3.14.3.2.26, 20", "OID.1.3.14.3.2.26, 20",
        "SHA-256, 32", "SHA256, 32", "2.16.840.1.101.3.4.2.1, 32", "OID.2.16.840.1.101.3.4.2.1, 32"
    })
    void goesByEveryNameThatTheJdkKnows(String name, int length) throws Exception {
        MessageDigest digest = zel(name);
        assertEquals(ZEL, digest.getProvider());
        assertEquals(length, digest.getDigestLength());
        assertArrayEquals(jdk(name).digest(new byte[] {1, 2, 3}), digest.digest(new byte[] {1, 2, 3}));
    }

    @ParameterizedTest
    @ValueSource(strings = {"SHA-1", "SHA-256"})
    void everySplitGivesTheSameDigest(String algorithm) throws Exception {
        Random random = new Random(1);
        MessageDigest digest = zel(algorithm);
        for (int round = 0; round < 300; ++round) {
            byte[] message = randomBytes(random, random.nextInt(round < 250 ? 1500 : 40_000));
            for (int at = 0; at < message.length;) {
                int length = Math.min(message.length - at, random.nextInt(random.nextBoolean() ? 70 : 2000));
                switch (random.nextInt(4)) {
                    case 0:
                        digest.update(message[at]);
                        length = 1;
                        break;
                    case 1:
                        digest.update(ByteBuffer.wrap(message, at, length));
                        break;
                    case 2:
                        ByteBuffer direct = ByteBuffer.allocateDirect(length);
                        digest.update(direct.put(message, at, length).flip());
                        break;
                    default:
                        digest.update(message, at, length);
                }
                at += length;
            }
            byte[] expected = jdk(algorithm).digest(message);
            if (random.nextBoolean()) {
                assertArrayEquals(expected, digest.digest());
            } else {
                byte[] out = new byte[40];
                assertEquals(expected.length, digest.digest(out, 3, 37));
                assertArrayEquals(expected, java.util.Arrays.copyOfRange(out, 3, 3 + expected.length));
            }
        }
    }

    @ParameterizedTest
    @ValueSource(strings = {"SHA-1", "SHA-256"})
    void resetForgetsCollectedAndHashedBytes(String algorithm) throws Exception {
        byte[] empty = jdk(algorithm).digest();
        for (int length : new int[] {0, 1, 255, 256, 257, 5000}) {
            MessageDigest digest = zel(algorithm);
            digest.update(new byte[length]);
            digest.reset();
            assertArrayEquals(empty, digest.digest(), length + " bytes");
            assertArrayEquals(empty, digest.digest());
        }
    }

    @ParameterizedTest
    @ValueSource(strings = {"SHA-1", "SHA-256"})
    void largeUpdatesGoInPieces(String algorithm) throws Exception {
        byte[] message = randomBytes(new Random(2), (3 << 20) + 7);
        assertArrayEquals(jdk(algorithm).digest(message), zel(algorithm).digest(message));
    }

    @Test
    void refusedCallsLeaveTheHashAlone() throws Exception {
        MessageDigest digest = zel("SHA-256");
        byte[] message = {1, 2, 3};
        digest.update(message);
        assertThrows(DigestException.class, () -> digest.digest(new byte[40], 0, 31));
        assertThrows(IllegalArgumentException.class, () -> digest.digest(new byte[31], 0, 32));
        assertThrows(DigestException.class, () -> digest.digest(new byte[40], -1, 32));
        assertThrows(IllegalArgumentException.class, () -> digest.update(message, 2, 2));
        assertThrows(ArrayIndexOutOfBoundsException.class, () -> digest.update(message, -1, 2));
        assertThrows(ArrayIndexOutOfBoundsException.class, () -> digest.update(message, 1, -1));
        assertArrayEquals(jdk("SHA-256").digest(message), digest.digest());
    }

    @Test
    void cannotBeCloned() throws Exception {
        assertFalse(zel("SHA-1") instanceof Cloneable);
        assertThrows(CloneNotSupportedException.class, zel("SHA-1")::clone);
    }

    /** A program's mistake, and its digests are worthless; but the virtual machine lives on. */
    @Test
    void manyThreadsOnOneDigestDoNoHarm() throws Exception {
        MessageDigest digest = zel("SHA-256");
        ExecutorService threads = Executors.newFixedThreadPool(4);
        List<Future<?>> results = new ArrayList<>();
        for (int thread = 0; thread < 4; ++thread) {
            Random random = new Random(thread);
            results.add(threads.submit(() -> {
                for (int round = 0; round < 5000; ++round) {
                    switch (random.nextInt(3)) {
                        case 0:
                            digest.update(new byte[random.nextInt(1000)]);
                            break;
                        case 1:
                            digest.reset();
                            break;
                        default:
                            assertEquals(32, digest.digest().length);
                    }
                }
            }));
        }
        for (Future<?> result : results) {
            result.get();
        }
        threads.shutdown();
    }

    @Test
    void sixtyFourThreadsWithDigestsOfTheirOwn() throws Exception {
        ExecutorService threads = Executors.newFixedThreadPool(64);
        List<Future<Boolean>> results = new ArrayList<>();
        for (int thread = 0; thread < 64; ++thread) {
            Random random = new Random(thread);
            String algorithm = thread % 2 == 0 ? "SHA-1" : "SHA-256";
            results.add(threads.submit(() -> {
                for (int round = 0; round < 30; ++round) {
                    byte[] message = randomBytes(random, random.nextInt(4000));
                    assertArrayEquals(jdk(algorithm).digest(message), zel(algorithm).digest(message));
                }
                return true;
            }));
        }
        for (Future<Boolean> result : results) {
            assertEquals(true, result.get());
        }
        threads.shutdown();
    }
}
