package com.vantrel.zel.provider.spi;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNotEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;

import java.security.DigestException;
import java.security.MessageDigest;
import java.util.Arrays;
import java.util.stream.Stream;
import org.junit.jupiter.api.function.Executable;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.MethodSource;

/** The native methods called directly, with arguments that the Java classes would never pass. */
class NativeDigestTest {
    /** The native methods of one class, by the names they have there. */
    private static final class Natives {
        final String algorithm;
        final ZelMessageDigestSpi spi;
        final Runnable updateByteA;
        final Runnable delete;

        Natives(String algorithm, ZelMessageDigestSpi spi, Runnable updateByteA, Runnable delete) {
            this.algorithm = algorithm;
            this.spi = spi;
            this.updateByteA = updateByteA;
            this.delete = delete;
        }

        @Override
        public String toString() {
            return algorithm;
        }
    }

    static Stream<Natives> classes() {
        ZelSha1MessageDigestSpi sha1 = new ZelSha1MessageDigestSpi();
        ZelSha256MessageDigestSpi sha256 = new ZelSha256MessageDigestSpi();
        return Stream.of(
                new Natives("SHA-1", sha1, () -> sha1.engineUpdate0((byte) 'a'), sha1::deleteContext0),
                new Natives("SHA-256", sha256, () -> sha256.engineUpdate0((byte) 'a'), sha256::deleteContext0));
    }

    private static void assertRaises(Class<? extends Throwable> type, String message, Executable call) {
        assertEquals(message, assertThrows(type, call).getMessage());
    }

    @ParameterizedTest
    @MethodSource("classes")
    void badArguments(Natives natives) throws Exception {
        ZelMessageDigestSpi spi = natives.spi;
        int n = spi.engineGetDigestLength();
        byte[] out = new byte[n + 8];
        String outside = "offset or length out of range";
        String noSpace = "insufficient space for digest";
        natives.updateByteA.run();

        assertRaises(NullPointerException.class, "array is null", () -> spi.engineUpdate0(null, 0, 0));
        for (int[] slice : new int[][] {{0, 4}, {4, 0}, {-1, 1}, {0, -1}, {Integer.MAX_VALUE, 1}, {1, Integer.MAX_VALUE},
            {Integer.MIN_VALUE, 1}, {Integer.MIN_VALUE, Integer.MIN_VALUE}}) {
            assertRaises(ArrayIndexOutOfBoundsException.class, outside,
                    () -> spi.engineUpdate0(new byte[3], slice[0], slice[1]));
        }
        assertRaises(NullPointerException.class, "array is null", () -> spi.engineDigest0(null, 0, n));
        for (int[] room : new int[][] {{9, n}, {Integer.MAX_VALUE, n}, {0, Integer.MAX_VALUE}, {9, 0}, {-1, n + 10}}) {
            assertRaises(DigestException.class, noSpace, () -> spi.engineDigest0(out, room[0], room[1]));
        }
        for (int[] room : new int[][] {{-1, n}, {Integer.MIN_VALUE, n}, {Integer.MIN_VALUE, Integer.MIN_VALUE}}) {
            assertRaises(ArrayIndexOutOfBoundsException.class, outside,
                    () -> spi.engineDigest0(out, room[0], room[1]));
        }
        assertArrayEquals(new byte[n + 8], out);
        assertEquals(n, spi.engineDigest0(out, 8, -1)); // a negative length passes: the room is there
        assertArrayEquals(MessageDigest.getInstance(natives.algorithm, "SUN").digest(new byte[] {'a'}),
                Arrays.copyOfRange(out, 8, 8 + n));
    }

    @ParameterizedTest
    @MethodSource("classes")
    void smallUpdatesDoNotReachTheEngine(Natives natives) {
        ZelMessageDigestSpi spi = natives.spi;
        for (int i = 0; i < 100; ++i) {
            spi.engineUpdate((byte) i);
            spi.engineUpdate(new byte[] {1}, 0, 1);
        }
        spi.engineReset();
        assertEquals(0, spi.context0());
        spi.engineUpdate(new byte[257], 0, 257);
        assertNotEquals(0, spi.context0());
    }

    @ParameterizedTest
    @MethodSource("classes")
    void anEngineComesAndGoes(Natives natives) throws Exception {
        ZelMessageDigestSpi spi = natives.spi;
        byte[] empty = MessageDigest.getInstance(natives.algorithm, "SUN").digest();
        assertEquals(0, spi.context0());
        natives.delete.run();
        spi.engineReset0();
        assertNotEquals(0, spi.context0());
        assertArrayEquals(empty, spi.engineDigest0());
        natives.delete.run();
        assertEquals(0, spi.context0());
        natives.delete.run();
        assertArrayEquals(empty, spi.engineDigest0());
    }
}
