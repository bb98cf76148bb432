package com.vantrel.zel.provider;

import static com.vantrel.zel.provider.TestKeys.*;
import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;
import static org.junit.jupiter.api.Assumptions.assumeTrue;

import com.sun.management.HotSpotDiagnosticMXBean;
import java.io.File;
import java.lang.management.ManagementFactory;
import java.lang.ref.Reference;
import java.lang.reflect.Proxy;
import java.math.BigInteger;
import java.nio.charset.StandardCharsets;
import java.nio.file.Files;
import java.nio.file.Path;
import java.security.InvalidAlgorithmParameterException;
import java.security.InvalidKeyException;
import java.security.InvalidParameterException;
import java.security.Key;
import java.security.KeyFactory;
import java.security.KeyPair;
import java.security.KeyPairGenerator;
import java.security.MessageDigest;
import java.security.PrivateKey;
import java.security.PublicKey;
import java.security.Signature;
import java.security.SignatureException;
import java.security.interfaces.DSAParams;
import java.security.interfaces.DSAPrivateKey;
import java.security.interfaces.DSAPublicKey;
import java.security.interfaces.RSAPrivateCrtKey;
import java.security.interfaces.RSAPrivateKey;
import java.security.interfaces.RSAPublicKey;
import java.security.spec.DSAParameterSpec;
import java.security.spec.DSAPrivateKeySpec;
import java.security.spec.DSAPublicKeySpec;
import java.security.spec.PKCS8EncodedKeySpec;
import java.security.spec.RSAKeyGenParameterSpec;
import java.security.spec.RSAPrivateCrtKeySpec;
import java.security.spec.RSAPrivateKeySpec;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import java.util.concurrent.TimeUnit;
import java.util.regex.Pattern;
import java.util.stream.Stream;
import javax.crypto.Cipher;
import javax.crypto.SecretKey;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.condition.EnabledOnOs;
import org.junit.jupiter.api.condition.OS;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.Arguments;
import org.junit.jupiter.params.provider.MethodSource;
import org.junit.jupiter.params.provider.ValueSource;

/** The keys of signatures: which are taken, which are made, and what becomes of the caller's; the JDK and openssl are the oracles. */
class SignatureKeysTest {
    private static final int SIGNERS = 100;

