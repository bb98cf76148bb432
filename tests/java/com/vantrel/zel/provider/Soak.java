package com.vantrel.zel.provider;

import static com.vantrel.zel.provider.TestKeys.*;

import java.nio.file.Files;
import java.nio.file.Path;
import java.security.GeneralSecurityException;
import java.security.KeyPair;
import java.security.MessageDigest;
import java.security.Provider;
import java.security.SecureRandom;
import java.security.Security;
import java.security.Signature;
import java.security.SignatureException;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.Random;
import java.util.concurrent.atomic.AtomicLong;
import java.util.concurrent.atomic.AtomicReference;
import java.util.stream.Stream;
import javax.crypto.BadPaddingException;
import javax.crypto.Cipher;
import javax.crypto.spec.IvParameterSpec;
import javax.crypto.spec.SecretKeySpec;

/**
 * Everything mixed, from several threads, for as many seconds as the argument or ZEL_SOAK_SECONDS says. Every result is held
 * against the JDK's own providers, failures are part of the mixture, and objects are dropped as they stand. Memory, threads
 * and open files must stay flat.
 */
public final class Soak {
    private static final int THREADS = 8;
    private static final int SAMPLES = 20;
    private static final long ALLOWED_GROWTH_KIB = 24 * 1024;

    private static final AtomicLong OPERATIONS = new AtomicLong();
    private static final AtomicLong KEY_PAIRS = new AtomicLong();
    private static final AtomicReference<Throwable> FAILURE = new AtomicReference<>();
    private static volatile boolean isOver;

    private final KeyPair rsa = jdkPair("RSA", 1024);
    private final KeyPair dsa = jdkPair("DSA", 1024);

    private Soak() throws Exception {}

    public static void main(String[] args) throws Exception {
        String asked = System.getenv("ZEL_SOAK_SECONDS");
        long seconds = Long.parseLong(asked != null ? asked : args[0]);
        Soak soak = new Soak();
        List<Thread> threads = new ArrayList<>();
        for (int i = 0; i < THREADS; ++i) {
            long seed = i;
            threads.add(new Thread(() -> soak.run(new Random(seed))));
            threads.get(i).start();
        }
        List<long[]> samples = new ArrayList<>();
        for (int i = 0; i < SAMPLES && FAILURE.get() == null; ++i) {
            Thread.sleep(seconds * 1000 / SAMPLES);
            samples.add(sample());
            System.out.println(Arrays.toString(samples.get(i)) + " KiB resident, threads, open files");
        }
        isOver = true;
        for (Thread thread : threads) {
            thread.join();
        }
        if (FAILURE.get() != null) {
            throw new AssertionError(FAILURE.get());
        }
        System.out.println(OPERATIONS + " operations, " + KEY_PAIRS + " key pairs");
        requireFlat(samples.subList(SAMPLES / 2, SAMPLES));
    }

    /** The JVM is still growing in the first half: it compiles. */
    private static void requireFlat(List<long[]> samples) {
        long[] first = samples.get(0);
        long[] last = samples.get(samples.size() - 1);
        for (long[] sample : samples) {
            if (sample[0] > first[0] + ALLOWED_GROWTH_KIB || sample[1] > first[1] + 3 || sample[2] > first[2] + 3) {
                throw new AssertionError("not flat: " + Arrays.toString(first) + " to " + Arrays.toString(sample));
            }
        }
        System.out.println("flat: grown by " + (last[0] - first[0]) + " KiB in the second half");
    }

    private static long[] sample() throws Exception {
        System.gc();
        Thread.sleep(100); // for the cleaner
        long[] values = new long[3];
        for (String line : Files.readAllLines(Path.of("/proc/self/status"))) {
            if (line.startsWith("VmRSS:")) {
                values[0] = Long.parseLong(line.replaceAll("[^0-9]", ""));
            } else if (line.startsWith("Threads:")) {
                values[1] = Long.parseLong(line.replaceAll("[^0-9]", ""));
            }
        }
        try (Stream<Path> files = Files.list(Path.of("/proc/self/fd"))) {
            values[2] = files.count();
        }
        return values;
    }

    private void run(Random random) {
        try {
            while (!isOver && FAILURE.get() == null) {
                switch (random.nextInt(10)) {
                    case 0:
                    case 1:
                        digest(random, random.nextBoolean() ? "SHA-1" : "SHA-256");
                        break;
                    case 2:
                    case 3:
                        encrypt(random);
                        break;
                    case 4:
                        refuse(random);
                        break;
                    case 5:
                        draw(random);
                        break;
                    case 6:
                    case 7:
                        sign(random, random.nextBoolean() ? "SHA1withRSA" : "SHA256withRSA", rsa);
                        break;
                    case 8:
                        sign(random, "SHA1withDSA", dsa);
                        break;
                    default:
                        if (random.nextInt(200) == 0) {
                            generate(random);
                        } else {
                            drop(random);
                        }
                }
                OPERATIONS.incrementAndGet();
            }
        } catch (Throwable e) {
            FAILURE.compareAndSet(null, e);
        }
    }

