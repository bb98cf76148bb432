#include "bridge/zel_secure_random.h"

#include "bridge/java_arrays.h"
#include "bridge/java_exceptions.h"
#include "bridge/pieces.h"
#include "bridge/shared_random.h"
#include "core/memory/secret.h"

#include <algorithm>
#include <new>

namespace {

// Copies between a native piece and array[offset ..], in whichever direction copy does. If the region cannot be opened
// an OutOfMemoryError is pending.
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

// Gives the context every byte of the seed. Only the last byte's status is kept, and of each byte only the lowest bit
// counts; both are meant. False with an exception pending when the array cannot be read.
bool addSeed(JNIEnv* env, RandomContext* context, jbyteArray seed, std::uint8_t* piece, Status& status) {
    return forEachPiece(env->GetArrayLength(seed), [&](jint offset, jint count) {
        if (!copyPiece(env, seed, offset, [&](const std::uint8_t* from) { (void)memCopy(piece, from, count); })) {
            return false;
        }
        for (jint i = 0; i < count; ++i) {
            status = randomAddEntropyBit(context, piece[i]);
        }
        return true;
    });
}

// Fills the array up to the first failure. False when it is not filled: by the status, or with an exception pending.
bool fill(JNIEnv* env, RandomContext* context, jbyteArray bytes, std::uint8_t* piece, Status& status) {
    return forEachPiece(env->GetArrayLength(bytes), [&](jint offset, jint count) {
        status = drawShared(context, static_cast<std::uint32_t>(count), piece);
        return !isError(status) &&
               copyPiece(env, bytes, offset, [&](std::uint8_t* to) { (void)memCopy(to, piece, count); });
    });
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
    if (length == 0) {
        return; // nothing of its own; without a context that exception stays
    }
    // Without a context its exception is pending and the array stays closed: the core would refuse every byte.
    SecretBuffer piece;
    Status status =
        context == nullptr ? ERR_NULL_POINTER : piece.alloc(static_cast<std::size_t>(std::min(kPieceBytes, length)));
    if (!isError(status) && !addSeed(env, context, seed, piece.data(), status)) {
        return;
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
    Status status = context == nullptr ? ERR_NULL_POINTER : OK; // refused by the core, also for an empty array
    if (!isError(status) && length > 0) {
        status = piece.alloc(static_cast<std::size_t>(std::min(kPieceBytes, length)));
    }
    if (!isError(status) && !fill(env, context, bytes, piece.data(), status) && !isError(status)) {
        return; // the VM's error is pending
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
