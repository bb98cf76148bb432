// The machine-dependent half of jni.h for 64-bit Windows: the three integer types whose size Java fixes, and the
// marks of exported and imported functions. A JDK for another system carries only the half of its own system.
#ifndef ZELSPI_PLATFORM_WIN32_JNI_JNI_MD_H
#define ZELSPI_PLATFORM_WIN32_JNI_JNI_MD_H

#define JNIEXPORT __declspec(dllexport)
#define JNIIMPORT __declspec(dllimport)
#define JNICALL __stdcall

typedef long jint;
typedef long long jlong;
typedef signed char jbyte;

#endif
