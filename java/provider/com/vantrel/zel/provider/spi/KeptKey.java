package com.vantrel.zel.provider.spi;

import java.util.Arrays;

/** The encoding of the key in use, zeroed as soon as another one takes its place. */
final class KeptKey {
    private volatile byte[] bytes = new byte[0];

    byte[] bytes() {
        return bytes;
    }

    /** Takes over the array, and zeroes the one before. */
    void replace(byte[] encoded) {
        byte[] before = bytes;
        bytes = encoded;
        Arrays.fill(before, (byte) 0);
    }

    void forget() {
        replace(new byte[0]);
    }
}
