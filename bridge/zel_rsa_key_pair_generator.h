// ZelRsaKeyPairGenerator: the engine of the key pair generator for RSA. It has no state.
#ifndef ZELSPI_BRIDGE_ZEL_RSA_KEY_PAIR_GENERATOR_H
#define ZELSPI_BRIDGE_ZEL_RSA_KEY_PAIR_GENERATOR_H

#include "bridge/zel_object.h"

class ZEL_EXPORT ZelRsaKeyPairGenerator : public ZelObject {
public:
    virtual ~ZelRsaKeyPairGenerator();

    // generateKeyPair: a fresh key with a modulus of keySize bits, as a new array with its PKCS#1 RSAPrivateKey. The
    // search takes a time that grows fast with the size and differs from key to key.
    // In/out:  publicExponent is not looked at: the exponent is always 65537.
    // Errors:  null after raising "java/security/ProviderException", with the status: "Unable to acquire secure random
    //          context"; "error initializing asymmetric key"; "error creating rsa key pair"; "error generating rsa key
    //          pair", with ERR_INVALID_ARG for a size that is negative, above 16384, or above 896 and no multiple
    //          of 128, and ERR_RSA_KEY_LENGTH_TOO_SMALL from 0 to 896; "error generating DER from key".
    jbyteArray generateKeyPair(JNIEnv* env, jobject object, jint keySize, jint publicExponent);
};

#endif
