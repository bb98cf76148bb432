package com.vantrel.zel.provider;

import static com.vantrel.zel.provider.TestKeys.*;

import com.vantrel.zel.provider.spi.*;
import java.lang.reflect.*;
import java.security.*;
import java.security.interfaces.RSAPublicKey;
import java.util.*;
import java.util.stream.*;
import javax.crypto.BadPaddingException;
import javax.crypto.ShortBufferException;

/**
 * Calls every native method of the provider as a hostile program would, in a random sequence over a few objects of each class.
 * A new method of theirs is covered as soon as it exists. What has led to success is varied, so that calls get far.
 *
 * <p>Each call has to end with a result or with an exception of a documented class; it leaves every byte alone that is not
 * its result. Each method has to succeed and each class of exception to be raised at some time. Arguments: the number of calls,
 * and, to repeat a run, its seed.
 */
public final class HostileCalls {
    private static final Set<Class<?>> DOCUMENTED = Set.of(ProviderException.class, SignatureException.class,
            DigestException.class, InvalidKeyException.class, InvalidAlgorithmParameterException.class,
            ShortBufferException.class, BadPaddingException.class, UnsupportedOperationException.class,
            NullPointerException.class, ArrayIndexOutOfBoundsException.class, NegativeArraySizeException.class,
            OutOfMemoryError.class);
    /** Beside the classes of the services: those whose native methods are static. */
    private static final Set<String> STATIC = Set.of("com.vantrel.zel.provider.ZelSecurityProvider",
            "com.vantrel.zel.provider.internal.NativeInfo", "com.vantrel.zel.provider.internal.ShortCalls");
    private static final int CALLS_THAT_REACH_ALL = 300_000; // fewer miss some method or failure now and then
    private static final int CALLS_FOR_A_KEY_PAIR = 20_000; // key pairs take long; so many other calls for one
    private static final int OBJECTS = 3;
    private static final int ADDED = 20;
    private static final int LONGEST_KEPT = 5000;
    private static final int[] INTS = {0, 1, 2, 16, 896, 1000, 16512, -1, Integer.MIN_VALUE, Integer.MAX_VALUE};

    private final Random random;
    private final Object[] digests; // none, without an engine, and with one
    private final List<byte[]> arrays = new ArrayList<>(); // sizes that matter, null, keys, and results of earlier calls
    private final int fixedArrays;
    private final Map<Method, List<Object[]>> successful = new HashMap<>();
    private final Set<Class<?>> raised = new HashSet<>();
    private int keyPairsLeft;

    private HostileCalls(long seed, int calls) throws Exception {
        random = new Random(seed);
        keyPairsLeft = 1 + calls / CALLS_FOR_A_KEY_PAIR;
        digests = new Object[] {null, new ZelSha1MessageDigestSpi(), new ZelSha1MessageDigestSpi(), new ZelSha256MessageDigestSpi()};
        for (int i = 2; i < digests.length; ++i) {
            Method reset = digests[i].getClass().getDeclaredMethod("engineReset0");
            reset.setAccessible(true);
            reset.invoke(digests[i]);
        }
        for (int size : new int[] {16, 32, 64, 0, 128, 129, 100_000}) {
            arrays.add(randomBytes(size));
        }
        arrays.add(null);
        for (int bits : new int[] {512, 1024}) { // in the forms that the native methods read: PKCS#8, X.509, and PKCS#1
            KeyPair rsa = jdkPair("RSA", bits);
            KeyPair dsa = jdkPair("DSA", bits);
            arrays.addAll(List.of(rsa.getPrivate().getEncoded(), derOf(((RSAPublicKey) rsa.getPublic()).getModulus(), F4),
                    dsa.getPrivate().getEncoded(), dsa.getPublic().getEncoded()));
        }
        fixedArrays = arrays.size();
    }

