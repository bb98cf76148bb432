package com.vantrel.zel.provider.internal;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNotEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;

import java.io.ByteArrayInputStream;
import java.io.IOException;
import java.io.InputStream;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.attribute.PosixFilePermissions;
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
}
