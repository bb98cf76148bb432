// ZelDsaKeyPairGenerator: the engine of the key pair generator for DSA. It has no state.
#ifndef ZELSPI_BRIDGE_ZEL_DSA_KEY_PAIR_GENERATOR_H
#define ZELSPI_BRIDGE_ZEL_DSA_KEY_PAIR_GENERATOR_H

#include "bridge/zel_object.h"

class ZEL_EXPORT ZelDsaKeyPairGenerator : public ZelObject {
public:
    virtual ~ZelDsaKeyPairGenerator();

    // generateKeyPair: fresh parameters with a p of keySize bits, which can only be 1024, and a key pair, as a new array
    // with the DER SEQUENCE { 0, p, q, g, y, x } of INTEGERs.
    // Errors:  null after raising "java/security/ProviderException", with the status: "Unable to acquire secure random
    //          context"; "error initializing asymmetric key"; "error creating dsa key pair"; "error generating dsa key
    //          pair"; "error generating DER from key".
    jbyteArray generateKeyPair(JNIEnv* env, jobject object, jint keySize);

    // generateKeyPair: the same: p, q and g are not looked at and may be null.
    jbyteArray generateKeyPair(JNIEnv* env, jobject object, jint keySize, jbyteArray p, jbyteArray q, jbyteArray g);
};

#endif
