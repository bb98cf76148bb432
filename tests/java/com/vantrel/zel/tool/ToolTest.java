package com.vantrel.zel.tool;

import static org.junit.jupiter.api.Assertions.*;
import static org.junit.jupiter.api.Assumptions.assumeFalse;

import com.vantrel.zel.provider.internal.NativeInfo;
import java.io.*;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.nio.file.attribute.*;
import java.util.Arrays;
import java.util.stream.Stream;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.condition.OS;
import org.junit.jupiter.api.io.TempDir;

/** The program zel: what it prints and writes, its exit codes, and what openssl and the shell's tools make of its files. */
class ToolTest {
    private static final String ABC_SHA256 = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";

    private static final boolean IS_WINDOWS = OS.WINDOWS.isCurrentOs();
    private static final Path PROGRAM = Path.of(System.getProperty("zel.tool.jar")).resolveSibling("zel");

    /** Waits for what the first run of the script leaves to a process of its own. */
    private static final String MADE = "for i in $(seq 600); do [ -s 'the program'/*.jsa ] && break; sleep 0.1; done 2>/dev/null; ";

    @TempDir Path folder;
    private String file;
    private byte[] stdin = new byte[0];
    private byte[] rawOut;
    private String out;
    private String err;

    @BeforeEach
    void oneFile() throws IOException {
        file = Files.writeString(folder.resolve("abc"), "abc").toString();
    }

    private String path(String name) {
        return folder.resolve(name).toString();
    }

    private byte[] bytesOf(String name) throws IOException {
        return Files.readAllBytes(folder.resolve(name));
    }

    /** Runs zel with a command line that has no spaces inside its words. */
    private int zel(String format, Object... values) {
        PrintStream realOut = System.out;
        PrintStream realErr = System.err;
        InputStream realIn = System.in;
        ByteArrayOutputStream outBytes = new ByteArrayOutputStream();
        ByteArrayOutputStream errBytes = new ByteArrayOutputStream();
        try {
            System.setOut(new PrintStream(outBytes, true, StandardCharsets.UTF_8));
            System.setErr(new PrintStream(errBytes, true, StandardCharsets.UTF_8));
            System.setIn(new ByteArrayInputStream(stdin));
            return Zel.run(String.format(format, values).split(" "));
        } finally {
            System.setOut(realOut);
            System.setErr(realErr);
            System.setIn(realIn);
            rawOut = outBytes.toByteArray();
            out = outBytes.toString(StandardCharsets.UTF_8).replace(System.lineSeparator(), "\n").strip();
            err = errBytes.toString(StandardCharsets.UTF_8).strip();
        }
    }

    private void assertFails(int exitCode, String message, String commandLine) {
        assertEquals(exitCode, zel("%s", commandLine), err);
        assertTrue(err.startsWith("zel: ") && err.contains(message), err);
        assertEquals("", out);
    }

    /** From here on a test is not for Windows. */
    private static void onPosix() {
        assumeFalse(IS_WINDOWS, "Windows has neither the shell nor the names, permissions and devices of POSIX");
    }

    /** Runs a shell command in the folder and gives its output. */
    private byte[] shell(String command) throws Exception {
        onPosix();
        Process process = new ProcessBuilder("sh", "-c", command).directory(folder.toFile()).redirectErrorStream(true).start();
        process.getOutputStream().close();
        byte[] output = process.getInputStream().readAllBytes();
        assertEquals(0, process.waitFor(), () -> new String(output, StandardCharsets.UTF_8));
        return output;
    }

    private void assertOwnersOnly(String secret) throws IOException {
        Path secretFile = folder.resolve(secret);
        if (IS_WINDOWS) {
            for (AclEntry entry : Files.getFileAttributeView(secretFile, AclFileAttributeView.class).getAcl()) {
                String name = entry.principal().getName();
                assertTrue(entry.principal().equals(Files.getOwner(secretFile)) || name.equals("NT AUTHORITY\\SYSTEM"), name);
            }
        } else {
            assertEquals("rw-------", PosixFilePermissions.toString(Files.getPosixFilePermissions(secretFile)));
        }
    }

    private void assertNothingLeftBehind() throws IOException {
        try (Stream<Path> files = Files.list(folder)) {
            assertFalse(files.anyMatch(left -> left.getFileName().toString().endsWith(".tmp")));
        }
    }

