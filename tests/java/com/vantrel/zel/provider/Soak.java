package com.vantrel.zel.provider;

import static com.vantrel.zel.provider.TestKeys.*;

import com.vantrel.zel.provider.RandomUses.Use;
import java.nio.file.Files;
import java.nio.file.Path;
import java.security.KeyPair;
import java.security.MessageDigest;
import java.util.*;
import java.util.concurrent.atomic.AtomicLong;
import java.util.concurrent.atomic.AtomicReference;
import java.util.stream.Stream;
import javax.crypto.Cipher;

/**
 * Random uses of everything, in several threads, for as many seconds as the argument or ZEL_SOAK_SECONDS says. Objects are
 * dropped as they stand. Memory, threads and open files must stay flat.
 */
public final class Soak {
    private static final int THREADS = 8;
    private static final int SAMPLES = 20;
    private static final long ALLOWED_GROWTH_KIB = 24 * 1024;

    private static final AtomicLong OPERATIONS = new AtomicLong();
    private static final AtomicReference<Throwable> FAILURE = new AtomicReference<>();
    private static volatile boolean isOver;
    private static KeyPair rsa;
    private static KeyPair dsa;

    private Soak() {}

    public static void main(String[] args) throws Exception {
        String asked = System.getenv("ZEL_SOAK_SECONDS");
        long seconds = Long.parseLong(asked != null ? asked : args[0]);
        rsa = jdkPair("RSA", 1024);
        dsa = jdkPair("DSA", 1024);
        List<Thread> threads = new ArrayList<>();
        for (int i = 0; i < THREADS; ++i) {
            long seed = i;
            threads.add(new Thread(() -> run(new Random(seed))));
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
        System.out.println(OPERATIONS + " operations");
        requireFlat(samples.subList(SAMPLES / 2, SAMPLES));
    }

    /** The JVM is still growing in the first half: it compiles. */
    private static void requireFlat(List<long[]> samples) {
        long[] first = samples.get(0);
        for (long[] sample : samples) {
            if (sample[0] > first[0] + ALLOWED_GROWTH_KIB || sample[1] > first[1] + 3 || sample[2] > first[2] + 3) {
                throw new AssertionError("not flat: " + Arrays.toString(first) + " to " + Arrays.toString(sample));
            }
        }
        System.out.println("flat: grown by " + (samples.get(samples.size() - 1)[0] - first[0]) + " KiB in the second half");
    }

    private static long[] sample() throws Exception {
        System.gc();
        Thread.sleep(100); // for the cleaner
        String status = Files.readString(Path.of("/proc/self/status"));
        try (Stream<Path> files = Files.list(Path.of("/proc/self/fd"))) {
            return new long[] {number(status, "VmRSS"), number(status, "Threads"), files.count()};
        }
    }

    private static long number(String status, String name) {
        return Long.parseLong(status.replaceAll("(?s).*" + name + ":\\s*(\\d+).*", "$1"));
    }

    private static void run(Random random) {
        RandomUses uses = new RandomUses(40_000);
        Use[] kept = new Use[8];
        try {
            while (!isOver && FAILURE.get() == null) {
                int which = random.nextInt(kept.length);
                if (kept[which] == null || random.nextInt(10) == 0) {
                    kept[which] = newUse(uses, which, random);
                }
                kept[which].with(random, random.nextInt(8) == 0);
                OPERATIONS.incrementAndGet();
            }
        } catch (Throwable e) {
            FAILURE.compareAndSet(null, e);
        }
    }

    private static Use newUse(RandomUses uses, int which, Random random) throws Exception {
        switch (which) {
            case 0:
            case 1:
                return uses.digest(which == 0 ? "SHA-1" : "SHA-256");
            case 2:
            case 3:
                return uses.cipher(which == 2 ? Cipher.ENCRYPT_MODE : Cipher.DECRYPT_MODE);
            case 4:
            case 5:
                boolean isNew = random.nextInt(200) == 0;
                return uses.signature(which == 4 ? "SHA1withRSA" : "SHA256withRSA", isNew ? keyPair("RSA", 1024, ZEL) : rsa);
            case 6:
                return uses.signature("SHA1withDSA", random.nextInt(200) == 0 ? keyPair("DSA", 1024, ZEL) : dsa);
            default:
                for (int i = 0; i < 500; ++i) { // nobody ends these; an engine takes about 250 bytes
                    MessageDigest.getInstance("SHA-256", ZEL).update(new byte[5000]);
                }
                return uses.random();
        }
    }
}
