package com.vantrel.zel.provider.internal;

import static org.junit.jupiter.api.Assertions.*;

import java.io.*;
import java.nio.file.*;
import java.nio.file.attribute.*;
import java.util.List;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.condition.DisabledOnOs;
import org.junit.jupiter.api.condition.OS;
import org.junit.jupiter.api.io.TempDir;

/** The private copy of the library, while it is there. */
@DisabledOnOs(OS.WINDOWS) // which has other permissions, and where symbolic links want a privilege
class UnpackedLibraryTest {
    private static final byte[] LIBRARY = {1, 2};

    @TempDir Path temporary;

    private static UnpackedLibrary unpackedIn(Path folder) throws IOException {
        String systemTemporary = System.setProperty("java.io.tmpdir", folder.toString());
        try {
            return UnpackedLibrary.of(new ByteArrayInputStream(LIBRARY), "lib");
        } finally {
            System.setProperty("java.io.tmpdir", systemTemporary);
        }
    }

    @Test
    void isItsOwnersAloneAndWhereNobodyElseCouldReplaceIt() throws Exception {
        try (UnpackedLibrary first = unpackedIn(temporary)) {
            assertEquals("rwx------", PosixFilePermissions.toString(Files.getPosixFilePermissions(first.file().getParent())));
            assertArrayEquals(LIBRARY, Files.readAllBytes(first.file()));
        }
        Path below = Files.createDirectory(temporary.resolve("below"));
        Path link = Files.createSymbolicLink(temporary.resolve("link"), below);
        for (Path folder : List.of(temporary, below, link)) {
            Files.setAttribute(temporary, "unix:mode", 0757);
            String said = assertThrows(IOException.class, () -> unpackedIn(folder)).getMessage();
            assertTrue(said.startsWith(temporary.toRealPath() + ": other users"), said);
            for (int mode : new int[] {01757, 0775}) {
                Files.setAttribute(temporary, "unix:mode", mode);
                unpackedIn(folder).close();
            }
        }
    }

    /** Old folders go, but for what another start has just made or somebody else has; of very many, some. */
    @Test
    void isSweptByALaterStart(@TempDir Path elsewhere) throws Exception {
        Files.write(elsewhere.resolve("lib"), LIBRARY);
        Files.setLastModifiedTime(elsewhere, FileTime.fromMillis(0));
        Path link = Files.createSymbolicLink(temporary.resolve("zelspi-link"), elsewhere);
        List<Path> kept = List.of(link, link.resolve("lib"), Files.createDirectory(temporary.resolve("zelspi-fresh")),
                Files.createDirectory(temporary.resolve("other")));
        for (int count : new int[] {2, 300}) {
            for (int i = 0; i < count; ++i) {
                Path old = Files.createDirectory(temporary.resolve("zelspi-" + i));
                Files.write(old.resolve("lib"), LIBRARY);
                Files.setLastModifiedTime(old, FileTime.fromMillis(0));
            }
            unpackedIn(temporary).close();
            assertTrue(kept.stream().allMatch(Files::exists));
            int left = temporary.toFile().list().length - 3;
            assertTrue(count == 2 ? left == 0 : left >= 100 && left < 150, left + " of " + count);
        }
    }
}
