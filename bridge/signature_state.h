// SignatureState: what every signature engine keeps from its initialisation to the signature: the key, the running
// digest, and what it is initialised for.
//
// The operations with a JNI environment leave a Java exception pending on failure, a SignatureException where no other
// is named. Without a digest engine the mode is kNotInitialized.
#ifndef ZELSPI_BRIDGE_SIGNATURE_STATE_H
#define ZELSPI_BRIDGE_SIGNATURE_STATE_H

#include "bridge/java_exceptions.h"
#include "bridge/zel_sha_message_digest.h"
#include "core/pubkey/key/asym_key.h"

class SignatureState {
public:
    static constexpr std::int32_t kNotInitialized = 0;
    static constexpr std::int32_t kSigning = 1;
    static constexpr std::int32_t kVerifying = 2;

    SignatureState();
    ~SignatureState();
    SignatureState(const SignatureState&) = delete;
    SignatureState& operator=(const SignatureState&) = delete;

    // reset: forgets the key and the hash, and starts afresh, not initialised, with the digest engine given; takes it
    // over, null for one that could not be made.
    // Errors:  false after raising OutOfMemoryError or ProviderException "error resetting digest".
    bool reset(JNIEnv* env, jobject object, ZelShaMessageDigest* fresh);

    // nativeReset: the same for native callers. Errors: ERR_MEM_ALLOC_FAIL.
    Status nativeReset(ZelShaMessageDigest* fresh);

    // requireMode: whether the engine is initialised so. Raises "signature not initialized for signing" or "... for
    // verifying".
    bool requireMode(JNIEnv* env, std::int32_t mode) const;

    // update: appends a byte, or a slice of an array. Raises "signature not initialized", and what the digest engine's
    // update raises.
    void update(JNIEnv* env, jobject object, jbyte input);
    void update(JNIEnv* env, jobject object, jbyteArray input, jint offset, jint length);

    // finishDigest: writes the digest to output[length] and starts a new message. Raises "error calculating final
    // digest".
    bool finishDigest(JNIEnv* env, jobject object, std::uint8_t* output, std::uint32_t length);

    // nativeUpdate: appends length bytes from input + offset. Errors: ERR_GENERAL not initialised; those of the digest.
    Status nativeUpdate(const std::uint8_t* input, int offset, int length);

    // nativeDigest: as the digest engine's. The state is initialised.
    int nativeDigest(std::uint8_t* output, std::uint32_t length);

    AsymmetricKey* key() {
        return &key_;
    }
    const AsymmetricKey* key() const {
        return &key_;
    }
    std::int32_t mode() const {
        return mode_;
    }
    // setMode: for a state that has been reset and, but for one oddity of DSA, has its key.
    void setMode(std::int32_t mode) {
        mode_ = mode;
    }

private:
    bool requireInitialized(JNIEnv* env) const;
    void forget();

    AsymmetricKey key_;
    ZelShaMessageDigest* digest_; // owned; null before the first reset
    std::int32_t mode_;
};

// requireOk: that of java_exceptions.h with a SignatureException.
inline bool requireOk(JNIEnv* env, const char* message, Status status) {
    return requireOk(env, kSignatureException, message, status);
}

#endif
