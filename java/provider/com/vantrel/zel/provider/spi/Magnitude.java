package com.vantrel.zel.provider.spi;

import java.math.BigInteger;
import java.util.Arrays;

/**
 * A number of 0 or above in an array of the caller's, most significant byte first. Nothing is copied: the owner of the array can
 * wipe a secret number, which a BigInteger would leave in memory.
 */
final class Magnitude {
    private final byte[] bytes;
    private final int from; // of the first byte that is not 0
    private final int end;

    Magnitude(byte[] bytes, int from, int end) {
        int first = from;
        while (first < end && bytes[first] == 0) {
            ++first;
        }
        this.bytes = bytes;
        this.from = first;
        this.end = end;
    }

    /** A copy, for numbers that are no secret. */
    BigInteger toBigInteger() {
        return new BigInteger(1, bytes, from, end - from);
    }

    boolean isOdd() {
        return from < end && (bytes[end - 1] & 1) != 0;
    }

    int bitLength() {
        return from == end ? 0 : 8 * (end - from) - (Integer.numberOfLeadingZeros(bytes[from] & 0xFF) - 24);
    }

    /** Negative, 0 or positive as the number is less than the other, the same, or greater. */
    int compareTo(Magnitude other) {
        int byLength = Integer.compare(end - from, other.end - other.from);
        return byLength != 0 ? byLength
                : Arrays.compareUnsigned(bytes, from, end, other.bytes, other.from, other.end);
    }

    /** Whether it is p q. */
    boolean isProduct(Magnitude p, Magnitude q) {
        int[] left = p.digits();
        int[] right = q.digits();
        int[] product = digits();
        int count = left.length + right.length;
        boolean isEqual = product.length <= count;
        long sum = 0; // of a column of the product, with the carry: below 2^63 for fewer than 2^15 digits
        for (int column = 0; isEqual && column < count; ++column) {
            int last = Math.min(column, left.length - 1);
            for (int i = Math.max(column - right.length + 1, 0); i <= last; ++i) {
                sum += (long) left[i] * right[column - i];
            }
            isEqual = (sum & 0xFFFFFF) == (column < product.length ? product[column] : 0);
            sum >>>= 24;
        }
        Arrays.fill(left, 0);
        Arrays.fill(right, 0);
        return isEqual;
    }

    /** Its digits to the base 2^24, the least significant one first. */
    private int[] digits() {
        int length = end - from;
        int[] digits = new int[(length + 2) / 3];
        for (int i = 0; i < length; ++i) {
            digits[i / 3] |= (bytes[end - 1 - i] & 0xFF) << 8 * (i % 3);
        }
        return digits;
    }
}
