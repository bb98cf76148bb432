package com.vantrel.zel.provider;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertNull;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;
import static org.junit.jupiter.api.Assumptions.assumeTrue;

import java.io.ByteArrayOutputStream;
import java.io.File;
import java.lang.reflect.Proxy;
import java.math.BigInteger;
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
import java.security.Provider;
import java.security.PublicKey;
import java.security.Security;
import java.security.Signature;
import java.security.SignatureException;
import java.security.interfaces.DSAParams;
import java.security.interfaces.DSAPrivateKey;
import java.security.interfaces.DSAPublicKey;
import java.security.interfaces.RSAPrivateCrtKey;
import java.security.interfaces.RSAPrivateKey;
import java.security.interfaces.RSAPublicKey;
import java.security.spec.DSAParameterSpec;
import java.security.spec.DSAPublicKeySpec;
import java.security.spec.PSSParameterSpec;
import java.security.spec.RSAKeyGenParameterSpec;
import java.security.spec.RSAPrivateCrtKeySpec;
import java.security.spec.RSAPrivateKeySpec;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.Collections;
import java.util.List;
import java.util.Random;
import java.util.concurrent.TimeUnit;
import java.util.stream.Stream;
import javax.crypto.Cipher;
import javax.crypto.SecretKey;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.io.TempDir;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.Arguments;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.MethodSource;
import org.junit.jupiter.params.provider.ValueSource;

/** The signatures and key pair generators as a Java program sees them; the JDK's own providers and openssl are the oracles. */
class SignatureTest {
    private static final Provider ZEL = new ZelSecurityProvider();
    private static final List<String> ALGORITHMS = List.of("SHA1withRSA", "SHA256withRSA", "SHA1withDSA");
    private static final Random RANDOM = new Random(11);

    private static byte[] randomBytes(int length) {
        byte[] bytes = new byte[length];
        RANDOM.nextBytes(bytes);
        return bytes;
    }

    private static KeyPair keyPair(String algorithm, int bits, Provider provider) throws Exception {
        KeyPairGenerator generator = KeyPairGenerator.getInstance(algorithm, provider);
        generator.initialize(bits);
        return generator.generateKeyPair();
    }

    private static Provider jdkOf(String algorithm) {
        return Security.getProvider(algorithm.endsWith("DSA") ? "SUN" : "SunRsaSign");
    }

    private static KeyPair jdkPair(String keys, int bits) throws Exception {
        return keyPair(keys, bits, jdkOf(keys));
    }

    private static String keysOf(String algorithm) {
        return algorithm.substring(algorithm.length() - 3);
    }

    private static Signature signing(String algorithm, KeyPair pair, Provider provider) throws Exception {
        Signature signature = Signature.getInstance(algorithm, provider);
        signature.initSign(pair.getPrivate());
        return signature;
    }

    private static Signature verifying(String algorithm, KeyPair pair, Provider provider) throws Exception {
        Signature signature = Signature.getInstance(algorithm, provider);
        signature.initVerify(pair.getPublic());
        return signature;
    }

    /** Kinds of signatures with key pairs, made here and by the JDK. */
    static Stream<Arguments> keys() throws Exception {
        List<Arguments> keys = new ArrayList<>();
        for (String algorithm : ALGORITHMS) {
            boolean isDsa = algorithm.endsWith("DSA");
            keys.add(Arguments.of(algorithm, "of Zel", keyPair(keysOf(algorithm), 1024, ZEL)));
            for (int bits : isDsa ? new int[] {1024} : new int[] {512, 777, 1025, 2048, 4096}) {
                keys.add(Arguments.of(algorithm, bits + " of the JDK", jdkPair(keysOf(algorithm), bits)));
            }
        }
        KeyPairGenerator generator = KeyPairGenerator.getInstance("RSA", "SunRsaSign");
        for (BigInteger exponent : List.of(BigInteger.valueOf(3), new BigInteger("FFFFFFFB", 16))) {
            generator.initialize(new RSAKeyGenParameterSpec(1024, exponent));
            keys.add(Arguments.of("SHA256withRSA", "exponent " + exponent, generator.generateKeyPair()));
        }
        return keys.stream();
    }

