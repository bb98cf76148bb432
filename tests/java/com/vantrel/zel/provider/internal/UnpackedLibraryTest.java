package com.vantrel.zel.provider.internal;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import java.io.ByteArrayInputStream;
import java.io.IOException;
import java.io.InputStream;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.attribute.FileTime;
import java.nio.file.attribute.PosixFilePermissions;
import java.util.List;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.condition.DisabledOnOs;
import org.junit.jupiter.api.condition.OS;
import org.junit.jupiter.api.io.TempDir;

/** The private copy of the library, while it is there. */
class UnpackedLibraryTest {
    private static UnpackedLibrary of(InputStream source, Path temporary) throws IOException {
        String systemTemporary = System.setProperty("java.io.tmpdir", temporary.toString());
        try {
            return UnpackedLibrary.of(source, "lib");
        } finally {
            System.setProperty("java.io.tmpdir", systemTemporary);
        }
    }

    @Test
    @DisabledOnOs(OS.WINDOWS) // has other permissions
    void isItsOwnersAlone(@TempDir Path temporary) throws Exception {
        byte[] library = {1, 2};
        try (UnpackedLibrary first = of(new ByteArrayInputStream(library), temporary)) {
            assertEquals("rwx------",
                    PosixFilePermissions.toString(Files.getPosixFilePermissions(first.file().getParent())));
            assertArrayEquals(library, Files.readAllBytes(first.file()));
        }
    }

    @Test
    @DisabledOnOs(OS.WINDOWS)
    void isNotWhereOtherUsersCouldReplaceIt(@TempDir Path temporary) throws Exception {
        Path below = Files.createDirectory(temporary.resolve("below"));
        Path link = Files.createSymbolicLink(temporary.resolve("link"), below);
        for (Path folder : List.of(temporary, below, link)) {
            Files.setAttribute(temporary, "unix:mode", 0757);
            String said = assertThrows(IOException.class, () -> of(InputStream.nullInputStream(), folder)).getMessage();
            assertTrue(said.startsWith(temporary.toRealPath() + ": other users"), said);
            for (int mode : new int[] {01757, 0775}) {
                Files.setAttribute(temporary, "unix:mode", mode);
                of(InputStream.nullInputStream(), folder).close();
            }
        }
    }

    /** Old folders go, but for what another start has just made or somebody else has; of very many, some. */
    @Test
    @DisabledOnOs(OS.WINDOWS) // symbolic links want a privilege
    void isSweptByALaterStart(@TempDir Path temporary, @TempDir Path elsewhere) throws Exception {
        Files.write(elsewhere.resolve("lib"), new byte[1]);
        Files.setLastModifiedTime(elsewhere, FileTime.fromMillis(0));
        Path link = Files.createSymbolicLink(temporary.resolve("zelspi-link"), elsewhere);
        Path fresh = Files.createDirectory(temporary.resolve("zelspi-fresh"));
        List<Path> kept = List.of(link, link.resolve("lib"), fresh, Files.createDirectory(temporary.resolve("other")));
        for (int count : new int[] {2, 300}) {
            for (int i = 0; i < count; ++i) {
                Path old = Files.createDirectory(temporary.resolve("zelspi-" + i));
                Files.write(old.resolve("lib"), new byte[1]);
                Files.setLastModifiedTime(old, FileTime.fromMillis(0));
            }
            of(InputStream.nullInputStream(), temporary).close();
            assertTrue(kept.stream().allMatch(Files::exists));
            int left = temporary.toFile().list().length - 3;
            assertTrue(count == 2 ? left == 0 : left >= 100 && left < 150, left + " of " + count);
        }
    }
}
