package com.vantrel.zel.provider;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertTrue;
import static org.junit.jupiter.api.Assumptions.assumeTrue;

import com.sun.net.httpserver.HttpsConfigurator;
import com.sun.net.httpserver.HttpsServer;
import java.io.File;
import java.io.FileInputStream;
import java.io.InputStream;
import java.lang.module.ModuleFinder;
import java.math.BigInteger;
import java.net.InetAddress;
import java.net.InetSocketAddress;
import java.net.URL;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.security.InvalidParameterException;
import java.security.KeyPair;
import java.security.KeyPairGenerator;
import java.security.KeyStore;
import java.security.PrivateKey;
import java.security.SecureRandom;
import java.security.Security;
import java.security.Signature;
import java.security.spec.AlgorithmParameterSpec;
import java.security.spec.RSAKeyGenParameterSpec;
import java.util.ArrayList;
import java.util.List;
import javax.crypto.Cipher;
import javax.crypto.spec.SecretKeySpec;
import javax.net.ssl.HttpsURLConnection;
import javax.net.ssl.KeyManagerFactory;
import javax.net.ssl.SSLContext;
import javax.net.ssl.TrustManagerFactory;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

/** A virtual machine whose first provider is this one: its own tools, TLS, and whatever only the JDK's providers can do. */
class FirstProviderTest {
    private static final char[] PASSWORD = "a-password".toCharArray();

    @TempDir Path folder;

    private static final String FIRST = "security.provider.1=com.vantrel.zel.provider.ZelSecurityProvider\n"
            + "security.provider.2=SUN\nsecurity.provider.3=SunRsaSign\nsecurity.provider.4=SunEC\nsecurity.provider.5=SunJSSE\n"
            + "security.provider.6=SunJCE\n";

    /** As README advises it. */
    private static final String BEHIND_AND_PREFERRED = "security.provider.%d=com.vantrel.zel.provider.ZelSecurityProvider\n"
            + "jdk.security.provider.preferred=Signature.SHA256withRSA:Zel, KeyPairGenerator.RSA:Zel, Cipher.AES/CBC/PKCS5Padding:Zel\n";

    /** Runs a class of the JDK's or the tests' own with this provider first. */
    private String run(String... arguments) throws Exception {
        return runWith(FIRST, arguments);
    }

    private String runWith(String settings, String... arguments) throws Exception {
        Path properties = Files.writeString(folder.resolve("java.security"), settings);
        List<String> all = new ArrayList<>(List.of("-cp", ChildJvm.providerJar() + File.pathSeparator + ChildJvm.testClasses(),
                "-Djava.security.properties=" + properties, "-Duser.language=en", "-Xcheck:jni"));
        all.addAll(List.of(arguments));
        ChildJvm child = ChildJvm.run(all);
        assertEquals(0, child.exitCode, child.out + child.err);
        return child.out;
    }

    @Test
    void keytoolHttpsAndJarsigner() throws Exception {
        String store = folder.resolve("store").toString();
        String[] access = {"-keystore", store, "-storepass", new String(PASSWORD)};
        run(joined(List.of("-m", "java.base/sun.security.tools.keytool.Main", "-genkeypair", "-alias", "me", "-keyalg", "RSA",
                "-keysize", "2048", "-dname", "CN=localhost", "-ext", "san=ip:127.0.0.1,dns:localhost"), access));

        assumeModule("jdk.httpserver");
        assertEquals("Zel: hello\n", run(Https.class.getName(), store));

        assumeModule("jdk.jartool");
        Path jar = Files.copy(Path.of(System.getProperty("zel.tool.jar")), folder.resolve("signed.jar"));
        run(joined(List.of("-m", "jdk.jartool/sun.security.tools.jarsigner.Main"), access, jar.toString(), "me"));
        String verified = run("-m", "jdk.jartool/sun.security.tools.jarsigner.Main", "-verify", jar.toString());
        assertTrue(verified.contains("jar verified."), verified);
    }

    private static void assumeModule(String name) {
        assumeTrue(ModuleFinder.ofSystem().find(name).isPresent(), "this runtime has no module " + name);
    }

    private static String[] joined(List<String> first, String[] then, String... last) {
        List<String> all = new ArrayList<>(first);
        all.addAll(List.of(then));
        all.addAll(List.of(last));
        return all.toArray(String[]::new);
    }

