package com.vantrel.zel.tool;

import java.io.IOException;
import javax.crypto.SecretKey;
import picocli.CommandLine.Option;

/** The option that names an AES key. The key itself is never an argument: other users can see those. */
final class AesKeyOption {
    @Option(names = {"-k", "--key"}, required = true, paramLabel = "KEY",
            description = "The file with the AES-256 key: 64 hex digits, or 32 bytes.")
    private String file;

    SecretKey read() throws IOException {
        return KeyFiles.readAes(file);
    }
}
