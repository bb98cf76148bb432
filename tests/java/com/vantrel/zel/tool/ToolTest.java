package com.vantrel.zel.tool;

import static org.junit.jupiter.api.Assertions.*;
import static org.junit.jupiter.api.Assumptions.assumeFalse;

import com.vantrel.zel.provider.internal.NativeInfo;
import java.io.*;
import java.nio.charset.StandardCharsets;
import java.nio.file.*;
import java.nio.file.attribute.*;
import java.util.*;
import org.junit.jupiter.api.*;
import org.junit.jupiter.api.condition.OS;
import org.junit.jupiter.api.io.TempDir;

/** The program zel: what it prints and writes, its exit codes, and what openssl and the shell's tools make of its files. */
class ToolTest {
    private static final String ABC = "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad";
    private static final String SHA1_OF_ABC = "a9993e364706816aba3e25717850c26c9cd0d89d";

    private static final boolean IS_WINDOWS = OS.WINDOWS.isCurrentOs();
    private static final Path PROGRAM = Path.of(System.getProperty("zel.tool.jar")).resolveSibling("zel");

    /** Waits for what the first run of the script leaves to a process of its own. */
    private static final String MADE = "for i in $(seq 600); do [ -s 'the program'/*.jsa ] && break; sleep 0.1; done 2>/dev/null; ";

    @TempDir Path folder;
    private byte[] stdin = new byte[0];
    private byte[] stdout;

    @BeforeEach
    void oneFile() throws IOException {
        write("abc", "abc");
    }

    private void write(String name, String content) throws IOException {
        Files.writeString(folder.resolve(name), content);
    }

    /**
     * Runs zel with a command line that has no spaces inside its words.
     *
     * @param printed a regular expression: its output, then "!" and what it complains of; @ stands for the folder here and there
     */
    private void zel(int exitCode, String printed, String line) {
        PrintStream realOut = System.out;
        PrintStream realErr = System.err;
        InputStream realIn = System.in;
        ByteArrayOutputStream out = new ByteArrayOutputStream();
        ByteArrayOutputStream err = new ByteArrayOutputStream();
        int ended;
        String path = folder + File.separator;
        try {
            System.setOut(new PrintStream(out, true, StandardCharsets.UTF_8));
            System.setErr(new PrintStream(err, true, StandardCharsets.UTF_8));
            System.setIn(new ByteArrayInputStream(stdin));
            ended = Zel.run(line.replace("@", path).split(" "));
        } finally {
            System.setOut(realOut);
            System.setErr(realErr);
            System.setIn(realIn);
        }
        stdout = out.toByteArray();
        String said = (out.toString(StandardCharsets.UTF_8) + (err.size() == 0 ? "" : "!" + err.toString(StandardCharsets.UTF_8)))
                .replace(path.replace("\\", "\\\\"), "@").replace(path, "@").replace(System.lineSeparator(), "\n").strip();
        assertTrue(ended == exitCode && said.matches("(?s)" + printed), () -> line + " ended with " + ended + ": " + said);
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
        Path file = folder.resolve(secret);
        if (IS_WINDOWS) {
            for (AclEntry entry : Files.getFileAttributeView(file, AclFileAttributeView.class).getAcl()) {
                String name = entry.principal().getName();
                assertTrue(entry.principal().equals(Files.getOwner(file)) || name.equals("NT AUTHORITY\\SYSTEM"), name);
            }
        } else {
            assertEquals("rw-------", PosixFilePermissions.toString(Files.getPosixFilePermissions(file)));
        }
    }

    private void assertNothingLeftBehind() {
        assertEquals(0, folder.toFile().list((parent, name) -> name.endsWith(".tmp")).length);
    }