    private static void require(boolean condition, String what) {
        if (!condition) {
            throw new AssertionError(what);
        }
    }

    private static byte[] bytes(Random random, int limit) {
        byte[] bytes = new byte[random.nextInt(limit)];
        random.nextBytes(bytes);
        return bytes;
    }

    private void digest(Random random, String algorithm) throws GeneralSecurityException {
        byte[] message = bytes(random, 40_000);
        MessageDigest digest = MessageDigest.getInstance(algorithm, ZEL);
        int split = random.nextInt(message.length + 1);
        digest.update(message, 0, split);
        digest.update(message, split, message.length - split);
        require(Arrays.equals(digest.digest(), MessageDigest.getInstance(algorithm, "SUN").digest(message)), algorithm);
    }

    private static Cipher cipher(Provider provider, int mode, byte[] seed) throws GeneralSecurityException {
        Cipher cipher = Cipher.getInstance("AES/CBC/PKCS5Padding", provider);
        cipher.init(mode, new SecretKeySpec(Arrays.copyOf(seed, 32), "AES"),
                new IvParameterSpec(Arrays.copyOfRange(seed, 32, 48)));
        return cipher;
    }

    private void encrypt(Random random) throws GeneralSecurityException {
        byte[] message = bytes(random, 40_000);
        byte[] seed = new byte[48];
        random.nextBytes(seed);
        byte[] sent = cipher(ZEL, Cipher.ENCRYPT_MODE, seed).doFinal(message);
        require(Arrays.equals(sent, cipher(Security.getProvider("SunJCE"), Cipher.ENCRYPT_MODE, seed).doFinal(message)), "ciphertext");
        require(Arrays.equals(message, cipher(ZEL, Cipher.DECRYPT_MODE, seed).doFinal(sent)), "message");
    }

    /** What others send that is wrong: a ciphertext, a signature, a key. */
    private void refuse(Random random) throws GeneralSecurityException {
        byte[] seed = new byte[48];
        random.nextBytes(seed);
        try {
            cipher(ZEL, Cipher.DECRYPT_MODE, seed).doFinal(new byte[16 * random.nextInt(4) + random.nextInt(2)]);
        } catch (BadPaddingException e) {
            require(e.getMessage() != null, "a text");
        }
        Signature verifier = Signature.getInstance("SHA256withRSA", ZEL);
        verifier.initVerify(rsa.getPublic());
        try {
            require(!verifier.verify(new byte[120 + random.nextInt(16)]), "no signature");
        } catch (SignatureException e) {
            require(e.getMessage() != null, "a text");
        }
    }

    private void draw(Random random) throws GeneralSecurityException {
        SecureRandom generator = SecureRandom.getInstance("FIPS186PRNG", ZEL);
        byte[] bytes = new byte[64 + random.nextInt(5000)];
        generator.nextBytes(bytes);
        generator.setSeed(bytes);
        require(!Arrays.equals(bytes, new byte[bytes.length]), "random bytes");
        generator.generateSeed(20);
    }

    private void sign(Random random, String algorithm, KeyPair pair) throws Exception {
        byte[] message = bytes(random, 2000);
        byte[] signature = signed(ZEL, algorithm, pair, message);
        require(isValid(jdkOf(algorithm), algorithm, pair, message, signature), algorithm);
        byte[] theirs = signed(jdkOf(algorithm), algorithm, pair, message);
        if (algorithm.equals("SHA1withDSA") && theirs.length < 44) {
            return; // short ones are refused by size
        }
        require(isValid(ZEL, algorithm, pair, message, theirs), algorithm);
    }

    private static byte[] signed(Provider provider, String algorithm, KeyPair pair, byte[] message) throws Exception {
        Signature signer = signing(algorithm, pair, provider);
        signer.update(message);
        return signer.sign();
    }

    private static boolean isValid(Provider provider, String algorithm, KeyPair pair, byte[] message, byte[] signature)
            throws Exception {
        Signature verifier = verifying(algorithm, pair, provider);
        verifier.update(message);
        return verifier.verify(signature);
    }

    private void generate(Random random) throws Exception {
        String keys = random.nextInt(4) == 0 ? "DSA" : "RSA";
        sign(random, "SHA1with" + keys, keyPair(keys, 1024, ZEL));
        KEY_PAIRS.incrementAndGet();
    }

    /** Objects that nobody ends. */
    private void drop(Random random) throws Exception {
        signing("SHA256withRSA", rsa, ZEL).update((byte) 1);
        verifying("SHA1withDSA", dsa, ZEL);
        byte[] seed = new byte[48];
        cipher(ZEL, Cipher.ENCRYPT_MODE, seed).update(bytes(random, 1000));
        MessageDigest.getInstance("SHA-1", ZEL).update(bytes(random, 1000));
    }
}