    /** Message after message through four objects that are initialised once; the JDK has every word. */
    @ParameterizedTest(name = "{0}, {1}")
    @MethodSource("keys")
    void agreesWithTheJdkAgainAndAgain(String algorithm, String described, KeyPair pair) throws Exception {
        Signature ourSigning = signing(algorithm, pair, ZEL);
        Signature ourVerifying = verifying(algorithm, pair, ZEL);
        Signature theirSigning = signing(algorithm, pair, jdkOf(algorithm));
        Signature theirVerifying = verifying(algorithm, pair, jdkOf(algorithm));
        int rounds = algorithm.endsWith("DSA") ? 500 : 20;
        for (int round = 0; round < rounds; ++round) {
            byte[] message = randomBytes(round == 7 ? 3 << 20 : RANDOM.nextInt(300));
            int split = RANDOM.nextInt(message.length + 1);
            for (Signature signature : List.of(ourSigning, ourVerifying)) {
                signature.update(message, 0, split);
                if (split < message.length) {
                    signature.update(message[split]);
                    signature.update(message, split + 1, message.length - split - 1);
                }
            }
            byte[] ours = ourSigning.sign();
            theirSigning.update(message);
            byte[] theirs = theirSigning.sign();
            if (algorithm.endsWith("RSA")) {
                assertArrayEquals(theirs, ours);
            }
            theirVerifying.update(message);
            assertTrue(theirVerifying.verify(ours));
            byte[] area = Arrays.copyOf(theirs, theirs.length + 9);
            System.arraycopy(theirs, 0, area, 5, theirs.length);
            assertTrue(ourVerifying.verify(area, 5, theirs.length));
        }
    }

    /** A signature, bent in every way; what becomes of each is up to the JDK. */
    @ParameterizedTest
    @ValueSource(strings = {"SHA1withRSA", "SHA256withRSA", "SHA1withDSA"})
    void judgesAsTheJdkDoes(String algorithm) throws Exception {
        // An RSA modulus whose top byte leaves room for s + n.
        KeyPair pair = jdkPair(keysOf(algorithm), algorithm.endsWith("RSA") ? 1017 : 1024);
        byte[] message = randomBytes(100);
        Signature signing = signing(algorithm, pair, jdkOf(algorithm));
        signing.update(message);
        byte[] right = signing.sign();
        List<byte[]> bent = new ArrayList<>(List.of(right, new byte[0], new byte[right.length], Arrays.copyOf(right, 4),
                Arrays.copyOf(right, right.length - 1), Arrays.copyOf(right, right.length + 1)));
        for (int i = 0; i < 100; ++i) {
            byte[] flipped = right.clone();
            flipped[RANDOM.nextInt(right.length)] ^= (byte) (1 << RANDOM.nextInt(8));
            bent.add(flipped);
        }
        if (algorithm.endsWith("RSA")) {
            BigInteger n = ((RSAPublicKey) pair.getPublic()).getModulus();
            BigInteger s = new BigInteger(1, right);
            for (BigInteger value : List.of(n, n.add(BigInteger.ONE), n.subtract(BigInteger.ONE), n.subtract(s), s.add(n),
                    BigInteger.ONE)) {
                byte[] bytes = value.toByteArray();
                int sign = bytes[0] == 0 ? 1 : 0;
                byte[] fixed = new byte[Math.max(right.length, bytes.length - sign)];
                System.arraycopy(bytes, sign, fixed, fixed.length - bytes.length + sign, bytes.length - sign);
                bent.add(fixed);
            }
        } else {
            BigInteger q = ((DSAPublicKey) pair.getPublic()).getParams().getQ();
            int rLength = right[3];
            BigInteger r = new BigInteger(1, Arrays.copyOfRange(right, 4, 4 + rLength));
            BigInteger s = new BigInteger(1, Arrays.copyOfRange(right, 6 + rLength, right.length));
            for (BigInteger[] values : new BigInteger[][] {{r, s}, {s, r}, {r, q.subtract(s)}, {r.add(q), s}, {r, q},
                {r, BigInteger.ZERO}, {BigInteger.ZERO, s}, {BigInteger.ONE, BigInteger.ONE}, {r, s.shiftLeft(200)}}) {
                bent.add(derOf(values));
            }
            bent.add(item(0x30, item(2, new byte[] {0}, r.toByteArray()), item(2, s.toByteArray()))); // a sign byte too many
            bent.add(derOf(r, s, s));
            bent.add(derOf(r));
        }
        Signature ours = verifying(algorithm, pair, ZEL);
        Signature theirs = verifying(algorithm, pair, jdkOf(algorithm));
        for (byte[] signature : bent) {
            assertEquals(verdict(theirs, message, signature), verdict(ours, message, signature),
                    () -> new BigInteger(1, signature).toString(16));
        }
        assertEquals("true", verdict(ours, message, right));
    }

