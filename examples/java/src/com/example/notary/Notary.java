package com.example.notary;

import com.vantrel.zel.provider.ZelSecurityProvider;
import java.nio.charset.StandardCharsets;
import java.security.GeneralSecurityException;
import java.security.KeyPair;
import java.security.KeyPairGenerator;
import java.security.MessageDigest;
import java.security.SecureRandom;
import java.security.Security;
import java.security.Signature;
import java.util.Base64;
import javax.crypto.Cipher;
import javax.crypto.spec.IvParameterSpec;
import javax.crypto.spec.SecretKeySpec;

/** What a program does with the provider: it asks the Java security API, and names the provider once, at its start. */
public final class Notary {
    private Notary() {}

    /** Digests, encrypts and signs a message. */
    public static void main(String[] args) throws GeneralSecurityException {
        Security.insertProviderAt(new ZelSecurityProvider(), 1);
        byte[] message = "Received with thanks.".getBytes(StandardCharsets.UTF_8);

        MessageDigest digest = MessageDigest.getInstance("SHA-256");
        print("digest", digest.getProvider().getName(), digest.digest(message));

        byte[] keyBytes = new byte[32];
        SecureRandom random = new SecureRandom();
        random.nextBytes(keyBytes);
        SecretKeySpec key = new SecretKeySpec(keyBytes, "AES");
        Cipher cipher = Cipher.getInstance("AES/CBC/PKCS5Padding");
        cipher.init(Cipher.ENCRYPT_MODE, key);
        byte[] encrypted = cipher.doFinal(message);
        print("encrypted", cipher.getProvider().getName(), encrypted);
        cipher.init(Cipher.DECRYPT_MODE, key, new IvParameterSpec(cipher.getIV()));
        check(MessageDigest.isEqual(message, cipher.doFinal(encrypted)), "the message came back changed");

        KeyPairGenerator generator = KeyPairGenerator.getInstance("RSA");
        generator.initialize(2048);
        KeyPair pair = generator.generateKeyPair();
        Signature signature = Signature.getInstance("SHA256withRSA");
        signature.initSign(pair.getPrivate());
        signature.update(message);
        byte[] signed = signature.sign();
        print("signature", signature.getProvider().getName(), signed);
        signature.initVerify(pair.getPublic());
        signature.update(message);
        check(signature.verify(signed), "the signature is not valid");
    }

    private static void print(String what, String provider, byte[] bytes) {
        System.out.println(what + " by " + provider + ": " + Base64.getEncoder().encodeToString(bytes));
    }

    private static void check(boolean holds, String otherwise) {
        if (!holds) {
            throw new IllegalStateException(otherwise);
        }
    }
}
