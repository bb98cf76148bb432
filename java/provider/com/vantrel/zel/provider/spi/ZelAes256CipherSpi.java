package com.vantrel.zel.provider.spi;

import com.vantrel.zel.provider.internal.NativeLibrary;
import java.nio.ByteBuffer;
import java.security.AlgorithmParameters;
import java.security.InvalidAlgorithmParameterException;
import java.security.InvalidKeyException;
import java.security.Key;
import java.security.NoSuchAlgorithmException;
import java.security.ProviderException;
import java.security.SecureRandom;
import java.security.spec.AlgorithmParameterSpec;
import java.security.spec.InvalidParameterSpecException;
import java.util.Arrays;
import java.util.function.Supplier;
import javax.crypto.BadPaddingException;
import javax.crypto.Cipher;
import javax.crypto.CipherSpi;
import javax.crypto.NoSuchPaddingException;
import javax.crypto.ShortBufferException;
import javax.crypto.spec.IvParameterSpec;

/**
 * AES-256 in CBC mode with PKCS#5 padding, computed by the native library.
 *
 * <p>The native engine has habits that users of {@link Cipher} do not expect; {@link AesMessage} hides them.
 */
public final class ZelAes256CipherSpi extends CipherSpi {
    private static final int BLOCK_BYTES = AesCbc.BLOCK_BYTES;

    /** The native engine's address, or 0; written by the native side. */
    private long context0;

    private final AesMessage message;

    /** A cipher that is yet to be initialised. */
    public ZelAes256CipherSpi() {
        NativeLibrary.load();
        message = new AesMessage(this);
    }

    /** The object that deletes an engine, from its address. */
    ZelAes256CipherSpi(long context0) {
        this.context0 = context0;
        message = null;
    }

    long context0() {
        return context0;
    }

    native void engineInit0(int opmode, byte[] iv, byte[] key);
    native byte[] engineUpdate0(byte[] input, int offset, int length);
    native int engineUpdate0(byte[] input, int offset, int length, byte[] output, int outputOffset);
    native byte[] engineDoFinal0(byte[] input, int offset, int length);
    native int engineDoFinal0(byte[] input, int offset, int length, byte[] output, int outputOffset);
    native void deleteContext0();

    @Override
    protected void engineSetMode(String mode) throws NoSuchAlgorithmException {
        if (!mode.equalsIgnoreCase("CBC")) {
            throw new NoSuchAlgorithmException("only the mode CBC is supported, not " + mode);
        }
    }

    @Override
    protected void engineSetPadding(String padding) throws NoSuchPaddingException {
        if (!padding.equalsIgnoreCase("PKCS5Padding")) {
            throw new NoSuchPaddingException("only PKCS5Padding is supported, not " + padding);
        }
    }

    @Override
    protected int engineGetBlockSize() {
        return BLOCK_BYTES;
    }

    @Override
    protected int engineGetKeySize(Key key) throws InvalidKeyException {
        byte[] bytes = new byte[AesKeys.KEY_BYTES];
        AesKeys.copy(key, bytes);
        Arrays.fill(bytes, (byte) 0);
        return 8 * AesKeys.KEY_BYTES;
    }

    @Override
    protected byte[] engineGetIV() {
        return message.iv();
    }

    @Override
    protected AlgorithmParameters engineGetParameters() {
        byte[] iv = message.iv();
        if (iv == null) {
            return null;
        }
        try {
            AlgorithmParameters parameters = AlgorithmParameters.getInstance("AES");
            parameters.init(new IvParameterSpec(iv));
            return parameters;
        } catch (NoSuchAlgorithmException | InvalidParameterSpecException e) {
            throw new ProviderException("no provider has the AES parameters", e);
        }
    }

    @Override
    protected void engineInit(int opmode, Key key, SecureRandom random) throws InvalidKeyException {
        if (!isEncryption(opmode)) {
            throw new InvalidKeyException("decryption needs the IV as a parameter");
        }
        start(opmode, key, () -> FreshIv.bytes(BLOCK_BYTES, random));
    }

    @Override
    protected void engineInit(int opmode, Key key, AlgorithmParameterSpec params, SecureRandom random)
            throws InvalidKeyException, InvalidAlgorithmParameterException {
        if (params == null && isEncryption(opmode)) {
            engineInit(opmode, key, random);
            return;
        }
        if (!(params instanceof IvParameterSpec)) {
            throw new InvalidAlgorithmParameterException("an IvParameterSpec is needed");
        }
        byte[] iv = ((IvParameterSpec) params).getIV();
        if (iv.length != BLOCK_BYTES) {
            throw new InvalidAlgorithmParameterException("invalid iv provided");
        }
        start(opmode, key, () -> iv);
    }