    /** A DER element. */
    private static byte[] item(int tag, byte[]... contents) {
        ByteArrayOutputStream content = new ByteArrayOutputStream();
        for (byte[] piece : contents) {
            content.writeBytes(piece);
        }
        int length = content.size();
        ByteArrayOutputStream item = new ByteArrayOutputStream();
        item.write(tag);
        if (length > 127) {
            item.writeBytes(length > 255 ? new byte[] {(byte) 0x82, (byte) (length >> 8)} : new byte[] {(byte) 0x81});
        }
        item.write(length);
        item.writeBytes(content.toByteArray());
        return item.toByteArray();
    }

    private static byte[] derOf(BigInteger... values) {
        return item(0x30, Stream.of(values).map(value -> item(2, value.toByteArray())).toArray(byte[][]::new));
    }

    private static String verdict(Signature verifying, byte[] message, byte[] signature) throws SignatureException {
        verifying.update(message);
        try {
            return String.valueOf(verifying.verify(signature));
        } catch (SignatureException e) {
            return "SignatureException";
        }
    }

    /** A key that gives the same array at every call. */
    private static <K extends Key> K oddKey(Class<K> type, String format, byte[] encoded) {
        return type.cast(Proxy.newProxyInstance(SignatureTest.class.getClassLoader(), new Class<?>[] {type},
                (proxy, method, arguments) -> {
                    return method.getName().equals("getFormat") ? format
                            : method.getName().equals("getEncoded") ? encoded
                            : method.getName().equals("getAlgorithm") ? "AES" : null;
                }));
    }

    private static PublicKey oddKey(String format, byte[] encoded) {
        return oddKey(RSAPublicKey.class, format, encoded);
    }

    private static final byte[] RSA_ALGORITHM =
            item(0x30, item(6, new byte[] {0x2A, (byte) 0x86, 0x48, (byte) 0x86, (byte) 0xF7, 0x0D, 1, 1, 1}));

    /** Keys that the JDK would not make; the private one has e = 65537 in place of d, dP, dQ and qInv. */
    private static PublicKey oddRsa(BigInteger n, BigInteger e) {
        return oddKey("X.509", item(0x30, RSA_ALGORITHM, item(3, new byte[1], derOf(n, e))));
    }

    private static PrivateKey oddRsa(int version, BigInteger n, BigInteger e, BigInteger p, BigInteger q, BigInteger... more) {
        List<BigInteger> values = new ArrayList<>(List.of(BigInteger.valueOf(version), n, e));
        values.addAll(List.of(RSAKeyGenParameterSpec.F4, p, q));
        values.addAll(Collections.nCopies(3, RSAKeyGenParameterSpec.F4));
        values.addAll(List.of(more));
        return oddKey(RSAPrivateKey.class, "PKCS#8", item(0x30, item(2, new byte[1]), RSA_ALGORITHM,
                item(4, derOf(values.toArray(new BigInteger[0])))));
    }

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
        PrivateKey pss = keyPair("RSASSA-PSS", 1024, jdkOf("RSA")).getPrivate();
        byte[] x509 = rsa.getPublic().getEncoded();
        Object destroyed = Proxy.newProxyInstance(SignatureTest.class.getClassLoader(), new Class<?>[] {RSAPublicKey.class},
                (proxy, method, arguments) -> {
                    throw new IllegalStateException("destroyed");
                });
        BigInteger p = crt.getPrimeP();
        BigInteger q = crt.getPrimeQ();
        String range = "RSA keys must have 512 to 16384 bits, not ";
        String notItsPrimes = "the primes of the RSA key do not make its modulus";
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

