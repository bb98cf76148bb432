package com.vantrel.zel.provider.spi;

import java.lang.ref.Cleaner;
import java.util.function.LongConsumer;

/**
 * Gives a native engine back when the Java object that it belongs to becomes unreachable.
 *
 * <p>The native side writes the engine's address into the object's field {@code context0}. The owner notes it after every
 * call that may have made an engine; the cleaning action knows only that address, never the object.
 */
final class EngineOwner {
    private static final Cleaner CLEANER = Cleaner.create();

    private final Release release;

    /**
     * Watches over an object.
     *
     * @param object the object whose engine it is
     * @param delete destroys the engine at an address; must not hold the object
     */
    EngineOwner(Object object, LongConsumer delete) {
        release = new Release(delete);
        CLEANER.register(object, release);
    }

    /** Notes the address that now stands in the object's field. */
    void bound(long context0) {
        if (release.context0 != context0) { // reading is cheaper than writing what other threads are to see
            release.context0 = context0;
        }
    }

    private static final class Release implements Runnable {
        private final LongConsumer delete;
        private volatile long context0;

        Release(LongConsumer delete) {
            this.delete = delete;
        }

        @Override
        public void run() {
            if (context0 != 0) {
                delete.accept(context0);
            }
        }
    }
}
