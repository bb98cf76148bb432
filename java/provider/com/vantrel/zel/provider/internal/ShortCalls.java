package com.vantrel.zel.provider.internal;

import java.util.Objects;

/**
 * The native work on short messages: everything goes along as arguments, and no engine is made or looked up.
 *
 * <p>Where this Java can call C itself, and may, it does; else the methods here do, which the native library registers. Who
 * calls does not see which. The arguments are all checked here, in variables that no other thread sees: C takes what it is given.
 */
public final class ShortCalls {
    /** The most bytes that one call takes: while it runs, it may hold up the garbage collector. */
    public static final int MOST_BYTES = 4096;

    /** The bytes of an expanded key of AES-256, in one direction. */
    public static final int SCHEDULE_BYTES = 240;

    /** What {@link #cbc} works with: the expanded key, then the chaining value of one block. */
    public static final int STATE_BYTES = SCHEDULE_BYTES + 16;

    /** How many more calls there are before it is worth while to make Java's own calls of C ready, which takes far longer. */
    private static int leftBefore = 10_000;

    /** Whether Java calls C itself. Any thread may see late that it does. */
    static boolean isForeign;

    private ShortCalls() {}

    /**
     * Writes the digest of {@code message[0 .. length)} to {@code output[offset ..]}.
     *
     * @param digestLength says which digest: 20 or 32
     * @param message the message
     * @param length its length, at most {@link #MOST_BYTES}
     * @param output where the digest goes
     * @param offset where it begins there
     */
    public static void digest(int digestLength, byte[] message, int length, byte[] output, int offset) {
        checkMessage(message, 0, length);
        Objects.checkFromIndexSize(offset, digestLength, output.length);
        requireDone(digestLength, isForeign() ? ForeignCalls.digest(digestLength, message, length, output, offset)
                : digest0(digestLength, message, length, output, offset));
    }

    /**
     * Sends {@code blocks[offset .. offset + length)}, whole blocks, through AES-256 in CBC mode, in place.
     *
     * @param encrypts the direction
     * @param state {@link #STATE_BYTES}, made for this direction; stays as it is
     * @param blocks what is overwritten with the result
     * @param offset where it begins
     * @param length its length, at most {@link #MOST_BYTES}
     */
    public static void cbc(boolean encrypts, byte[] state, byte[] blocks, int offset, int length) {
        checkMessage(blocks, offset, length);
        Objects.checkFromIndexSize(0, STATE_BYTES, state.length);
        int direction = encrypts ? 1 : 0;
        requireDone(length, isForeign() ? ForeignCalls.cbc(direction, state, blocks, offset, length)
                : cbc0(direction, state, blocks, offset, length));
    }

    /**
     * Writes the expanded form of a key to the beginning of {@code state}.
     *
     * @param encrypts the direction that it is for
     * @param key the key
     * @param state {@link #STATE_BYTES}
     */
    public static void expandKey(boolean encrypts, byte[] key, byte[] state) {
        requireDone(SCHEDULE_BYTES, expandKey0(encrypts ? 1 : 0, key, state, 0));
    }

    /**
     * Fills an array, of {@link #MOST_BYTES} at most, from the process's random generator.
     *
     * @param bytes the array
     */
    public static void nextBytes(byte[] bytes) {
        checkMessage(bytes, 0, bytes.length);
        nextBytes0(bytes); // may wait, so it cannot be a call that holds up the garbage collector
    }

    private static void checkMessage(byte[] message, int offset, int length) {
        Objects.checkFromIndexSize(offset, length, message.length);
        Objects.checkFromIndexSize(0, length, MOST_BYTES);
    }

    private static void requireDone(int expected, int written) {
        if (written != expected) {
            throw new IllegalArgumentException("not " + expected + " bytes, but " + written);
        }
    }

    /** Threads may count past each other, so that there may be more than one that makes ready, or one later. */
    private static boolean isForeign() {
        if (!isForeign && leftBefore > 0 && --leftBefore == 0) {
            try {
                Background.start("zel-foreign-calls", () -> isForeign = ForeignCalls.areReady());
            } catch (Error | RuntimeException e) { // no more threads, none allowed, the class loader closed
                leftBefore = 0;
            }
        }
        return isForeign;
    }

    static native long address0(int function);

    private static native int digest0(int digestLength, byte[] input, int length, byte[] output, int offset);

    private static native int cbc0(int encrypts, byte[] state, byte[] blocks, int offset, int length);

    private static native void nextBytes0(byte[] bytes);

    private static native int expandKey0(int encrypts, byte[] key, byte[] output, int offset);
}
