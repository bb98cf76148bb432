package com.vantrel.zel.provider;

import java.io.ByteArrayOutputStream;
import java.lang.reflect.Array;
import java.lang.reflect.Constructor;
import java.lang.reflect.InvocationTargetException;
import java.lang.reflect.Method;
import java.lang.reflect.Modifier;
import java.math.BigInteger;
import java.nio.file.Files;
import java.nio.file.Path;
import java.security.DigestException;
import java.security.InvalidAlgorithmParameterException;
import java.security.InvalidKeyException;
import java.security.KeyPair;
import java.security.KeyPairGenerator;
import java.security.ProviderException;
import java.security.SecureRandom;
import java.security.SignatureException;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.Collections;
import java.util.HashSet;
import java.util.List;
import java.util.Random;
import java.util.Set;
import java.util.TreeSet;
import java.util.jar.JarFile;
import java.util.stream.Collectors;
import javax.crypto.BadPaddingException;
import javax.crypto.ShortBufferException;

/**
 * Calls every native method of the provider as a hostile program would: first every combination of arguments from small
 * pools in every state of an engine, then random sequences. The methods are taken from the provider's classes, so that a new
 * one is covered as soon as it exists.
 *
 * <p>Each call has to end soon, with a result or with an exception of a documented class; it leaves every byte alone that is
 * not its result. Arguments: file with the expected entry points, number of random calls, and, to repeat a run, its seed.
 */
public final class HostileCalls {
    private static final Set<Class<?>> DOCUMENTED = Set.of(ProviderException.class, SignatureException.class,
            DigestException.class, InvalidKeyException.class, InvalidAlgorithmParameterException.class,
            ShortBufferException.class, BadPaddingException.class, UnsupportedOperationException.class,
            NullPointerException.class, ArrayIndexOutOfBoundsException.class, NegativeArraySizeException.class,
            OutOfMemoryError.class);
    private static final long LIMIT_NANOS = 120_000_000_000L;
    private static final int KEYS = 8;
    private static final int CALLS_FOR_A_KEY_PAIR = 20_000; // key pairs take long; so many other calls for one

    /** Sizes for what takes a size alone: each is refused where key pairs are made. */
    private static final Integer[] SIZES = {0, 1, -1, Integer.MIN_VALUE, Integer.MAX_VALUE, 896, 1000, 16512};
    private static final Integer[] INTS = {0, 1, 2, 16, -1, Integer.MIN_VALUE, Integer.MAX_VALUE};
    private static final Byte[] BYTES = {0, -1, 127};

    /** A call: for the watchdog, and to say which one failed. */
    private static final class Call {
        final Method method;
        final Object[] arguments;
        final long start = System.nanoTime();

        Call(Method method, Object[] arguments) {
            this.method = method;
            this.arguments = arguments;
        }

        @Override
        public String toString() {
            return method.getDeclaringClass().getSimpleName() + "." + method.getName() + Arrays.stream(arguments)
                    .map(a -> a instanceof byte[] ? "byte[" + Array.getLength(a) + "]" : String.valueOf(a))
                    .collect(Collectors.joining(", ", "(", ")"));
        }
    }

    private static volatile Call current;

    private final Random random;
    private final List<byte[]> arrays = new ArrayList<>(); // null, sizes that matter, keys, and results of earlier calls
    private final int fixedArrays;
    private int keyPairsLeft;
    private long callCount;
    private final Set<Class<?>> raised = new HashSet<>();

    private HostileCalls(long seed, int randomCalls) throws Exception {
        random = new Random(seed);
        keyPairsLeft = 1 + randomCalls / CALLS_FOR_A_KEY_PAIR;
        for (int size : new int[] {16, 32, 0, 64, 100_000}) {
            arrays.add(randomBytes(size));
        }
        arrays.add(null);
        addKeys(seed);
        fixedArrays = arrays.size();
    }

    /** The numbers that replace those of a key: zero, the smallest, a negative one, one of two units, an even large one. */
    private static final byte[][] ODD_NUMBERS = {{0}, {1}, {2}, {3}, {-1}, {1, 0, 0, 0, 0, 0, 0, 0, 0}, new byte[129]};

