package com.vantrel.zel.provider;

import static com.vantrel.zel.provider.TestKeys.*;
import static org.junit.jupiter.api.Assertions.*;

import com.sun.management.HotSpotDiagnosticMXBean;
import com.vantrel.zel.provider.internal.SelfTest;
import java.lang.management.ManagementFactory;
import java.lang.ref.Reference;
import java.lang.reflect.Proxy;
import java.math.BigInteger;
import java.nio.ByteBuffer;
import java.nio.channels.FileChannel;
import java.nio.file.*;
import java.security.*;
import java.security.interfaces.*;
import java.security.spec.*;
import java.util.*;
import java.util.stream.IntStream;
import javax.crypto.*;
import javax.crypto.spec.*;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;

/** What random uses do not show: names, parameters, odd keys, messages of nothing, and what the provider says of itself. */
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

    /** For each of our services, whatever name the JDK's own provider knows it by; other ciphers are left to others. */
    @Test
    void answersToEveryNameThatTheJdkKnows() throws Exception {
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
        for (String other : List.of("AES", "AES/CBC/NoPadding", "2.16.840.1.101.3.4.1.42")) {
            assertThrows(NoSuchAlgorithmException.class, () -> Cipher.getInstance(other, ZEL));
        }
        assertEquals(ZEL, Cipher.getInstance("AES_256/CBC/PKCS5Padding", ZEL).getProvider());
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

    @Test
    void refusesKeys() throws Exception {
        KeyPair pair = jdkPair("RSA", 1024);
        RSAPrivateCrtKey rsa = (RSAPrivateCrtKey) pair.getPrivate();
        BigInteger n = rsa.getModulus();
        BigInteger p = rsa.getPrimeP();
        BigInteger q = rsa.getPrimeQ();
        BigInteger one = BigInteger.ONE;
        BigInteger of33Bits = one.shiftLeft(32).setBit(0);
        byte[] x509 = pair.getPublic().getEncoded();
        KeyFactory dsa = KeyFactory.getInstance("DSA", "SUN");
        DSAPublicKey dsaKey = (DSAPublicKey) jdkPair("DSA", 1024).getPublic();
        BigInteger y = dsaKey.getY();
        BigInteger dsaP = dsaKey.getParams().getP();
        BigInteger dsaQ = dsaKey.getParams().getQ();
        BigInteger g = dsaKey.getParams().getG();
        Object destroyed = Proxy.newProxyInstance(ServicesTest.class.getClassLoader(), new Class<?>[] {RSAPublicKey.class},
                (proxy, method, arguments) -> {
                    throw new IllegalStateException("destroyed");
                });
        String unreadable = "the key's encoding cannot be read: ";
        String range = "RSA keys must have 512 to 16384 bits, not ";
        Object[][] refused = { // the kind of signature, the message, and keys
            {"RSA", "key is null", null},
            {"RSA", "not a RSAPublicKey: DSA", dsaKey},
            {"DSA", "not a DSAPrivateKey: RSA", rsa},
            {"RSA", "the key is not for the algorithm RSA", keyPair("RSASSA-PSS", 1024, jdkOf("RSA")).getPrivate()},
            {"RSA", "the key has no encoding in the format X.509", odd("X.509", null), odd("RAW", x509)},
            {"RSA", "the key does not give its encoding: destroyed", destroyed},
            {"RSA", unreadable + "an element that runs past the end", odd("X.509", Arrays.copyOf(x509, 40))},
            {"RSA", unreadable + "ends too early", odd("X.509", new byte[0])},
            {"RSA", unreadable + "bytes behind the end", odd("X.509", Arrays.copyOf(x509, x509.length + 1)), oddRsa(0, n, F4, p, q, F4)},
            {"RSA", "the key's encoding has more than 32768 bytes: 32769", odd("X.509", new byte[32769])},
            {"RSA", range + "16385", oddRsa(one.shiftLeft(16384).setBit(0), F4)},
            {"RSA", range + "511", oddRsa(one.shiftLeft(510).setBit(0), F4), oddRsa(0, one.shiftLeft(510).setBit(0), F4, p, q)},
            {"RSA", "the RSA modulus is even", oddRsa(n.clearBit(0), F4)},
            {"RSA", "the public exponent is not an odd number above 1", oddRsa(n, one), oddRsa(n, BigInteger.valueOf(4))},
            {"RSA", "public exponents of more than 32 bits are not supported", oddRsa(n, of33Bits), oddRsa(0, n, of33Bits, p, q)},
            {"RSA", "the RSA key lacks the values of the Chinese remainder theorem",
                oddRsa(0, n, BigInteger.ZERO, BigInteger.ZERO, BigInteger.ZERO)},
            {"RSA", "the primes of the RSA key do not make its modulus", oddRsa(0, n, F4, p.add(BigInteger.TWO), q),
                oddRsa(0, n, F4, n, one), oddRsa(0, p.pow(2), F4, p, p)},
            {"RSA", "RSA keys of more than two primes are not supported", oddRsa(1, n, F4, p, q)},
            {"DSA", "the value y of the DSA key is out of range", dsa.generatePublic(new DSAPublicKeySpec(one, dsaP, dsaQ, g))},
            {"DSA", "the value g of the DSA key is out of range", dsa.generatePublic(new DSAPublicKeySpec(y, dsaP, dsaQ, one)),
                dsa.generatePublic(new DSAPublicKeySpec(y, dsaP, dsaQ, dsaP))},
            {"DSA", "the primes of the DSA key are even", dsa.generatePublic(new DSAPublicKeySpec(y, dsaP.clearBit(0), dsaQ, g)),
                dsa.generatePublic(new DSAPublicKeySpec(y, dsaP, dsaQ.clearBit(0), g))},
            {"DSA", "the value x of the DSA key is out of range", dsa.generatePrivate(new DSAPrivateKeySpec(dsaQ, dsaP, dsaQ, g)),
                dsa.generatePrivate(new DSAPrivateKeySpec(one.shiftLeft(110), dsaP, dsaQ, g))},
            {"DSA", "only DSA keys with a p of 1024 bits and a q of 160 bits are supported, not of 2048 and 224",
                jdkPair("DSA", 2048).getPublic()}};
        for (Object[] row : refused) {
            Signature signature = Signature.getInstance("SHA1with" + row[0], ZEL);
            for (Object key : Arrays.asList(row).subList(2, row.length)) {
                assertRefuses("InvalidKeyException: " + row[1], () -> {
                    if (key instanceof PrivateKey) {
                        signature.initSign((PrivateKey) key);
                    } else {
                        signature.initVerify((PublicKey) key);
                    }
                });
            }
        }
    }

    private static PublicKey odd(String format, byte[] encoded) {
        return oddKey(RSAPublicKey.class, format, encoded);
    }

    @Test
    @SuppressWarnings("deprecation")
    void keepsToTheRulesOfSignature() throws Exception {
        for (String algorithm : List.of("SHA1withRSA", "SHA256withRSA", "SHA1withDSA")) {
            boolean isDsa = algorithm.endsWith("DSA");
            KeyPair pair = jdkPair(algorithm, 1024);
            Signature signature = signing(algorithm, pair, ZEL);
            assertThrows(SignatureException.class, () -> signature.sign(new byte[200], 0, 20));
            assertRefuses("InvalidAlgorithmParameterException: the signature has no parameters",
                    () -> signature.setParameter(PSSParameterSpec.DEFAULT));
            assertRefuses("InvalidParameterException: the signature has no parameters", () -> signature.setParameter("name", "value"));
            assertNull(signature.getParameters());

            // A key that is refused leaves the object as it was, as with the JDK's; one that the engine fails with, uninitialised.
            signature.update((byte) 1);
            assertThrows(InvalidKeyException.class, () -> signature.initSign(jdkPair(isDsa ? "RSA" : "DSA", 1024).getPrivate()));
            signature.update((byte) 2);
            Signature verifying = verifying(algorithm, pair, jdkOf(algorithm));
            verifying.update(new byte[] {1, 2});
            assertTrue(verifying.verify(signature.sign()));
            byte[] ofVersion5 = pair.getPrivate().getEncoded();
            ofVersion5[6] = 5; // behind the heads of a SEQUENCE with a length of two bytes and of the INTEGER
            assertThrows(InvalidKeyException.class, () -> signature.initSign(
                    oddKey(isDsa ? DSAPrivateKey.class : RSAPrivateKey.class, "PKCS#8", ofVersion5)));
            assertRefuses("SignatureException: signature not initialized for signing", signature::sign);
        }
    }

    /** The longest key; since making one takes minutes, the modulus is made for a given signature: s^3 less its message. */
    @Test
    void verifiesWithKeysOf16384Bits() throws Exception {
        String hash = String.format("%064x", new BigInteger(1, MessageDigest.getInstance("SHA-256", "SUN").digest()));
        BigInteger encoded = new BigInteger( // RFC 8017, 9.2
                "0001" + "ff".repeat(2048 - 54) + "00" + "3031300d060960864801650304020105000420" + hash, 16);
        BigInteger s = BigInteger.ONE.shiftLeft(5461).setBit(5458).add(encoded.not().and(BigInteger.ONE)); // for an odd modulus
        Signature signature = Signature.getInstance("SHA256withRSA", ZEL);
        signature.initVerify(oddRsa(s.pow(3).subtract(encoded), BigInteger.valueOf(3)));
        assertTrue(signature.verify(fixed(s, 2048)));
    }

    /** What openssl does not see of the tool's key pairs: sizes, exponents, and parameters that would be ignored. */
    @Test
    void generatesKeyPairsOfGivenSizesOnly() throws Exception {
        KeyPairGenerator rsa = KeyPairGenerator.getInstance("RSA", ZEL);
        assertEquals(2048, ((RSAPublicKey) rsa.generateKeyPair().getPublic()).getModulus().bitLength());
        rsa.initialize(new RSAKeyGenParameterSpec(1152, F4));
        RSAPrivateCrtKey key = (RSAPrivateCrtKey) rsa.generateKeyPair().getPrivate();
        assertEquals(List.of(1152, F4), List.of(key.getModulus().bitLength(), key.getPublicExponent()));
        for (int bits : new int[] {-1024, 0, 512, 1023, 1100, 16512, Integer.MAX_VALUE}) {
            String message = "RSA keys have 1024 to 16384 bits, a multiple of 128, not " + bits;
            assertRefuses("InvalidParameterException: " + message, () -> rsa.initialize(bits));
            assertRefuses("InvalidAlgorithmParameterException: " + message,
                    () -> rsa.initialize(new RSAKeyGenParameterSpec(bits, F4)));
        }
        KeyPairGenerator dsa = KeyPairGenerator.getInstance("DSA", ZEL);
        DSAParams params = ((DSAPrivateKey) dsa.generateKeyPair().getPrivate()).getParams();
        assertEquals(List.of(1024, BigInteger.ONE), List.of(params.getP().bitLength(), params.getP().mod(params.getQ())));
        for (int bits : new int[] {512, 1023, 2048, -1}) {
            assertRefuses("InvalidParameterException: DSA keys have 1024 bits, not " + bits, () -> dsa.initialize(bits));
        }
        DSAParameterSpec given = new DSAParameterSpec(params.getP(), params.getQ(), params.getG());
        String refusal = "InvalidAlgorithmParameterException: ";
        assertRefuses(refusal + "fresh parameters are made for each DSA key pair", () -> dsa.initialize(given));
        assertRefuses(refusal + "an RSAKeyGenParameterSpec is needed", () -> rsa.initialize(given));
        assertRefuses(refusal + "the public exponent is always 65537",
                () -> rsa.initialize(new RSAKeyGenParameterSpec(1024, BigInteger.valueOf(3))));
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
