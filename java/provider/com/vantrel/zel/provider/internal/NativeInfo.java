package com.vantrel.zel.provider.internal;

import java.util.LinkedHashMap;
import java.util.Map;

/**
 * The native library's version and state. The library registers the native methods when it is loaded; with an older one that does
 * not they throw {@link UnsatisfiedLinkError}.
 */
public final class NativeInfo {
    private NativeInfo() {}

    /**
     * The version that the library was built as.
     *
     * @return the version, such as "1.2.3"
     */
    public static String version() {
        NativeLibrary.load();
        return version0();
    }

    /**
     * The implementations that were chosen for this processor.
     *
     * @return their names by primitive, such as "AES"
     */
    public static Map<String, String> kernels() {
        NativeLibrary.load();
        Map<String, String> kernels = new LinkedHashMap<>();
        for (String line : kernels0().split("\n")) {
            String[] pair = line.split("\t");
            kernels.put(pair[0], pair[1]);
        }
        return kernels;
    }

    /**
     * Whether the process's random generator has been seeded.
     *
     * @return whether its users no longer wait
     */
    public static boolean isRandomReady() {
        NativeLibrary.load();
        return isRandomReady0();
    }

    private static native String version0();

    private static native String kernels0();

    private static native boolean isRandomReady0();
}
