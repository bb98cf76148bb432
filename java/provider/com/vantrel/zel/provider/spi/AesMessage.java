package com.vantrel.zel.provider.spi;

import com.vantrel.zel.provider.internal.ShortCalls;
import java.lang.invoke.MethodHandles;
import java.lang.invoke.VarHandle;
import java.lang.ref.Reference;
import java.nio.ByteOrder;
import java.util.Arrays;
import javax.crypto.BadPaddingException;
import javax.crypto.Cipher;
import javax.crypto.ShortBufferException;

/**
 * The message that runs through a cipher: what {@link Cipher} promises, on top of the native engine.
 *
 * <p>Short pieces of a message go through short calls, which are given the expanded key and the chaining value. The first long
 * piece makes the engine take over from there ({@link #begin} is where the two meet), and the rest of the message is its own.
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

    /** Where the chaining value stands in the state. */
    private static final int CHAINING = ShortCalls.SCHEDULE_BYTES;

    private static final VarHandle LONGS = MethodHandles.byteArrayViewVarHandle(long[].class, ByteOrder.nativeOrder());

    private final ZelAes256CipherSpi engine;

    /** Null until there is a key: also what has no engine is cleaned up after, then. */
    private EngineOwner owner;

    /** The key in use; zeroed when the cipher has become unreachable. */
    private final byte[] key = new byte[AesKeys.KEY_BYTES];
    private byte[] iv;
    private boolean encrypts;

    /**
     * What short calls work with: the key, expanded for the direction, if it has been; then the ciphertext block, or the IV, in
     * front of the next block. Zeroed like the key. While the engine encrypts, the latter is its own affair.
     */
    private final byte[] state = new byte[ShortCalls.STATE_BYTES];
    private boolean isExpanded;

    /** Whether the engine stands where the message does; if not, it is set there before it is used. */
    private boolean isRunning;

    private final byte[] held = new byte[BLOCK_BYTES];
    private int heldCount;

    AesMessage(ZelAes256CipherSpi engine) {
        this.engine = engine;
    }

    private void watch() {
        byte[] keyBytes = key;
        byte[] stateBytes = state;
        owner = new EngineOwner(engine, context0 -> {
            Arrays.fill(keyBytes, (byte) 0);
            Arrays.fill(stateBytes, (byte) 0);
            ZelAes256CipherSpi.delete(context0);
        });
    }

    /** The IV in use, or null before the first init. */
    synchronized byte[] iv() {
        return iv == null ? null : iv.clone();
    }

    /** Starts afresh; keeps the iv, of a block, and a copy of the key's bytes. An engine is kept while the key stays the same. */
    synchronized void init(boolean encrypts, byte[] iv, byte[] keyBytes) {
        if (owner == null) {
            watch();
        }
        if (!isSame(key, keyBytes)) {
            forgetKey();
            System.arraycopy(keyBytes, 0, key, 0, key.length);
        }
        isExpanded &= this.encrypts == encrypts;
        this.encrypts = encrypts;
        this.iv = iv;
        forget();
    }

    private void forgetKey() {
        Arrays.fill(key, (byte) 0);
        Arrays.fill(state, (byte) 0);
        isExpanded = false;
        if (engine.context0() != 0) {
            engine.deleteContext0();
            owner.bound(0);
        }
    }

    /** Compares keys in a time that does not depend on their bytes. */
    private static boolean isSame(byte[] key, byte[] other) {
        long difference = 0;
        for (int i = 0; i < AesKeys.KEY_BYTES; i += Long.BYTES) {
            difference |= (long) LONGS.get(key, i) ^ (long) LONGS.get(other, i);
        }
        return difference == 0;
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
            requireInit();
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

    /** @param isOurs whether nobody else has the output, so that more than the result may stand there */
    private int doFinal(byte[] input, int offset, int length, byte[] output, int outputOffset, int room, boolean isOurs)
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
            requireInit();
            if (encrypts) {
                return isShort(size) ? encryptShort(source, from, length, (int) size, output, outputOffset)
                        : encryptFinal(source, from, length, output, outputOffset);
            }
            if (isShort(size)) {
                return size == 0 ? 0 : decryptShort(source, from, (int) size, output, outputOffset, room, isOurs);
            }
            return decryptFinal(source, from, length, output, outputOffset, room);
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

    /** Whether so many bytes of the message go through a short call. */
    private boolean isShort(long size) {
        return !isRunning && size <= ShortCalls.MOST_BYTES;
    }

    private int encryptShort(byte[] input, int offset, int length, int size, byte[] output, int outputOffset) {
        int count = (int) messageSize(length);
        gather(input, offset, count, output, outputOffset);
        Arrays.fill(output, outputOffset + count, outputOffset + size, (byte) (size - count));
        shortCall(output, outputOffset, size);
        return size;
    }

    private int decryptShort(byte[] input, int offset, int size, byte[] output, int outputOffset, int room, boolean isOurs)
            throws ShortBufferException, BadPaddingException {
        byte[] plain = isOurs ? output : new byte[size];
        try {
            gather(input, offset, size, plain, 0);
            shortCall(plain, 0, size);
            int padding = Pkcs5Padding.length(plain, size);
            if (padding < 0) {
                Arrays.fill(plain, (byte) 0);
                if (room >= size - 1) { // as it is where the message is longer and stands there before the padding is known
                    Arrays.fill(output, outputOffset, outputOffset + size - BLOCK_BYTES, (byte) 0);
                }
                throw new BadPaddingException("invalid padding");
            }
            int written = size - padding;
            requireRoom(room, written);
            if (!isOurs) {
                System.arraycopy(plain, 0, output, outputOffset, written);
            }
            return written;
        } finally {
            if (!isOurs) {
                Arrays.fill(plain, (byte) 0);
            }
        }
    }

    private int encryptFinal(byte[] input, int offset, int length, byte[] output, int outputOffset) {
        int size = (int) messageSize(length);
        int whole = heldCount == 0 && length <= CALL_BYTES ? 0 : size - size % BLOCK_BYTES;
        begin();
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
        byte[] takenUpFrom = Arrays.copyOfRange(state, CHAINING, state.length);
        byte[] last = new byte[BLOCK_BYTES];
        copyEnd(input, offset, length, last);
        // Short of room for any padding there could be, nothing may be written before the padding is known.
        boolean isTight = room < body + BLOCK_BYTES - 1;
        byte[] target = isTight ? new byte[body] : output;
        int at = isTight ? 0 : outputOffset;
        int padding = -1;
        boolean fits = false;
        try {
            begin();
            transform(input, offset, body, target, at);
            engine.engineUpdate0(last, 0, BLOCK_BYTES, last, 0);
            padding = Pkcs5Padding.length(last, BLOCK_BYTES);
            if (padding < 0) {
                throw new BadPaddingException("invalid padding");
            }
            int written = body + BLOCK_BYTES - padding;
            if (written > room) {
                System.arraycopy(takenUpFrom, 0, state, CHAINING, BLOCK_BYTES);
                isRunning = false;
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

    private void requireInit() {
        if (iv == null) {
            throw new IllegalStateException("the cipher is not initialised");
        }
    }

    /** The engine takes over: it is set to where the message stands, if it is not running already. */
    private void begin() {
        if (isRunning) {
            return;
        }
        try {
            engine.engineInit0(encrypts ? Cipher.ENCRYPT_MODE : Cipher.DECRYPT_MODE,
                    Arrays.copyOfRange(state, CHAINING, state.length), key);
        } finally {
            owner.bound(engine.context0());
            Reference.reachabilityFence(engine);
        }
        isRunning = true;
    }

    private void forget() {
        Arrays.fill(held, (byte) 0);
        heldCount = 0;
        isRunning = false;
        if (iv != null) {
            System.arraycopy(iv, 0, state, CHAINING, BLOCK_BYTES);
        }
    }

    /** Puts the first {@code count} bytes of the message, the held ones and more of the input, together in an array. */
    private void gather(byte[] input, int offset, int count, byte[] target, int targetOffset) {
        System.arraycopy(input, offset, target, targetOffset + heldCount, count - heldCount);
        System.arraycopy(held, 0, target, targetOffset, heldCount);
    }

    /** Sends whole blocks, where they stand, through a short call. The chaining value stays as it is. */
    private void shortCall(byte[] blocks, int offset, int size) {
        if (!isExpanded) {
            ShortCalls.expandKey(encrypts, key, state);
            isExpanded = true;
        }
        ShortCalls.cbc(encrypts, state, blocks, offset, size);
    }

    private void transformShort(byte[] input, int offset, int size, byte[] output, int outputOffset) {
        gather(input, offset, size, output, outputOffset);
        int last = outputOffset + size - BLOCK_BYTES;
        byte[] ciphertext = encrypts ? null : Arrays.copyOfRange(output, last, last + BLOCK_BYTES);
        shortCall(output, outputOffset, size);
        System.arraycopy(encrypts ? output : ciphertext, encrypts ? last : 0, state, CHAINING, BLOCK_BYTES);
    }

    /** Sends the first {@code size} bytes, whole blocks, of the held bytes and the input through the cipher. */
    private void transform(byte[] input, int offset, int size, byte[] output, int outputOffset) {
        if (size == 0) {
            return;
        }
        if (isShort(size)) {
            transformShort(input, offset, size, output, outputOffset);
            return;
        }
        begin();
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
                    state, CHAINING, BLOCK_BYTES);
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
