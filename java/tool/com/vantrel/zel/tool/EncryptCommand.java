package com.vantrel.zel.tool;

import java.io.IOException;
import java.security.GeneralSecurityException;
import java.util.concurrent.Callable;
import javax.crypto.Cipher;
import javax.crypto.SecretKey;
import picocli.CommandLine.Command;
import picocli.CommandLine.Mixin;
import picocli.CommandLine.Parameters;

/** {@code zel encrypt}: a fresh IV and the ciphertext behind it. */
@Command(
        name = "encrypt",
        description = "Encrypts FILE with AES-256-CBC to FILE.enc: the IV in the first 16 bytes, then the ciphertext.",
        footer = {
            "%nWhoever can change the encrypted file can change what it decrypts to: sign it where that matters.",
            "%nExamples:",
            "  zel keygen aes --output secret.key",
            "  zel encrypt --key secret.key letter.txt",
            "  tar c folder | zel encrypt --key secret.key - > folder.tar.enc"
        })
final class EncryptCommand implements Callable<Integer> {
    /** The end of an encrypted file's name. */
    static final String SUFFIX = ".enc";

    @Mixin private AesKeyOption aesKey;
    @Mixin private OutputOptions output;
    @Mixin private Json json;

    @Parameters(paramLabel = "FILE", description = "The file; - is standard input.")
    private String file;

    @Override
    public Integer call() throws IOException, GeneralSecurityException {
        SecretKey key = aesKey.read();
        String target = output.nameOr(file.equals(Input.STANDARD) ? Input.STANDARD : file + SUFFIX);
        try (Output out = output.open(target, false); Input input = new Input(file)) {
            Engines.random(); // so that the wait for the IV is explained and not measured
            Cipher cipher = Cipher.getInstance(Engines.TRANSFORMATION, Engines.ZEL);
            cipher.init(Cipher.ENCRYPT_MODE, key);
            out.write(cipher.getIV());
            CipherRun run = new CipherRun(cipher, input, out);
            out.finish();
            run.report(json, file, target, "encrypted");
        }
        return 0;
    }
}
