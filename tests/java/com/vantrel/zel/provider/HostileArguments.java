package com.vantrel.zel.provider;

import static com.vantrel.zel.provider.TestKeys.*;

import com.vantrel.zel.provider.spi.*;
import java.lang.reflect.Method;
import java.math.BigInteger;
import java.security.*;
import java.security.interfaces.*;
import java.security.spec.*;
import java.util.*;

/** What a hostile program passes to native methods: arguments of each type, and keys whose numbers are odd. */
final class HostileArguments {
    private static final int CALLS_FOR_A_KEY_PAIR = 20_000; // key pairs take long; so many other calls for one

    private static final int ADDED = 20;

    /** Sizes for what takes a size alone: each is refused where key pairs are made. */
    private static final int[] SIZES = {0, 1, -1, Integer.MIN_VALUE, Integer.MAX_VALUE, 896, 1000, 16512};
    private static final int[] INTS = {0, 1, 2, 16, -1, Integer.MIN_VALUE, Integer.MAX_VALUE};

    /** Numbers in place of those of a key: zero, the smallest, a negative one, one of two units, an even large one. */
    private static final List<BigInteger> ODD_NUMBERS = List.of(BigInteger.ZERO, BigInteger.ONE, BigInteger.TWO,
            BigInteger.valueOf(3), BigInteger.ONE.negate(), BigInteger.ONE.shiftLeft(64), BigInteger.ONE.shiftLeft(1024));

    private final Random random;
    private final Object[] digests; // none, without an engine, and with one
    private final List<byte[]> arrays = new ArrayList<>(); // sizes that matter, null, keys, and results of earlier calls
    private final List<byte[]> oddKeys = new ArrayList<>();
    private final Map<Method, List<Object[]>> successful = new HashMap<>();
    private final int fixedArrays;
    private int keyPairsLeft;

    HostileArguments(Random random, int calls) throws Exception {
        this.random = random;
        digests = new Object[] {null, new ZelSha1MessageDigestSpi(), withEngine(new ZelSha1MessageDigestSpi()),
            withEngine(new ZelSha256MessageDigestSpi())};
        keyPairsLeft = 1 + calls / CALLS_FOR_A_KEY_PAIR;
        for (int size : new int[] {16, 32, 64, 0, 128, 129, 100_000}) {
            arrays.add(randomBytes(size));
        }
        arrays.add(Arrays.copyOf(new byte[] {0x30, 44, 2, 1, 1, 2, 1, 1, 4, 36}, 46)); // a signature of DSA
        arrays.add(null);
        addKeys();
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

    /** Keys in the forms that the native methods read, PKCS#8, X.509 and PKCS#1; the odd ones with one number replaced. */
    private void addKeys() throws Exception {
        for (int bits : new int[] {512, 1024}) {
            RSAPrivateCrtKey rsa = (RSAPrivateCrtKey) jdkPair("RSA", bits).getPrivate();
            KeyPair dsa = jdkPair("DSA", bits);
            DSAParams params = ((DSAPublicKey) dsa.getPublic()).getParams();
            arrays.addAll(List.of(rsa.getEncoded(), derOf(rsa.getModulus(), F4), dsa.getPrivate().getEncoded(),
                    dsa.getPublic().getEncoded()));
            for (BigInteger odd : ODD_NUMBERS) {
                for (int at = 0; at < 4; ++at) {
                    BigInteger[] r = {rsa.getModulus(), F4, rsa.getPrimeP(), rsa.getPrimeQ()};
                    BigInteger[] d = {((DSAPrivateKey) dsa.getPrivate()).getX(), params.getP(), params.getQ(), params.getG()};
                    r[at] = odd;
                    d[at] = odd;
                    oddKeys.addAll(List.of(oddRsa(0, r[0], r[1], r[2], r[3]).getEncoded(), derOf(r[0], r[1]),
                            key(new DSAPrivateKeySpec(d[0], d[1], d[2], d[3])).getEncoded(),
                            key(new DSAPublicKeySpec(d[0], d[1], d[2], d[3])).getEncoded()));
                }
            }
        }
    }

    /** Keys in good order but for one of their numbers. */
    List<byte[]> oddKeys() {
        return oddKeys;
    }

    /** Such as have led to success before, with something else in one place at times, or any. */
    Object[] random(Method method) {
        Object[] arguments = any(method);
        List<Object[]> known = successful.get(method);
        if (known == null || known.isEmpty() || arguments.length == 0 || random.nextInt(3) == 0) {
            return arguments;
        }
        Object[] again = known.get(random.nextInt(known.size())).clone();
        int place = random.nextInt(again.length);
        again[place] = random.nextInt(3) == 0 ? arguments[place] : again[place];
        return again;
    }

    private Object[] any(Method method) {
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

    private static boolean takesASize(Method method) {
        return method.getName().matches("(g|engineG)enerate.*");
    }

    private int randomSize(Method method) {
        if (method.getName().startsWith("engine")) {
            return random.nextInt(8) == 0 ? SIZES[random.nextInt(SIZES.length)] : random.nextInt(3000);
        }
        if (keyPairsLeft > 0 && random.nextInt(100) == 0) {
            --keyPairsLeft;
            return 1024;
        }
        int size = random.nextInt(20_000) - 100;
        return random.nextBoolean() ? SIZES[random.nextInt(SIZES.length)] : size < 1024 ? size : size | 1;
    }

    private int randomInt(byte[] lastArray) {
        switch (random.nextInt(8)) {
            case 0:
                return random.nextInt();
            case 1:
            case 2:
                return INTS[random.nextInt(INTS.length)];
            case 3:
                return 16 * random.nextInt(8);
            case 4:
            case 5:
                return lastArray == null ? 0 : lastArray.length - random.nextInt(3) * random.nextInt(20);
            default:
                return random.nextInt(4);
        }
    }

    /** An array of the pool, of any size, or one of the pool with something wrong in it. */
    private byte[] randomArray() {
        byte[] array = random.nextInt(8) == 0 ? randomBytes(random.nextInt(600))
                : arrays.get(random.nextInt(1 + random.nextInt(arrays.size()))); // the first ones more often
        if (array == null || array.length == 0 || random.nextInt(5) != 0) {
            return array;
        }
        byte[] wrong = Arrays.copyOf(array, random.nextBoolean() ? array.length : random.nextInt(array.length) + 1);
        for (int flips = random.nextInt(3); flips >= 0; --flips) {
            wrong[random.nextInt(Math.min(wrong.length, 64))] ^= (byte) (1 << random.nextInt(8));
        }
        return wrong;
    }

    /** Arguments that have led to success serve again, and a result, a signature or a key, is an argument of later calls. */
    void keep(Method method, Object[] arguments, Object result) {
        List<Object[]> known = successful.computeIfAbsent(method, m -> new ArrayList<>());
        if (!takesASize(method)) {
            add(known, 0, arguments);
        }
        if (result instanceof byte[] && ((byte[]) result).length < 5000) {
            add(arrays, fixedArrays, (byte[]) result);
        }
    }

    /** Adds to a list, or replaces one of those that have been added. */
    private <T> void add(List<T> list, int fixed, T value) {
        if (list.size() < fixed + ADDED) {
            list.add(value);
        } else if (random.nextInt(50) == 0) {
            list.set(fixed + random.nextInt(ADDED), value);
        }
    }
}
