/** A program that uses the provider as a module. */
module com.example.notary {
    requires com.vantrel.zel.provider;
}
