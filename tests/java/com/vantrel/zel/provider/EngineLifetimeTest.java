package com.vantrel.zel.provider;

import static org.junit.jupiter.api.Assertions.assertTrue;

import java.nio.file.Files;
import java.nio.file.Path;
import java.security.KeyPairGenerator;
import java.security.MessageDigest;
import java.security.Provider;
import java.security.PublicKey;
import java.security.Signature;
import java.util.List;
import javax.crypto.Cipher;
import javax.crypto.spec.IvParameterSpec;
import javax.crypto.spec.SecretKeySpec;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.condition.EnabledOnOs;
import org.junit.jupiter.api.condition.OS;

/** Native memory comes back when Java objects are dropped. Linux says how much a process has. */
@EnabledOnOs(OS.LINUX)
class EngineLifetimeTest {
    private static final int DIGESTS = 1_000_000;

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
                digest.update((byte) i);
                digest.digest();
                if (i % 4 == 0) { // a new cipher, and a kept one whose every init takes a new engine
                    for (Cipher cipher : List.of(Cipher.getInstance("AES/CBC/PKCS5Padding", zel), kept)) {
                        cipher.init(Cipher.ENCRYPT_MODE, new SecretKeySpec(new byte[32], "AES"),
                                new IvParameterSpec(new byte[16]));
                        cipher.doFinal();
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

    @Test
    void aMillionDroppedDigests() throws Exception {
        // An engine and its context take about 250 bytes: kept, they would make 240 MiB.
        long grownKib = Long.parseLong(
                ChildJvm.outputOf(Dropper.class, List.of("-Xmx64m", "-Xms64m", "-XX:+AlwaysPreTouch")).strip());
        assertTrue(grownKib < 48 * 1024, "grown by " + grownKib + " KiB");
    }
}
