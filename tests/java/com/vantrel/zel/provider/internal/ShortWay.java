package com.vantrel.zel.provider.internal;

/** Chooses how short calls are done from now on, which a program cannot. */
public final class ShortWay {
    private static final boolean IS_THERE = ForeignCalls.areReady();

    private ShortWay() {}

    /** Java's own calls of C, where there are any, or the registered methods. */
    public static void take(boolean isForeign) {
        ShortCalls.isForeign = isForeign && IS_THERE;
    }
}
