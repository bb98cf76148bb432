package com.vantrel.zel.provider.spi;

import java.util.Arrays;
import javax.crypto.BadPaddingException;
import javax.crypto.Cipher;
import javax.crypto.ShortBufferException;

/**
 * The message that runs through a cipher, as {@link Cipher} promises: {@link PendingBlock} makes whole blocks of it, which go
 * through {@link AesCbc}, and {@link AesFinal} ends it.
 *
 * <p>A cipher is not made for two threads at once. The locks turn that mistake of a program into wrong messages, where it
 * would be the end of the whole virtual machine.
 */
final class AesMessage {
    private static final int BLOCK_BYTES = AesCbc.BLOCK_BYTES;

    private final AesCbc cbc;
    private final PendingBlock pending = new PendingBlock();
    private final AesFinal end;
    private byte[] iv;

    AesMessage(ZelAes256CipherSpi engine) {
        cbc = new AesCbc(engine);
        end = new AesFinal(cbc, pending);
    }

    /** A copy of the IV in use, or null before the first init. */
    synchronized byte[] iv() {
        return iv == null ? null : iv.clone();
    }

    /** Starts afresh; keeps the IV, of a block, and copies the key. */
    synchronized void init(boolean encrypts, byte[] iv, byte[] key) {
        cbc.init(encrypts, key);
        this.iv = iv;
        restart();
    }

    /** The next message begins with the same key and IV. */
    private void restart() {
        pending.clear();
        if (iv != null) {
            cbc.restart(iv);
        }
    }

    private void requireInit() {
        if (iv == null) {
            throw new IllegalStateException("the cipher is not initialised");
        }
    }

    /** How many bytes an update with so many gives. */
    synchronized long updateSize(int length) {
        long size = pending.sizeWith(length);
        long ready = cbc.encrypts() ? size : Math.max(size - 1, 0); // at least a byte waits
        return ready - ready % BLOCK_BYTES;
    }

    /** How many bytes a doFinal with so many gives, at most. */
    synchronized long finalSize(int length) {
        long size = pending.sizeWith(length);
        return cbc.encrypts() ? size - size % BLOCK_BYTES + BLOCK_BYTES : size;
    }

    private static byte[] newArray(long size) {
        if (size > Integer.MAX_VALUE) {
            throw new OutOfMemoryError("the result is larger than any array");
        }
        return new byte[(int) size];
    }

    /** The blocks that are complete, or null if there is none. */
    synchronized byte[] update(byte[] input, int offset, int length) {
        byte[] output = newArray(updateSize(length));
        updateBy(output.length, input, offset, length, output, 0);
        return output.length == 0 ? null : output;
    }

    /** The same into {@code output[outputOffset .. outputOffset + room)}; the number of bytes written. */
    synchronized int update(byte[] input, int offset, int length, byte[] output, int outputOffset, int room)
            throws ShortBufferException {
        long size = updateSize(length);
        if (room < size) {
            throw new ShortBufferException("output buffer has insufficient space");
        }
        updateBy((int) size, input, offset, length, output, outputOffset);
        return (int) size;
    }

    /** Writes {@code size} bytes, and keeps the rest of the input. */
    private void updateBy(int size, byte[] input, int offset, int length, byte[] output, int outputOffset) {
        byte[] source = pending.apart(input, offset, length, output, outputOffset, size);
        int from = source == input ? offset : 0;
        boolean isDone = false;
        try {
            requireInit();
            pending.transform(cbc, source, from, size, output, outputOffset);
            pending.keepAfter(size, source, from, length);
            isDone = true;
        } finally {
            if (source != input) {
                Arrays.fill(source, (byte) 0);
            }
            if (!isDone) {
                restart();
            }
        }
    }

    /** The rest of the message. */
    synchronized byte[] doFinal(byte[] input, int offset, int length) throws BadPaddingException {
        byte[] output = newArray(finalSize(length));
        try {
            int written = doFinal(input, offset, length, output, 0, output.length, true);
            if (written == output.length) {
                return output;
            }
            byte[] result = Arrays.copyOf(output, written);
            Arrays.fill(output, 0, written, (byte) 0);
            return result;
        } catch (ShortBufferException e) {
            throw new AssertionError(e); // the room has been counted
        }
    }

    /**
     * The same into {@code output[outputOffset .. outputOffset + room)}; the number of bytes written.
     *
     * @throws ShortBufferException if there is not enough room; nothing has happened, the call can be repeated
     */
    synchronized int doFinal(byte[] input, int offset, int length, byte[] output, int outputOffset, int room)
            throws ShortBufferException, BadPaddingException {
        return doFinal(input, offset, length, output, outputOffset, room, false);
    }

    private int doFinal(byte[] input, int offset, int length, byte[] output, int outputOffset, int room, boolean isOwn)
            throws ShortBufferException, BadPaddingException {
        long size = finalSize(length);
        byte[] source = pending.apart(input, offset, length, output, outputOffset, (int) Math.min(size, room));
        int from = source == input ? offset : 0;
        boolean isRepeatable = false;
        try {
            if (size % BLOCK_BYTES != 0) {
                throw new BadPaddingException("invalid source buffer size");
            }
            AesFinal.requireRoom(room, cbc.encrypts() ? size : Math.max(size - BLOCK_BYTES, 0));
            requireInit();
            return cbc.encrypts() ? end.encrypt(source, from, length, output, outputOffset)
                    : end.decrypt(source, from, length, output, outputOffset, room, isOwn);
        } catch (ShortBufferException e) {
            isRepeatable = true;
            throw e;
        } finally {
            if (source != input) {
                Arrays.fill(source, (byte) 0);
            }
            if (!isRepeatable) {
                restart();
            }
        }
    }
}
