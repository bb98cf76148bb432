#include "bridge/java_arrays.h"

#include "bridge/java_exceptions.h"

bool requireArray(JNIEnv* env, jarray array) {
    if (array == nullptr) {
        ZelObject::throwStaticException(env, kNullPointerException, "array is null", OK);
    }
    return array != nullptr;
}

bool requireSlice(JNIEnv* env, jarray array, jint offset, jint length) {
    if (!requireArray(env, array)) {
        return false;
    }
    const jint size = env->GetArrayLength(array);
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
