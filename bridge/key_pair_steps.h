// What the key pair generators have in common: a key is made, generated and written as DER into a Java array, and is gone
// again when the call returns.
#ifndef ZELSPI_BRIDGE_KEY_PAIR_STEPS_H
#define ZELSPI_BRIDGE_KEY_PAIR_STEPS_H

#include "bridge/zel_object.h"
#include "core/pubkey/key/asym_key.h"
#include "core/random/random_bytes.h"

// KeyPairSteps: the steps for one kind of key, and what is raised when one fails.
struct KeyPairSteps {
    const char* makeFailed;
    const char* generateFailed;
    Status (*make)(AsymmetricKey* key, vlong** queue);
    Status (*generate)(const RandomBytes& random, AsymmetricKey* key, jint keySize);
    Status (*toDer)(const AsymmetricKey* key, std::uint8_t** der, std::uint32_t* derLength);
};

// newKeyPair: the DER of a fresh key of keySize bits as a new array.
// Errors:  null after raising "java/security/ProviderException": "Unable to acquire secure random context", the messages
//          of the steps, "error generating DER from key", all with the status; or OutOfMemoryError.
jbyteArray newKeyPair(JNIEnv* env, jint keySize, const KeyPairSteps& steps);

#endif
