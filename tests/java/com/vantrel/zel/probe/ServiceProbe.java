package com.vantrel.zel.probe;

import java.security.*;
import java.util.ServiceLoader;

/** Run in a child: finds the provider by its name or through a ServiceLoader, and uses it. No package of the module's. */
public final class ServiceProbe {
    private ServiceProbe() {}

    /** Prints the provider's module and a digest's length. */
    public static void main(String[] args) throws Exception {
        Provider zel = args[0].equals("registered") ? Security.getProvider("Zel")
                : ServiceLoader.load(Provider.class).stream().map(ServiceLoader.Provider::get)
                        .filter(provider -> provider.getName().equals("Zel")).findFirst().get();
        byte[] digest = MessageDigest.getInstance("SHA256", zel).digest();
        System.out.println(zel.getClass().getModule().getName() + " " + digest.length);
    }
}
