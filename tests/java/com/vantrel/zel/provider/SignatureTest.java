package com.vantrel.zel.provider;

import static com.vantrel.zel.provider.TestKeys.*;
import static org.junit.jupiter.api.Assertions.*;

import com.sun.management.HotSpotDiagnosticMXBean;
import java.lang.management.ManagementFactory;
import java.lang.ref.Reference;
import java.lang.reflect.Proxy;
import java.math.BigInteger;
import java.nio.charset.StandardCharsets;
import java.nio.file.*;
import java.security.*;
import java.security.interfaces.*;
import java.security.spec.*;
import java.util.*;
import java.util.regex.Pattern;
import java.util.stream.Stream;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.*;

/**
 * What random uses of the signatures do not show: signatures and keys that nobody makes by chance, what becomes of private
 * keys, and the key pairs made here; the JDK is the oracle.
 */
class SignatureTest {
    private static final int SIGNERS = 100;

    static Stream<Arguments> badKeys() throws Exception {
        KeyPair pair = jdkPair("RSA", 1024);
        RSAPrivateCrtKey rsa = (RSAPrivateCrtKey) pair.getPrivate();
        BigInteger n = rsa.getModulus();
        BigInteger p = rsa.getPrimeP();
        BigInteger q = rsa.getPrimeQ();
        BigInteger exponentOf33Bits = BigInteger.ONE.shiftLeft(32).setBit(0);
        byte[] x509 = pair.getPublic().getEncoded();
        KeyPair dsa = jdkPair("DSA", 1024);
        BigInteger y = ((DSAPublicKey) dsa.getPublic()).getY();
        DSAParams dsaParams = ((DSAPublicKey) dsa.getPublic()).getParams();
        BigInteger dsaP = dsaParams.getP();
        BigInteger dsaQ = dsaParams.getQ();
        BigInteger g = dsaParams.getG();
        Object destroyed = Proxy.newProxyInstance(SignatureTest.class.getClassLoader(), new Class<?>[] {RSAPublicKey.class},
                (proxy, method, arguments) -> {
                    throw new IllegalStateException("destroyed");
                });
        String unreadable = "the key's encoding cannot be read: ";
        String notItsPrimes = "the primes of the RSA key do not make its modulus";
        String range = "RSA keys must have 512 to 16384 bits, not ";
        String longExponent = "public exponents of more than 32 bits are not supported";
        String badExponent = "the public exponent is not an odd number above 1";
        String otherSizes = "only DSA keys with a p of 1024 bits and a q of 160 bits are supported, not of 2048 and 224";
        String outOfRange = " of the DSA key is out of range";
        return Stream.of(
                Arguments.of("RSA", null, "key is null"),
                Arguments.of("RSA", dsa.getPublic(), "not a RSAPublicKey: DSA"),
                Arguments.of("DSA", rsa, "not a DSAPrivateKey: RSA"),
                Arguments.of("RSA", keyPair("RSASSA-PSS", 1024, jdkOf("RSA")).getPrivate(), "the key is not for the algorithm RSA"),
                Arguments.of("RSA", oddKey("X.509", null), "the key has no encoding in the format X.509"),
                Arguments.of("RSA", destroyed, "the key does not give its encoding: destroyed"),
                Arguments.of("RSA", oddKey("RAW", x509), "the key has no encoding in the format X.509"),
                Arguments.of("RSA", oddKey("X.509", Arrays.copyOf(x509, 40)), unreadable + "an element that runs past the end"),
                Arguments.of("RSA", oddKey("X.509", new byte[0]), unreadable + "ends too early"),
                Arguments.of("RSA", oddKey("X.509", Arrays.copyOf(x509, x509.length + 1)), unreadable + "bytes behind the end"),
                Arguments.of("RSA", oddKey("X.509", Arrays.copyOf(x509, 40_000)),
                        "the key's encoding has more than 32768 bytes: 40000"),
                Arguments.of("RSA", oddRsa(BigInteger.ONE.shiftLeft(16384).setBit(0), F4), range + "16385"),
                Arguments.of("RSA", oddRsa(BigInteger.ONE.shiftLeft(510).setBit(0), F4), range + "511"),
                Arguments.of("RSA", oddRsa(n.clearBit(0), F4), "the RSA modulus is even"),
                Arguments.of("RSA", oddRsa(n, BigInteger.ZERO), badExponent),
                Arguments.of("RSA", oddRsa(n, BigInteger.valueOf(4)), badExponent),
                Arguments.of("RSA", oddRsa(n, exponentOf33Bits), longExponent),
                Arguments.of("RSA", oddRsa(0, n, exponentOf33Bits, p, q), longExponent),
                Arguments.of("RSA", oddRsa(0, n, BigInteger.ZERO, BigInteger.ZERO, BigInteger.ZERO),
                        "the RSA key lacks the values of the Chinese remainder theorem"),
                Arguments.of("RSA", oddRsa(0, n, F4, p.add(BigInteger.TWO), q), notItsPrimes),
                Arguments.of("RSA", oddRsa(0, n, F4, n, BigInteger.ONE), notItsPrimes),
                Arguments.of("RSA", oddRsa(0, p.pow(2), F4, p, p), notItsPrimes),
                Arguments.of("RSA", oddRsa(0, p.clearBit(511), F4, p, q), range + p.clearBit(511).bitLength()),
                Arguments.of("RSA", oddRsa(1, n, F4, p, q), "RSA keys of more than two primes are not supported"),
                Arguments.of("RSA", oddRsa(0, n, F4, p, q, F4), unreadable + "bytes behind the end"),
                Arguments.of("DSA", key(new DSAPublicKeySpec(BigInteger.ONE, dsaP, dsaQ, g)), "the value y" + outOfRange),
                Arguments.of("DSA", key(new DSAPublicKeySpec(y, dsaP, dsaQ, BigInteger.ONE)), "the value g" + outOfRange),
                Arguments.of("DSA", key(new DSAPublicKeySpec(y, dsaP, dsaQ, dsaP)), "the value g" + outOfRange),
                Arguments.of("DSA", key(new DSAPublicKeySpec(y, dsaP.clearBit(0), dsaQ, g)), "the primes of the DSA key are even"),
                Arguments.of("DSA", key(new DSAPublicKeySpec(y, dsaP, dsaQ.clearBit(0), g)), "the primes of the DSA key are even"),
                Arguments.of("DSA", key(new DSAPrivateKeySpec(BigInteger.ONE.shiftLeft(110), dsaP, dsaQ, g)), "the value x" + outOfRange),
                Arguments.of("DSA", key(new DSAPrivateKeySpec(dsaQ, dsaP, dsaQ, g)), "the value x" + outOfRange),
                Arguments.of("DSA", jdkPair("DSA", 2048).getPublic(), otherSizes));
    }

