package com.vantrel.zel.provider.internal;

import static java.nio.charset.StandardCharsets.US_ASCII;

import java.math.BigInteger;
import java.security.GeneralSecurityException;
import java.security.KeyFactory;
import java.security.MessageDigest;
import java.security.PrivateKey;
import java.security.Provider;
import java.security.PublicKey;
import java.security.SecureRandom;
import java.security.Signature;
import java.security.interfaces.RSAPrivateCrtKey;
import java.security.spec.PKCS8EncodedKeySpec;
import java.security.spec.RSAPublicKeySpec;
import java.security.spec.X509EncodedKeySpec;
import java.util.Arrays;
import java.util.LinkedHashMap;
import java.util.Map;
import javax.crypto.Cipher;
import javax.crypto.spec.IvParameterSpec;
import javax.crypto.spec.SecretKeySpec;

/** Known answers through the services of a provider, each in the way that programs call them. */
public final class SelfTest {
    private static final byte[] ABC = "abc".getBytes(US_ASCII);
    private static final byte[] CHANGED = "abd".getBytes(US_ASCII);

    /** One service's test; throws where the answer is wrong. */
    private interface Check {
        void run() throws Exception;
    }

    private final Provider provider;
    private final Map<String, String> failures = new LinkedHashMap<>();

    private SelfTest(Provider provider) {
        this.provider = provider;
    }

    /**
     * Tests every service for which there are known answers, also after one has failed.
     *
     * @param provider whose services
     * @return what is wrong with each service, by its algorithm; an empty text where nothing is
     */
    public static Map<String, String> run(Provider provider) {
        SelfTest test = new SelfTest(provider);
        test.digest("SHA-1", KnownAnswers.SHA1_OF_ABC, KnownAnswers.SHA1_OF_MILLION);
        test.digest("SHA-256", KnownAnswers.SHA256_OF_ABC, KnownAnswers.SHA256_OF_MILLION);
        test.check("AES/CBC/PKCS5Padding", test::cipher);
        test.check("FIPS186PRNG", test::random);
        test.check("SHA1withRSA", () -> test.rsa("SHA1withRSA", KnownAnswers.SHA1_WITH_RSA));
        test.check("SHA256withRSA", () -> test.rsa("SHA256withRSA", KnownAnswers.SHA256_WITH_RSA));
        test.check("SHA1withDSA", test::dsa);
        return test.failures;
    }

    private void check(String algorithm, Check check) {
        String failure = "";
        try {
            check.run();
        } catch (Exception | LinkageError e) {
            failure = e instanceof WrongAnswer ? e.getMessage() : e.toString();
        }
        failures.put(algorithm, failure);
    }

    private void digest(String algorithm, String ofAbc, String ofMillion) {
        check(algorithm, () -> {
            MessageDigest digest = MessageDigest.getInstance(algorithm, provider);
            require(digest.digest(ABC), bytes(ofAbc), "digest of a short message");
            require(digest.digest(million()), bytes(ofMillion), "digest of a long message");
        });
    }

    private void cipher() throws GeneralSecurityException {
        Cipher cipher = Cipher.getInstance("AES/CBC/PKCS5Padding", provider);
        SecretKeySpec key = new SecretKeySpec(bytes(KnownAnswers.AES_KEY), "AES");
        IvParameterSpec iv = new IvParameterSpec(bytes(KnownAnswers.AES_IV));
        byte[] plaintext = bytes(KnownAnswers.AES_PLAINTEXT);
        byte[] ciphertext = bytes(KnownAnswers.AES_CIPHERTEXT);
        cipher.init(Cipher.ENCRYPT_MODE, key, iv);
        require(cipher.doFinal(plaintext), ciphertext, "ciphertext");
        byte[] longer = cipher.doFinal(million());
        byte[] end = Arrays.copyOfRange(longer, longer.length - 16, longer.length);
        require(end, bytes(KnownAnswers.AES_END_OF_MILLION), "ciphertext of a long message");
        cipher.init(Cipher.DECRYPT_MODE, key, iv);
        require(cipher.doFinal(ciphertext), plaintext, "plaintext");
        require(cipher.doFinal(longer), million(), "plaintext of a long message");
    }

    /** Without known answers: all that can be tested is that the output does not repeat. */
    private void random() throws GeneralSecurityException {
        SecureRandom random = SecureRandom.getInstance("FIPS186PRNG", provider);
        byte[] first = new byte[20];
        byte[] second = new byte[20];
        random.nextBytes(first);
        random.nextBytes(second);
        require(!Arrays.equals(first, second), "the same random bytes twice");
    }

    private void rsa(String algorithm, byte[] known) throws GeneralSecurityException {
        KeyFactory keys = KeyFactory.getInstance("RSA");
        RSAPrivateCrtKey key = (RSAPrivateCrtKey) keys.generatePrivate(new PKCS8EncodedKeySpec(KnownAnswers.RSA_PRIVATE_KEY));
        PublicKey publicKey = keys.generatePublic(new RSAPublicKeySpec(key.getModulus(), key.getPublicExponent()));
        require(sign(algorithm, key), known, "signature");
        verify(algorithm, publicKey, known);
    }

    /** DSA signatures are random: a new one can only be verified. */
    private void dsa() throws GeneralSecurityException {
        KeyFactory keys = KeyFactory.getInstance("DSA");
        PublicKey publicKey = keys.generatePublic(new X509EncodedKeySpec(KnownAnswers.DSA_PUBLIC_KEY));
        verify("SHA1withDSA", publicKey, KnownAnswers.SHA1_WITH_DSA);
        PrivateKey key = keys.generatePrivate(new PKCS8EncodedKeySpec(KnownAnswers.DSA_PRIVATE_KEY));
        verify("SHA1withDSA", publicKey, sign("SHA1withDSA", key));
    }

    private byte[] sign(String algorithm, PrivateKey key) throws GeneralSecurityException {
        Signature signature = Signature.getInstance(algorithm, provider);
        signature.initSign(key);
        signature.update(ABC);
        return signature.sign();
    }

    private void verify(String algorithm, PublicKey key, byte[] signed) throws GeneralSecurityException {
        Signature signature = Signature.getInstance(algorithm, provider);
        signature.initVerify(key);
        signature.update(ABC);
        require(signature.verify(signed), "a valid signature is refused");
        signature.initVerify(key);
        signature.update(CHANGED);
        require(!signature.verify(signed), "a signature of another message is accepted");
    }

    private static void require(byte[] result, byte[] known, String what) {
        require(Arrays.equals(result, known), "wrong " + what);
    }

    private static void require(boolean isRight, String failure) {
        if (!isRight) {
            throw new WrongAnswer(failure);
        }
    }

    /** A long message, which native engines process; short ones go through short calls. */
    private static byte[] million() {
        byte[] message = new byte[1_000_000];
        Arrays.fill(message, (byte) 'a');
        return message;
    }

    private static byte[] bytes(String hex) {
        byte[] number = new BigInteger("01" + hex, 16).toByteArray(); // 1 in front keeps the zeros
        return Arrays.copyOfRange(number, 1, number.length);
    }

    /** Another answer than the known one. */
    private static final class WrongAnswer extends RuntimeException {
        private static final long serialVersionUID = 1L;

        WrongAnswer(String what) {
            super(what);
        }
    }
}
