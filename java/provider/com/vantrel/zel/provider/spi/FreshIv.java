package com.vantrel.zel.provider.spi;

import com.vantrel.zel.provider.ZelSecurityProvider;
import java.security.NoSuchAlgorithmException;
import java.security.SecureRandom;

/** Initialisation vectors where the caller gives none. */
final class FreshIv {
    private static final String OWN_GENERATOR = "FIPS186PRNG";

    /** This provider's generator, or null where it has none. */
    private static final SecureRandom OWN = own();

    private FreshIv() {}

    private static SecureRandom own() {
        try {
            return SecureRandom.getInstance(OWN_GENERATOR, new ZelSecurityProvider());
        } catch (NoSuchAlgorithmException e) {
            return null;
        }
    }

    /** New random bytes, from the fallback where this provider has no generator of its own. */
    static byte[] bytes(int count, SecureRandom fallback) {
        byte[] bytes = new byte[count];
        SecureRandom random = OWN != null ? OWN : fallback != null ? fallback : new SecureRandom();
        random.nextBytes(bytes);
        return bytes;
    }
}
