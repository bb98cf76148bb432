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

/** {@code zel digest}: prints lines as sha256sum and similar programs do, and checks them. */
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
    private static final String SHA1_HEX = "([0-9a-fA-F]{40})";
    private static final String SHA256_HEX = "([0-9a-fA-F]{64})";
    private static final Pattern SUM_LINE =
            Pattern.compile("(?s)[ \t]*(\\\\?)(?:" + SHA1_HEX + "|" + SHA256_HEX + ") [ *](.+)");

    /** What {@code sha256sum --tag} and {@code openssl dgst} print. */
    private static final Pattern TAGGED_LINE = Pattern.compile(
            "(?s)\\A[ \t]*(\\\\?)(?:SHA1 ?\\((.+)\\) ?= ?" + SHA1_HEX + "|SHA(?:2-)?256 ?\\((.+)\\) ?= ?" + SHA256_HEX + ")\\z");
    private static final int MAX_SUMS_BYTES = 64 << 20;

    @Option(names = {"-a", "--algorithm"}, paramLabel = "NAME", description = "SHA-256 (the default) or SHA-1.")
    private String algorithm = "SHA-256";

    @Option(names = {"-c", "--check"}, description = "The files hold such lines: check what they name.")
    private boolean isCheck;

    @Parameters(paramLabel = "FILE", arity = "0..*", description = "The files; none or - is standard input.")
    private List<String> files = List.of(Input.STANDARD);

    @Mixin private Json json;

    private final List<Object> rows = new ArrayList<>();
    private boolean hasMismatch;
    private boolean hasUnreadable;

    @Override
    public Integer call() throws GeneralSecurityException {
        Engines.require("MessageDigest", algorithm);
        for (String file : files) {
            if (!isCheck) {
                print(file);
                continue;
            }
            try {
                check(file);
            } catch (IOException | InvalidPathException | Failures.UserError e) {
                reportUnreadable(file, e);
            }
        }
        if (json.isWanted) {
            Zel.out().println(Json.text(rows));
        }
        return hasMismatch ? Zel.ANSWER_NO : hasUnreadable ? Zel.TROUBLE : 0;
    }

    private void print(String file) throws GeneralSecurityException {
        String hex = digest(file, algorithm);
        if (hex == null) {
            return;
        }
        rows.add(Json.object("file", file, "algorithm", algorithm, "digest", hex));
        if (!json.isWanted) {
            printLine(hex + "  ", file, "");
        }
    }

    /** The digest, or null for a file that cannot be read, which is reported; the other files follow. */
    private String digest(String file, String algorithm) throws GeneralSecurityException {
        MessageDigest digest = MessageDigest.getInstance(algorithm, Engines.ZEL);
        try (Input input = new Input(file)) {
            input.forEachPiece((bytes, count) -> digest.update(bytes, 0, count));
        } catch (IOException | InvalidPathException e) {
            reportUnreadable(file, e);
            return null;
        }
        byte[] bytes = digest.digest();
        return Json.hex(bytes, bytes.length);
    }

    private void reportUnreadable(String file, Exception e) {
        String message = Failures.describe(e);
        Zel.err().println("zel: " + message);
        rows.add(Json.object("file", file, "error", message));
        hasUnreadable = true;
    }

    /** Prints a line with a file name as the sum programs do: with a backslash in front where the name had to be escaped. */
    private static void printLine(String prefix, String file, String suffix) {
        String escaped = file.replace("\\", "\\\\").replace("\n", "\\n").replace("\r", "\\r");
        Zel.out().println((escaped.equals(file) ? "" : "\\") + prefix + escaped + suffix);
    }

    private static String unescaped(String file) {
        Matcher matcher = Pattern.compile("\\\\([\\\\nr])").matcher(file);
        return matcher.replaceAll(match -> Matcher.quoteReplacement(
                match.group(1).equals("n") ? "\n" : match.group(1).equals("r") ? "\r" : "\\"));
    }

    /**
     * Checks the files that a file of sums names. Lines of another form are counted and skipped, as the sum programs do; a file with
     * no others is refused. One digest that differs makes the answer no, also where other files could not be read.
     */
    private void check(String sums) throws IOException, GeneralSecurityException {
        int lines = 0;
        int skipped = 0;
        for (String line : new String(Input.readSmall(sums, MAX_SUMS_BYTES), StandardCharsets.UTF_8).split("\r?\n")) {
            if (!line.isEmpty() && !line.startsWith("#")) {
                ++lines;
                skipped += checkLine(line) ? 0 : 1;
            }
        }
        if (skipped == lines) {
            throw new Failures.UserError(sums + ": no line of digests");
        }
        if (skipped > 0) {
            Zel.err().println("zel: " + sums + ": lines that are no digests: " + skipped);
        }
    }

    /** Checks the file that a line names; false for a line of another form. */
    private boolean checkLine(String line) throws GeneralSecurityException {
        Matcher matcher = SUM_LINE.matcher(TAGGED_LINE.matcher(line).replaceFirst("$1$3$5  $2$4"));
        if (!matcher.matches()) {
            return false;
        }
        String file = matcher.group(1).isEmpty() ? matcher.group(4) : unescaped(matcher.group(4));
        boolean isSha1 = matcher.group(2) != null;
        String expected = matcher.group(isSha1 ? 2 : 3);
        String actual = digest(file, isSha1 ? "SHA-1" : "SHA-256");
        if (actual != null) {
            boolean isSame = actual.equalsIgnoreCase(expected);
            hasMismatch |= !isSame;
            rows.add(Json.object("file", file, "same", isSame));
            if (!json.isWanted) {
                printLine("", file, isSame ? ": OK" : ": FAILED");
            }
        }
        return true;
    }
}
