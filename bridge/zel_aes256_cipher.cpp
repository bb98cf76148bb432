#include "bridge/zel_aes256_cipher.h"

#include "bridge/java_arrays.h"

#include <algorithm>
#include <climits>

namespace {

constexpr jint kKeyBytes = static_cast<jint>(AesCbcStream::kKeyBytes);
constexpr jint kIvBytes = static_cast<jint>(kAesBlockBytes);

// The two ShortBufferExceptions differ on purpose.
constexpr const char* kUpdateTooShort = "output buffer has insufficient space";
constexpr const char* kFinalTooShort = "insufficient bytes in output buffer";

std::uint32_t countOf(jint length) {
    return static_cast<std::uint32_t>(length);
}

// A size that is known to fit an array.
jsize sizeOf(std::uint64_t size) {
    return static_cast<jsize>(size);
}

// work(input bytes, output bytes) inside the open arrays, of which so many bytes are looked at. The output is opened first: it
// may be the same array. ERR_MEM_ALLOC_FAIL: the VM does not open one.
template <typename Work>
Status withArrays(JNIEnv* env, jbyteArray input, jsize inputUsed, jbyteArray output, jsize outputUsed, Work work) {
    const CriticalBytes to(env, output, outputUsed);
    if (!to.isOpen()) {
        return ERR_MEM_ALLOC_FAIL;
    }
    const CriticalBytes from(env, input, inputUsed);
    return from.isOpen() ? work(from.data(), to.data()) : ERR_MEM_ALLOC_FAIL;
}

} // namespace

ZelAes256Cipher::ZelAes256Cipher() = default;

ZelAes256Cipher::~ZelAes256Cipher() = default;

bool ZelAes256Cipher::isInitialized() const {
    return stream_.hasContext();
}

void ZelAes256Cipher::init(JNIEnv* env, jobject, jint opmode, jbyteArray iv, jbyteArray key) {
    if (opmode != AesCbcStream::kEncryptMode && opmode != AesCbcStream::kDecryptMode) {
        throwException(env, kUnsupportedOperationException, "unsupported cipher mode");
        return;
    }
    if (iv == nullptr || key == nullptr) {
        throwException(env, kNullPointerException, "key or iv is null");
        return;
    }
    if (env->GetArrayLength(iv) != kIvBytes) {
        throwException(env, kInvalidAlgorithmParameterException, "invalid iv provided");
        return;
    }
    if (env->GetArrayLength(key) != kKeyBytes) {
        throwException(env, kInvalidKeyException, "invalid key size");
        return;
    }
    const Status status =
        withArrays(env, iv, kIvBytes, key, kKeyBytes, [&](const std::uint8_t* ivBytes, const std::uint8_t* keyBytes) {
            return stream_.init(opmode, ivBytes, keyBytes);
        });
    if (status == ERR_AES) {
        throwException(env, kProviderException, "error creating aes context", ERR_AES);
    } else if (isError(status)) {
        raiseOutOfMemory(env);
    }
}

jbyteArray ZelAes256Cipher::update(JNIEnv* env, jobject, jbyteArray input, jint offset, jint length) {
    if (!hasContext(env) || !requireSlice(env, input, offset, length)) {
        return nullptr;
    }
    const std::uint64_t size = stream_.wholeSize(countOf(length));
    const jbyteArray output = newArray(env, size);
    if (output == nullptr) {
        return nullptr;
    }
    const Status status =
        withArrays(env, input, offset + length, output, sizeOf(size), [&](const std::uint8_t* from, std::uint8_t* to) {
            return stream_.update(from, countOf(offset), countOf(length), to);
        });
    return isDone(env, status) ? output : nullptr;
}

jint ZelAes256Cipher::update(JNIEnv* env, jobject, jbyteArray input, jint offset, jint length, jbyteArray output,
                             jint outputOffset) {
    if (!hasContext(env) || !requireArray(env, input) || !requireArray(env, output) ||
        !requireSlice(env, input, offset, length)) {
        return 0;
    }
    const std::uint64_t size = stream_.wholeSize(countOf(length));
    if (!hasRoom(env, output, outputOffset, size, kUpdateTooShort)) {
        return 0;
    }
    const auto work = [&](const std::uint8_t* from, std::uint8_t* to) {
        return stream_.update(from, countOf(offset), countOf(length), to + outputOffset);
    };
    const Status status = withArrays(env, input, offset + length, output, outputOffset + sizeOf(size), work);
    return isDone(env, status) ? static_cast<jint>(size) : 0;
}