    static Stream<Arguments> badKeys() throws Exception {
        KeyPair rsa = jdkPair("RSA", 1024);
        KeyPair dsa = jdkPair("DSA", 1024);
        KeyPair dsa2048 = jdkPair("DSA", 2048);
        DSAPublicKey y = (DSAPublicKey) dsa.getPublic();
        RSAPrivateCrtKey crt = (RSAPrivateCrtKey) rsa.getPrivate();
        BigInteger n = crt.getModulus();
        BigInteger f4 = crt.getPublicExponent();
        KeyFactory rsaKeys = KeyFactory.getInstance("RSA", "SunRsaSign");
        KeyFactory dsaKeys = KeyFactory.getInstance("DSA", "SUN");
        PrivateKey withoutCrt = rsaKeys.generatePrivate(new RSAPrivateKeySpec(n, crt.getPrivateExponent()));
        PrivateKey otherPrimes = rsaKeys.generatePrivate(new RSAPrivateCrtKeySpec(n, f4, crt.getPrivateExponent(),
                crt.getPrimeP().add(BigInteger.TWO), crt.getPrimeQ(), crt.getPrimeExponentP(), crt.getPrimeExponentQ(),
                crt.getCrtCoefficient()));
        PublicKey yOfOne = dsaKeys.generatePublic(new DSAPublicKeySpec(BigInteger.ONE, y.getParams().getP(),
                y.getParams().getQ(), y.getParams().getG()));
        PrivateKey shortX = dsaKeys.generatePrivate(new DSAPrivateKeySpec(BigInteger.ONE.shiftLeft(110),
                y.getParams().getP(), y.getParams().getQ(), y.getParams().getG()));
        PrivateKey pss = keyPair("RSASSA-PSS", 1024, jdkOf("RSA")).getPrivate();
        byte[] x509 = rsa.getPublic().getEncoded();
        Object destroyed = Proxy.newProxyInstance(SignatureTest.class.getClassLoader(), new Class<?>[] {RSAPublicKey.class},
                (proxy, method, arguments) -> {
                    throw new IllegalStateException("destroyed");
                });
        BigInteger p = crt.getPrimeP();
        BigInteger q = crt.getPrimeQ();
        String notItsPrimes = "the primes of the RSA key do not make its modulus";
        String range = "RSA keys must have 512 to 16384 bits, not ";
        return Stream.of(
                Arguments.of("RSA", null, "key is null"),
                Arguments.of("DSA", null, "key is null"),
                Arguments.of("RSA", dsa.getPublic(), "not a RSAPublicKey: DSA"),
                Arguments.of("DSA", rsa.getPrivate(), "not a DSAPrivateKey: RSA"),
                Arguments.of("RSA", pss, "the key is not for the algorithm RSA"),
                Arguments.of("RSA", oddKey("X.509", null), "the key has no encoding in the format X.509"),
                Arguments.of("RSA", destroyed, "the key does not give its encoding: destroyed"),
                Arguments.of("RSA", oddKey("RAW", x509), "the key has no encoding in the format X.509"),
                Arguments.of("RSA", oddKey("X.509", Arrays.copyOf(x509, 40)),
                        "the key's encoding cannot be read: an element that runs past the end"),
                Arguments.of("RSA", oddKey("X.509", new byte[0]), "the key's encoding cannot be read: ends too early"),
                Arguments.of("RSA", oddKey("X.509", Arrays.copyOf(x509, x509.length + 1)),
                        "the key's encoding cannot be read: bytes behind the end"),
                Arguments.of("RSA", oddKey("X.509", Arrays.copyOf(x509, 40_000)),
                        "the key's encoding has more than 32768 bytes: 40000"),
                Arguments.of("RSA", oddRsa(BigInteger.ONE.shiftLeft(16384).add(BigInteger.ONE), f4), range + "16385"),
                Arguments.of("RSA", oddRsa(BigInteger.ONE.shiftLeft(510).add(BigInteger.ONE), f4), range + "511"),
                Arguments.of("RSA", oddRsa(n.add(BigInteger.ONE), f4), "the RSA modulus is even"),
                Arguments.of("RSA", oddRsa(n, BigInteger.ZERO), "the public exponent is not an odd number above 1"),
                Arguments.of("RSA", oddRsa(n, BigInteger.valueOf(4)), "the public exponent is not an odd number above 1"),
                Arguments.of("RSA", oddRsa(n, BigInteger.ONE.shiftLeft(32).add(BigInteger.ONE)),
                        "public exponents of more than 32 bits are not supported"),
                Arguments.of("RSA", withoutCrt, "the RSA key lacks the values of the Chinese remainder theorem"),
                Arguments.of("RSA", otherPrimes, notItsPrimes),
                Arguments.of("RSA", oddRsa(0, n, f4, n, BigInteger.ONE), notItsPrimes),
                Arguments.of("RSA", oddRsa(0, p.pow(2), f4, p, p), notItsPrimes),
                Arguments.of("RSA", oddRsa(0, p.clearBit(511), f4, p, q), range + p.clearBit(511).bitLength()),
                Arguments.of("RSA", oddRsa(0, n, f4.shiftLeft(17), p, q),
                        "public exponents of more than 32 bits are not supported"),
                Arguments.of("RSA", oddRsa(1, n, f4, p, q), "RSA keys of more than two primes are not supported"),
                Arguments.of("RSA", oddRsa(0, n, f4, p, q, f4), "the key's encoding cannot be read: bytes behind the end"),
                Arguments.of("DSA", yOfOne, "the value y of the DSA key is out of range"),
                Arguments.of("DSA", shortX, "the value x of the DSA key is out of range"),
                Arguments.of("DSA", dsa2048.getPublic(),
                        "only DSA keys with a p of 1024 bits and a q of 160 bits are supported, not of 2048 and 224"),
                Arguments.of("DSA", dsa2048.getPrivate(),
                        "only DSA keys with a p of 1024 bits and a q of 160 bits are supported, not of 2048 and 224"));
    }

    @ParameterizedTest(name = "{0}: {2}")
    @MethodSource("badKeys")
    void refusesKeys(String kind, Key key, String message) throws Exception {
        Signature signature = Signature.getInstance("SHA1with" + kind, ZEL);
        boolean isPrivate = key instanceof PrivateKey;
        assertEquals(message, assertThrows(InvalidKeyException.class, () -> {
            if (isPrivate) {
                signature.initSign((PrivateKey) key);
            } else {
                signature.initVerify((PublicKey) key);
            }
        }).getMessage());
        assertThrows(SignatureException.class, () -> signature.update((byte) 1));
    }

