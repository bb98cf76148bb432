package com.vantrel.zel.provider.internal;

import static org.junit.jupiter.api.Assertions.*;

import com.vantrel.zel.provider.*;
import com.vantrel.zel.provider.spi.ZelSecureRandomSpi;
import java.io.*;
import java.net.*;
import java.nio.file.*;
import java.nio.file.attribute.*;
import java.security.*;
import java.time.*;
import java.util.*;
import java.util.concurrent.*;
import java.util.concurrent.locks.LockSupport;
import java.util.stream.Stream;
import org.junit.jupiter.api.*;
import org.junit.jupiter.api.condition.*;
import org.junit.jupiter.api.io.TempDir;

/** How programs come by the provider, and the provider by the native library and its random numbers. */
class LoadingTest {
    private static final Path LIBRARY = Path.of(System.getProperty("zel.library"));
    private static final String NAME = LIBRARY.getFileName().toString();
    private static final boolean IS_WINDOWS = OS.WINDOWS.isCurrentOs();
    private static final String IN_JAR = "/native/" + (IS_WINDOWS ? "windows" : "linux")
            + (System.getProperty("os.arch").equals("aarch64") ? "-aarch64/" : "-x86_64/") + NAME;
    private static final String NOT_IN_JAR = "-Dos.arch=none"; // a machine for which the jar has no library
    private static final String VERSION_MARK = "zelspi version "; // in front of a library's version, behind which is a NUL

    @TempDir Path folder;
    private Path temporary;
    private Path libraryPath;

    /**
     * Run in a child: registers the provider, unless its name is given and it is registered by that. Prints who answers,
     * whence the library, and in the end whether there are random numbers; or the complaint.
     */
    public static final class Probe {
        public static void main(String[] args) throws Exception {
            try {
                if (args.length == 0) {
                    Security.insertProviderAt(new ZelSecurityProvider(), 1);
                }
                MessageDigest digest = MessageDigest.getInstance("SHA-1");
                System.out.println(digest.getProvider().getName() + " " + digest.digest().length + " " + NativeLibrary.origin());
                Runtime.getRuntime().addShutdownHook(new Thread(() -> System.out.println(NativeInfo.isRandomReady())));
            } catch (ProviderException e) {
                System.out.println(e.getMessage());
            }
        }
    }

    /** Run in a child that has no provider: loads the library. */
    public static final class Alone {
        public static void main(String[] args) {
            System.load(args[0]);
        }
    }

    /** Run in a child: many class loaders load the provider at once, each closing the jar behind itself. */
    public static final class ManyLoaders {
        public static void main(String[] args) throws Exception {
            URL[] jar = {new File(args[0]).toURI().toURL()};
            for (Future<Void> end : RandomUsesTest.inThreads(Integer.parseInt(args[1]), () -> {
                try (URLClassLoader loader = new URLClassLoader(jar, null)) {
                    System.out.println(loader.loadClass(ZelSecurityProvider.class.getName()).getConstructor().newInstance());
                }
                return null;
            })) {
                end.get();
            }
        }
    }

    /** Run in a child that has room for few threads: asks for a digest while there are no more, and when there are. */
    public static final class ShortOfThreads {
        public static void main(String[] args) throws Exception {
            MessageDigest digest = MessageDigest.getInstance("SHA-1", new ZelSecurityProvider());
            List<Thread> threads = new ArrayList<>();
            assertThrows(OutOfMemoryError.class, () -> {
                for (;;) {
                    Thread thread = new Thread(LockSupport::park);
                    thread.start();
                    threads.add(thread);
                }
            });
            assertThrows(OutOfMemoryError.class, () -> digest.update(new byte[5000])); // an engine wants one to watch over it
            for (Thread thread : threads) {
                LockSupport.unpark(thread);
                thread.join();
            }
            System.out.println(digest.digest(new byte[5000]).length);
        }
    }

