#include "bridge/zel_secure_random.h"

#include "bridge/java_arrays.h"
#include "bridge/pieces.h"
#include "core/memory/secret.h"
#include "core/random/shared_random.h"

#include <algorithm>
#include <new>
#include <optional>

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

// Outcome: the core's status; nothing if an error of the VM is pending instead.
using Outcome = std::optional<Status>;

// Gives the context every byte of the seed. Only the last byte's status is kept, and of each byte only the lowest bit
// counts; both are on purpose.
Outcome addSeed(JNIEnv* env, RandomContext* context, jbyteArray seed, jint length, std::uint8_t* piece) {
    Status status = OK;
    const bool isRead = forEachPiece(length, [&](jint offset, jint count) {
        const auto read = [&](const std::uint8_t* bytes) {
            (void)memCopy(piece, bytes + offset, count);
        };
        if (!withBytes(env, seed, offset + count, read)) {
            return false;
        }
        for (jint i = 0; i < count; ++i) {
            status = randomAddEntropyBit(context, piece[i]);
        }
        return true;
    });
    return isRead ? Outcome(status) : std::nullopt;
}

// Fills the array up to the first failure.
Outcome fill(JNIEnv* env, RandomContext* context, jbyteArray bytes, jint length, std::uint8_t* piece) {
    Status status = OK;
    const bool isFilled = forEachPiece(length, [&](jint offset, jint count) {
        const auto write = [&](std::uint8_t* to) {
            (void)memCopy(to + offset, piece, count);
        };
        status = drawShared(context, static_cast<std::uint32_t>(count), piece);
        return !isError(status) && withBytes(env, bytes, offset + count, write);
    });
    return isFilled || isError(status) ? Outcome(status) : std::nullopt;
}

// use(piece), with a piece of native memory for `length` bytes, and the exception for what comes of it.
template <typename Use> void withPiece(JNIEnv* env, RandomContext* context, jint length, const char* message, Use use) {
    Piece piece;
    // Without a context the core refuses; that exception has the one for the missing context as its cause.
    Outcome outcome = context == nullptr ? ERR_NULL_POINTER : piece.alloc(length);
    outcome = isError(*outcome) ? outcome : use(piece.data());
    if (outcome.has_value()) {
        (void)requireOk(env, kProviderException, message, *outcome);
    }
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
        return; // no exception of its own; the one for a missing context stays
    }
    withPiece(env, context, length, "error adding entropy",
              [&](std::uint8_t* piece) { return addSeed(env, context, seed, length, piece); });
}

void ZelSecureRandom::nextBytes(JNIEnv* env, jobject, jbyteArray bytes) {
    if (!requireArray(env, bytes)) {
        return;
    }
    const jint length = env->GetArrayLength(bytes);
    RandomContext* const context = getRandomContext(env);
    withPiece(env, context, length, "error generating random numbers",
              [&](std::uint8_t* piece) { return fill(env, context, bytes, length, piece); });
}

jbyteArray ZelSecureRandom::generateSeed(JNIEnv* env, jobject object, jint byteCount) {
    if (byteCount < 0) {
        throwException(env, kNegativeArraySizeException, "number of bytes is negative");
        return nullptr;
    }
    const jbyteArray seed = newArray(env, static_cast<std::uint64_t>(byteCount));
    if (seed != nullptr) {
        nextBytes(env, object, seed);
    }
    return seed; // also when nextBytes has raised
}
