package com.vantrel.zel.bench;

import com.vantrel.zel.provider.ZelSecurityProvider;
import java.lang.management.ManagementFactory;
import java.lang.management.ThreadMXBean;
import java.security.AlgorithmParameterGenerator;
import java.security.GeneralSecurityException;
import java.security.KeyPair;
import java.security.KeyPairGenerator;
import java.security.MessageDigest;
import java.security.Provider;
import java.security.SecureRandom;
import java.security.Security;
import java.security.Signature;
import java.security.spec.DSAParameterSpec;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.Locale;
import java.util.regex.Pattern;
import java.util.stream.Collectors;
import java.util.stream.Stream;
import javax.crypto.Cipher;
import javax.crypto.spec.IvParameterSpec;
import javax.crypto.spec.SecretKeySpec;

/**
 * The provider beside the JDK's own, in one run: each work is done by the peers in turn, many rounds of some milliseconds,
 * and the fastest counts, of key pairs the median. Time is what the calling thread has had of a processor, which other programs on the machine hardly
 * change. Prints nanoseconds and MB/s (of what has no size, only nanoseconds) for the provider, and its speed over each peer's.
 */
public final class ProviderBench {
    private static final int WARM_UP_ROUNDS = 10;
    private static final int ROUNDS = 25;
    private static final long ROUND_NANOS = 10_000_000;
    private static final Pattern ROWS = Pattern.compile(System.getProperty("zel.rows", ""));
    private static final boolean IS_WINDOWS = System.getProperty("os.name").startsWith("Windows");
    private static final ThreadMXBean THREADS = ManagementFactory.getThreadMXBean();

    /** One call of the measured work. */
    private interface Work {
        void run() throws Exception;
    }

    /** Another native provider, where its jar stands on the class path, or null. */
    private static final Provider FURTHER_PEER = furtherPeer();

    /** Where results go, so that the compiler cannot leave them out. */
    private static volatile byte[] sink;

    private ProviderBench() {}

    private static Provider furtherPeer() {
        try {
            return (Provider) Class.forName("com.amazon.corretto.crypto.provider.AmazonCorrettoCryptoProvider").getField("INSTANCE")
                    .get(null);
        } catch (ReflectiveOperationException e) {
            return null;
        }
    }

    /**
     * Runs all benchmarks, or those whose name begins with an argument; of these the rows that the property zel.rows, a regular
     * expression, finds.
     *
     * @param args beginnings of names
     */
    public static void main(String[] args) throws Exception {
        Provider zel = new ZelSecurityProvider();
        System.out.println("Java " + System.getProperty("java.version") + ", "
                + System.getProperty("os.name") + " " + System.getProperty("os.arch"));
        if (wanted("digest", args)) {
            for (String algorithm : List.of("SHA-1", "SHA-256")) {
                for (int size : new int[] {16, 64, 256, 1024, 2048, 4096, 16384, 1 << 20}) {
                    digest(algorithm, size, false, zel);
                }
                digest(algorithm, 64, true, zel);
                digestByteByByte(algorithm, zel);
            }
        }
        if (wanted("signature", args)) {
            for (int bits : new int[] {1024, 2048, 3072, 4096}) {
                signature("SHA256withRSA", "RSA", bits, "SunRsaSign", zel);
            }
            signature("SHA1withDSA", "DSA", 1024, "SUN", zel);
        }
        if (wanted("keypair", args)) {
            for (int bits : new int[] {1024, 2048, 3072, 4096}) {
                keyPair("RSA", bits, "SunRsaSign", zel);
            }
            keyPair("DSA", 1024, "SUN", zel);
        }
        if (wanted("random", args)) {
            for (int size : new int[] {16, 1024, 16384}) {
                random(size, false, zel);
            }
            random(16, true, zel);
            memoryOfRandoms(zel);
        }
        if (wanted("cipher", args)) {
            for (int mode : new int[] {Cipher.ENCRYPT_MODE, Cipher.DECRYPT_MODE}) {
                for (int size : new int[] {16, 64, 256, 1024, 4096, 16384, 1 << 20}) {
                    cipher(mode, size, false, zel);
                }
            }
            for (int size : new int[] {16, 256}) {
                cipher(Cipher.ENCRYPT_MODE, size, true, zel);
            }
        }
    }