    @Test
    void digests() throws Exception {
        assertEquals(0, zel("digest %s", file));
        assertEquals(IS_WINDOWS ? "\\" + ABC_SHA256 + "  " + file.replace("\\", "\\\\") : ABC_SHA256 + "  " + file, out);
        stdin = "abc".getBytes(StandardCharsets.US_ASCII);
        assertEquals(0, zel("digest - -"));
        assertTrue(out.startsWith(ABC_SHA256 + "  -\n"), out);
        assertEquals(0, zel("digest %s", file));
        Files.write(folder.resolve("sums"), rawOut);
        assertEquals(0, zel("digest --check %s", path("sums")), err);

        onPosix();
        Path odd = Files.writeString(folder.resolve("a\\b\nc\u00e4"), "abc");
        assertEquals(0, zel("digest --json -a SHA-1 %s", odd));
        assertEquals("[{\"file\": \"" + folder + "/a\\\\b\\u000ac\u00e4\", \"algorithm\": \"SHA-1\", "
                + "\"digest\": \"a9993e364706816aba3e25717850c26c9cd0d89d\"}]", out);

        assertEquals(0, zel("digest %s %s", file, odd));
        Files.write(folder.resolve("sums"), rawOut);
        shell("sha256sum --check sums");
        assertEquals(0, zel("digest --check %s", path("sums")), err);
        Files.writeString(odd, "abd");
        shell("{ echo '# by us'; echo; echo so-so; sha256sum --tag abc a*; openssl dgst -r -sha256 abc; } >> sums"
                + " && sed -i -e 's|^SHA256 (|&" + folder + "/|; s|^.SHA256 (|&" + folder + "/|; s|[*]|&" + folder + "/|' sums");
        assertEquals(1, zel("digest --check %s", path("sums")));
        assertEquals(new String(shell("sha256sum --check sums 2>/dev/null || true"), StandardCharsets.UTF_8).strip(), out);
        assertEquals("zel: " + path("sums") + ": lines that are no digests: 1", err);
        String[] tagged = {"SHA1 (%s) = a9993e364706816aba3e25717850c26c9cd0d89d", "SHA2-256(%s)= " + ABC_SHA256,
            "\tSHA256(%s)= " + ABC_SHA256, "SHA1 (%s) = " + ABC_SHA256, ABC_SHA256 + "0  %s", "MD5 (%s) = 00"};
        for (int i = 0; i < tagged.length; ++i) {
            Files.writeString(folder.resolve("sums"), String.format(tagged[i], file) + "\r\n");
            assertEquals(i < 3 ? 0 : 2, zel("digest --check %s", path("sums")), tagged[i]);
            assertEquals(i < 3 ? file + ": OK" : "", out);
        }
        assertEquals(2, zel("digest --check %s %s", path("sums"), path("none"))); // and the next one has its turn
        assertEquals("zel: " + path("sums") + ": no line of digests\nzel: " + path("none") + ": no such file", err);

        assertEquals(2, zel("digest %s %s", path("none"), file));
        assertEquals("zel: " + path("none") + ": no such file", err);
        assertEquals(ABC_SHA256 + "  " + file, out);
    }

    @Test
    void randomBytesInEachFormat() throws Exception {
        assertEquals(0, zel("random"));
        assertTrue(out.matches("[0-9a-f]{64}"), out);
        assertEquals(0, zel("random 100000 --format base64"));
        assertEquals(100000, java.util.Base64.getDecoder().decode(out).length);
        assertEquals(0, zel("random 100000 -f raw -o %s", path("noise")));
        byte[] noise = bytesOf("noise");
        assertEquals(100000, noise.length);
        assertFalse(Arrays.equals(Arrays.copyOf(noise, 32), Arrays.copyOfRange(noise, 49152, 49184))); // across pieces
    }

