package com.vantrel.zel.provider;

import java.io.File;
import java.lang.management.ManagementFactory;
import java.net.URI;
import java.nio.charset.Charset;
import java.nio.file.*;
import java.util.*;
import java.util.concurrent.TimeUnit;

/** A Java program run to its end in a virtual machine of its own, which gets the -XX options of this one. */
public final class ChildJvm {
    public static final boolean CAN_DENY = Runtime.version().feature() >= 24;
    private static final boolean CAN_WARN = Runtime.version().feature() >= 22;

    public static final String PROVIDER_JAR = System.getProperty("zel.provider.jar");
    public static final String TEST_CLASSES = new File(URI.create(
            ChildJvm.class.getProtectionDomain().getCodeSource().getLocation().toString())).getPath();

    public static final String CLASS_PATH = PROVIDER_JAR + File.pathSeparator + TEST_CLASSES;

    private ChildJvm() {}

    /** Runs a program of the tests, with their class path unless the options name another; the result is what it prints. */
    public static String run(Class<?> program, List<String> options, String... arguments) throws Exception {
        List<String> all = new ArrayList<>(List.of("-cp", System.getProperty("java.class.path")));
        all.addAll(options);
        all.add(program.getName());
        all.addAll(List.of(arguments));
        return run(null, "ALL-UNNAMED", all);
    }

    /**
     * Runs java with the arguments, under a limit that the shell's command ulimit sets; one module alone is allowed native code, as
     * far as this version can tell them apart. Either may be null.
     *
     * @return what it prints on both streams, with line feeds at the ends of lines, whatever the system writes
     */
    public static String run(String limit, String module, List<String> arguments) throws Exception {
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
        Path printed = Files.createTempFile("child", ".out");
        printed.toFile().deleteOnExit(); // not sooner: wine may hold it a while after the child's end
        Process process = new ProcessBuilder(command).redirectErrorStream(true).redirectOutput(printed.toFile()).start();
        if (!process.waitFor(300, TimeUnit.SECONDS)) {
            process.destroyForcibly();
            throw new AssertionError("the child did not end: " + command);
        }
        Charset charset = Charset.forName(System.getProperty("native.encoding", Charset.defaultCharset().name()));
        return Files.readString(printed, charset).replace(System.lineSeparator(), "\n");
    }
}
