/** The security provider "Zel", which brings the native library zelspi to the Java security API. */
module com.vantrel.zel.provider {
    exports com.vantrel.zel.provider;

    // The platform makes the engines by reflection.
    exports com.vantrel.zel.provider.spi to java.base;

    provides java.security.Provider with com.vantrel.zel.provider.ZelSecurityProvider;
}
