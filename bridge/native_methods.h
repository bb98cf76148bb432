// Native methods that are registered when a VM loads the library, so that they add nothing to the exported entry points.
#ifndef ZELSPI_BRIDGE_NATIVE_METHODS_H
#define ZELSPI_BRIDGE_NATIVE_METHODS_H

#include <jni.h>

#include <span>

// nativeMethod: a row for registerMethods. JNI's record wants writable strings that nobody writes to.
template <typename Function> JNINativeMethod nativeMethod(const char* name, const char* signature, Function* function) {
    return {const_cast<char*>(name), const_cast<char*>(signature), reinterpret_cast<void*>(function)};
}

// registerMethods: registers the methods with the class. A program without it, or with another one of that name, goes
// without them. Leaves no exception pending.
inline void registerMethods(JNIEnv* env, const char* className, std::span<const JNINativeMethod> methods) {
    if (const jclass javaClass = env->FindClass(className)) {
        (void)env->RegisterNatives(javaClass, methods.data(), static_cast<jint>(methods.size()));
    }
    env->ExceptionClear();
}

#endif
