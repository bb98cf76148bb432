package com.vantrel.zel.provider.spi;

import com.vantrel.zel.provider.internal.NativeLibrary;
import com.vantrel.zel.provider.internal.ShortCalls;
import java.lang.ref.Reference;
import java.security.DigestException;
import java.security.MessageDigestSpi;
import java.util.Arrays;
import java.util.function.LongFunction;

/**
 * What the message digests have in common: a message is buffered, and as long as the buffer holds all of it, its digest is one
 * short call. A longer one goes to a native engine, a buffer at a time ({@link #flush} is where the two meet); the engine is
 * made then, and deleted with the object.
 *
 * <p>A digest is not made for two threads at once. The locks here turn that mistake of a program into a wrong digest, where
 * it would be the end of the whole virtual machine.
 */
abstract class ZelMessageDigestSpi extends MessageDigestSpi implements Cloneable {
    /** The most that is buffered. With a larger buffer copying would take as long as the engine does. */
    static final int BUFFER_BYTES = ShortCalls.MOST_BYTES;

    private static final int FIRST_BUFFER_BYTES = 64;
    private static final byte[] NONE = {};

    /** The most that one native call takes: while it runs, the array may hold up the garbage collector. */
    private static final int CALL_BYTES = 1 << 20;

    private final int digestLength;
    private final LongFunction<ZelMessageDigestSpi> ofEngine;

    /** Null until there may be an engine. */
    private EngineOwner owner;

    private byte[] buffer = NONE;
    private int bufferCount;
    private boolean engineHasInput;

    /** @param ofEngine makes the object that deletes an engine, from its address */
    ZelMessageDigestSpi(int digestLength, LongFunction<ZelMessageDigestSpi> ofEngine) {
        NativeLibrary.load();
        this.digestLength = digestLength;
        this.ofEngine = ofEngine;
    }

    /** For {@code ofEngine}. */
    ZelMessageDigestSpi() {
        digestLength = 0;
        ofEngine = null;
    }

    /** The field of the native engine's address, or 0, which the native side writes. */
    abstract long context0();

    /** Sets the field to 0 in a clone, where it is the copy of another object's. */
    abstract void clearContext0();

    abstract void deleteContext0();

    abstract void engineUpdate0(byte[] input, int offset, int length);

    abstract void engineReset0();

    abstract byte[] engineDigest0();

    abstract int engineDigest0(byte[] output, int offset, int length);

    /** Gives this object, which has no engine, a copy of the other's. */
    final native void copyEngine0(ZelMessageDigestSpi from);

    @Override
    public final synchronized Object clone() throws CloneNotSupportedException {
        ZelMessageDigestSpi copy = (ZelMessageDigestSpi) super.clone();
        copy.clearContext0();
        copy.owner = null;
        copy.buffer = buffer.clone();
        if (engineHasInput) {
            copy.watchEngine();
            try {
                copy.copyEngine0(this);
            } finally {
                copy.noteEngine();
            }
        }
        return copy;
    }

    @Override
    protected final int engineGetDigestLength() {
        return digestLength;
    }

    @Override
    protected final synchronized void engineUpdate(byte input) {
        if (bufferCount == buffer.length) {
            makeRoom(1);
        }
        buffer[bufferCount++] = input;
    }

    @Override
    protected final synchronized void engineUpdate(byte[] input, int offset, int length) {
        Slices.check(input, offset, length);
        if (length > BUFFER_BYTES) {
            flush();
            updateEngine(input, offset, length);
        } else {
            if (length > buffer.length - bufferCount) {
                makeRoom(length);
            }
            System.arraycopy(input, offset, buffer, bufferCount, length);
            bufferCount += length;
        }
    }

    @Override
    protected final synchronized void engineReset() {
        clearBuffer();
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
        if (!engineHasInput) {
            byte[] digest = new byte[digestLength];
            digestBuffer(digest, 0);
            return digest;
        }
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
        if (!engineHasInput) {
            digestBuffer(output, offset);
            return digestLength;
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

    private void digestBuffer(byte[] output, int offset) {
        ShortCalls.digest(digestLength, buffer, bufferCount, output, offset);
        clearBuffer();
    }

    /** Makes room for so many bytes, at most {@link #BUFFER_BYTES}; flushes the buffer if it would be too much. */
    private void makeRoom(int length) {
        if (length > BUFFER_BYTES - bufferCount) {
            flush();
        }
        int needed = bufferCount + length;
        if (needed > buffer.length) {
            byte[] small = buffer;
            buffer = Arrays.copyOf(small, Math.min(BUFFER_BYTES, Math.max(needed, Math.max(FIRST_BUFFER_BYTES, 2 * small.length))));
            Arrays.fill(small, (byte) 0);
        }
    }

    /** Hands the buffer to the engine; from now on the message is the engine's. */
    private void flush() {
        if (bufferCount > 0) {
            updateEngine(buffer, 0, bufferCount);
            clearBuffer();
        }
    }

    private void clearBuffer() {
        Arrays.fill(buffer, 0, bufferCount, (byte) 0);
        bufferCount = 0;
    }

    private void updateEngine(byte[] input, int offset, int length) {
        watchEngine();
        engineHasInput = true;
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

    /** To be called before a native call that may make an engine. */
    private void watchEngine() {
        if (owner == null) {
            LongFunction<ZelMessageDigestSpi> deleting = ofEngine; // the cleaning action must not hold this object
            owner = new EngineOwner(this, context0 -> deleting.apply(context0).deleteContext0());
        }
    }

    /** To be called after every native call that may have made an engine; keeps this object alive until then. */
    private void noteEngine() {
        owner.bound(context0());
        Reference.reachabilityFence(this);
    }
}
