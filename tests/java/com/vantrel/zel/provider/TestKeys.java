package com.vantrel.zel.provider;

import static org.junit.jupiter.api.Assertions.*;

import java.io.ByteArrayOutputStream;
import java.lang.reflect.Proxy;
import java.math.BigInteger;
import java.security.*;
import java.security.interfaces.*;
import java.security.spec.RSAKeyGenParameterSpec;
import java.util.*;
import java.util.stream.Stream;
import org.junit.jupiter.api.function.Executable;

/** Keys, good and odd, engines that have taken one, and what is refused. */
final class TestKeys {
    static final Provider ZEL = new ZelSecurityProvider();
    static final BigInteger F4 = RSAKeyGenParameterSpec.F4;
    private static final Random RANDOM = new Random(11);

    private static final byte[] RSA_ALGORITHM =
            item(0x30, item(6, new byte[] {0x2A, (byte) 0x86, 0x48, (byte) 0x86, (byte) 0xF7, 0x0D, 1, 1, 1}));

    private TestKeys() {}

    /** The call ends in an exception of this class and with this message, as in "InvalidKeyException: key is null". */
    static void assertRefuses(String expected, Executable call) {
        Throwable e = assertThrows(Throwable.class, call, expected);
        assertEquals(expected, e.getClass().getSimpleName() + ": " + e.getMessage());
    }

    static byte[] randomBytes(int length) {
        byte[] bytes = new byte[length];
        RANDOM.nextBytes(bytes);
        return bytes;
    }

    static KeyPair keyPair(String algorithm, int bits, Provider provider) throws Exception {
        KeyPairGenerator generator = KeyPairGenerator.getInstance(algorithm, provider);
        generator.initialize(bits);
        return generator.generateKeyPair();
    }

    static Provider jdkOf(String algorithm) {
        return Security.getProvider(algorithm.endsWith("DSA") ? "SUN" : "SunRsaSign");
    }

    /** For an algorithm of keys or of signatures. */
    static KeyPair jdkPair(String algorithm, int bits) throws Exception {
        return keyPair(algorithm.substring(algorithm.length() - 3), bits, jdkOf(algorithm));
    }

    static Signature signing(String algorithm, KeyPair pair, Provider provider) throws Exception {
        Signature signature = Signature.getInstance(algorithm, provider);
        signature.initSign(pair.getPrivate());
        return signature;
    }

    static Signature verifying(String algorithm, KeyPair pair, Provider provider) throws Exception {
        Signature signature = Signature.getInstance(algorithm, provider);
        signature.initVerify(pair.getPublic());
        return signature;
    }

    /** A DER element. */
    static byte[] item(int tag, byte[]... contents) {
        int length = Stream.of(contents).mapToInt(content -> content.length).sum();
        String head = length < 128 ? "%02x%02x" : length < 256 ? "%02x81%02x" : "%02x82%04x";
        ByteArrayOutputStream item = new ByteArrayOutputStream();
        item.writeBytes(new BigInteger(String.format(head, tag, length), 16).toByteArray());
        Stream.of(contents).forEach(item::writeBytes);
        return item.toByteArray();
    }

    static byte[] derOf(BigInteger... values) {
        return item(0x30, Stream.of(values).map(value -> item(2, value.toByteArray())).toArray(byte[][]::new));
    }

    /** A number as so many bytes, or as more where it needs them. */
    static byte[] fixed(BigInteger value, int length) {
        byte[] bytes = value.setBit(8 * Math.max(length, (value.bitLength() + 7) / 8)).toByteArray();
        return Arrays.copyOfRange(bytes, 1, bytes.length);
    }

    /** A key that gives the same array at every call, which must stay as it is. */
    static <K extends Key> K oddKey(Class<? extends K> type, String format, byte[] encoded) {
        Map<String, Object> answers = new HashMap<>(Map.of("getAlgorithm", "AES", "getFormat", format));
        answers.put("getEncoded", encoded);
        return type.cast(Proxy.newProxyInstance(TestKeys.class.getClassLoader(), new Class<?>[] {type},
                (proxy, method, arguments) -> answers.get(method.getName())));
    }

    /** The same keys, but such as give one array each. */
    static KeyPair lent(KeyPair pair) {
        boolean isRsa = pair.getPublic() instanceof RSAPublicKey;
        return new KeyPair(
                oddKey(isRsa ? RSAPublicKey.class : DSAPublicKey.class, "X.509", pair.getPublic().getEncoded()),
                oddKey(isRsa ? RSAPrivateKey.class : DSAPrivateKey.class, "PKCS#8", pair.getPrivate().getEncoded()));
    }

    /** Keys that the JDK would not make; the private one has e = 65537 in place of d, dP, dQ and qInv. */
    static PublicKey oddRsa(BigInteger n, BigInteger e) {
        return oddKey(RSAPublicKey.class, "X.509", item(0x30, RSA_ALGORITHM, item(3, new byte[1], derOf(n, e))));
    }

    static PrivateKey oddRsa(int version, BigInteger n, BigInteger e, BigInteger p, BigInteger q, BigInteger... more) {
        List<BigInteger> values = new ArrayList<>(List.of(BigInteger.valueOf(version), n, e, F4, p, q, F4, F4, F4));
        values.addAll(List.of(more));
        return oddKey(RSAPrivateKey.class, "PKCS#8", item(0x30, item(2, new byte[1]), RSA_ALGORITHM,
                item(4, derOf(values.toArray(new BigInteger[0])))));
    }
}
