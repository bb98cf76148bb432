/**
 * The security provider "Zel": SHA-1 and SHA-256, AES-256-CBC, RSA and DSA signatures and key pairs, and random numbers,
 * computed by the native library zelspi. Programs use it through {@link java.security} and {@link javax.crypto}; its own class,
 * {@link com.vantrel.zel.provider.ZelSecurityProvider}, is for registering it and for asking for its state.
 *
 * <h2>Which position?</h2>
 *
 * <p>Programs that name no provider are served by the first in the list that can. Leave the JDK's own in front and prefer this
 * one for what it does best, with two lines in the installation's {@code conf/security/java.security}, or in a file of your own
 * that {@code -Djava.security.properties=FILE} names:
 *
 * <pre>
 * security.provider.13=com.vantrel.zel.provider.ZelSecurityProvider
 * jdk.security.provider.preferred=Signature.SHA256withRSA:Zel, KeyPairGenerator.RSA:Zel, Cipher.AES/CBC/PKCS5Padding:Zel
 * </pre>
 *
 * <p>The number is the one behind the last that stands there: 13 on Linux, 14 on Windows. RSA and AES then come from Zel; random
 * numbers and all else from the JDK. Keys that Zel does not take go to the JDK's providers, but not from an object that has been
 * initialised with a key of Zel's: that one stays with Zel, and throws {@link java.security.InvalidKeyException}.
 *
 * <p>A program can also register the provider itself and ask for it by name, as in the examples below; or put it first, which makes
 * the first user of {@code new SecureRandom()} wait up to six seconds for its seeding.
 *
 * <pre>{@code
 * Security.addProvider(new ZelSecurityProvider());
 * }</pre>
 *
 * <p>A request for a service of a provider that is not registered throws {@link java.security.NoSuchProviderException}. Constructing
 * the provider throws {@link java.security.ProviderException} where there is no native library for the machine or it cannot be
 * loaded; the message says what helps. From Java 22 on the VM warns of native code without
 * {@code --enable-native-access=com.vantrel.zel.provider} ({@code ALL-UNNAMED} on the class path).
 *
 * <h2>Digests</h2>
 *
 * <pre>{@code
 * byte[] message = "Received with thanks.".getBytes(StandardCharsets.UTF_8);
 * byte[] digest = MessageDigest.getInstance("SHA-256", "Zel").digest(message);
 * }</pre>
 *
 * <p>SHA-1 and SHA-256. Digests can be cloned. {@code digest(byte[], int, int)} throws {@link java.security.DigestException}
 * where the array has no room for the result.
 *
 * <h2>Encryption</h2>
 *
 * <pre>{@code
 * SecretKey key = new SecretKeySpec(SecureRandom.getInstance("FIPS186PRNG", "Zel").generateSeed(32), "AES");
 * Cipher cipher = Cipher.getInstance("AES/CBC/PKCS5Padding", "Zel");
 * cipher.init(Cipher.ENCRYPT_MODE, key); // with a fresh random IV
 * byte[] iv = cipher.getIV();
 * byte[] ciphertext = cipher.doFinal("Dear all, ...".getBytes(StandardCharsets.UTF_8));
 *
 * cipher.init(Cipher.DECRYPT_MODE, key, new IvParameterSpec(iv));
 * byte[] plaintext = cipher.doFinal(ciphertext);
 * }</pre>
 *
 * <p>Keys have 256 bits; others are an {@link java.security.InvalidKeyException}, other parameters than an IV of 16 bytes an
 * {@link java.security.InvalidAlgorithmParameterException}. {@code doFinal} throws {@link javax.crypto.BadPaddingException}
 * for a ciphertext that is not of whole blocks or has no padding at its end, and {@link javax.crypto.ShortBufferException} where the output has no room. CBC does not notice changes of a ciphertext, and
 * an attacker who learns which ciphertexts have a bad padding can read them: put a MAC over IV and ciphertext, and check it first.
 *
 * <h2>Key pairs and signatures</h2>
 *
 * <pre>{@code
 * KeyPairGenerator generator = KeyPairGenerator.getInstance("RSA", "Zel");
 * generator.initialize(3072);
 * KeyPair keys = generator.generateKeyPair();
 *
 * byte[] message = "Received with thanks.".getBytes(StandardCharsets.UTF_8);
 * Signature signature = Signature.getInstance("SHA256withRSA", "Zel"); // or SHA1withRSA, SHA1withDSA
 * signature.initSign(keys.getPrivate());
 * signature.update(message);
 * byte[] signed = signature.sign();
 *
 * signature.initVerify(keys.getPublic());
 * signature.update(message);
 * boolean isValid = signature.verify(signed);
 * }</pre>
 *
 * <p>The generators make RSA keys of 1024 to 16384 bits in steps of 128, and DSA keys of 1024 bits; other sizes throw
 * {@link java.security.InvalidParameterException}, other parameters
 * {@link java.security.InvalidAlgorithmParameterException}. {@code initSign} and {@code initVerify} throw
 * {@link java.security.InvalidKeyException} for keys that Zel does not take, with the reason. {@code verify} returns whether the
 * signature is valid, and throws {@link java.security.SignatureException} for one that has not the form of a signature; {@code sign} throws it
 * where the key does not work. A {@code SecureRandom} that a caller gives is not used.
 *
 * <h2>Random numbers</h2>
 *
 * <pre>{@code
 * byte[] nonce = new byte[16];
 * SecureRandom.getInstance("FIPS186PRNG", "Zel").nextBytes(nonce);
 * }</pre>
 *
 * <p>The generator is seeded in the background, once, when the provider starts; earlier requests wait, and
 * {@link com.vantrel.zel.provider.ZelSecurityProvider#awaitRandom awaitRandom} waits with a limit. All uses throw
 * {@link java.security.ProviderException} where the system gives no entropy.
 */
package com.vantrel.zel.provider;
