package com.vantrel.zel.sample;

import com.vantrel.zel.provider.ZelSecurityProvider;
import java.io.IOException;
import java.io.InputStream;
import java.nio.file.Files;
import java.nio.file.Path;
import java.security.GeneralSecurityException;
import java.util.Arrays;
import java.util.Locale;
import javax.crypto.Cipher;
import javax.crypto.KeyGenerator;
import javax.crypto.SecretKey;
import javax.crypto.spec.IvParameterSpec;

/** Encrypts a file to a copy beside it, decrypts the copy, and compares. */
final class EncryptedCopy {
    private static final String TRANSFORMATION = "AES/CBC/PKCS5Padding";
    private static final int KEY_BITS = 256;
    private static final int BUFFER_BYTES = 1 << 20;

    private EncryptedCopy() {}

    /**
     * Makes FILE.enc with a fresh key and IV, which are lost afterwards.
     *
     * @return the line to print
     * @throws GeneralSecurityException if the decrypted copy is not the file
     */
    static String make(Path file) throws IOException, GeneralSecurityException {
        Path copy = file.resolveSibling(file.getFileName() + ".enc");
        KeyGenerator generator = KeyGenerator.getInstance("AES");
        generator.init(KEY_BITS);
        SecretKey key = generator.generateKey();

        Cipher encrypting = Cipher.getInstance(TRANSFORMATION, ZelSecurityProvider.NAME);
        encrypting.init(Cipher.ENCRYPT_MODE, key);
        long start = System.nanoTime();
        encrypt(file, copy, encrypting);
        long encryptionNanos = System.nanoTime() - start;

        Cipher decrypting = Cipher.getInstance(TRANSFORMATION, ZelSecurityProvider.NAME);
        decrypting.init(Cipher.DECRYPT_MODE, key, new IvParameterSpec(encrypting.getIV()));
        start = System.nanoTime();
        boolean isSame = decryptsTo(copy, file, decrypting);
        long decryptionNanos = System.nanoTime() - start;
        if (!isSame) {
            throw new GeneralSecurityException("the decrypted copy is not the file");
        }
        long bytes = Files.size(file);
        return String.format(Locale.ROOT,
                "AES-256-CBC: %s decrypts to the file; encrypted at %.0f MB/s, decrypted at %.0f MB/s",
                Sample.escaped(copy.toString()), megabytesPerSecond(bytes, encryptionNanos), megabytesPerSecond(bytes, decryptionNanos));
    }

    private static void encrypt(Path file, Path copy, Cipher cipher) throws IOException, GeneralSecurityException {
        WholeFile.write(copy, out -> {
            try (InputStream in = Files.newInputStream(file)) {
                byte[] buffer = new byte[BUFFER_BYTES];
                for (int read = in.read(buffer); read >= 0; read = in.read(buffer)) {
                    byte[] encrypted = cipher.update(buffer, 0, read);
                    if (encrypted != null) {
                        out.write(encrypted);
                    }
                }
                out.write(cipher.doFinal());
            }
        });
    }

    private static boolean decryptsTo(Path copy, Path file, Cipher cipher) throws IOException, GeneralSecurityException {
        try (InputStream in = Files.newInputStream(copy); InputStream original = Files.newInputStream(file)) {
            byte[] buffer = new byte[BUFFER_BYTES];
            for (int read = in.read(buffer); read >= 0; read = in.read(buffer)) {
                byte[] decrypted = cipher.update(buffer, 0, read);
                if (decrypted != null && !goesOnWith(original, decrypted)) {
                    return false;
                }
            }
            return goesOnWith(original, cipher.doFinal()) && original.read() < 0;
        }
    }

    private static boolean goesOnWith(InputStream original, byte[] bytes) throws IOException {
        return Arrays.equals(original.readNBytes(bytes.length), bytes);
    }

    private static double megabytesPerSecond(long bytes, long nanos) {
        return bytes / 1e6 / (Math.max(nanos, 1) / 1e9);
    }
}
