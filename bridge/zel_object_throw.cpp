#include "bridge/zel_object.h"

#include <cstdio>

namespace {

constexpr std::size_t kTextBytes = 256;

// The precisions keep every text within the buffer.
void formatText(char (&text)[kTextBytes], const char* message, Status status) {
    if (status == OK) {
        std::snprintf(text, sizeof text, "%.110s", message);
    } else if (const char* const name = statusName(status)) {
        std::snprintf(text, sizeof text, "%.60s : %.60s", message, name);
    } else {
        std::snprintf(text, sizeof text, "%.110s : %d", message, static_cast<int>(status));
    }
}

// The pending exception, no longer pending, or null. JNI allows no FindClass while one is pending.
jthrowable takePending(JNIEnv* env) {
    const jthrowable pending = env->ExceptionOccurred();
    if (pending != nullptr) {
        env->ExceptionClear();
    }
    return pending;
}

// Whether the exception is an Error: the VM's own (OutOfMemoryError, NoClassDefFoundError, NoSuchFieldError). If the VM does
// not find that class, it is short of something itself, and the exception counts as an Error.
bool isVmError(JNIEnv* env, jthrowable exception) {
    const jclass errorClass = env->FindClass("java/lang/Error");
    if (errorClass == nullptr) {
        env->ExceptionClear();
        return true;
    }
    const bool isError = env->IsInstanceOf(exception, errorClass) != JNI_FALSE;
    env->DeleteLocalRef(errorClass);
    return isError;
}

// Attaches the earlier exception to the one that is pending, which stays pending: as its cause, or as suppressed by an Error
// of the VM that has come in its place, which has a cause of its own or is one object for all threads.
void attach(JNIEnv* env, jthrowable earlier) {
    const jthrowable raised = takePending(env);
    const jclass raisedClass = env->GetObjectClass(raised);
    if (isVmError(env, raised)) {
        const jmethodID addSuppressed = env->GetMethodID(raisedClass, "addSuppressed", "(Ljava/lang/Throwable;)V");
        if (addSuppressed != nullptr) {
            env->CallVoidMethod(raised, addSuppressed, earlier);
        }
    } else {
        const jmethodID initCause =
            env->GetMethodID(raisedClass, "initCause", "(Ljava/lang/Throwable;)Ljava/lang/Throwable;");
        if (initCause != nullptr) {
            env->DeleteLocalRef(env->CallObjectMethod(raised, initCause, earlier));
        }
    }
    env->ExceptionClear(); // without the earlier one it still says what failed
    env->Throw(raised);
    env->DeleteLocalRef(raisedClass);
    env->DeleteLocalRef(raised);
}

// Leaves an exception pending: the new one, or the VM's Error where its class is not found or memory is short.
void raise(JNIEnv* env, const char* className, const char* text, jthrowable earlier) {
    const jclass exceptionClass = env->FindClass(className);
    if (exceptionClass != nullptr && env->ThrowNew(exceptionClass, text) != 0) {
        std::fprintf(stderr, "unable to throw exception: %s\n", text);
        if (earlier != nullptr && env->ExceptionCheck() == JNI_FALSE) {
            env->Throw(earlier);
            earlier = nullptr;
        }
    }
    if (earlier != nullptr) {
        attach(env, earlier);
    }
    if (exceptionClass != nullptr) {
        env->DeleteLocalRef(exceptionClass);
    }
}

} // namespace

void ZelObject::throwStaticException(JNIEnv* env, const char* className, const char* message,
                                     enum_errDescrValues status) {
    const jthrowable earlier = takePending(env);
    if (earlier != nullptr && isVmError(env, earlier)) {
        env->Throw(earlier);
    } else {
        char text[kTextBytes];
        formatText(text, message, status);
        raise(env, className, text, earlier);
    }
    if (earlier != nullptr) {
        env->DeleteLocalRef(earlier);
    }
}
