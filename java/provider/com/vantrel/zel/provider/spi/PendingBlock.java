package com.vantrel.zel.provider.spi;

import java.util.Arrays;

/**
 * The bytes of a message that wait for the rest of their block; on decryption also a whole block, which may be the last one, with
 * the padding. The methods take an input, which continues the pending bytes, and treat both as one sequence.
 *
 * <p>The engine is thus only given whole blocks before the end, so that it keeps nothing pending, takes nothing from a wrong place
 * and has nothing left over for the next message.
 */
final class PendingBlock {
    /** How much of the input is joined to the pending bytes, to spare a native call of their own. */
    private static final int JOINED_BYTES = 4096;

    private final byte[] bytes = new byte[AesCbc.BLOCK_BYTES];
    private int count;

    int count() {
        return count;
    }

    /** The length with an input of so many bytes. */
    long sizeWith(int length) {
        return (long) count + length;
    }

    void clear() {
        Arrays.fill(bytes, (byte) 0);
        count = 0;
    }

    /**
     * The input, or a copy of its slice where writing {@code size} bytes of output would overwrite what is still to be read. Output
     * in the input's own place does not, unless pending bytes move it ahead.
     */
    byte[] apart(byte[] input, int offset, int length, byte[] output, int outputOffset, int size) {
        boolean overlaps = input == output && offset < (long) outputOffset + size && outputOffset < (long) offset + length;
        boolean isInPlace = offset == outputOffset && count == 0;
        return overlaps && !isInPlace ? Arrays.copyOfRange(input, offset, offset + length) : input;
    }

    /** Copies the first {@code size} bytes; at least the pending ones. */
    void copyFirst(byte[] input, int offset, int size, byte[] target, int targetOffset) {
        System.arraycopy(input, offset, target, targetOffset + count, size - count);
        System.arraycopy(bytes, 0, target, targetOffset, count);
    }

    /** A copy of the last block. */
    byte[] lastBlock(byte[] input, int offset, int length) {
        byte[] block = new byte[AesCbc.BLOCK_BYTES];
        int own = Math.max(block.length - length, 0);
        System.arraycopy(bytes, count - own, block, 0, own);
        System.arraycopy(input, offset + length - (block.length - own), block, own, block.length - own);
        return block;
    }

    /** Sends the first {@code size} bytes, whole blocks, through the cipher. */
    void transform(AesCbc cbc, byte[] input, int offset, int size, byte[] output, int outputOffset) {
        if (size == 0) {
            return;
        }
        if (cbc.isShort(size)) {
            copyFirst(input, offset, size, output, outputOffset);
            cbc.shortUpdate(output, outputOffset, size);
            return;
        }
        int done = 0;
        if (count > 0) {
            done = Math.min(size, JOINED_BYTES);
            byte[] joined = new byte[done];
            copyFirst(input, offset, done, joined, 0);
            cbc.engineUpdate(joined, 0, done, output, outputOffset);
            Arrays.fill(joined, (byte) 0);
        }
        cbc.engineUpdate(input, offset + done - count, size - done, output, outputOffset + done);
    }

    /** Keeps what follows the first {@code size} bytes. */
    void keepAfter(int size, byte[] input, int offset, int length) {
        int rest = (int) (sizeWith(length) - size);
        if (size == 0) {
            System.arraycopy(input, offset, bytes, count, length);
        } else {
            Arrays.fill(bytes, (byte) 0);
            System.arraycopy(input, offset + length - rest, bytes, 0, rest);
        }
        count = rest;
    }

    /** Encrypts the pending bytes alone, with padding, by the engine; the number of bytes written. */
    int engineFinal(AesCbc cbc, byte[] output, int outputOffset) {
        return cbc.engineFinal(bytes, 0, count, output, outputOffset);
    }
}
