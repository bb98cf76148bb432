package com.vantrel.zel.sample;

import java.io.IOException;
import java.io.OutputStream;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.StandardCopyOption;
import java.security.GeneralSecurityException;

/** A file that is written as a whole or not at all: an older one stays until the new one is complete. */
final class WholeFile {
    interface Content {
        void writeTo(OutputStream out) throws IOException, GeneralSecurityException;
    }

    private WholeFile() {}

    static void write(Path file, Content content) throws IOException, GeneralSecurityException {
        Path part = file.resolveSibling(file.getFileName() + ".part");
        try {
            try (OutputStream out = Files.newOutputStream(part)) {
                content.writeTo(out);
            }
            Files.move(part, file, StandardCopyOption.REPLACE_EXISTING);
        } finally {
            Files.deleteIfExists(part);
        }
    }
}
