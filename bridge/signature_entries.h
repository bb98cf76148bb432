// The entry points of a signature class, written once for all of them.
//
// The two init methods make the engine, the others ask for it.
#ifndef ZELSPI_BRIDGE_SIGNATURE_ENTRIES_H
#define ZELSPI_BRIDGE_SIGNATURE_ENTRIES_H

#include "bridge/engine_call.h"

// SignatureEntries: Kind names the Engine that is bound, and make(), which gives a new one or null.
template <typename Kind> struct SignatureEntries {
    using Engine = typename Kind::Engine;

    static Engine* findOrMake(JNIEnv* env, jobject self) {
        return findOrMakeEngine<Engine>(env, self, Kind::make, [](Engine&) {});
    }
    static Engine* require(JNIEnv* env, jobject self) {
        return requireEngine<Engine>(env, self, "sig engine not intialized"); // spelt so on purpose
    }
    static jboolean toJava(bool value) {
        return value ? JNI_TRUE : JNI_FALSE;
    }

    static void initVerify(JNIEnv* env, jobject self, jbyteArray key) {
        callEngine(findOrMake(env, self), [&](Engine& engine) { engine.initVerify(env, self, key); });
    }
    static void initSign(JNIEnv* env, jobject self, jbyteArray key) {
        callEngine(findOrMake(env, self), [&](Engine& engine) { engine.initSign(env, self, key); });
    }
    static void update(JNIEnv* env, jobject self, jbyte input) {
        callEngine(require(env, self), [&](Engine& engine) { engine.update(env, self, input); });
    }
    static void update(JNIEnv* env, jobject self, jbyteArray input, jint offset, jint length) {
        callEngine(require(env, self), [&](Engine& engine) { engine.update(env, self, input, offset, length); });
    }
    static jbyteArray sign(JNIEnv* env, jobject self) {
        return callEngine(require(env, self), [&](Engine& engine) { return engine.sign(env, self); });
    }
    static jint sign(JNIEnv* env, jobject self, jbyteArray output, jint offset, jint length) {
        return callEngine(require(env, self),
                          [&](Engine& engine) { return engine.sign(env, self, output, offset, length); });
    }
    // Without an engine verify returns true; the exception is what Java sees.
    static jboolean verify(JNIEnv* env, jobject self, jbyteArray signature) {
        return callEngine(
            require(env, self), [&](Engine& engine) { return toJava(engine.verify(env, self, signature)); },
            jboolean{JNI_TRUE});
    }
    static jboolean verify(JNIEnv* env, jobject self, jbyteArray signature, jint offset, jint length) {
        return callEngine(
            require(env, self),
            [&](Engine& engine) { return toJava(engine.verify(env, self, signature, offset, length)); },
            jboolean{JNI_TRUE});
    }
    static void destroy(JNIEnv* env, jobject self) {
        destroyEngine<Engine>(env, self);
    }
};

// ZEL_SIGNATURE_ENTRIES: exports them for one Java class of the package spi.
#define ZEL_SIGNATURE_ENTRY(Result, JavaClass, method)                                                                 \
    extern "C" JNIEXPORT Result JNICALL Java_com_vantrel_zel_provider_spi_##JavaClass##_##method
#define ZEL_SIGNATURE_ENTRIES(JavaClass, Kind)                                                                         \
    ZEL_SIGNATURE_ENTRY(void, JavaClass, engineInitVerify0)(JNIEnv * env, jobject self, jbyteArray key) {              \
        SignatureEntries<Kind>::initVerify(env, self, key);                                                            \
    }                                                                                                                  \
    ZEL_SIGNATURE_ENTRY(void, JavaClass, engineInitSign0)(JNIEnv * env, jobject self, jbyteArray key) {                \
        SignatureEntries<Kind>::initSign(env, self, key);                                                              \
    }                                                                                                                  \
    ZEL_SIGNATURE_ENTRY(void, JavaClass, engineUpdate0__B)(JNIEnv * env, jobject self, jbyte input) {                  \
        SignatureEntries<Kind>::update(env, self, input);                                                              \
    }                                                                                                                  \
    ZEL_SIGNATURE_ENTRY(void, JavaClass, engineUpdate0___3BII)                                                         \
    (JNIEnv * env, jobject self, jbyteArray input, jint offset, jint length) {                                         \
        SignatureEntries<Kind>::update(env, self, input, offset, length);                                              \
    }                                                                                                                  \
    ZEL_SIGNATURE_ENTRY(jbyteArray, JavaClass, engineSign0__)(JNIEnv * env, jobject self) {                            \
        return SignatureEntries<Kind>::sign(env, self);                                                                \
    }                                                                                                                  \
    ZEL_SIGNATURE_ENTRY(jint, JavaClass, engineSign0___3BII)                                                           \
    (JNIEnv * env, jobject self, jbyteArray output, jint offset, jint length) {                                        \
        return SignatureEntries<Kind>::sign(env, self, output, offset, length);                                        \
    }                                                                                                                  \
    ZEL_SIGNATURE_ENTRY(jboolean, JavaClass, engineVerify0___3B)(JNIEnv * env, jobject self, jbyteArray signature) {   \
        return SignatureEntries<Kind>::verify(env, self, signature);                                                   \
    }                                                                                                                  \
    ZEL_SIGNATURE_ENTRY(jboolean, JavaClass, engineVerify0___3BII)                                                     \
    (JNIEnv * env, jobject self, jbyteArray signature, jint offset, jint length) {                                     \
        return SignatureEntries<Kind>::verify(env, self, signature, offset, length);                                   \
    }                                                                                                                  \
    ZEL_SIGNATURE_ENTRY(void, JavaClass, deleteContext0)(JNIEnv * env, jobject self) {                                 \
        SignatureEntries<Kind>::destroy(env, self);                                                                    \
    }

#endif
