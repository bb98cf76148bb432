package com.vantrel.zel.provider.spi;

import java.util.Arrays;
import javax.crypto.BadPaddingException;
import javax.crypto.ShortBufferException;

/** Ends a message: adds the padding, or checks and removes it. The caller has checked the room that any padding needs. */
final class AesFinal {
    private static final int BLOCK_BYTES = AesCbc.BLOCK_BYTES;

    private final AesCbc cbc;
    private final PendingBlock pending;

    AesFinal(AesCbc cbc, PendingBlock pending) {
        this.cbc = cbc;
        this.pending = pending;
    }

    /** Encrypts the rest of a message; the number of bytes written. */
    int encrypt(byte[] input, int offset, int length, byte[] output, int outputOffset) {
        int count = (int) pending.sizeWith(length);
        int whole = count - count % BLOCK_BYTES;
        int size = whole + BLOCK_BYTES;
        if (cbc.isShort(size)) {
            pending.copyFirst(input, offset, count, output, outputOffset);
            Arrays.fill(output, outputOffset + count, outputOffset + size, (byte) (size - count));
            cbc.shortFinal(output, outputOffset, size);
            return size;
        }
        if (pending.count() == 0 && length <= AesCbc.CALL_BYTES) {
            return cbc.engineFinal(input, offset, length, output, outputOffset);
        }
        cbc.begin();
        pending.transform(cbc, input, offset, whole, output, outputOffset);
        pending.keepAfter(whole, input, offset, length);
        return whole + pending.engineFinal(cbc, output, outputOffset + whole);
    }

    /**
     * Decrypts the rest of a message, whole blocks; the number of bytes written. Of a message with a bad padding nothing stays there.
     *
     * @param isOwn whether nobody else has the output, so that the padding may stand there too
     * @throws ShortBufferException if there is not enough room; the call can be repeated
     */
    int decrypt(byte[] input, int offset, int length, byte[] output, int outputOffset, int room, boolean isOwn)
            throws ShortBufferException, BadPaddingException {
        int size = (int) pending.sizeWith(length);
        if (size == 0) {
            return 0;
        }
        return cbc.isShort(size) ? decryptShort(input, offset, size, output, outputOffset, room, isOwn)
                : decryptByEngine(input, offset, length, output, outputOffset, room);
    }

    private int decryptShort(byte[] input, int offset, int size, byte[] output, int outputOffset, int room, boolean isOwn)
            throws ShortBufferException, BadPaddingException {
        byte[] plaintext = isOwn ? output : new byte[size];
        try {
            pending.copyFirst(input, offset, size, plaintext, 0);
            cbc.shortFinal(plaintext, 0, size);
            int padding = Pkcs5Padding.length(plaintext, size);
            if (padding < 0) {
                Arrays.fill(plaintext, (byte) 0);
                if (room >= size - 1) { // as after a long message, which stands in the output before its padding is known
                    Arrays.fill(output, outputOffset, outputOffset + size - BLOCK_BYTES, (byte) 0);
                }
                throw new BadPaddingException("invalid padding");
            }
            int written = size - padding;
            requireRoom(room, written);
            if (!isOwn) {
                System.arraycopy(plaintext, 0, output, outputOffset, written);
            }
            return written;
        } finally {
            if (!isOwn) {
                Arrays.fill(plaintext, (byte) 0);
            }
        }
    }

    /** The last block goes through the engine's update, so that the whole padding can be looked at. */
    private int decryptByEngine(byte[] input, int offset, int length, byte[] output, int outputOffset, int room)
            throws ShortBufferException, BadPaddingException {
        int body = (int) pending.sizeWith(length) - BLOCK_BYTES;
        byte[] chaining = cbc.chaining();
        byte[] last = pending.lastBlock(input, offset, length);
        // Short of room for any padding there could be, nothing may be written before the padding is known.
        boolean isTight = room < body + BLOCK_BYTES - 1;
        byte[] target = isTight ? new byte[body] : output;
        int targetOffset = isTight ? 0 : outputOffset;
        boolean fits = false;
        try {
            cbc.begin();
            pending.transform(cbc, input, offset, body, target, targetOffset);
            cbc.engineUpdate(last, 0, BLOCK_BYTES, last, 0);
            int padding = Pkcs5Padding.length(last, BLOCK_BYTES);
            if (padding < 0) {
                throw new BadPaddingException("invalid padding");
            }
            int written = body + BLOCK_BYTES - padding;
            if (written > room) {
                cbc.restart(chaining);
                requireRoom(room, written);
            }
            fits = true;
            if (isTight) {
                System.arraycopy(target, 0, output, outputOffset, body);
            }
            System.arraycopy(last, 0, output, outputOffset + body, BLOCK_BYTES - padding);
            return written;
        } finally {
            Arrays.fill(last, (byte) 0);
            if (isTight || !fits) {
                Arrays.fill(target, targetOffset, targetOffset + body, (byte) 0);
            }
        }
    }

    static void requireRoom(int room, long size) throws ShortBufferException {
        if (room < size) {
            throw new ShortBufferException("insufficient bytes in output buffer");
        }
    }
}
