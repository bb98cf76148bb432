// ZelSecureRandom: the secure random engine. It has no state: all Java objects draw from and feed the one random
// context of the process.
#ifndef ZELSPI_BRIDGE_ZEL_SECURE_RANDOM_H
#define ZELSPI_BRIDGE_ZEL_SECURE_RANDOM_H

#include "bridge/zel_object.h"

class ZEL_EXPORT ZelSecureRandom : public ZelObject {
public:
    virtual ~ZelSecureRandom();

    // instance: the engine of every Java object. Their class has no way to give an engine back, so there is but this
    // one, which lives as long as the process.
    static ZelSecureRandom* instance();

    // setSeed: adds the lowest bit of each seed byte to the context, in order. Raises "java/security/ProviderException"
    // with "error adding entropy" and the status of the last byte, or ERR_MEM_ALLOC_FAIL where memory for the copy of a
    // piece is refused; an empty seed raises nothing of its own.
    void setSeed(JNIEnv* env, jobject object, jbyteArray seed);

    // nextBytes: fills the array. Raises "java/security/ProviderException" with "error generating random numbers" and
    // the status, ERR_MEM_ALLOC_FAIL where memory for a piece is refused; the array is then untouched. Waits while other
    // threads draw, without limit.
    // In/out:  the bytes are drawn in pieces outside the array, so that neither the VM nor other threads are held up.
    // Errors:  the VM's OutOfMemoryError where the array cannot be opened; it is then filled in part.
    void nextBytes(JNIEnv* env, jobject object, jbyteArray bytes);

    // generateSeed: a new array filled by nextBytes, returned also when that has raised.
    // Errors:  null with "java/lang/NegativeArraySizeException" or the VM's OutOfMemoryError pending.
    jbyteArray generateSeed(JNIEnv* env, jobject object, jint byteCount);
};

#endif
