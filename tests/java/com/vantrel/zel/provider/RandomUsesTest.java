package com.vantrel.zel.provider;

import static com.vantrel.zel.provider.TestKeys.*;
import static org.junit.jupiter.api.Assertions.*;

import java.io.*;
import java.math.BigInteger;
import java.nio.ByteBuffer;
import java.nio.file.*;
import java.security.*;
import java.security.interfaces.*;
import java.security.spec.RSAKeyGenParameterSpec;
import java.util.*;
import java.util.concurrent.*;
import java.util.concurrent.atomic.AtomicLong;
import java.util.stream.*;
import javax.crypto.*;
import javax.crypto.spec.*;
import org.junit.jupiter.api.Test;

/**
 * Random uses of the provider as a Java program makes them, each result held against the JDK's own providers. A use keeps its
 * objects for message after message, and goes on with them after what is refused. Shared by threads, objects may lose results only.
 *
 * <p>As a program: all of them in several threads, for as many seconds as the argument or ZEL_SOAK_SECONDS says. Objects are
 * dropped as they stand. Memory, threads and open files must stay flat.
 */
public final class RandomUsesTest {
    /** One message through the kept objects; afresh: after another one that is given up. Fails where results differ. */
    private interface Use {
        void with(Random random, boolean isAfresh) throws Exception;
    }

    private static final String TRANSFORMATION = "AES/CBC/PKCS5Padding";
    private static final int[] LAST_BYTES = {0, 1, 2, 15, 16, 17, 32, 127, 128, 255};
    private static final int SAMPLES = 20;
    private static final long[] ALLOWED_GROWTH = {24 * 1024, 3, 3};

    private static final AtomicLong OPERATIONS = new AtomicLong();
    private static volatile boolean isOver;

    /** Whether results count: not while threads share the objects of a use. */
    private volatile boolean isJudged = true;

    private int longestMessage = 5 << 20;
    private int harms;

    private byte[] message(Random random, int usually) {
        return randomBytes(random.nextInt(random.nextInt(60) == 0 ? longestMessage : usually));
    }

    /** The size of the next piece: of a long message also more than one native call takes. */
    private static int piece(Random random, int left) {
        int[] longest = left > 100_000 ? new int[] {258, 20_000, 3 << 20} : new int[] {1, 40, 70, 258, 2000, 4096, 4097};
        return Math.min(left, random.nextInt(longest[random.nextInt(longest.length)] + 1));
    }

