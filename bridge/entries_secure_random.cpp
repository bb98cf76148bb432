// The entry points of the class ZelSecureRandomSpi, and the provider's start, which makes the random context.

#include "bridge/engine_call.h"
#include "bridge/zel_secure_random.h"

namespace {

// The one engine, bound to self on its first call. Null with an exception pending: the binding cannot be read or written.
ZelSecureRandom* boundEngine(JNIEnv* env, jobject self) {
    ZelSecureRandom* const engine = findEngine<ZelSecureRandom>(env, self);
    if (engine == nullptr && env->ExceptionCheck() == JNI_FALSE) {
        ZelObject::setContext(env, self, ZelSecureRandom::instance());
        return env->ExceptionCheck() == JNI_FALSE ? ZelSecureRandom::instance() : nullptr;
    }
    return engine;
}

} // namespace

extern "C" {

JNIEXPORT jlong JNICALL Java_com_vantrel_zel_provider_ZelSecurityProvider_initRandomContext0(JNIEnv* env, jobject) {
    return static_cast<jlong>(reinterpret_cast<std::intptr_t>(ZelObject::getRandomContext(env)));
}

JNIEXPORT void JNICALL Java_com_vantrel_zel_provider_spi_ZelSecureRandomSpi_engineSetSeed0(JNIEnv* env, jobject self,
                                                                                           jbyteArray seed) {
    callEngine(boundEngine(env, self), [&](ZelSecureRandom& engine) { engine.setSeed(env, self, seed); });
}

JNIEXPORT void JNICALL Java_com_vantrel_zel_provider_spi_ZelSecureRandomSpi_engineNextBytes0(JNIEnv* env, jobject self,
                                                                                             jbyteArray bytes) {
    callEngine(boundEngine(env, self), [&](ZelSecureRandom& engine) { engine.nextBytes(env, self, bytes); });
}

JNIEXPORT jbyteArray JNICALL Java_com_vantrel_zel_provider_spi_ZelSecureRandomSpi_engineGenerateSeed0(JNIEnv* env,
                                                                                                      jobject self,
                                                                                                      jint byteCount) {
    return callEngine(boundEngine(env, self),
                      [&](ZelSecureRandom& engine) { return engine.generateSeed(env, self, byteCount); });
}

} // extern "C"
