package com.vantrel.zel.provider;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertTrue;

import java.io.File;
import java.io.IOException;
import java.lang.reflect.InvocationTargetException;
import java.net.URL;
import java.net.URLClassLoader;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.attribute.FileTime;
import java.security.MessageDigest;
import java.security.Provider;
import java.security.ProviderException;
import java.security.Security;
import java.time.Duration;
import java.time.Instant;
import java.util.List;
import java.util.stream.Stream;
import java.util.zip.ZipEntry;
import java.util.zip.ZipFile;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.condition.DisabledOnOs;
import org.junit.jupiter.api.condition.OS;
import org.junit.jupiter.api.io.TempDir;

/** How a virtual machine finds the native library and the provider. */
class LoadingTest {
    private static final Path LIBRARY = Path.of(System.getProperty("zel.library"));
    private static final String NAME = LIBRARY.getFileName().toString();
    private static final boolean IS_WINDOWS = OS.WINDOWS.isCurrentOs();

    @TempDir Path folder;
    private Path temporary;
    private Path libraryPath;

    /** Run in a child: prints which provider answers and the size of a digest, or what the provider complains of. */
    public static final class Probe {
        public static void main(String[] args) throws Exception {
            try {
                Security.insertProviderAt(new ZelSecurityProvider(), 1);
                MessageDigest digest = MessageDigest.getInstance("SHA-1");
                digest.update((byte) 'a');
                System.out.println(digest.getProvider().getName() + " " + digest.digest().length);
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

    /** Run in a child: prints for each of two class loaders the size of a digest, or what the provider complains of. */
    public static final class TwoLoaders {
        public static void main(String[] args) throws Exception {
            for (int i = 0; i < 2; ++i) {
                URL[] jar = {Path.of(args[0]).toUri().toURL()};
                ClassLoader loader = new URLClassLoader(jar, ClassLoader.getPlatformClassLoader());
                try {
                    Object zel = loader.loadClass("com.vantrel.zel.provider.ZelSecurityProvider").getConstructor().newInstance();
                    System.out.println(MessageDigest.getInstance("SHA-1", (Provider) zel).digest().length);
                } catch (InvocationTargetException e) {
                    System.out.println(e.getCause().getMessage());
                }
            }
        }
    }

    @BeforeEach
    void folders() throws IOException {
        temporary = Files.createDirectory(folder.resolve("my tmp\u00e4"));
        libraryPath = Files.createDirectory(folder.resolve("my p\u00e4th"));
    }

    private String probe(String classPath, Path temporaryFolder) throws Exception {
        return ChildJvm.outputOf(Probe.class, options(classPath, temporaryFolder)).strip();
    }

    private List<String> options(String classPath, Path temporaryFolder) {
        return List.of("-cp", classPath + File.pathSeparator + ChildJvm.testClasses(), "-Djava.io.tmpdir=" + temporaryFolder,
                "-Djava.library.path=" + libraryPath);
    }

    private void assertLoads(String classPath, int foldersLeft) throws Exception {
        assertEquals("Zel 20", probe(classPath, temporary));
        assertEquals(foldersLeft, temporary.toFile().list().length);
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
    void fromTheLibraryPathOrTheJar() throws Exception {
        assertLoads(ChildJvm.providerJar(), IS_WINDOWS ? 1 : 0); // Windows cannot delete a library that is loaded
        for (File left : temporary.toFile().listFiles()) {
            Files.setLastModifiedTime(left.toPath(), FileTime.from(Instant.now().minus(Duration.ofDays(2))));
        }
        assertLoads(ChildJvm.providerJar(), IS_WINDOWS ? 1 : 0); // a later start sweeps the former's
        Files.copy(LIBRARY, libraryPath.resolve(NAME));
        assertLoads(classesOnly(), IS_WINDOWS ? 1 : 0);
    }

    @Test
    void inTwoClassLoaders() throws Exception {
        List<String> options = options("", temporary);
        assertEquals("20\n20\n", ChildJvm.outputOf(TwoLoaders.class, options, ChildJvm.providerJar()));
        Path installed = Files.copy(LIBRARY, libraryPath.resolve(NAME));
        String said = ChildJvm.outputOf(TwoLoaders.class, options, ChildJvm.providerJar());
        assertTrue(said.startsWith("20\ncannot load the native library " + installed + " on "), said);
        assertTrue(said.contains("already loaded in another classloader"), said);
    }

    /** Programs that have the library need not have the provider's classes. */
    @Test
    void theLibraryLoadsWithoutTheProvidersClasses() throws Exception {
        assertEquals("loaded\n", ChildJvm.outputOf(BareLoad.class,
                List.of("-Xcheck:jni", "-cp", ChildJvm.testClasses()), LIBRARY.toString()));
    }

    @Test
    @DisabledOnOs(value = OS.WINDOWS, disabledReason = "the build is on Linux")
    void theJarCarriesTheLibraryOfEachPlatformBuilt() throws Exception {
        Path windows = LIBRARY.resolveSibling("../windows/zelspi.dll");
        try (ZipFile jar = new ZipFile(ChildJvm.providerJar())) {
            assertArrayEquals(Files.readAllBytes(LIBRARY), inJar(jar, "native/linux-x86_64/libzelspi.so"));
            assertArrayEquals(Files.exists(windows) ? Files.readAllBytes(windows) : null,
                    inJar(jar, "native/windows-x86_64/zelspi.dll"));
        }
    }

    private static byte[] inJar(ZipFile jar, String name) throws IOException {
        ZipEntry entry = jar.getEntry(name);
        return entry == null ? null : jar.getInputStream(entry).readAllBytes();
    }

    @Test
    void theLibraryPathIsPreferredEvenWhenItsLibraryCannotBeLoaded() throws Exception {
        Path foreign = Files.writeString(libraryPath.resolve(NAME), "no library");
        String said = ChildJvm.run(Probe.class, options(ChildJvm.providerJar(), temporary)).out; // the VM itself may warn of it
        assertTrue(said.startsWith("cannot load the native library " + foreign + " on "), said);
    }

    @Test
    void whatIsMissingIsNamed() throws Exception {
        String said = probe(classesOnly(), temporary);
        assertTrue(said.startsWith("no native library for "), said);
        assertTrue(said.contains(NAME + " in java.library.path (" + libraryPath + ")"), said);
        assertTrue(said.contains("/" + NAME + " in the provider's jar"), said);

        Path missing = temporary.resolve("missing");
        said = ChildJvm.run(Probe.class, options(ChildJvm.providerJar(), missing)).out; // the VM itself may warn of the folder
        assertTrue(said.startsWith("cannot unpack /native/"), said);
        assertTrue(said.contains("into " + missing), said);
    }

    @Test
    @DisabledOnOs(value = OS.WINDOWS, disabledReason = "has no limit on the size of files")
    void withoutRoomNothingIsLeft() throws Exception {
        String said = ChildJvm.runWithoutRoom(List.of("-cp", ChildJvm.providerJar() + File.pathSeparator
                + ChildJvm.testClasses(), "-Djava.io.tmpdir=" + temporary, Probe.class.getName())).out;
        assertTrue(said.contains("into " + temporary) && said.endsWith("File too large\n"), said);
        assertEquals(0, temporary.toFile().list().length);
    }

    @Test
    void staleFoldersAreSweptAndFreshOnesAreNot() throws Exception {
        Path stale = Files.createDirectory(temporary.resolve("zelspi-1-a-0"));
        Files.copy(LIBRARY, stale.resolve(NAME));
        Path fresh = Files.createDirectory(temporary.resolve("zelspi-2-b-0"));
        Path foreign = Files.createDirectory(temporary.resolve("other"));
        Path installed = Files.createDirectory(folder.resolve("installed"));
        Path library = Files.copy(LIBRARY, installed.resolve(NAME));
        // On Windows symbolic links want a privilege.
        Path link = IS_WINDOWS ? fresh : Files.createSymbolicLink(temporary.resolve("zelspi-3-c-0"), installed);
        for (Path old : List.of(stale, foreign, installed)) {
            Files.setLastModifiedTime(old, FileTime.from(Instant.now().minus(Duration.ofDays(2))));
        }
        assertEquals("Zel 20", probe(ChildJvm.providerJar(), temporary));
        assertFalse(Files.exists(stale));
        assertTrue(Stream.of(fresh, foreign, link, library).allMatch(Files::exists));
    }
}
