package com.vantrel.zel.tool;

import java.io.IOException;
import java.nio.charset.StandardCharsets;
import java.nio.file.InvalidPathException;
import java.security.GeneralSecurityException;
import java.security.MessageDigest;
import java.util.ArrayList;
import java.util.List;
import java.util.concurrent.Callable;
import java.util.regex.Matcher;
import java.util.regex.Pattern;
import picocli.CommandLine.Command;
import picocli.CommandLine.Mixin;
import picocli.CommandLine.Option;
import picocli.CommandLine.Parameters;

/** {@code zel digest}: the lines of sha256sum and its kin, made and checked. */
@Command(
        name = "digest",
        description = "Prints the digests of files, as sha256sum does, or checks them.",
        footer = {
            "%nExamples:",
            "  zel digest letter.txt",
            "  zel digest --algorithm SHA-1 --json *.iso",
            "  zel digest *.iso > SUMS && zel digest --check SUMS"
        })
final class DigestCommand implements Callable<Integer> {
    private static final Pattern SUM_LINE = Pattern.compile("(?s)(\\\\?)([0-9a-fA-F]{40}|[0-9a-fA-F]{64}) [ *](.+)");
    private static final int SUMS_AT_MOST_BYTES = 64 << 20;

    @Option(names = {"-a", "--algorithm"}, paramLabel = "NAME", description = "SHA-256 (the default) or SHA-1.")
    private String algorithm = "SHA-256";

    @Option(names = {"-c", "--check"}, description = "The files hold such lines: check what they name.")
    private boolean checks;

    @Parameters(paramLabel = "FILE", arity = "0..*", description = "The files; none or - is standard input.")
    private List<String> files = List.of(Input.STANDARD);

    @Mixin private Json json;

    private final List<Object> rows = new ArrayList<>();
    private boolean differs;
    private boolean isUnread;

    @Override
    public Integer call() throws IOException, GeneralSecurityException {
        Engines.require("MessageDigest", algorithm);
        for (String file : files) {
            if (checks) {
                check(file);
            } else {
                print(file);
            }
        }
        if (json.isWanted) {
            Zel.out().println(Json.text(rows));
        }
        return differs ? Zel.NO : isUnread ? Zel.TROUBLE : 0;
    }

    private void print(String file) throws GeneralSecurityException {
        String hex = digest(file, algorithm);
        if (hex == null) {
            return;
        }
        rows.add(Json.object("file", file, "algorithm", algorithm, "digest", hex));
        if (!json.isWanted) {
            String escaped = escaped(file);
            Zel.out().println((escaped.equals(file) ? "" : "\\") + hex + "  " + escaped);
        }
    }

    /** The digest, or null for a file that cannot be read: that is told, and the other files have their turn. */
    private String digest(String file, String algorithm) throws GeneralSecurityException {
        MessageDigest digest = MessageDigest.getInstance(algorithm, Engines.ZEL);
        try (Input input = new Input(file)) {
            input.forEachPiece((bytes, count) -> digest.update(bytes, 0, count));
        } catch (IOException | InvalidPathException e) {
            String message = Failures.describe(e);
            Zel.err().println("zel: " + message);
            rows.add(Json.object("file", file, "error", message));
            isUnread = true;
            return null;
        }
        byte[] bytes = digest.digest();
        return Json.hex(bytes, bytes.length);
    }

    /** A file name on one line, as the sum programs write it. */
    private static String escaped(String file) {
        return file.replace("\\", "\\\\").replace("\n", "\\n").replace("\r", "\\r");
    }

    private static String unescaped(String file) {
        Matcher matcher = Pattern.compile("\\\\([\\\\nr])").matcher(file);
        return matcher.replaceAll(match -> Matcher.quoteReplacement(
                match.group(1).equals("n") ? "\n" : match.group(1).equals("r") ? "\r" : "\\"));
    }

    /** Checks what a file of sums names. One digest that differs is the answer, whatever else could not be read. */
    private void check(String sums) throws IOException, GeneralSecurityException {
        for (String line : new String(Input.small(sums, SUMS_AT_MOST_BYTES), StandardCharsets.UTF_8).split("\r?\n")) {
            Matcher matcher = SUM_LINE.matcher(line);
            if (!matcher.matches()) {
                throw new Failures.UserError(sums + ": not a line of digests: " + line);
            }
            String file = matcher.group(1).isEmpty() ? matcher.group(3) : unescaped(matcher.group(3));
            // The length tells the algorithm.
            String expected = matcher.group(2);
            String actual = digest(file, expected.length() == 40 ? "SHA-1" : "SHA-256");
            if (actual != null) {
                boolean isSame = actual.equalsIgnoreCase(expected);
                differs |= !isSame;
                rows.add(Json.object("file", file, "same", isSame));
                if (!json.isWanted) {
                    Zel.out().println(escaped(file) + (isSame ? ": OK" : ": FAILED"));
                }
            }
        }
    }
}
