package com.vantrel.zel.provider.spi;

/** SHA-256, computed by the native library. */
public final class ZelSha256MessageDigestSpi extends ZelMessageDigestSpi {
    private long context0;

    /** A digest of the empty message. */
    public ZelSha256MessageDigestSpi() {
        super(32, ZelSha256MessageDigestSpi::new);
    }

    private ZelSha256MessageDigestSpi(long context0) {
        this.context0 = context0;
    }

    @Override long context0() {
        return context0;
    }

    @Override void clearContext0() {
        context0 = 0;
    }

    native void engineUpdate0(byte input);
    @Override native void engineUpdate0(byte[] input, int offset, int length);
    @Override native void engineReset0();
    @Override native byte[] engineDigest0();
    @Override native int engineDigest0(byte[] output, int offset, int length);
    @Override native void deleteContext0();
}