    @Test
    void encryptsAsOpensslDecrypts() throws Exception {
        byte[] message = new byte[3_000_001];
        Arrays.fill(message, (byte) 'z');
        Files.write(Path.of(file), message);
        assertEquals(0, zel("keygen aes -o %s", path("key")), err);
        assertEquals(0, zel("encrypt -k %s %s", path("key"), file), err);
        assertEquals(16 + 3_000_016, Files.size(folder.resolve("abc.enc")));
        Files.delete(Path.of(file));
        assertEquals(0, zel("decrypt -k %s %s.enc", path("key"), file), err);
        assertArrayEquals(message, bytesOf("abc"));
        stdin = "abc".getBytes(StandardCharsets.US_ASCII);
        assertEquals(0, zel("encrypt -k %s -", path("key")), err);
        stdin = rawOut;
        assertEquals(0, zel("decrypt -k %s -", path("key")), err);
        assertEquals("abc", out);
        assertNothingLeftBehind();
        assertOwnersOnly("key");
        assertOwnersOnly("abc");

        assertArrayEquals(message, shell("tail -c +17 abc.enc | openssl enc -d -aes-256-cbc -K $(cat key)"
                + " -iv $(head -c 16 abc.enc | od -An -v -tx1 | tr -d ' \\n')"));
    }

    @Test
    void signaturesAndKeysGoBothWaysWithOpenssl() throws Exception {
        String[][] kinds = {{"rsa", "pem", "-sha256"}, {"rsa", "der", "-sha256"}, {"dsa", "pem", "-sha1"}, {"dsa", "der", "-sha1"}};
        for (String[] kind : kinds) {
            assertEquals(0, zel("keygen %s --force --form %s -o %s", kind[0], kind[1], path("key")), err);
            assertEquals(0, zel("sign --force -k %s %s", path("key"), file), err);
            if (!IS_WINDOWS) {
                shell("openssl pkey -pubin -inform " + kind[1] + " -in key.pub -out pub.pem && openssl dgst " + kind[2]
                        + " -verify pub.pem -signature abc.sig abc");
                shell("openssl pkey -check -inform " + kind[1] + " -in key -out key.pem && openssl dgst " + kind[2]
                        + " -sign key.pem -out abc.sig abc");
            }
            assertEquals(0, zel("verify -k %s %s", path("key.pub"), file), err);
            if (!IS_WINDOWS) { // a key as openssl writes it
                assertEquals(0, zel("sign --force -k %s %s", path("key.pem"), file), err);
                shell("openssl dgst " + kind[2] + " -verify pub.pem -signature abc.sig abc");
            }
            stdin = "abd".getBytes(StandardCharsets.US_ASCII);
            assertEquals(1, zel("verify --json -k %s -s %s.sig -", path("key.pub"), file), err);
            assertTrue(out.contains("\"valid\": false"), out);
            Files.write(Path.of(file + ".sig"), new byte[1]);
            assertEquals(1, zel("verify -k %s %s", path("key.pub"), file), err);
            assertTrue(out.startsWith(file + ": NOT VALID (SHA"), out);
        }
        assertOwnersOnly("key");

        shell("openssl req -x509 -newkey rsa:2048 -nodes -keyout own.key -out own.crt -subj /CN=me"
                + " && openssl dgst -sha1 -sign own.key -out abc.sig abc");
        assertEquals(0, zel("verify -a SHA1withRSA -k %s %s", path("own.crt"), file), err);
        shell("openssl pkcs8 -topk8 -in own.key -passout pass:x -out locked.key"
                + " && openssl rsa -traditional -in own.key -out old.key");
        assertFails(2, "decrypt it with: openssl pkcs8", "sign -k " + path("locked.key") + " " + file);
        assertFails(2, "convert it with: openssl pkcs8", "sign -k " + path("old.key") + " " + file);
        assertEquals(0, zel("keygen rsa --bits 1024 -o %s --pkcs1 %s --json", path("small"), path("small.der")), err);
        shell("openssl rsa -RSAPublicKey_in -inform der -in small.der -pubout -out 1.pem && cmp 1.pem small.pub");
        assertFails(2, "1000", "keygen rsa -b 1000 -o " + path("x"));
    }

