package com.vantrel.zel.provider.internal;

import static org.junit.jupiter.api.Assertions.*;

import java.io.*;
import java.nio.file.*;
import java.nio.file.attribute.*;
import java.util.List;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.condition.*;
import org.junit.jupiter.api.io.TempDir;

/** The private copy of the library, while it is there. */
@DisabledOnOs(OS.WINDOWS) // which has other permissions, and where symbolic links want a privilege
class UnpackedLibraryTest {
    private static UnpackedLibrary unpacked() throws IOException {
        return UnpackedLibrary.of(InputStream.nullInputStream(), "lib");
    }

    /** It is its owner's alone, and made where nobody else could replace it. Old ones go, but for somebody else's; of very many, some. */
    @Test
    void isSafeAndSweptByALaterStart(@TempDir Path parent, @TempDir Path elsewhere) throws Exception {
        Path folder = Files.createDirectory(parent.resolve("temporary"));
        Path link = Files.createSymbolicLink(parent.resolve("link"), folder);
        Files.createFile(elsewhere.resolve("lib"));
        Files.setLastModifiedTime(elsewhere, FileTime.fromMillis(0));
        List<Path> kept = List.of(Files.createDirectory(folder.resolve("zelspi-fresh")),
                Files.createSymbolicLink(folder.resolve("zelspi-link"), elsewhere).resolve("lib"));
        String systemTemporary = System.setProperty("java.io.tmpdir", link.toString());
        try {
            Files.setAttribute(parent, "unix:mode", 0757);
            String said = assertThrows(IOException.class, () -> unpacked()).getMessage();
            assertTrue(said.startsWith(parent.toRealPath() + ": other users"), said);
            for (int count : new int[] {2, 300}) {
                Files.setAttribute(parent, "unix:mode", count == 2 ? 01757 : 0775);
                for (int i = 0; i < count; ++i) {
                    Path old = Files.createDirectory(folder.resolve("zelspi-" + i));
                    Files.createFile(old.resolve("lib"));
                    Files.setLastModifiedTime(old, FileTime.fromMillis(0));
                }
                try (UnpackedLibrary unpacked = unpacked()) {
                    assertEquals("rwx------", PosixFilePermissions.toString(Files.getPosixFilePermissions(unpacked.file().getParent())));
                }
                int left = folder.toFile().list().length - kept.size();
                assertTrue(count == 2 ? left == 0 : left >= 100 && left < 150, left + " of " + count);
            }
            assertTrue(kept.stream().allMatch(Files::exists));
        } finally {
            System.setProperty("java.io.tmpdir", systemTemporary);
        }
    }
}
