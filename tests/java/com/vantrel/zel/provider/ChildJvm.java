package com.vantrel.zel.provider;

import java.io.IOException;
import java.net.URISyntaxException;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.ArrayList;
import java.util.List;
import java.util.concurrent.TimeUnit;

/** A Java program run in a virtual machine of its own. */
final class ChildJvm {
    final int exitCode;
    final String out;
    final String err;

    private ChildJvm(int exitCode, String out, String err) {
        this.exitCode = exitCode;
        this.out = out;
        this.err = err;
    }

    static String providerJar() {
        return System.getProperty("zel.provider.jar");
    }

    /** The folder of the tests' own classes. */
    static String testClasses() {
        try {
            return Path.of(ChildJvm.class.getProtectionDomain().getCodeSource().getLocation().toURI()).toString();
        } catch (URISyntaxException e) {
            throw new AssertionError(e);
        }
    }

    /** Runs java with the arguments and waits for its end. */
    static ChildJvm run(List<String> arguments) throws IOException, InterruptedException {
        return run(Path.of(System.getProperty("java.home")), arguments);
    }

    /** The same with the JDK in a folder. */
    static ChildJvm run(Path javaHome, List<String> arguments) throws IOException, InterruptedException {
        Path out = Files.createTempFile("child", ".out");
        Path err = Files.createTempFile("child", ".err");
        List<String> command = new ArrayList<>();
        command.add(javaHome.resolve("bin/java").toString());
        command.addAll(arguments);
        Process process = new ProcessBuilder(command).redirectOutput(out.toFile()).redirectError(err.toFile()).start();
        try {
            if (!process.waitFor(120, TimeUnit.SECONDS)) {
                process.destroyForcibly();
                throw new AssertionError("the child did not end: " + command);
            }
            return new ChildJvm(process.exitValue(), read(out), read(err));
        } finally {
            Files.delete(out);
            Files.delete(err);
        }
    }

    private static String read(Path file) throws IOException {
        return new String(Files.readAllBytes(file), StandardCharsets.UTF_8);
    }
}
