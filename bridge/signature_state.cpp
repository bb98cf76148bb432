#include "bridge/signature_state.h"

SignatureState::SignatureState() : key_{kKeyEmpty, nullptr}, digest_(nullptr), mode_(kNotInitialized) {
}

SignatureState::~SignatureState() {
    forget();
}

void SignatureState::forget() {
    mode_ = kNotInitialized;
    (void)AsymKey_Uninit(&key_, nullptr); // the type is always one of the three
    delete digest_;
    digest_ = nullptr;
}

bool SignatureState::reset(JNIEnv* env, jobject object, ZelShaMessageDigest* fresh) {
    forget();
    digest_ = fresh;
    if (digest_ == nullptr) {
        raiseOutOfMemory(env);
        return false;
    }
    digest_->reset(env, object);
    return env->ExceptionCheck() == JNI_FALSE;
}

Status SignatureState::nativeReset(ZelShaMessageDigest* fresh) {
    forget();
    digest_ = fresh;
    return digest_ == nullptr ? ERR_MEM_ALLOC_FAIL : digest_->nativeReset();
}

bool SignatureState::requireMode(JNIEnv* env, std::int32_t expectedMode) const {
    if (mode_ != expectedMode) {
        ZelObject::throwStaticException(env, kSignatureException,
                                        expectedMode == kSigning ? "signature not initialized for signing"
                                                                 : "signature not initialized for verifying",
                                        OK);
    }
    return mode_ == expectedMode;
}

bool SignatureState::requireInitialized(JNIEnv* env) const {
    if (mode_ == kNotInitialized) {
        ZelObject::throwStaticException(env, kSignatureException, "signature not initialized", OK);
    }
    return mode_ != kNotInitialized;
}

void SignatureState::update(JNIEnv* env, jobject object, jbyte input) {
    if (requireInitialized(env)) {
        digest_->update(env, object, input);
    }
}

void SignatureState::update(JNIEnv* env, jobject object, jbyteArray input, jint offset, jint length) {
    if (requireInitialized(env)) {
        digest_->update(env, object, input, offset, length);
    }
}

Status SignatureState::nativeUpdate(const std::uint8_t* input, int offset, int length) {
    return mode_ == kNotInitialized ? ERR_GENERAL : digest_->nativeUpdate(input, offset, length);
}

int SignatureState::nativeDigest(std::uint8_t* output, std::uint32_t length) {
    return digest_->nativeDigest(output, static_cast<int>(length));
}

bool SignatureState::finishDigest(JNIEnv* env, jobject object, std::uint8_t* output, std::uint32_t length) {
    const int digestBytes = static_cast<int>(length);
    // A digest that is there although no new message could be started has left an exception as well.
    if (digest_->digest(env, object, output, digestBytes) == digestBytes && env->ExceptionCheck() == JNI_FALSE) {
        return true;
    }
    ZelObject::throwStaticException(env, kSignatureException, "error calculating final digest", OK);
    return false;
}
