package com.vantrel.zel.provider.internal;

/** Work that nobody waits for. */
final class Background {
    private Background() {}

    /**
     * Does it in a thread that a virtual machine's end does not wait for, and that keeps nothing of the caller's.
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
