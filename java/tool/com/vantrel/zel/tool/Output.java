package com.vantrel.zel.tool;

import java.io.IOException;
import java.io.OutputStream;
import java.nio.channels.Channels;
import java.nio.file.AccessDeniedException;
import java.nio.file.FileAlreadyExistsException;
import java.nio.file.FileSystemException;
import java.nio.file.Files;
import java.nio.file.NoSuchFileException;
import java.nio.file.Path;
import java.nio.file.StandardCopyOption;
import java.nio.file.StandardOpenOption;
import java.nio.file.attribute.FileAttribute;
import java.util.Set;

/**
 * A file that a command writes: under a temporary name in the same folder until it is complete; a file that exists is only
 * replaced where the caller says so. The name "-" is standard output; a device is written to directly.
 */
final class Output implements AutoCloseable {
    static final String NO_STANDARD_OUTPUT = "cannot write to standard output";

    private final String name;
    private final Path target;
    private final Path temporary;
    private final boolean mayOverwrite;
    private final OutputStream out;
    private final Thread cleanup;
    private boolean isComplete;

    /**
     * Opens a file for writing.
     *
     * @param ownerOnly whether only its owner may read it
     * @throws FileAlreadyExistsException if there is one of that name and mayOverwrite is false
     */
    Output(String name, boolean mayOverwrite, boolean ownerOnly) throws IOException {
        this.name = name;
        this.mayOverwrite = mayOverwrite;
        if (name.equals(Input.STANDARD)) {
            target = null;
            temporary = null;
            out = System.out;
        } else {
            Path file = Input.path(name);
            checkTarget(file, mayOverwrite);
            boolean isDevice = Files.exists(file) && !Files.isRegularFile(file);
            target = Files.isRegularFile(file) ? file.toRealPath() : file.toAbsolutePath();
            temporary = isDevice ? target : target.resolveSibling(temporaryName());
            out = isDevice ? Files.newOutputStream(target) : create(name, temporary, ownerOnly);
        }
        boolean isTemporary = temporary != null && !temporary.equals(target);
        cleanup = isTemporary ? new Thread(this::deleteTemporary) : null; // for a program that is interrupted
        if (isTemporary) {
            Runtime.getRuntime().addShutdownHook(cleanup);
        }
    }

    /** Refuses a name that could not be written, before any work is done for it. */
    private static void checkTarget(Path file, boolean mayOverwrite) throws IOException {
        if (Files.isDirectory(file)) {
            throw new FileSystemException(file.toString(), null, "is a directory");
        }
        if (!mayOverwrite && Files.isRegularFile(file)) {
            throw new FileAlreadyExistsException(file.toString());
        }
    }

    /** Without random numbers, which would wait for a generator to be seeded. */
    private static String temporaryName() {
        return ".zel-" + ProcessHandle.current().pid() + "-" + Long.toHexString(System.nanoTime()) + ".tmp";
    }

    /** Creates the file; a failure names the target, not the temporary file. */
    private static OutputStream create(String name, Path file, boolean ownerOnly) throws IOException {
        FileAttribute<?>[] attributes = ownerOnly ? OwnerOnly.attributes(file) : new FileAttribute<?>[0];
        try {
            return Channels.newOutputStream(Files.newByteChannel(file,
                    Set.of(StandardOpenOption.CREATE_NEW, StandardOpenOption.WRITE), attributes));
        } catch (NoSuchFileException e) {
            throw new FileSystemException(name, null, "no such folder");
        } catch (AccessDeniedException e) {
            throw new AccessDeniedException(name);
        } catch (FileSystemException e) {
            throw new FileSystemException(name, null, e.getReason());
        }
    }

    void write(byte[] bytes, int count) throws IOException {
        try {
            out.write(bytes, 0, count);
        } catch (IOException e) {
            throw new FileSystemException(name, null, e.getMessage());
        }
        // A stream for printing reports a full disk or a closed pipe only when it is asked.
        if (target == null && System.out.checkError()) {
            throw new IOException(NO_STANDARD_OUTPUT);
        }
    }

    void write(byte[] bytes) throws IOException {
        write(bytes, bytes.length);
    }

    /** Gives the file its name, once all of it has been written. */
    void finish() throws IOException {
        out.flush();
        if (cleanup != null) {
            out.close();
            if (mayOverwrite) {
                Files.move(temporary, target, StandardCopyOption.REPLACE_EXISTING);
            } else {
                Files.move(temporary, target);
            }
        }
        isComplete = true;
    }

    @Override
    public void close() throws IOException {
        if (target != null) {
            out.close();
        }
        if (cleanup != null) {
            try {
                Runtime.getRuntime().removeShutdownHook(cleanup);
            } catch (IllegalStateException e) {
                return; // the hook is running
            }
            deleteTemporary();
        }
    }

    private void deleteTemporary() {
        try {
            if (!isComplete) {
                Files.deleteIfExists(temporary);
            }
        } catch (IOException e) {
            Zel.err().println("zel: cannot delete " + temporary);
        }
    }
}
