package com.vantrel.zel.provider.spi;

import java.io.IOException;
import java.math.BigInteger;
import java.util.Arrays;

/**
 * Reads DER from an array, one element after another, without copying. It is for the encodings of keys and
 * signatures; an element of another tag than the expected one, or that runs past the end, is refused.
 */
final class DerReader {
    private static final int INTEGER = 0x02;
    private static final int BIT_STRING = 0x03;
    private static final int OCTET_STRING = 0x04;
    private static final int OBJECT_IDENTIFIER = 0x06;
    private static final int SEQUENCE = 0x30;

    private final byte[] bytes;
    private final int end;
    private int at;

    /** Reads the whole array. */
    DerReader(byte[] bytes) {
        this(bytes, 0, bytes.length);
    }

    private DerReader(byte[] bytes, int from, int end) {
        this.bytes = bytes;
        this.at = from;
        this.end = end;
    }

    boolean isAtEnd() {
        return at == end;
    }

    /** Refuses further bytes. */
    void expectEnd() throws IOException {
        if (!isAtEnd()) {
            throw new IOException("bytes behind the end");
        }
    }

    /** The position in the array of the next element. */
    int position() {
        return at;
    }

    /** The content of a SEQUENCE. */
    DerReader sequence() throws IOException {
        return element(SEQUENCE);
    }

    /** The content of an OCTET STRING. */
    DerReader octetString() throws IOException {
        return element(OCTET_STRING);
    }

    /** The content of a BIT STRING of whole bytes. */
    DerReader bitString() throws IOException {
        DerReader content = element(BIT_STRING);
        if (content.isAtEnd() || bytes[content.at] != 0) {
            throw new IOException("not a string of whole bytes");
        }
        content.at += 1;
        return content;
    }

    /** A copy of an INTEGER that is no secret. */
    BigInteger integer() throws IOException {
        return magnitude().toBigInteger();
    }

    /** An INTEGER as its content bytes say, read as unsigned: some programs leave out the sign byte. */
    Magnitude magnitude() throws IOException {
        DerReader content = element(INTEGER);
        int length = content.end - content.at;
        if (length == 0 || length > 1 && bytes[content.at] == 0 && bytes[content.at + 1] >= 0) {
            throw new IOException("an integer that is not DER");
        }
        return new Magnitude(bytes, content.at, content.end);
    }

    /** Passes over an OBJECT IDENTIFIER; whether it has this content. */
    boolean isObjectIdentifier(byte[] content) throws IOException {
        DerReader found = element(OBJECT_IDENTIFIER);
        return Arrays.equals(bytes, found.at, found.end, content, 0, content.length);
    }

    /** A copy of the remaining bytes. */
    byte[] rest() {
        return Arrays.copyOfRange(bytes, at, end);
    }

    private DerReader element(int tag) throws IOException {
        if (next() != tag) {
            throw new IOException("another element than expected");
        }
        int length = next();
        if (length > 0x7F) {
            int count = length & 0x7F;
            if (count == 0 || count > 4) {
                throw new IOException("a length that is not DER");
            }
            length = 0;
            for (int i = 0; i < count; ++i) {
                length = length << 8 | next();
            }
            if (length >>> 8 * (count - 1) == 0 || length >= 0 && length <= 0x7F) {
                throw new IOException("a length that is not DER");
            }
        }
        if (length < 0 || length > end - at) {
            throw new IOException("an element that runs past the end");
        }
        DerReader content = new DerReader(bytes, at, at + length);
        at += length;
        return content;
    }

    private int next() throws IOException {
        if (isAtEnd()) {
            throw new IOException("ends too early");
        }
        return bytes[at++] & 0xFF;
    }
}
