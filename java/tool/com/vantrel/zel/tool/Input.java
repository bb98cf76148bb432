package com.vantrel.zel.tool;

import java.io.IOException;
import java.io.InputStream;
import java.nio.file.FileSystemException;
import java.nio.file.Files;
import java.nio.file.NoSuchFileException;
import java.nio.file.Path;
import java.security.GeneralSecurityException;
import java.util.Arrays;

/** The input of a command: a file, or standard input for the name "-". It is read in pieces, so that its size does not matter. */
final class Input implements AutoCloseable {
    static final String STANDARD = "-";

    private static final int PIECE_BYTES = 1 << 20;

    private final String name;
    private final InputStream in;
    private final Progress progress;

    /** Takes a piece of the input. */
    interface Sink {
        void take(byte[] bytes, int count) throws IOException, GeneralSecurityException;
    }

    /** Opens the input; shows the progress of reading a long one. */
    Input(String name) throws IOException {
        this.name = name;
        if (name.equals(STANDARD)) {
            in = System.in;
            progress = new Progress(name, -1);
        } else {
            Path file = path(name);
            if (Files.isDirectory(file)) {
                throw new FileSystemException(name, null, "is a directory");
            }
            in = Files.newInputStream(file);
            progress = new Progress(file.getFileName().toString(), Files.size(file));
        }
    }

    /** The file of a name. An empty name, as from a variable that is not set, does not mean the current folder. */
    static Path path(String name) throws IOException {
        if (name.isEmpty()) {
            throw new NoSuchFileException("''");
        }
        return Path.of(name);
    }

    /** Reads so many bytes; fewer only at the end. */
    byte[] head(int count) throws IOException {
        try {
            byte[] head = in.readNBytes(count);
            progress.advance(head.length);
            return head;
        } catch (IOException e) {
            throw failure(e);
        }
    }

    private int read(byte[] piece) throws IOException {
        try {
            int read = in.read(piece);
            progress.advance(Math.max(read, 0));
            return read;
        } catch (IOException e) {
            throw failure(e);
        }
    }

    private FileSystemException failure(IOException e) {
        return new FileSystemException(name, null, e.getMessage());
    }

    /**
     * Hands the rest of the input to the sink.
     *
     * @return the number of its bytes
     */
    long forEachPiece(Sink sink) throws IOException, GeneralSecurityException {
        byte[] piece = new byte[PIECE_BYTES];
        long total = 0;
        try {
            for (int read = read(piece); read >= 0; read = read(piece)) {
                sink.take(piece, read);
                total += read;
            }
            return total;
        } finally {
            Arrays.fill(piece, (byte) 0);
        }
    }

    @Override
    public void close() throws IOException {
        progress.close();
        if (in != System.in) { // which another input may read
            in.close();
        }
    }

    /** Reads a small file, such as a key, whole. */
    static byte[] readSmall(String name, int maxBytes) throws IOException {
        try (Input input = new Input(name)) {
            byte[] bytes = input.head(maxBytes + 1);
            if (bytes.length > maxBytes) {
                throw new FileSystemException(name, null, "is too large to be what is expected there");
            }
            return bytes;
        }
    }
}
