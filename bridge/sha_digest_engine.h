// ShaDigestEngine: the message digest engine over one of the core's hashes, written once for all of them.
//
// Hash names the Context record and its operations: alloc, release, init, update, finish, and kDigestBytes.
#ifndef ZELSPI_BRIDGE_SHA_DIGEST_ENGINE_H
#define ZELSPI_BRIDGE_SHA_DIGEST_ENGINE_H

#include "bridge/zel_sha_message_digest.h"

// copyOf: a new engine of the same class with an equal running hash, if there is one. Errors: null: no memory.
// Not a member of the class, because its members are exported.
ZelShaMessageDigest* copyOf(const ZelShaMessageDigest& engine);

template <typename Hash> class ZEL_EXPORT ShaDigestEngine : public ZelShaMessageDigest {
public:
    ~ShaDigestEngine() override;

    void reset(JNIEnv* env, jobject object) override;
    enum_errDescrValues nativeReset() override;
    void update(JNIEnv* env, jobject object, jbyteArray input, jint offset, jint length) override;
    void update(JNIEnv* env, jobject object, jbyte input) override;
    enum_errDescrValues nativeUpdate(const std::uint8_t* input, int offset, int length) override;
    int digest(JNIEnv* env, jobject object, std::uint8_t* output, int length) override;
    jint digest(JNIEnv* env, jobject object, jbyteArray output, jint offset, jint length) override;
    jbyteArray digest(JNIEnv* env, jobject object) override;
    int nativeDigest(std::uint8_t* output, int length) override;

private:
    friend ZelShaMessageDigest* copyOf(const ZelShaMessageDigest& engine);
    // Whether there is a running hash, after a reset where there was none; if not, an exception is pending.
    bool ensureReady(JNIEnv* env, jobject object);
    // Ends the digest that finish gave the status for: raises, or resets.
    bool resetOrRaise(JNIEnv* env, jobject object, enum_errDescrValues status);
    // Finishes into output[offset ..], whose room has been checked.
    bool finishInto(JNIEnv* env, jobject object, jbyteArray output, jint offset);

    typename Hash::Context* context_ = nullptr;
};

#endif
