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
import java.security.interfaces.DSAPrivateKey;
import java.security.interfaces.DSAPublicKey;
import java.security.spec.DSAPrivateKeySpec;
import java.security.spec.DSAPublicKeySpec;
import java.security.spec.InvalidKeySpecException;

/** DSA keys between Java and the native engines: checks keys of any provider, and makes key objects of the JDK. */
final class DsaKeys {
    static final int P_BITS = 1024;
    static final int Q_BITS = 160;

    /** With a shorter x the engine draws nonces so short that its signatures give the key away. */
    private static final int MIN_X_BITS = 112;

    /** id-dsa, 1.2.840.10040.4.1. */
    private static final byte[] ID_DSA = {0x2A, (byte) 0x86, 0x48, (byte) 0xCE, 0x38, 4, 1};

    private DsaKeys() {}

    /** The X.509 form of a public key that the engine can use. */
    static byte[] encodedPublic(PublicKey key) throws InvalidKeyException {
        return KeyEncodings.checked(key, DSAPublicKey.class, "X.509", encoded -> {
            DerReader info = new DerReader(encoded).sequence();
            Magnitude p = checkedParameters(info.sequence())[0];
            checkRange("y", info.bitString().magnitude(), p);
            return encoded;
        });
    }

    /** The PKCS#8 form of a private key that the engine can use. */
    static byte[] encodedPrivate(PrivateKey key) throws InvalidKeyException {
        return KeyEncodings.checked(key, DSAPrivateKey.class, "PKCS#8", encoded -> {
            DerReader info = new DerReader(encoded).sequence();
            info.integer(); // the version, which the engine judges
            Magnitude q = checkedParameters(info.sequence())[1];
            Magnitude x = info.octetString().magnitude();
            if (x.bitLength() < MIN_X_BITS || x.compareTo(q) >= 0) {
                throw new InvalidKeyException("the value x of the DSA key is out of range");
            }
            return encoded;
        });
    }

    /** Reads p, q and g, in this order. */
    private static Magnitude[] checkedParameters(DerReader algorithm) throws IOException, InvalidKeyException {
        if (!algorithm.isObjectIdentifier(ID_DSA)) {
            throw new InvalidKeyException("the key is not for the algorithm DSA");
        }
        if (algorithm.isAtEnd()) {
            throw new InvalidKeyException("the DSA key has no parameters of its own");
        }
        DerReader values = algorithm.sequence();
        Magnitude[] parameters = {values.magnitude(), values.magnitude(), values.magnitude()};
        if (parameters[0].bitLength() != P_BITS || parameters[1].bitLength() != Q_BITS) {
            throw new InvalidKeyException("only DSA keys with a p of " + P_BITS + " bits and a q of " + Q_BITS
                    + " bits are supported, not of " + parameters[0].bitLength() + " and " + parameters[1].bitLength());
        }
        if (!parameters[0].isOdd() || !parameters[1].isOdd()) {
            throw new InvalidKeyException("the primes of the DSA key are even");
        }
        checkRange("g", parameters[2], parameters[0]);
        return parameters;
    }

    private static void checkRange(String name, Magnitude value, Magnitude p) throws InvalidKeyException {
        if (value.bitLength() < 2 || value.compareTo(p) >= 0) {
            throw new InvalidKeyException("the value " + name + " of the DSA key is out of range");
        }
    }

    /** The key objects for a SEQUENCE of 0, p, q, g, y and x. */
    static KeyPair keyPair(byte[] der) {
        try {
            DerReader values = new DerReader(der).sequence();
            values.integer();
            BigInteger p = values.integer();
            BigInteger q = values.integer();
            BigInteger g = values.integer();
            DSAPublicKeySpec publicSpec = new DSAPublicKeySpec(values.integer(), p, q, g);
            DSAPrivateKeySpec privateSpec = new DSAPrivateKeySpec(values.integer(), p, q, g);
            KeyFactory factory = KeyFactory.getInstance("DSA");
            return new KeyPair(factory.generatePublic(publicSpec), factory.generatePrivate(privateSpec));
        } catch (IOException | NoSuchAlgorithmException | InvalidKeySpecException e) {
            throw new ProviderException("no provider takes the generated key", e);
        }
    }
}
