package com.vantrel.zel.provider.spi;

import com.vantrel.zel.provider.internal.NativeLibrary;
import com.vantrel.zel.provider.internal.RandomStart;
import java.lang.ref.Reference;
import java.security.KeyPair;
import java.security.KeyPairGeneratorSpi;
import java.util.Arrays;
import java.util.function.LongFunction;

/**
 * What the key pair generators have in common: one native call returns DER, which becomes key objects of the JDK and is zeroed. The
 * first call in a process waits until the random generator has started.
 */
abstract class ZelKeyPairGeneratorSpi extends KeyPairGeneratorSpi {
    private final EngineOwner owner;

    /** @param ofEngine makes the object that deletes an engine, from its address */
    ZelKeyPairGeneratorSpi(LongFunction<ZelKeyPairGeneratorSpi> ofEngine) {
        NativeLibrary.load();
        owner = new EngineOwner(this, context0 -> ofEngine.apply(context0).deleteContext0());
    }

    /** For {@code ofEngine}. */
    ZelKeyPairGeneratorSpi() {
        owner = null;
    }

    /** The field of the native engine's address, or 0, which the native side writes. */
    abstract long context0();

    abstract void deleteContext0();

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
