package com.vantrel.zel.provider.spi;

/** The padding of PKCS#5 for blocks of 16 bytes. */
final class Pkcs5Padding {
    private static final int BLOCK_BYTES = 16;

    private Pkcs5Padding() {}

    /**
     * The length of the padding, 1 to 16, or -1 if the block does not end in a padding. Every byte of it is compared, in a
     * time that does not depend on the bytes.
     *
     * @param block the last block, decrypted
     */
    static int length(byte[] block) {
        int length = block[BLOCK_BYTES - 1] & 0xFF;
        int wrong = (length - 1 | BLOCK_BYTES - length) >> 31;
        for (int i = 0; i < BLOCK_BYTES; ++i) {
            int message = i - (BLOCK_BYTES - length) >> 31; // -1 in front of the padding, else 0
            wrong |= ~message & ((block[i] & 0xFF) ^ length);
        }
        return wrong == 0 ? length : -1;
    }
}
