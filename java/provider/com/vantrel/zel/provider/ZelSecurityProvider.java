package com.vantrel.zel.provider;

import com.vantrel.zel.provider.internal.NativeInfo;
import com.vantrel.zel.provider.internal.NativeLibrary;
import com.vantrel.zel.provider.internal.RandomStart;
import com.vantrel.zel.provider.internal.SelfTest;
import com.vantrel.zel.provider.internal.Version;
import java.security.Provider;
import java.security.ProviderException;
import java.util.HashMap;
import java.util.List;
import java.util.Map;
import java.util.concurrent.TimeUnit;

/**
 * The security provider "Zel": message digests, a cipher, signatures, key pairs and random numbers from the native library zelspi.
 *
 * <p>Add it with {@code Security.addProvider(new ZelSecurityProvider())}, or name this class in a line of the
 * {@code java.security} file. The {@link com.vantrel.zel.provider package} says which position suits whom and shows each service.
 *
 * <p>A program can ask the provider for its state:
 *
 * <pre>{@code
 * ZelSecurityProvider zel = (ZelSecurityProvider) Security.getProvider(ZelSecurityProvider.NAME);
 * boolean isHealthy = zel.awaitRandom(10, TimeUnit.SECONDS) && zel.selfTest().isPassed();
 * String detail = zel.nativeVersion() + " from " + zel.nativeLocation() + " on " + zel.kernels();
 * }</pre>
 *
 * <p>All methods may be called by several threads at once.
 */
public final class ZelSecurityProvider extends Provider {
    /** The name by which the provider is asked for. */
    public static final String NAME = "Zel";

    private static final long serialVersionUID = 1L;

    /** One service: its type, its name, the class in the package spi, and the other names it goes by. */
    private static final class Row {
        final String type;
        final String algorithm;
        final String spiClass;
        final List<String> aliases;

        Row(String type, String algorithm, String spiClass, String... aliases) {
            this.type = type;
            this.algorithm = algorithm;
            this.spiClass = spiClass;
            this.aliases = List.of(aliases);
        }
    }

    /** Everything that the provider offers. */
    private static final List<Row> SERVICES = List.of(
            // First of its type: what new SecureRandom() takes where this provider stands first.
            new Row("SecureRandom", "FIPS186PRNG", "ZelSecureRandomSpi"),
            new Row("MessageDigest", "SHA-1", "ZelSha1MessageDigestSpi",
                    "SHA", "SHA1", "1.3.14.3.2.26", "OID.1.3.14.3.2.26"),
            new Row("MessageDigest", "SHA-256", "ZelSha256MessageDigestSpi",
                    "SHA256", "2.16.840.1.101.3.4.2.1", "OID.2.16.840.1.101.3.4.2.1"),
            // No plain "AES" and no OID: to other providers these mean ECB, and CBC without padding.
            new Row("Cipher", "AES_256/CBC/PKCS5Padding", "ZelAes256CipherSpi",
                    "AES/CBC/PKCS5Padding"),
            new Row("Signature", "SHA1withRSA", "ZelSha1WithRsaSignatureSpi",
                    "1.2.840.113549.1.1.5", "OID.1.2.840.113549.1.1.5", "1.3.14.3.2.29", "OID.1.3.14.3.2.29"),
            new Row("Signature", "SHA256withRSA", "ZelSha256WithRsaSignatureSpi",
                    "1.2.840.113549.1.1.11", "OID.1.2.840.113549.1.1.11"),
            new Row("Signature", "SHA1withDSA", "ZelSha1WithDsaSignatureSpi",
                    "DSA", "DSS", "SHA/DSA", "SHA-1/DSA", "SHA1/DSA", "SHAwithDSA", "DSAWithSHA1",
                    "1.2.840.10040.4.3", "OID.1.2.840.10040.4.3", "1.3.14.3.2.13", "OID.1.3.14.3.2.13",
                    "1.3.14.3.2.27", "OID.1.3.14.3.2.27"),
            new Row("KeyPairGenerator", "RSA", "ZelRsaKeyPairGeneratorSpi",
                    "1.2.840.113549.1.1.1", "OID.1.2.840.113549.1.1.1", "1.2.840.113549.1.1", "OID.1.2.840.113549.1.1"),
            new Row("KeyPairGenerator", "DSA", "ZelDsaKeyPairGeneratorSpi",
                    "1.2.840.10040.4.1", "OID.1.2.840.10040.4.1", "1.3.14.3.2.12", "OID.1.3.14.3.2.12"));

