package com.vantrel.zel.provider;

import static org.junit.jupiter.api.Assertions.assertEquals;

import java.io.File;
import java.io.IOException;
import java.lang.management.ManagementFactory;
import java.net.URI;
import java.nio.charset.Charset;
import java.nio.file.*;
import java.util.*;
import java.util.concurrent.TimeUnit;

/**
 * A Java program run in a virtual machine of its own, which gets the -XX options of this one. Its lines end with a line feed,
 * whatever the system writes.
 */
final class ChildJvm {
    static final boolean CAN_DENY = Runtime.version().feature() >= 24;
    private static final boolean CAN_WARN = Runtime.version().feature() >= 22;

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
        return new File(URI.create(ChildJvm.class.getProtectionDomain().getCodeSource().getLocation().toString())).getPath();
    }

    /** What a program prints that ends well and has nothing to complain of. */
    static String outputOf(Class<?> program, List<String> options, String... arguments) throws Exception {
        ChildJvm child = run(program, options, arguments);
        assertEquals("", child.err);
        assertEquals(0, child.exitCode);
        return child.out;
    }

    /** Runs a program to its end. It sees the provider's jar and the tests, unless the options name another class path. */
    static ChildJvm run(Class<?> program, List<String> options, String... arguments) throws Exception {
        return runLimited(null, program, options, arguments);
    }

    /** The same under a limit that the shell's command ulimit sets. */
    static ChildJvm runLimited(String limit, Class<?> program, List<String> options, String... arguments) throws Exception {
        List<String> all = new ArrayList<>(List.of("-cp", providerJar() + File.pathSeparator + testClasses()));
        all.addAll(options);
        all.add(program.getName());
        all.addAll(List.of(arguments));
        return run(limit, "ALL-UNNAMED", all);
    }

    /** Runs java with the arguments to its end; one module alone is allowed native code, as far as this version can tell them apart. */
    static ChildJvm run(String module, List<String> arguments) throws Exception {
        return run(null, module, arguments);
    }

    private static ChildJvm run(String limit, String module, List<String> arguments) throws Exception {
        List<String> command = new ArrayList<>();
        if (limit != null) {
            command.addAll(List.of("sh", "-c", "ulimit " + limit + "; java=$1; shift; exec \"$java\" -XX:-UsePerfData \"$@\"", "sh"));
        }
        command.add(Path.of(System.getProperty("java.home"), "bin/java").toString());
        ManagementFactory.getRuntimeMXBean().getInputArguments().stream().filter(option -> option.startsWith("-XX:"))
                .forEach(command::add);
        if (CAN_WARN && module != null) {
            command.add("--enable-native-access=" + module);
        }
        if (CAN_DENY) {
            command.add("--illegal-native-access=deny");
        }
        command.addAll(arguments);
        Path out = Files.createTempFile("child", ".out");
        Path err = Files.createTempFile("child", ".err");
        out.toFile().deleteOnExit(); // not sooner: wine may hold them a while after the child's end
        err.toFile().deleteOnExit();
        Process process = new ProcessBuilder(command).redirectOutput(out.toFile()).redirectError(err.toFile()).start();
        if (!process.waitFor(300, TimeUnit.SECONDS)) {
            process.destroyForcibly();
            throw new AssertionError("the child did not end: " + command);
        }
        return new ChildJvm(process.exitValue(), lines(out), lines(err));
    }

    private static String lines(Path file) throws IOException {
        Charset charset = Charset.forName(System.getProperty("native.encoding", Charset.defaultCharset().name()));
        return Files.readString(file, charset).replace(System.lineSeparator(), "\n");
    }
}
