package com.vantrel.zel.provider.spi;

import java.security.SignatureException;

/** The signature SHA1withRSA (RSASSA-PKCS1-v1_5), computed by the native library. */
public final class ZelSha1WithRsaSignatureSpi extends ZelRsaSignatureSpi {
    private long context0;

    /** A signature that is yet to be initialised. */
    public ZelSha1WithRsaSignatureSpi() {
        super(ZelSha1WithRsaSignatureSpi::new);
    }

    private ZelSha1WithRsaSignatureSpi(long context0) {
        this.context0 = context0;
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
