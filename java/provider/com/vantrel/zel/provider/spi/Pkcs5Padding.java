package com.vantrel.zel.provider.spi;

import java.lang.invoke.MethodHandles;
import java.lang.invoke.VarHandle;
import java.nio.ByteOrder;

/** The padding of PKCS#5 for blocks of 16 bytes. */
final class Pkcs5Padding {
    private static final int BLOCK_BYTES = AesCbc.BLOCK_BYTES;
    private static final VarHandle LONGS = MethodHandles.byteArrayViewVarHandle(long[].class, ByteOrder.BIG_ENDIAN);

    private Pkcs5Padding() {}

    /**
     * The length of the padding, 1 to 16, or -1 if the block does not end in a padding. Every byte of it is compared, in a
     * time that does not depend on the bytes.
     *
     * @param end where the last block, decrypted, ends
     */
    static int length(byte[] text, int end) {
        long first = (long) LONGS.get(text, end - BLOCK_BYTES);
        long second = (long) LONGS.get(text, end - Long.BYTES);
        int length = (int) second & 0xFF;
        long padding = length * 0x0101010101010101L;
        long wrong = (length - 1 | BLOCK_BYTES - length) >> 31 // not 1 to 16
                | (second ^ padding) & lastBytes(Math.min(length, Long.BYTES))
                | (first ^ padding) & lastBytes(Math.max(length, Long.BYTES) - Long.BYTES);
        return wrong == 0 ? length : -1;
    }

    /** All bits of the last 0 to 8 bytes of a long. */
    private static long lastBytes(int count) {
        return ~(-1L << 4 * count << 4 * count); // by 64 at once would be by 0
    }
}
