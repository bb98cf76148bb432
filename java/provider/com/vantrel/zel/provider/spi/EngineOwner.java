package com.vantrel.zel.provider.spi;

import java.lang.ref.Cleaner;
import java.util.function.LongConsumer;

/**
 * Deletes a native engine when the Java object that it belongs to becomes unreachable.
 *
 * <p>The native side writes the engine's address into the object's field {@code context0}. The owner notes it after every
 * call that may have made an engine; the cleaning action knows only that address, never the object.
 *
 * <p>The library looks for the field, and exports its methods, by the name of each final class: these stand there, next to what is
 * the algorithm's own; all the rest is in the base classes.
 */
final class EngineOwner {
    /** Made when it is first needed; where no thread can be had for it, the next object tries again. */
    private static volatile Cleaner cleaner;

    private final Release release;

    /**
     * Watches over an object.
     *
     * @param object the object whose engine it is
     * @param delete destroys the engine at an address, if that is not 0; must not hold the object
     * @throws OutOfMemoryError if there is no memory or no thread to watch over it
     */
    EngineOwner(Object object, LongConsumer delete) {
        release = new Release(delete);
        cleaner().register(object, release);
    }

    private static Cleaner cleaner() {
        return cleaner != null ? cleaner : makeCleaner();
    }

    private static synchronized Cleaner makeCleaner() {
        if (cleaner == null) {
            cleaner = Cleaner.create();
        }
        return cleaner;
    }

    /** Notes the address that now stands in the object's field. */
    void bound(long context0) {
        if (release.context0 != context0) { // reading a volatile field is cheaper than writing it
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
            delete.accept(context0);
        }
    }
}
