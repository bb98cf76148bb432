package com.vantrel.zel.provider;

import static com.vantrel.zel.provider.TestKeys.*;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.vantrel.zel.provider.internal.ShortWay;
import java.security.GeneralSecurityException;
import java.security.KeyPair;
import java.security.MessageDigest;
import java.security.SecureRandom;
import java.security.Signature;
import java.util.ArrayList;
import java.util.List;
import java.util.Random;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import java.util.concurrent.Future;
import javax.crypto.Cipher;
import javax.crypto.spec.IvParameterSpec;
import javax.crypto.spec.SecretKeySpec;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.ValueSource;

/** Threads that share an object are a program's mistake and may cost it its results, but never the virtual machine. */
class SharedObjectsTest {
    private static final int THREADS = 4;

    private interface Use {
        void with(Random random) throws GeneralSecurityException;
    }

    private static void share(int rounds, List<Use> uses) throws Exception {
        ExecutorService threads = Executors.newFixedThreadPool(THREADS);
        List<Future<?>> ends = new ArrayList<>();
        for (int i = 0; i < THREADS; ++i) {
            Random random = new Random(i);
            ends.add(threads.submit(() -> {
                for (int round = 0; round < rounds; ++round) {
                    try {
                        uses.get(random.nextInt(uses.size())).with(random);
                    } catch (GeneralSecurityException | IllegalStateException e) {
                        continue; // what a muddled object may say
                    }
                }
            }));
        }
        threads.shutdown();
        for (Future<?> end : ends) {
            end.get(); // throws what the thread has thrown
        }
    }

    @ParameterizedTest
    @ValueSource(booleans = {false, true})
    void digestCipherAndRandom(boolean isForeign) throws Exception {
        ShortWay.take(isForeign);
        MessageDigest digest = MessageDigest.getInstance("SHA-256", ZEL);
        share(5000, List.of(random -> digest.update(new byte[random.nextInt(3000)]), random -> digest.reset(),
                random -> digest.digest(), random -> clone(digest).digest(new byte[random.nextInt(6000)])));
        Cipher cipher = Cipher.getInstance("AES/CBC/PKCS5Padding", ZEL);
        SecretKeySpec key = new SecretKeySpec(new byte[32], "AES");
        IvParameterSpec iv = new IvParameterSpec(new byte[16]);
        share(3000, List.of(random -> cipher.init(1 + random.nextInt(2), key, iv),
                random -> cipher.update(new byte[random.nextInt(600)]), random -> cipher.doFinal(new byte[random.nextInt(6000)])));
        SecureRandom shared = SecureRandom.getInstance("FIPS186PRNG", ZEL); // which may be shared
        share(500, List.of(random -> shared.nextBytes(new byte[1000]), random -> shared.setSeed(random.nextLong())));
    }

    private static MessageDigest clone(MessageDigest digest) throws GeneralSecurityException {
        try {
            return (MessageDigest) digest.clone();
        } catch (CloneNotSupportedException e) {
            throw new AssertionError(e);
        }
    }

    @ParameterizedTest
    @ValueSource(strings = {"SHA256withRSA", "SHA1withDSA"})
    void signature(String algorithm) throws Exception {
        KeyPair pair = jdkPair(keysOf(algorithm), 1024);
        Signature shared = signing(algorithm, pair, ZEL);
        byte[] signed = shared.sign();
        share(500, List.of(random -> shared.initSign(pair.getPrivate()), random -> shared.initVerify(pair.getPublic()),
                random -> shared.sign(), random -> shared.verify(signed),
                random -> shared.update(new byte[random.nextInt(5000)])));
        shared.initSign(pair.getPrivate());
        assertTrue(verifying(algorithm, pair, jdkOf(algorithm)).verify(shared.sign()));
    }
}
