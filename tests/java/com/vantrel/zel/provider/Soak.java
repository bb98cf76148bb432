package com.vantrel.zel.provider;

import static com.vantrel.zel.provider.TestKeys.*;

import com.vantrel.zel.provider.RandomUses.Use;
import java.nio.file.*;
import java.security.*;
import java.util.*;
import java.util.concurrent.Future;
import java.util.concurrent.atomic.AtomicLong;
import java.util.stream.Stream;

/**
 * Random uses of everything, in several threads, for as many seconds as the argument or ZEL_SOAK_SECONDS says. Objects are
 * dropped as they stand. Memory, threads and open files must stay flat.
 */
public final class Soak {
    private static final int SAMPLES = 20;
    private static final long ALLOWED_GROWTH_KIB = 24 * 1024;

    private static final AtomicLong OPERATIONS = new AtomicLong();
    private static volatile boolean isOver;

    private Soak() {}

    public static void main(String[] args) throws Exception {
        String asked = System.getenv("ZEL_SOAK_SECONDS");
        long seconds = Long.parseLong(asked != null ? asked : args[0]);
        KeyPair rsa = jdkPair("RSA", 1024);
        KeyPair dsa = jdkPair("DSA", 1024);
        List<Future<Void>> ends = RandomUses.inThreads(8, () -> use(rsa, dsa));
        List<long[]> samples = new ArrayList<>();
        for (int i = 0; i < SAMPLES && ends.stream().noneMatch(Future::isDone); ++i) {
            Thread.sleep(seconds * 1000 / SAMPLES);
            samples.add(sample());
            System.out.println(Arrays.toString(samples.get(i)) + " KiB resident, threads, open files");
        }
        isOver = true;
        for (Future<Void> end : ends) {
            end.get();
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

    private static Void use(KeyPair rsa, KeyPair dsa) throws Exception {
        Random random = new Random();
        RandomUses uses = new RandomUses(40_000);
        List<Use> kept = uses.all(rsa, dsa);
        for (; !isOver; OPERATIONS.incrementAndGet()) {
            kept.get(random.nextInt(kept.size())).with(random, random.nextInt(8) == 0);
            if (random.nextInt(40) == 0) {
                boolean areNew = random.nextInt(100) == 0;
                kept = uses.all(areNew ? keyPair("RSA", 1024, ZEL) : rsa, areNew ? keyPair("DSA", 1024, ZEL) : dsa);
                for (int i = 0; i < 200; ++i) { // nobody ends these; an engine takes about 250 bytes
                    MessageDigest.getInstance("SHA-256", ZEL).update(new byte[5000]);
                }
            }
        }
        return null;
    }
}
