package com.vantrel.zel.provider.internal;

import java.lang.invoke.MethodHandle;
import java.lang.invoke.MethodHandles;
import java.lang.invoke.MethodType;
import java.lang.reflect.Array;
import java.lang.reflect.Method;

/**
 * C functions of the native library, called from Java 22 on by critical calls of the foreign-function interface, which take
 * arrays without copying. That interface is used by reflection, because older versions of Java have none; handles in constants are
 * compiled into their callers all the same.
 */
final class ForeignCalls {
    private static final int REPETITIONS = 20_000;

    /** {@code (int digestLength, byte[] input, int length, byte[] output, int offset)}: the bytes written. */
    private static final MethodHandle DIGEST;

    /** {@code (int encrypts, byte[] state, byte[] blocks, int offset, int length)}: the bytes written. */
    private static final MethodHandle CBC;

    static {
        MethodHandle digest = null;
        MethodHandle cbc = null; // both, or neither
        try {
            if (isAllowed()) {
                digest = bind(0, int.class, byte[].class, int.class, byte[].class, int.class);
                cbc = bind(1, int.class, byte[].class, byte[].class, int.class, int.class);
            }
        } catch (ReflectiveOperationException | RuntimeException | Error e) {
            cbc = null; // the registered methods do the same
        }
        DIGEST = digest;
        CBC = cbc;
    }

    private ForeignCalls() {}

    /** Whether these calls can be made. They are repeated here until they are compiled, so that no other thread waits for that. */
    static boolean areReady() {
        byte[] message = new byte[ShortCalls.STATE_BYTES];
        for (int i = 0; i < REPETITIONS && CBC != null; ++i) {
            digest(32, message, 64, message, 64);
            cbc(1, message, message, 0, 16);
        }
        return CBC != null;
    }

    static int digest(int digestLength, byte[] input, int length, byte[] output, int offset) {
        try {
            return (int) DIGEST.invokeExact(digestLength, input, length, output, offset);
        } catch (Throwable e) {
            throw unexpected(e);
        }
    }

    static int cbc(int encrypts, byte[] state, byte[] blocks, int offset, int length) {
        try {
            return (int) CBC.invokeExact(encrypts, state, blocks, offset, length);
        } catch (Throwable e) {
            throw unexpected(e);
        }
    }

    private static RuntimeException unexpected(Throwable e) {
        if (e instanceof RuntimeException) {
            return (RuntimeException) e;
        }
        throw e instanceof Error ? (Error) e : new AssertionError(e);
    }

    /** Whether native access is enabled for this module, so that nothing is printed or refused that loading has not been. */
    private static boolean isAllowed() throws ReflectiveOperationException {
        try {
            return (boolean) Module.class.getMethod("isNativeAccessEnabled").invoke(ForeignCalls.class.getModule());
        } catch (NoSuchMethodException e) { // before 22
            return false;
        }
    }

    /** A handle of the library's function of that number, which returns an int. */
    private static MethodHandle bind(int function, Class<?>... parameters) throws ReflectiveOperationException {
        Class<?> segment = foreign("MemorySegment");
        Class<?> layout = foreign("MemoryLayout");
        Class<?> values = foreign("ValueLayout");
        Object address = values.getField("ADDRESS").get(null);
        Object integer = values.getField("JAVA_INT").get(null);
        Object layouts = Array.newInstance(layout, parameters.length);
        for (int i = 0; i < parameters.length; ++i) {
            Array.set(layouts, i, parameters[i] == int.class ? integer : address);
        }
        Class<?> descriptor = foreign("FunctionDescriptor");
        Object shape = descriptor.getMethod("of", layout, layouts.getClass()).invoke(null, integer, layouts);
        Class<?> option = foreign("Linker$Option");
        Object options = Array.newInstance(option, 1);
        Array.set(options, 0, option.getMethod("critical", boolean.class).invoke(null, true));
        Class<?> linker = foreign("Linker");
        Method downcall = linker.getMethod("downcallHandle", segment, descriptor, options.getClass());
        Object target = segment.getMethod("ofAddress", long.class).invoke(null, ShortCalls.address0(function));
        MethodHandle handle = (MethodHandle) downcall.invoke(linker.getMethod("nativeLinker").invoke(null), target, shape, options);
        MethodHandle ofArray = MethodHandles.publicLookup()
                .findStatic(segment, "ofArray", MethodType.methodType(segment, byte[].class));
        for (int i = 0; i < parameters.length; ++i) {
            handle = parameters[i] == int.class ? handle : MethodHandles.filterArguments(handle, i, ofArray);
        }
        return handle;
    }

    /** By the loader of the platform's own classes: another one's lock could be held for long. */
    private static Class<?> foreign(String name) throws ClassNotFoundException {
        return Class.forName("java.lang.foreign." + name, true, null);
    }
}