    private static boolean wanted(String name, String[] args) {
        return args.length == 0 || Arrays.stream(args).anyMatch(name::startsWith);
    }

    /** Those of the provider, the JDK's and the further peer that have the algorithm, in this order. */
    private static List<Provider> peers(Provider zel, String type, String algorithm, String jdk) {
        return Stream.of(zel, Security.getProvider(jdk), FURTHER_PEER)
                .filter(peer -> peer != null && peer.getService(type, algorithm) != null).collect(Collectors.toList());
    }

    private static List<String> names(List<Provider> peers) {
        return peers.stream().map(Provider::getName).collect(Collectors.toList());
    }

    /** One object for all messages, or one for each. */
    private static void digest(String algorithm, int size, boolean isFresh, Provider zel) throws Exception {
        byte[] message = new byte[size];
        byte[] expected = MessageDigest.getInstance(algorithm, "SUN").digest(message);
        List<Provider> peers = peers(zel, "MessageDigest", algorithm, "SUN");
        List<Work> works = new ArrayList<>();
        for (Provider peer : peers) {
            MessageDigest digest = MessageDigest.getInstance(algorithm, peer);
            if (!Arrays.equals(digest.digest(message), expected)) {
                throw new AssertionError("the digest is wrong");
            }
            works.add(isFresh ? () -> sink = MessageDigest.getInstance(algorithm, peer).digest(message)
                    : () -> sink = digest.digest(message));
        }
        compare("digest " + algorithm + " " + size + (isFresh ? " getInstance" : ""), size, names(peers), works);
    }

    private static void digestByteByByte(String algorithm, Provider zel) throws Exception {
        int size = 1024;
        List<Work> works = new ArrayList<>();
        for (MessageDigest digest : List.of(MessageDigest.getInstance(algorithm, zel),
                MessageDigest.getInstance(algorithm, "SUN"))) {
            works.add(() -> {
                for (int i = 0; i < size; ++i) {
                    digest.update((byte) i);
                }
                digest.digest();
            });
        }
        compare("digest " + algorithm + " " + size + " byte by byte", size, List.of("zel", "SUN"), works);
    }

    /** AES-256-CBC of one message: init and doFinal into an array; or, of a long one, an update that gives an array. */
    private static void cipher(int mode, int size, boolean isUpdate, Provider zel) throws Exception {
        String transformation = "AES/CBC/PKCS5Padding";
        boolean encrypts = mode == Cipher.ENCRYPT_MODE;
        SecretKeySpec key = new SecretKeySpec(new byte[32], "AES");
        IvParameterSpec iv = new IvParameterSpec(new byte[16]);
        Cipher encrypting = Cipher.getInstance(transformation, "SunJCE");
        encrypting.init(Cipher.ENCRYPT_MODE, key, iv);
        byte[] message = new byte[size];
        byte[] ciphertext = encrypting.doFinal(message);
        byte[] input = encrypts ? message : ciphertext;
        List<Provider> peers = Stream.of(zel, Security.getProvider("SunJCE"), FURTHER_PEER).filter(peer -> has(transformation, peer))
                .collect(Collectors.toList());
        List<Work> works = new ArrayList<>();
        for (Provider peer : peers) {
            Cipher cipher = Cipher.getInstance(transformation, peer);
            byte[] output = new byte[input.length + 16];
            cipher.init(mode, key, iv);
            if (!Arrays.equals(cipher.doFinal(input), encrypts ? ciphertext : message)) {
                throw new AssertionError("the result is wrong");
            }
            cipher.init(mode, key, iv);
            works.add(isUpdate ? () -> sink = cipher.update(input) : () -> {
                cipher.init(mode, key, iv);
                cipher.doFinal(input, 0, input.length, output, 0);
            });
        }
        compare("cipher " + (encrypts ? "encrypt " : "decrypt ") + size + (isUpdate ? " update" : ""), size, names(peers), works);
    }

