package com.vantrel.zel.provider.internal;

/** Work that nobody waits for. */
final class Background {
    private Background() {}

    /**
     * Does the work in a daemon thread, which holds no reference of the caller's.
     *
     * @throws OutOfMemoryError if there are no more threads
     */
    static void start(String name, Runnable work) {
        Thread thread = new Thread(null, work, name, 0, false);
        thread.setDaemon(true);
        thread.setContextClassLoader(null);
        thread.setUncaughtExceptionHandler((ended, failure) -> {}); // not printed: a program goes on without the work
        thread.start();
    }
}
