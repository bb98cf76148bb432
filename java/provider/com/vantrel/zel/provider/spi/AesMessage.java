package com.vantrel.zel.provider.spi;

import java.lang.ref.Reference;
import java.util.Arrays;
import javax.crypto.BadPaddingException;
import javax.crypto.Cipher;
import javax.crypto.ShortBufferException;

/**
 * The message that runs through a cipher: what {@link Cipher} promises, on top of the native engine.
 *
 * <p>The engine is only ever given whole blocks before the end, so that it keeps nothing pending, takes nothing from a wrong
 * place and has nothing left over for the next message. What is not a whole block is held here; on decryption the last
 * block too, because it may be the one with the padding. That one goes through the engine's update, so that the whole
 * padding can be looked at.
 *
 * <p>A cipher is not made for two threads at once. The locks turn that mistake of a program into wrong messages, where it
 * would be the end of the whole virtual machine.
 */
final class AesMessage {
    private static final int BLOCK_BYTES = 16;

    /** The most that one native call takes: while it runs, the arrays may hold up the garbage collector. */
    private static final int CALL_BYTES = 1 << 20;

    /** How much of the input is put together with the held bytes, to spare a native call of their own. */
    private static final int JOINED_BYTES = 4096;

    private final ZelAes256CipherSpi engine;
    private final EngineOwner owner;

    /** The key in use; zeroed when the cipher has become unreachable. */
    private final byte[] key;
    private byte[] iv;
    private boolean encrypts;

    /** Whether the engine stands somewhere in this message; if not, it is set to its beginning before the next step. */
    private boolean isRunning;

    /** On decryption: the ciphertext block before the next one, from which the message can be taken up again. */
    private final byte[] previous = new byte[BLOCK_BYTES];
    private final byte[] held = new byte[BLOCK_BYTES];
    private int heldCount;

    AesMessage(ZelAes256CipherSpi engine) {
        this.engine = engine;
        byte[] keyBytes = new byte[AesKeys.KEY_BYTES];
        this.key = keyBytes;
        this.owner = new EngineOwner(engine, context0 -> {
            Arrays.fill(keyBytes, (byte) 0);
            ZelAes256CipherSpi.delete(context0);
        });
    }

    /** The IV in use, or null before the first init. */
    synchronized byte[] iv() {
        return iv == null ? null : iv.clone();
    }

    /** Starts afresh, on a new engine; keeps the iv and a copy of the key's bytes, but neither when the engine cannot be made. */
    synchronized void init(boolean encrypts, byte[] iv, byte[] keyBytes) {
        if (engine.context0() != 0) {
            engine.deleteContext0();
            owner.bound(0);
        }
        System.arraycopy(keyBytes, 0, key, 0, key.length);
        this.encrypts = encrypts;
        this.iv = iv;
        forget();
        try {
            begin();
        } finally {
            if (!isRunning) {
                Arrays.fill(key, (byte) 0);
                this.iv = null;
            }
        }
    }

    private long messageSize(int length) {
        return (long) heldCount + length;
    }

    /** How many bytes an update with so many gives. */
    synchronized long updateSize(int length) {
        long size = messageSize(length);
        long ready = encrypts ? size : Math.max(size - 1, 0); // at least a byte is held back
        return ready - ready % BLOCK_BYTES;
    }

    /** How many bytes a doFinal with so many gives, at most. */
    synchronized long finalSize(int length) {
        long size = messageSize(length);
        return encrypts ? size - size % BLOCK_BYTES + BLOCK_BYTES : size;
    }

    /** The blocks that are complete, or null if there is none. */
    synchronized byte[] update(byte[] input, int offset, int length) {
        byte[] output = newArray(updateSize(length));
        step(input, offset, length, output, 0, output.length);
        return output.length == 0 ? null : output;
    }

    /** The same into {@code output[outputOffset .. outputOffset + room)}; the number of bytes written. */
    synchronized int update(byte[] input, int offset, int length, byte[] output, int outputOffset, int room)
            throws ShortBufferException {
        long size = updateSize(length);
        if (room < size) {
            throw new ShortBufferException("output buffer has insufficient space");
        }
        step(input, offset, length, output, outputOffset, (int) size);
        return (int) size;
    }

    private void step(byte[] input, int offset, int length, byte[] output, int outputOffset, int size) {
        byte[] source = apart(input, offset, length, output, outputOffset, size);
        int from = source == input ? offset : 0;
        boolean isDone = false;
        try {
            begin();
            transform(source, from, size, output, outputOffset);
            hold(source, from, length, size);
            isDone = true;
        } finally {
            if (source != input) {
                Arrays.fill(source, (byte) 0);
            }
            if (!isDone) {
                forget();
            }
        }
    }

