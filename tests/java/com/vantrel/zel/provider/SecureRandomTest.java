package com.vantrel.zel.provider;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertNotEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.vantrel.zel.provider.internal.RandomStart;
import com.vantrel.zel.provider.spi.ZelSecureRandomSpi;
import java.io.ObjectInputStream;
import java.io.ObjectOutputStream;
import java.nio.file.Files;
import java.nio.file.Path;
import java.security.MessageDigest;
import java.security.Provider;
import java.security.ProviderException;
import java.security.SecureRandom;
import java.security.SecureRandomSpi;
import java.security.Security;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.HashSet;
import java.util.List;
import java.util.Set;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import java.util.concurrent.Future;
import org.junit.jupiter.api.Test;

/** The random generator as a Java program sees it. The first test to draw waits for the generator's seeding. */
class SecureRandomTest {
    private static final Provider ZEL = new ZelSecurityProvider();

    private static SecureRandom zel() throws Exception {
        return SecureRandom.getInstance("FIPS186PRNG", ZEL);
    }

    /** Run in a child: ends at once, while the generator is still being seeded; or draws first. */
    public static final class Child {
        public static void main(String[] args) throws Exception {
            long started = java.lang.management.ManagementFactory.getRuntimeMXBean().getStartTime();
            Security.insertProviderAt(new ZelSecurityProvider(), 1);
            MessageDigest.getInstance("SHA-256").digest(new byte[64]);
            long ready = System.currentTimeMillis() - started;
            System.out.println("SHA-256 ready " + ready + " ms after the start of the virtual machine");
            if (args.length > 0) {
                SecureRandom random = new SecureRandom();
                random.nextBytes(new byte[16]);
                System.out.println(random.getProvider().getName() + " " + random.getAlgorithm());
            }
        }
    }

    /** Run in a child: the start fails, and then the first users. */
    public static final class FailingStart {
        public static void main(String[] args) throws Exception {
            Error failure = new OutOfMemoryError("start");
            Thread[] starter = new Thread[1];
            RandomStart.begin(() -> {
                starter[0] = Thread.currentThread();
                throw failure;
            });
            RandomStart.begin(() -> System.out.println("begun twice"));
            while (starter[0] == null || starter[0].isAlive()) {
                Thread.sleep(1);
            }
            RandomStart.withFailureOfStart(() -> { }); // works now: nothing to tell
            try {
                RandomStart.withFailureOfStart(() -> {
                    throw new IllegalArgumentException("not the generator's doing");
                });
            } catch (IllegalArgumentException e) {
                System.out.println(e.getSuppressed().length);
            }
            for (int i = 0; i < 2; ++i) {
                try {
                    RandomStart.withFailureOfStart(() -> {
                        throw new ProviderException("use");
                    });
                } catch (ProviderException e) {
                    System.out.println(e.getMessage() + " " + Arrays.toString(e.getSuppressed()));
                }
            }
        }
    }

    @Test
    void aFailureOfTheStartIsToldToTheFirstUserWhoFailsToo() throws Exception {
        ChildJvm child = ChildJvm.run(List.of("-cp", ChildJvm.providerJar() + ":" + ChildJvm.testClasses(),
                FailingStart.class.getName()));
        assertEquals("", child.err);
        assertEquals("0\nuse [java.lang.OutOfMemoryError: start]\nuse []\n", child.out);
    }

    private static ChildJvm child(String... arguments) throws Exception {
        List<String> command = new ArrayList<>(List.of("-cp", ChildJvm.providerJar() + ":" + ChildJvm.testClasses(),
                Child.class.getName()));
        command.addAll(List.of(arguments));
        return ChildJvm.run(command);
    }

    @Test
    void aVirtualMachineThatEndsMeanwhileEndsCleanly() throws Exception {
        long begin = System.nanoTime();
        ChildJvm child = child();
        System.out.print(child.out); // the figure is shown, not judged
        assertEquals("", child.err);
        assertEquals(0, child.exitCode);
        assertTrue(System.nanoTime() - begin < 6_000_000_000L, "waited for the generator");
    }

