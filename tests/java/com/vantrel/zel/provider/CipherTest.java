package com.vantrel.zel.provider;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNull;
import static org.junit.jupiter.api.Assertions.assertThrows;

import java.nio.ByteBuffer;
import java.security.AlgorithmParameters;
import java.security.InvalidAlgorithmParameterException;
import java.security.InvalidKeyException;
import java.security.Key;
import java.security.KeyPair;
import java.security.KeyPairGenerator;
import java.security.NoSuchAlgorithmException;
import java.security.Provider;
import java.security.spec.AlgorithmParameterSpec;
import java.util.Arrays;
import java.util.Random;
import javax.crypto.BadPaddingException;
import javax.crypto.Cipher;
import javax.crypto.SecretKey;
import javax.crypto.ShortBufferException;
import javax.crypto.spec.IvParameterSpec;
import javax.crypto.spec.PBEParameterSpec;
import javax.crypto.spec.SecretKeySpec;
import org.junit.jupiter.api.BeforeAll;
import org.junit.jupiter.api.Test;

/** What random uses of the cipher do not show: too little room, bad paddings, parameters and keys; the JDK's provider is the oracle. */
class CipherTest {
    private static final Provider ZEL = new ZelSecurityProvider();
    private static final String TRANSFORMATION = "AES/CBC/PKCS5Padding";
    private static final Random RANDOM = new Random(7);
    private static final SecretKey KEY = new SecretKeySpec(randomBytes(32), "AES");
    private static final IvParameterSpec IV = new IvParameterSpec(randomBytes(16));
    private static KeyPair rsa;

    @BeforeAll
    static void makeKeys() throws Exception {
        rsa = KeyPairGenerator.getInstance("RSA").generateKeyPair();
    }

    private static byte[] randomBytes(int length) {
        byte[] bytes = new byte[length];
        RANDOM.nextBytes(bytes);
        return bytes;
    }

    private static Cipher zel(int mode) throws Exception {
        Cipher cipher = Cipher.getInstance(TRANSFORMATION, ZEL);
        cipher.init(mode, KEY, IV);
        return cipher;
    }

    private static byte[] jdk(int mode, byte[] data) throws Exception {
        Cipher cipher = Cipher.getInstance(TRANSFORMATION, "SunJCE");
        cipher.init(mode, KEY, IV);
        return cipher.doFinal(data);
    }

    /** Encrypted without padding of our own, to make bad paddings. */
    private static byte[] encryptedBlocks(byte[] blocks) throws Exception {
        Cipher cipher = Cipher.getInstance("AES/CBC/NoPadding", "SunJCE");
        cipher.init(Cipher.ENCRYPT_MODE, KEY, IV);
        return cipher.doFinal(blocks);
    }

    @Test
    void leavesOtherCiphersToOthers() throws Exception {
        for (String other : new String[] {"AES", "AES/CBC/NoPadding", "2.16.840.1.101.3.4.1.42"}) {
            assertThrows(NoSuchAlgorithmException.class, () -> Cipher.getInstance(other, ZEL));
        }
        assertEquals(ZEL, Cipher.getInstance("AES_256/CBC/PKCS5Padding", ZEL).getProvider());
    }

    @Test
    void nothingAtAll() throws Exception {
        assertEquals(16, zel(Cipher.ENCRYPT_MODE).doFinal().length);
        assertEquals(0, zel(Cipher.DECRYPT_MODE).doFinal().length);
        assertEquals(0, zel(Cipher.DECRYPT_MODE).doFinal(new byte[3], 3));
        assertNull(zel(Cipher.DECRYPT_MODE).update(new byte[16]));
        assertNull(zel(Cipher.ENCRYPT_MODE).update(new byte[15]));
        Cipher fresh = Cipher.getInstance(TRANSFORMATION, ZEL);
        assertEquals(16, fresh.getBlockSize());
        assertNull(fresh.getIV());
        assertNull(fresh.getParameters());
        assertThrows(IllegalStateException.class, fresh::doFinal);
    }

    /** Short of room, nothing is consumed: the same call with room for the result, not a byte more, succeeds. */
    @Test
    void shortBuffers() throws Exception {
        for (int size = 0; size < 50; ++size) {
            byte[] message = randomBytes(size);
            byte[] ciphertext = jdk(Cipher.ENCRYPT_MODE, message);
            for (int before = 0; before <= size; before += 1 + before % 7) {
                for (boolean encrypts : new boolean[] {true, false}) {
                    byte[] from = encrypts ? message : ciphertext;
                    byte[] to = encrypts ? ciphertext : message;
                    Cipher cipher = zel(encrypts ? Cipher.ENCRYPT_MODE : Cipher.DECRYPT_MODE);
                    byte[] head = cipher.update(from, 0, before);
                    int done = head == null ? 0 : head.length;
                    byte[] rest = Arrays.copyOfRange(from, before, from.length);
                    int left = to.length - done;
                    if (rest.length >= 32) {
                        assertThrows(ShortBufferException.class, () -> cipher.update(rest, 0, 32, new byte[15]));
                    }
                    for (int room = Math.max(0, left - 18); room < left; ++room) {
                        byte[] tooSmall = new byte[room + 2];
                        Arrays.fill(tooSmall, (byte) 0x44);
                        byte[] untouched = tooSmall.clone();
                        assertThrows(ShortBufferException.class,
                                () -> cipher.doFinal(rest, 0, rest.length, tooSmall, 2));
                        assertArrayEquals(untouched, tooSmall);
                        assertThrows(ShortBufferException.class, () -> cipher.doFinal(ByteBuffer.wrap(rest),
                                ByteBuffer.wrap(tooSmall, 2, tooSmall.length - 2)));
                    }
                    assertEquals(true, cipher.getOutputSize(rest.length) >= left);
                    byte[] exact = new byte[left];
                    assertEquals(left, cipher.doFinal(rest, 0, rest.length, exact, 0));
                    assertArrayEquals(Arrays.copyOfRange(to, done, to.length), exact);
                }
            }
        }
    }

