package com.vantrel.zel.provider;

import static com.vantrel.zel.provider.TestKeys.*;
import static org.junit.jupiter.api.Assertions.*;

import com.vantrel.zel.provider.internal.ShortWay;
import java.io.ByteArrayOutputStream;
import java.nio.ByteBuffer;
import java.security.*;
import java.util.*;
import javax.crypto.BadPaddingException;
import javax.crypto.Cipher;
import javax.crypto.spec.IvParameterSpec;
import javax.crypto.spec.SecretKeySpec;

/**
 * Random uses of the provider, each result held against the JDK's own providers. A use keeps its objects for message after
 * message, and goes on with them after what is refused.
 */
final class RandomUses {
    /** One message through the kept objects; afresh: after another one that is given up. Fails where results differ. */
    interface Use {
        void with(Random random, boolean isAfresh) throws Exception;
    }

    private static final String TRANSFORMATION = "AES/CBC/PKCS5Padding";

    /** Whether results count: not while threads share the objects of a use. */
    volatile boolean isJudged = true;

    private final int longestMessage;

    RandomUses(int longestMessage) {
        this.longestMessage = longestMessage;
    }

    private byte[] message(Random random, int usually) {
        byte[] message = new byte[random.nextInt(random.nextInt(60) == 0 ? longestMessage : usually)];
        random.nextBytes(message);
        return message;
    }

    /** The size of the next piece: of a long message also more than one native call takes. */
    private static int piece(Random random, int left) {
        int[] longest = left > 100_000 ? new int[] {258, 20_000, 3 << 20} : new int[] {1, 40, 70, 258, 2000, 4096, 4097};
        return Math.min(left, random.nextInt(longest[random.nextInt(longest.length)] + 1));
    }

    Use digest(String algorithm) throws GeneralSecurityException {
        MessageDigest[] kept = {MessageDigest.getInstance(algorithm, ZEL)};
        return (random, isAfresh) -> {
            ShortWay.take(random.nextBoolean());
            MessageDigest digest = kept[0];
            if (isAfresh) {
                digest.update(message(random, 600));
                digest.reset();
            }
            byte[] message = message(random, 9000);
            for (int at = 0; at < message.length;) {
                int length = piece(random, message.length - at);
                if (length == 1) {
                    digest.update(message[at]);
                } else {
                    digest.update(message, at, length);
                }
                at += length;
                if (random.nextInt(5) == 0) { // a clone goes on, and nothing is in common any more
                    kept[0] = (MessageDigest) digest.clone();
                    digest.update(message, 0, message.length - at);
                    digest = kept[0];
                }
            }
            byte[] out = new byte[3 + digest.getDigestLength()];
            byte[] ours = random.nextBoolean() ? digest.digest()
                    : Arrays.copyOfRange(out, 3, 3 + digest.digest(out, 3, out.length - 3));
            if (isJudged) {
                assertArrayEquals(MessageDigest.getInstance(algorithm, "SUN").digest(message), ours);
            }
        };
    }

    /** In one of the modes ENCRYPT and DECRYPT; a ciphertext may be damaged. */
    Use cipher(int mode) throws GeneralSecurityException {
        SecretKeySpec key = new SecretKeySpec(randomBytes(32), "AES");
        IvParameterSpec iv = new IvParameterSpec(randomBytes(16));
        Cipher cipher = Cipher.getInstance(TRANSFORMATION, ZEL);
        cipher.init(mode, key, iv);
        return (random, isAfresh) -> {
            ShortWay.take(random.nextBoolean());
            if (isAfresh) {
                cipher.init(Cipher.ENCRYPT_MODE + Cipher.DECRYPT_MODE - mode, key, iv);
                cipher.update(new byte[39]);
                cipher.init(mode, key, iv);
            }
            byte[] input = message(random, random.nextInt(8) == 0 ? 9000 : 100);
            Cipher theirs = Cipher.getInstance(TRANSFORMATION, "SunJCE");
            if (mode == Cipher.DECRYPT_MODE) {
                theirs.init(Cipher.ENCRYPT_MODE, key, iv);
                input = theirs.doFinal(input);
                if (random.nextInt(4) == 0) {
                    input = Arrays.copyOf(input, input.length - 16 * random.nextInt(2));
                    flip(random, input, Math.max(0, input.length - 32));
                }
            }
            theirs.init(mode, key, iv);
            byte[] expected;
            try {
                expected = theirs.doFinal(input);
            } catch (BadPaddingException e) {
                expected = null;
            }
            ByteArrayOutputStream out = new ByteArrayOutputStream();
            boolean isRefused = false;
            try {
                int at = 0;
                while (random.nextInt(4) > 0) {
                    int length = piece(random, input.length - at);
                    send(cipher, random, input, at, length, false, out);
                    at += length;
                }
                send(cipher, random, input, at, input.length - at, true, out);
            } catch (BadPaddingException e) {
                isRefused = true;
            }
            if (isJudged) {
                assertArrayEquals(expected, isRefused ? null : out.toByteArray());
            }
        };
    }

