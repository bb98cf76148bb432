package com.vantrel.zel.tool;

import java.io.IOException;
import java.nio.charset.StandardCharsets;
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
    private static final Pattern SUM_LINE = Pattern.compile("(\\\\?)([0-9a-fA-F]{40}|[0-9a-fA-F]{64}) [ *](.+)");
    private static final int SUMS_AT_MOST_BYTES = 64 << 20;

    @Option(names = {"-a", "--algorithm"}, description = "SHA-256 (the default) or SHA-1.")
    private String algorithm = "SHA-256";

    @Option(names = {"-c", "--check"}, description = "The files hold such lines: check what they name.")
    private boolean checks;

    @Parameters(paramLabel = "FILE", arity = "0..*", description = "The files; none or - is standard input.")
    private List<String> files = List.of(Input.STANDARD);

    @Mixin private Json json;

    @Override
    public Integer call() throws IOException, GeneralSecurityException {
        Engines.require("MessageDigest", algorithm);
        if (checks) {
            return check();
        }
        List<Object> rows = new ArrayList<>();
        for (String file : files) {
            String hex = digest(file, algorithm);
            rows.add(Json.object("file", file, "algorithm", algorithm, "digest", hex));
            if (!json.isWanted) {
                String escaped = escaped(file);
                Zel.out().println((escaped.equals(file) ? "" : "\\") + hex + "  " + escaped);
            }
        }
        if (json.isWanted) {
            Zel.out().println(Json.text(rows));
        }
        return 0;
    }

    private static String digest(String file, String algorithm) throws IOException, GeneralSecurityException {
        MessageDigest digest = MessageDigest.getInstance(algorithm, Engines.ZEL);
        try (Input input = new Input(file)) {
            input.forEachPiece((bytes, count) -> digest.update(bytes, 0, count));
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

    private int check() throws IOException, GeneralSecurityException {
        List<Object> rows = new ArrayList<>();
        boolean allSame = true;
        for (String sums : files) {
            for (String line : new String(Input.small(sums, SUMS_AT_MOST_BYTES), StandardCharsets.UTF_8).split("\\R")) {
                Matcher matcher = SUM_LINE.matcher(line);
                if (!matcher.matches()) {
                    throw new Failures.UserError(sums + ": not a line of digests: " + line);
                }
                String file = matcher.group(1).isEmpty() ? matcher.group(3) : unescaped(matcher.group(3));
                // The length tells the algorithm.
                String expected = matcher.group(2);
                boolean isSame = digest(file, expected.length() == 40 ? "SHA-1" : "SHA-256").equalsIgnoreCase(expected);
                allSame &= isSame;
                rows.add(Json.object("file", file, "same", isSame));
                if (!json.isWanted) {
                    Zel.out().println(escaped(file) + (isSame ? ": OK" : ": FAILED"));
                }
            }
        }
        if (json.isWanted) {
            Zel.out().println(Json.text(rows));
        }
        return allSame ? 0 : Zel.NO;
    }
}