    @ParameterizedTest
    @ValueSource(strings = {"SHA1withRSA", "SHA256withRSA", "SHA1withDSA"})
    void keepsToTheRulesOfSignature(String algorithm) throws Exception {
        Signature signature = Signature.getInstance(algorithm, ZEL);
        assertThrows(SignatureException.class, () -> signature.update(new byte[1]));
        assertThrows(SignatureException.class, signature::sign);
        KeyPair pair = jdkPair(keysOf(algorithm), 1024);
        signature.initSign(pair.getPrivate());
        assertThrows(SignatureException.class, () -> signature.sign(new byte[200], 0, 20));
        assertThrows(InvalidAlgorithmParameterException.class, () -> signature.setParameter(PSSParameterSpec.DEFAULT));
        assertNull(signature.getParameters());
        assertThrows(InvalidParameterException.class, () -> setParameter(signature));
        signature.update((byte) 1); // forgotten by the next init
        signature.initSign(pair.getPrivate());
        byte[] area = new byte[200];
        signature.update(new byte[0]);
        int length = signature.sign(area, 9, 150);
        signature.initVerify(pair.getPublic());
        assertTrue(signature.verify(area, 9, length));
        assertThrows(SignatureException.class, signature::sign);
        signature.update(new byte[3]);
        assertThrows(SignatureException.class, () -> signature.verify(new byte[3]));
        assertTrue(signature.verify(area, 9, length), "a failed verify ends its message");
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

    /** Two threads at one object are a mistake that may cost a program its signatures, but never the virtual machine. */
    @ParameterizedTest
    @ValueSource(strings = {"SHA256withRSA", "SHA1withDSA"})
    void survivesManyThreadsAtOneObject(String algorithm) throws Exception {
        KeyPair pair = jdkPair(keysOf(algorithm), 1024);
        Signature shared = signing(algorithm, pair, ZEL);
        byte[] signed = shared.sign();
        ManyThreads.run(4, (thread, random) -> {
            for (int i = 0; i < 500; ++i) {
                try {
                    switch (random.nextInt(5)) {
                        case 0:
                            shared.initSign(pair.getPrivate());
                            break;
                        case 1:
                            shared.initVerify(pair.getPublic());
                            break;
                        case 2:
                            shared.sign();
                            break;
                        case 3:
                            shared.verify(signed);
                            break;
                        default:
                            shared.update(new byte[random.nextInt(5000)]);
                    }
                } catch (SignatureException e) {
                    continue; // another thread has made something else of the object
                }
            }
        });
        shared.initSign(pair.getPrivate());
        assertTrue(verifying(algorithm, pair, jdkOf(algorithm)).verify(shared.sign()));
        assertThrows(CloneNotSupportedException.class, shared::clone);
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

    @SuppressWarnings("deprecation")
    private static void setParameter(Signature signature) {
        signature.setParameter("name", "value");
    }

    @ParameterizedTest
    @CsvSource({"1.2.840.113549.1.1.5,RSA", "1.3.14.3.2.29,RSA", "1.2.840.113549.1.1.11,RSA", "DSA,DSA", "SHAwithDSA,DSA",
        "1.2.840.10040.4.3,DSA"})
    void goesByItsNames(String name, String keys) throws Exception {
        KeyPair pair = jdkPair(keys, 1024);
        Signature theirs = Signature.getInstance(name);
        theirs.initSign(pair.getPrivate());
        Signature ours = Signature.getInstance(name, ZEL);
        ours.initVerify(pair.getPublic());
        assertTrue(ours.verify(theirs.sign()));
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

    @ParameterizedTest
    @ValueSource(strings = {"SHA1withRSA", "SHA256withRSA", "SHA1withDSA"})
    void agreesWithOpenssl(String algorithm, @TempDir Path folder) throws Exception {
        assumeOpenssl();
        KeyPair pair = keyPair(keysOf(algorithm), 1024, ZEL);
        Files.write(folder.resolve("private"), pair.getPrivate().getEncoded());
        Files.write(folder.resolve("public"), pair.getPublic().getEncoded());
        openssl(folder, "pkey", "-inform", "DER", "-in", "private", "-check", "-noout");
        byte[] message = randomBytes(1000);
        Files.write(folder.resolve("message"), message);
        Signature signing = signing(algorithm, pair, ZEL);
        signing.update(message);
        Files.write(folder.resolve("ours"), signing.sign());
        String hash = algorithm.startsWith("SHA1") ? "-sha1" : "-sha256";
        assertEquals("Verified OK", openssl(folder, "dgst", hash, "-keyform", "DER", "-verify", "public", "-signature", "ours",
                "message"));
        openssl(folder, "dgst", hash, "-keyform", "DER", "-sign", "private", "-out", "theirs", "message");
        Signature verifying = verifying(algorithm, pair, ZEL);
        verifying.update(message);
        assertTrue(verifying.verify(Files.readAllBytes(folder.resolve("theirs"))));
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

    @Test
    void opensslFindsNoFaultInGeneratedKeys(@TempDir Path folder) throws Exception {
        assumeOpenssl();
        for (int i = 0; i < 100; ++i) {
            Files.write(folder.resolve("private"), keyPair("RSA", 1024, ZEL).getPrivate().getEncoded());
            assertEquals("RSA key ok", openssl(folder, "rsa", "-inform", "DER", "-in", "private", "-check", "-noout"));
        }
    }
}
