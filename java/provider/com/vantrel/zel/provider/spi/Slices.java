package com.vantrel.zel.provider.spi;

/** The check of a slice of an array, made before a native call. */
final class Slices {
    private Slices() {}

    /**
     * Checks that {@code array[offset .. offset + length)} lies inside the array.
     *
     * @throws NullPointerException if the array is null
     * @throws ArrayIndexOutOfBoundsException if the slice is not inside
     */
    static void check(byte[] array, int offset, int length) {
        if (array == null) {
            throw new NullPointerException("array is null");
        }
        if (offset < 0 || length < 0 || offset > array.length - length) {
            throw new ArrayIndexOutOfBoundsException("offset or length out of range");
        }
    }
}
