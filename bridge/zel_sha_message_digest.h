// ZelShaMessageDigest: the contract of the message digest engines, for Java's calls and for native callers.
//
// An engine is ready for a message after its first reset and again after every successful digest. The operations with a
// JNI environment leave a Java exception pending on failure, "java/security/ProviderException" where no other is named;
// those named native... return a status instead. Those that take a Java array also raise what java_arrays.h says of
// null and of slices outside the array, and "java/lang/OutOfMemoryError" when the VM cannot make or open an array.
// Every operation but update (one byte) does a missing first reset itself.
#ifndef ZELSPI_BRIDGE_ZEL_SHA_MESSAGE_DIGEST_H
#define ZELSPI_BRIDGE_ZEL_SHA_MESSAGE_DIGEST_H

#include "bridge/zel_object.h"

class ZEL_EXPORT ZelShaMessageDigest : public ZelObject {
public:
    ZelShaMessageDigest() = default;
    ZelShaMessageDigest(const ZelShaMessageDigest&) = delete;
    ZelShaMessageDigest& operator=(const ZelShaMessageDigest&) = delete;
    virtual ~ZelShaMessageDigest();

    // reset: discards the running hash and starts a new message. Raises "error resetting digest" with the status.
    virtual void reset(JNIEnv* env, jobject object) = 0;

    // nativeReset: the same for native callers. Errors: ERR_MEM_ALLOC_FAIL; there is then no running hash.
    virtual enum_errDescrValues nativeReset() = 0;

    // update: appends input[offset .. offset + length). Raises "unable to update digest".
    virtual void update(JNIEnv* env, jobject object, jbyteArray input, jint offset, jint length) = 0;

    // update: appends one byte. Raises "unable to update digest", always where the first reset is missing.
    virtual void update(JNIEnv* env, jobject object, jbyte input) = 0;

    // nativeUpdate: appends length bytes from input + offset.
    // Errors:  ERR_INVALID_ARG length negative; ERR_NULL_POINTER input null; the status of a first reset.
    virtual enum_errDescrValues nativeUpdate(const std::uint8_t* input, int offset, int length) = 0;

    // digest: ends the message, writes the digest to output and starts a new message.
    // Shapes:  output[digest length]; length is not used.
    // Errors:  0 after raising "error calculating final digest" with the status.
    virtual int digest(JNIEnv* env, jobject object, std::uint8_t* output, int length) = 0;

    // digest: the same into output[offset ..]; the whole digest is written whatever length says.
    // Errors:  0 after raising: "java/security/DigestException" with "insufficient space for digest" when the array has
    //          less than length bytes behind offset, or less than a digest; the running hash is then untouched.
    virtual jint digest(JNIEnv* env, jobject object, jbyteArray output, jint offset, jint length) = 0;

    // digest: the same into a new array. Errors: null after raising.
    virtual jbyteArray digest(JNIEnv* env, jobject object) = 0;

    // nativeDigest: as the raw digest, for native callers: the digest length, or the negative status of the failure.
    virtual int nativeDigest(std::uint8_t* output, int length) = 0;
};

#endif
