package com.vantrel.zel.provider.internal;

import java.security.ProviderException;
import java.util.concurrent.atomic.AtomicReference;

/**
 * The start of the process's random generator, which takes some six seconds: once, in a daemon thread, so that nobody waits
 * who needs no randomness. A virtual machine that ends meanwhile does not wait for it.
 */
public final class RandomStart {
    private static boolean begun;

    /** What the start failed with, until somebody who needs randomness has been told. */
    private static final AtomicReference<Throwable> FAILURE = new AtomicReference<>();

    private RandomStart() {}

    /**
     * Starts the generator, unless that has been done.
     *
     * @param start makes the generator
     */
    public static synchronized void begin(Runnable start) {
        if (begun) {
            return;
        }
        begun = true;
        try {
            Background.start("zel-random-start", () -> keepFailure(start));
        } catch (OutOfMemoryError e) { // no more threads: the first user makes the generator
            FAILURE.set(e);
        }
    }

    /** For a program that may need no randomness: the first user makes the generator. Does nothing once it has begun. */
    public static synchronized void leaveToFirstUser() {
        begun = true;
    }

    private static void keepFailure(Runnable start) {
        try {
            start.run();
        } catch (Throwable e) { // kept, not printed
            FAILURE.set(e);
        }
    }

    /**
     * Uses the generator. The native side tries again to make one that could not be made at the start; only if that fails
     * too, the failure of the start is told along with it.
     *
     * @param use the use
     */
    public static void withFailureOfStart(Runnable use) {
        try {
            use.run();
        } catch (ProviderException e) {
            Throwable failure = FAILURE.getAndSet(null);
            if (failure != null) {
                e.addSuppressed(failure);
            }
            throw e;
        }
    }
}