    /** Run in a child: an HTTPS server and its client. */
    public static final class Https {
        public static void main(String[] args) throws Exception {
            KeyStore store = KeyStore.getInstance("PKCS12");
            try (InputStream in = new FileInputStream(args[0])) {
                store.load(in, PASSWORD);
            }
            KeyManagerFactory keys = KeyManagerFactory.getInstance(KeyManagerFactory.getDefaultAlgorithm());
            keys.init(store, PASSWORD);
            TrustManagerFactory trust = TrustManagerFactory.getInstance(TrustManagerFactory.getDefaultAlgorithm());
            trust.init(trusting(store));
            SSLContext context = SSLContext.getInstance("TLS");
            context.init(keys.getKeyManagers(), trust.getTrustManagers(), null);

            HttpsServer server = HttpsServer.create(new InetSocketAddress(InetAddress.getLoopbackAddress(), 0), 0);
            server.setHttpsConfigurator(new HttpsConfigurator(context));
            server.createContext("/", exchange -> {
                exchange.sendResponseHeaders(200, 0);
                exchange.getResponseBody().write("hello".getBytes(StandardCharsets.US_ASCII));
                exchange.close();
            });
            server.start();
            URL url = new URL("https", "localhost", server.getAddress().getPort(), "/");
            HttpsURLConnection connection = (HttpsURLConnection) url.openConnection();
            connection.setSSLSocketFactory(context.getSocketFactory());
            String answer = new String(connection.getInputStream().readAllBytes(), StandardCharsets.US_ASCII);
            server.stop(0);

            Signature signature = Signature.getInstance("SHA256withRSA");
            signature.initSign((PrivateKey) store.getKey("me", PASSWORD));
            System.out.println(signature.getProvider().getName() + ": " + answer);
        }

        private static KeyStore trusting(KeyStore store) throws Exception {
            KeyStore trusted = KeyStore.getInstance("PKCS12");
            trusted.load(null, null);
            trusted.setCertificateEntry("me", store.getCertificate("me"));
            return trusted;
        }
    }

    @Test
    void whatThisProviderRefusesIsDoneByTheNext() throws Exception {
        assertEquals("AES 256 Zel\nAES 128 SunJCE\n"
                + "RSA 2048 Zel sign Zel verify Zel\n"
                + "RSA 1032 SunRsaSign sign Zel verify Zel\n"
                + "RSA 2048/4294967297 SunRsaSign sign SunRsaSign verify SunRsaSign\n"
                + "DSA 1024 Zel sign Zel verify Zel\n"
                + "DSA 2048 refused\nDSA 2048 SUN sign SUN verify SUN\nrandom Zel\n", run(Refusals.class.getName()));
    }

    @Test
    void whereOtherProvidersStandInFrontItServesWhatItIsPreferredFor() throws Exception {
        String settings = String.format(BEHIND_AND_PREFERRED, Security.getProviders().length + 1);
        assertEquals("AES 256 Zel\nAES 128 SunJCE\n"
                + "RSA 2048 Zel sign Zel verify Zel\n"
                + "RSA 1032 SunRsaSign sign Zel verify Zel\n"
                + "RSA 2048/4294967297 SunRsaSign sign SunRsaSign verify SunRsaSign\n"
                + "DSA 1024 SUN sign SUN verify SUN\n"
                + "DSA 2048 SUN sign SUN verify SUN\nDSA 2048 SUN sign SUN verify SUN\nrandom another\n",
                runWith(settings, Refusals.class.getName()));
    }

    /** Run in a child: prints who serves which key. */
    public static final class Refusals {
        public static void main(String[] args) throws Exception {
            for (int bits : new int[] {256, 128}) {
                Cipher cipher = Cipher.getInstance("AES/CBC/PKCS5Padding");
                cipher.init(Cipher.ENCRYPT_MODE, new SecretKeySpec(new byte[bits / 8], "AES"));
                System.out.println("AES " + bits + " " + cipher.getProvider().getName());
            }
            use("RSA", 2048, null, "SHA256withRSA");
            use("RSA", 1032, null, "SHA256withRSA");
            use("RSA", 2048, BigInteger.ONE.shiftLeft(32).add(BigInteger.ONE), "SHA256withRSA");
            use("DSA", 1024, null, "SHA1withDSA");
            try { // the JDK's generator of DSA keys is the one that the JDK never falls through to
                use("DSA", 2048, null, "SHA256withDSA");
            } catch (InvalidParameterException e) {
                System.out.println("DSA 2048 refused");
            }
            use(KeyPairGenerator.getInstance("DSA", "SUN"), 2048, null, "SHA256withDSA");
            System.out.println("random " + (new SecureRandom().getProvider().getName().equals("Zel") ? "Zel" : "another"));
        }

        private static void use(String kind, int bits, BigInteger exponent, String algorithm) throws Exception {
            use(KeyPairGenerator.getInstance(kind), bits, exponent, algorithm);
        }

        private static void use(KeyPairGenerator generator, int bits, BigInteger exponent, String algorithm)
                throws Exception {
            if (exponent == null) {
                generator.initialize(bits);
            } else {
                AlgorithmParameterSpec wanted = new RSAKeyGenParameterSpec(bits, exponent);
                generator.initialize(wanted);
            }
            KeyPair pair = generator.generateKeyPair();
            byte[] message = {1, 2, 3};
            Signature signing = Signature.getInstance(algorithm);
            signing.initSign(pair.getPrivate());
            signing.update(message);
            byte[] signed = signing.sign();
            Signature verifying = Signature.getInstance(algorithm);
            verifying.initVerify(pair.getPublic());
            verifying.update(message);
            System.out.println(generator.getAlgorithm() + " " + bits + (exponent == null ? "" : "/" + exponent) + " "
                    + generator.getProvider().getName() + " sign " + signing.getProvider().getName() + " verify "
                    + (verifying.verify(signed) ? verifying.getProvider().getName() : "failed"));
        }
    }
}
