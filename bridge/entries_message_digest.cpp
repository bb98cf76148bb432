// The entry points of the classes ZelSha1MessageDigestSpi and ZelSha256MessageDigestSpi.
//
// Every one but engineReset0 and deleteContext0 resets an engine that it has just made, so that a digest is always
// ready.

#include "bridge/engine_call.h"
#include "bridge/zel_sha1_message_digest.h"
#include "bridge/zel_sha256_message_digest.h"

namespace {

// Whatever the algorithm, a digest engine is bound as its base.
using Bound = ZelShaMessageDigest;

template <typename Engine> Bound* readyEngine(JNIEnv* env, jobject self) {
    return findOrMakeEngine<Bound>(
        env, self, [] { return new Engine; }, [&](Bound& engine) { engine.reset(env, self); });
}

template <typename Engine> void updateByte(JNIEnv* env, jobject self, jbyte input) {
    callEngine(readyEngine<Engine>(env, self), [&](Bound& engine) { engine.update(env, self, input); });
}

template <typename Engine> void updateArray(JNIEnv* env, jobject self, jbyteArray input, jint offset, jint length) {
    callEngine(readyEngine<Engine>(env, self), [&](Bound& engine) { engine.update(env, self, input, offset, length); });
}

template <typename Engine> void reset(JNIEnv* env, jobject self) {
    Bound* const bound = findOrMakeEngine<Bound>(
        env, self, [] { return new Engine; }, [](Bound&) {});
    callEngine(bound, [&](Bound& engine) { engine.reset(env, self); });
}

template <typename Engine> jbyteArray digestNew(JNIEnv* env, jobject self) {
    return callEngine(readyEngine<Engine>(env, self), [&](Bound& engine) { return engine.digest(env, self); });
}

template <typename Engine> jint digestInto(JNIEnv* env, jobject self, jbyteArray out, jint offset, jint length) {
    return callEngine(readyEngine<Engine>(env, self),
                      [&](Bound& engine) { return engine.digest(env, self, out, offset, length); });
}

void deleteDigest(JNIEnv* env, jobject self) {
    if (Bound* const engine = findEngine<Bound>(env, self)) {
        delete engine; // the digests alone destroy before they clear the field
        ZelObject::setContext(env, self, nullptr);
    }
}

} // namespace

extern "C" {

JNIEXPORT void JNICALL Java_com_vantrel_zel_provider_spi_ZelSha1MessageDigestSpi_engineUpdate0__B(JNIEnv* env,
                                                                                                  jobject self,
                                                                                                  jbyte input) {
    updateByte<ZelSha1MessageDigest>(env, self, input);
}

JNIEXPORT void JNICALL Java_com_vantrel_zel_provider_spi_ZelSha1MessageDigestSpi_engineUpdate0___3BII(
    JNIEnv* env, jobject self, jbyteArray input, jint offset, jint length) {
    updateArray<ZelSha1MessageDigest>(env, self, input, offset, length);
}

JNIEXPORT void JNICALL Java_com_vantrel_zel_provider_spi_ZelSha1MessageDigestSpi_engineReset0(JNIEnv* env,
                                                                                              jobject self) {
    reset<ZelSha1MessageDigest>(env, self);
}

JNIEXPORT jbyteArray JNICALL Java_com_vantrel_zel_provider_spi_ZelSha1MessageDigestSpi_engineDigest0__(JNIEnv* env,
                                                                                                       jobject self) {
    return digestNew<ZelSha1MessageDigest>(env, self);
}

JNIEXPORT jint JNICALL Java_com_vantrel_zel_provider_spi_ZelSha1MessageDigestSpi_engineDigest0___3BII(
    JNIEnv* env, jobject self, jbyteArray out, jint offset, jint length) {
    return digestInto<ZelSha1MessageDigest>(env, self, out, offset, length);
}

JNIEXPORT void JNICALL Java_com_vantrel_zel_provider_spi_ZelSha1MessageDigestSpi_deleteContext0(JNIEnv* env,
                                                                                                jobject self) {
    deleteDigest(env, self);
}

JNIEXPORT void JNICALL Java_com_vantrel_zel_provider_spi_ZelSha256MessageDigestSpi_engineUpdate0__B(JNIEnv* env,
                                                                                                    jobject self,
                                                                                                    jbyte input) {
    updateByte<ZelSha256MessageDigest>(env, self, input);
}

JNIEXPORT void JNICALL Java_com_vantrel_zel_provider_spi_ZelSha256MessageDigestSpi_engineUpdate0___3BII(
    JNIEnv* env, jobject self, jbyteArray input, jint offset, jint length) {
    updateArray<ZelSha256MessageDigest>(env, self, input, offset, length);
}

JNIEXPORT void JNICALL Java_com_vantrel_zel_provider_spi_ZelSha256MessageDigestSpi_engineReset0(JNIEnv* env,
                                                                                                jobject self) {
    reset<ZelSha256MessageDigest>(env, self);
}

JNIEXPORT jbyteArray JNICALL Java_com_vantrel_zel_provider_spi_ZelSha256MessageDigestSpi_engineDigest0__(JNIEnv* env,
                                                                                                         jobject self) {
    return digestNew<ZelSha256MessageDigest>(env, self);
}

JNIEXPORT jint JNICALL Java_com_vantrel_zel_provider_spi_ZelSha256MessageDigestSpi_engineDigest0___3BII(
    JNIEnv* env, jobject self, jbyteArray out, jint offset, jint length) {
    return digestInto<ZelSha256MessageDigest>(env, self, out, offset, length);
}

JNIEXPORT void JNICALL Java_com_vantrel_zel_provider_spi_ZelSha256MessageDigestSpi_deleteContext0(JNIEnv* env,
                                                                                                  jobject self) {
    deleteDigest(env, self);
}

} // extern "C"
