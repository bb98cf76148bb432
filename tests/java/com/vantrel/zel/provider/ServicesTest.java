package com.vantrel.zel.provider;

import static com.vantrel.zel.provider.TestKeys.*;
import static org.junit.jupiter.api.Assertions.*;

import com.sun.management.HotSpotDiagnosticMXBean;
import com.vantrel.zel.provider.internal.SelfTest;
import java.lang.management.ManagementFactory;
import java.lang.ref.Reference;
import java.nio.ByteBuffer;
import java.nio.channels.FileChannel;
import java.nio.file.*;
import java.security.*;
import java.security.interfaces.RSAPrivateCrtKey;
import java.security.spec.PKCS8EncodedKeySpec;
import java.util.*;
import java.util.stream.IntStream;
import javax.crypto.*;
import javax.crypto.spec.*;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

/** What random uses do not show: names, parameters, keys, messages of nothing at all, and what the provider reports of itself. */
class ServicesTest {
    private static final String TRANSFORMATION = "AES/CBC/PKCS5Padding";
    private static final SecretKey KEY = new SecretKeySpec(randomBytes(32), "AES");
    private static final int USES = 100;
    private static final IvParameterSpec IV = new IvParameterSpec(randomBytes(16));

    private static Cipher zel(int mode) throws Exception {
        Cipher cipher = Cipher.getInstance(TRANSFORMATION, ZEL);
        cipher.init(mode, KEY, IV);
        return cipher;
    }

    @Test
    void testsItself() {
        SelfTestResult well = new ZelSecurityProvider().selfTest();
        assertTrue(well.isPassed() && well.toString().startsWith("passed {"), well.toString());
        Provider wrong = new Provider("Wrong", "1", "") { };
        wrong.put("MessageDigest.SHA-1", "sun.security.provider.SHA2$SHA256");
        SelfTestResult result = new SelfTestResult(SelfTest.run(wrong));
        assertEquals("wrong digest of a short message", result.failures().get("SHA-1"));
        assertTrue(!result.isPassed() && result.toString().startsWith("failed {SHA-1=wrong digest"), result.toString());
    }

    /** For each of our services, whatever name the JDK's own provider knows it by. */
    @Test
    void answersToEveryNameThatTheJdkKnows() {
        List<String> names = new ArrayList<>();
        for (String jdk : List.of("SUN", "SunRsaSign", "SunJCE")) {
            Security.getProvider(jdk).forEach((entry, name) -> {
                String[] words = entry.toString().split("\\.", 4); // Alg, Alias, type and alias
                Provider.Service ours = entry.toString().startsWith("Alg.Alias.") ? ZEL.getService(words[2], name.toString()) : null;
                if (ours != null) {
                    assertSame(ours, ZEL.getService(words[2], words[3]), entry.toString());
                    names.add(words[3]);
                }
            });
        }
        assertTrue(names.size() > 20, names.toString());
    }

    @Test
    void refusedCallsLeaveADigestAlone() throws Exception {
        MessageDigest digest = MessageDigest.getInstance("SHA-256", ZEL);
        digest.update((byte) 1);
        assertRefuses("DigestException: insufficient space for digest", () -> digest.digest(new byte[40], 0, 31));
        assertRefuses("DigestException: insufficient space for digest", () -> digest.digest(new byte[40], -1, 32));
        assertRefuses("ArrayIndexOutOfBoundsException: offset or length out of range", () -> digest.update(new byte[3], -1, 2));
        assertRefuses("ArrayIndexOutOfBoundsException: offset or length out of range", () -> digest.update(new byte[3], 1, -1));
        assertArrayEquals(MessageDigest.getInstance("SHA-256", "SUN").digest(new byte[] {1}), digest.digest());
    }

    @Test
    void leavesOtherCiphersToOthers() throws Exception {
        for (String other : List.of("AES", "AES/CBC/NoPadding", "2.16.840.1.101.3.4.1.42")) {
            assertThrows(NoSuchAlgorithmException.class, () -> Cipher.getInstance(other, ZEL));
        }
        assertEquals(ZEL, Cipher.getInstance("AES_256/CBC/PKCS5Padding", ZEL).getProvider());
    }

