// SignatureTest: the entry points of a signature class on one Java object, and the messages of its exceptions.
#ifndef ZELSPI_TESTS_BRIDGE_SIGNATURE_FIXTURE_H
#define ZELSPI_TESTS_BRIDGE_SIGNATURE_FIXTURE_H

#include "tests/bridge/fake_jni_test.h"
#include "tests/support/hex.h"

// The entry points of one Java class; DECLARE_SIGNATURE_ENTRIES(JavaClass) makes them, under the class's name.
struct SignatureEntryPoints {
    void (*initVerify)(JNIEnv*, jobject, jbyteArray);
    void (*initSign)(JNIEnv*, jobject, jbyteArray);
    void (*updateByte)(JNIEnv*, jobject, jbyte);
    void (*update)(JNIEnv*, jobject, jbyteArray, jint, jint);
    jbyteArray (*sign)(JNIEnv*, jobject);
    jint (*signInto)(JNIEnv*, jobject, jbyteArray, jint, jint);
    jboolean (*verify)(JNIEnv*, jobject, jbyteArray);
    jboolean (*verifySlice)(JNIEnv*, jobject, jbyteArray, jint, jint);
    void (*destroy)(JNIEnv*, jobject);
};

#define SIGNATURE_ENTRY(JavaClass, method) Java_com_vantrel_zel_provider_spi_##JavaClass##_##method
#define DECLARE_SIGNATURE_ENTRIES(JavaClass)                                                                           \
    extern "C" {                                                                                                       \
    JNIEXPORT void JNICALL SIGNATURE_ENTRY(JavaClass, engineInitVerify0)(JNIEnv*, jobject, jbyteArray);                \
    JNIEXPORT void JNICALL SIGNATURE_ENTRY(JavaClass, engineInitSign0)(JNIEnv*, jobject, jbyteArray);                  \
    JNIEXPORT void JNICALL SIGNATURE_ENTRY(JavaClass, engineUpdate0__B)(JNIEnv*, jobject, jbyte);                      \
    JNIEXPORT void JNICALL SIGNATURE_ENTRY(JavaClass, engineUpdate0___3BII)(JNIEnv*, jobject, jbyteArray, jint, jint); \
    JNIEXPORT jbyteArray JNICALL SIGNATURE_ENTRY(JavaClass, engineSign0__)(JNIEnv*, jobject);                          \
    JNIEXPORT jint JNICALL SIGNATURE_ENTRY(JavaClass, engineSign0___3BII)(JNIEnv*, jobject, jbyteArray, jint, jint);   \
    JNIEXPORT jboolean JNICALL SIGNATURE_ENTRY(JavaClass, engineVerify0___3B)(JNIEnv*, jobject, jbyteArray);           \
    JNIEXPORT jboolean JNICALL SIGNATURE_ENTRY(JavaClass, engineVerify0___3BII)(JNIEnv*, jobject, jbyteArray, jint,    \
                                                                                jint);                                 \
    JNIEXPORT void JNICALL SIGNATURE_ENTRY(JavaClass, deleteContext0)(JNIEnv*, jobject);                               \
    }                                                                                                                  \
    constexpr SignatureEntryPoints JavaClass = {                                                                       \
        SIGNATURE_ENTRY(JavaClass, engineInitVerify0),  SIGNATURE_ENTRY(JavaClass, engineInitSign0),                   \
        SIGNATURE_ENTRY(JavaClass, engineUpdate0__B),   SIGNATURE_ENTRY(JavaClass, engineUpdate0___3BII),              \
        SIGNATURE_ENTRY(JavaClass, engineSign0__),      SIGNATURE_ENTRY(JavaClass, engineSign0___3BII),                \
        SIGNATURE_ENTRY(JavaClass, engineVerify0___3B), SIGNATURE_ENTRY(JavaClass, engineVerify0___3BII),              \
        SIGNATURE_ENTRY(JavaClass, deleteContext0)}

class SignatureTest : public FakeJniTest {
protected:
    using Bytes = std::vector<jbyte>;

    const SignatureEntryPoints* entries = nullptr; // of the class that object is of
    const std::string kSignature = "java/security/SignatureException: ";
    const std::string kProvider = "java/security/ProviderException: ";
    const std::string kNotForSigning = kSignature + "signature not initialized for signing";
    const std::string kNotForVerifying = kSignature + "signature not initialized for verifying";
    const std::string kNullArray = "java/lang/NullPointerException: array is null";
    const std::string kOutside = "java/lang/ArrayIndexOutOfBoundsException: offset or length out of range";
    const std::string kNoMemory = "java/lang/OutOfMemoryError: out of memory";

    void TearDown() override {
        if (entries != nullptr) {
            entries->destroy(env, object);
        }
        FakeJniTest::TearDown();
    }

    // "abc", in both forms of update.
    void updateAbc() {
        entries->updateByte(env, object, 'a');
        entries->update(env, object, jni.newBytes({'x', 'b', 'c', 'x'}), 1, 2);
    }
    // The verdict on a signature of "abc" by the engine that is initialised: "true", "false" or the exception.
    std::string verdict(const std::string& signature) {
        updateAbc();
        const bool isValid = entries->verify(env, object, jni.newHex(signature)) != JNI_FALSE;
        const std::string raised = jni.takePending();
        return raised.empty() ? isValid ? "true" : "false" : raised;
    }
    // Every entry point that needs an engine, without one or without an initialisation.
    void expectRefused(const std::string& update, const std::string& sign, const std::string& verify,
                       jboolean verifyResult) {
        entries->updateByte(env, object, 'a');
        EXPECT_EQ(jni.takePending(), update);
        entries->update(env, object, nullptr, 9, 9);
        EXPECT_EQ(jni.takePending(), update);
        EXPECT_EQ(entries->sign(env, object), nullptr);
        EXPECT_EQ(jni.takePending(), sign);
        EXPECT_EQ(entries->signInto(env, object, nullptr, 9, 9), 0);
        EXPECT_EQ(jni.takePending(), sign);
        EXPECT_EQ(entries->verify(env, object, nullptr), verifyResult);
        EXPECT_EQ(jni.takePending(), verify);
        EXPECT_EQ(entries->verifySlice(env, object, nullptr, 9, 9), verifyResult);
        EXPECT_EQ(jni.takePending(), verify);
    }
};

#endif
