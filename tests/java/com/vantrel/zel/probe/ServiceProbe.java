package com.vantrel.zel.probe;

import java.security.*;

/** Run in a child, with no package of the module's: uses the registered provider, or loads the library alone. */
public final class ServiceProbe {
    private ServiceProbe() {}

    /** Loads the file that is given; else prints the provider's module and a digest's length. */
    public static void main(String[] args) throws Exception {
        if (args.length > 0) {
            System.load(args[0]);
        } else {
            Provider zel = Security.getProvider("Zel");
            System.out.println(zel.getClass().getModule().getName() + " " + MessageDigest.getInstance("SHA256", zel).digest().length);
        }
    }
}