    @Test
    void theAnswerNoAndTroubleAreToldApart() throws Exception {
        Files.write(folder.resolve("key"), "0123456789abcdef".repeat(4).getBytes(StandardCharsets.US_ASCII));
        Files.write(folder.resolve("other"), new byte[32]);
        assertEquals(0, zel("encrypt -k %s %s", path("key"), file));
        assertFails(1, "does not decrypt", "decrypt -k " + path("other") + " -o " + path("x") + " " + file + ".enc");
        for (int length : new int[] {15, 16}) { // less than an IV, and an IV alone
            Files.write(folder.resolve("short"), new byte[length]);
            assertFails(1, "too short", "decrypt -k " + path("key") + " -o " + path("x") + " " + path("short"));
        }
        assertFalse(Files.exists(folder.resolve("x")));

        assertFails(2, "Try 'zel --help'", "--nonsense");
        assertFails(2, "Missing required option: '--key=KEY'", "encrypt " + file);
        assertFails(2, "there are SHA-1, SHA-256", "digest -a MD5 " + file);
        assertFails(2, "no such command: sing", "sing " + file);
        assertFails(2, "is a directory", "digest " + folder);
        assertFails(2, "abc.enc: exists already; --force", "encrypt -k " + path("key") + " " + file);
        assertFails(2, path("no/x") + ": no such folder", "keygen aes -o " + path("no/x"));
        assertFails(2, "a file of its own", "keygen rsa -o x --pkcs1 x.pub");
        assertFails(2, "takes two files", "keygen rsa -o -");
        assertFails(2, "no AES-256 key", "encrypt -k " + file + " " + file);
        assertFails(2, "no RSA or DSA private key", "sign -k " + file + " " + file);
        assertFails(2, "AES keys have 256 bits", "keygen aes -b 128 -o " + path("x"));
        assertFails(2, "--output is needed", "decrypt -k " + path("key") + " " + file);
        assertFails(2, "no line of digests", "digest --check " + file);
        assertFails(2, path("no/x") + ": no such folder", "keygen rsa -o " + path("x") + " --pkcs1 " + path("no/x"));
        assertFails(2, "no such command: sing", "digest " + file + " --then sing");
        assertEquals(0, zel("encrypt --force --json -k %s %s", path("key"), file));
        String inJson = file.replace("\\", "\\\\");
        assertTrue(out.startsWith("{\"file\": \"" + inJson + "\", \"output\": \"" + inJson + ".enc\", \"bytes\": 3, "), out);
        assertNothingLeftBehind();

        onPosix();
        assertFails(2, file + "/x: Not a directory", "keygen aes -o " + file + "/x");
        assertFails(2, "/dev/full: No space left", "keygen aes -o /dev/full");
    }

    /** No room: a limit on the size of files stands in for a full disk. What was there before stays, nothing is left over. */
    @Test
    void withoutRoomNothingChanges() throws Exception {
        Files.write(folder.resolve("large"), new byte[3_000_000]);
        Files.write(folder.resolve("key"), new byte[32]);
        Files.writeString(folder.resolve("large.enc"), "old");
        shell("ulimit -f 4000; ! '" + PROGRAM + "' encrypt --force --key key large 2>said");
        assertEquals("zel: large.enc: File too large\n", Files.readString(folder.resolve("said")));
        assertEquals("old", Files.readString(folder.resolve("large.enc")));
        assertNothingLeftBehind();
    }

    /** Run in a process of its own: nothing here needs randomness, least of all what is refused. */
    public static final class Unseeded {
        public static void main(String[] args) {
            for (String line : new String[] {"digest abc", "keygen rsa --bits 1000 -o x", "keygen dsa --bits 2048 -o x",
                "keygen aes -o no/x", "keygen rsa -o x --then random --formt hex", "random -1"}) {
                Zel.run(line.split(" "));
            }
            System.out.println("ready: " + NativeInfo.isRandomReady());
        }
    }

    @Test
    void whatCanBeRefusedAtOnceIsRefusedBeforeTheSeeding() throws Exception {
        String said = new String(shell("'" + System.getProperty("java.home") + "/bin/java' -cp '"
                + System.getProperty("java.class.path") + "' '" + Unseeded.class.getName() + "'"), StandardCharsets.UTF_8);
        assertTrue(said.matches("(?s).*ba78.*zel: .*zel: .*zel: .*zel: .*zel: .*ready: false\n"), said);
    }

