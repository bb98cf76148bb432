package com.vantrel.zel.provider.spi;

import com.vantrel.zel.provider.ZelSecurityProvider;
import java.security.NoSuchAlgorithmException;
import java.security.SecureRandom;

/** Initialisation vectors for those who name none. */
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

    /** New random bytes, from the generator given where this provider has none of its own. */
    static byte[] bytes(int count, SecureRandom given) {
        byte[] bytes = new byte[count];
        SecureRandom random = OWN != null ? OWN : given != null ? given : new SecureRandom();
        random.nextBytes(bytes);
        return bytes;
    }
}