    @Test
    void nothingAtAll() throws Exception {
        assertEquals(16, zel(Cipher.ENCRYPT_MODE).doFinal().length);
        assertEquals(0, zel(Cipher.DECRYPT_MODE).doFinal().length);
        assertEquals(0, zel(Cipher.DECRYPT_MODE).doFinal(new byte[3], 3));
        assertRefuses("ShortBufferException: output buffer has insufficient space",
                () -> zel(Cipher.ENCRYPT_MODE).update(new byte[32], 0, 32, new byte[31]));
        assertRefuses("BadPaddingException: invalid source buffer size", () -> zel(Cipher.DECRYPT_MODE).doFinal(new byte[17]));
        Cipher fresh = Cipher.getInstance(TRANSFORMATION, ZEL);
        assertEquals(16, fresh.getBlockSize());
        assertNull(fresh.getIV());
        assertNull(fresh.getParameters());
        assertThrows(IllegalStateException.class, fresh::doFinal);
    }

    @Test
    void parametersAndIvs() throws Exception {
        Cipher cipher = Cipher.getInstance(TRANSFORMATION, ZEL);
        cipher.init(Cipher.ENCRYPT_MODE, KEY);
        byte[] iv = cipher.getIV();
        byte[] ciphertext = cipher.doFinal(new byte[20]);
        AlgorithmParameters parameters = cipher.getParameters();
        assertArrayEquals(iv, parameters.getParameterSpec(IvParameterSpec.class).getIV());
        cipher.init(Cipher.ENCRYPT_MODE, KEY);
        assertFalse(Arrays.equals(iv, cipher.getIV()));
        cipher.init(Cipher.DECRYPT_MODE, KEY, parameters);
        assertArrayEquals(new byte[20], cipher.doFinal(ciphertext));
        cipher.getIV()[0] ^= 1; // a copy
        assertArrayEquals(iv, cipher.getIV());

        assertRefuses("InvalidKeyException: decryption needs the IV as a parameter", () -> cipher.init(Cipher.DECRYPT_MODE, KEY));
        String refusal = "InvalidAlgorithmParameterException: ";
        PBEParameterSpec noIv = new PBEParameterSpec(new byte[8], 1);
        AlgorithmParameters foreign = AlgorithmParameters.getInstance("PBE");
        foreign.init(noIv);
        assertRefuses(refusal + "invalid iv provided", () -> cipher.init(Cipher.DECRYPT_MODE, KEY, new IvParameterSpec(new byte[12])));
        assertRefuses(refusal + "an IvParameterSpec is needed", () -> cipher.init(Cipher.DECRYPT_MODE, KEY, noIv));
        assertRefuses(refusal + "an IvParameterSpec is needed", () -> cipher.init(Cipher.DECRYPT_MODE, KEY, (IvParameterSpec) null));
        assertRefuses(refusal + "the parameters hold no IV", () -> cipher.init(Cipher.ENCRYPT_MODE, KEY, foreign));
        Object[][] wrongKeys = {{null, "key is null"}, {new SecretKeySpec(new byte[16], "AES"), "invalid key size"},
            {new SecretKeySpec(new byte[33], "AES"), "invalid key size"},
            {new SecretKeySpec(new byte[32], "HmacSHA256"), "not an AES key in raw form: HmacSHA256"},
            {jdkPair("RSA", 1024).getPrivate(), "not an AES key in raw form: RSA"}};
        for (Object[] row : wrongKeys) {
            assertRefuses("InvalidKeyException: " + row[1], () -> cipher.init(Cipher.ENCRYPT_MODE, (Key) row[0], IV));
            assertRefuses("InvalidKeyException: " + row[1], () -> cipher.init(Cipher.ENCRYPT_MODE, (Key) row[0]));
        }
    }

