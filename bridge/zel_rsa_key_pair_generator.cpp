#include "bridge/zel_rsa_key_pair_generator.h"

#include "bridge/key_pair_steps.h"
#include "core/pubkey/key/key_der.h"
#include "core/pubkey/key/scoped_key.h"
#include "core/pubkey/rsa/rsa.h"

namespace {

constexpr jint kMaxKeySize = 16384;
constexpr jint kKeySizeStep = 128;
constexpr jint kTooSmallForCore = 896; // this and less is below 1024 also when rounded: the core refuses it at once

Status generate(const RandomBytes& random, AsymmetricKey* key, jint keySize) {
    // Refused here because the core would search for ever, or for days.
    if (keySize < 0 || keySize > kMaxKeySize || (keySize > kTooSmallForCore && keySize % kKeySizeStep != 0)) {
        return ERR_INVALID_ARG;
    }
    return Rsa_GenerateKey(random, asymKeyRsa(key), static_cast<std::uint32_t>(keySize), nullptr);
}

constexpr KeyPairSteps kRsaSteps = {"error creating rsa key pair", "error generating rsa key pair", AsymKey_MakeRsa,
                                    generate, RsaKey_ToDer};

} // namespace

ZelRsaKeyPairGenerator::~ZelRsaKeyPairGenerator() = default;

jbyteArray ZelRsaKeyPairGenerator::generateKeyPair(JNIEnv* env, jobject, jint keySize, jint) {
    return newKeyPair(env, keySize, kRsaSteps);
}
