#include "bridge/zel_dsa_key_pair_generator.h"

#include "bridge/key_pair_steps.h"
#include "core/pubkey/dsa/dsa.h"
#include "core/pubkey/key/key_der.h"
#include "core/pubkey/key/scoped_key.h"

namespace {

// The sizes are the core's to refuse: taken as unsigned, no negative one is a size.
Status generate(const RandomBytes& random, AsymmetricKey* key, jint keySize) {
    return Dsa_GenerateKey(random, asymKeyDsa(key), static_cast<std::uint32_t>(keySize), nullptr, nullptr, nullptr,
                           nullptr);
}

constexpr KeyPairSteps kDsaSteps = {"error creating dsa key pair", "error generating dsa key pair", AsymKey_MakeDsa,
                                    generate, DsaKey_ToDer};

} // namespace

ZelDsaKeyPairGenerator::~ZelDsaKeyPairGenerator() = default;

jbyteArray ZelDsaKeyPairGenerator::generateKeyPair(JNIEnv* env, jobject, jint keySize) {
    return newKeyPair(env, keySize, kDsaSteps);
}

jbyteArray ZelDsaKeyPairGenerator::generateKeyPair(JNIEnv* env, jobject object, jint keySize, jbyteArray, jbyteArray,
                                                   jbyteArray) {
    return generateKeyPair(env, object, keySize); // with fresh parameters, whatever is given: on purpose
}
