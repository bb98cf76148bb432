// Java byte arrays as native callers see them: the checks of null and of slices, and the open region.
#ifndef ZELSPI_BRIDGE_JAVA_ARRAYS_H
#define ZELSPI_BRIDGE_JAVA_ARRAYS_H

#include "bridge/java_exceptions.h"
#include "core/memory/secret.h"

// requireArray: whether the array is there; a null one raises NullPointerException "array is null".
bool requireArray(JNIEnv* env, jarray array);

// requireSlice: whether array[offset .. offset + length) lies inside the array.
// Errors:  as requireArray; ArrayIndexOutOfBoundsException "offset or length out of range".
bool requireSlice(JNIEnv* env, jarray array, jint offset, jint length);
// The same for an array whose size is known already, so that the VM is not asked again.
bool requireSlice(JNIEnv* env, jsize size, jint offset, jint length);

// CriticalBytes: a byte array opened as a critical region, closed (with what was written) at the end of the scope.
// While one is open nothing may call JNI, block or raise; only further regions may be opened. Where one Java array may
// be both input and output, open the output first: the input is then closed before it and cannot write stale bytes
// back.
class CriticalBytes {
public:
    // Opens the array, which is not null. An array without elements needs no region: data() is then never read.
    CriticalBytes(JNIEnv* env, jbyteArray array);
    // The same for the first `length` bytes of an array that has so many. The VM is not asked for the length, so that this
    // is the only way while another region is open.
    CriticalBytes(JNIEnv* env, jbyteArray array, jsize length);
    ~CriticalBytes();
    CriticalBytes(const CriticalBytes&) = delete;
    CriticalBytes& operator=(const CriticalBytes&) = delete;

    // isOpen: false when the VM could not open the region: close the others and call raiseOutOfMemory.
    bool isOpen() const {
        return bytes_ != nullptr;
    }
    std::uint8_t* data() const {
        return bytes_;
    }

private:
    JNIEnv* env_;
    jbyteArray array_; // null when there is no region to close
    std::uint8_t* bytes_;
    std::uint8_t none_ = 0;
};

// copyOfArray: a copy of the whole array, which is not null, so that no region is open while it is worked on.
// Errors:  false with an OutOfMemoryError pending.
bool copyOfArray(JNIEnv* env, jbyteArray array, SecretBuffer* copy);

// withBytes: work(bytes) with the array open, of which the first `length` bytes are looked at. No other region is open.
// Errors:  false with an OutOfMemoryError pending; work has not been called.
template <typename Work> bool withBytes(JNIEnv* env, jbyteArray array, jsize length, Work work) {
    {
        const CriticalBytes bytes(env, array, length);
        if (bytes.isOpen()) {
            work(bytes.data());
            return true;
        }
    }
    raiseOutOfMemory(env);
    return false;
}

// newArray: a new array of so many zeros. arrayOf: one with bytes[length] in it.
// Errors:  null with an OutOfMemoryError pending; no Java array holds more than INT_MAX bytes.
jbyteArray newArray(JNIEnv* env, std::uint64_t length);
jbyteArray arrayOf(JNIEnv* env, const std::uint8_t* bytes, std::uint32_t length);

#endif
