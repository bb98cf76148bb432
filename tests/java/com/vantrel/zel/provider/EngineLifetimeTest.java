package com.vantrel.zel.provider;

import static org.junit.jupiter.api.Assertions.assertTrue;

import com.sun.management.HotSpotDiagnosticMXBean;
import java.lang.management.ManagementFactory;
import java.lang.ref.Reference;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.security.KeyFactory;
import java.security.KeyPair;
import java.security.KeyPairGenerator;
import java.security.MessageDigest;
import java.security.Provider;
import java.security.PublicKey;
import java.security.Signature;
import java.security.interfaces.RSAPrivateCrtKey;
import java.security.spec.PKCS8EncodedKeySpec;
import java.util.List;
import java.util.regex.Pattern;
import javax.crypto.Cipher;
import javax.crypto.spec.IvParameterSpec;
import javax.crypto.spec.SecretKeySpec;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.condition.EnabledOnOs;
import org.junit.jupiter.api.condition.OS;
import org.junit.jupiter.api.io.TempDir;

/** What stays in memory: native memory comes back when Java objects are dropped. Linux says how much a process has. */
@EnabledOnOs(OS.LINUX)
class EngineLifetimeTest {
    private static final int DIGESTS = 1_000_000;
    private static final int SIGNERS = 100;

    /** Run in a child with a small heap: prints by how many KiB the process has grown while it made and dropped digests. */
    public static final class Dropper {
        private static PublicKey key;

        public static void main(String[] args) throws Exception {
            KeyPairGenerator generator = KeyPairGenerator.getInstance("DSA", "SUN");
            generator.initialize(1024);
            key = generator.generateKeyPair().getPublic();
            Provider zel = new ZelSecurityProvider();
            drop(zel, DIGESTS / 10); // to warm up
            long before = residentKib();
            drop(zel, DIGESTS);
            System.out.println(residentKib() - before);
        }

        private static void drop(Provider zel, int count) throws Exception {
            Cipher kept = Cipher.getInstance("AES/CBC/PKCS5Padding", zel);
            Signature keptSignature = Signature.getInstance("SHA1withDSA", zel);
            for (int i = 0; i < count; ++i) {
                MessageDigest digest = MessageDigest.getInstance(i % 2 == 0 ? "SHA-1" : "SHA-256", zel);
                digest.update(new byte[i % 8 == 0 ? 5000 : 1]); // with an engine, or without
                ((MessageDigest) digest.clone()).digest();
                digest.digest();
                if (i % 4 == 0) { // a new cipher, and a kept one
                    for (Cipher cipher : List.of(Cipher.getInstance("AES/CBC/PKCS5Padding", zel), kept)) {
                        cipher.init(Cipher.ENCRYPT_MODE, new SecretKeySpec(new byte[32], "AES"),
                                new IvParameterSpec(new byte[16]));
                        cipher.doFinal(new byte[i % 8 == 0 ? 5000 : 1]);
                    }
                }
                if (i % 64 == 0) { // a new signature, and a kept one whose every message takes the key again
                    for (Signature signature : List.of(Signature.getInstance("SHA1withDSA", zel), keptSignature)) {
                        signature.initVerify(key);
                        signature.update((byte) i);
                        signature.initVerify(key);
                    }
                }
            }
        }

        private static long residentKib() throws Exception {
            for (int i = 0; i < 4; ++i) {
                System.gc();
                Thread.sleep(500); // for the cleaner
            }
            String resident = Files.readAllLines(Path.of("/proc/self/status")).stream()
                    .filter(line -> line.startsWith("VmRSS:")).findAny().get();
            return Long.parseLong(resident.replaceAll("[^0-9]", ""));
        }
    }

    /** Run in a child: prints how often the prime of a key stands in the Java heap while many objects have that key. */
    public static final class Signers {
        public static void main(String[] args) throws Exception {
            RSAPrivateCrtKey key = (RSAPrivateCrtKey) KeyFactory.getInstance("RSA", "SunRsaSign")
                    .generatePrivate(new PKCS8EncodedKeySpec(Files.readAllBytes(Path.of(args[1]))));
            Signature[] signatures = new Signature[SIGNERS];
            for (int i = 0; i < SIGNERS; ++i) {
                signatures[i] = TestKeys.signing("SHA256withRSA", new KeyPair(null, key), TestKeys.ZEL);
                signatures[i].sign();
                signatures[i].update((byte) 1);
            }
            ManagementFactory.getPlatformMXBean(HotSpotDiagnosticMXBean.class).dumpHeap(args[0], false);
            String content = Files.readString(Path.of(args[0]), StandardCharsets.ISO_8859_1);
            // Without the sign byte; a BigInteger stands there in the same order.
            String prime = new String(key.getPrimeP().toByteArray(), 1, 64, StandardCharsets.ISO_8859_1);
            System.out.println(content.split(Pattern.quote(prime), -1).length - 1);
            Reference.reachabilityFence(signatures);
        }
    }

    /** But by the key itself, and by the reading of it. */
    @Test
    void privateKeysAreNotCopied(@TempDir Path folder) throws Exception {
        Path key = Files.write(folder.resolve("key"), TestKeys.jdkPair("RSA", 1024).getPrivate().getEncoded());
        String count = ChildJvm.outputOf(Signers.class, List.of("-Xmx256m", "-XX:+UseSerialGC"),
                folder.resolve("heap.hprof").toString(), key.toString()).strip();
        assertTrue(Integer.parseInt(count) > 0 && Integer.parseInt(count) < SIGNERS, count + " copies");
    }

    @Test
    void aMillionDroppedDigests() throws Exception {
        // An engine and its context take about 250 bytes: kept, they would make 240 MiB.
        long grownKib = Long.parseLong(
                ChildJvm.outputOf(Dropper.class, List.of("-Xmx64m", "-Xms64m", "-XX:+AlwaysPreTouch")).strip());
        assertTrue(grownKib < 48 * 1024, "grown by " + grownKib + " KiB");
    }
}
