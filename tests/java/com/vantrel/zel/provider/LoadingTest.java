package com.vantrel.zel.provider;

import static org.junit.jupiter.api.Assertions.*;

import com.vantrel.zel.probe.ServiceProbe;
import com.vantrel.zel.provider.internal.*;
import com.vantrel.zel.provider.spi.ZelSecureRandomSpi;
import java.io.*;
import java.net.URL;
import java.net.URLClassLoader;
import java.nio.charset.StandardCharsets;
import java.nio.file.*;
import java.nio.file.attribute.FileTime;
import java.security.*;
import java.time.Duration;
import java.time.Instant;
import java.util.*;
import java.util.concurrent.*;
import java.util.concurrent.locks.LockSupport;
import java.util.zip.*;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.condition.*;
import org.junit.jupiter.api.io.TempDir;

/** How programs come by the provider, and the provider by the native library and its random numbers. */
class LoadingTest {
    private static final Path LIBRARY = Path.of(System.getProperty("zel.library"));
    private static final String NAME = LIBRARY.getFileName().toString();
    private static final boolean IS_WINDOWS = OS.WINDOWS.isCurrentOs();
    private static final String IN_JAR = "/native/" + (IS_WINDOWS ? "windows" : "linux")
            + (System.getProperty("os.arch").equals("aarch64") ? "-aarch64/" : "-x86_64/") + NAME;
    private static final int ELF_MACHINE = 18; // offset in the ELF header
    private static final int PE_HEADER = 0x3c; // says where in a DLL that header stands, 4 bytes before the machine
    private static final byte ANOTHER_MACHINE = (byte) 243;

    @TempDir Path folder;
    private Path temporary;
    private Path libraryPath;

    /** Run in a child: prints who answers, whence the library, and in the end whether there are random numbers; or the complaint. */
    public static final class Probe {
        public static void main(String[] args) throws Exception {
            try {
                Security.insertProviderAt(new ZelSecurityProvider(), 1);
                MessageDigest digest = MessageDigest.getInstance("SHA-1");
                System.out.println(digest.getProvider().getName() + " " + digest.digest().length + " " + NativeLibrary.origin());
                Runtime.getRuntime().addShutdownHook(new Thread(() -> System.out.println(NativeInfo.isRandomReady())));
            } catch (ProviderException e) {
                System.out.println(e.getMessage());
            }
        }
    }

    /** Run in a child that has no class of the provider's: loads the library alone. */
    public static final class BareLoad {
        public static void main(String[] args) {
            System.load(args[0]);
            System.out.println("loaded");
        }
    }

    /** Run in a child: many class loaders load the provider at once, each closing the jar behind itself. */
    public static final class ManyLoaders {
        public static void main(String[] args) throws Exception {
            int count = Integer.parseInt(args[1]);
            URL[] jar = {new File(args[0]).toURI().toURL()};
            Callable<Object> load = () -> {
                try (URLClassLoader loader = new URLClassLoader(jar, null)) {
                    return loader.loadClass(ZelSecurityProvider.class.getName()).getConstructor().newInstance();
                }
            };
            ExecutorService threads = Executors.newFixedThreadPool(count);
            for (Future<Object> provider : threads.invokeAll(Collections.nCopies(count, load))) {
                System.out.println(provider.get());
            }
            threads.shutdown();
        }
    }

    /** Run in a child that has room for few threads: asks for a digest while there are no more, and when there are. */
    public static final class ShortOfThreads {
        public static void main(String[] args) throws Exception {
            Provider zel = new ZelSecurityProvider();
            List<Thread> threads = new ArrayList<>();
            assertThrows(OutOfMemoryError.class, () -> {
                for (;;) {
                    Thread thread = new Thread(LockSupport::park);
                    thread.start();
                    threads.add(thread);
                }
            });
            MessageDigest digest = MessageDigest.getInstance("SHA-1", zel); // an engine wants a thread to watch over it
            assertThrows(OutOfMemoryError.class, () -> digest.update(new byte[5000]));
            for (Thread thread : threads) {
                LockSupport.unpark(thread);
                thread.join();
            }
            System.out.println(digest.digest(new byte[5000]).length);
        }
    }