    /** Run in a child: the start fails, then the first users, reading a stored generator, one more start; and then all goes well. */
    public static final class FailingStart {
        public static void main(String[] args) throws Exception {
            CompletableFuture<Thread> starter = new CompletableFuture<>();
            RandomStart.begin(() -> {
                starter.complete(Thread.currentThread());
                throw new OutOfMemoryError("start");
            });
            RandomStart.begin(() -> System.out.println("begun twice"));
            starter.get().join();
            RandomStart.withFailureOfStart(() -> { }); // works now: nothing to tell
            for (RuntimeException failure : List.of(new IllegalArgumentException("not the generator's doing"),
                    new ProviderException("use"), new ProviderException("use again"))) {
                assertThrows(failure.getClass(), () -> RandomStart.withFailureOfStart(() -> {
                    throw failure;
                }));
                System.out.println(failure.getMessage() + " " + Arrays.toString(failure.getSuppressed()));
            }
            try (ObjectInputStream in = new ObjectInputStream(Files.newInputStream(Path.of(args[0])))) {
                System.out.println(in.readObject().getClass().getSimpleName());
            }
            System.out.println(assertThrows(ProviderException.class, () -> RandomStart.await(() -> {
                throw new IllegalStateException("no entropy");
            }, 1, TimeUnit.MINUTES)).getCause().getMessage());
            ZelSecurityProvider zel = new ZelSecurityProvider();
            System.out.println(zel.awaitRandom(0, TimeUnit.SECONDS) + " " + zel.awaitRandom(5, TimeUnit.MINUTES));
        }
    }

    @BeforeEach
    void folders() throws IOException {
        temporary = Files.createDirectory(folder.resolve("my tmp\u00e4"));
        libraryPath = Files.createDirectory(folder.resolve("my p\u00e4th"));
    }

    /** What the probe says of the library path's or the jar's library, or with an os.arch for which the jar has none. */
    private String probe(Path temporaryFolder, String... options) throws Exception {
        List<String> all = new ArrayList<>(List.of("-cp", ChildJvm.CLASS_PATH, "-Djava.io.tmpdir=" + temporaryFolder,
                "-Djava.library.path=" + libraryPath));
        all.addAll(List.of(options));
        return ChildJvm.run(Probe.class, all);
    }

    /** Beside what the VM itself may say of the temporary folder. */
    private static void assertSays(String said, String... parts) {
        assertTrue(Stream.of(parts).allMatch(said::contains), said);
    }

    /** The library is loaded, with no wait for random numbers at the end; on Windows a copy stays, which a start two days later sweeps. */
    private void assertLoads(String origin, String... options) throws Exception {
        String said = probe(temporary, options);
        assertTrue(("Zel 20 " + origin + "\nfalse\n").equalsIgnoreCase(said), said); // Java 11 escapes URLs in small letters
        File[] left = temporary.toFile().listFiles();
        assertEquals(IS_WINDOWS ? 1 : 0, left.length);
        for (File copy : left) {
            Files.setLastModifiedTime(copy.toPath(), FileTime.from(Instant.now().minus(Duration.ofDays(2))));
        }
    }

    @Test
    void fromTheJarOrTheLibraryPath() throws Exception {
        String inJar = "jar:" + new File(ChildJvm.PROVIDER_JAR).toURI().toASCIIString() + "!" + IN_JAR;
        assertLoads(inJar);
        Path installed = Files.copy(LIBRARY, libraryPath.resolve(NAME));
        assertLoads(installed.toString(), NOT_IN_JAR);
        assertLoads(installed.toString());
        Files.writeString(installed, VERSION_MARK + "0.0.0\0");
        assertLoads(inJar);
        assertSays(probe(temporary, NOT_IN_JAR), "in the provider's jar; " + installed + " is of version 0.0.0, the provider (jar:file:",
                "!/com/vantrel/zel/provider/internal/NativeLibrary.class) of version " + Version.TEXT + "\n");
    }

