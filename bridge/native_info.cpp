// The native methods of the Java class NativeInfo, and the VM's hook, which registers them and those for short messages.

#include "bridge/native_methods.h"
#include "bridge/short_calls.h"
#include "core/aes/aes_kernels.h"
#include "core/bignum/kernels.h"
#include "core/hash/sha_kernels.h"
#include "core/random/shared_random.h"

#include <cstdio>

namespace {

// What the Java side looks for in the library's file before it loads it; nothing here reads it.
[[gnu::used]] constexpr char kVersionMark[] = "zelspi version " ZEL_VERSION;

constexpr char kClassName[] = "com/vantrel/zel/provider/internal/NativeInfo";

jstring version(JNIEnv* env, jclass) {
    return env->NewStringUTF(ZEL_VERSION);
}

// One line for each primitive: its name, a tab, the kernel in use.
jstring kernels(JNIEnv* env, jclass) {
    char text[512];
    std::snprintf(text, sizeof text, "SHA-1\t%s\nSHA-256\t%s\nAES\t%s\nbig integers\t%s\nexponentiation\t%s\n",
                  sha1Kernel().name, sha256Kernel().name, aesKernel().name, chooseKernel(bignumKernelTable()).name,
                  chooseKernel(modExpKernelTable()).name);
    return env->NewStringUTF(text);
}

jboolean isRandomReady(JNIEnv*, jclass) {
    return isSharedRandomReady() ? JNI_TRUE : JNI_FALSE;
}

} // namespace

// JNI_OnLoad: the VM's own hook. Nothing here makes loading fail.
extern "C" JNIEXPORT jint JNICALL JNI_OnLoad(JavaVM* vm, void*) {
    void* environment = nullptr;
    if (vm->GetEnv(&environment, JNI_VERSION_1_8) == JNI_OK) {
        auto* const env = static_cast<JNIEnv*>(environment);
        const JNINativeMethod methods[] = {
            nativeMethod("version0", "()Ljava/lang/String;", version),
            nativeMethod("kernels0", "()Ljava/lang/String;", kernels),
            nativeMethod("isRandomReady0", "()Z", isRandomReady),
        };
        registerMethods(env, kClassName, methods);
        registerShortCalls(env);
    }
    return JNI_VERSION_1_8;
}
