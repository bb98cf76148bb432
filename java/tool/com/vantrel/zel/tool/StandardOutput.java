package com.vantrel.zel.tool;

import java.io.FileDescriptor;
import java.io.FileOutputStream;
import java.io.FilterOutputStream;
import java.io.IOException;
import java.io.PrintStream;

/**
 * The process's standard output. When its reader ends, as {@code head} does after its lines, the program ends without a
 * message; a stream for printing could not tell that from a full disk.
 */
final class StandardOutput extends FilterOutputStream {
    private StandardOutput() {
        super(new FileOutputStream(FileDescriptor.out));
    }

    /** Makes it the stream for printing. */
    static void install() {
        System.setOut(new PrintStream(new StandardOutput(), true));
    }

    @Override
    public void write(byte[] bytes, int offset, int count) throws IOException {
        try {
            out.write(bytes, offset, count);
        } catch (IOException e) {
            if ("Broken pipe".equals(e.getMessage())) {
                System.exit(Zel.TROUBLE); // which deletes incomplete files
            }
            throw e;
        }
    }
}
