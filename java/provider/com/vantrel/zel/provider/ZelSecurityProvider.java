package com.vantrel.zel.provider;

import com.vantrel.zel.provider.internal.NativeLibrary;
import com.vantrel.zel.provider.internal.RandomStart;
import com.vantrel.zel.provider.internal.Version;
import java.security.Provider;
import java.security.ProviderException;
import java.util.HashMap;
import java.util.List;
import java.util.Map;

/**
 * The security provider "Zel": message digests, a cipher, signatures, key pairs and random numbers from the native library zelspi.
 *
 * <p>Add it with {@code Security.addProvider(new ZelSecurityProvider())}, or name this class in a line of the
 * {@code java.security} file.
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
            // No plain "AES" and no OID: elsewhere these mean ECB and CBC without padding, so a program that asks for them had
            // better be served elsewhere.
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

    /** What the JCA knows of a service without trying it: with other keys a program is served by another provider at once. */
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