    /** Keys need not give copies: what is zeroed and what is rewritten for the engine is never the caller's array. */
    @Test
    void leavesTheCallersKeysAsTheyAre() throws Exception {
        KeyPairGenerator generator = KeyPairGenerator.getInstance("RSA", "SunRsaSign");
        generator.initialize(new RSAKeyGenParameterSpec(1024, new BigInteger("FFFFFFFB", 16)));
        for (KeyPair pair : List.of(generator.generateKeyPair(), jdkPair("DSA", 1024))) {
            boolean isRsa = pair.getPublic() instanceof RSAPublicKey;
            byte[] privateBytes = pair.getPrivate().getEncoded();
            byte[] publicBytes = pair.getPublic().getEncoded();
            Class<? extends PrivateKey> privateType = isRsa ? RSAPrivateKey.class : DSAPrivateKey.class;
            Class<? extends PublicKey> publicType = isRsa ? RSAPublicKey.class : DSAPublicKey.class;
            PrivateKey privateKey = oddKey(privateType, "PKCS#8", privateBytes);
            PublicKey publicKey = oddKey(publicType, "X.509", publicBytes);
            Signature signature = Signature.getInstance(isRsa ? "SHA256withRSA" : "SHA1withDSA", ZEL);
            for (int round = 0; round < 2; ++round) {
                signature.initSign(privateKey);
                signature.initSign(privateKey);
                byte[] signed = signature.sign();
                signature.initVerify(publicKey);
                signature.initVerify(publicKey);
                assertTrue(signature.verify(signed));
            }
            assertArrayEquals(pair.getPrivate().getEncoded(), privateBytes);
            assertArrayEquals(pair.getPublic().getEncoded(), publicBytes);
        }
        byte[] bytes = randomBytes(32);
        byte[] before = bytes.clone();
        Cipher cipher = Cipher.getInstance("AES/CBC/PKCS5Padding", ZEL);
        cipher.init(Cipher.WRAP_MODE, oddKey(SecretKey.class, "RAW", bytes));
        cipher.wrap(oddKey(SecretKey.class, "RAW", bytes));
        assertArrayEquals(before, bytes);
    }

    /** A key that is refused leaves the object as it was, as with the JDK's; one that the engine fails with, uninitialised. */
    @ParameterizedTest
    @ValueSource(strings = {"SHA1withRSA", "SHA256withRSA", "SHA1withDSA"})
    void standsFailedInits(String algorithm) throws Exception {
        boolean isDsa = algorithm.endsWith("DSA");
        KeyPair pair = jdkPair(keysOf(algorithm), 1024);
        PrivateKey ofAnotherKind = jdkPair(isDsa ? "RSA" : "DSA", 1024).getPrivate();
        Signature signature = signing(algorithm, pair, ZEL);
        signature.update((byte) 1);
        assertThrows(InvalidKeyException.class, () -> signature.initSign(ofAnotherKind));
        signature.update((byte) 2);
        Signature theirs = verifying(algorithm, pair, jdkOf(algorithm));
        theirs.update(new byte[] {1, 2});
        assertTrue(theirs.verify(signature.sign()));
        byte[] ofVersion5 = pair.getPrivate().getEncoded();
        ofVersion5[6] = 5; // behind the heads of a SEQUENCE with a length of two bytes and of the INTEGER
        Class<? extends PrivateKey> type = isDsa ? DSAPrivateKey.class : RSAPrivateKey.class;
        PrivateKey forTheEngine = oddKey(type, "PKCS#8", ofVersion5);
        assertThrows(InvalidKeyException.class, () -> signature.initSign(forTheEngine));
        assertThrows(SignatureException.class, signature::sign);
    }

