package com.vantrel.zel.tool;

import com.vantrel.zel.provider.ZelSecurityProvider;
import com.vantrel.zel.provider.internal.RandomStart;
import java.security.GeneralSecurityException;
import java.security.Provider.Service;
import java.security.SecureRandom;
import java.util.stream.Collectors;

/** The provider's engines. */
final class Engines {
    static final String TRANSFORMATION = "AES/CBC/PKCS5Padding";
    static final String GENERATOR = "FIPS186PRNG";

    /** The provider; the virtual machine's own list of providers stays as it is. */
    static final ZelSecurityProvider ZEL;

    static {
        RandomStart.leaveToFirstUser(); // most commands draw nothing, and seeding takes longer than they do
        ZEL = new ZelSecurityProvider();
    }

    private Engines() {}

    /** The provider's generator, seeded; a note on a terminal explains the wait. */
    static SecureRandom random() throws GeneralSecurityException {
        SecureRandom random = SecureRandom.getInstance(GENERATOR, ZEL);
        if (!ZEL.isRandomReady()) {
            Progress.showNote("zel: seeding the random generator, some six seconds ...");
            random.nextBytes(new byte[1]);
            Progress.showNote("");
        }
        return random;
    }

    /** Makes sure that the provider has the algorithm; the message for a wrong name lists those that there are. */
    static void require(String type, String algorithm) {
        if (ZEL.getService(type, algorithm) == null) {
            throw new Failures.UserError("unknown algorithm '" + algorithm + "'; there are " + algorithms(type));
        }
    }

    /** The algorithms of a type. */
    static String algorithms(String type) {
        return ZEL.getServices().stream()
                .filter(service -> service.getType().equals(type))
                .map(Service::getAlgorithm)
                .sorted()
                .collect(Collectors.joining(", "));
    }
}