    @ParameterizedTest(name = "{0}: {2}")
    @MethodSource("badKeys")
    void refusesKeys(String kind, Key key, String message) throws Exception {
        Signature signature = Signature.getInstance("SHA1with" + kind, ZEL);
        assertRefuses("InvalidKeyException: " + message, () -> {
            if (key instanceof PrivateKey) {
                signature.initSign((PrivateKey) key);
            } else {
                signature.initVerify((PublicKey) key);
            }
        });
        assertThrows(SignatureException.class, () -> signature.update((byte) 1));
    }

    @ParameterizedTest
    @ValueSource(strings = {"SHA1withRSA", "SHA256withRSA", "SHA1withDSA"})
    @SuppressWarnings("deprecation")
    void keepsToTheRulesOfSignature(String algorithm) throws Exception {
        Signature signature = Signature.getInstance(algorithm, ZEL);
        assertThrows(SignatureException.class, () -> signature.update(new byte[1]));
        assertThrows(SignatureException.class, signature::sign);
        KeyPair pair = jdkPair(algorithm, 1024);
        signature.initSign(pair.getPrivate());
        assertThrows(SignatureException.class, () -> signature.sign(new byte[200], 0, 20));
        assertRefuses("InvalidAlgorithmParameterException: the signature has no parameters",
                () -> signature.setParameter(PSSParameterSpec.DEFAULT));
        assertRefuses("InvalidParameterException: the signature has no parameters", () -> signature.setParameter("name", "value"));
        assertNull(signature.getParameters());

        // A key that is refused leaves the object as it was, as with the JDK's; one that the engine fails with, uninitialised.
        boolean isDsa = algorithm.endsWith("DSA");
        signature.initSign(pair.getPrivate());
        signature.update((byte) 1);
        assertThrows(InvalidKeyException.class, () -> signature.initSign(jdkPair(isDsa ? "RSA" : "DSA", 1024).getPrivate()));
        signature.update((byte) 2);
        byte[] signed = signature.sign();
        Signature verifying = verifying(algorithm, pair, jdkOf(algorithm));
        verifying.update(new byte[] {1, 2});
        assertTrue(verifying.verify(signed));
        byte[] ofVersion5 = pair.getPrivate().getEncoded();
        ofVersion5[6] = 5; // behind the heads of a SEQUENCE with a length of two bytes and of the INTEGER
        assertThrows(InvalidKeyException.class, () -> signature.initSign(
                oddKey(isDsa ? DSAPrivateKey.class : RSAPrivateKey.class, "PKCS#8", ofVersion5)));
        assertRefuses("SignatureException: signature not initialized for signing", signature::sign);
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

    /** A number as so many bytes, or as more where it needs them. */
    private static byte[] fixed(BigInteger value, int length) {
        byte[] bytes = value.toByteArray();
        int sign = bytes[0] == 0 ? 1 : 0;
        byte[] fixed = new byte[Math.max(length, bytes.length - sign)];
        System.arraycopy(bytes, sign, fixed, fixed.length - bytes.length + sign, bytes.length - sign);
        return fixed;
    }

    /** What openssl does not see of the tool's key pairs: sizes, exponents, and parameters that would be ignored. */
    @Test
    void generatesKeyPairsOfGivenSizesOnly() throws Exception {
        KeyPairGenerator rsa = KeyPairGenerator.getInstance("RSA", ZEL);
        assertEquals(2048, ((RSAPublicKey) rsa.generateKeyPair().getPublic()).getModulus().bitLength());
        rsa.initialize(new RSAKeyGenParameterSpec(1152, F4));
        RSAPrivateCrtKey key = (RSAPrivateCrtKey) rsa.generateKeyPair().getPrivate();
        BigInteger product = key.getPrivateExponent().multiply(key.getPublicExponent());
        assertEquals(List.of(1152, F4, BigInteger.ONE), List.of(key.getModulus().bitLength(), key.getPublicExponent(),
                product.mod(key.getPrimeP().subtract(BigInteger.ONE))));
        for (int bits : new int[] {-1024, 0, 512, 1023, 1100, 16512, Integer.MAX_VALUE}) {
            String message = "RSA keys have 1024 to 16384 bits, a multiple of 128, not " + bits;
            assertRefuses("InvalidParameterException: " + message, () -> rsa.initialize(bits));
            assertRefuses("InvalidAlgorithmParameterException: " + message,
                    () -> rsa.initialize(new RSAKeyGenParameterSpec(bits, F4)));
        }
        KeyPairGenerator dsa = KeyPairGenerator.getInstance("DSA", ZEL);
        DSAParams params = ((DSAPrivateKey) dsa.generateKeyPair().getPrivate()).getParams();
        assertEquals(List.of(1024, BigInteger.ONE), List.of(params.getP().bitLength(), params.getP().mod(params.getQ())));
        assertTrue(params.getP().isProbablePrime(60) && params.getQ().isProbablePrime(60));
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
    void privateKeysAreNotCopied(@TempDir Path folder) throws Exception {
        Path key = Files.write(folder.resolve("key"), jdkPair("RSA", 1024).getPrivate().getEncoded());
        String count = ChildJvm.outputOf(Signers.class, List.of("-Xmx256m", "-XX:+UseSerialGC"),
                folder.resolve("heap.hprof").toString(), key.toString()).strip();
        assertTrue(Integer.parseInt(count) > 0 && Integer.parseInt(count) < SIGNERS, count + " copies");
    }

    /** A signature, bent in every way; what becomes of each is up to the JDK. */
    @ParameterizedTest
    @ValueSource(strings = {"SHA1withRSA", "SHA256withRSA", "SHA1withDSA"})
    void judgesAsTheJdkDoes(String algorithm) throws Exception {
        // An RSA modulus whose top byte leaves room for s + n.
        KeyPair pair = jdkPair(algorithm, algorithm.endsWith("RSA") ? 1017 : 1024);
        byte[] message = randomBytes(100);
        Signature signing = signing(algorithm, pair, jdkOf(algorithm));
        signing.update(message);
        byte[] right = signing.sign();
        List<byte[]> bent = new ArrayList<>(List.of(right, new byte[0], new byte[right.length], Arrays.copyOf(right, 4),
                Arrays.copyOf(right, right.length - 1), Arrays.copyOf(right, right.length + 1)));
        if (algorithm.endsWith("RSA")) {
            BigInteger n = ((RSAPublicKey) pair.getPublic()).getModulus();
            BigInteger s = new BigInteger(1, right);
            Stream.of(n, n.add(BigInteger.ONE), n.subtract(BigInteger.ONE), n.subtract(s), s.add(n), BigInteger.ONE)
                    .forEach(value -> bent.add(fixed(value, right.length)));
        } else {
            BigInteger q = ((DSAPublicKey) pair.getPublic()).getParams().getQ();
            int rLength = right[3];
            BigInteger r = new BigInteger(1, Arrays.copyOfRange(right, 4, 4 + rLength));
            BigInteger s = new BigInteger(1, Arrays.copyOfRange(right, 6 + rLength, right.length));
            // Numbers of too many bits that hold a right signature's INTEGERs: copied without a check, they would make it.
            BigInteger header = BigInteger.valueOf(0x0215).shiftLeft(168);
            BigInteger both = header.add(r).shiftLeft(184).add(header).add(s);
            for (BigInteger[] values : new BigInteger[][] {{header.add(r), s}, {r, header.add(s)}, {r, both}, {r.setBit(160), s},
                {r, s}, {s, r}, {r, q.subtract(s)}, {r.add(q), s}, {r, q}, {r, BigInteger.ZERO},
                {BigInteger.ZERO, s}, {BigInteger.ONE, BigInteger.ONE}, {r, s.shiftLeft(200)}, {r, s, s}, {r}}) {
                if (Runtime.version().feature() > 11 || !List.of(values).contains(BigInteger.ZERO)) { // 11 does not look for zeros
                    bent.add(derOf(values));
                }
            }
            bent.add(item(0x30, item(2, new byte[] {0}, r.toByteArray()), item(2, s.toByteArray()))); // a sign byte too many
        }
        Signature ours = verifying(algorithm, pair, ZEL);
        for (byte[] signature : bent) {
            Signature theirs = verifying(algorithm, pair, jdkOf(algorithm)); // keeps the message when it refuses
            ours.update(message);
            theirs.update(message);
            assertEquals(RandomUses.verdict(theirs, signature, 0, signature.length),
                    RandomUses.verdict(ours, signature, 0, signature.length), () -> new BigInteger(1, signature).toString(16));
        }
        ours.update(message);
        assertTrue(ours.verify(right));
    }
}