    /** The padding is compared whole, other than by the native engine; nothing of the message is given out. */
    @Test
    void badPaddingsAndSizes() throws Exception {
        for (int padding : new int[] {0, 1, 2, 15, 16, 17, 32, 127, 128, 255}) {
            for (int wrongAt = -1; wrongAt < 16; ++wrongAt) {
                byte[] blocks = new byte[32];
                Arrays.fill(blocks, 0, 16, (byte) 0x5A); // would be seen in an output that is to stay zero
                Arrays.fill(blocks, Math.max(16, 32 - padding), 32, (byte) padding);
                blocks[31] = (byte) padding;
                if (wrongAt >= 0) {
                    blocks[16 + wrongAt] ^= 0x40;
                }
                byte[] ciphertext = encryptedBlocks(blocks);
                Cipher cipher = zel(Cipher.DECRYPT_MODE);
                boolean isGood = padding >= 1 && padding <= 16 && wrongAt < 16 - padding;
                if (isGood) {
                    assertArrayEquals(Arrays.copyOf(blocks, 32 - padding), cipher.doFinal(ciphertext));
                } else {
                    byte[] out = new byte[32];
                    assertThrows(BadPaddingException.class, () -> cipher.doFinal(ciphertext, 0, 32, out));
                    assertThrows(BadPaddingException.class, () -> cipher.doFinal(ciphertext, 0, 32, out, 15));
                    assertArrayEquals(new byte[32], out);
                }
            }
        }
        Cipher cipher = zel(Cipher.DECRYPT_MODE);
        assertThrows(BadPaddingException.class, () -> cipher.doFinal(new byte[17]));
        assertArrayEquals(new byte[] {8}, cipher.doFinal(jdk(Cipher.ENCRYPT_MODE, new byte[] {8})));
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
        assertEquals(false, Arrays.equals(iv, cipher.getIV()));
        cipher.init(Cipher.DECRYPT_MODE, KEY, parameters);
        assertArrayEquals(new byte[20], cipher.doFinal(ciphertext));
        cipher.getIV()[0] ^= 1; // a copy
        assertArrayEquals(iv, cipher.getIV());

        assertThrows(InvalidKeyException.class, () -> cipher.init(Cipher.DECRYPT_MODE, KEY));
        for (AlgorithmParameterSpec wrong : new AlgorithmParameterSpec[] {
            null, new IvParameterSpec(new byte[12]), new PBEParameterSpec(new byte[8], 1)}) {
            assertThrows(InvalidAlgorithmParameterException.class, () -> cipher.init(Cipher.DECRYPT_MODE, KEY, wrong));
        }
        AlgorithmParameters foreign = AlgorithmParameters.getInstance("PBE");
        foreign.init(new PBEParameterSpec(new byte[8], 1));
        assertThrows(InvalidAlgorithmParameterException.class, () -> cipher.init(Cipher.ENCRYPT_MODE, KEY, foreign));
    }

    @Test
    void wrongKeys() throws Exception {
        Cipher cipher = Cipher.getInstance(TRANSFORMATION, ZEL);
        for (Key key : new Key[] {null, new SecretKeySpec(new byte[16], "AES"), new SecretKeySpec(new byte[33], "AES"),
            new SecretKeySpec(new byte[32], "HmacSHA256"), rsa.getPrivate()}) {
            assertThrows(InvalidKeyException.class, () -> cipher.init(Cipher.ENCRYPT_MODE, key, IV), "" + key);
            assertThrows(InvalidKeyException.class, () -> cipher.init(Cipher.ENCRYPT_MODE, key), "" + key);
        }
    }

    @Test
    void wrapsKeysOfEveryKind() throws Exception {
        Cipher wrapping = zel(Cipher.WRAP_MODE);
        Cipher unwrapping = zel(Cipher.UNWRAP_MODE);
        byte[] wrapped = wrapping.wrap(KEY);
        assertArrayEquals(jdk(Cipher.ENCRYPT_MODE, KEY.getEncoded()), wrapped);
        assertEquals(KEY, unwrapping.unwrap(wrapped, "AES", Cipher.SECRET_KEY));
        assertEquals(rsa.getPrivate(), unwrapping.unwrap(wrapping.wrap(rsa.getPrivate()), "RSA", Cipher.PRIVATE_KEY));
        assertEquals(rsa.getPublic(), unwrapping.unwrap(wrapping.wrap(rsa.getPublic()), "RSA", Cipher.PUBLIC_KEY));
        assertThrows(InvalidKeyException.class, () -> unwrapping.unwrap(new byte[48], "AES", Cipher.SECRET_KEY));
        assertThrows(InvalidKeyException.class, () -> unwrapping.unwrap(wrapped, "RSA", Cipher.PRIVATE_KEY));
        assertThrows(NoSuchAlgorithmException.class, () -> unwrapping.unwrap(wrapped, "None", Cipher.PUBLIC_KEY));
    }
}