// The padding says how long a decrypted message is, so it is read before the array can be made. No whole plaintext ever
// stands anywhere but in the result.
jbyteArray ZelAes256Cipher::doFinal(JNIEnv* env, jobject, jbyteArray input, jint offset, jint length) {
    if (!hasContext(env) || !requireSlice(env, input, offset, length)) {
        return nullptr;
    }
    std::uint64_t size = stream_.paddedSize(countOf(length));
    if (!stream_.isEncrypting()) {
        Status status = OK;
        const auto judge = [&](const std::uint8_t* from) {
            status = stream_.plaintextSize(from + offset, countOf(length), &size);
        };
        if (!isWholeBlocks(env, length) || !withBytes(env, input, offset + length, judge) || !isDone(env, status)) {
            return nullptr;
        }
    }
    const jbyteArray output = newArray(env, size);
    return output != nullptr && finishInto(env, input, offset, length, output, 0, size) >= 0 ? output : nullptr;
}

jint ZelAes256Cipher::doFinal(JNIEnv* env, jobject, jbyteArray input, jint offset, jint length, jbyteArray output,
                              jint outputOffset) {
    if (!hasContext(env) || !requireArray(env, input) || !requireArray(env, output) ||
        !requireSlice(env, input, offset, length)) {
        return 0;
    }
    // Decryption wants room for the padding too, although it is never written: on purpose.
    const std::uint64_t size =
        stream_.isEncrypting() ? stream_.paddedSize(countOf(length)) : stream_.messageSize(countOf(length));
    if ((!stream_.isEncrypting() && !isWholeBlocks(env, length)) ||
        !hasRoom(env, output, outputOffset, size, kFinalTooShort)) {
        return 0;
    }
    return std::max<jint>(finishInto(env, input, offset, length, output, outputOffset, size), 0);
}

// Ends the message into output[outputOffset .. outputOffset + size), which lies inside the array. The number of bytes written,
// or -1 after raising.
jint ZelAes256Cipher::finishInto(JNIEnv* env, jbyteArray input, jint offset, jint length, jbyteArray output,
                                 jint outputOffset, std::uint64_t size) {
    std::uint64_t written = size;
    const auto work = [&](const std::uint8_t* from, std::uint8_t* to) {
        return stream_.isEncrypting()
                   ? stream_.encryptFinal(from + offset, countOf(length), to + outputOffset)
                   : stream_.decryptFinal(from + offset, countOf(length), to + outputOffset, &written);
    };
    const Status status = withArrays(env, input, offset + length, output, outputOffset + sizeOf(size), work);
    return isDone(env, status) ? static_cast<jint>(written) : -1;
}

bool ZelAes256Cipher::hasContext(JNIEnv* env) {
    if (!stream_.hasContext()) {
        throwException(env, kProviderException, "error creating aes context");
    }
    return stream_.hasContext();
}

// Whether there is a message to decrypt. Both forms of doFinal end here if not: nothing may be done with a pending
// exception.
bool ZelAes256Cipher::isWholeBlocks(JNIEnv* env, jint length) {
    const std::uint64_t size = stream_.messageSize(countOf(length));
    const bool isWhole = size > 0 && size % kAesBlockBytes == 0;
    if (!isWhole) {
        throwException(env, kBadPaddingException, "invalid source buffer size");
    }
    return isWhole;
}

// Whether output[outputOffset .. outputOffset + size) lies inside the array. A negative offset leaves more than enough
// room, so it is judged after the room.
bool ZelAes256Cipher::hasRoom(JNIEnv* env, jbyteArray output, jint outputOffset, std::uint64_t size,
                              const char* message) {
    const jsize outputSize = env->GetArrayLength(output);
    const std::int64_t room = std::int64_t{outputSize} - outputOffset;
    if (room < static_cast<std::int64_t>(size) || size > INT_MAX) {
        throwException(env, kShortBufferException, message);
        return false;
    }
    return requireSlice(env, outputSize, outputOffset, sizeOf(size));
}

// Whether the work has succeeded; if not, raises what the status stands for.
bool ZelAes256Cipher::isDone(JNIEnv* env, enum_errDescrValues status) {
    if (status == ERR_MEM_ALLOC_FAIL) {
        raiseOutOfMemory(env);
    } else if (status == ERR_AES_BAD_PAD_LENGTH) {
        throwException(env, kBadPaddingException, "invalid padding");
    } else if (isError(status)) {
        throwException(env, kProviderException, "error encrypting/decrypting aes blocks", status);
    }
    return !isError(status);
}
