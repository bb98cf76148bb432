package com.vantrel.zel.provider;

import static com.vantrel.zel.provider.TestKeys.*;
import static org.junit.jupiter.api.Assertions.*;

import com.vantrel.zel.provider.RandomUses.Use;
import java.math.BigInteger;
import java.security.*;
import java.security.spec.RSAKeyGenParameterSpec;
import java.util.*;
import java.util.concurrent.Future;
import javax.crypto.Cipher;
import org.junit.jupiter.api.Test;

/** Every service as a Java program uses it: by one thread, with every result judged; and shared, which may cost results only. */
class RandomUsesTest {
    private static final RandomUses USES = new RandomUses(5 << 20);

    private static void repeat(Use use, int rounds) throws Exception {
        Random random = new Random(1);
        for (int round = 0; round < rounds; ++round) {
            use.with(random, random.nextInt(8) == 0);
        }
    }

    @Test
    void digestCipherAndRandom() throws Exception {
        repeat(USES.digest("SHA-1"), 300);
        repeat(USES.digest("SHA-256"), 300);
        repeat(USES.cipher(Cipher.ENCRYPT_MODE), 750);
        repeat(USES.cipher(Cipher.DECRYPT_MODE), 1500);
        repeat(USES.random(), 50);
        assertThrows(RuntimeException.class, () -> SecureRandom.getInstance("FIPS186PRNG", ZEL).generateSeed(-1));
    }

    @Test
    void refusedCallsLeaveADigestAlone() throws Exception {
        MessageDigest digest = MessageDigest.getInstance("SHA-256", ZEL);
        byte[] message = {1, 2, 3};
        digest.update(message);
        assertRefuses("DigestException: insufficient space for digest", () -> digest.digest(new byte[40], 0, 31));
        assertRefuses("DigestException: insufficient space for digest", () -> digest.digest(new byte[40], -1, 32));
        assertRefuses("ArrayIndexOutOfBoundsException: offset or length out of range", () -> digest.update(message, -1, 2));
        assertRefuses("ArrayIndexOutOfBoundsException: offset or length out of range", () -> digest.update(message, 1, -1));
        assertArrayEquals(MessageDigest.getInstance("SHA-256", "SUN").digest(message), digest.digest());
    }

    /** With keys made here and by the JDK. */
    @Test
    void rsa() throws Exception {
        List<KeyPair> keys = new ArrayList<>(List.of(keyPair("RSA", 1024, ZEL)));
        for (int bits : new int[] {512, 777, 1025, 2048, 4096}) {
            keys.add(jdkPair("RSA", bits));
        }
        KeyPairGenerator generator = KeyPairGenerator.getInstance("RSA", "SunRsaSign");
        for (BigInteger exponent : List.of(BigInteger.valueOf(3), new BigInteger("FFFFFFFB", 16))) {
            generator.initialize(new RSAKeyGenParameterSpec(1024, exponent));
            keys.add(generator.generateKeyPair());
        }
        for (KeyPair pair : keys) {
            repeat(USES.signature("SHA1withRSA", pair), 20);
            repeat(USES.signature("SHA256withRSA", pair), 20);
        }
    }

    /** Many, for values of every length. */
    @Test
    void dsa() throws Exception {
        repeat(USES.signature("SHA1withDSA", keyPair("DSA", 1024, ZEL)), 400);
        repeat(USES.signature("SHA1withDSA", jdkPair("DSA", 1024)), 400);
    }

    /** Threads that share an object are a program's mistake and may cost it its results, but never the virtual machine. */
    @Test
    void shared() throws Exception {
        RandomUses uses = new RandomUses(5000);
        List<Use> shared = uses.all(jdkPair("RSA", 1024), jdkPair("DSA", 1024));
        uses.isJudged = false;
        for (Use use : shared) {
            List<Future<Void>> ends = RandomUses.inThreads(4, () -> {
                Random random = new Random();
                for (int round = 0; round < 150; ++round) {
                    try {
                        use.with(random, random.nextInt(8) == 0);
                    } catch (GeneralSecurityException | IllegalStateException e) {
                        continue; // what a muddled object may say
                    }
                }
                return null;
            });
            for (Future<Void> end : ends) {
                end.get();
            }
        }
        MessageDigest digest = MessageDigest.getInstance("SHA-256", ZEL);
        List<Future<Void>> updates = RandomUses.inThreads(4, () -> {
            for (int i = 0; i < 20_000; ++i) {
                digest.update(new byte[4000], 0, i % 4000);
            }
            return null;
        });
        for (Future<Void> end : updates) {
            end.get();
        }
        uses.isJudged = true;
        for (Use use : shared) {
            use.with(new Random(1), true);
        }
    }
}
