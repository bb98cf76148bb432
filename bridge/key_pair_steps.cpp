#include "bridge/key_pair_steps.h"

#include "bridge/java_arrays.h"
#include "core/pubkey/key/scoped_key.h"
#include "core/random/shared_random.h"

jbyteArray newKeyPair(JNIEnv* env, jint keySize, const KeyPairSteps& steps) {
    RandomContext* const context = ZelObject::getRandomContext(env);
    if (context == nullptr) {
        return nullptr;
    }
    ScopedKey key;
    if (!requireOk(env, kProviderException, "error initializing asymmetric key", AsymKey_Init(key.get())) ||
        !requireOk(env, kProviderException, steps.makeFailed, steps.make(key.get(), nullptr)) ||
        !requireOk(env, kProviderException, steps.generateFailed,
                   steps.generate(sharedBytes(context), key.get(), keySize))) {
        return nullptr;
    }
    std::uint8_t* bytes = nullptr;
    std::uint32_t length = 0;
    const Status status = steps.toDer(key.get(), &bytes, &length);
    SecretBuffer der;
    der.adopt(bytes, length);
    if (!requireOk(env, kProviderException, "error generating DER from key", status)) {
        return nullptr;
    }
    // Through a critical region: the VM frees the copies that GetByteArrayElements makes without wiping them.
    return arrayOf(env, der.data(), length);
}