    @Test
    void wrapsKeysOfEveryKind() throws Exception {
        Cipher wrapping = zel(Cipher.WRAP_MODE);
        Cipher unwrapping = zel(Cipher.UNWRAP_MODE);
        KeyPair rsa = jdkPair("RSA", 1024);
        Key lent = oddKey(SecretKey.class, "RAW", KEY.getEncoded());
        byte[] wrapped = wrapping.wrap(lent);
        assertArrayEquals(wrapped, wrapping.wrap(lent), "the caller's array has changed");
        assertEquals(KEY, unwrapping.unwrap(wrapped, "AES", Cipher.SECRET_KEY));
        assertEquals(rsa.getPrivate(), unwrapping.unwrap(wrapping.wrap(rsa.getPrivate()), "RSA", Cipher.PRIVATE_KEY));
        assertEquals(rsa.getPublic(), unwrapping.unwrap(wrapping.wrap(rsa.getPublic()), "RSA", Cipher.PUBLIC_KEY));
        assertRefuses("InvalidKeyException: no wrapped key, or wrapped with another one",
                () -> unwrapping.unwrap(new byte[48], "AES", Cipher.SECRET_KEY));
        assertRefuses("InvalidKeyException: the unwrapped bytes are no such key",
                () -> unwrapping.unwrap(wrapped, "RSA", Cipher.PRIVATE_KEY));
        assertThrows(NoSuchAlgorithmException.class, () -> unwrapping.unwrap(wrapped, "None", Cipher.PUBLIC_KEY));
    }

    /** Run in a child: prints how often a private key's prime, and a plaintext, stand in the Java heap after many uses, also in dead objects. */
    public static final class Secrets {
        public static void main(String[] args) throws Exception {
            RSAPrivateCrtKey rsa = (RSAPrivateCrtKey) KeyFactory.getInstance("RSA", "SunRsaSign")
                    .generatePrivate(new PKCS8EncodedKeySpec(Files.readAllBytes(Path.of(args[0], "key"))));
            byte[] plaintext = Arrays.copyOf(randomBytes(5000), 5008); // no padding at its end, nor after 32 bytes
            plaintext[31] = 0;
            Cipher theirs = Cipher.getInstance("AES/CBC/NoPadding", "SunJCE");
            theirs.init(Cipher.ENCRYPT_MODE, KEY, IV);
            byte[] ciphertext = theirs.doFinal(plaintext);
            byte[] padded = zel(Cipher.ENCRYPT_MODE).doFinal(plaintext, 0, 32);
            byte[] output = new byte[padded.length];
            Signature[] signatures = new Signature[USES];
            for (int i = 0; i < USES; ++i) {
                signatures[i] = signing("SHA256withRSA", new KeyPair(null, rsa), ZEL);
                signatures[i].sign();
                signatures[i].update((byte) 1);
                Cipher cipher = zel(Cipher.DECRYPT_MODE);
                assertThrows(BadPaddingException.class, () -> cipher.doFinal(ciphertext));
                assertThrows(BadPaddingException.class, () -> cipher.doFinal(ciphertext, 0, 32));
                assertThrows(BadPaddingException.class, () -> cipher.doFinal(ciphertext, 0, 32, output));
                cipher.doFinal(padded, 0, padded.length, output);
            }
            Path dump = Path.of(args[0], "heap.hprof");
            ManagementFactory.getPlatformMXBean(HotSpotDiagnosticMXBean.class).dumpHeap(dump.toString(), false);
            try (FileChannel file = FileChannel.open(dump)) {
                ByteBuffer content = file.map(FileChannel.MapMode.READ_ONLY, 0, file.size());
                for (long part : new long[] {rsa.getPrimeP().shiftRight(64).longValue(), ByteBuffer.wrap(plaintext).getLong(16)}) {
                    System.out.println(IntStream.range(0, content.limit() - 7).filter(i -> content.getLong(i) == part).count());
                }
            }
            Reference.reachabilityFence(signatures);
        }
    }

    @Test
    void secretsDoNotPileUp(@TempDir Path folder) throws Exception {
        Files.write(folder.resolve("key"), jdkPair("RSA", 1024).getPrivate().getEncoded());
        String said = ChildJvm.run(Secrets.class, List.of("-Xmx256m", "-XX:+UseSerialGC"), folder.toString());
        assertTrue(said.lines().mapToInt(Integer::parseInt).allMatch(count -> count > 0 && count < USES), said);
    }
}
