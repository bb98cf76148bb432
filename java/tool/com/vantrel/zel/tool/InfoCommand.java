package com.vantrel.zel.tool;

import com.vantrel.zel.provider.SelfTestResult;
import com.vantrel.zel.provider.internal.Version;
import java.security.GeneralSecurityException;
import java.util.Map;
import java.util.TreeMap;
import java.util.concurrent.Callable;
import picocli.CommandLine.Command;
import picocli.CommandLine.IVersionProvider;
import picocli.CommandLine.Mixin;
import picocli.CommandLine.Option;

/** {@code zel info}: the version, the library, the kernels and the state of the generator. */
@Command(
        name = "info",
        description = "Prints the version, the library in use, the kernels chosen for this CPU, and whether the random"
                + " generator is ready.",
        footer = {"%nExamples:", "  zel info", "  zel info --self-test", "  zel info --json"})
final class InfoCommand implements Callable<Integer> {
    @Option(names = "--self-test",
            description = "Also run known answers through every service; ends with 1 when one of them is wrong.")
    private boolean runsSelfTest;

    @Mixin private Json json;

    /** The answer to {@code --version}; does not load the native library, which may be missing. */
    static final class VersionLines implements IVersionProvider {
        @Override
        public String[] getVersion() {
            return new String[] {"zel " + Version.TEXT};
        }
    }

    @Override
    public Integer call() throws GeneralSecurityException {
        if (runsSelfTest) {
            Engines.random(); // explains the wait
        }
        Map<String, Object> services = new TreeMap<>();
        Engines.ZEL.getServices().forEach(
                service -> services.put(service.getType(), Engines.algorithms(service.getType())));
        Map<String, Object> info = Json.object(
                "version", Version.TEXT,
                "library", Engines.ZEL.nativeLocation(),
                "java", System.getProperty("java.version") + ", " + System.getProperty("os.name") + " "
                        + System.getProperty("os.arch"),
                "randomReady", Engines.ZEL.isRandomReady(),
                "kernels", Engines.ZEL.kernels(),
                "services", services);
        boolean isHealthy = true;
        if (runsSelfTest) {
            SelfTestResult result = Engines.ZEL.selfTest();
            isHealthy = result.isPassed();
            info.put("selfTest", result.outcomes());
        }
        if (json.isWanted) {
            Zel.out().println(Json.text(info));
        } else {
            info.forEach(InfoCommand::print);
        }
        return isHealthy ? 0 : Zel.ANSWER_NO;
    }

    private static void print(String name, Object value) {
        if (value instanceof Map) {
            Zel.out().println(name);
            ((Map<?, ?>) value).forEach((key, kind) -> Zel.out().printf("  %-22s%s%n", key, kind));
        } else if (value instanceof Boolean) {
            Zel.out().printf("%-24s%s%n", "random generator", (Boolean) value ? "ready" : "seeded when first used");
        } else {
            Zel.out().printf("%-24s%s%n", name, value);
        }
    }
}
