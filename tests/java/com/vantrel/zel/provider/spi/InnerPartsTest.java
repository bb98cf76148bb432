package com.vantrel.zel.provider.spi;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNotEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;

import java.lang.reflect.Field;
import java.math.BigInteger;
import java.util.Random;
import java.util.concurrent.CompletableFuture;
import java.util.concurrent.TimeUnit;
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

    /** An object without an engine is cleaned up after, too, and a key without an engine is not kept. */
    @Test
    void whatHasNoEngineIsWiped() throws Exception {
        CompletableFuture<Long> cleaned = new CompletableFuture<>();
        new EngineOwner(new Object(), cleaned::complete);
        for (int i = 0; i < 100 && !cleaned.isDone(); ++i) {
            System.gc();
            Thread.sleep(10);
        }
        assertEquals(0, cleaned.get(10, TimeUnit.SECONDS));

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

    @Test
    void magnitudesAreComparedAndMultiplied() {
        Random random = new Random(17);
        for (int i = 0; i < 2000; ++i) {
            BigInteger p = new BigInteger(2 + random.nextInt(300), random).setBit(0);
            BigInteger q = new BigInteger(random.nextInt(200), random);
            BigInteger n = p.multiply(q);
            assertEquals(n.bitLength(), of(n).bitLength());
            assertEquals(p.compareTo(q), Integer.signum(of(p).compareTo(of(q))));
            for (BigInteger other : new BigInteger[] {n, n.flipBit(0), n.flipBit(n.bitLength()), n.shiftRight(24)}) {
                assertEquals(other.equals(n), of(other).isProduct(of(p), of(q)), other + " = " + p + " * " + q);
            }
        }
    }

    private static Magnitude of(BigInteger value) {
        byte[] bytes = value.toByteArray();
        return new Magnitude(bytes, 0, bytes.length);
    }
}