    @Test
    void byManyClassLoadersAtOnce() throws Exception {
        for (int count : new int[] {40, 3}) { // without a library, and with one that only one can load
            Path path = count == 40 ? folder : LIBRARY.getParent();
            assertEquals(("Zel version " + Version.TEXT + "\n").repeat(count), ChildJvm.run(ManyLoaders.class, List.of(
                    "-Djava.io.tmpdir=" + temporary, "-Djava.library.path=" + path), ChildJvm.PROVIDER_JAR, "" + count));
        }
        assertTrue(IS_WINDOWS || temporary.toFile().list().length == 0);
    }

    /** That they cannot be made shows nowhere else: the registered methods do the same. */
    @Test
    void javasOwnCallsOfCAreMadeWhereItHasThem() throws Exception {
        NativeLibrary.load();
        for (int i = 0; i < 10_600 && !ShortCalls.isForeign; ++i) {
            ShortCalls.digest(20, new byte[0], 0, new byte[20], 0);
            Thread.sleep(i > 10_000 && ChildJvm.CAN_DENY ? 100 : 0);
        }
        assertEquals(ChildJvm.CAN_DENY, ShortCalls.isForeign);
    }

    /** Java's own threads are made with stacks of 256 MiB in 12 GB of addresses: there is room for some thirty. */
    @Test
    @EnabledOnOs(value = OS.LINUX, disabledReason = "there is no such limit")
    void aShortageOfThreadsPasses() throws Exception {
        String said = ChildJvm.run("-v 12000000", "ALL-UNNAMED", List.of("-cp", System.getProperty("java.class.path"), "-Xmx64m",
                "-XX:+UseSerialGC", "-Xlog:disable", "-XX:ThreadStackSize=262144", ShortOfThreads.class.getName()));
        assertTrue(said.endsWith("20\n"), said);
    }

    /** What stands there and is no library for this machine is told, not replaced by the jar's. */
    @Test
    void whatIsMissingOrUnfitIsNamed() throws Exception {
        Path foreign = Files.writeString(libraryPath.resolve(NAME), VERSION_MARK + Version.TEXT + "\0");
        assertSays(probe(temporary), "cannot load the native library " + foreign + " on ");
        Files.delete(foreign);
        assertSays(probe(temporary, NOT_IN_JAR), "no native library for ", NAME + " in java.library.path (" + libraryPath
                + ") and for /native/", "-none/" + NAME + " in the provider's jar");
        Path missing = temporary.resolve("missing");
        assertSays(probe(missing), "cannot unpack " + IN_JAR, "into " + missing);
    }

    /**
     * The private copy of the library, while it is there, is its owner's alone, and made where nobody else could replace it.
     * Old ones go, but for somebody else's; of very many, some.
     */
    @Test
    @DisabledOnOs(value = OS.WINDOWS, disabledReason = "has other permissions and links")
    void theCopyIsSafeAndSweptByALaterStart() throws Exception {
        InputStream empty = InputStream.nullInputStream();
        Path link = Files.createSymbolicLink(folder.resolve("link"), temporary);
        Files.createFile(libraryPath.resolve("lib"));
        Files.setLastModifiedTime(libraryPath, FileTime.fromMillis(0));
        List<Path> kept = List.of(Files.createDirectory(temporary.resolve("zelspi-fresh")),
                Files.createSymbolicLink(temporary.resolve("zelspi-link"), libraryPath).resolve("lib"));
        String systemTemporary = System.setProperty("java.io.tmpdir", link.toString());
        try {
            Files.setAttribute(folder, "unix:mode", 0757);
            String said = assertThrows(IOException.class, () -> UnpackedLibrary.of(empty, "lib")).getMessage();
            assertTrue(said.startsWith(folder.toRealPath() + ": other users"), said);
            for (int count : new int[] {2, 300}) {
                Files.setAttribute(folder, "unix:mode", count == 2 ? 01757 : 0775);
                for (int i = 0; i < count; ++i) {
                    Path old = Files.createDirectory(temporary.resolve("zelspi-" + i));
                    Files.createFile(old.resolve("lib"));
                    Files.setLastModifiedTime(old, FileTime.fromMillis(0));
                }
                try (UnpackedLibrary unpacked = UnpackedLibrary.of(empty, "lib")) {
                    Path own = unpacked.file().getParent();
                    assertEquals("rwx------", PosixFilePermissions.toString(Files.getPosixFilePermissions(own)));
                }
                int left = temporary.toFile().list().length - kept.size();
                assertTrue(count == 2 ? left == 0 : left >= 100 && left < 150, left + " of " + count);
            }
            assertTrue(kept.stream().allMatch(Files::exists));
        } finally {
            System.setProperty("java.io.tmpdir", systemTemporary);
        }
    }

