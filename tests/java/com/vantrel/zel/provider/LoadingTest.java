package com.vantrel.zel.provider;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.vantrel.zel.provider.internal.NativeLibrary;
import com.vantrel.zel.provider.internal.Version;
import java.io.File;
import java.io.IOException;
import java.net.URL;
import java.net.URLClassLoader;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.security.GeneralSecurityException;
import java.security.MessageDigest;
import java.security.Provider;
import java.security.ProviderException;
import java.security.Security;
import java.util.ArrayList;
import java.util.Collections;
import java.util.List;
import java.util.concurrent.Callable;
import java.util.concurrent.ExecutorService;
import java.util.concurrent.Executors;
import java.util.concurrent.Future;
import java.util.concurrent.locks.LockSupport;
import java.util.zip.ZipEntry;
import java.util.zip.ZipFile;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.condition.DisabledOnOs;
import org.junit.jupiter.api.condition.EnabledOnOs;
import org.junit.jupiter.api.condition.OS;
import org.junit.jupiter.api.io.TempDir;

/** How a virtual machine finds the native library and the provider. */
class LoadingTest {
    private static final Path LIBRARY = Path.of(System.getProperty("zel.library"));
    private static final int ELF_MACHINE = 18; // offset in the ELF header
    private static final byte ELF_MACHINE_AARCH64 = (byte) 183;

    @TempDir Path folder;
    private Path temporary;
    private Path libraryPath;

