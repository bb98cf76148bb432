#include "bridge/zel_secure_random.h"

#include "bridge/java_arrays.h"
#include "bridge/java_exceptions.h"
#include "core/memory/secret.h"
#include "core/random/random.h"

#include <algorithm>
#include <new>

namespace {

// One piece: short enough that other threads get their turn well within the five seconds that they wait.
constexpr jint kPieceBytes = 64 * 1024;

// A native buffer for the pieces of an array of that length.
Status allocPiece(SecretBuffer& piece, jint length) {
    return piece.alloc(static_cast<std::size_t>(std::min(kPieceBytes, length)));
}

// Copies between piece and array[offset .. offset + count), in whichever direction copy does. If the region cannot be
// opened an OutOfMemoryError is pending.
template <typename Copy> bool copyPiece(JNIEnv* env, jbyteArray array, jint offset, Copy copy) {
    {
        const CriticalBytes region(env, array);
        if (region.isOpen()) {
            copy(region.data() + offset);
            return true;
        }
    }
    raiseOutOfMemory(env);
    return false;
}

} // namespace

ZelSecureRandom::~ZelSecureRandom() = default;

ZelSecureRandom* ZelSecureRandom::instance() {
    // In place, so that nothing is destroyed at exit while other threads still run.
    alignas(ZelSecureRandom) static unsigned char place[sizeof(ZelSecureRandom)];
    static ZelSecureRandom* const engine = ::new (place) ZelSecureRandom;
    return engine;
}

void ZelSecureRandom::setSeed(JNIEnv* env, jobject, jbyteArray seed) {
    if (!requireArray(env, seed)) {
        return;
    }
    const jint length = env->GetArrayLength(seed);
    RandomContext* const context = getRandomContext(env);
    // Without a context its exception is pending and the array stays closed: the core refuses the first byte anyway.
    Status status = context == nullptr && length > 0 ? randomAddEntropyBit(context, 0) : OK;
    SecretBuffer piece;
    if (context != nullptr) {
        status = allocPiece(piece, length);
    }
    for (jint done = 0; done < length && !isError(status); done += kPieceBytes) {
        const jint count = std::min(kPieceBytes, length - done);
        if (!copyPiece(env, seed, done, [&](const std::uint8_t* from) { (void)memCopy(piece.data(), from, count); })) {
            return;
        }
        // Only the last byte's status is kept, and of each byte only the lowest bit counts; both are meant.
        for (jint i = 0; i < count; ++i) {
            status = randomAddEntropyBit(context, piece.data()[i]);
        }
    }
    if (isError(status)) {
        throwException(env, kProviderException, "error adding entropy", status);
    }
}

void ZelSecureRandom::nextBytes(JNIEnv* env, jobject, jbyteArray bytes) {
    if (!requireArray(env, bytes)) {
        return;
    }
    const jint length = env->GetArrayLength(bytes);
    RandomContext* const context = getRandomContext(env);
    SecretBuffer piece;
    Status status = context == nullptr ? ERR_NULL_POINTER : allocPiece(piece, length);
    for (jint done = 0; done < length && !isError(status); done += kPieceBytes) {
        const jint count = std::min(kPieceBytes, length - done);
        status = randomGenerate(context, piece.data(), static_cast<std::uint32_t>(count));
        if (!isError(status) &&
            !copyPiece(env, bytes, done, [&](std::uint8_t* to) { (void)memCopy(to, piece.data(), count); })) {
            return;
        }
    }
    if (isError(status)) {
        throwException(env, kProviderException, "error generating random numbers", status);
    }
}

jbyteArray ZelSecureRandom::generateSeed(JNIEnv* env, jobject object, jint byteCount) {
    if (byteCount < 0) {
        throwException(env, kNegativeArraySizeException, "number of bytes is negative");
        return nullptr;
    }
    const jbyteArray seed = env->NewByteArray(byteCount);
    if (seed == nullptr) {
        raiseOutOfMemory(env);
        return nullptr;
    }
    nextBytes(env, object, seed);
    return seed; // also when nextBytes has raised
}
