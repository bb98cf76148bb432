#include "bridge/zel_aes256_cipher.h"

#include "bridge/java_arrays.h"
#include "bridge/java_exceptions.h"

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

// The size of an array that there is.
jsize sizeOf(std::uint64_t size) {
    return static_cast<jsize>(size);
}

// A new array, or null after raising. No Java array holds more than INT_MAX bytes.
jbyteArray newArray(JNIEnv* env, std::uint64_t size) {
    const jbyteArray array = size > INT_MAX ? nullptr : env->NewByteArray(static_cast<jsize>(size));
    if (array == nullptr) {
        raiseOutOfMemory(env);
    }
    return array;
}

// work(input bytes) inside the open array, of which `used` bytes are looked at. ERR_MEM_ALLOC_FAIL: the VM does not open it.
template <typename Work> Status withInput(JNIEnv* env, jbyteArray input, jsize used, Work work) {
    const CriticalBytes bytes(env, input, used);
    return bytes.isOpen() ? work(bytes.data()) : ERR_MEM_ALLOC_FAIL;
}

// work(input bytes, output bytes) inside the open arrays. The output is opened first: it may be the same array.
template <typename Work>
Status withArrays(JNIEnv* env, jbyteArray input, jsize inputUsed, jbyteArray output, jsize outputUsed, Work work) {
    const CriticalBytes outputBytes(env, output, outputUsed);
    if (!outputBytes.isOpen()) {
        return ERR_MEM_ALLOC_FAIL;
    }
    return withInput(env, input, inputUsed, [&](const std::uint8_t* from) { return work(from, outputBytes.data()); });
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

jbyteArray ZelAes256Cipher::doFinal(JNIEnv* env, jobject, jbyteArray input, jint offset, jint length) {
    if (!hasContext(env) || !requireSlice(env, input, offset, length)) {
        return nullptr;
    }
    if (!stream_.isEncrypting()) {
        return decryptFinal(env, input, offset, length);
    }
    const std::uint64_t size = stream_.paddedSize(countOf(length));
    const jbyteArray output = newArray(env, size);
    if (output == nullptr) {
        return nullptr;
    }
    const Status status =
        withArrays(env, input, offset + length, output, sizeOf(size), [&](const std::uint8_t* from, std::uint8_t* to) {
            return stream_.encryptFinal(from + offset, countOf(length), to);
        });
    return isDone(env, status) ? output : nullptr;
}

// The padding says how long the result is, so it is read before the result can be made. No whole plaintext ever stands
// anywhere but in the result.
jbyteArray ZelAes256Cipher::decryptFinal(JNIEnv* env, jbyteArray input, jint offset, jint length) {
    if (!isWholeBlocks(env, length)) {
        return nullptr;
    }
    AesCbcStream::Ending ending;
    const Status endingStatus = withInput(env, input, offset + length, [&](const std::uint8_t* from) {
        return stream_.decryptEnding(from + offset, countOf(length), &ending);
    });
    const jbyteArray output = isDone(env, endingStatus) ? newArray(env, ending.length) : nullptr;
    if (output == nullptr) {
        return nullptr;
    }
    const auto work = [&](const std::uint8_t* from, std::uint8_t* to) {
        return stream_.decryptFinal(from + offset, ending, to);
    };
    const Status status = withArrays(env, input, offset + length, output, sizeOf(ending.length), work);
    return isDone(env, status) ? output : nullptr;
}

jint ZelAes256Cipher::doFinal(JNIEnv* env, jobject, jbyteArray input, jint offset, jint length, jbyteArray output,
                              jint outputOffset) {
    if (!hasContext(env) || !requireArray(env, input) || !requireArray(env, output) ||
        !requireSlice(env, input, offset, length)) {
        return 0;
    }
    const std::uint32_t count = countOf(length);
    std::uint64_t written = stream_.paddedSize(count);
    if (stream_.isEncrypting()) {
        if (!hasRoom(env, output, outputOffset, written, kFinalTooShort)) {
            return 0;
        }
    } else {
        written = stream_.messageSize(count); // room for the padding too, although it is never written: meant
        if (!isWholeBlocks(env, length) || !hasRoom(env, output, outputOffset, written, kFinalTooShort)) {
            return 0;
        }
    }
    const jsize outputUsed = outputOffset + sizeOf(written);
    const auto work = [&](const std::uint8_t* from, std::uint8_t* to) -> enum_errDescrValues {
        if (stream_.isEncrypting()) {
            return stream_.encryptFinal(from + offset, count, to + outputOffset);
        }
        AesCbcStream::Ending ending;
        RETURN_IF_ERROR(stream_.decryptEnding(from + offset, count, &ending));
        written = ending.length;
        return stream_.decryptFinal(from + offset, ending, to + outputOffset);
    };
    const Status status = withArrays(env, input, offset + length, output, outputUsed, work);
    return isDone(env, status) ? static_cast<jint>(written) : 0;
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
