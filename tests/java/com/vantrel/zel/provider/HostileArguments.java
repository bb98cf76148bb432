package com.vantrel.zel.provider;

import static com.vantrel.zel.provider.TestKeys.item;

import com.vantrel.zel.provider.spi.ZelSha1MessageDigestSpi;
import com.vantrel.zel.provider.spi.ZelSha256MessageDigestSpi;
import java.io.ByteArrayOutputStream;
import java.lang.reflect.Method;
import java.security.*;
import java.util.*;

/** What a hostile program passes to native methods: pools of arguments for each type, and keys whose numbers are odd. */
final class HostileArguments {
    private static final int FEW = 6;
    private static final int CALLS_FOR_A_KEY_PAIR = 20_000; // key pairs take long; so many other calls for one

    /** Sizes for what takes a size alone: each is refused where key pairs are made. */
    private static final Integer[] SIZES = {0, 1, -1, Integer.MIN_VALUE, Integer.MAX_VALUE, 896, 1000, 16512};
    private static final Integer[] INTS = {0, 1, 2, 16, -1, Integer.MIN_VALUE, Integer.MAX_VALUE};
    private static final Byte[] BYTES = {0, -1, 127};

    /** The numbers that replace those of a key: zero, the smallest, a negative one, one of two units, an even large one. */
    private static final byte[][] ODD_NUMBERS = {{0}, {1}, {2}, {3}, {-1}, {1, 0, 0, 0, 0, 0, 0, 0, 0}, new byte[129]};

    static {
        ODD_NUMBERS[6][0] = 1;
    }

    private final Random random;
    private final Object[] digests; // none, without an engine, and with one
    private final List<byte[]> arrays = new ArrayList<>(); // sizes that matter, null, keys, and results of earlier calls
    private final int fixedArrays;
    private int keyPairsLeft;

    HostileArguments(Random random, long seed, int randomCalls) throws Exception {
        this.random = random;
        digests = new Object[] {null, new ZelSha1MessageDigestSpi(), withEngine(new ZelSha1MessageDigestSpi()),
            withEngine(new ZelSha256MessageDigestSpi())};
        keyPairsLeft = 1 + randomCalls / CALLS_FOR_A_KEY_PAIR;
        for (int size : new int[] {16, 32, 0, 64, 100_000}) {
            arrays.add(randomBytes(size));
        }
        arrays.add(null);
        addKeys(seed);
        fixedArrays = arrays.size();
    }

    private static Object withEngine(Object digest) throws Exception {
        Method reset = digest.getClass().getDeclaredMethod("engineReset0");
        reset.setAccessible(true);
        reset.invoke(digest);
        return digest;
    }

    private byte[] randomBytes(int size) {
        byte[] bytes = new byte[size];
        random.nextBytes(bytes);
        return bytes;
    }

    /** Keys in the forms that the native methods read: PKCS#8, X.509, and PKCS#1, which is the end of RSA's X.509. */
    private void addKeys(long seed) throws Exception {
        SecureRandom repeatable = SecureRandom.getInstance("SHA1PRNG", "SUN");
        repeatable.setSeed(seed);
        for (String name : List.of("RSA", "DSA")) {
            for (int bits : new int[] {512, 1024}) {
                KeyPairGenerator generator = KeyPairGenerator.getInstance(name);
                generator.initialize(bits, repeatable);
                KeyPair pair = generator.generateKeyPair();
                arrays.add(pair.getPrivate().getEncoded());
                byte[] spki = pair.getPublic().getEncoded();
                arrays.add(name.equals("DSA") ? spki : Arrays.copyOfRange(spki, bits == 512 ? 20 : 22, spki.length));
            }
        }
    }

    /** The DER of a key with the integer number {@code *index} replaced; counts down for every integer, also inside strings. */
    private static byte[] withOddNumber(byte[] der, int[] index, byte[] odd) {
        ByteArrayOutputStream out = new ByteArrayOutputStream();
        for (int at = 0; at < der.length;) {
            int tag = der[at];
            int size = der[at + 1] & 0xFF;
            int header = size < 0x80 ? 2 : size - 0x80 + 2;
            for (int i = 2; i < header; ++i) {
                size = (i == 2 ? 0 : size << 8) | der[at + i] & 0xFF;
            }
            byte[] content = Arrays.copyOfRange(der, at + header, at + header + size);
            int unusedBits = tag == 3 ? 1 : 0;
            if (tag == 2 && index[0]-- == 0) {
                content = odd;
            } else if (tag == 0x30 || (tag == 3 || tag == 4) && (content[unusedBits] == 0x30 || content[unusedBits] == 2)) {
                byte[] inside = withOddNumber(Arrays.copyOfRange(content, unusedBits, content.length), index, odd);
                content = new byte[unusedBits + inside.length];
                System.arraycopy(inside, 0, content, unusedBits, inside.length);
            }
            out.writeBytes(item(tag, content));
            at += header + size;
        }
        return out.toByteArray();
    }

