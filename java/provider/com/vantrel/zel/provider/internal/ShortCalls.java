package com.vantrel.zel.provider.internal;

import java.util.Objects;

/**
 * The native work on short messages: all data are arguments, and no engine is made or looked up.
 *
 * <p>C is called by Java's foreign functions where this version has them and may use them, else by the native methods here, which the
 * library registers. The arguments are all checked here, in variables that no other thread sees: C does not check them.
 */
public final class ShortCalls {
    /** The most bytes that one call takes: while it runs, it may hold up the garbage collector. */
    public static final int MOST_BYTES = 4096;

    /** The bytes of an expanded key of AES-256, in one direction. */
    public static final int SCHEDULE_BYTES = 240;

    /** What {@link #cbc} works with: the expanded key, then the chaining value of one block. */
    public static final int STATE_BYTES = SCHEDULE_BYTES + 16;

    /** How many calls are made before foreign functions are prepared, which takes far longer than a call. */
    private static int callsBeforeForeign = 10_000;

    /** Whether foreign functions are used. A thread may see late that they are. */
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
     * @param state {@link #STATE_BYTES}, with the key expanded for this direction; not changed
     * @param blocks the blocks, which the result overwrites
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

    /** Threads may miss each other's counts: the preparation may begin twice, or late. */
    private static boolean isForeign() {
        if (!isForeign && callsBeforeForeign > 0 && --callsBeforeForeign == 0) {
            try {
                Background.start("zel-foreign-calls", () -> isForeign = ForeignCalls.areReady());
            } catch (Error | RuntimeException e) { // no more threads, none allowed, the class loader closed
                callsBeforeForeign = 0;
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
