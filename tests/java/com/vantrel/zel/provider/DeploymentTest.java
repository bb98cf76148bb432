package com.vantrel.zel.provider;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertSame;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.vantrel.zel.probe.ServiceProbe;
import java.io.File;
import java.nio.file.Files;
import java.nio.file.Path;
import java.security.Provider;
import java.security.Security;
import java.util.ArrayList;
import java.util.List;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

/** The ways in which programs come by the provider. */
class DeploymentTest {
    @TempDir Path folder;

    private static String probe(String access, String... arguments) throws Exception {
        List<String> all = new ArrayList<>(ChildJvm.nativeAccess(access));
        all.addAll(List.of(arguments));
        ChildJvm child = ChildJvm.run(all);
        assertEquals("", child.err);
        return child.out.strip();
    }

    @Test
    void onTheClassPathAndOnTheModulePath() throws Exception {
        String jar = ChildJvm.providerJar();
        String classes = ChildJvm.testClasses();
        String probe = ServiceProbe.class.getName();
        String byName = Files.writeString(folder.resolve("byName"), "security.provider.1=Zel\nsecurity.provider.2=SUN\n")
                .toString();
        String classPath = jar + File.pathSeparator + classes;
        String module = "com.vantrel.zel.provider";
        if (Runtime.version().feature() >= ChildJvm.FIRST_VERSION_THAT_CAN_DENY) {
            String byClass = Files.writeString(folder.resolve("byClass"),
                    "security.provider.1=com.vantrel.zel.provider.ZelSecurityProvider\n").toString();
            String said = ChildJvm.run(List.of("--illegal-native-access=deny", "-cp", classPath,
                    "-Djava.security.properties=" + byClass, probe, "registered")).err;
            assertTrue(said.contains("start Java with --enable-native-access=ALL-UNNAMED"), said);
        }
        assertEquals("null 32", probe("ALL-UNNAMED", "-cp", classPath, probe, "loader"));
        assertEquals("null 32", probe("ALL-UNNAMED", "-cp", classPath, "-Djava.security.properties=" + byName,
                probe, "registered"));
        assertEquals(module + " 32", probe(module, "-p", jar, "-cp", classes, probe, "loader"));
        assertEquals(module + " 32", probe(module, "-p", jar, "-cp", classes,
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

    /** The tool's jar says in its manifest that it loads native code, so no VM warns of it or denies it: java.base is any other module. */
    @Test
    void theTool() throws Exception {
        String said = probe("java.base", "-jar", System.getProperty("zel.tool.jar"), "info");
        assertTrue(said.contains("java                " + Runtime.version().feature()), said);
    }
}