    private static boolean has(String transformation, Provider peer) {
        try {
            return peer != null && Cipher.getInstance(transformation, peer) != null;
        } catch (GeneralSecurityException e) {
            return false;
        }
    }

    /**
     * A signature of a short message: signed and verified by one object that is initialised once, and by objects that are
     * initialised for each.
     */
    private static void signature(String algorithm, String keys, int bits, String jdk, Provider zel) throws Exception {
        KeyPairGenerator generator = KeyPairGenerator.getInstance(keys, jdk);
        generator.initialize(bits);
        KeyPair pair = generator.generateKeyPair();
        byte[] message = new byte[32];
        Signature first = Signature.getInstance(algorithm, zel);
        first.initSign(pair.getPrivate());
        first.update(message);
        byte[] signature = first.sign();
        List<List<Work>> works = List.of(new ArrayList<>(), new ArrayList<>(), new ArrayList<>());
        for (boolean isOurs : new boolean[] {true, false}) {
            Signature signing = isOurs ? first : Signature.getInstance(algorithm, jdk);
            Signature verifying = isOurs ? Signature.getInstance(algorithm, zel) : Signature.getInstance(algorithm, jdk);
            signing.initSign(pair.getPrivate());
            verifying.initVerify(pair.getPublic());
            works.get(0).add(() -> {
                signing.update(message);
                signing.sign();
            });
            works.get(1).add(() -> {
                verifying.update(message);
                if (!verifying.verify(signature)) {
                    throw new AssertionError("the verdict is wrong");
                }
            });
            Signature fresh = isOurs ? Signature.getInstance(algorithm, zel) : Signature.getInstance(algorithm, jdk);
            works.get(2).add(() -> fresh.initSign(pair.getPrivate()));
        }
        List<String> names = List.of("zel", jdk);
        compare(algorithm + " " + bits + " sign", 0, names, works.get(0));
        compare(algorithm + " " + bits + " verify", 0, names, works.get(1));
        compare(algorithm + " " + bits + " initSign", 0, names, works.get(2));
    }

    /** Key pairs, one by one: their times differ too much for rounds. Fresh DSA parameters on both sides. */
    private static void keyPair(String algorithm, int bits, String jdk, Provider zel) throws Exception {
        if (!ROWS.matcher(algorithm + " " + bits + " key pair").find()) {
            return;
        }
        int count = 20;
        double[][] millis = new double[2][count];
        for (int i = -1; i < count; ++i) { // the first to warm up, and to wait until the random generator has started
            for (boolean isOurs : new boolean[] {true, false}) {
                long start = cpuNanos();
                KeyPairGenerator generator = isOurs ? KeyPairGenerator.getInstance(algorithm, zel)
                        : KeyPairGenerator.getInstance(algorithm, jdk);
                if (algorithm.equals("DSA") && !isOurs) { // otherwise the JDK takes parameters that it has ready
                    AlgorithmParameterGenerator parameters = AlgorithmParameterGenerator.getInstance("DSA", jdk);
                    parameters.init(bits);
                    generator.initialize(parameters.generateParameters().getParameterSpec(DSAParameterSpec.class));
                } else {
                    generator.initialize(bits);
                }
                generator.generateKeyPair();
                millis[isOurs ? 0 : 1][Math.max(i, 0)] = (cpuNanos() - start) / 1e6;
            }
        }
        System.out.printf("%-36s median %9.1f ms, mean %9.1f ms   %5.2f of %s (medians), %5.2f (means)%n",
                algorithm + " " + bits + " key pair", median(millis[0]), mean(millis[0]),
                median(millis[1]) / median(millis[0]), jdk, mean(millis[1]) / mean(millis[0]));
    }

    private static double mean(double[] values) {
        return Arrays.stream(values).average().orElseThrow();
    }