    /** The rest of the message; the next one begins with the same key and IV. */
    synchronized byte[] doFinal(byte[] input, int offset, int length) throws BadPaddingException {
        byte[] output = newArray(finalSize(length));
        try {
            int written = doFinal(input, offset, length, output, 0, output.length);
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
        long size = finalSize(length);
        byte[] source = apart(input, offset, length, output, outputOffset, (int) Math.min(size, room));
        int from = source == input ? offset : 0;
        boolean isShort = false;
        try {
            if (size % BLOCK_BYTES != 0) {
                throw new BadPaddingException("invalid source buffer size");
            }
            requireRoom(room, encrypts ? size : Math.max(size - BLOCK_BYTES, 0));
            begin();
            if (encrypts) {
                return encryptFinal(source, from, length, output, outputOffset);
            }
            return size == 0 ? 0 : decryptFinal(source, from, length, output, outputOffset, room);
        } catch (ShortBufferException e) {
            isShort = true;
            throw e;
        } finally {
            if (source != input) {
                Arrays.fill(source, (byte) 0);
            }
            if (!isShort) {
                forget();
            }
        }
    }

    private int encryptFinal(byte[] input, int offset, int length, byte[] output, int outputOffset) {
        int size = (int) messageSize(length);
        int whole = heldCount == 0 && length <= CALL_BYTES ? 0 : size - size % BLOCK_BYTES;
        transform(input, offset, whole, output, outputOffset);
        if (whole >= heldCount) {
            int done = whole - heldCount;
            return whole + engine.engineDoFinal0(input, offset + done, length - done, output, outputOffset + whole);
        }
        System.arraycopy(input, offset, held, heldCount, length); // less than a block altogether
        return engine.engineDoFinal0(held, 0, size, output, outputOffset);
    }

    private int decryptFinal(byte[] input, int offset, int length, byte[] output, int outputOffset, int room)
            throws ShortBufferException, BadPaddingException {
        int body = (int) messageSize(length) - BLOCK_BYTES;
        byte[] takenUpFrom = previous.clone();
        byte[] last = new byte[BLOCK_BYTES];
        copyEnd(input, offset, length, last);
        // Short of room for any padding there could be, nothing may be written before the padding is known.
        boolean isTight = room < body + BLOCK_BYTES - 1;
        byte[] target = isTight ? new byte[body] : output;
        int at = isTight ? 0 : outputOffset;
        int padding = -1;
        boolean fits = false;
        try {
            transform(input, offset, body, target, at);
            engine.engineUpdate0(last, 0, BLOCK_BYTES, last, 0);
            padding = Pkcs5Padding.length(last);
            if (padding < 0) {
                throw new BadPaddingException("invalid padding");
            }
            int written = body + BLOCK_BYTES - padding;
            if (written > room) {
                engine.engineInit0(Cipher.DECRYPT_MODE, takenUpFrom, key);
                System.arraycopy(takenUpFrom, 0, previous, 0, BLOCK_BYTES);
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
                Arrays.fill(target, at, at + body, (byte) 0);
            }
        }
    }

    private static void requireRoom(int room, long size) throws ShortBufferException {
        if (room < size) {
            throw new ShortBufferException("insufficient bytes in output buffer");
        }
    }

    private static byte[] newArray(long size) {
        if (size > Integer.MAX_VALUE) {
            throw new OutOfMemoryError("the result is larger than any array");
        }
        return new byte[(int) size];
    }

    /** The input, or a copy of its slice where writing the output would overwrite what is still to be read. */
    private byte[] apart(byte[] input, int offset, int length, byte[] output, int outputOffset, int size) {
        boolean overlaps = input == output && offset < (long) outputOffset + size && outputOffset < (long) offset + length;
        boolean isInPlace = offset == outputOffset && heldCount == 0;
        return overlaps && !isInPlace ? Arrays.copyOfRange(input, offset, offset + length) : input;
    }

    /** Sets the engine to the beginning of the message, if it is not running already. */
    private void begin() {
        if (isRunning) {
            return;
        }
        if (iv == null) {
            throw new IllegalStateException("the cipher is not initialised");
        }
        try {
            engine.engineInit0(encrypts ? Cipher.ENCRYPT_MODE : Cipher.DECRYPT_MODE, iv, key);
        } finally {
            owner.bound(engine.context0());
            Reference.reachabilityFence(engine);
        }
        System.arraycopy(iv, 0, previous, 0, BLOCK_BYTES);
        isRunning = true;
    }

    private void forget() {
        Arrays.fill(held, (byte) 0);
        heldCount = 0;
        isRunning = false;
    }

    /** Sends the first {@code size} bytes, whole blocks, of the held bytes and the input through the engine. */
    private void transform(byte[] input, int offset, int size, byte[] output, int outputOffset) {
        if (size == 0) {
            return;
        }
        int from = offset - heldCount; // where the message begins, had the held bytes stood in front of the input
        int done = 0;
        byte[] first = null;
        if (heldCount > 0) {
            done = Math.min(size, JOINED_BYTES);
            first = new byte[done];
            System.arraycopy(held, 0, first, 0, heldCount);
            System.arraycopy(input, offset, first, heldCount, done - heldCount);
        }
        if (!encrypts) {
            boolean isInInput = size > done;
            System.arraycopy(isInInput ? input : first, isInInput ? from + size - BLOCK_BYTES : done - BLOCK_BYTES,
                    previous, 0, BLOCK_BYTES);
        }
        if (first != null) {
            engine.engineUpdate0(first, 0, done, output, outputOffset);
            Arrays.fill(first, (byte) 0);
        }
        for (int count; done < size; done += count) {
            count = Math.min(CALL_BYTES, size - done);
            engine.engineUpdate0(input, from + done, count, output, outputOffset + done);
        }
    }

    /** Holds what {@code size} transformed bytes leave over. */
    private void hold(byte[] input, int offset, int length, int size) {
        int rest = (int) (messageSize(length) - size);
        if (size == 0) {
            System.arraycopy(input, offset, held, heldCount, length);
        } else {
            Arrays.fill(held, (byte) 0);
            System.arraycopy(input, offset + length - rest, held, 0, rest);
        }
        heldCount = rest;
    }

    /** The last block of the held bytes and the input. */
    private void copyEnd(byte[] input, int offset, int length, byte[] block) {
        int fromHeld = Math.max(BLOCK_BYTES - length, 0);
        System.arraycopy(held, heldCount - fromHeld, block, 0, fromHeld);
        System.arraycopy(input, offset + length - (BLOCK_BYTES - fromHeld), block, fromHeld, BLOCK_BYTES - fromHeld);
    }
}
