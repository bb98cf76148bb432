// The Java exception classes that the bridge raises, in JNI's slash form, and the failures that every engine shares.
#ifndef ZELSPI_BRIDGE_JAVA_EXCEPTIONS_H
#define ZELSPI_BRIDGE_JAVA_EXCEPTIONS_H

#include "bridge/zel_object.h"

inline constexpr const char* kArrayIndexOutOfBoundsException = "java/lang/ArrayIndexOutOfBoundsException";
inline constexpr const char* kBadPaddingException = "javax/crypto/BadPaddingException";
inline constexpr const char* kDigestException = "java/security/DigestException";
inline constexpr const char* kInvalidAlgorithmParameterException = "java/security/InvalidAlgorithmParameterException";
inline constexpr const char* kInvalidKeyException = "java/security/InvalidKeyException";
inline constexpr const char* kNegativeArraySizeException = "java/lang/NegativeArraySizeException";
inline constexpr const char* kNullPointerException = "java/lang/NullPointerException";
inline constexpr const char* kOutOfMemoryError = "java/lang/OutOfMemoryError";
inline constexpr const char* kProviderException = "java/security/ProviderException";
inline constexpr const char* kShortBufferException = "javax/crypto/ShortBufferException";
inline constexpr const char* kSignatureException = "java/security/SignatureException";
inline constexpr const char* kUnsupportedOperationException = "java/lang/UnsupportedOperationException";

// raiseOutOfMemory: an OutOfMemoryError, unless the VM has left an exception of its own.
inline void raiseOutOfMemory(JNIEnv* env) {
    if (env->ExceptionCheck() == JNI_FALSE) {
        ZelObject::throwStaticException(env, kOutOfMemoryError, "out of memory", OK);
    }
}

// requireOk: whether the status is no error; for one that is, raises an exception of the class with the message and the
// status.
inline bool requireOk(JNIEnv* env, const char* className, const char* message, Status status) {
    if (isError(status)) {
        ZelObject::throwStaticException(env, className, message, status);
    }
    return !isError(status);
}

#endif
