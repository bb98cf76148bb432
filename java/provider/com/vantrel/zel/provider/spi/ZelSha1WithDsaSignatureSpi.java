package com.vantrel.zel.provider.spi;

import java.io.IOException;
import java.math.BigInteger;
import java.security.InvalidKeyException;
import java.security.PrivateKey;
import java.security.PublicKey;
import java.security.SignatureException;

/**
 * The signature SHA1withDSA with keys of 1024 and 160 bits, computed by the native library. Its random numbers come from the
 * library's own generator, also where {@code initSign} is given a SecureRandom.
 */
public final class ZelSha1WithDsaSignatureSpi extends ZelSignatureSpi {
    /** The engine's message for a well-formed signature that is wrong. */
    private static final String WRONG = "error verifying signature";

    private static final int VALUE_BYTES = 1 + DsaKeys.Q_BITS / 8;

    private long context0;

    /** A signature that is yet to be initialised. */
    public ZelSha1WithDsaSignatureSpi() {
        super(ZelSha1WithDsaSignatureSpi::new);
    }

    private ZelSha1WithDsaSignatureSpi(long context0) {
        this.context0 = context0;
    }

    @Override
    byte[] encoded(PublicKey publicKey) throws InvalidKeyException {
        return DsaKeys.encodedPublic(publicKey);
    }

    @Override
    byte[] encoded(PrivateKey privateKey) throws InvalidKeyException {
        return DsaKeys.encodedPrivate(privateKey);
    }

    @Override
    boolean verifyByEngine(byte[] signature, byte[] publicKey) throws SignatureException {
        byte[] padded = padded(signature);
        try {
            return engineVerify0(padded);
        } catch (SignatureException e) {
            if (WRONG.equals(e.getMessage())) {
                return false;
            }
            throw e;
        }
    }

    /**
     * The signature in its longest form, which the engine never refuses for its length.
     *
     * @throws SignatureException if it is no SEQUENCE of two INTEGERs in DER, or they are too large for any key
     */
    private static byte[] padded(byte[] signature) throws SignatureException {
        byte[] padded = new byte[2 + 2 * (2 + VALUE_BYTES)];
        padded[0] = 0x30;
        padded[1] = (byte) (padded.length - 2);
        try {
            DerReader whole = new DerReader(signature);
            DerReader values = whole.sequence();
            put(values.integer(), padded, 2);
            put(values.integer(), padded, 4 + VALUE_BYTES);
            values.expectEnd();
            whole.expectEnd();
        } catch (IOException e) {
            throw new SignatureException("invalid encoding of the signature: " + e.getMessage(), e);
        }
        return padded;
    }

    private static void put(BigInteger value, byte[] target, int at) throws SignatureException {
        if (value.bitLength() > DsaKeys.Q_BITS) {
            throw new SignatureException("a value of the signature is out of range");
        }
        target[at] = 0x02;
        target[at + 1] = VALUE_BYTES;
        byte[] bytes = value.toByteArray();
        System.arraycopy(bytes, 0, target, at + 2 + VALUE_BYTES - bytes.length, bytes.length);
    }

    @Override long context0() {
        return context0;
    }

    @Override native void engineInitVerify0(byte[] publicKey);
    @Override native void engineInitSign0(byte[] privateKey);
    @Override native void engineUpdate0(byte input) throws SignatureException;
    @Override native void engineUpdate0(byte[] input, int offset, int length) throws SignatureException;
    @Override native byte[] engineSign0() throws SignatureException;
    native int engineSign0(byte[] output, int offset, int length) throws SignatureException;
    @Override native boolean engineVerify0(byte[] signature) throws SignatureException;
    native boolean engineVerify0(byte[] signature, int offset, int length) throws SignatureException;
    @Override native void deleteContext0();
}
