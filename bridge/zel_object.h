// ZelObject: the frame that all engines share.
//
// An engine is the native half of one Java object. Its address stands in that object's long field "context0"; 0 means
// that there is none. The entry points (Java_...) find or make it, call it, and destroy it in deleteContext0; the
// library never frees an engine on its own. One Java object, and so one engine, is used by one thread at a time.
//
// Every failure becomes a pending Java exception and a neutral result (null, 0, false).
#ifndef ZELSPI_BRIDGE_ZEL_OBJECT_H
#define ZELSPI_BRIDGE_ZEL_OBJECT_H

#include "core/status/status.h"
#include "zel_export.h"

#include <jni.h>

#include <cstddef>
#include <cstdint>

struct RandomContext;

// The base of every engine class. It is empty and not polymorphic: each engine's own table of virtual functions begins
// with its destructor, and an engine is stored, read back and destroyed through one and the same static type.
class ZEL_EXPORT ZelObject {
public:
    // getContext: the engine in the field "context0" of object, or null when the field holds 0.
    // Errors:  null with the VM's NoSuchFieldError pending when the object's class has no such field.
    // Source:  the field is looked up on every access: it belongs to the object's own class, whatever that is.
    static void* getContext(JNIEnv* env, jobject object);

    // setContext: stores the engine, null as 0. Errors as getContext.
    static void setContext(JNIEnv* env, jobject object, void* engine);

    // throwStaticException: leaves an exception of the class (slash form) pending, with the message and the status's
    // name as its text: "message : NAME", "message : -12345" for a status without a name, the message alone for OK.
    // In/out:  an exception that was pending already becomes the new one's cause.
    // Errors:  an Error of the VM that is pending stays, and nothing is raised; a class that cannot be found leaves the
    //          VM's NoClassDefFoundError, a lack of memory its OutOfMemoryError, which suppress what was pending; an
    //          exception that cannot be raised leaves a line on standard error, and what was pending.
    static void throwStaticException(JNIEnv* env, const char* className, const char* message,
                                     enum_errDescrValues status);

    // getRandomContext: the one random context of the process, made on first need: whoever comes while it is being made
    // waits, for some six seconds and without limit, and gets the same one. It is never released.
    // Errors:  null after raising "java/security/ProviderException" with "Unable to acquire secure random context" and
    //          the status; the next caller tries again.
    static RandomContext* getRandomContext(JNIEnv* env);

    // hexdump: writes bytes[length] to standard output, sixteen a row, with offsets and characters, and flushes it.
    // In/out:  a length of 0 writes nothing, whatever bytes is.
    static void hexdump(const std::uint8_t* bytes, std::uint32_t length);

    // Engines live on the library's own heap, whichever module makes them, and are wiped as they are freed. A refused
    // allocation makes the new-expression null; nothing is thrown.
    static void* operator new(std::size_t byteCount) noexcept;
    static void operator delete(void* engine, std::size_t byteCount) noexcept;

protected:
    // throwException: throwStaticException, the first form with status OK.
    void throwException(JNIEnv* env, const char* className, const char* message);
    void throwException(JNIEnv* env, const char* className, const char* message, enum_errDescrValues status);
};

#endif
