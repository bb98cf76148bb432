package com.vantrel.zel.tool;

import java.io.ByteArrayInputStream;
import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.security.GeneralSecurityException;
import java.security.Key;
import java.security.KeyFactory;
import java.security.PrivateKey;
import java.security.PublicKey;
import java.security.cert.CertificateFactory;
import java.security.spec.PKCS8EncodedKeySpec;
import java.security.spec.X509EncodedKeySpec;
import java.util.Arrays;
import java.util.Base64;
import java.util.List;
import java.util.regex.Matcher;
import java.util.regex.Pattern;
import javax.crypto.SecretKey;
import javax.crypto.spec.SecretKeySpec;

/** Keys in files, in the forms that other programs read and write: PKCS#8 and X.509 in PEM or DER, AES keys in hex. */
final class KeyFiles {
    private static final int MAX_BYTES = 1 << 20;
    private static final int AES_KEY_BYTES = 32;
    private static final int PEM_LINE = 64;
    private static final List<String> ALGORITHMS = List.of("RSA", "DSA");
    private static final Pattern PEM =
            Pattern.compile("-----BEGIN ([A-Z0-9 ]+)-----([^-]+)-----END \\1-----");

    private KeyFiles() {}

    /** The content of a key file: its DER bytes, and their label in PEM, or null for a file that is not PEM. */
    private static final class Content {
        final String label;
        final byte[] der;

        Content(String label, byte[] der) {
            this.label = label;
            this.der = der;
        }

        boolean isLabelled(String expected) {
            return label == null || label.equals(expected);
        }
    }

    private static Content read(String file) throws IOException {
        byte[] bytes = Input.readSmall(file, MAX_BYTES);
        // Some programs print the parameters of a DSA key in front of it, in a block of their own.
        Matcher matcher = PEM.matcher(new String(bytes, StandardCharsets.ISO_8859_1));
        while (matcher.find()) {
            if (!matcher.group(1).endsWith("PARAMETERS")) {
                try {
                    return new Content(matcher.group(1), Base64.getMimeDecoder().decode(matcher.group(2)));
                } catch (IllegalArgumentException e) {
                    throw new Failures.UserError(file + ": damaged PEM: " + e.getMessage());
                }
            }
        }
        return new Content(null, bytes);
    }

    /** Reads a private key: PKCS#8, in PEM or DER. */
    static PrivateKey readPrivate(String file) throws IOException {
        Content content = read(file);
        if ("ENCRYPTED PRIVATE KEY".equals(content.label)) {
            throw new Failures.UserError(file + ": the key is encrypted; decrypt it with: openssl pkcs8 -in " + file);
        }
        if (!content.isLabelled("PRIVATE KEY")) {
            String help = content.label.endsWith(" PRIVATE KEY")
                    ? "; convert it with: openssl pkcs8 -topk8 -nocrypt -in " + file : "";
            throw new Failures.UserError(file + ": holds a " + content.label + ", not a PKCS#8 PRIVATE KEY" + help);
        }
        try {
            return firstThatReads(file, "private key in PKCS#8",
                    factory -> factory.generatePrivate(new PKCS8EncodedKeySpec(content.der)));
        } finally {
            Arrays.fill(content.der, (byte) 0);
        }
    }

    private interface Reader<K> {
        K read(KeyFactory factory) throws GeneralSecurityException;
    }

    private static <K> K firstThatReads(String file, String kind, Reader<K> reader) {
        for (String algorithm : ALGORITHMS) {
            try {
                return reader.read(KeyFactory.getInstance(algorithm));
            } catch (GeneralSecurityException e) {
                continue; // a key of the next kind, perhaps
            }
        }
        throw new Failures.UserError(file + ": holds no " + String.join(" or ", ALGORITHMS) + " " + kind);
    }

    /** Reads a public key: X.509, in PEM or DER, or the one of a certificate in PEM. */
    static PublicKey readPublic(String file) throws IOException, GeneralSecurityException {
        Content content = read(file);
        if ("CERTIFICATE".equals(content.label)) {
            return CertificateFactory.getInstance("X.509")
                    .generateCertificate(new ByteArrayInputStream(content.der)).getPublicKey();
        }
        if (!content.isLabelled("PUBLIC KEY")) {
            throw new Failures.UserError(file + ": holds a " + content.label + ", not an X.509 PUBLIC KEY");
        }
        return firstThatReads(file, "public key in X.509 form",
                factory -> factory.generatePublic(new X509EncodedKeySpec(content.der)));
    }

    /** Reads an AES-256 key: 64 hex digits, or 32 bytes. */
    static SecretKey readAes(String file) throws IOException {
        byte[] bytes = Input.readSmall(file, MAX_BYTES);
        try {
            String text = new String(bytes, StandardCharsets.ISO_8859_1).strip();
            if (text.matches("[0-9a-fA-F]{64}")) {
                byte[] key = new byte[AES_KEY_BYTES];
                for (int i = 0; i < key.length; ++i) {
                    key[i] = (byte) Integer.parseInt(text.substring(2 * i, 2 * i + 2), 16);
                }
                return new SecretKeySpec(key, "AES");
            }
            if (bytes.length == AES_KEY_BYTES) {
                return new SecretKeySpec(bytes, "AES");
            }
        } finally {
            Arrays.fill(bytes, (byte) 0);
        }
        throw new Failures.UserError(file + ": holds no AES-256 key: 64 hex digits or 32 bytes");
    }

    /** The bytes of a key's file: its standard encoding, in DER or PEM. */
    static byte[] encoded(Key key, boolean pem) {
        byte[] der = key.getEncoded();
        if (!pem) {
            return der;
        }
        String label = key instanceof PrivateKey ? "PRIVATE KEY" : "PUBLIC KEY";
        byte[] newLine = {'\n'};
        String body = Base64.getMimeEncoder(PEM_LINE, newLine).encodeToString(der);
        return ("-----BEGIN " + label + "-----\n" + body + "\n-----END " + label + "-----\n")
                .getBytes(StandardCharsets.US_ASCII);
    }
}
