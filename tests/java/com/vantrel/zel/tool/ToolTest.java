package com.vantrel.zel.tool;

import static org.junit.jupiter.api.Assertions.*;
import static org.junit.jupiter.api.Assumptions.assumeFalse;

import com.vantrel.zel.provider.internal.NativeInfo;
import java.io.*;
import java.nio.charset.StandardCharsets;
import java.nio.file.*;
import java.nio.file.attribute.*;
import java.util.*;
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

    /** Runs zel with a command line that has no spaces inside its words, and expects an exit code. */
    private void zel(int exitCode, String format, Object... values) {
        PrintStream realOut = System.out;
        PrintStream realErr = System.err;
        InputStream realIn = System.in;
        ByteArrayOutputStream outBytes = new ByteArrayOutputStream();
        ByteArrayOutputStream errBytes = new ByteArrayOutputStream();
        int ended;
        try {
            System.setOut(new PrintStream(outBytes, true, StandardCharsets.UTF_8));
            System.setErr(new PrintStream(errBytes, true, StandardCharsets.UTF_8));
            System.setIn(new ByteArrayInputStream(stdin));
            ended = Zel.run(String.format(format, values).split(" "));
        } finally {
            System.setOut(realOut);
            System.setErr(realErr);
            System.setIn(realIn);
        }
        rawOut = outBytes.toByteArray();
        out = outBytes.toString(StandardCharsets.UTF_8).replace(System.lineSeparator(), "\n").strip();
        err = errBytes.toString(StandardCharsets.UTF_8).strip();
        assertEquals(exitCode, ended, err);
    }

    private void assertFails(int exitCode, String message, String format, Object... values) {
        zel(exitCode, format, values);
        assertTrue(err.startsWith("zel: ") && err.contains(message), err);
        assertEquals("", out);
    }

    /** From here on a test is not for Windows. */
    private static void onPosix() {
        assumeFalse(IS_WINDOWS, "Windows has neither the shell nor the names, permissions and devices of POSIX");
    }

    /** Runs a shell command in the folder, which has to succeed, and gives its output. */
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
        zel(0, "digest %s", file);
        assertEquals(IS_WINDOWS ? "\\" + ABC_SHA256 + "  " + file.replace("\\", "\\\\") : ABC_SHA256 + "  " + file, out);
        Files.write(folder.resolve("sums"), rawOut);
        stdin = "abc".getBytes(StandardCharsets.US_ASCII);
        zel(0, "digest - -");
        assertTrue(out.startsWith(ABC_SHA256 + "  -\n"), out);
        zel(0, "digest --check %s", path("sums"));

        onPosix();
        Path odd = Files.writeString(folder.resolve("a\\b\nc\u00e4"), "abc");
        zel(0, "digest --json -a SHA-1 %s", odd);
        assertEquals("[{\"file\": \"" + folder + "/a\\\\b\\u000ac\u00e4\", \"algorithm\": \"SHA-1\", "
                + "\"digest\": \"a9993e364706816aba3e25717850c26c9cd0d89d\"}]", out);
        zel(0, "digest %s %s", file, odd);
        Files.write(folder.resolve("sums"), rawOut);
        shell("sha256sum --check sums");
        zel(0, "digest --check %s", path("sums"));
        Files.writeString(odd, "abd");
        shell("{ echo '# by us'; echo; echo so-so; sha256sum --tag abc a*; openssl dgst -r -sha256 abc; } >> sums"
                + " && sed -i -e 's|^SHA256 (|&" + folder + "/|; s|^.SHA256 (|&" + folder + "/|; s|[*]|&" + folder + "/|' sums");
        zel(1, "digest --check %s", path("sums"));
        assertEquals(new String(shell("sha256sum --check sums 2>/dev/null || true"), StandardCharsets.UTF_8).strip(), out);
        assertEquals("zel: " + path("sums") + ": lines that are no digests: 1", err);
        String[] tagged = {"SHA1 (%s) = a9993e364706816aba3e25717850c26c9cd0d89d", "SHA2-256(%s)= " + ABC_SHA256,
            "\tSHA256(%s)= " + ABC_SHA256, "SHA1 (%s) = " + ABC_SHA256, ABC_SHA256 + "0  %s", "MD5 (%s) = 00"};
        for (int i = 0; i < tagged.length; ++i) {
            Files.writeString(folder.resolve("sums"), String.format(tagged[i], file) + "\r\n");
            zel(i < 3 ? 0 : 2, "digest --check %s", path("sums"));
            assertEquals(i < 3 ? file + ": OK" : "", out);
        }
        zel(2, "digest --check %s %s", path("sums"), path("none")); // and the next one has its turn
        assertEquals("zel: " + path("sums") + ": no line of digests\nzel: " + path("none") + ": no such file", err);
        zel(2, "digest %s %s", path("none"), file);
        assertEquals("zel: " + path("none") + ": no such file", err);
        assertEquals(ABC_SHA256 + "  " + file, out);
    }

    @Test
    void randomBytesInEachFormat() throws Exception {
        zel(0, "random");
        assertTrue(out.matches("[0-9a-f]{64}"), out);
        zel(0, "random 100000 --format base64");
        assertEquals(100000, Base64.getDecoder().decode(out).length);
        zel(0, "random 100000 -f raw -o %s", path("noise"));
        byte[] noise = bytesOf("noise");
        assertEquals(100000, noise.length);
        assertFalse(Arrays.equals(Arrays.copyOf(noise, 32), Arrays.copyOfRange(noise, 49152, 49184))); // across pieces
    }

    @Test
    void encryptsAsOpensslDecrypts() throws Exception {
        byte[] message = new byte[3_000_001];
        Arrays.fill(message, (byte) 'z');
        Files.write(Path.of(file), message);
        zel(0, "keygen aes -o %s", path("key"));
        zel(0, "encrypt -k %s %s", path("key"), file);
        assertEquals(16 + 3_000_016, Files.size(folder.resolve("abc.enc")));
        Files.delete(Path.of(file));
        zel(0, "decrypt -k %s %s.enc", path("key"), file);
        assertArrayEquals(message, bytesOf("abc"));
        stdin = "abc".getBytes(StandardCharsets.US_ASCII);
        zel(0, "encrypt -k %s -", path("key"));
        stdin = rawOut;
        zel(0, "decrypt -k %s -", path("key"));
        assertEquals("abc", out);
        assertNothingLeftBehind();
        assertOwnersOnly("key");
        assertOwnersOnly("abc");

        assertArrayEquals(message, shell("tail -c +17 abc.enc | openssl enc -d -aes-256-cbc -K $(cat key)"
                + " -iv $(head -c 16 abc.enc | od -An -v -tx1 | tr -d ' \\n')"));
    }

    @Test
    void signaturesAndKeysGoBothWaysWithOpenssl() throws Exception {
        for (String kind : List.of("rsa pem sha256", "rsa der sha256", "dsa pem sha1", "dsa der sha1")) {
            String[] words = kind.split(" ");
            zel(0, "keygen %s --force --form %s -o %s", words[0], words[1], path("key"));
            zel(0, "sign --force -k %s %s", path("key"), file);
            if (!IS_WINDOWS) {
                String verify = " && openssl dgst -" + words[2] + " -verify pub.pem -signature abc.sig abc";
                shell("openssl pkey -pubin -inform " + words[1] + " -in key.pub -out pub.pem" + verify);
                shell("openssl pkey -check -inform " + words[1] + " -in key -out key.pem");
                zel(0, "sign --force -k %s %s", path("key.pem"), file); // a key as openssl writes it
                shell(verify.substring(4) + " && openssl dgst -" + words[2] + " -sign key.pem -out abc.sig abc");
            }
            zel(0, "verify -k %s %s", path("key.pub"), file);
            stdin = "abd".getBytes(StandardCharsets.US_ASCII);
            zel(1, "verify --json -k %s -s %s.sig -", path("key.pub"), file);
            assertTrue(out.contains("\"valid\": false"), out);
            Files.write(Path.of(file + ".sig"), new byte[1]);
            zel(1, "verify -k %s %s", path("key.pub"), file);
            assertTrue(out.startsWith(file + ": NOT VALID (SHA"), out);
        }
        assertOwnersOnly("key");

        shell("openssl req -x509 -newkey rsa:2048 -nodes -keyout own.key -out own.crt -subj /CN=me"
                + " && openssl dgst -sha1 -sign own.key -out abc.sig abc"
                + " && openssl pkcs8 -topk8 -in own.key -passout pass:x -out locked.key"
                + " && openssl rsa -traditional -in own.key -out old.key");
        zel(0, "verify -a SHA1withRSA -k %s %s", path("own.crt"), file);
        assertFails(2, "decrypt it with: openssl pkcs8", "sign -k %s %s", path("locked.key"), file);
        assertFails(2, "convert it with: openssl pkcs8", "sign -k %s %s", path("old.key"), file);
        zel(0, "keygen rsa --bits 1024 -o %s --pkcs1 %s --json", path("small"), path("small.der"));
        shell("openssl rsa -RSAPublicKey_in -inform der -in small.der -pubout -out 1.pem && cmp 1.pem small.pub");
    }

    @Test
    void theAnswerNoAndTroubleAreToldApart() throws Exception {
        String key = Files.writeString(folder.resolve("key"), "0123456789abcdef".repeat(4)).toString();
        String x = path("x");
        Files.write(folder.resolve("other"), new byte[32]);
        zel(0, "encrypt -k %s %s", key, file);
        assertFails(1, "does not decrypt", "decrypt -k %s -o %s %s.enc", path("other"), x, file);
        for (int length : new int[] {15, 16}) { // less than an IV, and an IV alone
            Files.write(folder.resolve("short"), new byte[length]);
            assertFails(1, "too short", "decrypt -k %s -o %s %s", key, x, path("short"));
        }
        assertFalse(Files.exists(folder.resolve("x")));

        String[][] refused = {{"Try 'zel --help'", "--nonsense"}, {"Missing required option: '--key=KEY'", "encrypt " + file},
            {"there are SHA-1, SHA-256", "digest -a MD5 " + file}, {"no such command: sing", "sing " + file},
            {"is a directory", "digest " + folder}, {"abc.enc: exists already; --force", "encrypt -k " + key + " " + file},
            {path("no/x") + ": no such folder", "keygen aes -o " + path("no/x")},
            {"a file of its own", "keygen rsa -o x --pkcs1 x.pub"}, {"takes two files", "keygen rsa -o -"},
            {"no AES-256 key", "encrypt -k " + file + " " + file}, {"no RSA or DSA private key", "sign -k " + file + " " + file},
            {"AES keys have 256 bits", "keygen aes -b 128 -o " + x}, {"1000", "keygen rsa -b 1000 -o " + x},
            {"--output is needed", "decrypt -k " + key + " " + file}, {"no line of digests", "digest --check " + file},
            {path("no/x") + ": no such folder", "keygen rsa -o " + x + " --pkcs1 " + path("no/x")},
            {"no such command: sing", "digest " + file + " --then sing"}};
        for (String[] row : refused) {
            assertFails(2, row[0], "%s", row[1]);
        }
        zel(0, "encrypt --force --json -k %s %s", key, file);
        String inJson = file.replace("\\", "\\\\");
        assertTrue(out.startsWith("{\"file\": \"" + inJson + "\", \"output\": \"" + inJson + ".enc\", \"bytes\": 3, "), out);
        assertNothingLeftBehind();

        onPosix();
        assertFails(2, file + "/x: Not a directory", "keygen aes -o %s/x", file);
        assertFails(2, "/dev/full: No space left", "keygen aes -o /dev/full");
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

    /**
     * The script that starts the program: its streams, and with which Java it starts it how. Then what only a process of its own
     * shows: a full disk, for which a limit on the size of files stands in; a real terminal, made by the program script.
     */
    @Test
    void theScriptStartsTheProgram() throws Exception {
        shell("mkdir home home/bin 'the program' && cp '" + PROGRAM + "' 'the program' && cd 'the program' && touch zel-tool.jar"
                + " && printf '%s\\n' '#!/bin/sh' 'for word; do case $word in' '*AtExit=*) echo made >\"${word#*=}\";;'"
                + " '*) echo \"$word\";; esac; done' > ../home/bin/java && chmod +x ../home/bin/java"
                + " && cd .. && truncate -s " + Progress.SHOWN_ABOVE_BYTES * 3 + " hole && truncate -s 3000000 large"
                + " && truncate -s 32 key && echo old > large.enc");
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
                ABC_SHA256 + "  abc\n", "0"},
            {"'" + PROGRAM + "' digest hole", "[0-9a-f]{64}  hole\n", "0"},
            {"script -qec '\"" + PROGRAM + "\" digest hole' /dev/null", "(?s).*hole +\\d+% \\[#*\\.*\\] \\d+ MB/s, \\d+ s left.*", "0"},
            {"(ulimit -f 4000; '" + PROGRAM + "' encrypt --force --key key large); cat large.enc; ls -A | grep -c tmp",
                "zel: large.enc: File too large\nold\n0\n", "1"},
            {"'" + System.getProperty("java.home") + "/bin/java' -cp '" + System.getProperty("java.class.path") + "' '"
                + Unseeded.class.getName() + "'", "(?s).*ba78.*zel: .*zel: .*zel: .*zel: .*zel: .*ready: false\n", "0"}};
        for (String[] row : cases) {
            String said = new String(shell("{ " + row[0] + "; } 2>&1; echo $?"), StandardCharsets.UTF_8);
            assertTrue(said.matches(row[1] + row[2] + "\n"), row[0] + ": " + said);
        }
    }

    @Test
    void infoAndHelp() {
        zel(0, "info --self-test --json");
        for (String part : List.of("\"version\": \"", "\"library\": \"jar:file:", "\"randomReady\": ",
                "\"kernels\": {\"SHA-1\": \"", "\"exponentiation\": \"", "\"SHA1withDSA\": \"passed\"", "\"MessageDigest\": \"SHA-1, SHA-256\"")) {
            assertTrue(out.contains(part), out);
        }
        zel(0, "--version");
        assertTrue(out.matches("zel \\d+\\.\\d+\\.\\d+"), out);
        for (String command : "digest random keygen sign verify encrypt decrypt speed info".split(" ")) {
            zel(0, "%s --help", command);
            assertTrue(out.matches("(?s).*\nExit codes:\n.*\nExamples:\n  zel (" + command + "|keygen)\\b.*"), out);
        }
    }
}
