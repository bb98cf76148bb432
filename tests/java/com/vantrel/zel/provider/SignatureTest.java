package com.vantrel.zel.provider;

import static com.vantrel.zel.provider.TestKeys.*;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNull;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import java.math.BigInteger;
import java.security.InvalidAlgorithmParameterException;
import java.security.InvalidParameterException;
import java.security.KeyPair;
import java.security.Signature;
import java.security.SignatureException;
import java.security.interfaces.DSAPublicKey;
import java.security.interfaces.RSAPublicKey;
import java.security.spec.PSSParameterSpec;
import java.util.ArrayList;
import java.util.Arrays;
import java.util.List;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.ValueSource;

/** The signatures as a Java program sees them; the JDK's own providers are the oracle. */
class SignatureTest {
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
            // Numbers of too many bits that hold a right signature's INTEGERs: copied without a check, they would make it.
            BigInteger header = BigInteger.valueOf(0x0215).shiftLeft(168);
            BigInteger both = header.add(r).shiftLeft(184).add(header).add(s);
            for (BigInteger[] values : new BigInteger[][] {{header.add(r), s}, {r, header.add(s)}, {r, both}, {r.setBit(160), s},
                {r, s}, {s, r}, {r, q.subtract(s)}, {r.add(q), s}, {r, q}, {r, BigInteger.ZERO},
                {BigInteger.ZERO, s}, {BigInteger.ONE, BigInteger.ONE}, {r, s.shiftLeft(200)}}) {
                if (Runtime.version().feature() > 11 || !List.of(values).contains(BigInteger.ZERO)) { // 11 does not look for zeros
                    bent.add(derOf(values));
                }
            }
            bent.add(item(0x30, item(2, new byte[] {0}, r.toByteArray()), item(2, s.toByteArray()))); // a sign byte too many
            bent.add(derOf(r, s, s));
            bent.add(derOf(r));
        }
        Signature ours = verifying(algorithm, pair, ZEL);
        for (byte[] signature : bent) {
            Signature theirs = verifying(algorithm, pair, jdkOf(algorithm)); // keeps the message when it refuses
            assertEquals(verdict(theirs, message, signature), verdict(ours, message, signature),
                    () -> new BigInteger(1, signature).toString(16));
        }
        assertEquals("true", verdict(ours, message, right));
    }

    private static String verdict(Signature verifying, byte[] message, byte[] signature) throws SignatureException {
        verifying.update(message);
        return RandomUses.verdict(verifying, signature, 0, signature.length);
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

    @SuppressWarnings("deprecation")
    private static void setParameter(Signature signature) {
        signature.setParameter("name", "value");
    }
}
