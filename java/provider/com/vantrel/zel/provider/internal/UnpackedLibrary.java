package com.vantrel.zel.provider.internal;

import java.io.IOException;
import java.io.InputStream;
import java.nio.file.DirectoryIteratorException;
import java.nio.file.DirectoryStream;
import java.nio.file.FileAlreadyExistsException;
import java.nio.file.FileSystemException;
import java.nio.file.Files;
import java.nio.file.LinkOption;
import java.nio.file.Path;
import java.nio.file.attribute.FileAttribute;
import java.nio.file.attribute.FileTime;
import java.nio.file.attribute.PosixFilePermissions;
import java.nio.file.attribute.UserPrincipal;
import java.time.Duration;
import java.time.Instant;
import java.util.Iterator;

/**
 * A library in a private temporary folder, which is deleted when this is closed. Some systems do not delete a library that is
 * loaded: its folder is then swept by a later start.
 *
 * <p>The JDK's own helpers for temporary files draw their names from a SecureRandom, which may be this very provider. So
 * the name is made here: it may be guessed, but a folder that exists already is never used, and only its owner can enter.
 * Where other users could put another folder in its place nothing is unpacked.
 */
final class UnpackedLibrary implements AutoCloseable {
    private static final String PREFIX = "zelspi-";
    private static final Duration STALE = Duration.ofDays(1);
    private static final int ATTEMPTS = 1000;

    /** The most folders that a sweep looks at: other users may fill a shared folder with such names to slow every start. */
    private static final int MAX_FOLDERS_SWEPT = 200;

    private static final String MODE = "unix:mode";
    private static final int STICKY = 01000;
    private static final int WRITABLE_BY_OTHERS = 00002;

    private final Path file;

    private UnpackedLibrary(Path file) {
        this.file = file;
    }

    /** Copies the library into a new private folder, under the given file name. */
    static UnpackedLibrary of(InputStream library, String fileName) throws IOException {
        Path temporary = safe(Path.of(System.getProperty("java.io.tmpdir", "")).toAbsolutePath());
        Path folder = newFolder(temporary);
        sweep(temporary, fileName, Files.getOwner(folder));
        UnpackedLibrary unpacked = new UnpackedLibrary(folder.resolve(fileName));
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

    /**
     * The folder's real path, which leads through no folder whose entries any user can rename. A folder that a group may write
     * to is its owner's choice. Windows has no such bits: its temporary folder is each user's own, and in the one of the
     * system's services nobody but the owner can rename.
     *
     * @throws FileSystemException if there is such a folder on the way
     */
    private static Path safe(Path temporary) throws IOException {
        if (!temporary.getFileSystem().supportedFileAttributeViews().contains("unix")) {
            return temporary;
        }
        Path real = temporary.toRealPath();
        for (Path folder = real; folder != null; folder = folder.getParent()) {
            if (((int) Files.getAttribute(folder, MODE) & (WRITABLE_BY_OTHERS | STICKY)) == WRITABLE_BY_OTHERS) {
                throw new FileSystemException(folder.toString(), null, "other users could replace the library there; name"
                        + " another folder by -Djava.io.tmpdir, or put the library into a folder of java.library.path");
            }
        }
        return real;
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
        // Elsewhere the new folder has the permissions that the temporary folder hands down.
        return posix
                ? new FileAttribute<?>[] {
                    PosixFilePermissions.asFileAttribute(PosixFilePermissions.fromString("rwx------"))}
                : new FileAttribute<?>[0];
    }

    /** Deletes the folders that earlier starts could not. A library still in use elsewhere cannot be deleted and stays. */
    private static void sweep(Path temporary, String fileName, UserPrincipal owner) {
        FileTime limit = FileTime.from(Instant.now().minus(STALE));
        try (DirectoryStream<Path> folders = Files.newDirectoryStream(temporary, PREFIX + "*")) {
            int remaining = MAX_FOLDERS_SWEPT;
            for (Iterator<Path> each = folders.iterator(); remaining > 0 && each.hasNext(); --remaining) {
                Path folder = each.next();
                if (isStale(folder, owner, limit)) {
                    deleteUnpacked(folder.resolve(fileName));
                }
            }
        } catch (IOException | DirectoryIteratorException e) {
            // A later start sweeps again.
            return;
        }
    }

    /** Whether it is an old folder of the same user: others may have put a folder or link of that name into a shared folder. */
    private static boolean isStale(Path folder, UserPrincipal owner, FileTime limit) {
        try {
            return Files.isDirectory(folder, LinkOption.NOFOLLOW_LINKS)
                    && Files.getOwner(folder, LinkOption.NOFOLLOW_LINKS).equals(owner)
                    && Files.getLastModifiedTime(folder, LinkOption.NOFOLLOW_LINKS).compareTo(limit) < 0;
        } catch (IOException e) {
            return false;
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
