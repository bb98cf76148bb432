package com.vantrel.zel.provider;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertSame;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.vantrel.zel.probe.ServiceProbe;
import java.io.File;
import java.io.IOException;
import java.nio.file.Files;
import java.nio.file.Path;
import java.security.Provider;
import java.security.Security;
import java.util.ArrayList;
import java.util.List;
import java.util.stream.Collectors;
import java.util.stream.Stream;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.MethodSource;

/**
 * The ways in which programs come by the provider, with every JDK from 11 on that this machine has; elsewhere than on Debian, with
 * the one that runs the tests.
 */
class DeploymentTest {
    private static final Path JDKS = Path.of("/usr/lib/jvm");
    private static final int FIRST_VERSION = 11;
    private static final int FIRST_VERSION_THAT_DENIES = 24;

    @TempDir Path folder;

    static List<Path> jdks() throws IOException {
        if (!Files.isDirectory(JDKS)) {
            return List.of(Path.of(System.getProperty("java.home")));
        }
        try (Stream<Path> homes = Files.list(JDKS)) {
            List<Path> found = new ArrayList<>();
            for (Path home : homes.filter(home -> Files.isExecutable(home.resolve("bin/java")))
                    .collect(Collectors.toList())) {
                Path real = home.toRealPath();
                if (!found.contains(real) && version(real) >= FIRST_VERSION) {
                    found.add(real);
                }
            }
            return found;
        }
    }

    private static int version(Path home) throws IOException {
        return Files.readAllLines(home.resolve("release")).stream().filter(line -> line.startsWith("JAVA_VERSION="))
                .map(line -> Integer.valueOf(line.replaceAll("[^\"]*\"(\\d+).*", "$1"))).findFirst().orElse(0);
    }

    private String probe(Path jdk, String access, String... arguments) throws Exception {
        List<String> all = new ArrayList<>(ChildJvm.nativeAccess(version(jdk), access));
        all.addAll(List.of(arguments));
        ChildJvm child = ChildJvm.run(jdk, all);
        assertEquals("", child.err);
        return child.out.strip();
    }

    @ParameterizedTest
    @MethodSource("jdks")
    void onTheClassPathAndOnTheModulePath(Path jdk) throws Exception {
        String jar = ChildJvm.providerJar();
        String classes = ChildJvm.testClasses();
        String probe = ServiceProbe.class.getName();
        String byName = Files.writeString(folder.resolve("byName"), "security.provider.1=Zel\nsecurity.provider.2=SUN\n")
                .toString();
        String classPath = jar + File.pathSeparator + classes;
        String module = "com.vantrel.zel.provider";
        if (version(jdk) >= FIRST_VERSION_THAT_DENIES) {
            String byClass = Files.writeString(folder.resolve("byClass"),
                    "security.provider.1=com.vantrel.zel.provider.ZelSecurityProvider\n").toString();
            String said = ChildJvm.run(jdk, List.of("--illegal-native-access=deny", "-cp", classPath,
                    "-Djava.security.properties=" + byClass, probe, "registered")).err;
            assertTrue(said.contains("start Java with --enable-native-access=ALL-UNNAMED"), said);
        }
        assertEquals("null 32", probe(jdk, "ALL-UNNAMED", "-cp", classPath, probe, "loader"));
        assertEquals("null 32", probe(jdk, "ALL-UNNAMED", "-cp", classPath, "-Djava.security.properties=" + byName,
                probe, "registered"));
        assertEquals(module + " 32", probe(jdk, module, "-p", jar, "-cp", classes, probe, "loader"));
        assertEquals(module + " 32", probe(jdk, module, "-p", jar, "-cp", classes,
                "-Djava.security.properties=" + byName, probe, "registered"));
    }

    /** For each of our services, whatever name the JDK's own provider knows it by. */
    @Test
    void answersToEveryNameThatTheJdkKnows() throws Exception {
        Provider zel = new ZelSecurityProvider();
        int names = 0;
        for (String jdk : List.of("SUN", "SunRsaSign", "SunJCE")) {
            Provider provider = Security.getProvider(jdk);
            for (String entry : provider.stringPropertyNames()) {
                String[] alias = entry.replaceFirst("^Alg\\.Alias\\.", "").split("\\.", 2);
                Provider.Service ours = zel.getService(alias[0], provider.getProperty(entry));
                if (ours != null && entry.startsWith("Alg.Alias.")) {
                    assertSame(ours, zel.getService(alias[0], alias[1]), entry);
                    ++names;
                }
            }
        }
        assertTrue(names > 20, names + " names");
    }

    /** The tool's jar says in its manifest that it loads native code, so no VM warns of it. */
    @ParameterizedTest
    @MethodSource("jdks")
    void theTool(Path jdk) throws Exception {
        ChildJvm child = ChildJvm.run(jdk, List.of("-jar", System.getProperty("zel.tool.jar"), "info"));
        assertEquals("", child.err);
        assertTrue(child.out.contains("java                " + version(jdk)), child.out);
    }
}
