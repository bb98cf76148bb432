package com.vantrel.zel.tool;

import java.io.IOException;
import java.security.GeneralSecurityException;
import java.security.InvalidKeyException;
import java.security.Key;
import java.security.PrivateKey;
import java.security.PublicKey;
import java.security.Signature;
import java.util.Locale;
import java.util.concurrent.Callable;
import picocli.CommandLine.Command;
import picocli.CommandLine.Mixin;
import picocli.CommandLine.Option;
import picocli.CommandLine.Parameters;

/** {@code zel sign}: a detached signature beside a file. */
@Command(
        name = "sign",
        description = "Signs FILE; the bare signature goes to FILE.sig.",
        footer = {
            "%nExamples:",
            "  zel sign --key my.key letter.txt",
            "  zel sign --key my.key --algorithm SHA1withRSA --output old.sig letter.txt",
            "%nOthers check it with: openssl dgst -sha256 -verify my.key.pub -signature letter.txt.sig letter.txt"
        })
final class SignCommand implements Callable<Integer> {
    @Option(names = {"-k", "--key"}, required = true, paramLabel = "KEY", description = "The private key: PKCS#8, PEM or DER.")
    private String keyFile;

    @Option(names = {"-a", "--algorithm"}, paramLabel = "NAME", description = "SHA256withRSA is the default for RSA keys; SHA1withRSA;"
            + " SHA1withDSA for DSA keys.")
    private String algorithm;

    @Parameters(paramLabel = "FILE", description = "The file; - is standard input.")
    private String file;

    @Mixin private OutputOptions output;
    @Mixin private Json json;

    /** The signature engine, initialised with the key of a file; the key's default algorithm where none is given. */
    static Signature engine(String algorithm, Key key, String keyFile) throws GeneralSecurityException {
        String name = algorithm != null ? algorithm : key.getAlgorithm().equals("DSA") ? "SHA1withDSA" : "SHA256withRSA";
        Engines.require("Signature", name);
        Signature signature = Signature.getInstance(name, Engines.ZEL);
        try {
            if (key instanceof PrivateKey) {
                signature.initSign((PrivateKey) key);
            } else {
                signature.initVerify((PublicKey) key);
            }
            return signature;
        } catch (InvalidKeyException e) {
            throw new Failures.UserError(keyFile + ": " + e.getMessage());
        }
    }

    @Override
    public Integer call() throws IOException, GeneralSecurityException {
        PrivateKey key = KeyFiles.readPrivate(keyFile);
        Signature signature = engine(algorithm, key, keyFile);
        String target = output.nameOr(file.equals(Input.STANDARD) ? Input.STANDARD : file + ".sig");
        try (Output out = output.open(target, false); Input input = new Input(file)) {
            if (key.getAlgorithm().equals("DSA")) {
                Engines.random(); // so that the wait is explained and not measured
            }
            input.forEachPiece((piece, count) -> signature.update(piece, 0, count));
            long start = System.nanoTime();
            byte[] bytes = signature.sign();
            double millis = (System.nanoTime() - start) / 1e6;
            out.write(bytes);
            out.finish();
            if (!target.equals(Input.STANDARD)) {
                json.print(Json.object("file", file, "algorithm", signature.getAlgorithm(), "signature", target,
                                "bytes", bytes.length, "milliseconds", millis),
                        String.format(Locale.ROOT, "%s signature of %d bytes in %.1f ms: %s", signature.getAlgorithm(),
                                bytes.length, millis, target));
            }
        }
        return 0;
    }
}