    private Use digest(String algorithm) throws GeneralSecurityException {
        MessageDigest[] kept = {MessageDigest.getInstance(algorithm, ZEL)};
        return (random, isAfresh) -> {
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

    /** What the JDK makes of a message; null if its padding is bad. */
    private static byte[] byJdk(String transformation, int mode, SecretKeySpec key, IvParameterSpec iv, byte[] input)
            throws GeneralSecurityException {
        Cipher cipher = Cipher.getInstance(transformation, "SunJCE");
        cipher.init(mode, key, iv);
        try {
            return cipher.doFinal(input);
        } catch (BadPaddingException e) {
            return null;
        }
    }

    /** In both modes and with changing keys; a ciphertext may be damaged, or its padding be only like one. */
    private Use cipher() throws GeneralSecurityException {
        SecretKey[] lent = {oddKey(SecretKey.class, "RAW", randomBytes(32))};
        int[] modes = {Cipher.DECRYPT_MODE};
        IvParameterSpec iv = new IvParameterSpec(randomBytes(16));
        Cipher cipher = Cipher.getInstance(TRANSFORMATION, ZEL);
        cipher.init(modes[0], lent[0], iv);
        return (random, isAfresh) -> {
            if (isAfresh) {
                cipher.update(new byte[39]);
                lent[0] = random.nextBoolean() ? lent[0] : oddKey(SecretKey.class, "RAW", randomBytes(32));
                modes[0] = random.nextInt(3) == 0 ? Cipher.ENCRYPT_MODE : Cipher.DECRYPT_MODE;
                cipher.init(modes[0], lent[0], iv);
            }
            int mode = modes[0];
            SecretKeySpec key = new SecretKeySpec(lent[0].getEncoded(), "AES");
            byte[] input = message(random, random.nextInt(5) == 0 ? 9000 : 100);
            if (mode == Cipher.DECRYPT_MODE) {
                boolean isPadded = random.nextInt(3) > 0;
                input = byJdk(isPadded ? TRANSFORMATION : "AES/CBC/NoPadding", Cipher.ENCRYPT_MODE, key, iv,
                        isPadded ? input : likePadded(random, input));
                if (random.nextInt(4) == 0) {
                    input = Arrays.copyOf(input, input.length - 16 * random.nextInt(2));
                    flip(random, input, Math.max(0, input.length - 32));
                }
            }
            byte[] expected = byJdk(TRANSFORMATION, mode, key, iv, input);
            byte[] ours;
            try {
                ByteArrayOutputStream out = new ByteArrayOutputStream();
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
                ours = out.toByteArray();
            } catch (BadPaddingException e) {
                ours = null;
            }
            if (isJudged) {
                assertArrayEquals(expected, ours);
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
        byte[] output = "x".repeat(2 + room).getBytes();
        assertThrows(ShortBufferException.class, () -> cipher.doFinal(data, at, data.length - at, output, 2));
        ByteBuffer input = ByteBuffer.wrap(data, at, data.length - at);
        assertThrows(ShortBufferException.class, () -> cipher.doFinal(input, ByteBuffer.wrap(output, 2, room)));
        assertEquals(at, input.position());
        assertArrayEquals("x".repeat(2 + room).getBytes(), output);
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
            case 2: // another array, of the last piece with no room to spare; of a bad message, zeros stand for all blocks but the last
                byte[] exact = "x".repeat(isLast && left >= 0 ? left : length + 32).getBytes();
                try {
                    out.write(exact, 0, isLast ? cipher.doFinal(data, at, length, exact) : cipher.update(data, at, length, exact));
                } catch (BadPaddingException e) {
                    int zeros = Math.max(at + length - out.size() - 16, 0);
                    if (isJudged) {
                        assertEquals("\0".repeat(zeros) + "x".repeat(exact.length - zeros), new String(exact));
                    }
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

    /** A signature bent, each time in the next of all ways; what becomes of it is up to the JDK. */
    private byte[] bent(byte[] right, PublicKey key) {
        List<byte[]> all = new ArrayList<>(List.of(new byte[0], new byte[right.length], Arrays.copyOf(right, 4),
                Arrays.copyOf(right, right.length - 1), Arrays.copyOf(right, right.length + 1)));
        if (key instanceof RSAPublicKey) {
            BigInteger n = ((RSAPublicKey) key).getModulus();
            BigInteger s = new BigInteger(1, right);
            for (BigInteger value : List.of(n, n.add(BigInteger.ONE), n.subtract(BigInteger.ONE), n.subtract(s), s.add(n), BigInteger.ONE)) {
                all.add(fixed(value, right.length));
            }
        } else {
            BigInteger q = ((DSAPublicKey) key).getParams().getQ();
            BigInteger r = new BigInteger(1, Arrays.copyOfRange(right, 4, 4 + right[3]));
            BigInteger s = new BigInteger(1, Arrays.copyOfRange(right, 6 + right[3], right.length));
            // Numbers of too many bits that hold a right signature's INTEGERs: copied without a check, they would make it.
            BigInteger header = BigInteger.valueOf(0x0215).shiftLeft(168);
            BigInteger both = header.add(r).shiftLeft(184).add(header).add(s);
            for (BigInteger[] values : new BigInteger[][] {{header.add(r), s}, {r, header.add(s)}, {r, both}, {r.setBit(160), s},
                {s, r}, {r, q.subtract(s)}, {r.add(q), s}, {r, q}, {r, BigInteger.ZERO},
                {BigInteger.ZERO, s}, {BigInteger.ONE, BigInteger.ONE}, {r, s.shiftLeft(200)}, {r, s, s}, {r}}) {
                if (Runtime.version().feature() > 11 || !List.of(values).contains(BigInteger.ZERO)) { // 11 does not look for zeros
                    all.add(derOf(values));
                }
            }
            all.add(item(0x30, item(2, new byte[] {0}, r.toByteArray()), item(2, s.toByteArray()))); // a sign byte too many
        }
        return all.get(harms / 3 % all.size());
    }

    /** Signs and verifies; a signature may be bent, or damaged, and is judged as the JDK judges it. */
    private Use signature(String algorithm, KeyPair pair) throws Exception {
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
            byte[] right = jdk.sign();
            int harm = ++harms % 3;
            byte[] theirs = harm == 0 ? bent(right, pair.getPublic()) : right;
            if (harm == 1) {
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
                assertEquals(verdict(jdk, theirs, 0, theirs.length), verdict, () -> new BigInteger(1, theirs).toString(16));
            }
        };
    }

    /** What a signature that has its message says of a slice. */
    private static String verdict(Signature verifying, byte[] area, int offset, int length) {
        try {
            return String.valueOf(verifying.verify(area, offset, length));
        } catch (SignatureException e) {
            return "SignatureException";
        }
    }

    /** The generator is one for all: threads may share it, and nothing repeats. */
    private Use random() throws GeneralSecurityException {
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

    /** One of each. */
    private List<Use> all(KeyPair rsa, KeyPair dsa) throws Exception {
        return List.of(digest("SHA-1"), digest("SHA-256"), cipher(), cipher(),
                signature("SHA1withRSA", rsa), signature("SHA256withRSA", rsa), signature("SHA1withDSA", dsa), random());
    }

    /** Runs the work in so many threads at once; they go on after the return, and each end throws what its thread has thrown. */
    public static List<Future<Void>> inThreads(int count, Callable<Void> work) {
        ExecutorService threads = Executors.newFixedThreadPool(count);
        List<Future<Void>> ends = Stream.generate(() -> threads.submit(work)).limit(count).collect(Collectors.toList());
        threads.shutdown();
        return ends;
    }

    private static void repeat(Use use, int rounds) throws Exception {
        Random random = new Random(1);
        for (int round = 0; round < rounds; ++round) {
            use.with(random, random.nextInt(8) == 0);
        }
    }

    @Test
    void digestCipherAndRandom() throws Exception {
        for (int i = 0; i < 10_000; ++i) { // soon after so many, short calls are Java's own calls of C, where there are any
            MessageDigest.getInstance("SHA-1", ZEL).digest();
        }
        repeat(digest("SHA-1"), 300);
        repeat(digest("SHA-256"), 300);
        repeat(cipher(), 2250);
        repeat(random(), 50);
        assertThrows(RuntimeException.class, () -> SecureRandom.getInstance("FIPS186PRNG", ZEL).generateSeed(-1));
    }

    /** With keys made here and by the JDK. */
    @Test
    void rsa() throws Exception {
        List<KeyPair> keys = new ArrayList<>(List.of(keyPair("RSA", 1024, ZEL)));
        for (int bits : new int[] {512, 777, 1025, 2048, 4096}) { // of 777 and 1025 the top byte leaves room for s + n
            keys.add(jdkPair("RSA", bits));
        }
        KeyPairGenerator generator = KeyPairGenerator.getInstance("RSA", "SunRsaSign");
        for (String exponent : List.of("3", "4294967291")) { // the longest that the engine takes
            generator.initialize(new RSAKeyGenParameterSpec(1024, new BigInteger(exponent)));
            keys.add(generator.generateKeyPair());
        }
        for (KeyPair pair : keys) {
            repeat(signature("SHA1withRSA", pair), 22);
            repeat(signature("SHA256withRSA", pair), 22);
        }
    }

    /** Many, for values of every length. */
    @Test
    void dsa() throws Exception {
        repeat(signature("SHA1withDSA", keyPair("DSA", 1024, ZEL)), 400);
        repeat(signature("SHA1withDSA", jdkPair("DSA", 1024)), 400);
    }

    /** Threads that share an object are a program's mistake and may cost it its results, but never the virtual machine. */
    @Test
    void shared() throws Exception {
        longestMessage = 5000;
        List<Use> shared = new ArrayList<>(all(jdkPair("RSA", 1024), jdkPair("DSA", 1024)));
        MessageDigest digest = MessageDigest.getInstance("SHA-256", ZEL);
        shared.add((random, isAfresh) -> {
            for (int i = 0; i < 130; ++i) {
                digest.update(new byte[4000], 0, random.nextInt(4000));
            }
        });
        isJudged = false;
        for (Use use : shared) {
            for (Future<Void> end : inThreads(4, () -> {
                Random random = new Random();
                for (int round = 0; round < 150; ++round) {
                    try {
                        use.with(random, random.nextInt(8) == 0);
                    } catch (GeneralSecurityException | IllegalStateException e) {
                        continue; // what a muddled object may say
                    }
                }
                return null;
            })) {
                end.get();
            }
        }
        isJudged = true;
        for (Use use : shared) {
            use.with(new Random(1), true);
        }
    }

    public static void main(String[] args) throws Exception {
        long seconds = Long.parseLong(System.getenv().getOrDefault("ZEL_SOAK_SECONDS", args[0]));
        KeyPair rsa = jdkPair("RSA", 1024);
        KeyPair dsa = jdkPair("DSA", 1024);
        List<Future<Void>> ends = inThreads(8, () -> new RandomUsesTest().useUntilTheEnd(rsa, dsa));
        long[] first = null; // in the first half the JVM is still growing: it compiles
        long[] most = new long[ALLOWED_GROWTH.length];
        for (int i = 0; i < SAMPLES && ends.stream().noneMatch(Future::isDone); ++i) {
            Thread.sleep(seconds * 1000 / SAMPLES);
            long[] sample = sample();
            System.out.println(Arrays.toString(sample) + " KiB resident, threads, open files");
            first = i == SAMPLES / 2 ? sample : first;
            if (first != null) {
                Arrays.setAll(most, which -> Math.max(most[which], sample[which]));
            }
        }
        isOver = true;
        for (Future<Void> end : ends) {
            end.get();
        }
        System.out.println(OPERATIONS + " operations");
        for (int which = 0; which < most.length; ++which) {
            assertTrue(most[which] <= first[which] + ALLOWED_GROWTH[which], "not flat: " + Arrays.toString(first) + " at half-time");
        }
    }

    private static long[] sample() throws Exception {
        System.gc();
        Thread.sleep(100); // for the cleaner
        String numbers = Files.readString(Path.of("/proc/self/status"))
                .replaceAll("(?s).*VmRSS:\\s*(\\d+).*Threads:\\s*(\\d+).*", "$1 $2 ") + new File("/proc/self/fd").list().length;
        return Stream.of(numbers.split(" ")).mapToLong(Long::parseLong).toArray();
    }

    private Void useUntilTheEnd(KeyPair rsa, KeyPair dsa) throws Exception {
        Random random = new Random();
        longestMessage = 40_000;
        List<Use> kept = all(rsa, dsa);
        for (; !isOver; OPERATIONS.incrementAndGet()) {
            kept.get(random.nextInt(kept.size())).with(random, random.nextInt(8) == 0);
            if (random.nextInt(40) == 0) {
                boolean areNew = random.nextInt(100) == 0;
                kept = all(areNew ? keyPair("RSA", 1024, ZEL) : rsa, areNew ? keyPair("DSA", 1024, ZEL) : dsa);
                for (int i = 0; i < 200; ++i) { // nobody ends these; an engine takes about 250 bytes
                    MessageDigest.getInstance("SHA-256", ZEL).update(new byte[5000]);
                }
            }
        }
        return null;
    }
}