    static {
        ODD_NUMBERS[6][0] = 1;
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
            out.write(tag);
            if (content.length >= 0x80) {
                out.write(0x82);
                out.write(content.length >> 8);
            }
            out.write(content.length);
            out.write(content, 0, content.length);
            at += header + size;
        }
        return out.toByteArray();
    }

    /** Signatures of the sizes that belong to the keys and the odd numbers; of DSA one with r = s = 1. */
    private Object[] signatures() {
        byte[] dsa = {0x30, 44, 2, 1, 1, 2, 1, 1, 4, 36};
        return new Object[] {randomBytes(64), randomBytes(128), randomBytes(129), randomBytes(9), new byte[1],
            Arrays.copyOf(dsa, 46)};
    }

    /** Keys in good order whose numbers are not: each is read, and used as far as it lets itself be used. */
    private void oddKeys(Class<?> type) throws Exception {
        for (Method opener : natives(type)) {
            if (!opener.getName().startsWith("engineInit") || opener.getParameterCount() != 1) {
                continue;
            }
            for (byte[] key : new ArrayList<>(arrays.subList(fixedArrays - KEYS, fixedArrays))) {
                for (byte[] odd : ODD_NUMBERS) {
                    int[] left = {-1};
                    for (int integer = 0; left[0] < 0; ++integer) {
                        left[0] = integer;
                        byte[] oddKey = withOddNumber(key, left, odd);
                        for (Method method : natives(type)) {
                            Object[] things = method.getName().equals("engineVerify0") ? signatures() : new Object[1];
                            for (Object thing : things) {
                                Object engine = newEngine(type);
                                call(engine, opener, new Object[] {oddKey});
                                call(engine, method, thing != null && method.getParameterCount() == 1
                                        ? new Object[] {thing} : randomArguments(method));
                                delete(engine);
                            }
                        }
                    }
                }
            }
        }
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

    public static void main(String[] args) throws Exception {
        int randomCalls = Integer.parseInt(args[1]);
        long seed = args.length > 2 ? Long.parseLong(args[2]) : System.nanoTime();
        System.out.println("seed " + seed);
        Thread watchdog = new Thread(HostileCalls::watch, "watchdog");
        watchdog.setDaemon(true);
        watchdog.start();
        new ZelSecurityProvider();
        List<Class<?>> classes = nativeClasses();
        requireEntryPoints(classes, Path.of(args[0]));
        HostileCalls calls = new HostileCalls(seed, randomCalls);
        for (Class<?> type : classes) {
            calls.everyCombination(type);
            calls.oddKeys(type);
        }
        System.out.println(calls.callCount + " calls in every combination");
        calls.randomSequences(classes, randomCalls);
        System.out.println(calls.callCount + " calls, raised: "
                + calls.raised.stream().map(Class::getSimpleName).sorted().collect(Collectors.joining(" ")));
    }

    private static void watch() {
        for (;;) {
            try {
                Thread.sleep(1000);
            } catch (InterruptedException e) {
                return;
            }
            Call call = current;
            if (call != null && System.nanoTime() - call.start > LIMIT_NANOS) {
                System.out.println("does not end: " + call);
                Runtime.getRuntime().halt(3);
            }
        }
    }

    private static List<Class<?>> nativeClasses() throws Exception {
        List<Class<?>> classes = new ArrayList<>();
        Path jar = Path.of(ZelSecurityProvider.class.getProtectionDomain().getCodeSource().getLocation().toURI());
        try (JarFile file = new JarFile(jar.toFile())) {
            for (String name : Collections.list(file.entries()).stream().map(e -> e.getName()).sorted()
                    .filter(n -> n.endsWith(".class") && !n.equals("module-info.class")).collect(Collectors.toList())) {
                Class<?> type = Class.forName(name.substring(0, name.length() - 6).replace('/', '.'));
                if (!natives(type).isEmpty()) {
                    classes.add(type);
                }
            }
        }
        return classes;
    }

    private static List<Method> natives(Class<?> type) {
        return Arrays.stream(type.getDeclaredMethods()).filter(m -> Modifier.isNative(m.getModifiers()))
                .peek(m -> m.setAccessible(true)).sorted((a, b) -> a.toString().compareTo(b.toString()))
                .collect(Collectors.toList());
    }

    /** The names under which a library exports the methods; an overloaded one carries its parameters. */
    private static void requireEntryPoints(List<Class<?>> classes, Path expected) throws Exception {
        Set<String> names = new TreeSet<>();
        for (Class<?> type : classes) {
            if (type.getPackageName().endsWith(".internal")) {
                continue; // the library registers these itself
            }
            for (Method method : natives(type)) {
                String name = "Java_" + type.getName().replace('.', '_') + "_" + method.getName();
                boolean isOverloaded = natives(type).stream().filter(m -> m.getName().equals(method.getName())).count() > 1;
                names.add(!isOverloaded ? name : name + "__" + Arrays.stream(method.getParameterTypes())
                        .map(t -> t == byte[].class ? "_3B" : t == int.class ? "I" : t == byte.class ? "B" : "?")
                        .collect(Collectors.joining()));
            }
        }
        if (!names.equals(new TreeSet<>(Files.readAllLines(expected)))) {
            throw new AssertionError("the native methods are not the library's entry points: " + names);
        }
    }

    /** How an engine came into a state: calls that were found to succeed on a new object. */
    private List<List<Call>> states(Class<?> type) throws Exception {
        List<List<Call>> states = new ArrayList<>();
        states.add(List.of());
        for (Method method : natives(type)) {
            if (!method.getName().matches("engine(Init|Reset|SetSeed).*")) {
                continue;
            }
            Set<List<Object>> known = new HashSet<>(); // one state for each choice of numbers: the operation modes
            forEachCombination(pools(method, arrays), arguments -> {
                List<Object> numbers = Arrays.stream(arguments).filter(a -> a instanceof Integer)
                        .collect(Collectors.toList());
                Object engine = newEngine(type);
                if (!known.contains(numbers) && call(engine, method, arguments)) {
                    known.add(numbers);
                    states.add(List.of(new Call(method, arguments)));
                }
                delete(engine);
            });
            if (known.isEmpty()) {
                throw new AssertionError("no arguments found with which this succeeds: " + method);
            }
        }
        return states;
    }

    private void everyCombination(Class<?> type) throws Exception {
        List<List<Call>> states = states(type);
        for (List<Call> state : states) {
            everyCombination(type, state, 0, false);
            if (!state.isEmpty()) {
                everyCombination(type, state, 3, false);
            }
        }
        everyCombination(type, states.get(states.size() - 1), 3, true);
        // Every array for every place of one: keys of the wrong kind, and those that fit.
        for (Method method : natives(type)) {
            List<Object[]> pools = pools(method, arrays);
            if (pools.stream().mapToInt(pool -> pool.length).reduce(1, (a, b) -> a * b) < 20_000) {
                forEachCombination(pools, arguments -> {
                    Object engine = newEngine(type);
                    call(engine, method, arguments);
                    delete(engine);
                });
            }
        }
    }

    private void everyCombination(Class<?> type, List<Call> state, int uses, boolean isDeleted) throws Exception {
        for (Method method : natives(type)) {
            forEachCombination(pools(method, arrays.subList(0, 6)), arguments -> {
                Object engine = prepared(type, state, uses);
                if (isDeleted) {
                    delete(engine);
                }
                call(engine, method, arguments);
                delete(engine);
            });
        }
    }

    private Object prepared(Class<?> type, List<Call> state, int uses) throws Exception {
        Object engine = newEngine(type);
        for (Call earlier : state) {
            call(engine, earlier.method, earlier.arguments);
        }
        List<Method> methods = natives(type);
        for (int i = 0; i < uses; ++i) {
            Method method = methods.get(random.nextInt(methods.size()));
            if (!method.getName().equals("deleteContext0")) {
                call(engine, method, randomArguments(method));
            }
        }
        return engine;
    }

    private void randomSequences(List<Class<?>> classes, int count) throws Exception {
        Object[][] engines = new Object[classes.size()][3];
        List<List<Method>> methods = classes.stream().map(HostileCalls::natives).collect(Collectors.toList());
        for (int i = 0; i < count; ++i) {
            int type = random.nextInt(engines.length);
            int which = random.nextInt(3);
            if (engines[type][which] == null || random.nextInt(500) == 0) {
                if (engines[type][which] != null) {
                    delete(engines[type][which]);
                }
                engines[type][which] = newEngine(classes.get(type));
            }
            Method method = methods.get(type).get(random.nextInt(methods.get(type).size()));
            call(engines[type][which], method, randomArguments(method));
        }
        for (Object[] some : engines) {
            for (Object engine : some) {
                delete(engine);
            }
        }
    }

    private static Object newEngine(Class<?> type) throws Exception {
        for (Constructor<?> constructor : type.getDeclaredConstructors()) {
            if (constructor.getParameterCount() == 0) {
                constructor.setAccessible(true);
                return constructor.newInstance();
            }
        }
        return null; // its native methods are static
    }

    private void delete(Object engine) throws Exception {
        if (engine == null) {
            return;
        }
        for (Method method : natives(engine.getClass())) {
            if (method.getName().equals("deleteContext0")) {
                call(engine, method, new Object[0]);
            }
        }
    }

    private static boolean takesASize(Method method) {
        return method.getName().toLowerCase().startsWith("generate") || method.getName().equals("engineGenerateSeed0");
    }

    private static List<Object[]> pools(Method method, List<byte[]> arrays) {
        List<Object[]> pools = new ArrayList<>();
        for (Class<?> type : method.getParameterTypes()) {
            pools.add(type == byte[].class ? arrays.toArray() : type == byte.class ? BYTES
                    : takesASize(method) ? SIZES : INTS);
        }
        return pools;
    }

    private interface Use {
        void with(Object[] arguments) throws Exception;
    }

    private static void forEachCombination(List<Object[]> pools, Use use) throws Exception {
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

    private Object[] randomArguments(Method method) {
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

    /** Makes the call, on copies of the arrays; whether it has ended without an exception. */
    private boolean call(Object engine, Method method, Object[] arguments) throws Exception {
        Object[] copies = arguments.clone();
        for (int i = 0; i < copies.length; ++i) {
            int same = Arrays.asList(arguments).indexOf(arguments[i]);
            copies[i] = arguments[i] instanceof byte[] ? same < i ? copies[same] : ((byte[]) arguments[i]).clone()
                    : arguments[i];
        }
        Object result = null;
        Throwable failure = null;
        current = new Call(method, arguments);
        try {
            result = method.invoke(engine, copies);
        } catch (InvocationTargetException e) {
            failure = e.getCause();
        }
        Call ended = current;
        current = null;
        ++callCount;
        if (failure != null && (!DOCUMENTED.contains(failure.getClass()) || failure.getMessage() == null)) {
            throw new AssertionError("not documented, in call " + callCount + ": " + ended, failure);
        }
        requireRestUntouched(ended, copies, failure == null && result instanceof Integer ? (Integer) result : 0);
        if (failure != null) {
            raised.add(failure.getClass());
        } else if (result instanceof byte[] && ((byte[]) result).length < 5000) {
            keep((byte[]) result);
        }
        return failure == null;
    }

    /** A result is an argument of later calls: a signature, a key. */
    private void keep(byte[] result) {
        if (arrays.size() < fixedArrays + 20) {
            arrays.add(result);
        } else if (random.nextInt(50) == 0) {
            arrays.set(fixedArrays + random.nextInt(20), result);
        }
    }

    private static void requireRestUntouched(Call call, Object[] after, int written) {
        boolean returnsCount = call.method.getReturnType() == int.class;
        for (int i = 0; i < after.length; ++i) {
            byte[] now = after[i] instanceof byte[] ? (byte[]) after[i] : null;
            if (now == null || now.length > 5000 || call.method.getName().equals("engineNextBytes0")) {
                continue;
            }
            byte[] before = ((byte[]) call.arguments[i]).clone();
            for (int out = after.length - 1; returnsCount && written > 0 && out >= 0; --out) {
                if (after[out] instanceof byte[]) { // the last array is the output; its offset follows
                    if (after[out] == now) {
                        System.arraycopy(now, (Integer) after[out + 1], before, (Integer) after[out + 1], written);
                    }
                    break;
                }
            }
            if (!Arrays.equals(before, now)) {
                throw new AssertionError("wrote outside its result: " + call);
            }
        }
    }
}
