package com.vantrel.zel.tool;

import java.io.IOException;
import java.security.GeneralSecurityException;
import java.util.Arrays;
import java.util.Locale;
import javax.crypto.Cipher;

/** A run of the rest of an input through a cipher into an output. */
final class CipherRun {
    /** From this size on a rate is reported, not a time. */
    private static final long RATED_BYTES = 1_000_000;

    private final long bytes;
    private final double seconds;

    /** Runs to the end of the input, the cipher's final block included. */
    CipherRun(Cipher cipher, Input input, Output out) throws IOException, GeneralSecurityException {
        long start = System.nanoTime();
        bytes = input.forEachPiece((piece, count) -> write(out, cipher.update(piece, 0, count)));
        write(out, cipher.doFinal());
        seconds = (System.nanoTime() - start) / 1e9;
    }

    /** Whether the input had no more bytes. */
    boolean isEmpty() {
        return bytes == 0;
    }

    private static void write(Output out, byte[] piece) throws IOException {
        if (piece != null) {
            out.write(piece);
            Arrays.fill(piece, (byte) 0);
        }
    }

    /** Reports the run, unless the bytes have gone to standard output. */
    void report(Json json, String file, String target, String verb) {
        if (!target.equals(Input.STANDARD)) {
            json.print(Json.object("file", file, "output", target, "bytes", bytes, "seconds", seconds),
                    String.format(Locale.ROOT, bytes < RATED_BYTES ? "%s %s to %s in %.1f ms" : "%1$s %2$s to %3$s at %5$.0f MB/s",
                            file, verb, target, 1e3 * seconds, bytes / 1e6 / Math.max(seconds, 1e-9)));
        }
    }
}
