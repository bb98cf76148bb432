package com.vantrel.zel.provider;

import static com.vantrel.zel.provider.TestKeys.*;

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
    private static final int OBJECTS = 3;
    private static final int ADDED = 20;
    private static final int LONGEST_KEPT = 5000;
    private static final int[] INTS = {0, 1, 2, 16, 896, 1000, 16512, -1, Integer.MIN_VALUE, Integer.MAX_VALUE};

    private final Random random;
    private final Map<Class<?>, Object[]> objects = new LinkedHashMap<>(); // in an order that does not change
    private final List<byte[]> arrays = new ArrayList<>(); // sizes that matter, null, keys, and results of earlier calls
    private final int fixedArrays;
    private final Map<Method, List<Object[]>> successful = new HashMap<>();
    private final Set<Class<?>> raised = new HashSet<>();

    private HostileCalls(long seed) throws Exception {
        random = new Random(seed);
        Set<String> names = new TreeSet<>(STATIC);
        ZEL.getServices().forEach(service -> names.add(service.getClassName()));
        for (String name : names) {
            objects.put(Class.forName(name), new Object[OBJECTS]);
        }
        IntStream.of(16, 32, 64, 0, 128, 129, 100_000).forEach(size -> arrays.add(randomBytes(size)));
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
        new HostileCalls(seed).run(count);
    }

    private void run(int count) throws Exception {
        Map<Class<?>, List<Method>> methods = new HashMap<>();
        for (Class<?> type : objects.keySet()) { // and what it extends
            methods.put(type, Stream.<Class<?>>iterate(type, c -> c.getName().startsWith("com.vantrel"), Class::getSuperclass)
                    .flatMap(c -> Arrays.stream(c.getDeclaredMethods())).filter(m -> Modifier.isNative(m.getModifiers()))
                    .peek(m -> m.setAccessible(true)).sorted(Comparator.comparing(Method::toString)).collect(Collectors.toList()));
        }
        List<Class<?>> types = List.copyOf(objects.keySet());
        for (int i = 0; i < count; ++i) {
            Class<?> type = types.get(random.nextInt(types.size()));
            int which = random.nextInt(OBJECTS);
            Object[] some = objects.get(type);
            if (!STATIC.contains(type.getName()) && (some[which] == null || random.nextInt(50) == 0)) { // the old one is the cleaner's
                some[which] = type.getConstructor().newInstance();
            }
            Method method = methods.get(type).get(random.nextInt(methods.get(type).size()));
            call(some[which], method, arguments(method));
        }
        List<Method> failing = methods.values().stream().flatMap(List::stream).filter(m -> !successful.containsKey(m)
                && !m.getName().matches("engineVerify0|generate.*")).collect(Collectors.toList()); // says no, and rare
        // A class that the VM does not know would not be raised.
        if (count >= CALLS_THAT_REACH_ALL && (!raised.equals(DOCUMENTED) || !failing.isEmpty())) {
            throw new AssertionError("raised: " + raised + "; never successful: " + failing);
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
                    : types[i] == int.class ? (Object) randomInt(method, array) : randomObject(types[i]);
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

    /** One of those at hand, or null. */
    private Object randomObject(Class<?> type) {
        List<Object> fitting = objects.values().stream().flatMap(Arrays::stream).filter(type::isInstance).collect(Collectors.toList());
        fitting.add(null);
        return fitting.get(random.nextInt(fitting.size()));
    }

    /** Whether it makes as much as an argument says, which can take long. */
    private static boolean takesASize(Method method) {
        return method.getName().matches("(g|engineG)enerate.*");
    }

    private int randomInt(Method method, byte[] array) {
        int known = INTS[random.nextInt(INTS.length)];
        int[] choices = takesASize(method) ? new int[] {known, random.nextInt(1100)} : new int[] {known, random.nextInt(),
            16 * random.nextInt(8), random.nextInt(4), random.nextInt(4),
            array == null ? 0 : array.length - random.nextInt(3) * random.nextInt(20)};
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
        Map<Object, byte[]> clones = new IdentityHashMap<>(); // one array for input and output stays one
        Object[] copies = Arrays.stream(arguments).map(argument -> argument instanceof byte[]
                ? clones.computeIfAbsent(argument, array -> ((byte[]) array).clone()) : argument).toArray();
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

    /** Adds to a list; of what has been added some stays. */
    private <T> void add(List<T> list, int fixed, T value) {
        list.add(value);
        if (list.size() > fixed + ADDED) {
            list.remove(fixed + random.nextInt(ADDED));
        }
    }

    /** Of a method that returns how much it has written, the last array is the output, and its offset follows. */
    private static void requireRestUntouched(Method method, Object[] before, Object[] after, int written) {
        if (written > 0) {
            int output = Arrays.asList(method.getParameterTypes()).lastIndexOf(byte[].class);
            int offset = (Integer) after[output + 1];
            System.arraycopy(before[output], offset, after[output], offset, written);
        }
        if (!method.getName().toLowerCase().endsWith("nextbytes0") && !Arrays.deepEquals(before, after)) {
            throw new AssertionError("wrote outside its result: " + method + Arrays.deepToString(before));
        }
    }
}