    /**
     * Loads the native library, registers the services, and starts the random generator in the background.
     *
     * @throws ProviderException if there is no library for this machine, or it cannot be loaded
     */
    public ZelSecurityProvider() {
        super(NAME, Version.TEXT, "Zel: native SHA-1, SHA-256, AES-256, RSA, DSA and FIPS 186-2 random numbers");
        NativeLibrary.load();
        for (Row row : SERVICES) {
            String className = getClass().getPackageName() + ".spi." + row.spiClass;
            putService(new Service(this, row.type, row.algorithm, className, row.aliases, attributes(row)));
        }
        RandomStart.begin(ZelSecurityProvider::initRandomContext0);
    }

    /**
     * The version of the native library, which is always that of the provider: another one is not loaded.
     *
     * @return the version that the library itself reports, such as "1.2.3"
     */
    public String nativeVersion() {
        return NativeInfo.version();
    }

    /**
     * Where the native library was loaded from.
     *
     * @return its file where it stood in a folder of {@code java.library.path}, else the URL of its place in the provider's jar
     */
    public String nativeLocation() {
        return NativeLibrary.origin();
    }

    /**
     * The implementations that were chosen for this processor. Names may change from version to version; they are for logs.
     *
     * @return the name of each kernel by what it computes, such as "AES"
     */
    public Map<String, String> kernels() {
        return NativeInfo.kernels();
    }

    /**
     * Whether the random generator has been seeded; does not wait.
     *
     * @return whether random bytes can be had without waiting for the seeding
     */
    public boolean isRandomReady() {
        return NativeInfo.isRandomReady();
    }

    /**
     * Waits until the random generator is ready, which takes some six seconds from the start of the provider. Tries again to
     * start a generator that could not be started. A timeout or an interrupt ends the waiting, not the start.
     *
     * @param timeout the longest time to wait; 0 or less only begins the start, if that is needed
     * @param unit the unit of the timeout
     * @return whether the generator is ready
     * @throws InterruptedException if the thread is interrupted while it waits
     * @throws ProviderException if the generator cannot be started; the cause says why
     */
    public boolean awaitRandom(long timeout, TimeUnit unit) throws InterruptedException {
        return RandomStart.await(ZelSecurityProvider::initRandomContext0, timeout, unit);
    }

    /**
     * Runs known answers through the services: digests, the cipher in both directions, signatures made and checked with fixed
     * keys; and draws random bytes. Key pair generators are left out, for which there are no known answers. It takes a tenth
     * of a second the first time and less later, and waits for the random generator if that is not ready. The provider need not
     * be registered.
     *
     * @return the outcomes; a service that fails is reported there, not by an exception
     */
    public SelfTestResult selfTest() {
        return new SelfTestResult(SelfTest.run(this));
    }

    /** What the JCA knows of a service without trying it: for other keys it goes to the next provider at once. */
    private static Map<String, String> attributes(Row row) {
        Map<String, String> attributes = new HashMap<>();
        attributes.put("ImplementedIn", "Software");
        switch (row.type) {
            case "SecureRandom": // the generator behind it is one for all threads
                attributes.put("ThreadSafe", "true");
                break;
            case "Cipher":
                attributes.put("SupportedKeyFormats", "RAW");
                break;
            case "Signature":
                String kind = row.algorithm.endsWith("RSA") ? "RSA" : "DSA";
                attributes.put("SupportedKeyClasses", "java.security.interfaces." + kind + "PublicKey"
                        + "|java.security.interfaces." + kind + "PrivateKey");
                break;
            default:
                break;
        }
        return attributes;
    }

    /**
     * Makes the process's random generator; blocks for some six seconds.
     *
     * @return its handle
     */
    private static native long initRandomContext0();
}
