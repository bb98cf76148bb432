package com.vantrel.zel.sample;

import com.vantrel.zel.provider.ZelSecurityProvider;
import java.io.IOException;
import java.io.InputStream;
import java.nio.file.Files;
import java.nio.file.Path;
import java.security.GeneralSecurityException;
import java.security.KeyPair;
import java.security.KeyPairGenerator;
import java.security.Signature;
import java.util.Locale;

/** Signs a file with a fresh key, verifies the signature, and shows that it is refused for the file with one byte changed. */
final class SignedFile {
    private static final int BUFFER_BYTES = 1 << 20;

    private SignedFile() {}

    /**
     * Makes the file's signature.
     *
     * @param algorithm the signature, such as SHA256withRSA
     * @param keyBits the size of its key
     * @param signatureFile receives the signature; null keeps it in memory
     * @return the line to print
     * @throws GeneralSecurityException if the signature is not right for the file, or right for the changed one
     */
    static String make(Path file, String algorithm, int keyBits, Path signatureFile)
            throws IOException, GeneralSecurityException {
        long start = System.nanoTime();
        KeyPairGenerator generator = KeyPairGenerator.getInstance(algorithm.replaceAll(".*with", ""),
                ZelSecurityProvider.NAME);
        generator.initialize(keyBits);
        KeyPair pair = generator.generateKeyPair();
        String made = milliseconds(start);

        Signature signature = Signature.getInstance(algorithm, ZelSecurityProvider.NAME);
        start = System.nanoTime();
        signature.initSign(pair.getPrivate());
        update(signature, file, 0);
        byte[] bytes = signature.sign();
        String signed = milliseconds(start);
        if (signatureFile != null) {
            byte[] written = bytes;
            WholeFile.write(signatureFile, out -> out.write(written));
            bytes = Files.readAllBytes(signatureFile);
        }

        start = System.nanoTime();
        signature.initVerify(pair.getPublic());
        update(signature, file, 0);
        boolean isRight = signature.verify(bytes);
        String verified = milliseconds(start);
        update(signature, file, 1);
        if (!isRight || signature.verify(bytes)) {
            throw new GeneralSecurityException("the signature is not judged rightly");
        }
        return String.format(Locale.ROOT, "%s, %d bits: %sverified, refused with a byte changed; key made in %s, signed in %s, "
                + "verified in %s", algorithm, keyBits,
                signatureFile == null ? "" : Sample.escaped(signatureFile.toString()) + " ", made, signed, verified);
    }

    /** Feeds the file, with the first byte changed by so much; an empty file gets a byte. */
    private static void update(Signature signature, Path file, int change) throws IOException, GeneralSecurityException {
        try (InputStream in = Files.newInputStream(file)) {
            byte[] buffer = new byte[BUFFER_BYTES];
            int first = in.read(buffer);
            if (change != 0) {
                buffer[0] += (byte) change;
                first = Math.max(first, 1);
            }
            for (int read = first; read >= 0; read = in.read(buffer)) {
                signature.update(buffer, 0, read);
            }
        }
    }

    private static String milliseconds(long start) {
        return String.format(Locale.ROOT, "%.1f ms", (System.nanoTime() - start) / 1e6);
    }
}
