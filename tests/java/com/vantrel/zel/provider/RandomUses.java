package com.vantrel.zel.provider;

import static com.vantrel.zel.provider.TestKeys.*;
import static org.junit.jupiter.api.Assertions.*;

import com.vantrel.zel.provider.internal.ShortWay;
import java.io.ByteArrayOutputStream;
import java.nio.ByteBuffer;
import java.security.*;
import java.util.*;
import java.util.concurrent.*;
import java.util.stream.*;
import javax.crypto.*;
import javax.crypto.spec.*;

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
    private static final int[] LAST_BYTES = {0, 1, 2, 15, 16, 17, 32, 127, 128, 255};

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

    /** In one of the modes ENCRYPT and DECRYPT; a ciphertext may be damaged, or its padding be only like one. */
    Use cipher(int mode) throws GeneralSecurityException {
        SecretKeySpec key = new SecretKeySpec(randomBytes(32), "AES");
        SecretKey lent = oddKey(SecretKey.class, "RAW", key.getEncoded());
        IvParameterSpec iv = new IvParameterSpec(randomBytes(16));
        Cipher cipher = Cipher.getInstance(TRANSFORMATION, ZEL);
        cipher.init(mode, lent, iv);
        return (random, isAfresh) -> {
            ShortWay.take(random.nextBoolean());
            if (isAfresh) {
                cipher.init(Cipher.ENCRYPT_MODE + Cipher.DECRYPT_MODE - mode, lent, iv);
                cipher.update(new byte[39]);
                cipher.init(mode, lent, iv);
            }
            byte[] input = message(random, random.nextInt(5) == 0 ? 9000 : 100);
            if (mode == Cipher.DECRYPT_MODE) {
                boolean isPadded = random.nextInt(3) > 0;
                Cipher encrypting = Cipher.getInstance(isPadded ? TRANSFORMATION : "AES/CBC/NoPadding", "SunJCE");
                encrypting.init(Cipher.ENCRYPT_MODE, key, iv);
                input = encrypting.doFinal(isPadded ? input : likePadded(random, input));
                if (random.nextInt(4) == 0) {
                    input = Arrays.copyOf(input, input.length - 16 * random.nextInt(2));
                    flip(random, input, Math.max(0, input.length - 32));
                }
            }
            Cipher theirs = Cipher.getInstance(TRANSFORMATION, "SunJCE");
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
                    send(cipher, random, input, at, length, null, out);
                    at += length;
                }
                int left = expected == null || !isJudged ? -1 : expected.length - out.size();
                if (left > 0 && random.nextInt(3) == 0) {
                    refuseRoom(cipher, input, at, Math.max(left - 1 - random.nextInt(18), 0));
                }
                send(cipher, random, input, at, input.length - at, left, out);
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

    /** Whole blocks that end as a padding may, or almost does. */
    private static byte[] likePadded(Random random, byte[] message) {
        byte[] blocks = Arrays.copyOf(message, message.length - message.length % 16 + 32);
        int last = LAST_BYTES[random.nextInt(LAST_BYTES.length)];
        Arrays.fill(blocks, blocks.length - Math.max(1, Math.min(last, 32)), blocks.length, (byte) last);
        if (random.nextInt(3) == 0) {
            flip(random, blocks, blocks.length - 16);
        }
        return blocks;
    }

    /** Short of room, nothing is written and nothing consumed: the call can be repeated. */
    private static void refuseRoom(Cipher cipher, byte[] data, int at, int room) {
        byte[] output = new byte[2 + room];
        Arrays.fill(output, (byte) 0x44);
        byte[] before = output.clone();
        assertThrows(ShortBufferException.class, () -> cipher.doFinal(data, at, data.length - at, output, 2));
        assertThrows(ShortBufferException.class, () -> cipher.doFinal(ByteBuffer.wrap(data, at, data.length - at),
                ByteBuffer.wrap(output, 2, room)));
        assertArrayEquals(before, output);
        assertTrue(cipher.getOutputSize(data.length - at) > room);
    }

    /**
     * Sends a piece through update, or the last one through doFinal, in a randomly chosen form; appends what comes out.
     *
     * @param left how much is to come of the last piece, -1 if that is not known; null for another piece
     */
    private void send(Cipher cipher, Random random, byte[] data, int at, int length, Integer left, ByteArrayOutputStream out)
            throws GeneralSecurityException {
        boolean isLast = left != null;
        byte[] area = new byte[length + 100];
        int from = random.nextInt(60);
        int to = random.nextBoolean() ? from : random.nextInt(60);
        System.arraycopy(data, at, area, from, length);
        switch (random.nextInt(5)) {
            case 0:
                byte[] bytes = isLast ? cipher.doFinal(data, at, length) : cipher.update(data, at, length);
                out.writeBytes(bytes == null ? new byte[0] : bytes);
                break;
            case 1: // one array, wherever the two slices lie
                out.write(area, to, isLast ? cipher.doFinal(area, from, length, area, to)
                        : cipher.update(area, from, length, area, to));
                break;
            case 2: // another array, of the last piece with no room to spare; nothing of a bad message is given out
                byte[] exact = new byte[isLast && left >= 0 ? left : length + 32];
                try {
                    out.write(exact, 0, isLast ? cipher.doFinal(data, at, length, exact) : cipher.update(data, at, length, exact));
                } catch (BadPaddingException e) {
                    assertArrayEquals(new byte[exact.length], exact);
                    throw e;
                }
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
        KeyPair lent = lent(pair);
        Signature signing = signing(algorithm, lent, ZEL);
        Signature verifying = verifying(algorithm, lent, ZEL);
        return (random, isAfresh) -> {
            if (isAfresh) {
                signing.initVerify(lent.getPublic());
                signing.update((byte) 1);
                signing.initSign(lent.getPrivate());
                verifying.initSign(lent.getPrivate());
                verifying.update((byte) 1);
                verifying.initVerify(lent.getPublic());
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
            Signature jdk = signing(algorithm, pair, jdkOf(algorithm));
            jdk.update(message);
            byte[] theirs = jdk.sign();
            if (random.nextInt(4) == 0) {
                flip(random, theirs, 0);
            }
            System.arraycopy(theirs, 0, area, 5, theirs.length);
            String verdict = verdict(verifying, area, 5, theirs.length);
            jdk.initVerify(pair.getPublic());
            jdk.update(message);
            boolean isTaken = jdk.verify(ours);
            jdk.update(message);
            if (isJudged) {
                assertTrue(isTaken);
                assertEquals(verdict(jdk, theirs, 0, theirs.length), verdict);
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

    /** Runs the work in so many threads at once; they go on after the return, and each end throws what its thread has thrown. */
    static List<Future<Void>> inThreads(int count, Callable<Void> work) {
        ExecutorService threads = Executors.newFixedThreadPool(count);
        List<Future<Void>> ends = Stream.generate(() -> threads.submit(work)).limit(count).collect(Collectors.toList());
        threads.shutdown();
        return ends;
    }

    /** One of each. */
    List<Use> all(KeyPair rsa, KeyPair dsa) throws Exception {
        return List.of(digest("SHA-1"), digest("SHA-256"), cipher(Cipher.ENCRYPT_MODE), cipher(Cipher.DECRYPT_MODE),
                signature("SHA1withRSA", rsa), signature("SHA256withRSA", rsa), signature("SHA1withDSA", dsa), random());
    }
}