    private void start(int opmode, Key key, Supplier<byte[]> iv) throws InvalidKeyException {
        byte[] keyBytes = new byte[AesKeys.KEY_BYTES];
        try {
            AesKeys.copy(key, keyBytes);
            message.init(isEncryption(opmode), iv.get(), keyBytes);
        } finally {
            Arrays.fill(keyBytes, (byte) 0);
        }
    }

    @Override
    protected void engineInit(int opmode, Key key, AlgorithmParameters params, SecureRandom random)
            throws InvalidKeyException, InvalidAlgorithmParameterException {
        AlgorithmParameterSpec spec = null;
        if (params != null) {
            try {
                spec = params.getParameterSpec(IvParameterSpec.class);
            } catch (InvalidParameterSpecException e) {
                throw new InvalidAlgorithmParameterException("the parameters hold no IV", e);
            }
        }
        engineInit(opmode, key, spec, random);
    }

    private static boolean isEncryption(int opmode) {
        return opmode == Cipher.ENCRYPT_MODE || opmode == Cipher.WRAP_MODE;
    }

    @Override
    protected int engineGetOutputSize(int inputLength) {
        return (int) Math.min(message.finalSize(inputLength), Integer.MAX_VALUE);
    }

    @Override
    protected byte[] engineUpdate(byte[] input, int offset, int length) {
        Slices.check(input, offset, length);
        return message.update(input, offset, length);
    }

    @Override
    protected int engineUpdate(byte[] input, int offset, int length, byte[] output, int outputOffset)
            throws ShortBufferException {
        Slices.check(input, offset, length);
        return message.update(input, offset, length, output, outputOffset, output.length - outputOffset);
    }

    @Override
    protected byte[] engineDoFinal(byte[] input, int offset, int length) throws BadPaddingException {
        if (input == null) { // what Cipher.doFinal() passes
            return message.doFinal(new byte[0], 0, 0);
        }
        Slices.check(input, offset, length);
        return message.doFinal(input, offset, length);
    }

    @Override
    protected int engineDoFinal(byte[] input, int offset, int length, byte[] output, int outputOffset)
            throws ShortBufferException, BadPaddingException {
        int room = output.length - outputOffset;
        if (input == null) {
            return message.doFinal(new byte[0], 0, 0, output, outputOffset, room);
        }
        Slices.check(input, offset, length);
        return message.doFinal(input, offset, length, output, outputOffset, room);
    }

    /** A step of the message from array to array, as update or doFinal do it. */
    private interface Step<E extends Exception> {
        int run(byte[] input, int offset, int length, byte[] output, int outputOffset, int room)
                throws ShortBufferException, E;
    }

    @Override
    protected int engineUpdate(ByteBuffer input, ByteBuffer output) throws ShortBufferException {
        return this.<RuntimeException>withArrays(input, output, message.updateSize(input.remaining()), message::update);
    }

    @Override
    protected int engineDoFinal(ByteBuffer input, ByteBuffer output) throws ShortBufferException, BadPaddingException {
        return this.<BadPaddingException>withArrays(input, output, message.finalSize(input.remaining()),
                message::doFinal);
    }

    /** Runs a step over the remaining bytes of the buffers; their positions move when it succeeds. */
    private <E extends Exception> int withArrays(ByteBuffer input, ByteBuffer output, long atMost, Step<E> step)
            throws ShortBufferException, E {
        int length = input.remaining();
        int room = output.remaining();
        int written;
        if (input.hasArray() && output.hasArray()) {
            written = step.run(input.array(), input.arrayOffset() + input.position(), length,
                    output.array(), output.arrayOffset() + output.position(), room);
            output.position(output.position() + written);
        } else {
            // Copies, because an overlap of buffers outside the heap cannot be seen.
            byte[] in = new byte[length];
            byte[] out = new byte[(int) Math.min(room, atMost)];
            input.duplicate().get(in);
            try {
                written = step.run(in, 0, length, out, 0, out.length);
                output.put(out, 0, written);
            } finally {
                Arrays.fill(in, (byte) 0);
                Arrays.fill(out, (byte) 0);
            }
        }
        input.position(input.limit());
        return written;
    }

    @Override
    protected byte[] engineWrap(Key key) throws InvalidKeyException {
        byte[] encoded = AesKeys.encoded(key);
        try {
            return message.doFinal(encoded, 0, encoded.length);
        } catch (BadPaddingException e) {
            throw new ProviderException("encryption does not look at paddings", e);
        } finally {
            Arrays.fill(encoded, (byte) 0);
        }
    }

    @Override
    protected Key engineUnwrap(byte[] wrapped, String algorithm, int type)
            throws InvalidKeyException, NoSuchAlgorithmException {
        byte[] encoded;
        try {
            encoded = message.doFinal(wrapped, 0, wrapped.length);
        } catch (BadPaddingException e) {
            throw new InvalidKeyException("no wrapped key, or wrapped with another one", e);
        }
        try {
            return AesKeys.unwrapped(encoded, algorithm, type);
        } finally {
            Arrays.fill(encoded, (byte) 0);
        }
    }
}
