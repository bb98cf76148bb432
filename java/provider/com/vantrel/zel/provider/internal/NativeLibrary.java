package com.vantrel.zel.provider.internal;

import java.io.File;
import java.io.IOException;
import java.io.InputStream;
import java.net.URL;
import java.net.URLConnection;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.security.ProviderException;
import java.util.Locale;

/**
 * Loads the native library zelspi, once for the class loader.
 *
 * <p>A library in a folder of {@code java.library.path} is preferred. Where there is none, or it is of another version than the
 * provider, or already loaded by another class loader, the one that the provider's jar has for this system is unpacked and
 * loaded. When loading fails for another reason no other is tried.
 */
public final class NativeLibrary {
    private static final String NAME = "zelspi";

    /** What stands in front of the version in the library's file, as in "zelspi version 1.2.3" and a NUL. */
    private static final String VERSION_MARK = NAME + " version ";

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
        String refusal = installed == null ? "" : loadInstalled(installed);
        if (refusal != null) {
            loadFromJar(refusal);
        }
        loaded = true;
    }

    /** Loads the library; returns null, or why the jar's own is to be taken. */
    private static String loadInstalled(Path file) {
        String refusal = otherVersion(file);
        if (refusal == null) {
            try {
                loadFile(file, file.toString(), "");
                origin = file.toString();
            } catch (ProviderException e) {
                if (!String.valueOf(e.getCause().getMessage()).contains("already loaded in another classloader")) {
                    throw e;
                }
                refusal = "; " + file + " is already loaded in another class loader";
            }
        }
        return refusal;
    }

    /**
     * The message about a library of another version than the provider; null for the right one, and for a file that cannot be read,
     * because loading gives a better message. The version is read from the file, because a library that has been loaded stays: its
     * methods would mix with those of the right one.
     */
    private static String otherVersion(Path file) {
        String content;
        try {
            content = new String(Files.readAllBytes(file), StandardCharsets.ISO_8859_1);
        } catch (IOException e) {
            return null;
        }
        int mark = content.indexOf(VERSION_MARK);
        int end = mark < 0 ? -1 : content.indexOf('\0', mark);
        String version = end < 0 ? "unknown" : content.substring(mark + VERSION_MARK.length(), end);
        return version.equals(Version.TEXT) ? null : "; " + file + " is of version " + version + ", the provider ("
                + NativeLibrary.class.getResource("NativeLibrary.class") + ") of version " + Version.TEXT;
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

    /** @param refusal why the library in java.library.path is not used, for the message when the jar has none */
    private static void loadFromJar(String refusal) {
        String resource = "/native/" + platform() + "/" + System.mapLibraryName(NAME);
        String described = resource + " of the provider's jar";
        URL url = NativeLibrary.class.getResource(resource);
        if (url == null) {
            throw new ProviderException("no native library for " + platform() + ": looked for "
                    + System.mapLibraryName(NAME) + " in java.library.path (" + libraryPath() + ") and for "
                    + resource + " in the provider's jar" + refusal);
        }
        try (InputStream library = open(url);
                UnpackedLibrary unpacked = UnpackedLibrary.of(library, System.mapLibraryName(NAME))) {
            String ownRefusal = otherVersion(unpacked.file());
            if (ownRefusal != null) {
                throw new ProviderException("cannot use " + described + ownRefusal + refusal);
            }
            loadFile(unpacked.file(), described, "; if its folder does not let code run, name another one by"
                    + " -Djava.io.tmpdir, or put the library into a folder of java.library.path");
            origin = url.toString();
        } catch (IOException e) {
            throw new ProviderException("cannot unpack " + described + " into "
                    + System.getProperty("java.io.tmpdir") + ": " + e, e);
        }
    }

    /** Past the JDK's cache of open jars: one that another class loader shares and closes would end our reading. */
    private static InputStream open(URL url) throws IOException {
        URLConnection connection = url.openConnection();
        connection.setUseCaches(false);
        return connection.getInputStream();
    }

    private static void loadFile(Path file, String described, String remedy) {
        try {
            System.load(file.toString());
        } catch (UnsatisfiedLinkError e) {
            throw new ProviderException("cannot load the native library " + described + " on " + platform() + ": "
                    + e.getMessage() + remedy, e);
        } catch (IllegalCallerException e) { // otherwise the JDK would go on without the provider and say nothing
            Module module = NativeLibrary.class.getModule();
            throw new ProviderException("cannot load the native library " + described + ": start Java with"
                    + " --enable-native-access=" + (module.isNamed() ? module.getName() : "ALL-UNNAMED")
                    + " (" + e.getMessage() + ")", e);
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
