package com.vantrel.zel.provider.internal;

import java.io.File;
import java.io.IOException;
import java.io.InputStream;
import java.nio.file.Path;
import java.security.ProviderException;
import java.util.Locale;

/**
 * Loads the native library zelspi, once for the class loader.
 *
 * <p>A library that stands in a folder of {@code java.library.path} is preferred, and when it cannot be loaded no other is
 * tried. Otherwise the one that the provider's jar carries for this system is unpacked and loaded.
 */
public final class NativeLibrary {
    private static final String NAME = "zelspi";

    private static volatile boolean loaded;

    /** Where the loaded library comes from. */
    private static String origin;

    private NativeLibrary() {}

    /**
     * Makes sure that the library is loaded.
     *
     * @throws ProviderException saying what was looked for, if it cannot be found or loaded
     */
    public static void load() {
        if (!loaded) {
            loadOnce();
        }
    }

    /**
     * Where the library was found, which is loaded unless it is already.
     *
     * @return its file, or the URL of its place in the provider's jar
     */
    public static synchronized String origin() {
        load();
        return origin;
    }

    private static synchronized void loadOnce() {
        if (loaded) {
            return;
        }
        Path installed = onLibraryPath();
        if (installed != null) {
            loadFile(installed, installed.toString());
            origin = installed.toString();
        } else {
            loadFromJar();
        }
        loaded = true;
    }

    /** The library's file in the first folder of java.library.path that has one, or null. */
    private static Path onLibraryPath() {
        for (String folder : libraryPath().split(File.pathSeparator)) {
            File file = new File(folder, System.mapLibraryName(NAME));
            if (!folder.isEmpty() && file.isFile()) {
                return file.toPath().toAbsolutePath();
            }
        }
        return null;
    }

    private static String libraryPath() {
        return System.getProperty("java.library.path", "");
    }

    private static void loadFromJar() {
        String resource = "/native/" + platform() + "/" + System.mapLibraryName(NAME);
        try (InputStream library = NativeLibrary.class.getResourceAsStream(resource)) {
            if (library == null) {
                throw new ProviderException("no native library for " + platform() + ": looked for "
                        + System.mapLibraryName(NAME) + " in java.library.path (" + libraryPath() + ") and for "
                        + resource + " in the provider's jar");
            }
            try (UnpackedLibrary unpacked = UnpackedLibrary.of(library, System.mapLibraryName(NAME))) {
                loadFile(unpacked.file(), resource + " of the provider's jar");
                origin = String.valueOf(NativeLibrary.class.getResource(resource));
            }
        } catch (IOException e) {
            throw new ProviderException("cannot unpack " + resource + " of the provider's jar into "
                    + System.getProperty("java.io.tmpdir") + ": " + e, e);
        }
    }

    private static void loadFile(Path file, String described) {
        try {
            System.load(file.toString());
        } catch (UnsatisfiedLinkError e) {
            throw new ProviderException("cannot load the native library " + described + " on " + platform() + ": "
                    + e.getMessage(), e);
        }
    }

    /** This system as the jar's folders name it, such as "linux-x86_64". */
    private static String platform() {
        String system = System.getProperty("os.name").toLowerCase(Locale.ROOT);
        String machine = System.getProperty("os.arch").toLowerCase(Locale.ROOT);
        return (system.startsWith("windows") ? "windows" : system) + "-"
                + (machine.equals("amd64") ? "x86_64" : machine);
    }
}