    /** No file can be larger than 100 KiB, which stands in for a full disk. */
    @Test
    @DisabledOnOs(value = OS.WINDOWS, disabledReason = "has no limit on the size of files")
    void withoutRoomNothingIsLeft() throws Exception {
        assertSays(ChildJvm.run("-f 200", "ALL-UNNAMED", List.of("-cp", ChildJvm.CLASS_PATH, "-Djava.io.tmpdir=" + temporary,
                Probe.class.getName())), "into " + temporary, "File too large\n");
        assertEquals(0, temporary.toFile().list().length);
    }

    /** The first user who fails also hears of the start's failure; reading a stored generator loads the library; a start can be repeated. */
    @Test
    void failuresOfTheStartAndStoredGenerators() throws Exception {
        String file = folder + "/random";
        try (ObjectOutputStream out = new ObjectOutputStream(Files.newOutputStream(Path.of(file)))) {
            out.writeObject(new ZelSecureRandomSpi());
        }
        String failures = "not the generator's doing []\nuse [java.lang.OutOfMemoryError: start]\nuse again []\n";
        assertEquals(failures + "ZelSecureRandomSpi\nno entropy\nfalse true\n",
                ChildJvm.run(FailingStart.class, List.of(), file));
        assertSays(ChildJvm.run(FailingStart.class, List.of("-Djava.io.tmpdir=/nonexistent", "-Djava.library.path="), file),
                failures, "cannot unpack");
    }

    /** Where a ServiceLoader finds it by its name, on either path; programs that have the library alone load it, too. */
    @Test
    void onTheClassPathAndOnTheModulePath() throws Exception {
        String module = "com.vantrel.zel.provider";
        String byName = "-Djava.security.properties=" + Files.writeString(folder.resolve("byName"),
                "security.provider.1=Zel\nsecurity.provider.2=SUN\n");
        String probe = Probe.class.getName();
        assertSays(ChildJvm.run(null, "ALL-UNNAMED", List.of("-cp", ChildJvm.CLASS_PATH, byName, probe, "Zel")), "Zel 20 ");
        assertSays(ChildJvm.run(null, module, List.of("-p", ChildJvm.PROVIDER_JAR, "--patch-module",
                module + "=" + ChildJvm.TEST_CLASSES, byName, "-m", module + "/" + probe, "Zel")), "Zel 20 ");
        assertEquals("", ChildJvm.run(Alone.class, List.of("-Xcheck:jni", "-cp", ChildJvm.TEST_CLASSES), LIBRARY.toString()));
        if (ChildJvm.CAN_DENY) {
            assertSays(ChildJvm.run(null, null, List.of("-cp", ChildJvm.CLASS_PATH, Probe.class.getName())),
                    "start Java with --enable-native-access=ALL-UNNAMED");
        }
        // The tool's jar says in its manifest that it loads native code, so it is not warned of or denied: java.base is any other module.
        String said = ChildJvm.run(null, "java.base", List.of("-jar", System.getProperty("zel.tool.jar"), "info"));
        assertTrue(said.contains("java                    " + Runtime.version().feature()) && !said.contains("WARNING"), said);
    }
}