    public static void main(String[] args) throws Exception {
        int count = Integer.parseInt(args[0]);
        long seed = args.length > 1 ? Long.parseLong(args[1]) : System.nanoTime();
        System.out.println("seed " + seed);
        HostileCalls calls = new HostileCalls(seed, count);
        Map<Class<?>, List<Method>> methods = nativeMethods();
        calls.run(methods, count);
        List<Method> failing = methods.values().stream().flatMap(List::stream).filter(m -> !calls.successful.containsKey(m)
                && !m.getName().matches("engineVerify0|generate.*")).collect(Collectors.toList()); // says no, and rare
        if (count >= CALLS_THAT_REACH_ALL && (!calls.raised.equals(DOCUMENTED) || !failing.isEmpty())) { // a class that the VM does not know would not be raised
            throw new AssertionError("raised: " + calls.raised + "; never successful: " + failing);
        }
    }

    /** The native methods of each class and of what it extends, in an order that does not change. */
    private static Map<Class<?>, List<Method>> nativeMethods() throws Exception {
        Set<String> names = new TreeSet<>(STATIC);
        new ZelSecurityProvider().getServices().forEach(service -> names.add(service.getClassName()));
        Map<Class<?>, List<Method>> methods = new LinkedHashMap<>();
        for (String name : names) {
            Class<?> type = Class.forName(name);
            methods.put(type, Stream.<Class<?>>iterate(type, c -> c.getName().startsWith("com.vantrel"), Class::getSuperclass)
                    .flatMap(c -> Arrays.stream(c.getDeclaredMethods())).filter(m -> Modifier.isNative(m.getModifiers()))
                    .peek(m -> m.setAccessible(true)).sorted(Comparator.comparing(Method::toString)).collect(Collectors.toList()));
        }
        return methods;
    }

    private void run(Map<Class<?>, List<Method>> methods, int count) throws Exception {
        List<Class<?>> classes = List.copyOf(methods.keySet());
        Object[][] engines = new Object[classes.size()][OBJECTS];
        for (int i = 0; i < count; ++i) {
            int type = random.nextInt(engines.length);
            int which = random.nextInt(OBJECTS);
            if (engines[type][which] == null || random.nextInt(50) == 0) { // the old one is the cleaner's
                boolean hasObjects = !STATIC.contains(classes.get(type).getName());
                engines[type][which] = hasObjects ? classes.get(type).getConstructor().newInstance() : null;
            }
            List<Method> some = methods.get(classes.get(type));
            Method method = some.get(random.nextInt(some.size()));
            call(engines[type][which], method, arguments(method));
        }
    }

    /** Such as have led to success before, with something else in one place at times, or any. */
    private Object[] arguments(Method method) {
        Class<?>[] types = method.getParameterTypes();
        Object[] arguments = new Object[types.length];
        byte[] array = null;
        for (int i = 0; i < types.length; ++i) {
            if (types[i] == byte[].class) {
                array = array != null && random.nextInt(4) == 0 ? array : randomArray(); // one array for input and output
            }
            arguments[i] = types[i] == byte[].class ? array : types[i] == byte.class ? (Object) (byte) random.nextInt()
                    : types[i] != int.class ? digests[random.nextInt(digests.length)]
                    : takesASize(method) ? (Object) randomSize(method) : (Object) randomInt(array);
        }
        List<Object[]> known = successful.getOrDefault(method, List.of());
        if (known.isEmpty() || types.length == 0 || random.nextInt(3) == 0) {
            return arguments;
        }
        Object[] again = known.get(random.nextInt(known.size())).clone();
        int place = random.nextInt(types.length);
        again[place] = random.nextInt(3) == 0 ? arguments[place] : again[place];
        return again;
    }

    private static boolean takesASize(Method method) {
        return method.getName().matches("(g|engineG)enerate.*");
    }

