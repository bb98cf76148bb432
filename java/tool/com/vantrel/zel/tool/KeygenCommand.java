package com.vantrel.zel.tool;

import java.io.IOException;
import java.math.BigInteger;
import java.nio.charset.StandardCharsets;
import java.security.GeneralSecurityException;
import java.security.InvalidParameterException;
import java.security.KeyPair;
import java.security.KeyPairGenerator;
import java.security.interfaces.RSAPublicKey;
import java.util.Arrays;
import java.util.List;
import java.util.Locale;
import java.util.Map;
import java.util.concurrent.Callable;
import picocli.CommandLine.Command;
import picocli.CommandLine.Mixin;
import picocli.CommandLine.Option;
import picocli.CommandLine.Parameters;

/** {@code zel keygen}: key pairs and AES keys, in files that only their owner may read. */
@Command(
        name = "keygen",
        description = "Makes a key: the private or secret one in FILE, the public one in FILE.pub.",
        footer = {
            "%nExamples:",
            "  zel keygen rsa --output my.key",
            "  zel keygen rsa --bits 3072 --form der --output my.key",
            "  zel keygen aes --output secret.key"
        })
final class KeygenCommand implements Callable<Integer> {
    private static final int AES_KEY_BYTES = 32;

    /** What kind of key. */
    enum Kind { rsa, dsa, aes }

    /** How a key pair is written. */
    enum Form { pem, der }

    @Parameters(paramLabel = "KIND", description = "${COMPLETION-CANDIDATES}.")
    private Kind kind;

    @Option(names = {"-b", "--bits"}, paramLabel = "COUNT", description = "Size of the key: 2048 for rsa (the default; multiples of 128 from 1024"
            + " to 16384), 1024 for dsa, 256 for aes.")
    private Integer bits;

    @Option(names = "--form", paramLabel = "FORM", description = "${COMPLETION-CANDIDATES}; pem is the default. An AES key is always 64 hex"
            + " digits.")
    private Form form = Form.pem;

    @Option(names = "--pkcs1", paramLabel = "FILE", description = "Write the public RSA key as PKCS#1 DER too.")
    private String pkcs1File;

    @Mixin private OutputOptions output;
    @Mixin private Json json;

    @Override
    public Integer call() throws IOException, GeneralSecurityException {
        if (pkcs1File != null && kind != Kind.rsa) {
            throw new Failures.UserError("--pkcs1 is for rsa");
        }
        return kind == Kind.aes ? aes() : pair();
    }

    private int aes() throws IOException, GeneralSecurityException {
        if (bits != null && bits != 8 * AES_KEY_BYTES) {
            throw new Failures.UserError("AES keys have 256 bits here");
        }
        byte[] key = new byte[AES_KEY_BYTES];
        try (Output out = output.open(null, true)) {
            Engines.random().nextBytes(key);
            out.write((Json.hex(key, key.length) + "\n").getBytes(StandardCharsets.US_ASCII));
            out.finish();
        } finally {
            Arrays.fill(key, (byte) 0);
        }
        report(Json.object("kind", "AES", "bits", 8 * AES_KEY_BYTES, "secretKey", output.name),
                "AES key of 256 bits: " + output.name);
        return 0;
    }

    private int pair() throws IOException, GeneralSecurityException {
        String algorithm = kind.name().toUpperCase(Locale.ROOT);
        int size = bits != null ? bits : kind == Kind.rsa ? 2048 : 1024;
        if (output.nameOr(null).equals(Input.STANDARD)) {
            throw new Failures.UserError("a key pair takes two files: name the first with --output");
        }
        String publicName = output.name + ".pub";
        if (pkcs1File != null && List.of(output.name, publicName).contains(pkcs1File)) {
            throw new Failures.UserError("--pkcs1 wants a file of its own");
        }
        KeyPairGenerator generator = generator(algorithm, size);
        try (Output privateOut = output.open(null, true);
                Output publicOut = new Output(publicName, output.force, false);
                Output pkcs1Out = pkcs1File == null ? null : new Output(pkcs1File, output.force, false)) {
            Engines.random(); // so that the wait is explained and not measured
            long start = System.nanoTime();
            KeyPair pair = generator.generateKeyPair();
            double seconds = (System.nanoTime() - start) / 1e9;
            byte[] privateBytes = KeyFiles.encoded(pair.getPrivate(), form == Form.pem);
            privateOut.write(privateBytes);
            Arrays.fill(privateBytes, (byte) 0);
            publicOut.write(KeyFiles.encoded(pair.getPublic(), form == Form.pem));
            publicOut.finish();
            if (pkcs1Out != null) {
                pkcs1Out.write(pkcs1((RSAPublicKey) pair.getPublic()));
                pkcs1Out.finish();
            }
            privateOut.finish();
            report(Json.object("kind", algorithm, "bits", size, "privateKey", output.name, "publicKey", publicName,
                            "seconds", seconds),
                    String.format(Locale.ROOT, "%s key pair of %d bits in %.2f s: %s, %s", algorithm, size, seconds,
                            output.name, publicName));
        }
        return 0;
    }

    /** A generator of keys of this size; refuses other sizes without randomness. */
    private static KeyPairGenerator generator(String algorithm, int size) throws GeneralSecurityException {
        KeyPairGenerator generator = KeyPairGenerator.getInstance(algorithm, Engines.ZEL);
        try {
            generator.initialize(size, null); // the generator uses its own random numbers
        } catch (InvalidParameterException e) {
            throw new Failures.UserError(e.getMessage());
        }
        return generator;
    }

    private void report(Map<String, Object> object, String line) {
        if (!output.name.equals(Input.STANDARD)) {
            json.print(object, line);
        }
    }

    /** RSAPublicKey of PKCS#1: a SEQUENCE of two INTEGERs. */
    private static byte[] pkcs1(RSAPublicKey key) {
        byte[] modulus = integer(key.getModulus());
        byte[] exponent = integer(key.getPublicExponent());
        byte[] content = Arrays.copyOf(modulus, modulus.length + exponent.length);
        System.arraycopy(exponent, 0, content, modulus.length, exponent.length);
        return item(0x30, content);
    }

    private static byte[] integer(BigInteger value) {
        return item(0x02, value.toByteArray());
    }

    private static byte[] item(int tag, byte[] content) {
        byte[] length = BigInteger.valueOf(content.length).toByteArray();
        int start = length[0] == 0 ? 1 : 0; // a sign octet
        int lengthBytes = length.length - start;
        int headBytes = content.length < 128 ? 2 : 2 + lengthBytes;
        byte[] item = new byte[headBytes + content.length];
        item[0] = (byte) tag;
        item[1] = (byte) (content.length < 128 ? content.length : 0x80 | lengthBytes);
        System.arraycopy(length, start, item, headBytes - lengthBytes, content.length < 128 ? 0 : lengthBytes);
        System.arraycopy(content, 0, item, headBytes, content.length);
        return item;
    }
}