    @Test
    void digests() throws Exception {
        zel(0, (IS_WINDOWS ? "." : "") + ABC + "  @abc", "digest @abc");
        Files.write(folder.resolve("sums"), stdout);
        zel(0, ".*OK", "digest --check @sums");
        stdin = "abc".getBytes(StandardCharsets.US_ASCII);
        zel(0, ABC + "  -\n.*", "digest - -");

        onPosix();
        write("a\\b\nc\u00e4", "abc");
        zel(0, "\\Q[{\"file\": \"@a\\\\b\\u000ac\u00e4\", \"algorithm\": \"SHA-1\", \"digest\": \"" + SHA1_OF_ABC + "\"}]\\E",
                "digest --json -a SHA-1 @a\\b\nc\u00e4");
        zel(0, ".*", "digest @abc @a\\b\nc\u00e4");
        Files.write(folder.resolve("sums"), stdout);
        shell("sha256sum --check sums");
        zel(0, ".*", "digest --check @sums");
        write("a\\b\nc\u00e4", "abd");
        shell("{ echo '# by us'; echo; echo so-so; sha256sum --tag abc a*; openssl dgst -r -sha256 abc; } >> sums"
                + " && sed -i -e 's|^SHA256 (|&" + folder + "/|; s|^.SHA256 (|&" + folder + "/|; s|[*]|&" + folder + "/|' sums");
        zel(1, ".*!zel: @sums: lines that are no digests: 1", "digest --check @sums");
        assertArrayEquals(shell("sha256sum --check sums 2>/dev/null || true"), stdout);
        String[] tagged = {"SHA1 (%s) = " + SHA1_OF_ABC, "SHA2-256(%s)= " + ABC, "\tSHA256(%s)= " + ABC,
            "SHA1 (%s) = " + ABC, ABC + "0  %s", "MD5 (%s) = 00"};
        for (int i = 0; i < tagged.length; ++i) {
            write("sums", String.format(tagged[i], folder + "/abc") + "\r\n");
            zel(i < 3 ? 0 : 2, i < 3 ? "@abc: OK" : "!zel: @sums: no line of digests", "digest --check @sums");
        }
        // And the next one has its turn.
        zel(2, "!zel: @sums: no line of digests\nzel: @none: no such file", "digest --check @sums @none");
        zel(2, ABC + "  @abc\n!zel: @none: no such file", "digest @none @abc");
    }

    @Test
    void randomBytesInEachFormat() throws Exception {
        zel(0, "[0-9a-f]{64}", "random");
        zel(0, "[\\w+/]{133334}==", "random 100000 --format base64");
        zel(0, "", "random 100000 -f raw -o @noise");
        byte[] noise = Files.readAllBytes(folder.resolve("noise"));
        assertEquals(100000, noise.length);
        assertFalse(Arrays.equals(Arrays.copyOf(noise, 32), Arrays.copyOfRange(noise, 49152, 49184))); // across pieces
    }

    @Test
    void encryptsAsOpensslDecrypts() throws Exception {
        write("abc", "z".repeat(3_000_001));
        zel(0, ".*", "keygen aes -o @key");
        zel(0, ".*", "encrypt -k @key @abc");
        zel(0, ".*", "decrypt -k @key --force @abc.enc");
        assertEquals("z".repeat(3_000_001), Files.readString(folder.resolve("abc")));
        assertOwnersOnly("key");
        assertOwnersOnly("abc");
        stdin = "abc".getBytes(StandardCharsets.US_ASCII);
        zel(0, ".*", "encrypt -k @key -");
        stdin = stdout;
        zel(0, "abc", "decrypt -k @key -");
        assertNothingLeftBehind();
        shell("tail -c +17 abc.enc | openssl enc -d -aes-256-cbc -K $(cat key)"
                + " -iv $(head -c 16 abc.enc | od -An -v -tx1 | tr -d ' \\n') | cmp - abc");
    }

    @Test
    void signaturesAndKeysGoBothWaysWithOpenssl() throws Exception {
        for (String kind : List.of("rsa pem sha256", "rsa der sha256", "dsa pem sha1", "dsa der sha1")) {
            String[] words = kind.split(" ");
            zel(0, ".*", "keygen " + words[0] + " --force --form " + words[1] + " -o @key");
            zel(0, ".*", "sign --force -k @key @abc");
            if (!IS_WINDOWS) {
                String verify = "openssl dgst -" + words[2] + " -verify pub.pem -signature abc.sig abc";
                shell("openssl pkey -pubin -inform " + words[1] + " -in key.pub -out pub.pem && " + verify);
                shell("openssl pkey -check -inform " + words[1] + " -in key -out key.pem");
                zel(0, ".*", "sign --force -k @key.pem @abc"); // a key as openssl writes it
                shell(verify + " && openssl dgst -" + words[2] + " -sign key.pem -out abc.sig abc");
            }
            zel(0, ".*", "verify -k @key.pub @abc");
            stdin = "abd".getBytes(StandardCharsets.US_ASCII);
            zel(1, ".*\"valid\": false.*", "verify --json -k @key.pub -s @abc.sig -");
            write("abc.sig", "x");
            zel(1, "@abc: NOT VALID \\(SHA.*", "verify -k @key.pub @abc");
        }
        assertOwnersOnly("key");

        shell("openssl req -x509 -newkey rsa:2048 -nodes -keyout own.key -out own.crt -subj /CN=me"
                + " && openssl dgst -sha1 -sign own.key -out abc.sig abc"
                + " && openssl pkcs8 -topk8 -in own.key -passout pass:x -out locked.key"
                + " && openssl rsa -traditional -in own.key -out old.key");
        zel(0, ".*", "verify -a SHA1withRSA -k @own.crt @abc");
        zel(2, "!zel: .*decrypt it with: openssl pkcs8.*", "sign -k @locked.key @abc");
        zel(2, "!zel: .*convert it with: openssl pkcs8.*", "sign -k @old.key @abc");
        zel(0, ".*", "keygen rsa --bits 1024 -o @small --pkcs1 @small.der --json");
        shell("openssl rsa -RSAPublicKey_in -inform der -in small.der -pubout -out 1.pem && cmp 1.pem small.pub");
    }

