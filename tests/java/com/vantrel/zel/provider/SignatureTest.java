package com.vantrel.zel.provider;

import static com.vantrel.zel.provider.TestKeys.*;
import static org.junit.jupiter.api.Assertions.*;

import java.lang.reflect.Proxy;
import java.math.BigInteger;
import java.security.*;
import java.security.interfaces.*;
import java.security.spec.*;
import java.util.*;
import org.junit.jupiter.api.Test;

/**
 * What random uses of the signatures do not show: keys that nobody makes by chance, and the key pairs made here.
 */
class SignatureTest {
    @Test
    void refusesKeys() throws Exception {
        KeyPair pair = jdkPair("RSA", 1024);
        RSAPrivateCrtKey rsa = (RSAPrivateCrtKey) pair.getPrivate();
        BigInteger n = rsa.getModulus();
        BigInteger p = rsa.getPrimeP();
        BigInteger q = rsa.getPrimeQ();
        BigInteger one = BigInteger.ONE;
        BigInteger of33Bits = one.shiftLeft(32).setBit(0);
        byte[] x509 = pair.getPublic().getEncoded();
        KeyFactory dsa = KeyFactory.getInstance("DSA", "SUN");
        DSAPublicKey dsaKey = (DSAPublicKey) jdkPair("DSA", 1024).getPublic();
        BigInteger y = dsaKey.getY();
        BigInteger dsaP = dsaKey.getParams().getP();
        BigInteger dsaQ = dsaKey.getParams().getQ();
        BigInteger g = dsaKey.getParams().getG();
        Object destroyed = Proxy.newProxyInstance(SignatureTest.class.getClassLoader(), new Class<?>[] {RSAPublicKey.class},
                (proxy, method, arguments) -> {
                    throw new IllegalStateException("destroyed");
                });
        String unreadable = "the key's encoding cannot be read: ";
        String range = "RSA keys must have 512 to 16384 bits, not ";
        Object[][] refused = { // the kind of signature, the message, and keys
            {"RSA", "key is null", null},
            {"RSA", "not a RSAPublicKey: DSA", dsaKey},
            {"DSA", "not a DSAPrivateKey: RSA", rsa},
            {"RSA", "the key is not for the algorithm RSA", keyPair("RSASSA-PSS", 1024, jdkOf("RSA")).getPrivate()},
            {"RSA", "the key has no encoding in the format X.509", odd("X.509", null), odd("RAW", x509)},
            {"RSA", "the key does not give its encoding: destroyed", destroyed},
            {"RSA", unreadable + "an element that runs past the end", odd("X.509", Arrays.copyOf(x509, 40))},
            {"RSA", unreadable + "ends too early", odd("X.509", new byte[0])},
            {"RSA", unreadable + "bytes behind the end", odd("X.509", Arrays.copyOf(x509, x509.length + 1)), oddRsa(0, n, F4, p, q, F4)},
            {"RSA", "the key's encoding has more than 32768 bytes: 32769", odd("X.509", new byte[32769])},
            {"RSA", range + "16385", oddRsa(one.shiftLeft(16384).setBit(0), F4)},
            {"RSA", range + "511", oddRsa(one.shiftLeft(510).setBit(0), F4), oddRsa(0, one.shiftLeft(510).setBit(0), F4, p, q)},
            {"RSA", "the RSA modulus is even", oddRsa(n.clearBit(0), F4)},
            {"RSA", "the public exponent is not an odd number above 1", oddRsa(n, one), oddRsa(n, BigInteger.valueOf(4))},
            {"RSA", "public exponents of more than 32 bits are not supported", oddRsa(n, of33Bits), oddRsa(0, n, of33Bits, p, q)},
            {"RSA", "the RSA key lacks the values of the Chinese remainder theorem",
                oddRsa(0, n, BigInteger.ZERO, BigInteger.ZERO, BigInteger.ZERO)},
            {"RSA", "the primes of the RSA key do not make its modulus", oddRsa(0, n, F4, p.add(BigInteger.TWO), q),
                oddRsa(0, n, F4, n, one), oddRsa(0, p.pow(2), F4, p, p)},
            {"RSA", "RSA keys of more than two primes are not supported", oddRsa(1, n, F4, p, q)},
            {"DSA", "the value y of the DSA key is out of range", dsa.generatePublic(new DSAPublicKeySpec(one, dsaP, dsaQ, g))},
            {"DSA", "the value g of the DSA key is out of range", dsa.generatePublic(new DSAPublicKeySpec(y, dsaP, dsaQ, one)),
                dsa.generatePublic(new DSAPublicKeySpec(y, dsaP, dsaQ, dsaP))},
            {"DSA", "the primes of the DSA key are even", dsa.generatePublic(new DSAPublicKeySpec(y, dsaP.clearBit(0), dsaQ, g)),
                dsa.generatePublic(new DSAPublicKeySpec(y, dsaP, dsaQ.clearBit(0), g))},
            {"DSA", "the value x of the DSA key is out of range", dsa.generatePrivate(new DSAPrivateKeySpec(dsaQ, dsaP, dsaQ, g)),
                dsa.generatePrivate(new DSAPrivateKeySpec(one.shiftLeft(110), dsaP, dsaQ, g))},
            {"DSA", "only DSA keys with a p of 1024 bits and a q of 160 bits are supported, not of 2048 and 224",
                jdkPair("DSA", 2048).getPublic()}};
        for (Object[] row : refused) {
            Signature signature = Signature.getInstance("SHA1with" + row[0], ZEL);
            for (Object key : Arrays.asList(row).subList(2, row.length)) {
                assertRefuses("InvalidKeyException: " + row[1], () -> {
                    if (key instanceof PrivateKey) {
                        signature.initSign((PrivateKey) key);
                    } else {
                        signature.initVerify((PublicKey) key);
                    }
                });
            }
        }
    }

