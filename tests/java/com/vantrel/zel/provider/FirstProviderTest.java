package com.vantrel.zel.provider;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assumptions.assumeTrue;

import com.sun.net.httpserver.HttpsConfigurator;
import com.sun.net.httpserver.HttpsServer;
import java.io.File;
import java.io.FileInputStream;
import java.io.FileOutputStream;
import java.io.InputStream;
import java.io.OutputStream;
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
import java.security.KeyStore.PrivateKeyEntry;
import java.security.KeyStore;
import java.security.SecureRandom;
import java.security.Security;
import java.security.Signature;
import java.security.spec.AlgorithmParameterSpec;
import java.security.spec.RSAKeyGenParameterSpec;
import java.util.ArrayList;
import java.util.List;
import java.util.jar.JarEntry;
import java.util.jar.JarFile;
import java.util.stream.Stream;
import java.util.zip.ZipFile;
import javax.crypto.Cipher;
import javax.crypto.spec.SecretKeySpec;
import javax.net.ssl.HttpsURLConnection;
import javax.net.ssl.KeyManagerFactory;
import javax.net.ssl.SSLContext;
import javax.net.ssl.TrustManagerFactory;
import jdk.security.jarsigner.JarSigner;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.condition.OS;
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

    private String run(String settings, String... arguments) throws Exception {
        Path properties = Files.writeString(folder.resolve("java.security"), settings);
        List<String> all = new ArrayList<>(List.of("-cp", ChildJvm.providerJar() + File.pathSeparator + ChildJvm.testClasses(),
                "-Djava.security.properties=" + properties, "-Duser.language=en"));
        if (!OS.WINDOWS.isCurrentOs()) { // there the checker complains of the JDK's own NetworkInterface, which seeds its generator
            all.add("-Xcheck:jni");
        }
        all.addAll(List.of(arguments));
        ChildJvm child = ChildJvm.run(all);
        assertEquals(0, child.exitCode, child.out + child.err);
        return child.out;
    }

    /** What this provider refuses is done by the next. */
    @Test
    void asTheFirst() throws Exception {
        String store = folder.resolve("store").toString();
        run(FIRST, "-m", "java.base/sun.security.tools.keytool.Main", "-genkeypair", "-alias", "me", "-keyalg", "RSA",
                "-keysize", "2048", "-dname", "CN=localhost", "-ext", "san=ip:127.0.0.1,dns:localhost", "-keystore", store,
                "-storepass", new String(PASSWORD));
        boolean isWhole = Stream.of("jdk.httpserver", "jdk.jartool").allMatch(m -> ModuleFinder.ofSystem().find(m).isPresent());
        assertEquals("AES 256 Zel\nAES 128 SunJCE\n"
                + "RSA 2048 Zel sign Zel verify Zel\n"
                + "RSA 1032 SunRsaSign sign Zel verify Zel\n"
                + "RSA 2048/4294967297 SunRsaSign sign SunRsaSign verify SunRsaSign\n"
                + "DSA 1024 Zel sign Zel verify Zel\n"
                + "DSA 2048 refused\nDSA 2048 SUN sign SUN verify SUN\nrandom Zel\n"
                + (isWhole ? "Zel: hello\njar signed by 1\n" : ""),
                run(FIRST, isWhole ? new String[] {Uses.class.getName(), store, System.getProperty("zel.tool.jar")}
                        : new String[] {Uses.class.getName()}));
        assumeTrue(isWhole, "this runtime has no module for servers or for signed jars");
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
                run(settings, Uses.class.getName()));
    }

    /** Run in a child: a server with the certificate of a store and its client, and the jar signed; prints by whom. */
    private static final class Whole {
        static void run(String storeFile, String jarFile) throws Exception {
            KeyStore store = KeyStore.getInstance("PKCS12");
            KeyStore trusted = KeyStore.getInstance("PKCS12");
            try (InputStream in = new FileInputStream(storeFile)) {
                store.load(in, PASSWORD);
            }
            trusted.load(null, null);
            trusted.setCertificateEntry("me", store.getCertificate("me"));
            KeyManagerFactory keys = KeyManagerFactory.getInstance(KeyManagerFactory.getDefaultAlgorithm());
            keys.init(store, PASSWORD);
            TrustManagerFactory trust = TrustManagerFactory.getInstance(TrustManagerFactory.getDefaultAlgorithm());
            trust.init(trusted);
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
            PrivateKeyEntry entry = (PrivateKeyEntry) store.getEntry("me", new KeyStore.PasswordProtection(PASSWORD));
            Signature signature = Signature.getInstance("SHA256withRSA");
            signature.initSign(entry.getPrivateKey());
            System.out.println(signature.getProvider().getName() + ": " + answer);

            File signed = new File(storeFile + ".jar");
            try (ZipFile jar = new ZipFile(jarFile); OutputStream out = new FileOutputStream(signed)) {
                new JarSigner.Builder(entry).build().sign(jar, out);
            }
            try (JarFile jar = new JarFile(signed)) {
                JarEntry some = jar.getJarEntry("com/vantrel/zel/tool/Zel.class");
                jar.getInputStream(some).readAllBytes(); // which verifies it
                System.out.println("jar signed by " + some.getCodeSigners().length);
            }
        }
    }

    /** Run in a child: prints who serves which key. */
    public static final class Uses {
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
            if (args.length > 0) {
                Whole.run(args[0], args[1]);
            }
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
