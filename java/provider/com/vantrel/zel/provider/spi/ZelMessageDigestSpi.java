package com.vantrel.zel.provider.spi;

import com.vantrel.zel.provider.internal.NativeLibrary;
import java.lang.ref.Reference;
import java.security.DigestException;
import java.security.MessageDigestSpi;
import java.util.Arrays;
import java.util.function.LongConsumer;

/**
 * What the message digests have in common: small updates are collected, so that they do not cost a native call each, and
 * the native engine is given back with the object.
 *
 * <p>A native engine cannot be copied, so the digests are not {@link Cloneable}. It is not made for two threads at once
 * either; the locks here turn that mistake of a program into a wrong digest, where it would be the end of the whole virtual
 * machine.
 */
abstract class ZelMessageDigestSpi extends MessageDigestSpi {
    /** How much is collected before it goes to the engine. */
    private static final int COLLECTED_BYTES = 256;

    /** The most that one native call takes: while it runs, the array may hold up the garbage collector. */
    private static final int CALL_BYTES = 1 << 20;

    private final int digestLength;
    private final EngineOwner owner;
    private final byte[] collected;
    private int collectedCount;
    private boolean engineHasInput;

    ZelMessageDigestSpi(int digestLength, LongConsumer delete) {
        NativeLibrary.load();
        this.digestLength = digestLength;
        this.owner = new EngineOwner(this, delete);
        this.collected = new byte[COLLECTED_BYTES];
    }

    /** A blank object, made only to hand an engine's address to {@code deleteContext0}. */
    ZelMessageDigestSpi() {
        digestLength = 0;
        owner = null;
        collected = null;
    }

    abstract long context0();

    abstract void engineUpdate0(byte[] input, int offset, int length);

    abstract void engineReset0();

    abstract byte[] engineDigest0();

    abstract int engineDigest0(byte[] output, int offset, int length);

    @Override
    protected final int engineGetDigestLength() {
        return digestLength;
    }

    @Override
    protected final synchronized void engineUpdate(byte input) {
        if (collectedCount == COLLECTED_BYTES) {
            flush();
        }
        collected[collectedCount++] = input;
    }

    @Override
    protected final synchronized void engineUpdate(byte[] input, int offset, int length) {
        Slices.check(input, offset, length);
        if (length > COLLECTED_BYTES - collectedCount) {
            flush();
        }
        if (length >= COLLECTED_BYTES) {
            updateEngine(input, offset, length);
        } else {
            System.arraycopy(input, offset, collected, collectedCount, length);
            collectedCount += length;
        }
    }

    @Override
    protected final synchronized void engineReset() {
        forgetCollected();
        if (engineHasInput) {
            try {
                engineReset0();
                engineHasInput = false;
            } finally {
                noteEngine();
            }
        }
    }

    @Override
    protected final synchronized byte[] engineDigest() {
        flush();
        try {
            byte[] digest = engineDigest0();
            engineHasInput = false;
            return digest;
        } finally {
            noteEngine();
        }
    }

    @Override
    protected final synchronized int engineDigest(byte[] output, int offset, int length) throws DigestException {
        if (length < digestLength || offset < 0 || offset > output.length - length) {
            throw new DigestException("insufficient space for digest");
        }
        flush();
        try {
            int written = engineDigest0(output, offset, length);
            engineHasInput = false;
            return written;
        } finally {
            noteEngine();
        }
    }

    private void flush() {
        if (collectedCount > 0) {
            updateEngine(collected, 0, collectedCount);
            forgetCollected();
        }
    }

    private void forgetCollected() {
        Arrays.fill(collected, 0, collectedCount, (byte) 0);
        collectedCount = 0;
    }

    private void updateEngine(byte[] input, int offset, int length) {
        engineHasInput = true;
        try {
            int at = offset;
            for (int left = length; left > 0;) { // counts down: a position beyond the last piece could overflow
                int piece = Math.min(CALL_BYTES, left);
                engineUpdate0(input, at, piece);
                at += piece;
                left -= piece;
            }
        } finally {
            noteEngine();
        }
    }

    /** To be called after every native call that may have made an engine; keeps this object alive until then. */
    private void noteEngine() {
        owner.bound(context0());
        Reference.reachabilityFence(this);
    }
}
