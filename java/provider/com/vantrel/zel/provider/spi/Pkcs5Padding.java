package com.vantrel.zel.provider.spi;

/** The padding of PKCS#5 for blocks of 16 bytes. */
final class Pkcs5Padding {
    private static final int BLOCK_BYTES = 16;

    private Pkcs5Padding() {}

    /**
     * The length of the padding, 1 to 16, or -1 if the block does not end in a padding. Every byte of it is compared, in a
     * time that does not depend on the bytes.
     *
     * @param end where the last block, decrypted, ends
     */
    static int length(byte[] text, int end) {
        int length = text[end - 1] & 0xFF;
        int wrong = (length - 1 | BLOCK_BYTES - length) >> 31;
        for (int i = 0; i < BLOCK_BYTES; ++i) {
            int message = i - (BLOCK_BYTES - length) >> 31; // -1 in front of the padding, else 0
            wrong |= ~message & ((text[end - BLOCK_BYTES + i] & 0xFF) ^ length);
        }
        return wrong == 0 ? length : -1;
    }
}
