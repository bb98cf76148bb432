package com.vantrel.zel.provider;

import static com.vantrel.zel.provider.TestKeys.*;
import static org.junit.jupiter.api.Assertions.*;

import java.security.*;
import java.security.spec.AlgorithmParameterSpec;
import java.util.*;
import javax.crypto.*;
import javax.crypto.spec.*;
import org.junit.jupiter.api.Test;

/** What random uses of the cipher do not show: names, parameters, keys, and messages of nothing at all. */
class CipherTest {
    private static final String TRANSFORMATION = "AES/CBC/PKCS5Padding";
    private static final SecretKey KEY = new SecretKeySpec(randomBytes(32), "AES");
    private static final IvParameterSpec IV = new IvParameterSpec(randomBytes(16));

    private static Cipher zel(int mode) throws Exception {
        Cipher cipher = Cipher.getInstance(TRANSFORMATION, ZEL);
        cipher.init(mode, KEY, IV);
        return cipher;
    }

    @Test
    void leavesOtherCiphersToOthers() throws Exception {
        for (String other : List.of("AES", "AES/CBC/NoPadding", "2.16.840.1.101.3.4.1.42")) {
            assertThrows(NoSuchAlgorithmException.class, () -> Cipher.getInstance(other, ZEL));
        }
        assertEquals(ZEL, Cipher.getInstance("AES_256/CBC/PKCS5Padding", ZEL).getProvider());
    }

    @Test
    void nothingAtAll() throws Exception {
        assertEquals(16, zel(Cipher.ENCRYPT_MODE).doFinal().length);
        assertEquals(0, zel(Cipher.DECRYPT_MODE).doFinal().length);
        assertEquals(0, zel(Cipher.DECRYPT_MODE).doFinal(new byte[3], 3));
        assertNull(zel(Cipher.DECRYPT_MODE).update(new byte[16]));
        assertNull(zel(Cipher.ENCRYPT_MODE).update(new byte[15]));
        assertRefuses("ShortBufferException: output buffer has insufficient space",
                () -> zel(Cipher.ENCRYPT_MODE).update(new byte[32], 0, 32, new byte[31]));
        assertRefuses("BadPaddingException: invalid source buffer size", () -> zel(Cipher.DECRYPT_MODE).doFinal(new byte[17]));
        Cipher fresh = Cipher.getInstance(TRANSFORMATION, ZEL);
        assertEquals(16, fresh.getBlockSize());
        assertNull(fresh.getIV());
        assertNull(fresh.getParameters());
        assertThrows(IllegalStateException.class, fresh::doFinal);
    }

    @Test
    void parametersAndIvs() throws Exception {
        Cipher cipher = Cipher.getInstance(TRANSFORMATION, ZEL);
        cipher.init(Cipher.ENCRYPT_MODE, KEY);
        byte[] iv = cipher.getIV();
        byte[] ciphertext = cipher.doFinal(new byte[20]);
        AlgorithmParameters parameters = cipher.getParameters();
        assertArrayEquals(iv, parameters.getParameterSpec(IvParameterSpec.class).getIV());
        cipher.init(Cipher.ENCRYPT_MODE, KEY);
        assertFalse(Arrays.equals(iv, cipher.getIV()));
        cipher.init(Cipher.DECRYPT_MODE, KEY, parameters);
        assertArrayEquals(new byte[20], cipher.doFinal(ciphertext));
        cipher.getIV()[0] ^= 1; // a copy
        assertArrayEquals(iv, cipher.getIV());

        assertRefuses("InvalidKeyException: decryption needs the IV as a parameter", () -> cipher.init(Cipher.DECRYPT_MODE, KEY));
        Map<String, AlgorithmParameterSpec> wrong = Map.of("invalid iv provided", new IvParameterSpec(new byte[12]),
                "an IvParameterSpec is needed", new PBEParameterSpec(new byte[8], 1));
        wrong.forEach((message, spec) -> assertRefuses("InvalidAlgorithmParameterException: " + message,
                () -> cipher.init(Cipher.DECRYPT_MODE, KEY, spec)));
        assertThrows(InvalidAlgorithmParameterException.class, () -> cipher.init(Cipher.DECRYPT_MODE, KEY, (IvParameterSpec) null));
        AlgorithmParameters foreign = AlgorithmParameters.getInstance("PBE");
        foreign.init(new PBEParameterSpec(new byte[8], 1));
        assertRefuses("InvalidAlgorithmParameterException: the parameters hold no IV",
                () -> cipher.init(Cipher.ENCRYPT_MODE, KEY, foreign));
        Map<Key, String> wrongKeys = new HashMap<>(Map.of(
                new SecretKeySpec(new byte[16], "AES"), "invalid key size",
                new SecretKeySpec(new byte[33], "AES"), "invalid key size",
                new SecretKeySpec(new byte[32], "HmacSHA256"), "not an AES key in raw form: HmacSHA256",
                jdkPair("RSA", 1024).getPrivate(), "not an AES key in raw form: RSA"));
        wrongKeys.put(null, "key is null");
        wrongKeys.forEach((key, message) -> {
            assertRefuses("InvalidKeyException: " + message, () -> cipher.init(Cipher.ENCRYPT_MODE, key, IV));
            assertRefuses("InvalidKeyException: " + message, () -> cipher.init(Cipher.ENCRYPT_MODE, key));
        });
    }

    @Test
    void wrapsKeysOfEveryKind() throws Exception {
        Cipher wrapping = zel(Cipher.WRAP_MODE);
        Cipher unwrapping = zel(Cipher.UNWRAP_MODE);
        KeyPair rsa = jdkPair("RSA", 1024);
        Key lent = oddKey(SecretKey.class, "RAW", KEY.getEncoded());
        byte[] wrapped = wrapping.wrap(lent);
        assertArrayEquals(wrapped, wrapping.wrap(lent), "the caller's array has changed");
        assertEquals(KEY, unwrapping.unwrap(wrapped, "AES", Cipher.SECRET_KEY));
        assertEquals(rsa.getPrivate(), unwrapping.unwrap(wrapping.wrap(rsa.getPrivate()), "RSA", Cipher.PRIVATE_KEY));
        assertEquals(rsa.getPublic(), unwrapping.unwrap(wrapping.wrap(rsa.getPublic()), "RSA", Cipher.PUBLIC_KEY));
        assertRefuses("InvalidKeyException: no wrapped key, or wrapped with another one",
                () -> unwrapping.unwrap(new byte[48], "AES", Cipher.SECRET_KEY));
        assertRefuses("InvalidKeyException: the unwrapped bytes are no such key",
                () -> unwrapping.unwrap(wrapped, "RSA", Cipher.PRIVATE_KEY));
        assertThrows(NoSuchAlgorithmException.class, () -> unwrapping.unwrap(wrapped, "None", Cipher.PUBLIC_KEY));
    }
}