    /** Of key pairs nearly always one that is refused. */
    private int randomSize(Method method) {
        if (random.nextInt(4) == 0) {
            return INTS[random.nextInt(INTS.length)];
        }
        if (method.getName().startsWith("engine")) {
            return random.nextInt(3000);
        }
        return random.nextInt(100) == 0 && --keyPairsLeft >= 0 ? 1024 : random.nextInt(20_000) - 100 | 1;
    }

    private int randomInt(byte[] array) {
        int[] choices = {random.nextInt(), INTS[random.nextInt(INTS.length)], 16 * random.nextInt(8), random.nextInt(4),
            random.nextInt(4), array == null ? 0 : array.length - random.nextInt(3) * random.nextInt(20)};
        return choices[random.nextInt(choices.length)];
    }

    /** An array of the pool, the first ones more often, or of any size; sometimes cut, or with something wrong in it. */
    private byte[] randomArray() {
        byte[] array = random.nextInt(8) == 0 ? randomBytes(random.nextInt(600))
                : arrays.get(random.nextInt(1 + random.nextInt(arrays.size())));
        if (array == null || array.length == 0 || random.nextInt(5) != 0) {
            return array;
        }
        byte[] wrong = Arrays.copyOf(array, random.nextBoolean() ? array.length : random.nextInt(array.length) + 1);
        int from = random.nextInt(random.nextBoolean() ? wrong.length : Math.min(wrong.length, 64));
        int to = Math.min(wrong.length, from + 1 + random.nextInt(random.nextBoolean() ? 2 : 80));
        Arrays.fill(wrong, from, to, (byte) (random.nextBoolean() ? 0 : wrong[from] ^ 1 << random.nextInt(8)));
        return wrong;
    }

    /** Makes the call, on copies of the arrays. */
    private void call(Object engine, Method method, Object[] arguments) throws Exception {
        Object[] copies = arguments.clone();
        for (int i = 0; i < copies.length; ++i) {
            int same = Arrays.asList(arguments).indexOf(arguments[i]);
            copies[i] = arguments[i] instanceof byte[] ? same < i ? copies[same] : ((byte[]) arguments[i]).clone()
                    : arguments[i];
        }
        try {
            Object result = method.invoke(engine, copies);
            requireRestUntouched(method, arguments, copies, result instanceof Integer ? (Integer) result : 0);
            List<Object[]> known = successful.computeIfAbsent(method, m -> new ArrayList<>());
            if (!takesASize(method)) {
                add(known, 0, arguments);
            }
            if (result instanceof byte[] && ((byte[]) result).length < LONGEST_KEPT) {
                add(arrays, fixedArrays, (byte[]) result);
            }
        } catch (InvocationTargetException e) {
            Throwable failure = e.getCause();
            if (!DOCUMENTED.contains(failure.getClass()) || failure.getMessage() == null) {
                throw new AssertionError("not documented, of " + method, failure);
            }
            raised.add(failure.getClass());
            requireRestUntouched(method, arguments, copies, 0);
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

    /** Of a method that returns how much it has written, the last array is the output, and its offset follows. */
    private static void requireRestUntouched(Method method, Object[] before, Object[] after, int written) {
        List<Class<?>> types = Arrays.asList(method.getParameterTypes());
        int output = written > 0 ? types.lastIndexOf(byte[].class) : -1;
        for (int i = 0; i < after.length && !method.getName().toLowerCase().endsWith("nextbytes0"); ++i) {
            if (after[i] instanceof byte[] && ((byte[]) after[i]).length < LONGEST_KEPT) {
                byte[] expected = ((byte[]) before[i]).clone();
                if (output >= 0 && after[i] == after[output]) {
                    System.arraycopy(after[output], (Integer) after[output + 1], expected, (Integer) after[output + 1], written);
                }
                if (!Arrays.equals(expected, (byte[]) after[i])) {
                    throw new AssertionError("wrote outside its result: " + method + Arrays.deepToString(before));
                }
            }
        }
    }
}
