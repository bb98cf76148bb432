package com.vantrel.zel.tool;

import java.io.IOException;
import java.security.GeneralSecurityException;
import java.security.PublicKey;
import java.security.Signature;
import java.security.SignatureException;
import java.util.Locale;
import java.util.concurrent.Callable;
import picocli.CommandLine.Command;
import picocli.CommandLine.Mixin;
import picocli.CommandLine.Option;
import picocli.CommandLine.Parameters;

/** {@code zel verify}: whether a detached signature belongs to a file. */
@Command(
        name = "verify",
        description = "Checks the bare signature in FILE.sig; ends with 1 when it is not valid.",
        footer = {
            "%nExamples:",
            "  zel verify --key my.key.pub letter.txt",
            "  zel verify --key their.crt --signature letter.sig letter.txt"
        })
final class VerifyCommand implements Callable<Integer> {
    private static final int MAX_SIGNATURE_BYTES = 1 << 16;

    @Option(names = {"-k", "--key"}, required = true, paramLabel = "KEY",
            description = "The public key: X.509, PEM or DER, or a certificate in PEM.")
    private String keyFile;

    @Option(names = {"-a", "--algorithm"}, paramLabel = "NAME", description = "As for sign.")
    private String algorithm;

    @Option(names = {"-s", "--signature"}, paramLabel = "FILE", description = "The signature; FILE.sig by default.")
    private String signatureFile;

    @Parameters(paramLabel = "FILE", description = "The file; - is standard input.")
    private String file;

    @Mixin private Json json;

    @Override
    public Integer call() throws IOException, GeneralSecurityException {
        if (signatureFile == null && file.equals(Input.STANDARD)) {
            throw new Failures.UserError("the option --signature is needed here");
        }
        PublicKey key = KeyFiles.readPublic(keyFile);
        Signature signature = SignCommand.engine(algorithm, key, keyFile);
        byte[] signatureBytes = Input.readSmall(signatureFile != null ? signatureFile : file + ".sig", MAX_SIGNATURE_BYTES);
        try (Input input = new Input(file)) {
            input.forEachPiece((bytes, count) -> signature.update(bytes, 0, count));
        }
        long start = System.nanoTime();
        boolean isValid = isValid(signature, signatureBytes);
        double millis = (System.nanoTime() - start) / 1e6;
        json.print(Json.object("file", file, "algorithm", signature.getAlgorithm(), "valid", isValid, "milliseconds", millis),
                String.format(Locale.ROOT, "%s: %s (%s, %.1f ms)", file, isValid ? "valid" : "NOT VALID",
                        signature.getAlgorithm(), millis));
        return isValid ? 0 : Zel.ANSWER_NO;
    }

    private static boolean isValid(Signature signature, byte[] signatureBytes) {
        try {
            return signature.verify(signatureBytes);
        } catch (SignatureException e) {
            return false; // not of the form of a signature
        }
    }
}