    /** One object for all requests, or one for each. */
    private static void random(int size, boolean isFresh, Provider zel) throws Exception {
        byte[] bytes = new byte[size];
        List<String> names = new ArrayList<>();
        List<Work> works = new ArrayList<>();
        for (String algorithm : List.of("FIPS186PRNG", "SHA1PRNG", "DRBG", "NativePRNG", "DEFAULT")) {
            Provider peer = names.isEmpty() ? zel : algorithm.equals("DEFAULT") ? FURTHER_PEER : Security.getProvider("SUN");
            if (peer == null || peer.getService("SecureRandom", algorithm) == null) { // Windows has no NativePRNG
                continue;
            }
            SecureRandom random = SecureRandom.getInstance(algorithm, peer);
            names.add(peer == FURTHER_PEER ? peer.getName() : algorithm);
            works.add(isFresh ? () -> SecureRandom.getInstance(algorithm, peer).nextBytes(bytes) : () -> random.nextBytes(bytes));
        }
        compare("random " + size + (isFresh ? " getInstance" : ""), size, names, works);
    }

    /** What a thousand random objects take of the Java heap; the generator itself is one for all of them. */
    private static void memoryOfRandoms(Provider zel) throws Exception {
        int count = 1000;
        SecureRandom[] kept = new SecureRandom[count];
        long before = 0;
        for (int pass = 0; pass < 2; ++pass) { // the first one warms up
            Arrays.fill(kept, null);
            before = usedBytes();
            for (int i = 0; i < count; ++i) {
                kept[i] = SecureRandom.getInstance("FIPS186PRNG", zel);
                kept[i].nextInt();
            }
        }
        System.out.printf("%d SecureRandom objects: %d bytes of Java heap each%n", count,
                (usedBytes() - before) / count);
        if (kept[count - 1] == null) {
            throw new AssertionError();
        }
    }

    private static long usedBytes() throws InterruptedException {
        for (int i = 0; i < 3; ++i) {
            System.gc();
            Thread.sleep(50);
        }
        return Runtime.getRuntime().totalMemory() - Runtime.getRuntime().freeMemory();
    }

    /** Measures the works in turn and prints the first one beside the others. */
    private static void compare(String name, long bytes, List<String> names, List<Work> works) throws Exception {
        if (!ROWS.matcher(name).find()) {
            return;
        }
        double[][] nanos = new double[works.size()][ROUNDS];
        for (int round = 0; round < WARM_UP_ROUNDS; ++round) { // until all is compiled, also where others keep the machine busy
            for (Work work : works) {
                measure(work);
            }
        }
        for (int round = 0; round < ROUNDS; ++round) {
            for (int i = 0; i < works.size(); ++i) {
                nanos[i][round] = measure(works.get(i));
            }
        }
        double ours = least(nanos[0]);
        StringBuilder line = new StringBuilder(String.format("%-36s %12.1f ns", name, ours));
        line.append(bytes > 0 ? String.format(" %9.1f MB/s", bytes * 1e3 / ours) : "");
        for (int i = 1; i < works.size(); ++i) {
            line.append(String.format("   %5.2f of %s", least(nanos[i]) / ours, names.get(i)));
        }
        System.out.println(line);
    }

    /** Nanoseconds for one call, over a round of calls. */
    private static double measure(Work work) throws Exception {
        long calls = 0;
        long cpuStart = cpuNanos();
        long start = System.nanoTime();
        do {
            for (int i = 0; i < 8; ++i) {
                work.run();
            }
            calls += 8;
        } while (System.nanoTime() - start < ROUND_NANOS); // cheaper to ask for
        return (double) (cpuNanos() - cpuStart) / calls;
    }

    /** The calling thread's time; on Windows, which counts that in steps of a round and more, the wall clock's. */
    private static long cpuNanos() {
        return IS_WINDOWS ? System.nanoTime() : THREADS.getCurrentThreadCpuTime();
    }

    private static double least(double[] values) {
        return Arrays.stream(values).min().orElseThrow();
    }

    private static double median(double[] values) {
        double[] sorted = values.clone();
        Arrays.sort(sorted);
        return sorted[sorted.length / 2];
    }
}
