package com.vantrel.zel.tool;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.Locale;

/**
 * A bar on standard error with the rate and the remaining time, for long files and only at a terminal. Closing it clears the line.
 */
final class Progress implements AutoCloseable {
    /** Files up to this size take too short a time to show a bar. */
    static final long SHOWN_ABOVE_BYTES = 64L << 20;

    private static final long INTERVAL_NANOS = 100_000_000;
    private static final int BAR_WIDTH = 24;
    private static final int LINE_WIDTH = 78;
    private static final int NAME_WIDTH = 20;

    private final String name;
    private final long totalBytes;
    private final boolean isShown;
    private long start;
    private long doneBytes;
    private long lastDrawn;

    /**
     * Makes a bar for so many bytes.
     *
     * @param totalBytes the bytes to come, or a negative number where that is not known
     */
    Progress(String name, long totalBytes) {
        this.name = name.length() <= NAME_WIDTH ? name : "..." + name.substring(name.length() - NAME_WIDTH + 3);
        this.totalBytes = totalBytes;
        this.isShown = totalBytes > SHOWN_ABOVE_BYTES && onTerminal();
    }

    void advance(long bytes) {
        long now = System.nanoTime();
        if (doneBytes == 0) { // waiting before the first byte, as for the random generator, does not count
            start = now;
            lastDrawn = now;
        }
        doneBytes += bytes;
        if (isShown && now - lastDrawn >= INTERVAL_NANOS) {
            lastDrawn = now;
            draw(line(now - start));
        }
    }

    private String line(long nanos) {
        double part = Math.min(1.0, (double) doneBytes / totalBytes);
        int filled = (int) (part * BAR_WIDTH);
        double rate = doneBytes / (nanos / 1e9);
        return String.format(Locale.ROOT, "%s %3.0f%% [%s%s] %.0f MB/s, %s left", name, 100 * part,
                "#".repeat(filled), ".".repeat(BAR_WIDTH - filled), rate / 1e6, duration((long) ((totalBytes - doneBytes) / rate)));
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

    /** Shows a note on a terminal, until the next one, or an empty one, overwrites it. */
    static void showNote(String note) {
        if (onTerminal()) {
            draw(note);
        }
    }

    private static void draw(String text) {
        String padded = String.format("%-" + LINE_WIDTH + "s", text);
        Zel.err().print("\r" + padded.substring(0, LINE_WIDTH) + "\r");
        System.err.flush();
    }

    /** Whether standard error is a terminal. Java itself only reports whether all three streams are. */
    private static boolean onTerminal() {
        try {
            String target = Files.readSymbolicLink(Path.of("/proc/self/fd/2")).toString();
            return target.startsWith("/dev/pts/") || target.startsWith("/dev/tty") || target.equals("/dev/console");
        } catch (IOException | UnsupportedOperationException e) {
            return System.console() != null;
        }
    }
}
