package com.vantrel.zel.provider.spi;

import com.vantrel.zel.provider.internal.ShortCalls;
import java.lang.invoke.MethodHandles;
import java.lang.invoke.VarHandle;
import java.lang.ref.Reference;
import java.nio.ByteOrder;
import java.util.Arrays;
import javax.crypto.Cipher;

/**
 * AES-256 in CBC mode over whole blocks: the key, the chaining value, and the two ways to the native library.
 *
 * <p>Few blocks go through a short call, which is given the expanded key and the chaining value. More make the engine take over
 * from there ({@link #begin} is where the two meet), and the rest of the message is the engine's.
 */
final class AesCbc {
    static final int BLOCK_BYTES = 16;

    /** The most that one native call takes: while it runs, the arrays may hold up the garbage collector. */
    static final int CALL_BYTES = 1 << 20;

    /** The offset of the chaining value in the state. */
    private static final int CHAINING = ShortCalls.SCHEDULE_BYTES;

    private static final VarHandle LONGS = MethodHandles.byteArrayViewVarHandle(long[].class, ByteOrder.nativeOrder());

    private final ZelAes256CipherSpi engine;

    /** Null before the first key; a key is zeroed with its cipher whether there is an engine or not. */
    private EngineOwner owner;

    /** Zeroed when the cipher has become unreachable. */
    private final byte[] key = new byte[AesKeys.KEY_BYTES];

    /**
     * What short calls work with: the expanded key, if {@link #isExpanded}, then the chaining value: the ciphertext block, or the
     * IV, in front of the next block. Zeroed like the key. While the engine encrypts, it alone has the chaining value.
     */
    private final byte[] state = new byte[ShortCalls.STATE_BYTES];
    private boolean isExpanded;
    private boolean encrypts;

    /** Whether the engine has taken over this message. */
    private boolean isRunning;

    AesCbc(ZelAes256CipherSpi engine) {
        this.engine = engine;
    }

    boolean encrypts() {
        return encrypts;
    }

    /** Sets the direction, and the key, which is copied. An engine is kept while the key stays the same. */
    void init(boolean encrypts, byte[] newKey) {
        if (owner == null) {
            owner = ownerOf(engine, key, state);
        }
        if (!isSame(key, newKey)) {
            forgetKey();
            System.arraycopy(newKey, 0, key, 0, key.length);
        }
        isExpanded &= this.encrypts == encrypts;
        this.encrypts = encrypts;
    }

    /** Static, because the cleaning action must not hold this object. */
    private static EngineOwner ownerOf(ZelAes256CipherSpi engine, byte[] key, byte[] state) {
        return new EngineOwner(engine, context0 -> {
            Arrays.fill(key, (byte) 0);
            Arrays.fill(state, (byte) 0);
            new ZelAes256CipherSpi(context0).deleteContext0();
        });
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

    /** The next block is chained to this one; the engine takes no part until {@link #begin}. */
    void restart(byte[] chaining) {
        setChaining(chaining, 0);
        isRunning = false;
    }

    /** A copy of the chaining value. */
    byte[] chaining() {
        return Arrays.copyOfRange(state, CHAINING, state.length);
    }

    private void setChaining(byte[] block, int offset) {
        System.arraycopy(block, offset, state, CHAINING, BLOCK_BYTES);
    }

    /** Whether so many bytes go through a short call. */
    boolean isShort(long size) {
        return !isRunning && size <= ShortCalls.MOST_BYTES;
    }

    /** Sends few whole blocks, in place, through a short call. The chaining value stays as it is. */
    void shortFinal(byte[] blocks, int offset, int size) {
        if (!isExpanded) {
            ShortCalls.expandKey(encrypts, key, state);
            isExpanded = true;
        }
        ShortCalls.cbc(encrypts, state, blocks, offset, size);
    }

    /** The same, and the next block is chained to the last of these. */
    void shortUpdate(byte[] blocks, int offset, int size) {
        int last = offset + size - BLOCK_BYTES;
        byte[] ciphertext = encrypts ? null : Arrays.copyOfRange(blocks, last, last + BLOCK_BYTES);
        shortFinal(blocks, offset, size);
        setChaining(encrypts ? blocks : ciphertext, encrypts ? last : 0);
    }

    /** The engine takes over, if it has not yet: it gets the key and the chaining value. */
    void begin() {
        if (isRunning) {
            return;
        }
        try {
            engine.engineInit0(encrypts ? Cipher.ENCRYPT_MODE : Cipher.DECRYPT_MODE, chaining(), key);
        } finally {
            owner.bound(engine.context0());
            Reference.reachabilityFence(engine);
        }
        isRunning = true;
    }

    /** Sends whole blocks through the engine. */
    void engineUpdate(byte[] input, int offset, int size, byte[] output, int outputOffset) {
        begin();
        if (!encrypts && size > 0) {
            setChaining(input, offset + size - BLOCK_BYTES);
        }
        for (int done = 0, count; done < size; done += count) {
            count = Math.min(CALL_BYTES, size - done);
            engine.engineUpdate0(input, offset + done, count, output, outputOffset + done);
        }
    }

    /** Encrypts the end of a message, with padding, by the engine; the number of bytes written. */
    int engineFinal(byte[] input, int offset, int length, byte[] output, int outputOffset) {
        begin();
        return engine.engineDoFinal0(input, offset, length, output, outputOffset);
    }
}