    /** Keys in good order, each with one of its numbers replaced by an odd one. */
    List<byte[]> oddKeys() {
        List<byte[]> oddKeys = new ArrayList<>();
        for (byte[] key : arrays.subList(FEW, fixedArrays)) {
            for (byte[] odd : ODD_NUMBERS) {
                int[] left = {-1};
                for (int integer = 0; left[0] < 0; ++integer) {
                    left[0] = integer;
                    oddKeys.add(withOddNumber(key, left, odd));
                }
            }
        }
        return oddKeys;
    }

    /** Signatures of the sizes that belong to the keys and the odd numbers; of DSA one with r = s = 1. */
    Object[] signatures() {
        byte[] dsa = {0x30, 44, 2, 1, 1, 2, 1, 1, 4, 36};
        return new Object[] {randomBytes(64), randomBytes(128), randomBytes(129), randomBytes(9), new byte[1],
            Arrays.copyOf(dsa, 46)};
    }

    private static boolean takesASize(Method method) {
        return method.getName().toLowerCase().startsWith("generate") || method.getName().equals("engineGenerateSeed0");
    }

    /** Pools for the method's parameters: with few arrays, or with every one. */
    List<Object[]> pools(Method method, boolean few) {
        List<Object[]> pools = new ArrayList<>();
        for (Class<?> type : method.getParameterTypes()) {
            pools.add(type == byte[].class ? (few ? arrays.subList(0, FEW) : arrays).toArray() : type == byte.class ? BYTES
                    : type != int.class ? digests : takesASize(method) ? SIZES : INTS);
        }
        return pools;
    }

    interface Use {
        void with(Object[] arguments) throws Exception;
    }

    static void forEachCombination(List<Object[]> pools, Use use) throws Exception {
        int[] at = new int[pools.size()];
        for (boolean more = true; more;) {
            Object[] arguments = new Object[at.length];
            for (int i = 0; i < at.length; ++i) {
                arguments[i] = pools.get(i)[at[i]];
            }
            use.with(arguments);
            more = false;
            for (int i = 0; i < at.length && !more; ++i) {
                at[i] = (at[i] + 1) % pools.get(i).length;
                more = at[i] != 0;
            }
        }
    }

    Object[] random(Method method) {
        Class<?>[] types = method.getParameterTypes();
        Object[] arguments = new Object[types.length];
        byte[] lastArray = null;
        for (int i = 0; i < types.length; ++i) {
            if (types[i] == byte[].class) {
                boolean isAgain = lastArray != null && random.nextInt(4) == 0; // one array for input and output
                lastArray = isAgain ? lastArray : randomArray();
                arguments[i] = lastArray;
            } else if (types[i] == byte.class) {
                arguments[i] = (byte) random.nextInt();
            } else if (types[i] != int.class) {
                arguments[i] = digests[random.nextInt(digests.length)];
            } else {
                arguments[i] = takesASize(method) ? randomSize(method) : randomInt(lastArray);
            }
        }
        return arguments;
    }

    private Integer randomSize(Method method) {
        if (method.getName().startsWith("engine")) {
            return random.nextInt(8) == 0 ? SIZES[random.nextInt(SIZES.length)] : (Integer) random.nextInt(3000);
        }
        if (keyPairsLeft > 0 && random.nextInt(100) == 0) {
            --keyPairsLeft;
            return 1024;
        }
        int size = random.nextInt(20_000) - 100;
        return random.nextBoolean() ? SIZES[random.nextInt(SIZES.length)] : size < 1024 ? size : size | 1;
    }

    private Integer randomInt(byte[] lastArray) {
        switch (random.nextInt(8)) {
            case 0:
                return random.nextInt();
            case 1:
                return INTS[random.nextInt(INTS.length)];
            case 2:
                return 16 * random.nextInt(8);
            case 3:
            case 4:
                return lastArray == null ? 0 : lastArray.length - random.nextInt(3) * random.nextInt(20);
            default:
                return random.nextInt(4);
        }
    }

    /** An array of the pool, of any size, or one of the pool with something wrong in it. */
    private byte[] randomArray() {
        byte[] array = random.nextInt(4) == 0 ? randomBytes(random.nextInt(600))
                : arrays.get(random.nextInt(arrays.size()));
        if (array == null || array.length == 0 || random.nextInt(3) != 0) {
            return array;
        }
        byte[] wrong = Arrays.copyOf(array, random.nextBoolean() ? array.length : random.nextInt(array.length) + 1);
        for (int flips = random.nextInt(3); flips >= 0; --flips) {
            wrong[random.nextInt(Math.min(wrong.length, 64))] ^= (byte) (1 << random.nextInt(8));
        }
        return wrong;
    }

    /** A result is an argument of later calls: a signature, a key. */
    void keep(byte[] result) {
        if (arrays.size() < fixedArrays + 20) {
            arrays.add(result);
        } else if (random.nextInt(50) == 0) {
            arrays.set(fixedArrays + random.nextInt(20), result);
        }
    }
}
