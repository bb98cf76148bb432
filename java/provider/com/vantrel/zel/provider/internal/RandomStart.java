package com.vantrel.zel.provider.internal;

import java.security.ProviderException;
import java.util.concurrent.ExecutionException;
import java.util.concurrent.FutureTask;
import java.util.concurrent.TimeUnit;
import java.util.concurrent.TimeoutException;
import java.util.concurrent.atomic.AtomicReference;

/**
 * The start of the process's random generator, which takes some six seconds: once, in a daemon thread, so that only users of
 * random numbers wait. A virtual machine that ends meanwhile does not wait for it.
 */
public final class RandomStart {
    private static boolean hasBegun;

    /** The latest start; null before the first. */
    private static FutureTask<Void> attempt;

    /** The failure of the start, until a user of the generator has been told of it. */
    private static final AtomicReference<Throwable> FAILURE = new AtomicReference<>();

    private RandomStart() {}

    /**
     * Starts the generator, unless that has been done.
     *
     * @param start makes the generator
     */
    public static synchronized void begin(Runnable start) {
        if (hasBegun) {
            return;
        }
        hasBegun = true;
        try {
            startAttempt(start);
        } catch (OutOfMemoryError e) { // no more threads: the first user makes the generator
            FAILURE.set(e);
        }
    }

    private static void startAttempt(Runnable start) {
        FutureTask<Void> task = new FutureTask<>(() -> keepFailure(start), null);
        Background.start("zel-random-start", task);
        attempt = task;
    }

    /** For a program that may need no randomness: the first user makes the generator. No effect once it has begun. */
    public static synchronized void leaveToFirstUser() {
        hasBegun = true;
    }

    private static void keepFailure(Runnable start) {
        try {
            start.run();
        } catch (Throwable e) { // kept, not printed
            FAILURE.set(e);
            throw e;
        }
    }

    /**
     * Waits until the generator is ready; starts it where no start is under way.
     *
     * @param start makes the generator
     * @param timeout how long to wait at most
     * @param unit the timeout's unit
     * @return whether it is ready
     * @throws InterruptedException if the thread is interrupted meanwhile
     * @throws ProviderException if it cannot be started
     */
    public static boolean await(Runnable start, long timeout, TimeUnit unit) throws InterruptedException {
        try {
            if (!NativeInfo.isRandomReady()) {
                currentAttempt(start).get(timeout, unit);
            }
            return true;
        } catch (TimeoutException e) {
            return NativeInfo.isRandomReady(); // another user may have been faster
        } catch (ExecutionException | OutOfMemoryError e) {
            throw new ProviderException("the random generator cannot be started", e instanceof Error ? e : e.getCause());
        }
    }

    private static synchronized FutureTask<Void> currentAttempt(Runnable start) {
        hasBegun = true;
        if (attempt == null || attempt.isDone()) {
            startAttempt(start);
        }
        return attempt;
    }

    /**
     * Uses the generator. The native side tries again to make one that could not be made at the start; only if that fails
     * too, its exception suppresses the failure of the start.
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
