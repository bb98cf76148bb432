package com.vantrel.zel.provider.spi;

import com.vantrel.zel.provider.internal.NativeLibrary;
import com.vantrel.zel.provider.internal.RandomStart;
import java.lang.ref.Reference;
import java.security.KeyPair;
import java.security.KeyPairGeneratorSpi;
import java.util.Arrays;
import java.util.function.LongConsumer;

/**
 * What the key pair generators have in common: one native call, whose DER becomes key objects of the JDK and is zeroed. The
 * first call in a process waits until the random generator has started.
 */
abstract class ZelKeyPairGeneratorSpi extends KeyPairGeneratorSpi {
    private final EngineOwner owner;

    ZelKeyPairGeneratorSpi(LongConsumer delete) {
        NativeLibrary.load();
        owner = new EngineOwner(this, delete);
    }

    /** A blank object, made only to hand an engine's address to {@code deleteContext0}. */
    ZelKeyPairGeneratorSpi() {
        owner = null;
    }

    abstract long context0();

    /** The DER of a fresh key, by the native engine. */
    abstract byte[] generate();

    /** The key objects for it. */
    abstract KeyPair keyPair(byte[] der);

    @Override
    public final synchronized KeyPair generateKeyPair() {
        byte[][] der = new byte[1][];
        try {
            RandomStart.withFailureOfStart(() -> der[0] = generate());
        } finally {
            owner.bound(context0());
            Reference.reachabilityFence(this);
        }
        try {
            return keyPair(der[0]);
        } finally {
            Arrays.fill(der[0], (byte) 0);
        }
    }
}