    /** Run in a child: prints which provider answers, the size of a digest and whence the library, or the provider's complaint. */
    public static final class Probe {
        public static void main(String[] args) throws Exception {
            try {
                Security.insertProviderAt(new ZelSecurityProvider(), 1);
                MessageDigest digest = MessageDigest.getInstance("SHA-1");
                digest.update((byte) 'a');
                System.out.println(digest.getProvider().getName() + " " + digest.digest().length + " "
                        + NativeLibrary.origin());
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
        private static final int LOADERS = 40;

        public static void main(String[] args) throws Exception {
            URL[] jar = {new File(args[0]).toURI().toURL()};
            Callable<Object> load = () -> {
                try (URLClassLoader loader = new URLClassLoader(jar, null)) {
                    return loader.loadClass(ZelSecurityProvider.class.getName()).getConstructor().newInstance();
                }
            };
            ExecutorService threads = Executors.newFixedThreadPool(LOADERS);
            for (Future<Object> provider : threads.invokeAll(Collections.nCopies(LOADERS, load))) {
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
            assertThrows(GeneralSecurityException.class, () -> MessageDigest.getInstance("SHA-1", zel));
            for (Thread thread : threads) {
                LockSupport.unpark(thread);
                thread.join();
            }
            System.out.println(MessageDigest.getInstance("SHA-1", zel).digest().length);
        }
    }

    @BeforeEach
    void folders() throws IOException {
        temporary = Files.createDirectory(folder.resolve("tmp"));
        libraryPath = Files.createDirectory(folder.resolve("path"));
    }

    private String probe(String classPath, Path temporaryFolder) throws Exception {
        return ChildJvm.outputOf(Probe.class, List.of("-cp", classPath + File.pathSeparator + ChildJvm.testClasses(),
                "-Djava.io.tmpdir=" + temporaryFolder, "-Djava.library.path=" + libraryPath)).strip();
    }

    /** Whether the library was loaded, leaving nothing behind. */
    private void assertLoads(String classPath, String origin) throws Exception {
        assertEquals("Zel 20 " + origin, probe(classPath, temporary));
        assertEquals(0, temporary.toFile().list().length);
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
    @DisabledOnOs(value = OS.WINDOWS, disabledReason = "cannot delete a library that is loaded")
    void fromTheJarOrTheLibraryPath() throws Exception {
        String inJar = "jar:" + new File(ChildJvm.providerJar()).toURI() + "!/native/linux-x86_64/libzelspi.so";
        assertLoads(ChildJvm.providerJar(), inJar);
        Path installed = Files.copy(LIBRARY, libraryPath.resolve(LIBRARY.getFileName()));
        String classes = classesOnly();
        assertLoads(classes, installed.toString());
        assertLoads(ChildJvm.providerJar(), installed.toString());
        // Of another version: what cannot be read as one stands for it.
        String content = Files.readString(installed, StandardCharsets.ISO_8859_1);
        Files.writeString(installed, content.replace("zelspi version " + Version.TEXT, "zelspi version 0.0.0"),
                StandardCharsets.ISO_8859_1);
        assertLoads(ChildJvm.providerJar(), inJar);
        String said = probe(classes, temporary);
        assertTrue(said.endsWith("in the provider's jar; " + installed + " is of version 0.0.0, the provider (file:"
                + classes + "/com/vantrel/zel/provider/internal/NativeLibrary.class) of version " + Version.TEXT), said);
    }

    @Test
    @DisabledOnOs(value = OS.WINDOWS, disabledReason = "cannot delete a library that is loaded")
    void byManyClassLoadersAtOnce() throws Exception {
        for (Path path : List.of(folder, LIBRARY.getParent())) { // without a library and with one that only one can load
            assertEquals(("Zel version " + Version.TEXT + "\n").repeat(ManyLoaders.LOADERS), ChildJvm.outputOf(ManyLoaders.class,
                    List.of("-Djava.io.tmpdir=" + temporary, "-Djava.library.path=" + path), ChildJvm.providerJar()));
        }
        assertEquals(0, temporary.toFile().list().length);
    }

    /** Java's own threads are made with stacks of 256 MiB in 12 GB of addresses: there is room for some thirty. */
    @Test
    @EnabledOnOs(OS.LINUX)
    void aShortageOfThreadsPasses() throws Exception {
        List<String> options = new ArrayList<>(ChildJvm.nativeAccess(Runtime.version().feature(), "ALL-UNNAMED"));
        options.addAll(List.of("-Xmx64m", "-XX:+UseSerialGC", "-Xlog:disable", "-XX:ThreadStackSize=262144", "-cp",
                System.getProperty("java.class.path"), ShortOfThreads.class.getName()));
        ChildJvm child = ChildJvm.runLimited("-v 12000000", options);
        assertEquals("20\n", child.out, child.err);
    }

    /** Programs that have the library need not have the provider's classes. */
    @Test
    void theLibraryLoadsWithoutTheProvidersClasses() throws Exception {
        assertEquals("loaded\n", ChildJvm.outputOf(BareLoad.class,
                List.of("-Xcheck:jni", "-cp", ChildJvm.testClasses()), LIBRARY.toString()));
    }

    @Test
    @DisabledOnOs(value = OS.WINDOWS, disabledReason = "the library is no ELF file")
    void theLibraryPathIsPreferredEvenWhenItsLibraryIsForAnotherMachine() throws Exception {
        byte[] library = Files.readAllBytes(LIBRARY);
        library[ELF_MACHINE] = ELF_MACHINE_AARCH64;
        Path foreign = Files.write(libraryPath.resolve(LIBRARY.getFileName()), library);
        String said = probe(ChildJvm.providerJar(), temporary);
        assertTrue(said.startsWith("cannot load the native library " + foreign + " on linux-"), said);
    }

    @Test
    @DisabledOnOs(value = OS.WINDOWS, disabledReason = "the names are those of Linux")
    void whatIsMissingIsNamed() throws Exception {
        String said = probe(classesOnly(), temporary);
        assertTrue(said.startsWith("no native library for linux-"), said);
        assertTrue(said.contains("libzelspi.so in java.library.path (" + libraryPath + ")"), said);
        assertTrue(said.contains("/libzelspi.so in the provider's jar"), said);

        Path missing = temporary.resolve("missing");
        said = probe(ChildJvm.providerJar(), missing);
        assertTrue(said.startsWith("cannot unpack /native/linux-"), said);
        assertTrue(said.contains("into " + missing), said);

        // No file can be larger than 100 KiB, which stands in for a full disk.
        said = ChildJvm.runLimited("-f 200", List.of("-cp", ChildJvm.providerJar() + File.pathSeparator
                + ChildJvm.testClasses(), "-Djava.io.tmpdir=" + temporary, Probe.class.getName())).out;
        assertTrue(said.contains("into " + temporary) && said.endsWith("File too large\n"), said);
        assertEquals(0, temporary.toFile().list().length);
    }
}
