package com.vantrel.zel.tool;

import java.io.IOException;
import java.security.GeneralSecurityException;
import java.util.Arrays;
import java.util.Locale;
import javax.crypto.Cipher;

/** What is left of an input, run through a cipher into an output. */
final class CipherRun {
    /** From here on a rate says more than a time. */
    private static final long RATED_BYTES = 1_000_000;

    private final long bytes;
    private final double seconds;

    /** Runs it to the end of the input, the cipher's final block included. */
    CipherRun(Cipher cipher, Input input, Output out) throws IOException, GeneralSecurityException {
        long start = System.nanoTime();
        bytes = input.forEachPiece((piece, count) -> write(out, cipher.update(piece, 0, count)));
        write(out, cipher.doFinal());
        seconds = (System.nanoTime() - start) / 1e9;
    }

    /** Whether there was nothing left to run. */
    boolean isEmpty() {
        return bytes == 0;
    }

    private static void write(Output out, byte[] piece) throws IOException {
        if (piece != null) {
            out.write(piece);
            Arrays.fill(piece, (byte) 0);
        }
    }

    /** Tells what was done, unless standard output has taken the bytes. */
    void tell(Json json, String file, String target, String done) {
        if (!target.equals(Input.STANDARD)) {
            json.print(Json.object("file", file, "output", target, "bytes", bytes, "seconds", seconds),
                    String.format(Locale.ROOT, bytes < RATED_BYTES ? "%s %s to %s in %.1f ms" : "%1$s %2$s to %3$s at %5$.0f MB/s",
                            file, done, target, 1e3 * seconds, bytes / 1e6 / Math.max(seconds, 1e-9)));
        }
    }
}
