package com.vantrel.zel.provider;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.vantrel.zel.sample.Sample;
import java.io.File;
import java.nio.file.Files;
import java.nio.file.Path;
import java.util.List;
import java.util.regex.Pattern;
import java.util.stream.Stream;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.condition.DisabledOnOs;
import org.junit.jupiter.api.condition.OS;
import org.junit.jupiter.api.io.TempDir;

/** The sample program's answers to good and bad input. Its files have names that Windows does not allow. */
@DisabledOnOs(OS.WINDOWS)
class SampleTest {
    private static final List<String> JARS =
            List.of("-cp", ChildJvm.providerJar() + File.pathSeparator + System.getProperty("zel.sample.jar"));

    @TempDir Path folder;

    private static void assertRefused(String file, String message) throws Exception {
        ChildJvm child = ChildJvm.run(Sample.class, JARS, file);
        assertEquals("zel-sample: " + message + "\n", child.err);
        assertEquals("", child.out);
        assertEquals(2, child.exitCode);
    }

    /** Whether the lines are those of the sum programs, and then those on random bytes, encrypted copy and signatures. */
    private static void assertPrints(String sums, String escaped, Path file) throws Exception {
        String signed = "verified, refused with a byte changed; key made in [0-9.]+ ms, signed in [0-9.]+ ms, "
                + "verified in [0-9.]+ ms\n";
        String out = ChildJvm.outputOf(Sample.class, JARS, file.toString());
        assertTrue(out.matches(Pattern.quote(sums) + "[0-9a-f]{64}  random\nAES-256-CBC: "
                + Pattern.quote(escaped + ".enc")
                + " decrypts to the file; encrypted at \\d+ MB/s, decrypted at \\d+ MB/s\n"
                + "SHA256withRSA, 2048 bits: " + Pattern.quote(escaped + ".sig") + " " + signed
                + "SHA1withDSA, 1024 bits: " + signed), out);
    }

    @Test
    void printsTheLinesOfTheSumProgramsEncryptsAndSigns() throws Exception {
        Path file = Files.writeString(folder.resolve("abc"), "abc");
        assertPrints("a9993e364706816aba3e25717850c26c9cd0d89d  " + file + "\n"
                + "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad  " + file + "\n",
                file.toString(), file);
        assertEquals(16, Files.size(folder.resolve("abc.enc")));
        assertEquals(256, Files.size(folder.resolve("abc.sig")));
        String escaped = folder + "/a\\\\b\\nc";
        assertPrints("\\da39a3ee5e6b4b0d3255bfef95601890afd80709  " + escaped + "\n"
                + "\\e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855  " + escaped + "\n",
                escaped, Files.writeString(folder.resolve("a\\b\nc"), ""));
    }

    @Test
    void badInput() throws Exception {
        assertRefused(folder + "/none", folder + "/none: no such file");
        assertRefused(folder.toString(), folder + ": is a directory");
        Path file = Files.writeString(folder.resolve("file"), "");
        assertRefused(file + "/below", file + "/below: Not a directory");
        assertRefused("", "usage: Sample FILE");
    }

    /** What was there before stays, nothing is left over. */
    @Test
    void withoutRoomNothingChanges() throws Exception {
        Path file = Files.write(folder.resolve("large"), new byte[300_000]);
        Path old = Files.writeString(folder.resolve("large.enc"), "old");
        Path library = Path.of(System.getProperty("zel.library")).getParent();
        ChildJvm child = ChildJvm.runWithoutRoom(List.of("-Djava.library.path=" + library, JARS.get(0), JARS.get(1),
                Sample.class.getName(), file.toString()));
        assertEquals("zel-sample: " + file + ": File too large\n", child.err);
        assertEquals(2, child.exitCode);
        assertEquals("old", Files.readString(old));
        try (Stream<Path> files = Files.list(folder)) {
            assertEquals(2, files.count());
        }
    }
}
