package com.vantrel.zel.provider;

import java.nio.file.Files;
import java.nio.file.Path;
import java.security.GeneralSecurityException;
import java.security.KeyFactory;
import java.security.KeyPair;
import java.security.KeyPairGenerator;
import java.security.MessageDigest;
import java.security.PrivateKey;
import java.security.Provider;
import java.security.PublicKey;
import java.security.SecureRandom;
import java.security.Signature;
import java.security.SignatureException;
import java.security.spec.PKCS8EncodedKeySpec;
import java.security.spec.X509EncodedKeySpec;
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

    private final Provider zel;
    private final KeyPair rsa;
    private final KeyPair dsa;

    private Soak(Provider zel) throws GeneralSecurityException {
        this.zel = zel;
        rsa = newPair("RSA", "SunRsaSign");
        dsa = newPair("DSA", "SUN");
    }

    private static KeyPair newPair(String algorithm, String provider) throws GeneralSecurityException {
        KeyPairGenerator generator = KeyPairGenerator.getInstance(algorithm, provider);
        generator.initialize(1024);
        return generator.generateKeyPair();
    }

    public static void main(String[] args) throws Exception {
        String asked = System.getenv("ZEL_SOAK_SECONDS");
        long seconds = Long.parseLong(asked != null ? asked : args[0]);
        Soak soak = new Soak(new ZelSecurityProvider());
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
                        sign(random, random.nextBoolean() ? "SHA1withRSA" : "SHA256withRSA", rsa, "SunRsaSign");
                        break;
                    case 8:
                        sign(random, "SHA1withDSA", dsa, "SUN");
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
        MessageDigest digest = MessageDigest.getInstance(algorithm, zel);
        int split = random.nextInt(message.length + 1);
        digest.update(message, 0, split);
        digest.update(message, split, message.length - split);
        require(Arrays.equals(digest.digest(), MessageDigest.getInstance(algorithm, "SUN").digest(message)), algorithm);
    }

    private Cipher cipher(Random random, Provider provider, int mode, byte[] seed) throws GeneralSecurityException {
        Cipher cipher = provider == null ? Cipher.getInstance("AES/CBC/PKCS5Padding", "SunJCE")
                : Cipher.getInstance("AES/CBC/PKCS5Padding", provider);
        cipher.init(mode, new SecretKeySpec(Arrays.copyOf(seed, 32), "AES"),
                new IvParameterSpec(Arrays.copyOfRange(seed, 32, 48)));
        return cipher;
    }

    private void encrypt(Random random) throws GeneralSecurityException {
        byte[] message = bytes(random, 40_000);
        byte[] seed = new byte[48];
        random.nextBytes(seed);
        byte[] sent = cipher(random, zel, Cipher.ENCRYPT_MODE, seed).doFinal(message);
        require(Arrays.equals(sent, cipher(random, null, Cipher.ENCRYPT_MODE, seed).doFinal(message)), "ciphertext");
        require(Arrays.equals(message, cipher(random, zel, Cipher.DECRYPT_MODE, seed).doFinal(sent)), "message");
    }

    /** What others send that is wrong: a ciphertext, a signature, a key. */
    private void refuse(Random random) throws GeneralSecurityException {
        byte[] seed = new byte[48];
        random.nextBytes(seed);
        try {
            cipher(random, zel, Cipher.DECRYPT_MODE, seed).doFinal(new byte[16 * random.nextInt(4) + random.nextInt(2)]);
        } catch (BadPaddingException e) {
            require(e.getMessage() != null, "a text");
        }
        Signature verifier = Signature.getInstance("SHA256withRSA", zel);
        verifier.initVerify(rsa.getPublic());
        try {
            require(!verifier.verify(new byte[120 + random.nextInt(16)]), "no signature");
        } catch (SignatureException e) {
            require(e.getMessage() != null, "a text");
        }
    }

    private void draw(Random random) throws GeneralSecurityException {
        SecureRandom generator = SecureRandom.getInstance("FIPS186PRNG", zel);
        byte[] bytes = new byte[64 + random.nextInt(5000)];
        generator.nextBytes(bytes);
        generator.setSeed(bytes);
        require(!Arrays.equals(bytes, new byte[bytes.length]), "random bytes");
        generator.generateSeed(20);
    }

    private void sign(Random random, String algorithm, KeyPair pair, String other) throws GeneralSecurityException {
        byte[] message = bytes(random, 2000);
        byte[] signature = signed(Signature.getInstance(algorithm, zel), pair.getPrivate(), message);
        require(verified(Signature.getInstance(algorithm, other), pair.getPublic(), message, signature), algorithm);
        byte[] theirs = signed(Signature.getInstance(algorithm, other), pair.getPrivate(), message);
        if (algorithm.equals("SHA1withDSA") && theirs.length < 44) {
            return; // short ones are refused by size
        }
        require(verified(Signature.getInstance(algorithm, zel), pair.getPublic(), message, theirs), algorithm);
    }

    private static byte[] signed(Signature signer, PrivateKey key, byte[] message) throws GeneralSecurityException {
        signer.initSign(key);
        signer.update(message);
        return signer.sign();
    }

    private static boolean verified(Signature verifier, PublicKey key, byte[] message, byte[] signature)
            throws GeneralSecurityException {
        verifier.initVerify(key);
        verifier.update(message);
        return verifier.verify(signature);
    }

    private void generate(Random random) throws GeneralSecurityException {
        String algorithm = random.nextInt(4) == 0 ? "DSA" : "RSA";
        KeyPairGenerator generator = KeyPairGenerator.getInstance(algorithm, zel);
        generator.initialize(1024);
        KeyPair pair = generator.generateKeyPair();
        KeyFactory factory = KeyFactory.getInstance(algorithm, algorithm.equals("RSA") ? "SunRsaSign" : "SUN");
        String signature = algorithm.equals("RSA") ? "SHA256withRSA" : "SHA1withDSA";
        byte[] message = bytes(random, 100);
        byte[] signed = signed(Signature.getInstance(signature, factory.getProvider()),
                factory.generatePrivate(new PKCS8EncodedKeySpec(pair.getPrivate().getEncoded())), message);
        require(verified(Signature.getInstance(signature, factory.getProvider()),
                factory.generatePublic(new X509EncodedKeySpec(pair.getPublic().getEncoded())), message, signed),
                "a generated key");
        KEY_PAIRS.incrementAndGet();
    }

    /** Objects that nobody ends. */
    private void drop(Random random) throws GeneralSecurityException {
        Signature signer = Signature.getInstance("SHA256withRSA", zel);
        signer.initSign(rsa.getPrivate());
        signer.update((byte) 1);
        Signature verifier = Signature.getInstance("SHA1withDSA", zel);
        verifier.initVerify(dsa.getPublic());
        byte[] seed = new byte[48];
        cipher(random, zel, Cipher.ENCRYPT_MODE, seed).update(bytes(random, 1000));
        MessageDigest.getInstance("SHA-1", zel).update(bytes(random, 1000));
    }
}