    /** The longest key; since making one takes minutes, the modulus is made for a given signature: s^3 less its message. */
    @Test
    void verifiesWithKeysOf16384Bits() throws Exception {
        byte[] message = randomBytes(50);
        String hash = String.format("%064x", new BigInteger(1, MessageDigest.getInstance("SHA-256", "SUN").digest(message)));
        BigInteger encoded = new BigInteger( // RFC 8017, 9.2
                "0001" + "ff".repeat(2048 - 54) + "00" + "3031300d060960864801650304020105000420" + hash, 16);
        BigInteger s = BigInteger.ONE.shiftLeft(5461).setBit(5458).add(encoded.not().and(BigInteger.ONE)); // for an odd modulus
        BigInteger n = s.pow(3).subtract(encoded);
        assertEquals(16384, n.bitLength());
        byte[] signed = new byte[2048];
        byte[] bytes = s.toByteArray();
        System.arraycopy(bytes, 0, signed, signed.length - bytes.length, bytes.length);
        Signature signature = Signature.getInstance("SHA256withRSA", ZEL);
        signature.initVerify(oddRsa(n, BigInteger.valueOf(3)));
        signature.update(message);
        assertTrue(signature.verify(signed));
        assertFalse(signature.verify(signed), "the signature of another message");
    }

    /** What openssl does not see below: sizes, exponents, and parameters that would be ignored. */
    @Test
    void generatesKeyPairsOfGivenSizesOnly() throws Exception {
        KeyPairGenerator rsa = KeyPairGenerator.getInstance("RSA", ZEL);
        assertEquals(2048, ((RSAPublicKey) rsa.generateKeyPair().getPublic()).getModulus().bitLength());
        rsa.initialize(new RSAKeyGenParameterSpec(1152, RSAKeyGenParameterSpec.F4));
        RSAPrivateCrtKey key = (RSAPrivateCrtKey) rsa.generateKeyPair().getPrivate();
        assertEquals(1152, key.getModulus().bitLength());
        assertEquals(RSAKeyGenParameterSpec.F4, key.getPublicExponent());
        for (int bits : new int[] {-1024, 0, 512, 1023, 1100, 16512, Integer.MAX_VALUE}) {
            assertThrows(InvalidParameterException.class, () -> rsa.initialize(bits));
            assertThrows(InvalidAlgorithmParameterException.class,
                    () -> rsa.initialize(new RSAKeyGenParameterSpec(bits, RSAKeyGenParameterSpec.F4)));
        }
        KeyPairGenerator dsa = KeyPairGenerator.getInstance("DSA", ZEL);
        DSAParams params = ((DSAPrivateKey) dsa.generateKeyPair().getPrivate()).getParams();
        assertEquals(1024, params.getP().bitLength());
        assertEquals(BigInteger.ONE, params.getP().mod(params.getQ()));
        assertTrue(params.getP().isProbablePrime(60) && params.getQ().isProbablePrime(60));
        for (int bits : new int[] {512, 1023, 2048, -1}) {
            assertThrows(InvalidParameterException.class, () -> dsa.initialize(bits));
        }
        DSAParameterSpec given = new DSAParameterSpec(params.getP(), params.getQ(), params.getG());
        RSAKeyGenParameterSpec exponent3 = new RSAKeyGenParameterSpec(1024, BigInteger.valueOf(3));
        assertThrows(InvalidAlgorithmParameterException.class, () -> dsa.initialize(given));
        assertThrows(InvalidAlgorithmParameterException.class, () -> rsa.initialize(given));
        assertThrows(InvalidAlgorithmParameterException.class, () -> rsa.initialize(exponent3));
    }

    private static void assumeOpenssl() {
        assumeTrue(Stream.of(System.getenv("PATH").split(File.pathSeparator))
                .anyMatch(path -> new File(path, "openssl").exists()), "there is no openssl command");
    }

    private static String openssl(Path folder, String... arguments) throws Exception {
        List<String> command = new ArrayList<>(List.of("openssl"));
        command.addAll(List.of(arguments));
        Path out = folder.resolve("out");
        Process process = new ProcessBuilder(command).directory(folder.toFile()).redirectErrorStream(true)
                .redirectOutput(out.toFile()).start();
        assertTrue(process.waitFor(60, TimeUnit.SECONDS), () -> command + " does not end");
        String said = new String(Files.readAllBytes(out)).strip();
        assertEquals(0, process.exitValue(), () -> command + ": " + said);
        return said;
    }

