package com.vantrel.zel.provider.spi;

import com.vantrel.zel.provider.internal.NativeLibrary;
import java.lang.ref.Reference;
import java.security.AlgorithmParameters;
import java.security.InvalidAlgorithmParameterException;
import java.security.InvalidKeyException;
import java.security.InvalidParameterException;
import java.security.PrivateKey;
import java.security.ProviderException;
import java.security.PublicKey;
import java.security.SignatureException;
import java.security.SignatureSpi;
import java.security.spec.AlgorithmParameterSpec;
import java.util.Arrays;
import java.util.function.LongFunction;

/**
 * What the signatures have in common. The native engine forgets its key with every signature; this class keeps the key and
 * initialises the engine again for the next message, so that the object stays usable, as every Signature does. A key that is
 * refused leaves the object as it was; one with which the engine fails leaves it uninitialised.
 *
 * <p>A private key is asked for its encoding whenever the engine is to have it, and that copy is wiped at once: kept, it would
 * stand in memory for as long as the object does.
 *
 * <p>A signature is not made for two threads at once. The locks turn that mistake of a program into wrong signatures, where
 * it would be the end of the whole virtual machine.
 */
abstract class ZelSignatureSpi extends SignatureSpi {
    /** The most that one native call takes: while it runs, the array may hold up the garbage collector. */
    private static final int CALL_BYTES = 1 << 20;

    private enum Mode { NONE, SIGNING, VERIFYING }

    private final EngineOwner owner;

    /** The key of the mode, the public one as the engine takes it. */
    private PrivateKey privateKey;
    private byte[] publicKey;
    private Mode mode = Mode.NONE;

    /** Whether the engine has the key, and stands in or before the current message. */
    private boolean isReady;

    /** @param ofEngine makes the object that deletes an engine, from its address */
    ZelSignatureSpi(LongFunction<ZelSignatureSpi> ofEngine) {
        NativeLibrary.load();
        owner = new EngineOwner(this, context0 -> ofEngine.apply(context0).deleteContext0());
    }

    /** For {@code ofEngine}. */
    ZelSignatureSpi() {
        owner = null;
    }

    /** The field of the native engine's address, or 0, which the native side writes. */
    abstract long context0();

    abstract void engineInitVerify0(byte[] publicKey);

    abstract void engineInitSign0(byte[] privateKey);

    abstract void engineUpdate0(byte input) throws SignatureException;

    abstract void engineUpdate0(byte[] input, int offset, int length) throws SignatureException;

    abstract byte[] engineSign0() throws SignatureException;

    abstract boolean engineVerify0(byte[] signature) throws SignatureException;

    abstract void deleteContext0();

    /** The encoding of a public key that the engine reads, as an array for this object alone. */
    abstract byte[] encoded(PublicKey publicKey) throws InvalidKeyException;

    /** The same for a private key. */
    abstract byte[] encoded(PrivateKey privateKey) throws InvalidKeyException;

    /** Whether this is a signature of the message, by {@link #engineVerify0} after looking at its form. */
    abstract boolean verifyByEngine(byte[] signature, byte[] publicKey) throws SignatureException;

    @Override
    protected final synchronized void engineInitVerify(PublicKey key) throws InvalidKeyException {
        init(Mode.VERIFYING, null, encoded(key));
    }

    @Override
    protected final synchronized void engineInitSign(PrivateKey key) throws InvalidKeyException {
        init(Mode.SIGNING, key, encoded(key));
    }

    private void init(Mode newMode, PrivateKey newPrivateKey, byte[] encoded) throws InvalidKeyException {
        mode = newMode;
        privateKey = newPrivateKey;
        publicKey = newMode == Mode.VERIFYING ? encoded : null;
        isReady = false;
        try {
            loadKey(encoded);
        } catch (ProviderException e) {
            throw new InvalidKeyException(e.getMessage(), e);
        } finally {
            if (!isReady) { // whatever was thrown: no message may begin half initialised
                mode = Mode.NONE;
                privateKey = null;
            }
        }
    }

    /** Initialises the engine, and wipes the encoding of a private key. */
    private void loadKey(byte[] encoded) {
        try {
            if (mode == Mode.SIGNING) {
                engineInitSign0(encoded);
            } else {
                engineInitVerify0(encoded);
            }
        } finally {
            if (mode == Mode.SIGNING) {
                Arrays.fill(encoded, (byte) 0);
            }
            noteEngine();
        }
        isReady = true;
    }

    private void makeReady() throws SignatureException {
        if (isReady) {
            return;
        }
        try {
            loadKey(mode == Mode.SIGNING ? encoded(privateKey) : publicKey);
        } catch (InvalidKeyException e) { // destroyed meanwhile
            throw new SignatureException(e.getMessage(), e);
        }
    }

    /** Refuses a mode that the object is not initialised for; null stands for either. */
    private void begin(Mode needed, String refusal) throws SignatureException {
        if (mode == Mode.NONE || needed != null && mode != needed) {
            throw new SignatureException(refusal);
        }
        makeReady();
    }

    @Override
    protected final synchronized void engineUpdate(byte input) throws SignatureException {
        begin(null, "signature not initialized");
        try {
            engineUpdate0(input);
        } finally {
            noteEngine();
        }
    }

    @Override
    protected final synchronized void engineUpdate(byte[] input, int offset, int length) throws SignatureException {
        Slices.check(input, offset, length);
        begin(null, "signature not initialized");
        try {
            int at = offset;
            for (int remaining = length; remaining > 0;) { // counts down: a position beyond the last piece could overflow
                int piece = Math.min(CALL_BYTES, remaining);
                engineUpdate0(input, at, piece);
                at += piece;
                remaining -= piece;
            }
        } finally {
            noteEngine();
        }
    }

    @Override
    protected final synchronized byte[] engineSign() throws SignatureException {
        begin(Mode.SIGNING, "signature not initialized for signing");
        isReady = false; // whatever comes, the next message is a new one
        try {
            return engineSign0();
        } finally {
            noteEngine();
        }
    }

    @Override
    protected final synchronized boolean engineVerify(byte[] signature) throws SignatureException {
        begin(Mode.VERIFYING, "signature not initialized for verifying");
        isReady = false;
        try {
            return verifyByEngine(signature, publicKey);
        } finally {
            noteEngine();
        }
    }

    /** To be called after every native call that may have made an engine; keeps this object alive until then. */
    private void noteEngine() {
        owner.bound(context0());
        Reference.reachabilityFence(this);
    }

    @Override
    protected final void engineSetParameter(AlgorithmParameterSpec params) throws InvalidAlgorithmParameterException {
        if (params != null) {
            throw new InvalidAlgorithmParameterException("the signature has no parameters");
        }
    }

    @Override
    protected final AlgorithmParameters engineGetParameters() {
        return null;
    }

    @Override
    @Deprecated
    protected final void engineSetParameter(String name, Object value) {
        throw new InvalidParameterException("the signature has no parameters");
    }

    @Override
    @Deprecated
    protected final Object engineGetParameter(String name) {
        throw new InvalidParameterException("the signature has no parameters");
    }
}
