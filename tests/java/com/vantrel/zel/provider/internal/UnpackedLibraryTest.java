package com.vantrel.zel.provider.internal;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import java.io.ByteArrayInputStream;
import java.io.IOException;
import java.io.InputStream;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.attribute.PosixFilePermissions;
import java.util.stream.Stream;
import org.junit.jupiter.api.AfterEach;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

/** The private copy of the library, while it is there. */
class UnpackedLibraryTest {
    private static final String TEMPORARY = "java.io.tmpdir";

    @TempDir Path temporary;
    private String systemTemporary;

    @BeforeEach
    void useAFolderOfOurOwn() {
        systemTemporary = System.setProperty(TEMPORARY, temporary.toString());
    }

    @AfterEach
    void restore() {
        System.setProperty(TEMPORARY, systemTemporary);
    }

    @Test
    void isItsOwnersAloneAndThenGone() throws Exception {
        Path folder;
        try (UnpackedLibrary unpacked = UnpackedLibrary.of(new ByteArrayInputStream(new byte[] {1, 2}), "lib")) {
            folder = unpacked.file().getParent();
            assertEquals("rwx------", PosixFilePermissions.toString(Files.getPosixFilePermissions(folder)));
            assertArrayEquals(new byte[] {1, 2}, Files.readAllBytes(unpacked.file()));
            try (UnpackedLibrary second = UnpackedLibrary.of(new ByteArrayInputStream(new byte[0]), "lib")) {
                assertTrue(Files.exists(second.file()));
                assertFalse(second.file().equals(unpacked.file()));
            }
        }
        assertFalse(Files.exists(folder));
    }

    @Test
    void aBrokenSourceLeavesNothing() throws Exception {
        InputStream broken = new InputStream() {
            @Override
            public int read() throws IOException {
                throw new IOException("broken");
            }
        };
        assertThrows(IOException.class, () -> UnpackedLibrary.of(broken, "lib").close());
        try (Stream<Path> left = Files.list(temporary)) {
            assertEquals(0, left.count());
        }
    }
}
