package com.vantrel.zel.tool;

import java.io.IOException;
import java.security.GeneralSecurityException;
import java.util.concurrent.Callable;
import javax.crypto.BadPaddingException;
import javax.crypto.Cipher;
import javax.crypto.IllegalBlockSizeException;
import javax.crypto.SecretKey;
import javax.crypto.spec.IvParameterSpec;
import picocli.CommandLine.Command;
import picocli.CommandLine.Mixin;
import picocli.CommandLine.Parameters;

/** {@code zel decrypt}: the way back from {@code zel encrypt}. */
@Command(
        name = "decrypt",
        description = "Decrypts what encrypt has made; FILE.enc becomes FILE.",
        footer = {
            "%nThe file appears only when all of it has decrypted well; on standard output it is what came until then.",
            "%nExamples:",
            "  zel decrypt --key secret.key letter.txt.enc",
            "  zel decrypt --key secret.key --output - folder.tar.enc | tar x"
        })
final class DecryptCommand implements Callable<Integer> {
    private static final int IV_BYTES = 16;

    @Mixin private AesKeyOption aesKey;
    @Mixin private OutputOptions output;
    @Mixin private Json json;

    @Parameters(paramLabel = "FILE", description = "The file; - is standard input.")
    private String file;

    @Override
    public Integer call() throws IOException, GeneralSecurityException {
        SecretKey key = aesKey.read();
        String target = output.nameOr(defaultTarget());
        try (Output out = output.open(target, true); Input input = new Input(file)) {
            byte[] iv = input.head(IV_BYTES);
            if (iv.length < IV_BYTES) {
                throw tooShort();
            }
            Cipher cipher = Cipher.getInstance(Engines.TRANSFORMATION, Engines.ZEL);
            cipher.init(Cipher.DECRYPT_MODE, key, new IvParameterSpec(iv));
            CipherRun run = new CipherRun(cipher, input, out);
            if (run.isEmpty()) { // which a cipher decrypts to nothing; even an empty file is encrypted as a block
                throw tooShort();
            }
            out.finish();
            run.report(json, file, target, "decrypted");
        } catch (BadPaddingException | IllegalBlockSizeException e) {
            throw new Failures.AnswerIsNo(file + ": does not decrypt with this key, or is damaged");
        }
        return 0;
    }

    private Failures.AnswerIsNo tooShort() {
        return new Failures.AnswerIsNo(file + ": too short to be an encrypted file");
    }

    private String defaultTarget() {
        if (file.equals(Input.STANDARD)) {
            return Input.STANDARD;
        }
        String suffix = EncryptCommand.SUFFIX;
        return file.endsWith(suffix) && file.length() > suffix.length()
                ? file.substring(0, file.length() - suffix.length()) : null;
    }
}
