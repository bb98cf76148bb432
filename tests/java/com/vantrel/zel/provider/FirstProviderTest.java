package com.vantrel.zel.provider;

import static org.junit.jupiter.api.Assertions.*;

import java.lang.module.ModuleFinder;
import java.math.BigInteger;
import java.net.*;
import java.nio.file.*;
import java.security.*;
import java.security.spec.*;
import java.util.*;
import java.util.concurrent.FutureTask;
import javax.crypto.Cipher;
import javax.crypto.spec.SecretKeySpec;
import javax.net.ssl.*;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.condition.OS;
import org.junit.jupiter.api.io.TempDir;

/** A virtual machine whose first provider is this one: its own tools, TLS, and whatever only the JDK's providers can do. */
class FirstProviderTest {
    private static final String BOTH = "AES 256 Zel\nAES 128 SunJCE\n"
            + "RSA 2048 by Zel sign Zel verify Zel\n"
            + "RSA 1032 by SunRsaSign sign Zel verify Zel\n"
            + "RSA 33 by SunRsaSign sign SunRsaSign verify SunRsaSign\n";

    private static final int EXPONENT_BITS = 33; // more than this provider takes

    @TempDir Path folder;

    private String run(String settings, String... arguments) throws Exception {
        Path properties = Files.writeString(folder.resolve("java.security"), settings);
        List<String> all = new ArrayList<>(List.of("-cp", ChildJvm.CLASS_PATH,
                "-Djava.security.properties=" + properties, "-Duser.language=en"));
        if (!OS.WINDOWS.isCurrentOs()) { // there the checker complains of the JDK's own NetworkInterface, which seeds its generator
            all.add("-Xcheck:jni");
        }
        all.addAll(List.of(arguments));
        return ChildJvm.run(null, "ALL-UNNAMED", all);
    }

    /** What this provider refuses is done by the next. */
    @Test
    void asTheFirst() throws Exception {
        String first = "security.provider.1=com.vantrel.zel.provider.ZelSecurityProvider\nsecurity.provider.2=SUN\n"
                + "security.provider.3=SunRsaSign\nsecurity.provider.4=SunEC\nsecurity.provider.5=SunJSSE\nsecurity.provider.6=SunJCE\n";
        String store = folder.resolve("store").toString();
        run(first, "-m", "java.base/sun.security.tools.keytool.Main", "-genkeypair", "-alias", "me", "-keyalg", "RSA",
                "-keysize", "2048", "-dname", "CN=localhost", "-keystore", store, "-storepass", "password");
        assertEquals(BOTH + "DSA 1024 by Zel sign Zel verify Zel\n"
                + "DSA 2048 refused\nDSA 2048 by SUN sign SUN verify SUN\nrandom Zel\nover TLS: 42\n",
                run(first, "-Djavax.net.ssl.keyStore=" + store, "-Djavax.net.ssl.keyStorePassword=password",
                        "-Djavax.net.ssl.trustStore=" + store, "-Djavax.net.ssl.trustStorePassword=password", Uses.class.getName()));
        if (ModuleFinder.ofSystem().find("jdk.jartool").isPresent()) { // which some runtimes lack
            String signed = Files.copy(Path.of(System.getProperty("zel.tool.jar")), folder.resolve("signed.jar")).toString();
            String jarsigner = "jdk.jartool/sun.security.tools.jarsigner.Main";
            run(first, "-m", jarsigner, "-keystore", store, "-storepass", "password", signed, "me");
            String said = run(first, "-m", jarsigner, "-verify", signed);
            assertTrue(said.contains("jar verified."), said);
        }
    }

    /** As README advises it. */
    @Test
    void whereOtherProvidersStandInFrontItServesWhatItIsPreferredFor() throws Exception {
        String preferred = "Signature.SHA256withRSA:Zel, KeyPairGenerator.RSA:Zel, Cipher.AES/CBC/PKCS5Padding:Zel\n";
        assertEquals(BOTH + "DSA 1024 by SUN sign SUN verify SUN\n"
                + "DSA 2048 by SUN sign SUN verify SUN\nDSA 2048 by SUN sign SUN verify SUN\nrandom another\n",
                run("security.provider." + (Security.getProviders().length + 1) + "=com.vantrel.zel.provider.ZelSecurityProvider\n"
                        + "jdk.security.provider.preferred=" + preferred, Uses.class.getName()));
    }

    /** Run in a child: prints who serves which key, and what comes over TLS if there is a store of keys. */
    public static final class Uses {
        public static void main(String[] args) throws Exception {
            for (int bits : new int[] {256, 128}) {
                Cipher cipher = Cipher.getInstance("AES/CBC/PKCS5Padding");
                cipher.init(Cipher.ENCRYPT_MODE, new SecretKeySpec(new byte[bits / 8], "AES"));
                System.out.println("AES " + bits + " " + cipher.getProvider().getName());
            }
            use(KeyPairGenerator.getInstance("RSA"), 2048, "SHA256withRSA");
            use(KeyPairGenerator.getInstance("RSA"), 1032, "SHA256withRSA");
            use(KeyPairGenerator.getInstance("RSA"), EXPONENT_BITS, "SHA256withRSA");
            use(KeyPairGenerator.getInstance("DSA"), 1024, "SHA1withDSA");
            try { // the JDK's generator of DSA keys is the one that the JDK never falls through to
                use(KeyPairGenerator.getInstance("DSA"), 2048, "SHA256withDSA");
            } catch (InvalidParameterException e) {
                System.out.println("DSA 2048 refused");
            }
            use(KeyPairGenerator.getInstance("DSA", "SUN"), 2048, "SHA256withDSA");
            System.out.println("random " + (new SecureRandom().getProvider().getName().equals("Zel") ? "Zel" : "another"));
            if (System.getProperty("javax.net.ssl.keyStore") != null) {
                ServerSocket server = SSLServerSocketFactory.getDefault().createServerSocket(0);
                FutureTask<Integer> client = new FutureTask<>(() ->
                        SSLSocketFactory.getDefault().createSocket("localhost", server.getLocalPort()).getInputStream().read());
                new Thread(client).start();
                try (Socket socket = server.accept()) {
                    socket.getOutputStream().write(42);
                }
                System.out.println("over TLS: " + client.get());
            }
        }

        /** With a key of so many bits, or of 2048 and with an exponent of so many. */
        private static void use(KeyPairGenerator generator, int bits, String algorithm) throws Exception {
            if (bits == EXPONENT_BITS) {
                generator.initialize(new RSAKeyGenParameterSpec(2048, BigInteger.ONE.shiftLeft(EXPONENT_BITS - 1).setBit(0)));
            } else {
                generator.initialize(bits);
            }
            KeyPair pair = generator.generateKeyPair();
            Signature signing = Signature.getInstance(algorithm);
            signing.initSign(pair.getPrivate());
            byte[] signed = signing.sign();
            Signature verifying = Signature.getInstance(algorithm);
            verifying.initVerify(pair.getPublic());
            System.out.println(generator.getAlgorithm() + " " + bits + " by " + generator.getProvider().getName() + " sign "
                    + signing.getProvider().getName() + " verify "
                    + (verifying.verify(signed) ? verifying.getProvider().getName() : "failed"));
        }
    }
}
