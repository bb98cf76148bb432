#include "bridge/zel_secure_random.h"

#include "bridge/java_arrays.h"
#include "bridge/java_exceptions.h"
#include "bridge/pieces.h"
#include "bridge/shared_random.h"
#include "core/memory/secret.h"

#include <algorithm>
#include <new>

namespace {

// Piece: what is drawn or read at once; on the stack where that is enough.
class Piece {
public:
    // alloc: for requests of `length` bytes in all, at most kPieceBytes at once. Errors: ERR_MEM_ALLOC_FAIL.
    Status alloc(jint length) {
        return length <= static_cast<jint>(small_.size())
                   ? OK
                   : large_.alloc(static_cast<std::size_t>(std::min(kPieceBytes, length)));
    }
    std::uint8_t* data() {
        return large_.data() == nullptr ? small_.data() : large_.data();
    }

private:
    SecretArray<std::uint8_t, 256> small_;
    SecretBuffer large_;
};

// Copies between a native piece and array[offset .. offset + count), in whichever direction copy does. If the region cannot
// be opened an OutOfMemoryError is pending.
template <typename Copy> bool copyPiece(JNIEnv* env, jbyteArray array, jint offset, jint count, Copy copy) {
    {
        const CriticalBytes region(env, array, offset + count);
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
bool addSeed(JNIEnv* env, RandomContext* context, jbyteArray seed, jint length, std::uint8_t* piece, Status& status) {
    return forEachPiece(length, [&](jint offset, jint count) {
        if (!copyPiece(env, seed, offset, count,
                       [&](const std::uint8_t* from) { (void)memCopy(piece, from, count); })) {
            return false;
        }
        for (jint i = 0; i < count; ++i) {
            status = randomAddEntropyBit(context, piece[i]);
        }
        return true;
    });
}

// Fills the array up to the first failure. False when it is not filled: by the status, or with an exception pending.
bool fill(JNIEnv* env, RandomContext* context, jbyteArray bytes, jint length, std::uint8_t* piece, Status& status) {
    return forEachPiece(length, [&](jint offset, jint count) {
        status = drawShared(context, static_cast<std::uint32_t>(count), piece);
        return !isError(status) &&
               copyPiece(env, bytes, offset, count, [&](std::uint8_t* to) { (void)memCopy(to, piece, count); });
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
    Piece piece;
    Status status = context == nullptr ? ERR_NULL_POINTER : piece.alloc(length);
    if (!isError(status) && !addSeed(env, context, seed, length, piece.data(), status)) {
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
    Piece piece;
    // Without a context refused by the core, also for an empty array.
    Status status = context == nullptr ? ERR_NULL_POINTER : piece.alloc(length);
    if (!isError(status) && !fill(env, context, bytes, length, piece.data(), status) && !isError(status)) {
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
