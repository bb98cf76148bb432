#include "bridge/java_arrays.h"

#include "bridge/java_exceptions.h"

#include <climits>

bool requireArray(JNIEnv* env, jarray array) {
    if (array == nullptr) {
        ZelObject::throwStaticException(env, kNullPointerException, "array is null", OK);
    }
    return array != nullptr;
}

bool requireSlice(JNIEnv* env, jarray array, jint offset, jint length) {
    return requireArray(env, array) && requireSlice(env, env->GetArrayLength(array), offset, length);
}

bool requireSlice(JNIEnv* env, jsize size, jint offset, jint length) {
    if (offset < 0 || length < 0 || offset > size - length) {
        ZelObject::throwStaticException(env, kArrayIndexOutOfBoundsException, "offset or length out of range", OK);
        return false;
    }
    return true;
}

CriticalBytes::CriticalBytes(JNIEnv* env, jbyteArray array) : CriticalBytes(env, array, env->GetArrayLength(array)) {
}

CriticalBytes::CriticalBytes(JNIEnv* env, jbyteArray array, jsize length) : env_(env), array_(nullptr), bytes_(&none_) {
    if (length > 0) {
        bytes_ = static_cast<std::uint8_t*>(env->GetPrimitiveArrayCritical(array, nullptr));
        array_ = bytes_ == nullptr ? nullptr : array;
    }
}

CriticalBytes::~CriticalBytes() {
    if (array_ != nullptr) {
        env_->ReleasePrimitiveArrayCritical(array_, bytes_, 0);
    }
}

bool copyOfArray(JNIEnv* env, jbyteArray array, SecretBuffer* copy) {
    const jsize length = env->GetArrayLength(array);
    if (!isError(copy->alloc(static_cast<std::size_t>(length)))) {
        const CriticalBytes bytes(env, array);
        if (bytes.isOpen()) {
            (void)memCopy(copy->data(), bytes.data(), length); // both are there
            return true;
        }
    }
    raiseOutOfMemory(env);
    return false;
}

jbyteArray newArray(JNIEnv* env, const std::uint8_t* bytes, std::uint32_t length) {
    const jbyteArray array = length > INT_MAX ? nullptr : env->NewByteArray(static_cast<jsize>(length));
    if (array != nullptr) {
        const CriticalBytes region(env, array);
        if (region.isOpen()) {
            (void)memCopy(region.data(), bytes, length); // both are there
            return array;
        }
    }
    raiseOutOfMemory(env);
    return nullptr;
}