    @Test
    void theAnswerNoAndTroubleAreToldApart() throws Exception {
        write("key", "0123456789abcdef".repeat(4));
        write("other", "x".repeat(32));
        zel(0, ".*", "encrypt -k @key @abc");
        zel(1, "!zel: .*does not decrypt.*", "decrypt -k @other -o @x @abc.enc");
        for (int length : new int[] {15, 16}) { // less than an IV, and an IV alone
            write("short", "x".repeat(length));
            zel(1, "!zel: .*too short.*", "decrypt -k @key -o @x @short");
        }
        assertFalse(Files.exists(folder.resolve("x")));

        String[][] refused = {{"Try 'zel --help'", "--nonsense"}, {"Missing required option: '--key=KEY'", "encrypt @abc"},
            {"there are SHA-1, SHA-256", "digest -a MD5 @abc"}, {"no such command: sing", "sing @abc"},
            {"is a directory", "digest " + folder}, {"@abc.enc: exists already; --force", "encrypt -k @key @abc"},
            {"@no/x: no such folder", "keygen aes -o @no/x"}, {"@no/x: no such folder", "keygen rsa -o @x --pkcs1 @no/x"},
            {"a file of its own", "keygen rsa -o x --pkcs1 x.pub"}, {"takes two files", "keygen rsa -o -"},
            {"no AES-256 key", "encrypt -k @abc @abc"}, {"no RSA or DSA private key", "sign -k @abc @abc"},
            {"AES keys have 256 bits", "keygen aes -b 128 -o @x"}, {"1000", "keygen rsa -b 1000 -o @x"},
            {"--output is needed", "decrypt -k @key @abc"}, {"no line of digests", "digest --check @abc"},
            {"no such command: sing", "digest @abc --then sing"}};
        for (String[] row : refused) {
            zel(2, "!zel: .*" + row[0] + ".*", row[1]);
        }
        zel(0, "\\Q{\"file\": \"@abc\", \"output\": \"@abc.enc\", \"bytes\": 3, \\E.*", "encrypt --force --json -k @key @abc");
        assertNothingLeftBehind();

        onPosix();
        zel(2, "!zel: @abc/x: Not a directory", "keygen aes -o @abc/x");
        zel(2, "!zel: /dev/full: No space left.*", "keygen aes -o /dev/full");
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
                + "'/*.jar 'the program'; 'the program/zel' digest abc", ABC + "  abc\n", "0"},
            {MADE + "'the program/zel' digest abc", ABC + "  abc\n", "0"},
            {"chmod +w 'the program'/*.jsa; echo no classes >'the program'/*.jsa; 'the program/zel' digest abc",
                ABC + "  abc\n", "0"},
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
        zel(0, ".*", "info --self-test --json");
        String said = new String(stdout, StandardCharsets.UTF_8);
        for (String part : List.of("\"version\": \"", "\"library\": \"jar:file:", "\"randomReady\": ",
                "\"kernels\": {\"SHA-1\": \"", "\"exponentiation\": \"", "\"SHA1withDSA\": \"passed\"", "\"MessageDigest\": \"SHA-1, SHA-256\"")) {
            assertTrue(said.contains(part), said);
        }
        zel(0, "zel \\d+\\.\\d+\\.\\d+", "--version");
        for (String command : "digest random keygen sign verify encrypt decrypt speed info".split(" ")) {
            zel(0, ".*\nExit codes:\n.*\nExamples:\n  zel (" + command + "|keygen)\\b.*", command + " --help");
        }
    }
}
