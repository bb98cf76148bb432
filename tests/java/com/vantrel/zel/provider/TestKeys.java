package com.vantrel.zel.provider;

import java.io.ByteArrayOutputStream;
import java.lang.reflect.Proxy;
import java.math.BigInteger;
import java.security.*;
import java.security.interfaces.RSAPrivateKey;
import java.security.interfaces.RSAPublicKey;
import java.security.spec.RSAKeyGenParameterSpec;
import java.util.*;
import java.util.stream.Stream;

/** Keys, good and odd, and engines that have taken one, for tests of signatures. */
final class TestKeys {
    static final Provider ZEL = new ZelSecurityProvider();
    static final Random RANDOM = new Random(11);

    private TestKeys() {}

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

    static KeyPair jdkPair(String keys, int bits) throws Exception {
        return keyPair(keys, bits, jdkOf(keys));
    }

    static String keysOf(String algorithm) {
        return algorithm.substring(algorithm.length() - 3);
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

    static byte[] derOf(BigInteger... values) {
        return item(0x30, Stream.of(values).map(value -> item(2, value.toByteArray())).toArray(byte[][]::new));
    }

    /** A key that gives the same array at every call. */
    static <K extends Key> K oddKey(Class<K> type, String format, byte[] encoded) {
        return type.cast(Proxy.newProxyInstance(TestKeys.class.getClassLoader(), new Class<?>[] {type},
                (proxy, method, arguments) -> {
                    return method.getName().equals("getFormat") ? format
                            : method.getName().equals("getEncoded") ? encoded
                            : method.getName().equals("getAlgorithm") ? "AES" : null;
                }));
    }

    static PublicKey oddKey(String format, byte[] encoded) {
        return oddKey(RSAPublicKey.class, format, encoded);
    }

    private static final byte[] RSA_ALGORITHM =
            item(0x30, item(6, new byte[] {0x2A, (byte) 0x86, 0x48, (byte) 0x86, (byte) 0xF7, 0x0D, 1, 1, 1}));

    /** Keys that the JDK would not make; the private one has e = 65537 in place of d, dP, dQ and qInv. */
    static PublicKey oddRsa(BigInteger n, BigInteger e) {
        return oddKey("X.509", item(0x30, RSA_ALGORITHM, item(3, new byte[1], derOf(n, e))));
    }

    static PrivateKey oddRsa(int version, BigInteger n, BigInteger e, BigInteger p, BigInteger q, BigInteger... more) {
        List<BigInteger> values = new ArrayList<>(List.of(BigInteger.valueOf(version), n, e));
        values.addAll(List.of(RSAKeyGenParameterSpec.F4, p, q));
        values.addAll(Collections.nCopies(3, RSAKeyGenParameterSpec.F4));
        values.addAll(List.of(more));
        return oddKey(RSAPrivateKey.class, "PKCS#8", item(0x30, item(2, new byte[1]), RSA_ALGORITHM,
                item(4, derOf(values.toArray(new BigInteger[0])))));
    }
}
