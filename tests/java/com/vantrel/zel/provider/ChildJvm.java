package com.vantrel.zel.provider;

import static org.junit.jupiter.api.Assertions.assertEquals;

import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.concurrent.TimeUnit;

/** A Java program run in a virtual machine of its own. */
final class ChildJvm {
    static final String PROVIDER_JAR = System.getProperty("zel.provider.jar");

    /** The folder of the tests' own classes. */
    static final String TEST_CLASSES = ChildJvm.class.getProtectionDomain().getCodeSource().getLocation().getPath();

    final int exitCode;
    final String out;
    final String err;

    private ChildJvm(int exitCode, String out, String err) {
        this.exitCode = exitCode;
        this.out = out;
        this.err = err;
    }

    /** What a program prints that ends well and has nothing to complain of. */
    static String outputOf(Class<?> program, List<String> options, String... arguments) throws Exception {
        ChildJvm child = run(program, options, arguments);
        assertEquals("", child.err);
        assertEquals(0, child.exitCode);
        return child.out;
    }

    /** Runs a program to its end. It sees the provider's jar and the tests, unless the options name another class path. */
    static ChildJvm run(Class<?> program, List<String> options, String... arguments)
            throws IOException, InterruptedException {
        Path out = Files.createTempFile("child", ".out");
        Path err = Files.createTempFile("child", ".err");
        List<String> command = new ArrayList<>(List.of(System.getProperty("java.home") + "/bin/java",
                "-cp", PROVIDER_JAR + ":" + TEST_CLASSES));
        command.addAll(options);
        command.add(program.getName());
        command.addAll(List.of(arguments));
        Process process = new ProcessBuilder(command).redirectOutput(out.toFile()).redirectError(err.toFile()).start();
        try {
            if (!process.waitFor(120, TimeUnit.SECONDS)) {
                process.destroyForcibly();
                throw new AssertionError("the child did not end: " + command);
            }
            return new ChildJvm(process.exitValue(), Files.readString(out), Files.readString(err));
        } finally {
            Files.delete(out);
            Files.delete(err);
        }
    }
}
