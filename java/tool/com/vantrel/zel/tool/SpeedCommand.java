package com.vantrel.zel.tool;

import java.security.GeneralSecurityException;
import java.security.KeyPair;
import java.security.KeyPairGenerator;
import java.security.MessageDigest;
import java.security.NoSuchAlgorithmException;
import java.security.Provider;
import java.security.SecureRandom;
import java.security.Security;
import java.security.Signature;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.Locale;
import java.util.concurrent.Callable;
import javax.crypto.Cipher;
import javax.crypto.spec.IvParameterSpec;
import javax.crypto.spec.SecretKeySpec;
import picocli.CommandLine.Command;
import picocli.CommandLine.Mixin;
import picocli.CommandLine.Option;

/** {@code zel speed}: this provider and the JDK's own, measured in turn in one run. */
@Command(
        name = "speed",
        description = "Measures the provider beside the JDK's own; the ratio is what to go by.",
        footer = {"%nExamples:", "  zel speed", "  zel speed --seconds 2 --json"})
final class SpeedCommand implements Callable<Integer> {
    private static final int DATA_BYTES = 16384;
    private static final int ROUNDS = 5;

    /** The time that the JVM gets to compile the work. */
    private static final long WARM_UP_NANOS = 500_000_000;

    @Option(names = "--seconds", paramLabel = "SECONDS", description = "How long each algorithm is measured, ${DEFAULT-VALUE} by default.")
    private double seconds = 1;

    @Mixin private Json json;

    private final byte[] data = new byte[DATA_BYTES];
    private final List<Object> rows = new ArrayList<>();

    /** One call of the measured work. */
    private interface Work {
        void run() throws GeneralSecurityException;
    }

    /** Prepares the work with an algorithm of a provider. */
    private interface Preparation {
        Work with(Provider provider) throws GeneralSecurityException;
    }

    @Override
    public Integer call() throws GeneralSecurityException {
        if (!(seconds > 0 && seconds <= 3600)) {
            throw new Failures.UserError("--seconds wants a number above 0 and up to 3600");
        }
        Engines.random();
        if (!json.isWanted) {
            Zel.out().printf("%-22s%14s%14s  %-14s%s%n", "", "Zel", "peer", "", "ratio");
        }
        for (String algorithm : List.of("SHA-1", "SHA-256")) {
            measure(algorithm, "MessageDigest", algorithm, true, provider -> {
                MessageDigest digest = MessageDigest.getInstance(algorithm, provider);
                return () -> digest.digest(data);
            });
        }
        measureCipher("AES-256-CBC encrypt", Cipher.ENCRYPT_MODE);
        measureCipher("AES-256-CBC decrypt", Cipher.DECRYPT_MODE);
        measure("random bytes", "SecureRandom", "SHA1PRNG", true, provider -> {
            SecureRandom random = SecureRandom.getInstance(
                    provider == Engines.ZEL ? Engines.GENERATOR : "SHA1PRNG", provider);
            return () -> random.nextBytes(data);
        });
        measureSignature("RSA", 2048, "SHA256withRSA");
        measureSignature("DSA", 1024, "SHA1withDSA");
        if (json.isWanted) {
            Zel.out().println(Json.text(rows));
        }
        return 0;
    }

    private void measureCipher(String name, int mode) throws GeneralSecurityException {
        SecretKeySpec key = new SecretKeySpec(new byte[32], "AES");
        IvParameterSpec iv = new IvParameterSpec(new byte[16]);
        measure(name, "Cipher", "AES", true, provider -> {
            Cipher cipher = Cipher.getInstance(Engines.TRANSFORMATION, provider);
            cipher.init(mode, key, iv);
            return () -> cipher.update(data);
        });
    }

    private void measureSignature(String keys, int bits, String algorithm) throws GeneralSecurityException {
        KeyPairGenerator generator = KeyPairGenerator.getInstance(keys);
        generator.initialize(bits);
        KeyPair pair = generator.generateKeyPair();
        byte[] message = Arrays.copyOf(data, 64);
        measure(keys + "-" + bits + " sign", "Signature", algorithm, false, provider -> {
            Signature signature = Signature.getInstance(algorithm, provider);
            signature.initSign(pair.getPrivate());
            return () -> {
                signature.update(message);
                signature.sign();
            };
        });
        measure(keys + "-" + bits + " verify", "Signature", algorithm, false, provider -> {
            Signature signature = Signature.getInstance(algorithm, provider);
            signature.initSign(pair.getPrivate());
            signature.update(message);
            byte[] signed = signature.sign();
            signature.initVerify(pair.getPublic());
            return () -> {
                signature.update(message);
                if (!signature.verify(signed)) {
                    throw new GeneralSecurityException("a signature of " + provider.getName() + " is not valid");
                }
            };
        });
    }

    /** Measures the work with this provider and with the first of the JDK's that has the algorithm. */
    private void measure(String name, String type, String algorithm, boolean isBulk, Preparation preparation)
            throws GeneralSecurityException {
        Provider peer = peer(type, algorithm);
        Work own = preparation.with(Engines.ZEL);
        Work others = preparation.with(peer);
        long roundNanos = (long) (seconds * 1e9 / (2 * ROUNDS));
        double[] ownNanos = new double[ROUNDS];
        double[] othersNanos = new double[ROUNDS];
        nanosPerCall(own, WARM_UP_NANOS);
        nanosPerCall(others, WARM_UP_NANOS);
        for (int round = 0; round < ROUNDS; ++round) {
            ownNanos[round] = nanosPerCall(own, roundNanos);
            othersNanos[round] = nanosPerCall(others, roundNanos);
        }
        report(name, peer.getName(), isBulk, median(ownNanos), median(othersNanos));
    }

    private static Provider peer(String type, String algorithm) throws NoSuchAlgorithmException {
        for (Provider provider : Security.getProviders()) {
            if (provider.getService(type, algorithm) != null) {
                return provider;
            }
        }
        throw new NoSuchAlgorithmException("no other provider has " + algorithm);
    }

    private static double nanosPerCall(Work work, long nanos) throws GeneralSecurityException {
        long start = System.nanoTime();
        long calls = 0;
        long spent;
        do {
            work.run();
            ++calls;
            spent = System.nanoTime() - start;
        } while (spent < nanos);
        return (double) spent / calls;
    }

    private static double median(double[] values) {
        Arrays.sort(values);
        return values[values.length / 2];
    }

    private void report(String name, String peer, boolean isBulk, double ownNanos, double othersNanos) {
        String unit = isBulk ? "MB/s" : "per s";
        double scale = isBulk ? DATA_BYTES * 1e3 : 1e9;
        double own = scale / ownNanos;
        double others = scale / othersNanos;
        rows.add(Json.object("work", name, "unit", unit, "zel", round(own), "peer", peer, "peerValue", round(others),
                "ratio", round(own / others)));
        if (!json.isWanted) {
            Zel.out().printf(Locale.ROOT, "%-22s%9.0f %-4s%9.0f %-4s  %-13s%6.2f%n", name, own, unit, others, unit, peer,
                    own / others);
        }
    }

    private static double round(double value) {
        return Math.round(value * 100) / 100.0;
    }
}
