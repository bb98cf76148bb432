package com.vantrel.zel.provider;

import static org.junit.jupiter.api.Assertions.assertEquals;
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
import java.security.Security;
import java.util.Arrays;
import java.util.List;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

/** The random generator as a Java program sees it. The first test to draw waits for the generator's seeding. */
class SecureRandomTest {
    private static final Provider ZEL = new ZelSecurityProvider();

    private static SecureRandom zel() throws Exception {
        return SecureRandom.getInstance("FIPS186PRNG", ZEL);
    }

    /** Run in a child: ends at once, while the generator is still being seeded; or draws first. */
    public static final class Child {
        public static void main(String[] args) throws Exception {
            Security.insertProviderAt(new ZelSecurityProvider(), 1);
            MessageDigest.getInstance("SHA-256").digest(new byte[64]);
            if (args.length > 0) {
                SecureRandom random = new SecureRandom();
                random.nextBytes(new byte[16]);
                System.out.println(random.getProvider().getName() + " " + random.getAlgorithm());
            }
        }
    }

    @Test
    void isWhatNewSecureRandomTakesAndAVirtualMachineThatEndsMeanwhileDoesNotWaitForIt() throws Exception {
        long begin = System.nanoTime();
        assertEquals("Zel FIPS186PRNG\n", ChildJvm.outputOf(Child.class, List.of(), "draw"));
        long drawn = System.nanoTime();
        assertEquals("", ChildJvm.outputOf(Child.class, List.of()));
        assertTrue(System.nanoTime() - drawn < drawn - begin, "waited for the generator");
    }

    /** Run in a child: the start fails, and then the first users. */
    public static final class FailingStart {
        public static void main(String[] args) throws Exception {
            Thread[] starter = new Thread[1];
            RandomStart.begin(() -> {
                starter[0] = Thread.currentThread();
                throw new OutOfMemoryError("start");
            });
            RandomStart.begin(() -> System.out.println("begun twice"));
            while (starter[0] == null || starter[0].isAlive()) {
                Thread.sleep(1);
            }
            RandomStart.withFailureOfStart(() -> { }); // works now: nothing to tell
            for (RuntimeException failure : List.of(new IllegalArgumentException("not the generator's doing"),
                    new ProviderException("use"), new ProviderException("use again"))) {
                try {
                    RandomStart.withFailureOfStart(() -> {
                        throw failure;
                    });
                } catch (RuntimeException e) {
                    System.out.println(e.getMessage() + " " + Arrays.toString(e.getSuppressed()));
                }
            }
        }
    }

    @Test
    void aFailureOfTheStartIsToldToTheFirstUserWhoFailsToo() throws Exception {
        assertEquals("not the generator's doing []\nuse [java.lang.OutOfMemoryError: start]\nuse again []\n",
                ChildJvm.outputOf(FailingStart.class, List.of()));
    }

    /** Run in a child: reads the object back that its parent has stored. */
    public static final class Reader {
        public static void main(String[] args) throws Exception {
            try (ObjectInputStream in = new ObjectInputStream(Files.newInputStream(Path.of(args[0])))) {
                System.out.println(in.readObject().getClass().getSimpleName());
            }
        }
    }

    @Test
    void canBeStoredAndReadElsewhere(@TempDir Path folder) throws Exception {
        String file = folder + "/random";
        try (ObjectOutputStream out = new ObjectOutputStream(Files.newOutputStream(Path.of(file)))) {
            out.writeObject(new ZelSecureRandomSpi());
        }
        assertEquals("ZelSecureRandomSpi\n", ChildJvm.outputOf(Reader.class, List.of(), file));
        // Without a library the object cannot be read: so reading loads it.
        ChildJvm without = ChildJvm.run(Reader.class,
                List.of("-Djava.io.tmpdir=/nonexistent", "-Djava.library.path="), file);
        assertTrue(without.err.contains("cannot unpack"), without.err);
    }

    @Test
    void drawsDifferentBytesAndTakesSeeds() throws Exception {
        SecureRandom first = zel();
        SecureRandom second = zel();
        first.setSeed(new byte[] {1, 2, 3});
        second.setSeed(new byte[] {1, 2, 3});
        assertNotEquals(first.nextLong(), second.nextLong());
        assertEquals(20, first.generateSeed(20).length);
        assertThrows(RuntimeException.class, () -> first.generateSeed(-1));
    }
}
