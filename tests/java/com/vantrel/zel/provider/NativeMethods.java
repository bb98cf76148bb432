package com.vantrel.zel.provider;

import java.lang.reflect.Constructor;
import java.lang.reflect.Method;
import java.lang.reflect.Modifier;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.Collections;
import java.util.List;
import java.util.Objects;
import java.util.jar.JarFile;
import java.util.stream.Collectors;
import java.util.stream.Stream;

/** The native methods of the provider, as its jar has them. */
final class NativeMethods {
    private NativeMethods() {}

    /** The classes that have any. */
    static List<Class<?>> classes() throws Exception {
        List<Class<?>> classes = new ArrayList<>();
        Path jar = Path.of(ZelSecurityProvider.class.getProtectionDomain().getCodeSource().getLocation().toURI());
        try (JarFile file = new JarFile(jar.toFile())) {
            for (String name : Collections.list(file.entries()).stream().map(e -> e.getName()).sorted()
                    .filter(n -> n.endsWith(".class") && !n.equals("module-info.class")).collect(Collectors.toList())) {
                Class<?> type = Class.forName(name.substring(0, name.length() - 6).replace('/', '.'));
                if (!of(type).isEmpty() && !Modifier.isAbstract(type.getModifiers())) {
                    classes.add(type);
                }
            }
        }
        return classes;
    }

    /** Those of a class and of what it extends, in an order that does not change. */
    static List<Method> of(Class<?> type) {
        return Stream.<Class<?>>iterate(type, Objects::nonNull, Class::getSuperclass).filter(c -> c.getName().startsWith("com.vantrel"))
                .flatMap(c -> Arrays.stream(c.getDeclaredMethods())).filter(m -> Modifier.isNative(m.getModifiers()))
                .peek(m -> m.setAccessible(true)).sorted((a, b) -> a.toString().compareTo(b.toString()))
                .collect(Collectors.toList());
    }

    /** A new object of a class, or null where the native methods are static. */
    static Object newEngine(Class<?> type) throws Exception {
        for (Constructor<?> constructor : type.getDeclaredConstructors()) {
            if (constructor.getParameterCount() == 0) {
                constructor.setAccessible(true);
                return constructor.newInstance();
            }
        }
        return null;
    }
}
