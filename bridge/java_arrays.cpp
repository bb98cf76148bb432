#include "bridge/java_arrays.h"

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
    if (isError(copy->alloc(static_cast<std::size_t>(length)))) {
        raiseOutOfMemory(env);
        return false;
    }
    return withBytes(env, array, length, [&](const std::uint8_t* bytes) {
        (void)memCopy(copy->data(), bytes, length); // neither is null: cannot fail
    });
}

jbyteArray newArray(JNIEnv* env, std::uint64_t length) {
    const jbyteArray array = length > INT_MAX ? nullptr : env->NewByteArray(static_cast<jsize>(length));
    if (array == nullptr) {
        raiseOutOfMemory(env);
    }
    return array;
}

jbyteArray arrayOf(JNIEnv* env, const std::uint8_t* bytes, std::uint32_t length) {
    const jbyteArray array = newArray(env, length);
    const auto size = static_cast<jsize>(length);
    const auto fill = [&](std::uint8_t* to) {
        (void)memCopy(to, bytes, size); // neither is null: cannot fail
    };
    return array != nullptr && withBytes(env, array, size, fill) ? array : nullptr;
}
