package com.vantrel.zel.provider;

import java.lang.reflect.*;
import java.nio.file.Path;
import java.security.*;
import java.util.*;
import java.util.jar.JarFile;
import java.util.stream.*;
import javax.crypto.BadPaddingException;
import javax.crypto.ShortBufferException;

/**
 * Calls every native method of the provider as a hostile program would: with odd keys, and in random sequences over a few
 * objects of each class. The methods are taken from the provider's classes, so that a new one is covered as soon as it exists.
 *
 * <p>Each call has to end soon, with a result or with an exception of a documented class; it leaves every byte alone that is
 * not its result. Each method has to succeed and each class of exception to be raised at some time. Arguments: number of random
 * calls, and, to repeat a run, its seed.
 */
public final class HostileCalls {
    private static final Set<Class<?>> DOCUMENTED = Set.of(ProviderException.class, SignatureException.class,
            DigestException.class, InvalidKeyException.class, InvalidAlgorithmParameterException.class,
            ShortBufferException.class, BadPaddingException.class, UnsupportedOperationException.class,
            NullPointerException.class, ArrayIndexOutOfBoundsException.class, NegativeArraySizeException.class,
            OutOfMemoryError.class);
    private static final long LIMIT_NANOS = 120_000_000_000L;
    private static final int OBJECTS = 3;

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
    private final HostileArguments pool;
    private long callCount;
    private final Set<Class<?>> raised = new HashSet<>();
    private final Set<Method> failing = new LinkedHashSet<>();

    private HostileCalls(long seed, int randomCalls) throws Exception {
        random = new Random(seed);
        pool = new HostileArguments(random, randomCalls);
    }

    public static void main(String[] args) throws Exception {
        int randomCalls = Integer.parseInt(args[0]);
        long seed = args.length > 1 ? Long.parseLong(args[1]) : System.nanoTime();
        System.out.println("seed " + seed);
        Thread watchdog = new Thread(HostileCalls::watch, "watchdog");
        watchdog.setDaemon(true);
        watchdog.start();
        new ZelSecurityProvider();
        HostileCalls calls = new HostileCalls(seed, randomCalls);
        List<Class<?>> classes = classes();
        classes.forEach(type -> calls.failing.addAll(methodsOf(type)));
        calls.failing.removeIf(method -> method.getName().matches("engineVerify0|generate.*")); // false, and rare
        calls.randomSequences(classes, randomCalls);
        for (Class<?> type : classes) {
            calls.oddKeys(type);
        }
        System.out.println(calls.callCount + " calls");
        if (!calls.raised.equals(DOCUMENTED) || !calls.failing.isEmpty()) { // a class that the VM does not know would not be raised
            throw new AssertionError("raised: " + calls.raised + "; never successful: " + calls.failing);
        }
    }

    /** The classes of the provider that have native methods, as its jar has them. */
    private static List<Class<?>> classes() throws Exception {
        List<Class<?>> classes = new ArrayList<>();
        Path jar = Path.of(ZelSecurityProvider.class.getProtectionDomain().getCodeSource().getLocation().toURI());
        try (JarFile file = new JarFile(jar.toFile())) {
            for (String name : Collections.list(file.entries()).stream().map(e -> e.getName()).sorted()
                    .filter(n -> n.endsWith(".class") && !n.equals("module-info.class")).collect(Collectors.toList())) {
                Class<?> type = Class.forName(name.substring(0, name.length() - 6).replace('/', '.'));
                if (!methodsOf(type).isEmpty() && !Modifier.isAbstract(type.getModifiers())) {
                    classes.add(type);
                }
            }
        }
        return classes;
    }

    /** The native methods of a class and of what it extends, in an order that does not change. */
    private static List<Method> methodsOf(Class<?> type) {
        return Stream.<Class<?>>iterate(type, Objects::nonNull, Class::getSuperclass).filter(c -> c.getName().startsWith("com.vantrel"))
                .flatMap(c -> Arrays.stream(c.getDeclaredMethods())).filter(m -> Modifier.isNative(m.getModifiers()))
                .peek(m -> m.setAccessible(true)).sorted((a, b) -> a.toString().compareTo(b.toString()))
                .collect(Collectors.toList());
    }

    /** A new object of a class, or null where the native methods are static. */
    private static Object newEngine(Class<?> type) throws Exception {
        for (Constructor<?> constructor : type.getDeclaredConstructors()) {
            if (constructor.getParameterCount() == 0) {
                constructor.setAccessible(true);
                return constructor.newInstance();
            }
        }
        return null;
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

    /** Each odd key is read, and used as far as it lets itself be used. */
    private void oddKeys(Class<?> type) throws Exception {
        for (Method opener : methodsOf(type)) {
            if (opener.getName().matches("engineInit(Sign|Verify)0")) {
                for (byte[] oddKey : pool.oddKeys()) {
                    for (Method method : methodsOf(type)) {
                        Object engine = newEngine(type);
                        call(engine, opener, new Object[] {oddKey});
                        call(engine, method, pool.random(method));
                        delete(engine);
                    }
                }
            }
        }
    }

    private void randomSequences(List<Class<?>> classes, int count) throws Exception {
        Object[][] engines = new Object[classes.size()][OBJECTS];
        for (int i = 0; i < count; ++i) {
            int type = random.nextInt(engines.length);
            int which = random.nextInt(OBJECTS);
            if (engines[type][which] == null || random.nextInt(50) == 0) {
                delete(engines[type][which]);
                engines[type][which] = newEngine(classes.get(type));
            }
            List<Method> methods = methodsOf(classes.get(type));
            Method method = methods.get(random.nextInt(methods.size()));
            call(engines[type][which], method, pool.random(method));
        }
    }

    private void delete(Object engine) throws Exception {
        for (Method method : engine == null ? List.<Method>of() : methodsOf(engine.getClass())) {
            if (method.getName().equals("deleteContext0")) {
                call(engine, method, new Object[0]);
            }
        }
    }

    /** Makes the call, on copies of the arrays. */
    private void call(Object engine, Method method, Object[] arguments) throws Exception {
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
        } else {
            failing.remove(method);
            pool.keep(method, arguments, result);
        }
    }

    private static void requireRestUntouched(Call call, Object[] after, int written) {
        boolean returnsCount = call.method.getReturnType() == int.class;
        for (int i = 0; i < after.length; ++i) {
            byte[] now = after[i] instanceof byte[] ? (byte[]) after[i] : null;
            if (now == null || now.length > 5000 || call.method.getName().toLowerCase().endsWith("nextbytes0")) {
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