    private static void flip(Random random, byte[] bytes, int from) {
        if (bytes.length > from) {
            bytes[from + random.nextInt(bytes.length - from)] ^= (byte) (1 << random.nextInt(8));
        }
    }

    /** Sends a piece through update, or the last one through doFinal, in a randomly chosen form; appends what comes out. */
    private void send(Cipher cipher, Random random, byte[] data, int at, int length, boolean isLast, ByteArrayOutputStream out)
            throws GeneralSecurityException {
        byte[] area = new byte[length + 100];
        int from = random.nextInt(60);
        int to = random.nextBoolean() ? from : random.nextInt(60);
        System.arraycopy(data, at, area, from, length);
        switch (random.nextInt(4)) {
            case 0:
                byte[] bytes = isLast ? cipher.doFinal(data, at, length) : cipher.update(data, at, length);
                out.writeBytes(bytes == null ? new byte[0] : bytes);
                break;
            case 1: // one array, wherever the two slices lie
                out.write(area, to, isLast ? cipher.doFinal(area, from, length, area, to)
                        : cipher.update(area, from, length, area, to));
                break;
            default:
                ByteBuffer in = random.nextBoolean() ? ByteBuffer.wrap(area, from, length).slice().asReadOnlyBuffer()
                        : ByteBuffer.wrap(area, from, length);
                ByteBuffer result = random.nextBoolean() ? ByteBuffer.wrap(area) : ByteBuffer.allocateDirect(length + 100);
                result.position(to);
                byte[] written = new byte[isLast ? cipher.doFinal(in, result) : cipher.update(in, result)];
                result.flip().position(to).get(written);
                assertEquals(0, in.remaining() + result.remaining());
                out.writeBytes(written);
        }
    }

    /** Signs and verifies; a signature may be damaged, and is judged as the JDK judges it. */
    Use signature(String algorithm, KeyPair pair) throws Exception {
        Signature signing = signing(algorithm, pair, ZEL);
        Signature verifying = verifying(algorithm, pair, ZEL);
        return (random, isAfresh) -> {
            if (isAfresh) {
                signing.initVerify(pair.getPublic());
                signing.update((byte) 1);
                signing.initSign(pair.getPrivate());
                verifying.initSign(pair.getPrivate());
                verifying.update((byte) 1);
                verifying.initVerify(pair.getPublic());
            }
            byte[] message = message(random, 300);
            int split = random.nextInt(message.length + 1);
            for (Signature signature : List.of(signing, verifying)) {
                signature.update(message, 0, split);
                if (split < message.length) {
                    signature.update(message[split]);
                    signature.update(message, split + 1, message.length - split - 1);
                }
            }
            byte[] area = new byte[600];
            byte[] ours = random.nextBoolean() ? signing.sign() : Arrays.copyOfRange(area, 9, 9 + signing.sign(area, 9, 591));
            Signature theirSigning = signing(algorithm, pair, jdkOf(algorithm));
            theirSigning.update(message);
            byte[] theirs = theirSigning.sign();
            Signature theirVerifying = verifying(algorithm, pair, jdkOf(algorithm));
            theirVerifying.update(message);
            boolean isTaken = theirVerifying.verify(ours);
            boolean isDamaged = random.nextInt(4) == 0;
            if (isDamaged) {
                flip(random, theirs, 0);
            }
            theirVerifying.update(message);
            System.arraycopy(theirs, 0, area, 5, theirs.length);
            String verdict = verdict(verifying, area, 5, theirs.length);
            if (isJudged) {
                assertEquals(true, isTaken);
                assertEquals(isDamaged ? verdict(theirVerifying, theirs, 0, theirs.length) : "true", verdict);
            }
        };
    }

    /** What a signature that has its message says of a slice. */
    static String verdict(Signature verifying, byte[] area, int offset, int length) {
        try {
            return String.valueOf(verifying.verify(area, offset, length));
        } catch (SignatureException e) {
            return "SignatureException";
        }
    }

    /** The generator is one for all: threads may share it, and nothing repeats. */
    Use random() throws GeneralSecurityException {
        SecureRandom generator = SecureRandom.getInstance("FIPS186PRNG", ZEL);
        return (random, isAfresh) -> {
            byte[] bytes = new byte[64 + random.nextInt(2000)];
            byte[] again = new byte[bytes.length];
            generator.setSeed(new byte[] {1, 2, 3});
            generator.nextBytes(bytes);
            SecureRandom.getInstance("FIPS186PRNG", ZEL).nextBytes(again);
            assertFalse(Arrays.equals(bytes, again));
            assertFalse(Arrays.equals(again, new byte[again.length]));
            assertEquals(bytes.length, generator.generateSeed(bytes.length).length);
        };
    }
}
