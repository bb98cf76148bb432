// The entry points of the class ZelAes256CipherSpi. engineInit0 makes the engine, the others ask for it.
#include "bridge/engine_call.h"
#include "bridge/zel_aes256_cipher.h"

namespace {

using Bound = ZelAes256Cipher;

// The two texts differ on purpose.
constexpr const char* kNoEngineInUpdate = "aes engine not intialized";
constexpr const char* kNoEngine = "aes engine not initialized";

} // namespace

extern "C" {

JNIEXPORT void JNICALL Java_com_vantrel_zel_provider_spi_ZelAes256CipherSpi_engineInit0(JNIEnv* env, jobject self,
                                                                                        jint opmode, jbyteArray iv,
                                                                                        jbyteArray key) {
    Bound* const bound = findOrMakeEngine<Bound>(
        env, self, [] { return new ZelAes256Cipher; }, [](Bound&) {});
    callEngine(bound, [&](Bound& engine) { engine.init(env, self, opmode, iv, key); });
}

JNIEXPORT jbyteArray JNICALL Java_com_vantrel_zel_provider_spi_ZelAes256CipherSpi_engineUpdate0___3BII(
    JNIEnv* env, jobject self, jbyteArray input, jint offset, jint length) {
    return callEngine(requireEngine<Bound>(env, self, kNoEngineInUpdate),
                      [&](Bound& engine) { return engine.update(env, self, input, offset, length); });
}

JNIEXPORT jint JNICALL Java_com_vantrel_zel_provider_spi_ZelAes256CipherSpi_engineUpdate0___3BII_3BI(
    JNIEnv* env, jobject self, jbyteArray input, jint offset, jint length, jbyteArray output, jint outputOffset) {
    return callEngine(requireEngine<Bound>(env, self, kNoEngine), [&](Bound& engine) {
        return engine.update(env, self, input, offset, length, output, outputOffset);
    });
}

JNIEXPORT jbyteArray JNICALL Java_com_vantrel_zel_provider_spi_ZelAes256CipherSpi_engineDoFinal0___3BII(
    JNIEnv* env, jobject self, jbyteArray input, jint offset, jint length) {
    return callEngine(requireEngine<Bound>(env, self, kNoEngine),
                      [&](Bound& engine) { return engine.doFinal(env, self, input, offset, length); });
}

JNIEXPORT jint JNICALL Java_com_vantrel_zel_provider_spi_ZelAes256CipherSpi_engineDoFinal0___3BII_3BI(
    JNIEnv* env, jobject self, jbyteArray input, jint offset, jint length, jbyteArray output, jint outputOffset) {
    return callEngine(requireEngine<Bound>(env, self, kNoEngine), [&](Bound& engine) {
        return engine.doFinal(env, self, input, offset, length, output, outputOffset);
    });
}

JNIEXPORT void JNICALL Java_com_vantrel_zel_provider_spi_ZelAes256CipherSpi_deleteContext0(JNIEnv* env, jobject self) {
    destroyEngine<Bound>(env, self);
}

} // extern "C"
