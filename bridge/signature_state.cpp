#include "bridge/signature_state.h"

#include "bridge/java_exceptions.h"

SignatureState::SignatureState() : key{kKeyEmpty, nullptr}, digest(nullptr), mode(kNotInitialized) {
}

SignatureState::~SignatureState() {
    forget();
}

void SignatureState::forget() {
    mode = kNotInitialized;
    (void)AsymKey_Uninit(&key, nullptr); // the type is always one of the three
    delete digest;
    digest = nullptr;
}

bool SignatureState::reset(JNIEnv* env, jobject object, ZelShaMessageDigest* fresh) {
    forget();
    digest = fresh;
    if (digest == nullptr) {
        raiseOutOfMemory(env);
        return false;
    }
    digest->reset(env, object);
    return env->ExceptionCheck() == JNI_FALSE;
}

Status SignatureState::nativeReset(ZelShaMessageDigest* fresh) {
    forget();
    digest = fresh;
    return digest == nullptr ? ERR_MEM_ALLOC_FAIL : digest->nativeReset();
}

bool SignatureState::requireMode(JNIEnv* env, std::int32_t wanted) const {
    if (mode != wanted) {
        ZelObject::throwStaticException(env, kSignatureException,
                                        wanted == kSigning ? "signature not initialized for signing"
                                                           : "signature not initialized for verifying",
                                        OK);
    }
    return mode == wanted;
}

bool SignatureState::requireInitialized(JNIEnv* env) const {
    if (mode == kNotInitialized) {
        ZelObject::throwStaticException(env, kSignatureException, "signature not initialized", OK);
    }
    return mode != kNotInitialized;
}

void SignatureState::update(JNIEnv* env, jobject object, jbyte input) {
    if (requireInitialized(env)) {
        digest->update(env, object, input);
    }
}

void SignatureState::update(JNIEnv* env, jobject object, jbyteArray input, jint offset, jint length) {
    if (requireInitialized(env)) {
        digest->update(env, object, input, offset, length);
    }
}

bool SignatureState::finishDigest(JNIEnv* env, jobject object, std::uint8_t* output, std::uint32_t length) {
    const int wanted = static_cast<int>(length);
    // A digest that is there although no new message could be started has left an exception as well.
    if (digest->digest(env, object, output, wanted) == wanted && env->ExceptionCheck() == JNI_FALSE) {
        return true;
    }
    ZelObject::throwStaticException(env, kSignatureException, "error calculating final digest", OK);
    return false;
}
