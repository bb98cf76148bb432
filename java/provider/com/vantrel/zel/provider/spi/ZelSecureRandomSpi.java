package com.vantrel.zel.provider.spi;

import com.vantrel.zel.provider.internal.NativeLibrary;
import com.vantrel.zel.provider.internal.RandomStart;
import com.vantrel.zel.provider.internal.ShortCalls;
import java.io.IOException;
import java.io.ObjectInputStream;
import java.security.SecureRandomParameters;
import java.security.SecureRandomSpi;

/**
 * The FIPS 186-2 generator of the native library. All objects, in all threads, draw from and feed the one generator of the
 * process, which is made in the background when the provider starts; the first use waits for the rest of that time.
 */
public final class ZelSecureRandomSpi extends SecureRandomSpi {
    private static final long serialVersionUID = 1L;

    /** The native engine's address, or 0; written by the native side. The engine is the process's and is never freed. */
    private transient long context0;

    /** A view of the process's generator. */
    public ZelSecureRandomSpi() {
        NativeLibrary.load();
    }

    /**
     * The constructor that the platform looks for first: without it an exception would take longer than all the rest.
     *
     * @param parameters null
     * @throws IllegalArgumentException if there are any: this generator has none
     */
    public ZelSecureRandomSpi(SecureRandomParameters parameters) {
        this();
        if (parameters != null) {
            throw new IllegalArgumentException("no parameters are supported");
        }
    }

    /**
     * A stored object comes back as a view of the generator of the process that reads it.
     *
     * @param in what was stored
     * @throws IOException if it cannot be read
     * @throws ClassNotFoundException if it is of another kind
     */
    private void readObject(ObjectInputStream in) throws IOException, ClassNotFoundException {
        in.defaultReadObject();
        NativeLibrary.load();
    }

    /** Adds to the generator the lowest bit of each byte; never replaces its state. */
    @Override
    protected void engineSetSeed(byte[] seed) {
        RandomStart.withFailureOfStart(() -> engineSetSeed0(seed));
    }

    @Override
    protected void engineNextBytes(byte[] bytes) {
        boolean isShort = bytes != null && bytes.length <= ShortCalls.MOST_BYTES;
        RandomStart.withFailureOfStart(isShort ? () -> ShortCalls.nextBytes(bytes) : () -> engineNextBytes0(bytes));
    }

    /** Ordinary output of the generator: there is no separate source of entropy. */
    @Override
    protected byte[] engineGenerateSeed(int numBytes) {
        byte[][] seed = new byte[1][];
        RandomStart.withFailureOfStart(() -> seed[0] = engineGenerateSeed0(numBytes));
        return seed[0];
    }

    native void engineSetSeed0(byte[] seed);

    native void engineNextBytes0(byte[] bytes);

    native byte[] engineGenerateSeed0(int numBytes);
}
