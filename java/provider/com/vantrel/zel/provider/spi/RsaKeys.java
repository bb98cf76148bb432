package com.vantrel.zel.provider.spi;

import java.io.IOException;
import java.math.BigInteger;
import java.security.InvalidKeyException;
import java.security.KeyFactory;
import java.security.KeyPair;
import java.security.NoSuchAlgorithmException;
import java.security.PrivateKey;
import java.security.ProviderException;
import java.security.PublicKey;
import java.security.interfaces.RSAPrivateKey;
import java.security.interfaces.RSAPublicKey;
import java.security.spec.InvalidKeySpecException;
import java.security.spec.RSAPrivateCrtKeySpec;
import java.security.spec.RSAPublicKeySpec;

/** RSA keys between Java and the native engines: checks keys of any provider, and makes key objects of the JDK. */
final class RsaKeys {
    static final int MIN_BITS = 512;
    static final int MAX_BITS = 16384;

    /** rsaEncryption, 1.2.840.113549.1.1.1. */
    private static final byte[] RSA_ENCRYPTION = {0x2A, (byte) 0x86, 0x48, (byte) 0x86, (byte) 0xF7, 0x0D, 1, 1, 1};

    private RsaKeys() {}

    /** The PKCS#1 form of a public key that the engine can use. */
    static byte[] encodedPublic(PublicKey key) throws InvalidKeyException {
        return KeyEncodings.checked(key, RSAPublicKey.class, "X.509", encoded -> {
            DerReader whole = new DerReader(encoded);
            DerReader info = whole.sequence();
            whole.expectEnd();
            expectRsa(info);
            byte[] pkcs1 = info.bitString().rest();
            info.expectEnd();
            whole = new DerReader(pkcs1);
            DerReader values = whole.sequence();
            whole.expectEnd();
            checkModulus(values.magnitude());
            int exponentAt = values.position();
            checkExponent(pkcs1, exponentAt, values.magnitude());
            values.expectEnd();
            return pkcs1;
        });
    }

    /** The PKCS#8 form of a private key that the engine can use. */
    static byte[] encodedPrivate(PrivateKey key) throws InvalidKeyException {
        return KeyEncodings.checked(key, RSAPrivateKey.class, "PKCS#8", encoded -> {
            DerReader info = new DerReader(encoded).sequence();
            info.magnitude(); // the version, which the engine judges
            expectRsa(info);
            DerReader values = info.octetString().sequence();
            if (values.magnitude().bitLength() != 0) {
                throw new InvalidKeyException("RSA keys of more than two primes are not supported");
            }
            Magnitude n = values.magnitude();
            checkModulus(n);
            int exponentAt = values.position();
            Magnitude e = values.magnitude();
            values.magnitude(); // d, which the engine computes from the others
            Magnitude p = values.magnitude();
            Magnitude q = values.magnitude();
            if (e.bitLength() == 0 || p.bitLength() == 0 || q.bitLength() == 0) { // so are keys of n and d alone encoded
                throw new InvalidKeyException("the RSA key lacks the values of the Chinese remainder theorem");
            }
            checkExponent(encoded, exponentAt, e);
            if (!n.isProduct(p, q) || p.compareTo(q) == 0 || p.bitLength() < 2 || q.bitLength() < 2) {
                throw new InvalidKeyException("the primes of the RSA key do not make its modulus");
            }
            for (int i = 0; i < 3; ++i) {
                values.magnitude(); // dP, dQ and qInv likewise
            }
            values.expectEnd();
            return encoded;
        });
    }

    private static void expectRsa(DerReader info) throws IOException, InvalidKeyException {
        if (!info.sequence().isObjectIdentifier(RSA_ENCRYPTION)) {
            throw new InvalidKeyException("the key is not for the algorithm RSA");
        }
    }

    private static void checkModulus(Magnitude n) throws InvalidKeyException {
        if (n.bitLength() < MIN_BITS || n.bitLength() > MAX_BITS) {
            throw new InvalidKeyException("RSA keys must have " + MIN_BITS + " to " + MAX_BITS + " bits, not "
                    + n.bitLength());
        }
        if (!n.isOdd()) {
            throw new InvalidKeyException("the RSA modulus is even");
        }
    }

    /** Checks the exponent at a place in the encoding; brings one of 32 bits into the form in which the engine reads it. */
    private static void checkExponent(byte[] der, int at, Magnitude e) throws InvalidKeyException {
        if (e.bitLength() > 32) {
            throw new InvalidKeyException("public exponents of more than 32 bits are not supported");
        }
        if (e.bitLength() < 2 || !e.isOdd()) {
            throw new InvalidKeyException("the public exponent is not an odd number above 1");
        }
        if (der[at + 1] == 5) { // 02 05 00 and four octets: the engine takes at most four
            der[at + 1] = (byte) 0x81;
            der[at + 2] = 4;
        }
    }

    /** The key objects for a PKCS#1 RSAPrivateKey. */
    static KeyPair keyPair(byte[] pkcs1) {
        try {
            DerReader values = new DerReader(pkcs1).sequence();
            values.integer();
            BigInteger n = values.integer();
            BigInteger e = values.integer();
            RSAPrivateCrtKeySpec spec = new RSAPrivateCrtKeySpec(n, e, values.integer(), values.integer(),
                    values.integer(), values.integer(), values.integer(), values.integer());
            KeyFactory factory = KeyFactory.getInstance("RSA");
            return new KeyPair(factory.generatePublic(new RSAPublicKeySpec(n, e)), factory.generatePrivate(spec));
        } catch (IOException | NoSuchAlgorithmException | InvalidKeySpecException e) {
            throw new ProviderException("no provider takes the generated key", e);
        }
    }
}