    private static PublicKey odd(String format, byte[] encoded) {
        return oddKey(RSAPublicKey.class, format, encoded);
    }

    @Test
    @SuppressWarnings("deprecation")
    void keepsToTheRulesOfSignature() throws Exception {
        for (String algorithm : List.of("SHA1withRSA", "SHA256withRSA", "SHA1withDSA")) {
            boolean isDsa = algorithm.endsWith("DSA");
            KeyPair pair = jdkPair(algorithm, 1024);
            Signature signature = signing(algorithm, pair, ZEL);
            assertThrows(SignatureException.class, () -> signature.sign(new byte[200], 0, 20));
            assertRefuses("InvalidAlgorithmParameterException: the signature has no parameters",
                    () -> signature.setParameter(PSSParameterSpec.DEFAULT));
            assertRefuses("InvalidParameterException: the signature has no parameters", () -> signature.setParameter("name", "value"));
            assertNull(signature.getParameters());

            // A key that is refused leaves the object as it was, as with the JDK's; one that the engine fails with, uninitialised.
            signature.update((byte) 1);
            assertThrows(InvalidKeyException.class, () -> signature.initSign(jdkPair(isDsa ? "RSA" : "DSA", 1024).getPrivate()));
            signature.update((byte) 2);
            Signature verifying = verifying(algorithm, pair, jdkOf(algorithm));
            verifying.update(new byte[] {1, 2});
            assertTrue(verifying.verify(signature.sign()));
            byte[] ofVersion5 = pair.getPrivate().getEncoded();
            ofVersion5[6] = 5; // behind the heads of a SEQUENCE with a length of two bytes and of the INTEGER
            assertThrows(InvalidKeyException.class, () -> signature.initSign(
                    oddKey(isDsa ? DSAPrivateKey.class : RSAPrivateKey.class, "PKCS#8", ofVersion5)));
            assertRefuses("SignatureException: signature not initialized for signing", signature::sign);
        }
    }

    /** The longest key; since making one takes minutes, the modulus is made for a given signature: s^3 less its message. */
    @Test
    void verifiesWithKeysOf16384Bits() throws Exception {
        String hash = String.format("%064x", new BigInteger(1, MessageDigest.getInstance("SHA-256", "SUN").digest()));
        BigInteger encoded = new BigInteger( // RFC 8017, 9.2
                "0001" + "ff".repeat(2048 - 54) + "00" + "3031300d060960864801650304020105000420" + hash, 16);
        BigInteger s = BigInteger.ONE.shiftLeft(5461).setBit(5458).add(encoded.not().and(BigInteger.ONE)); // for an odd modulus
        Signature signature = Signature.getInstance("SHA256withRSA", ZEL);
        signature.initVerify(oddRsa(s.pow(3).subtract(encoded), BigInteger.valueOf(3)));
        assertTrue(signature.verify(fixed(s, 2048)));
    }

    /** What openssl does not see of the tool's key pairs: sizes, exponents, and parameters that would be ignored. */
    @Test
    void generatesKeyPairsOfGivenSizesOnly() throws Exception {
        KeyPairGenerator rsa = KeyPairGenerator.getInstance("RSA", ZEL);
        assertEquals(2048, ((RSAPublicKey) rsa.generateKeyPair().getPublic()).getModulus().bitLength());
        rsa.initialize(new RSAKeyGenParameterSpec(1152, F4));
        RSAPrivateCrtKey key = (RSAPrivateCrtKey) rsa.generateKeyPair().getPrivate();
        assertEquals(List.of(1152, F4), List.of(key.getModulus().bitLength(), key.getPublicExponent()));
        for (int bits : new int[] {-1024, 0, 512, 1023, 1100, 16512, Integer.MAX_VALUE}) {
            String message = "RSA keys have 1024 to 16384 bits, a multiple of 128, not " + bits;
            assertRefuses("InvalidParameterException: " + message, () -> rsa.initialize(bits));
            assertRefuses("InvalidAlgorithmParameterException: " + message,
                    () -> rsa.initialize(new RSAKeyGenParameterSpec(bits, F4)));
        }
        KeyPairGenerator dsa = KeyPairGenerator.getInstance("DSA", ZEL);
        DSAParams params = ((DSAPrivateKey) dsa.generateKeyPair().getPrivate()).getParams();
        assertEquals(List.of(1024, BigInteger.ONE), List.of(params.getP().bitLength(), params.getP().mod(params.getQ())));
        for (int bits : new int[] {512, 1023, 2048, -1}) {
            assertRefuses("InvalidParameterException: DSA keys have 1024 bits, not " + bits, () -> dsa.initialize(bits));
        }
        DSAParameterSpec given = new DSAParameterSpec(params.getP(), params.getQ(), params.getG());
        String refusal = "InvalidAlgorithmParameterException: ";
        assertRefuses(refusal + "fresh parameters are made for each DSA key pair", () -> dsa.initialize(given));
        assertRefuses(refusal + "an RSAKeyGenParameterSpec is needed", () -> rsa.initialize(given));
        assertRefuses(refusal + "the public exponent is always 65537",
                () -> rsa.initialize(new RSAKeyGenParameterSpec(1024, BigInteger.valueOf(3))));
    }
}
