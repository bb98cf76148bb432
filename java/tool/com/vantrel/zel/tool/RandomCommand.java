package com.vantrel.zel.tool;

import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.security.GeneralSecurityException;
import java.security.SecureRandom;
import java.util.Arrays;
import java.util.Base64;
import java.util.concurrent.Callable;
import picocli.CommandLine.Command;
import picocli.CommandLine.Mixin;
import picocli.CommandLine.Option;
import picocli.CommandLine.Parameters;

/** {@code zel random}: bytes from the generator. */
@Command(
        name = "random",
        description = "Writes random bytes.",
        footer = {
            "%nExamples:",
            "  zel random 32",
            "  zel random 24 --format base64",
            "  zel random 1000000 --format raw --output noise.bin"
        })
final class RandomCommand implements Callable<Integer> {
    /** A multiple of three, so that the pieces in base64 have no padding between them. */
    private static final int PIECE_BYTES = 3 << 14;

    /** How the bytes are written. */
    enum Format { hex, base64, raw }

    @Parameters(paramLabel = "COUNT", arity = "0..1", description = "How many bytes; ${DEFAULT-VALUE} by default.")
    private long count = 32;

    @Option(names = {"-f", "--format"}, paramLabel = "FORM", description = "${COMPLETION-CANDIDATES}; hex is the default.")
    private Format format = Format.hex;

    @Mixin private OutputOptions output;

    @Override
    public Integer call() throws IOException, GeneralSecurityException {
        if (count < 0) {
            throw new Failures.UserError("the count is negative");
        }
        try (Output out = output.open(Input.STANDARD, true)) {
            SecureRandom random = Engines.random();
            byte[] piece = new byte[(int) Math.min(count, PIECE_BYTES)];
            for (long remaining = count; remaining > 0;) {
                int size = (int) Math.min(remaining, piece.length);
                random.nextBytes(piece);
                out.write(formatted(piece, size));
                remaining -= size;
            }
            Arrays.fill(piece, (byte) 0);
            if (format != Format.raw) {
                out.write(System.lineSeparator().getBytes(StandardCharsets.US_ASCII));
            }
            out.finish();
        }
        return 0;
    }

    private byte[] formatted(byte[] bytes, int size) {
        switch (format) {
            case hex:
                return Json.hex(bytes, size).getBytes(StandardCharsets.US_ASCII);
            case base64:
                return Base64.getEncoder().encode(Arrays.copyOf(bytes, size));
            default:
                return Arrays.copyOf(bytes, size);
        }
    }
}
