package com.vantrel.zel.provider.internal;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertDoesNotThrow;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNotEquals;
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
import org.junit.jupiter.api.function.Executable;
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
    void isItsOwnersAloneAndThenGone(@TempDir Path temporary) throws Exception {
        byte[] library = {1, 2};
        try (UnpackedLibrary first = of(new ByteArrayInputStream(library), temporary);
                UnpackedLibrary second = of(new ByteArrayInputStream(library), temporary)) {
            assertEquals("rwx------",
                    PosixFilePermissions.toString(Files.getPosixFilePermissions(first.file().getParent())));
            assertArrayEquals(library, Files.readAllBytes(first.file()));
            assertNotEquals(first.file(), second.file());
        }
        InputStream broken = InputStream.nullInputStream();
        broken.close(); // reading from it throws now
        assertThrows(IOException.class, () -> of(broken, temporary).close());
        assertEquals(0, temporary.toFile().list().length);
    }

    @Test
    @DisabledOnOs(OS.WINDOWS)
    void isNotWhereOtherUsersCouldReplaceIt(@TempDir Path temporary) throws Exception {
        Path below = Files.createDirectory(temporary.resolve("below"));
        Path link = Files.createSymbolicLink(temporary.resolve("link"), below);
        for (int mode : new int[] {0757, 01757, 0775}) {
            Files.setAttribute(temporary, "unix:mode", mode);
            for (Path folder : List.of(temporary, below, link)) {
                Executable unpacking = () -> of(InputStream.nullInputStream(), folder).close();
                if (mode == 0757) {
                    String said = assertThrows(IOException.class, unpacking).getMessage();
                    assertTrue(said.startsWith(temporary.toRealPath() + ": other users"), said);
                } else {
                    assertDoesNotThrow(unpacking);
                }
            }
        }
    }

    /** However many folders have such a name, a start looks at some of them only. */
    @Test
    void sweepsSomeOfMany(@TempDir Path temporary) throws Exception {
        for (int i = 0; i < 300; ++i) {
            Files.setLastModifiedTime(Files.createDirectory(temporary.resolve("zelspi-" + i)), FileTime.fromMillis(0));
        }
        of(InputStream.nullInputStream(), temporary).close();
        int left = temporary.toFile().list().length;
        assertTrue(left >= 100 && left < 150, left + " folders"); // the one in use is looked at, too
    }
}
