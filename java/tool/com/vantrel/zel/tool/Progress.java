package com.vantrel.zel.tool;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Locale;

/**
 * A bar on standard error with rate and time left, for long files and only when a person is watching. Closing it leaves the
 * line empty.
 */
final class Progress implements AutoCloseable {
    /** Files up to this size are done before anybody could read a bar. */
    static final long SHOWN_ABOVE_BYTES = 64L << 20;

    private static final long INTERVAL_NANOS = 100_000_000;
    private static final int BAR_WIDTH = 24;
    private static final int LINE_WIDTH = 78;
    private static final int NAME_WIDTH = 20;

    private final String name;
    private final long total;
    private final boolean isShown;
    private long start;
    private long done;
    private long lastDrawn;

    /**
     * A bar for so many bytes.
     *
     * @param total the bytes to come, or a negative number when nobody knows
     */
    Progress(String name, long total) {
        this.name = name.length() <= NAME_WIDTH ? name : "..." + name.substring(name.length() - NAME_WIDTH + 3);
        this.total = total;
        this.isShown = total > SHOWN_ABOVE_BYTES && onTerminal();
    }

    void advance(long bytes) {
        long now = System.nanoTime();
        if (done == 0) { // whatever was waited for before, such as the random generator, is not part of the rate
            start = now;
            lastDrawn = now;
        }
        done += bytes;
        if (isShown && now - lastDrawn >= INTERVAL_NANOS) {
            lastDrawn = now;
            draw(line(now - start));
        }
    }

    private String line(long nanos) {
        double part = Math.min(1.0, (double) done / total);
        int filled = (int) (part * BAR_WIDTH);
        double rate = done / (nanos / 1e9);
        return String.format(Locale.ROOT, "%s %3.0f%% [%s%s] %.0f MB/s, %s left", name, 100 * part,
                "#".repeat(filled), ".".repeat(BAR_WIDTH - filled), rate / 1e6, duration((long) ((total - done) / rate)));
    }

    private static String duration(long seconds) {
        return seconds < 60 ? seconds + " s" : seconds / 60 + " min " + seconds % 60 + " s";
    }

    @Override
    public void close() {
        if (isShown) {
            draw("");
        }
    }

    /** Shows a passing note that the next one, or an empty one, wipes away. */
    static void sayOnTerminal(String note) {
        if (onTerminal()) {
            draw(note);
        }
    }

    private static void draw(String text) {
        String padded = String.format("%-" + LINE_WIDTH + "s", text);
        Zel.err().print("\r" + padded.substring(0, LINE_WIDTH) + "\r");
        System.err.flush();
    }

    /** Whether standard error is a terminal. Java itself only tells whether all three streams are. */
    private static boolean onTerminal() {
        try {
            String target = Files.readSymbolicLink(Path.of("/proc/self/fd/2")).toString();
            return target.startsWith("/dev/pts/") || target.startsWith("/dev/tty") || target.equals("/dev/console");
        } catch (IOException | UnsupportedOperationException e) {
            return System.console() != null;
        }
    }
}
