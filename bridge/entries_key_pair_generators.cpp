// The entry points of the classes ZelRsaKeyPairGeneratorSpi and ZelDsaKeyPairGeneratorSpi. All make the engine.
#include "bridge/engine_call.h"
#include "bridge/zel_dsa_key_pair_generator.h"
#include "bridge/zel_rsa_key_pair_generator.h"

namespace {

template <typename Engine> Engine* boundEngine(JNIEnv* env, jobject self) {
    return findOrMakeEngine<Engine>(
        env, self, [] { return new Engine; }, [](Engine&) {});
}

} // namespace

extern "C" {

JNIEXPORT jbyteArray JNICALL Java_com_vantrel_zel_provider_spi_ZelRsaKeyPairGeneratorSpi_generateRsaKeyPair0(
    JNIEnv* env, jobject self, jint keySize, jint publicExponent) {
    return callEngine(boundEngine<ZelRsaKeyPairGenerator>(env, self), [&](ZelRsaKeyPairGenerator& engine) {
        return engine.generateKeyPair(env, self, keySize, publicExponent);
    });
}

JNIEXPORT void JNICALL Java_com_vantrel_zel_provider_spi_ZelRsaKeyPairGeneratorSpi_deleteContext0(JNIEnv* env,
                                                                                                  jobject self) {
    destroyEngine<ZelRsaKeyPairGenerator>(env, self);
}

JNIEXPORT jbyteArray JNICALL Java_com_vantrel_zel_provider_spi_ZelDsaKeyPairGeneratorSpi_generateDsaKeyPair0__I(
    JNIEnv* env, jobject self, jint keySize) {
    return callEngine(boundEngine<ZelDsaKeyPairGenerator>(env, self),
                      [&](ZelDsaKeyPairGenerator& engine) { return engine.generateKeyPair(env, self, keySize); });
}

JNIEXPORT jbyteArray JNICALL
Java_com_vantrel_zel_provider_spi_ZelDsaKeyPairGeneratorSpi_generateDsaKeyPair0__I_3B_3B_3B(JNIEnv* env, jobject self,
                                                                                            jint keySize, jbyteArray p,
                                                                                            jbyteArray q,
                                                                                            jbyteArray g) {
    return callEngine(boundEngine<ZelDsaKeyPairGenerator>(env, self), [&](ZelDsaKeyPairGenerator& engine) {
        return engine.generateKeyPair(env, self, keySize, p, q, g);
    });
}

JNIEXPORT void JNICALL Java_com_vantrel_zel_provider_spi_ZelDsaKeyPairGeneratorSpi_deleteContext0(JNIEnv* env,
                                                                                                  jobject self) {
    destroyEngine<ZelDsaKeyPairGenerator>(env, self);
}

} // extern "C"
