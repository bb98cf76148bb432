package com.vantrel.zel.provider.spi;

import java.io.IOException;
import java.security.InvalidKeyException;
import java.security.PrivateKey;
import java.security.PublicKey;
import java.security.SignatureException;
import java.util.function.LongFunction;

/** What the RSA signatures have in common: their keys, and the refusal of signatures that are not below the modulus. */
abstract class ZelRsaSignatureSpi extends ZelSignatureSpi {
    ZelRsaSignatureSpi(LongFunction<ZelSignatureSpi> ofEngine) {
        super(ofEngine);
    }

    ZelRsaSignatureSpi() {}

    @Override
    final byte[] encoded(PublicKey publicKey) throws InvalidKeyException {
        return RsaKeys.encodedPublic(publicKey);
    }

    @Override
    final byte[] encoded(PrivateKey privateKey) throws InvalidKeyException {
        return RsaKeys.encodedPrivate(privateKey);
    }

    @Override
    final boolean verifyByEngine(byte[] signature, byte[] publicKey) throws SignatureException {
        Magnitude n = modulus(publicKey);
        // The engine would reduce it: a signature would have more than one form.
        if (signature.length == (n.bitLength() + 7) / 8 && new Magnitude(signature, 0, signature.length).compareTo(n) >= 0) {
            return false;
        }
        return engineVerify0(signature);
    }

    private static Magnitude modulus(byte[] pkcs1) {
        try {
            return new DerReader(pkcs1).sequence().magnitude();
        } catch (IOException e) {
            throw new AssertionError(e); // it has been read before
        }
    }
}