    /** The script that starts the program: its streams, and with which Java it starts it how. */
    @Test
    void theScriptStartsTheProgram() throws Exception {
        shell("mkdir home home/bin 'the program' && cp '" + PROGRAM + "' 'the program' && cd 'the program' && touch zel-tool.jar"
                + " && printf '%s\\n' '#!/bin/sh' 'for word; do case $word in' '*AtExit=*) echo made >\"${word#*=}\";;'"
                + " '*) echo \"$word\";; esac; done' > ../home/bin/java && chmod +x ../home/bin/java");
        String[][] cases = { // command, what it prints on both streams (a regular expression), its exit code
            {"'" + PROGRAM + "' digest <&-", "zel: -: Bad file descriptor\n", "2"},
            {"mkfifo pipe; exec 3<>pipe 4>pipe 3<&-; '" + PROGRAM + "' digest abc >&4", "", "2"},
            {"'" + PROGRAM + "' digest abc >/dev/full", "zel: cannot write to standard output\n", "2"},
            {"JAVA_HOME=nowhere '" + PROGRAM + "' digest abc", "zel: no Java: version 11 or newer is needed.*\n", "2"},
            {"JAVA_HOME=home 'the program/zel' digest 'a b'",
                "(?s)-XX:[+]Use.*=1\n-jar\n.*the program/zel-tool.jar\ndigest\na b\n", "0"},
            {MADE + "JAVA_HOME=home 'the program/zel' digest",
                "(?s)-XX:SharedArchiveFile=.*the program/zel-[0-9]+.jsa\n-XX:[+]Use.*", "0"},
            {"JAVA_HOME=home 'the program/zel' digest --then speed", "(?s)-XX:Sh.*Level=4\n.*", "0"},
            {"cd 'the program'; chmod +t .; JAVA_HOME=../home ./zel digest; chmod -t .", "(?s)-XX:[+]Use.*", "0"},
            {"touch -d tomorrow 'the program/zel-tool.jar'; JAVA_HOME=home 'the program/zel' digest", "(?s)-XX:[+]Use.*", "0"},
            {MADE + "rm 'the program/zel-tool.jar'; cp '" + PROGRAM.getParent()
                + "'/*.jar 'the program'; 'the program/zel' digest abc", ABC_SHA256 + "  abc\n", "0"},
            {MADE + "'the program/zel' digest abc", ABC_SHA256 + "  abc\n", "0"},
            {"chmod +w 'the program'/*.jsa; echo no classes >'the program'/*.jsa; 'the program/zel' digest abc",
                ABC_SHA256 + "  abc\n", "0"}};
        for (String[] row : cases) {
            String said = new String(shell("{ " + row[0] + "; } 2>&1; echo $?"), StandardCharsets.UTF_8);
            assertTrue(said.matches(row[1] + row[2] + "\n"), row[0] + ": " + said);
        }
    }

    @Test
    void infoNamesWhatIsAtWork() {
        assertEquals(0, zel("info --self-test --json"));
        for (String part : new String[] {"\"version\": \"", "\"library\": \"jar:file:", "\"randomReady\": ",
            "\"kernels\": {\"SHA-1\": \"", "\"exponentiation\": \"", "\"SHA1withDSA\": \"passed\"", "\"MessageDigest\": \"SHA-1, SHA-256\""}) {
            assertTrue(out.contains(part), out);
        }
        assertEquals(0, zel("--version"));
        assertTrue(out.matches("zel \\d+\\.\\d+\\.\\d+"), out);
    }

    @Test
    void everyCommandHasHelpWithExamples() {
        for (String command : "digest random keygen sign verify encrypt decrypt speed info".split(" ")) {
            assertEquals(0, zel("%s --help", command));
            assertTrue(out.contains("Examples:\n  zel " + command) || out.contains("Examples:\n  zel keygen"), out);
            assertTrue(out.contains("Exit codes:"), out);
        }
    }

    /** A real terminal, made by the program script; the file is all hole. */
    @Test
    void longFilesShowTheirProgressOnATerminalOnly() throws Exception {
        try (RandomAccessFile hole = new RandomAccessFile(path("hole"), "rw")) {
            hole.setLength(Progress.SHOWN_ABOVE_BYTES * 3);
        }
        String command = '"' + PROGRAM.toString() + "\" digest hole";
        String watched = new String(shell("script -qec '" + command + "' /dev/null"), StandardCharsets.UTF_8);
        assertTrue(watched.matches("(?s).*hole +\\d+% \\[#*\\.*\\] \\d+ MB/s, \\d+ s left.*"), watched);
        String unwatched = new String(shell(command), StandardCharsets.UTF_8);
        assertTrue(unwatched.matches("[0-9a-f]{64}  hole\n"), unwatched);
    }
}
