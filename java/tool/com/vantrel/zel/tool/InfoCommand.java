package com.vantrel.zel.tool;

import com.vantrel.zel.provider.internal.NativeInfo;
import com.vantrel.zel.provider.internal.NativeLibrary;
import com.vantrel.zel.provider.internal.Version;
import java.util.Map;
import java.util.TreeMap;
import java.util.concurrent.Callable;
import picocli.CommandLine.Command;
import picocli.CommandLine.IVersionProvider;
import picocli.CommandLine.Mixin;

/** {@code zel info}: what is at work here. */
@Command(
        name = "info",
        description = "Prints the version, the library in use, the kernels chosen for this CPU, and whether the random"
                + " generator is ready.",
        footer = {"%nExamples:", "  zel info", "  zel info --json"})
final class InfoCommand implements Callable<Integer> {
    @Mixin private Json json;

    /** The answer to {@code --version}; knows nothing of the native library, which may be what is missing. */
    static final class VersionLines implements IVersionProvider {
        @Override
        public String[] getVersion() {
            return new String[] {"zel " + Version.TEXT};
        }
    }

    @Override
    public Integer call() {
        Map<String, Object> services = new TreeMap<>();
        Engines.ZEL.getServices().forEach(
                service -> services.put(service.getType(), Engines.algorithms(service.getType())));
        Map<String, Object> info = Json.object(
                "version", Version.TEXT,
                "library", NativeLibrary.origin(),
                "java", System.getProperty("java.version") + ", " + System.getProperty("os.name") + " "
                        + System.getProperty("os.arch"),
                "randomReady", NativeInfo.isRandomReady(),
                "kernels", NativeInfo.kernels(),
                "services", services);
        if (json.isWanted) {
            Zel.out().println(Json.text(info));
        } else {
            info.forEach(InfoCommand::print);
        }
        return 0;
    }

    private static void print(String name, Object value) {
        if (value instanceof Map) {
            Zel.out().println(name);
            ((Map<?, ?>) value).forEach((key, kind) -> Zel.out().printf("  %-18s%s%n", key, kind));
        } else if (value instanceof Boolean) {
            Zel.out().printf("%-20s%s%n", "random generator", (Boolean) value ? "ready" : "seeded when first used");
        } else {
            Zel.out().printf("%-20s%s%n", name, value);
        }
    }
}
