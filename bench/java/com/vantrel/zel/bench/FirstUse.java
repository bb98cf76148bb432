package com.vantrel.zel.bench;

import java.io.BufferedReader;
import java.io.InputStreamReader;
import java.lang.management.ManagementFactory;
import java.nio.charset.StandardCharsets;
import java.security.KeyFactory;
import java.security.KeyPairGenerator;
import java.security.MessageDigest;
import java.security.PrivateKey;
import java.security.Provider;
import java.security.SecureRandom;
import java.security.Security;
import java.security.Signature;
import java.security.spec.PKCS8EncodedKeySpec;
import java.util.Arrays;
import java.util.Base64;
import java.util.List;

/**
 * What a program waits for: the time from the start of the virtual machine to the first SHA-256, to the first signature with an
 * RSA key that the program brings along, and to the first random bytes. Each in virtual machines of its own, by this provider
 * and by the JDK's own; prints medians in milliseconds of the wall clock.
 */
public final class FirstUse {
    private static final int RUNS = 9;

    private FirstUse() {}

    /**
     * Measures all, or does one work in this virtual machine and prints when it was done.
     *
     * @param args none, or the work, whether by Zel, and the key
     */
    public static void main(String[] args) throws Exception {
        if (args.length > 0) {
            run(args[0], args[1].equals("Zel"), args[2]);
            System.out.println(System.currentTimeMillis() - ManagementFactory.getRuntimeMXBean().getStartTime());
            return;
        }
        System.out.println("Java " + System.getProperty("java.version") + ", " + System.getProperty("os.name"));
        KeyPairGenerator generator = KeyPairGenerator.getInstance("RSA");
        generator.initialize(2048);
        String key = Base64.getEncoder().encodeToString(generator.generateKeyPair().getPrivate().getEncoded());
        for (String work : List.of("nothing", "SHA-256", "SHA256withRSA 2048", "random bytes")) {
            int runs = work.startsWith("random") ? 1 : RUNS;
            long[][] millis = new long[2][runs];
            for (int i = 0; i < runs; ++i) {
                millis[0][i] = child(work, "Zel", key);
                millis[1][i] = child(work, "JDK", key);
            }
            Arrays.stream(millis).forEach(Arrays::sort);
            System.out.printf("%-20s %6d ms with Zel, %6d ms with the JDK%n", work, millis[0][runs / 2], millis[1][runs / 2]);
        }
    }

    private static long child(String... arguments) throws Exception {
        ProcessBuilder java = new ProcessBuilder(System.getProperty("java.home") + "/bin/java", "-cp",
                System.getProperty("java.class.path"), FirstUse.class.getName());
        java.command().addAll(List.of(arguments));
        Process process = java.redirectErrorStream(true).start();
        String last = null;
        try (BufferedReader lines = new BufferedReader(
                new InputStreamReader(process.getInputStream(), StandardCharsets.US_ASCII))) {
            for (String line = lines.readLine(); line != null; line = lines.readLine()) {
                last = line; // the VM may warn of native code before
            }
        }
        return Long.parseLong(last);
    }

    private static void run(String work, boolean isOurs, String key) throws Exception {
        if (isOurs && !work.equals("nothing")) {
            Security.insertProviderAt((Provider) Class.forName("com.vantrel.zel.provider.ZelSecurityProvider")
                    .getConstructor().newInstance(), 1);
        }
        if (work.equals("SHA-256")) {
            MessageDigest.getInstance("SHA-256").digest(new byte[64]);
        } else if (work.startsWith("SHA256withRSA")) {
            PrivateKey pair = KeyFactory.getInstance("RSA").generatePrivate(new PKCS8EncodedKeySpec(Base64.getDecoder().decode(key)));
            Signature signature = Signature.getInstance("SHA256withRSA");
            signature.initSign(pair);
            signature.update(new byte[64]);
            signature.sign();
        } else if (work.startsWith("random")) {
            new SecureRandom().nextBytes(new byte[16]);
        }
    }
}
