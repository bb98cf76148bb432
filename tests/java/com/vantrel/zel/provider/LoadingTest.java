package com.vantrel.zel.provider;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertTrue;

import java.io.File;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.attribute.FileTime;
import java.security.MessageDigest;
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
    private static final int ELF_MACHINE = 18; // offset in the ELF header
    private static final byte ELF_MACHINE_AARCH64 = (byte) 183;

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
    private void assertLoads(String classPath) throws Exception {
        assertEquals("Zel 20", probe(classPath, temporary));
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
        assertLoads(ChildJvm.providerJar());
        Files.copy(LIBRARY, libraryPath.resolve(LIBRARY.getFileName()));
        assertLoads(classesOnly());
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

        said = ChildJvm.runWithoutRoom(List.of("-cp", ChildJvm.providerJar() + File.pathSeparator
                + ChildJvm.testClasses(), "-Djava.io.tmpdir=" + temporary, Probe.class.getName())).out;
        assertTrue(said.contains("into " + temporary) && said.endsWith("File too large\n"), said);
        assertEquals(0, temporary.toFile().list().length);
    }

    @Test
    @DisabledOnOs(value = OS.WINDOWS, disabledReason = "symbolic links want a privilege")
    void staleFoldersAreSweptAndFreshOnesAreNot() throws Exception {
        Path stale = Files.createDirectory(temporary.resolve("zelspi-1-a-0"));
        Files.copy(LIBRARY, stale.resolve(LIBRARY.getFileName()));
        Path fresh = Files.createDirectory(temporary.resolve("zelspi-2-b-0"));
        Path foreign = Files.createDirectory(temporary.resolve("other"));
        Path installed = Files.createDirectory(folder.resolve("installed"));
        Path library = Files.copy(LIBRARY, installed.resolve(LIBRARY.getFileName()));
        Path link = Files.createSymbolicLink(temporary.resolve("zelspi-3-c-0"), installed);
        for (Path old : List.of(stale, foreign, installed)) {
            Files.setLastModifiedTime(old, FileTime.from(Instant.now().minus(Duration.ofDays(2))));
        }
        assertEquals("Zel 20", probe(ChildJvm.providerJar(), temporary));
        assertFalse(Files.exists(stale));
        assertTrue(Stream.of(fresh, foreign, link, library).allMatch(Files::exists));
    }
}