    @Test
    void isWhatNewSecureRandomTakesWhereTheProviderStandsFirst() throws Exception {
        ChildJvm child = child("draw");
        assertEquals("", child.err);
        assertTrue(child.out.endsWith("Zel FIPS186PRNG\n"), child.out);
    }

    /** Run in a child: reads the object back that its parent has stored. */
    public static final class Reader {
        public static void main(String[] args) throws Exception {
            try (ObjectInputStream in = new ObjectInputStream(Files.newInputStream(Path.of(args[0])))) {
                System.out.println(((SecureRandomSpi) in.readObject()).getClass().getSimpleName());
            }
        }
    }

    @Test
    void canBeStoredAndReadElsewhere() throws Exception {
        Path file = Files.createTempFile("random", ".ser");
        try (ObjectOutputStream out = new ObjectOutputStream(Files.newOutputStream(file))) {
            out.writeObject(new ZelSecureRandomSpi());
        }
        // Without a library the object cannot be read: so reading loads it.
        ChildJvm child = ChildJvm.run(List.of("-cp", ChildJvm.providerJar() + ":" + ChildJvm.testClasses(),
                Reader.class.getName(), file.toString()));
        ChildJvm without = ChildJvm.run(List.of("-Djava.io.tmpdir=/nonexistent", "-Djava.library.path=", "-cp",
                ChildJvm.providerJar() + ":" + ChildJvm.testClasses(), Reader.class.getName(), file.toString()));
        Files.delete(file);
        assertEquals("ZelSecureRandomSpi\n", child.out);
        assertTrue(without.err.contains("cannot unpack"), without.err);
    }

    @Test
    void drawsDifferentBytes() throws Exception {
        SecureRandom first = zel();
        SecureRandom second = zel();
        Set<String> drawn = new HashSet<>();
        for (int i = 0; i < 100; ++i) {
            byte[] bytes = new byte[16];
            (i % 2 == 0 ? first : second).nextBytes(bytes);
            drawn.add(Arrays.toString(bytes));
        }
        assertEquals(100, drawn.size());
        first.nextBytes(new byte[0]);
        byte[] large = new byte[3_000_000];
        first.nextBytes(large);
        assertFalse(Arrays.equals(new byte[1000], Arrays.copyOfRange(large, large.length - 1000, large.length)));
        assertNotEquals(first.nextLong(), first.nextLong());
    }

    @Test
    void seedsAddToTheGenerator() throws Exception {
        SecureRandom first = zel();
        SecureRandom second = zel();
        first.setSeed(new byte[] {1, 2, 3});
        second.setSeed(new byte[] {1, 2, 3});
        first.setSeed(42L);
        first.setSeed(new byte[0]);
        assertNotEquals(first.nextLong(), second.nextLong());
        assertEquals(20, first.generateSeed(20).length);
        assertArrayEquals(new byte[0], first.generateSeed(0));
        assertThrows(RuntimeException.class, () -> first.generateSeed(-1));
        assertThrows(NullPointerException.class, () -> first.nextBytes(null));
    }

    @Test
    void manyThreads() throws Exception {
        ExecutorService threads = Executors.newFixedThreadPool(16);
        SecureRandom shared = zel();
        List<Future<?>> results = new ArrayList<>();
        for (int thread = 0; thread < 16; ++thread) {
            boolean own = thread % 2 == 0;
            results.add(threads.submit(() -> {
                SecureRandom random = own ? zel() : shared;
                for (int i = 0; i < 200; ++i) {
                    random.nextBytes(new byte[1000]);
                    random.setSeed(i);
                }
                return null;
            }));
        }
        for (Future<?> result : results) {
            result.get();
        }
        threads.shutdown();
    }
}