    /** Keys as it makes and writes them, which the JDK does not get to see. */
    @ParameterizedTest
    @ValueSource(strings = {"RSA", "DSA"})
    void takesKeysOfOpenssl(String kind, @TempDir Path folder) throws Exception {
        assumeOpenssl();
        if (kind.equals("RSA")) {
            openssl(folder, "genpkey", "-algorithm", "RSA", "-pkeyopt", "rsa_keygen_bits:2048", "-out", "key");
        } else {
            openssl(folder, "genpkey", "-genparam", "-algorithm", "DSA", "-pkeyopt", "dsa_paramgen_bits:1024", "-pkeyopt",
                    "dsa_paramgen_q_bits:160", "-out", "params");
            openssl(folder, "genpkey", "-paramfile", "params", "-out", "key");
        }
        openssl(folder, "pkcs8", "-topk8", "-nocrypt", "-in", "key", "-outform", "DER", "-out", "private");
        openssl(folder, "pkey", "-inform", "DER", "-in", "private", "-pubout", "-outform", "DER", "-out", "public");
        Class<? extends PrivateKey> privateType = kind.equals("RSA") ? RSAPrivateKey.class : DSAPrivateKey.class;
        Class<? extends PublicKey> publicType = kind.equals("RSA") ? RSAPublicKey.class : DSAPublicKey.class;
        Signature signature = Signature.getInstance("SHA1with" + kind, ZEL);
        signature.initSign(oddKey(privateType, "PKCS#8", Files.readAllBytes(folder.resolve("private"))));
        byte[] signed = signature.sign();
        signature.initVerify(oddKey(publicType, "X.509", Files.readAllBytes(folder.resolve("public"))));
        assertTrue(signature.verify(signed));
        Files.write(folder.resolve("ours"), signed);
        Files.write(folder.resolve("message"), new byte[0]);
        assertEquals("Verified OK", openssl(folder, "dgst", "-sha1", "-keyform", "DER", "-verify", "public", "-signature", "ours",
                "message"));
    }

    /** The JDK takes any numbers for a key: what they have to be to each other. */
    @Test
    void generatedKeysAreWhole() throws Exception {
        for (int i = 0; i < 30; ++i) {
            RSAPrivateCrtKey key = (RSAPrivateCrtKey) keyPair("RSA", 1024, ZEL).getPrivate();
            BigInteger p = key.getPrimeP();
            BigInteger q = key.getPrimeQ();
            BigInteger pLess1 = p.subtract(BigInteger.ONE);
            BigInteger qLess1 = q.subtract(BigInteger.ONE);
            assertTrue(p.isProbablePrime(50) && q.isProbablePrime(50));
            assertEquals(key.getModulus(), p.multiply(q));
            assertEquals(BigInteger.ONE, key.getPrivateExponent().multiply(key.getPublicExponent())
                    .mod(pLess1.multiply(qLess1).divide(pLess1.gcd(qLess1))));
            assertEquals(List.of(key.getPrivateExponent().mod(pLess1), key.getPrivateExponent().mod(qLess1), q.modInverse(p)),
                    List.of(key.getPrimeExponentP(), key.getPrimeExponentQ(), key.getCrtCoefficient()));
        }
    }

    /** Run in a child: prints how often the prime of a key stands in the Java heap while many objects have that key. */
    public static final class Signers {
        public static void main(String[] args) throws Exception {
            RSAPrivateCrtKey key = (RSAPrivateCrtKey) KeyFactory.getInstance("RSA", "SunRsaSign")
                    .generatePrivate(new PKCS8EncodedKeySpec(Files.readAllBytes(Path.of(args[1]))));
            Signature[] signatures = new Signature[SIGNERS];
            for (int i = 0; i < SIGNERS; ++i) {
                signatures[i] = signing("SHA256withRSA", new KeyPair(null, key), ZEL);
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
    @EnabledOnOs(OS.LINUX)
    void privateKeysAreNotCopied(@TempDir Path folder) throws Exception {
        Path key = Files.write(folder.resolve("key"), jdkPair("RSA", 1024).getPrivate().getEncoded());
        String count = ChildJvm.outputOf(Signers.class, List.of("-Xmx256m", "-XX:+UseSerialGC"),
                folder.resolve("heap.hprof").toString(), key.toString()).strip();
        assertTrue(Integer.parseInt(count) > 0 && Integer.parseInt(count) < SIGNERS, count + " copies");
    }
}
