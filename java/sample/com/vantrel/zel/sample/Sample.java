package com.vantrel.zel.sample;

import com.vantrel.zel.provider.ZelSecurityProvider;
import java.io.IOException;
import java.io.InputStream;
import java.io.PrintStream;
import java.nio.charset.StandardCharsets;
import java.nio.file.AccessDeniedException;
import java.nio.file.FileSystemException;
import java.nio.file.Files;
import java.nio.file.InvalidPathException;
import java.nio.file.NoSuchFileException;
import java.nio.file.Path;
import java.security.GeneralSecurityException;
import java.security.MessageDigest;
import java.security.ProviderException;
import java.security.SecureRandom;
import java.security.Security;
import java.util.LinkedHashMap;
import java.util.Map;

/**
 * What the provider does, shown on one file: its SHA-1 and SHA-256, as sha1sum and sha256sum print them; 32 random bytes,
 * which take some six seconds to come because a generator is seeded for them; the file encrypted beside itself and
 * decrypted again; and the file signed, with RSA beside itself and with DSA.
 */
public final class Sample {
    private static final int BUFFER_BYTES = 1 << 20;
    private static final int RANDOM_BYTES = 32;

    private Sample() {}

    /**
     * Runs the sample; exits with 2 and one line on standard error when the file cannot be read.
     *
     * @param args the file
     */
    public static void main(String[] args) {
        if (args.length != 1 || args[0].isEmpty()) {
            fail("usage: Sample FILE");
        }
        try {
            Security.addProvider(new ZelSecurityProvider());
            run(args[0]);
        } catch (NoSuchFileException e) {
            fail(e.getFile() + ": no such file");
        } catch (AccessDeniedException e) {
            fail(e.getFile() + ": permission denied");
        } catch (FileSystemException e) {
            fail(e.getFile() + ": " + e.getReason());
        } catch (InvalidPathException e) {
            fail("not a file name in this locale: " + e.getMessage());
        } catch (IOException | GeneralSecurityException e) {
            fail(args[0] + ": " + e.getMessage());
        } catch (ProviderException e) {
            fail(e.getMessage());
        }
    }

    private static void run(String file) throws IOException, GeneralSecurityException {
        if (Files.isDirectory(Path.of(file))) {
            fail(file + ": is a directory");
        }
        Map<String, byte[]> digests = digests(Path.of(file), "SHA-1", "SHA-256");
        PrintStream out = new PrintStream(System.out, true, StandardCharsets.UTF_8);
        digests.values().forEach(digest -> out.println(sumLine(digest, file)));
        byte[] random = new byte[RANDOM_BYTES];
        SecureRandom.getInstance("FIPS186PRNG", ZelSecurityProvider.NAME).nextBytes(random);
        out.println(hex(random) + "  random");
        out.println(EncryptedCopy.make(Path.of(file)));
        out.println(SignedFile.make(Path.of(file), "SHA256withRSA", 2048, Path.of(file + ".sig")));
        out.println(SignedFile.make(Path.of(file), "SHA1withDSA", 1024, null));
        if (out.checkError()) {
            fail("cannot write to standard output");
        }
    }

    private static Map<String, byte[]> digests(Path file, String... algorithms)
            throws IOException, GeneralSecurityException {
        Map<String, MessageDigest> running = new LinkedHashMap<>();
        for (String algorithm : algorithms) {
            running.put(algorithm, MessageDigest.getInstance(algorithm, ZelSecurityProvider.NAME));
        }
        try (InputStream in = Files.newInputStream(file)) {
            byte[] buffer = new byte[BUFFER_BYTES];
            for (int read = in.read(buffer); read >= 0; read = in.read(buffer)) {
                for (MessageDigest digest : running.values()) {
                    digest.update(buffer, 0, read);
                }
            }
        }
        Map<String, byte[]> finished = new LinkedHashMap<>();
        running.forEach((algorithm, digest) -> finished.put(algorithm, digest.digest()));
        return finished;
    }

    /** The line of sha1sum and its kin, which mark names that they had to escape with a backslash in front. */
    private static String sumLine(byte[] digest, String file) {
        String escaped = escaped(file);
        return (escaped.equals(file) ? "" : "\\") + hex(digest) + "  " + escaped;
    }

    private static String hex(byte[] bytes) {
        StringBuilder hex = new StringBuilder();
        for (byte b : bytes) {
            hex.append(String.format("%02x", b));
        }
        return hex.toString();
    }

    /** A file name on one line. */
    static String escaped(String file) {
        return file.replace("\\", "\\\\").replace("\n", "\\n").replace("\r", "\\r");
    }

    private static void fail(String message) {
        System.err.println("zel-sample: " + message);
        System.exit(2);
    }
}