    /** Run in a child: the start fails, then the first users, reading a stored generator, two more starts; and then all goes well. */
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
                Exception told = assertThrows(failure.getClass(), () -> RandomStart.withFailureOfStart(() -> {
                    throw failure;
                }));
                System.out.println(told.getMessage() + " " + Arrays.toString(told.getSuppressed()));
            }
            try (ObjectInputStream in = new ObjectInputStream(Files.newInputStream(Path.of(args[0])))) {
                System.out.println(in.readObject().getClass().getSimpleName());
            }
            for (int i = 0; i < 2; ++i) {
                System.out.println(assertThrows(ProviderException.class, () -> RandomStart.await(() -> {
                    throw new IllegalStateException("no entropy");
                }, 1, TimeUnit.MINUTES)).getCause().getMessage());
            }
            ZelSecurityProvider zel = new ZelSecurityProvider();
            System.out.println(zel.awaitRandom(0, TimeUnit.SECONDS) + " " + zel.awaitRandom(5, TimeUnit.MINUTES));
        }
    }

    @BeforeEach
    void folders() throws IOException {
        temporary = Files.createDirectory(folder.resolve("my tmp\u00e4"));
        libraryPath = Files.createDirectory(folder.resolve("my p\u00e4th"));
    }

    private ChildJvm probe(String classPath, Path temporaryFolder) throws Exception {
        return ChildJvm.run(Probe.class, List.of("-cp", classPath + File.pathSeparator + ChildJvm.testClasses(),
                "-Djava.io.tmpdir=" + temporaryFolder, "-Djava.library.path=" + libraryPath));
    }

    private static void assertSays(ChildJvm child, String... parts) {
        for (String part : parts) { // the VM itself may warn of the temporary folder on the other stream
            assertTrue(child.out.contains(part), child.out);
        }
    }

    /** The library is loaded, with no wait for random numbers at the end; on Windows a copy stays, which a start two days later sweeps. */
    private void assertLoads(String classPath, String origin) throws Exception {
        ChildJvm child = probe(classPath, temporary);
        assertTrue(("Zel 20 " + origin + "\nfalse\n").equalsIgnoreCase(child.out), child.out); // Java 11 escapes URLs in small letters
        assertEquals("", child.err);
        File[] left = temporary.toFile().listFiles();
        assertEquals(IS_WINDOWS ? 1 : 0, left.length);
        for (File copy : left) {
            Files.setLastModifiedTime(copy.toPath(), FileTime.from(Instant.now().minus(Duration.ofDays(2))));
        }
    }

    /** The provider's classes without the native libraries. */
    private String classesOnly() throws IOException {
        Path target = folder.resolve("classes");
        try (ZipFile jar = new ZipFile(ChildJvm.providerJar())) {
            for (ZipEntry entry : (Iterable<ZipEntry>) jar.stream().map(ZipEntry.class::cast)::iterator) {
                if (entry.getName().endsWith(".class")) {
                    Path file = target.resolve(entry.getName());
                    Files.createDirectories(file.getParent());
                    Files.copy(jar.getInputStream(entry), file);
                }
            }
        }
        return target.toString();
    }

    @Test
    void fromTheJarOrTheLibraryPath() throws Exception {
        String inJar = "jar:" + new File(ChildJvm.providerJar()).toURI().toASCIIString() + "!" + IN_JAR;
        assertLoads(ChildJvm.providerJar(), inJar);
        Path installed = Files.copy(LIBRARY, libraryPath.resolve(NAME));
        String classes = classesOnly();
        assertLoads(classes, installed.toString());
        assertLoads(ChildJvm.providerJar(), installed.toString());
        // Of another version: what cannot be read as one stands for it.
        String content = Files.readString(installed, StandardCharsets.ISO_8859_1);
        Files.writeString(installed, content.replace("zelspi version " + Version.TEXT, "zelspi version 0.0.0"),
                StandardCharsets.ISO_8859_1);
        assertLoads(ChildJvm.providerJar(), inJar);
        assertSays(probe(classes, temporary), "in the provider's jar; " + installed + " is of version 0.0.0, the provider ("
                + new File(classes).toURI() + "com/vantrel/zel/provider/internal/NativeLibrary.class) of version " + Version.TEXT + "\n");
    }

    @Test
    void byManyClassLoadersAtOnce() throws Exception {
        for (int count : new int[] {40, 3}) { // without a library, and with one that only one can load
            Path path = count == 40 ? folder : LIBRARY.getParent();
            assertEquals(("Zel version " + Version.TEXT + "\n").repeat(count), ChildJvm.outputOf(ManyLoaders.class, List.of(
                    "-Djava.io.tmpdir=" + temporary, "-Djava.library.path=" + path), ChildJvm.providerJar(), "" + count));
        }
        assertTrue(IS_WINDOWS || temporary.toFile().list().length == 0);
    }

    /** Java's own threads are made with stacks of 256 MiB in 12 GB of addresses: there is room for some thirty. */
    @Test
    @EnabledOnOs(value = OS.LINUX, disabledReason = "there is no such limit")
    void aShortageOfThreadsPasses() throws Exception {
        ChildJvm child = ChildJvm.runLimited("-v 12000000", ShortOfThreads.class, List.of("-Xmx64m", "-XX:+UseSerialGC",
                "-Xlog:disable", "-XX:ThreadStackSize=262144", "-cp", System.getProperty("java.class.path")));
        assertEquals("20\n", child.out, child.err);
    }

    /** Programs that have the library need not have the provider's classes. */
    @Test
    void theLibraryLoadsWithoutTheProvidersClasses() throws Exception {
        assertEquals("loaded\n", ChildJvm.outputOf(BareLoad.class,
                List.of("-Xcheck:jni", "-cp", ChildJvm.testClasses()), LIBRARY.toString()));
    }

    /** A library for another machine is told, not replaced by the jar's. */
    @Test
    void whatIsMissingOrUnfitIsNamed() throws Exception {
        byte[] library = Files.readAllBytes(LIBRARY);
        library[IS_WINDOWS ? Byte.toUnsignedInt(library[PE_HEADER]) + 4 : ELF_MACHINE] = ANOTHER_MACHINE;
        Path foreign = Files.write(libraryPath.resolve(NAME), library);
        assertSays(probe(ChildJvm.providerJar(), temporary), "cannot load the native library " + foreign + " on ");
        Files.delete(foreign);
        assertSays(probe(classesOnly(), temporary), "no native library for ", NAME + " in java.library.path (" + libraryPath + ")",
                IN_JAR + " in the provider's jar");
        Path missing = temporary.resolve("missing");
        assertSays(probe(ChildJvm.providerJar(), missing), "cannot unpack " + IN_JAR, "into " + missing);
    }

    /** No file can be larger than 100 KiB, which stands in for a full disk. */
    @Test
    @DisabledOnOs(value = OS.WINDOWS, disabledReason = "has no limit on the size of files")
    void withoutRoomNothingIsLeft() throws Exception {
        assertSays(ChildJvm.runLimited("-f 200", Probe.class, List.of("-Djava.io.tmpdir=" + temporary)),
                "into " + temporary, "File too large\n");
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
        List<String> tests = List.of("-cp", System.getProperty("java.class.path"));
        assertEquals(failures + "ZelSecureRandomSpi\nno entropy\nno entropy\nfalse true\n", ChildJvm.outputOf(FailingStart.class, tests, file));
        List<String> nowhere = new ArrayList<>(tests);
        nowhere.addAll(List.of("-Djava.io.tmpdir=/nonexistent", "-Djava.library.path="));
        ChildJvm without = ChildJvm.run(FailingStart.class, nowhere, file);
        assertTrue(without.out.equals(failures) && without.err.contains("cannot unpack"), without.err);
    }

    private static void assertServed(String by, String access, String... arguments) throws Exception {
        ChildJvm child = ChildJvm.run(access, List.of(arguments));
        assertEquals("", child.err);
        assertSays(child, by);
    }

    @Test
    void onTheClassPathAndOnTheModulePath() throws Exception {
        String jar = ChildJvm.providerJar();
        String classes = ChildJvm.testClasses();
        String probe = ServiceProbe.class.getName();
        String classPath = jar + File.pathSeparator + classes;
        String module = "com.vantrel.zel.provider";
        String byClass = "-Djava.security.properties=" + Files.writeString(folder.resolve("byClass"),
                "security.provider.1=com.vantrel.zel.provider.ZelSecurityProvider\n");
        String byName = "-Djava.security.properties=" + Files.writeString(folder.resolve("byName"),
                "security.provider.1=Zel\nsecurity.provider.2=SUN\n");
        if (ChildJvm.CAN_DENY) {
            String said = ChildJvm.run(null, List.of("-cp", classPath, byClass, probe, "registered")).err;
            assertTrue(said.contains("start Java with --enable-native-access=ALL-UNNAMED"), said);
        }
        assertServed("null 32\n", "ALL-UNNAMED", "-cp", classPath, probe, "loader");
        assertServed("null 32\n", "ALL-UNNAMED", "-cp", classPath, byName, probe, "registered");
        assertServed(module + " 32\n", module, "-p", jar, "-cp", classes, probe, "loader");
        assertServed(module + " 32\n", module, "-p", jar, "-cp", classes, byName, probe, "registered");
        // The tool's jar says in its manifest that it loads native code, so it is not warned of or denied: java.base is any other module.
        assertServed("java                    " + Runtime.version().feature(), "java.base", "-jar", System.getProperty("zel.tool.jar"), "info");
    }

    /** For each of our services, whatever name the JDK's own provider knows it by. */
    @Test
    void answersToEveryNameThatTheJdkKnows() throws Exception {
        Provider zel = new ZelSecurityProvider();
        int names = 0;
        for (String jdk : List.of("SUN", "SunRsaSign", "SunJCE")) {
            Provider provider = Security.getProvider(jdk);
            for (String entry : provider.stringPropertyNames()) {
                String[] alias = entry.replaceFirst("^Alg\\.Alias\\.", "").split("\\.", 2);
                Provider.Service ours = zel.getService(alias[0], provider.getProperty(entry));
                if (ours != null && entry.startsWith("Alg.Alias.")) {
                    assertSame(ours, zel.getService(alias[0], alias[1]), entry);
                    ++names;
                }
            }
        }
        assertTrue(names > 20, names + " names");
    }
}
