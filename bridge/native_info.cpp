// The native methods of the Java class NativeInfo. They are registered when a VM loads the library, so that they add
// nothing to the exported entry points.

#include "bridge/shared_random.h"
#include "core/aes/aes_kernels.h"
#include "core/bignum/kernels.h"
#include "core/hash/sha_kernels.h"

#include <jni.h>

#include <cstdio>
#include <iterator>

namespace {

// What the Java side looks for in the library's file before it loads it; nothing here reads it.
[[gnu::used]] constexpr char kVersionMark[] = "zelspi version " ZEL_VERSION;

constexpr char kClassName[] = "com/vantrel/zel/provider/internal/NativeInfo";

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

// JNI's record wants writable strings that nobody writes to.
char* writable(const char* text) {
    return const_cast<char*>(text);
}

void registerMethods(JNIEnv* env) {
    const JNINativeMethod methods[] = {
        {writable("kernels0"), writable("()Ljava/lang/String;"), reinterpret_cast<void*>(kernels)},
        {writable("isRandomReady0"), writable("()Z"), reinterpret_cast<void*>(isRandomReady)},
    };
    if (const jclass infoClass = env->FindClass(kClassName)) {
        (void)env->RegisterNatives(infoClass, methods, static_cast<jint>(std::size(methods)));
    }
    env->ExceptionClear();
}

} // namespace

// JNI_OnLoad: the VM's own hook. A program without the class, or with another one of that name, goes without the
// information: nothing here makes loading fail.
extern "C" JNIEXPORT jint JNICALL JNI_OnLoad(JavaVM* vm, void*) {
    void* env = nullptr;
    if (vm->GetEnv(&env, JNI_VERSION_1_8) == JNI_OK) {
        registerMethods(static_cast<JNIEnv*>(env));
    }
    return JNI_VERSION_1_8;
}
