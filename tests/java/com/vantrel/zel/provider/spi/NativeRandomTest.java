package com.vantrel.zel.provider.spi;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertThrows;

import com.vantrel.zel.provider.internal.NativeLibrary;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.function.Executable;

/** The native methods of the random generator called directly, with arguments that no Java class would pass. */
class NativeRandomTest {
    private static void assertRaises(Class<? extends Throwable> type, String message, Executable call) {
        assertEquals(message, assertThrows(type, call).getMessage());
    }

    @Test
    void badArguments() {
        NativeLibrary.load();
        ZelSecureRandomSpi spi = new ZelSecureRandomSpi();
        assertRaises(NullPointerException.class, "array is null", () -> spi.engineSetSeed0(null));
        assertRaises(NullPointerException.class, "array is null", () -> spi.engineNextBytes0(null));
        for (int count : new int[] {-1, Integer.MIN_VALUE}) {
            assertRaises(NegativeArraySizeException.class, "number of bytes is negative",
                    () -> spi.engineGenerateSeed0(count));
        }
        assertThrows(OutOfMemoryError.class, () -> spi.engineGenerateSeed0(Integer.MAX_VALUE));
        assertEquals(7, spi.engineGenerateSeed0(7).length);
    }
}
