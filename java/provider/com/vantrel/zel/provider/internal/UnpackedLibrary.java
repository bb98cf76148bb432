package com.vantrel.zel.provider.internal;

import java.io.IOException;
import java.io.InputStream;
import java.nio.file.DirectoryStream;
import java.nio.file.FileAlreadyExistsException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.attribute.FileAttribute;
import java.nio.file.attribute.PosixFilePermissions;
import java.time.Duration;
import java.time.Instant;

/**
 * A library in a private temporary folder of its own, gone when closed. Some systems do not delete a library that is
 * loaded: its folder is then swept by a later start.
 *
 * <p>The JDK's own helpers for temporary files draw their names from a SecureRandom, which may be this very provider. So
 * the name is made here: it may be guessed, but a folder that exists already is never used, and only its owner can enter.
 */
final class UnpackedLibrary implements AutoCloseable {
    private static final String PREFIX = "zelspi-";
    private static final Duration STALE = Duration.ofDays(1);
    private static final int ATTEMPTS = 1000;

    private final Path file;

    private UnpackedLibrary(Path file) {
        this.file = file;
    }

    /** Copies the library into a new private folder, under the given file name. */
    static UnpackedLibrary of(InputStream library, String fileName) throws IOException {
        Path temporary = Path.of(System.getProperty("java.io.tmpdir")).toAbsolutePath();
        sweep(temporary, fileName);
        UnpackedLibrary unpacked = new UnpackedLibrary(newFolder(temporary).resolve(fileName));
        try {
            Files.copy(library, unpacked.file);
        } catch (IOException e) {
            unpacked.close();
            throw e;
        }
        return unpacked;
    }

    Path file() {
        return file;
    }

    @Override
    public void close() {
        deleteUnpacked(file);
    }

    private static Path newFolder(Path temporary) throws IOException {
        String name = PREFIX + ProcessHandle.current().pid() + "-" + Long.toHexString(System.nanoTime());
        for (int attempt = 0;; ++attempt) {
            try {
                return Files.createDirectory(temporary.resolve(name + "-" + attempt), ownerOnly(temporary));
            } catch (FileAlreadyExistsException e) {
                if (attempt == ATTEMPTS) {
                    throw e;
                }
            }
        }
    }

    private static FileAttribute<?>[] ownerOnly(Path folder) {
        boolean posix = folder.getFileSystem().supportedFileAttributeViews().contains("posix");
        // Elsewhere the temporary folder itself belongs to its user.
        return posix
                ? new FileAttribute<?>[] {
                    PosixFilePermissions.asFileAttribute(PosixFilePermissions.fromString("rwx------"))}
                : new FileAttribute<?>[0];
    }

    /** Deletes what earlier starts had to leave behind. A library still in use elsewhere cannot be deleted and stays. */
    private static void sweep(Path temporary, String fileName) {
        Instant limit = Instant.now().minus(STALE);
        try (DirectoryStream<Path> folders = Files.newDirectoryStream(temporary, PREFIX + "*")) {
            for (Path folder : folders) {
                if (Files.getLastModifiedTime(folder).toInstant().isBefore(limit)) {
                    deleteUnpacked(folder.resolve(fileName));
                }
            }
        } catch (IOException | RuntimeException e) {
            // Sweeping is a courtesy; whatever stands in its way is left for another start.
            return;
        }
    }

    private static void deleteUnpacked(Path file) {
        try {
            Files.deleteIfExists(file);
            Files.deleteIfExists(file.getParent());
        } catch (IOException e) {
            // Still loaded, or somebody else's: it stays until it can be swept.
            return;
        }
    }
}
