package com.example;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.vantrel.zel.provider.ZelSecurityProvider;
import java.io.File;
import java.lang.module.ModuleFinder;
import java.nio.file.Path;
import java.util.List;
import org.cyclonedx.Version;
import org.cyclonedx.parsers.JsonParser;
import org.junit.jupiter.api.Test;

/** What a stranger would ask of the published files. */
class ConsumerTest {
    private final File dist = new File(System.getProperty("dist"));
    private final String version = System.getProperty("zel.version");

    @Test
    void theDependencyWorksAndKnowsItsVersion() throws Exception {
        ZelSecurityProvider zel = new ZelSecurityProvider();
        assertTrue(zel.selfTest().isPassed(), zel.selfTest().toString());
        Path jar = Path.of(ZelSecurityProvider.class.getProtectionDomain().getCodeSource().getLocation().toURI());
        String module = ModuleFinder.of(jar).find("com.vantrel.zel.provider").orElseThrow().descriptor().rawVersion().orElse("");
        assertEquals(List.of(version, version, version, version), List.of(zel.getVersionStr(), zel.nativeVersion(), module,
                ZelSecurityProvider.class.getPackage().getImplementationVersion()));
    }

    @Test
    void theBillOfMaterialsIsCycloneDx() throws Exception {
        File bill = new File(dist, "zelspi-" + version + ".cdx.json");
        assertEquals(List.of(), new JsonParser().validate(bill, Version.VERSION_15));
        assertEquals(version, new JsonParser().parse(bill).getMetadata().getComponent().getVersion());
    }
}
